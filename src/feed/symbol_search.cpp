#include "feed/symbol_search.h"

#include "base/fields.h"

#include <fmt/format.h>

std::string FormatSearchRequest(const std::string& text, const std::string& exchangeFilter,
                                const std::string& typeFilter, bool byDescription) {
    std::string filter = ",";
    if (!exchangeFilter.empty()) {
        filter = "e," + exchangeFilter;
    } else if (!typeFilter.empty()) {
        filter = "t," + typeFilter;
    }
    return fmt::format("SBF,{},{},{},LSearch\r\n", byDescription ? "d" : "s", text, filter);
}

void HandleSearchResponse(const std::string& line, std::vector<SSearchResult>& results) {
    const std::vector<std::string_view> fields = SplitFields(line);
    if (fields.size() > 5) {
        results.push_back(SSearchResult{std::string(fields[2]), std::string(fields[5]),
                                        std::string(fields[3]), std::string(fields[4])});
    } else if (line.find("LSearch,!ENDMSG!") != std::string::npos && results.empty()) {
        results.push_back(SSearchResult{kNoSearchResults, "", "", ""});
    }
}

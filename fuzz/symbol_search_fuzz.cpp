// The symbol search: the answer lines of an "SBF" request and the request itself. Input: up to
// 256 answer lines cut at '\n'; the first line is also the text of a search request. A row of more
// than five fields is one result in field order, the end marker alone gives the one "No Results
// Found" row, and anything else is ignored.

#include "fuzz_support.h"

#include "base/fields.h"
#include "feed/symbol_search.h"

#include <string>
#include <vector>

namespace {

using skychart::fuzz::Check;

void CheckRequest(const std::string& text) {
    for (const bool byDescription : {false, true}) {
        const std::string request = FormatSearchRequest(text, "", "", byDescription);
        Check(request.starts_with("SBF,") && request.ends_with(",LSearch\r\n"),
              "a search request is one SBF command", request);
        if (text.find_first_of(",\r\n") == std::string::npos) {
            const std::string command = request.substr(0, request.size() - 2);
            const auto fields = SplitFields(command);
            Check(fields.size() == 6 && fields[2] == text && fields[3].empty() && fields[4].empty(),
                  "the text is the third field, with no filter", request);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::InputCursor input(data, size);
    const auto lines = skychart::fuzz::SplitAtNewlines(input.Rest(), 256);
    if (!lines.empty()) {
        CheckRequest(std::string(lines.front()));
    }
    std::vector<SSearchResult> results;
    for (const std::string_view view : lines) {
        const std::string line(view);
        const std::size_t before = results.size();
        HandleSearchResponse(line, results);
        const auto fields = SplitFields(line);
        if (fields.size() > 5) {
            Check(results.size() == before + 1, "a full row adds one result", line);
            const SSearchResult& added = results.back();
            Check(added.symbol == fields[2] && added.listedMarketId == fields[3] &&
                      added.securityTypeId == fields[4] && added.description == fields[5],
                  "a result takes its fields in order", line);
        } else if (before == 0 && line.find("LSearch,!ENDMSG!") != std::string::npos) {
            Check(results.size() == 1 && results[0].symbol == kNoSearchResults &&
                      results[0].description.empty(),
                  "an empty answer shows one row saying so", line);
        } else {
            Check(results.size() == before, "other lines are ignored", line);
        }
    }
    return 0;
}

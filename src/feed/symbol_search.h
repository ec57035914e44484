#pragma once

#include <string>
#include <vector>

// The symbol search request and the handling of its answer lines.

struct SSearchResult {
    std::string symbol;
    std::string description;
    std::string listedMarketId;
    std::string securityTypeId;
};

inline constexpr const char* kNoSearchResults = "No Results Found";

// The "SBF" request line for `text`. The exchange filter wins over the type filter;
// `byDescription` searches the descriptions instead of the symbols.
std::string FormatSearchRequest(const std::string& text, const std::string& exchangeFilter,
                                const std::string& typeFilter, bool byDescription);

// One "LSe..." answer line: a row of more than 5 fields adds a result; the end marker adds the
// "No Results Found" row when nothing was found. Other lines are ignored.
void HandleSearchResponse(const std::string& line, std::vector<SSearchResult>& results);

#pragma once

#include <string>
#include <string_view>
#include <vector>

// Splits a protocol or settings line at commas. Every comma ends a field, so empty fields between
// commas are kept; the text after the last comma becomes a field only when it is not empty. Thus
// "Lookup0,!ENDMSG!," gives two fields, "a,,b" three and "" none. The views point into `line`.
void SplitFields(std::string_view line, std::vector<std::string_view>& out);
std::vector<std::string_view> SplitFields(std::string_view line);

// The same split, with owned copies of the fields (for lists kept beyond the line's lifetime).
std::vector<std::string> SplitFieldsCopy(std::string_view line);

// Joins texts with "," between them, the inverse of the split for lists without empty tails.
std::string JoinFields(const std::vector<std::string>& items);

// The decimal number at the start of `text`, as atoi reads it: leading spaces and a '+' are
// skipped, reading stops at the first non-digit, and text without a number gives 0.
int DecimalValue(std::string_view text);

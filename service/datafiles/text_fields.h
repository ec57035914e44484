#pragma once

// The text of a trader's data file: records split into fields (RFC 4180 quoting as spreadsheets
// write it), fixed-point numbers and the date and time forms that such files use. Nothing here
// allocates per record or depends on the locale.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "market/market_types.h"

namespace portico::files {

// Prices are held at this scale until the decimals of their file are known.
inline constexpr int kMaxDecimals = 6;
inline constexpr std::int64_t kPriceScale = 1'000'000;

// Splits one record (its line end removed) at the commas outside quotes. A quoted field loses its
// quotes and has each doubled quote made single, in `scratch`, which must stay untouched while
// the fields are used. Stores up to `max` fields and returns how many the record has.
std::size_t SplitRecord(std::string_view record, std::string_view* fields, std::size_t max,
                        std::string& scratch);

// "-12.345" -> -12345000 at kPriceScale, with the count of decimals written (trailing zeros
// included); digits past the sixth decimal must be zeros. Blanks around the number are allowed.
bool ParsePrice(std::string_view text, std::int64_t& scaled, int& decimals);
// A whole non-negative count; a fraction of zeros ("100.0") is allowed.
bool ParseCount(std::string_view text, std::int64_t& value);

// YYYY-MM-DD, YYYY/MM/DD or YYYYMMDD -> days since 1970-01-01; false unless a calendar date.
bool ParseDay(std::string_view text, std::int32_t& day);
// H:MM, HH:MM:SS, HH:MM:SS.ffffff (up to nine digits, cut to microseconds) -> micros of the day.
bool ParseTimeOfDay(std::string_view text, Micros& micros);
// A date, then ' ' or 'T' and a time of day; a date alone is its midnight.
bool ParseDateTime(std::string_view text, Micros& time);

// Lower case with blanks, underscores and dashes left out: the form header names are matched in.
std::string NormalName(std::string_view name);

} // namespace portico::files

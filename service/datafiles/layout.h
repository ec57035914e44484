#pragma once

// What the rows of a data file hold: its kind (by file name), the columns found by their header
// names, and one row read and checked against the one before it.
//
// Internally a row's time is when its trades begin: a daily row at its midnight, a tick at its
// time, and a minute row one minute before its label, because a minute row is labelled with the
// end of its minute, as interval bars are ("09:31" holds the trades of 09:30:00 to 09:30:59).

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "market/market_types.h"

namespace portico::files {

enum class SeriesKind { Daily, Minute, Ticks };
const char* KindName(SeriesKind kind); // "daily", "minute", "ticks"

struct Layout {
    SeriesKind kind = SeriesKind::Daily;
    int date = -1; // column positions, -1 when absent
    int time = -1;
    int dateTime = -1;
    int open = -1;
    int high = -1;
    int low = -1;
    int close = -1;
    int volume = -1;
    int openInterest = -1;
    int price = -1;
    int size = -1;
    int bid = -1;
    int ask = -1;
    std::size_t needed = 0; // fields a row must have
};

// The layout of a header row's fields; none, with the reason, when a needed column is missing.
std::optional<Layout> DetectLayout(SeriesKind kind, const std::string_view* fields,
                                   std::size_t count, std::string& reason);

struct Row {
    Micros time = 0;       // when its trades begin (see above)
    std::int64_t open = 0; // prices at kPriceScale
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::int64_t close = 0;
    std::int64_t volume = 0;
    std::int64_t bid = 0; // ticks; the price when the file has no bid or ask
    std::int64_t ask = 0;
    std::uint32_t openInterest = 0;
    int decimals = 0; // the most decimals among its prices
};

enum class RowFault { None, Short, BadNumber, BadTime, HighBelowLow, OutsideRange, Backwards };
const char* FaultText(RowFault fault);

// Reads the fields of one row. `previous` is the time of the row before it in the file
// (INT64_MIN for none): ticks may share a time, daily and minute rows may not.
RowFault ParseRow(const Layout& layout, const std::string_view* fields, std::size_t count,
                  Micros previous, Row& row);

// ParseRow's checks of a row whose fields were read, `interest` its open interest as read: its
// time as kept for its kind, the prices in order, the counts in range and the time after
// `previous`.
RowFault CheckRow(const Layout& layout, Micros previous, std::int64_t interest, int decimals,
                  Row& row);

} // namespace portico::files

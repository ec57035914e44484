#pragma once

// What the rows of a data file hold: its kind (by file name), the columns found by their header
// names, and one row read and checked against the one before it.
//
// Internally a row's time is when its trades begin: a daily row at its midnight, a tick at its
// time, and a minute row one minute before its label, because a minute row is labelled with the
// end of its minute, as interval bars are ("09:31" holds the trades of 09:30:00 to 09:30:59).

#include <cstddef>
#include <cstdint>
#include <cstring>
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

// Reads the rows of one file: what SplitRecord and ParseRow make of a record, with the same
// fault. A row whose fields all take their common forms (no quotes, digits with an optional
// point, the date and time at fixed places) is read in one pass over its text, the columns the
// layout does not use passed over; any other row goes the long way. The date of the last row
// read is kept, for rows come in runs of one day.
class RowReader {
public:
    RowReader() = default;
    explicit RowReader(const Layout& layout) { reset(layout); }
    void reset(const Layout& layout);

    // One record, its line end removed.
    RowFault read(std::string_view record, Micros previous, Row& row);

private:
    enum class Role : std::uint8_t {
        Skip,
        DateTime,
        Date,
        Time,
        Open,
        High,
        Low,
        Close,
        Volume,
        Interest,
        Price,
        Size,
        Bid,
        Ask
    };
    static constexpr std::size_t kMaxFields = 64;

    // False when the record needs the long way.
    bool quick(std::string_view record, Micros previous, Row& row, RowFault& fault);
    // The day of the ten bytes at `text` (a date of ten bytes, as ParseDay reads it).
    bool day(const char* text, std::int32_t& day) {
        if (m_haveDate && std::memcmp(text, m_lastDate, 10) == 0) {
            day = m_lastDay;
            return true;
        }
        return newDay(text, day);
    }
    bool newDay(const char* text, std::int32_t& day);

    Layout m_layout;
    Role m_roles[kMaxFields] = {};
    char m_lastDate[10] = {};
    std::int32_t m_lastDay = 0;
    bool m_haveDate = false;
    std::string m_scratch;
    std::string_view m_fields[kMaxFields];
};

} // namespace portico::files

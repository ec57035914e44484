#pragma once

// The reader of a data file's rows that answers and the indexer take them through.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "datafiles/layout.h"

namespace portico::files {

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

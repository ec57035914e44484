#pragma once

// The interval bars of a history answer in answer order: a time range, an interval, a
// time-of-day filter on whole bars, a limit of newest bars and a direction. Bars are made from
// the market a slice of a day at a time (slices hold whole intervals, so each bar is the one the
// whole day would give), and every call does a bounded amount of work: one-second bars over the
// whole history neither sit in memory nor hold up the service.

#include <cstdint>
#include <vector>

#include "market/market.h"
#include "tick_source.h"

namespace portico {

struct IntervalSelection {
    Micros from = 0; // inclusive
    Micros to = 0;   // inclusive
    int seconds = 60;
    std::uint64_t limit = 0; // the newest this many bars at most
    int beginFilter = -1;    // a bar is kept when it starts at or after this second of the day
    int endFilter = -1;      // and ends at or before this one; -1: open
    bool newestFirst = false;
};

class IntervalSource {
public:
    IntervalSource(const Market& market, const Instrument& instrument, IntervalSelection selection);

    // The next bar in answer order in `bar`, valid until the next call.
    SourceStep next(const Bar*& bar);

private:
    enum class Phase { Locate, Ascending, Descending, Done };

    // Fills m_bars with the kept bars of slice m_slice of m_day, oldest first; false (and no
    // work) when the slice lies outside the range, the filter or the trading days.
    bool makeSlice();
    bool locate();
    bool forward();  // to the next slice; false after the last
    bool backward(); // to the previous slice; false before the first
    SourceStep give(const Bar*& bar, bool forwards);

    const Market& m_market;
    const Instrument& m_instrument;
    IntervalSelection m_selection;
    Phase m_phase = Phase::Done;
    int m_sliceSeconds = 0;
    int m_slicesPerDay = 0;
    std::int32_t m_firstDay = 0;
    std::int32_t m_lastDay = -1;
    std::int32_t m_day = 0;
    int m_slice = 0;
    std::uint64_t m_counted = 0; // Locate: bars of the slices after the current one
    std::uint64_t m_skip = 0;    // Ascending: older bars of the first slice beyond the limit
    std::uint64_t m_left = 0;    // bars still to give
    std::vector<Bar> m_bars;
    std::size_t m_position = 0;
    bool m_sliceMade = false; // m_bars holds the current slice
};

} // namespace portico

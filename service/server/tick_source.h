#pragma once

// The ticks of a history answer in answer order: a time range, a time-of-day filter, a limit of
// newest ticks and a direction. Ticks are drawn lazily from the market a day (oldest first) or a
// few minutes (newest first) at a time, and every call does a bounded amount of work, so that an
// answer over the whole history neither sits in memory nor holds up the service.

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "market/market.h"

namespace portico {

struct TickSelection {
    Micros from = 0;         // inclusive
    Micros to = 0;           // inclusive
    std::uint64_t limit = 0; // the newest this many ticks at most
    int beginFilter = -1;    // second of the day, inclusive; -1: none
    int endFilter = -1;
    bool newestFirst = false;
};

// The part of `day` that lies inside [from, to] and inside the time-of-day filter (both bounds
// inclusive seconds, -1 = open); none when nothing is left.
std::optional<std::pair<Micros, Micros>> DayWindow(std::int32_t day, Micros from, Micros to,
                                                   int beginFilter, int endFilter);

// The window of `day` in `selection` (DayWindow) when the instrument trades that day.
std::optional<std::pair<Micros, Micros>> TradingWindow(const Market& market,
                                                       const Instrument& instrument,
                                                       const TickSelection& selection,
                                                       std::int32_t day);
// How many ticks that window holds.
std::uint64_t WindowTicks(const Market& market, const Instrument& instrument,
                          const TickSelection& selection, std::int32_t day);

// How a source's step ended: an item is ready, some work was done without finding one (call
// again later), or the source is exhausted.
enum class SourceStep { Item, Busy, Done };

class TickSource {
public:
    TickSource(const Market& market, const Instrument& instrument, TickSelection selection);

    // The next tick in answer order in `tick`, valid until the next call.
    SourceStep next(const Tick*& tick) {
        std::size_t count = 0;
        return next(tick, count, 1);
    }
    // The next 1 to `max` ticks in answer order: `count` of them from `ticks` on, valid until
    // the next call.
    SourceStep next(const Tick*& ticks, std::size_t& count, std::size_t max);

private:
    enum class Phase { Locate, Ascending, Descending, Done };

    std::optional<std::pair<Micros, Micros>> window(std::int32_t day) const {
        return TradingWindow(m_market, m_instrument, m_selection, day);
    }
    bool locate();
    SourceStep nextAscending(const Tick*& ticks, std::size_t& count, std::size_t max);
    SourceStep nextDescending(const Tick*& ticks, std::size_t& count, std::size_t max);
    // Hands out up to `max` of the batch's ticks.
    SourceStep give(const Tick*& ticks, std::size_t& count, std::size_t max);
    bool openDay(); // the cursor over the window of m_day; false when the day has none

    const Market& m_market;
    const Instrument& m_instrument;
    TickSelection m_selection;
    Phase m_phase = Phase::Done;
    std::int32_t m_firstDay = 0;
    std::int32_t m_lastDay = -1;
    std::int32_t m_day = 0;      // the day being counted or read
    std::uint64_t m_counted = 0; // Locate: ticks of the days after m_day
    std::uint64_t m_skip = 0;    // Ascending: older ticks of the first day beyond the limit
    std::uint64_t m_left = 0;    // ticks still to give
    TickCursor m_cursor;
    bool m_inDay = false;      // Descending: m_day has been begun
    Micros m_sliceEnd = 0;     // the newest time of its next slice
    std::vector<Tick> m_batch; // Descending: a slice, newest first
    std::size_t m_count = 0;   // ticks of the batch in use
    std::size_t m_position = 0;
};

} // namespace portico

#pragma once

// The ticks of a history answer in answer order: a time range, a time-of-day filter, a limit of
// newest ticks and a direction, drawn lazily from the market so that millions of ticks never sit
// in memory at once.

#include <cstdint>
#include <optional>
#include <vector>

#include "market/market.h"

namespace portico {

struct TickSelection {
    Micros from = 0; // inclusive
    Micros to = 0;   // inclusive
    std::optional<std::uint64_t> maxPoints;
    int beginFilter = -1; // second of the day, inclusive; -1: none
    int endFilter = -1;
    bool newestFirst = false;
};

// Whether a time passes a time-of-day filter (both bounds inclusive, -1 = open).
inline bool PassesTimeFilter(Micros time, int beginFilter, int endFilter) {
    const auto second = static_cast<int>((time - StartOfDay(DayOf(time))) / kMicrosPerSecond);
    return (beginFilter < 0 || second >= beginFilter) && (endFilter < 0 || second <= endFilter);
}

class TickSource {
public:
    TickSource(const Market& market, const Instrument& instrument, TickSelection selection);

    // The next tick in answer order; nullptr once done. Valid until the next call.
    const Tick* next();

private:
    bool filtered() const { return m_selection.beginFilter >= 0 || m_selection.endFilter >= 0; }
    bool keep(const Tick& tick) const {
        return tick.time >= m_selection.from && tick.time <= m_selection.to &&
               (!m_filtered ||
                PassesTimeFilter(tick.time, m_selection.beginFilter, m_selection.endFilter));
    }
    bool refillAscending();
    bool refillDescending();

    const Market& m_market;
    const Instrument& m_instrument;
    TickSelection m_selection;
    bool m_filtered;
    std::uint64_t m_emitted = 0;
    // Ascending: a cursor over the range, skipping the oldest ticks beyond the limit.
    TickCursor m_cursor;
    std::uint64_t m_skip = 0;
    // Descending: one day at a time from the newest day back.
    std::int32_t m_day = 0;
    std::vector<Tick> m_batch;
    std::size_t m_count = 0; // ticks of the batch in use
    std::size_t m_position = 0;
};

} // namespace portico

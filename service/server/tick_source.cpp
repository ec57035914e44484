#include "tick_source.h"

#include <algorithm>

namespace portico {

namespace {
constexpr std::size_t kBatch = 512;
// Work of one step: days counted or opened, or slices read newest first.
constexpr int kDaysPerStep = 64;
constexpr int kSlicesPerStep = 256;
// Newest first, a day is read in slices of this length from its end back.
constexpr Micros kSlice = 5 * kMicrosPerMinute;
} // namespace

std::optional<std::pair<Micros, Micros>> DayWindow(std::int32_t day, Micros from, Micros to,
                                                   int beginFilter, int endFilter) {
    const Micros midnight = StartOfDay(day);
    Micros low = std::max(from, midnight);
    Micros high = std::min(to, StartOfDay(day + 1) - 1);
    if (beginFilter >= 0) {
        low = std::max(low, midnight + beginFilter * kMicrosPerSecond);
    }
    if (endFilter >= 0) {
        high = std::min(high, midnight + (endFilter + 1) * kMicrosPerSecond - 1);
    }
    if (low > high) {
        return std::nullopt;
    }
    return std::pair{low, high};
}

std::optional<std::pair<Micros, Micros>> TradingWindow(const Market& market,
                                                       const Instrument& instrument,
                                                       const TickSelection& selection,
                                                       std::int32_t day) {
    if (!market.tradesOn(instrument, day)) {
        return std::nullopt;
    }
    return DayWindow(day, selection.from, selection.to, selection.beginFilter, selection.endFilter);
}

std::uint64_t WindowTicks(const Market& market, const Instrument& instrument,
                          const TickSelection& selection, std::int32_t day) {
    const auto w = TradingWindow(market, instrument, selection, day);
    return w ? market.countTicks(instrument, w->first, w->second) : 0;
}

TickSource::TickSource(const Market& market, const Instrument& instrument, TickSelection selection)
    : m_market(market), m_instrument(instrument), m_selection(selection) {
    if (m_selection.from > m_selection.to || m_selection.limit == 0) {
        return;
    }
    m_firstDay = std::max(DayOf(m_selection.from), m_instrument.firstDay);
    m_lastDay = DayOf(m_selection.to);
    m_day = m_lastDay;
    if (m_selection.newestFirst) {
        m_left = m_selection.limit;
        m_phase = Phase::Descending;
    } else {
        // Oldest first, the newest `limit` ticks: the days are counted back from the end first.
        m_phase = Phase::Locate;
    }
}

SourceStep TickSource::next(const Tick*& ticks, std::size_t& count, std::size_t max) {
    switch (m_phase) {
    case Phase::Locate:
        return locate() ? nextAscending(ticks, count, max) : SourceStep::Busy;
    case Phase::Ascending:
        return nextAscending(ticks, count, max);
    case Phase::Descending:
        return nextDescending(ticks, count, max);
    case Phase::Done:
        break;
    }
    return SourceStep::Done;
}

bool TickSource::locate() {
    for (int visited = 0;; ++visited) {
        if (m_day < m_firstDay) {
            // Fewer than the limit: all of them.
            m_left = m_counted;
            m_day = m_firstDay;
            break;
        }
        if (visited == kDaysPerStep) {
            return false;
        }
        m_counted += WindowTicks(m_market, m_instrument, m_selection, m_day);
        if (m_counted >= m_selection.limit) {
            m_skip = m_counted - m_selection.limit;
            m_left = m_selection.limit;
            break;
        }
        --m_day;
    }
    m_phase = Phase::Ascending;
    openDay();
    return true;
}

bool TickSource::openDay() {
    m_cursor = TickCursor();
    m_count = 0;
    m_position = 0;
    const auto w = window(m_day);
    if (!w) {
        return false;
    }
    m_cursor = m_market.ticks(m_instrument, w->first, w->second);
    return true;
}

SourceStep TickSource::give(const Tick*& ticks, std::size_t& count, std::size_t max) {
    count = static_cast<std::size_t>(std::min<std::uint64_t>({max, m_count - m_position, m_left}));
    ticks = m_batch.data() + m_position;
    m_position += count;
    m_left -= count;
    return SourceStep::Item;
}

SourceStep TickSource::nextAscending(const Tick*& ticks, std::size_t& count, std::size_t max) {
    // Oldest first the ticks are handed out where the cursor holds them.
    int opened = 0;
    while (m_left > 0) {
        const std::uint64_t wanted = m_skip > 0 ? m_skip : std::min<std::uint64_t>(max, m_left);
        const std::size_t n = m_cursor.nextInPlace(
            ticks, static_cast<std::size_t>(std::min<std::uint64_t>(wanted, kBatch)));
        if (n > 0) {
            if (m_skip > 0) {
                m_skip -= n;
                continue;
            }
            count = n;
            m_left -= n;
            return SourceStep::Item;
        }
        if (m_day >= m_lastDay) {
            break;
        }
        ++m_day;
        openDay();
        if (++opened >= kDaysPerStep) {
            return SourceStep::Busy;
        }
    }
    m_phase = Phase::Done;
    return SourceStep::Done;
}

SourceStep TickSource::nextDescending(const Tick*& ticks, std::size_t& count, std::size_t max) {
    int visited = 0;
    while (m_left > 0) {
        if (m_position < m_count) {
            return give(ticks, count, max);
        }
        if (++visited > kSlicesPerStep) {
            return SourceStep::Busy;
        }
        if (m_day < m_firstDay) {
            break;
        }
        const auto w = window(m_day);
        if (!w) {
            --m_day;
            m_inDay = false;
            continue;
        }
        if (!m_inDay) {
            m_sliceEnd = w->second;
            m_inDay = true;
        }
        const Micros start = std::max(w->first, m_sliceEnd - kSlice + 1);
        TickCursor cursor = m_market.ticks(m_instrument, start, m_sliceEnd);
        m_batch.clear();
        for (std::size_t n = kBatch; n == kBatch;) {
            const std::size_t old = m_batch.size();
            m_batch.resize(old + kBatch);
            n = cursor.next(m_batch.data() + old, kBatch);
            m_batch.resize(old + n);
        }
        std::reverse(m_batch.begin(), m_batch.end());
        m_count = m_batch.size();
        m_position = 0;
        if (start == w->first) {
            --m_day;
            m_inDay = false;
        } else {
            m_sliceEnd = start - 1;
        }
    }
    m_phase = Phase::Done;
    return SourceStep::Done;
}

} // namespace portico

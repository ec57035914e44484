#include "interval_source.h"

#include <algorithm>

namespace portico {

namespace {
// A slice holds whole intervals and at least this many seconds.
constexpr int kMinSliceSeconds = 900;
// Work of one step: slices made, and slices passed over (outside the range or the filter, or
// on days without trading).
constexpr int kSlicesPerStep = 16;
constexpr int kVisitsPerStep = 2048;
} // namespace

IntervalSource::IntervalSource(const Market& market, const Instrument& instrument,
                               IntervalSelection selection)
    : m_market(market), m_instrument(instrument), m_selection(selection) {
    const int seconds = m_selection.seconds;
    if (m_selection.from > m_selection.to || m_selection.limit == 0 || seconds <= 0) {
        return;
    }
    m_sliceSeconds = seconds * std::max(1, (kMinSliceSeconds + seconds - 1) / seconds);
    m_slicesPerDay = (86400 + m_sliceSeconds - 1) / m_sliceSeconds;
    m_firstDay = std::max(DayOf(m_selection.from), m_instrument.firstDay);
    m_lastDay = DayOf(m_selection.to);
    if (m_firstDay > m_lastDay) {
        return;
    }
    m_day = m_lastDay;
    m_slice = m_slicesPerDay - 1;
    if (m_selection.newestFirst) {
        m_left = m_selection.limit;
        m_phase = Phase::Descending;
    } else {
        // Oldest first, the newest `limit` bars: the slices are counted back from the end first.
        m_phase = Phase::Locate;
    }
}

SourceStep IntervalSource::next(const Bar*& bar) {
    switch (m_phase) {
    case Phase::Locate:
        return locate() ? give(bar, true) : SourceStep::Busy;
    case Phase::Ascending:
        return give(bar, true);
    case Phase::Descending:
        return give(bar, false);
    case Phase::Done:
        break;
    }
    return SourceStep::Done;
}

bool IntervalSource::makeSlice() {
    m_bars.clear();
    m_position = 0;
    const IntervalSelection& s = m_selection;
    const int lowSecond = m_slice * m_sliceSeconds;
    const int highSecond = std::min((m_slice + 1) * m_sliceSeconds, 86400); // exclusive
    // A bar starts before the end of its slice and no earlier than one interval before its
    // start (the day's last bar is labelled at midnight).
    if ((s.beginFilter >= 0 && highSecond - 1 < s.beginFilter) ||
        (s.endFilter >= 0 && lowSecond > s.endFilter)) {
        return false;
    }
    const Micros midnight = StartOfDay(m_day);
    const Micros from = std::max(s.from, midnight + lowSecond * kMicrosPerSecond);
    const Micros to = std::min(s.to, midnight + highSecond * kMicrosPerSecond - 1);
    if (from > to) {
        return false;
    }
    m_bars = m_market.intervalBars(m_instrument, s.seconds, from, to);
    if (s.beginFilter >= 0 || s.endFilter >= 0) {
        const Micros length = static_cast<Micros>(s.seconds) * kMicrosPerSecond;
        std::erase_if(m_bars, [&](const Bar& bar) {
            const Micros start = bar.time - length;
            const Micros startSecond = (start - StartOfDay(DayOf(start))) / kMicrosPerSecond;
            const Micros endSecond = startSecond + s.seconds;
            return (s.beginFilter >= 0 && startSecond < s.beginFilter) ||
                   (s.endFilter >= 0 && endSecond > s.endFilter);
        });
    }
    return true;
}

bool IntervalSource::forward() {
    if (m_slice + 1 < m_slicesPerDay) {
        ++m_slice;
        return true;
    }
    if (m_day >= m_lastDay) {
        return false;
    }
    ++m_day;
    m_slice = 0;
    return true;
}

bool IntervalSource::backward() {
    if (m_slice > 0) {
        --m_slice;
        return true;
    }
    if (m_day <= m_firstDay) {
        return false;
    }
    --m_day;
    m_slice = m_slicesPerDay - 1;
    return true;
}

bool IntervalSource::locate() {
    int made = 0;
    for (int visits = 0;; ++visits) {
        if (made == kSlicesPerStep || visits == kVisitsPerStep) {
            return false;
        }
        if (!m_market.tradesOn(m_instrument, m_day)) {
            m_slice = 0; // the whole day at once
        } else if (makeSlice()) {
            ++made;
            m_counted += m_bars.size();
            if (m_counted >= m_selection.limit) {
                // The answer begins inside this slice, whose bars are at hand.
                m_skip = m_counted - m_selection.limit;
                m_left = m_selection.limit;
                m_sliceMade = true;
                break;
            }
        }
        if (!backward()) {
            // Fewer than the limit: all of them.
            m_left = m_counted;
            m_day = m_firstDay;
            m_slice = 0;
            m_sliceMade = false;
            break;
        }
    }
    m_phase = Phase::Ascending;
    return true;
}

SourceStep IntervalSource::give(const Bar*& bar, bool forwards) {
    int made = 0;
    int visits = 0;
    while (m_left > 0) {
        if (m_sliceMade && m_position < m_bars.size()) {
            const std::size_t index = m_position++;
            const Bar& b = forwards ? m_bars[index] : m_bars[m_bars.size() - 1 - index];
            if (m_skip > 0) {
                --m_skip;
                continue;
            }
            --m_left;
            bar = &b;
            return SourceStep::Item;
        }
        if (m_sliceMade) {
            m_sliceMade = false;
            if (!(forwards ? forward() : backward())) {
                break;
            }
        }
        if (made == kSlicesPerStep || visits == kVisitsPerStep) {
            return SourceStep::Busy;
        }
        ++visits;
        if (!m_market.tradesOn(m_instrument, m_day)) {
            m_slice = forwards ? m_slicesPerDay - 1 : 0; // the whole day at once
            m_bars.clear();
            m_position = 0;
        } else if (makeSlice()) {
            ++made;
        }
        m_sliceMade = true;
    }
    m_phase = Phase::Done;
    return SourceStep::Done;
}

} // namespace portico

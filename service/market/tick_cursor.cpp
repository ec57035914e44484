// Streaming ticks: the cursor and the queries that build one.

#include "market/market_impl.h"

#include <algorithm>

namespace portico {

struct TickCursor::State {
    const MarketImpl* market = nullptr;
    const Instrument* instrument = nullptr;
    Micros from = 0;
    Micros to = -1;
    std::int32_t day = 0; // the day being read
    std::int32_t lastDay = -1;
    std::shared_ptr<const detail::DayMinutes> minutes;
    std::size_t minuteIndex = 0;
    // The ticks of one minute: buffer[position .. count). The buffer keeps the size of the
    // largest minute, so that a minute's ticks are written into it without being cleared first.
    std::vector<Tick> buffer;
    std::size_t count = 0;
    std::size_t position = 0;
    bool done = false;

    // Expands the next minute that has ticks in [from, to]; false at the end of the range.
    bool refill();
};

bool TickCursor::State::refill() {
    count = 0;
    position = 0;
    while (!done) {
        if (minutes && minuteIndex < minutes->minutes.size()) {
            const detail::MinuteBar& m = minutes->minutes[minuteIndex++];
            const Micros start = detail::MinuteStart(*minutes, m);
            if (start > to) {
                done = true;
                break;
            }
            if (start + kMicrosPerMinute <= from) {
                continue;
            }
            if (buffer.size() < m.allTicks()) {
                buffer.resize(m.allTicks());
            }
            market->expand(*instrument, *minutes, m, buffer.data());
            const Tick* const first = buffer.data();
            const Tick* const last = first + m.allTicks();
            if (start < from) {
                position = static_cast<std::size_t>(
                    std::partition_point(first, last,
                                         [&](const Tick& t) { return t.time < from; }) -
                    first);
            }
            count = m.allTicks();
            if (start + kMicrosPerMinute - 1 > to) {
                count = static_cast<std::size_t>(
                    std::partition_point(first, last, [&](const Tick& t) { return t.time <= to; }) -
                    first);
                done = true;
            }
            if (position < count) {
                return true;
            }
            count = 0;
            position = 0;
            continue;
        }
        if (day >= lastDay) {
            done = true;
            break;
        }
        ++day;
        minutes = market->dayMinutes(*instrument, day);
        minuteIndex = 0;
        if (minutes && day == DayOf(from)) {
            const auto& list = minutes->minutes;
            const auto first = std::partition_point(list.begin(), list.end(), [&](const auto& m) {
                return detail::MinuteStart(*minutes, m) + kMicrosPerMinute <= from;
            });
            minuteIndex = static_cast<std::size_t>(first - list.begin());
        }
    }
    return false;
}

TickCursor::TickCursor() = default;
TickCursor::~TickCursor() = default;
TickCursor::TickCursor(TickCursor&&) noexcept = default;
TickCursor& TickCursor::operator=(TickCursor&&) noexcept = default;

TickCursor TickCursor::Of(std::unique_ptr<TickStream> stream) {
    TickCursor cursor;
    cursor.m_stream = std::move(stream);
    return cursor;
}

std::size_t TickCursor::next(Tick* out, std::size_t max) {
    if (m_stream) {
        return m_stream->next(out, max);
    }
    if (!m_state) {
        return 0;
    }
    State& s = *m_state;
    std::size_t written = 0;
    while (written < max) {
        if (s.position < s.count) {
            const std::size_t n = std::min(max - written, s.count - s.position);
            std::copy_n(s.buffer.data() + s.position, n, out + written);
            s.position += n;
            written += n;
            continue;
        }
        if (!s.refill()) {
            break;
        }
    }
    return written;
}

std::size_t TickCursor::nextInPlace(const Tick*& ticks, std::size_t max) {
    if (m_stream) {
        m_streamTicks.resize(std::max<std::size_t>(max, 1));
        ticks = m_streamTicks.data();
        return m_stream->next(m_streamTicks.data(), max);
    }
    if (!m_state || max == 0) {
        return 0;
    }
    State& s = *m_state;
    if (s.position >= s.count && !s.refill()) {
        return 0;
    }
    const std::size_t n = std::min(max, s.count - s.position);
    ticks = s.buffer.data() + s.position;
    s.position += n;
    return n;
}

TickCursor MarketImpl::ticks(const Instrument& instrument, Micros from, Micros to) const {
    TickCursor cursor;
    cursor.m_state = std::make_unique<TickCursor::State>();
    TickCursor::State& s = *cursor.m_state;
    s.market = this;
    s.instrument = &instrument;
    s.from = from;
    s.to = to;
    s.day = std::max(DayOf(from), instrument.firstDay) - 1;
    s.lastDay = LastDayOf(to);
    s.done = to < from;
    return cursor;
}

std::uint64_t MarketImpl::countTicks(const Instrument& instrument, Micros from, Micros to) const {
    std::uint64_t count = 0;
    if (to < from) {
        return count;
    }
    std::vector<Tick> minuteTicks;
    for (std::int32_t day = std::max(DayOf(from), instrument.firstDay); day <= LastDayOf(to);
         ++day) {
        if (!trades(instrument, day)) {
            continue;
        }
        if (from <= StartOfDay(day) && StartOfDay(day + 1) - 1 <= to) {
            count += dayTotal(instrument, day).allTicks;
            continue;
        }
        const auto minutes = dayMinutes(instrument, day);
        for (const detail::MinuteBar& m : minutes->minutes) {
            const Micros start = detail::MinuteStart(*minutes, m);
            const Micros end = start + kMicrosPerMinute - 1;
            if (start > to) {
                break;
            }
            if (end < from) {
                continue;
            }
            if (from <= start && end <= to) {
                count += m.allTicks();
                continue;
            }
            minuteTicks.clear();
            expand(instrument, *minutes, m, minuteTicks);
            count += static_cast<std::uint64_t>(
                std::count_if(minuteTicks.begin(), minuteTicks.end(),
                              [&](const Tick& t) { return t.time >= from && t.time <= to; }));
        }
    }
    return count;
}

TickCursor MarketImpl::lastTicks(const Instrument& instrument, std::size_t count, Micros to) const {
    if (count == 0) {
        return ticks(instrument, to + 1, to);
    }
    std::uint64_t remaining = count;
    std::vector<Tick> minuteTicks;
    for (std::int32_t day = LastDayOf(to); day >= instrument.firstDay; --day) {
        if (!trades(instrument, day)) {
            continue;
        }
        if (day < DayOf(to) && dayTotal(instrument, day).allTicks < remaining) {
            remaining -= dayTotal(instrument, day).allTicks;
            continue;
        }
        // The oldest wanted tick may lie in this day: walk its minutes back from `to`.
        const auto minutes = dayMinutes(instrument, day);
        for (auto m = minutes->minutes.rbegin(); m != minutes->minutes.rend(); ++m) {
            const Micros start = detail::MinuteStart(*minutes, *m);
            if (start > to) {
                continue;
            }
            std::uint64_t available = m->allTicks();
            const bool cut = start + kMicrosPerMinute - 1 > to;
            if (cut || available >= remaining) {
                minuteTicks.clear();
                expand(instrument, *minutes, *m, minuteTicks);
                if (cut) {
                    available = static_cast<std::uint64_t>(
                        std::partition_point(minuteTicks.begin(), minuteTicks.end(),
                                             [&](const Tick& t) { return t.time <= to; }) -
                        minuteTicks.begin());
                }
                if (available >= remaining) {
                    return ticks(instrument, minuteTicks[available - remaining].time, to);
                }
            }
            remaining -= available;
        }
    }
    return ticks(instrument, StartOfDay(instrument.firstDay), to);
}

} // namespace portico

#pragma once

// Folds minute bars, ticks and day bars into one bar, and day bars into weeks and months.

#include "market/calendar.h"
#include "market/generator.h"
#include "market/market_types.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace portico::detail {

class BarBuilder {
public:
    bool empty() const { return m_empty; }
    const Bar& bar() const { return m_bar; }
    void reset() {
        m_bar = Bar{};
        m_empty = true;
    }

    void add(const MinuteBar& m) {
        merge(m.open, m.high, m.low, m.close, m.volume, m.ticks);
        m_bar.totalVolume = m.volumeBefore + m.volume;
    }
    void add(const Tick& t) {
        merge(t.price, t.price, t.price, t.price, t.size, 1);
        m_bar.totalVolume = t.totalVolume;
    }
    // Day bars into weeks and months: the newest day labels the bar and gives its open interest.
    void add(const Bar& b) {
        merge(b.open, b.high, b.low, b.close, b.volume, b.tickCount);
        m_bar.totalVolume = m_bar.volume;
        m_bar.openInterest = b.openInterest;
        m_bar.time = b.time;
    }

private:
    void merge(std::int64_t open, std::int64_t high, std::int64_t low, std::int64_t close,
               std::int64_t volume, std::uint32_t ticks) {
        if (m_empty) {
            m_bar.open = open;
            m_bar.high = high;
            m_bar.low = low;
            m_empty = false;
        } else {
            m_bar.high = std::max(m_bar.high, high);
            m_bar.low = std::min(m_bar.low, low);
        }
        m_bar.close = close;
        m_bar.volume += volume;
        m_bar.tickCount += ticks;
    }

    Bar m_bar;
    bool m_empty = true;
};

// The group a day belongs to: its week (from Monday) or its month.
inline std::int64_t WeekOf(std::int32_t day) {
    return day - Weekday(day);
}
inline std::int64_t MonthOf(std::int32_t day) {
    const CivilDate date = CivilFromDays(day);
    return static_cast<std::int64_t>(date.year) * 12 + date.month;
}

// The newest `count` groups of day bars, oldest first. `previousDay(day, bar)` walks the days
// back, from the newest, and gives each one's bar; false past the oldest. Days without trades
// (tickCount 0) belong to no group. `group(day)` is WeekOf, MonthOf or the like. The bars of one
// group are folded oldest first, in one pass over its days.
template <class PreviousDay, class Group>
std::vector<Bar> GroupDayBars(std::size_t count, PreviousDay previousDay, Group group) {
    std::vector<Bar> out;
    if (count == 0) {
        return out;
    }
    std::vector<Bar> days;
    std::int64_t current = 0;
    const auto flush = [&] {
        if (!days.empty()) {
            BarBuilder builder;
            for (auto it = days.rbegin(); it != days.rend(); ++it) {
                builder.add(*it);
            }
            out.push_back(builder.bar());
            days.clear();
        }
    };
    std::int32_t day = 0;
    Bar bar;
    while (previousDay(day, bar)) {
        if (bar.tickCount == 0) {
            continue;
        }
        const std::int64_t k = group(day);
        if (!days.empty() && k != current) {
            flush();
            if (out.size() == count) {
                break;
            }
        }
        current = k;
        days.push_back(bar);
    }
    if (out.size() < count) {
        flush();
    }
    std::reverse(out.begin(), out.end());
    return out;
}

} // namespace portico::detail

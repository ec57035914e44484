#pragma once

// Folds minute bars, ticks and day bars into one bar.

#include "market/generator.h"
#include "market/market_types.h"

#include <algorithm>

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

} // namespace portico::detail

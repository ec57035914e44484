#pragma once

// History records built in one call: a bar with its prices, and the days of a daily series.

#include "history/tick.h"

#include <cstdint>

inline sTICK MakeBar(const CDateTime& time, double open, double high, double low, double close,
                     std::uint32_t size = 0, std::int64_t volume = 0) {
    sTICK bar;
    bar.time = time;
    bar.open = open;
    bar.high = high;
    bar.low = low;
    bar.close = close;
    bar.size = size;
    bar.volume = volume;
    return bar;
}

// Midnight `days` days after midnight of `year`-`month`-`day`.
inline CDateTime DayAfter(int year, int month, int day, int days) {
    return CDateTime(CDateTime(year, month, day, 0, 0, 0).Days() + days);
}

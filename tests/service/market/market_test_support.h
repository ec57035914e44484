#pragma once

// Shared helpers of the market tests: whole-value comparisons, civil times, draining cursors,
// and bars rebuilt from ticks the slow and obvious way, to hold the market's own bars against.

#include "market/calendar.h"
#include "market/market.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace portico {

inline bool operator==(const Bar& a, const Bar& b) {
    return a.time == b.time && a.open == b.open && a.high == b.high && a.low == b.low &&
           a.close == b.close && a.volume == b.volume && a.totalVolume == b.totalVolume &&
           a.openInterest == b.openInterest && a.tickCount == b.tickCount;
}

inline bool operator==(const Tick& a, const Tick& b) {
    return a.time == b.time && a.price == b.price && a.bid == b.bid && a.ask == b.ask &&
           a.size == b.size && a.totalVolume == b.totalVolume && a.tickId == b.tickId &&
           a.basis == b.basis && a.aggressor == b.aggressor && a.dayCode == b.dayCode &&
           a.marketCenter == b.marketCenter && a.conditions == b.conditions;
}

namespace test {

// One market for all tests of a suite, so that its caches carry over from test to test.
template <std::uint64_t Seed> class MarketSuite : public ::testing::Test {
protected:
    static void SetUpTestSuite() { market = std::make_unique<Market>(Seed); }
    static void TearDownTestSuite() { market.reset(); }
    static const Instrument& get(const std::string& symbol) {
        const Instrument* i = market->find(symbol);
        EXPECT_NE(i, nullptr) << symbol;
        return *i;
    }
    static inline std::unique_ptr<Market> market;
};

inline std::int32_t Day(int year, int month, int day) {
    return detail::DaysFromCivil(year, month, day);
}

inline Micros At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                 Micros micros = 0) {
    return StartOfDay(Day(year, month, day)) +
           ((hour * 60 + minute) * 60 + second) * kMicrosPerSecond + micros;
}

// Reads a cursor to its end in uneven batches.
inline std::vector<Tick> Drain(TickCursor cursor) {
    std::vector<Tick> out;
    std::vector<Tick> batch(1000);
    std::size_t n = 0;
    std::size_t size = 1;
    while ((n = cursor.next(batch.data(), size)) > 0) {
        out.insert(out.end(), batch.begin(), batch.begin() + static_cast<std::ptrdiff_t>(n));
        size = size * 7 % 1000 + 1;
    }
    return out;
}

// The newest tick that counts in bars (not an odd lot); null when there is none.
inline const Tick* LastCounted(const std::vector<Tick>& ticks) {
    const auto it =
        std::find_if(ticks.rbegin(), ticks.rend(), [](const Tick& t) { return t.basis != 'O'; });
    return it == ticks.rend() ? nullptr : &*it;
}

// Bars of the counted ticks, one per `label` of their time, in label order.
template <class Label> std::vector<Bar> BarsFromTicks(const std::vector<Tick>& ticks, Label label) {
    std::map<Micros, Bar> bars;
    for (const Tick& t : ticks) {
        if (t.basis == 'O') {
            continue;
        }
        auto [it, fresh] = bars.try_emplace(label(t.time), Bar{.time = label(t.time)});
        Bar& bar = it->second;
        bar.open = fresh ? t.price : bar.open;
        bar.high = fresh ? t.price : std::max(bar.high, t.price);
        bar.low = fresh ? t.price : std::min(bar.low, t.price);
        bar.close = t.price;
        bar.volume += t.size;
        bar.totalVolume = t.totalVolume;
        ++bar.tickCount;
    }
    std::vector<Bar> out;
    for (const auto& [time, bar] : bars) {
        out.push_back(bar);
    }
    return out;
}

// Interval bars of the counted ticks, aligned to midnight and labelled at their end.
inline std::vector<Bar> IntervalBarsFromTicks(const std::vector<Tick>& ticks, int seconds) {
    return BarsFromTicks(ticks, [seconds](Micros time) {
        const Micros step = seconds * kMicrosPerSecond;
        const Micros day = StartOfDay(DayOf(time));
        return std::min(day + ((time - day) / step + 1) * step, day + kMicrosPerDay);
    });
}

// Day bars of the counted ticks (open interest left 0); a day's total volume is its volume.
inline std::vector<Bar> DayBarsFromTicks(const std::vector<Tick>& ticks) {
    std::vector<Bar> days =
        BarsFromTicks(ticks, [](Micros time) { return StartOfDay(DayOf(time)); });
    for (Bar& d : days) {
        d.totalVolume = d.volume;
    }
    return days;
}

} // namespace test
} // namespace portico

#pragma once

// The generator of the simulated market: a daily anchor walk per instrument, minute bars per
// day (the source of truth) and the expansion of one minute into its ticks.

#include "market/market_types.h"
#include "market/universe.h"

#include <cstdint>
#include <vector>

namespace portico::detail {

// The state of an instrument on one calendar day, from its daily walk.
struct DayParams {
    double anchor = 0.0;     // log price at the end of the day
    double prevAnchor = 0.0; // log price at the end of the previous trading day
    double volatility = 0.0; // standard deviation of this day's log path
    double activity = 1.0;   // multiplier of the mean number of trades
    double heat = 0.0;       // log of the volatility multiplier (clusters over days)
    std::uint32_t openInterest = 0;
    bool trading = false;
};

// Extends `params` (indexed by day - firstDay) so that it covers `day`.
void ExtendDayParams(std::uint64_t seed, const Instrument& instrument, const Profile& profile,
                     std::vector<DayParams>& params, std::int32_t day);

// One minute with counted trades.
struct MinuteBar {
    std::int32_t minute = 0; // minute of the day
    char basis = 'C';
    std::uint32_t ticks = 0;   // counted trades
    std::uint32_t oddLots = 0; // odd-lot prints besides them
    std::int64_t open = 0;
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::int64_t close = 0;
    std::int64_t volume = 0;       // of the counted trades
    std::int64_t volumeBefore = 0; // the day's counted volume before this minute
    std::uint32_t tickIdBefore = 0;

    std::uint32_t allTicks() const { return ticks + oddLots; }
};

struct DayMinutes {
    std::int32_t day = 0;
    std::uint64_t seed = 0;
    std::uint8_t dayCode = 0;
    std::vector<MinuteBar> minutes; // minutes with trades, in time order
};

std::uint64_t DaySeed(std::uint64_t seed, const Profile& profile, std::int32_t day);

// Fills `out` with the minute bars of a trading day.
void GenerateDay(const Instrument& instrument, const Profile& profile, const DayParams& params,
                 DayMinutes& out);

// The counted trades of a whole day, and the number of ticks of every basis.
struct DaySums {
    std::int64_t open = 0;
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::int64_t close = 0;
    std::int64_t volume = 0;
    std::uint32_t ticks = 0;
    std::uint32_t allTicks = 0;
};

// The same as folding the minute bars of GenerateDay, without keeping them.
void SummariseDay(const Instrument& instrument, const Profile& profile, const DayParams& params,
                  std::int32_t day, std::uint64_t seed, DaySums& out);

inline Micros MinuteStart(const DayMinutes& day, const MinuteBar& bar) {
    return StartOfDay(day.day) + bar.minute * kMicrosPerMinute;
}

// Writes every tick of one minute (odd lots included), in time order, to out .. out +
// bar.allTicks(), every field of every tick.
void ExpandMinute(const Instrument& instrument, const Profile& profile, const DayMinutes& day,
                  const MinuteBar& bar, Tick* out);

// Appends them to `out`.
inline void ExpandMinute(const Instrument& instrument, const Profile& profile,
                         const DayMinutes& day, const MinuteBar& bar, std::vector<Tick>& out) {
    const std::size_t first = out.size();
    out.resize(first + bar.allTicks());
    ExpandMinute(instrument, profile, day, bar, out.data() + first);
}

} // namespace portico::detail

#pragma once

// The market behind the public interface: the universe, the per-instrument caches of daily walk
// and day totals, a small LRU of generated days, and the queries.

#include "market/calendar.h"
#include "market/generator.h"
#include "market/market_types.h"
#include "market/universe.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace portico {

// No instrument trades after this day: it bounds every walk over days, whatever time is asked.
inline constexpr std::int32_t kLastMarketDay = detail::DaysFromCivil(2199, 12, 31);

inline std::int32_t LastDayOf(Micros t) {
    return std::min(DayOf(t), kLastMarketDay);
}

class MarketImpl {
public:
    // `cachedDays`: how many generated days the LRU keeps.
    explicit MarketImpl(std::uint64_t seed, std::size_t cachedDays = 48);

    std::uint64_t seed() const { return m_seed; }

    const detail::Universe& universe() const { return m_universe; }
    const detail::Profile& profile(const Instrument& i) const {
        return m_universe.profiles[i.index];
    }

    // The walk state of a day (nullptr before the instrument's first day).
    const detail::DayParams* dayParams(const Instrument& instrument, std::int32_t day) const;
    bool trades(const Instrument& instrument, std::int32_t day) const;
    // The minute bars of a day; nullptr when the instrument does not trade that day.
    std::shared_ptr<const detail::DayMinutes> dayMinutes(const Instrument& instrument,
                                                         std::int32_t day) const;
    void expand(const Instrument& instrument, const detail::DayMinutes& day,
                const detail::MinuteBar& bar, std::vector<Tick>& out) const {
        detail::ExpandMinute(instrument, profile(instrument), day, bar, out);
    }
    // Writes the bar.allTicks() ticks at `out`.
    void expand(const Instrument& instrument, const detail::DayMinutes& day,
                const detail::MinuteBar& bar, Tick* out) const {
        detail::ExpandMinute(instrument, profile(instrument), day, bar, out);
    }

    struct DayTotal : detail::DaySums {
        bool known = false;
    };
    const DayTotal& dayTotal(const Instrument& instrument, std::int32_t day) const;
    // Computes the totals of the days fromDay..toDay that are not known yet: the first long
    // daily history of an instrument is the one slow query, after which it is cached.
    void fillTotals(const Instrument& instrument, std::int32_t fromDay, std::int32_t toDay) const;
    // The day bar of the counted trades of `day` at or before `now` (tickCount 0 when none).
    Bar dayBar(const Instrument& instrument, std::int32_t day, Micros now) const;

    // Feeds the counted trades of `day` with from <= time <= to to the callbacks: whole minute
    // bars where a minute lies inside [from, to] and inside one bucket of `bucketSeconds`
    // (counted from midnight), the single ticks otherwise.
    template <class OnMinute, class OnTick>
    void visitDay(const Instrument& instrument, std::int32_t day, Micros from, Micros to,
                  int bucketSeconds, OnMinute onMinute, OnTick onTick) const;

    TickCursor ticks(const Instrument& instrument, Micros from, Micros to) const;
    TickCursor lastTicks(const Instrument& instrument, std::size_t count, Micros to) const;
    std::uint64_t countTicks(const Instrument& instrument, Micros from, Micros to) const;
    Micros startOfRecentDays(const Instrument& instrument, int days, Micros now) const;
    std::vector<Bar> intervalBars(const Instrument& instrument, int seconds, Micros from,
                                  Micros to) const;
    std::vector<Bar> lastIntervalBars(const Instrument& instrument, int seconds, std::size_t count,
                                      Micros now) const;
    std::vector<Bar> dailyBars(const Instrument& instrument, std::int32_t fromDay,
                               std::int32_t toDay, Micros now) const;
    std::vector<Bar> lastDailyBars(const Instrument& instrument, std::size_t count,
                                   Micros now) const;
    std::vector<Bar> lastWeeklyBars(const Instrument& instrument, std::size_t count,
                                    Micros now) const;
    std::vector<Bar> lastMonthlyBars(const Instrument& instrument, std::size_t count,
                                     Micros now) const;
    DaySummary daySummary(const Instrument& instrument, Micros now) const;

private:
    struct InstrumentCache {
        std::vector<detail::DayParams> params; // by day - firstDay
        std::vector<DayTotal> totals;          // by day - firstDay
    };
    struct LruEntry {
        std::uint32_t instrument = 0;
        std::int32_t day = 0;
        std::uint64_t used = 0;
        std::shared_ptr<const detail::DayMinutes> minutes;
    };

    void intervalBarsOfDay(const Instrument& instrument, int seconds, std::int32_t day, Micros from,
                           Micros to, std::vector<Bar>& out) const;
    template <class Grouping>
    std::vector<Bar> groupedBars(const Instrument& instrument, std::size_t count,
                                 std::int64_t daysPerGroup, Micros now, Grouping key) const;

    std::uint64_t m_seed;
    std::size_t m_cachedDays;
    detail::Universe m_universe;
    mutable std::vector<InstrumentCache> m_caches;
    mutable std::vector<LruEntry> m_lru;
    mutable std::uint64_t m_clock = 0;
};

template <class OnMinute, class OnTick>
void MarketImpl::visitDay(const Instrument& instrument, std::int32_t day, Micros from, Micros to,
                          int bucketSeconds, OnMinute onMinute, OnTick onTick) const {
    const auto minutes = dayMinutes(instrument, day);
    if (!minutes) {
        return;
    }
    std::vector<Tick> ticks;
    for (const detail::MinuteBar& m : minutes->minutes) {
        const Micros start = detail::MinuteStart(*minutes, m);
        const Micros end = start + kMicrosPerMinute - 1;
        if (start > to) {
            break;
        }
        if (end < from) {
            continue;
        }
        const int second = m.minute * 60;
        const bool oneBucket = second / bucketSeconds == (second + 59) / bucketSeconds;
        if (start >= from && end <= to && oneBucket) {
            onMinute(m);
            continue;
        }
        ticks.clear();
        expand(instrument, *minutes, m, ticks);
        for (const Tick& t : ticks) {
            if (t.basis != 'O' && t.time >= from && t.time <= to) {
                onTick(t);
            }
        }
    }
}

} // namespace portico

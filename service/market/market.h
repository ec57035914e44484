#pragma once

// The simulated market that portico serves: a fixed universe of fictional instruments whose
// trades are a deterministic function of (seed, symbol, day). Minute bars are the source of
// truth; ticks expand a minute; interval, daily, weekly and monthly bars aggregate the ticks.
// Its types and units: market/market_types.h.

#include "market/market_types.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace portico {

class Market {
public:
    explicit Market(std::uint64_t seed);
    ~Market();
    Market(const Market&) = delete;
    Market& operator=(const Market&) = delete;

    const std::vector<Instrument>& instruments() const;
    const Instrument* find(std::string_view symbol) const;
    const std::vector<ListedMarket>& listedMarkets() const;
    const std::vector<SecurityType>& securityTypes() const;

    // Every tick (odd lots included) with from <= time <= to, oldest first.
    TickCursor ticks(const Instrument& instrument, Micros from, Micros to) const;
    // The newest `count` ticks at or before `to` (fewer when history is shorter), oldest first.
    TickCursor lastTicks(const Instrument& instrument, std::size_t count, Micros to) const;
    // Whether the instrument trades at all on `day` (days since 1970-01-01).
    bool tradesOn(const Instrument& instrument, std::int32_t day) const;
    // How many ticks ticks(instrument, from, to) gives, odd lots included, counted from the day
    // and minute totals wherever a whole day or minute lies inside the range.
    std::uint64_t countTicks(const Instrument& instrument, Micros from, Micros to) const;
    // Computes the day totals of fromDay..toDay that are not known yet, so that later daily,
    // weekly and monthly queries over those days are quick: lets a caller spread the work of a
    // long history over several short calls.
    void prepareDays(const Instrument& instrument, std::int32_t fromDay, std::int32_t toDay) const;
    // 00:00 of the `days`-th most recent day that has trades at or before `now` (counting the
    // day of `now` when it has trades by then); the first day of history when there are fewer.
    Micros startOfRecentDays(const Instrument& instrument, int days, Micros now) const;

    // Bars of `seconds` (aligned to midnight, labelled at their end) over the counted trades
    // with from <= time <= to; intervals without trades give no bar.
    std::vector<Bar> intervalBars(const Instrument& instrument, int seconds, Micros from,
                                  Micros to) const;
    // The newest `count` interval bars of trades at or before `now`, oldest first.
    std::vector<Bar> lastIntervalBars(const Instrument& instrument, int seconds, std::size_t count,
                                      Micros now) const;

    // Day bars of the days fromDay..toDay (days since 1970-01-01, inclusive) with trades, over
    // counted trades at or before `now`; oldest first.
    std::vector<Bar> dailyBars(const Instrument& instrument, std::int32_t fromDay,
                               std::int32_t toDay, Micros now) const;
    std::vector<Bar> lastDailyBars(const Instrument& instrument, std::size_t count,
                                   Micros now) const;
    // Weeks run Monday to Sunday and months by the calendar; each bar aggregates its day bars
    // and is labelled with the date of its newest day bar.
    std::vector<Bar> lastWeeklyBars(const Instrument& instrument, std::size_t count,
                                    Micros now) const;
    std::vector<Bar> lastMonthlyBars(const Instrument& instrument, std::size_t count,
                                     Micros now) const;

    DaySummary daySummary(const Instrument& instrument, Micros now) const;

private:
    std::unique_ptr<MarketImpl> m_impl;
};

} // namespace portico

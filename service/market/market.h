#pragma once

// The simulated market that portico serves: a fixed universe of fictional instruments whose
// trades are a deterministic function of (seed, symbol, day). Minute bars are the source of
// truth; ticks expand a minute; interval, daily, weekly and monthly bars aggregate the ticks.
// Its types and units: market/market_types.h.
//
// With a data folder, the instruments of a trader's own files are served beside (or instead of)
// the simulated ones, through the same queries: each is an Instrument of Origin::File whose
// queries go to the file store.

#include "market/market_types.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace portico {

namespace files {
class FileStore;
}

struct DataFolder {
    std::string path;                            // empty: none
    bool only = false;                           // its instruments instead of the simulated ones
    std::function<void(const std::string&)> log; // lines for the service's log
};

class Market {
public:
    explicit Market(std::uint64_t seed, const DataFolder& data = {});
    ~Market();
    Market(const Market&) = delete;
    Market& operator=(const Market&) = delete;

    // A market of the same simulated instruments and trades, without a data folder, whose
    // caches are its own and keep only `cachedDays` generated days: for reading ticks on
    // another thread. It reads nothing of this market that ever changes, so any thread may
    // call it.
    std::unique_ptr<Market> simulatedCopy(std::size_t cachedDays) const;

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

    // Whether the instrument's data can be read now, waiting up to `wait` for that: false while
    // its files are being indexed. The other queries wait for the indexing themselves.
    bool ready(const Instrument& instrument, std::chrono::milliseconds wait) const;
    // Instruments of a followed file, whose trades arrive as rows are appended to it: the count
    // of its trades now, and those from the `seen`-th on, after which `seen` counts them.
    std::uint64_t tradeCount(const Instrument& instrument) const;
    void newTrades(const Instrument& instrument, std::uint64_t& seen, std::vector<Tick>& out) const;

private:
    Market(std::unique_ptr<MarketImpl> impl, const DataFolder& data);
    files::FileStore& files(const Instrument& instrument) const; // ready, decimals up to date
    void sync(const Instrument& instrument) const;

    std::unique_ptr<MarketImpl> m_impl;
    std::unique_ptr<files::FileStore> m_files;
    mutable std::vector<Instrument> m_instruments;
    std::size_t m_fileStart = 0; // position of the first file instrument
    std::vector<ListedMarket> m_markets;
    std::vector<SecurityType> m_types;
};

} // namespace portico

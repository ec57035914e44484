#pragma once

// The instruments of a folder of data files (SYMBOL.daily.csv, SYMBOL.minute.csv,
// SYMBOL.ticks.csv, each optionally .gz, with SYMBOL.json or instruments.csv describing them),
// indexed by a worker thread at start and again when a file changes, and the market queries
// answered from them. Everything but the worker runs on the caller's (the event loop's) thread.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "datafiles/series_file.h"
#include "market/market_types.h"

namespace portico::files {

using LogSink = std::function<void(const std::string&)>;

// An instrument found in the folder, as listed before its files are indexed.
struct FileListing {
    std::string symbol;
    std::string description;
    std::string market; // short names; empty: the folder's own market / equity
    std::string securityType;
};

class FileStore {
public:
    // Lists the folder and starts indexing its files. `log` may be called from the worker.
    FileStore(const std::string& folder, LogSink log);
    ~FileStore();
    FileStore(const FileStore&) = delete;
    FileStore& operator=(const FileStore&) = delete;

    const std::vector<FileListing>& listing() const { return m_listing; }

    // Whether the files of instrument `i` are indexed and current, waiting up to `wait` for
    // that; a file that changed on disk is indexed again first (rows appended to a plain file
    // are added at once, anything else goes to the worker).
    bool ready(std::size_t i, std::chrono::milliseconds wait);
    // Waits as long as it takes.
    void awaitReady(std::size_t i);
    // Once ready: the most decimals among its prices and its first day with rows.
    int decimals(std::size_t i) const;
    std::int32_t firstDay(std::size_t i) const;
    // The log lines written so far have all been flushed once this returns true (all indexed).
    bool allIndexed() const;

    // The queries of Market, for a ready instrument; prices in units of 10^-decimals(i).
    TickCursor ticks(std::size_t i, Micros from, Micros to);
    TickCursor lastTicks(std::size_t i, std::size_t count, Micros to);
    std::uint64_t countTicks(std::size_t i, Micros from, Micros to);
    bool tradesOn(std::size_t i, std::int32_t day) const;
    Micros startOfRecentDays(std::size_t i, int days, Micros now);
    std::vector<Bar> intervalBars(std::size_t i, int seconds, Micros from, Micros to);
    std::vector<Bar> lastIntervalBars(std::size_t i, int seconds, std::size_t count, Micros now);
    std::vector<Bar> dailyBars(std::size_t i, std::int32_t fromDay, std::int32_t toDay, Micros now);
    std::vector<Bar> lastDailyBars(std::size_t i, std::size_t count, Micros now);
    std::vector<Bar> lastWeeklyBars(std::size_t i, std::size_t count, Micros now);
    std::vector<Bar> lastMonthlyBars(std::size_t i, std::size_t count, Micros now);
    DaySummary daySummary(std::size_t i, Micros now);

    // Following a growing tick file: the rows it holds now, and the rows from `seen` on that
    // have been appended since (complete lines only), after which `seen` counts them too.
    std::uint64_t tradeCount(std::size_t i);
    void newTrades(std::size_t i, std::uint64_t& seen, std::vector<Tick>& out);

private:
    struct Entry {
        SeriesFile file;
        bool queued = false;                // waiting for or in the worker
        std::shared_ptr<SeriesIndex> built; // made by the worker, not yet taken
    };
    // A day with rows and the coarsest file holding it: day bars come from the daily rows, and
    // from the minute rows or ticks of the days the daily file does not reach (yet).
    struct TradingDay {
        std::int32_t day = 0;
        SeriesKind kind = SeriesKind::Daily;
    };
    struct Holding {
        Entry* series[3] = {}; // by SeriesKind
        std::vector<TradingDay> days;
        bool replanned = true; // days is out of date
    };

    void scan(const std::string& folder);
    void readDescriptions(const std::string& folder);
    void work();
    std::shared_ptr<SeriesIndex> build(const Entry& entry);
    // Takes what the worker made and checks the files on disk; true when all are current.
    bool settle(std::size_t i);
    void append(Entry& entry, std::uint64_t size, std::int64_t modified);

    SeriesFile* seriesOf(std::size_t i, SeriesKind kind) const;
    void planDays(std::size_t i);
    // The trading days of `i` from `day` on.
    std::vector<TradingDay>::const_iterator daysFrom(std::size_t i, std::int32_t day) const;
    SeriesFile* barSource(std::size_t i, int seconds) const;
    std::int64_t divisor(std::size_t i) const;
    Tick toTick(const FileRow& row, std::int64_t divisor) const;
    void rowBars(std::size_t i, SeriesFile& file, int seconds, Micros from, Micros to,
                 std::vector<Bar>& out);
    Bar dayBar(std::size_t i, const TradingDay& day, Micros now);
    std::uint64_t rowsBefore(SeriesFile& file, Micros time);
    template <class Key>
    std::vector<Bar> groupedBars(std::size_t i, std::size_t count, Micros now, Key key);

    LogSink m_log;
    std::vector<FileListing> m_listing;
    std::vector<Holding> m_holdings; // parallel to m_listing
    std::deque<Entry> m_entries;     // stable addresses
    std::vector<int> m_decimals;     // parallel to m_listing, kept by settle()
    std::vector<std::int32_t> m_firstDays;

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;  // work for the worker
    std::condition_variable m_built; // the worker finished a file
    std::deque<Entry*> m_queue;
    std::size_t m_busy = 0; // files queued or being indexed
    bool m_stop = false;
    std::thread m_worker;
};

} // namespace portico::files

#pragma once

// Follows the loaded symbol live: every Level 1 trade either adds a tick, extends the newest
// interval bar or starts the next one, or rewrites the newest day bar from the day's summary.
// Plain C++; the chart loader hands it every Level 1 line once the history is complete, and the
// parser's replay of the lines held while loading goes through it as well.

#include "base/datetime.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class CChartHistRequest;
struct SHistoryParameters;
struct sTICK;

// Positions of the fields in an update line, in the order the Level 1 connection selects them.
namespace level1 {
inline constexpr int kSymbol = 1;
inline constexpr int kTotalVolume = 2;
inline constexpr int kTradeSize = 3;
inline constexpr int kHigh = 4;
inline constexpr int kLow = 5;
inline constexpr int kBid = 6;
inline constexpr int kAsk = 7;
inline constexpr int kTradeTime = 10;
inline constexpr int kOpenInterest = 11;
inline constexpr int kOpen = 12;
inline constexpr int kTradeDate = 14;
inline constexpr int kTrade = 15;
inline constexpr int kTickId = 17;
inline constexpr int kMessageContents = 21;
inline constexpr int kAggressor = 23;
inline constexpr int kDayCode = 24;
} // namespace level1

// A trade that changed the series: its price and exchange time (invalid when its line had no
// date).
struct SLiveTrade {
    double price = 0.0;
    CDateTime time;
    std::int32_t microseconds = 0;
    int bar = 0; // the series index of the point the trade went into
};

class CLevel1Updater {
public:
    explicit CLevel1Updater(CChartHistRequest& history);

    // Applies one Level 1 line ('Q' update, 'P' summary, 'F' fundamentals); true when the series
    // changed. Never throws: a short or malformed line is dropped and LastDropReason() says why.
    //
    // 'F' lines set the price text width (field 30 with the exchange format on, field 31 + 10
    // with it off) whatever the state of the request. 'Q' and 'P' lines change the series only
    // once the history of the current request is complete and only for request kinds that
    // follow live (ticks 0-2, intervals 3-5, days 6, and 7 when its end date is -1), for the
    // request's own symbol, and only when they are trades: contents holding "C", or "E"/"O"
    // with extended trades accepted. A 'P' line must also be later than the newest point.
    bool Apply(const std::string& line);

    // Whether a line that arrives while the history loads is worth holding for the replay at
    // its end: an update or summary line of the request's symbol that is a trade, for a request
    // kind that follows live. Quotes and other symbols' lines are not; a line of the symbol too
    // short to tell is dropped (counted and given a reason). Fundamental lines are applied at
    // once by the caller and never held.
    bool WorthHolding(const std::string& line);

    // Called when a new request starts: the first trades after the history are checked against
    // the newest record again (see Apply's catch-up), and no trade has been applied yet.
    void Reset();

    void SetExchangeFormat(bool on) { m_exchangeFormat = on; }

    // Trade lines that changed the series since construction (not reset by a new request).
    std::uint64_t AppliedTradeLines() const { return m_appliedTrades; }
    // Lines dropped as short or malformed since construction.
    std::uint64_t DroppedLines() const { return m_dropped; }
    // When a trade of the request's symbol last changed the series; none since Reset.
    std::optional<std::chrono::steady_clock::time_point> LastUpdate() const { return m_lastUpdate; }
    // The trade that last changed the series; none since Reset.
    const std::optional<SLiveTrade>& LastTrade() const { return m_lastTrade; }
    // Why the last dropped line was dropped ("" before the first).
    const std::string& LastDropReason() const { return m_dropReason; }

private:
    // One qualified trade, read from an update line.
    struct STrade {
        bool summary = false; // a 'P' line
        bool counted = false; // contents hold "C"
        double price = 0.0;
        std::uint32_t size = 0;
        std::int64_t totalVolume = 0;
        double high = 0.0;
        double low = 0.0;
        double open = 0.0;
        std::uint32_t openInterest = 0;
        std::string_view dateText; // "MM/DD/YYYY"
        std::uint32_t tickId = 0;
        std::uint8_t dayCode = 0;
        int year = 0;
        int month = 0;
        int day = 0;
        bool dateValid = false;
        int hour = 0;
        int minute = 0;
        int second = 0;
        std::int32_t microseconds = 0;
    };

    bool Drop(std::string reason);
    // The field at `position`, "" when the line is shorter.
    std::string_view Optional(int position) const;
    bool ApplyFundamental();
    bool ReadTrade(bool extended, STrade& trade);
    static bool PassesTimeFilter(const STrade& trade, const SHistoryParameters& params);
    bool AlreadyInHistory(const STrade& trade, const sTICK& newest, std::uint32_t kind) const;
    bool ApplyTick(const STrade& trade);
    bool ApplyInterval(const STrade& trade, const sTICK& newest, int interval);
    bool ApplyDaySummary(const STrade& trade, const sTICK& newest);
    // Whether the trade belongs to the newest bar or a later one by the dates of the two
    // (steps shared by interval and day bars): 1 same date and not earlier, 0 the newest bar,
    // 2 a new bar by the MMDDYYYY comparison.
    int CompareWithNewest(const STrade& trade, const sTICK& newest) const;

    CChartHistRequest& m_history;
    bool m_exchangeFormat = true;
    bool m_caughtUp = false;
    std::vector<std::string_view> m_fields;
    std::uint64_t m_appliedTrades = 0;
    std::uint64_t m_dropped = 0;
    std::optional<std::chrono::steady_clock::time_point> m_lastUpdate;
    std::string m_dropReason;
    std::optional<SLiveTrade> m_lastTrade;
};

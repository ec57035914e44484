#pragma once

// Follows the loaded symbol live: every Level 1 trade either adds a tick, extends the newest
// interval bar or starts the next one, or rewrites the newest day bar from the day's summary.
// Plain C++; the chart loader hands it every Level 1 line once the history is complete, and the
// parser's replay of the lines held while loading goes through it as well.

#include "base/datetime.h"
#include "history/update_trade.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class CChartHistRequest;
struct SHistoryParameters;
struct sTICK;

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
    bool Drop(std::string reason);
    // The field at `position`, "" when the line is shorter.
    std::string_view Optional(int position) const;
    bool ApplyFundamental();
    bool ReadTrade(bool extended, SUpdateTrade& trade);
    static bool PassesTimeFilter(const SUpdateTrade& trade, const SHistoryParameters& params);
    bool AlreadyInHistory(const SUpdateTrade& trade, const sTICK& newest, std::uint32_t kind) const;
    bool ApplyTick(const SUpdateTrade& trade);
    bool ApplyInterval(const SUpdateTrade& trade, const sTICK& newest, int interval);
    bool ApplyDaySummary(const SUpdateTrade& trade, const sTICK& newest);
    // Whether the trade belongs to the newest bar or a later one by the dates of the two
    // (steps shared by interval and day bars): 1 same date and not earlier, 0 the newest bar,
    // 2 a new bar by the MMDDYYYY comparison.
    int CompareWithNewest(const SUpdateTrade& trade, const sTICK& newest) const;

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

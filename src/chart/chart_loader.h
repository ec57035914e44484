#pragma once

// Drives one chart's history: the start of a request (derive the parameters from the request
// settings, watch the symbol, send the one command), the answer lines, the Level 1 lines held
// back while loading, and the progress texts. Plain C++; the chart view adds the 250 ms timer
// and the window, the export mode its own event loop.

#include "chart/chart_progress.h"
#include "history/exchange_clock.h"
#include "history/history_parser.h"
#include "history/history_request.h"
#include "history/live_updater.h"
#include "history/request_settings.h"
#include "history/request_settings_check.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class CAnswerReceiver;
class CChartHistRequest;
class CSettings;
class IHistoryFeed;

// What the chart shows once loaded, in words and numbers.
struct SChartSummary {
    std::string symbol;
    std::string dataType; // "Ticks", "5-Minute bars", "Daily bars", ...
    int points = 0;
    std::string first; // time stamp of the first point ("" when none)
    std::string last;  // time stamp of the last point
    double lastClose = 0.0;
    bool complete = false;
};

class CChartLoader {
public:
    // How a start of a request went.
    enum class EStart {
        Sent,         // the command went out on the lookup connection
        NoConnection, // no lookup connection (or no feed): nothing sent
        Failed,       // the settings could not give a request (SettingsProblem()): nothing sent
    };

    // The view shows this many of the newest points at once until the display settings say
    // otherwise.
    static constexpr int kDefaultDisplayedPoints = 120;

    // How long an answer may send nothing before it counts as stalled: the window says so (and
    // goes on waiting), the export gives up. The environment variable, a whole number of seconds
    // from 1 to 86400, takes its place (for tests).
    static constexpr std::chrono::seconds kStallLimit{60};
    static constexpr const char* kStallLimitVariable = "SKYCHART_STALL_SECONDS";
    // The stall limit that `seconds` (the variable's value, or null) gives: kStallLimit unless it
    // holds a whole number from 1 to 86400.
    static std::chrono::milliseconds StallLimitFrom(const char* seconds);
    // "the service sent nothing for 60 s while LUMA was loading"
    static std::string StallText(std::chrono::milliseconds limit, const std::string& symbol);

    // Marks the chart alive in `history` for the loader's lifetime: answer lines that arrive
    // after it is gone are dropped. The request is made from `settings`, read when it starts;
    // both outlive the loader.
    CChartLoader(CChartHistRequest& history, const CSettings& settings);
    ~CChartLoader();
    CChartLoader(const CChartLoader&) = delete;
    CChartLoader& operator=(const CChartLoader&) = delete;

    // The frame's feed (null until the connections exist). New connections are taken to work.
    // With ParseOnWorker the feed's lookup connection hands its bytes to the loader's worker;
    // the lines of the old feed's connection that the worker still holds are dispatched first.
    void SetFeed(IHistoryFeed* feed);
    IHistoryFeed* Feed() const { return m_feed; }

    // Reads the request settings from the settings table (at start, and after the data settings
    // page stored them).
    void LoadSettings();
    const SRequestSettings& Settings() const { return m_request; }
    // The prefix of the request id of the loader's commands (kHistoryIdPrefix unless set): a
    // second series on the same lookup connection tells its answer lines apart by it.
    void SetRequestIdPrefix(std::string prefix) {
        m_parser.SetIdPrefix(prefix);
        m_idPrefix = std::move(prefix);
    }
    // Requests the symbol handed to Load rather than "CurrentSymbol" (a second series).
    void SetOwnSymbol(bool own) { m_ownSymbol = own; }

    // Leaves the symbol shown: unwatches it and empties the series, freeing its memory. Nothing
    // but the latter when none is shown.
    void Leave();
    // Loads `symbol` ("CurrentSymbol"): a different symbol shown before is left, the series is
    // emptied, then the parameters are derived, the symbol watched, `startTimer` called (the
    // caller's progress timer; may be empty) and the one command sent.
    EStart Load(const std::string& symbol, const std::function<void()>& startTimer = {});

    // From now on the feed's lookup connection hands what it receives to a thread of the
    // loader's own, which appends the records of the loader's request id to the series while
    // they arrive; every other line (the end marker, error replies, other answers, symbol
    // lookups) comes back to the loader's thread through the feed, in order, as a received line,
    // and so reaches OnHistoryLine as before. `post` runs the function it is given later on the
    // loader's thread (a queued call of its event loop); it is called from the worker thread,
    // and what it runs must not outlive the loader's owner.
    void ParseOnWorker(std::function<void(std::function<void()>)> post);

    // A lookup line beginning with "Loo" (the answer to a history command). Malformed lines
    // throw CInvalidArgException (records appended before stay).
    void OnHistoryLine(const std::string& line);
    // A Level 1 line: while the history is loading only the trades of the symbol are held back
    // (at most CHistoryResponseParser::kHeldLineLimit, the oldest make room) and replayed at its
    // end through the live updater; once the history is complete every line goes to the updater
    // at once. A fundamental ('F') line sets the price text width even while loading. Short or
    // malformed lines are dropped and logged.
    void OnLevel1Line(const std::string& line);

    // A time stamp line of the Level 1 connection: the exchange clock follows it.
    void OnTimeLine(const std::string& line,
                    std::chrono::steady_clock::time_point at = std::chrono::steady_clock::now());
    // The exchange time as the feed told it (time stamps and trades), run on to `at`; none
    // before the feed said any.
    std::optional<CDateTime>
    ExchangeNow(std::chrono::steady_clock::time_point at = std::chrono::steady_clock::now()) const {
        return m_clock.Now(at);
    }
    // Called with every trade that changed the series, live or replayed after the load, at once.
    void SetTradeHandler(std::function<void(const SLiveTrade&)> handler) {
        m_tradeHandler = std::move(handler);
    }

    // One tick of the progress timer: the status text, and the complete history or the new live
    // points handed to `sink`. An answer that has sent nothing for the stall limit up to `now`
    // is stalled: the text says so (and waits on) until its next line.
    void
    OnProgressTick(IHistoryProgressSink& sink,
                   std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now());

    // The live part of a progress tick alone, between ticks: the new live points handed to
    // `sink` once the history is shown; the status text waits for the tick.
    void ShowLivePoints(IHistoryProgressSink& sink);

    void SetStallLimit(std::chrono::milliseconds limit) { m_stallLimit = limit; }
    std::chrono::milliseconds StallLimit() const { return m_stallLimit; }
    // True while the answer loading has sent nothing for the stall limit (as of the last tick).
    bool Stalled() const { return m_stalled; }

    // The connection that brings the answers stopped for `why` ("the market-data service closed
    // the lookup connection (127.0.0.1:9100)"), for good until the next SetFeed. An answer still
    // arriving ends with the points received: they are shown as the history, marked incomplete,
    // and the symbol is no longer followed live (its newest points never came). A later load
    // ends the same way at once.
    void LookupStopped(const std::string& why);
    // Why the shown history is incomplete; "" when it is not.
    const std::string& IncompleteReason() const { return m_progress.Incomplete(); }
    // The status text of the history shown with `displayed` points at once.
    std::string ShownText(int displayed) const;

    const std::string& Symbol() const { return m_symbol; }
    int DataType() const { return m_dataType; }
    int IntervalIndex() const { return m_intervalIndex; }
    const CChartHistRequest& History() const { return m_history; }
    // True from a Load until the end marker of a complete answer.
    bool Loading() const;
    // True once the progress timer has shown the complete history of the last Load.
    bool HistoryShown() const { return !m_symbol.empty() && !Loading() && !m_progress.IsNewLoad(); }
    // Removes the point at `index` of the shown history (false, nothing changed, when the index
    // is outside the series or the history is not shown yet). Live points are followed on from
    // the shorter series.
    bool RemovePoint(int index);
    // The error reply's text since the last Load ("!NO_DATA!", "!UNKNOWN_SYMBOL!"); "" when none.
    // It explains an empty series; a series with points is shown whatever this says.
    const std::string& AnswerError() const { return m_parser.AnswerError(); }
    // Why the last Load could not make a request from the stored settings; none when it could.
    const std::optional<SRequestSettingProblem>& SettingsProblem() const {
        return m_settingsProblem;
    }
    // True once the end marker of an answer arrived since the last Load (error or not).
    bool AnswerEnded() const { return m_parser.AnswerEnded(); }
    SChartSummary Summary() const;
    const std::deque<std::string>& HeldLevel1Lines() const { return m_parser.HeldLevel1Lines(); }

    // Trade lines that changed the series since the loader was made.
    std::uint64_t AppliedTradeLines() const { return m_updater.AppliedTradeLines(); }
    // When a trade of the symbol last changed the series (steady clock); none since the Load.
    std::optional<std::chrono::steady_clock::time_point> LastLiveUpdate() const {
        return m_updater.LastUpdate();
    }

private:
    // Leave() keeping the series' blocks for the series loaded next.
    void LeaveSymbol();
    void ApplyLevel1(const std::string& line);
    // Takes the series as it stands for the answer that stopped short.
    void EndIncomplete(const std::string& why);
    // The worker has lines, a failure or room: the feed takes them.
    void OnWorkerWake();
    // History lines and answer bytes received so far.
    std::uint64_t Received() const;

    CChartHistRequest& m_history;
    IHistoryFeed* m_feed = nullptr;
    const CSettings& m_settings;
    SRequestSettings m_request;
    CHistoryResponseParser m_parser;
    CLevel1Updater m_updater;
    CHistoryProgress m_progress;
    CExchangeClock m_clock;
    std::function<void(const SLiveTrade&)> m_tradeHandler;
    std::string m_symbol;
    int m_dataType = 0;
    int m_intervalIndex = 0;
    std::optional<SRequestSettingProblem> m_settingsProblem;
    std::chrono::milliseconds m_stallLimit = kStallLimit;
    // Lines of the answer so far (with the bytes the worker received), and when the progress
    // timer last saw the count move: counting is all a line costs, the clock is read once a tick.
    std::uint64_t m_linesReceived = 0;
    std::uint64_t m_linesSeen = 0;
    std::chrono::steady_clock::time_point m_lastLineAt;
    bool m_requestSent = false;
    bool m_stalled = false;
    std::string m_lookupStopped;
    std::string m_idPrefix{kHistoryIdPrefix};
    bool m_ownSymbol = false;
    // Last: its worker stops before the parser and the series go.
    std::unique_ptr<CAnswerReceiver> m_receiver;
};

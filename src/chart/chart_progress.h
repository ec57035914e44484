#pragma once

#include "core/timers.h"

#include <optional>
#include <string>

class CChartHistRequest;

// Where the progress of a chart's history goes every 250 ms: the chart view (status bar, scroll
// bar and panes) or the export (its log).
class IHistoryProgressSink {
public:
    virtual ~IHistoryProgressSink() = default;
    // A progress text (status bar pane 45030).
    virtual void SetStatusText(const std::string& text) = 0;
    // The history of a new load is complete with `count` points: everything is computed over the
    // whole series and the newest points are shown. Returns how many points are shown at once.
    virtual int ShowCompleteHistory(int count) = 0;
    // The series holds `count` points, `added` of them beyond those shown before (0: only the
    // newest point may have changed). Returns how many points are shown at once when the sink
    // took them; none when it leaves them for a later tick (a chart scrolled back from the newest
    // points stays where it is).
    virtual std::optional<int> ShowNewPoints(int count, int added) = 0;
};

// The loading-progress and live-follow decisions, made every 250 ms.
class CHistoryProgress {
public:
    static constexpr int kTimerId = timers::kProgressId;
    static constexpr int kPeriodMs = timers::kProgressPeriodMs;
    static constexpr int kStatusPaneId = 45030;

    // A symbol was loaded: the next completed tick recomputes everything.
    void StartNewLoad() {
        m_newLoad = true;
        m_incomplete.clear();
    }
    bool IsNewLoad() const { return m_newLoad; }
    int ShownCount() const { return m_shownCount; }
    void SetShownCount(int count) { m_shownCount = count; }
    // The answer of this load stopped short for `why` (the series is taken as it stands): the
    // datapoints texts say so from now on.
    void SetIncomplete(std::string why) { m_incomplete = std::move(why); }
    const std::string& Incomplete() const { return m_incomplete; }

    // One timer tick. `dataType` is "RequestDataType". Without `withText` (live points drawn
    // between ticks) the status text is left for the next tick.
    void OnTimer(const CChartHistRequest& history, int dataType, IHistoryProgressSink& sink,
                 bool withText = true);

    // The text of a shown history: DatapointsText, or IncompleteText when the answer stopped
    // short.
    std::string ShownText(int dataType, int count, int displayed) const;

    // "Retrieving Tick Data (%d Ticks Received)" and its kin; empty outside 0-4.
    static std::string RetrievalText(int dataType, int count);
    // "%d datapoints available.  Displaying %d."
    static std::string DatapointsText(int count, int displayed);
    // "History incomplete: <why> after 1,073,083 ticks.  Displaying 120." ("No history: <why>."
    // when nothing came).
    static std::string IncompleteText(const std::string& why, int dataType, int count,
                                      int displayed);
    // "1,073,083 ticks", "1 bar": a count of points of `dataType` with its thousands marked.
    static std::string CountText(int dataType, int count);

private:
    bool m_newLoad = false;
    int m_shownCount = 0;
    std::string m_incomplete;
};

#pragma once

#include "core/timers.h"

#include <string>

class CChartHistRequest;

// What the 250 ms progress timer asks of the chart view.
class IHistoryProgressView {
public:
    virtual ~IHistoryProgressView() = default;
    // The scroll bar's range 0 ... maximum and its position.
    virtual void SetScrollRange(int maximum) = 0;
    virtual void SetScrollPosition(int position) = 0;
    // The highest position the scroll bar can take, and whether it is there.
    virtual int ScrollLimit() const = 0;
    virtual bool IsScrollAtLimit() const = 0;
    // Recomputes the price chart and every study pane over the whole series, clears the
    // points-deleted flag and shows the newest points; returns the count the price chart holds.
    virtual int RecomputeAndShowNewest() = 0;
    // Appends `count` new points to the panes.
    virtual void AppendNewPoints(int count) = 0;
    // The number of points the view shows at once.
    virtual int DisplayedPointCount() const = 0;
    // Status bar pane 45030.
    virtual void SetStatusText(const std::string& text) = 0;
};

// The loading-progress and live-follow decisions, made every 250 ms.
class CHistoryProgress {
public:
    static constexpr int kTimerId = timers::kProgressId;
    static constexpr int kPeriodMs = timers::kProgressPeriodMs;
    static constexpr int kStatusPaneId = 45030;

    // A symbol was loaded: the next completed tick recomputes everything.
    void StartNewLoad() { m_newLoad = true; }
    bool IsNewLoad() const { return m_newLoad; }
    int ShownCount() const { return m_shownCount; }
    void SetShownCount(int count) { m_shownCount = count; }

    // One timer tick. `dataType` is "RequestDataType".
    void OnTimer(const CChartHistRequest& history, int dataType, IHistoryProgressView& view);

    // "Retrieving Tick Data (%d Ticks Received)" and its kin; empty outside 0-4.
    static std::string RetrievalText(int dataType, int count);
    // "%d datapoints available.  Displaying %d."
    static std::string DatapointsText(int count, int displayed);

private:
    bool m_newLoad = false;
    int m_shownCount = 0;
};

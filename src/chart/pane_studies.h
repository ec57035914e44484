#pragma once

// What the chart view asks of the studies: the moving averages and bands over the price pane and
// one lower pane per displayed study. The studies compute over the whole series off the view's
// thread and follow live points on it; the view polls for the result on its timers and draws
// what is there.

#include "chart/chart_2d.h"

#include <optional>
#include <string>
#include <vector>

class CChartHistRequest;

// No bar under the cursor.
inline constexpr int kNoCursorBar = -1000000;

class IPaneStudies {
public:
    virtual ~IPaneStudies() = default;

    // The series holds a new answer (or changed as a whole): computing starts over it.
    virtual void SeriesChanged(const CChartHistRequest& history, int dataType,
                               int intervalIndex) = 0;
    // The series grew or its newest point changed (live trades): the studies go on over the new
    // points at once, at the cost of those points; while a computation runs, they do so when it
    // is done, keeping what is drawn until then.
    virtual void SeriesGrew() = 0;
    // The series is gone (a new symbol is loading): nothing is drawn until the next answer.
    virtual void Clear() = 0;
    // True once after a computation finished: the view redraws.
    virtual bool TakeFinished() = 0;
    virtual bool Computing() const = 0;
    // Blocks until the running computation is done (image rendering and export).
    virtual void WaitFinished() = 0;

    // ---- the price pane (series indexes first .. first + count - 1) ----
    // The lowest and highest value that the upper studies draw over these bars.
    virtual std::optional<CChart2D::SRange> UpperExtent(int first, int count) const = 0;
    virtual void PaintUpper(CChart2D& chart, int first, int count) = 0;
    // The price bar's study fields at `bar`: the moving averages field and the bands field, each
    // only when it has something to say.
    virtual std::vector<std::string> PriceBarFields(int bar, int decimals) const = 0;

    // ---- study pane `pane` (1 .. 10) ----
    virtual int PaneCount() const = 0;
    virtual int PaneStudyType(int pane) const = 0;
    // Lines, level lines, value range and label line of the pane; `cursorBar` is the bar under
    // the mouse or kNoCursorBar.
    virtual void PaintPane(int pane, CChart2D& chart, int first, int count, int cursorBar,
                           bool minimized) = 0;
    // The label line alone, for a cursor that moved.
    virtual std::string PaneLabel(int pane, int cursorBar, bool minimized) const = 0;

    // ---- the info text at `bar` ----
    // The moving-average line and the bands line (each empty when it says nothing).
    virtual std::string InfoAverages(int bar) const = 0;
    virtual std::string InfoBands(int bar) const = 0;
    // One line per displayed study pane, top to bottom, each beginning with "\n".
    virtual std::string InfoStudies(int bar) const = 0;
};

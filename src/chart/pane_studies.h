#pragma once

// What the chart view asks of the studies: the moving averages and bands over the price pane and
// one lower pane per displayed study. The studies compute over the whole series off the view's
// thread and follow live points on it; the view polls for the result on its timers and draws
// what is there.

#include "chart/drawn_item.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CChartHistRequest;

// No bar under the cursor.
inline constexpr int kNoCursorBar = -1000000;

// How a study pane's value axis is set: to a fixed range (the oscillators), or fitted to what
// the pane's items draw over the displayed bars, widened by `margin` of the span above and
// below so that the extremes do not sit on the frame.
struct SPaneScale {
    std::optional<CChart2D::SRange> fixed;
    double margin = 0.05;
    int precision = 0; // decimals of the value labels
    // Studies of volumes and money (large magnitudes) read in the K, M, B and T form.
    CChart2D::ELabelFormat format = CChart2D::ELabelFormat::Fixed;
};

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
    // Called on the computing thread as a computation finishes, so that the view can take it
    // at once rather than on its next poll; it must only post to the view's thread.
    virtual void SetFinishedHandler(std::function<void()> handler) = 0;
    virtual bool Computing() const = 0;
    // Blocks until the running computation is done (image rendering and export).
    virtual void WaitFinished() = 0;

    // ---- drawn items ----
    // Changes whenever the items of a pane change (a computation finished, other settings); the
    // items of one version draw what the studies hold, live points included.
    virtual std::uint64_t ItemsVersion() const = 0;
    // Appends the items drawn on `pane`: 0 the price pane (the averages and bands), 1 .. 10 the
    // study panes (lines, histograms, level and zero lines).
    virtual void AddItems(int pane, std::vector<std::shared_ptr<CDrawnItem>>& items) const = 0;
    // The price bar's study fields at `bar`: the moving averages field and the bands field, each
    // only when it has something to say.
    virtual std::vector<std::string> PriceBarFields(int bar, int decimals) const = 0;

    // ---- study pane `pane` (1 .. 10) ----
    virtual int PaneCount() const = 0;
    virtual int PaneStudyType(int pane) const = 0;
    virtual SPaneScale PaneScale(int pane) const = 0;
    // The label line: the description and the values at `cursorBar` (kNoCursorBar: none).
    virtual std::string PaneLabel(int pane, int cursorBar, bool minimized) const = 0;

    // ---- the info text at `bar` ----
    // The moving-average line and the bands line (each empty when it says nothing).
    virtual std::string InfoAverages(int bar) const = 0;
    virtual std::string InfoBands(int bar) const = 0;
    // One line per displayed study pane, top to bottom, each beginning with "\n".
    virtual std::string InfoStudies(int bar) const = 0;
};

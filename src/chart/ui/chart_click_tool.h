#pragma once

#include "chart/chart_2d.h"

// A tool that takes the chart's mouse while it is active: placing a trendline, picking one to
// delete, picking a data point to delete. While a tool is active a left press goes to it instead
// of dragging the chart, a right click cancels it instead of opening the pane menu, and the mouse
// moves reach it for a preview. A tool that is done takes itself off the canvas.
class IChartClickTool {
public:
    virtual ~IChartClickTool() = default;
    // A left press at `point` (pane pixels) of `pane`.
    virtual void Click(int pane, CChart2D::SPixelPoint point) = 0;
    // The mouse moved to `point` of `pane`; -1 when it is over no pane.
    virtual void Move(int pane, CChart2D::SPixelPoint point) {
        (void)pane;
        (void)point;
    }
    // A right click or Escape: the tool drops what it holds.
    virtual void Cancel() = 0;
};

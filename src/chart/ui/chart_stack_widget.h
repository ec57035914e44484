#pragma once

// The chart view's stack of panes in one plot widget: eleven axis rectangles, one per pane
// (pane 0 the price pane, 1 to 10 the study panes), placed at the pixel rectangles that the view
// computes, each driven through its own CChart2D. One widget with stacked axis rectangles costs
// far less to draw than eleven widgets, and the stack draws once for all its panes.
//
// Panes start hidden with no height; the view shows them and sets their tops and heights (in
// widget pixels, full width). Holding drawing on any pane holds the whole stack: the holds of
// all panes nest in one counter, and the release that closes the last one draws the stack once.
// Changes made while nothing is held are drawn together, once, when control returns to the
// event loop. Use Redraw() or the holds rather than QCustomPlot's replot(), which knows nothing
// of them.
//
// A thin line in a colour drawn from the background marks the border between two panes, on the
// screen and in print.
//
// The panes' crosshairs are painted over the drawn stack whenever the widget is painted: a
// crosshair change repaints only the pixels that the crosshair leaves and enters, from the
// buffers as they are (the panes are not drawn again), unless the whole stack is about to be
// drawn anyway. Printing and export leave the crosshairs out.
//
// On the screen buffer the panes' bars, histograms and dense lines are written straight into
// pixels (see PaintPaneSeries); a buffer with a device pixel ratio other than 1 takes the slower
// path through QPainter.

#include "chart/chart_2d.h"
#include "chart/ui/stack_pane_chart.h"

#include <qcustomplot.h>

#include <QImage>
#include <QRect>
#include <QRegion>

#include <array>
#include <memory>
#include <span>
#include <vector>

class CPaneStackLayout;

class CChartStackWidget : public QCustomPlot, public IPaneHost {
    Q_OBJECT

public:
    // A pane gets one value label per this many pixels of its height, from one to five.
    static constexpr int kPixelsPerValueTick = 30;
    static constexpr int kPaneCount = 11;

    explicit CChartStackWidget(QWidget* parent = nullptr);
    ~CChartStackWidget() override;

    // The chart of pane `index` (0 .. 10); another index throws CInvalidArgException.
    CChart2D& Pane(int index);
    // The crosshair pane `index` draws now.
    const CChart2D::SCrosshair& Crosshair(int index) const;

    // Places pane `index` from `top` to top + height (widget pixels) across the full width. A
    // negative height counts as 0; a pane of no height is not drawn.
    void SetPaneGeometry(int index, int top, int height);
    void SetPaneVisible(int index, bool visible);
    // A collapsed pane shows only its label line (a minimised pane's title strip).
    void SetPaneCollapsed(int index, bool collapsed);
    bool IsPaneVisible(int index) const;
    // The pane's rectangle in widget pixels.
    QRect PaneRect(int index) const;
    // The visible pane under a widget point, or -1. Pane pixels are widget pixels less the
    // pane's top-left corner.
    int PaneAt(const QPoint& point) const;

    void HoldDrawing() override;
    void ReleaseDrawing() override;
    int HoldDepth() const { return m_holdDepth; }
    // Draws the stack now (unless drawing is held, when the last release will).
    void Redraw();
    // How many times the stack has been drawn to the screen buffer.
    int ReplotCount() const { return m_replots; }

    // Hides the crosshairs of all panes (the mouse left the chart).
    void HideCrosshairs();
    // How many crosshair changes were repainted on their own, without drawing the stack.
    int CrosshairRepaintCount() const { return m_crosshairRepaints; }

    // Draws `panes` (each once) one below the other, each at its current height and the
    // widget's width, scaled to fill `target` (printing, PDF and image export); onto a target
    // smaller than that the panes are laid out at the target's size instead, so that lines do
    // not fade. Hidden panes are drawn too. Everything goes through the painter as vectors.
    void RenderPanes(QPainter& painter, const QRectF& target, std::span<const int> panes) override;
    // The visible panes, top to bottom, as an image of the widget's width and their heights.
    QImage RenderImage();

    // ---- IPaneHost: used by the panes ----
    QCustomPlot& Plot() override { return *this; }
    void Invalidate(bool layout) override;
    void EnsureLayout() override;
    void CrosshairChanged(const QRegion& region) override;
    CVisibleMarginGroup* MarginGroup() const override { return m_marginGroup; }
    int LabelStripHeight() const override { return m_labelStrip; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct SPaneSlot {
        int top = 0;
        int height = 0;
        bool visible = false;
    };

    void CheckIndex(int index) const;
    // The rows of the lines between the shown panes, each the first row of the lower pane.
    std::vector<int> SplitterRows() const;
    void PaintSplitters(QPainter& painter, const std::vector<int>& rows, int width) const;
    void ApplyPaneSlots();
    void ShareBackground();
    void SyncViewport();
    void RunQueuedRedraw();

    CPaneStackLayout* m_layout = nullptr;
    CVisibleMarginGroup* m_marginGroup = nullptr;
    std::array<SPaneSlot, kPaneCount> m_slots{};
    std::array<std::unique_ptr<CStackPaneChart>, kPaneCount> m_panes;
    int m_labelStrip = 16;
    int m_holdDepth = 0;
    int m_replots = 0;
    bool m_redrawPending = false;
    bool m_redrawQueued = false;
    bool m_layoutDirty = true;
    int m_crosshairRepaints = 0;
};

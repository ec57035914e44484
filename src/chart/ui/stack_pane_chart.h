#pragma once

// The chart of one pane of a CChartStackWidget: its axis rectangle with the x axis below, "y" on
// the left and "y2" on the right (the label axis shows ticks, labels and the horizontal grid;
// the other shows only its line), its series and its frame. Created by the stack.

#include "chart/chart_2d.h"
#include "chart/ui/pane_crosshair.h"
#include "chart/ui/pane_layers.h"
#include "chart/ui/pane_tags.h"

#include <QSharedPointer>

#include <memory>
#include <span>
#include <vector>

class CPaneAxisRect;
class CVisibleMarginGroup;
class QCustomPlot;
class QRectF;
class QRegion;

// What a pane needs of the stack of panes that holds it (CChartStackWidget): the plot it lives
// in, the stack's drawing holds and layout, and the crosshair overlay over all panes.
class IPaneHost {
public:
    // Pixel sizes of the fonts of the axis labels and of the label lines.
    static constexpr int kTickFontPixels = 11;
    static constexpr int kLabelFontPixels = 12;

    virtual ~IPaneHost() = default;
    virtual QCustomPlot& Plot() = 0;
    virtual CVisibleMarginGroup* MarginGroup() const = 0;
    // The height of the strip above each plot area that holds the pane's label line.
    virtual int LabelStripHeight() const = 0;
    // Something of a pane changed; `layout` when it may move the plot areas or their labels.
    virtual void Invalidate(bool layout) = 0;
    // Brings the plot areas up to date with the latest changes (for geometry and mapping).
    virtual void EnsureLayout() = 0;
    virtual void HoldDrawing() = 0;
    virtual void ReleaseDrawing() = 0;
    virtual void RenderPanes(QPainter& painter, const QRectF& target,
                             std::span<const int> panes) = 0;
    // A pane's crosshair changed; `region` holds the widget pixels it covered and covers now.
    virtual void CrosshairChanged(const QRegion& region) = 0;
};

class CStackPaneChart final : public CChart2D {
public:
    // `raster`: the stack's scratch image for drawing series (see CPaneSeriesLayerable).
    CStackPaneChart(IPaneHost& stack, int index, std::shared_ptr<QImage> raster);
    ~CStackPaneChart() override;
    CStackPaneChart(const CStackPaneChart&) = delete;
    CStackPaneChart& operator=(const CStackPaneChart&) = delete;

    QCPAxisRect* AxisRect() const;
    int Index() const { return m_index; }
    // Joins or leaves the margin group that aligns the plot areas (with the pane's visibility).
    void SetAligned(bool aligned);
    const QColor& BackgroundQColor() const { return m_backgroundColor; }
    // Whether the pane paints its own background; the stack paints it under all panes at once
    // when they share one colour.
    void SetFillsBackground(bool fills);
    // About how many value labels the pane's vertical axes show (fewer on a short pane).
    void SetValueTickCount(int count);

    void SetLine(SeriesId id, std::span<const double> values, double xOffset) override;
    void SetLinePoints(SeriesId id, std::span<const SPoint> points) override;
    void SetLineLabel(SeriesId id, std::string_view text) override;
    void SetLineTag(SeriesId id, const SValueTag& tag) override;
    void SetLineStyle(SeriesId id, const SLineStyle& style) override;
    void SetPriceBars(SeriesId id, const SOhlcSpans& bars, double xOffset) override;
    void SetPriceBarStyle(SeriesId id, const SPriceBarStyle& style) override;
    void SetHistogram(SeriesId id, std::span<const double> values, double xOffset) override;
    void SetHistogramStyle(SeriesId id, const SHistogramStyle& style) override;
    void ClearSeries(SeriesId id) override;
    void ClearAllSeries() override;

    void SetXRange(double min, double max) override;
    SRange XRange() const override;
    void SetAxisRange(EAxis axis, double min, double max) override;
    SRange AxisRange(EAxis axis) const override;
    void SetLabelAxis(EAxis axis) override;
    EAxis LabelAxis() const override { return m_labelAxis; }
    void SetLabelPrecision(EAxis axis, int precision) override;
    int LabelPrecision(EAxis axis) const override;
    void SetLabelFormat(EAxis axis, ELabelFormat format) override;
    ELabelFormat LabelFormat(EAxis axis) const override;
    void SetXLabels(std::span<const SXLabel> labels) override;
    void SetValueScale(EAxis axis, const CValueScale& scale) override;
    const CValueScale& ValueScale(EAxis axis) const override { return m_valueScales[Slot(axis)]; }

    void SetGridVisible(bool visible) override;
    void SetGridStyle(int style) override;
    void SetBackgroundColor(ColorRef color) override;
    void SetGridColor(ColorRef color) override;
    void SetAxisLabelColor(ColorRef color) override;
    using CChart2D::SetLabelLine;
    void SetLabelRuns(std::span<const SLabelRun> runs) override;
    // The label line's runs as last set (their colours before they are made readable).
    const std::vector<SLabelRun>& LabelRuns() const { return m_labelRuns; }

    SGeometry Geometry() const override;
    double SlotToPixelX(double slot) const override;
    double PixelXToSlot(double x) const override;
    double ValueToPixelY(double value, EAxis axis) const override;
    double PixelYToValue(double y, EAxis axis) const override;

    void HoldDrawing() override;
    void ReleaseDrawing() override;
    void DrawTo(QPainter& painter, const SPixelRect& target) override;
    // Repaints only the pixels that the crosshair leaves and enters (see CChartStackWidget).
    void SetCrosshair(const SCrosshair& crosshair) override;
    // Paints the crosshair over the finished stack (from the stack's paint event).
    void PaintCrosshair(QPainter& painter) const { m_crosshair.Paint(painter); }
    const SCrosshair& Crosshair() const { return m_crosshair.Crosshair(); }

private:
    static int Slot(EAxis axis) { return axis == EAxis::Y ? 0 : 1; }
    QCPAxis* ValueAxis(EAxis axis) const { return m_y[Slot(axis)]; }
    void ApplyAxes();
    // Sets the QCustomPlot value axes to the ranges as set, widened by kValueInset pixels of the
    // current plot height on either side; returns whether an axis changed.
    bool ApplyValueRanges();
    // Puts a series' data in the axis coordinates of its axis' scale (after its data or its
    // axis changed, or the scale).
    void Project(SPaneSeries& series) const;

public:
    // A collapsed pane (a minimised one) shows only its label line: no axes, grid or series.
    void SetCollapsed(bool collapsed);
    bool IsCollapsed() const { return m_collapsed; }

private:
    void Changed(bool layout);

    IPaneHost& m_stack;
    int m_index;
    CPaneAxisRect* m_rect;
    QCPAxis* m_x;
    QCPAxis* m_y[2];
    QSharedPointer<CValueAxisTicker> m_valueTickers[2];
    SRange m_valueRanges[2] = {{0.0, 1.0}, {0.0, 1.0}};
    CValueScale m_valueScales[2];
    QMetaObject::Connection m_afterLayout;
    QSharedPointer<QCPAxisTickerText> m_xTicker;
    CPaneSeriesLayerable* m_series;
    CPaneFrameLayerable* m_background;
    QColor m_backgroundColor = Qt::white;
    CPaneFrameLayerable* m_labelLine;
    std::vector<SLabelRun> m_labelRuns;
    CPaneTagLayerable* m_tags;
    CPaneCrosshair m_crosshair;
    EAxis m_labelAxis = EAxis::Y;
    bool m_gridVisible = true;
    bool m_collapsed = false;
    int m_gridStyle = kSolid;
    ColorRef m_gridColor = 0xC0C0C0;
    ColorRef m_axisColor = 0;
};

#pragma once

// The chart of one pane, as the panes, studies and trendlines see it: they hand it arrays of
// values, colours, ranges and label texts, and it draws axes, grid, lines, bars and candles.
//
// Coordinates. The x axis counts slots: slot i is the i-th displayed bar (0 the leftmost), one
// slot per bar, so nights and weekends leave no gaps. Values run along two vertical axes, "y"
// and "y2"; every series is plotted against one of them (y unless its style says y2). Pixel
// positions are pane pixels: (0, 0) is the top-left corner of the pane, x grows to the right and
// y downwards.
//
// Series. A series is addressed by an id that the caller chooses (any int; the price pane may
// use fixed ids for its bars and studies and hand further ids to trendlines). An id names one
// series of one kind (line, price bars or histogram); a data or style call of another kind
// replaces the series by an empty one of the new kind. Series are drawn in ascending id order,
// so a higher id is drawn over a lower one. A data call copies the values, so the caller's
// arrays need not outlive it.
//
// Holes. HoleValue() is a quiet NaN; a NaN point of a line leaves a gap, a NaN bar of a
// histogram or a bar with any NaN price is not drawn. Compare with IsHole(), never with ==.
//
// Drawing. Changes are drawn soon after they are made. HoldDrawing() and ReleaseDrawing() nest:
// while at least one hold is open nothing is drawn, and the release that closes the last hold
// draws once. A release without a hold does nothing.
//
// Crosshair. Each pane has one crosshair, drawn over everything else in the pane and never
// printed or exported. Moving it does not draw the pane's series again. The crosshairs are the
// overlay of the whole stack of panes that follows the mouse, not drawn items: no pane's item
// list holds them, and they are never hit-tested or dragged.

#include "base/error.h"
#include "chart/color_ref.h"
#include "chart/line_style.h"
#include "chart/value_scale.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>

class QPainter;

class CChart2D {
public:
    using SeriesId = int;

    enum class EAxis { Y, Y2 };
    enum class EPriceBarKind { Candles, OhlcBars };
    // Wide candles draw their body at the full width; narrow candles at most 2 pixels wide.
    enum class ECandleStyle { Narrow, Wide };
    // How the value labels of an axis read: "%.*f" at the label precision, or large magnitudes
    // (1000 and more) in the K, M, B and T form (volumes, money flow).
    enum class ELabelFormat { Fixed, Scaled };

    // Line styles of the grid and of lines, as the display settings page lists them. Any other
    // index draws solid lines.
    enum ELineStyle : int { kSolid = 0, kDash = 1, kDot = 2, kDashDot = 3, kDashDotDot = 4 };
    static constexpr int kLineStyleCount = ::kLineStyleCount;

    // The value range of a vertical axis spans the plot area less this many pixels at its top and
    // bottom, so that the highest and lowest values are not drawn on the frame; a plot area of
    // four insets or less uses its whole height.
    static constexpr int kValueInset = 5;
    static double ValueInset(double plotHeight) {
        return plotHeight > 4 * kValueInset ? kValueInset : 0.0;
    }

    // Label precision is kept within these bounds.
    static constexpr int kMaxLabelPrecision = 15;
    static constexpr int kDefaultLabelPrecision = 2;

    struct SPoint {
        double x = 0.0; // slot
        double y = 0.0; // value
    };
    struct SPixelPoint {
        double x = 0.0;
        double y = 0.0;
    };
    struct SPixelRect {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };
    struct SRange {
        double min = 0.0;
        double max = 1.0;
    };
    // A tick label of the x axis at a slot.
    struct SXLabel {
        double slot = 0.0;
        std::string text;
    };
    struct SLineStyle {
        ColorRef color = 0;
        int width = 1; // pixels, kept within 1 .. 16
        int style = kSolid;
        EAxis axis = EAxis::Y;
    };
    struct SPriceBarStyle {
        EPriceBarKind kind = EPriceBarKind::Candles;
        ColorRef up = 0;   // close >= open
        ColorRef down = 0; // close < open
        int width = 1;     // pixels of a candle body or of the two ticks of a bar; 0 allowed
        ECandleStyle style = ECandleStyle::Narrow;
        EAxis axis = EAxis::Y;
    };
    struct SHistogramStyle {
        ColorRef color = 0;
        double base = 0.0; // value the bars grow from
        int width = 1;     // pixels, at least 1
        EAxis axis = EAxis::Y;
    };
    // Open, high, low and close of consecutive bars; the four spans have one length.
    struct SOhlcSpans {
        std::span<const double> open;
        std::span<const double> high;
        std::span<const double> low;
        std::span<const double> close;
    };
    // The pane's size and the margins around its plot area, in pixels. The plot area runs from
    // x = left to width - right and from y = top to height - bottom.
    struct SGeometry {
        int width = 0;
        int height = 0;
        int left = 0;
        int right = 0;
        int top = 0;
        int bottom = 0;
    };
    // The cursor crosshair of a pane: a dashed vertical line at a slot and, in the pane under the
    // mouse, a dashed horizontal line at a value with a tag that shows `valueText` beside the
    // plot area, on the side of the value labels. Lines stay within the plot area: a slot or a
    // value outside its range (or not finite) draws no line, and an empty text no tag.
    struct SCrosshair {
        bool visible = false;    // nothing drawn when false
        double slot = 0.0;       // x of the vertical line
        bool horizontal = false; // the horizontal line and its tag
        double value = 0.0;      // y of the horizontal line, on `axis`
        EAxis axis = EAxis::Y;
        std::string valueText;
        bool operator==(const SCrosshair&) const = default;
    };
    // A tag beside the plot area at a value, over the value labels on their side: a box filled
    // in `fill` holding `text` (one line or more) in `textColor`. It is kept within the plot
    // area's height, so a value outside the range puts it at the nearer edge; a value that is
    // not finite or an empty text draws none. The crosshair's tag is drawn over it.
    struct SValueTag {
        double value = 0.0;
        EAxis axis = EAxis::Y;
        std::string text;
        ColorRef fill = 0;
        ColorRef textColor = 0xFFFFFF;
        bool operator==(const SValueTag&) const = default;
    };

    static double HoleValue() { return std::numeric_limits<double>::quiet_NaN(); }
    static bool IsHole(double value) { return std::isnan(value); }

    // A value label as the axis prints it: "%.*f" at `precision`.
    static std::string FormatAxisLabel(double value, int precision) {
        char text[352];
        std::snprintf(text, sizeof text, "%.*f", ClampPrecision(precision), value);
        return text;
    }
    static int ClampPrecision(int precision) {
        return precision < 0 ? 0
                             : (precision > kMaxLabelPrecision ? kMaxLabelPrecision : precision);
    }
    // A range as the axes keep it: the ends in ascending order, and a range of no extent widened
    // by 0.5 on either side so that a flat series stays in view. A NaN or infinite end throws
    // CInvalidArgException.
    static SRange NormalizeRange(double min, double max) {
        if (!std::isfinite(min) || !std::isfinite(max)) {
            throw CInvalidArgException("axis range ends must be finite numbers");
        }
        if (max < min) {
            std::swap(min, max);
        }
        if (max == min) {
            return {min - 0.5, max + 0.5};
        }
        return {min, max};
    }

    CChart2D() = default;
    virtual ~CChart2D() = default;
    CChart2D(const CChart2D&) = delete;
    CChart2D& operator=(const CChart2D&) = delete;

    // ---- series ----
    // A non-finite xOffset throws CInvalidArgException and leaves the series as it was.
    // A line through values[i] at slot xOffset + i.
    virtual void SetLine(SeriesId id, std::span<const double> values, double xOffset) = 0;
    // A line through explicit points (fractional slots allowed, in the order given).
    virtual void SetLinePoints(SeriesId id, std::span<const SPoint> points) = 0;
    virtual void SetLineStyle(SeriesId id, const SLineStyle& style) = 0;
    // A text beside the first point of a line through explicit points, in the line's colour,
    // just above and right of it (a trendline's level and price); empty for none. The label
    // belongs to the series and goes with it.
    virtual void SetLineLabel(SeriesId id, std::string_view text) = 0;
    // The value tag of a line (SValueTag); an empty text takes it off. Like the label it belongs
    // to the series and goes with it.
    virtual void SetLineTag(SeriesId id, const SValueTag& tag) = 0;
    // Candles or bars, bar i at slot xOffset + i. Spans of different lengths throw
    // CInvalidArgException and leave the series as it was.
    virtual void SetPriceBars(SeriesId id, const SOhlcSpans& bars, double xOffset) = 0;
    virtual void SetPriceBarStyle(SeriesId id, const SPriceBarStyle& style) = 0;
    // Bars from the style's base value to values[i], at slot xOffset + i.
    virtual void SetHistogram(SeriesId id, std::span<const double> values, double xOffset) = 0;
    virtual void SetHistogramStyle(SeriesId id, const SHistogramStyle& style) = 0;
    // Removes a series, its data and its style; an unknown id does nothing.
    virtual void ClearSeries(SeriesId id) = 0;
    virtual void ClearAllSeries() = 0;

    // ---- axes ----
    // Ranges go through NormalizeRange().
    virtual void SetXRange(double min, double max) = 0;
    virtual SRange XRange() const = 0;
    virtual void SetAxisRange(EAxis axis, double min, double max) = 0;
    virtual SRange AxisRange(EAxis axis) const = 0;
    // The vertical axis that carries the value labels (and the horizontal grid lines).
    virtual void SetLabelAxis(EAxis axis) = 0;
    virtual EAxis LabelAxis() const = 0;
    // Decimals of the value labels of `axis` (default 2, kept within 0 .. 15). Ticks fall on
    // steps these decimals write exactly; a range too narrow for two such ticks gets a finer step
    // and labels with the decimals it needs (see value_ticks.h).
    virtual void SetLabelPrecision(EAxis axis, int precision) = 0;
    virtual int LabelPrecision(EAxis axis) const = 0;
    // The form of the value labels of `axis` and of its crosshair tag (default Fixed).
    virtual void SetLabelFormat(EAxis axis, ELabelFormat format) = 0;
    virtual ELabelFormat LabelFormat(EAxis axis) const = 0;
    // The x axis labels, chosen by the caller; vertical grid lines run at their slots. An empty
    // list shows no x labels; labels whose texts are all empty draw the grid lines and leave no
    // room for texts below the plot.
    virtual void SetXLabels(std::span<const SXLabel> labels) = 0;
    // How `axis` maps its values (default Linear): every value handed to the chart on that axis
    // (series, range, crosshair) stays a value and is placed through the scale, and the value
    // labels are the scale's (ChooseScaleTicks). On a logarithmic axis a value of zero or below
    // is a hole, and the range's ends are taken as CValueScale::AxisSpan says.
    virtual void SetValueScale(EAxis axis, const CValueScale& scale) = 0;
    virtual const CValueScale& ValueScale(EAxis axis) const = 0;

    // ---- grid, colours, label line ----
    virtual void SetGridVisible(bool visible) = 0;
    // An ELineStyle index; any other index draws a solid grid.
    virtual void SetGridStyle(int style) = 0;
    virtual void SetBackgroundColor(ColorRef color) = 0;
    virtual void SetGridColor(ColorRef color) = 0;
    // Colour of the axis lines and of the value and x labels.
    virtual void SetAxisLabelColor(ColorRef color) = 0;
    // The one line of text at the top of the pane, above the plot area, as runs of text drawn
    // one after the other, each in its own colour (made readable on the background).
    struct SLabelRun {
        std::string text;
        ColorRef color = 0;
        bool operator==(const SLabelRun&) const = default;
    };
    virtual void SetLabelRuns(std::span<const SLabelRun> runs) = 0;
    // The label line in one colour.
    void SetLabelLine(std::string_view text, ColorRef color) {
        const SLabelRun run{std::string(text), color};
        SetLabelRuns({&run, 1});
    }

    // ---- geometry and mapping (pane pixels) ----
    virtual SGeometry Geometry() const = 0;
    virtual double SlotToPixelX(double slot) const = 0;
    virtual double PixelXToSlot(double x) const = 0;
    virtual double ValueToPixelY(double value, EAxis axis) const = 0;
    virtual double PixelYToValue(double y, EAxis axis) const = 0;

    // ---- drawing ----
    virtual void HoldDrawing() = 0;
    virtual void ReleaseDrawing() = 0;
    // Draws the whole pane, scaled to fit `target` (in the painter's coordinates): printing and
    // image export.
    virtual void DrawTo(QPainter& painter, const SPixelRect& target) = 0;
    // Shows, moves or hides the crosshair; drawn like any other change, and while drawing is held
    // with the release. SCrosshair{} hides it.
    virtual void SetCrosshair(const SCrosshair& crosshair) = 0;
};

// Holds the drawing of a chart for the lifetime of the object.
class CChartDrawingHold {
public:
    explicit CChartDrawingHold(CChart2D& chart) : m_chart(chart) { m_chart.HoldDrawing(); }
    ~CChartDrawingHold() { m_chart.ReleaseDrawing(); }
    CChartDrawingHold(const CChartDrawingHold&) = delete;
    CChartDrawingHold& operator=(const CChartDrawingHold&) = delete;

private:
    CChart2D& m_chart;
};

#pragma once

// A chart that draws nothing: it keeps the latest state of every series, axis and label line,
// so that panes, studies and trendlines can be tested without a display. Its plot geometry is set
// by the test; its mapping runs over the plot area with the value maximum at the top, through the
// axis' value scale as the real pane's does.

#include "chart/chart_2d.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace skychart::test {

class CRecordingChart2D : public CChart2D {
public:
    enum class EKind { Line, Points, PriceBars, Histogram };
    struct SSeries {
        EKind kind = EKind::Line;
        double xOffset = 0.0;
        std::vector<double> values; // Line and Histogram
        std::vector<SPoint> points; // Points
        std::string label;
        SValueTag tag;
        std::vector<double> open, high, low, close;
        SLineStyle line;
        SPriceBarStyle bars;
        SHistogramStyle histogram;
    };
    struct SAxisState {
        SRange range;
        int precision = kDefaultLabelPrecision;
        ELabelFormat format = ELabelFormat::Fixed;
        CValueScale scale;
    };
    // A pane of 800 x 400 pixels with a 60-pixel label margin on the right, 20 at the bottom
    // and 16 at the top.
    CRecordingChart2D();
    // ---- test control ----
    void SetGeometry(const SGeometry& geometry) { m_geometry = geometry; }
    // The series with `id`, or null.
    const SSeries* Series(SeriesId id) const;
    std::size_t SeriesCount() const { return m_series.size(); }
    const SAxisState& Axis(EAxis axis) const { return m_axes[Index(axis)]; }
    const std::vector<SXLabel>& XLabels() const { return m_xLabels; }
    const std::string& LabelLineText() const { return m_labelText; }
    int HoldDepth() const { return m_holdDepth; }
    // ---- CChart2D ----
    void SetLine(SeriesId id, std::span<const double> values, double xOffset) override;
    void SetLinePoints(SeriesId id, std::span<const SPoint> points) override;
    void SetLineLabel(SeriesId id, std::string_view text) override;
    void SetLineTag(SeriesId id, const SValueTag& tag) override;
    void SetLineStyle(SeriesId id, const SLineStyle& style) override;
    void SetPriceBars(SeriesId id, const SOhlcSpans& bars, double xOffset) override;
    void SetPriceBarStyle(SeriesId id, const SPriceBarStyle& style) override;
    void SetHistogram(SeriesId id, std::span<const double> values, double xOffset) override;
    void SetHistogramStyle(SeriesId id, const SHistogramStyle& style) override;
    void ClearSeries(SeriesId id) override { m_series.erase(id); }
    void ClearAllSeries() override { m_series.clear(); }
    void SetXRange(double min, double max) override { m_xRange = NormalizeRange(min, max); }
    SRange XRange() const override { return m_xRange; }
    void SetAxisRange(EAxis axis, double min, double max) override {
        m_axes[Index(axis)].range = NormalizeRange(min, max);
    }
    SRange AxisRange(EAxis axis) const override { return m_axes[Index(axis)].range; }
    void SetLabelAxis(EAxis axis) override { m_labelAxis = axis; }
    EAxis LabelAxis() const override { return m_labelAxis; }
    void SetLabelPrecision(EAxis axis, int precision) override {
        m_axes[Index(axis)].precision = ClampPrecision(precision);
    }
    int LabelPrecision(EAxis axis) const override { return m_axes[Index(axis)].precision; }
    void SetLabelFormat(EAxis axis, ELabelFormat format) override {
        m_axes[Index(axis)].format = format;
    }
    ELabelFormat LabelFormat(EAxis axis) const override { return m_axes[Index(axis)].format; }
    void SetXLabels(std::span<const SXLabel> labels) override {
        m_xLabels.assign(labels.begin(), labels.end());
    }
    void SetValueScale(EAxis axis, const CValueScale& scale) override {
        m_axes[Index(axis)].scale = scale;
    }
    const CValueScale& ValueScale(EAxis axis) const override { return m_axes[Index(axis)].scale; }
    void SetGridVisible(bool /*visible*/) override {}
    void SetGridStyle(int /*style*/) override {}
    void SetBackgroundColor(ColorRef /*color*/) override {}
    void SetGridColor(ColorRef /*color*/) override {}
    void SetAxisLabelColor(ColorRef /*color*/) override {}
    void SetLabelRuns(std::span<const SLabelRun> runs) override {
        m_labelText.clear();
        for (const SLabelRun& run : runs) {
            m_labelText += run.text;
        }
    }
    SGeometry Geometry() const override { return m_geometry; }
    double SlotToPixelX(double slot) const override;
    double PixelXToSlot(double x) const override;
    double ValueToPixelY(double value, EAxis axis) const override;
    double PixelYToValue(double y, EAxis axis) const override;
    void HoldDrawing() override { ++m_holdDepth; }
    void ReleaseDrawing() override { m_holdDepth = std::max(m_holdDepth - 1, 0); }
    void DrawTo(QPainter& /*painter*/, const SPixelRect& /*target*/) override {}
    void SetCrosshair(const SCrosshair& /*crosshair*/) override {}

private:
    static std::size_t Index(EAxis axis) { return axis == EAxis::Y ? 0 : 1; }
    // The series with `id` as `kind`, replacing one of another kind.
    SSeries& Take(SeriesId id, EKind kind);
    SGeometry m_geometry;
    std::map<SeriesId, SSeries> m_series;
    SRange m_xRange;
    SAxisState m_axes[2];
    EAxis m_labelAxis = EAxis::Y;
    std::vector<SXLabel> m_xLabels;
    std::string m_labelText;
    int m_holdDepth = 0;
};

} // namespace skychart::test

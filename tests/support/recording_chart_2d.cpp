#include "recording_chart_2d.h"

#include <algorithm>
#include <cmath>

namespace skychart::test {

namespace {

void CheckOffset(double xOffset) {
    if (!std::isfinite(xOffset)) {
        throw CInvalidArgException("a series' x offset must be a finite number");
    }
}

} // namespace

CRecordingChart2D::CRecordingChart2D() {
    m_geometry = SGeometry{800, 400, 0, 60, 16, 20};
}

const CRecordingChart2D::SSeries* CRecordingChart2D::Series(SeriesId id) const {
    const auto it = m_series.find(id);
    return it == m_series.end() ? nullptr : &it->second;
}

CRecordingChart2D::SSeries& CRecordingChart2D::Take(SeriesId id, EKind kind) {
    SSeries& series = m_series[id];
    const bool lineKind = kind == EKind::Line || kind == EKind::Points;
    const bool wasLineKind = series.kind == EKind::Line || series.kind == EKind::Points;
    if (series.kind != kind && !(lineKind && wasLineKind)) {
        series = SSeries{};
    }
    series.kind = kind;
    return series;
}

void CRecordingChart2D::SetLine(SeriesId id, std::span<const double> values, double xOffset) {
    CheckOffset(xOffset);
    SSeries& series = Take(id, EKind::Line);
    series.values.assign(values.begin(), values.end());
    series.points.clear();
    series.xOffset = xOffset;
}

void CRecordingChart2D::SetLineLabel(SeriesId id, std::string_view text) {
    Take(id, EKind::Points).label.assign(text);
}

void CRecordingChart2D::SetLineTag(SeriesId id, const SValueTag& tag) {
    Take(id, EKind::Points).tag = tag;
}

void CRecordingChart2D::SetLinePoints(SeriesId id, std::span<const SPoint> points) {
    SSeries& series = Take(id, EKind::Points);
    series.points.assign(points.begin(), points.end());
    series.values.clear();
    series.xOffset = 0.0;
}

void CRecordingChart2D::SetLineStyle(SeriesId id, const SLineStyle& style) {
    const auto it = m_series.find(id);
    const EKind kind =
        it != m_series.end() && it->second.kind == EKind::Points ? EKind::Points : EKind::Line;
    SSeries& series = Take(id, kind);
    series.line = style;
    series.line.width = std::clamp(style.width, 1, 16);
}

void CRecordingChart2D::SetPriceBars(SeriesId id, const SOhlcSpans& bars, double xOffset) {
    const std::size_t n = bars.open.size();
    if (bars.high.size() != n || bars.low.size() != n || bars.close.size() != n) {
        throw CInvalidArgException("open, high, low and close differ in length");
    }
    CheckOffset(xOffset);
    SSeries& series = Take(id, EKind::PriceBars);
    series.open.assign(bars.open.begin(), bars.open.end());
    series.high.assign(bars.high.begin(), bars.high.end());
    series.low.assign(bars.low.begin(), bars.low.end());
    series.close.assign(bars.close.begin(), bars.close.end());
    series.xOffset = xOffset;
}

void CRecordingChart2D::SetPriceBarStyle(SeriesId id, const SPriceBarStyle& style) {
    SSeries& series = Take(id, EKind::PriceBars);
    series.bars = style;
    series.bars.width = std::max(style.width, 0);
}

void CRecordingChart2D::SetHistogram(SeriesId id, std::span<const double> values, double xOffset) {
    CheckOffset(xOffset);
    SSeries& series = Take(id, EKind::Histogram);
    series.values.assign(values.begin(), values.end());
    series.xOffset = xOffset;
}

void CRecordingChart2D::SetHistogramStyle(SeriesId id, const SHistogramStyle& style) {
    SSeries& series = Take(id, EKind::Histogram);
    series.histogram = style;
    series.histogram.width = std::max(style.width, 1);
}

double CRecordingChart2D::SlotToPixelX(double slot) const {
    const double width = m_geometry.width - m_geometry.left - m_geometry.right;
    return m_geometry.left + (slot - m_xRange.min) / (m_xRange.max - m_xRange.min) * width;
}

double CRecordingChart2D::PixelXToSlot(double x) const {
    const double width = m_geometry.width - m_geometry.left - m_geometry.right;
    return m_xRange.min + (x - m_geometry.left) / width * (m_xRange.max - m_xRange.min);
}

double CRecordingChart2D::ValueToPixelY(double value, EAxis axis) const {
    const SAxisState& state = m_axes[Index(axis)];
    const CValueScale::SAxisSpan span = state.scale.AxisSpan(state.range.min, state.range.max);
    const double plot = m_geometry.height - m_geometry.top - m_geometry.bottom;
    const double inset = ValueInset(plot);
    return m_geometry.top + inset +
           (span.max - state.scale.ToAxis(value)) / (span.max - span.min) * (plot - 2 * inset);
}

double CRecordingChart2D::PixelYToValue(double y, EAxis axis) const {
    const SAxisState& state = m_axes[Index(axis)];
    const CValueScale::SAxisSpan span = state.scale.AxisSpan(state.range.min, state.range.max);
    const double plot = m_geometry.height - m_geometry.top - m_geometry.bottom;
    const double inset = ValueInset(plot);
    return state.scale.FromAxis(span.max - (y - m_geometry.top - inset) / (plot - 2 * inset) *
                                               (span.max - span.min));
}

} // namespace skychart::test

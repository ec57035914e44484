#include "trend/trend_line.h"

#include "chart/segment_clip.h"

#include <algorithm>
#include <cmath>

namespace {

std::vector<SBarPrice> BarPrices(const std::vector<STrendPoint>& points, const CValueScale& space) {
    std::vector<SBarPrice> out;
    out.reserve(points.size());
    for (const STrendPoint& point : points) {
        out.push_back({point.bar, space.ToAxis(point.price)});
    }
    return out;
}

std::string LabelText(const std::string& label, double price, int precision) {
    const std::size_t at = label.find("%p");
    if (at == std::string::npos) {
        return label;
    }
    std::string text = label;
    text.replace(at, 2, CChart2D::FormatAxisLabel(price, precision));
    return text;
}

} // namespace

CBaseTrend::CBaseTrend(ETrendKind kind, std::vector<STrendPoint> points, const STrendStyle& style,
                       std::vector<int> numbers)
    : m_kind(kind), m_points(std::move(points)), m_style(style), m_numbers(std::move(numbers)) {}

void CBaseTrend::Reanchor(const CChartHistRequest& history) {
    for (STrendPoint& point : m_points) {
        if (point.time.time.IsValid()) {
            point.bar = BarOfTime(history, point.time);
        }
    }
}

std::vector<STrendPart> CBaseTrend::Parts() const {
    const std::vector<SBarPrice> points = BarPrices(m_points, Space());
    return TrendParts(m_kind, points, m_style.extendable);
}

std::vector<CChart2D::SPoint> CBaseTrend::LinePoints(const CChart2D::SPoint& from,
                                                     const CChart2D::SPoint& to,
                                                     const CValueScale& chartScale) const {
    const CValueScale space = Space();
    if (chartScale.IsLog() == space.IsLog() || (from.y == to.y)) {
        return {{from.x, space.FromAxis(from.y)}, {to.x, space.FromAxis(to.y)}};
    }
    std::vector<CChart2D::SPoint> points;
    points.reserve(kCurveSamples + 1);
    for (int i = 0; i <= kCurveSamples; ++i) {
        const double t = static_cast<double>(i) / kCurveSamples;
        points.push_back(
            {from.x + (to.x - from.x) * t, space.FromAxis(from.y + (to.y - from.y) * t)});
    }
    return points;
}

std::vector<std::pair<CChart2D::SPoint, CChart2D::SPoint>>
CBaseTrend::SlotSegments(const std::vector<STrendPart>& parts, const SPaneView& view) {
    const double left = -0.5;
    const double right = view.slotCount - 0.5;
    std::vector<std::pair<CChart2D::SPoint, CChart2D::SPoint>> segments;
    for (const STrendPart& part : parts) {
        CChart2D::SPoint from{view.SlotOf(part.from.bar), part.from.price};
        CChart2D::SPoint to{view.SlotOf(part.to.bar), part.to.price};
        switch (part.extend) {
        case STrendPart::EExtend::None:
            break;
        case STrendPart::EExtend::Right:
            to = {std::max(right, from.x), from.y};
            break;
        case STrendPart::EExtend::Onward: {
            const double dx = to.x - from.x;
            const double edge = dx > 0.0 ? right : left;
            if (dx != 0.0 && (dx > 0.0 ? edge > to.x : edge < to.x)) {
                to = {edge, from.y + (to.y - from.y) / dx * (edge - from.x)};
            }
            break;
        }
        }
        segments.emplace_back(from, to);
    }
    return segments;
}

void CBaseTrend::Paint(CChart2D& chart, const SPaneView& view) {
    const std::vector<STrendPart> parts = Parts();
    const auto segments = SlotSegments(parts, view);
    const int precision = chart.LabelPrecision(CChart2D::EAxis::Y);
    const CValueScale& chartScale = chart.ValueScale(CChart2D::EAxis::Y);
    const CValueScale space = Space();
    CChart2D::SLineStyle style;
    style.color = m_highlighted ? (~m_style.color & kColorRefMask) : m_style.color;
    style.width = m_style.width + (m_highlighted ? 2 : 0);
    for (std::size_t i = 0; i < m_numbers.size(); ++i) {
        const CChart2D::SeriesId id = kTrendSeriesBase + m_numbers[i];
        if (i >= segments.size()) {
            chart.ClearSeries(id);
            continue;
        }
        std::vector<CChart2D::SPoint> line =
            LinePoints(segments[i].first, segments[i].second, chartScale);
        if (parts[i].labelAtEnd && !parts[i].label.empty()) {
            // The label goes with the first point: the line starts at its end, runs back to its
            // start and on over the whole part again.
            line.insert(
                line.begin(),
                {{view.SlotOf(parts[i].to.bar), space.FromAxis(parts[i].to.price)}, line.front()});
        }
        chart.SetLinePoints(id, line);
        style.style = parts[i].dotted ? CChart2D::kDot : CChart2D::kSolid;
        chart.SetLineStyle(id, style);
        std::string label =
            LabelText(parts[i].label,
                      space.FromAxis(parts[i].labelAtEnd ? parts[i].to.price : parts[i].from.price),
                      precision);
        if (i == 0 && chartScale.IsLog() != space.IsLog()) {
            // Drawn in another scale: the line says which.
            label +=
                std::string(label.empty() ? "" : " ") + "(" + PriceScaleShortName(m_scale) + ")";
        }
        if (i == 0 && m_alert) {
            label += (label.empty() ? "" : " ") + AlertMark(m_alert->Setting());
        }
        chart.SetLineLabel(id, label);
    }
}

std::optional<double> CBaseTrend::PriceAt(double bar) const {
    if (m_points.empty()) {
        return std::nullopt;
    }
    if (m_kind == ETrendKind::Horizontal) {
        return m_points[0].price;
    }
    if (m_kind != ETrendKind::Sloping || m_points.size() < 2) {
        return std::nullopt;
    }
    const STrendPoint& a = m_points[0];
    const STrendPoint& b = m_points[1];
    if (a.bar == b.bar) {
        return b.price; // a vertical line: its later price
    }
    return a.price + (b.price - a.price) * (bar - a.bar) / (b.bar - a.bar);
}

void CBaseTrend::Erase(CChart2D& chart) const {
    for (const int number : m_numbers) {
        chart.ClearSeries(kTrendSeriesBase + number);
    }
}

double CBaseTrend::Distance(const CChart2D& chart, const SPaneView& view,
                            CChart2D::SPixelPoint point) const {
    const CChart2D::SGeometry g = chart.Geometry();
    const double left = g.left;
    const double right = g.width - g.right;
    const double top = g.top;
    const double bottom = g.height - g.bottom;
    double nearest = -1.0;
    const CValueScale& chartScale = chart.ValueScale(CChart2D::EAxis::Y);
    for (const auto& [start, end] : SlotSegments(Parts(), view)) {
        // What is drawn: the segment, or the curve it is on this chart.
        const std::vector<CChart2D::SPoint> line = LinePoints(start, end, chartScale);
        for (std::size_t k = 1; k < line.size(); ++k) {
            const CChart2D::SPoint& from = line[k - 1];
            const CChart2D::SPoint& to = line[k];
            CChart2D::SPixelPoint a{chart.SlotToPixelX(from.x),
                                    chart.ValueToPixelY(from.y, CChart2D::EAxis::Y)};
            CChart2D::SPixelPoint b{chart.SlotToPixelX(to.x),
                                    chart.ValueToPixelY(to.y, CChart2D::EAxis::Y)};
            if (!std::isfinite(a.x) || !std::isfinite(a.y) || !std::isfinite(b.x) ||
                !std::isfinite(b.y) || !ClipSegment(a, b, left, top, right, bottom)) {
                continue;
            }
            const double distance = SegmentDistance(point, a, b);
            if (nearest < 0.0 || distance < nearest) {
                nearest = distance;
            }
        }
    }
    return nearest;
}

std::optional<double> CBaseTrend::HitTest(const CChart2D& chart, const SPaneView& view,
                                          CChart2D::SPixelPoint point, double tolerance) const {
    const CChart2D::SGeometry g = chart.Geometry();
    if (point.x < g.left || point.x > g.width - g.right || point.y < g.top ||
        point.y > g.height - g.bottom) {
        return std::nullopt;
    }
    const double distance = Distance(chart, view, point);
    if (distance < 0.0 || distance > tolerance) {
        return std::nullopt;
    }
    return distance;
}

bool CBaseTrend::MoveBy(const CChart2D& chart, const SPaneView& view, CChart2D::SPixelPoint from,
                        CChart2D::SPixelPoint to) {
    (void)view;
    const double bars = chart.PixelXToSlot(to.x) - chart.PixelXToSlot(from.x);
    // The prices move by the mouse's move in the trendline's own scale: by a ratio on a
    // logarithmic line.
    const CValueScale space = Space();
    const double price = space.ToAxis(chart.PixelYToValue(to.y, CChart2D::EAxis::Y)) -
                         space.ToAxis(chart.PixelYToValue(from.y, CChart2D::EAxis::Y));
    if (!std::isfinite(bars) || !std::isfinite(price)) {
        return false;
    }
    // Whole bars only; the rest of the move waits for the next step of the drag.
    m_dragBars += bars;
    const double whole = std::trunc(m_dragBars);
    m_dragBars -= whole;
    for (STrendPoint& point : m_points) {
        point.bar += whole;
        point.price = space.FromAxis(space.ToAxis(point.price) + price);
    }
    return true;
}

void CBaseTrend::ReTime(const CChartHistRequest& history) {
    m_dragBars = 0.0;
    for (STrendPoint& point : m_points) {
        point = TrendPointAt(history, point.bar, point.price);
    }
}

int TrendPartCount(ETrendKind kind) {
    const int clicks = TrendKindInfo(kind).clicks;
    // Points far apart, so that no part collapses.
    const SBarPrice points[] = {{0.0, 0.0}, {10.0, 10.0}, {20.0, 30.0}};
    return static_cast<int>(
        TrendParts(kind, std::span<const SBarPrice>(points, static_cast<std::size_t>(clicks)),
                   false)
            .size());
}

#include "chart/drawn_item.h"

#include <array>
#include <cmath>

CLevelLineItem::CLevelLineItem(CChart2D::SeriesId id, double value,
                               const CChart2D::SLineStyle& style)
    : m_id(id), m_value(value), m_style(style) {}

void CLevelLineItem::Paint(CChart2D& chart) {
    chart.SetLineStyle(m_id, m_style);
    if (CChart2D::IsHole(m_value)) {
        chart.SetLinePoints(m_id, {});
        return;
    }
    const CChart2D::SRange x = chart.XRange();
    const std::array<CChart2D::SPoint, 2> ends{{{x.min, m_value}, {x.max, m_value}}};
    chart.SetLinePoints(m_id, ends);
}

void CLevelLineItem::Erase(CChart2D& chart) {
    chart.ClearSeries(m_id);
}

std::optional<double> CLevelLineItem::HitTest(const CChart2D& chart, CChart2D::SPixelPoint point,
                                              double tolerance) const {
    if (CChart2D::IsHole(m_value)) {
        return std::nullopt;
    }
    const CChart2D::SGeometry g = chart.Geometry();
    if (point.x < g.left || point.x > g.width - g.right || point.y < g.top ||
        point.y > g.height - g.bottom) {
        return std::nullopt;
    }
    const double distance = std::fabs(chart.ValueToPixelY(m_value, m_style.axis) - point.y);
    if (!(distance <= tolerance)) {
        return std::nullopt;
    }
    return distance;
}

bool CLevelLineItem::MoveBy(const CChart2D& chart, CChart2D::SPixelPoint from,
                            CChart2D::SPixelPoint to) {
    if (!m_movable || CChart2D::IsHole(m_value)) {
        return false;
    }
    const double delta =
        chart.PixelYToValue(to.y, m_style.axis) - chart.PixelYToValue(from.y, m_style.axis);
    if (!std::isfinite(delta)) {
        return false;
    }
    m_value += delta;
    return true;
}

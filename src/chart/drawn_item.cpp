#include "chart/drawn_item.h"

#include <algorithm>
#include <array>
#include <cmath>

std::optional<CChart2D::SRange> CDrawnItem::Extent(const SPaneView& /*view*/) const {
    return std::nullopt;
}

std::optional<double> CDrawnItem::HitTest(const CChart2D& /*chart*/, const SPaneView& /*view*/,
                                          CChart2D::SPixelPoint /*point*/,
                                          double /*tolerance*/) const {
    return std::nullopt;
}

bool CDrawnItem::MoveBy(const CChart2D& /*chart*/, const SPaneView& /*view*/,
                        CChart2D::SPixelPoint /*from*/, CChart2D::SPixelPoint /*to*/) {
    return false;
}

void CPaneItems::Add(Item item) {
    if (item != nullptr) {
        std::erase(m_retired, item);
        m_items.push_back(std::move(item));
    }
}

void CPaneItems::Retire(const Item& item) {
    if (std::find(m_retired.begin(), m_retired.end(), item) == m_retired.end()) {
        m_retired.push_back(item);
    }
}

bool CPaneItems::Remove(const CDrawnItem* item) {
    const auto at = std::find_if(m_items.begin(), m_items.end(),
                                 [item](const Item& held) { return held.get() == item; });
    if (at == m_items.end()) {
        return false;
    }
    Retire(*at);
    m_items.erase(at);
    return true;
}

void CPaneItems::Assign(std::vector<Item> items) {
    std::erase(items, nullptr);
    for (const Item& old : m_items) {
        if (std::find(items.begin(), items.end(), old) == items.end()) {
            Retire(old);
        }
    }
    for (const Item& item : items) {
        std::erase(m_retired, item);
    }
    m_items = std::move(items);
}

void CPaneItems::Paint(CChart2D& chart, const SPaneView& view) {
    // Items that left go first: a new item may take over the series id of one that left.
    for (const Item& item : m_retired) {
        item->Erase(chart);
    }
    m_retired.clear();
    for (const Item& item : m_items) {
        item->Paint(chart, view);
    }
}

std::optional<CChart2D::SRange> CPaneItems::Extent(const SPaneView& view) const {
    std::optional<CChart2D::SRange> all;
    for (const Item& item : m_items) {
        if (const std::optional<CChart2D::SRange> range = item->Extent(view)) {
            all = all ? CChart2D::SRange{std::min(all->min, range->min),
                                         std::max(all->max, range->max)}
                      : *range;
        }
    }
    return all;
}

CPaneItems::Item CPaneItems::ItemAt(const CChart2D& chart, const SPaneView& view,
                                    CChart2D::SPixelPoint point, double tolerance) const {
    Item nearest;
    double best = 0.0;
    for (const Item& item : m_items) {
        const std::optional<double> distance = item->HitTest(chart, view, point, tolerance);
        if (distance && (nearest == nullptr || *distance < best)) {
            nearest = item;
            best = *distance;
        }
    }
    return nearest;
}

CLevelLineItem::CLevelLineItem(CChart2D::SeriesId id, double value,
                               const CChart2D::SLineStyle& style)
    : m_id(id), m_value(value), m_style(style) {}

void CLevelLineItem::Paint(CChart2D& chart, const SPaneView& /*view*/) {
    chart.SetLineStyle(m_id, m_style);
    if (CChart2D::IsHole(m_value)) {
        chart.SetLinePoints(m_id, {});
        return;
    }
    const CChart2D::SRange x = chart.XRange();
    const std::array<CChart2D::SPoint, 2> ends{{{x.min, m_value}, {x.max, m_value}}};
    chart.SetLinePoints(m_id, ends);
}

void CLevelLineItem::Erase(CChart2D& chart) const {
    chart.ClearSeries(m_id);
}

std::optional<CChart2D::SRange> CLevelLineItem::Extent(const SPaneView& /*view*/) const {
    if (!std::isfinite(m_value)) {
        return std::nullopt;
    }
    return CChart2D::SRange{m_value, m_value};
}

std::optional<double> CLevelLineItem::HitTest(const CChart2D& chart, const SPaneView& /*view*/,
                                              CChart2D::SPixelPoint point, double tolerance) const {
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

bool CLevelLineItem::MoveBy(const CChart2D& chart, const SPaneView& /*view*/,
                            CChart2D::SPixelPoint from, CChart2D::SPixelPoint to) {
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

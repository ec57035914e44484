#include "chart/ui/pane_crosshair.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// The pixel of `coord` on `axis`, when `coord` lies within the axis range and its pixel within
// [low, high].
std::optional<int> PixelWithin(const QCPAxis& axis, double coord, int low, int high) {
    const QCPRange range = axis.range();
    if (!std::isfinite(coord) || coord < range.lower || coord > range.upper) {
        return std::nullopt;
    }
    const double pixel = std::round(axis.coordToPixel(coord));
    if (!(pixel >= low && pixel <= high)) {
        return std::nullopt;
    }
    return static_cast<int>(pixel);
}

} // namespace

CPaneCrosshair::CPaneCrosshair(QCPAxisRect* rect, QCPAxis* x, QCPAxis* y, QCPAxis* y2)
    : m_rect(rect), m_x(x), m_y{y, y2} {}

bool CPaneCrosshair::Set(const CChart2D::SCrosshair& crosshair) {
    if (crosshair == m_crosshair) {
        return false;
    }
    if (crosshair.valueText != m_crosshair.valueText) {
        m_text = QString::fromStdString(crosshair.valueText);
    }
    m_crosshair = crosshair;
    return true;
}

void CPaneCrosshair::SetColors(const QColor& line, const QColor& text) {
    m_line = line;
    m_textColor = text;
}

std::optional<int> CPaneCrosshair::LineX() const {
    if (!Drawn()) {
        return std::nullopt;
    }
    const QRect plot = m_rect->rect();
    return PixelWithin(*m_x, m_crosshair.slot, plot.left(), plot.right());
}

std::optional<int> CPaneCrosshair::LineY() const {
    if (!Drawn() || !m_crosshair.horizontal) {
        return std::nullopt;
    }
    const QRect plot = m_rect->rect();
    const QCPAxis& axis = *m_y[m_crosshair.axis == CChart2D::EAxis::Y ? 0 : 1];
    return PixelWithin(axis, m_crosshair.value, plot.top(), plot.bottom());
}

QRect AxisTagRect(const QCPAxisRect& rect, CChart2D::EAxis axis, int y, int width, int height) {
    const QRect plot = rect.rect();
    const QRect outer = rect.outerRect();
    const int margin =
        axis == CChart2D::EAxis::Y ? plot.left() - outer.left() : outer.right() - plot.right();
    width = std::max(width, margin);
    const int top =
        std::clamp(y - height / 2, plot.top(), std::max(plot.top(), plot.bottom() + 1 - height));
    const int left = axis == CChart2D::EAxis::Y
                         ? std::max(outer.left(), plot.left() - width)
                         : std::min(plot.right() + 1, outer.right() + 1 - width);
    return QRect(left, top, width, height);
}

QRect CPaneCrosshair::TagRect(int y) const {
    if (m_text.isEmpty()) {
        return {};
    }
    const QFontMetrics metrics(m_font);
    return AxisTagRect(*m_rect, m_labelAxis, y, metrics.horizontalAdvance(m_text) + 6,
                       metrics.height() + 2);
}

QRegion CPaneCrosshair::Region() const {
    const QRect plot = m_rect->rect();
    QRegion region;
    if (const std::optional<int> x = LineX()) {
        region += QRect(*x - 1, plot.top() - 1, 3, plot.height() + 2);
    }
    if (const std::optional<int> y = LineY()) {
        region += QRect(plot.left() - 1, *y - 1, plot.width() + 2, 3);
        region += TagRect(*y).adjusted(-1, -1, 1, 1);
    }
    return region & m_rect->outerRect();
}

void CPaneCrosshair::Paint(QPainter& painter) const {
    const std::optional<int> x = LineX();
    const std::optional<int> y = LineY();
    if (!x && !y) {
        return;
    }
    const QRect plot = m_rect->rect();
    painter.save();
    painter.setClipRect(m_rect->outerRect());
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(m_line, 0, Qt::DashLine));
    if (x) {
        painter.drawLine(QLine(*x, plot.top(), *x, plot.bottom()));
    }
    if (y) {
        painter.drawLine(QLine(plot.left(), *y, plot.right(), *y));
        const QRect tag = TagRect(*y);
        if (!tag.isEmpty()) {
            painter.fillRect(tag, m_line);
            painter.setPen(m_textColor);
            painter.setFont(m_font);
            painter.drawText(tag, Qt::AlignCenter, m_text);
        }
    }
    painter.restore();
}

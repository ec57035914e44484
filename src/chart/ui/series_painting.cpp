// The drawing surface of a pane and the visible index range.

#include "chart/ui/series_painting.h"

namespace series_painting {

SIndexRange VisibleIndexes(std::size_t count, double xOffset, const SAxisMap& x,
                           const QRect& plot) {
    if (count == 0) {
        return {};
    }
    double a = x.ToCoordinate(plot.left() - 1.0) - xOffset;
    double b = x.ToCoordinate(plot.left() + plot.width() + 1.0) - xOffset;
    if (a > b) {
        std::swap(a, b);
    }
    const double lastIndex = static_cast<double>(count - 1);
    if (!(b >= -1.0) || !(a <= lastIndex + 1.0)) { // also false for NaN
        return {};
    }
    const double first = std::clamp(std::floor(a) - 1.0, 0.0, lastIndex);
    const double last = std::clamp(std::ceil(b) + 1.0, 0.0, lastIndex);
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(last), first > last};
}

CPaneSurface::CPaneSurface(QPainter& painter, QImage* raster, const QRect& area)
    : m_painter(painter), m_raster(raster), m_origin(area.topLeft()) {
    if (m_raster) {
        m_bits = m_raster->bits();
        m_stride = m_raster->bytesPerLine();
        m_width = std::min(area.width(), m_raster->width());
        m_height = std::min(area.height(), m_raster->height());
    }
}

QPainter& CPaneSurface::Painter() {
    Flush();
    return m_painter;
}

void CPaneSurface::Flush() {
    if (m_written.empty()) {
        return;
    }
    const QRect bounds(QPoint(m_bounds.left, m_bounds.top),
                       QPoint(m_bounds.right - 1, m_bounds.bottom - 1));
    m_painter.drawImage(m_origin + bounds.topLeft(), *m_raster, bounds);
    for (const SSpan& span : m_written) {
        Fill(span, 0);
    }
    m_written.clear();
}

CRectBatch::~CRectBatch() {
    if (m_rects[0].empty() && m_rects[1].empty()) {
        return;
    }
    QPainter& painter = m_surface.Painter();
    for (int side = 0; side < 2; ++side) {
        if (!m_rects[side].empty()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(m_colors[side]);
            painter.drawRects(m_rects[side].data(), static_cast<int>(m_rects[side].size()));
            painter.setBrush(Qt::NoBrush);
        }
    }
}

} // namespace series_painting

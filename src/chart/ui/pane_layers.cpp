#include "chart/ui/pane_layers.h"

#include <QFontMetrics>
#include <QPaintEngine>

#include <cmath>

QString CValueAxisTicker::getTickLabel(double tick, const QLocale& /*locale*/, QChar /*formatChar*/,
                                       int /*precision*/) {
    return QString::fromStdString(CChart2D::FormatAxisLabel(tick, m_precision));
}

SAxisMap AxisMapOf(const QCPAxis& axis) {
    const QCPRange range = axis.range();
    const double p0 = axis.coordToPixel(range.lower);
    const double p1 = axis.coordToPixel(range.upper);
    return SAxisMap{range.lower, p0, (p1 - p0) / range.size()};
}

CPaneSeriesLayerable::CPaneSeriesLayerable(QCustomPlot* plot, QCPAxisRect* rect, QCPAxis* x,
                                           QCPAxis* y, QCPAxis* y2)
    : QCPLayerable(plot, QStringLiteral("main"), rect), m_rect(rect), m_x(x), m_y{y, y2} {}

void CPaneSeriesLayerable::applyDefaultAntialiasingHint(QCPPainter* painter) const {
    painter->setAntialiasing(false);
}

QRect CPaneSeriesLayerable::clipRect() const {
    return m_rect->rect();
}

void CPaneSeriesLayerable::draw(QCPPainter* painter) {
    const SAxisMap y[2] = {AxisMapOf(*m_y[0]), AxisMapOf(*m_y[1])};
    const QRect plot = m_rect->rect();
    // The screen buffer takes the plot area's pixels as one image; a picture being recorded
    // for printing or export, or any scaled painter, gets every mark through QPainter.
    const QTransform& transform = painter->transform();
    const bool raster = painter->paintEngine() &&
                        painter->paintEngine()->type() == QPaintEngine::Raster &&
                        transform.type() <= QTransform::TxTranslate &&
                        transform.dx() == std::floor(transform.dx()) &&
                        transform.dy() == std::floor(transform.dy());
    if (!raster || plot.width() <= 0 || plot.height() <= 0) {
        PaintPaneSeries(*painter, m_series, plot, AxisMapOf(*m_x), y);
        return;
    }
    // The layer clips one pixel higher than the plot area; so does the image.
    const QRect area = plot.translated(0, -1);
    if (m_raster.size() != area.size()) {
        m_raster = QImage(area.size(), QImage::Format_ARGB32_Premultiplied);
        m_raster.fill(Qt::transparent);
    }
    PaintPaneSeries(*painter, m_series, plot, AxisMapOf(*m_x), y, &m_raster, area.topLeft());
}

CPaneFrameLayerable::CPaneFrameLayerable(QCustomPlot* plot, const QString& layer, QCPAxisRect* rect,
                                         EPart part)
    : QCPLayerable(plot, layer, rect), m_rect(rect), m_part(part), m_color(Qt::white) {
    m_text.setTextFormat(Qt::PlainText);
}

void CPaneFrameLayerable::applyDefaultAntialiasingHint(QCPPainter* painter) const {
    painter->setAntialiasing(false);
}

// The layer shifts every clip rectangle up by one pixel; this undoes it for the pane's own
// rectangle, so that the frame paints exactly the pane.
QRect CPaneFrameLayerable::clipRect() const {
    return m_rect->outerRect().translated(0, 1);
}

void CPaneFrameLayerable::draw(QCPPainter* painter) {
    const QRect outer = m_rect->outerRect();
    if (m_part == EPart::Background) {
        painter->fillRect(outer, m_color);
        return;
    }
    if (m_text.text().isEmpty()) {
        return;
    }
    // From the left edge of the plot area, clear of value labels on the left, centred in the
    // strip above it.
    const int strip = m_rect->rect().top() - outer.top();
    const int height = QFontMetrics(m_font).height();
    painter->setFont(m_font);
    painter->setPen(m_color);
    painter->drawStaticText(m_rect->rect().left() + 4,
                            outer.top() + std::max(strip - height, 0) / 2, m_text);
}

void CPaneFrameLayerable::SetText(const QString& text) {
    m_text.setText(text);
    m_text.prepare(QTransform(), m_font);
}

void CPaneFrameLayerable::SetFont(const QFont& font) {
    m_font = font;
    m_text.prepare(QTransform(), m_font);
}

#include "chart/ui/pane_tags.h"

#include "chart/color_ref.h"
#include "chart/ui/pane_crosshair.h"

#include <QFontMetrics>
#include <QStringList>

#include <algorithm>
#include <cmath>

CPaneTagLayerable::CPaneTagLayerable(QCustomPlot* plot, QCPAxisRect* rect, QCPAxis* y, QCPAxis* y2,
                                     const CPaneSeriesSet& series, const CValueScale (&scales)[2])
    : QCPLayerable(plot, QStringLiteral("legend"), rect), m_rect(rect), m_y{y, y2},
      m_series(series), m_scales(scales) {}

void CPaneTagLayerable::applyDefaultAntialiasingHint(QCPPainter* painter) const {
    painter->setAntialiasing(false);
}

// The layer shifts every clip rectangle up by one pixel; this undoes it for the pane's own
// rectangle.
QRect CPaneTagLayerable::clipRect() const {
    return m_rect->outerRect().translated(0, 1);
}

QRect CPaneTagLayerable::TagRect(int y, int textWidth, int lines) const {
    const QFontMetrics metrics(m_font);
    return AxisTagRect(*m_rect, m_labelAxis, y, textWidth + 6,
                       metrics.height() * std::max(lines, 1) + 2);
}

void CPaneTagLayerable::draw(QCPPainter* painter) {
    if (!m_shown || !m_rect->visible() || m_rect->rect().height() <= 0) {
        return;
    }
    const QFontMetrics metrics(m_font);
    painter->setFont(m_font);
    for (const auto& [id, series] : m_series.Items()) {
        const CChart2D::SValueTag& tag = series.tag;
        if (tag.text.empty() || !std::isfinite(tag.value)) {
            continue;
        }
        const int slot = tag.axis == CChart2D::EAxis::Y ? 0 : 1;
        const double pixel = m_y[slot]->coordToPixel(m_scales[slot].ToAxis(tag.value));
        // Far outside the range the pixel is only needed to say which edge the tag keeps to.
        const int y = static_cast<int>(std::clamp(pixel, -1e6, 1e6));
        const QStringList lines = QString::fromStdString(tag.text).split('\n');
        int textWidth = 0;
        for (const QString& line : lines) {
            textWidth = std::max(textWidth, metrics.horizontalAdvance(line));
        }
        const QRect box = TagRect(y, textWidth, static_cast<int>(lines.size()));
        painter->fillRect(box, QColor(RedOf(tag.fill), GreenOf(tag.fill), BlueOf(tag.fill)));
        painter->setPen(
            QColor(RedOf(tag.textColor), GreenOf(tag.textColor), BlueOf(tag.textColor)));
        painter->drawText(box, Qt::AlignCenter, lines.join('\n'));
    }
}

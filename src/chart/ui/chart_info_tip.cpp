#include "chart/ui/chart_info_tip.h"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kPadX = 6;
constexpr int kPadY = 4;
const QColor kFill(255, 255, 225, 230);
const QColor kBorder(128, 128, 128);

// One side of the placement: after the cursor, or before it when that would pass `end`, then
// held within [begin, end].
int PlaceAlong(int cursor, int extent, int begin, int end) {
    int start = cursor + CChartInfoTip::kCursorGap;
    if (start + extent > end) {
        start = cursor - CChartInfoTip::kCursorGap - extent;
    }
    return std::max(std::min(start, end - extent), begin);
}

} // namespace

CChartInfoTip::CChartInfoTip(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    // Fixed-width digits, so that the columns of numbers stay put as the cursor moves.
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (font().pointSizeF() > 0) {
        fixed.setPointSizeF(font().pointSizeF());
    }
    setFont(fixed);
    hide();
}

QPoint CChartInfoTip::Place(QPoint cursor, QSize size, const QRect& area) {
    return {PlaceAlong(cursor.x(), size.width(), area.left(), area.left() + area.width()),
            PlaceAlong(cursor.y(), size.height(), area.top(), area.top() + area.height())};
}

void CChartInfoTip::ShowAt(QPoint cursorInParent, const QString& text) {
    if (text.isEmpty()) {
        hide();
        return;
    }
    const QStringList lines = text.split(QLatin1Char('\n'));
    if (lines != m_lines) {
        m_lines = lines;
        const QFontMetrics metrics(font());
        int width = 0;
        for (const QString& line : m_lines) {
            width = std::max(width, metrics.horizontalAdvance(line));
        }
        resize(width + 2 * kPadX,
               static_cast<int>(m_lines.size()) * metrics.lineSpacing() + 2 * kPadY);
        update();
    }
    const QRect area = parentWidget() != nullptr ? parentWidget()->rect() : QRect();
    move(area.isEmpty() ? cursorInParent + QPoint(kCursorGap, kCursorGap)
                        : Place(cursorInParent, size(), area));
    show();
    raise();
}

void CChartInfoTip::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), kFill);
    painter.setPen(kBorder);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    painter.setPen(Qt::black);
    const QFontMetrics metrics(font());
    int y = kPadY + metrics.ascent();
    for (const QString& line : m_lines) {
        painter.drawText(kPadX, y, line);
        y += metrics.lineSpacing();
    }
}

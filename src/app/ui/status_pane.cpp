#include "app/ui/status_pane.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace {

// Blank room on each side of a pane's text.
constexpr int kPadding = 12;

} // namespace

CStatusPane::CStatusPane(const QString& text, const QString& widest, QWidget* parent)
    : QLabel(text, parent), m_widest(widest) {
    setTextFormat(Qt::PlainText);
    setToolTip(text);
}

bool CStatusPane::SetText(const QString& text) {
    if (text == this->text()) {
        return false;
    }
    setText(text);
    setToolTip(text);
    return true;
}

QString CStatusPane::ShownText() const {
    return fontMetrics().elidedText(text(), Qt::ElideMiddle, TextRect().width());
}

QSize CStatusPane::sizeHint() const {
    const int width = fontMetrics().horizontalAdvance(m_widest) + 2 * (kPadding + margin());
    return {width, QLabel::sizeHint().height()};
}

QSize CStatusPane::minimumSizeHint() const {
    const QString few = QStringLiteral("M") + QChar(0x2026) + QStringLiteral("M");
    const int width = fontMetrics().horizontalAdvance(few) + 2 * margin();
    return {std::min(width, sizeHint().width()), QLabel::minimumSizeHint().height()};
}

bool CStatusPane::event(QEvent* event) {
    // A text set through QLabel::setText has its tooltip too.
    if (event->type() == QEvent::ToolTip && toolTip() != text()) {
        setToolTip(text());
    }
    return QLabel::event(event);
}

void CStatusPane::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    drawFrame(&painter);
    style()->drawItemText(&painter, TextRect(),
                          static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment())),
                          palette(), isEnabled(), ShownText(), foregroundRole());
}

QRect CStatusPane::TextRect() const {
    return contentsRect().adjusted(margin(), margin(), -margin(), -margin());
}

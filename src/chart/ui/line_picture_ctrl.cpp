#include "chart/ui/line_picture_ctrl.h"

#include "chart/line_style.h"
#include "chart/ui/button_for_color.h"

#include <QPainter>
#include <QPen>

#include <algorithm>

CLinePictureCtrl::CLinePictureCtrl(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

Qt::PenStyle CLinePictureCtrl::PenStyle(int lineStyle) {
    switch (lineStyle) {
    case static_cast<int>(ELineStyle::Dash):
        return Qt::DashLine;
    case static_cast<int>(ELineStyle::Dot):
        return Qt::DotLine;
    case static_cast<int>(ELineStyle::DashDot):
        return Qt::DashDotLine;
    case static_cast<int>(ELineStyle::DashDotDot):
        return Qt::DashDotDotLine;
    default:
        return Qt::SolidLine;
    }
}

void CLinePictureCtrl::SetColor(ColorRef color) {
    m_color = color & kColorRefMask;
    update();
}

void CLinePictureCtrl::SetLineStyle(int lineStyle) {
    m_lineStyle = lineStyle;
    update();
}

void CLinePictureCtrl::SetLineWidth(int pixels) {
    m_width = std::clamp(pixels, 1, 16);
    update();
}

void CLinePictureCtrl::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));

    const QColor color = isEnabled() ? CButtonForColor::ToQColor(m_color)
                                     : palette().color(QPalette::Disabled, QPalette::WindowText);
    QPen pen(color, m_width, PenStyle(m_lineStyle), Qt::FlatCap);
    painter.setPen(pen);
    const int y = height() / 2;
    painter.drawLine(4, y, width() - 5, y);
}

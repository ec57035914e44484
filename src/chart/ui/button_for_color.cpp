#include "chart/ui/button_for_color.h"

#include <QColorDialog>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

#include <algorithm>
#include <cstring>

CButtonForColor::CButtonForColor(QWidget* parent) : QPushButton(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(this, &QPushButton::clicked, this, [this] { Choose(); });
}

QColor CButtonForColor::ToQColor(ColorRef color) {
    return QColor(RedOf(color), GreenOf(color), BlueOf(color));
}

ColorRef CButtonForColor::FromQColor(const QColor& color) {
    const QColor rgb = color.toRgb();
    return MakeColorRef(rgb.red(), rgb.green(), rgb.blue());
}

void CButtonForColor::SetColor(ColorRef color) {
    color &= kColorRefMask;
    if (color == m_color) {
        return;
    }
    m_color = color;
    setToolTip(QStringLiteral("#%1%2%3")
                   .arg(RedOf(color), 2, 16, QLatin1Char('0'))
                   .arg(GreenOf(color), 2, 16, QLatin1Char('0'))
                   .arg(BlueOf(color), 2, 16, QLatin1Char('0')));
    update();
    emit colorChanged(m_color);
}

bool CButtonForColor::Choose() {
    QColorDialog dialog(ToQColor(m_color), this);
    dialog.setObjectName(kChooserName);
    // The widget dialog: the part to hide is one of its own children.
    dialog.setOption(QColorDialog::DontUseNativeDialog);
    if (!m_fullChooser) {
        HideCustomColorPart(dialog);
    }
    if (dialog.exec() != QDialog::Accepted) {
        return false;
    }
    SetColor(FromQColor(dialog.currentColor()));
    return true;
}

void CButtonForColor::HideCustomColorPart(QColorDialog& dialog) {
    // Qt's chooser names no child: the parts that define a colour are known by their classes,
    // the button that adds it to the custom wells by being the dialog's own push button that
    // is not "Pick Screen Color". Nothing found leaves the full chooser.
    for (QWidget* child : dialog.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        const char* name = child->metaObject()->className();
        const bool definer = std::strstr(name, "QColorPicker") != nullptr ||
                             std::strstr(name, "QColorLuminancePicker") != nullptr ||
                             std::strstr(name, "QColorShower") != nullptr;
        const auto* button = qobject_cast<QPushButton*>(child);
        const bool addButton = button != nullptr && button->text().contains("Custom");
        if (definer || addButton) {
            child->hide();
        }
    }
    dialog.adjustSize();
}

QSize CButtonForColor::sizeHint() const {
    const QSize hint = QPushButton::sizeHint();
    return {std::max(hint.width(), 96), std::max(hint.height(), 24)};
}

void CButtonForColor::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text.clear();
    style()->drawControl(QStyle::CE_PushButtonBevel, &option, &painter, this);

    const int inset = style()->pixelMetric(QStyle::PM_ButtonMargin, &option, this) / 2 + 3;
    const QRect sample = rect().adjusted(inset, inset, -inset - 1, -inset - 1);
    const QColor fill =
        isEnabled() ? SampleColor() : palette().color(QPalette::Disabled, QPalette::Button);
    painter.fillRect(sample, fill);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
    painter.drawRect(sample);
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = sample.adjusted(-2, -2, 2, 2);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}

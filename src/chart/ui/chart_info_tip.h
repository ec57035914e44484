#pragma once

// The info tip: the lines of the cursor's info text in a small box beside the mouse, inside the
// chart. A child widget that never takes the mouse, so the chart under it keeps receiving the
// moves. It sits below and to the right of the cursor and flips to the other side of it where it
// would leave its parent; a tip larger than its parent keeps to the parent's top-left corner.

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QWidget>

class CChartInfoTip : public QWidget {
    Q_OBJECT

public:
    // Pixels between the cursor and the nearest corner of the tip.
    static constexpr int kCursorGap = 14;

    explicit CChartInfoTip(QWidget* parent);

    // Shows `text` (lines separated by "\n") beside `cursorInParent`, in the parent's pixels;
    // an empty text hides the tip.
    void ShowAt(QPoint cursorInParent, const QString& text);
    QString Text() const { return m_lines.join(QLatin1Char('\n')); }

    // The top-left corner of a tip of `size` beside `cursor`, kept within `area`.
    static QPoint Place(QPoint cursor, QSize size, const QRect& area);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QStringList m_lines;
};

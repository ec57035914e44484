#pragma once

#include "chart/color_ref.h"

#include <QWidget>

// A small sample of a line: drawn across the middle of the control in a colour, a style (an
// ELineStyle index, "Grid Style") and a width. A disabled control draws its line greyed.
class CLinePictureCtrl : public QWidget {
    Q_OBJECT

public:
    explicit CLinePictureCtrl(QWidget* parent = nullptr);

    // The pen style of a line style index; solid outside 0-4.
    static Qt::PenStyle PenStyle(int lineStyle);

    void SetColor(ColorRef color);
    ColorRef Color() const { return m_color; }
    // An index outside 0-4 draws a solid line (and is kept as given).
    void SetLineStyle(int lineStyle);
    int LineStyle() const { return m_lineStyle; }
    // Held to 1-16 pixels.
    void SetLineWidth(int pixels);
    int LineWidth() const { return m_width; }

    QSize sizeHint() const override { return {96, 20}; }
    QSize minimumSizeHint() const override { return {32, 12}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ColorRef m_color = 0;
    int m_lineStyle = 0;
    int m_width = 1;
};

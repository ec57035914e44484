#pragma once

// The crosshair of one pane of the stack: a dashed vertical line at a slot and a dashed
// horizontal line at a value, both within the plot area, and the value's tag, a filled box with
// the text, just outside the plot area on the side of the value labels.
//
// It is not one of the plot's layers: the stack paints it over its finished buffers whenever the
// widget is painted, so a move repaints only the pixels that the crosshair leaves and enters,
// from buffers that stay as they are, and printing and export (which draw the layers) never
// show it. Positions follow the plot's current layout.

#include "chart/chart_2d.h"

#include <qcustomplot.h>

#include <QColor>
#include <QFont>
#include <QRegion>
#include <QString>

#include <optional>

// A tag of `width` x `height` pixels centred on `y` and kept within the plot area's height, over
// the value labels across the whole margin on `axis`'s side (pushed inwards when the margin is
// narrower than the tag).
QRect AxisTagRect(const QCPAxisRect& rect, CChart2D::EAxis axis, int y, int width, int height);

class CPaneCrosshair {
public:
    // `rect` is the pane's axis rectangle (a hidden one shows no crosshair); `y` and `y2` its
    // value axes.
    CPaneCrosshair(QCPAxisRect* rect, QCPAxis* x, QCPAxis* y, QCPAxis* y2);

    // Returns whether anything changed.
    bool Set(const CChart2D::SCrosshair& crosshair);
    const CChart2D::SCrosshair& Crosshair() const { return m_crosshair; }
    // Whether the pane shows its crosshair at all (a collapsed pane does not).
    void SetShown(bool shown) { m_shown = shown; }
    // The side of the tag: left of the plot area for y, right of it for y2.
    void SetLabelAxis(CChart2D::EAxis axis) { m_labelAxis = axis; }
    // The lines and the tag's box in `line`, the tag's text in `text`.
    void SetColors(const QColor& line, const QColor& text);
    void SetFont(const QFont& font) { m_font = font; }

    // The widget pixel column of the vertical line and row of the horizontal line; none for a
    // line that is not drawn.
    std::optional<int> LineX() const;
    std::optional<int> LineY() const;
    // The widget pixels that Paint() touches (with a pixel to spare).
    QRegion Region() const;
    void Paint(QPainter& painter) const;

private:
    bool Drawn() const { return m_shown && m_crosshair.visible && m_rect->visible(); }
    // The tag's box for a horizontal line at `y`; empty without a text.
    QRect TagRect(int y) const;

    QCPAxisRect* m_rect;
    QCPAxis* m_x;
    QCPAxis* m_y[2];
    CChart2D::SCrosshair m_crosshair;
    QString m_text; // the tag's text, converted once
    bool m_shown = true;
    CChart2D::EAxis m_labelAxis = CChart2D::EAxis::Y;
    QColor m_line = Qt::black;
    QColor m_textColor = Qt::white;
    QFont m_font;
};

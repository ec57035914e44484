#pragma once

// The value tags of a pane's lines (CChart2D::SValueTag): boxes over the value labels beside the
// plot area, drawn on a layer above the axes, so that printing and export show them too. The
// crosshair, painted over the finished plot, covers them.

#include "chart/ui/pane_series.h"
#include "chart/value_scale.h"

#include <qcustomplot.h>

#include <QFont>

class CPaneTagLayerable : public QCPLayerable {
public:
    // `scales` maps a tag's value onto its axis (y, y2), as the pane maps its series.
    CPaneTagLayerable(QCustomPlot* plot, QCPAxisRect* rect, QCPAxis* y, QCPAxis* y2,
                      const CPaneSeriesSet& series, const CValueScale (&scales)[2]);

    // The side of the tags: left of the plot area for y, right of it for y2.
    void SetLabelAxis(CChart2D::EAxis axis) { m_labelAxis = axis; }
    void SetShown(bool shown) { m_shown = shown; }
    void SetFont(const QFont& font) { m_font = font; }

    // The box of a tag of `lines` lines of `textWidth` pixels at pixel row `y`: centred on the
    // row and kept within the plot area's height, across the whole margin on the label side
    // (pushed inwards when the margin is narrower than the text).
    QRect TagRect(int y, int textWidth, int lines) const;

protected:
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override;
    void draw(QCPPainter* painter) override;
    QRect clipRect() const override;

private:
    QCPAxisRect* m_rect;
    QCPAxis* m_y[2];
    const CPaneSeriesSet& m_series;
    const CValueScale (&m_scales)[2];
    CChart2D::EAxis m_labelAxis = CChart2D::EAxis::Y;
    bool m_shown = true;
    QFont m_font;
};

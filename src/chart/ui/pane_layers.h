#pragma once

// The pieces that one pane adds to the stack's plot, besides its axis rectangle and axes: the
// value ticker that places and writes the value labels, the layer object that draws the pane's
// series, and the frame that paints the pane's background and its label line.

#include "chart/ui/pane_series.h"

#include <qcustomplot.h>

#include <QColor>
#include <QFont>
#include <QImage>
#include <QStaticText>
#include <QString>

#include <memory>

// Value labels at steps that the axis precision writes exactly (ChooseScaleTicks): at most
// tickCount() of them and as many as the plot's height leaves room for, never fewer than two,
// in the axis' label format.
class CValueAxisTicker : public QCPAxisTicker {
public:
    // Pixels from one value label to the next, at the least, where the plot is tall enough.
    static constexpr int kLabelPitch = 18;

    // The ticker of `rect`'s value axes: its plot height bounds the number of labels.
    explicit CValueAxisTicker(const QCPAxisRect* rect) : m_rect(rect) {}

    int Precision() const { return m_precision; }
    void SetPrecision(int precision) { m_precision = precision; }
    CChart2D::ELabelFormat Format() const { return m_format; }
    void SetFormat(CChart2D::ELabelFormat format) { m_format = format; }
    // The axis' scale: the range handed to generate() is in its axis coordinates.
    void SetScale(const CValueScale& scale) { m_scale = scale; }

    void generate(const QCPRange& range, const QLocale& locale, QChar formatChar, int precision,
                  QVector<double>& ticks, QVector<double>* subTicks,
                  QVector<QString>* tickLabels) override;

private:
    const QCPAxisRect* m_rect;
    int m_precision = CChart2D::kDefaultLabelPrecision;
    CChart2D::ELabelFormat m_format = CChart2D::ELabelFormat::Fixed;
    CValueScale m_scale;
};

// Draws the series of one pane inside its plot area, on the plot's "main" layer.
class CPaneSeriesLayerable : public QCPLayerable {
public:
    // `raster` is shared by the panes of one plot, which draw one after the other.
    CPaneSeriesLayerable(QCustomPlot* plot, QCPAxisRect* rect, QCPAxis* x, QCPAxis* y, QCPAxis* y2,
                         std::shared_ptr<QImage> raster);

    CPaneSeriesSet& Series() { return m_series; }
    const CPaneSeriesSet& Series() const { return m_series; }

protected:
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override;
    void draw(QCPPainter* painter) override;
    QRect clipRect() const override;

private:
    QCPAxisRect* m_rect;
    QCPAxis* m_x;
    QCPAxis* m_y[2];
    CPaneSeriesSet m_series;
    std::shared_ptr<QImage> m_raster; // transparent between drawings; grows to the plot area
};

// Paints the pane's background over its whole rectangle (on the "background" layer) or its
// label line in the strip above the plot area, from the plot area's left edge (on a layer above
// the axes).
class CPaneFrameLayerable : public QCPLayerable {
public:
    enum class EPart { Background, LabelLine };

    CPaneFrameLayerable(QCustomPlot* plot, const QString& layer, QCPAxisRect* rect, EPart part);

    // The label line: runs of text one after the other, each in its colour.
    struct SRun {
        QString text;
        QColor color;
    };

    void SetColor(const QColor& color);
    void SetRuns(const std::vector<SRun>& runs);
    QString Text() const;
    void SetFont(const QFont& font);

protected:
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override;
    void draw(QCPPainter* painter) override;
    QRect clipRect() const override;

private:
    QCPAxisRect* m_rect;
    EPart m_part;
    QColor m_color;
    // Each run laid out once, with its colour.
    std::vector<std::pair<QStaticText, QColor>> m_runs;
    QImage m_textImage; // the label line drawn, for the screen; null until needed
    QFont m_font;
};

// The map of a QCustomPlot axis as pixel = origin + (coordinate - lower) x scale.
SAxisMap AxisMapOf(const QCPAxis& axis);

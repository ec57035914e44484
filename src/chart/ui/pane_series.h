#pragma once

// The series of one pane, kept in id order, and their drawing with QPainter.
//
// Drawing is built for long series on narrow panes: only the bars inside the plot area are
// visited; when bars are closer than a pixel, every pixel column is drawn once (a candle or bar
// from the highest high to the lowest low of its bars, a histogram from the base to the extreme
// values, a line as one vertical run over its lowest and highest value joined to the column
// before), which looks the same as drawing each bar. Bars, bodies, wicks and such runs are
// rectangles, written straight into an image when drawing to the screen buffer.

#include "chart/chart_2d.h"
#include "chart/ui/pane_series_data.h"

#include <QRect>
#include <Qt>

#include <map>
#include <vector>

class QImage;
class QPainter;

class CPaneSeriesSet {
public:
    using Map = std::map<CChart2D::SeriesId, SPaneSeries>;

    // The series `id` as `kind`; a series of another kind is replaced by an empty one.
    SPaneSeries& Take(CChart2D::SeriesId id, SPaneSeries::EKind kind);
    // The kind of series `id`, or Line when there is none.
    SPaneSeries::EKind KindOf(CChart2D::SeriesId id) const;
    void Remove(CChart2D::SeriesId id) { m_items.erase(id); }
    void Clear() { m_items.clear(); }
    const Map& Items() const { return m_items; }
    Map& Items() { return m_items; }

private:
    Map m_items;
};

// Draws every series of `set` in id order without antialiasing. `plot` is the plot area in the
// painter's pixels (the painter clips to it); `y` holds the maps of the axes y and y2. With a
// `raster` image (ARGB32 premultiplied, transparent, at least as large as `rasterArea`, whose
// pixels from (0, 0) it covers) the bars, histograms and dense lines are written into its
// pixels and drawn as one image: far cheaper than thousands of thin rectangles through QPainter.
// The raster is transparent again afterwards. Pass none when the painter records or prints.
void PaintPaneSeries(QPainter& painter, const CPaneSeriesSet& set, const QRect& plot,
                     const SAxisMap& x, const SAxisMap (&y)[2], QImage* raster = nullptr,
                     const QRect& rasterArea = QRect());

// The Qt pen style of an ELineStyle index (solid for any other index).
Qt::PenStyle QtPenStyleOf(int style);

#include "chart/ui/pane_series.h"

#include "chart/segment_clip.h"
#include "chart/ui/series_painting.h"

#include <QLine>
#include <QPen>
#include <QPointF>
#include <QString>

#include <utility>

using namespace series_painting;

namespace {

QPen LinePen(const CChart2D::SLineStyle& style) {
    QPen pen(ToQColor(style.color));
    // A one-pixel line is one device pixel at any pixel ratio; wider lines grow with it.
    const int width = std::clamp(style.width, 1, 16);
    pen.setWidth(width == 1 ? 0 : width);
    pen.setStyle(QtPenStyleOf(style.style));
    return pen;
}

// Collects the points of a polyline and draws it when the line breaks.
class CPolyline {
public:
    explicit CPolyline(QPainter& painter) : m_painter(painter) {}
    void Add(double x, double y) {
        if (m_points.empty() || m_points.back() != QPointF(x, y)) {
            m_points.emplace_back(x, y);
        }
    }
    void Break() {
        if (m_points.size() >= 2) {
            m_painter.drawPolyline(m_points.data(), static_cast<int>(m_points.size()));
        } else if (m_points.size() == 1) {
            m_painter.drawPoint(m_points.front());
        }
        m_points.clear();
    }

private:
    QPainter& m_painter;
    std::vector<QPointF> m_points;
};

// Cuts the segment a-b to `r`; false when nothing of it lies inside.
bool ClipSegment(QPointF& a, QPointF& b, const QRectF& r) {
    CChart2D::SPixelPoint from{a.x(), a.y()};
    CChart2D::SPixelPoint to{b.x(), b.y()};
    if (!::ClipSegment(from, to, r.left(), r.top(), r.right(), r.bottom())) {
        return false;
    }
    a = QPointF(from.x, from.y);
    b = QPointF(to.x, to.y);
    return true;
}

// The segments of consecutive point lines that share a pen (the parts of a trendline, say),
// drawn in one call when the pen changes or another kind of series comes.
struct SLineBatch {
    QPen pen;
    bool active = false;
    std::vector<QLineF> segments;

    void Flush(QPainter& painter) {
        if (!segments.empty()) {
            painter.drawLines(segments.data(), static_cast<int>(segments.size()));
            segments.clear();
        }
    }
    void End(QPainter& painter) {
        Flush(painter);
        active = false;
    }
};

// The label of `series` at `topLeft`: on the screen an image of it drawn once and blitted after,
// elsewhere (printing, export) the text itself.
void PaintLabel(QPainter& painter, const SPaneSeries& series, QPointF topLeft, bool screen) {
    if (!screen) {
        painter.drawStaticText(topLeft, series.labelText);
        return;
    }
    if (series.labelImage.isNull() || series.labelStyle.color != series.line.color) {
        const QSizeF size = series.labelText.size();
        QImage image(static_cast<int>(std::ceil(size.width())) + 1,
                     static_cast<int>(std::ceil(size.height())) + 1,
                     QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter text(&image);
        text.setFont(painter.font());
        text.setPen(painter.pen().color());
        text.drawStaticText(QPointF(0.0, 0.0), series.labelText);
        text.end();
        series.labelImage = std::move(image);
        series.labelStyle = series.line;
    }
    painter.drawImage(topLeft, series.labelImage);
}

void PaintPointLine(QPainter& painter, const SPaneSeries& series, const QRect& plot,
                    const SAxisMap& x, const SAxisMap& y, SLineBatch& batch, bool screen) {
    const QRectF area = QRectF(plot).adjusted(-2.0, -2.0, 2.0, 2.0);
    const QPen pen = LinePen(series.line);
    if (!batch.active || batch.pen != pen) {
        batch.Flush(painter);
        painter.setPen(pen);
        batch.pen = pen;
        batch.active = true;
    }
    std::vector<QLineF>& segments = batch.segments;
    std::vector<QPointF> dots;
    bool havePrevious = false;
    bool previousJoined = false; // the previous point starts or continues a segment
    QPointF previous;
    for (const CChart2D::SPoint& point : series.points) {
        const QPointF pixel(x.ToPixel(point.x), y.ToPixel(point.y));
        if (!std::isfinite(pixel.x()) || !std::isfinite(pixel.y())) {
            if (havePrevious && !previousJoined && area.contains(previous)) {
                dots.push_back(previous);
            }
            havePrevious = false;
            continue;
        }
        if (havePrevious) {
            QPointF a = previous;
            QPointF b = pixel;
            if (ClipSegment(a, b, area)) {
                segments.emplace_back(a, b);
            }
        }
        previousJoined = havePrevious;
        havePrevious = true;
        previous = pixel;
    }
    if (havePrevious && !previousJoined && area.contains(previous)) {
        dots.push_back(previous);
    }
    if (!dots.empty()) {
        painter.drawPoints(dots.data(), static_cast<int>(dots.size()));
    }
    if (!series.label.empty() && !series.points.empty()) {
        const QPointF at(x.ToPixel(series.points.front().x), y.ToPixel(series.points.front().y));
        if (area.contains(at)) {
            // Above the line, or below it where the plot's top edge would cut the text.
            const double height = series.labelText.size().height();
            const bool below = at.y() - 3.0 - height < plot.top();
            PaintLabel(painter, series, at + QPointF(3.0, below ? 2.0 : -3.0 - height), screen);
        }
    }
}

// A line with several points to a pixel column, drawn as one vertical run per column from its
// lowest to its highest point, stretched to the last point of the column before so that the
// line stays joined: the pixels a 1-pixel line through all the points would cover.
void PaintLineColumns(CPaneSurface& surface, const SPaneSeries& series, const SIndexRange& range,
                      const QRect& plot, const SAxisMap& x, const SAxisMap& y) {
    const double top = plot.top();
    const double bottom = plot.top() + plot.height();
    const auto row = [&](double value) { return PixelOf(y.ToPixel(value), top, bottom); };
    const int width = std::clamp(series.line.width, 1, 16);
    const double* values = series.values.data();
    const QColor color = ToQColor(series.line.color);
    CRectBatch runs(surface, color, color);
    bool joined = false;
    int lastRow = 0;
    ForEachColumn(range.first, range.last, x.ToPixel(series.xOffset), x.scale,
                  [&](int column, std::size_t begin, std::size_t end) {
                      std::size_t i = begin;
                      while (i < end) {
                          // One stretch of numbers between holes.
                          if (std::isnan(values[i])) {
                              joined = false;
                              ++i;
                              continue;
                          }
                          double lowest = values[i];
                          double highest = lowest;
                          std::size_t j = i + 1;
                          for (; j < end && !std::isnan(values[j]); ++j) {
                              lowest = std::min(lowest, values[j]);
                              highest = std::max(highest, values[j]);
                          }
                          const int lowRow = row(lowest);
                          const int highRow = row(highest);
                          int a = std::min(lowRow, highRow);
                          int b = std::max(lowRow, highRow);
                          if (joined) {
                              a = std::min(a, lastRow);
                              b = std::max(b, lastRow);
                          }
                          runs.Add(0, VerticalRun(column, a, b, width));
                          lastRow = row(values[j - 1]);
                          joined = true;
                          i = j;
                      }
                  });
}

void PaintValueLine(CPaneSurface& surface, const SPaneSeries& series, const QRect& plot,
                    const SAxisMap& x, const SAxisMap& y) {
    const SIndexRange range = VisibleIndexes(series.values.size(), series.xOffset, x, plot);
    if (range.empty) {
        return;
    }
    // Dashes need the line's own path; they are drawn through every point.
    if (DrawsByColumn(x) && series.line.style == CChart2D::kSolid) {
        PaintLineColumns(surface, series, range, plot, x, y);
        return;
    }
    QPainter& painter = surface.Painter();
    painter.setPen(LinePen(series.line));
    const double top = plot.top();
    const double bottom = plot.top() + plot.height();
    CPolyline line(painter);
    for (std::size_t i = range.first; i <= range.last; ++i) {
        const double py = y.ToPixel(series.values[i]);
        if (std::isnan(py)) {
            line.Break();
            continue;
        }
        line.Add(x.ToPixel(series.xOffset + static_cast<double>(i)),
                 std::clamp(py, top - kPixelReach, bottom + kPixelReach));
    }
    line.Break();
}

} // namespace

Qt::PenStyle QtPenStyleOf(int style) {
    switch (style) {
    case CChart2D::kDash:
        return Qt::DashLine;
    case CChart2D::kDot:
        return Qt::DotLine;
    case CChart2D::kDashDot:
        return Qt::DashDotLine;
    case CChart2D::kDashDotDot:
        return Qt::DashDotDotLine;
    default:
        return Qt::SolidLine;
    }
}

SPaneSeries& CPaneSeriesSet::Take(CChart2D::SeriesId id, SPaneSeries::EKind kind) {
    SPaneSeries& series = m_items[id];
    if (series.kind != kind) {
        // Swapped with a fresh one rather than assigned: GCC 12 at -O3 takes the temporary's
        // string for uninitialised.
        SPaneSeries fresh;
        fresh.kind = kind;
        std::swap(series, fresh);
    }
    return series;
}

SPaneSeries::EKind CPaneSeriesSet::KindOf(CChart2D::SeriesId id) const {
    const auto it = m_items.find(id);
    return it == m_items.end() ? SPaneSeries::EKind::Line : it->second.kind;
}

void PaintPaneSeries(QPainter& painter, const CPaneSeriesSet& set, const QRect& plot,
                     const SAxisMap& x, const SAxisMap (&y)[2], QImage* raster,
                     const QRect& rasterArea) {
    if (plot.width() <= 0 || plot.height() <= 0) {
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
    CPaneSurface surface(painter, raster, rasterArea);
    const auto axis = [&](CChart2D::EAxis which) -> const SAxisMap& {
        return y[which == CChart2D::EAxis::Y ? 0 : 1];
    };
    SLineBatch batch;
    for (const auto& [id, series] : set.Items()) {
        if (series.kind != SPaneSeries::EKind::Line || !series.explicitPoints) {
            batch.End(surface.Painter());
        }
        switch (series.kind) {
        case SPaneSeries::EKind::Line:
            if (series.explicitPoints) {
                PaintPointLine(surface.Painter(), series, plot, x, axis(series.line.axis), batch,
                               raster != nullptr);
            } else {
                PaintValueLine(surface, series, plot, x, axis(series.line.axis));
            }
            break;
        case SPaneSeries::EKind::PriceBars:
            PaintPriceBars(surface, series, plot, x, axis(series.bars.axis));
            break;
        case SPaneSeries::EKind::Histogram:
            PaintHistogram(surface, series, plot, x, axis(series.histogram.axis));
            break;
        }
    }
    batch.End(surface.Painter());
}

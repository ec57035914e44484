#pragma once

// Helpers shared by the painters of the pane series: lines (pane_series.cpp), bars and
// histograms (series_bars.cpp).

#include "chart/ui/pane_series_data.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRect>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace series_painting {

// Pixel positions are kept within this distance of the plot area: far enough that no visible
// pixel moves, near enough for QPainter's fixed-point rasteriser.
constexpr double kPixelReach = 1.0e6;

inline QColor ToQColor(ColorRef color) {
    return QColor(RedOf(color), GreenOf(color), BlueOf(color));
}

// The whole number nearest to `value` (halves upwards), for |value| below 2^40: a conversion
// instead of a library call, since it runs for every pixel column of every series.
inline std::int64_t RoundToWhole(double value) {
    constexpr double kBias = 1099511627776.0; // 2^40: makes the sum positive, so truncation floors
    return static_cast<std::int64_t>(value + 0.5 + kBias) - static_cast<std::int64_t>(kBias);
}

// A pixel row or column for `pixel`, kept near the span low .. high.
inline int PixelOf(double pixel, double low, double high) {
    return static_cast<int>(RoundToWhole(std::clamp(pixel, low - kPixelReach, high + kPixelReach)));
}

struct SIndexRange {
    std::size_t first = 0;
    std::size_t last = 0;
    bool empty = true;
};

// The indexes i whose slot xOffset + i lies over the plot area, widened by one on either side so
// that lines run on to the edge.
SIndexRange VisibleIndexes(std::size_t count, double xOffset, const SAxisMap& x, const QRect& plot);

// True when several slots share a pixel column, so that series are drawn column by column.
inline bool DrawsByColumn(const SAxisMap& x) {
    return x.scale > 0.0 && x.scale < 1.0;
}

// Calls visit(column, begin, end) for the pixel columns that the indexes first .. last fall
// into, left to right: index i lies at pixel x0 + step x i, 0 < step < 1, and belongs to the
// column nearest to it. Only one division per column, none per index.
template <typename Visit>
void ForEachColumn(std::size_t first, std::size_t last, double x0, double step, Visit visit) {
    const double perPixel = 1.0 / step;
    std::size_t i = first;
    while (i <= last) {
        // Visible indexes lie within a few pixels of the plot area, far inside RoundToWhole's
        // range; the first index past the column is at most the index count.
        const std::int64_t column = RoundToWhole(x0 + step * static_cast<double>(i));
        const double end = -static_cast<double>(
            RoundToWhole(-(static_cast<double>(column) + 0.5 - x0) * perPixel - 0.5));
        std::size_t next = last + 1;
        if (!(end > static_cast<double>(i))) {
            next = i + 1;
        } else if (end <= static_cast<double>(last)) {
            next = static_cast<std::size_t>(end);
        }
        visit(static_cast<int>(column), i, next);
        i = next;
    }
}

// A vertical run of pixels from row a to row b (either order), `width` columns centred on x.
inline QRect VerticalRun(int x, int a, int b, int width = 1) {
    return QRect(x - width / 2, std::min(a, b), width, std::abs(a - b) + 1);
}

// Where a pane's series are drawn. Rectangles (bars, histograms, dense lines: everything drawn
// column by column) are written straight into the pixels of `raster`, an image over the plot
// area, when one is given; the part of the image that was written goes onto the painter in one
// piece before anything is drawn through the painter itself, and at the end. The written pixels
// are then cleared again, so that the image stays transparent between uses without being
// cleared as a whole. Without `raster` (printing, pictures) everything goes through the painter.
class CPaneSurface {
public:
    // `raster`, when given, is transparent; its pixels from (0, 0) cover `area` (painter
    // coordinates, no larger than the raster).
    CPaneSurface(QPainter& painter, QImage* raster, const QRect& area);
    ~CPaneSurface() { Flush(); }
    CPaneSurface(const CPaneSurface&) = delete;
    CPaneSurface& operator=(const CPaneSurface&) = delete;

    // The painter, with every rectangle filled so far already on it.
    QPainter& Painter();
    bool HasRaster() const { return m_raster != nullptr; }
    // Writes `rect` (painter coordinates) into the raster, clipped to it.
    void FillNow(const QRect& rect, QRgb pixel) {
        const int left = std::max(rect.x() - m_origin.x(), 0);
        const int top = std::max(rect.y() - m_origin.y(), 0);
        const int right = std::min(rect.x() + rect.width() - m_origin.x(), m_width);
        const int bottom = std::min(rect.y() + rect.height() - m_origin.y(), m_height);
        if (left >= right || top >= bottom) {
            return;
        }
        const SSpan span{left, top, right, bottom};
        Fill(span, pixel);
        if (m_written.empty()) {
            m_bounds = span;
        } else {
            m_bounds = {std::min(m_bounds.left, left), std::min(m_bounds.top, top),
                        std::max(m_bounds.right, right), std::max(m_bounds.bottom, bottom)};
        }
        m_written.push_back(span);
    }
    void Flush();

private:
    // A rectangle of the raster, given by its edges (right and bottom exclusive).
    struct SSpan {
        int left, top, right, bottom;
    };
    void Fill(const SSpan& span, QRgb pixel) {
        uchar* line = m_bits + span.top * m_stride + span.left * qsizetype(sizeof(QRgb));
        const int width = span.right - span.left;
        if (width == 1) { // the common case: one pixel column
            for (int y = span.top; y < span.bottom; ++y, line += m_stride) {
                *reinterpret_cast<QRgb*>(line) = pixel;
            }
            return;
        }
        for (int y = span.top; y < span.bottom; ++y, line += m_stride) {
            std::fill_n(reinterpret_cast<QRgb*>(line), width, pixel);
        }
    }

    QPainter& m_painter;
    QImage* m_raster;
    QPoint m_origin;
    uchar* m_bits = nullptr;
    qsizetype m_stride = 0;
    int m_width = 0;
    int m_height = 0;
    std::vector<SSpan> m_written; // not yet on the painter
    SSpan m_bounds{0, 0, 0, 0};   // of m_written
};

// The rectangles of one series in its two colours (side 0 up or the only colour, 1 down),
// written into the raster at once, or collected and drawn through the painter with one call
// per colour when the batch ends.
class CRectBatch {
public:
    CRectBatch(CPaneSurface& surface, const QColor& up, const QColor& down)
        : m_surface(surface), m_colors{up, down}, m_pixels{up.rgba(), down.rgba()} {}
    ~CRectBatch();
    CRectBatch(const CRectBatch&) = delete;
    CRectBatch& operator=(const CRectBatch&) = delete;

    void Add(int side, const QRect& rect) {
        if (m_surface.HasRaster()) {
            m_surface.FillNow(rect, m_pixels[side]); // opaque, so also premultiplied
        } else {
            m_rects[side].push_back(rect);
        }
    }

private:
    CPaneSurface& m_surface;
    QColor m_colors[2];
    QRgb m_pixels[2];
    std::vector<QRect> m_rects[2];
};

void PaintPriceBars(CPaneSurface& surface, const SPaneSeries& series, const QRect& plot,
                    const SAxisMap& x, const SAxisMap& y);
void PaintHistogram(CPaneSurface& surface, const SPaneSeries& series, const QRect& plot,
                    const SAxisMap& x, const SAxisMap& y);

} // namespace series_painting

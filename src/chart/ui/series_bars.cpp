// Candles, open-high-low-close bars and histograms.

#include "chart/ui/series_painting.h"

namespace series_painting {

void PaintPriceBars(CPaneSurface& surface, const SPaneSeries& series, const QRect& plot,
                    const SAxisMap& x, const SAxisMap& y) {
    const CChart2D::SPriceBarStyle& style = series.bars;
    const SIndexRange range = VisibleIndexes(series.open.size(), series.xOffset, x, plot);
    if (range.empty) {
        return;
    }
    const double top = plot.top();
    const double bottom = plot.top() + plot.height();
    const auto row = [&](double value) { return PixelOf(y.ToPixel(value), top, bottom); };
    const double* open = series.open.data();
    const double* high = series.high.data();
    const double* low = series.low.data();
    const double* close = series.close.data();
    const auto hole = [&](std::size_t i) {
        return std::isnan(open[i]) || std::isnan(high[i]) || std::isnan(low[i]) ||
               std::isnan(close[i]);
    };
    CRectBatch batches(surface, ToQColor(style.up), ToQColor(style.down));
    if (DrawsByColumn(x)) {
        // Several bars to a pixel column: one bar per column, from the first open to the last
        // close, over the highest high and the lowest low of the column.
        ForEachColumn(range.first, range.last, x.ToPixel(series.xOffset), x.scale,
                      [&](int column, std::size_t begin, std::size_t end) {
                          std::size_t i = begin;
                          while (i < end && hole(i)) {
                              ++i;
                          }
                          if (i == end) {
                              return;
                          }
                          const double first = open[i];
                          double highest = high[i];
                          double lowest = low[i];
                          double last = close[i];
                          for (++i; i < end; ++i) {
                              if (!hole(i)) {
                                  highest = std::max(highest, high[i]);
                                  lowest = std::min(lowest, low[i]);
                                  last = close[i];
                              }
                          }
                          batches.Add(last >= first ? 0 : 1,
                                      VerticalRun(column, row(highest), row(lowest)));
                      });
    } else {
        const bool candles = style.kind == CChart2D::EPriceBarKind::Candles;
        const bool wide = style.style == CChart2D::ECandleStyle::Wide;
        const int width = std::max(style.width, 0);
        const int bodyWidth = wide ? width : std::min(width, 2);
        const int tick = wide ? std::max(1, width / 2) : 1;
        const double left = plot.left();
        const double right = plot.left() + plot.width();
        for (std::size_t i = range.first; i <= range.last; ++i) {
            if (hole(i)) {
                continue;
            }
            const int cx = PixelOf(x.ToPixel(series.xOffset + static_cast<double>(i)), left, right);
            const int yo = row(open[i]);
            const int yc = row(close[i]);
            const int side = close[i] >= open[i] ? 0 : 1;
            batches.Add(side, VerticalRun(cx, row(high[i]), row(low[i])));
            if (candles) {
                if (bodyWidth >= 2) {
                    batches.Add(side, VerticalRun(cx, yo, yc, bodyWidth));
                }
            } else {
                batches.Add(side, QRect(cx - tick, yo, tick, 1)); // open, to the left
                batches.Add(side, QRect(cx + 1, yc, tick, 1));    // close, to the right
            }
        }
    }
}

void PaintHistogram(CPaneSurface& surface, const SPaneSeries& series, const QRect& plot,
                    const SAxisMap& x, const SAxisMap& y) {
    const CChart2D::SHistogramStyle& style = series.histogram;
    const SIndexRange range = VisibleIndexes(series.values.size(), series.xOffset, x, plot);
    if (range.empty || std::isnan(y.ToPixel(style.base))) {
        return;
    }
    const double top = plot.top();
    const double bottom = plot.top() + plot.height();
    const auto row = [&](double value) { return PixelOf(y.ToPixel(value), top, bottom); };
    const int base = row(style.base);
    const double* values = series.values.data();
    const QColor color = ToQColor(style.color);
    CRectBatch batches(surface, color, color);
    if (DrawsByColumn(x)) {
        // Several bars to a pixel column: the column covers what all its bars cover.
        ForEachColumn(range.first, range.last, x.ToPixel(series.xOffset), x.scale,
                      [&](int column, std::size_t begin, std::size_t end) {
                          bool used = false;
                          double lowest = 0.0, highest = 0.0;
                          for (std::size_t i = begin; i < end; ++i) {
                              const double value = values[i];
                              if (std::isnan(value)) {
                                  continue;
                              }
                              lowest = used ? std::min(lowest, value) : value;
                              highest = used ? std::max(highest, value) : value;
                              used = true;
                          }
                          if (used) {
                              const int a = std::min({base, row(lowest), row(highest)});
                              const int b = std::max({base, row(lowest), row(highest)});
                              batches.Add(0, VerticalRun(column, a, b));
                          }
                      });
    } else {
        const int width = std::max(style.width, 1);
        const double left = plot.left();
        const double right = plot.left() + plot.width();
        for (std::size_t i = range.first; i <= range.last; ++i) {
            if (std::isnan(values[i])) {
                continue;
            }
            const int cx = PixelOf(x.ToPixel(series.xOffset + static_cast<double>(i)), left, right);
            batches.Add(0, VerticalRun(cx, base, row(values[i]), width));
        }
    }
}

} // namespace series_painting

// The series painters on their own: the walk over pixel columns, and the shortcut that writes
// bars and dense lines straight into an image, which must give exactly the pixels that the same
// drawing through QPainter gives (printing and export take that path).

#include "chart/ui/pane_series.h"
#include "chart/ui/series_painting.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include <cmath>
#include <vector>

namespace {

using series_painting::ForEachColumn;
using series_painting::RoundToWhole;

QImage Paint(const CPaneSeriesSet& set, const QRect& plot, const SAxisMap& x, const SAxisMap& y,
             bool raster) {
    QImage image(400, 240, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor(250, 245, 200));
    const QRect area = plot.translated(0, -1); // where the plot clips
    QImage pixels(area.size(), QImage::Format_ARGB32_Premultiplied);
    pixels.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setClipRect(area);
    const SAxisMap axes[2] = {y, y};
    PaintPaneSeries(painter, set, plot, x, axes, raster ? &pixels : nullptr, area);
    return image;
}

// Bars, a histogram and a line with holes, `count` of each over a 300 x 180 plot.
CPaneSeriesSet MakeSet(int count, CChart2D::EPriceBarKind kind) {
    CPaneSeriesSet set;
    SPaneSeries& bars = set.Take(0, SPaneSeries::EKind::PriceBars);
    bars.bars = {kind, MakeColorRef(0, 160, 0),      MakeColorRef(200, 0, 0),
                 5,    CChart2D::ECandleStyle::Wide, CChart2D::EAxis::Y};
    SPaneSeries& volume = set.Take(1, SPaneSeries::EKind::Histogram);
    volume.histogram = {MakeColorRef(70, 130, 180), 0.0, 3, CChart2D::EAxis::Y};
    SPaneSeries& line = set.Take(2, SPaneSeries::EKind::Line);
    line.line = {MakeColorRef(0, 0, 255), 1, CChart2D::kSolid, CChart2D::EAxis::Y};
    for (int i = 0; i < count; ++i) {
        const double mid = 50.0 + 30.0 * std::sin(i * 0.05);
        bars.open.push_back(mid - (i % 3 - 1) * 2.0);
        bars.close.push_back(mid + (i % 3 - 1) * 2.0);
        bars.high.push_back(mid + 4.0 + i % 5);
        bars.low.push_back(mid - 4.0 - i % 7);
        volume.values.push_back(i % 11 == 0 ? CChart2D::HoleValue() : 5.0 + i % 13);
        line.values.push_back(i % 97 < 5 ? CChart2D::HoleValue() : 120.0 - mid + i % 4);
    }
    bars.open[count / 2] = CChart2D::HoleValue();
    return set;
}

} // namespace

TEST(SeriesPainting, ColumnsCoverEveryIndexOnceInOrder) {
    struct SCase {
        double x0, step;
        std::size_t first, last;
    };
    const SCase cases[] = {{40.0, 1100.0 / 15360.0, 0, 15359},
                           {-3.7, 0.3, 5, 999},
                           {10.5, 0.999, 0, 49},
                           {200.0, 1.0 / 3.0, 7, 7}};
    for (const SCase& c : cases) {
        std::size_t expected = c.first;
        long previous = -1000000;
        ForEachColumn(c.first, c.last, c.x0, c.step,
                      [&](int column, std::size_t begin, std::size_t end) {
                          EXPECT_EQ(begin, expected);
                          EXPECT_GT(end, begin);
                          EXPECT_GT(column, previous);
                          for (std::size_t i = begin; i < end; ++i) {
                              const double pixel = c.x0 + c.step * static_cast<double>(i);
                              EXPECT_LE(std::fabs(pixel - column), 0.5 + 1e-9);
                          }
                          previous = column;
                          expected = end;
                      });
        EXPECT_EQ(expected, c.last + 1);
    }
    EXPECT_EQ(std::tuple(RoundToWhole(2.5), RoundToWhole(-2.5)), std::tuple(3, -2));
    EXPECT_EQ(RoundToWhole(-2.51), -3);
}

TEST(SeriesPainting, PixelsWrittenDirectlyMatchPaintingThroughQPainter) {
    const QRect plot(60, 30, 300, 180);
    const SAxisMap y{0.0, plot.top() + plot.height() - 1.0, -plot.height() / 130.0};
    for (const CChart2D::EPriceBarKind kind :
         {CChart2D::EPriceBarKind::Candles, CChart2D::EPriceBarKind::OhlcBars}) {
        // Many bars to a pixel column, and a few bars far apart.
        for (const int count : {3000, 40}) {
            SCOPED_TRACE(count);
            const CPaneSeriesSet set = MakeSet(count, kind);
            const SAxisMap x{-0.5, static_cast<double>(plot.left()),
                             plot.width() / static_cast<double>(count)};
            const QImage direct = Paint(set, plot, x, y, true);
            const QImage painted = Paint(set, plot, x, y, false);
            EXPECT_TRUE(direct == painted);
            // Something of every colour is drawn.
            EXPECT_NE(direct, Paint(CPaneSeriesSet(), plot, x, y, true));
        }
    }
}

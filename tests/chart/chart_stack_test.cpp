// The QCustomPlot pane stack, drawn offscreen and read back pixel by pixel: colours, grid, label
// side, holes, aggregated candles and histograms, printing into a rectangle, and drawing holds.

#include "chart/chart_style.h"
#include "chart/ui/chart_stack_widget.h"

#include "pixels.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QRegion>

#include <algorithm>
#include <vector>

namespace {

using EAxis = CChart2D::EAxis;

constexpr ColorRef kBackground = MakeColorRef(250, 245, 200);
constexpr ColorRef kUp = MakeColorRef(0, 170, 0);
constexpr ColorRef kDown = MakeColorRef(210, 0, 0);
constexpr ColorRef kLine = MakeColorRef(0, 0, 230);
constexpr ColorRef kGrid = MakeColorRef(150, 150, 150);
constexpr ColorRef kAxis = MakeColorRef(0, 0, 0);

// The bounding box of the pixels of `color`.
QRect Extent(const QImage& image, ColorRef color) {
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            box |= IsColor(image.pixel(x, y), color) ? QRect(x, y, 1, 1) : QRect();
        }
    }
    return box;
}

class ChartStack : public ::testing::Test {
protected:
    ChartStack() {
        stack.resize(600, 400);
        stack.SetPaneGeometry(0, 0, 400);
        stack.SetPaneVisible(0, true);
        CChart2D& chart = Pane();
        chart.SetBackgroundColor(kBackground);
        chart.SetGridColor(kGrid);
        chart.SetAxisLabelColor(kAxis);
        chart.SetAxisRange(EAxis::Y, 0.0, 100.0);
        chart.SetAxisRange(EAxis::Y2, 0.0, 100.0);
    }
    // The price pane above a study pane, 250 and 150 pixels high.
    void TwoPanes() {
        stack.SetPaneGeometry(0, 0, 250);
        stack.SetPaneGeometry(1, 250, 150);
        stack.SetPaneVisible(1, true);
    }
    CChart2D& Pane(int index = 0) { return stack.Pane(index); }
    int X(double slot) { return static_cast<int>(std::lround(Pane().SlotToPixelX(slot))); }
    int Y(double value) {
        return static_cast<int>(std::lround(Pane().ValueToPixelY(value, EAxis::Y)));
    }
    CChartStackWidget stack;
};

// Twenty bars alternating up (40 to 60) and down (60 to 40), highs 70, lows 30.
struct STwentyBars {
    STwentyBars() {
        for (int i = 0; i < 20; ++i) {
            open.push_back(i % 2 == 0 ? 40.0 : 60.0);
            close.push_back(i % 2 == 0 ? 60.0 : 40.0);
            high.push_back(70.0);
            low.push_back(30.0);
        }
    }
    CChart2D::SOhlcSpans Spans() const { return {open, high, low, close}; }
    std::vector<double> open, high, low, close;
};

// Collects the regions that a widget is asked to paint.
struct SPaintSpy : QObject {
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            painted += static_cast<QPaintEvent*>(event)->region();
        }
        return false;
    }
    QRegion painted;
};

} // namespace

TEST_F(ChartStack, DrawsBackgroundCandlesLineAndGridInTheirColours) {
    CChart2D& chart = Pane();
    chart.SetXRange(-0.5, 19.5);
    const STwentyBars bars;
    chart.SetPriceBarStyle(0, {CChart2D::EPriceBarKind::Candles, kUp, kDown, 12,
                               CChart2D::ECandleStyle::Wide, EAxis::Y});
    chart.SetPriceBars(0, bars.Spans(), 0.0);
    const std::vector<double> ninety(20, 90.0);
    chart.SetLineStyle(5, {kLine, 1, CChart2D::kSolid, EAxis::Y});
    chart.SetLine(5, ninety, 0.0);
    const std::vector<CChart2D::SXLabel> labels{{0.0, "09:30"}, {10.0, "10:30"}};
    chart.SetXLabels(labels);
    const QImage image = stack.RenderImage();
    ASSERT_EQ(image.size(), QSize(600, 400));
    EXPECT_GT(Count(image, kBackground), 100000);
    EXPECT_TRUE(IsColor(image.pixel(X(0), Y(50)), kUp)); // bodies
    EXPECT_TRUE(IsColor(image.pixel(X(1), Y(50)), kDown));
    EXPECT_TRUE(IsColor(image.pixel(X(2), Y(65)), kUp)); // wick above the body
    EXPECT_FALSE(IsColor(image.pixel(X(2) + 5, Y(65)), kUp));
    EXPECT_GE(Count(image, kLine, QRect(X(0), Y(90) - 1, X(19) - X(0), 3)), X(19) - X(0));
    EXPECT_GT(Count(image, kGrid), 100);
    // The live buffer shows the same.
    stack.Redraw();
    const QImage live = stack.grab().toImage();
    EXPECT_TRUE(IsColor(live.pixel(X(0), Y(50)), kUp) && IsColor(live.pixel(X(1), Y(50)), kDown));
    chart.SetGridVisible(false);
    EXPECT_EQ(Count(stack.RenderImage(), kGrid), 0);
    chart.SetGridVisible(true);
    chart.SetGridStyle(CChart2D::kDot);
    const int dotted = Count(stack.RenderImage(), kGrid);
    EXPECT_GT(dotted, 0);
    chart.SetGridStyle(CChart2D::kSolid);
    EXPECT_GT(Count(stack.RenderImage(), kGrid), dotted);
}

TEST_F(ChartStack, ValueLabelsAndLabelLineSitWhereAsked) {
    CChart2D& chart = Pane();
    chart.SetXRange(-0.5, 19.5);
    chart.SetLabelPrecision(EAxis::Y, 3);
    chart.SetLabelPrecision(EAxis::Y2, 3);
    // Marks (anything but the background) in the outer 40 pixels of either margin: the value
    // labels, clear of the axis lines and their ticks.
    const auto marks = [&](const QImage& image, bool left) {
        const CChart2D::SGeometry g = chart.Geometry();
        const QRect strip =
            left ? QRect(0, g.top, g.left - 8, g.height - g.top - g.bottom)
                 : QRect(g.width - g.right + 8, g.top, g.right - 8, g.height - g.top - g.bottom);
        return strip.width() * strip.height() - Count(image, kBackground, strip);
    };
    CChart2D::SGeometry g = chart.Geometry();
    EXPECT_GT(g.left, g.right);
    QImage image = stack.RenderImage();
    EXPECT_GT(marks(image, true), 20);
    EXPECT_EQ(marks(image, false), 0);
    chart.SetLabelAxis(EAxis::Y2);
    g = chart.Geometry();
    EXPECT_GT(g.right, g.left);
    image = stack.RenderImage();
    EXPECT_EQ(marks(image, true), 0);
    EXPECT_GT(marks(image, false), 20);
    // The label line is drawn in the strip above the plot area, in its colour.
    const QRect strip(g.left, 0, g.width - g.left - g.right, g.top - 2);
    EXPECT_EQ(Count(image, kBackground, strip), strip.width() * strip.height());
    chart.SetLabelLine("MOM, lookback period - 20", kDown);
    image = stack.RenderImage();
    EXPECT_LT(Count(image, kBackground, strip), strip.width() * strip.height() - 50);
    EXPECT_GT(Count(image, kDown, strip), 0);
    // A line's value tag is centred on its value's row in the margin, linear or logarithmic.
    chart.SetAxisRange(EAxis::Y2, 2.0, 200.0);
    chart.SetLineTag(7, {.value = 20.0, .axis = EAxis::Y2, .text = "20.000", .fill = kUp});
    for (const CValueScale& scale : {CValueScale::Linear(), CValueScale::Log()}) {
        chart.SetValueScale(EAxis::Y2, scale);
        const QRect box = Extent(stack.RenderImage(), kUp);
        ASSERT_FALSE(box.isNull());
        EXPECT_GE(box.left(), g.width - g.right);
        EXPECT_NEAR(box.center().y(), chart.ValueToPixelY(20.0, EAxis::Y2), 1.5);
    }
}

TEST_F(ChartStack, HolesLeaveGapsInShortAndLongLines) {
    CChart2D& chart = Pane();
    chart.SetLineStyle(1, {kLine, 1, CChart2D::kSolid, EAxis::Y});
    const auto band = [&](double fromSlot, double toSlot) {
        return QRect(X(fromSlot), Y(50) - 2, X(toSlot) - X(fromSlot), 5);
    };
    // Twenty points, and 15,360 (many to a pixel column), each with a run of points missing.
    for (const auto& [count, first, last] : {std::tuple{20, 9, 10}, {15360, 6000, 6999}}) {
        std::vector<double> values(count, 50.0);
        std::fill(values.begin() + first, values.begin() + last + 1, CChart2D::HoleValue());
        chart.SetXRange(-0.5, count - 0.5);
        chart.SetLine(1, values, 0.0);
        const QImage image = stack.RenderImage();
        EXPECT_GT(Count(image, kLine, band(1, first - 2)), X(first - 2) - X(1) - 2) << count;
        EXPECT_EQ(Count(image, kLine, band(first - 1, last + 1).adjusted(2, 0, -2, 0)), 0) << count;
        EXPECT_GT(Count(image, kLine, band(last + 2, count - 1)), X(count - 1) - X(last + 2) - 2)
            << count;
    }
}

TEST_F(ChartStack, AggregatedColumnsKeepTheTrueHighsAndLows) {
    CChart2D& chart = Pane();
    const std::size_t n = 15360;
    std::vector<double> open(n, 49.0), high(n, 52.0), low(n, 48.0), close(n, 51.0);
    high[7000] = 95.0;
    low[12000] = 5.0;
    chart.SetXRange(-0.5, n - 0.5);
    ASSERT_GT(n / (chart.Geometry().width - chart.Geometry().left - chart.Geometry().right), 20u);
    chart.SetPriceBarStyle(0, {CChart2D::EPriceBarKind::Candles, kUp, kUp, 0,
                               CChart2D::ECandleStyle::Narrow, EAxis::Y});
    chart.SetPriceBars(0, {open, high, low, close}, 0.0);
    QImage image = stack.RenderImage();
    QRect extent = Extent(image, kUp);
    EXPECT_NEAR(extent.top(), Y(95.0), 1);
    EXPECT_NEAR(extent.bottom(), Y(5.0), 1);
    EXPECT_NEAR(extent.left(), X(0), 1);
    EXPECT_NEAR(extent.right(), X(n - 1), 1);
    // The spikes stand in the columns of their bars.
    EXPECT_TRUE(IsColor(image.pixel(X(7000), Y(94.0)), kUp));
    EXPECT_TRUE(IsColor(image.pixel(X(12000), Y(6.0)), kUp));
    EXPECT_FALSE(IsColor(image.pixel(X(3000), Y(94.0)), kUp));
    // A histogram of as many bars covers the same way, from its base.
    chart.ClearAllSeries();
    std::vector<double> volume(n, 10.0);
    volume[3000] = 80.0;
    chart.SetHistogramStyle(2, {kLine, 0.0, 1, EAxis::Y});
    chart.SetHistogram(2, volume, 0.0);
    image = stack.RenderImage();
    extent = Extent(image, kLine);
    EXPECT_NEAR(extent.top(), Y(80.0), 1);
    EXPECT_NEAR(extent.bottom(), Y(0.0), 1);
    EXPECT_TRUE(IsColor(image.pixel(X(3000), Y(79.0)), kLine));
    EXPECT_FALSE(IsColor(image.pixel(X(8000), Y(79.0)), kLine));
    EXPECT_TRUE(IsColor(image.pixel(X(8000), Y(5.0)), kLine));
}

TEST_F(ChartStack, PrintsPanesIntoRectanglesAndStacksTheVisibleOnes) {
    Pane().SetXRange(-0.5, 19.5);
    const STwentyBars bars;
    Pane().SetPriceBarStyle(0, {CChart2D::EPriceBarKind::OhlcBars, kUp, kDown, 6,
                                CChart2D::ECandleStyle::Wide, EAxis::Y});
    Pane().SetPriceBars(0, bars.Spans(), 0.0);
    // Into a smaller rectangle and into a larger one (stretched more across than down), on a
    // page of the screen's resolution and on one of 150 dpi, as a PDF writer's: the drawing
    // fills each rectangle and no more whatever the page's resolution.
    for (const int dotsPerMeter : {3780, 5906}) {
        QImage page(1000, 1000, QImage::Format_ARGB32_Premultiplied);
        page.setDotsPerMeterX(dotsPerMeter);
        page.setDotsPerMeterY(dotsPerMeter);
        page.fill(Qt::white);
        const QRect small(100, 100, 300, 200);
        const QRect large(50, 400, 900, 560);
        {
            QPainter painter(&page);
            Pane().DrawTo(painter, {small.x(), small.y(), small.width(), small.height()});
            Pane().DrawTo(painter, {large.x(), large.y(), large.width(), large.height()});
        }
        for (const QRect& target : {small, large}) {
            EXPECT_TRUE(IsColor(page.pixel(target.topLeft() + QPoint(1, 1)), kBackground));
            EXPECT_TRUE(IsColor(page.pixel(target.bottomRight() - QPoint(1, 1)), kBackground))
                << dotsPerMeter;
            EXPECT_TRUE(IsColor(page.pixel(target.topLeft() - QPoint(2, 2)), 0xFFFFFF));
            EXPECT_TRUE(IsColor(page.pixel(target.bottomRight() + QPoint(2, 2)), 0xFFFFFF))
                << dotsPerMeter;
            EXPECT_GT(Count(page, kUp, target), 10 * target.height() / 100);
            EXPECT_GT(Count(page, kDown, target), 10 * target.height() / 100);
        }
        EXPECT_EQ(Count(page, kUp) + Count(page, kDown),
                  Count(page, kUp, small) + Count(page, kDown, small) + Count(page, kUp, large) +
                      Count(page, kDown, large))
            << dotsPerMeter;
    }
    // Printing leaves the screen layout as it was.
    EXPECT_EQ(std::tuple(Pane().Geometry().width, Pane().Geometry().height), std::tuple(600, 400));
    // Two panes: the price pane above a study pane, stacked without a gap, a line between them.
    constexpr ColorRef kStudyBackground = MakeColorRef(220, 230, 255);
    TwoPanes();
    Pane(1).SetBackgroundColor(kStudyBackground);
    EXPECT_EQ(stack.PaneAt(QPoint(10, 300)), 1);
    EXPECT_EQ(stack.PaneAt(QPoint(10, 100)), 0);
    QImage image = stack.RenderImage();
    ASSERT_EQ(image.height(), 400);
    EXPECT_TRUE(IsColor(image.pixel(2, 249), kBackground) &&
                IsColor(image.pixel(300, 250), SplitterColor(kBackground)) &&
                IsColor(image.pixel(2, 251), kStudyBackground) &&
                IsColor(image.pixel(2, 399), kStudyBackground));
    stack.SetPaneVisible(1, false);
    EXPECT_EQ(stack.PaneAt(QPoint(10, 300)), -1);
    image = stack.RenderImage();
    EXPECT_EQ(std::tuple(image.height(), Count(image, kStudyBackground)), std::tuple(250, 0));
    EXPECT_THROW(stack.Pane(11), CInvalidArgException);
}

TEST_F(ChartStack, HoldsNestAcrossPanesAndTheLastReleaseDrawsOnce) {
    TwoPanes();
    QCoreApplication::processEvents();
    const int start = stack.ReplotCount();
    // Changes made while nothing is held are drawn together when the event loop runs.
    Pane(0).SetXRange(-0.5, 19.5);
    Pane(1).SetBackgroundColor(kGrid);
    EXPECT_EQ(stack.ReplotCount(), start);
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.ReplotCount(), start + 1);
    const std::vector<double> values(20, 50.0);
    Pane(0).HoldDrawing();
    Pane(1).HoldDrawing();
    Pane(0).SetLine(1, values, 0.0);
    Pane(1).SetHistogram(1, values, 0.0);
    stack.Redraw(); // deferred while held
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.ReplotCount(), start + 1);
    Pane(1).ReleaseDrawing();
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.ReplotCount(), start + 1);
    Pane(0).ReleaseDrawing();
    EXPECT_EQ(stack.ReplotCount(), start + 2);
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.ReplotCount(), start + 2);
    // A release without a hold does nothing.
    Pane(0).ReleaseDrawing();
    QCoreApplication::processEvents();
    EXPECT_EQ(std::tuple(stack.ReplotCount(), stack.HoldDepth()), std::tuple(start + 2, 0));
    // Nor does a resize or a new pane layout draw while held.
    {
        CChartDrawingHold hold(Pane(0));
        stack.resize(700, 400);
        stack.SetPaneGeometry(1, 200, 200);
        QCoreApplication::processEvents();
        EXPECT_EQ(stack.ReplotCount(), start + 2);
    }
    EXPECT_EQ(std::tuple(stack.ReplotCount(), Pane(0).Geometry().width, Pane(1).Geometry().height),
              std::tuple(start + 3, 700, 200));
}

TEST_F(ChartStack, CrosshairsRepaintAloneOverTheDrawnPanesAndStayOffPrints) {
    constexpr ColorRef kCross = MakeColorRef(150, 0, 150); // the axis colour, as the crosshair's
    TwoPanes();
    for (const int i : {0, 1}) {
        Pane(i).SetXRange(-0.5, 19.5);
        Pane(i).SetBackgroundColor(kBackground);
        Pane(i).SetAxisLabelColor(kCross);
    }
    Pane(1).SetLabelAxis(EAxis::Y2);
    Pane(1).SetAxisRange(EAxis::Y2, -10.0, 10.0);
    stack.show(); // as on the screen: a hidden widget takes a resize on every grab
    QCoreApplication::processEvents();
    SPaintSpy spy;
    stack.installEventFilter(&spy);
    // The plot areas less two pixels all round (clear of the axis lines), a pixel column of one,
    // and the label margin beside a row.
    const auto inner = [&](int i) {
        const CChart2D::SGeometry g = Pane(i).Geometry();
        return QRect(g.left + 2, stack.PaneRect(i).top() + g.top + 2,
                     g.width - g.left - g.right - 4, g.height - g.top - g.bottom - 4);
    };
    const auto column = [&](int i, int x) {
        return QRect(x, inner(i).top(), 1, inner(i).height());
    };
    const auto margin = [&](int i, int y, bool left) {
        const CChart2D::SGeometry g = Pane(i).Geometry();
        return left ? QRect(0, y - 4, g.left - 1, 9)
                    : QRect(g.width - g.right + 1, y - 4, g.right, 9);
    };
    const auto crossed = [&](const QImage& image) {
        return Count(image, kCross, inner(0)) + Count(image, kCross, inner(1));
    };
    const int x7 = X(7.0);
    ASSERT_EQ(x7, static_cast<int>(std::lround(Pane(1).SlotToPixelX(7.0))));
    const int y50 = Y(50.0);
    QImage screen = stack.grab().toImage();
    ASSERT_EQ(crossed(screen), 0);
    const int labelsLeft = Count(screen, kCross, margin(0, y50, true));
    const int replots = stack.ReplotCount();
    const int repaints = stack.CrosshairRepaintCount();
    // Two panes change: only the crosshairs' pixels are painted, over panes not drawn again.
    Pane(0).SetCrosshair({true, 7.0, true, 50.0, EAxis::Y, "50.00"});
    Pane(1).SetCrosshair({true, 7.0, false, 0.0, EAxis::Y, ""});
    spy.painted = QRegion();
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.ReplotCount(), replots);
    EXPECT_EQ(stack.CrosshairRepaintCount(), repaints + 2);
    EXPECT_TRUE(spy.painted.contains(column(0, x7)) && spy.painted.contains(column(1, x7)));
    int paintedPixels = 0;
    for (const QRect& rect : spy.painted) {
        paintedPixels += rect.width() * rect.height();
    }
    EXPECT_LT(paintedPixels, stack.width() * stack.height() / 10);
    screen = stack.grab().toImage();
    for (const int i : {0, 1}) {
        const int dashes = Count(screen, kCross, column(i, x7));
        EXPECT_TRUE(dashes > inner(i).height() / 2 && dashes < inner(i).height()) << dashes;
        EXPECT_LE(Count(screen, kCross, column(i, x7 - 2)), 1) << i; // where the lines cross
    }
    EXPECT_GT(Count(screen, kCross, QRect(inner(0).left(), y50, inner(0).width(), 1)),
              inner(0).width() / 2);
    // One row thick: below it at most a dash of the vertical line.
    EXPECT_LE(Count(screen, kCross, QRect(inner(0).left(), y50 + 2, inner(0).width(), 1)), 1);
    EXPECT_GT(Count(screen, kCross, margin(0, y50, true)), labelsLeft + 100); // the tag
    EXPECT_EQ(Count(screen, kCross, inner(1)), Count(screen, kCross, column(1, x7)));
    // Printing and export leave them out.
    const QImage printed = stack.RenderImage();
    EXPECT_EQ(crossed(printed), 0);
    EXPECT_EQ(Count(printed, kCross, margin(0, y50, true)), labelsLeft);
    // The value line and its tag move to the lower pane, whose labels are on the right; the
    // pixels left behind are painted over.
    const int y1 = static_cast<int>(std::lround(Pane(1).ValueToPixelY(5.0, EAxis::Y2))) + 250;
    const int labelsRight = Count(screen, kCross, margin(1, y1, false));
    Pane(0).SetCrosshair({true, 10.0, false, 0.0, EAxis::Y, ""});
    Pane(1).SetCrosshair({true, 10.0, true, 5.0, EAxis::Y2, "5.00"});
    spy.painted = QRegion();
    QCoreApplication::processEvents();
    EXPECT_TRUE(spy.painted.contains(column(0, x7)) && spy.painted.contains(column(1, X(10))));
    EXPECT_TRUE(spy.painted.contains(margin(0, y50, true)));
    screen = stack.grab().toImage();
    EXPECT_EQ(Count(screen, kCross, column(0, x7)), 0);
    EXPECT_EQ(Count(screen, kCross, margin(0, y50, true)), labelsLeft);
    EXPECT_GT(Count(screen, kCross, margin(1, y1, false)), labelsRight + 100);
    EXPECT_GT(Count(screen, kCross, QRect(inner(1).left(), y1, inner(1).width(), 1)),
              inner(1).width() / 2);
    // Slots and values outside their ranges, or not numbers, draw nothing; nor do hidden ones.
    const double nan = CChart2D::HoleValue();
    Pane(0).SetCrosshair({true, 25.0, false, 0.0, EAxis::Y, ""});
    Pane(1).SetCrosshair({true, -3.0, true, 50.0, EAxis::Y, "50.00"});
    QCoreApplication::processEvents();
    EXPECT_EQ(crossed(stack.grab().toImage()), 0);
    Pane(0).SetCrosshair({true, nan, true, nan, EAxis::Y, "?"});
    QCoreApplication::processEvents();
    screen = stack.grab().toImage();
    EXPECT_EQ(crossed(screen) + Count(screen, kCross, margin(0, y50, true)), labelsLeft);
    Pane(1).SetCrosshair({true, 10.0, false, 0.0, EAxis::Y, ""});
    stack.HideCrosshairs();
    QCoreApplication::processEvents();
    EXPECT_EQ(crossed(stack.grab().toImage()), 0);
    EXPECT_EQ(stack.ReplotCount(), replots);
    // While drawing is held a crosshair waits for the release, which draws everything once.
    const int held = stack.CrosshairRepaintCount();
    {
        CChartDrawingHold hold(Pane(0));
        Pane(0).SetCrosshair({true, 3.0, false, 0.0, EAxis::Y, ""});
        QCoreApplication::processEvents();
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.ReplotCount(), replots + 1);
    EXPECT_EQ(stack.CrosshairRepaintCount(), held);
    EXPECT_GT(Count(stack.grab().toImage(), kCross, column(0, X(3.0))), inner(0).height() / 2);
}

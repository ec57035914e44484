// The drawing of the panes through the recording chart: the level line item on its own (what it
// hands the chart, how it is hit, how it follows a drag), and the draw manager painting each
// pane's list of items, the price data first.

#include "chart/draw_manager.h"
#include "chart/drawn_item.h"
#include "core/data_types.h"
#include "history/chart_hist_request.h"
#include "history_bars.h"
#include "recording_chart_2d.h"

#include <gtest/gtest.h>

namespace {

using skychart::test::CRecordingChart2D;

constexpr CChart2D::SeriesId kId = 7;
const SPaneView kView{0, 100, 100};
constexpr ColorRef kThistle = MakeColorRef(0xD8, 0xBF, 0xD8);

// A 800 x 400 pane, plot area 60..740 x 16..380, slots -0.5 .. 99.5, values 0 .. 100 on y and
// -50 .. 50 on y2.
class LevelLine : public ::testing::Test {
protected:
    LevelLine() {
        chart.SetGeometry({800, 400, 60, 60, 16, 20});
        chart.SetXRange(-0.5, 99.5);
        chart.SetAxisRange(CChart2D::EAxis::Y, 0.0, 100.0);
        chart.SetAxisRange(CChart2D::EAxis::Y2, -50.0, 50.0);
    }
    static CLevelLineItem Level(double value, CChart2D::EAxis axis = CChart2D::EAxis::Y) {
        return CLevelLineItem(kId, value, {kThistle, 1, CChart2D::kDash, axis});
    }
    double Y(double value) const { return chart.ValueToPixelY(value, CChart2D::EAxis::Y); }
    CRecordingChart2D chart;
};

// Painted across the x range it is given, hit within the tolerance inside the plot area only,
// dragged by its own axis's values only when movable; without a value it draws and hits nothing.
TEST_F(LevelLine, PaintsHitsAndFollowsADragOnItsAxis) {
    CLevelLineItem level = Level(70.0);
    CDrawnItem& item = level; // the view only knows the protocol
    item.Paint(chart, kView);
    const auto* series = chart.Series(kId);
    ASSERT_NE(series, nullptr);
    ASSERT_EQ(series->points.size(), 2u);
    EXPECT_EQ(std::tuple(series->points[0].x, series->points[1].x), std::tuple(-0.5, 99.5));
    EXPECT_EQ(std::tuple(series->points[1].y, series->line.color), std::tuple(70.0, kThistle));
    EXPECT_EQ(series->line.style, CChart2D::kDash);
    chart.SetXRange(10.0, 40.0);
    item.Paint(chart, kView);
    EXPECT_DOUBLE_EQ(chart.Series(kId)->points[1].x, 40.0);
    const double y = Y(70.0);
    EXPECT_NEAR(*level.HitTest(chart, kView, {400.0, y + 2.5}, 3.0), 2.5, 1e-9);
    for (const CChart2D::SPixelPoint miss : {CChart2D::SPixelPoint{400.0, y + 3.5},
                                             {770.0, y},
                                             {30.0, y}}) { // beside the plot area: the labels
        EXPECT_FALSE(level.HitTest(chart, kView, miss, 3.0).has_value()) << miss.x;
    }
    // On y2 the same value sits elsewhere: 50 is the top of y2's range, inset from the frame.
    CLevelLineItem onY2 = Level(50.0, CChart2D::EAxis::Y2);
    EXPECT_FALSE(onY2.HitTest(chart, kView, {400.0, Y(50.0)}, 3.0).has_value());
    EXPECT_TRUE(onY2.HitTest(chart, kView, {400.0, 16.5 + CChart2D::kValueInset}, 3.0).has_value());
    EXPECT_FALSE(level.MoveBy(chart, kView, {300.0, y}, {350.0, Y(45.0)}));
    level.SetMovable(true);
    ASSERT_TRUE(level.MoveBy(chart, kView, {300.0, y}, {350.0, Y(45.0)}));
    EXPECT_NEAR(level.Value(), 45.0, 1e-9);
    // On y2 a quarter of the plot height less the insets is a quarter of its 100.
    onY2.SetMovable(true);
    ASSERT_TRUE(onY2.MoveBy(chart, kView, {0.0, 200.0},
                            {0.0, 200.0 - (364.0 - 2 * CChart2D::kValueInset) / 4.0}));
    EXPECT_NEAR(onY2.Value(), 75.0, 1e-9);
    level.SetValue(CChart2D::HoleValue());
    EXPECT_FALSE(level.HitTest(chart, kView, {400.0, y}, 1000.0).has_value());
    item.Paint(chart, kView);
    EXPECT_TRUE(chart.Series(kId)->points.empty());
    item.Erase(chart);
    EXPECT_EQ(chart.Series(kId), nullptr);
}

// A series of daily bars whose prices rise by one a day; bar i has high 12 + i, low 8 + i.
class DrawManager : public ::testing::Test {
protected:
    void Fill(int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(
                history.AppendTick(MakeBar(DayAfter(2020, 1, 1, i), 10.0 + i, 12.0 + i, 8.0 + i,
                                           i % 2 == 0 ? 11.0 + i : 9.0 + i, 7, 1000 + i)));
        }
    }
    CChartHistRequest history;
    CHistChartDrawManager draw{history};
    CRecordingChart2D chart;
    SChartStyle style;
};

TEST_F(DrawManager, PricePaneShowsTheDisplayedBarsAsTheDataTypeAndStyleHaveThem) {
    Fill(300);
    chart.SetGeometry({840, 400, 0, 0, 20, 20});
    draw.SetScrollPosition(180, 120, kDays);
    ASSERT_EQ(draw.Displayed().Count(), 120);
    EXPECT_EQ(draw.Displayed().first, 180);
    SPaneFrame frame;
    frame.displayedPoints = 120;
    frame.priceBarText = "LUMA";
    draw.PaintPane(0, chart, style, frame, 0, false);
    const CRecordingChart2D::SSeries* bars = chart.Series(CHistPriceChart::kPriceSeries);
    ASSERT_NE(bars, nullptr);
    ASSERT_EQ(bars->close.size(), 120U);
    EXPECT_EQ(std::tuple(bars->open.front(), bars->close.back()), std::tuple(190.0, 9.0 + 299));
    // 120 points on 840 pixels without margins: 5 pixel candles in the wide style.
    EXPECT_EQ(std::tuple(bars->bars.width, bars->bars.style,
                         chart.AxisRange(CChart2D::EAxis::Y).min,
                         chart.AxisRange(CChart2D::EAxis::Y).max, chart.XRange().max),
              std::tuple(5, CChart2D::ECandleStyle::Wide, 8.0 + 180, 12.0 + 299, 119.5));
    EXPECT_FALSE(chart.XLabels().empty());
    EXPECT_EQ(std::tuple(chart.LabelLineText(), chart.HoldDepth()), std::tuple("LUMA", 0));
    // Fixed y scaling keeps the range while scrolling; a new series fits it again.
    style.fixedYScaling = true;
    draw.SetScrollPosition(0, 120, kDays);
    draw.PaintPane(0, chart, style, frame, 0, false);
    EXPECT_EQ(chart.AxisRange(CChart2D::EAxis::Y).min, 8.0 + 180);
    draw.ResetYRange();
    draw.PaintPane(0, chart, style, frame, 0, false);
    EXPECT_EQ(chart.AxisRange(CChart2D::EAxis::Y).min, 8.0);
    EXPECT_EQ(chart.AxisRange(CChart2D::EAxis::Y).max, 12.0 + 119);
    // The bar style draws OHLC bars; 3840 points on the same plot leave no width: the narrow
    // style.
    frame.displayedPoints = 3840;
    style.candleStyle = 0;
    draw.PaintPane(0, chart, style, frame, 0, false);
    bars = chart.Series(CHistPriceChart::kPriceSeries);
    ASSERT_NE(bars, nullptr);
    EXPECT_EQ(std::tuple(bars->bars.kind, bars->bars.width, bars->bars.style),
              std::tuple(CChart2D::EPriceBarKind::OhlcBars, 0, CChart2D::ECandleStyle::Narrow));
    // Ticks are a line of trade prices whatever the style, and every price accessor gives it.
    style.candleStyle = 1;
    draw.SetScrollPosition(0, 50, kTicks);
    draw.PaintPane(0, chart, style, frame, 0, false);
    bars = chart.Series(CHistPriceChart::kPriceSeries);
    ASSERT_NE(bars, nullptr);
    EXPECT_EQ(bars->kind, CRecordingChart2D::EKind::Line);
    EXPECT_EQ(std::tuple(bars->values[3], draw.High(3)), std::tuple(9.0 + 3, 9.0 + 3));
    EXPECT_EQ(draw.Volume(-7), 7); // a tick's own size
    EXPECT_EQ(draw.Close(1000), 9.0 + 299);
}

// The view's own items join the price pane's list after the price data: their extent widens
// the value range, the list is hit-tested for the nearest item, and a removed item leaves the
// chart at the next paint.
TEST_F(DrawManager, PanesPaintAndHitTestTheirListOfItems) {
    Fill(20);
    chart.SetGeometry({840, 400, 40, 40, 20, 20});
    draw.SetScrollPosition(0, 20, kDays);
    SPaneFrame frame;
    frame.displayedPoints = 40;
    auto level = std::make_shared<CLevelLineItem>(
        300, 100.0, CChart2D::SLineStyle{0xFF, 1, CChart2D::kSolid, CChart2D::EAxis::Y});
    draw.AddItem(0, level);
    ASSERT_EQ(draw.Items(0).Items().size(), 2U);
    draw.PaintPane(0, chart, style, frame, 0, false);
    ASSERT_NE(chart.Series(300), nullptr);
    EXPECT_EQ(chart.AxisRange(CChart2D::EAxis::Y).min, 8.0);
    EXPECT_EQ(chart.AxisRange(CChart2D::EAxis::Y).max, 100.0);
    EXPECT_EQ(std::tuple(draw.View().count, draw.View().slotCount), std::tuple(20, 40));
    const double y = chart.ValueToPixelY(100.0, CChart2D::EAxis::Y);
    EXPECT_EQ(draw.ItemAt(0, chart, {400.0, y + 2.0}, 5.0), level);
    EXPECT_EQ(draw.ItemAt(0, chart, {400.0, y + 9.0}, 5.0), nullptr);
    // The price data is on the list but cannot be picked.
    const double price = chart.ValueToPixelY(draw.Close(5), CChart2D::EAxis::Y);
    EXPECT_EQ(draw.ItemAt(0, chart, {chart.SlotToPixelX(5.0), price}, 5.0), nullptr);
    ASSERT_TRUE(draw.RemoveItem(0, level.get()));
    EXPECT_FALSE(draw.RemoveItem(0, level.get()));
    draw.PaintPane(0, chart, style, frame, 0, false);
    EXPECT_EQ(chart.Series(300), nullptr);
    EXPECT_EQ(chart.AxisRange(CChart2D::EAxis::Y).max, 12.0 + 19);
    ASSERT_NE(chart.Series(CHistPriceChart::kPriceSeries), nullptr);
    // A study pane without studies shows its frame and label strip.
    draw.PaintPane(3, chart, style, frame, 0, true);
    EXPECT_EQ(chart.LabelLineText(), "(Minimized)");
}

TEST_F(DrawManager, ReadOutsDescribeTheBarUnderTheCursorOnly) {
    Fill(5);
    draw.SetScrollPosition(0, 4, kDays);
    EXPECT_EQ(draw.PriceBarFields(3),
              (std::vector<std::string>{"Hi: 15.00", "Low: 11.00", "Open: 13.00", "Close: 12.00",
                                        "Date: 2020/01/04"}));
    // Off the bars (not displayed, or no cursor) there is nothing to read out.
    EXPECT_TRUE(draw.PriceBarFields(4).empty() && draw.PriceBarFields(kNoCursorBar).empty());
    EXPECT_EQ(draw.HeaderLabel("LUMA"), "Daily Price: LUMA");
    EXPECT_EQ(draw.InfoText(1),
              "Hi: 13.00, Low: 9.00, Open: 11.00, Close: 10.00\nVolume: 1001\nDate: 2020/01/02");
    // Ticks: one price, the time with microseconds, and the tick's own size as its volume.
    draw.SetScrollPosition(0, 4, kTicks);
    EXPECT_EQ(draw.PriceBarFields(2), (std::vector<std::string>{"13.00", "Time: 00:00:00.000000"}));
    EXPECT_EQ(std::tuple(draw.InfoText(2), draw.Volume(2), draw.HeaderLabel("LUMA")),
              std::tuple("Price: 13.00\nVolume: 7\nTime: 00:00:00.000000", 7, "Tick Price: LUMA"));
    // Prices keep the decimals they carry.
    sTICK fine;
    fine.time = CDateTime(2020, 2, 1, 0, 0, 0);
    fine.open = fine.high = fine.low = fine.close = 1.23456;
    ASSERT_TRUE(history.AppendTick(fine));
    draw.SetScrollPosition(0, 6, kDays);
    EXPECT_EQ(draw.PriceDecimals(), 5);
    EXPECT_EQ(draw.PriceBarFields(5)[3], "Close: 1.23456");
}

} // namespace

// The last-price marker: off by default; on, the newest close at the symbol's decimals in the up
// or down colour of the newest bar (ticks: against the trade before), a dotted line across the
// pane, and on minute bars the time left until the newest bar's end by the exchange clock.
TEST_F(DrawManager, LastPriceTagsTheNewestCloseInItsBarsColourWithTheTimeLeft) {
    Fill(300);
    SPaneFrame frame;
    draw.SetScrollPosition(0, 120, kDays); // scrolled back: the tag still shows the newest bar
    draw.PaintPane(0, chart, style, frame, 0, false);
    EXPECT_EQ(chart.Series(CLastPriceItem::kSeries), nullptr);
    style.showLastPrice = true;
    style.labelsOnY2 = true;
    draw.PaintPane(0, chart, style, frame, 0, false);
    const CRecordingChart2D::SSeries* last = chart.Series(CLastPriceItem::kSeries);
    ASSERT_NE(last, nullptr);
    // Bar 299 closed at 308 below its open of 309: down.
    EXPECT_EQ(std::tuple(last->tag.text, last->tag.fill), std::tuple("308.00", style.downCandle));
    EXPECT_EQ(last->tag.axis, CChart2D::EAxis::Y2);
    EXPECT_GE(ContrastRatio(last->tag.textColor, last->tag.fill), kMinTextContrast);
    EXPECT_EQ(last->line.style, CChart2D::kDot);
    ASSERT_EQ(last->points.size(), 2u);
    EXPECT_EQ(std::tuple(last->points[0].x, last->points[1].x, last->points[1].y),
              std::tuple(chart.XRange().min, chart.XRange().max, 308.0));
    // A four-decimal close that rose: four decimals in the up colour.
    sTICK bar;
    history.GetTick(299, bar);
    bar.time = CDateTime(2024, 3, 5, 10, 31, 0); // a minute bar ending 10:31:00
    bar.open = 1.2340;
    bar.close = 1.2345;
    history.AppendTick(bar);
    draw.SetBarClock(60, CDateTime(2024, 3, 5, 10, 29, 37));
    draw.SetScrollPosition(200, 101, kIntervals);
    draw.PaintPane(0, chart, style, frame, 0, false);
    last = chart.Series(CLastPriceItem::kSeries);
    EXPECT_EQ(last->tag.text, "1.2345\n01:00"); // held to the interval
    EXPECT_EQ(last->tag.fill, style.upCandle);
    draw.SetBarClock(60, CDateTime(2024, 3, 5, 10, 30, 37));
    draw.PaintPane(0, chart, style, frame, 0, false);
    EXPECT_EQ(chart.Series(CLastPriceItem::kSeries)->tag.text, "1.2345\n00:23");
    // Past the end it waits at 00:00; days and ticks have no countdown.
    draw.SetBarClock(60, CDateTime(2024, 3, 5, 10, 32, 0));
    draw.PaintPane(0, chart, style, frame, 0, false);
    EXPECT_EQ(chart.Series(CLastPriceItem::kSeries)->tag.text, "1.2345\n00:00");
    // A tick below the trade before is down, whatever its open says.
    draw.SetScrollPosition(200, 101, kTicks);
    draw.PaintPane(0, chart, style, frame, 0, false);
    last = chart.Series(CLastPriceItem::kSeries);
    EXPECT_EQ(std::tuple(last->tag.text, last->tag.fill), std::tuple("1.2345", style.downCandle));
    // Off again: the marker leaves the pane.
    style.showLastPrice = false;
    draw.PaintPane(0, chart, style, frame, 0, false);
    EXPECT_EQ(chart.Series(CLastPriceItem::kSeries), nullptr);
}

// Trendlines without a window: what each kind draws through its points, a trendline painted and
// hit through the recording chart, the lists' shared series numbering and nearest-line rules,
// placing a line click by click, and anchoring points to bars by their times.

#include "history/chart_hist_request.h"
#include "recording_chart_2d.h"
#include "trend/trend_lists.h"
#include "trend/trend_placement.h"
#include "trend/trend_store.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using skychart::test::CRecordingChart2D;
using EExtend = STrendPart::EExtend;

struct SExpectedPart {
    SBarPrice from;
    SBarPrice to;
    EExtend extend;
    std::string label;
};

TEST(TrendGeometry, EachKindDrawsItsParts) {
    const SBarPrice a{0, 0};
    const SBarPrice b{10, 100};
    const SBarPrice c{10, 40};
    std::vector<SExpectedPart> retracement;
    for (const double level : {0.0, 23.6, 38.2, 61.8, 100.0, 161.8, 261.8, 423.6}) {
        retracement.push_back(
            {{0, level}, {10, level}, EExtend::Right, fmt::format("{}% %p", level)});
    }
    retracement.push_back({b, a, EExtend::None, ""});
    const struct {
        ETrendKind kind;
        std::vector<SBarPrice> points;
        bool extendable;
        std::vector<SExpectedPart> parts;
    } cases[] = {
        // clang-format off
        {ETrendKind::Horizontal, {{2, 10}, {8, 50}}, false,
         {{{2, 10}, {8, 10}, EExtend::None, ""}}},
        {ETrendKind::Horizontal, {{2, 10}, {8, 50}}, true,
         {{{2, 10}, {2, 10}, EExtend::Right, ""}}},
        {ETrendKind::Sloping, {a, b}, true, {{a, b, EExtend::Onward, ""}}},
        // The channel's second line goes through the third point: the line is at 50 on bar 5.
        {ETrendKind::Parallel, {a, b, {5, 80}}, false,
         {{a, b, EExtend::None, ""}, {{0, 30}, {10, 130}, EExtend::None, ""}}},
        // The median runs to the midpoint (10, 70) of the second and third points; the tines
        // are as long and parallel to it.
        {ETrendKind::Pitchfork, {a, b, c}, true,
         {{a, {10, 70}, EExtend::Onward, ""}, {b, {20, 170}, EExtend::Onward, ""},
          {c, {20, 110}, EExtend::Onward, ""}, {b, c, EExtend::None, ""}}},
        {ETrendKind::FibonacciFan, {a, b}, false,
         {{a, b, EExtend::None, ""}, {a, {10, 61.8}, EExtend::None, "38.2%"},
          {a, {10, 50}, EExtend::None, "50%"}, {a, {10, 38.2}, EExtend::None, "61.8%"}}},
        // 0% at the move's end, 100% at its start, the extensions beyond the start.
        {ETrendKind::FibonacciRetracements, {b, a}, true, retracement},
        {ETrendKind::SpeedResistance, {{0, 0}, {9, 90}}, true,
         {{{0, 0}, {9, 90}, EExtend::None, ""}, {{0, 0}, {9, 30}, EExtend::Onward, "1/3"},
          {{0, 0}, {9, 60}, EExtend::Onward, "2/3"}}},
        // A line being placed: two points of a three-point kind draw the line between them,
        // one point nothing.
        {ETrendKind::Pitchfork, {a, b}, true, {{a, b, EExtend::None, ""}}},
        {ETrendKind::Sloping, {a}, true, {}},
        // clang-format on
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(TrendKindInfo(test.kind).name);
        const std::vector<STrendPart> parts = TrendParts(test.kind, test.points, test.extendable);
        ASSERT_EQ(parts.size(), test.parts.size());
        for (std::size_t i = 0; i < parts.size(); ++i) {
            SCOPED_TRACE(i);
            EXPECT_NEAR(parts[i].from.bar, test.parts[i].from.bar, 1e-9);
            EXPECT_NEAR(parts[i].from.price, test.parts[i].from.price, 1e-9);
            if (test.parts[i].extend != EExtend::Right) {
                EXPECT_NEAR(parts[i].to.bar, test.parts[i].to.bar, 1e-9);
                EXPECT_NEAR(parts[i].to.price, test.parts[i].to.price, 1e-9);
            }
            EXPECT_EQ(parts[i].extend, test.parts[i].extend);
            EXPECT_EQ(parts[i].label, test.parts[i].label);
        }
        if (static_cast<int>(test.points.size()) == TrendKindInfo(test.kind).clicks) {
            EXPECT_EQ(static_cast<int>(parts.size()), TrendPartCount(test.kind));
            EXPECT_LE(static_cast<int>(parts.size()), kMaxTrendParts);
        }
    }
}

// The trendlines of a recording price pane: 800 x 400, plot area 60..740 x 16..380, slots
// -0.5 .. 19.5, prices 0 .. 100.
class TrendPane : public ::testing::Test, public ITrendPane {
protected:
    TrendPane() {
        chart.SetGeometry({800, 400, 60, 60, 16, 20});
        chart.SetXRange(-0.5, 19.5);
        chart.SetAxisRange(CChart2D::EAxis::Y, 0.0, 100.0);
    }
    void AddTrendItem(std::shared_ptr<CDrawnItem> item) override { items.Add(std::move(item)); }
    void RemoveTrendItem(const CDrawnItem* item) override { items.Remove(item); }
    static std::vector<STrendPoint> Points(std::initializer_list<SBarPrice> points) {
        std::vector<STrendPoint> out;
        for (const SBarPrice& point : points) {
            out.push_back({point.bar, point.price, {}});
        }
        return out;
    }
    CChart2D::SPixelPoint Pixel(double slot, double price) const {
        return {chart.SlotToPixelX(slot), chart.ValueToPixelY(price, CChart2D::EAxis::Y)};
    }
    CRecordingChart2D chart;
    CPaneItems items;
    SPaneView view{0, 20, 20};
    const STrendStyle style{MakeColorRef(0, 0, 255), 2, true};
};

TEST_F(TrendPane, PaintsAnchoredToBarsExtendedToTheEdgeAndHighlighted) {
    CTrendLists lists(*this);
    const auto sloping = lists.Add(ETrendKind::Sloping, Points({{2, 10}, {4, 20}}), style);
    const CChart2D::SeriesId id = kTrendSeriesBase + sloping->SeriesNumbers()[0];
    items.Paint(chart, view);
    const auto* series = chart.Series(id);
    ASSERT_NE(series, nullptr);
    ASSERT_EQ(series->points.size(), 2u);
    // On past the second point to the right edge of the axis, on the line's slope.
    EXPECT_EQ(std::tuple(series->points[1].x, series->points[1].y, series->line.color,
                         series->line.width),
              std::tuple(19.5, 10.0 + 5.0 * 17.5, style.color, 2));
    // Scrolled on by five bars, the line stays on its bars.
    view.first = 5;
    sloping->SetStyle({style.color, 2, false});
    sloping->SetHighlighted(true);
    items.Paint(chart, view);
    series = chart.Series(id);
    EXPECT_EQ(std::tuple(series->points[0].x, series->points[1].x, series->line.color,
                         series->line.width),
              std::tuple(-3.0, -1.0, MakeColorRef(255, 255, 0), 4));
    // Nothing of it is in the plot area now: it cannot be hit.
    EXPECT_LT(sloping->Distance(chart, view, Pixel(0, 50)), 0.0);
    // A retracement labels its levels with the price at the pane's precision.
    chart.SetLabelPrecision(CChart2D::EAxis::Y, 3);
    const auto fib = lists.Add(ETrendKind::FibonacciRetracements, Points({{8, 0}, {12, 50}}),
                               {style.color, 1, false});
    items.Paint(chart, view);
    EXPECT_EQ(chart.Series(kTrendSeriesBase + fib->SeriesNumbers()[2])->label, "38.2% 30.900");
    EXPECT_EQ(chart.Series(kTrendSeriesBase + fib->SeriesNumbers()[8])->line.style, CChart2D::kDot);
    // Removed, its series leave the chart at the next paint.
    lists.RemoveAll();
    items.Paint(chart, view);
    EXPECT_EQ(std::tuple(chart.Series(id), chart.SeriesCount()), std::tuple(nullptr, 0u));
}

TEST_F(TrendPane, ALogLineIsStraightInLogAndTheCurveItIsElsewhereWhereItIsHit) {
    chart.SetAxisRange(CChart2D::EAxis::Y, 1.0, 100.0);
    CTrendLists lists(*this);
    const auto line =
        lists.Add(ETrendKind::Sloping, Points({{2, 10}, {12, 90}}), {style.color, 1, false});
    line->SetScale(EPriceScale::Log);
    const CChart2D::SeriesId id = kTrendSeriesBase + line->SeriesNumbers()[0];
    // On its own scale: its two points, and no word about the scale.
    chart.SetValueScale(CChart2D::EAxis::Y, CValueScale::Log());
    items.Paint(chart, view);
    ASSERT_EQ(chart.Series(id)->points.size(), 2u);
    EXPECT_EQ(chart.Series(id)->label, "");
    EXPECT_NE(line->HitTest(chart, view, Pixel(7, 30), 2.0), std::nullopt);
    // On the linear scale: sampled along the log line (half way it stands at the geometric
    // mean 30, not at 50), marked as a log line, and hit where it is drawn.
    chart.SetValueScale(CChart2D::EAxis::Y, CValueScale::Linear());
    items.Paint(chart, view);
    const auto& points = chart.Series(id)->points;
    ASSERT_EQ(points.size(), CBaseTrend::kCurveSamples + 1u);
    EXPECT_DOUBLE_EQ(points.front().y, 10.0);
    EXPECT_NEAR(points[CBaseTrend::kCurveSamples / 2].y, 30.0, 1e-9);
    EXPECT_NEAR(points.back().y, 90.0, 1e-9);
    EXPECT_EQ(chart.Series(id)->label, "(log)");
    EXPECT_NE(line->HitTest(chart, view, Pixel(7, 30), 2.0), std::nullopt);
    EXPECT_EQ(line->HitTest(chart, view, Pixel(7, 50), 5.0), std::nullopt);
    // A drag moves it by a ratio: both points by the same factor.
    ASSERT_TRUE(line->MoveBy(chart, view, Pixel(7, 30), Pixel(7, 60)));
    EXPECT_NEAR(line->Points()[1].price / line->Points()[0].price, 9.0, 1e-9);
    EXPECT_NEAR(line->Points()[0].price, 20.0, 1e-9);
    // Stored and read back with its scale (TrendRecords and AddTrendRecords).
    const std::vector<STrendRecord> records = TrendRecords(lists);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].scale, EPriceScale::Log);
}

TEST_F(TrendPane, SharedNumberingAndFreeList) {
    CTrendLists lists(*this);
    EXPECT_EQ(lists.MaxParts(), 9);
    EXPECT_EQ(lists.List(ETrendKind::Horizontal).TakeSeriesNumber(), 4);
    EXPECT_EQ(lists.List(ETrendKind::SpeedResistance).TakeSeriesNumber(), 5);
    const auto fib =
        lists.Add(ETrendKind::FibonacciRetracements, Points({{1, 10}, {5, 50}}), style);
    EXPECT_EQ(fib->SeriesNumbers(), (std::vector<int>{6, 7, 8, 9, 10, 11, 12, 13, 14}));
    const auto pitchfork =
        lists.Add(ETrendKind::Pitchfork, Points({{1, 10}, {5, 50}, {6, 20}}), style);
    EXPECT_EQ(pitchfork->SeriesNumbers(), (std::vector<int>{15, 16, 17, 18}));
    ASSERT_TRUE(lists.Remove(fib.get()));
    EXPECT_FALSE(lists.Remove(fib.get()));
    // Numbers given back are handed out again first, in the order they came back.
    const auto fan = lists.Add(ETrendKind::FibonacciFan, Points({{1, 10}, {5, 50}}), style);
    EXPECT_EQ(fan->SeriesNumbers(), (std::vector<int>{6, 7, 8, 9}));
    EXPECT_EQ(lists.FreeSeriesNumbers(), (std::vector<std::uint32_t>{10, 11, 12, 13, 14}));
    EXPECT_EQ(std::tuple(lists.NextSeriesNumber(), lists.Count(), items.Items().size()),
              std::tuple(19, 2, 2u));
    EXPECT_EQ(lists.RemoveAll(), 2);
    EXPECT_TRUE(items.Items().empty());
}

TEST_F(TrendPane, NearestPrefersTheEarlierKindThenTheEarlierLine) {
    CTrendLists lists(*this);
    const CChart2D::SPixelPoint onLevel = Pixel(5, 50);
    EXPECT_EQ(lists.Nearest(chart, view, onLevel).trend, nullptr);
    EXPECT_EQ(lists.Nearest(chart, view, onLevel).distance, -1.0);
    const STrendStyle plain{0, 1, false};
    const auto slopingFirst = lists.Add(ETrendKind::Sloping, Points({{0, 50}, {10, 50}}), plain);
    const auto slopingSecond = lists.Add(ETrendKind::Sloping, Points({{0, 50}, {10, 50}}), plain);
    const auto far = lists.Add(ETrendKind::Sloping, Points({{0, 90}, {10, 90}}), plain);
    const auto level = lists.Add(ETrendKind::Horizontal, Points({{0, 50}, {10, 0}}), plain);
    const auto speed = lists.Add(ETrendKind::SpeedResistance, Points({{0, 50}, {10, 50}}), plain);
    auto nearest = lists.Nearest(chart, view, onLevel);
    EXPECT_EQ(nearest.trend, level);
    EXPECT_NEAR(nearest.distance, 0.0, 1e-9);
    EXPECT_EQ(lists.Selected(), level);
    lists.Remove(level.get());
    EXPECT_EQ(lists.Nearest(chart, view, onLevel).trend, slopingFirst);
    lists.Remove(slopingFirst.get());
    EXPECT_EQ(lists.Nearest(chart, view, onLevel).trend, slopingSecond);
    // A later kind wins only when strictly nearer: ten pixels above the lines the speed lines'
    // rays are as near as the sloping one, and the farther line loses.
    const CChart2D::SPixelPoint above{onLevel.x, onLevel.y - 10.0};
    nearest = lists.Nearest(chart, view, above);
    EXPECT_EQ(nearest.trend, slopingSecond);
    EXPECT_NEAR(nearest.distance, 10.0, 1e-9);
    // The hit test of the protocol keeps to its tolerance and the plot area.
    EXPECT_TRUE(far->HitTest(chart, view, Pixel(5, 90), 5.0));
    EXPECT_FALSE(far->HitTest(chart, view, {Pixel(5, 90).x, Pixel(5, 90).y + 6.0}, 5.0));
    EXPECT_FALSE(speed->HitTest(chart, view, {10.0, onLevel.y}, 5.0));
}

TEST(TrendPlacement, PromptsClickByClick) {
    for (const STrendKindInfo& info : TrendKindTable()) {
        SCOPED_TRACE(info.name);
        CTrendPlacement placement(info.kind);
        for (int click = 0; click < info.clicks; ++click) {
            const std::string prompt = placement.Prompt();
            EXPECT_EQ(prompt, info.prompts[static_cast<std::size_t>(click)]);
            EXPECT_TRUE(prompt.ends_with("(Right click to cancel)"));
            EXPECT_EQ(placement.Preview({9.0, 1.0, {}}).size(),
                      static_cast<std::size_t>(click) + 1);
            EXPECT_EQ(placement.Click({static_cast<double>(click), 1.0, {}}),
                      click + 1 == info.clicks);
        }
        EXPECT_TRUE(placement.Complete());
        EXPECT_EQ(placement.Prompt(), "");
        EXPECT_EQ(placement.Points().size(), static_cast<std::size_t>(info.clicks));
    }
    EXPECT_EQ(TrendKindInfo(ETrendKind::Pitchfork).prompts[2],
              std::string("Move the mouse to the left and click on the 3rd point of the new "
                          "pitchfork trendline (Right click to cancel)"));
    EXPECT_EQ(FindTrendKind("andrew's pitchfork"), static_cast<int>(ETrendKind::Pitchfork));
    EXPECT_EQ(FindTrendKind("Fibonacci"), -1);
}

TEST(TrendPoint, BarsFoundFromTimesAndStoredBack) {
    CChartHistRequest history;
    EXPECT_EQ(BarOfTime(history, {CDateTime(2026, 1, 5, 0, 0, 0), 0}), 0.0);
    // Daily bars on the 5th to 9th and 12th to 16th of January 2026, the 7th missing.
    for (const int day : {5, 6, 8, 9, 12, 13, 14, 15, 16}) {
        sTICK bar;
        bar.time = CDateTime(2026, 1, day, 0, 0, 0);
        bar.close = day;
        ASSERT_TRUE(history.AppendTick(bar));
    }
    const auto at = [](int day) { return SPointTime{CDateTime(2026, 1, day, 0, 0, 0), 0}; };
    EXPECT_DOUBLE_EQ(BarOfTime(history, at(8)), 2.0);
    EXPECT_DOUBLE_EQ(BarOfTime(history, at(7)), 1.5); // a deleted bar lies between its neighbours
    EXPECT_DOUBLE_EQ(BarOfTime(history, at(10)), 3.0 + 1.0 / 3.0);
    EXPECT_DOUBLE_EQ(BarOfTime(history, at(2)), -3.0); // a day a bar before the first
    EXPECT_DOUBLE_EQ(BarOfTime(history, at(20)), 12.0);
    const STrendPoint point = TrendPointAt(history, 2.4, 7.5);
    EXPECT_EQ(point.bar, 2.0);
    EXPECT_TRUE(point.time.time == at(8).time);
    EXPECT_EQ(
        std::tuple(TrendPointAt(history, 40.0, 1.0).bar, TrendPointAt(history, -3.0, 1.0).bar),
        std::tuple(8.0, 0.0));
    // What the store keeps comes back on the same bars, and finds them again when a bar before
    // them is gone.
    struct SPane : ITrendPane {
        void AddTrendItem(std::shared_ptr<CDrawnItem>) override {}
        void RemoveTrendItem(const CDrawnItem*) override {}
    } pane;
    CTrendLists lists(pane);
    const STrendRecord record{ETrendKind::Sloping, {{at(8), 10.0}, {at(14), 20.0}}};
    AddTrendRecords(lists, {record}, history, STrendStyles{});
    EXPECT_EQ(lists.All()[0]->Points()[1].bar, 6.0);
    EXPECT_EQ(TrendRecords(lists), std::vector<STrendRecord>{record});
    ASSERT_TRUE(history.RemoveTick(0));
    lists.Reanchor(history);
    EXPECT_EQ(lists.All()[0]->Points()[0].bar, 1.0);
    EXPECT_EQ(lists.All()[0]->Points()[1].bar, 5.0);
}

} // namespace

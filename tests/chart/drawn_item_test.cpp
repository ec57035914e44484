// The level line item through the recording chart: what it hands the chart, how it is hit and
// how it follows a drag.

#include "chart/drawn_item.h"

#include <gtest/gtest.h>

#include "recording_chart_2d.h"

namespace {

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

    skychart::test::CRecordingChart2D chart;
};

} // namespace

TEST_F(LevelLine, PaintsAcrossTheXRangeAndErases) {
    CLevelLineItem level = Level(70.0);
    CDrawnItem& item = level; // the view only knows the protocol
    item.Paint(chart, kView);
    const auto* series = chart.Series(kId);
    ASSERT_NE(series, nullptr);
    EXPECT_EQ(series->kind, skychart::test::CRecordingChart2D::EKind::Points);
    ASSERT_EQ(series->points.size(), 2u);
    for (const auto& [point, x] : {std::pair{series->points[0], -0.5}, {series->points[1], 99.5}}) {
        EXPECT_DOUBLE_EQ(point.x, x);
        EXPECT_DOUBLE_EQ(point.y, 70.0);
    }
    EXPECT_EQ(series->line.color, kThistle);
    EXPECT_EQ(series->line.style, CChart2D::kDash);

    // A later x range (scrolling, zooming) is followed on the next paint.
    chart.SetXRange(10.0, 40.0);
    item.Paint(chart, kView);
    EXPECT_DOUBLE_EQ(chart.Series(kId)->points[1].x, 40.0);
    // A level without a value draws nothing.
    level.SetValue(CChart2D::HoleValue());
    item.Paint(chart, kView);
    EXPECT_TRUE(chart.Series(kId)->points.empty());
    item.Erase(chart);
    EXPECT_EQ(chart.Series(kId), nullptr);
}

TEST_F(LevelLine, IsHitWithinTheToleranceInsideThePlotArea) {
    const CLevelLineItem level = Level(50.0);
    const double y = Y(50.0);
    ASSERT_NEAR(y, 198.0, 1e-9);
    const auto onLine = level.HitTest(chart, kView, {400.0, y + 2.5}, 3.0);
    ASSERT_TRUE(onLine.has_value());
    EXPECT_NEAR(*onLine, 2.5, 1e-9);
    EXPECT_FALSE(level.HitTest(chart, kView, {400.0, y + 3.5}, 3.0).has_value());
    // Beside the plot area (over the value labels) nothing is hit.
    EXPECT_FALSE(level.HitTest(chart, kView, {770.0, y}, 3.0).has_value());
    EXPECT_FALSE(level.HitTest(chart, kView, {30.0, y}, 3.0).has_value());

    // On y2 the same value sits elsewhere: 50 is the top of y2's range.
    const CLevelLineItem onY2 = Level(50.0, CChart2D::EAxis::Y2);
    EXPECT_FALSE(onY2.HitTest(chart, kView, {400.0, y}, 3.0).has_value());
    EXPECT_TRUE(onY2.HitTest(chart, kView, {400.0, 16.5}, 3.0).has_value());
    const CLevelLineItem hole = Level(CChart2D::HoleValue());
    EXPECT_FALSE(hole.HitTest(chart, kView, {400.0, y}, 1000.0).has_value());
}

TEST_F(LevelLine, FollowsAVerticalDragOnlyWhenMovable) {
    CLevelLineItem level = Level(30.0);
    const CChart2D::SPixelPoint from{300.0, Y(30.0)};
    const CChart2D::SPixelPoint to{350.0, Y(45.0)};
    EXPECT_FALSE(level.MoveBy(chart, kView, from, to));
    EXPECT_DOUBLE_EQ(level.Value(), 30.0);
    level.SetMovable(true);
    ASSERT_TRUE(level.MoveBy(chart, kView, from, to));
    EXPECT_NEAR(level.Value(), 45.0, 1e-9);
    level.Paint(chart, kView);
    EXPECT_NEAR(chart.Series(kId)->points[0].y, 45.0, 1e-9);

    // A drag on y2 moves by y2's values: 100 over the 364-pixel plot height, so a quarter of
    // the height is 25.
    CLevelLineItem onY2 = Level(0.0, CChart2D::EAxis::Y2);
    onY2.SetMovable(true);
    ASSERT_TRUE(onY2.MoveBy(chart, kView, {0.0, 200.0}, {0.0, 200.0 - 364.0 / 4.0}));
    EXPECT_NEAR(onY2.Value(), 25.0, 1e-9);
}

// The level line item through the recording chart: what it hands the chart, how it is hit and
// how it follows a drag.

#include "chart/drawn_item.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "recording_chart_2d.h"

using skychart::test::CRecordingChart2D;

namespace {

constexpr CChart2D::SeriesId kId = 7;
const SPaneView kView{0, 100, 100};

// A 800 x 400 pane, plot area 60..740 x 16..380, slots -0.5 .. 99.5, values 0 .. 100 on y and
// -50 .. 50 on y2.
void SetUpChart(CRecordingChart2D& chart) {
    chart.SetGeometry({800, 400, 60, 60, 16, 20});
    chart.SetXRange(-0.5, 99.5);
    chart.SetAxisRange(CChart2D::EAxis::Y, 0.0, 100.0);
    chart.SetAxisRange(CChart2D::EAxis::Y2, -50.0, 50.0);
}

CChart2D::SLineStyle Style(CChart2D::EAxis axis = CChart2D::EAxis::Y) {
    return CChart2D::SLineStyle{MakeColorRef(0xD8, 0xBF, 0xD8), 1, CChart2D::kDash, axis};
}

} // namespace

TEST(LevelLineItem, PaintsAcrossTheXRangeAndErases) {
    CRecordingChart2D chart;
    SetUpChart(chart);
    CLevelLineItem level(kId, 70.0, Style());
    CDrawnItem& item = level; // the view only knows the protocol
    item.Paint(chart, kView);

    const CRecordingChart2D::SSeries* series = chart.Series(kId);
    ASSERT_NE(series, nullptr);
    EXPECT_EQ(series->kind, CRecordingChart2D::EKind::Points);
    ASSERT_EQ(series->points.size(), 2u);
    EXPECT_DOUBLE_EQ(series->points[0].x, -0.5);
    EXPECT_DOUBLE_EQ(series->points[1].x, 99.5);
    EXPECT_DOUBLE_EQ(series->points[0].y, 70.0);
    EXPECT_DOUBLE_EQ(series->points[1].y, 70.0);
    EXPECT_EQ(series->line.color, MakeColorRef(0xD8, 0xBF, 0xD8));
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

TEST(LevelLineItem, IsHitWithinTheToleranceInsideThePlotArea) {
    CRecordingChart2D chart;
    SetUpChart(chart);
    CLevelLineItem level(kId, 50.0, Style());
    const double y = chart.ValueToPixelY(50.0, CChart2D::EAxis::Y); // 198
    ASSERT_NEAR(y, 198.0, 1e-9);

    const auto onLine = level.HitTest(chart, kView, {400.0, y + 2.5}, 3.0);
    ASSERT_TRUE(onLine.has_value());
    EXPECT_NEAR(*onLine, 2.5, 1e-9);
    EXPECT_FALSE(level.HitTest(chart, kView, {400.0, y + 3.5}, 3.0).has_value());
    // Beside the plot area (over the value labels) nothing is hit.
    EXPECT_FALSE(level.HitTest(chart, kView, {770.0, y}, 3.0).has_value());
    EXPECT_FALSE(level.HitTest(chart, kView, {30.0, y}, 3.0).has_value());

    // On y2 the same value sits elsewhere: 50 is the top of y2's range.
    CLevelLineItem onY2(kId, 50.0, Style(CChart2D::EAxis::Y2));
    EXPECT_FALSE(onY2.HitTest(chart, kView, {400.0, y}, 3.0).has_value());
    EXPECT_TRUE(onY2.HitTest(chart, kView, {400.0, 16.5}, 3.0).has_value());

    CLevelLineItem hole(kId, CChart2D::HoleValue(), Style());
    EXPECT_FALSE(hole.HitTest(chart, kView, {400.0, y}, 1000.0).has_value());
}

TEST(LevelLineItem, FollowsAVerticalDragOnlyWhenMovable) {
    CRecordingChart2D chart;
    SetUpChart(chart);
    CLevelLineItem level(kId, 30.0, Style());
    const CChart2D::SPixelPoint from{300.0, chart.ValueToPixelY(30.0, CChart2D::EAxis::Y)};
    const CChart2D::SPixelPoint to{350.0, chart.ValueToPixelY(45.0, CChart2D::EAxis::Y)};

    EXPECT_FALSE(level.MoveBy(chart, kView, from, to));
    EXPECT_DOUBLE_EQ(level.Value(), 30.0);

    level.SetMovable(true);
    ASSERT_TRUE(level.MoveBy(chart, kView, from, to));
    EXPECT_NEAR(level.Value(), 45.0, 1e-9);
    level.Paint(chart, kView);
    EXPECT_NEAR(chart.Series(kId)->points[0].y, 45.0, 1e-9);

    // A drag on y2 moves by y2's values: 100 over the 364-pixel plot height, so a quarter of
    // the height is 25.
    CLevelLineItem onY2(kId, 0.0, Style(CChart2D::EAxis::Y2));
    onY2.SetMovable(true);
    ASSERT_TRUE(onY2.MoveBy(chart, kView, {0.0, 200.0}, {0.0, 200.0 - 364.0 / 4.0}));
    EXPECT_NEAR(onY2.Value(), 25.0, 1e-9);
}

#include "chart/display_range.h"

#include <gtest/gtest.h>

#include <tuple>

using ERequest = CDisplayRange::EScrollRequest;
using EKey = CDisplayRange::EKey;

TEST(DisplayRange, PointsTableAndScrollStep) {
    const std::pair<int, int> points[] = {{0, 30}, {3, 120}, {10, 15360}, {-3, 30}, {11, 15360}};
    for (const auto& [index, count] : points) {
        EXPECT_EQ(DisplayPointsFor(index), count) << index;
    }
    EXPECT_EQ(ScrollStep({true, 5, 20}, 120), 5);
    EXPECT_EQ(ScrollStep({true, 0, 20}, 120), 1);
    EXPECT_EQ(ScrollStep({false, 5, 20}, 120), 24);
    EXPECT_EQ(ScrollStep({false, 5, 25}, 30), 8); // 7.5 rounds up
    EXPECT_EQ(ScrollStep({false, 5, 1}, 30), 1);  // 0.3 rounds to 0, held at 1
}

TEST(DisplayRange, ScrollBarRequestsStayInRangeAndNewPointsAreFollowedAtTheRightEdge) {
    CDisplayRange range;
    // A fresh view follows the series, so the first load shows the newest points.
    EXPECT_TRUE(range.SetPointCount(1000));
    EXPECT_EQ(range.Limit(), 880);
    EXPECT_EQ(range.FirstIndex(), 880);
    EXPECT_EQ(range.DisplayedCount(), 120);
    EXPECT_TRUE(range.AtRightEdge());

    using enum ERequest;
    // {request, thumb position, moved, position after, tracking after}
    const std::tuple<ERequest, int, bool, int, bool> steps[] = {
        {LineLeft, 0, true, 879, false},     {LineRight, 0, true, 880, false},
        {LineRight, 0, false, 880, false},   {PageLeft, 0, true, 760, false},
        {FarLeft, 0, true, 0, false},        {LineLeft, 0, false, 0, false},
        {PageRight, 0, true, 120, false},    {ThumbTrack, 500, true, 500, true},
        {ThumbTrack, 500, false, 500, true}, {ThumbPosition, 5000, true, 880, false},
        {EndScroll, 0, false, 880, false}};
    int step = 0;
    for (const auto& [request, thumb, moved, position, tracking] : steps) {
        EXPECT_EQ(range.Scroll(request, thumb), moved) << "step " << step;
        EXPECT_EQ(range.Position(), position) << "step " << step;
        EXPECT_EQ(range.IsTracking(), tracking) << "step " << step++;
    }

    // New points are followed only at the right edge.
    EXPECT_TRUE(range.SetPointCount(1005));
    EXPECT_EQ(range.FirstIndex(), 885);
    range.SetPosition(500);
    EXPECT_FALSE(range.SetPointCount(1010));
    EXPECT_EQ(range.FirstIndex(), 500);
    EXPECT_FALSE(range.AtRightEdge());
    // A shorter series (points deleted) holds the position to the new limit.
    EXPECT_TRUE(range.SetPointCount(300));
    EXPECT_EQ(range.FirstIndex(), 180);

    // A series shorter than the page shows all of it from index 0.
    CDisplayRange shortRange;
    shortRange.SetPointCount(50);
    EXPECT_EQ(shortRange.Limit(), 0);
    EXPECT_EQ(shortRange.DisplayedCount(), 50);
    shortRange.SetPointCount(-4);
    EXPECT_EQ(shortRange.PointCount(), 0);
    EXPECT_EQ(shortRange.DisplayedCount(), 0);
}

TEST(DisplayRange, ZoomKeepsTheNewestDisplayedBar) {
    CDisplayRange range;
    range.SetPointCount(1000);
    EXPECT_TRUE(range.ZoomIn());
    EXPECT_EQ(range.PointsIndex(), 2);
    EXPECT_EQ(range.DisplayedPoints(), 90);
    EXPECT_EQ(range.FirstIndex() + range.DisplayedCount(), 1000);

    // A new page size from the settings keeps the newest bar in view at the right edge.
    EXPECT_TRUE(range.SetPointsIndex(3));
    EXPECT_TRUE(range.AtRightEdge());
    range.SetPosition(500); // newest displayed: 619
    EXPECT_TRUE(range.ZoomIn());
    EXPECT_EQ(range.Position(), 530);
    EXPECT_EQ(range.Position() + range.DisplayedCount() - 1, 619);
    EXPECT_TRUE(range.ZoomOut());
    EXPECT_EQ(range.Position(), 500);
    range.SetPosition(50);
    EXPECT_TRUE(range.ZoomOut()); // 120 -> 240: left by 120, not below 0
    EXPECT_EQ(range.Position(), 0);

    // Zooming in skips the entries the series cannot fill.
    CDisplayRange few(5);
    few.SetPointCount(100);
    EXPECT_TRUE(few.ZoomIn());
    EXPECT_EQ(few.PointsIndex(), 2);
    EXPECT_EQ(few.Position(), 10); // right by 120 - 90, held to the limit
    CDisplayRange tiny;
    tiny.SetPointCount(25);
    EXPECT_TRUE(tiny.ZoomIn());
    EXPECT_EQ(tiny.DisplayedPoints(), 30);
    EXPECT_FALSE(tiny.ZoomIn());
    EXPECT_FALSE(CDisplayRange(10).ZoomOut()); // the widest
}

TEST(DisplayRange, WheelDragAndKeys) {
    CDisplayRange range;
    range.SetPointCount(1000);
    EXPECT_TRUE(range.Wheel(2));
    EXPECT_EQ(range.PointsIndex(), 1);
    EXPECT_TRUE(range.Wheel(-1));
    EXPECT_EQ(range.PointsIndex(), 2);

    range.SetPointsIndex(3);
    // Dragging right by ten bars' width shows older bars; halves round away from zero.
    EXPECT_TRUE(range.DragTo(500, 70.0, 7.0));
    EXPECT_EQ(range.Position(), 490);
    EXPECT_TRUE(range.DragTo(500, -73.5, 7.0));
    EXPECT_EQ(range.Position(), 511);
    EXPECT_FALSE(range.DragTo(500, 70.0, 0.0));
    EXPECT_TRUE(range.DragTo(500, -1e12, 0.5)); // far past the newest bar
    EXPECT_EQ(range.Position(), range.Limit());

    range.SetScrollStepSettings({true, 5, 20});
    range.SetPosition(500);
    using enum EKey;
    // {key, position after}; Plus zooms in to 90 points at the right edge.
    const std::pair<EKey, int> keys[] = {{Left, 495}, {Right, 500}, {PageDown, 620},
                                         {Home, 0},   {End, 880},   {Plus, 910}};
    for (const auto& [key, position] : keys) {
        EXPECT_TRUE(range.Key(key));
        EXPECT_EQ(range.Position(), position) << static_cast<int>(key);
    }
    EXPECT_EQ(range.PointsIndex(), 2);
    // Percent steps follow the displayed points.
    range.SetScrollStepSettings({false, 5, 20});
    EXPECT_EQ(range.StepBars(), 18); // 20 per cent of 90
    range.ZoomOut();
    EXPECT_EQ(range.StepBars(), 24);
}

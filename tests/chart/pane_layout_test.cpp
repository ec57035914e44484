// The view's pane layout (loading, dividing, minimum heights, minimise, maximise and restore,
// hit tests and border drags) and its displayed range (scrolling, zoom, wheel, drag and keys).

#include "chart/display_range.h"
#include "chart/pane_layout.h"

#include <gtest/gtest.h>

#include <numeric>
#include <tuple>

namespace {

using Flags = decltype(SPaneLayout::minimized);

SPaneLayout Loaded(int studies, std::initializer_list<double> tops) {
    SPaneLayout layout;
    layout.displayedCount = studies;
    std::size_t p = 0;
    for (const double top : tops) {
        layout.tops[p++] = top;
    }
    layout.FinishLoading();
    return layout;
}

SPaneGeometry View(int height, int strip = 20, int scrollBar = 0) {
    return SPaneGeometry{800, height, strip, scrollBar, 4};
}

std::vector<SPaneRect> Rects(const SPaneLayout& layout, const SPaneGeometry& geometry) {
    return layout.Layout(geometry).panes;
}

} // namespace

TEST(PaneLayout, LoadingClosesTheStackAndRepairsBadValues) {
    SPaneLayout defaults;
    defaults.FinishLoading();
    EXPECT_DOUBLE_EQ(defaults.tops[2], 1.0);
    SPaneLayout wild;
    wild.displayedCount = 15;
    wild.maximized = 7;
    // Before loading is finished the count is already held to the eleven panes.
    EXPECT_FALSE(wild.Minimize(12));
    EXPECT_EQ(wild.Layout(View(600)).panes.size(), 11U);
    wild.FinishLoading();
    EXPECT_EQ(std::tuple(wild.displayedCount, wild.maximized), std::tuple(10, 7));
    EXPECT_DOUBLE_EQ(wild.tops[11], 1.0);
    SPaneLayout hidden = Loaded(2, {0, 0.5, 0.8});
    EXPECT_DOUBLE_EQ(hidden.tops[2], 0.8); // valid tops stay
    hidden.maximized = 5;
    hidden.FinishLoading();
    EXPECT_EQ(hidden.maximized, SPaneLayout::kNoMaximized);
    // A study pane added after the tops were stored: the new panes share the rest of the view.
    SPaneLayout grown = Loaded(2, {0, 0.66, -1});
    EXPECT_DOUBLE_EQ(grown.tops[1], 0.66);
    EXPECT_NEAR(grown.tops[2], 0.83, 1e-12);
    EXPECT_DOUBLE_EQ(grown.tops[3], 1.0);
    EXPECT_DOUBLE_EQ(Loaded(1, {0, -1}).tops[1], 0.66);
    // Four studies added at once: a fresh layout rather than strips under the old price pane.
    SPaneLayout five = Loaded(5, {0, 0.66, -1, -1, -1, -1});
    EXPECT_DOUBLE_EQ(five.tops[1], 0.5);
    EXPECT_NEAR(five.tops[5], 0.9, 1e-12);
    // Too little left below the last good top: an even division below a half-height price pane.
    SPaneLayout squeezed = Loaded(3, {0, 0.95, -1, -1});
    EXPECT_DOUBLE_EQ(squeezed.tops[1], 0.5);
    EXPECT_NEAR(squeezed.tops[2], 0.5 + 0.5 / 3, 1e-12);
    EXPECT_NEAR(squeezed.tops[3], 0.5 + 1.0 / 3, 1e-12);
}

TEST(PaneLayout, DividesTheViewByTopsAndStrips) {
    const SPaneLayout defaults = Loaded(1, {0, 0.66});
    const SPaneLayoutResult plain = defaults.Layout(View(600));
    EXPECT_EQ(plain.panes, (std::vector<SPaneRect>{{0, 396}, {396, 204}}));
    EXPECT_EQ(plain.paneWidth, 796);
    EXPECT_FALSE(plain.proportionalOnly);
    // The scroll bar takes its height off the bottom before the division.
    const SPaneLayoutResult scrolled = defaults.Layout(View(600, 20, 16));
    EXPECT_EQ(scrolled.panes, (std::vector<SPaneRect>{{0, 385}, {385, 199}}));
    EXPECT_EQ(scrolled.scrollBarTop, 584);
    SPaneLayout three = Loaded(2, {0, 0.5, 0.75});
    three.minimized[1] = 1;
    // The shown fractions 0.75 share 380 pixels; pane 2 gets round(0.25 x 506.67) = 127.
    EXPECT_EQ(Rects(three, View(400)), (std::vector<SPaneRect>{{0, 253}, {253, 20}, {273, 127}}));
    three.minimized[1] = 0;
    three.minimized[0] = 1;
    EXPECT_EQ(Rects(three, View(400)), (std::vector<SPaneRect>{{0, 20}, {20, 190}, {210, 190}}));
    three.minimized[0] = 0;
    three.maximized = 1;
    EXPECT_EQ(Rects(three, View(400)), (std::vector<SPaneRect>{{0, 20}, {20, 360}, {380, 20}}));
    // Too low for three strips: the tops alone divide it, whatever the states say.
    const SPaneLayoutResult low = three.Layout(View(50));
    EXPECT_TRUE(low.proportionalOnly);
    EXPECT_EQ(low.panes, (std::vector<SPaneRect>{{0, 25}, {25, 13}, {38, 12}}));
    EXPECT_EQ(Rects(Loaded(0, {0}), View(10)), (std::vector<SPaneRect>{{0, 10}}));
}

// Every shown pane keeps a readable height: the design's heights where they already give it,
// the price pane giving first where they do not, and a stack taller than the view (to scroll)
// when even the minimums do not fit.
TEST(PaneLayout, MinimumHeightsOverTheTops) {
    constexpr int kStrip = 20, kMin = 52, kPriceMin = 112, kTime = 16;
    for (int n = 0; n <= 10; ++n) {
        for (const int state : {0, 1, 2}) { // plain, pane 1 minimised, the last pane maximised
            SPaneLayout layout;
            layout.displayedCount = n;
            layout.tops = {0, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
            layout.FinishLoading();
            if (state == 1 && n >= 1) {
                layout.minimized[1] = 1;
            } else if (state == 2 && n >= 1) {
                layout.maximized = n;
            }
            const auto strip = [&](int p) {
                return layout.HasMaximized() ? p != layout.maximized : layout.IsMinimized(p) != 0;
            };
            int lowest = n;
            while (strip(lowest)) {
                --lowest;
            }
            std::vector<int> need;
            for (int p = 0; p <= n; ++p) {
                need.push_back(strip(p) ? kStrip
                                        : (p == 0 ? kPriceMin : kMin) + (p == lowest ? kTime : 0));
            }
            const int needed = std::accumulate(need.begin(), need.end(), 0);
            for (int h = 300; h <= 1000; h += 50) {
                SCOPED_TRACE(testing::Message() << "n " << n << " state " << state << " h " << h);
                SPaneGeometry geometry = View(h, kStrip);
                const SPaneLayoutResult design = layout.Layout(geometry);
                geometry.minPaneHeight = kMin;
                geometry.minPriceHeight = kPriceMin;
                geometry.timeAxisHeight = kTime;
                const SPaneLayoutResult got = layout.Layout(geometry);
                ASSERT_EQ(got.panes.size(), static_cast<std::size_t>(n + 1));
                EXPECT_EQ(got.paneAreaHeight, h);
                EXPECT_EQ(got.contentHeight, std::max(h, needed));
                bool designFits = !design.proportionalOnly;
                for (int p = 0; p <= n; ++p) {
                    const auto at = static_cast<std::size_t>(p);
                    EXPECT_EQ(got.panes[at].top, p == 0 ? 0 : got.panes[at - 1].Bottom());
                    EXPECT_GE(got.panes[at].height, need[at]) << "pane " << p;
                    EXPECT_EQ(layout.IsStrip(got, p), strip(p));
                    if (strip(p)) {
                        EXPECT_EQ(got.panes[at].height, kStrip);
                    }
                    designFits = designFits && design.panes[at].height >= need[at];
                }
                EXPECT_EQ(got.panes.back().Bottom(), got.contentHeight);
                if (designFits) {
                    EXPECT_EQ(got.panes, design.panes);
                    EXPECT_FALSE(got.raised);
                } else if (!design.proportionalOnly && !strip(0) && got.panes[0].height > need[0]) {
                    // The price pane kept more than its minimum: no study pane lost height.
                    for (int p = 1; p <= n; ++p) {
                        const auto at = static_cast<std::size_t>(p);
                        EXPECT_GE(got.panes[at].height, design.panes[at].height) << "pane " << p;
                    }
                }
            }
        }
    }
    // A raised layout keeps the border where it is dropped, sharing the two panes' fractions.
    SPaneLayout ten = Loaded(10, {0});
    SPaneGeometry geometry = View(600);
    geometry.minPaneHeight = kMin;
    geometry.minPriceHeight = kPriceMin;
    const SPaneLayoutResult raised = ten.Layout(geometry);
    ASSERT_TRUE(raised.raised);
    const int border = raised.panes[5].top + 10;
    ASSERT_TRUE(ten.DragBorder(raised, 5, border, 10));
    const int pixels = raised.panes[4].height + raised.panes[5].height;
    EXPECT_NEAR(ten.tops[5], 0.58 + 0.12 * (raised.panes[4].height + 10) / pixels, 1e-12);
}

TEST(PaneLayout, MinimiseMaximiseRestoreSequences) {
    // The price pane alone cannot be made a strip, nor come back as one from the settings.
    SPaneLayout alone = Loaded(0, {0});
    EXPECT_FALSE(alone.Minimize(0));
    alone.minimized[0] = 1;
    alone.FinishLoading();
    EXPECT_FALSE(alone.IsMinimized(0));
    SPaneLayout layout = Loaded(2, {0, 0.5, 0.75});
    EXPECT_TRUE(layout.Minimize(0));
    EXPECT_EQ(layout.maximized, SPaneLayout::kNoMaximized);
    // Only pane 2 left: it becomes the maximised pane.
    EXPECT_TRUE(layout.Minimize(1));
    EXPECT_EQ(layout.maximized, 2);
    // Minimising the maximised pane clears it and, all others being minimised, shows them again.
    EXPECT_TRUE(layout.Minimize(2));
    EXPECT_EQ(layout.maximized, SPaneLayout::kNoMaximized);
    EXPECT_EQ(layout.minimized, (Flags{0, 0, 1}));
    // With enough panes still shown, minimising the maximised pane leaves the others alone.
    SPaneLayout four = Loaded(3, {0, 0.4, 0.6, 0.8});
    EXPECT_TRUE(four.Maximize(1) && !four.Maximize(1));
    EXPECT_TRUE(four.Minimize(1));
    EXPECT_EQ(four.maximized, SPaneLayout::kNoMaximized);
    EXPECT_EQ(four.MinimizedCount(), 1);
    // Restore with another pane maximised minimises everything but the two.
    four.minimized = {};
    four.Maximize(2);
    EXPECT_TRUE(four.Restore(1));
    EXPECT_EQ(four.maximized, 2);
    EXPECT_EQ(four.minimized, (Flags{1, 0, 0, 1}));
    // Restoring the maximised pane goes back to the tops; the minimised flags stay.
    EXPECT_TRUE(four.Restore(2));
    EXPECT_EQ(four.maximized, SPaneLayout::kNoMaximized);
    EXPECT_EQ(four.MinimizedCount(), 2);
    EXPECT_TRUE(four.Restore(3));
    EXPECT_EQ(four.minimized[3], 0);
    EXPECT_FALSE(four.Restore(3));
    // Panes that are not displayed are refused.
    const SPaneLayout before = four;
    EXPECT_FALSE(four.Minimize(4) || four.Maximize(-1));
    EXPECT_FALSE(four.Restore(11));
    EXPECT_EQ(four, before);
}

TEST(PaneLayout, HitTestsAndBorderDrags) {
    SPaneLayout layout = Loaded(1, {0, 0.66});
    SPaneLayoutResult rects = layout.Layout(View(600));
    EXPECT_EQ(std::tuple(SPaneLayout::HitTestPane(rects, 0), SPaneLayout::HitTestPane(rects, 395),
                         SPaneLayout::HitTestPane(rects, 396), SPaneLayout::HitTestPane(rects, 600),
                         layout.HitTestBorder(rects, 398, 3), layout.HitTestBorder(rects, 400, 3)),
              std::tuple(0, 0, 1, -1, 1, -1));
    EXPECT_TRUE(layout.DragBorder(rects, 1, 300, 40));
    EXPECT_DOUBLE_EQ(layout.tops[1], 0.5);
    EXPECT_FALSE(layout.DragBorder(rects, 1, 300, 40)); // unchanged
    // Held so that both panes keep 40 pixels.
    EXPECT_TRUE(layout.DragBorder(rects, 1, 5, 40));
    EXPECT_DOUBLE_EQ(layout.tops[1], 40.0 / 600.0);
    EXPECT_TRUE(layout.DragBorder(rects, 1, 900, 40));
    EXPECT_DOUBLE_EQ(layout.tops[1], 560.0 / 600.0);
    EXPECT_FALSE(layout.DragBorder(rects, 2, 300, 40));
    EXPECT_DOUBLE_EQ(SPaneLayout::TopFromBorder(250, 50, 400), 0.5);
    // With pane 0 minimised the border between 1 and 2 lands where it is dropped.
    SPaneLayout three = Loaded(2, {0, 0.5, 0.75});
    three.Minimize(0);
    rects = three.Layout(View(400));
    EXPECT_EQ(three.HitTestBorder(rects, 20, 2), -1); // beside the strip
    EXPECT_FALSE(three.DragBorder(rects, 1, 100, 10));
    EXPECT_EQ(three.HitTestBorder(rects, 211, 2), 2);
    EXPECT_TRUE(three.DragBorder(rects, 2, 115, 10));
    EXPECT_DOUBLE_EQ(three.tops[2], 0.625);
    EXPECT_EQ(three.Layout(View(400)).panes[2].top, 115);
    three.Maximize(1);
    rects = three.Layout(View(400));
    EXPECT_EQ(three.HitTestBorder(rects, rects.panes[2].top, 5), -1);
    // A layout of another pane count is not used for a drag.
    EXPECT_FALSE(layout.DragBorder(rects, 1, 100, 10));
}

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
    EXPECT_EQ(
        std::tuple(range.Limit(), range.FirstIndex(), range.DisplayedCount(), range.AtRightEdge()),
        std::tuple(880, 880, 120, true));
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
    EXPECT_EQ(std::tuple(shortRange.Limit(), shortRange.DisplayedCount()), std::tuple(0, 50));
    shortRange.SetPointCount(-4);
    EXPECT_EQ(std::tuple(shortRange.PointCount(), shortRange.DisplayedCount()), std::tuple(0, 0));
}

TEST(DisplayRange, ZoomKeepsTheNewestDisplayedBar) {
    CDisplayRange range;
    range.SetPointCount(1000);
    EXPECT_TRUE(range.ZoomIn());
    EXPECT_EQ(std::tuple(range.PointsIndex(), range.DisplayedPoints(),
                         range.FirstIndex() + range.DisplayedCount()),
              std::tuple(2, 90, 1000));
    // A new page size from the settings keeps the newest bar in view at the right edge.
    EXPECT_TRUE(range.SetPointsIndex(3) && range.AtRightEdge());
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
    for (const auto& [delta, index] : {std::pair{2, 1}, {-1, 2}}) {
        EXPECT_TRUE(range.Wheel(delta) && range.PointsIndex() == index) << delta;
    }
    range.SetPointsIndex(3);
    // Dragging right by ten bars' width shows older bars; halves round away from zero.
    for (const auto& [by, position] : {std::pair{70.0, 490}, {-73.5, 511}}) {
        EXPECT_TRUE(range.DragTo(500, by, 7.0));
        EXPECT_EQ(range.Position(), position) << by;
    }
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

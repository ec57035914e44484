#include "chart/chart_print.h"

#include "base/error.h"

#include <gtest/gtest.h>

#include <vector>

TEST(ChartPrint, TitleLine) {
    const SDateTimeFields at{2024, 3, 15, 14, 5, 9};
    EXPECT_EQ(PrintTitle("MSFT", 1, 4, at), "MSFT 5-Minute Chart\t\t14:05:09 on 2024/03/15");
    EXPECT_EQ(PrintTitle("MSFT", 1, 10, at), "MSFT 120-Minute Chart\t\t14:05:09 on 2024/03/15");
    EXPECT_EQ(PrintTitle("ES", 0, 99, at), "ES Tick\t\t14:05:09 on 2024/03/15");
    EXPECT_EQ(PrintTitle("ES", 2, 0, at), "ES Daily\t\t14:05:09 on 2024/03/15");
    EXPECT_THROW(PrintTitle("ES", 1, 11, at), CInvalidArgException);
    EXPECT_THROW(PrintTitle("ES", 5, 0, at), CInvalidArgException);
}

TEST(ChartPrint, FitsTheImageToThePage) {
    // A page relatively taller than the image: full width, centred vertically.
    EXPECT_EQ(FitToPage(800, 600, {0, 0, 1000, 2000}), (SPrintRect{0, 625, 1000, 750}));
    // A relatively wider page: full height, centred horizontally (1333.33 rounds to 1333).
    EXPECT_EQ(FitToPage(800, 600, {100, 50, 3000, 1000}), (SPrintRect{933, 50, 1333, 1000}));
    EXPECT_EQ(FitToPage(800, 600, {0, 0, 400, 300}), (SPrintRect{0, 0, 400, 300}));
    EXPECT_EQ(FitToPage(0, 600, {10, 20, 400, 300}), (SPrintRect{10, 20, 0, 0}));
    EXPECT_EQ(FitToPage(800, 600, {10, 20, 400, -1}), (SPrintRect{10, 20, 0, 0}));

    const std::vector<int> heights{396, 204};
    EXPECT_EQ(PrintPaneRects(heights, {10, 20, 1000, 1200}),
              (std::vector<SPrintRect>{{10, 20, 1000, 792}, {10, 812, 1000, 408}}));
    // Uneven scales leave no gaps and fill the fitted height exactly.
    const std::vector<int> three{101, 33, 67};
    const std::vector<SPrintRect> rects = PrintPaneRects(three, {0, 7, 500, 1000});
    ASSERT_EQ(rects.size(), 3U);
    EXPECT_EQ(rects[0].top, 7);
    EXPECT_EQ(rects[1].top, rects[0].top + rects[0].height);
    EXPECT_EQ(rects[2].top, rects[1].top + rects[1].height);
    EXPECT_EQ(rects[2].top + rects[2].height, 1007);
    EXPECT_EQ(PrintPaneRects(std::vector<int>{0, 0}, {0, 0, 10, 10})[1].height, 0);

    EXPECT_EQ(CentredLeft(100, 1000, 300), 450);
}

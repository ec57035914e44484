// The price pane's rules (chart type, candle width, the displayed range, the price bar and
// header colours) and the print arithmetic (the title line, fitting the image to the page).

#include "base/error.h"
#include "chart/chart_print.h"
#include "chart/chart_style.h"
#include "chart/price_pane_logic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

TEST(PricePaneLogic, ChartTypeAndCandleWidth) {
    EXPECT_EQ(std::tuple(PriceChartType(0, 1), PriceChartType(1, 1), PriceChartType(2, 0),
                         PriceChartType(4, 2)),
              std::tuple(EPriceChartType::Line, EPriceChartType::Candles, EPriceChartType::Bars,
                         EPriceChartType::Bars));
    EXPECT_NEAR(SpacePerPoint(840, 0, 0, 120), 7.029, 1e-3);
    EXPECT_EQ(CandleWidth(840, 0, 0, 120), (SCandleWidth{5, true}));
    EXPECT_EQ(CandleWidth(840, 0, 0, 3840), (SCandleWidth{0, false}));
    // Margins come off the plot width.
    EXPECT_NEAR(SpacePerPoint(840, 30, 50, 120), 760 / 119.5, 1e-12);
    // One point (or none) takes the whole plot width; no room at all counts as one pixel.
    EXPECT_DOUBLE_EQ(SpacePerPoint(840, 30, 50, 1), 840.0);
    EXPECT_DOUBLE_EQ(SpacePerPoint(40, 30, 50, 120), 1.0);
    EXPECT_DOUBLE_EQ(SpacePerPoint(std::nan(""), 0, 0, 120), 1.0);
    // The wide style starts at 3 pixels: 3.6 x 0.7 + 0.5 = 3.02, 3.5 x 0.7 + 0.5 = 2.95.
    EXPECT_EQ(CandleWidth(3.6), (SCandleWidth{3, true}));
    EXPECT_EQ(CandleWidth(3.5), (SCandleWidth{2, false}));
}

TEST(PricePaneLogic, PriceRangeOfTheDisplayedBars) {
    EXPECT_EQ(DisplayedPriceRange({}, {}, {}), (SPriceRange{0, 0, 0}));
    const std::vector<double> highs{10.5, 12.25, 11.0};
    const std::vector<double> lows{9.5, 10.0, 8.75};
    const std::vector<std::int64_t> volumes{300, 1200, 50};
    EXPECT_EQ(DisplayedPriceRange(highs, lows, volumes), (SPriceRange{12.25, 8.75, 1200}));
    // The shortest column sets the bars.
    EXPECT_EQ(DisplayedPriceRange(highs, lows, std::span(volumes).first(1)),
              (SPriceRange{10.5, 9.5, 300}));
    // The search starts at -1,000,000 / 1,000,000 / 0 and undefined values never win.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> odd{-2e6, nan};
    const std::vector<double> big{2e6, nan};
    const std::vector<std::int64_t> negative{-5, -7};
    EXPECT_EQ(DisplayedPriceRange(odd, big, negative), (SPriceRange{-1e6, 1e6, 0}));
}

TEST(PricePaneLogic, PriceBarText) {
    const std::vector<std::string> fields{"Hi: 12.25", "Low: 8.75", "Time: 09:30:00"};
    EXPECT_EQ(PriceBarText(fields, true, false, 999), "Hi: 12.25 Low: 8.75 Time: 09:30:00 ");
    EXPECT_EQ(PriceBarText(fields, true, true, 999),
              "Hi: 12.25 Low: 8.75 Time: 09:30:00 (Minimized) ");
    EXPECT_EQ(PriceBarText(fields, true, true, 0), "Hi: 12.25 Low: 8.75 Time: 09:30:00 ");
    EXPECT_EQ(PriceBarText(fields, false, true, 999), "");
    EXPECT_EQ(PriceBarText({}, true, true, 999), "");
}

// A header line reads on its background: a stored colour that does not is drawn darker on a
// light background and lighter on a dark one, as little as it takes; one that reads is kept.
TEST(PricePaneLogic, HeaderTextReadsOnAnyBackground) {
    EXPECT_NEAR(ContrastRatio(0xFFFFFF, 0x000000), 21.0, 1e-9);
    EXPECT_NEAR(ContrastRatio(0xC0C0C0, 0xFFFFFF), 1.82, 0.01);
    struct SCase {
        ColorRef text;
        ColorRef background;
        bool kept;
        bool darker; // the way it moves when not kept
    };
    const SCase cases[] = {
        {0xC0C0C0, 0xFFFFFF, false, true},  // the default price bar on the default background
        {0x000000, 0xFFFFFF, true, false},  // the default study labels
        {0x800000, 0xFFFFFF, true, false},  // navy reads on white
        {0x0000FF, 0xFFFFFF, false, true},  // red is a little too light (4:1)
        {0x00FF00, 0xFFFFFF, false, true},  // green does not
        {0xFFFFFF, 0xFFFFFF, false, true},  // invisible
        {0x000000, 0x000000, false, false}, // black labels on a black background
        {0x000000, 0x402010, false, false}, // on a dark blue one
        {0xC0C0C0, 0x000000, true, false},  // silver reads on black
        {0x808080, 0x808080, false, true},  // mid grey on mid grey goes to black
        {0x00FFFF, 0x00C0FF, false, true},  // yellow on orange
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.text << " on " << c.background);
        const ColorRef drawn = ReadableTextColor(c.text, c.background);
        EXPECT_GE(ContrastRatio(drawn, c.background), kMinTextContrast);
        EXPECT_EQ(drawn == c.text, c.kept);
        if (!c.kept) {
            const int before = RedOf(c.text) + GreenOf(c.text) + BlueOf(c.text);
            const int after = RedOf(drawn) + GreenOf(drawn) + BlueOf(drawn);
            EXPECT_EQ(after < before, c.darker);
            // No further than it takes, not all the way to black or white.
            EXPECT_LT(ContrastRatio(drawn, c.background), kMinTextContrast + 0.6);
        }
    }
    // The line between panes shows on light, dark and mid backgrounds alike.
    for (const ColorRef background : {0xFFFFFFu, 0x000000u, 0x808080u, 0x402010u}) {
        EXPECT_GT(ContrastRatio(SplitterColor(background), background), 1.4) << background;
    }
}

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
    EXPECT_EQ(std::tuple(rects[0].top, rects[1].top, rects[2].top, rects[2].top + rects[2].height),
              std::tuple(7, rects[0].top + rects[0].height, rects[1].top + rects[1].height, 1007));
    EXPECT_EQ(PrintPaneRects(std::vector<int>{0, 0}, {0, 0, 10, 10})[1].height, 0);
    EXPECT_EQ(CentredLeft(100, 1000, 300), 450);
}

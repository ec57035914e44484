#include "chart/display_page_logic.h"

#include "settings_file.h"

namespace {

using skychart::test::SettingsFileTest;

using DisplayPageLogicTest = SettingsFileTest;
constexpr int kNone = SDisplayPageValues::kNone;

TEST_F(DisplayPageLogicTest, LoadShowsStoredValuesAndLeavesBadListValuesUnselected) {
    Start();
    // An empty file shows the defaults of every key.
    EXPECT_EQ(CDisplayPageLogic::Load(settings), SDisplayPageValues{});

    Start({{"PTS INDEX", "7"},
           {"Show Grid", "0"},
           {"Grid Style", "4"},
           {"Candle Price Chart Style", "0"},
           {"Y Axis Orientation", "true"},
           {"Show Price Bar", "0"},
           {"Fixed Y Axis Scaling", "true"},
           {"Scrolling by Items", "false"},
           {"Scrolling By Items Not Percent", "25"},
           {"Scrolling by Percent", "40"}});
    const SDisplayPageValues stored{7, false, 4, 0, 1, false, true, false, 25, 40};
    EXPECT_EQ(CDisplayPageLogic::Load(settings), stored);

    Start({{"PTS INDEX", "11"},
           {"Grid Style", "-1"},
           {"Candle Price Chart Style", "7"},
           {"Scrolling By Items Not Percent", "0"},
           {"Scrolling by Percent", "250"}});
    const SDisplayPageValues bad = CDisplayPageLogic::Load(settings);
    EXPECT_EQ(bad.pointsIndex, kNone);
    EXPECT_EQ(bad.gridStyle, kNone);
    EXPECT_EQ(bad.chartStyle, 0); // any style but 1 is drawn as bars
    EXPECT_EQ(bad.scrollItems, 1);
    EXPECT_EQ(bad.scrollPercent, 100);
}

TEST_F(DisplayPageLogicTest, ConfirmationRefusesMissingPointsFirstThenMissingGridStyle) {
    Start({{"Grid Style", "3"}});
    SDisplayPageValues values;
    values.showPriceBar = false;

    // Both lists without a selection: only the display points message.
    values.pointsIndex = kNone;
    values.gridStyle = kNone;
    EXPECT_FALSE(CDisplayPageLogic::Confirm(settings, prompt, values));
    ASSERT_EQ(prompt.boxes.size(), 1u);
    EXPECT_EQ(prompt.Texts()[0], "Error|You must select a valid No. of Display Pts.");

    values.pointsIndex = 10;
    EXPECT_FALSE(CDisplayPageLogic::Confirm(settings, prompt, values));
    ASSERT_EQ(prompt.boxes.size(), 2u);
    EXPECT_EQ(prompt.Texts()[1], "Error|You must select a valid No. of Grid Style.");
    // A refusal stores nothing.
    EXPECT_EQ(Stored("Show Price Bar"), "<missing>");
    EXPECT_EQ(Stored("PTS INDEX"), "<missing>");

    // With the grid off the missing style is accepted and the stored style kept.
    values.showGrid = false;
    EXPECT_TRUE(CDisplayPageLogic::Confirm(settings, prompt, values));
    EXPECT_EQ(prompt.boxes.size(), 2u);
    EXPECT_EQ(Stored("PTS INDEX"), "10");
    EXPECT_EQ(Stored("Show Grid"), "0");
    EXPECT_EQ(Stored("Grid Style"), "3");
    EXPECT_EQ(Stored("Show Price Bar"), "0");
}

TEST_F(DisplayPageLogicTest, StoreWritesEveryKeyInItsEncoding) {
    Start();
    const SDisplayPageValues values{0, true, 2, 0, 1, true, true, false, 5000, 0};
    EXPECT_TRUE(CDisplayPageLogic::Confirm(settings, prompt, values));
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(Stored("PTS INDEX"), "0");
    EXPECT_EQ(Stored("Show Grid"), "1");
    EXPECT_EQ(Stored("Grid Style"), "2");
    EXPECT_EQ(Stored("Candle Price Chart Style"), "0");
    EXPECT_EQ(Stored("Y Axis Orientation"), "true");
    EXPECT_EQ(Stored("Show Price Bar"), "1");
    EXPECT_EQ(Stored("Fixed Y Axis Scaling"), "true");
    EXPECT_EQ(Stored("Scrolling by Items"), "false");
    EXPECT_EQ(Stored("Scrolling By Items Not Percent"), "1000");
    EXPECT_EQ(Stored("Scrolling by Percent"), "1");

    // "Show Grid" is stored the moment it changes, and enables the style list with it.
    EXPECT_FALSE(CDisplayPageLogic::SetShowGrid(settings, false));
    EXPECT_EQ(Stored("Show Grid"), "0");
    EXPECT_TRUE(CDisplayPageLogic::SetShowGrid(settings, true));
    EXPECT_EQ(Stored("Show Grid"), "1");
}

} // namespace

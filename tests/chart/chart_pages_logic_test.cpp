// The rules of the display and colour pages over a real Skychart.conf.

#include "chart/color_page_logic.h"
#include "chart/display_page_logic.h"

#include "settings_file.h"

namespace {

using PageLogic = skychart::test::SettingsFileTest;
constexpr int kNone = SDisplayPageValues::kNone;

TEST_F(PageLogic, DisplayLoadShowsStoredValuesAndLeavesBadListValuesUnselected) {
    Start();
    EXPECT_EQ(CDisplayPageLogic::Load(settings), SDisplayPageValues{}); // the keys' defaults

    Start({"PTS INDEX=7", "Show Grid=0", "Grid Style=4", "Candle Price Chart Style=0",
           "Y Axis Orientation=true", "Show Price Bar=0", "Fixed Y Axis Scaling=true",
           "Scrolling by Items=false", "Scrolling By Items Not Percent=25",
           "Scrolling by Percent=40"});
    const SDisplayPageValues stored{7, false, 4, 0, 1, false, true, false, 25, 40};
    EXPECT_EQ(CDisplayPageLogic::Load(settings), stored);

    Start({"PTS INDEX=11", "Grid Style=-1", "Candle Price Chart Style=7",
           "Scrolling By Items Not Percent=0", "Scrolling by Percent=250"});
    const SDisplayPageValues bad = CDisplayPageLogic::Load(settings);
    EXPECT_EQ(bad.pointsIndex, kNone);
    EXPECT_EQ(bad.gridStyle, kNone);
    EXPECT_EQ(bad.chartStyle, 0); // any style but 1 is drawn as bars
    EXPECT_EQ(bad.scrollItems, 1);
    EXPECT_EQ(bad.scrollPercent, 100);
}

TEST_F(PageLogic, DisplayCheckRefusesMissingPointsThenGridStyleAndStoreWritesWhatChanged) {
    Start({"Grid Style=3", "Y Axis Orientation=1", "Candle Price Chart Style=7"});
    const SDisplayPageValues shown = CDisplayPageLogic::Load(settings);
    SDisplayPageValues values{kNone, true, kNone, 0, 1, false, true, false, 5000, 0};
    EXPECT_FALSE(CDisplayPageLogic::Check(prompt, values));
    values.pointsIndex = 10;
    EXPECT_FALSE(CDisplayPageLogic::Check(prompt, values));
    EXPECT_EQ(prompt.Texts(),
              (std::vector<std::string>{"Error|You must select a valid No. of Display Pts.",
                                        "Error|You must select a valid No. of Grid Style."}));
    // With the grid off the missing style is accepted.
    values.showGrid = false;
    EXPECT_TRUE(CDisplayPageLogic::Check(prompt, values));

    // Untouched values keep their stored texts, even those the page shows another way.
    CDisplayPageLogic::Store(settings, shown, shown);
    ExpectStored({"Y Axis Orientation=1", "Candle Price Chart Style=7", "PTS INDEX=<missing>"});
    // What changed is stored in its encoding, the scrolling counts held to their ranges; a list
    // without a selection keeps its key.
    CDisplayPageLogic::Store(settings, values, shown);
    ExpectStored({"PTS INDEX=10", "Show Grid=0", "Grid Style=3", "Candle Price Chart Style=7",
                  "Y Axis Orientation=1", "Show Price Bar=0", "Fixed Y Axis Scaling=true",
                  "Scrolling by Items=false", "Scrolling By Items Not Percent=1000",
                  "Scrolling by Percent=1"});

    // "Show Grid" is stored the moment it changes, and enables the style list with it.
    EXPECT_TRUE(CDisplayPageLogic::SetShowGrid(settings, true));
    EXPECT_EQ(Stored("Show Grid"), "1");
}

TEST_F(PageLogic, ColoursLoadWithDefaultsForBadTextsAndStoreTheChangedOnes) {
    Start({"Grid Color=255", "Background Color=junk", "Price Bar Color=16777216",
           "Price Down Candle Color=+1", "Study Data Color 3=65535", "Study Data Color 5=4660",
           "Study Label Color 9=-5"});
    CColorPageLogic logic(settings);
    EXPECT_EQ(logic.Color(EColorSlot::Grid), 0x0000FFu);
    EXPECT_EQ(logic.Color(EColorSlot::Background), 0xFFFFFFu);
    EXPECT_EQ(logic.Color(EColorSlot::PriceBar), 0xC0C0C0u);
    EXPECT_EQ(logic.Color(EColorSlot::PriceDownCandle), 255u);
    EXPECT_EQ(logic.Color(EColorSlot::PriceUpCandle), 65280u);
    EXPECT_EQ(logic.StudyDataColorOf(3), 65535u);
    EXPECT_EQ(logic.StudyLabelColorOf(9), 0u);
    EXPECT_EQ(ParseColorRef("16777215"), 0xFFFFFFu);
    EXPECT_EQ(ParseColorRef(" 1"), std::nullopt);

    // The study colours are kept per type while another is shown.
    EXPECT_EQ(logic.StudyType(), 0);
    logic.SetStudyDataColor(0x0000FF);
    ASSERT_TRUE(logic.SelectStudyType(5));
    EXPECT_EQ(logic.StudyDataColor(), 4660u);
    logic.SetStudyLabelColor(0x123456);
    EXPECT_FALSE(logic.SelectStudyType(10));
    EXPECT_FALSE(logic.SelectStudyType(-1));
    EXPECT_EQ(logic.StudyType(), 5);
    ASSERT_TRUE(logic.SelectStudyType(0));
    EXPECT_EQ(logic.StudyDataColor(), 0x0000FFu);
    EXPECT_EQ(logic.StudyLabelColor(), 0u);
    logic.SetColor(EColorSlot::Background, 0xFF000080);
    EXPECT_EQ(logic.Color(EColorSlot::Background), 0x80u);
    EXPECT_EQ(Stored("Study Data Color 0"), "<missing>"); // nothing before the page is applied

    // The changed colours are stored; the untouched keep their texts, even unreadable ones.
    logic.Store(settings);
    ExpectStored({"Study Data Color 0=255", "Study Label Color 5=1193046",
                  "Study Data Color 5=4660", "Background Color=128",
                  "Price Up Candle Color=<missing>", "Study Label Color 9=-5",
                  "Price Bar Color=16777216"});
    // Changed back after a store, a colour is stored again.
    logic.SetColor(EColorSlot::Background, 0xFFFFFF);
    logic.Store(settings);
    EXPECT_EQ(Stored("Background Color"), "16777215");
}

} // namespace

#include "chart/color_page_logic.h"

#include "settings_file.h"

namespace {

using skychart::test::SettingsFileTest;

using ColorPageLogicTest = SettingsFileTest;

TEST_F(ColorPageLogicTest, LoadTakesStoredColoursAndDefaultsForTextsThatAreNone) {
    Start({{"Grid Color", "255"},
           {"Background Color", "junk"},
           {"Price Bar Color", "16777216"},
           {"Price Down Candle Color", "+1"},
           {"Study Data Color 3", "65535"},
           {"Study Label Color 9", "-5"}});
    const CColorPageLogic logic(settings);
    EXPECT_EQ(logic.Color(EColorSlot::Grid), 0x0000FFu);
    EXPECT_EQ(logic.Color(EColorSlot::Background), 0xFFFFFFu);
    EXPECT_EQ(logic.Color(EColorSlot::PriceBar), 0xC0C0C0u);
    EXPECT_EQ(logic.Color(EColorSlot::PriceDownCandle), 255u);
    EXPECT_EQ(logic.Color(EColorSlot::PriceUpCandle), 65280u);
    EXPECT_EQ(logic.StudyType(), 0);
    EXPECT_EQ(logic.StudyDataColorOf(3), 65535u);
    EXPECT_EQ(logic.StudyLabelColorOf(9), 0u);

    EXPECT_EQ(ParseColorRef("16777215"), 0xFFFFFFu);
    EXPECT_EQ(ParseColorRef(" 1"), std::nullopt);
}

TEST_F(ColorPageLogicTest, StudyColoursAreKeptPerTypeUntilStored) {
    Start({{"Study Data Color 5", "4660"}});
    CColorPageLogic logic(settings);
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
    // Nothing reaches the file before the page is applied.
    EXPECT_EQ(Stored("Study Data Color 0"), "<missing>");

    logic.Store(settings);
    EXPECT_EQ(Stored("Study Data Color 0"), "255");
    EXPECT_EQ(Stored("Study Label Color 5"), std::to_string(0x123456));
    EXPECT_EQ(Stored("Study Data Color 5"), "4660");
    EXPECT_EQ(Stored("Background Color"), "128");
    EXPECT_EQ(Stored("Price Up Candle Color"), "65280");
    // Every colour is stored, the untouched ones included.
    EXPECT_EQ(Stored("Study Label Color 9"), "0");
    EXPECT_EQ(Stored("Price Bar Color"), "12632256");
}

} // namespace

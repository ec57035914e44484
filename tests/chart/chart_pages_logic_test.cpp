// The rules of the display and colour pages over a real Skychart.conf; the Light and Dark colour
// sets, the dark set's legibility, and the defaults that follow the desktop.

#include "chart/chart_style.h"
#include "chart/color_page_logic.h"
#include "chart/color_preset.h"
#include "chart/display_page_logic.h"
#include "core/setting_keys.h"

#include "settings_file.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

using PageLogic = skychart::test::SettingsFileTest;
constexpr int kNone = SDisplayPageValues::kNone;
using ColorPresets = skychart::test::SettingsFileTest;

ColorRef Dark(const std::string& key) {
    return PresetColor(EColorPreset::Dark, key);
}

std::string Study(const char* pattern, int type) {
    return keys::Numbered(pattern, type);
}

TEST(ColorPreset, LightIsTheDefaultsAndBothSetsNameEveryColourKey) {
    const std::vector<SPresetColor>& light = PresetColors(EColorPreset::Light);
    const std::vector<SPresetColor>& dark = PresetColors(EColorPreset::Dark);
    int colorKeys = 0;
    for (const SSettingKey& entry : AllSettingKeys()) {
        colorKeys += IsColorKey(entry.key) ? 1 : 0;
    }
    // 7 chart colours, 20 study colours, 3 averages, the bands, 19 study lines and levels, 7
    // trendline kinds.
    EXPECT_EQ(colorKeys, 57);
    ASSERT_EQ(light.size(), static_cast<std::size_t>(colorKeys));
    ASSERT_EQ(dark.size(), light.size());
    for (std::size_t i = 0; i < light.size(); ++i) {
        EXPECT_EQ(dark[i].key, light[i].key);
    }
    EXPECT_EQ(PresetColor(EColorPreset::Light, keys::kBackgroundColor), 0xFFFFFFu);
    EXPECT_EQ(PresetColor(EColorPreset::Light, "Moving Average 2 Color"), 0xFF0000u);
    EXPECT_EQ(PresetColor(EColorPreset::Light, "Sloping Trendline Color"), 0xFF0000u);
    EXPECT_EQ(PresetColor(EColorPreset::Light, keys::kShowGrid), 0u);
    EXPECT_FALSE(IsColorKey(keys::kShowGrid));
    EXPECT_TRUE(IsDarkPalette(MakeColorRef(49, 54, 59), MakeColorRef(239, 240, 241)));
    EXPECT_FALSE(IsDarkPalette(MakeColorRef(239, 239, 239), 0));
    EXPECT_FALSE(IsDarkPalette(0x808080, 0x808080));
}

// Every group of colours drawn together on the dark background: each line reads on the
// background and differs from the others of its group; text reads at 4.5:1.
TEST(ColorPreset, DarkSetKeepsEveryPairDrawnTogetherApartAndLegible) {
    const ColorRef background = Dark(keys::kBackgroundColor);
    const ColorRef grid = Dark(keys::kGridColor);
    EXPECT_GE(ContrastRatio(grid, background), 1.5);
    EXPECT_LT(ContrastRatio(grid, background), 3.0); // a grid stays behind the data
    EXPECT_GE(ColorDistance(grid, background), 90.0);
    std::vector<std::string> text{keys::kPriceLabelColor, keys::kPriceBarColor,
                                  keys::kVolumeLabelColor};
    for (int type = 0; type < 10; ++type) {
        text.push_back(Study(keys::kStudyLabelColor, type));
    }
    for (const std::string& key : text) {
        EXPECT_GE(ContrastRatio(Dark(key), background), kMinTextContrast) << key;
    }
    const std::vector<std::vector<std::string>> panes{
        {keys::kPriceDataColor, keys::kPriceUpCandleColor, keys::kPriceDownCandleColor,
         "Moving Average 1 Color", "Moving Average 2 Color", "Moving Average 3 Color",
         keys::kBBColor},
        {Study(keys::kStudyDataColor, 0), keys::kRSIUpLevelColor, keys::kRSILowLevelColor},
        {Study(keys::kStudyDataColor, 1), keys::kMomentumZeroColor},
        {Study(keys::kStudyDataColor, 2), keys::kROC100Color},
        {Study(keys::kStudyDataColor, 3), keys::kOBVZeroColor},
        {Study(keys::kStudyDataColor, 4), keys::kMACDSignalLineColor, keys::kMACDHistogramColor},
        {keys::kSTOKLineColor, keys::kSTODLineColor, keys::kSTOUpLevelColor,
         keys::kSTOLowLevelColor},
        {Study(keys::kStudyDataColor, 6), keys::kVolumeAverageColor},
        {keys::kPositiveFlowLineColor, keys::kNegativeFlowLineColor},
        {Study(keys::kStudyDataColor, 8), keys::kMFIUpLevelColor, keys::kMFILowLevelColor},
        {Study(keys::kStudyDataColor, 9), keys::kPositiveDIColor, keys::kNegativeDIColor},
    };
    for (const std::vector<std::string>& pane : panes) {
        for (std::size_t i = 0; i < pane.size(); ++i) {
            const ColorRef line = Dark(pane[i]);
            EXPECT_GE(ContrastRatio(line, background), 3.0) << pane[i];
            EXPECT_GE(ColorDistance(line, grid), 100.0) << pane[i];
            for (std::size_t j = i + 1; j < pane.size(); ++j) {
                EXPECT_GE(ColorDistance(line, Dark(pane[j])), 100.0) << pane[i] << " / " << pane[j];
            }
        }
    }
    for (const SPresetColor& entry : PresetColors(EColorPreset::Dark)) {
        if (entry.key.find("Trendline") != std::string::npos) {
            EXPECT_GE(ContrastRatio(entry.color, background), 3.0) << entry.key;
        }
    }
    EXPECT_NEAR(ColorDistance(0, 0xFFFFFF), 765.0, 0.5);
    EXPECT_EQ(ColorDistance(0x123456, 0x123456), 0.0);
}

TEST_F(ColorPresets, ADarkDesktopGivesTheDarkSetUnstoredUntilTheUserStoresAColour) {
    const std::string emptyFile = (Start(), FileText());
    EXPECT_EQ(FollowDesktopColors(settings, false), EColorPreset::Light);
    EXPECT_EQ(settings.GetUnsigned(keys::kBackgroundColor), 0xFFFFFFu);
    EXPECT_EQ(FollowDesktopColors(settings, true), EColorPreset::Dark);
    for (const SPresetColor& entry : PresetColors(EColorPreset::Dark)) {
        EXPECT_EQ(settings.GetUnsigned(entry.key), entry.color) << entry.key;
        EXPECT_FALSE(settings.IsStored(entry.key));
    }
    EXPECT_EQ(FileText(), emptyFile);
    // A desktop turned light takes the table's colours back; dark again, the dark set.
    EXPECT_EQ(FollowDesktopColors(settings, false), EColorPreset::Light);
    EXPECT_EQ(settings.GetUnsigned(keys::kBackgroundColor), 0xFFFFFFu);
    EXPECT_EQ(FollowDesktopColors(settings, true), EColorPreset::Dark);
    // Other settings are stored alone.
    settings.SetInt(keys::kShowGrid, 0);
    EXPECT_EQ(Stored(keys::kBackgroundColor), "<missing>");
    // The first colour stored, here as the settings sheet stores its pages, keeps the whole set.
    CColorPageLogic page(settings);
    EXPECT_EQ(page.Color(EColorSlot::Background), Dark(keys::kBackgroundColor));
    page.SetColor(EColorSlot::PriceUpCandle, 0x00FF00);
    settings.HoldWrites();
    page.Store(settings);
    EXPECT_EQ(Stored(keys::kBackgroundColor), "<missing>");
    EXPECT_TRUE(settings.SaveHeld());
    ExpectStored({"Price Up Candle Color=65280", "Show Grid=0",
                  "Background Color=" + std::to_string(Dark(keys::kBackgroundColor)),
                  "STO %K Line Color=" + std::to_string(Dark(keys::kSTOKLineColor)),
                  "Speed Resistance Trendline Color=" +
                      std::to_string(Dark("Speed Resistance Trendline Color"))});
    // From now on the stored colours win, on any desktop; so does a colour stored with the value
    // of its default.
    for (const std::vector<std::string>& file :
         {Values{"Price Up Candle Color=65280"}, Values{"Background Color=16777215"}}) {
        std::remove(CConfigWriter().File().toStdString().c_str());
        Start(file);
        EXPECT_TRUE(ColorsChosen(settings));
        EXPECT_EQ(FollowDesktopColors(settings, true), EColorPreset::Light);
        EXPECT_EQ(settings.GetUnsigned(keys::kBackgroundColor), 0xFFFFFFu);
        EXPECT_EQ(settings.GetUnsigned(keys::kGridColor), 0xC0C0C0u);
    }
}

TEST_F(ColorPresets, APresetSetsEveryColourAndStoresOnlyWhatDiffers) {
    Start({"Grid Color=255", "Sloping Trendline Color=255"});
    CColorPageLogic page(settings);
    page.SelectStudyType(7);
    page.ApplyPreset(EColorPreset::Dark);
    EXPECT_EQ(page.Color(EColorSlot::Grid), Dark(keys::kGridColor));
    EXPECT_EQ(page.StudyLabelColor(), Dark(Study(keys::kStudyLabelColor, 7)));
    EXPECT_EQ(page.StudyDataColorOf(2), Dark(Study(keys::kStudyDataColor, 2)));
    EXPECT_EQ(Stored(keys::kGridColor), "255"); // nothing before the page is stored
    page.Store(settings);
    for (const SPresetColor& entry : PresetColors(EColorPreset::Dark)) {
        EXPECT_EQ(Stored(entry.key), std::to_string(entry.color)) << entry.key;
    }
    // Back to Light: the keys that held the light colours before keep their texts.
    std::remove(CConfigWriter().File().toStdString().c_str());
    Start({"Grid Color=255", "Sloping Trendline Color=255", "Background Color=16777215"});
    const std::string before = FileText();
    CColorPageLogic light(settings);
    light.ApplyPreset(EColorPreset::Light);
    EXPECT_EQ(FileText(), before);
    light.Store(settings);
    ExpectStored({"Grid Color=12632256", "Sloping Trendline Color=16711680",
                  "Background Color=16777215", "PriceData Color=<missing>",
                  "Moving Average 1 Color=<missing>"});
}

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
    EXPECT_EQ(std::tuple(bad.pointsIndex, bad.gridStyle), std::tuple(kNone, kNone));
    EXPECT_EQ(bad.chartStyle, 0); // any style but 1 is drawn as bars
    EXPECT_EQ(std::tuple(bad.scrollItems, bad.scrollPercent), std::tuple(1, 100));
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
    EXPECT_EQ(
        std::tuple(logic.Color(EColorSlot::Grid), logic.Color(EColorSlot::Background),
                   logic.Color(EColorSlot::PriceBar), logic.Color(EColorSlot::PriceDownCandle),
                   logic.Color(EColorSlot::PriceUpCandle), logic.StudyDataColorOf(3),
                   logic.StudyLabelColorOf(9), ParseColorRef("16777215"), ParseColorRef(" 1")),
        std::tuple(0x0000FFu, 0xFFFFFFu, 0xC0C0C0u, 255u, 65280u, 65535u, 0u, 0xFFFFFFu,
                   std::nullopt));
    // The study colours are kept per type while another is shown.
    EXPECT_EQ(logic.StudyType(), 0);
    logic.SetStudyDataColor(0x0000FF);
    ASSERT_TRUE(logic.SelectStudyType(5));
    EXPECT_EQ(logic.StudyDataColor(), 4660u);
    logic.SetStudyLabelColor(0x123456);
    EXPECT_FALSE(logic.SelectStudyType(10) || logic.SelectStudyType(-1));
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

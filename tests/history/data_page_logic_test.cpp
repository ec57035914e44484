#include "history/data_page_logic.h"

#include "history/request_settings.h"

#include "recording_prompt.h"
#include "settings_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using skychart::test::RecordingPrompt;
using skychart::test::SettingsTable;

constexpr SPageDate kToday{2026, 3, 14};

// The request settings as the chart view loads them from a settings table with the given values.
class DataPageLogicTest : public ::testing::Test {
protected:
    CDataPageLogic& Open(const std::vector<std::pair<std::string, std::string>>& values = {}) {
        for (const auto& [key, value] : values) {
            EXPECT_TRUE(table.SetText(key, value)) << key;
        }
        settings.Load(table, "20260314");
        logic.emplace(prompt, settings, kToday);
        return *logic;
    }
    // What the settings table holds under `key` after the page's settings were saved.
    std::string Saved(const std::string& key) {
        EXPECT_TRUE(settings.Save(table));
        return table.GetText(key);
    }
    void ExpectOneBox(const std::string& text) {
        ASSERT_EQ(prompt.boxes.size(), 1u);
        EXPECT_EQ(prompt.boxes[0].kind, "Information");
        EXPECT_EQ(prompt.boxes[0].caption, "Invalid Setting");
        EXPECT_EQ(prompt.boxes[0].text, text);
        prompt.boxes.clear();
    }

    SettingsTable table;
    RecordingPrompt prompt;
    SRequestSettings settings;
    std::optional<CDataPageLogic> logic;
};

TEST(DataPageRules, ChoicesAndFieldsFollowTheDataTypeAndRequestType) {
    using C = ERequestChoice;
    EXPECT_EQ(CDataPageLogic::EnabledChoices(0), (SChoiceEnabling{true, true, true}));
    EXPECT_EQ(CDataPageLogic::EnabledChoices(1), (SChoiceEnabling{true, true, true}));
    EXPECT_EQ(CDataPageLogic::EnabledChoices(2), (SChoiceEnabling{true, false, true}));
    EXPECT_EQ(CDataPageLogic::EnabledChoices(3), (SChoiceEnabling{true, false, false}));
    EXPECT_EQ(CDataPageLogic::EnabledChoices(4), (SChoiceEnabling{true, false, false}));
    EXPECT_EQ(CDataPageLogic::EnabledChoices(5), SChoiceEnabling{});

    // Each request type enables only the fields it needs; extended trades belong to ticks.
    EXPECT_EQ(CDataPageLogic::EnabledFields(0, C::Datapoints, false),
              (SFieldEnabling{true, false, false, false, false, true}));
    EXPECT_EQ(CDataPageLogic::EnabledFields(1, C::Days, true),
              (SFieldEnabling{false, true, false, false, true, false}));
    EXPECT_EQ(CDataPageLogic::EnabledFields(1, C::DateRange, false),
              (SFieldEnabling{false, false, true, true, false, false}));
    // Day bars of a date range are asked for by date only.
    EXPECT_EQ(CDataPageLogic::EnabledFields(2, C::DateRange, false),
              (SFieldEnabling{false, false, true, false, false, false}));
    // A choice the data type does not offer enables nothing.
    EXPECT_EQ(CDataPageLogic::EnabledFields(3, C::Days, true), SFieldEnabling{});
}

TEST(DataPageRules, EveryKindBelongsToExactlyOneDataTypeAndChoice) {
    for (int kind = 0; kind <= 9; ++kind) {
        int owners = 0;
        for (int dataType = 0; dataType < CDataPageLogic::kDataTypeCount; ++dataType) {
            if (const auto choice = CDataPageLogic::ChoiceForKind(dataType, kind)) {
                ++owners;
                EXPECT_EQ(CDataPageLogic::KindForChoice(dataType, *choice), kind);
            }
        }
        EXPECT_EQ(owners, 1) << "kind " << kind;
    }
    EXPECT_EQ(CDataPageLogic::KindForChoice(2, ERequestChoice::Days), -1);
    EXPECT_FALSE(CDataPageLogic::ChoiceForKind(0, -1));
}

TEST_F(DataPageLogicTest, StoredKindSelectsItsChoiceAndAForeignKindFallsBackToDatapoints) {
    auto& page = Open({{"RequestRecentType", "2,3,6,8,9"}});
    EXPECT_EQ(page.Show(0)->choice, ERequestChoice::DateRange);
    EXPECT_EQ(page.Show(1)->choice, ERequestChoice::Datapoints);
    EXPECT_TRUE(prompt.boxes.empty());

    auto& foreign = Open({{"RequestRecentType", "7,3,7,8,9"}});
    EXPECT_EQ(foreign.Show(0)->choice, ERequestChoice::Datapoints);
    ExpectOneBox("Unknown request type Selected.\r\nDefaulting to datapoints request.");
    EXPECT_EQ(foreign.Show(2)->choice, ERequestChoice::DateRange);
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(Saved("RequestRecentType"), "0,3,7,8,9");

    // Weeks and Months know only datapoints and are put right without a message.
    auto& others = Open({{"RequestRecentType", "0,1,2,2,5"}});
    EXPECT_EQ(others.Show(1)->choice, ERequestChoice::Datapoints);
    ExpectOneBox(CDataPageLogic::kUnknownRequestTypeText);
    EXPECT_EQ(others.Show(2)->choice, ERequestChoice::Datapoints);
    ExpectOneBox(CDataPageLogic::kUnknownRequestTypeText);
    EXPECT_EQ(others.Show(3)->choice, ERequestChoice::Datapoints);
    EXPECT_EQ(others.Show(4)->choice, ERequestChoice::Datapoints);
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(Saved("RequestRecentType"), "0,3,6,8,9");
}

TEST_F(DataPageLogicTest, ShowFillsTheFieldsOfOneDataTypeAndShortListsGetTheirDefaults) {
    // Hand-edited lists shorter than five must not make the page throw.
    auto& page = Open({{"RequestRecentType", "1,4"},
                       {"RequestDatapoints", "100,200"},
                       {"RequestDays", "5,6"},
                       {"RequestFilterOn", "false,true"},
                       {"RequestEnableExtendedTrades", "1,1,1,1,1"},
                       {"RequestBeginDate", "20240102,20240131"},
                       {"RequestEndDate", "20240229,20230229"},
                       {"RequestBeginTime", "100000,235959"},
                       {"RequestEndFilterTime", "153000,240000"}});
    const auto ticks = page.Show(0);
    ASSERT_TRUE(ticks);
    EXPECT_EQ(ticks->choice, ERequestChoice::Days);
    EXPECT_EQ(ticks->datapoints, "100");
    EXPECT_TRUE(ticks->extendedTrades);
    EXPECT_EQ(ticks->endDate, (SPageDate{2024, 2, 29}));
    EXPECT_EQ(ticks->beginTime, (SPageTime{10, 0, 0}));

    const auto intervals = page.Show(1);
    ASSERT_TRUE(intervals);
    EXPECT_EQ(intervals->days, 6);
    EXPECT_TRUE(intervals->filterOn);
    // Extended trades are a tick setting: every other data type shows the box unchecked.
    EXPECT_FALSE(intervals->extendedTrades);
    EXPECT_EQ(intervals->beginTime, (SPageTime{23, 59, 59}));
    // 29 February 2023 and 24:00:00 cannot be shown: today and the close stand in.
    EXPECT_EQ(intervals->endDate, kToday);
    EXPECT_EQ(intervals->endFilterTime, (SPageTime{16, 0, 0}));
    // Padded elements: the default datapoints and days, today's date and the session times.
    const auto days = page.Show(2);
    ASSERT_TRUE(days);
    EXPECT_EQ(days->datapoints, "10000");
    EXPECT_EQ(days->days, 1);
    EXPECT_FALSE(days->filterOn);
    EXPECT_EQ(days->beginTime, (SPageTime{9, 30, 0}));
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(Saved("RequestRecentType"), "1,4,6,8,9");
    EXPECT_EQ(Saved("RequestDays"), "5,6,1,0,0");
}

TEST_F(DataPageLogicTest, DatapointsOutsideTheRangeBecome10000AndTheRestIsStoredAsUsual) {
    auto& page = Open();
    int days = 1;
    for (const std::string bad : {"0", "-1", "5000001", "", "12abc", "99999999999999999999"}) {
        SDataPageFields fields = *page.Show(1);
        fields.datapoints = bad;
        fields.days = ++days;
        fields.choice = ERequestChoice::Days;
        EXPECT_TRUE(page.Store(1, fields)) << bad;
        EXPECT_EQ(fields.datapoints, "10000") << bad;
        ExpectOneBox("Datapoints outside of range (1 - 5,000,000).  Defaulting to 10000.");
        EXPECT_EQ(settings.Datapoints(1), 10000);
        EXPECT_EQ(settings.Days(1), days) << "the other fields are stored too";
    }
    for (const auto& [good, value] :
         std::vector<std::pair<std::string, int>>{{"1", 1}, {"5000000", 5000000}, {" 250 ", 250}}) {
        SDataPageFields fields = *page.Show(0);
        fields.datapoints = good;
        EXPECT_TRUE(page.Store(0, fields)) << good;
        EXPECT_EQ(fields.datapoints, good);
        EXPECT_EQ(settings.Datapoints(0), value);
    }
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(Saved("RequestDatapoints"), "250,10000,10000,10000,10000");
    EXPECT_EQ(Saved("RequestRecentType"), "0,4,6,8,9");
}

TEST_F(DataPageLogicTest, StoreWritesOnlyTheShownDataTypesElementsAndNoneOutsideTheFive) {
    auto& page = Open({{"RequestEnableExtendedTrades", "1,0,0,0,0"}});
    SDataPageFields fields = *page.Show(1);
    fields.datapoints = "777";
    fields.days = 12;
    fields.filterOn = true;
    fields.extendedTrades = true; // not an interval setting
    fields.choice = ERequestChoice::DateRange;
    fields.beginDate = {2025, 1, 6};
    fields.endDate = {2025, 12, 31};
    fields.beginTime = {0, 0, 5};
    fields.endFilterTime = {15, 15, 30};
    EXPECT_TRUE(page.Store(1, fields));
    // A data type outside the five shows and stores nothing.
    for (const int dataType : {5, -1, 100}) {
        EXPECT_FALSE(page.Show(dataType));
        ExpectOneBox("Invalid Data Type Selection!");
        fields.datapoints = "0";
        EXPECT_FALSE(page.Store(dataType, fields));
        ExpectOneBox(CDataPageLogic::kInvalidDataTypeText);
    }

    EXPECT_EQ(Saved("RequestRecentType"), "0,5,6,8,9");
    EXPECT_EQ(Saved("RequestDatapoints"), "10000,777,10000,10000,10000");
    EXPECT_EQ(Saved("RequestDays"), "1,12,1,0,0");
    EXPECT_EQ(Saved("RequestFilterOn"), "false,true,false,false,false");
    EXPECT_EQ(Saved("RequestEnableExtendedTrades"), "1,0,0,0,0");
    EXPECT_EQ(Saved("RequestBeginDate"), "20260314,20250106,20260314,20260314,20260314");
    EXPECT_EQ(Saved("RequestBeginTime"), "093000,000005,093000,093000,093000");
    EXPECT_EQ(Saved("RequestEndFilterTime"), "160000,151530,160000,160000,160000");

    // What was stored is what the data type shows next time.
    const auto again = page.Show(1);
    EXPECT_EQ(again->choice, ERequestChoice::DateRange);
    EXPECT_EQ(again->beginTime, (SPageTime{0, 0, 5}));
    EXPECT_EQ(again->endDate, (SPageDate{2025, 12, 31}));
}

TEST(DataPageText, DatesAndTimesAreReadOnlyWhenTheyAreReal) {
    EXPECT_EQ(CDataPageLogic::ParseDate("20240229"), (SPageDate{2024, 2, 29}));
    for (const char* bad :
         {"20230229", "20241301", "2024010", "202401011", "2024-1-1", "", "00000101", "2024013a"}) {
        EXPECT_FALSE(CDataPageLogic::ParseDate(bad)) << bad;
    }
    EXPECT_EQ(CDataPageLogic::ParseTime("093000"), (SPageTime{9, 30, 0}));
    for (const char* bad : {"240000", "096000", "093060", "93000", "09:30"}) {
        EXPECT_FALSE(CDataPageLogic::ParseTime(bad)) << bad;
    }
}

} // namespace

// From the settings table to the command line of a request: the request lists as loaded and
// saved, the command of every kind, and the check that names the stored setting which keeps a
// request from being made (its advice texts: the export and frame tests of impossible settings);
// the rules of the data settings page between the stored lists and its fields.

#include "base/error.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "history/data_page_logic.h"
#include "history/history_request.h"
#include "history/request_settings.h"
#include "history/request_settings_check.h"

#include "recording_prompt.h"
#include "settings_table.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace {

// A settings table with every key at its default, the request settings loaded from it and the
// history object a request starts on.
class Request : public ::testing::Test {
protected:
    void SetUp() override { Defaults(); }
    void Defaults() {
        settings.Reset();
        settings.RegisterAll(AllSettingKeys());
    }
    void Set(const std::map<std::string, std::string>& values) {
        for (const auto& [key, value] : values) {
            EXPECT_TRUE(settings.SetText(key, value)) << key;
        }
    }
    // The command the table makes now; throws where the request stops.
    std::string Command() {
        request.Load(settings, "20260105");
        PrepareHistoryRequest(history, request, settings);
        return MakeHistoryCommand(history, settings);
    }
    std::string Start(const std::string& recentTypes, int dataType) {
        Set({{"RequestRecentType", recentTypes}, {"RequestDataType", std::to_string(dataType)}});
        return Command();
    }
    bool Builds() {
        try {
            return !Command().empty();
        } catch (const CInvalidArgException&) {
            return false;
        }
    }
    // The setting the check names with `values` stored; "" when there is none.
    std::string ProblemKey(const std::map<std::string, std::string>& values) {
        Set(values);
        problem = FindRequestSettingProblem(settings);
        return problem ? problem->key : "";
    }
    std::string Reason() const { return problem ? problem->reason : ""; }
    // The lists of the tests that start requests of ABC.
    void UseAbc() {
        Set({{"CurrentSymbol", "ABC"},
             {"RequestIntervalIndex", "4"},
             {"RequestDatapoints", "11,22,33,44,55"},
             {"RequestDays", "3,5,0,0,0"},
             {"RequestBeginDate", "20200101,20210101,20220101"},
             {"RequestEndDate", "20201231,20211231,20221231"},
             {"RequestBeginTime", "080000,090000"},
             {"RequestEndTime", "170000,180000"},
             {"RequestEnableExtendedTrades", "1,0,0,0,0"}});
    }
    CSettings settings;
    SRequestSettings request;
    CChartHistRequest history;
    std::optional<SRequestSettingProblem> problem;
};

TEST_F(Request, ListsArePaddedToFiveOrCutAndAnElementNotThereThrows) {
    Set({{"RequestBeginTime", "100000"},
         {"RequestEndDate", "20250101,20250202"},
         {"RequestDatapoints", "500,600,700,800,900,1000,1100"},
         {"RequestDays", "4,x"},
         {"RequestFilterOn", "true,TRUE,1"}});
    request.Load(settings, "20260105");
    EXPECT_EQ(request.beginDate, (std::vector<std::string>(5, "20260105")));
    EXPECT_EQ(request.beginTime,
              (std::vector<std::string>{"100000", "093000", "093000", "093000", "093000"}));
    EXPECT_EQ(request.endFilterTime, (std::vector<std::string>(5, "160000")));
    EXPECT_EQ(request.endDate, (std::vector<std::string>{"20250101", "20250202", "20260105",
                                                         "20260105", "20260105"}));
    EXPECT_EQ(request.datapoints, (std::vector<int>{500, 600, 700, 800, 900}));
    EXPECT_EQ(std::tuple(request.Days(0), request.Days(1)), std::tuple(4, 0));
    EXPECT_THROW(request.Days(2), CInvalidArgException);
    EXPECT_EQ(request.filterOn, (std::vector<bool>{true, false, false}));
    EXPECT_THROW(request.FilterOn(3), CInvalidArgException);
    EXPECT_THROW(request.RecentType(-1), CInvalidArgException);
    EXPECT_THROW(request.BeginDate(5), CInvalidArgException);
}

TEST_F(Request, SavedSettingsLoadBackAsTheyWere) {
    request.Load(settings, "20260105");
    request.recentType = {2, 5, 7, 8, 9};
    request.datapoints = {1, 2, 3, 4, 5000000};
    request.days = {7, 6, 5, 4, 3};
    request.filterOn = {true, false, true, false, true};
    request.extendedTrades = {true, false, false, false, false};
    request.beginDate[1] = "20240229";
    request.endFilterTime[4] = "153000";
    request.useExchangeFormat = false;
    skychart::test::RecordingPrompt prompt;
    ASSERT_TRUE(request.Save(settings, &prompt));
    EXPECT_TRUE(prompt.boxes.empty());
    const std::map<std::string, std::string> stored = {
        {"RequestRecentType", "2,5,7,8,9"},
        {"RequestDatapoints", "1,2,3,4,5000000"},
        {"RequestDays", "7,6,5,4,3"},
        {"RequestFilterOn", "true,false,true,false,true"},
        {"RequestEnableExtendedTrades", "1,0,0,0,0"},
        {"RequestBeginDate", "20260105,20240229,20260105,20260105,20260105"},
        {"RequestEndFilterTime", "160000,160000,160000,160000,153000"},
        {"RequestUseExchangeFormat", "false"}};
    for (const auto& [key, text] : stored) {
        EXPECT_EQ(settings.GetText(key), text) << key;
    }
    // Loaded on another day and saved again, every list reads as it was stored.
    skychart::test::SettingsTable again;
    SRequestSettings back;
    back.Load(settings, "19990101");
    ASSERT_TRUE(back.Save(again));
    for (const SSettingKey& key : AllSettingKeys()) {
        EXPECT_EQ(again.GetText(key.key), settings.GetText(key.key)) << key.key;
    }
}

TEST_F(Request, EachKindMakesItsCommandFromTheElementsOfItsDataType) {
    const struct {
        const char* kinds;
        int dataType;
        const char* command;
        std::map<std::string, std::string> values = {}; // over the lists of ABC
    } cases[] = {
        // clang-format off
        {"0,3,6,8,9", 0, "HTX,ABC,11,1,Lookup0\n"},
        {"1,3,6,8,9", 0, "HTD,ABC,3,5000000,,,1,Lookup1\n"},
        // Filtered kinds carry the filter times when their flag is exactly "true".
        {"1,3,6,8,9", 0, "HTD,ABC,3,5000000,093000,160000,1,Lookup1\n",
         {{"RequestFilterOn", "true"}}},
        {"2,3,6,8,9", 0, "HTT,ABC,20200101 080000,20201231 170000,5000000,,,1,Lookup2\n"},
        // Zero dates and times keep their width.
        {"2,3,6,8,9", 0,
         "HTT,ABC,00000000 000000,20201231 000005,5000000,000000,000045,1,Lookup2\n",
         {{"RequestFilterOn", "true"}, {"RequestBeginFilterTime", "0"},
          {"RequestEndFilterTime", "45"}, {"RequestBeginDate", "0"}, {"RequestBeginTime", "0"},
          {"RequestEndTime", "5"}}},
        {"0,3,6,8,9", 1, "HIX,ABC,300,22,1,Lookup3,,s,0\n"},
        {"0,3,6,8,9", 1, "HIX,ABC,2700,22,1,Lookup3,,s,0\n", {{"RequestIntervalIndex", "8"}}},
        {"0,4,6,8,9", 1, "HID,ABC,300,5,5000000,,,1,Lookup4,,s,0\n"},
        {"0,4,6,8,9", 1, "HID,ABC,300,5,5000000,,,1,Lookup4,,s,0\n",
         {{"RequestFilterOn", "TRUE,1"}}},
        {"0,5,6,8,9", 1,
         "HIT,ABC,300,20210101 090000,20211231 180000,5000000,,,1,Lookup5,,s,0\n"},
        {"0,5,6,8,9", 1,
         "HIT,ABC,7200,20210101 090000,20211231 180000,5000000,100000,153000,1,Lookup5,,s,0\n",
         {{"RequestFilterOn", "false,true"}, {"RequestIntervalIndex", "10"},
          {"RequestBeginFilterTime", "093000,100000"}, {"RequestEndFilterTime", "160000,153000"}}},
        {"0,3,6,8,9", 2, "HDX,ABC,33,1,Lookup6\n"},
        // Day ranges carry no times, nor the filter.
        {"0,3,7,8,9", 2, "HDT,ABC,20220101,20221231,,1,Lookup7\n",
         {{"RequestFilterOn", "true,true,true"}}},
        {"0,3,6,8,9", 3, "HWX,ABC,44,1,Lookup8\n"},
        {"0,3,6,8,9", 4, "HMX,ABC,55,1,Lookup9\n"},
        // clang-format on
    };
    for (const auto& c : cases) {
        Defaults();
        UseAbc();
        Set(c.values);
        EXPECT_EQ(Start(c.kinds, c.dataType), c.command);
        EXPECT_EQ(history.AreExtendedTradesAccepted(), c.dataType == 0) << c.command;
    }
    // The history object's times of a day range stay 0.
    EXPECT_EQ(history.GetParameters().beginTime, 0);
}

TEST_F(Request, AStartClearsTheCompleteFlagAndEarlierParameters) {
    UseAbc();
    history.SetHistoryComplete(true);
    Start("2,3,6,8,9", 0);
    EXPECT_FALSE(history.IsHistoryComplete());
    EXPECT_EQ(history.GetParameters().beginDate, 20200101);
    Start("0,3,6,8,9", 0);
    const SHistoryParameters& p = history.GetParameters();
    EXPECT_EQ(std::tie(p.beginDate, p.endTime, p.beginFilterTime, p.dataDirection, p.symbol,
                       p.requestKind),
              std::tuple(0, 0, -1, "1", "ABC", 0U));
}

TEST_F(Request, TheCheckNamesEverySettingTheRequestWouldStopAtAndNoOther) {
    // The defaults make a request for every data type, and every kind of each.
    for (const char* kinds : {"0,3,6,8,9", "1,4,7,8,9", "2,5,6,8,9"}) {
        for (int type = 0; type < 5; ++type) {
            EXPECT_EQ(ProblemKey({{"RequestDataType", std::to_string(type)},
                                  {"RequestRecentType", kinds},
                                  {"RequestFilterOn", "true,true,true,true,true"}}),
                      "")
                << Reason();
            EXPECT_TRUE(Builds()) << kinds << " type " << type;
        }
    }
    // Each value stored over the defaults, with the data type and kinds given: whether the
    // request stops at it and whether the check names it. The request reads a word as 0 and goes
    // on; the check names it all the same.
    const char* all = "0,3,6,8,9";
    const char* dayRange = "0,3,7,8,9";
    const struct {
        bool stops, named;
        int type;
        const char* kinds;
        const char* key;
        const char* value;
    } cases[] = {
        // What a value cut short inside its quotes reads as.
        {true, true, 2, all, "RequestDatapoints", "500\n"},
        {true, true, 4, all, "RequestRecentType", "0,3,6,8"},
        {true, true, 0, "1", "RequestDays", ""},
        // Filtered tick and interval requests carry the flag of their data type.
        {true, true, 1, "0,4", "RequestFilterOn", "false"},
        {true, true, 3, all, "RequestEnableExtendedTrades", "1,0,0"},
        {true, true, 2, all, "RequestRecentType", "0,3,12,8,9"},
        {true, true, 1, all, "RequestIntervalIndex", "11"},
        {true, true, 0, all, "RequestDataType", "5"},
        {false, true, 2, all, "RequestDatapoints", "1,2,250x,4,5"},
        {false, true, 2, all, "RequestDatapoints", "1,2,-5,4,5"},
        // Blanks around a number and a plus sign read as the number; 0 asks for everything.
        {false, false, 2, all, "RequestDatapoints", "1,2, +0 ,4,5"},
        // A day range reads its dates, not its datapoints; a list shorter than five is padded.
        {false, true, 2, dayRange, "RequestBeginDate", "1,2,2020-01-01"},
        {false, false, 2, dayRange, "RequestDatapoints", "1"},
    };
    for (const auto& c : cases) {
        Defaults();
        Set({{"RequestDataType", std::to_string(c.type)}, {"RequestRecentType", c.kinds}});
        EXPECT_EQ(ProblemKey({{c.key, c.value}}), c.named ? c.key : "") << c.value << Reason();
        EXPECT_EQ(Builds(), !c.stops) << c.key << " " << c.value;
    }
    Defaults();
    ProblemKey({{"RequestDataType", "2"}, {"RequestDatapoints", "10000,10000,abc,10000,10000"}});
    EXPECT_EQ(Reason(), "the Days value of RequestDatapoints, \"abc\", is not a number");
}

constexpr SPageDate kToday{2026, 3, 14};

// The request settings as the chart view loads them from a settings table with the given values.
class DataPageLogicTest : public Request {
protected:
    CDataPageLogic& Open(const std::map<std::string, std::string>& values = {}) {
        Set(values);
        request.Load(settings, "20260314");
        logic.emplace(prompt, request, kToday);
        return *logic;
    }
    // What the settings table holds under `key` after the page's settings were saved.
    std::string Saved(const std::string& key) {
        EXPECT_TRUE(request.Save(settings));
        return settings.GetText(key);
    }
    void ExpectOneBox(const std::string& text) {
        ASSERT_EQ(prompt.boxes.size(), 1u);
        EXPECT_EQ(std::tie(prompt.boxes[0].kind, prompt.boxes[0].caption, prompt.boxes[0].text),
                  std::tuple("Information", "Invalid Setting", text));
        prompt.boxes.clear();
    }
    skychart::test::RecordingPrompt prompt;
    std::optional<CDataPageLogic> logic;
};

TEST(DataPageRules, ChoicesAndFieldsFollowTheDataTypeAndRequestType) {
    using C = ERequestChoice;
    const SChoiceEnabling all{true, true, true}, noDays{true, false, true}, one{true, false, false};
    for (const auto& [dataType, choices] :
         {std::pair{0, all}, {1, all}, {2, noDays}, {3, one}, {4, one}, {5, SChoiceEnabling{}}}) {
        EXPECT_EQ(CDataPageLogic::EnabledChoices(dataType), choices) << dataType;
    }
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
    const auto intervals = page.Show(1);
    const auto days = page.Show(2);
    ASSERT_TRUE(ticks && intervals && days);
    EXPECT_EQ(
        std::tuple(ticks->choice, ticks->datapoints, ticks->extendedTrades, ticks->endDate,
                   ticks->beginTime),
        std::tuple(ERequestChoice::Days, "100", true, SPageDate{2024, 2, 29}, SPageTime{10, 0, 0}));
    // Extended trades are a tick setting: every other data type shows the box unchecked.
    // 29 February 2023 and 24:00:00 cannot be shown: today and the close stand in.
    EXPECT_EQ(std::tuple(intervals->days, intervals->filterOn, intervals->extendedTrades,
                         intervals->beginTime, intervals->endDate, intervals->endFilterTime),
              std::tuple(6, true, false, SPageTime{23, 59, 59}, kToday, SPageTime{16, 0, 0}));
    // Padded elements: the default datapoints and days, the session times.
    EXPECT_EQ(std::tuple(days->datapoints, days->days, days->filterOn, days->beginTime),
              std::tuple("10000", 1, false, SPageTime{9, 30, 0}));
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
        EXPECT_EQ(request.Datapoints(1), 10000);
        EXPECT_EQ(request.Days(1), days) << "the other fields are stored too";
    }
    for (const auto& [good, value] :
         std::vector<std::pair<std::string, int>>{{"1", 1}, {"5000000", 5000000}, {" 250 ", 250}}) {
        SDataPageFields fields = *page.Show(0);
        fields.datapoints = good;
        EXPECT_TRUE(page.Store(0, fields)) << good;
        EXPECT_EQ(std::tuple(fields.datapoints, request.Datapoints(0)), std::tuple(good, value));
    }
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(Saved("RequestDatapoints"), "250,10000,10000,10000,10000");
    EXPECT_EQ(Saved("RequestRecentType"), "0,4,6,8,9");
}

// (Every field of a data type reaching the file: the settings sheet test.)
TEST_F(DataPageLogicTest, StoreWritesOnlyTheShownDataTypesElementsAndNoneOutsideTheFive) {
    auto& page = Open({{"RequestEnableExtendedTrades", "1,0,0,0,0"}});
    SDataPageFields fields = *page.Show(1);
    fields.datapoints = "777";
    fields.extendedTrades = true; // not an interval setting
    fields.choice = ERequestChoice::DateRange;
    fields.beginTime = {0, 0, 5};
    EXPECT_TRUE(page.Store(1, fields));
    // A data type outside the five shows and stores nothing, and says only that.
    for (const int dataType : {5, -1, 100}) {
        EXPECT_FALSE(page.Show(dataType));
        ExpectOneBox("Invalid Data Type Selection!");
        fields.datapoints = "0";
        EXPECT_FALSE(page.Store(dataType, fields));
        ExpectOneBox(CDataPageLogic::kInvalidDataTypeText);
    }
    EXPECT_EQ(std::tuple(Saved("RequestRecentType"), Saved("RequestDatapoints"),
                         Saved("RequestEnableExtendedTrades"), Saved("RequestBeginTime")),
              std::tuple("0,5,6,8,9", "10000,777,10000,10000,10000", "1,0,0,0,0",
                         "093000,000005,093000,093000,093000"));
    EXPECT_EQ(page.Show(1)->beginTime, (SPageTime{0, 0, 5}));
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

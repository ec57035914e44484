#include "base/error.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "history/history_request.h"
#include "history/request_settings.h"

#include <gtest/gtest.h>

namespace {

// ABC, 10000 datapoints, a 5-minute interval, filter 093000-160000.
SHistoryParameters Abc(std::uint32_t kind) {
    SHistoryParameters p;
    p.symbol = "ABC";
    p.maxDatapoints = 10000;
    p.interval = 300;
    p.days = 5;
    p.dataDirection = "1";
    p.beginFilterTime = 93000;
    p.endFilterTime = 160000;
    p.beginDate = 20200101;
    p.beginTime = 93000;
    p.endDate = 20201231;
    p.endTime = 160000;
    p.requestKind = kind;
    return p;
}

const std::vector<std::string> kFilterOn = {"true", "true", "false", "false", "false"};
const std::vector<std::string> kFilterOff = {"false", "false", "false", "false", "false"};

TEST(HistoryCommand, FilteredKindsCarryTheFilterTimesAndOtherKindsNone) {
    // Every kind without a filter is the start of a request below (StartRequest).
    EXPECT_EQ(FormatHistoryCommand(Abc(1), kFilterOn),
              "HTD,ABC,5,5000000,093000,160000,1,Lookup1\n");
    EXPECT_EQ(FormatHistoryCommand(Abc(2), kFilterOn),
              "HTT,ABC,20200101 093000,20201231 160000,5000000,093000,160000,1,Lookup2\n");
    EXPECT_EQ(FormatHistoryCommand(Abc(5), kFilterOn),
              "HIT,ABC,300,20200101 093000,20201231 160000,5000000,093000,160000,1,Lookup5,,s,0\n");
    EXPECT_EQ(FormatHistoryCommand(Abc(2), kFilterOff),
              "HTT,ABC,20200101 093000,20201231 160000,5000000,,,1,Lookup2\n");
    EXPECT_EQ(FormatHistoryCommand(Abc(7), kFilterOn), "HDT,ABC,20200101,20201231,,1,Lookup7\n");
    EXPECT_EQ(FormatHistoryCommand(Abc(10), kFilterOn), "");
}

TEST(HistoryCommand, OnlyTheExactTextTrueTurnsTheFilterOn) {
    EXPECT_EQ(FormatHistoryCommand(Abc(4), {"TRUE", "1"}),
              "HID,ABC,300,5,5000000,,,1,Lookup4,,s,0\n");
}

TEST(HistoryCommand, ZeroDatesAndTimesArePaddedToTheirWidth) {
    SHistoryParameters p = Abc(2);
    p.beginDate = 0;
    p.beginTime = 0;
    p.endDate = 0;
    p.endTime = 5;
    p.beginFilterTime = 0;
    p.endFilterTime = 45;
    EXPECT_EQ(FormatHistoryCommand(p, kFilterOn),
              "HTT,ABC,00000000 000000,00000000 000005,5000000,000000,000045,1,Lookup2\n");
    p.requestKind = 7;
    EXPECT_EQ(FormatHistoryCommand(p, kFilterOn), "HDT,ABC,00000000,00000000,,1,Lookup7\n");
}

TEST(HistoryCommand, AFilterListTooShortThrowsOnlyForKindsWithAFilterPart) {
    const std::vector<std::string> ticksOnly = {"true"};
    EXPECT_EQ(FormatHistoryCommand(Abc(1), ticksOnly),
              "HTD,ABC,5,5000000,093000,160000,1,Lookup1\n");
    EXPECT_THROW(FormatHistoryCommand(Abc(4), ticksOnly), CInvalidArgException);
    EXPECT_THROW(FormatHistoryCommand(Abc(5), ticksOnly), CInvalidArgException);
    EXPECT_THROW(FormatHistoryCommand(Abc(1), {}), CInvalidArgException);
    EXPECT_THROW(FormatHistoryCommand(Abc(2), {}), CInvalidArgException);
    // Kinds without a filter part need no list at all.
    EXPECT_EQ(FormatHistoryCommand(Abc(3), {}), "HIX,ABC,300,10000,1,Lookup3,,s,0\n");
    EXPECT_EQ(FormatHistoryCommand(Abc(7), {}), "HDT,ABC,20200101,20201231,,1,Lookup7\n");
}

TEST(HistoryCommand, IntervalTableGivesSecondsAndRejectsOtherIndexes) {
    EXPECT_EQ(IntervalSeconds(8), 2700);
    EXPECT_EQ(IntervalSeconds(10), 7200);
    EXPECT_THROW(IntervalSeconds(11), CInvalidArgException);
    EXPECT_THROW(IntervalSeconds(-1), CInvalidArgException);
}

// The start of a request: settings table and request settings into the history object.
class StartRequest : public ::testing::Test {
protected:
    void SetUp() override {
        settings.RegisterAll(AllSettingKeys());
        settings.SetText("CurrentSymbol", "ABC");
        settings.SetText("RequestIntervalIndex", "4");
        settings.SetText("RequestDatapoints", "11,22,33,44,55");
        settings.SetText("RequestDays", "3,5,0,0,0");
        settings.SetText("RequestBeginDate", "20200101,20210101,20220101");
        settings.SetText("RequestEndDate", "20201231,20211231,20221231");
        settings.SetText("RequestBeginTime", "080000,090000");
        settings.SetText("RequestEndTime", "170000,180000");
    }
    std::string Start(const std::string& recentTypes, int dataType) {
        settings.SetText("RequestRecentType", recentTypes);
        settings.SetInt("RequestDataType", dataType);
        request.Load(settings, "20260105");
        PrepareHistoryRequest(history, request, settings);
        return MakeHistoryCommand(history, settings);
    }
    CSettings settings;
    SRequestSettings request;
    CChartHistRequest history;
};

TEST_F(StartRequest, EachDataTypeTakesItsOwnElements) {
    EXPECT_EQ(Start("0,3,6,8,9", 0), "HTX,ABC,11,1,Lookup0\n");
    EXPECT_EQ(Start("1,3,6,8,9", 0), "HTD,ABC,3,5000000,,,1,Lookup1\n");
    EXPECT_EQ(Start("2,3,6,8,9", 0),
              "HTT,ABC,20200101 080000,20201231 170000,5000000,,,1,Lookup2\n");
    EXPECT_EQ(Start("0,3,6,8,9", 1), "HIX,ABC,300,22,1,Lookup3,,s,0\n");
    EXPECT_EQ(Start("0,4,6,8,9", 1), "HID,ABC,300,5,5000000,,,1,Lookup4,,s,0\n");
    EXPECT_EQ(Start("0,5,6,8,9", 1),
              "HIT,ABC,300,20210101 090000,20211231 180000,5000000,,,1,Lookup5,,s,0\n");
    EXPECT_EQ(Start("0,3,6,8,9", 2), "HDX,ABC,33,1,Lookup6\n");
    // Day ranges carry no times: the history object's times stay 0.
    EXPECT_EQ(Start("0,3,7,8,9", 2), "HDT,ABC,20220101,20221231,,1,Lookup7\n");
    EXPECT_EQ(history.GetParameters().beginTime, 0);
    EXPECT_EQ(Start("0,3,6,8,9", 3), "HWX,ABC,44,1,Lookup8\n");
    EXPECT_EQ(Start("0,3,6,8,9", 4), "HMX,ABC,55,1,Lookup9\n");
}

TEST_F(StartRequest, AStartClearsTheCompleteFlagAndResetsEarlierParameters) {
    history.SetHistoryComplete(true);
    Start("2,3,6,8,9", 0);
    EXPECT_FALSE(history.IsHistoryComplete());
    EXPECT_EQ(history.GetParameters().beginDate, 20200101);
    Start("0,3,6,8,9", 0);
    EXPECT_EQ(history.GetParameters().beginDate, 0);
    EXPECT_EQ(history.GetParameters().endTime, 0);
    EXPECT_EQ(history.GetParameters().beginFilterTime, -1);
    EXPECT_EQ(history.GetParameters().dataDirection, "1");
    EXPECT_EQ(history.GetParameters().symbol, "ABC");
    EXPECT_EQ(history.GetParameters().requestKind, 0U);
}

TEST_F(StartRequest, FilterOnSetsTheFilterTimesOfTheDataType) {
    settings.SetText("RequestFilterOn", "false,true,false,false,false");
    settings.SetText("RequestBeginFilterTime", "093000,100000");
    settings.SetText("RequestEndFilterTime", "160000,153000");
    EXPECT_EQ(Start("0,4,6,8,9", 1), "HID,ABC,300,5,5000000,100000,153000,1,Lookup4,,s,0\n");
    EXPECT_EQ(history.GetParameters().beginFilterTime, 100000);
    EXPECT_EQ(Start("0,4,6,8,9", 0), "HTX,ABC,11,1,Lookup0\n");
    EXPECT_EQ(history.GetParameters().beginFilterTime, -1);
}

TEST_F(StartRequest, ExtendedTradesFollowTheDataTypesFlag) {
    settings.SetText("RequestEnableExtendedTrades", "1,0,0,0,0");
    Start("0,3,6,8,9", 0);
    EXPECT_TRUE(history.AreExtendedTradesAccepted());
    Start("0,3,6,8,9", 1);
    EXPECT_FALSE(history.AreExtendedTradesAccepted());
}

TEST_F(StartRequest, MissingListElementsAndBadIndexesThrow) {
    settings.SetText("RequestDatapoints", "11,22");
    EXPECT_THROW(Start("0,3,6,8,9", 2), CInvalidArgException);
    EXPECT_THROW(Start("0,3", 2), CInvalidArgException);
    EXPECT_THROW(Start("0,3,6,8,9", 5), CInvalidArgException);
    settings.SetText("RequestIntervalIndex", "11");
    EXPECT_THROW(Start("0,3,6,8,9", 1), CInvalidArgException);
    // The filter list is read when the command is made.
    settings.SetText("RequestIntervalIndex", "0");
    settings.SetText("RequestFilterOn", "true");
    EXPECT_EQ(Start("1,3,6,8,9", 0), "HTD,ABC,3,5000000,093000,160000,1,Lookup1\n");
    EXPECT_THROW(Start("1,4,6,8,9", 1), CInvalidArgException);
}

} // namespace

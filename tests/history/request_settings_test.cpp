#include "base/error.h"
#include "core/settings.h"
#include "history/request_settings.h"

#include "recording_prompt.h"

#include <gtest/gtest.h>

using skychart::test::RecordingPrompt;

namespace {

// A settings table with every key at its default. (That lists reach the settings file and come
// back unchanged is the settings file's test.)
class RequestSettingsTable : public ::testing::Test {
protected:
    void SetUp() override { settings.RegisterAll(AllSettingKeys()); }
    CSettings settings;
    RecordingPrompt prompt;
};

TEST_F(RequestSettingsTable, DefaultsLoadWithDateAndTimeListsPadded) {
    SRequestSettings request;
    request.Load(settings, "20260105");
    EXPECT_EQ(request.recentType, (std::vector<int>{0, 3, 6, 8, 9}));
    EXPECT_EQ(request.datapoints, (std::vector<int>{10000, 10000, 10000, 10000, 10000}));
    EXPECT_EQ(request.days, (std::vector<int>{1, 0, 1, 0, 0}));
    EXPECT_EQ(request.filterOn, (std::vector<bool>(5, false)));
    EXPECT_EQ(request.extendedTrades, (std::vector<bool>(5, false)));
    EXPECT_EQ(request.beginDate, (std::vector<std::string>(5, "20260105")));
    EXPECT_EQ(request.endDate, (std::vector<std::string>(5, "20260105")));
    EXPECT_EQ(request.beginTime, (std::vector<std::string>(5, "093000")));
    EXPECT_EQ(request.beginFilterTime, (std::vector<std::string>(5, "093000")));
    EXPECT_EQ(request.endTime, (std::vector<std::string>(5, "160000")));
    EXPECT_EQ(request.endFilterTime, (std::vector<std::string>(5, "160000")));
    EXPECT_TRUE(request.useExchangeFormat);
}

TEST_F(RequestSettingsTable, ShortListsArePaddedOrThrowWhenAnElementIsUsed) {
    settings.SetText("RequestBeginTime", "100000");
    settings.SetText("RequestEndDate", "20250101,20250202");
    settings.SetText("RequestDatapoints", "500,600,700,800,900,1000,1100");
    settings.SetText("RequestDays", "4,x");
    settings.SetText("RequestFilterOn", "true,TRUE,1");
    SRequestSettings request;
    request.Load(settings, "20260105");
    EXPECT_EQ(request.beginTime,
              (std::vector<std::string>{"100000", "093000", "093000", "093000", "093000"}));
    EXPECT_EQ(request.endDate, (std::vector<std::string>{"20250101", "20250202", "20260105",
                                                         "20260105", "20260105"}));
    EXPECT_EQ(request.datapoints, (std::vector<int>{500, 600, 700, 800, 900}));
    EXPECT_EQ(request.Days(0), 4);
    EXPECT_EQ(request.Days(1), 0);
    EXPECT_THROW(request.Days(2), CInvalidArgException);
    EXPECT_TRUE(request.FilterOn(0));
    EXPECT_FALSE(request.FilterOn(1));
    EXPECT_FALSE(request.FilterOn(2));
    EXPECT_THROW(request.FilterOn(3), CInvalidArgException);
    EXPECT_THROW(request.RecentType(-1), CInvalidArgException);
    EXPECT_THROW(request.BeginDate(5), CInvalidArgException);
}

TEST_F(RequestSettingsTable, SavedSettingsLoadBackAsTheyWere) {
    SRequestSettings request;
    request.Load(settings, "20260105");
    request.recentType = {2, 5, 7, 8, 9};
    request.datapoints = {1, 2, 3, 4, 5000000};
    request.days = {7, 6, 5, 4, 3};
    request.filterOn = {true, false, true, false, true};
    request.extendedTrades = {true, false, false, false, false};
    request.beginDate[1] = "20240229";
    request.endFilterTime[4] = "153000";
    request.useExchangeFormat = false;
    ASSERT_TRUE(request.Save(settings, &prompt));
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(settings.GetText("RequestFilterOn"), "true,false,true,false,true");
    EXPECT_EQ(settings.GetText("RequestEnableExtendedTrades"), "1,0,0,0,0");
    SRequestSettings back;
    back.Load(settings, "19990101");
    EXPECT_EQ(back.recentType, request.recentType);
    EXPECT_EQ(back.datapoints, request.datapoints);
    EXPECT_EQ(back.days, request.days);
    EXPECT_EQ(back.filterOn, request.filterOn);
    EXPECT_EQ(back.extendedTrades, request.extendedTrades);
    EXPECT_EQ(back.beginDate, request.beginDate);
    EXPECT_EQ(back.endDate, request.endDate);
    EXPECT_EQ(back.beginTime, request.beginTime);
    EXPECT_EQ(back.endFilterTime, request.endFilterTime);
    EXPECT_FALSE(back.useExchangeFormat);
}

} // namespace

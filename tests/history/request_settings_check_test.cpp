// The check that names the stored request setting which keeps a request from being made. (Its
// advice texts: the export and frame tests of impossible settings.)

#include "base/error.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "history/history_request.h"
#include "history/request_settings.h"
#include "history/request_settings_check.h"

#include <gtest/gtest.h>

#include <map>

namespace {

class RequestSettingsCheck : public ::testing::Test {
protected:
    void SetUp() override { settings.RegisterAll(AllSettingKeys()); }

    // The problem with `values` stored over the defaults; "" when there is none.
    std::string ProblemKey(const std::map<std::string, std::string>& values) {
        for (const auto& [key, value] : values) {
            EXPECT_TRUE(settings.SetText(key, value)) << key;
        }
        problem = FindRequestSettingProblem(settings);
        return problem ? problem->key : "";
    }
    // Whether the request itself can be formed from the settings as they stand.
    bool RequestBuilds() {
        SRequestSettings request;
        request.Load(settings, "20260105");
        CChartHistRequest history;
        try {
            PrepareHistoryRequest(history, request, settings);
            return !MakeHistoryCommand(history, settings).empty();
        } catch (const CInvalidArgException&) {
            return false;
        }
    }
    std::string Reason() const { return problem ? problem->reason : ""; }

    CSettings settings;
    std::optional<SRequestSettingProblem> problem;
};

TEST_F(RequestSettingsCheck, EveryProblemTheRequestWouldStopAtIsNamedAndNoOther) {
    // The defaults make a request for every data type, and every kind of each.
    for (const char* kinds : {"0,3,6,8,9", "1,4,7,8,9", "2,5,6,8,9"}) {
        for (int type = 0; type < 5; ++type) {
            EXPECT_EQ(ProblemKey({{"RequestDataType", std::to_string(type)},
                                  {"RequestRecentType", kinds},
                                  {"RequestFilterOn", "true,true,true,true,true"}}),
                      "")
                << Reason();
            EXPECT_TRUE(RequestBuilds()) << kinds << " type " << type;
        }
    }

    // Each of these stops the request itself; the check names the setting.
    const std::vector<std::pair<std::map<std::string, std::string>, std::string>> stopping = {
        // What a value cut short inside its quotes reads as.
        {{{"RequestDataType", "2"}, {"RequestDatapoints", "500\n"}}, "RequestDatapoints"},
        {{{"RequestDataType", "4"}, {"RequestRecentType", "0,3,6,8"}}, "RequestRecentType"},
        {{{"RequestDataType", "0"}, {"RequestRecentType", "1"}, {"RequestDays", ""}},
         "RequestDays"},
        // Filtered tick and interval requests carry the flag of their data type.
        {{{"RequestDataType", "1"}, {"RequestRecentType", "0,4"}, {"RequestFilterOn", "false"}},
         "RequestFilterOn"},
        {{{"RequestDataType", "3"}, {"RequestEnableExtendedTrades", "1,0,0"}},
         "RequestEnableExtendedTrades"},
        {{{"RequestDataType", "2"}, {"RequestRecentType", "0,3,12,8,9"}}, "RequestRecentType"},
        {{{"RequestDataType", "1"}, {"RequestIntervalIndex", "11"}}, "RequestIntervalIndex"},
        {{{"RequestDataType", "5"}}, "RequestDataType"},
    };
    for (const auto& [values, key] : stopping) {
        settings.Reset();
        settings.RegisterAll(AllSettingKeys());
        EXPECT_EQ(ProblemKey(values), key) << Reason();
        EXPECT_FALSE(RequestBuilds()) << key;
    }
}

TEST_F(RequestSettingsCheck, ValuesThatDoNotReadAsNumbersAreNamedWithTheirDataType) {
    EXPECT_EQ(ProblemKey(
                  {{"RequestDataType", "2"}, {"RequestDatapoints", "10000,10000,abc,10000,10000"}}),
              "RequestDatapoints");
    EXPECT_EQ(Reason(), "the Days value of RequestDatapoints, \"abc\", is not a number");
    EXPECT_EQ(ProblemKey({{"RequestDatapoints", "1,2,250x,4,5"}}), "RequestDatapoints");
    EXPECT_EQ(ProblemKey({{"RequestDatapoints", "1,2,-5,4,5"}}), "RequestDatapoints");
    // Blanks around a number and a plus sign read as the number; 0 asks for everything.
    EXPECT_EQ(ProblemKey({{"RequestDatapoints", "1,2, +0 ,4,5"}}), "") << Reason();

    // A day range reads its dates, not its datapoints; a list shorter than five is padded.
    EXPECT_EQ(ProblemKey({{"RequestRecentType", "0,3,7,8,9"},
                          {"RequestDatapoints", "1"},
                          {"RequestBeginDate", "20200101,20200101,2020-01-01"}}),
              "RequestBeginDate");
    EXPECT_EQ(ProblemKey({{"RequestBeginDate", "20200101"}}), "") << Reason();
}

} // namespace

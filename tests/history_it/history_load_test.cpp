// Every data type loaded through the real frame from the real portico holds exactly what the
// service sends for the same request, field by field. (That the service's bars are the aggregates
// of its ticks is the market's and the service's own tests.)

#include "history_it_support.h"

#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"

#include <fmt/format.h>

#include <string>

namespace skychart::test {
namespace {

using HistoryLoadTest = HistoryFrameTest;
using Lines = std::vector<std::vector<std::string>>;

// "YYYY-MM-DD HH:MM:SS" of a record.
std::string Stamp(const sTICK& point) {
    const SDateTimeFields f = FieldsOf(point);
    return fmt::format("{} {:02}:{:02}:{:02}", DateOf(point), f.hour, f.minute, f.second);
}

void ExpectTicks(const std::vector<sTICK>& series, const Lines& direct) {
    ASSERT_EQ(series.size(), direct.size());
    for (std::size_t i = 0; i < series.size(); ++i) {
        const sTICK& t = series[i];
        const auto& f = direct[i];
        ASSERT_GE(f.size(), 14u);
        EXPECT_EQ(Stamp(t), f[2].substr(0, 19)) << i;
        EXPECT_EQ(t.microseconds, std::stoi(f[2].substr(20))) << f[2];
        EXPECT_DOUBLE_EQ(t.close, std::stod(f[3])) << f[2];
        EXPECT_EQ(t.size, std::stoul(f[4])) << f[2];
        EXPECT_EQ(t.volume, std::stoll(f[5])) << f[2];
        EXPECT_DOUBLE_EQ(t.bid, std::stod(f[6])) << f[2];
        EXPECT_DOUBLE_EQ(t.ask, std::stod(f[7])) << f[2];
        EXPECT_EQ(t.tickId, std::stoul(f[8])) << f[2];
        EXPECT_EQ(t.aggressor, std::stoi(f[12])) << f[2];
        EXPECT_EQ(t.dayCode, std::stoi(f[13])) << f[2];
    }
}

// Bars; the newest of `direct` is left out when `newestMayMove` (it may still be trading).
void ExpectBars(const std::vector<sTICK>& series, const Lines& direct, bool intervals,
                bool newestMayMove = false) {
    ASSERT_EQ(series.size(), direct.size());
    for (std::size_t i = 0; i + (newestMayMove ? 1 : 0) < series.size(); ++i) {
        const sTICK& b = series[i];
        const auto& f = direct[i];
        ASSERT_GE(f.size(), 9u);
        EXPECT_EQ(intervals ? Stamp(b) : DateOf(b), f[2]) << i;
        EXPECT_DOUBLE_EQ(b.high, std::stod(f[3])) << f[2];
        EXPECT_DOUBLE_EQ(b.low, std::stod(f[4])) << f[2];
        EXPECT_DOUBLE_EQ(b.open, std::stod(f[5])) << f[2];
        EXPECT_DOUBLE_EQ(b.close, std::stod(f[6])) << f[2];
        EXPECT_EQ(b.volume, std::stoll(f[7])) << f[2];
        if (intervals) {
            EXPECT_EQ(b.size, std::stoul(f[8])) << f[2];
        } else {
            EXPECT_EQ(b.openInterest, std::stoul(f[8])) << f[2];
        }
    }
}

TEST_F(HistoryLoadTest, EveryDataTypeHoldsWhatTheServiceSends) {
    // A whole past trading day: the one before the newest daily bar.
    OpenConnectedFrame();
    const Lines recent = QueryLookup(portico().lookupPort(), "HDX,LUMA,5,1,Recent", "Recent");
    ASSERT_EQ(recent.size(), 5u);
    const auto compact = [](std::string date) { return std::erase(date, '-'), date; };
    const std::string day = compact(recent[3][2]);
    const std::string first = compact(recent[0][2]);
    UseSettings({{"RequestRecentType", "2,5,7,8,9"},
                 {"RequestDatapoints", "10000,10000,10000,30,12"},
                 {"RequestIntervalIndex", "4"}, // 5-Minute
                 {"RequestEnableExtendedTrades", "1,0,0,0,0"},
                 {"RequestBeginDate", fmt::format("{0},{0},{1}", day, first)},
                 {"RequestEndDate", fmt::format("{0},{0},{0}", day)},
                 {"RequestBeginTime", "100000,100000"},
                 {"RequestEndTime", "103000,103000"}});
    const auto load = [this](int dataType) {
        settings().SetInt("RequestDataType", dataType);
        EXPECT_TRUE(EnterAndWait("LUMA")) << "data type " << dataType;
        return Series();
    };
    const int port = portico().lookupPort();

    const std::vector<sTICK> ticks = load(0);
    ASSERT_GT(ticks.size(), 10u);
    ExpectTicks(ticks,
                QueryLookup(port, fmt::format("HTT,LUMA,{0} 100000,{0} 103000,,,,1,T", day), "T"));
    EXPECT_EQ(Stamp(ticks.front()).substr(11), "10:00:00");
    // A bar labelled after the end of the range (it holds the trades of 10:30:00) is dropped.
    Lines intervals =
        QueryLookup(port, fmt::format("HIT,LUMA,300,{0} 100000,{0} 103000,,,,1,I,,s,0", day), "I");
    std::erase_if(intervals, [&](const auto& f) { return f[2] > recent[3][2] + " 10:30:00"; });
    ExpectBars(load(1), intervals, true);
    const std::vector<sTICK> days = load(2);
    ASSERT_EQ(days.size(), 4u);
    ExpectBars(days, QueryLookup(port, fmt::format("HDT,LUMA,{},{},,1,D", first, day), "D"), false);
    EXPECT_EQ(days.back().dayCode, FieldsOf(days.back()).day);
    ExpectBars(load(3), QueryLookup(port, "HWX,LUMA,30,1,W", "W"), false, true);
    const std::vector<sTICK> months = load(4);
    ExpectBars(months, QueryLookup(port, "HMX,LUMA,12,1,M", "M"), false, true);
    ASSERT_EQ(months.size(), 12u);
    EXPECT_EQ(months.front().dayCode, 0);
}

TEST_F(HistoryLoadTest, AnErrorReplyDoesNotKeepTheNextLoadFromCompleting) {
    OpenConnectedFrame({{"RequestDataType", "2"}});
    EnterInSymbolBox("nosuch");
    CChartFormView* view = frame().ChartView();
    // The error reply adds nothing; the end marker after it completes the empty request.
    ASSERT_TRUE(WaitFor([&] {
        return view->Loader().AnswerEnded() &&
               view->LastStatusText().rfind("0 datapoints available.", 0) == 0;
    }));
    EXPECT_EQ(view->Loader().AnswerError(), "!UNKNOWN_SYMBOL!");
    EXPECT_EQ(history().GetCount(), 0);

    // The next symbol loads as if the error had never been.
    EnterInSymbolBox("luma");
    ASSERT_TRUE(WaitFor([&] {
        return history().IsHistoryComplete() &&
               view->LastStatusText().find("datapoints available") != std::string::npos &&
               history().GetCount() > 0;
    }));
    EXPECT_TRUE(view->Loader().AnswerError().empty());
}

} // namespace
} // namespace skychart::test

// Every data type loaded through the real frame from the real portico, checked against what the
// service itself says: ticks aggregated into the interval bars it sends, daily bars against a
// direct query, weeks and months against the daily bars, and date ranges against their window.

#include "history_it_support.h"

#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"

#include <QTimer>

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

namespace skychart::test {
namespace {

using HistoryLoadTest = HistoryFrameTest;

constexpr int kRegularOpen = 9 * 3600 + 30 * 60;
constexpr int kRegularClose = 16 * 3600;

// Open, high, low, close and volume of a run of points (ticks or bars, oldest first).
struct Aggregate {
    double open = 0;
    double high = 0;
    double low = 0;
    double close = 0;
    long long volume = 0;
    int count = 0;

    void Add(double first, double high_, double low_, double last, long long volume_) {
        if (count++ == 0) {
            open = first;
            high = high_;
            low = low_;
        }
        high = std::max(high, high_);
        low = std::min(low, low_);
        close = last;
        volume += volume_;
    }
};

// Days since 1970-01-01 of a record's date.
long long DayNumber(const sTICK& point) {
    const SDateTimeFields f = FieldsOf(point);
    return CDateTime::DayNumber(f.year, f.month, f.day) - CDateTime::DayNumber(1970, 1, 1);
}

// The Monday that starts the week of a record's date, as a day number.
long long WeekOf(const sTICK& point) {
    const long long day = DayNumber(point);
    const long long weekday = ((day + 3) % 7 + 7) % 7; // Monday 0
    return day - weekday;
}

int MonthOf(const sTICK& point) {
    const SDateTimeFields f = FieldsOf(point);
    return f.year * 12 + f.month;
}

void ExpectBarEquals(const sTICK& bar, const Aggregate& expected, const std::string& what) {
    EXPECT_DOUBLE_EQ(bar.open, expected.open) << what;
    EXPECT_DOUBLE_EQ(bar.high, expected.high) << what;
    EXPECT_DOUBLE_EQ(bar.low, expected.low) << what;
    EXPECT_DOUBLE_EQ(bar.close, expected.close) << what;
}

TEST_F(HistoryLoadTest, TicksByDaysAggregateIntoTheIntervalBarsByDays) {
    // Two recent days of ticks, then of 5-minute bars; regular hours hold only 'C' trades, which
    // are the ticks kept without extended trades and exactly what the bars count.
    OpenConnectedFrame({{"RequestRecentType", "1,4,6,8,9"},
                        {"RequestDays", "2,2,1,0,0"},
                        {"RequestDataType", "0"},
                        {"RequestIntervalIndex", "4"}});
    ASSERT_TRUE(EnterAndWait("LUMA"));
    const std::vector<sTICK> ticks = Series();
    ASSERT_GT(ticks.size(), 1000u);
    for (std::size_t i = 0; i < ticks.size(); ++i) {
        const sTICK& t = ticks[i];
        ASSERT_TRUE(t.time.IsValid());
        EXPECT_EQ(t.high, t.close);
        EXPECT_EQ(t.low, t.close);
        EXPECT_EQ(t.open, 0.0);
        EXPECT_GT(t.tickId, 0u);
        EXPECT_LE(t.bid, t.ask);
        if (i > 0) {
            const sTICK& before = ticks[i - 1];
            ASSERT_TRUE(before.time < t.time ||
                        (before.time == t.time && before.microseconds <= t.microseconds))
                << "tick " << i << " goes back in time";
        }
    }

    CSettings::Instance().SetInt("RequestDataType", 1);
    ASSERT_TRUE(EnterAndWait("LUMA"));
    const std::vector<sTICK> bars = Series();
    ASSERT_GT(bars.size(), 20u);

    // Ticks by bar: the bar stamped T holds the trades of [T - 300 s, T).
    std::map<std::pair<std::string, int>, Aggregate> byBar;
    for (const sTICK& t : ticks) {
        const int bucketEnd = (SecondOfDay(t) / 300 + 1) * 300;
        byBar[{DateOf(t), bucketEnd}].Add(t.close, t.close, t.close, t.close, t.size);
    }
    const sTICK& lastTick = ticks.back();
    int compared = 0;
    for (const sTICK& bar : bars) {
        const int end = SecondOfDay(bar);
        EXPECT_EQ(end % 300, 0) << DateOf(bar);
        const bool regular = end - 300 >= kRegularOpen && end <= kRegularClose;
        const bool covered = DateOf(bar) < DateOf(lastTick) ||
                             (DateOf(bar) == DateOf(lastTick) && end <= SecondOfDay(lastTick));
        const auto found = byBar.find({DateOf(bar), end});
        if (!regular || !covered || found == byBar.end()) {
            continue;
        }
        const std::string what = DateOf(bar) + " bar ending at second " + std::to_string(end);
        ExpectBarEquals(bar, found->second, what);
        EXPECT_EQ(static_cast<long long>(bar.size), found->second.volume) << what;
        ++compared;
    }
    EXPECT_GE(compared, 40) << "too few regular-hours bars to compare";
}

TEST_F(HistoryLoadTest, DailyBarsMatchTheServiceAndWeeksAndMonthsAggregateThem) {
    OpenConnectedFrame({{"RequestRecentType", "0,3,6,8,9"},
                        {"RequestDatapoints", "10000,10000,400,40,12"},
                        {"RequestDataType", "2"}});
    ASSERT_TRUE(EnterAndWait("LUMA"));
    const std::vector<sTICK> days = Series();
    ASSERT_EQ(days.size(), 400u);

    const auto direct = QueryLookup(portico().lookupPort(), "HDX,LUMA,400,1,Direct", "Direct");
    ASSERT_EQ(direct.size(), days.size());
    // The newest day may still be trading; every earlier one is final.
    for (std::size_t i = 0; i + 1 < days.size(); ++i) {
        const auto& f = direct[i];
        ASSERT_GE(f.size(), 9u);
        const std::string what = "day " + f[2];
        EXPECT_EQ(DateOf(days[i]), f[2].substr(0, 10)) << what;
        EXPECT_EQ(SecondOfDay(days[i]), 0) << what;
        EXPECT_DOUBLE_EQ(days[i].high, std::stod(f[3])) << what;
        EXPECT_DOUBLE_EQ(days[i].low, std::stod(f[4])) << what;
        EXPECT_DOUBLE_EQ(days[i].open, std::stod(f[5])) << what;
        EXPECT_DOUBLE_EQ(days[i].close, std::stod(f[6])) << what;
        EXPECT_EQ(days[i].volume, std::stoll(f[7])) << what;
        EXPECT_EQ(days[i].openInterest, std::stoul(f[8])) << what;
        EXPECT_EQ(days[i].dayCode, FieldsOf(days[i]).day) << what;
    }

    std::map<long long, Aggregate> weeks;
    std::map<int, Aggregate> months;
    for (const sTICK& d : days) {
        weeks[WeekOf(d)].Add(d.open, d.high, d.low, d.close, d.volume);
        months[MonthOf(d)].Add(d.open, d.high, d.low, d.close, d.volume);
    }

    CSettings::Instance().SetInt("RequestDataType", 3);
    ASSERT_TRUE(EnterAndWait("LUMA"));
    const std::vector<sTICK> weekBars = Series();
    ASSERT_EQ(weekBars.size(), 40u);
    // The oldest aggregated week may miss days before the daily bars began; the newest may
    // still be trading.
    const long long firstFullWeek = std::next(weeks.begin())->first;
    int comparedWeeks = 0;
    for (std::size_t i = 0; i + 1 < weekBars.size(); ++i) {
        const long long week = WeekOf(weekBars[i]);
        if (week < firstFullWeek) {
            continue;
        }
        ASSERT_TRUE(weeks.count(week)) << DateOf(weekBars[i]);
        ExpectBarEquals(weekBars[i], weeks[week], "week of " + DateOf(weekBars[i]));
        EXPECT_EQ(weekBars[i].volume, weeks[week].volume) << DateOf(weekBars[i]);
        EXPECT_EQ(weekBars[i].dayCode, 0);
        ++comparedWeeks;
    }
    EXPECT_GE(comparedWeeks, 30);

    CSettings::Instance().SetInt("RequestDataType", 4);
    ASSERT_TRUE(EnterAndWait("LUMA"));
    const std::vector<sTICK> monthBars = Series();
    ASSERT_EQ(monthBars.size(), 12u);
    for (std::size_t i = 0; i + 1 < monthBars.size(); ++i) {
        const int month = MonthOf(monthBars[i]);
        ASSERT_TRUE(months.count(month)) << DateOf(monthBars[i]);
        ExpectBarEquals(monthBars[i], months[month], "month of " + DateOf(monthBars[i]));
        EXPECT_EQ(monthBars[i].volume, months[month].volume) << DateOf(monthBars[i]);
    }
}

TEST_F(HistoryLoadTest, DateRangesKeepTheirWindowAndAgreeAcrossDataTypes) {
    OpenConnectedFrame({{"RequestRecentType", "2,5,6,8,9"},
                        {"RequestDatapoints", "10000,10000,5,10000,10000"},
                        {"RequestDataType", "2"},
                        {"RequestIntervalIndex", "4"}});
    // A full past trading day: the one before the newest daily bar.
    ASSERT_TRUE(EnterAndWait("LUMA"));
    const std::vector<sTICK> days = Series();
    ASSERT_EQ(days.size(), 5u);
    const SDateTimeFields day = FieldsOf(days[3]);
    const std::string date = fmt::format("{:04}{:02}{:02}", day.year, day.month, day.day);

    UseSettings({{"RequestBeginDate", date + "," + date},
                 {"RequestEndDate", date + "," + date},
                 {"RequestBeginTime", "100000,100000"},
                 {"RequestEndTime", "101500,101500"}});
    CSettings::Instance().SetInt("RequestDataType", 0);
    ASSERT_TRUE(EnterAndWait("LUMA"));
    const std::vector<sTICK> ticks = Series();
    ASSERT_GT(ticks.size(), 10u);
    long long tickVolume = 0;
    for (const sTICK& t : ticks) {
        EXPECT_EQ(DateOf(t), DateOf(days[3]));
        EXPECT_GE(SecondOfDay(t), 10 * 3600);
        EXPECT_LE(SecondOfDay(t), 10 * 3600 + 15 * 60);
        if (SecondOfDay(t) < 10 * 3600 + 15 * 60) {
            tickVolume += t.size;
        }
    }

    CSettings::Instance().SetInt("RequestDataType", 1);
    ASSERT_TRUE(EnterAndWait("LUMA"));
    long long barVolume = 0;
    std::set<int> ends;
    for (const sTICK& bar : Series()) {
        EXPECT_EQ(DateOf(bar), DateOf(days[3]));
        if (SecondOfDay(bar) <= 10 * 3600 + 15 * 60) {
            barVolume += bar.size;
            ends.insert(SecondOfDay(bar));
        }
    }
    EXPECT_EQ(ends, (std::set<int>{36300, 36600, 36900}));
    EXPECT_EQ(barVolume, tickVolume);
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
    EXPECT_EQ(CChartHistRequest::Instance().GetCount(), 0);

    // The next symbol loads as if the error had never been.
    EnterInSymbolBox("luma");
    ASSERT_TRUE(WaitFor([&] {
        return CChartHistRequest::Instance().IsHistoryComplete() &&
               view->LastStatusText().find("datapoints available") != std::string::npos &&
               CChartHistRequest::Instance().GetCount() > 0;
    }));
    EXPECT_TRUE(view->Loader().AnswerError().empty());
}

} // namespace
} // namespace skychart::test

// The live updater on hand-made Level 1 lines: gating, trade qualification, time filters, the
// tick, interval and day-summary rules, summary lines, malformed lines and the catch-up after a
// new history.

#include "history/chart_hist_request.h"
#include "history/history_request.h"
#include "history/live_updater.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

// An update line with the 24 selected fields; the defaults are one regular trade.
struct SLine {
    char letter = 'Q';
    std::string symbol = "ABC";
    std::string total = "5000";
    std::string size = "100";
    std::string high = "10.80";
    std::string low = "9.70";
    std::string time = "09:30:15";
    std::string openInterest = "0";
    std::string open = "10.00";
    std::string date = "03/05/2024";
    std::string price = "10.25";
    std::string contents = "C";
    std::string tickId = "77";

    std::string Text() const {
        const std::vector<std::string> fields = {std::string(1, letter),
                                                 symbol,
                                                 total,
                                                 size,
                                                 high,
                                                 low,
                                                 "10.24",
                                                 "10.26",
                                                 "300",
                                                 "400",
                                                 time,
                                                 openInterest,
                                                 open,
                                                 "9.95",
                                                 date,
                                                 price,
                                                 "14",
                                                 tickId,
                                                 "5",
                                                 "6",
                                                 "7",
                                                 contents,
                                                 "3D",
                                                 "1",
                                                 "5"};
        std::string text;
        for (const std::string& field : fields) {
            text += text.empty() ? field : "," + field;
        }
        return text;
    }
};

SLine Trade(const std::string& date, const std::string& time, const std::string& price,
            const std::string& total, const std::string& size = "100") {
    SLine line;
    line.date = date;
    line.time = time;
    line.price = price;
    line.total = total;
    line.size = size;
    return line;
}

void SetKind(CChartHistRequest& history, std::uint32_t kind, int interval = 60) {
    SHistoryParameters params;
    params.symbol = "ABC";
    params.requestKind = kind;
    params.interval = interval;
    params.dataDirection = "1";
    history.SetParameters(params);
    history.SetHistoryComplete(true);
}

sTICK Bar(CDateTime time, double open, double high, double low, double close, std::uint32_t size,
          std::int64_t volume) {
    sTICK bar;
    bar.time = time;
    bar.open = open;
    bar.high = high;
    bar.low = low;
    bar.close = close;
    bar.size = size;
    bar.volume = volume;
    return bar;
}

sTICK Newest(const CChartHistRequest& history) {
    sTICK tick;
    history.GetTick(history.GetLastIndex(), tick);
    return tick;
}

TEST(Level1Updater, FollowsOnlyCompleteLiveRequestsOfTheSymbol) {
    CChartHistRequest history;
    CLevel1Updater updater(history);
    const std::string trade = SLine{}.Text();

    SetKind(history, kTicksDatapoints);
    history.SetHistoryComplete(false);
    EXPECT_FALSE(updater.Apply(trade)) << "no trade is applied while the history loads";
    history.SetHistoryComplete(true);
    EXPECT_TRUE(updater.Apply(trade));
    EXPECT_EQ(history.GetCount(), 1);

    SLine other;
    other.symbol = "XYZ";
    other.total = "6000";
    EXPECT_FALSE(updater.Apply(other.Text())) << "a late line of another symbol";
    EXPECT_FALSE(updater.Apply("T,20240305 09:30:16"));

    for (const std::uint32_t kind :
         {std::uint32_t{kWeeksDatapoints}, std::uint32_t{kMonthsDatapoints}, 0xFFFFFFFFu}) {
        CChartHistRequest bars;
        CLevel1Updater barUpdater(bars);
        SetKind(bars, kind);
        EXPECT_FALSE(barUpdater.Apply(trade)) << "kind " << kind;
        EXPECT_EQ(bars.GetCount(), 0);
    }

    // Days by date range follow live only when the range is open-ended.
    CChartHistRequest days;
    CLevel1Updater dayUpdater(days);
    SetKind(days, kDaysDateRange);
    SHistoryParameters params = days.GetParameters();
    params.endDate = 20241231;
    days.SetParameters(params);
    EXPECT_FALSE(dayUpdater.Apply(trade));
    params.endDate = -1;
    days.SetParameters(params);
    EXPECT_TRUE(dayUpdater.Apply(trade));
    EXPECT_EQ(days.GetCount(), 1);
    EXPECT_EQ(dayUpdater.AppliedTradeLines(), 1U);
    EXPECT_TRUE(dayUpdater.LastUpdate().has_value());
}

TEST(Level1Updater, QualifiesTradesByTheirContents) {
    CChartHistRequest history;
    CLevel1Updater updater(history);
    SetKind(history, kTicksDatapoints);
    SLine line;
    line.contents = "ba";
    EXPECT_FALSE(updater.Apply(line.Text()));
    line.contents = "E";
    EXPECT_FALSE(updater.Apply(line.Text())) << "extended trades are off";
    EXPECT_EQ(history.GetCount(), 0);
    EXPECT_FALSE(updater.LastUpdate().has_value());
    history.SetExtendedTradesAccepted(true);
    EXPECT_TRUE(updater.Apply(line.Text()));
    line.contents = "O";
    line.total = "5001";
    EXPECT_TRUE(updater.Apply(line.Text()));
    line.contents = "ba";
    EXPECT_FALSE(updater.Apply(line.Text()));
    EXPECT_EQ(history.GetCount(), 2);
    EXPECT_EQ(updater.AppliedTradeLines(), 2U);

    // The day bar: a regular trade takes the day's figures, an extended one only widens the
    // high and low.
    CChartHistRequest days;
    CLevel1Updater dayUpdater(days);
    SetKind(days, kDaysDatapoints);
    days.SetExtendedTradesAccepted(true);
    days.AppendTick(Bar(CDateTime(2024, 3, 5, 0, 0, 0), 10.0, 11.0, 9.0, 10.5, 0, 4000));
    SLine extended = Trade("03/05/2024", "16:30:00", "12.00", "5000");
    extended.contents = "E";
    ASSERT_TRUE(dayUpdater.Apply(extended.Text()));
    sTICK bar = Newest(days);
    EXPECT_EQ(bar.high, 12.0);
    EXPECT_EQ(bar.low, 9.0);
    EXPECT_EQ(bar.open, 10.0);
    EXPECT_EQ(bar.close, 10.5) << "an extended trade leaves the close";
    extended.price = "8.50";
    extended.total = "5100";
    ASSERT_TRUE(dayUpdater.Apply(extended.Text()));
    EXPECT_EQ(Newest(days).low, 8.5);
    EXPECT_EQ(Newest(days).high, 12.0);
    days.SetExtendedTradesAccepted(false);
    extended.price = "20.00";
    extended.total = "5200";
    EXPECT_FALSE(dayUpdater.Apply(extended.Text()));
    EXPECT_EQ(Newest(days).high, 12.0);

    SLine regular = Trade("03/05/2024", "16:31:00", "11.10", "5300");
    regular.high = "11.90";
    regular.low = "8.70";
    regular.open = "10.05";
    regular.openInterest = "4242";
    ASSERT_TRUE(dayUpdater.Apply(regular.Text()));
    bar = Newest(days);
    EXPECT_EQ(days.GetCount(), 1);
    EXPECT_EQ(bar.high, 11.9);
    EXPECT_EQ(bar.low, 8.7);
    EXPECT_EQ(bar.open, 10.05);
    EXPECT_EQ(bar.close, 11.1);
    EXPECT_EQ(bar.volume, 5300);
    EXPECT_EQ(bar.openInterest, 4242U);
    regular.high = regular.low = regular.open = "0";
    regular.total = "5400";
    ASSERT_TRUE(dayUpdater.Apply(regular.Text()));
    bar = Newest(days);
    EXPECT_EQ(bar.high, 11.1);
    EXPECT_EQ(bar.low, 11.1);
    EXPECT_EQ(bar.open, 11.1);

    // The first trade of the next day starts its bar.
    SLine next = Trade("03/06/2024", "09:30:01", "11.40", "200");
    next.high = "11.40";
    next.low = "11.40";
    next.open = "11.40";
    ASSERT_TRUE(dayUpdater.Apply(next.Text()));
    ASSERT_EQ(days.GetCount(), 2);
    bar = Newest(days);
    EXPECT_EQ(bar.time, CDateTime(2024, 3, 6, 0, 0, 0));
    EXPECT_EQ(bar.dayCode, 6);
    EXPECT_EQ(bar.volume, 200);
}

TEST(Level1Updater, FiltersByTimeOfDayAndDateRange) {
    CChartHistRequest history;
    CLevel1Updater updater(history);
    SetKind(history, kTicksDays);
    SHistoryParameters params = history.GetParameters();
    params.beginFilterTime = 93000;
    params.endFilterTime = 160000;
    history.SetParameters(params);
    EXPECT_FALSE(updater.Apply(Trade("03/05/2024", "09:29:59", "10", "100").Text()));
    EXPECT_TRUE(updater.Apply(Trade("03/05/2024", "09:30:00", "10", "200").Text()));
    EXPECT_TRUE(updater.Apply(Trade("03/05/2024", "16:00:00", "10", "300").Text()));
    EXPECT_FALSE(updater.Apply(Trade("03/05/2024", "16:00:01", "10", "400").Text()));
    EXPECT_EQ(history.GetCount(), 2);

    // Requests by datapoints are not filtered on the feed either, so not here.
    params.requestKind = kTicksDatapoints;
    history.SetParameters(params);
    EXPECT_TRUE(updater.Apply(Trade("03/05/2024", "16:00:01", "10", "500").Text()));

    // A date range compares date and time together; extending a bar is held to it as well.
    CChartHistRequest bars;
    CLevel1Updater barUpdater(bars);
    SetKind(bars, kIntervalsDateRange);
    // The newest bar came in before the range was set: its label lies past the range's end.
    bars.AppendTick(Bar(CDateTime(2024, 3, 6, 12, 1, 0), 10, 10, 10, 10, 100, 1000));
    params = bars.GetParameters();
    params.beginDate = 20240305;
    params.beginTime = 100000;
    params.endDate = 20240306;
    params.endTime = 120000;
    bars.SetParameters(params);
    EXPECT_FALSE(barUpdater.Apply(Trade("03/06/2024", "12:00:01", "11", "1100").Text()));
    EXPECT_EQ(Newest(bars).high, 10.0);
    EXPECT_FALSE(barUpdater.Apply(Trade("03/05/2024", "09:59:59", "11", "1200").Text()));
    EXPECT_TRUE(barUpdater.Apply(Trade("03/06/2024", "12:00:00", "11", "1300").Text()));
    EXPECT_EQ(Newest(bars).high, 11.0);
    EXPECT_EQ(bars.GetCount(), 1);
}

TEST(Level1Updater, AppendsTicksWithTheTradeTime) {
    CChartHistRequest history;
    CLevel1Updater updater(history);
    SetKind(history, kTicksDatapoints);
    SLine plain = Trade("03/05/2024", "14:03:07", "10.25", "5000", "300");
    SLine marked = Trade("03/05/2024", "14:03:07t", "10.25", "5100", "300");
    SLine micro = Trade("03/05/2024", "14:03:07.250000", "10.50", "5200", "300");
    ASSERT_TRUE(updater.Apply(plain.Text()));
    ASSERT_TRUE(updater.Apply(marked.Text()));
    ASSERT_TRUE(updater.Apply(micro.Text()));
    sTICK first;
    sTICK second;
    history.GetTick(0, first);
    history.GetTick(1, second);
    EXPECT_EQ(first.time, CDateTime(2024, 3, 5, 14, 3, 7));
    EXPECT_EQ(second.time, first.time);
    EXPECT_EQ(second.microseconds, 0);
    const sTICK third = Newest(history);
    EXPECT_EQ(third.time, first.time);
    EXPECT_EQ(third.microseconds, 250000);
    EXPECT_EQ(third.high, 10.5);
    EXPECT_EQ(third.low, 10.5);
    EXPECT_EQ(third.tickId, 77U);
    EXPECT_EQ(third.dayCode, 5);

    // A summary line counts only when later than the newest tick.
    SLine summary = Trade("03/05/2024", "14:03:07", "10.75", "5300");
    summary.letter = 'P';
    EXPECT_FALSE(updater.Apply(summary.Text()));
    summary.time = "14:03:08";
    EXPECT_TRUE(updater.Apply(summary.Text()));
    EXPECT_EQ(history.GetCount(), 4);

    // An impossible date adds nothing.
    EXPECT_FALSE(updater.Apply(Trade("02/30/2024", "14:03:09", "10", "5400").Text()));
    EXPECT_EQ(history.GetCount(), 4);
}

TEST(Level1Updater, BuildsEndLabelledIntervalBars) {
    CChartHistRequest history;
    CLevel1Updater updater(history);
    SetKind(history, kIntervalsDatapoints, 60);
    history.AppendTick(Bar(CDateTime(2024, 3, 5, 9, 31, 0), 10.0, 10.5, 9.9, 10.2, 300, 5000));

    // Inside the newest bar's minute: extended; at the label: the next bar, labelled with the
    // end of its minute. (The bars' prices and volumes are compared with a fresh history in the
    // live test against portico.)
    ASSERT_TRUE(updater.Apply(Trade("03/05/2024", "09:30:40", "10.6", "5100").Text()));
    ASSERT_TRUE(updater.Apply(Trade("03/05/2024", "09:30:59", "9.8", "5150", "50").Text()));
    sTICK bar = Newest(history);
    EXPECT_EQ(history.GetCount(), 1);
    EXPECT_EQ(bar.open, 10.0);
    EXPECT_EQ(bar.high, 10.6);
    EXPECT_EQ(bar.low, 9.8);
    EXPECT_EQ(bar.close, 9.8);
    EXPECT_EQ(bar.size, 450U);
    EXPECT_EQ(bar.volume, 5150);
    ASSERT_TRUE(updater.Apply(Trade("03/05/2024", "09:31:00", "10.1", "5200").Text()));
    ASSERT_EQ(history.GetCount(), 2);
    EXPECT_EQ(Newest(history).time, CDateTime(2024, 3, 5, 9, 32, 0));
    EXPECT_EQ(Newest(history).open, 10.1);
    EXPECT_EQ(Newest(history).size, 100U);

    // An older summary line is ignored, a later one applied.
    SLine summary = Trade("03/05/2024", "09:31:30", "12", "5300");
    summary.letter = 'P';
    EXPECT_FALSE(updater.Apply(summary.Text()));
    summary.time = "09:32:30";
    EXPECT_TRUE(updater.Apply(summary.Text()));
    EXPECT_EQ(Newest(history).time, CDateTime(2024, 3, 5, 9, 33, 0));

    // A later date starts a bar of its own.
    ASSERT_TRUE(updater.Apply(Trade("03/06/2024", "09:00:00", "11", "100").Text()));
    EXPECT_EQ(Newest(history).time, CDateTime(2024, 3, 6, 9, 1, 0));

    // The last minute of a day ends at 00:00:00 of the next; its later trades still extend it.
    CChartHistRequest night;
    CLevel1Updater nightUpdater(night);
    SetKind(night, kIntervalsDatapoints, 300);
    night.AppendTick(Bar(CDateTime(2024, 3, 5, 23, 55, 0), 5, 5, 5, 5, 10, 100));
    ASSERT_TRUE(nightUpdater.Apply(Trade("03/05/2024", "23:57:30", "6", "110").Text()));
    EXPECT_EQ(Newest(night).time, CDateTime(2024, 3, 6, 0, 0, 0));
    ASSERT_TRUE(nightUpdater.Apply(Trade("03/05/2024", "23:59:59", "7", "120").Text()));
    EXPECT_EQ(night.GetCount(), 2);
    EXPECT_EQ(Newest(night).high, 7.0);
    ASSERT_TRUE(nightUpdater.Apply(Trade("03/06/2024", "00:00:00", "8", "5").Text()));
    EXPECT_EQ(Newest(night).time, CDateTime(2024, 3, 6, 0, 5, 0));

    // Dates compare as MMDDYYYY numbers: January 2 of the next year extends a December bar.
    CChartHistRequest yearEnd;
    CLevel1Updater yearUpdater(yearEnd);
    SetKind(yearEnd, kIntervalsDatapoints, 60);
    yearEnd.AppendTick(Bar(CDateTime(2024, 12, 31, 16, 0, 0), 10, 10, 10, 10, 100, 1000));
    ASSERT_TRUE(yearUpdater.Apply(Trade("01/02/2025", "09:30:05", "13", "50").Text()));
    EXPECT_EQ(yearEnd.GetCount(), 1);
    EXPECT_EQ(Newest(yearEnd).time, CDateTime(2024, 12, 31, 16, 0, 0));
    EXPECT_EQ(Newest(yearEnd).high, 13.0);
    EXPECT_EQ(Newest(yearEnd).close, 13.0);
}

TEST(Level1Updater, DropsShortAndMalformedLinesWithoutThrowing) {
    CChartHistRequest history;
    CLevel1Updater updater(history);
    SetKind(history, kIntervalsDatapoints);
    history.AppendTick(Bar(CDateTime(2024, 3, 5, 9, 31, 0), 10, 10, 10, 10, 100, 1000));
    SLine badTime = Trade("03/05/2024", "9:30", "11", "1100");
    std::string truncated = SLine{}.Text();
    truncated.resize(truncated.find(",C,"));
    const std::vector<std::string> lines = {
        "", "Q", "Q,ABC", "Q,ABC,1100,100", truncated, "Q,#MALFORMED#", badTime.Text(), "F,ABC,1"};
    for (const std::string& line : lines) {
        EXPECT_NO_THROW(EXPECT_FALSE(updater.Apply(line))) << line;
    }
    EXPECT_EQ(updater.DroppedLines(), lines.size() - 1) << "one line is of another symbol";
    EXPECT_FALSE(updater.LastDropReason().empty());
    EXPECT_EQ(history.GetCount(), 1);
    EXPECT_EQ(Newest(history).high, 10.0);

    // A fundamental line sizes the price labels from field 30, or field 31 + 10.
    std::string fundamental = "F,ABC";
    for (int i = 2; i <= 31; ++i) {
        fundamental += "," + std::to_string(i);
    }
    EXPECT_FALSE(updater.Apply(fundamental));
    EXPECT_EQ(history.GetPriceTextWidth(), 30);
    updater.SetExchangeFormat(false);
    EXPECT_FALSE(updater.Apply(fundamental));
    EXPECT_EQ(history.GetPriceTextWidth(), 41);
    // A decimal count at the top of int holds the width there instead of wrapping.
    EXPECT_FALSE(updater.Apply(fundamental.substr(0, fundamental.rfind(',') + 1) + "2147483647"));
    EXPECT_EQ(history.GetPriceTextWidth(), INT_MAX);
}

TEST(Level1Updater, LeavesOutTradesTheHistoryCountedUntilTheFirstOneBeyondIt) {
    // The feed answers a request a little after it released its last live trades: right after
    // the history, trades of the newest record's day up to its total volume are left out; from
    // the first one beyond it every trade goes through, and a new day is never left out.
    CChartHistRequest history;
    CLevel1Updater updater(history);
    SetKind(history, kTicksDatapoints);
    history.AppendTick(Bar(CDateTime(2024, 3, 5, 9, 30, 0), 0, 10, 10, 10, 100, 1000));
    EXPECT_FALSE(updater.Apply(Trade("03/05/2024", "09:30:01", "11", "1000").Text()));
    EXPECT_TRUE(updater.Apply(Trade("03/05/2024", "09:30:03", "12", "1300").Text()));
    EXPECT_TRUE(updater.Apply(Trade("03/05/2024", "09:30:04", "13", "1250").Text()));
    updater.Reset();
    EXPECT_FALSE(updater.Apply(Trade("03/05/2024", "09:30:05", "13", "1250").Text()));
    EXPECT_TRUE(updater.Apply(Trade("03/06/2024", "00:00:01", "14", "10").Text()));
    EXPECT_EQ(history.GetCount(), 4);
    EXPECT_EQ(updater.AppliedTradeLines(), 3U);
}

} // namespace

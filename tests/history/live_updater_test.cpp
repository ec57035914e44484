// The live updater on hand-made Level 1 lines: gating, trade qualification, time filters, the
// tick, interval and day-summary rules, malformed lines and the catch-up after a new history;
// the exchange clock from the feed's time stamps and trade times, and a bar's countdown.

#include "chart/last_price.h"
#include "history/chart_hist_request.h"
#include "history/exchange_clock.h"
#include "history/history_request.h"
#include "history/live_updater.h"

#include "history_bars.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace {

// An update line with the 24 selected fields; the defaults are one regular trade.
struct SLine {
    char letter = 'Q';
    std::string symbol = "ABC", total = "5000", size = "100", high = "10.80", low = "9.70",
                time = "09:30:15", openInterest = "0", open = "10.00", date = "03/05/2024",
                price = "10.25", contents = "C", tickId = "77";
    std::string Text() const {
        return fmt::format(
            "{},{},{},{},{},{},10.24,10.26,300,400,{},{},{},9.95,{},{},14,{},5,6,7,{},3D,1,5",
            letter, symbol, total, size, high, low, time, openInterest, open, date, price, tickId,
            contents);
    }
};

SLine Trade(const std::string& date, const std::string& time, const std::string& price,
            const std::string& total, const std::string& size = "100") {
    return {.total = total, .size = size, .time = time, .date = date, .price = price};
}

// The complete history of one request kind of ABC and its updater.
struct SChart {
    explicit SChart(std::uint32_t kind, int interval = 60) {
        Change([&](SHistoryParameters& p) {
            p.symbol = "ABC";
            p.requestKind = kind;
            p.interval = interval;
            p.dataDirection = "1";
        });
        history.SetHistoryComplete(true);
    }
    void Change(const std::function<void(SHistoryParameters&)>& change) {
        SHistoryParameters params = history.GetParameters();
        change(params);
        history.SetParameters(params);
    }
    bool Apply(const SLine& line) { return updater.Apply(line.Text()); }
    // The record at `index`, the newest by default.
    sTICK Record(int index = -1) const {
        sTICK tick;
        history.GetTick(index < 0 ? history.GetLastIndex() : index, tick);
        return tick;
    }
    // The prices and counts of the newest record.
    std::string Prices() const {
        const sTICK t = Record();
        return fmt::format("o{} h{} l{} c{} size{} vol{} oi{}", t.open, t.high, t.low, t.close,
                           t.size, t.volume, t.openInterest);
    }
    CChartHistRequest history;
    CLevel1Updater updater{history};
};

TEST(Level1Updater, FollowsOnlyCompleteLiveRequestsOfTheSymbol) {
    SChart ticks(kTicksDatapoints);
    ticks.history.SetHistoryComplete(false);
    EXPECT_FALSE(ticks.Apply({})) << "no trade is applied while the history loads";
    ticks.history.SetHistoryComplete(true);
    EXPECT_TRUE(ticks.Apply({}));
    EXPECT_EQ(ticks.history.GetCount(), 1);
    EXPECT_FALSE(ticks.Apply({.symbol = "XYZ", .total = "6000"}))
        << "a late line of another symbol";
    EXPECT_FALSE(ticks.updater.Apply("T,20240305 09:30:16"));
    for (const std::uint32_t kind :
         {std::uint32_t{kWeeksDatapoints}, std::uint32_t{kMonthsDatapoints}, 0xFFFFFFFFu}) {
        SChart bars(kind);
        EXPECT_FALSE(bars.Apply({})) << "kind " << kind;
        EXPECT_EQ(bars.history.GetCount(), 0);
    }
    // Days by date range follow live only when the range is open-ended.
    SChart days(kDaysDateRange);
    days.Change([](SHistoryParameters& p) { p.endDate = 20241231; });
    EXPECT_FALSE(days.Apply({}));
    days.Change([](SHistoryParameters& p) { p.endDate = -1; });
    EXPECT_TRUE(days.Apply({}));
    EXPECT_EQ(std::tuple(days.history.GetCount(), days.updater.AppliedTradeLines(),
                         days.updater.LastUpdate().has_value()),
              std::tuple(1, 1U, true));
}

TEST(Level1Updater, QualifiesTradesByTheirContents) {
    // Regular trades count; extended ones ("E", "O") only while they are accepted; others never.
    SChart ticks(kTicksDatapoints);
    int total = 5000;
    for (const auto& [contents, extended, applied] :
         std::vector<std::tuple<const char*, bool, bool>>{{"ba", false, false},
                                                          {"E", false, false},
                                                          {"E", true, true},
                                                          {"O", true, true},
                                                          {"ba", true, false}}) {
        ticks.history.SetExtendedTradesAccepted(extended);
        EXPECT_EQ(ticks.Apply({.total = std::to_string(++total), .contents = contents}), applied)
            << contents << " " << extended;
        EXPECT_EQ(ticks.updater.LastUpdate().has_value(), ticks.history.GetCount() > 0);
    }
    EXPECT_EQ(std::tuple(ticks.history.GetCount(), ticks.updater.AppliedTradeLines()),
              std::tuple(2, 2U));
    ticks.updater.Reset();
    EXPECT_FALSE(ticks.updater.LastUpdate().has_value()) << "a new request has no trade yet";
    // The day bar: an extended trade only widens the high and low, and only while accepted; a
    // regular one takes the day's figures, those of 0 from the trade.
    SChart days(kDaysDatapoints);
    days.history.AppendTick(
        MakeBar(CDateTime(2024, 3, 5, 0, 0, 0), 10.0, 11.0, 9.0, 10.5, 0, 4000));
    const struct {
        const char *contents, *price, *total, *high, *low, *open, *openInterest;
        bool accepted, applied;
        const char* prices;
    } steps[] = {
        {"E", "12.00", "5000", "10.8", "9.7", "10", "0", true, true,
         "o10 h12 l9 c10.5 size0 vol5000 oi0"},
        {"E", "8.50", "5100", "10.8", "9.7", "10", "0", true, true,
         "o10 h12 l8.5 c10.5 size0 vol5100 oi0"},
        {"E", "20.00", "5200", "10.8", "9.7", "10", "0", false, false,
         "o10 h12 l8.5 c10.5 size0 vol5100 oi0"},
        {"C", "11.10", "5300", "11.90", "8.70", "10.05", "4242", false, true,
         "o10.05 h11.9 l8.7 c11.1 size0 vol5300 oi4242"},
        {"C", "11.10", "5400", "0", "0", "0", "4242", false, true,
         "o11.1 h11.1 l11.1 c11.1 size0 vol5400 oi4242"},
    };
    for (const auto& step : steps) {
        days.history.SetExtendedTradesAccepted(step.accepted);
        SLine line = Trade("03/05/2024", "16:30:00", step.price, step.total);
        line.contents = step.contents;
        std::tie(line.high, line.low, line.open, line.openInterest) =
            std::tie(step.high, step.low, step.open, step.openInterest);
        EXPECT_EQ(days.Apply(line), step.applied) << step.total;
        EXPECT_EQ(days.Prices(), step.prices) << step.total;
    }
    EXPECT_EQ(days.history.GetCount(), 1);
    // The first trade of the next day starts its bar, with the line's day code (field 24).
    ASSERT_TRUE(days.Apply(Trade("03/06/2024", "09:30:01", "11.40", "200")));
    ASSERT_EQ(days.history.GetCount(), 2);
    EXPECT_EQ(std::tuple(days.Record().time, days.Record().dayCode, days.Record().volume),
              std::tuple(CDateTime(2024, 3, 6, 0, 0, 0), 5, 200));
}

TEST(Level1Updater, FiltersByTimeOfDayAndDateRange) {
    SChart ticks(kTicksDays);
    ticks.Change([](SHistoryParameters& p) {
        p.beginFilterTime = 93000;
        p.endFilterTime = 160000;
    });
    for (const auto& [time, total, applied] : {std::tuple{"09:29:59", "100", false},
                                               {"09:30:00", "200", true},
                                               {"16:00:00", "300", true},
                                               {"16:00:01", "400", false}}) {
        EXPECT_EQ(ticks.Apply(Trade("03/05/2024", time, "10", total)), applied) << time;
    }
    EXPECT_EQ(ticks.history.GetCount(), 2);
    // Requests by datapoints are not filtered on the feed either, so not here.
    ticks.Change([](SHistoryParameters& p) { p.requestKind = kTicksDatapoints; });
    EXPECT_TRUE(ticks.Apply(Trade("03/05/2024", "16:00:01", "10", "500")));
    // A date range compares date and time together, whatever the filter times of day say;
    // extending a bar is held to it as well.
    SChart bars(kIntervalsDateRange);
    // The newest bar came in before the range was set: its label lies past the range's end.
    bars.history.AppendTick(MakeBar(CDateTime(2024, 3, 6, 12, 1, 0), 10, 10, 10, 10, 100, 1000));
    bars.Change([](SHistoryParameters& p) {
        p.beginDate = 20240305;
        p.beginTime = 100000;
        p.endDate = 20240306;
        p.endTime = 120000;
        p.beginFilterTime = 93000;
        p.endFilterTime = 110000;
    });
    EXPECT_FALSE(bars.Apply(Trade("03/06/2024", "12:00:01", "11", "1100")));
    EXPECT_EQ(bars.Record().high, 10.0);
    EXPECT_FALSE(bars.Apply(Trade("03/05/2024", "09:59:59", "11", "1200")));
    EXPECT_TRUE(bars.Apply(Trade("03/06/2024", "12:00:00", "11", "1300")));
    EXPECT_EQ(std::tuple(bars.history.GetCount(), bars.Record().high), std::tuple(1, 11.0));
}

TEST(Level1Updater, AppendsTicksWithTheTradeTime) {
    SChart ticks(kTicksDatapoints);
    ASSERT_TRUE(ticks.Apply(Trade("03/05/2024", "14:03:07", "10.25", "5000", "300")));
    ASSERT_TRUE(ticks.Apply(Trade("03/05/2024", "14:03:07t", "10.25", "5100", "300")));
    ASSERT_TRUE(ticks.Apply(Trade("03/05/2024", "14:03:07.250000", "10.50", "5200", "300")));
    const CDateTime time(2024, 3, 5, 14, 3, 7);
    const sTICK third = ticks.Record();
    EXPECT_EQ(std::tuple(ticks.Record(0).time, ticks.Record(1).time, ticks.Record(1).microseconds,
                         third.time, third.microseconds, third.tickId, third.dayCode),
              std::tuple(time, time, 0, time, 250000, 77U, 5));
    EXPECT_EQ(ticks.Prices(), "o0 h10.5 l10.5 c10.5 size300 vol5200 oi0");
    // A summary line counts only when later than the newest tick.
    SLine summary = Trade("03/05/2024", "14:03:07", "10.75", "5300");
    summary.letter = 'P';
    EXPECT_FALSE(ticks.Apply(summary));
    summary.time = "14:03:08";
    EXPECT_TRUE(ticks.Apply(summary));
    // An impossible date adds nothing.
    EXPECT_FALSE(ticks.Apply(Trade("02/30/2024", "14:03:09", "10", "5400")));
    EXPECT_EQ(ticks.history.GetCount(), 4);
}

TEST(Level1Updater, BuildsEndLabelledIntervalBars) {
    SChart bars(kIntervalsDatapoints, 60);
    bars.history.AppendTick(
        MakeBar(CDateTime(2024, 3, 5, 9, 31, 0), 10.0, 10.5, 9.9, 10.2, 300, 5000));
    // Inside the newest bar's minute: extended; at the label: the next bar, labelled with the
    // end of its minute.
    ASSERT_TRUE(bars.Apply(Trade("03/05/2024", "09:30:40", "10.6", "5100")));
    ASSERT_TRUE(bars.Apply(Trade("03/05/2024", "09:30:59", "9.8", "5150", "50")));
    EXPECT_EQ(bars.history.GetCount(), 1);
    EXPECT_EQ(bars.Prices(), "o10 h10.6 l9.8 c9.8 size450 vol5150 oi0");
    ASSERT_TRUE(bars.Apply(Trade("03/05/2024", "09:31:00", "10.1", "5200")));
    ASSERT_EQ(bars.history.GetCount(), 2);
    EXPECT_EQ(bars.Record().time, CDateTime(2024, 3, 5, 9, 32, 0));
    EXPECT_EQ(bars.Prices(), "o10.1 h10.1 l10.1 c10.1 size100 vol5200 oi0");
    // An older summary line is ignored, a later one applied.
    SLine summary = Trade("03/05/2024", "09:31:30", "12", "5300");
    summary.letter = 'P';
    EXPECT_FALSE(bars.Apply(summary));
    summary.time = "09:32:30";
    EXPECT_TRUE(bars.Apply(summary));
    EXPECT_EQ(bars.Record().time, CDateTime(2024, 3, 5, 9, 33, 0));
    // A later date starts a bar of its own.
    ASSERT_TRUE(bars.Apply(Trade("03/06/2024", "09:00:00", "11", "100")));
    EXPECT_EQ(bars.Record().time, CDateTime(2024, 3, 6, 9, 1, 0));
    // The last minute of a day ends at 00:00:00 of the next; its later trades still extend it.
    SChart night(kIntervalsDatapoints, 300);
    night.history.AppendTick(MakeBar(CDateTime(2024, 3, 5, 23, 55, 0), 5, 5, 5, 5, 10, 100));
    ASSERT_TRUE(night.Apply(Trade("03/05/2024", "23:57:30", "6", "110")));
    EXPECT_EQ(night.Record().time, CDateTime(2024, 3, 6, 0, 0, 0));
    ASSERT_TRUE(night.Apply(Trade("03/05/2024", "23:59:59", "7", "120")));
    EXPECT_EQ(std::tuple(night.history.GetCount(), night.Record().high), std::tuple(2, 7.0));
    ASSERT_TRUE(night.Apply(Trade("03/06/2024", "00:00:00", "8", "5")));
    EXPECT_EQ(night.Record().time, CDateTime(2024, 3, 6, 0, 5, 0));
    // Dates compare as MMDDYYYY numbers: January 2 of the next year extends a December bar.
    SChart yearEnd(kIntervalsDatapoints, 60);
    yearEnd.history.AppendTick(
        MakeBar(CDateTime(2024, 12, 31, 16, 0, 0), 10, 10, 10, 10, 100, 1000));
    ASSERT_TRUE(yearEnd.Apply(Trade("01/02/2025", "09:30:05", "13", "50")));
    EXPECT_EQ(std::tuple(yearEnd.history.GetCount(), yearEnd.Record().time),
              std::tuple(1, CDateTime(2024, 12, 31, 16, 0, 0)));
    EXPECT_EQ(yearEnd.Prices(), "o10 h13 l10 c13 size200 vol50 oi0");
}

TEST(Level1Updater, DropsShortAndMalformedLinesWithoutThrowing) {
    SChart bars(kIntervalsDatapoints);
    bars.history.AppendTick(MakeBar(CDateTime(2024, 3, 5, 9, 31, 0), 10, 10, 10, 10, 100, 1000));
    std::string truncated = SLine{}.Text();
    truncated.resize(truncated.find(",C,"));
    const std::string badTime = Trade("03/05/2024", "9:30", "11", "1100").Text();
    const std::vector<std::string> lines = {
        "", "Q", "Q,ABC", "Q,ABC,1100,100", truncated, "Q,#MALFORMED#", badTime, "F,ABC,1"};
    for (const std::string& line : lines) {
        EXPECT_NO_THROW(EXPECT_FALSE(bars.updater.Apply(line))) << line;
    }
    EXPECT_EQ(bars.updater.DroppedLines(), lines.size() - 1) << "one line is of another symbol";
    EXPECT_FALSE(bars.updater.LastDropReason().empty());
    EXPECT_EQ(std::tuple(bars.history.GetCount(), bars.Record().high), std::tuple(1, 10.0));
    // A fundamental line sizes the price labels from field 30, or field 31 + 10.
    std::string fundamental = "F,ABC";
    for (int i = 2; i <= 31; ++i) {
        fundamental += "," + std::to_string(i);
    }
    EXPECT_FALSE(bars.updater.Apply(fundamental));
    EXPECT_EQ(bars.history.GetPriceTextWidth(), 30);
    bars.updater.SetExchangeFormat(false);
    EXPECT_FALSE(bars.updater.Apply(fundamental));
    EXPECT_EQ(bars.history.GetPriceTextWidth(), 41);
}

TEST(Level1Updater, HoldsOnlyTheSymbolsTradesWhileLoading) {
    SChart ticks(kTicksDatapoints);
    ticks.history.SetHistoryComplete(false);
    const SLine quote{.contents = "ba"}, other{.symbol = "XYZ"}, extended{.contents = "E"};
    const std::vector<std::tuple<std::string, bool, std::uint64_t>> cases = {
        {SLine{}.Text(), true, 0},       {quote.Text(), false, 0}, {other.Text(), false, 0},
        {extended.Text(), false, 0},     {"Q,ABC", false, 1},      {"Q,#MALFORMED#", false, 1},
        {"F,ABC,1,2,3,4,5,6", false, 1}, {"T,20240305", false, 1}, {"", false, 2},
    };
    for (const auto& [line, held, dropped] : cases) {
        EXPECT_EQ(ticks.updater.WorthHolding(line), held) << line;
        EXPECT_EQ(ticks.updater.DroppedLines(), dropped) << line;
    }
    ticks.history.SetExtendedTradesAccepted(true);
    EXPECT_TRUE(ticks.updater.WorthHolding(extended.Text()));
    SChart weeks(kWeeksDatapoints);
    EXPECT_FALSE(weeks.updater.WorthHolding(SLine{}.Text())) << "weeks do not follow live";
}

TEST(Level1Updater, LeavesOutTheTradesTheAnswerHoldsByTradingDayAndAppliesEveryLaterOne) {
    // Right after the history, a trade of an earlier trading day than the newest record's is in
    // the answer and one of a later day is not; within the day a tick goes by its TickID (an odd
    // lot leaves the total volume as it was) and a bar by the day's total volume. From the first
    // trade applied on, every trade goes through.
    const auto tick = [](const std::string& date, const std::string& time, const char* id,
                         const char* total) {
        SLine line = Trade(date, time, "11", total);
        line.tickId = id;
        return line;
    };
    sTICK newestTick = MakeBar(CDateTime(2024, 3, 5, 23, 59, 58), 0, 10, 10, 10, 100, 1000);
    newestTick.tickId = 500;
    const struct {
        std::uint32_t kind;
        sTICK newest;
        std::vector<std::pair<SLine, bool>> lines;
    } cases[] = {
        {kTicksDatapoints,
         newestTick,
         {{tick("03/04/2024", "23:59:59", "900", "9000"), false},
          {tick("03/05/2024", "23:59:58", "500", "1000"), false},
          {tick("03/05/2024", "23:59:59", "501", "1000"), true},
          {tick("03/05/2024", "23:59:59", "499", "900"), true}}},
        {kTicksDatapoints, newestTick, {{tick("03/06/2024", "00:00:01", "1", "10"), true}}},
        // A bar labelled midnight holds the trades of the day before.
        {kIntervalsDatapoints,
         MakeBar(CDateTime(2024, 3, 6, 0, 0, 0), 10, 10, 10, 10, 100, 1000),
         {{Trade("03/05/2024", "23:59:30", "11", "1000"), false},
          {Trade("03/06/2024", "00:00:05", "12", "10"), true}}},
        {kIntervalsDatapoints,
         MakeBar(CDateTime(2024, 3, 6, 9, 31, 0), 10, 10, 10, 10, 100, 500),
         {{Trade("03/05/2024", "23:59:59", "11", "90000"), false},
          {Trade("03/06/2024", "09:30:30", "12", "500"), false},
          {Trade("03/06/2024", "09:30:31", "13", "600"), true}}},
        {kDaysDatapoints,
         MakeBar(CDateTime(2024, 3, 6, 0, 0, 0), 10, 10, 10, 10, 0, 500),
         {{Trade("03/05/2024", "15:59:59", "11", "90000"), false},
          {Trade("03/06/2024", "09:30:30", "12", "500"), false},
          {Trade("03/06/2024", "09:30:31", "13", "600"), true}}},
    };
    for (const auto& c : cases) {
        SChart chart(c.kind);
        chart.history.AppendTick(c.newest);
        int applied = 0;
        for (const auto& [line, expected] : c.lines) {
            EXPECT_EQ(chart.Apply(line), expected) << c.kind << " " << line.Text();
            applied += expected ? 1 : 0;
        }
        EXPECT_EQ(chart.updater.AppliedTradeLines(), static_cast<std::uint64_t>(applied));
        EXPECT_EQ(chart.Record().close, applied > 0 ? std::stod(c.lines.back().first.price) : 10.0)
            << c.kind;
    }
}

using namespace std::chrono_literals;

const CDateTime kInvalid(2024, 2, 30, 0, 0, 0);

// The clock's time at `at` as "HH:MM:SS" (whole seconds), or "none".
std::string Read(const CExchangeClock& clock, CExchangeClock::TimePoint at) {
    const std::optional<CDateTime> now = clock.Now(at);
    if (!now) {
        return "none";
    }
    return fmt::format("{:02}:{:02}:{:02}", now->GetHour(), now->GetMinute(), now->GetSecond());
}

// The tag's countdown for a bar ending at `end` on the clock at `at`.
std::string Countdown(const CExchangeClock& clock, CExchangeClock::TimePoint at,
                      const CDateTime& end, int interval) {
    const std::optional<CDateTime> now = clock.Now(at);
    const std::optional<int> left = now ? SecondsLeftInBar(end, interval, *now) : std::nullopt;
    return left ? FormatTimeLeft(*left) : "none";
}

TEST(ExchangeClock, TimeLinesSetItTradesOnlyPushItForwardAndTheCountdownFollows) {
    const CExchangeClock::TimePoint t0{};
    CExchangeClock clock;
    EXPECT_EQ(Read(clock, t0), "none");
    // Lines that are no time stamp change nothing.
    for (const char* line : {"T,20240305 14:30", "Q,20240305 14:30:00", "T,2024030514:30:00x",
                             "T,20240305 14-30:00", "T,2024O305 14:30:00", "T,20240230 10:00:00",
                             "T,20240305 25:00:00", "T,20240305 14:30:-1"}) {
        EXPECT_FALSE(clock.OnTimeLine(line, t0)) << line;
    }
    EXPECT_EQ(Read(clock, t0), "none");
    ASSERT_TRUE(clock.OnTimeLine("T,20240305 14:30:00", t0));
    EXPECT_EQ(Read(clock, t0), "14:30:00");
    // It runs on by the steady clock, and never back before the stamp's own moment.
    EXPECT_EQ(Read(clock, t0 + 90s), "14:31:30");
    EXPECT_EQ(Read(clock, t0 - 5s), "14:30:00");
    // A trade behind the running clock is ignored; one ahead moves it on.
    clock.OnFeedTime(CDateTime(2024, 3, 5, 14, 30, 10), t0 + 20s);
    EXPECT_EQ(Read(clock, t0 + 20s), "14:30:20");
    clock.OnFeedTime(CDateTime(2024, 3, 5, 14, 31, 0), t0 + 20s);
    EXPECT_EQ(Read(clock, t0 + 30s), "14:31:10");
    // A time stamp is the service's clock: it sets ours back as well.
    ASSERT_TRUE(clock.OnTimeLine("T,20240305 14:30:05", t0 + 30s));
    EXPECT_EQ(Read(clock, t0 + 31s), "14:30:06");
    // The minute bar labelled 14:31:00 ends then: 55 s left at 14:30:05, whole seconds rounded;
    // before its start the count is held to the interval, past its end it waits at 00:00.
    const CDateTime end(2024, 3, 5, 14, 31, 0);
    EXPECT_EQ(Countdown(clock, t0 + 30s, end, 60), "00:55");
    EXPECT_EQ(Countdown(clock, t0 + 30s + 400ms, end, 60), "00:55");
    EXPECT_EQ(Countdown(clock, t0 + 30s + 600ms, end, 60), "00:54");
    EXPECT_EQ(Countdown(clock, t0 + 30s, CDateTime(2024, 3, 5, 14, 33, 0), 60), "01:00");
    EXPECT_EQ(Countdown(clock, t0 + 100s, end, 60), "00:00");
    EXPECT_EQ(Countdown(clock, t0 + 30s, CDateTime(2024, 3, 5, 16, 0, 0), 7200), "1:29:55");
    EXPECT_EQ(Countdown(clock, t0 + 30s, end, 0), "none");
    EXPECT_EQ(Countdown(clock, t0 + 30s, kInvalid, 60), "none");
    EXPECT_EQ(std::tuple(FormatTimeLeft(-3), FormatTimeLeft(3599)), std::tuple("00:00", "59:59"));
    // Reset (another symbol, a reconnect): no time until the feed gives one again.
    clock.Reset();
    EXPECT_EQ(Read(clock, t0), "none");
    EXPECT_EQ(Countdown(clock, t0, end, 60), "none");
    clock.OnFeedTime(kInvalid, t0);
    EXPECT_EQ(Read(clock, t0), "none");
    clock.OnFeedTime(CDateTime(2024, 3, 6, 9, 30, 0), t0);
    EXPECT_EQ(Read(clock, t0 + 1s), "09:30:01");
}

} // namespace

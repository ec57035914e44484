// Every bar the market serves, and its summary of a day, must be the aggregate of the market's
// own counted ticks.

#include "market_test_support.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace portico {
namespace {

using test::At;
using test::Drain;
using test::LastCounted;

class Aggregation : public test::MarketSuite<7> {};

// Folds day bars into groups by `key`, labelled with their newest day.
template <class Key> std::vector<Bar> GroupDays(const std::vector<Bar>& days, Key key) {
    std::vector<Bar> out;
    for (std::size_t i = 0; i < days.size(); ++i) {
        const Bar& d = days[i];
        if (i == 0 || key(DayOf(d.time)) != key(DayOf(days[i - 1].time))) {
            out.push_back(d);
            continue;
        }
        Bar& g = out.back();
        g.high = std::max(g.high, d.high);
        g.low = std::min(g.low, d.low);
        g.close = d.close;
        g.volume += d.volume;
        g.totalVolume = g.volume;
        g.tickCount += d.tickCount;
        g.time = d.time;
        g.openInterest = d.openInterest;
    }
    return out;
}

TEST_F(Aggregation, IntervalBarsAreTheirTicksForEveryIntervalAndSession) {
    // From inside a minute of Monday's regular session to inside a minute of Wednesday morning.
    const Micros from = At(2026, 5, 18, 15, 58, 31, 250000);
    const Micros to = At(2026, 5, 20, 10, 17, 23, 456789);
    for (const char* symbol : {"LUMA", "@NGI#", "AURX"}) {
        const Instrument& inst = get(symbol);
        const std::vector<Tick> ticks = Drain(market->ticks(inst, from, to));
        ASSERT_GT(ticks.size(), 1000u) << symbol;
        for (int seconds : {60, 300, 2700, 7200, 7, 90}) {
            SCOPED_TRACE(std::string(symbol) + " every " + std::to_string(seconds) + " s");
            EXPECT_EQ(market->intervalBars(inst, seconds, from, to),
                      test::IntervalBarsFromTicks(ticks, seconds));
        }
    }
}

// Today's bar is built from minutes and ticks up to now, the days before come from the day cache:
// both are held to the ticks, and to each other.
TEST_F(Aggregation, DayWeekAndMonthBarsAreTheirTicks) {
    const Micros now = At(2026, 5, 20, 11, 45, 10, 123);
    const Micros from = At(2026, 4, 1, 0, 0);
    for (const char* symbol : {"FENX", "@LCR#", "AURX"}) {
        SCOPED_TRACE(symbol);
        const Instrument& inst = get(symbol);
        const std::vector<Bar> expected =
            test::DayBarsFromTicks(Drain(market->ticks(inst, from, now)));
        const std::vector<Bar> days = market->dailyBars(inst, DayOf(from), DayOf(now) + 5, now);
        EXPECT_EQ(market->lastDailyBars(inst, days.size(), now), days);
        // A finished day seen from its own last microsecond is built, not cached: the same bar.
        const std::int32_t first = DayOf(days.front().time);
        EXPECT_EQ(market->dailyBars(inst, first, first, StartOfDay(first + 1) - 1),
                  std::vector<Bar>{days.front()});
        std::set<std::uint32_t> openInterests;
        std::vector<Bar> withoutOpenInterest = days;
        for (Bar& d : withoutOpenInterest) {
            EXPECT_EQ(d.openInterest > 0, inst.session == SessionClass::Future);
            openInterests.insert(std::exchange(d.openInterest, 0));
        }
        ASSERT_EQ(withoutOpenInterest, expected);
        EXPECT_EQ(openInterests.size() > 1, inst.session == SessionClass::Future);

        // Weeks from the first whole one (Monday 6 April); April and May.
        const auto weeks = GroupDays(days, [](std::int32_t d) { return d - detail::Weekday(d); });
        const std::size_t whole = weeks.size() - 1; // the first week began before April
        EXPECT_EQ(market->lastWeeklyBars(inst, whole, now),
                  std::vector<Bar>(weeks.end() - static_cast<long>(whole), weeks.end()));
        const auto months = GroupDays(days, [](std::int32_t d) {
            return detail::CivilFromDays(d).year * 12 + detail::CivilFromDays(d).month;
        });
        ASSERT_EQ(months.size(), 2u);
        EXPECT_EQ(market->lastMonthlyBars(inst, 2, now), months);
    }
}

TEST_F(Aggregation, LongDailyHistoryIsOrderedAndSane) {
    const Micros now = At(2026, 5, 20, 16, 0);
    const Instrument& luma = get("LUMA");
    const std::vector<Bar> bars = market->lastDailyBars(luma, 10000, now);
    ASSERT_GE(bars.size(), 9000u);
    EXPECT_EQ(DayOf(bars.front().time), luma.firstDay);
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const Bar& b = bars[i];
        ASSERT_TRUE(!detail::IsWeekend(DayOf(b.time)) && 0 < b.low &&
                    b.low <= std::min(b.open, b.close) && std::max(b.open, b.close) <= b.high &&
                    b.open % luma.increment == 0 && (i == 0 || bars[i - 1].time < b.time))
            << "day " << i;
    }
    EXPECT_EQ(market->dailyBars(luma, luma.firstDay, luma.firstDay + 40, now),
              std::vector<Bar>(bars.begin(), bars.begin() + 29)); // 29 weekdays in 41 days
}

// The day summary: the day so far, the last tick and the previous close.
class Summary : public test::MarketSuite<5> {};

TEST_F(Summary, AgreesWithTheTicksOfTheDay) {
    const struct {
        const char* symbol;
        Micros now;
    } cases[] = {
        {"LUMA", At(2026, 5, 20, 13, 7, 44, 1)}, {"IVRY", At(2026, 5, 20, 10, 0, 0)},
        {"@NGI#", At(2026, 5, 20, 17, 30, 0)},   {"AURX", At(2026, 5, 17, 0, 5, 30)},
        {"OBLN.B", At(2026, 5, 20, 19, 59, 59)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.symbol);
        const Instrument& inst = get(c.symbol);
        const DaySummary s = market->daySummary(inst, c.now);
        const auto today = Drain(market->ticks(inst, StartOfDay(DayOf(c.now)), c.now));
        const auto days = test::DayBarsFromTicks(today);
        ASSERT_EQ(days.size(), 1u);
        EXPECT_TRUE(s.day == DayOf(c.now) && s.traded);
        EXPECT_EQ(
            (std::vector<std::int64_t>{s.open, s.high, s.low, s.totalVolume}),
            (std::vector<std::int64_t>{days[0].open, days[0].high, days[0].low, days[0].volume}));
        ASSERT_TRUE(s.hasLast);
        EXPECT_TRUE(s.last == today.back());
        EXPECT_EQ(s.last.totalVolume, LastCounted(today)->totalVolume);

        const auto before = market->lastDailyBars(inst, 1, StartOfDay(s.day) - 1);
        ASSERT_EQ(before.size(), 1u);
        EXPECT_EQ(s.previousClose, before[0].close);
        EXPECT_EQ(s.openInterest, market->lastDailyBars(inst, 1, c.now).back().openInterest);
        EXPECT_EQ(s.openInterest > 0, inst.session == SessionClass::Future);
    }
}

TEST_F(Summary, BeforeTheFirstTradeOfTheDayTheLastTickIsOlder) {
    const Instrument& luma = get("LUMA");
    const auto friday = Drain(market->ticks(luma, At(2026, 5, 15, 0, 0), At(2026, 5, 15, 23, 59)));
    ASSERT_FALSE(friday.empty());
    // Saturday and early Monday morning alike.
    for (Micros now : {At(2026, 5, 16, 12, 0), At(2026, 5, 18, 3, 59, 59, 999999)}) {
        const DaySummary s = market->daySummary(luma, now);
        EXPECT_EQ(s.day, DayOf(now));
        EXPECT_FALSE(s.traded || s.open || s.totalVolume);
        ASSERT_TRUE(s.hasLast);
        EXPECT_TRUE(s.last == friday.back());
        EXPECT_EQ(s.previousClose, LastCounted(friday)->price);
    }
    // Before the first day of history there is nothing at all.
    const DaySummary none = market->daySummary(luma, StartOfDay(luma.firstDay) - 1);
    EXPECT_FALSE(none.traded || none.hasLast || none.previousClose);
}

} // namespace
} // namespace portico

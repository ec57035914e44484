// The day summary and the start of the most recent trading days.

#include "market_test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace portico {
namespace {

using test::At;
using test::Drain;
using test::LastCounted;

class Summary : public test::MarketSuite<5> {};

TEST_F(Summary, AgreesWithTheTicksOfTheDay) {
    struct Case {
        const char* symbol;
        Micros now;
    };
    const Case cases[] = {
        {"LUMA", At(2026, 5, 20, 13, 7, 44, 1)}, {"IVRY", At(2026, 5, 20, 10, 0, 0)},
        {"@NGI#", At(2026, 5, 20, 17, 30, 0)},   {"AURX", At(2026, 5, 17, 0, 5, 30)},
        {"OBLN.B", At(2026, 5, 20, 19, 59, 59)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.symbol);
        const Instrument& inst = get(c.symbol);
        const DaySummary s = market->daySummary(inst, c.now);
        const auto today = Drain(market->ticks(inst, StartOfDay(DayOf(c.now)), c.now));
        const auto days = test::DayBarsFromTicks(today);
        ASSERT_EQ(days.size(), 1u);
        EXPECT_EQ(s.day, DayOf(c.now));
        EXPECT_TRUE(s.traded);
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
    EXPECT_FALSE(none.traded);
    EXPECT_FALSE(none.hasLast);
    EXPECT_EQ(none.previousClose, 0);
}

TEST_F(Summary, StartOfRecentDaysCountsDaysWithTrades) {
    const Instrument& luma = get("LUMA");
    const Instrument& aurx = get("AURX");
    const Micros mondayMorning = At(2026, 5, 18, 10, 0);
    const Micros beforeMondayTrades = At(2026, 5, 18, 3, 0);
    EXPECT_EQ(market->startOfRecentDays(luma, 1, mondayMorning), At(2026, 5, 18, 0, 0));
    EXPECT_EQ(market->startOfRecentDays(luma, 3, mondayMorning), At(2026, 5, 14, 0, 0));
    EXPECT_EQ(market->startOfRecentDays(luma, 1, beforeMondayTrades), At(2026, 5, 15, 0, 0));
    EXPECT_EQ(market->startOfRecentDays(luma, 6, beforeMondayTrades), At(2026, 5, 8, 0, 0));
    EXPECT_EQ(market->startOfRecentDays(aurx, 3, mondayMorning), At(2026, 5, 16, 0, 0));
    // More days than history has: the first day.
    const Micros early = StartOfDay(aurx.firstDay + 2) + 5;
    EXPECT_EQ(market->startOfRecentDays(aurx, 10, early), StartOfDay(aurx.firstDay));
}

} // namespace
} // namespace portico

// Every bar the market serves must be the aggregate of the market's own counted ticks.

#include "market_test_support.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace portico {
namespace {

using test::At;
using test::Day;
using test::Drain;

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

std::int64_t WeekOf(std::int32_t day) {
    return day - detail::Weekday(day);
}

std::int64_t MonthOf(std::int32_t day) {
    const detail::CivilDate c = detail::CivilFromDays(day);
    return c.year * 12 + c.month;
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

TEST_F(Aggregation, LastIntervalBarsAreTheNewestBarsUpToNow) {
    const Micros now = At(2026, 5, 20, 9, 31, 4, 5);
    for (const char* symbol : {"LUMA", "IVRY", "@LCR#", "AURX"}) {
        SCOPED_TRACE(symbol);
        const Instrument& inst = get(symbol);
        for (int seconds : {60, 1800}) {
            // Enough bars to reach back over a day boundary.
            const std::vector<Bar> all =
                market->intervalBars(inst, seconds, StartOfDay(DayOf(now) - 3), now);
            const std::size_t count = std::min<std::size_t>(all.size(), 40 + 86400 / seconds);
            const std::vector<Bar> last = market->lastIntervalBars(inst, seconds, count, now);
            ASSERT_EQ(last.size(), count);
            EXPECT_TRUE(std::equal(last.begin(), last.end(), all.end() - static_cast<long>(count)));
            EXPECT_LE(last.back().time - seconds * kMicrosPerSecond, now);
        }
        // The bar holding `now` ends with the newest counted trade at or before `now`.
        const std::vector<Tick> ticks = Drain(market->lastTicks(inst, 50, now));
        const Tick* lastCounted = test::LastCounted(ticks);
        ASSERT_NE(lastCounted, nullptr);
        const std::vector<Bar> newest = market->lastIntervalBars(inst, 60, 1, now);
        ASSERT_EQ(newest.size(), 1u);
        EXPECT_EQ(newest[0].close, lastCounted->price);
        EXPECT_EQ(newest[0].totalVolume, lastCounted->totalVolume);
    }
}

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
        std::set<std::uint32_t> openInterests;
        std::vector<Bar> withoutOpenInterest = days;
        for (Bar& d : withoutOpenInterest) {
            EXPECT_EQ(d.openInterest > 0, inst.session == SessionClass::Future);
            openInterests.insert(std::exchange(d.openInterest, 0));
        }
        ASSERT_EQ(withoutOpenInterest, expected);
        EXPECT_EQ(openInterests.size() > 1, inst.session == SessionClass::Future);

        // Weeks from the first whole one (Monday 6 April); April and May.
        const std::vector<Bar> weeks = GroupDays(days, WeekOf);
        const std::size_t whole = weeks.size() - 1; // the first week began before April
        EXPECT_EQ(market->lastWeeklyBars(inst, whole, now),
                  std::vector<Bar>(weeks.end() - static_cast<long>(whole), weeks.end()));
        const std::vector<Bar> months = GroupDays(days, MonthOf);
        ASSERT_EQ(months.size(), 2u);
        EXPECT_EQ(market->lastMonthlyBars(inst, 2, now), months);
    }
}

TEST_F(Aggregation, CachedDaysAgreeWithDaysBuiltUpToNow) {
    // A finished day comes from the day cache; the same day seen from its own last microsecond
    // is built from minutes and ticks. Both must agree, on a weekday and over a weekend.
    for (const char* symbol : {"LUMA", "@TEN#", "AURX", "YRRO"}) {
        SCOPED_TRACE(symbol);
        const Instrument& inst = get(symbol);
        for (std::int32_t day = Day(2026, 5, 15); day <= Day(2026, 5, 18); ++day) {
            const Micros endOfDay = StartOfDay(day + 1) - 1;
            const auto partial = market->dailyBars(inst, day, day, endOfDay);
            const auto cached = market->dailyBars(inst, day, day, endOfDay + 2 * kMicrosPerDay);
            EXPECT_EQ(partial, cached) << "day " << day;
        }
    }
}

TEST_F(Aggregation, LongDailyHistoryIsOrderedAndSane) {
    const Micros now = At(2026, 5, 20, 16, 0);
    const Instrument& luma = get("LUMA");
    const std::vector<Bar> bars = market->lastDailyBars(luma, 10000, now);
    ASSERT_GE(bars.size(), 9000u);
    EXPECT_EQ(DayOf(bars.front().time), luma.firstDay);
    EXPECT_LE(luma.firstDay, Day(1990, 1, 2));
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const Bar& b = bars[i];
        ASSERT_FALSE(detail::IsWeekend(DayOf(b.time)));
        ASSERT_GT(b.low, 0);
        ASSERT_LE(b.low, std::min(b.open, b.close));
        ASSERT_GE(b.high, std::max(b.open, b.close));
        ASSERT_EQ(b.open % luma.increment, 0);
        if (i > 0) {
            ASSERT_GT(b.time, bars[i - 1].time);
        }
    }
    EXPECT_EQ(market->dailyBars(luma, luma.firstDay, luma.firstDay + 40, now),
              std::vector<Bar>(bars.begin(), bars.begin() + 29)); // 29 weekdays in 41 days
}

} // namespace
} // namespace portico

// The universe and its trading hours.

#include "market_test_support.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

namespace portico {
namespace {

using test::At;
using test::Day;
using test::Drain;

class Sessions : public test::MarketSuite<3> {};

int MinuteOfDay(Micros t) {
    return static_cast<int>((t - StartOfDay(DayOf(t))) / kMicrosPerMinute);
}

TEST_F(Sessions, TheUniverseIsWellFormed) {
    const auto& all = market->instruments();
    EXPECT_GE(all.size(), 36u);
    EXPECT_LE(all.size(), 44u);
    std::set<int> markets;
    std::set<int> types;
    for (const auto& m : market->listedMarkets()) {
        markets.insert(m.id);
    }
    for (const auto& t : market->securityTypes()) {
        types.insert(t.id);
    }
    EXPECT_GE(markets.size(), 4u);
    std::set<std::string> symbols;
    std::set<SessionClass> sessions;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Instrument& inst = all[i];
        SCOPED_TRACE(inst.symbol);
        EXPECT_EQ(inst.index, i);
        EXPECT_TRUE(symbols.insert(inst.symbol).second);
        for (char c : inst.symbol) {
            EXPECT_TRUE(std::isupper(static_cast<unsigned char>(c)) ||
                        std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == '#' ||
                        c == '@');
        }
        EXPECT_EQ(inst.description.find(','), std::string::npos);
        EXPECT_TRUE(markets.count(inst.listedMarket));
        EXPECT_TRUE(types.count(inst.securityType));
        EXPECT_GT(inst.increment, 0);
        EXPECT_GE(inst.lotSize, 1u);
        EXPECT_EQ(market->find(inst.symbol), &inst);
        EXPECT_TRUE(inst.session == SessionClass::Continuous || !detail::IsWeekend(inst.firstDay));
        sessions.insert(inst.session);
    }
    EXPECT_EQ(sessions.size(), 3u);
    EXPECT_EQ(market->find("NOSUCH"), nullptr);
    EXPECT_EQ(get("LUMA").session, SessionClass::Equity);
    EXPECT_LE(get("LUMA").firstDay, Day(1990, 1, 2));
    EXPECT_EQ(get("AURX").session, SessionClass::Continuous);
}

TEST_F(Sessions, EquitiesTradeWeekdaysWithExtendedHoursAroundTheRegularSession) {
    // Friday to Monday.
    const auto ticks =
        Drain(market->ticks(get("LUMA"), At(2026, 5, 15, 0, 0), At(2026, 5, 18, 23, 59)));
    std::set<std::int32_t> days;
    std::size_t extended = 0;
    for (const Tick& t : ticks) {
        const int minute = MinuteOfDay(t.time);
        days.insert(DayOf(t.time));
        ASSERT_GE(minute, 4 * 60);
        ASSERT_LT(minute, 20 * 60);
        const bool regular = minute >= 9 * 60 + 30 && minute < 16 * 60;
        if (t.basis != 'O') {
            ASSERT_EQ(t.basis, regular ? 'C' : 'E') << minute;
            extended += t.basis == 'E' ? 1 : 0;
        }
    }
    EXPECT_EQ(days, (std::set<std::int32_t>{Day(2026, 5, 15), Day(2026, 5, 18)}));
    EXPECT_GT(extended, 1000u);

    // LUMA counts about 100,000 trades a weekday.
    const auto bars = market->lastDailyBars(get("LUMA"), 60, At(2026, 5, 18, 23, 0));
    double sum = 0;
    for (const Bar& b : bars) {
        sum += b.tickCount;
    }
    EXPECT_GT(sum / bars.size(), 60000.0);
    EXPECT_LT(sum / bars.size(), 160000.0);
}

TEST_F(Sessions, IlliquidEquitiesLeaveExtendedMinutesEmpty) {
    const auto minutes =
        market->intervalBars(get("IVRY"), 60, At(2026, 5, 19, 4, 0), At(2026, 5, 19, 9, 29, 59));
    EXPECT_LT(minutes.size(), 330u / 2);
    EXPECT_FALSE(minutes.empty());
}

TEST_F(Sessions, FuturesTradeWeekdaysRoundTheClockExceptOneHour) {
    const auto ticks =
        Drain(market->ticks(get("@BGD#"), At(2026, 5, 15, 0, 0), At(2026, 5, 18, 23, 59)));
    std::set<int> hours;
    for (const Tick& t : ticks) {
        ASSERT_FALSE(detail::IsWeekend(DayOf(t.time)));
        ASSERT_EQ(t.basis, 'C');
        hours.insert(MinuteOfDay(t.time) / 60);
    }
    EXPECT_EQ(hours.size(), 23u);
    EXPECT_EQ(hours.count(17), 0u);
}

TEST_F(Sessions, TheContinuousTokenTradesEveryHourOfEveryDay) {
    const auto ticks =
        Drain(market->ticks(get("AURX"), At(2026, 5, 16, 0, 0), At(2026, 5, 17, 23, 59, 59)));
    std::set<std::pair<std::int32_t, int>> hours;
    for (const Tick& t : ticks) {
        ASSERT_EQ(t.basis, 'C');
        hours.insert({DayOf(t.time), MinuteOfDay(t.time) / 60});
    }
    EXPECT_EQ(hours.size(), 48u); // a whole weekend
}

} // namespace
} // namespace portico

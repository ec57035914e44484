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
        EXPECT_TRUE(markets.count(inst.listedMarket) && types.count(inst.securityType));
        EXPECT_GT(inst.increment, 0);
        EXPECT_GE(inst.lotSize, 1u);
        EXPECT_EQ(market->find(inst.symbol), &inst);
        EXPECT_TRUE(inst.session == SessionClass::Continuous || !detail::IsWeekend(inst.firstDay));
        sessions.insert(inst.session);
    }
    EXPECT_EQ(sessions.size(), 3u);
    EXPECT_EQ(market->find("NOSUCH"), nullptr);
    EXPECT_LE(get("LUMA").firstDay, Day(1990, 1, 2));
}

TEST_F(Sessions, EachClassTradesItsHoursFromFridayToMonday) {
    // Equities trade 04:00-20:00 on weekdays, regular ('C') from 09:30 to 16:00 and extended
    // ('E') around it; futures trade weekdays round the clock but for the hour from 17:00; the
    // token trades every hour of every day.
    const struct {
        const char* symbol;
        SessionClass session;
        int firstHour, endHour, pausedHour;
        bool weekends;
        int regularFrom, regularTo; // minutes of the day
    } cases[] = {
        {"LUMA", SessionClass::Equity, 4, 20, -1, false, 570, 960},
        {"@BGD#", SessionClass::Future, 0, 24, 17, false, 0, 1440},
        {"AURX", SessionClass::Continuous, 0, 24, -1, true, 0, 1440},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.symbol);
        EXPECT_EQ(get(c.symbol).session, c.session);
        const auto ticks = Drain(market->ticks(get(c.symbol), At(2026, 5, 15, 0, 0),
                                               At(2026, 5, 18, 23, 59, 59, 999999)));
        std::set<std::pair<std::int32_t, int>> hours;
        std::size_t extended = 0;
        for (const Tick& t : ticks) {
            const int minute = static_cast<int>((t.time - StartOfDay(DayOf(t.time))) / 60'000'000);
            hours.insert({DayOf(t.time), minute / 60});
            if (t.basis != 'O') {
                ASSERT_EQ(t.basis, minute >= c.regularFrom && minute < c.regularTo ? 'C' : 'E')
                    << minute;
                extended += t.basis == 'E' ? 1 : 0;
            }
        }
        std::set<std::pair<std::int32_t, int>> expected;
        for (std::int32_t day = Day(2026, 5, 15); day <= Day(2026, 5, 18); ++day) {
            for (int hour = c.firstHour; hour < c.endHour; ++hour) {
                if (hour != c.pausedHour && (c.weekends || !detail::IsWeekend(day))) {
                    expected.insert({day, hour});
                }
            }
        }
        EXPECT_EQ(hours, expected);
        EXPECT_EQ(extended > 1000, c.session == SessionClass::Equity);
    }
}

TEST_F(Sessions, LiquidAndIlliquidEquities) {
    // LUMA counts about 100,000 trades a weekday.
    const auto bars = market->lastDailyBars(get("LUMA"), 60, At(2026, 5, 18, 23, 0));
    double sum = 0;
    for (const Bar& b : bars) {
        sum += b.tickCount;
    }
    EXPECT_GT(sum / bars.size(), 60000.0);
    EXPECT_LT(sum / bars.size(), 160000.0);
    // IVRY leaves most extended minutes empty.
    const auto minutes =
        market->intervalBars(get("IVRY"), 60, At(2026, 5, 19, 4, 0), At(2026, 5, 19, 9, 29, 59));
    EXPECT_LT(minutes.size(), 330u / 2);
    EXPECT_FALSE(minutes.empty());
}

} // namespace
} // namespace portico

// The simulated market. Ticks: determinism, the cut at `now`, streaming in pieces, the invariants
// of every single tick, and the universe and its trading hours. Every bar the market serves, and
// its summary of a day, must be the aggregate of the market's own counted ticks.

#include "market/random.h"
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
using test::LastCounted;

class Ticks : public test::MarketSuite<11> {};

TEST(TicksDeterminism, TheSeedAloneDecidesTheData) {
    // Pinned fingerprints: the data must not change with the compiler, the machine, a
    // refactoring, or what the market computed and cached before. Regenerate them only when the
    // market is meant to change.
    const auto fingerprint = [](std::uint64_t seed, bool warm) {
        Market market(seed);
        const Instrument& luma = *market.find("LUMA");
        const Micros from = At(2024, 2, 29, 9, 30);
        if (warm) {
            (void)market.lastDailyBars(luma, 500, from);
            (void)Drain(market.ticks(luma, from - kMicrosPerDay, from + 10 * kMicrosPerMinute));
        }
        std::uint64_t h = 0;
        for (const Tick& t : Drain(market.ticks(luma, from, from + 5 * kMicrosPerMinute))) {
            h = detail::HashKey(h, static_cast<std::uint64_t>(t.time ^ (t.price << 20) ^ t.size) ^
                                       t.tickId ^ (static_cast<std::uint64_t>(t.bid) << 32));
        }
        return std::pair{
            h, market.lastDailyBars(luma, 10000, from + 3 * 3600 * kMicrosPerSecond).front().close};
    };
    const auto known = fingerprint(42, false);
    EXPECT_EQ(known, std::pair(std::uint64_t{17704767985757043205ULL}, std::int64_t{1387}));
    EXPECT_EQ(fingerprint(42, true), known);
    EXPECT_NE(fingerprint(43, false).first, known.first);
}

TEST_F(Ticks, NothingAfterNowAndPiecesMatchTheWhole) {
    for (const char* symbol : {"LUMA", "@NGI#", "AURX", "IVRY"}) {
        SCOPED_TRACE(symbol);
        const Instrument& inst = get(symbol);
        const Micros from = At(2026, 5, 19, 9, 25, 0);
        const Micros now = At(2026, 5, 19, 9, 41, 17, 333333);
        const auto whole = Drain(market->ticks(inst, from, now));
        ASSERT_FALSE(whole.empty());
        EXPECT_GE(whole.front().time, from);
        EXPECT_LE(whole.back().time, now);
        // The way the server releases live trades: consecutive ranges as the clock moves.
        std::vector<Tick> pieces;
        for (Micros start = from; start <= now; start += 997'003) {
            const auto part = Drain(market->ticks(inst, start, std::min(start + 997'002, now)));
            pieces.insert(pieces.end(), part.begin(), part.end());
        }
        EXPECT_TRUE(whole == pieces);
        // Ranges that begin or end exactly on a tick include it.
        const Tick& middle = whole[whole.size() / 2];
        const auto upTo = Drain(market->ticks(inst, from, middle.time));
        const auto after = Drain(market->ticks(inst, middle.time, now));
        ASSERT_FALSE(upTo.empty());
        ASSERT_FALSE(after.empty());
        EXPECT_TRUE(upTo.back() == middle && after.front() == middle);
        EXPECT_EQ(upTo.size() + after.size(), whole.size() + 1);
    }
}

TEST_F(Ticks, EveryTickKeepsTheRules) {
    const Micros from = At(2026, 5, 21, 0, 0);
    const Micros to = At(2026, 5, 21, 23, 59, 59, 999999);
    for (const char* symbol : {"LUMA", "@TEN#", "AURX", "IVRY", "OBLN.B"}) {
        SCOPED_TRACE(symbol);
        const Instrument& inst = get(symbol);
        const auto ticks = Drain(market->ticks(inst, from, to));
        ASSERT_FALSE(ticks.empty());
        const auto minutes = market->intervalBars(inst, 60, from, to);
        std::size_t minute = 0;
        std::int64_t volume = 0;
        std::size_t oddLots = 0;
        for (std::size_t i = 0; i < ticks.size(); ++i) {
            const Tick& t = ticks[i];
            ASSERT_TRUE(0 < t.bid && t.bid <= t.price && t.price <= t.ask && t.bid < t.ask) << i;
            ASSERT_TRUE(t.price % inst.increment == 0 && t.dayCode == 21 && t.aggressor <= 2) << i;
            ASSERT_TRUE(i == 0 || (t.time > ticks[i - 1].time && t.tickId > ticks[i - 1].tickId))
                << "tick " << i << " is not after the one before";
            while (minutes[minute].time <= t.time) {
                ++minute;
            }
            ASSERT_GT(t.size, 0u);
            if (t.basis == 'O') {
                ++oddLots;
                ASSERT_TRUE(t.size < inst.lotSize && minutes[minute].low <= t.price &&
                            t.price <= minutes[minute].high)
                    << "odd lot " << i << " outside its minute";
            } else {
                ASSERT_EQ(t.size % inst.lotSize, 0u);
                volume += t.size;
            }
            ASSERT_EQ(t.totalVolume, volume) << "tick " << i << " basis " << t.basis;
        }
        EXPECT_EQ(oddLots > 0, inst.session == SessionClass::Equity);
    }
}

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
        EXPECT_TRUE(inst.index == i && symbols.insert(inst.symbol).second);
        EXPECT_EQ(market->find(inst.symbol), &inst);
        EXPECT_EQ(inst.symbol.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.#@"),
                  std::string::npos);
        EXPECT_EQ(inst.description.find(','), std::string::npos);
        EXPECT_TRUE(markets.count(inst.listedMarket) && types.count(inst.securityType));
        EXPECT_TRUE(inst.increment > 0 && inst.lotSize >= 1);
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

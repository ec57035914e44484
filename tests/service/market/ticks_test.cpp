// Ticks: determinism, the cut at `now`, streaming in pieces, lastTicks and the invariants of
// every single tick.

#include "market/random.h"
#include "market_test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace portico {
namespace {

using test::At;
using test::Drain;

class Ticks : public test::MarketSuite<11> {};

TEST(TicksDeterminism, TheSeedAloneDecidesTheData) {
    const Micros from = At(2026, 3, 10, 9, 0);
    const Micros to = At(2026, 3, 10, 11, 0);
    Market a(1234);
    Market b(1234);
    Market other(1235);
    const Instrument& luma = *a.find("LUMA");
    // Warm `a` up elsewhere first: caches must not change what comes out.
    (void)a.lastDailyBars(luma, 500, to);
    (void)Drain(a.ticks(luma, from - kMicrosPerDay, to - kMicrosPerDay));

    const auto ticksA = Drain(a.ticks(luma, from, to));
    const auto ticksB = Drain(b.ticks(*b.find("LUMA"), from, to));
    const auto ticksOther = Drain(other.ticks(*other.find("LUMA"), from, to));
    ASSERT_GT(ticksA.size(), 1000u);
    EXPECT_TRUE(ticksA == ticksB);
    EXPECT_FALSE(ticksA == ticksOther);
    EXPECT_EQ(a.lastDailyBars(luma, 300, to), b.lastDailyBars(*b.find("LUMA"), 300, to));
    EXPECT_NE(a.lastDailyBars(luma, 300, to), other.lastDailyBars(*other.find("LUMA"), 300, to));
}

TEST(TicksDeterminism, KnownSeedGivesKnownData) {
    // Pinned fingerprints: the data must not change with the compiler, the machine or a
    // refactoring. Regenerate them only when the market is meant to change.
    Market market(42);
    const Instrument& luma = *market.find("LUMA");
    std::uint64_t h = 0;
    for (const Tick& t :
         Drain(market.ticks(luma, At(2024, 2, 29, 9, 30), At(2024, 2, 29, 9, 35)))) {
        h = detail::HashKey(h, static_cast<std::uint64_t>(t.time ^ (t.price << 20) ^ t.size) ^
                                   t.tickId ^ (static_cast<std::uint64_t>(t.bid) << 32));
    }
    const Bar first = market.lastDailyBars(luma, 10000, At(2024, 2, 29, 12, 0)).front();
    EXPECT_EQ(h, 17704767985757043205ULL);
    EXPECT_EQ(first.close, 1387);
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

TEST_F(Ticks, LastTicksAreTheNewestCountOldestFirst) {
    const Micros to = At(2026, 5, 20, 9, 30, 0, 41);
    for (const char* symbol : {"LUMA", "@HGS#", "AURX", "TMBR"}) {
        SCOPED_TRACE(symbol);
        const Instrument& inst = get(symbol);
        const auto window = Drain(market->ticks(inst, to - 4 * kMicrosPerDay, to));
        for (std::size_t count : {std::size_t{1}, std::size_t{777}, window.size() - 3}) {
            const auto last = Drain(market->lastTicks(inst, count, to));
            ASSERT_EQ(last.size(), count);
            EXPECT_TRUE(
                std::equal(last.begin(), last.end(), window.end() - static_cast<long>(count)));
        }
    }
    // Counting without reading gives what reading gives: whole days, cut minutes, odd lots.
    for (const char* symbol : {"LUMA", "IVRY", "@NGI#", "AURX"}) {
        SCOPED_TRACE(symbol);
        const Instrument& inst = get(symbol);
        for (const auto& [from, until] :
             {std::pair{to - 4 * kMicrosPerDay, to}, std::pair{StartOfDay(DayOf(to) - 3), to - 1},
              std::pair{to - 3'600'000'123, to - 59'000'321}}) {
            EXPECT_EQ(market->countTicks(inst, from, until),
                      Drain(market->ticks(inst, from, until)).size());
        }
        EXPECT_EQ(market->countTicks(inst, to, to - 1), 0u);
    }
    // Shorter history than asked for: everything from the first day.
    const Instrument& shrd = get("SHRD");
    const Micros early = StartOfDay(shrd.firstDay) + 3 * 3600 * kMicrosPerSecond + 5;
    const auto all = Drain(market->ticks(shrd, 0, early));
    ASSERT_FALSE(all.empty());
    EXPECT_TRUE(Drain(market->lastTicks(shrd, all.size() + 1000, early)) == all);
    EXPECT_TRUE(Drain(market->lastTicks(shrd, 10, StartOfDay(shrd.firstDay) - 1)).empty());
    EXPECT_TRUE(Drain(market->lastTicks(shrd, 0, early)).empty());
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
            ASSERT_GT(t.bid, 0);
            ASSERT_LE(t.bid, t.price);
            ASSERT_LE(t.price, t.ask);
            ASSERT_LT(t.bid, t.ask);
            ASSERT_EQ(t.price % inst.increment, 0);
            ASSERT_EQ(t.dayCode, 21);
            ASSERT_LE(t.aggressor, 2);
            if (i > 0) {
                ASSERT_GT(t.time, ticks[i - 1].time);
                ASSERT_GT(t.tickId, ticks[i - 1].tickId);
            }
            while (minutes[minute].time <= t.time) {
                ++minute;
            }
            if (t.basis == 'O') {
                ++oddLots;
                ASSERT_GT(t.size, 0u);
                ASSERT_LT(t.size, inst.lotSize);
                ASSERT_GE(t.price, minutes[minute].low);
                ASSERT_LE(t.price, minutes[minute].high);
            } else {
                ASSERT_GT(t.size, 0u);
                ASSERT_EQ(t.size % inst.lotSize, 0u);
                volume += t.size;
            }
            ASSERT_EQ(t.totalVolume, volume) << "tick " << i << " basis " << t.basis;
        }
        EXPECT_EQ(oddLots > 0, inst.session == SessionClass::Equity);
    }
}

} // namespace
} // namespace portico

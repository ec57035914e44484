// The streaming sources of history answers against the market's whole-range queries: the same
// ticks and bars, in the same order, for every limit, filter and direction, however the work is
// cut into steps; and long tick answers copied from kept day texts against the same answers
// formatted tick by tick.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "commands.h"
#include "history_answer.h"
#include "interval_source.h"
#include "market_test_support.h"
#include "tick_source.h"

namespace portico {
namespace {

using test::At;

// Every item of a source in order, and how often it gave way without one. Tick sources are
// asked for runs of 1, 32 and 63 ticks in turn, so that runs end everywhere.
template <class Item, class Source> std::pair<std::vector<Item>, int> Drain(Source&& source) {
    std::vector<Item> items;
    int busy = 0;
    for (std::size_t round = 0;; ++round) {
        const Item* first = nullptr;
        std::size_t count = 1;
        SourceStep step = SourceStep::Done;
        if constexpr (std::is_same_v<Item, Tick>) {
            step = source.next(first, count, 1 + round % 3 * 31);
        } else {
            step = source.next(first);
        }
        if (step == SourceStep::Done) {
            return {items, busy};
        }
        if (step == SourceStep::Item) {
            items.insert(items.end(), first, first + count);
        } else {
            ++busy;
        }
    }
}

// Holds the sources `make(limit, newestFirst)` gives to the newest `limit` of `kept` (oldest
// first), in answer order, for each limit and both directions.
template <class Item, class Make>
void ExpectNewestOf(const std::vector<Item>& kept, const std::vector<std::uint64_t>& limits,
                    Make make) {
    for (const std::uint64_t limit : limits) {
        for (const bool newest : {false, true}) {
            SCOPED_TRACE("limit " + std::to_string(limit) + (newest ? " newest first" : ""));
            std::vector<Item> want(kept.end() - static_cast<long>(std::min(limit, kept.size())),
                                   kept.end());
            if (newest) {
                std::reverse(want.begin(), want.end());
            }
            const std::vector<Item> got = Drain<Item>(make(limit, newest)).first;
            EXPECT_TRUE(got == want) << got.size() << " items, not " << want.size();
        }
    }
}

class AnswerSources : public test::MarketSuite<1> {};

TEST_F(AnswerSources, TicksMatchTheMarketForEveryLimitFilterAndDirection) {
    for (const char* symbol : {"LUMA", "@NGI#", "IVRY"}) {
        const Instrument& inst = get(symbol);
        // From inside Tuesday's session to inside Friday morning.
        const Micros from = At(2026, 11, 17, 10, 17, 3);
        const Micros to = At(2026, 11, 20, 9, 45, 30) + 123;
        const std::vector<Tick> all = test::Drain(market->ticks(inst, from, to));
        ASSERT_GT(all.size(), 1000u) << symbol;
        for (const auto& [begin, end] : {std::pair{-1, -1}, std::pair{34200, 57600},
                                         std::pair{43200, -1}, std::pair{-1, 36000}}) {
            SCOPED_TRACE(std::string(symbol) + " filter " + std::to_string(begin) + "-" +
                         std::to_string(end));
            std::vector<Tick> kept;
            for (const Tick& t : all) {
                const auto second = (t.time - StartOfDay(DayOf(t.time))) / kMicrosPerSecond;
                if ((begin < 0 || second >= begin) && (end < 0 || second <= end)) {
                    kept.push_back(t);
                }
            }
            ExpectNewestOf(
                kept, {5'000'000, kept.size(), kept.size() - 1, 777, 1},
                [&](std::uint64_t limit, bool newest) {
                    return TickSource(*market, inst, {from, to, limit, begin, end, newest});
                });
        }
    }
    // Ranges without ticks, and a filter that lets nothing through.
    const Instrument& luma = get("LUMA");
    for (const TickSelection& empty :
         {TickSelection{At(2026, 11, 21, 0, 0), At(2026, 11, 22, 23, 0), 10, -1, -1, false},
          TickSelection{0, StartOfDay(luma.firstDay) - 1, 10, -1, -1, true},
          TickSelection{At(2026, 11, 20, 9, 0), At(2026, 11, 20, 8, 0), 10, -1, -1, false},
          TickSelection{At(2026, 11, 15, 0, 0), At(2026, 11, 20, 11, 0), 10, 50000, 40000,
                        false}}) {
        EXPECT_TRUE(Drain<Tick>(TickSource(*market, luma, empty)).first.empty());
    }
}

TEST_F(AnswerSources, IntervalBarsMatchTheMarketForEveryIntervalLimitFilterAndDirection) {
    for (const char* symbol : {"LUMA", "@NGI#", "AURX"}) {
        const Instrument& inst = get(symbol);
        const Micros from = At(2026, 11, 18, 15, 58, 31) + 250'000;
        const Micros to = At(2026, 11, 20, 10, 17, 23) + 456'789;
        for (const int seconds : {1, 7, 60, 90, 300, 2700, 7200, 86400}) {
            const std::vector<Bar> all = market->intervalBars(inst, seconds, from, to);
            ASSERT_FALSE(all.empty());
            for (const auto& [begin, end] : {std::pair{-1, -1}, std::pair{34200, 57600},
                                             std::pair{37800, -1}, std::pair{-1, 86400}}) {
                SCOPED_TRACE(std::string(symbol) + " every " + std::to_string(seconds) +
                             " s, filter " + std::to_string(begin) + "-" + std::to_string(end));
                std::vector<Bar> kept;
                for (const Bar& bar : all) {
                    const Micros start = bar.time - seconds * kMicrosPerSecond;
                    const auto second = (start - StartOfDay(DayOf(start))) / kMicrosPerSecond;
                    if ((begin < 0 || second >= begin) && (end < 0 || second + seconds <= end)) {
                        kept.push_back(bar);
                    }
                }
                ExpectNewestOf(kept, {5'000'000, kept.size() + 1, kept.size() / 2 + 1},
                               [&](std::uint64_t limit, bool newest) {
                                   return IntervalSource(
                                       *market, inst,
                                       {from, to, seconds, limit, begin, end, newest});
                               });
            }
        }
    }
    // The newest bars of the whole history: the tail of the market's bars of the last months.
    const Instrument& luma = get("LUMA");
    const Micros now = At(2026, 11, 20, 12, 0);
    for (const int seconds : {60, 300}) {
        const auto recent = market->intervalBars(luma, seconds, now - 200 * kMicrosPerDay, now);
        ASSERT_GT(recent.size(), 20'000u);
        EXPECT_TRUE(Drain<Bar>(IntervalSource(*market, luma,
                                              {StartOfDay(luma.firstDay), now, seconds, 20'000, -1,
                                               -1, false}))
                        .first == std::vector(recent.end() - 20'000, recent.end()));
    }
}

TEST_F(AnswerSources, LongAnswersAreMadeInShortSteps) {
    // A month of one-second bars, and the newest ticks of a long filtered history: both sources
    // give way again and again before their first item and between items.
    const Instrument& luma = get("LUMA");
    const Micros now = At(2026, 11, 20, 12, 0);
    const auto [someBars, barPauses] = Drain<Bar>(
        IntervalSource(*market, luma, {now - 30 * kMicrosPerDay, now, 1, 200'000, -1, -1, false}));
    EXPECT_EQ(someBars.size(), 200'000u);
    EXPECT_GT(barPauses, 10);
    const auto [someTicks, tickPauses] = Drain<Tick>(
        TickSource(*market, luma, {StartOfDay(luma.firstDay), now, 1000, 43200, 43201, false}));
    EXPECT_EQ(someTicks.size(), 1000u);
    EXPECT_GT(tickPauses, 2);
}

// The whole text of the answer to `command`, taken in steps of 64 KiB as a producer takes it:
// where lines are kept whole, from where they are.
std::string Answer(const Market& market, const std::string& command, Micros now,
                   DayTextCache* days) {
    HistoryAnswer answer(market, std::get<HistoryRequest>(ParseCommand(command)), now, {}, days);
    LineWriter out;
    std::string text;
    for (auto progress = HistoryAnswer::Progress::More;
         progress == HistoryAnswer::Progress::More;) {
        std::string_view kept;
        std::shared_ptr<const void> keep;
        if (answer.view(64 * 1024, kept, keep)) {
            text += kept;
            continue;
        }
        out.clear();
        progress = answer.fill(out, 64 * 1024);
        text += out.view();
    }
    return text;
}

TEST_F(AnswerSources, AnswersFromKeptDaysAreTheFormattedAnswers) {
    // Oldest first from inside a day and newest first, a filter, a range ending in a past day;
    // asked for once (formatted as sent), twice (days kept) and again (copied), with a budget
    // that keeps every day and one that keeps a few; the day in progress is never kept.
    const Micros now = At(2026, 11, 20, 11, 30) + 123;
    const std::string commands[] = {"HTX,LUMA,700000,1,A", "HTX,LUMA,700000,0,A",
                                    "HTD,AURX,3,,093000,155959,1,B",
                                    "HTT,LUMA,20261117 101703,20261119 094530,,,,0,C"};
    std::vector<std::string> formatted;
    for (const std::string& command : commands) {
        formatted.push_back(Answer(*market, command, now, nullptr));
        EXPECT_GT(std::count(formatted.back().begin(), formatted.back().end(), '\n'), 10'000)
            << command;
    }
    for (const std::size_t budget : {std::size_t{1} << 30, std::size_t{60} << 20}) {
        DayTextCache days(budget);
        for (int pass = 0; pass < 3; ++pass) {
            for (std::size_t i = 0; i < std::size(commands); ++i) {
                SCOPED_TRACE(commands[i] + " budget " + std::to_string(budget) + " pass " +
                             std::to_string(pass));
                const std::string copied = Answer(*market, commands[i], now, &days);
                EXPECT_TRUE(copied == formatted[i])
                    << copied.size() << " bytes, not " << formatted[i].size();
                // A day is kept the second time it is asked for.
                EXPECT_EQ(days.bytes() > 0, pass > 0 || i > 0);
                EXPECT_LE(days.bytes(), budget);
            }
        }
        days.trim(DayTextCache::Clock::now() + std::chrono::minutes(11));
        EXPECT_EQ(days.bytes(), 0u);
    }
}

} // namespace
} // namespace portico

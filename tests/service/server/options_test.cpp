// The command line, and the exchange clock it sets up.

#include <gtest/gtest.h>

#include <tuple>

#include "civil_time.h"
#include "clock.h"
#include "options.h"

namespace portico {
namespace {

using namespace std::string_literals;

OptionsResult Parse(std::vector<std::string> arguments) {
    return ParseOptions(arguments);
}

Micros Civil(int y, int mo, int d, int h, int mi, int s) {
    return StartOfDay(DaysFromCivil(y, mo, d)) + ((h * 60 + mi) * 60 + s) * kMicrosPerSecond;
}

TEST(OptionsTest, EveryOptionInBothSpellings) {
    // clang-format off
    const OptionsResult result = Parse({
        "-product", "TRELLIS_PLOTS", "-version", "1.8.0.0", "--seed", "7", "--symbol-limit=1",
        "--admin-port", "0", "--lookup-port=9101", "--level1-port", "5010", "--connect-delay", "0",
        "--linger=0", "--timezone", "Europe/London", "--start-time", "2026-11-20 09:30:00",
        "--clock-rate", "2.5", "--quote-rate", "0", "--stress-rate=200000", "--fault-close-after", "10",
        "--fault-long-line", "--fault-drip", "100", "--fault-malformed=3", "--fault-refuse", "2",
        "--fault-accept-delay", "250", "--slow-reader-grace=2"});
    // clang-format on
    ASSERT_TRUE(result.error.empty()) << result.error;
    const Options& o = result.options;
    EXPECT_EQ(std::tuple(o.product, o.productVersion, o.timeZone, o.seed, o.showVersion),
              std::tuple("TRELLIS_PLOTS"s, "1.8.0.0"s, "Europe/London"s, std::uint64_t{7}, false));
    EXPECT_EQ(
        std::tuple(o.symbolLimit, o.adminPort, o.lookupPort, o.level1Port, o.connectDelayMs,
                   o.lingerSeconds, o.stressRate, o.slowReaderGraceSeconds),
        std::tuple(1, std::optional(0), std::optional(9101), std::optional(5010), 0, 0, 200000, 2));
    EXPECT_EQ(std::tuple(o.startTime, o.clockRate, o.quoteRate),
              std::tuple(std::optional(Civil(2026, 11, 20, 9, 30, 0)), 2.5, 0.0));
    const Faults& f = o.faults;
    EXPECT_EQ(std::tuple(f.closeAfterLines, f.longLine, f.dripBytes, f.malformedEvery,
                         f.refuseCount, f.acceptDelayMs),
              std::tuple(std::uint64_t{10}, true, 100, 3, 2, 250));
    // Without them: no stress lines, five seconds' grace for a slow reader; -h asks for help.
    const Options none = Parse({}).options;
    EXPECT_EQ(
        std::tuple(none.stressRate, none.slowReaderGraceSeconds, Parse({"-h"}).options.showHelp),
        std::tuple(0, 5, true));
}

TEST(OptionsTest, BadCommandLinesAreRefusedWithAMessage) {
    // clang-format off
    const std::vector<std::vector<std::string>> bad = {
        {"--nope"}, {"--seed"}, {"--seed", "x"}, {"--symbol-limit", "0"}, {"--admin-port", "65536"},
        {"--lookup-port", "-1"}, {"--linger", "1.5"}, {"--start-time", "2026-11-20"},
        {"--start-time", "2026-02-30 10:00:00"}, {"--clock-rate", "0"}, {"--clock-rate", "nan"},
        {"--quote-rate", "-1"}, {"--stress-rate", "-5"}, {"--stress-rate", "1e5"},
        {"--stress-rate", "10000001"}, {"--fault-drip", "0"}, {"--slow-reader-grace", "0"},
        {"--slow-reader-grace", "3601"}, {"--fault-long-line=1"}, {"stray"}};
    // clang-format on
    for (const auto& arguments : bad) {
        EXPECT_FALSE(Parse(arguments).error.empty()) << arguments[0];
    }
}

TEST(ClockTest, FollowsTheWallClockInTheExchangeZoneOrRunsFromAStartAtItsRate) {
    // A clock is read at `wall` (UTC) and two minutes later. Its zone is `before` hours from UTC
    // until 06:00 UTC on 1 November and `after` hours from then, like a daylight-saving switch.
    const std::int64_t switchAt = Civil(2026, 11, 1, 6, 0, 0) / kMicrosPerSecond;
    const auto expectClock = [&](int before, int after, std::optional<Micros> start, double rate,
                                 Micros wall, Micros first, Micros second) {
        const Clock clock(
            [&](std::int64_t utc) { return (utc < switchAt ? before : after) * 3600; }, start, rate,
            [&wall] { return wall; });
        EXPECT_EQ(clock.now(), first) << "rate " << rate;
        wall += 120 * kMicrosPerSecond;
        EXPECT_EQ(clock.now(), second) << "rate " << rate << ", first read " << first;
    };
    expectClock(-4, -4, {}, 1.0, Civil(2026, 7, 1, 14, 0, 0), Civil(2026, 7, 1, 10, 0, 0),
                Civil(2026, 7, 1, 10, 2, 0));
    expectClock(-4, -5, {}, 1.0, Civil(2026, 11, 1, 5, 59, 0), Civil(2026, 11, 1, 1, 59, 0),
                Civil(2026, 11, 1, 1, 1, 0));
    const Micros start = Civil(2026, 11, 20, 9, 30, 0);
    const Micros any = 1'000'000'000 * kMicrosPerSecond;
    expectClock(1, 1, start, 1.0, any, start, start + 120 * kMicrosPerSecond);
    expectClock(0, 0, start, 60.0, any, start, start + 7200 * kMicrosPerSecond);
    expectClock(0, 0, {}, 0.5, any, any, any + 60 * kMicrosPerSecond);
}

} // namespace
} // namespace portico

#include <gtest/gtest.h>

#include "civil_time.h"
#include "options.h"

namespace portico {
namespace {

OptionsResult Parse(std::vector<std::string> arguments) {
    return ParseOptions(arguments);
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
    EXPECT_TRUE(Parse({"-h"}).options.showHelp);
    EXPECT_EQ(o.product, "TRELLIS_PLOTS");
    EXPECT_EQ(o.productVersion, "1.8.0.0");
    EXPECT_FALSE(o.showVersion);
    EXPECT_EQ(o.seed, 7u);
    EXPECT_EQ(o.symbolLimit, 1);
    EXPECT_EQ(o.adminPort, 0);
    EXPECT_EQ(o.lookupPort, 9101);
    EXPECT_EQ(o.level1Port, 5010);
    EXPECT_EQ(o.connectDelayMs, 0);
    EXPECT_EQ(o.lingerSeconds, 0);
    EXPECT_EQ(o.timeZone, "Europe/London");
    EXPECT_EQ(o.startTime, StartOfDay(DaysFromCivil(2026, 11, 20)) + 34200 * kMicrosPerSecond);
    EXPECT_DOUBLE_EQ(o.clockRate, 2.5);
    EXPECT_DOUBLE_EQ(o.quoteRate, 0.0);
    EXPECT_EQ(o.stressRate, 200000);
    EXPECT_EQ(Parse({}).options.stressRate, 0);
    EXPECT_EQ(o.slowReaderGraceSeconds, 2);
    EXPECT_EQ(Parse({}).options.slowReaderGraceSeconds, 5);
    EXPECT_EQ(o.faults.closeAfterLines, 10u);
    EXPECT_TRUE(o.faults.longLine);
    EXPECT_EQ(o.faults.dripBytes, 100);
    EXPECT_EQ(o.faults.malformedEvery, 3);
    EXPECT_EQ(o.faults.refuseCount, 2);
    EXPECT_EQ(o.faults.acceptDelayMs, 250);
}

TEST(OptionsTest, BadCommandLinesAreRefusedWithAMessage) {
    const std::vector<std::vector<std::string>> bad = {
        {"--nope"},
        {"--seed"},
        {"--seed", "x"},
        {"--symbol-limit", "0"},
        {"--admin-port", "65536"},
        {"--lookup-port", "-1"},
        {"--linger", "1.5"},
        {"--start-time", "2026-11-20"},
        {"--start-time", "2026-02-30 10:00:00"},
        {"--clock-rate", "0"},
        {"--clock-rate", "nan"},
        {"--quote-rate", "-1"},
        {"--stress-rate", "-5"},
        {"--stress-rate", "1e5"},
        {"--stress-rate", "10000001"},
        {"--fault-drip", "0"},
        {"--slow-reader-grace", "0"},
        {"--slow-reader-grace", "3601"},
        {"--fault-long-line=1"},
        {"stray"},
    };
    for (const auto& arguments : bad) {
        EXPECT_FALSE(Parse(arguments).error.empty()) << arguments[0];
    }
}

} // namespace
} // namespace portico

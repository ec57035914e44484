#include <gtest/gtest.h>

#include "civil_time.h"
#include "clock.h"

namespace portico {
namespace {

constexpr std::int64_t kSecond = 1'000'000;

Micros Civil(int y, int mo, int d, int h, int mi, int s) {
    return StartOfDay(DaysFromCivil(y, mo, d)) + ((h * 60 + mi) * 60 + s) * kSecond;
}

TEST(ClockTest, FollowsTheWallClockInTheExchangeZone) {
    std::int64_t wall = Civil(2026, 7, 1, 14, 0, 0); // as UTC microseconds
    const Clock clock([](std::int64_t) { return -4 * 3600; }, std::nullopt, 1.0,
                      [&wall] { return wall; });
    EXPECT_EQ(clock.now(), Civil(2026, 7, 1, 10, 0, 0));
    wall += 90 * kSecond;
    EXPECT_EQ(clock.now(), Civil(2026, 7, 1, 10, 1, 30));
}

TEST(ClockTest, UsesTheOffsetInForceAtEachInstant) {
    // An offset that changes at a fixed UTC second, like a daylight-saving switch.
    const std::int64_t switchAt = Civil(2026, 11, 1, 6, 0, 0) / kSecond;
    std::int64_t wall = Civil(2026, 11, 1, 5, 59, 0);
    const Clock clock(
        [switchAt](std::int64_t utc) { return utc < switchAt ? -4 * 3600 : -5 * 3600; },
        std::nullopt, 1.0, [&wall] { return wall; });
    EXPECT_EQ(clock.now(), Civil(2026, 11, 1, 1, 59, 0));
    wall += 2 * 60 * kSecond;
    EXPECT_EQ(clock.now(), Civil(2026, 11, 1, 1, 1, 0));
}

TEST(ClockTest, StartsAtAFixedTimeAndRunsAtItsRate) {
    std::int64_t wall = 1'000'000'000 * kSecond;
    const Micros start = Civil(2026, 11, 20, 9, 30, 0);
    const Clock fixed([](std::int64_t) { return 3600; }, start, 1.0, [&wall] { return wall; });
    const Clock fast([](std::int64_t) { return 0; }, start, 60.0, [&wall] { return wall; });
    const Clock slow([](std::int64_t) { return 0; }, std::nullopt, 0.5, [&wall] { return wall; });
    const Micros slowStart = slow.now();
    EXPECT_EQ(fixed.now(), start);
    EXPECT_EQ(fast.now(), start);
    wall += 10 * kSecond;
    EXPECT_EQ(fixed.now(), start + 10 * kSecond);
    EXPECT_EQ(fast.now(), start + 600 * kSecond);
    EXPECT_EQ(slow.now(), slowStart + 5 * kSecond);
}

} // namespace
} // namespace portico

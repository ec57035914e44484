// The exchange clock from the feed's time stamp lines and trade times, running on between them by
// the steady clock, and the countdown of a minute bar read from it.

#include "chart/last_price.h"
#include "history/exchange_clock.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::chrono_literals;

const CDateTime kInvalid(2024, 2, 30, 0, 0, 0);

// The clock's time at `at` as "HH:MM:SS" (whole seconds), or "none".
std::string Read(const CExchangeClock& clock, CExchangeClock::TimePoint at) {
    const std::optional<CDateTime> now = clock.Now(at);
    if (!now) {
        return "none";
    }
    return fmt::format("{:02}:{:02}:{:02}", now->GetHour(), now->GetMinute(), now->GetSecond());
}

// The tag's countdown for a bar ending at `end` on the clock at `at`.
std::string Countdown(const CExchangeClock& clock, CExchangeClock::TimePoint at,
                      const CDateTime& end, int interval) {
    const std::optional<CDateTime> now = clock.Now(at);
    const std::optional<int> left = now ? SecondsLeftInBar(end, interval, *now) : std::nullopt;
    return left ? FormatTimeLeft(*left) : "none";
}

TEST(ExchangeClock, TimeLinesSetItTradesOnlyPushItForwardAndTheCountdownFollows) {
    const CExchangeClock::TimePoint t0{};
    CExchangeClock clock;
    EXPECT_EQ(Read(clock, t0), "none");
    // Lines that are no time stamp change nothing.
    for (const char* line : {"T,20240305 14:30", "Q,20240305 14:30:00", "T,2024030514:30:00x",
                             "T,20240305 14-30:00", "T,2024O305 14:30:00", "T,20240230 10:00:00",
                             "T,20240305 25:00:00", "T,20240305 14:30:-1"}) {
        EXPECT_FALSE(clock.OnTimeLine(line, t0)) << line;
    }
    EXPECT_EQ(Read(clock, t0), "none");

    ASSERT_TRUE(clock.OnTimeLine("T,20240305 14:30:00", t0));
    EXPECT_EQ(Read(clock, t0), "14:30:00");
    // It runs on by the steady clock, and never back before the stamp's own moment.
    EXPECT_EQ(Read(clock, t0 + 90s), "14:31:30");
    EXPECT_EQ(Read(clock, t0 - 5s), "14:30:00");
    // A trade behind the running clock is ignored; one ahead moves it on.
    clock.OnFeedTime(CDateTime(2024, 3, 5, 14, 30, 10), t0 + 20s);
    EXPECT_EQ(Read(clock, t0 + 20s), "14:30:20");
    clock.OnFeedTime(CDateTime(2024, 3, 5, 14, 31, 0), t0 + 20s);
    EXPECT_EQ(Read(clock, t0 + 30s), "14:31:10");
    // A time stamp is the service's clock: it sets ours back as well.
    ASSERT_TRUE(clock.OnTimeLine("T,20240305 14:30:05", t0 + 30s));
    EXPECT_EQ(Read(clock, t0 + 31s), "14:30:06");

    // The minute bar labelled 14:31:00 ends then: 55 s left at 14:30:05, whole seconds rounded;
    // before its start the count is held to the interval, past its end it waits at 00:00.
    const CDateTime end(2024, 3, 5, 14, 31, 0);
    EXPECT_EQ(Countdown(clock, t0 + 30s, end, 60), "00:55");
    EXPECT_EQ(Countdown(clock, t0 + 30s + 400ms, end, 60), "00:55");
    EXPECT_EQ(Countdown(clock, t0 + 30s + 600ms, end, 60), "00:54");
    EXPECT_EQ(Countdown(clock, t0 + 30s, CDateTime(2024, 3, 5, 14, 33, 0), 60), "01:00");
    EXPECT_EQ(Countdown(clock, t0 + 100s, end, 60), "00:00");
    EXPECT_EQ(Countdown(clock, t0 + 30s, CDateTime(2024, 3, 5, 16, 0, 0), 7200), "1:29:55");
    EXPECT_EQ(Countdown(clock, t0 + 30s, end, 0), "none");
    EXPECT_EQ(Countdown(clock, t0 + 30s, kInvalid, 60), "none");
    EXPECT_EQ(FormatTimeLeft(-3), "00:00");
    EXPECT_EQ(FormatTimeLeft(3599), "59:59");

    // Reset (another symbol, a reconnect): no time until the feed gives one again.
    clock.Reset();
    EXPECT_EQ(Read(clock, t0), "none");
    EXPECT_EQ(Countdown(clock, t0, end, 60), "none");
    clock.OnFeedTime(kInvalid, t0);
    EXPECT_EQ(Read(clock, t0), "none");
    clock.OnFeedTime(CDateTime(2024, 3, 6, 9, 30, 0), t0);
    EXPECT_EQ(Read(clock, t0 + 1s), "09:30:01");
}

} // namespace

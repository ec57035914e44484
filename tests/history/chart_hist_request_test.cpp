#include "base/error.h"
#include "history/chart_hist_request.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <random>
#include <tuple>

namespace {

sTICK TickAt(int year, int month, int day, int hour, int minute, int second, double close = 1.0) {
    sTICK tick;
    tick.time = CDateTime(year, month, day, hour, minute, second);
    tick.close = close;
    return tick;
}

// The fast calendar conversion used by the parser must agree with the checked one everywhere,
// including impossible dates, leap days, the edges of the year range and days before 1899.
TEST(FastDateTime, AgreesWithTheCheckedConversion) {
    const auto agree = [](int y, int mo, int d, int h, int mi, int s) {
        const CDateTime checked(y, mo, d, h, mi, s);
        const CDateTime fast = CDateTime::FromFields(y, mo, d, h, mi, s);
        return fast.IsValid() == checked.IsValid() &&
               (!checked.IsValid() || (fast.Days() == checked.Days() &&
                                       fast.GetSecondsOfDay() == h * 3600 + mi * 60 + s));
    };
    for (const char* text :
         {"2020-2-29 9:30:0", "2021-2-29 9:30:0", "2024-2-30 0:0:0", "1900-2-29 0:0:0",
          "2000-2-29 23:59:59", "1899-12-29 6:0:0", "1899-12-30 0:0:0", "100-1-1 0:0:0",
          "99-12-31 0:0:0", "9999-12-31 23:59:59", "2026-4-31 0:0:0", "2026-13-1 0:0:0",
          "2026-1-1 24:0:0", "0-0-0 0:0:0"}) {
        int c[6] = {};
        ASSERT_EQ(std::sscanf(text, "%d-%d-%d %d:%d:%d", c, c + 1, c + 2, c + 3, c + 4, c + 5), 6);
        EXPECT_TRUE(agree(c[0], c[1], c[2], c[3], c[4], c[5])) << text;
    }
    std::mt19937 random(7);
    std::uniform_int_distribution<int> year(1600, 2400), month(0, 13), day(0, 32), hour(0, 24),
        minute(0, 60);
    for (int i = 0; i < 20000; ++i) {
        const int y = year(random), mo = month(random), d = day(random), h = hour(random),
                  mi = minute(random), s = minute(random);
        ASSERT_TRUE(agree(y, mo, d, h, mi, s))
            << y << "-" << mo << "-" << d << " " << h << ":" << mi << ":" << s;
    }
}

class Series : public ::testing::Test {
protected:
    void Fill(int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(history.AppendTick(TickAt(2026, 1, 5, 10, 0, i % 60, 100.0 + i)));
        }
    }
    CChartHistRequest history;
};

TEST_F(Series, GettersClampTheIndexReplaceThrowsOutsideAndEmptyLeavesTheRecordAlone) {
    sTICK out;
    out.close = 42.0;
    EXPECT_FALSE(history.GetTick(0, out));
    EXPECT_EQ(out.close, 42.0);
    EXPECT_EQ(history.GetClose(3), 0.0);
    EXPECT_EQ(history.GetLastIndex(), -1);

    Fill(5);
    ASSERT_TRUE(history.GetTick(-5, out));
    EXPECT_EQ(out.close, 100.0);
    ASSERT_TRUE(history.GetTick(history.GetCount() + 3, out));
    EXPECT_EQ(out.close, 104.0);
    EXPECT_EQ(history.GetClose(-1), 100.0);
    EXPECT_EQ(history.GetClose(99), 104.0);
    EXPECT_EQ(history.GetLastIndex(), 4);

    sTICK replacement = TickAt(2026, 1, 6, 11, 0, 0, 7.5);
    replacement.text1.Assign("corrected");
    history.ReplaceTick(1, replacement);
    // The record's texts are copied, not shared.
    replacement.text1.Assign("changed");
    history.GetTick(1, out);
    EXPECT_EQ(out.close, 7.5);
    EXPECT_EQ(out.text1.View(), "corrected");
    out = replacement;
    EXPECT_EQ(out.text1.View(), "changed");
    replacement.text1.Assign("");
    EXPECT_TRUE(replacement.text1.Empty());
    EXPECT_EQ(out.text1.View(), "changed");
    EXPECT_THROW(history.ReplaceTick(5, replacement), CInvalidArgException);
    EXPECT_THROW(history.ReplaceTick(-1, replacement), CInvalidArgException);
    EXPECT_EQ(history.GetClose(0), 100.0);
    EXPECT_EQ(history.GetClose(2), 102.0);
    EXPECT_EQ(history.GetClose(4), 104.0);
}

// More records than one storage block holds, so that records live in several blocks.
TEST_F(Series, GrowsByTheStepKeepsRecordsAcrossStorageBlocksAndClearResetsTheStep) {
    history.SetGrowthStep(4);
    Fill(9);
    EXPECT_EQ(history.GetCapacity(), 12U);
    EXPECT_EQ(history.GetCount(), 9);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(history.GetClose(i), 100.0 + i);
    }

    history.Clear();
    EXPECT_EQ(history.GetCount(), 0);
    EXPECT_EQ(history.GetCapacity(), 0U);
    EXPECT_EQ(history.GetGrowthStep(), CHistoryRequestBase::kDefaultGrowthStep);
    Fill(1);
    EXPECT_EQ(history.GetCapacity(), CHistoryRequestBase::kDefaultGrowthStep);

    constexpr int kCount = 100000;
    for (int i = 1; i < kCount; ++i) {
        sTICK tick = TickAt(2026, 1, 5, 10, 0, 0, i);
        tick.volume = i;
        ASSERT_TRUE(history.AppendTick(tick));
    }
    ASSERT_EQ(history.GetCount(), kCount);
    sTICK out;
    for (int i = 1; i < kCount; i += 997) {
        history.GetTick(i, out);
        ASSERT_EQ(out.volume, i);
    }
    history.GetTick(kCount - 1, out);
    EXPECT_EQ(out.close, kCount - 1);
}

TEST_F(Series, FilterTimesApplyInclusivelyOnlyWithADateRange) {
    SHistoryParameters range;
    range.beginDate = SHistoryParameters::FromText("20260101");
    range.endDate = SHistoryParameters::FromText("20261231");
    range.endTime = SHistoryParameters::FromText("235959");
    range.beginFilterTime = 93000;
    range.endFilterTime = 160000;
    history.SetParameters(range);
    EXPECT_FALSE(history.AppendTick(TickAt(2026, 3, 2, 9, 29, 59)));
    EXPECT_TRUE(history.AppendTick(TickAt(2026, 3, 2, 9, 30, 0)));
    EXPECT_TRUE(history.AppendTick(TickAt(2026, 3, 2, 16, 0, 0)));
    EXPECT_FALSE(history.AppendTick(TickAt(2026, 3, 2, 16, 0, 1)));
    EXPECT_EQ(history.GetCount(), 2);

    // One end of the range missing: the range is off and so are the filter times, but an
    // impossible time is still dropped.
    range.endDate = SHistoryParameters::FromText("");
    history.SetParameters(range);
    EXPECT_TRUE(history.AppendTick(TickAt(2026, 3, 2, 16, 0, 1)));
    EXPECT_TRUE(history.AppendTick(TickAt(2030, 3, 2, 1, 0, 0)));
    EXPECT_TRUE(history.AppendTick(sTICK{}));
    EXPECT_FALSE(history.AppendTick(TickAt(2026, 2, 30, 0, 0, 0)));
    EXPECT_EQ(history.GetCount(), 5);
}

TEST_F(Series, ColumnReadsCopyOneFieldOfARangeAndStopAtTheEnds) {
    for (int i = 0; i < 5; ++i) {
        sTICK bar = TickAt(2026, 1, 5 + i, 0, 0, 0, 10.0 + i);
        bar.open = 9.0 + i;
        bar.high = 12.0 + i * (i % 2 == 0 ? 1 : -1);
        bar.low = 8.0 - i;
        bar.volume = 100 * (5 - i);
        bar.size = static_cast<std::uint32_t>(i + 1);
        bar.microseconds = i;
        ASSERT_TRUE(history.AppendTick(bar));
    }
    std::array<double, 4> prices{-1, -1, -1, -1};
    // A range hanging over the oldest point fills from its first existing index on.
    EXPECT_EQ(history.FillPrices(EPriceColumn::Close, -2, prices), 2U);
    EXPECT_EQ(prices, (std::array<double, 4>{-1, -1, 10.0, 11.0}));
    EXPECT_EQ(history.FillPrices(EPriceColumn::Open, 3, prices), 2U);
    EXPECT_EQ(prices, (std::array<double, 4>{12.0, 13.0, 10.0, 11.0}));
    EXPECT_EQ(history.FillPrices(EPriceColumn::Low, 5, prices), 0U);
    std::array<std::int64_t, 5> volumes{};
    EXPECT_EQ(history.FillVolumes(0, volumes), 5U);
    EXPECT_EQ(volumes, (std::array<std::int64_t, 5>{500, 400, 300, 200, 100}));
    std::array<std::uint32_t, 2> sizes{};
    EXPECT_EQ(history.FillSizes(1, sizes), 2U);
    EXPECT_EQ(sizes, (std::array<std::uint32_t, 2>{2, 3}));
    std::array<SPointTime, 1> times{};
    EXPECT_EQ(history.FillTimes(4, times), 1U);
    EXPECT_EQ(times[0].time, CDateTime(2026, 1, 9, 0, 0, 0));
    EXPECT_EQ(times[0].microseconds, 4);

    // Extremes of the existing part of a range: highs 12, 11, 14, 9, 16; lows 8 ... 4.
    const auto extremes = [&](int from, int to) {
        const SRangeExtremes e = history.GetExtremes(from, to);
        return std::tuple(e.count, e.highestHigh, e.lowestLow, e.largestVolume);
    };
    EXPECT_EQ(extremes(1, 3), std::tuple(3, 14.0, 5.0, std::int64_t{400}));
    EXPECT_EQ(extremes(-3, 100), std::tuple(5, 16.0, 4.0, std::int64_t{500}));
    EXPECT_EQ(extremes(5, 10), std::tuple(0, 0.0, 0.0, std::int64_t{0}));
}

} // namespace

#include "base/error.h"
#include "history/chart_hist_request.h"
#include "history/point_time.h"

#include "history_bars.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

namespace {

sTICK TickAt(int year, int month, int day, int hour, int minute, int second, double close = 1.0) {
    return MakeBar(CDateTime(year, month, day, hour, minute, second), 0, 0, 0, close);
}

class Series : public ::testing::Test {
protected:
    void Fill(int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(history.AppendTick(TickAt(2026, 1, 5, 10, 0, i % 60, 100.0 + i)));
        }
    }
    // The closes of the series, oldest first.
    std::vector<double> Closes() const {
        std::vector<double> closes;
        for (int i = 0; i < history.GetCount(); ++i) {
            closes.push_back(history.GetClose(i));
        }
        return closes;
    }
    // The series with its records' addresses in reach, as drawing code holds them.
    struct SHeldSeries : CChartHistRequest {
        const sTICK* Record(std::size_t index) const { return &At(index); }
    } history;
};

TEST_F(Series, GettersClampTheIndexReplaceThrowsOutsideAndEmptyLeavesTheRecordAlone) {
    sTICK out;
    out.close = 42.0;
    EXPECT_FALSE(history.GetTick(0, out));
    EXPECT_EQ(std::tuple(out.close, history.GetClose(3)), std::tuple(42.0, 0.0));
    EXPECT_EQ(history.GetLastIndex(), -1);
    Fill(5);
    ASSERT_TRUE(history.GetTick(-5, out));
    EXPECT_EQ(out.close, 100.0);
    ASSERT_TRUE(history.GetTick(history.GetCount() + 3, out));
    EXPECT_EQ(out.close, 104.0);
    EXPECT_EQ(std::tuple(history.GetClose(-1), history.GetClose(99), history.GetLastIndex()),
              std::tuple(100.0, 104.0, 4));
    sTICK replacement = TickAt(2026, 1, 6, 11, 0, 0, 7.5);
    replacement.text1.Assign("corrected");
    history.ReplaceTick(1, replacement);
    // The record's texts are copied, not shared.
    replacement.text1.Assign("changed");
    history.GetTick(1, out);
    EXPECT_EQ(std::tuple(out.close, out.text1.View()), std::tuple(7.5, "corrected"));
    EXPECT_THROW(history.ReplaceTick(5, replacement), CInvalidArgException);
    EXPECT_THROW(history.ReplaceTick(-1, replacement), CInvalidArgException);
    EXPECT_EQ(std::tuple(history.GetClose(0), history.GetClose(2), history.GetClose(4)),
              std::tuple(100.0, 102.0, 104.0));
}

// More records than one storage block holds, so that records live in several blocks.
TEST_F(Series, GrowsByTheStepKeepsRecordsAcrossStorageBlocksAndClearResetsTheStep) {
    history.SetGrowthStep(4);
    Fill(9);
    EXPECT_EQ(std::tuple(history.GetCapacity(), history.GetCount()), std::tuple(12U, 9));
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(history.GetClose(i), 100.0 + i);
    }
    history.Clear();
    EXPECT_EQ(std::tuple(history.GetCount(), history.GetCapacity()), std::tuple(0, 0U));
    EXPECT_EQ(history.GetGrowthStep(), CHistoryRequestBase::kDefaultGrowthStep);
    // The large blocks of a long series, and only they, are advised before they are written.
    std::vector<std::size_t> advised;
    history.SetMemoryAdvice([&](void* data, std::size_t bytes) {
        advised.push_back(bytes);
        std::memset(data, 0xA5, bytes);
    });
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
    ASSERT_FALSE(advised.empty());
    for (const std::size_t bytes : advised) {
        EXPECT_GE(bytes, CHistoryRequestBase::kAdvisedBytes);
    }
}

// The block after the one being filled goes to the prefault hook in pieces on another thread:
// the series counts it and fills it next; the end of the answer and Clear() stop the helper
// inside it. The hook scribbles
// over each piece, so a block used before its helper finished would lose records.
TEST_F(Series, TheBlockAheadIsPrefaultedOnAHelperFilledNextAndTheEndOrClearStopsTheHelper) {
    struct SPiece {
        const std::byte* data;
        std::size_t bytes;
    };
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<SPiece> pieces;
    bool hold = true; // a piece waits while set
    bool stopped = false;
    int piecesAfterStop = 0;
    bool onFillingThread = false;
    const auto filling = std::this_thread::get_id();
    history.SetMemoryPrefault([&](void* data, std::size_t bytes) {
        std::unique_lock lock(mutex);
        onFillingThread |= std::this_thread::get_id() == filling;
        piecesAfterStop += stopped ? 1 : 0;
        pieces.push_back({static_cast<std::byte*>(data), bytes});
        changed.notify_all();
        changed.wait(lock, [&] { return !hold; });
        std::memset(data, 0x5A, bytes);
    });
    // The helper stops before the state its hook reaches goes away.
    struct SClearFirst {
        SHeldSeries& series;
        ~SClearFirst() { series.Clear(); }
    } clearFirst{history};
    const auto waitFor = [&](auto done) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(60), done);
    };
    // Appends until the series holds more memory: a block has opened (and the next one may have
    // been allocated ahead).
    const auto fillToNextBlock = [&] {
        const std::size_t before = history.GetSeriesBytes();
        while (history.GetSeriesBytes() == before) {
            Fill(1);
        }
    };
    // The helper held inside its first piece while the series is stopped: it makes no piece
    // after, and the block ahead is freed.
    const auto stopWhileHeld = [&](const std::function<void()>& stop) {
        {
            const std::lock_guard lock(mutex);
            pieces.clear();
            hold = true;
        }
        fillToNextBlock(); // a large block, so the one after it is being prefaulted
        ASSERT_TRUE(waitFor([&] { return !pieces.empty(); }));
        std::thread stopping([&] {
            stop();
            const std::lock_guard lock(mutex);
            stopped = true;
        });
        {
            const std::lock_guard lock(mutex);
            hold = false;
        }
        changed.notify_all();
        stopping.join();
        EXPECT_EQ(piecesAfterStop, 0);
        stopped = false;
    };
    fillToNextBlock(); // the first block, too small to prefault the next
    stopWhileHeld([&] {
        const std::size_t bytes = history.GetSeriesBytes();
        history.SetHistoryComplete(true);
        EXPECT_LT(history.GetSeriesBytes(), bytes);
    });
    stopWhileHeld([&] { history.Clear(); });
    history.ReleaseSpareRoom();
    EXPECT_EQ(history.GetSeriesBytes(), CChartHistRequest().GetSeriesBytes());

    // Refilled past a few blocks, next to a series that prepares nothing ahead.
    pieces.clear();
    constexpr int kCount = 200000;
    CChartHistRequest plain;
    for (int i = 0; i < kCount; ++i) {
        sTICK tick = TickAt(2026, 1, 5, 10, 0, 0, i);
        tick.volume = i;
        ASSERT_TRUE(history.AppendTick(tick) && plain.AppendTick(tick));
    }
    const std::size_t ahead = history.GetSeriesBytes() - plain.GetSeriesBytes();
    // The block ahead is the run of contiguous pieces that ends with the last one.
    const auto lastRun = [&] {
        std::size_t first = pieces.size() - 1;
        while (first > 0 &&
               pieces[first - 1].data + pieces[first - 1].bytes == pieces[first].data) {
            --first;
        }
        std::size_t bytes = 0;
        for (std::size_t i = first; i < pieces.size(); ++i) {
            bytes += pieces[i].bytes;
        }
        return SPiece{pieces[first].data, bytes};
    };
    ASSERT_TRUE(waitFor([&] { return !pieces.empty() && lastRun().bytes == ahead; }));
    const SPiece block = lastRun();
    for (const SPiece& piece : pieces) {
        EXPECT_LE(piece.bytes, CHistoryRequestBase::kPrefaultPiece);
    }
    sTICK out;
    for (int i = 0; i < kCount; ++i) {
        history.GetTick(i, out);
        ASSERT_EQ(std::tuple(out.volume, out.close),
                  std::tuple(std::int64_t{i}, static_cast<double>(i)))
            << i;
        const auto* record =
            reinterpret_cast<const std::byte*>(history.Record(static_cast<std::size_t>(i)));
        ASSERT_FALSE(record >= block.data && record < block.data + block.bytes) << i;
    }
    fillToNextBlock();
    EXPECT_EQ(reinterpret_cast<const std::byte*>(
                  history.Record(static_cast<std::size_t>(history.GetLastIndex()))),
              block.data);
    EXPECT_FALSE(onFillingThread);
}

// A cleared series keeps its blocks for the next one, which prefaults nothing until it outgrows
// them. The next answer's end, or a release, frees what it did not take.
TEST_F(Series, AClearedSeriesKeepsItsBlocksForTheNext) {
    std::mutex mutex;
    std::size_t prefaulted = 0;
    history.SetMemoryPrefault([&](void*, std::size_t bytes) {
        const std::lock_guard lock(mutex);
        prefaulted += bytes;
    });
    const auto refill = [&](int count) {
        history.Clear();
        history.SetHistoryComplete(false);
        {
            const std::lock_guard lock(mutex);
            prefaulted = 0;
        }
        Fill(count);
        EXPECT_EQ(Closes()[static_cast<std::size_t>(count) - 1], 100.0 + count - 1);
        const std::lock_guard lock(mutex);
        return prefaulted;
    };
    constexpr int kCount = 200000;
    Fill(kCount);
    history.SetHistoryComplete(true);
    EXPECT_EQ(refill(kCount / 2), 0U);
    const std::size_t kept = history.GetSeriesBytes();
    history.SetHistoryComplete(true);
    EXPECT_LT(history.GetSeriesBytes(), kept);
    EXPECT_GT(refill(kCount), 0U);
    history.Clear();
    EXPECT_GT(history.GetSeriesBytes(), kept / 2);
    history.ReleaseSpareRoom();
    EXPECT_EQ(history.GetSeriesBytes(), CChartHistRequest().GetSeriesBytes());
}

TEST_F(Series, FilterTimesApplyInclusivelyOnlyWithADateRange) {
    SHistoryParameters range;
    range.beginDate = SHistoryParameters::FromText("20260101");
    range.endDate = SHistoryParameters::FromText("20261231");
    range.endTime = SHistoryParameters::FromText("235959");
    range.beginFilterTime = 93000;
    range.endFilterTime = 160000;
    history.SetParameters(range);
    for (const auto& [hour, minute, second, kept] :
         {std::tuple{9, 29, 59, false}, {9, 30, 0, true}, {16, 0, 0, true}, {16, 0, 1, false}}) {
        EXPECT_EQ(history.AppendTick(TickAt(2026, 3, 2, hour, minute, second)), kept) << hour;
    }
    EXPECT_EQ(history.GetCount(), 2);
    // One end of the range missing: the range is off and so are the filter times, but an
    // impossible time is still dropped.
    range.endDate = SHistoryParameters::FromText("");
    history.SetParameters(range);
    EXPECT_TRUE(history.AppendTick(TickAt(2026, 3, 2, 16, 0, 1)));
    EXPECT_TRUE(history.AppendTick(TickAt(2030, 3, 2, 1, 0, 0)) && history.AppendTick(sTICK{}));
    EXPECT_FALSE(history.AppendTick(TickAt(2026, 2, 30, 0, 0, 0)));
    EXPECT_EQ(history.GetCount(), 5);
}

TEST_F(Series, ColumnReadsCopyOneFieldOfARangeAndStopAtTheEnds) {
    for (int i = 0; i < 5; ++i) {
        sTICK bar =
            MakeBar(CDateTime(2026, 1, 5 + i, 0, 0, 0), 9.0 + i, 12.0 + i * (i % 2 == 0 ? 1 : -1),
                    8.0 - i, 10.0 + i, static_cast<std::uint32_t>(i + 1), 100 * (5 - i));
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
    EXPECT_EQ(std::tuple(times[0].time, times[0].microseconds),
              std::tuple(CDateTime(2026, 1, 9, 0, 0, 0), 4));
    // Extremes of the existing part of a range: highs 12, 11, 14, 9, 16; lows 8 ... 4.
    const auto extremes = [&](int from, int to) {
        const SRangeExtremes e = history.GetExtremes(from, to);
        return std::tuple(e.count, e.highestHigh, e.lowestLow, e.largestVolume);
    };
    EXPECT_EQ(extremes(1, 3), std::tuple(3, 14.0, 5.0, std::int64_t{400}));
    EXPECT_EQ(extremes(-3, 100), std::tuple(5, 16.0, 4.0, std::int64_t{500}));
    EXPECT_EQ(extremes(5, 10), std::tuple(0, 0.0, 0.0, std::int64_t{0}));
}

TEST_F(Series, RemovingAPointClosesTheGapOnlyInsideTheSeriesAndTheRecordStaysReadable) {
    EXPECT_FALSE(history.RemoveTick(0));
    Fill(6);
    for (const int outside : {6, 7, -1, -6}) {
        EXPECT_FALSE(history.RemoveTick(outside)) << outside;
    }
    EXPECT_EQ(history.GetCount(), 6);
    sTICK marked;
    history.GetTick(2, marked);
    marked.text1.Assign("bad print");
    history.ReplaceTick(2, marked);
    const sTICK* removed = history.Record(2);
    ASSERT_TRUE(history.RemoveTick(2)); // the middle
    EXPECT_EQ(Closes(), (std::vector<double>{100, 101, 103, 104, 105}));
    // A pointer taken before still reads the record, its text included.
    EXPECT_EQ(std::tuple(removed->close, removed->text1.View()), std::tuple(102.0, "bad print"));
    ASSERT_TRUE(history.RemoveTick(0)); // the first
    ASSERT_TRUE(history.RemoveTick(history.GetLastIndex()));
    EXPECT_EQ(Closes(), (std::vector<double>{101, 103, 104}));
    EXPECT_FALSE(history.RemoveTick(3));
    // The series grows on at its end; Clear takes the removed records with it.
    ASSERT_TRUE(history.AppendTick(TickAt(2026, 1, 5, 11, 0, 0, 7.0)));
    EXPECT_EQ(Closes(), (std::vector<double>{101, 103, 104, 7}));
    history.Clear();
    EXPECT_EQ(history.GetCount(), 0);
    Fill(2);
    EXPECT_EQ(Closes(), (std::vector<double>{100, 101}));
}

TEST_F(Series, LowerBoundFindsTheFirstPointAtOrAfterATimeWrittenAsText) {
    const auto at = [](int second, std::int32_t microseconds) {
        return SPointTime{CDateTime(2026, 1, 5, 10, 0, second), microseconds};
    };
    EXPECT_EQ(history.LowerBound(at(0, 0)), 0);
    // Two ticks in one microsecond and three in one second.
    const SPointTime stamps[] = {at(0, 0), at(0, 250), at(0, 250), at(1, 0), at(3, 999999)};
    for (const SPointTime& stamp : stamps) {
        sTICK tick;
        tick.time = stamp.time;
        tick.microseconds = stamp.microseconds;
        ASSERT_TRUE(history.AppendTick(tick));
    }
    // clang-format off
    const std::pair<SPointTime, int> cases[] = {
        {{CDateTime(2026, 1, 4, 23, 59, 59), 0}, 0}, {at(0, 0), 0}, {at(0, 1), 1}, {at(0, 250), 1},
        {at(0, 251), 3}, {at(2, 0), 4}, {at(3, 999999), 4}, {at(4, 0), 5}};
    // clang-format on
    for (const auto& [time, index] : cases) {
        EXPECT_EQ(history.LowerBound(time), index)
            << FormatPointTime(time, true) << " " << time.microseconds;
    }
}

TEST(PointTime, TextsReadBackTheTimeAndAnythingElseIsRefused) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int> day(0, 80000), second(0, 86399), micro(0, 999999);
    for (int i = 0; i < 5000; ++i) {
        const SPointTime time{CDateTime(day(random) + second(random) / 86400.0), micro(random)};
        const std::string text = FormatPointTime(time, true);
        const auto parsed = ParsePointTime(text);
        ASSERT_TRUE(parsed) << text;
        ASSERT_EQ(FormatPointTime(*parsed, true), text);
        ASSERT_EQ(parsed->microseconds, time.microseconds) << text;
        const auto whole = ParsePointTime(FormatPointTime(time, false));
        ASSERT_TRUE(whole && whole->time == parsed->time && whole->microseconds == 0) << text;
    }
    // {text, as read back; "" for refused}
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"2024-02-29", "2024-02-29 00:00:00.000000"},
        {"1900-03-01 23:59:59.5", "1900-03-01 23:59:59.500000"},
        {"9999-12-31 00:00:00.000001", "9999-12-31 00:00:00.000001"},
        {"2023-02-29", ""}, {"2024-3-05", ""}, {"2024-03-05 10:00", ""}, {"2024/03/05", ""},
        {"2024-03-05 24:00:00", ""}, {"2024-03-05 10:00:00.", ""}, {"2024-03-05T10:00:00", ""},
        {"2024-03-05 10:00:00.1234567", ""}, {"2024-03-05 10:00:00 ", ""}, {"", ""}};
    // clang-format on
    for (const auto& [text, written] : cases) {
        const auto parsed = ParsePointTime(text);
        EXPECT_EQ(parsed ? FormatPointTime(*parsed, true) : "", written) << text;
    }
    EXPECT_EQ(FormatPointTime({CDateTime(1.0, CDateTime::Status::Invalid), 0}, true), "");
}

} // namespace

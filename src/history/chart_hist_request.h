#pragma once

#include "history/tick.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

// Owns the series: records at fixed addresses, reached through an index of pointers. The index
// is kept in chunks, so growing it never copies the pointers already held; its capacity is still
// counted in growth steps. Records are carved out of large blocks, so a long history costs a
// handful of allocations instead of one per point.
class CHistoryRequestBase {
public:
    static constexpr std::size_t kDefaultGrowthStep = 1'000'000;

    CHistoryRequestBase();
    virtual ~CHistoryRequestBase();
    CHistoryRequestBase(const CHistoryRequestBase&) = delete;
    CHistoryRequestBase& operator=(const CHistoryRequestBase&) = delete;

    // Destroys every record, sets count and capacity to 0 and the growth step back to the
    // default. The blocks and the index chunks are kept for the next series (a chart that loads
    // another symbol): it writes over their resident pages instead of faulting in fresh ones.
    // FreeSpareBlocks() frees them.
    virtual void Clear();

    // How a fresh large block of records is prepared before it is first written: the platform's
    // advice to back it with large pages, which takes most of the page faults out of a long
    // load. None (the default) leaves it to the allocator. Set before the series fills.
    using MemoryAdvice = std::function<void(void* data, std::size_t bytes)>;
    void SetMemoryAdvice(MemoryAdvice advice) { m_advice = std::move(advice); }
    // Blocks of at least this size take the advice.
    static constexpr std::size_t kAdvisedBytes = std::size_t{4} << 20;
    // How the block after the one being filled is made resident before it is needed: when a
    // block of at least kAdvisedBytes opens, the next one is allocated and advised, and a helper
    // thread hands it to `prefault` in pieces of at most kPrefaultPiece bytes, so the page faults
    // (and any compaction they cause) happen off the thread that fills the series. Filling waits
    // for the helper only when it reaches that block first. Clear() and destruction stop the
    // helper between two pieces, as does the end of an answer. At most one block is held ahead.
    // None (the default) prepares nothing ahead. `prefault` must not throw. Set before the series
    // fills.
    void SetMemoryPrefault(MemoryAdvice prefault) { m_prefault = std::move(prefault); }
    static constexpr std::size_t kPrefaultPiece = std::size_t{2} << 20;

protected:
    // Unlocked series primitives for the derived class, which holds the lock.
    void ClearSeries();
    // Copies `tick` into a new record and adds its pointer at the end.
    void PushBack(const sTICK& tick);
    // Takes the record at `index` out of the series (later records move down one place). The
    // record itself stays allocated, and readable through any pointer copy, until the series is
    // cleared.
    void Erase(std::size_t index);
    std::size_t SeriesCount() const { return m_count; }
    sTICK& At(std::size_t index) { return *Slot(index); }
    const sTICK& At(std::size_t index) const { return *Slot(index); }
    std::size_t SeriesCapacity() const { return m_capacity; }
    std::size_t SeriesGrowthStep() const { return m_growthStep; }
    void SetSeriesGrowthStep(std::size_t step) { m_growthStep = step == 0 ? 1 : step; }
    // The bytes the series holds: its records' blocks (the one prepared ahead included) and its
    // index.
    std::size_t SeriesBytes() const;
    // Stops the helper (between two pieces) and frees the block prepared ahead.
    void DropNextBlock();
    // Frees the blocks kept from the series before that this one has not taken.
    void FreeSpareBlocks();

private:
    // Pointers per chunk of the index.
    static constexpr std::size_t kIndexShift = 16;
    static constexpr std::size_t kIndexChunk = std::size_t{1} << kIndexShift;

    // Raw storage blocks; records are constructed in place and destroyed by ClearSeries().
    struct SBlock {
        std::unique_ptr<std::byte[]> bytes;
        std::size_t used = 0;
        std::size_t capacity = 0;
    };

    sTICK* AllocateRecord();
    // A new block of `capacity` records, advised when it is large.
    SBlock NewBlock(std::size_t capacity) const;
    // Allocates the block after the last one and starts the helper making it resident.
    void PrepareNextBlock();
    // The block prepared ahead once the helper is done with it; an empty block when none is.
    SBlock TakeNextBlock();
    sTICK*& Slot(std::size_t index) {
        return m_index[index >> kIndexShift][index & (kIndexChunk - 1)];
    }
    const sTICK* Slot(std::size_t index) const {
        return m_index[index >> kIndexShift][index & (kIndexChunk - 1)];
    }

    std::vector<std::unique_ptr<sTICK*[]>> m_index;
    std::size_t m_count = 0;
    std::size_t m_capacity = 0;
    std::size_t m_growthStep = kDefaultGrowthStep;

    std::vector<SBlock> m_blocks;
    MemoryAdvice m_advice;
    MemoryAdvice m_prefault;
    // The next block, written only by the helper until it is joined; the helper is declared
    // after it so that it is stopped and joined before the block is freed.
    SBlock m_next;
    std::jthread m_prefaulter;
    // Records taken out of the series, destroyed with the blocks.
    std::vector<sTICK*> m_erased;
    // The blocks of the series before, by their place in its list: the block at the same place
    // in this one has the same size and takes it instead of a fresh one. Its index chunks too.
    std::vector<SBlock> m_spare;
    std::vector<std::unique_ptr<sTICK*[]>> m_spareIndex;
};

// The price fields a column read can copy.
enum class EPriceColumn : int { Open, High, Low, Close };

// A point's time stamp and the microseconds of a tick.
struct SPointTime {
    CDateTime time;
    std::int32_t microseconds = 0;
};

// The extremes of a range of records; all 0 when the range holds none.
struct SRangeExtremes {
    double highestHigh = 0.0;
    double lowestLow = 0.0;
    std::int64_t largestVolume = 0;
    int count = 0;
};

// The request parameters of the history object, set and read as one value.
struct SHistoryParameters {
    std::string symbol;
    std::int32_t maxDatapoints = 0;
    std::int32_t interval = 0;
    std::int32_t days = 0;
    std::string dataDirection;
    std::int32_t beginDate = 0;
    std::int32_t beginTime = 0;
    std::int32_t beginFilterTime = -1;
    std::int32_t endDate = 0;
    std::int32_t endTime = 0;
    std::int32_t endFilterTime = -1;
    std::uint32_t requestKind = 0;

    // Dates and times arrive as texts: decimal text to integer, an empty or non-numeric text
    // giving 0.
    static std::int32_t FromText(const std::string& text);
};

// The history object: the current request parameters and the series behind one lock. Every
// operation takes the lock for its whole duration and never calls out while holding it.
class CChartHistRequest : public CHistoryRequestBase {
public:
    CChartHistRequest() = default;
    ~CChartHistRequest() override = default;

    // The request parameters, set and read as a whole.
    void SetParameters(const SHistoryParameters& params);
    SHistoryParameters GetParameters() const;

    // Number of records; the last index is count - 1 (-1 when empty).
    int GetCount() const;
    int GetLastIndex() const { return GetCount() - 1; }
    // Copies the record at `index`, clamped into [0, count - 1], into `out`; an empty series
    // leaves `out` untouched and returns false.
    bool GetTick(int index, sTICK& out) const;
    // The close of the record at `index` (same clamping); a default record's close when empty.
    double GetClose(int index) const;
    // Overwrites the record at `index`; CInvalidArgException outside [0, count - 1].
    void ReplaceTick(int index, const sTICK& tick);
    // Removes the record at `index` and closes the gap; false (nothing changed) when the index is
    // outside the series.
    bool RemoveTick(int index);
    // The index of the first record at or after `time` (the series' count when none is), found
    // by bisection: the records are in time order.
    int LowerBound(const SPointTime& time) const;
    // Applies the acceptance filter; an accepted record is copied to the end. False when dropped.
    bool AppendTick(const sTICK& tick);
    // Appends a batch under one lock; returns the number accepted.
    std::size_t AppendTicks(const sTICK* ticks, std::size_t count);

    // Column reads for drawing and studies: each takes the lock once and copies one field of
    // the records first, first + 1, ... into `out`, as far as the series reaches. Indexes outside
    // the series are left untouched in `out`; returns the number of entries written, which
    // start at out[max(0, -first)].
    std::size_t FillPrices(EPriceColumn column, int first, std::span<double> out) const;
    std::size_t FillVolumes(int first, std::span<std::int64_t> out) const;
    std::size_t FillSizes(int first, std::span<std::uint32_t> out) const;
    std::size_t FillTimes(int first, std::span<SPointTime> out) const;
    // The highest high, lowest low and largest volume of the records first ... first + count - 1
    // that exist, under one lock.
    SRangeExtremes GetExtremes(int first, int count) const;

    void Clear() override;
    // The bytes the series holds now: its records' storage and its index.
    std::size_t GetSeriesBytes() const;
    std::size_t GetCapacity() const;
    std::size_t GetGrowthStep() const;
    void SetGrowthStep(std::size_t step);

    // Set when the end marker of an answer arrives, cleared when a request is sent. Setting it
    // stops the helper and frees the block ahead and the blocks kept from the series before:
    // the answer will not fill them, and the few records that follow it do not need them.
    void SetHistoryComplete(bool complete);
    // Frees the blocks kept from the series before (a chart that leaves its symbol for none).
    void ReleaseSpareRoom();
    bool IsHistoryComplete() const { return m_historyComplete.load(); }
    // Cleared when the chart view goes away; history lines are then ignored.
    void SetChartAlive(bool alive) { m_chartAlive.store(alive); }
    bool IsChartAlive() const { return m_chartAlive.load(); }
    // Whether tick answers keep extended ("E") and other ("O") trades.
    void SetExtendedTradesAccepted(bool accepted) { m_extendedTrades.store(accepted); }
    bool AreExtendedTradesAccepted() const { return m_extendedTrades.load(); }
    // Character width of price labels; 0 until the first history line (or the chart) sets it.
    void SetPriceTextWidth(int width) { m_priceTextWidth.store(width); }
    int GetPriceTextWidth() const { return m_priceTextWidth.load(); }

private:
    template <typename T, typename Field>
    std::size_t FillColumn(int first, std::span<T> out, Field field) const;
    bool Accepts(const sTICK& tick) const;
    void UpdateRange();

    mutable std::mutex m_lock;
    SHistoryParameters m_params;
    // The date range built from begin/end date and time; both valid or the range is off.
    bool m_rangeActive = false;
    CDateTime m_rangeStart;
    CDateTime m_rangeEnd;

    std::atomic<bool> m_historyComplete{false};
    std::atomic<bool> m_chartAlive{true};
    std::atomic<bool> m_extendedTrades{false};
    std::atomic<int> m_priceTextWidth{0};
};

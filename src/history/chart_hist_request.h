#pragma once

#include "history/tick.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Owns the series: records at fixed addresses, reached through a pointer array that grows by a
// fixed step. Records are carved out of large blocks, so a long history costs a handful of
// allocations instead of one per point.
class CHistoryRequestBase {
public:
    static constexpr std::size_t kDefaultGrowthStep = 1'000'000;

    CHistoryRequestBase();
    virtual ~CHistoryRequestBase();
    CHistoryRequestBase(const CHistoryRequestBase&) = delete;
    CHistoryRequestBase& operator=(const CHistoryRequestBase&) = delete;

    // Destroys every record, frees the pointer array and the blocks, sets count and capacity to
    // 0 and the growth step back to the default.
    virtual void Clear();

protected:
    // Unlocked series primitives for the derived class, which holds the lock.
    void ClearSeries();
    // Copies `tick` into a new record and adds its pointer at the end.
    void PushBack(const sTICK& tick);
    std::size_t SeriesCount() const { return m_count; }
    sTICK& At(std::size_t index) { return *m_ticks[index]; }
    const sTICK& At(std::size_t index) const { return *m_ticks[index]; }
    std::size_t SeriesCapacity() const { return m_capacity; }
    std::size_t SeriesGrowthStep() const { return m_growthStep; }
    void SetSeriesGrowthStep(std::size_t step) { m_growthStep = step == 0 ? 1 : step; }

private:
    sTICK* AllocateRecord();

    std::unique_ptr<sTICK*[]> m_ticks;
    std::size_t m_count = 0;
    std::size_t m_capacity = 0;
    std::size_t m_growthStep = kDefaultGrowthStep;

    // Raw storage blocks; records are constructed in place and destroyed by ClearSeries().
    struct SBlock {
        std::unique_ptr<std::byte[]> bytes;
        std::size_t used = 0;
        std::size_t capacity = 0;
    };
    std::vector<SBlock> m_blocks;
};

// The request parameters, as one copy.
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
};

// The history object: the current request parameters and the series behind one lock. Every
// operation takes the lock for its whole duration and never calls out while holding it.
class CChartHistRequest : public CHistoryRequestBase {
public:
    CChartHistRequest() = default;
    ~CChartHistRequest() override = default;

    // The one history object of the process.
    static CChartHistRequest& Instance();

    void SetSymbol(const std::string& symbol);
    void SetMaxDatapoints(std::int32_t count);
    void SetInterval(std::int32_t seconds);
    void SetDays(std::int32_t days);
    void SetDataDirection(const std::string& direction);
    void SetBeginFilterTime(std::int32_t hhmmss);
    void SetEndFilterTime(std::int32_t hhmmss);
    void SetRequestKind(std::uint32_t kind);
    // Decimal text to integer; an empty or non-numeric text gives 0.
    void SetBeginDate(const std::string& yyyymmdd);
    void SetEndDate(const std::string& yyyymmdd);
    void SetBeginTime(const std::string& hhmmss);
    void SetEndTime(const std::string& hhmmss);

    std::string GetSymbol() const;
    std::int32_t GetMaxDatapoints() const;
    std::int32_t GetInterval() const;
    std::int32_t GetDays() const;
    std::string GetDataDirection() const;
    std::int32_t GetBeginDate() const;
    std::int32_t GetBeginTime() const;
    std::int32_t GetBeginFilterTime() const;
    std::int32_t GetEndDate() const;
    std::int32_t GetEndTime() const;
    std::int32_t GetEndFilterTime() const;
    std::uint32_t GetRequestKind() const;
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
    // Applies the acceptance filter; an accepted record is copied to the end. False when dropped.
    bool AppendTick(const sTICK& tick);
    // Appends a batch under one lock; returns the number accepted.
    std::size_t AppendTicks(const sTICK* ticks, std::size_t count);

    void Clear() override;
    std::size_t GetCapacity() const;
    std::size_t GetGrowthStep() const;
    void SetGrowthStep(std::size_t step);

    // Set when the end marker of an answer arrives, cleared when a request is sent.
    void SetHistoryComplete(bool complete) { m_historyComplete.store(complete); }
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

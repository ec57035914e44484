#pragma once

// The columns that the studies compute from, copied once from the series: highs, lows, closes
// and the volume the studies weigh by (for ticks and minute bars the point's own size, not the
// day's running volume). For ticks the three prices are one column, the trade price.

#include "chart/bar_series.h"
#include "studies/column_store.h"
#include "studies/study_kernels.h"

#include <atomic>
#include <cstdint>
#include <vector>

class CChartHistRequest;

class CStudyInputs final : public IBarSeries {
public:
    CStudyInputs() = default;
    // Columns given directly (tests and benchmarks); `high` and `low` may be empty for ticks.
    CStudyInputs(int dataType, std::vector<double> high, std::vector<double> low,
                 std::vector<double> close, std::vector<double> volume);

    // Copies the whole series in chunks, one lock of the series per chunk, a long one in two
    // halves on two threads; the columns take their room from `store` when given. Returns false
    // (and holds nothing) when `cancel` became true or the series shrank under it.
    bool Read(const CChartHistRequest& history, int dataType, const std::atomic<bool>* cancel,
              CColumnStore* store = nullptr);
    // Hands the room of the columns to `store`; the inputs are empty afterwards.
    void GiveRoom(CColumnStore& store);
    // Reads the points from `from` on again, as the series holds them now (it grew at its end or
    // changed its newest points); the columns grow a little at a time. False, and the columns
    // unchanged, when the series holds fewer points than `from` or shrank while read.
    bool Follow(const CChartHistRequest& history, std::size_t from);

    int DataType() const { return m_dataType; }
    SBarColumns Columns() const;

    int Count() const override { return static_cast<int>(m_close.size()); }
    double High(int index) const override;
    double Low(int index) const override;
    double Open(int index) const override { return Close(index); }
    double Close(int index) const override;
    std::int64_t Volume(int index) const override;

private:
    static std::size_t Clamp(int index, std::size_t size);
    // Reads the points [from, from + count) into the columns, sized for them already.
    bool ReadRange(const CChartHistRequest& history, std::size_t from, std::size_t count,
                   const std::atomic<bool>* cancel);

    int m_dataType = 0;
    std::vector<double> m_high; // empty for ticks
    std::vector<double> m_low;  // empty for ticks
    std::vector<double> m_close;
    std::vector<double> m_volume;
};

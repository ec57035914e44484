// The windowed kernels following a grown series: a bar's value reads only the bars of its
// window, so the bars from `from` on come out of one pass over the inputs from `from` less the
// study's lookback, whose leading bars only warm the pass up.

#include "studies/kernel_support.h"
#include "studies/study_kernels.h"

#include <algorithm>
#include <array>

namespace study_kernels {

namespace {

std::span<const double> From(std::span<const double> column, std::size_t start) {
    return column.subspan(std::min(start, column.size()));
}

SBarColumns From(const SBarColumns& bars, std::size_t start) {
    return {From(bars.high, start), From(bars.low, start), From(bars.close, start),
            From(bars.volume, start)};
}

std::array<Column*, 1> ColumnsOf(Column& column) {
    return {&column};
}
std::array<Column*, 2> ColumnsOf(SBands& bands) {
    return {&bands.middle, &bands.width};
}
std::array<Column*, 2> ColumnsOf(SStochastics& sto) {
    return {&sto.k, &sto.d};
}
std::array<Column*, 2> ColumnsOf(SMoneyFlow& flow) {
    return {&flow.positive, &flow.negative};
}

// Recomputes the bars from `from` on of `out` by `compute(start, columns)`, which fills columns
// over the inputs from bar `start` on, the bar `start` being its first. `lookback` is at least the
// bars before a bar that its value reads and the bars a pass needs before its first value.
template <typename Out, typename Compute>
void Follow(std::size_t count, std::size_t from, std::size_t lookback, Out& out,
            Compute&& compute) {
    const auto columns = ColumnsOf(out);
    std::size_t have = count;
    for (const Column* column : columns) {
        have = std::min(have, column->size());
    }
    from = std::min(from, have);
    if (from < lookback) {
        compute(0, out);
        return;
    }
    const std::size_t start = from - lookback;
    Out tail;
    compute(start, tail);
    const auto tailColumns = ColumnsOf(tail);
    for (std::size_t c = 0; c < columns.size(); ++c) {
        double* target = detail::Grown(*columns[c], count);
        const Column& computed = *tailColumns[c];
        std::copy(computed.begin() + static_cast<std::ptrdiff_t>(lookback), computed.end(),
                  target + from);
    }
}

// The lookback of a period: a period below 1 draws nothing, whatever the series.
std::size_t Window(int period, std::size_t extra) {
    return static_cast<std::size_t>(std::max(period, 0)) + extra;
}

} // namespace

void SimpleAverage(std::span<const double> close, int period, Column& out, std::size_t from) {
    Follow(close.size(), from, Window(period, 0), out, [&](std::size_t start, Column& column) {
        SimpleAverage(From(close, start), period, column);
    });
}

void StudyAverage(std::span<const double> close, int period, bool exponential, Column& out,
                  std::size_t from) {
    Follow(close.size(), from, Window(period, 2), out, [&](std::size_t start, Column& column) {
        StudyAverage(From(close, start), period, exponential, column);
    });
}

void Bollinger(std::span<const double> close, int period, double deviations, SBands& out,
               std::size_t from) {
    Follow(close.size(), from, Window(period, 0), out, [&](std::size_t start, SBands& bands) {
        Bollinger(From(close, start), period, deviations, bands);
    });
}

void OnBalanceVolume(const SBarColumns& bars, int period, Column& out, std::size_t from) {
    Follow(bars.Count(), from, Window(period, 1), out, [&](std::size_t start, Column& column) {
        OnBalanceVolume(From(bars, start), period, column);
    });
}

// Slow %D is the first value to come, at bar 4n; every value reads back less than that.
void Stochastics(const SBarColumns& bars, int period, bool fast, SStochastics& out,
                 std::size_t from) {
    Follow(bars.Count(), from, 4 * Window(period, 0) + 1, out,
           [&](std::size_t start, SStochastics& sto) {
               Stochastics(From(bars, start), period, fast, sto);
           });
}

void MoneyFlow(const SBarColumns& bars, int period, SMoneyFlow& out, std::size_t from) {
    Follow(bars.Count(), from, Window(period, 2), out, [&](std::size_t start, SMoneyFlow& flow) {
        MoneyFlow(From(bars, start), period, flow);
    });
}

void MoneyFlowIndex(const SBarColumns& bars, int period, Column& out, std::size_t from) {
    Follow(bars.Count(), from, Window(period, 2), out, [&](std::size_t start, Column& column) {
        MoneyFlowIndex(From(bars, start), period, column);
    });
}

} // namespace study_kernels

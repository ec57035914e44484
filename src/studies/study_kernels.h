#pragma once

// The study formulas over whole columns, one pass each: every output column has one entry per
// bar (index 0 the oldest) and holds the value that the chart draws at that bar, or NaN where the
// study draws nothing. The values are those of each formula taken bar by bar to 1e-12 relative
// (absolute below 1); the work is O(1) amortised per bar.
//
// Column index = bar index b: the study at bar b (RSI from the changes up to bar b). A period
// below 1 gives all-NaN columns; empty inputs give empty columns. The columns of SBarColumns
// beside `close` may be shorter than it: bars that one of the used columns lacks get NaN.
//
// Every kernel also comes in a form that writes into columns the caller keeps: they are sized to
// one entry a bar and their storage is reused when it has the room, so that recomputing a series
// of the same length allocates nothing (a fresh 5,000,000-bar column costs its page faults).
//
// A live series grows at its end and changes only its newest bar. Every kernel therefore also
// follows a grown series: given columns computed with the same periods over the same inputs
// before they grew, and
// `from`, the first bar whose inputs may have changed since, it recomputes only the bars from
// `from` on. The windowed studies read back their lookback; RSI, MACD and ADX go on from a carry
// (their running state before the newest bar, saved by the last computation). The work is in
// proportion to the new bars and the period, not to the series; a `from` that lies before what
// the columns or the carry can go on from recomputes the whole series. The values equal those
// of a computation over the whole grown series (to the rounding of the rolling sums).

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

// The inputs: one entry per bar. `volume` is the volume the studies see (for ticks and minute
// bars the point's own size), converted to double.
struct SBarColumns {
    std::span<const double> high;
    std::span<const double> low;
    std::span<const double> close;
    std::span<const double> volume;

    std::size_t Count() const { return close.size(); }
};

namespace study_kernels {

using Column = std::vector<double>;

// No carry: the next computation starts from the first bar.
inline constexpr std::size_t kNoCarry = static_cast<std::size_t>(-1);

// The running states that RSI, MACD and ADX go on from: the state after bar `bar`, for the
// periods it was computed with.
struct SRsiCarry {
    std::size_t bar = kNoCarry;
    int period = 0;
    double gain = 0.0;
    double loss = 0.0;
};
struct SMacdCarry {
    std::size_t bar = kNoCarry;
    int shortPeriod = 0;
    int longPeriod = 0;
    int signalPeriod = 0;
    double shortAverage = 0.0;
    double longAverage = 0.0;
    double signal = 0.0;
};
struct SAdxCarry {
    std::size_t bar = kNoCarry;
    int period = 0;
    double trueRange = 0.0;
    double plusDm = 0.0;
    double minusDm = 0.0;
    double adx = 0.0;
};

// ---- over the price pane ----
Column SimpleAverage(std::span<const double> close, int period);
void SimpleAverage(std::span<const double> close, int period, Column& out);
void SimpleAverage(std::span<const double> close, int period, Column& out, std::size_t from);
// The moving average as drawn: simple, or the one-step exponential form over the previous bar's
// simple average.
Column StudyAverage(std::span<const double> close, int period, bool exponential);
void StudyAverage(std::span<const double> close, int period, bool exponential, Column& out);
void StudyAverage(std::span<const double> close, int period, bool exponential, Column& out,
                  std::size_t from);
// The bands: the window's average and the distance of either band from it (the deviations times
// the window's standard deviation); a band line is computed where it is read, as the kernel would
// have written it. A window of equal closes has a width of exactly 0 (three equal lines).
enum class EBand { Lower, Middle, Upper };
struct SBands {
    Column middle;
    Column width;

    std::size_t size() const { return std::min(middle.size(), width.size()); }
    // Band `band` at `bar` (below size()).
    double At(EBand band, std::size_t bar) const;
    // Band `band` at bars `begin` .. `begin + out.size() - 1` (below size()): a view of the
    // middle column, or written into `out`.
    std::span<const double> Slice(EBand band, std::size_t begin, std::span<double> out) const;
};
SBands Bollinger(std::span<const double> close, int period, double deviations);
void Bollinger(std::span<const double> close, int period, double deviations, SBands& out);
void Bollinger(std::span<const double> close, int period, double deviations, SBands& out,
               std::size_t from);

// ---- lower studies ----
Column Rsi(std::span<const double> close, int period);
void Rsi(std::span<const double> close, int period, Column& out);
void Rsi(std::span<const double> close, int period, Column& out, SRsiCarry& carry,
         std::size_t from);
// Momentum and rate of change read two closes a bar and keep no state: the range forms give the
// values of bars `begin` .. `begin + out.size() - 1` alone (a pane computes them where it reads
// them instead of keeping a column).
Column Momentum(std::span<const double> close, int period);
void Momentum(std::span<const double> close, int period, Column& out);
void Momentum(std::span<const double> close, int period, std::size_t begin, std::span<double> out);
Column RateOfChange(std::span<const double> close, int period);
void RateOfChange(std::span<const double> close, int period, Column& out);
void RateOfChange(std::span<const double> close, int period, std::size_t begin,
                  std::span<double> out);
Column OnBalanceVolume(const SBarColumns& bars, int period);
void OnBalanceVolume(const SBarColumns& bars, int period, Column& out);
void OnBalanceVolume(const SBarColumns& bars, int period, Column& out, std::size_t from);
// With a short period above the long one the first MACD is at bar S - 1. The histogram is
// macd - signal, NaN where either is.
struct SMacd {
    Column macd;
    Column signal;
};
SMacd Macd(std::span<const double> close, int shortPeriod, int longPeriod, int signalPeriod);
void Macd(std::span<const double> close, int shortPeriod, int longPeriod, int signalPeriod,
          SMacd& out);
void Macd(std::span<const double> close, int shortPeriod, int longPeriod, int signalPeriod,
          SMacd& out, SMacdCarry& carry, std::size_t from);
// `fast` chooses fast or slow stochastics; k is the %K given beside %D.
struct SStochastics {
    Column k;
    Column d;
};
SStochastics Stochastics(const SBarColumns& bars, int period, bool fast);
void Stochastics(const SBarColumns& bars, int period, bool fast, SStochastics& out);
void Stochastics(const SBarColumns& bars, int period, bool fast, SStochastics& out,
                 std::size_t from);
// A side without a non-zero flow in the span is exactly 0; the index is NaN where both are.
struct SMoneyFlow {
    Column positive;
    Column negative;
};
SMoneyFlow MoneyFlow(const SBarColumns& bars, int period);
void MoneyFlow(const SBarColumns& bars, int period, SMoneyFlow& out);
void MoneyFlow(const SBarColumns& bars, int period, SMoneyFlow& out, std::size_t from);
// From the flows that MoneyFlow computed with the same period, the same values without a second
// pass over the bars.
void MoneyFlowIndex(std::span<const double> positive, std::span<const double> negative,
                    Column& out);
// The same at bars `begin` .. `begin + out.size() - 1` alone.
void MoneyFlowIndex(std::span<const double> positive, std::span<const double> negative,
                    std::size_t begin, std::span<double> out);
Column MoneyFlowIndex(const SBarColumns& bars, int period);
void MoneyFlowIndex(const SBarColumns& bars, int period, Column& out);
void MoneyFlowIndex(const SBarColumns& bars, int period, Column& out, std::size_t from);
struct SAdx {
    Column adx;
    Column plusDi;
    Column minusDi;
};
SAdx Adx(const SBarColumns& bars, int period);
void Adx(const SBarColumns& bars, int period, SAdx& out);
void Adx(const SBarColumns& bars, int period, SAdx& out, SAdxCarry& carry, std::size_t from);
// The volume pane's average: over all bars, or over the newest `period` bars (all of them when
// there are fewer). NaN without bars, and for a period below 1 unless `allData`.
double VolumeAverage(std::span<const double> volume, int period, bool allData);

} // namespace study_kernels

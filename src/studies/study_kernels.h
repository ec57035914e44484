#pragma once

// The study formulas over whole columns, one pass each: every output column has one entry per
// bar (index 0 the oldest) and holds the value that the chart draws at that bar, or NaN where the
// study draws nothing. Each kernel gives the values of the formulas as the study panes define them
// (a pane filled bar by bar, oldest first) to 1e-9 relative, in O(1) amortised work per bar.

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

// ---- over the price pane ----
Column SimpleAverage(std::span<const double> close, int period);
// The moving average as drawn: simple, or the one-step exponential form over the previous bar's
// simple average.
Column StudyAverage(std::span<const double> close, int period, bool exponential);
struct SBands {
    Column lower;
    Column middle;
    Column upper;
};
SBands Bollinger(std::span<const double> close, int period, double deviations);

// ---- lower studies ----
Column Rsi(std::span<const double> close, int period);
Column Momentum(std::span<const double> close, int period);
Column RateOfChange(std::span<const double> close, int period);
Column OnBalanceVolume(const SBarColumns& bars, int period);
struct SMacd {
    Column macd;
    Column signal;
    Column histogram; // macd - signal where both exist
};
SMacd Macd(std::span<const double> close, int shortPeriod, int longPeriod, int signalPeriod);
struct SStochastics {
    Column k;
    Column d;
};
SStochastics Stochastics(const SBarColumns& bars, int period, bool fast);
struct SMoneyFlow {
    Column positive;
    Column negative;
};
SMoneyFlow MoneyFlow(const SBarColumns& bars, int period);
Column MoneyFlowIndex(const SBarColumns& bars, int period);
struct SAdx {
    Column adx;
    Column plusDi;
    Column minusDi;
};
SAdx Adx(const SBarColumns& bars, int period);
// The volume pane's average: over all bars, or over the newest `period` bars. NaN without bars.
double VolumeAverage(std::span<const double> volume, int period, bool allData);

} // namespace study_kernels

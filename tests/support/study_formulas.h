#pragma once

// The study formulas written plainly, bar by bar: every window is summed again at every bar and
// every running average is stepped from its seed. The lines a chart draws are checked against
// these. Each line has one entry per bar (index 0 the oldest), NaN where the study has no value
// (warming up, or a result that is not a number such as 0 / 0). A period below 1 gives no value
// at any bar.

#include "chart/bar_series.h"

#include <string>
#include <vector>

namespace study_formulas {

using Line = std::vector<double>;

// Over the price pane. The exponential average is one smoothing step over the previous bar's
// simple average, from bar n + 1; the bands use the population deviation.
Line SimpleAverage(const IBarSeries& bars, int period);
Line StudyAverage(const IBarSeries& bars, int period, bool exponential);
struct SBands {
    Line lower, middle, upper;
};
SBands Bollinger(const IBarSeries& bars, int period, double deviations);

// Wilder's RSI from bar n: the mean of the first n changes, then one smoothing step a bar.
Line Rsi(const IBarSeries& bars, int period);
// Momentum from bar n, rate of change from bar n + 1 (none over a close of 0).
Line Momentum(const IBarSeries& bars, int period);
Line RateOfChange(const IBarSeries& bars, int period);
// The volume of the last n bars, signed by the close's move.
Line OnBalanceVolume(const IBarSeries& bars, int period);

// The flows of bars i - n .. i (n + 1 comparisons of typical prices) over n, from bar n + 1.
struct SFlows {
    Line positive, negative;
};
SFlows MoneyFlow(const IBarSeries& bars, int period);
Line MoneyFlowIndex(const IBarSeries& bars, int period);

// The MACD from bar max(S, L) - 1; bars L - 1 and L show the MACD of bar L - 1. The signal from
// bar L + 1: inside its seed (bars L .. L + G - 1) the sum of the MACDs from bar L - 1 over G,
// then an exponential average. The short average starts as the mean of the first S closes.
struct SMacd {
    Line macd, signal, histogram;
};
SMacd Macd(const IBarSeries& bars, int shortPeriod, int longPeriod, int signalPeriod);

// %K over the n + 1 bars i - n .. i, from bar n; fast %D from bar 2n beside the %K of bar i - 1;
// slow from bar 4n the mean of fast %D beside fast %D of bar i - 1 (before that the fast lines).
struct SStochastics {
    Line k, d;
};
SStochastics Stochastics(const IBarSeries& bars, int period, bool fast);

// DI from bar n (bars n + 1 .. 2n - 1 show the DI of the bar before), ADX from bar 2n.
struct SAdx {
    Line adx, plusDi, minusDi;
};
SAdx Adx(const IBarSeries& bars, int period);

// Where `actual` differs from `expected`: empty when both have the same length, NaN at the same
// bars and values within 1e-12 relative (absolute below 1).
std::string Mismatch(const Line& expected, const Line& actual);

} // namespace study_formulas

#pragma once

// The study formulas bar by bar, exactly as the study panes define them: `value(i)` of each study
// with its running state. A call for the bar right after the cached one advances the state by one
// bar; any other call rebuilds it from the first bar. These are the reference for the one-pass
// kernels and the values read at a single bar; they recompute whole windows and are not meant for
// whole series.
//
// "No value" is NaN here, whatever the study's own no-value result (-1.0 for RSI and
// stochastics, the untouched point for the others); a result that is not a number (0 / 0) is NaN
// as well.

#include "chart/bar_series.h"

namespace study_formulas {

// Over the price pane; `period` is the average's or the bands' period.
double SimpleAverage(const IBarSeries& bars, int period, int i);
double StudyAverage(const IBarSeries& bars, int period, bool exponential, int i);
struct SBandsAt {
    double lower;
    double middle;
    double upper;
};
SBandsAt BollingerAt(const IBarSeries& bars, int period, double deviations, int i);

// RSI for argument i computes bar k = i - 1.
struct SRsiState {
    int last = -10;
    double avgGain = 0.0;
    double avgLoss = 0.0;
};
double Rsi(const IBarSeries& bars, int period, int i, SRsiState& state);

double Momentum(const IBarSeries& bars, int period, int i);
double RateOfChange(const IBarSeries& bars, int period, int i);
double OnBalanceVolume(const IBarSeries& bars, int period, int i);

struct SFlows {
    double positive;
    double negative;
};
SFlows MoneyFlow(const IBarSeries& bars, int period, int i);
double MoneyFlowIndex(const IBarSeries& bars, int period, int i);

struct SMacdState {
    int last = -10;
    double emaShort = 0.0;
    double emaLong = 0.0;
    double signal = 0.0;
};
struct SMacdAt {
    double macd;
    double signal;
};
SMacdAt Macd(const IBarSeries& bars, int shortPeriod, int longPeriod, int signalPeriod, int i,
             SMacdState& state);

struct SStochasticsAt {
    double k;
    double d;
};
double StochasticK(const IBarSeries& bars, int period, int i);
SStochasticsAt FastStochastics(const IBarSeries& bars, int period, int i);
SStochasticsAt SlowStochastics(const IBarSeries& bars, int period, int i);

struct SAdxState {
    int last = -10;
    double avgTrueRange = 0.0;
    double avgPlusDm = 0.0;
    double avgMinusDm = 0.0;
    double adx = 0.0;
};
struct SAdxAt {
    double adx;
    double plusDi;
    double minusDi;
};
SAdxAt Adx(const IBarSeries& bars, int period, int i, SAdxState& state);

} // namespace study_formulas

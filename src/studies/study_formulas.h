#pragma once

// The study formulas bar by bar, exactly as the study panes define them: `value(i)` of each study
// with its running state. A call for the bar right after the cached one advances the state by one
// bar; any other call rebuilds it from the first bar. These are the reference for the one-pass
// kernels and the values read at a single bar; they recompute whole windows and are not meant for
// whole series.
//
// "No value" is NaN here, whatever the study's own no-value result (-1.0 for RSI and
// stochastics, the untouched point for the others); a result that is not a number (0 / 0) is NaN
// as well. A bar outside 0 .. Count() - 1 and a period below 1 give no value. Warming up gives no
// value without touching the state.
//
// The running states: a call for i with i - 1 equal to `state.last` takes one step (for MACD and
// ADX only once the state is past the seed: last >= L + G - 1, last >= 2n); any other call
// rebuilds from the first bar. Either way the state then holds i (RSI: k). So a pane filled bar
// by bar from a fresh state gives at every bar what an out-of-order call gives, except RSI, whose
// rebuild past bar n + 1 keeps only the last change over n (bar by bar only the first point is a
// rebuild). Start a fresh state for every fill: the state does not know the period.

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

// RSI for argument i computes bar k = i - 1, from bar k = n on.
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
// A MACD from bar L - 1 (bars L - 1 and L show the MACD of bar L - 1), a signal from bar L + 1.
// With S > L the short average only exists from bar S - 1, and so does the MACD.
SMacdAt Macd(const IBarSeries& bars, int shortPeriod, int longPeriod, int signalPeriod, int i,
             SMacdState& state);

// %K over the n + 1 bars i - n .. i; fast and slow give the %K shown beside their %D.
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
// DI from bar n (bars n + 1 .. 2n - 1 reach only to bar i - 1), ADX from bar 2n.
struct SAdxAt {
    double adx;
    double plusDi;
    double minusDi;
};
SAdxAt Adx(const IBarSeries& bars, int period, int i, SAdxState& state);

} // namespace study_formulas

#include "studies/study_formulas.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace study_formulas {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// What RSI and the stochastics return while warming up; it also enters the stochastics' means
// as a plain number, so it is turned into NaN only on the way out.
constexpr double kNoValue = -1.0;
// The stochastics' starting extremes; a high below or a low above them is never found.
constexpr double kStartHigh = -1000000.0;
constexpr double kStartLow = 1000000.0;

bool InRange(const IBarSeries& bars, std::int64_t i) {
    return i >= 0 && i < bars.Count();
}

double NoValueToNaN(double value) {
    return value == kNoValue ? kNaN : value;
}

double Gain(double change) {
    return change > 0 ? change : 0.0;
}

// A change of zero is a loss of zero.
double Loss(double change) {
    return change <= 0 ? -change : 0.0;
}

double Typical(const IBarSeries& bars, int j) {
    return (bars.Close(j) + (bars.High(j) + bars.Low(j))) / 3;
}

// The sum of `count` closes ending at i, from i downwards.
double SumCloses(const IBarSeries& bars, int i, int count) {
    double sum = 0.0;
    for (int j = i; j > i - count; --j) {
        sum += bars.Close(j);
    }
    return sum;
}

} // namespace

double SimpleAverage(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i) || i <= period - 2) {
        return kNaN;
    }
    return SumCloses(bars, i, period) / period;
}

double StudyAverage(const IBarSeries& bars, int period, bool exponential, int i) {
    if (!exponential) {
        return SimpleAverage(bars, period, i);
    }
    if (period < 1 || !InRange(bars, i) || i <= period) {
        return kNaN;
    }
    // One smoothing step over the previous bar's simple average, not a running average.
    const double k = 2.0 / (period + 1.0);
    return bars.Close(i) * k + SimpleAverage(bars, period, i - 1) * (1 - k);
}

SBandsAt BollingerAt(const IBarSeries& bars, int period, double deviations, int i) {
    if (period < 1 || !InRange(bars, i) || i < period - 1) {
        return {kNaN, kNaN, kNaN};
    }
    const double m = SimpleAverage(bars, period, i);
    double v = 0.0;
    for (int j = i; j > i - period; --j) {
        const double d = bars.Close(j) - m;
        v += d * d;
    }
    v /= period; // the population variance
    const double s = std::sqrt(v) * deviations;
    return {m - s, m, m + s};
}

double Rsi(const IBarSeries& bars, int period, int i, SRsiState& state) {
    const std::int64_t k64 = std::int64_t{i} - 1;
    if (period < 1 || k64 < period || k64 >= bars.Count()) {
        return kNaN;
    }
    const int k = static_cast<int>(k64);
    const double n = period;
    if (k - 1 == state.last) {
        // Wilder smoothing by one bar.
        const double d = bars.Close(k) - bars.Close(k - 1);
        state.avgGain += (Gain(d) - state.avgGain) / n;
        state.avgLoss += (Loss(d) - state.avgLoss) / n;
    } else {
        double gain = 0.0;
        double loss = 0.0;
        for (int j = 1; j <= period; ++j) {
            const double d = bars.Close(j) - bars.Close(j - 1);
            gain += Gain(d);
            loss += Loss(d);
        }
        gain /= n;
        loss /= n;
        // Past bar n + 1 a rebuild keeps, up to rounding, only the last change divided by n:
        // each step adds the change over n and takes the previous average away again.
        if (k > period + 1) {
            for (int j = period + 1; j <= k; ++j) {
                const double d = bars.Close(j) - bars.Close(j - 1);
                gain = (Gain(d) / n + gain) - gain;
                loss = (Loss(d) / n + loss) - loss;
            }
        }
        state.avgGain = gain;
        state.avgLoss = loss;
    }
    state.last = k;
    return 100.0 - 100.0 / (state.avgGain / state.avgLoss + 1.0);
}

double Momentum(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i) || i < period) {
        return kNaN;
    }
    return bars.Close(i) - bars.Close(i - period);
}

double RateOfChange(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i) || i < std::int64_t{period} + 1) {
        return kNaN;
    }
    const double p = bars.Close(i - period);
    if (p == 0) {
        return kNaN;
    }
    return (bars.Close(i) - p) / p * 100;
}

double OnBalanceVolume(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i) || i < period) {
        return kNaN;
    }
    double sum = 0.0;
    for (int j = i - period + 1; j <= i; ++j) {
        const double close = bars.Close(j);
        const double previous = bars.Close(j - 1);
        if (close > previous) {
            sum += static_cast<double>(bars.Volume(j));
        } else if (close < previous) {
            sum -= static_cast<double>(bars.Volume(j));
        }
    }
    return sum;
}

SFlows MoneyFlow(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i) || std::int64_t{i} - period < 1) {
        return {kNaN, kNaN};
    }
    // n + 1 comparisons: bars i - n .. i against their predecessors.
    double positive = 0.0;
    double negative = 0.0;
    for (int j = i - period; j <= i; ++j) {
        const double tp = Typical(bars, j);
        const double previous = Typical(bars, j - 1);
        const double flow = static_cast<double>(bars.Volume(j)) * tp;
        if (tp > previous) {
            positive += flow;
        } else if (tp < previous) {
            negative += flow;
        }
    }
    return {positive / period, negative / period};
}

double MoneyFlowIndex(const IBarSeries& bars, int period, int i) {
    const SFlows flows = MoneyFlow(bars, period, i);
    if (std::isnan(flows.positive)) {
        return kNaN;
    }
    const double p = flows.positive;
    const double n = flows.negative;
    return 50 + (p - n) * 50 / (p + n);
}

SMacdAt Macd(const IBarSeries& bars, int shortPeriod, int longPeriod, int signalPeriod, int i,
             SMacdState& state) {
    const int s = shortPeriod;
    const int l = longPeriod;
    const int g = signalPeriod;
    // The short average exists from bar S - 1 on, so a short period above the long one moves the
    // first value there.
    if (s < 1 || l < 1 || g < 1 || !InRange(bars, i) || i < std::max(s, l) - 1) {
        return {kNaN, kNaN};
    }
    const double aS = 2.0 / (s + 1.0);
    const double aL = 2.0 / (l + 1.0);
    const double aG = 2.0 / (g + 1.0);
    const std::int64_t seedEnd = std::int64_t{l} + g - 1; // the last bar of the signal's seed
    if (i - 1 == state.last && state.last >= seedEnd) {
        const double c = bars.Close(i);
        state.emaShort += (c - state.emaShort) * aS;
        state.emaLong += (c - state.emaLong) * aL;
        const double macd = state.emaShort - state.emaLong;
        state.signal += (macd - state.signal) * aG;
        state.last = i;
        return {macd, state.signal};
    }

    double emaS = 0.0;
    for (int j = 0; j < s; ++j) {
        emaS += bars.Close(j);
    }
    emaS /= s;
    double sumL = 0.0;
    for (int j = 0; j < l; ++j) {
        const double c = bars.Close(j);
        sumL += c;
        if (j >= s) {
            emaS += (c - emaS) * aS;
        }
    }
    double emaL = sumL / l;
    double macd = emaS - emaL; // the MACD of bar L - 1, also what a rebuild at i = L gives
    double signal = 0.0;
    const bool hasSignal = i > l;
    if (hasSignal) {
        // The seed holds the MACD of bar L - 1 and up to G more, and is divided by G.
        double sum = macd;
        for (std::int64_t j = l; j <= seedEnd && j <= i; ++j) {
            const double c = bars.Close(static_cast<int>(j));
            emaS += (c - emaS) * aS;
            emaL += (c - emaL) * aL;
            macd = emaS - emaL;
            sum += macd;
        }
        signal = sum / g;
        for (std::int64_t j = seedEnd + 1; j <= i; ++j) {
            const double c = bars.Close(static_cast<int>(j));
            emaS += (c - emaS) * aS;
            emaL += (c - emaL) * aL;
            macd = emaS - emaL;
            signal += (macd - signal) * aG;
        }
    }
    state.emaShort = emaS;
    state.emaLong = emaL;
    state.signal = signal;
    state.last = i;
    return {macd, hasSignal ? signal : kNaN};
}

namespace {

// %K with -1.0 while warming up.
double RawStochasticK(const IBarSeries& bars, int n, int i) {
    if (i < n) {
        return kNoValue;
    }
    double highest = kStartHigh;
    double lowest = kStartLow;
    for (int j = i - n; j <= i; ++j) {
        highest = std::max(highest, bars.High(j));
        lowest = std::min(lowest, bars.Low(j));
    }
    if (highest == lowest) {
        return 50.0;
    }
    return (bars.Close(i) - lowest) / (highest - lowest) * 100;
}

SStochasticsAt RawFast(const IBarSeries& bars, int n, int i) {
    if (i < std::int64_t{2} * n) {
        return {RawStochasticK(bars, n, i), kNoValue};
    }
    double sum = 0.0;
    for (int b = i - n; b <= i - 1; ++b) {
        sum += RawStochasticK(bars, n, b);
    }
    return {RawStochasticK(bars, n, i - 1), sum / n};
}

SStochasticsAt RawSlow(const IBarSeries& bars, int n, int i) {
    if (i < std::int64_t{4} * n) {
        return RawFast(bars, n, i);
    }
    double sum = 0.0;
    for (int b = i - n; b <= i - 1; ++b) {
        sum += RawFast(bars, n, b).d;
    }
    return {RawFast(bars, n, i - 1).d, sum / n};
}

} // namespace

double StochasticK(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i)) {
        return kNaN;
    }
    return NoValueToNaN(RawStochasticK(bars, period, i));
}

SStochasticsAt FastStochastics(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i)) {
        return {kNaN, kNaN};
    }
    const SStochasticsAt raw = RawFast(bars, period, i);
    return {NoValueToNaN(raw.k), NoValueToNaN(raw.d)};
}

SStochasticsAt SlowStochastics(const IBarSeries& bars, int period, int i) {
    if (period < 1 || !InRange(bars, i)) {
        return {kNaN, kNaN};
    }
    const SStochasticsAt raw = RawSlow(bars, period, i);
    return {NoValueToNaN(raw.k), NoValueToNaN(raw.d)};
}

namespace {

struct SMove {
    double trueRange;
    double plusDm;
    double minusDm;
};

// Bar j against bar j - 1; both directional movements are absolute values.
SMove MoveAt(const IBarSeries& bars, int j) {
    const double high = bars.High(j);
    const double low = bars.Low(j);
    const double previousClose = bars.Close(j - 1);
    const double trueRange =
        std::max(std::max(std::fabs(high - low), std::fabs(high - previousClose)),
                 std::fabs(low - previousClose));
    const double up = std::fabs(high - bars.High(j - 1));
    const double down = std::fabs(bars.Low(j - 1) - low);
    if (down > up) {
        return {trueRange, 0.0, down};
    }
    if (up > down) {
        return {trueRange, up, 0.0};
    }
    return {trueRange, 0.0, 0.0};
}

void Advance(SAdxState& s, const SMove& m, double inverse) {
    s.avgTrueRange += (m.trueRange - s.avgTrueRange) * inverse;
    s.avgPlusDm += (m.plusDm - s.avgPlusDm) * inverse;
    s.avgMinusDm += (m.minusDm - s.avgMinusDm) * inverse;
}

double PlusDi(const SAdxState& s) {
    return 100 * s.avgPlusDm / s.avgTrueRange;
}

double MinusDi(const SAdxState& s) {
    return 100 * s.avgMinusDm / s.avgTrueRange;
}

// Inside the ADX seed the ratio is taken first, in the running ADX the product first.
double SeedDx(const SAdxState& s) {
    const double plus = PlusDi(s);
    const double minus = MinusDi(s);
    return std::fabs((plus - minus) / (plus + minus) * 100);
}

double RunningDx(const SAdxState& s) {
    const double plus = PlusDi(s);
    const double minus = MinusDi(s);
    return std::fabs((plus - minus) * 100 / (plus + minus));
}

} // namespace

SAdxAt Adx(const IBarSeries& bars, int period, int i, SAdxState& state) {
    const int n = period;
    if (n < 1 || !InRange(bars, i) || i < n) {
        return {kNaN, kNaN, kNaN};
    }
    const double inverse = 1.0 / n;
    const std::int64_t seedEnd = std::int64_t{2} * n; // the first bar with an ADX
    if (i - 1 == state.last && state.last >= seedEnd) {
        Advance(state, MoveAt(bars, i), inverse);
        state.adx += (RunningDx(state) - state.adx) * inverse;
        state.last = i;
        return {state.adx, PlusDi(state), MinusDi(state)};
    }

    SAdxState s;
    double sumTr = 0.0;
    double sumPlus = 0.0;
    double sumMinus = 0.0;
    for (int j = 1; j <= n; ++j) {
        const SMove m = MoveAt(bars, j);
        sumTr += m.trueRange;
        sumPlus += m.plusDm;
        sumMinus += m.minusDm;
    }
    s.avgTrueRange = sumTr / n;
    s.avgPlusDm = sumPlus / n;
    s.avgMinusDm = sumMinus / n;
    if (i < seedEnd) {
        // Before the first ADX a rebuild stops at the bar before i.
        for (int j = n + 1; j <= i - 1; ++j) {
            Advance(s, MoveAt(bars, j), inverse);
        }
        s.adx = kNaN;
    } else {
        double sumDx = 0.0;
        for (int j = n + 1; j <= 2 * n; ++j) {
            Advance(s, MoveAt(bars, j), inverse);
            sumDx += SeedDx(s);
        }
        s.adx = sumDx / n;
        for (int j = 2 * n + 1; j <= i; ++j) {
            Advance(s, MoveAt(bars, j), inverse);
            s.adx += (RunningDx(s) - s.adx) * inverse;
        }
    }
    s.last = i;
    state = s;
    return {s.adx, PlusDi(s), MinusDi(s)};
}

} // namespace study_formulas

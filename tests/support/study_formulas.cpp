#include "study_formulas.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

namespace study_formulas {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// The stochastics' starting extremes; a high below or a low above them is never found.
constexpr double kStartHigh = -1000000.0;
constexpr double kStartLow = 1000000.0;

Line Empty(const IBarSeries& bars) {
    return Line(static_cast<std::size_t>(bars.Count()), kNaN);
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

// The mean of the n closes ending at i, summed from i downwards.
double MeanAt(const IBarSeries& bars, int n, int i) {
    double sum = 0.0;
    for (int j = i; j > i - n; --j) {
        sum += bars.Close(j);
    }
    return sum / n;
}

// %K of bar i over bars i - n .. i.
double StochasticK(const IBarSeries& bars, int n, int i) {
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

// The mean of `line` over bars i - n .. i - 1.
double MeanBefore(const Line& line, int n, int i) {
    double sum = 0.0;
    for (int b = i - n; b <= i - 1; ++b) {
        sum += line[b];
    }
    return sum / n;
}

} // namespace

Line SimpleAverage(const IBarSeries& bars, int period) {
    Line out = Empty(bars);
    for (int i = period - 1; period >= 1 && i < bars.Count(); ++i) {
        out[i] = MeanAt(bars, period, i);
    }
    return out;
}

Line StudyAverage(const IBarSeries& bars, int period, bool exponential) {
    if (!exponential) {
        return SimpleAverage(bars, period);
    }
    Line out = Empty(bars);
    const double k = 2.0 / (period + 1.0);
    for (int i = period + 1; period >= 1 && i < bars.Count(); ++i) {
        out[i] = bars.Close(i) * k + MeanAt(bars, period, i - 1) * (1 - k);
    }
    return out;
}

SBands Bollinger(const IBarSeries& bars, int period, double deviations) {
    SBands out{Empty(bars), Empty(bars), Empty(bars)};
    for (int i = period - 1; period >= 1 && i < bars.Count(); ++i) {
        const double m = MeanAt(bars, period, i);
        double v = 0.0;
        for (int j = i; j > i - period; --j) {
            const double d = bars.Close(j) - m;
            v += d * d;
        }
        const double s = std::sqrt(v / period) * deviations;
        out.lower[i] = m - s;
        out.middle[i] = m;
        out.upper[i] = m + s;
    }
    return out;
}

Line Rsi(const IBarSeries& bars, int period) {
    Line out = Empty(bars);
    if (period < 1 || bars.Count() <= period) {
        return out;
    }
    const double n = period;
    double gain = 0.0;
    double loss = 0.0;
    for (int k = 1; k < bars.Count(); ++k) {
        const double d = bars.Close(k) - bars.Close(k - 1);
        if (k <= period) {
            gain += Gain(d);
            loss += Loss(d);
            if (k == period) {
                gain /= n;
                loss /= n;
            }
        } else {
            gain += (Gain(d) - gain) / n;
            loss += (Loss(d) - loss) / n;
        }
        if (k >= period) {
            out[k] = 100.0 - 100.0 / (gain / loss + 1.0);
        }
    }
    return out;
}

Line Momentum(const IBarSeries& bars, int period) {
    Line out = Empty(bars);
    for (int i = period; period >= 1 && i < bars.Count(); ++i) {
        out[i] = bars.Close(i) - bars.Close(i - period);
    }
    return out;
}

Line RateOfChange(const IBarSeries& bars, int period) {
    Line out = Empty(bars);
    for (int i = period + 1; period >= 1 && i < bars.Count(); ++i) {
        const double p = bars.Close(i - period);
        out[i] = p == 0 ? kNaN : (bars.Close(i) - p) / p * 100;
    }
    return out;
}

Line OnBalanceVolume(const IBarSeries& bars, int period) {
    Line out = Empty(bars);
    for (int i = period; period >= 1 && i < bars.Count(); ++i) {
        double sum = 0.0;
        for (int j = i - period + 1; j <= i; ++j) {
            if (bars.Close(j) > bars.Close(j - 1)) {
                sum += static_cast<double>(bars.Volume(j));
            } else if (bars.Close(j) < bars.Close(j - 1)) {
                sum -= static_cast<double>(bars.Volume(j));
            }
        }
        out[i] = sum;
    }
    return out;
}

SFlows MoneyFlow(const IBarSeries& bars, int period) {
    SFlows out{Empty(bars), Empty(bars)};
    for (int i = period + 1; period >= 1 && i < bars.Count(); ++i) {
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
        out.positive[i] = positive / period;
        out.negative[i] = negative / period;
    }
    return out;
}

Line MoneyFlowIndex(const IBarSeries& bars, int period) {
    const SFlows flows = MoneyFlow(bars, period);
    Line out = Empty(bars);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double p = flows.positive[i];
        const double n = flows.negative[i];
        out[i] = 50 + (p - n) * 50 / (p + n);
    }
    return out;
}

SMacd Macd(const IBarSeries& bars, int s, int l, int g) {
    SMacd out{Empty(bars), Empty(bars), Empty(bars)};
    const int first = std::max(s, l) - 1;
    if (s < 1 || l < 1 || g < 1 || bars.Count() <= first) {
        return out;
    }
    const double aS = 2.0 / (s + 1.0);
    const double aL = 2.0 / (l + 1.0);
    const double aG = 2.0 / (g + 1.0);
    double emaS = 0.0;
    for (int j = 0; j < s; ++j) {
        emaS += bars.Close(j);
    }
    emaS /= s;
    double emaL = 0.0;
    for (int j = 0; j < l; ++j) {
        emaL += bars.Close(j);
        if (j >= s) {
            emaS += (bars.Close(j) - emaS) * aS;
        }
    }
    emaL /= l;
    for (int i = first; i <= l && i < bars.Count(); ++i) {
        out.macd[i] = emaS - emaL;
    }
    double seed = emaS - emaL;
    double signal = 0.0;
    for (int j = l; j < bars.Count(); ++j) {
        emaS += (bars.Close(j) - emaS) * aS;
        emaL += (bars.Close(j) - emaL) * aL;
        const double macd = emaS - emaL;
        if (j <= l + g - 1) {
            seed += macd;
            signal = seed / g;
        } else {
            signal += (macd - signal) * aG;
        }
        if (j > l && j >= first) {
            out.macd[j] = macd;
            out.signal[j] = signal;
            out.histogram[j] = macd - signal;
        }
    }
    return out;
}

SStochastics Stochastics(const IBarSeries& bars, int n, bool fast) {
    SStochastics out{Empty(bars), Empty(bars)};
    if (n < 1) {
        return out;
    }
    Line k = Empty(bars);
    for (int i = n; i < bars.Count(); ++i) {
        k[i] = StochasticK(bars, n, i);
    }
    for (int i = n; i < bars.Count(); ++i) {
        out.k[i] = i < 2 * n ? k[i] : k[i - 1];
        out.d[i] = i < 2 * n ? kNaN : MeanBefore(k, n, i);
    }
    if (!fast) {
        const Line fastD = out.d;
        for (int i = 4 * n; i < bars.Count(); ++i) {
            out.k[i] = fastD[i - 1];
            out.d[i] = MeanBefore(fastD, n, i);
        }
    }
    return out;
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

} // namespace

SAdx Adx(const IBarSeries& bars, int n) {
    SAdx out{Empty(bars), Empty(bars), Empty(bars)};
    if (n < 1 || bars.Count() <= n) {
        return out;
    }
    SMove avg{0.0, 0.0, 0.0};
    for (int j = 1; j <= n; ++j) {
        const SMove m = MoveAt(bars, j);
        avg.trueRange += m.trueRange;
        avg.plusDm += m.plusDm;
        avg.minusDm += m.minusDm;
    }
    avg = {avg.trueRange / n, avg.plusDm / n, avg.minusDm / n};
    const double inverse = 1.0 / n;
    double plus = 100 * avg.plusDm / avg.trueRange;
    double minus = 100 * avg.minusDm / avg.trueRange;
    out.plusDi[n] = plus;
    out.minusDi[n] = minus;
    double sumDx = 0.0;
    double adx = 0.0;
    for (int j = n + 1; j < bars.Count(); ++j) {
        if (j < 2 * n) {
            out.plusDi[j] = plus;
            out.minusDi[j] = minus;
        }
        const SMove m = MoveAt(bars, j);
        avg.trueRange += (m.trueRange - avg.trueRange) * inverse;
        avg.plusDm += (m.plusDm - avg.plusDm) * inverse;
        avg.minusDm += (m.minusDm - avg.minusDm) * inverse;
        plus = 100 * avg.plusDm / avg.trueRange;
        minus = 100 * avg.minusDm / avg.trueRange;
        if (j <= 2 * n) {
            // The seed of the ADX: the mean DX of bars n + 1 .. 2n, the ratio taken first.
            sumDx += std::fabs((plus - minus) / (plus + minus) * 100);
            adx = sumDx / n;
        } else {
            adx += (std::fabs((plus - minus) * 100 / (plus + minus)) - adx) * inverse;
        }
        if (j >= 2 * n) {
            out.adx[j] = adx;
            out.plusDi[j] = plus;
            out.minusDi[j] = minus;
        }
    }
    return out;
}

std::string Mismatch(const Line& expected, const Line& actual) {
    std::ostringstream text;
    text.precision(17);
    if (expected.size() != actual.size()) {
        text << actual.size() << " bars, not " << expected.size();
        return text.str();
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const double e = expected[i];
        const double a = actual[i];
        const double scale = std::max({1.0, std::fabs(e), std::fabs(a)});
        if (std::isnan(e) != std::isnan(a) || std::fabs(e - a) > 1e-12 * scale) {
            text << "bar " << i << ": " << a << ", not " << e;
            return text.str();
        }
    }
    return {};
}

} // namespace study_formulas

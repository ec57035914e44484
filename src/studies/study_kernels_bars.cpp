// The kernels that read the high, low and volume columns beside the closes: on-balance volume,
// stochastics, money flow and its index, ADX and the volume average.

#include "studies/kernel_support.h"
#include "studies/study_kernels.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace study_kernels {

using detail::CRollingSum;
using detail::FillNaNOutside;
using detail::KeepIf;
using detail::kNaN;
using detail::ResumInterval;
using detail::Sized;

namespace {

// The bars that every column used holds; later bars get NaN.
std::size_t Usable(const SBarColumns& bars, std::initializer_list<std::span<const double>> used) {
    std::size_t usable = bars.Count();
    for (const auto& column : used) {
        usable = std::min(usable, column.size());
    }
    return usable;
}

// A period below 1 computes no bar: its first bar lies past every series.
std::size_t FirstBar(int period, std::size_t offset, std::size_t count) {
    return period < 1 ? count : static_cast<std::size_t>(period) + offset;
}

constexpr double kNoValue = -1.0;

double NoValueToNaN(double value) {
    return value == kNoValue ? kNaN : value;
}

} // namespace

void OnBalanceVolume(const SBarColumns& bars, int period, Column& column) {
    const std::size_t count = bars.Count();
    double* out = Sized(column, count);
    const std::size_t p = FirstBar(period, 0, count);
    const std::size_t usable = Usable(bars, {bars.volume});
    FillNaNOutside(out, count, p, usable);
    if (usable <= p) {
        return;
    }
    const auto close = bars.close;
    const auto volume = bars.volume;
    auto contribution = [&](std::size_t j) {
        const int sign = (close[j] > close[j - 1]) - (close[j] < close[j - 1]);
        return sign * volume[j];
    };
    // Volumes are integers, so the rolling sum is exact; the re-summation only guards
    // fractional volumes.
    detail::CBarRing ring(p);
    double sum = 0.0;
    for (std::size_t j = 1; j <= p; ++j) {
        ring[j] = contribution(j);
        sum += ring[j];
    }
    out[p] = sum;
    const std::size_t resumEvery = ResumInterval(p);
    std::size_t since = 0;
    for (std::size_t i = p + 1; i < usable; ++i) {
        const double incoming = contribution(i);
        sum += incoming;
        sum -= ring[i - p];
        ring[i] = incoming;
        if (++since == resumEvery) {
            since = 0;
            sum = 0.0;
            for (std::size_t j = i + 1 - p; j <= i; ++j) {
                sum += ring[j];
            }
        }
        out[i] = sum;
    }
}

void Stochastics(const SBarColumns& bars, int period, bool fast, SStochastics& columns) {
    const std::size_t count = bars.Count();
    double* kOut = Sized(columns.k, count);
    double* dOut = Sized(columns.d, count);
    const std::size_t n = FirstBar(period, 0, count);
    const std::size_t usable = Usable(bars, {bars.high, bars.low});
    FillNaNOutside(kOut, count, n, usable);
    FillNaNOutside(dOut, count, n, usable);
    if (usable <= n) {
        return;
    }
    // %K of bar i spans the w = n + 1 bars i - n .. i. Its extremes come from blocks of w bars
    // (van Herk / Gil-Werman): the extreme of the block's bars up to i, and that of the previous
    // block's bars from i - n on, which the suffix extremes of the previous block hold. The
    // starting values of the bar formula seed both.
    constexpr double kStartHigh = -1000000.0;
    constexpr double kStartLow = 1000000.0;
    const std::size_t w = n + 1;
    std::vector<double> tailHigh(w + 1, kStartHigh);
    std::vector<double> tailLow(w + 1, kStartLow);
    CRollingSum kSum(n); // %K of bars i - n .. i - 1 before bar i is put: fast %D of bar i
    CRollingSum dSum(n); // the same over fast %D: slow %D of bar i
    const double inverse = 1.0 / period;
    for (std::size_t start = 0; start < usable; start += w) {
        const std::size_t end = std::min(start + w, usable);
        double headHigh = kStartHigh;
        double headLow = kStartLow;
        for (std::size_t i = start; i < end; ++i) {
            headHigh = std::max(headHigh, bars.high[i]);
            headLow = std::min(headLow, bars.low[i]);
            if (i < n) {
                continue;
            }
            const double hh = std::max(tailHigh[i - start + 1], headHigh);
            const double ll = std::min(tailLow[i - start + 1], headLow);
            const double k = hh == ll ? 50.0 : (bars.close[i] - ll) / (hh - ll) * 100;
            // The fast values of bar i, -1.0 for no %D.
            double fastK = k;
            double fastD = kNoValue;
            if (i >= 2 * n) {
                fastK = kSum.At(i - 1);
                fastD = kSum.Sum() * inverse;
            }
            kSum.Put(i, k);
            double outK = fastK;
            double outD = fastD;
            if (i >= 2 * n) {
                if (!fast && i >= 4 * n) {
                    outK = dSum.At(i - 1);
                    outD = dSum.Sum() * inverse;
                }
                dSum.Put(i, fastD);
            }
            kOut[i] = NoValueToNaN(outK);
            dOut[i] = NoValueToNaN(outD);
        }
        if (end == start + w) {
            for (std::size_t o = w; o-- > 0;) {
                tailHigh[o] = std::max(tailHigh[o + 1], bars.high[start + o]);
                tailLow[o] = std::min(tailLow[o + 1], bars.low[start + o]);
            }
        }
    }
}

namespace {

// Walks the money flows: emit(i, positive / n, negative / n) for every bar i from n + 1 on, each
// over the n + 1 comparisons of bars i - n .. i with their predecessors. A side's sum is exactly
// 0 when it holds no non-zero flow, so that a flat span gives 0 / 0 as the bar formula does.
template <typename Emit>
void ForEachFlow(const SBarColumns& bars, std::size_t usable, int period, Emit&& emit) {
    const std::size_t n = static_cast<std::size_t>(period);
    auto typical = [&](std::size_t j) {
        return (bars.close[j] + (bars.high[j] + bars.low[j])) / 3;
    };
    CRollingSum positive(n + 1);
    CRollingSum negative(n + 1);
    const double inverse = 1.0 / period;
    double previous = typical(0);
    for (std::size_t j = 1; j < usable; ++j) {
        const double tp = typical(j);
        const double flow = bars.volume[j] * tp;
        positive.Put(j, KeepIf(tp > previous, flow));
        negative.Put(j, KeepIf(tp < previous, flow));
        previous = tp;
        if (j > n) {
            emit(j, positive.Sum() * inverse, negative.Sum() * inverse);
        }
    }
}

} // namespace

void MoneyFlow(const SBarColumns& bars, int period, SMoneyFlow& columns) {
    const std::size_t count = bars.Count();
    double* positiveOut = Sized(columns.positive, count);
    double* negativeOut = Sized(columns.negative, count);
    const std::size_t first = FirstBar(period, 1, count);
    const std::size_t usable = Usable(bars, {bars.high, bars.low, bars.volume});
    FillNaNOutside(positiveOut, count, first, usable);
    FillNaNOutside(negativeOut, count, first, usable);
    if (usable <= first) {
        return;
    }
    ForEachFlow(bars, usable, period, [&](std::size_t i, double positive, double negative) {
        positiveOut[i] = positive;
        negativeOut[i] = negative;
    });
}

void MoneyFlowIndex(const SBarColumns& bars, int period, Column& column) {
    const std::size_t count = bars.Count();
    double* out = Sized(column, count);
    const std::size_t first = FirstBar(period, 1, count);
    const std::size_t usable = Usable(bars, {bars.high, bars.low, bars.volume});
    FillNaNOutside(out, count, first, usable);
    if (usable <= first) {
        return;
    }
    ForEachFlow(bars, usable, period,
                [&](std::size_t i, double p, double q) { out[i] = 50 + (p - q) * 50 / (p + q); });
}

void MoneyFlowIndex(std::span<const double> positive, std::span<const double> negative,
                    std::size_t begin, std::span<double> out) {
    // NaN where the flows are, as the pass over the bars leaves them.
    const double* p = positive.data() + begin;
    const double* q = negative.data() + begin;
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = 50 + (p[i] - q[i]) * 50 / (p[i] + q[i]);
    }
}

void MoneyFlowIndex(std::span<const double> positive, std::span<const double> negative,
                    Column& column) {
    const std::size_t count = std::min(positive.size(), negative.size());
    MoneyFlowIndex(positive, negative, 0, {Sized(column, count), count});
}

void Adx(const SBarColumns& bars, int period, SAdx& columns) {
    SAdxCarry carry;
    Adx(bars, period, columns, carry, 0);
}

void Adx(const SBarColumns& bars, int period, SAdx& columns, SAdxCarry& carry, std::size_t from) {
    const std::size_t count = bars.Count();
    const std::size_t n = FirstBar(period, 0, count);
    const std::size_t usable = Usable(bars, {bars.high, bars.low});
    const std::size_t have =
        std::min({columns.adx.size(), columns.plusDi.size(), columns.minusDi.size()});
    const SAdxCarry resumed = carry;
    carry = SAdxCarry{};
    const bool goesOn = resumed.period == period && usable == count &&
                        detail::GoesOn(resumed.bar, from, have, count);
    auto size = [&](Column& column) {
        return goesOn ? detail::Grown(column, count) : Sized(column, count);
    };
    double* adxOut = size(columns.adx);
    double* plusOut = size(columns.plusDi);
    double* minusOut = size(columns.minusDi);
    const auto high = bars.high;
    const auto low = bars.low;
    const auto close = bars.close;
    const double inverse = 1.0 / period;
    double trueRange = 0.0;
    double plusDm = 0.0;
    double minusDm = 0.0;
    double adx = 0.0;
    // Bar j against bar j - 1, with absolute directional movements: summed into the averages
    // while seeding them, else smoothed in.
    auto advance = [&](std::size_t j, bool seed) {
        const double previousClose = close[j - 1];
        const double tr =
            std::max(std::max(std::fabs(high[j] - low[j]), std::fabs(high[j] - previousClose)),
                     std::fabs(low[j] - previousClose));
        const double up = std::fabs(high[j] - high[j - 1]);
        const double down = std::fabs(low[j - 1] - low[j]);
        const double plus = KeepIf(up > down, up);
        const double minus = KeepIf(down > up, down);
        if (seed) {
            trueRange += tr;
            plusDm += plus;
            minusDm += minus;
        } else {
            trueRange += (tr - trueRange) * inverse;
            plusDm += (plus - plusDm) * inverse;
            minusDm += (minus - minusDm) * inverse;
        }
    };
    auto plusDi = [&] { return 100 * plusDm / trueRange; };
    auto minusDi = [&] { return 100 * minusDm / trueRange; };
    auto put = [&](std::size_t i, double value) {
        adxOut[i] = value;
        plusOut[i] = plusDi();
        minusOut[i] = minusDi();
    };
    std::size_t i = resumed.bar + 1;
    if (goesOn) {
        trueRange = resumed.trueRange;
        plusDm = resumed.plusDm;
        minusDm = resumed.minusDm;
        adx = resumed.adx;
    } else {
        FillNaNOutside(adxOut, count, n, usable);
        FillNaNOutside(plusOut, count, n, usable);
        FillNaNOutside(minusOut, count, n, usable);
        if (usable <= n) {
            return;
        }
        for (std::size_t j = 1; j <= n; ++j) {
            advance(j, true);
        }
        trueRange /= period;
        plusDm /= period;
        minusDm /= period;

        // Before bar 2n the values reach only to the bar before (bar n at bars n and n + 1);
        // bar 2n has the first ADX, the mean of the seed's DX over bars n + 1 .. 2n (ratio
        // first); later bars smooth it with the DX taken product first.
        std::size_t applied = n;
        double seedDx = 0.0;
        auto applyThrough = [&](std::size_t last) {
            while (applied < last) {
                advance(++applied, false);
                const double plus = plusDi();
                const double minus = minusDi();
                seedDx += std::fabs((plus - minus) / (plus + minus) * 100);
            }
        };
        const std::size_t seedEnd = std::min(2 * n, usable);
        for (std::size_t bar = n; bar < seedEnd; ++bar) {
            applyThrough(std::max(n, bar - 1));
            put(bar, kNaN);
        }
        if (usable <= 2 * n) {
            return;
        }
        applyThrough(2 * n);
        adx = seedDx / period;
        put(2 * n, adx);
        i = 2 * n + 1;
    }
    // In the long run one division a bar: the reciprocal of the average true range.
    auto step = [&](std::size_t bar) {
        advance(bar, false);
        const double scale = 100 / trueRange;
        const double plus = plusDm * scale;
        const double minus = minusDm * scale;
        adx += (std::fabs((plus - minus) * 100 / (plus + minus)) - adx) * inverse;
        adxOut[bar] = adx;
        plusOut[bar] = plus;
        minusOut[bar] = minus;
    };
    for (; i + 1 < usable; ++i) {
        step(i);
    }
    if (i + 1 == usable && usable == count) {
        // The state before the newest bar, which live trades may still change.
        carry = SAdxCarry{i - 1, period, trueRange, plusDm, minusDm, adx};
    }
    if (i + 1 == usable) {
        step(i);
    }
}

double VolumeAverage(std::span<const double> volume, int period, bool allData) {
    if (volume.empty() || (!allData && period < 1)) {
        return kNaN;
    }
    std::size_t first = 0;
    if (!allData && volume.size() > static_cast<std::size_t>(period)) {
        first = volume.size() - static_cast<std::size_t>(period);
    }
    double sum = 0.0;
    for (std::size_t j = first; j < volume.size(); ++j) {
        sum += volume[j];
    }
    return sum / static_cast<double>(volume.size() - first);
}

// The value-returning forms.
Column OnBalanceVolume(const SBarColumns& bars, int period) {
    Column out;
    OnBalanceVolume(bars, period, out);
    return out;
}

SStochastics Stochastics(const SBarColumns& bars, int period, bool fast) {
    SStochastics out;
    Stochastics(bars, period, fast, out);
    return out;
}

SMoneyFlow MoneyFlow(const SBarColumns& bars, int period) {
    SMoneyFlow out;
    MoneyFlow(bars, period, out);
    return out;
}

Column MoneyFlowIndex(const SBarColumns& bars, int period) {
    Column out;
    MoneyFlowIndex(bars, period, out);
    return out;
}

SAdx Adx(const SBarColumns& bars, int period) {
    SAdx out;
    Adx(bars, period, out);
    return out;
}

} // namespace study_kernels

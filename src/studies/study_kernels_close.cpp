// The kernels that read only the closes: the averages and bands over the price pane, RSI,
// momentum, rate of change and MACD.

#include "studies/kernel_support.h"
#include "studies/study_kernels.h"

#include <algorithm>
#include <cmath>

namespace study_kernels {

using detail::FillNaN;
using detail::kNaN;
using detail::ResumInterval;
using detail::Sized;

namespace {

// The sum of the `count` closes ending at i, from i downwards (the order of the bar formulas).
double SumDown(std::span<const double> close, std::size_t i, std::size_t count) {
    double sum = 0.0;
    for (std::size_t k = 0; k < count; ++k) {
        sum += close[i - k];
    }
    return sum;
}

double Gain(double change) {
    return detail::KeepIf(change > 0, change);
}

// A change of zero is a loss of zero.
double Loss(double change) {
    return detail::KeepIf(change <= 0, -change);
}

// The simple average, or with `kExponential` one smoothing step over the previous bar's simple
// average. Sums are scaled by 1 / N (within an ulp of dividing).
template <bool kExponential>
void Average(std::span<const double> close, int period, Column& column) {
    const std::size_t count = close.size();
    double* out = Sized(column, count);
    const std::size_t p = period < 1 ? count + 1 : static_cast<std::size_t>(period);
    const std::size_t first = kExponential ? p + 1 : p - 1;
    FillNaN(out, 0, std::min(first, count));
    if (count <= first) {
        return;
    }
    const double inverse = 1.0 / period;
    const double k = 2.0 / (period + 1.0);
    const std::size_t resumEvery = ResumInterval(p);
    double sum = SumDown(close, p - 1, p);
    if (!kExponential) {
        out[p - 1] = sum * inverse;
    }
    std::size_t since = 0;
    for (std::size_t i = p; i < count; ++i) {
        const double previous = sum * inverse;
        sum += close[i] - close[i - p];
        if (++since == resumEvery) {
            sum = SumDown(close, i, p);
            since = 0;
        }
        if (kExponential) {
            if (i > p) {
                out[i] = close[i] * k + previous * (1 - k);
            }
        } else {
            out[i] = sum * inverse;
        }
    }
}

} // namespace

void SimpleAverage(std::span<const double> close, int period, Column& column) {
    Average<false>(close, period, column);
}

void StudyAverage(std::span<const double> close, int period, bool exponential, Column& column) {
    if (exponential) {
        Average<true>(close, period, column);
    } else {
        Average<false>(close, period, column);
    }
}

double SBands::At(EBand band, std::size_t bar) const {
    double value = 0.0;
    return Slice(band, bar, {&value, 1})[0];
}

std::span<const double> SBands::Slice(EBand band, std::size_t begin, std::span<double> out) const {
    const double* m = middle.data() + begin;
    if (band == EBand::Middle) {
        return {m, out.size()};
    }
    // m + (-w) is m - w exactly.
    const double sign = band == EBand::Lower ? -1.0 : 1.0;
    const double* w = width.data() + begin;
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = m[i] + sign * w[i];
    }
    return out;
}

void Bollinger(std::span<const double> close, int period, double deviations, SBands& bands) {
    const std::size_t count = close.size();
    double* middle = Sized(bands.middle, count);
    double* width = Sized(bands.width, count);
    const std::size_t leading =
        period < 1 ? count : std::min(static_cast<std::size_t>(period) - 1, count);
    FillNaN(middle, 0, leading);
    FillNaN(width, 0, leading);
    if (period < 1 || count < static_cast<std::size_t>(period)) {
        return;
    }
    const std::size_t p = static_cast<std::size_t>(period);
    const double inverse = 1.0 / period;
    const std::size_t resumEvery = ResumInterval(p);
    // The window's sum and its sum of squared deviations from the mean, updated by the exact
    // change of both when one close replaces another (no sum of squares minus squared sum, which
    // would cancel with prices far above their spread). A window of equal closes has deviation 0
    // exactly. The sums are recomputed from the window every `resumEvery` bars, and as soon as
    // the squares shrank a hundredfold since their peak after the last recomputation (a move left
    // the window; at most once a window, so the work stays O(1) a bar), so that the rounding left
    // behind by large moves cannot swamp a calmer window: the bands stay within 1e-12 of the
    // price.
    constexpr double kShrink = 1e-2;
    double sum = 0.0;
    double mean = 0.0;
    double squares = 0.0;
    auto exact = [&](std::size_t i) {
        sum = SumDown(close, i, p);
        mean = sum * inverse;
        squares = 0.0;
        for (std::size_t k = 0; k < p; ++k) {
            const double d = close[i - k] - mean;
            squares += d * d;
        }
    };
    auto emit = [&](std::size_t i, bool flat) {
        const double v = flat ? 0.0 : std::max(squares, 0.0) * inverse;
        middle[i] = mean;
        width[i] = std::sqrt(v) * deviations;
    };

    std::size_t run = 1; // equal closes ending at the bar
    for (std::size_t j = 1; j < p; ++j) {
        run = close[j] == close[j - 1] ? run + 1 : 1;
    }
    exact(p - 1);
    emit(p - 1, run >= p);
    double peak = squares;
    std::size_t since = 0;
    std::size_t sinceShrink = p;
    for (std::size_t i = p; i < count; ++i) {
        const double incoming = close[i];
        const double outgoing = close[i - p];
        const double previousMean = mean;
        sum += incoming - outgoing;
        mean = sum * inverse;
        squares += (incoming - outgoing) * ((incoming - mean) + (outgoing - previousMean));
        run = incoming == close[i - 1] ? run + 1 : 1;
        const bool flat = run >= p;
        if (flat) {
            squares = 0.0;
        }
        ++since;
        ++sinceShrink;
        const bool shrunk = !flat && squares < peak * kShrink && sinceShrink >= p;
        if (since == resumEvery || shrunk) {
            sinceShrink = shrunk ? 0 : sinceShrink;
            exact(i);
            since = 0;
            peak = squares;
        }
        peak = std::max(peak, squares);
        emit(i, flat);
    }
}

void Rsi(std::span<const double> close, int period, Column& column) {
    SRsiCarry carry;
    Rsi(close, period, column, carry, 0);
}

void Rsi(std::span<const double> close, int period, Column& column, SRsiCarry& carry,
         std::size_t from) {
    const std::size_t count = close.size();
    const bool goesOn = period >= 1 && carry.period == period &&
                        detail::GoesOn(carry.bar, from, column.size(), count);
    double* out = goesOn ? detail::Grown(column, count) : Sized(column, count);
    const SRsiCarry resumed = carry;
    carry = SRsiCarry{};
    if (period < 1) {
        FillNaN(out, 0, count);
        return;
    }
    // Column b holds the value for argument b + 1, i.e. of bar k = b: the first point is the
    // rebuild at k = n (the plain average of the first n changes), every later one a Wilder step
    // (scaled by 1 / n, within an ulp of dividing).
    const std::size_t p = static_cast<std::size_t>(period);
    const double n = period;
    double gain = 0.0;
    double loss = 0.0;
    std::size_t k = resumed.bar + 1;
    if (goesOn) {
        gain = resumed.gain;
        loss = resumed.loss;
    } else {
        FillNaN(out, 0, std::min(p, count));
        if (count <= p) {
            return;
        }
        for (std::size_t j = 1; j <= p; ++j) {
            const double d = close[j] - close[j - 1];
            gain += Gain(d);
            loss += Loss(d);
        }
        gain /= n;
        loss /= n;
        out[p] = 100.0 - 100.0 / (gain / loss + 1.0);
        k = p + 1;
    }
    const double inverse = 1.0 / n;
    auto step = [&](std::size_t bar) {
        const double d = close[bar] - close[bar - 1];
        gain += (Gain(d) - gain) * inverse;
        loss += (Loss(d) - loss) * inverse;
        out[bar] = 100.0 - 100.0 / (gain / loss + 1.0);
    };
    for (; k + 1 < count; ++k) {
        step(k);
    }
    if (k + 1 == count) {
        // The state before the newest bar, which live trades may still change.
        carry = SRsiCarry{k - 1, period, gain, loss};
        step(k);
    }
}

void Momentum(std::span<const double> close, int period, std::size_t begin, std::span<double> out) {
    const std::size_t p = period < 1 ? close.size() : static_cast<std::size_t>(period);
    const std::size_t end = begin + out.size();
    const std::size_t first = std::clamp(p, begin, end);
    FillNaN(out.data(), 0, first - begin);
    for (std::size_t i = first; i < end; ++i) {
        out[i - begin] = close[i] - close[i - p];
    }
}

void Momentum(std::span<const double> close, int period, Column& column) {
    const std::size_t count = close.size();
    Momentum(close, period, 0, {Sized(column, count), count});
}

void RateOfChange(std::span<const double> close, int period, std::size_t begin,
                  std::span<double> out) {
    const std::size_t p = period < 1 ? close.size() : static_cast<std::size_t>(period);
    const std::size_t end = begin + out.size();
    const std::size_t first = std::clamp(p + 1, begin, end);
    FillNaN(out.data(), 0, first - begin);
    for (std::size_t i = first; i < end; ++i) {
        const double base = close[i - p];
        out[i - begin] = base == 0 ? kNaN : (close[i] - base) / base * 100;
    }
}

void RateOfChange(std::span<const double> close, int period, Column& column) {
    const std::size_t count = close.size();
    RateOfChange(close, period, 0, {Sized(column, count), count});
}

void Macd(std::span<const double> close, int shortPeriod, int longPeriod, int signalPeriod,
          SMacd& columns) {
    SMacdCarry carry;
    Macd(close, shortPeriod, longPeriod, signalPeriod, columns, carry, 0);
}

void Macd(std::span<const double> close, int shortPeriod, int longPeriod, int signalPeriod,
          SMacd& columns, SMacdCarry& carry, std::size_t from) {
    const std::size_t count = close.size();
    const std::size_t have = std::min(columns.macd.size(), columns.signal.size());
    const SMacdCarry resumed = carry;
    carry = SMacdCarry{};
    const bool goesOn = resumed.shortPeriod == shortPeriod && resumed.longPeriod == longPeriod &&
                        resumed.signalPeriod == signalPeriod &&
                        detail::GoesOn(resumed.bar, from, have, count);
    auto size = [&](Column& column) {
        return goesOn ? detail::Grown(column, count) : Sized(column, count);
    };
    double* macdOut = size(columns.macd);
    double* signalOut = size(columns.signal);
    if (shortPeriod < 1 || longPeriod < 1 || signalPeriod < 1) {
        FillNaN(macdOut, 0, count);
        FillNaN(signalOut, 0, count);
        return;
    }
    const std::size_t s = static_cast<std::size_t>(shortPeriod);
    const std::size_t l = static_cast<std::size_t>(longPeriod);
    const std::size_t g = static_cast<std::size_t>(signalPeriod);
    const std::size_t first = std::max(s, l) - 1;
    const double aS = 2.0 / (shortPeriod + 1.0);
    const double aL = 2.0 / (longPeriod + 1.0);
    const double aG = 2.0 / (signalPeriod + 1.0);
    double emaS = 0.0;
    double emaL = 0.0;
    double signal = 0.0;
    std::size_t j = resumed.bar + 1;
    if (goesOn) {
        emaS = resumed.shortAverage;
        emaL = resumed.longAverage;
        signal = resumed.signal;
    } else {
        // No MACD before `first`; no signal up to bar L (the seed needs bar L + 1) nor before
        // `first`.
        FillNaN(macdOut, 0, std::min(first, count));
        FillNaN(signalOut, 0, std::min(std::max(l + 1, first), count));
        if (count <= first) {
            return;
        }
        // The seed as a rebuild makes it: the short average of bars 0 .. S - 1 carried on to
        // bar L - 1, the long one the mean of bars 0 .. L - 1.
        for (std::size_t k = 0; k < s; ++k) {
            emaS += close[k];
        }
        emaS /= shortPeriod;
        double sumL = 0.0;
        for (std::size_t k = 0; k < l; ++k) {
            sumL += close[k];
            if (k >= s) {
                emaS += (close[k] - emaS) * aS;
            }
        }
        emaL = sumL / longPeriod;
        double macd = emaS - emaL;
        // Bars L - 1 and L show the MACD of bar L - 1.
        for (std::size_t i = first; i <= l && i < count; ++i) {
            macdOut[i] = macd;
        }
        // The signal's seed: the MACD of bar L - 1 plus those of bars L .. L + G - 1, over G;
        // the signal of a bar inside the seed is its partial sum over G.
        const std::size_t seedEnd = std::min(l + g - 1, count - 1);
        double seed = macd;
        for (j = l; j <= seedEnd; ++j) {
            const double c = close[j];
            emaS += (c - emaS) * aS;
            emaL += (c - emaL) * aL;
            macd = emaS - emaL;
            seed += macd;
            signal = seed / signalPeriod;
            if (j > l && j >= first) {
                macdOut[j] = macd;
                signalOut[j] = signal;
            }
        }
    }
    auto step = [&](std::size_t bar) {
        const double c = close[bar];
        emaS += (c - emaS) * aS;
        emaL += (c - emaL) * aL;
        const double macd = emaS - emaL;
        signal += (macd - signal) * aG;
        if (bar >= first) {
            macdOut[bar] = macd;
            signalOut[bar] = signal;
        }
    };
    for (; j + 1 < count; ++j) {
        step(j);
    }
    if (j + 1 == count && j > first) {
        // The state before the newest bar, which live trades may still change (a short period
        // above the long one seeds from the bars up to `first`, which must lie before it).
        carry = SMacdCarry{j - 1, shortPeriod, longPeriod, signalPeriod, emaS, emaL, signal};
        step(j);
    }
}

// The value-returning forms.
Column SimpleAverage(std::span<const double> close, int period) {
    Column out;
    SimpleAverage(close, period, out);
    return out;
}

Column StudyAverage(std::span<const double> close, int period, bool exponential) {
    Column out;
    StudyAverage(close, period, exponential, out);
    return out;
}

SBands Bollinger(std::span<const double> close, int period, double deviations) {
    SBands out;
    Bollinger(close, period, deviations, out);
    return out;
}

Column Rsi(std::span<const double> close, int period) {
    Column out;
    Rsi(close, period, out);
    return out;
}

Column Momentum(std::span<const double> close, int period) {
    Column out;
    Momentum(close, period, out);
    return out;
}

Column RateOfChange(std::span<const double> close, int period) {
    Column out;
    RateOfChange(close, period, out);
    return out;
}

SMacd Macd(std::span<const double> close, int shortPeriod, int longPeriod, int signalPeriod) {
    SMacd out;
    Macd(close, shortPeriod, longPeriod, signalPeriod, out);
    return out;
}

} // namespace study_kernels

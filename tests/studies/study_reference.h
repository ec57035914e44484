#pragma once

// Every study's lines in one order, by the reference formulas or by anything with the same
// members (the kernels' columns), for the sweeps that check the kernels and the panes.

#include "studies/study_kernels.h"
#include "study_formulas.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace study_reference {

// The period of every study but MACD, and MACD's short, long and signal periods.
struct SPeriods {
    int n, s, l, g;
};

inline std::string Tag(SPeriods p) {
    return "n=" + std::to_string(p.n) + " macd " + std::to_string(p.s) + "," + std::to_string(p.l) +
           "," + std::to_string(p.g);
}

inline constexpr const char* kNames[] = {
    "SMA",  "EMA",     "lower band", "middle band", "upper band", "RSI", "MOM", "ROC",
    "OBV",  "fast %K", "fast %D",    "slow %K",     "slow %D",    "MF+", "MF-", "MFI",
    "MACD", "signal",  "histogram",  "ADX",         "+DI",        "-DI"};

// The MACD histogram: the reference's own, or MACD less its signal for columns without one.
template <typename Macd> study_formulas::Line HistogramOf(const Macd& macd) {
    if constexpr (requires { macd.histogram; }) {
        return macd.histogram;
    } else {
        study_formulas::Line histogram(macd.macd.size());
        for (std::size_t i = 0; i < histogram.size(); ++i) {
            histogram[i] = macd.macd[i] - macd.signal[i];
        }
        return histogram;
    }
}

// A band line: the reference's own, or the kernels' bands as they are drawn.
template <typename Bands>
study_formulas::Line BandOf(const Bands& bands, study_kernels::EBand band) {
    if constexpr (requires { bands.lower; }) {
        using study_kernels::EBand;
        return band == EBand::Lower ? bands.lower
                                    : (band == EBand::Upper ? bands.upper : bands.middle);
    } else {
        std::vector<double> room(bands.size());
        const std::span<const double> drawn = bands.Slice(band, 0, room);
        return {drawn.begin(), drawn.end()};
    }
}

// The lines in the order of kNames.
template <typename Line, typename Bands, typename Sto, typename Flow, typename Macd, typename Adx>
std::vector<study_formulas::Line>
Lines(const Line& sma, const Line& ema, const Bands& bands, const Line& rsi, const Line& momentum,
      const Line& roc, const Line& obv, const Sto& fast, const Sto& slow, const Flow& flow,
      const Line& mfi, const Macd& macd, const Adx& adx) {
    return {sma,
            ema,
            BandOf(bands, study_kernels::EBand::Lower),
            BandOf(bands, study_kernels::EBand::Middle),
            BandOf(bands, study_kernels::EBand::Upper),
            rsi,
            momentum,
            roc,
            obv,
            fast.k,
            fast.d,
            slow.k,
            slow.d,
            flow.positive,
            flow.negative,
            mfi,
            macd.macd,
            macd.signal,
            HistogramOf(macd),
            adx.adx,
            adx.plusDi,
            adx.minusDi};
}

inline std::vector<study_formulas::Line> Reference(const IBarSeries& bars, SPeriods p) {
    namespace sf = study_formulas;
    return Lines(sf::SimpleAverage(bars, p.n), sf::StudyAverage(bars, p.n, true),
                 sf::Bollinger(bars, p.n, 2.0), sf::Rsi(bars, p.n), sf::Momentum(bars, p.n),
                 sf::RateOfChange(bars, p.n), sf::OnBalanceVolume(bars, p.n),
                 sf::Stochastics(bars, p.n, true), sf::Stochastics(bars, p.n, false),
                 sf::MoneyFlow(bars, p.n), sf::MoneyFlowIndex(bars, p.n),
                 sf::Macd(bars, p.s, p.l, p.g), sf::Adx(bars, p.n));
}

// Expects `actual` to hold `expected`'s lines, both in the order of kNames.
inline void ExpectSame(const std::vector<study_formulas::Line>& expected,
                       const std::vector<study_formulas::Line>& actual, const std::string& tag) {
    for (std::size_t c = 0; c < expected.size(); ++c) {
        EXPECT_EQ(study_formulas::Mismatch(expected[c], actual[c]), "") << tag << " " << kNames[c];
    }
}

} // namespace study_reference

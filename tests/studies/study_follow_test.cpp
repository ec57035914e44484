#include "studies/study_kernels.h"
#include "vector_bars.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

namespace sk = study_kernels;

namespace {

// Every study's columns as a chart keeps them while it follows a live series.
struct SFollowed {
    sk::Column sma, ema, rsi, momentum, roc, obv, mfi;
    sk::SBands bands;
    sk::SStochastics fast, slow;
    sk::SMoneyFlow flow;
    sk::SMacd macd;
    sk::SAdx adx;
    sk::SRsiCarry rsiCarry;
    sk::SMacdCarry macdCarry;
    sk::SAdxCarry adxCarry;

    void Follow(const CVectorBars& bars, int n, int s, int l, int g, std::size_t from) {
        const std::span<const double> close(bars.close);
        const SBarColumns columns = bars.Columns();
        sk::SimpleAverage(close, n, sma, from);
        sk::StudyAverage(close, n, true, ema, from);
        sk::Bollinger(close, n, 2.0, bands, from);
        sk::Rsi(close, n, rsi, rsiCarry, from);
        sk::Momentum(close, n, momentum, from);
        sk::RateOfChange(close, n, roc, from);
        sk::OnBalanceVolume(columns, n, obv, from);
        sk::Stochastics(columns, n, true, fast, from);
        sk::Stochastics(columns, n, false, slow, from);
        sk::MoneyFlow(columns, n, flow, from);
        sk::MoneyFlowIndex(columns, n, mfi, from);
        sk::Macd(close, s, l, g, macd, macdCarry, from);
        sk::Adx(columns, n, adx, adxCarry, from);
    }
};

void ExpectSame(const sk::Column& followed, const sk::Column& whole, const std::string& what) {
    ASSERT_EQ(followed.size(), whole.size()) << what;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const double a = followed[i];
        const double b = whole[i];
        const double scale = std::max({1.0, std::fabs(a), std::fabs(b)});
        if (std::isnan(a) != std::isnan(b) || std::fabs(a - b) > 1e-9 * scale) {
            FAIL() << what << " at bar " << i << " of " << whole.size() << ": followed " << a
                   << ", whole " << b;
        }
    }
}

// The followed columns against one pass over the whole series as it stands.
void ExpectAsWhole(const SFollowed& f, const CVectorBars& bars, int n, int s, int l, int g,
                   const std::string& tag) {
    const std::span<const double> close(bars.close);
    const SBarColumns columns = bars.Columns();
    const auto bands = sk::Bollinger(close, n, 2.0);
    const auto fast = sk::Stochastics(columns, n, true);
    const auto slow = sk::Stochastics(columns, n, false);
    const auto flow = sk::MoneyFlow(columns, n);
    const auto macd = sk::Macd(close, s, l, g);
    const auto adx = sk::Adx(columns, n);
    ExpectSame(f.sma, sk::SimpleAverage(close, n), tag + " SMA");
    ExpectSame(f.ema, sk::StudyAverage(close, n, true), tag + " EMA");
    ExpectSame(f.bands.lower, bands.lower, tag + " lower band");
    ExpectSame(f.bands.middle, bands.middle, tag + " middle band");
    ExpectSame(f.bands.upper, bands.upper, tag + " upper band");
    ExpectSame(f.rsi, sk::Rsi(close, n), tag + " RSI");
    ExpectSame(f.momentum, sk::Momentum(close, n), tag + " MOM");
    ExpectSame(f.roc, sk::RateOfChange(close, n), tag + " ROC");
    ExpectSame(f.obv, sk::OnBalanceVolume(columns, n), tag + " OBV");
    ExpectSame(f.fast.k, fast.k, tag + " fast %K");
    ExpectSame(f.fast.d, fast.d, tag + " fast %D");
    ExpectSame(f.slow.k, slow.k, tag + " slow %K");
    ExpectSame(f.slow.d, slow.d, tag + " slow %D");
    ExpectSame(f.flow.positive, flow.positive, tag + " MF+");
    ExpectSame(f.flow.negative, flow.negative, tag + " MF-");
    ExpectSame(f.mfi, sk::MoneyFlowIndex(columns, n), tag + " MFI");
    ExpectSame(f.macd.macd, macd.macd, tag + " MACD");
    ExpectSame(f.macd.signal, macd.signal, tag + " signal");
    ExpectSame(f.macd.histogram, macd.histogram, tag + " histogram");
    ExpectSame(f.adx.adx, adx.adx, tag + " ADX");
    ExpectSame(f.adx.plusDi, adx.plusDi, tag + " +DI");
    ExpectSame(f.adx.minusDi, adx.minusDi, tag + " -DI");
}

} // namespace

// A series followed as live trades build it: from a single bar, the newest bar changes in place
// (a trade inside its interval) or new bars arrive one or several at a time, through every
// study's warm-up and seed. After each step the columns equal a pass over the whole series.
TEST(StudyFollow, LiveGrowthEqualsAPassOverTheWholeSeries) {
    const CVectorBars source = RandomBars(7, 420, 250.0);
    for (const auto& [n, s, l, g] : {std::tuple{14, 8, 17, 9}, {3, 9, 3, 4}, {1, 1, 1, 1}}) {
        std::mt19937 random(static_cast<unsigned>(n));
        CVectorBars bars;
        SFollowed followed;
        std::size_t taken = 0;
        const std::string tag = "n=" + std::to_string(n);
        while (taken < source.close.size()) {
            const std::size_t had = bars.close.size();
            const int what = std::uniform_int_distribution<int>(0, 5)(random);
            if (what <= 2 && had > 0) {
                // A trade into the newest bar: a new close, maybe a new high or low, more volume.
                const double price = source.close[taken] + 0.01 * what;
                bars.close.back() = price;
                bars.high.back() = std::max(bars.high.back(), price);
                bars.low.back() = std::min(bars.low.back(), price);
                bars.volume.back() += 100;
                bars.volumes.back() += 100;
                ++taken;
            } else {
                const std::size_t count = what == 5 ? 7 : 1;
                for (std::size_t k = 0; k < count && taken < source.close.size(); ++k, ++taken) {
                    bars.Add(source.high[taken], source.low[taken], source.close[taken],
                             source.volumes[taken]);
                }
            }
            followed.Follow(bars, n, s, l, g, had == 0 ? 0 : had - 1);
            ExpectAsWhole(followed, bars, n, s, l, g, tag + " after " + std::to_string(taken));
            if (HasFailure()) {
                return;
            }
        }
    }
}

// A change further back than the newest bar (or a shorter series) is never patched over: the
// studies start again from the first bar.
TEST(StudyFollow, ChangesBeforeTheCarryRecomputeEverything) {
    CVectorBars bars = RandomBars(3, 300);
    SFollowed followed;
    followed.Follow(bars, 14, 8, 17, 9, 0);
    bars.close[40] += 3.0;
    bars.high[40] += 3.0;
    followed.Follow(bars, 14, 8, 17, 9, 40);
    ExpectAsWhole(followed, bars, 14, 8, 17, 9, "bar 40 changed");
    for (auto* column : {&bars.high, &bars.low, &bars.close, &bars.volume}) {
        column->resize(120);
    }
    bars.volumes.resize(120);
    followed.Follow(bars, 14, 8, 17, 9, 119);
    ExpectAsWhole(followed, bars, 14, 8, 17, 9, "cut short");
}

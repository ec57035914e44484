#include "studies/study_formulas.h"
#include "vector_bars.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

namespace sf = study_formulas;

namespace {

// Same to 1e-9 relative (absolute below 1), or NaN at both.
testing::AssertionResult Same(double expected, double actual) {
    if ((std::isnan(expected) && std::isnan(actual)) || expected == actual) {
        return testing::AssertionSuccess();
    }
    const double scale = std::max({1.0, std::fabs(expected), std::fabs(actual)});
    if (std::fabs(expected - actual) <= 1e-9 * scale) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "expected " << expected << ", got " << actual;
}

} // namespace

TEST(UpperStudies, AveragesAndBandsByHand) {
    const auto bars = CVectorBars::Flat({1, 2, 4, 8, 16, 32, 64});
    for (int i = 0; i <= 3; ++i) {
        EXPECT_TRUE(std::isnan(sf::SimpleAverage(bars, 5, i))) << i;
    }
    EXPECT_DOUBLE_EQ(sf::SimpleAverage(bars, 5, 4), 31.0 / 5); // closes 0 .. 4
    EXPECT_DOUBLE_EQ(sf::StudyAverage(bars, 5, false, 4), 31.0 / 5);
    // Exponential, period 5: k = 2 / 6; the first point is at 6, one step over SMA(5) = 62 / 5.
    for (int i = 0; i <= 5; ++i) {
        EXPECT_TRUE(std::isnan(sf::StudyAverage(bars, 5, true, i))) << i;
    }
    EXPECT_DOUBLE_EQ(sf::StudyAverage(bars, 5, true, 6), 64.0 / 3 + 2.0 / 3 * 62 / 5);
    // Bands over 1, 2, 4, 8: mean 3.75, squared deviations 7.5625 + 3.0625 + 0.0625 + 18.0625.
    const auto b = sf::BollingerAt(bars, 4, 2.0, 3);
    EXPECT_DOUBLE_EQ(b.middle, 3.75);
    EXPECT_DOUBLE_EQ(b.upper, 3.75 + 2 * std::sqrt(28.75 / 4));
    EXPECT_DOUBLE_EQ(b.lower, 3.75 - 2 * std::sqrt(28.75 / 4));
    EXPECT_TRUE(std::isnan(sf::BollingerAt(bars, 4, 2.0, 2).upper));
    // Out of range, periods below 1: no value.
    EXPECT_TRUE(std::isnan(sf::SimpleAverage(bars, 5, 7)));
    EXPECT_TRUE(std::isnan(sf::SimpleAverage(bars, 0, 4)));
    EXPECT_TRUE(std::isnan(sf::StudyAverage(bars, -3, true, 6)));
    EXPECT_TRUE(std::isnan(sf::BollingerAt(bars, 0, 2.0, 6).middle));

    // Period 20: index 19 is the first with bands; 20 equal closes give three equal lines.
    const auto flat = CVectorBars::Flat(std::vector<double>(21, 100.25));
    EXPECT_TRUE(std::isnan(sf::BollingerAt(flat, 20, 2.0, 18).middle));
    const auto f = sf::BollingerAt(flat, 20, 2.0, 19);
    EXPECT_EQ(f.lower, 100.25);
    EXPECT_EQ(f.upper, 100.25);
    const auto g = sf::BollingerAt(CVectorBars::Flat(std::vector<double>(20, 101.37)), 20, 2, 19);
    EXPECT_NEAR(g.lower, g.upper, 1e-9); // the rounded mean leaves a deviation of a few ulps
}

TEST(UpperStudies, MatchTextbookAverageAndPopulationDeviation) {
    const auto bars = RandomBars(7, 300, 2500.0);
    for (int period : {2, 5, 20}) {
        for (int i = period - 1; i < bars.Count(); ++i) {
            const auto first = bars.close.begin() + (i - period + 1);
            const long double mean = std::accumulate(first, first + period, 0.0L) / period;
            long double squares = 0;
            for (auto it = first; it != first + period; ++it) {
                squares += (*it - mean) * (*it - mean);
            }
            const double s = 2.5 * std::sqrt(static_cast<double>(squares / period));
            const auto b = sf::BollingerAt(bars, period, 2.5, i);
            ASSERT_TRUE(Same(static_cast<double>(mean), sf::SimpleAverage(bars, period, i)));
            ASSERT_TRUE(Same(static_cast<double>(mean) + s, b.upper)) << period << " " << i;
            ASSERT_TRUE(Same(static_cast<double>(mean) - s, b.lower));
        }
    }
}

TEST(Rsi, WarmUpRebuildAndIncrementalByHand) {
    // Changes from bar 1 on: +1, -0.5, +1.5, -1, +2, -0.5; n = 3.
    const auto bars = CVectorBars::Flat({10, 11, 10.5, 12, 11, 13, 12.5});
    sf::SRsiState state;
    for (int i = 0; i <= 3; ++i) { // k = i - 1 < n: nothing, the state untouched
        EXPECT_TRUE(std::isnan(sf::Rsi(bars, 3, i, state)));
        EXPECT_EQ(state.last, -10);
    }
    // k = 3, a rebuild: gains 2.5 / 3, losses 0.5 / 3, RS = 5.
    EXPECT_DOUBLE_EQ(sf::Rsi(bars, 3, 4, state), 100 - 100.0 / 6);
    EXPECT_EQ(state.last, 3);
    // k = 4 incremental (Wilder): gain 5/6 * 2/3 = 5/9, loss 1/6 + (1 - 1/6) / 3 = 4/9.
    EXPECT_DOUBLE_EQ(sf::Rsi(bars, 3, 5, state), 100 - 100 / (1.25 + 1));
    // k = 5: gain 5/9 + (2 - 5/9) / 3 = 28/27, loss 8/27.
    EXPECT_DOUBLE_EQ(sf::Rsi(bars, 3, 6, state), 100 - 100 / (3.5 + 1));

    // Rebuilds from a fresh state: at k = n + 1 only the first n changes count; past it only
    // the last change divided by n remains, so a last rise gives 100 and a last fall 0.
    sf::SRsiState fresh;
    EXPECT_DOUBLE_EQ(sf::Rsi(bars, 3, 5, fresh), 100 - 100.0 / 6);
    fresh = {};
    EXPECT_EQ(sf::Rsi(bars, 3, 6, fresh), 100.0);
    fresh = {};
    EXPECT_EQ(sf::Rsi(bars, 3, 7, fresh), 0.0);
    EXPECT_TRUE(std::isnan(sf::Rsi(bars, 3, 8, fresh))); // k = 7 is past the last bar
    EXPECT_TRUE(std::isnan(sf::Rsi(bars, 0, 5, fresh)));

    // Constant closes: no gain and no loss, 0 / 0.
    sf::SRsiState flat;
    const auto constant = CVectorBars::Flat(std::vector<double>(10, 42.0));
    for (int i = 4; i <= 10; ++i) {
        EXPECT_TRUE(std::isnan(sf::Rsi(constant, 3, i, flat)));
    }
}

TEST(Rsi, BarByBarFollowsTextbookWilderSmoothing) {
    const auto bars = RandomBars(11, 400);
    for (int n : {1, 2, 14}) {
        long double gain = 0;
        long double loss = 0;
        sf::SRsiState state;
        for (int k = 1; k < bars.Count(); ++k) {
            const long double d = static_cast<long double>(bars.close[k]) - bars.close[k - 1];
            const long double g = d > 0 ? d : 0;
            const long double l = d < 0 ? -d : 0;
            if (k <= n) { // the seed: the plain mean of the first n changes
                gain += g / n;
                loss += l / n;
            } else {
                gain = (gain * (n - 1) + g) / n;
                loss = (loss * (n - 1) + l) / n;
            }
            const double value = sf::Rsi(bars, n, k + 1, state);
            if (k < n) {
                ASSERT_TRUE(std::isnan(value));
            } else if (gain + loss > 0) {
                ASSERT_TRUE(Same(static_cast<double>(100 * gain / (gain + loss)), value)) << k;
            }
        }
    }
}

TEST(MomentumAndRateOfChange, ThresholdsZeroBaseAndConstantCloses) {
    const auto bars = CVectorBars::Flat({5, 0, 4, 6, 8});
    EXPECT_TRUE(std::isnan(sf::Momentum(bars, 2, 1)));
    EXPECT_EQ(sf::Momentum(bars, 2, 2), -1.0); // momentum starts at n
    EXPECT_EQ(sf::Momentum(bars, 2, 3), 6.0);
    EXPECT_TRUE(std::isnan(sf::RateOfChange(bars, 2, 2))); // rate of change at n + 1
    EXPECT_TRUE(std::isnan(sf::RateOfChange(bars, 2, 3))); // close(1) = 0: no point
    EXPECT_EQ(sf::RateOfChange(bars, 2, 4), 100.0);        // (8 - 4) / 4 * 100
    EXPECT_TRUE(std::isnan(sf::Momentum(bars, 2, 5)));
    const auto constant = CVectorBars::Flat(std::vector<double>(6, 3.3));
    EXPECT_EQ(sf::Momentum(constant, 3, 5), 0.0);
    EXPECT_EQ(sf::RateOfChange(constant, 3, 5), 0.0);
}

TEST(VolumeStudies, OnBalanceVolumeAndMoneyFlowByHand) {
    CVectorBars obv;
    const double closes[] = {10, 11, 11, 10, 12};
    for (int i = 0; i < 5; ++i) {
        obv.Add(closes[i], closes[i], closes[i], 100 * (i + 1));
    }
    EXPECT_TRUE(std::isnan(sf::OnBalanceVolume(obv, 2, 1)));
    EXPECT_EQ(sf::OnBalanceVolume(obv, 2, 2), 200.0);  // +200, unchanged
    EXPECT_EQ(sf::OnBalanceVolume(obv, 2, 3), -400.0); // unchanged, -400
    EXPECT_EQ(sf::OnBalanceVolume(obv, 2, 4), 100.0);  // -400, +500
    EXPECT_EQ(sf::OnBalanceVolume(CVectorBars::Flat({4, 4, 4, 4}), 2, 3), 0.0);

    // Typical prices 10 11 12 11 11 13 with volumes 1 .. 6, n = 2: spans of n + 1 comparisons.
    CVectorBars mf;
    const double tps[] = {10, 11, 12, 11, 11, 13};
    for (int i = 0; i < 6; ++i) {
        mf.Add(tps[i] + 1, tps[i] - 1, tps[i], i + 1);
    }
    EXPECT_TRUE(std::isnan(sf::MoneyFlow(mf, 2, 2).positive)); // i - n < 1
    EXPECT_TRUE(std::isnan(sf::MoneyFlowIndex(mf, 2, 2)));
    // i = 3: bars 1, 2 rise (2 * 11 + 3 * 12), bar 3 falls (4 * 11); both over n.
    EXPECT_DOUBLE_EQ(sf::MoneyFlow(mf, 2, 3).positive, 29.0);
    EXPECT_DOUBLE_EQ(sf::MoneyFlow(mf, 2, 3).negative, 22.0);
    EXPECT_DOUBLE_EQ(sf::MoneyFlowIndex(mf, 2, 3), 50 + 7.0 * 50 / 51);
    EXPECT_DOUBLE_EQ(sf::MoneyFlowIndex(mf, 2, 4), 45.0); // P 18, N 22: bar 4 is unchanged
    EXPECT_DOUBLE_EQ(sf::MoneyFlowIndex(mf, 2, 5), 50 + 17.0 * 50 / 61);

    EXPECT_EQ(sf::MoneyFlowIndex(CVectorBars::Flat({1, 2, 3, 4, 5, 6}), 3, 5), 100.0);
    EXPECT_NEAR(sf::MoneyFlowIndex(CVectorBars::Flat({6, 5, 4, 3, 2, 1}), 3, 5), 0.0, 1e-12);
    const auto flat = CVectorBars::Flat({7, 7, 7, 7, 7});
    EXPECT_EQ(sf::MoneyFlow(flat, 2, 4).positive, 0.0);
    EXPECT_TRUE(std::isnan(sf::MoneyFlowIndex(flat, 2, 4)));
}

TEST(Macd, SeedOfUpToGPlusOneValuesOverGByHand) {
    // S = 2, L = 3, G = 2: aS = 2/3, aL = 1/2, aG = 2/3.
    const auto bars = CVectorBars::Flat({1, 2, 3, 5, 4, 6});
    sf::SMacdState state;
    EXPECT_TRUE(std::isnan(sf::Macd(bars, 2, 3, 2, 1, state).macd));
    EXPECT_EQ(state.last, -10);
    // Bar 2: short 1.5 advanced by 3 to 2.5, long 6 / 3; bar L = 3 shows the same, no signal.
    for (int i : {2, 3}) {
        const auto m = sf::Macd(bars, 2, 3, 2, i, state);
        EXPECT_DOUBLE_EQ(m.macd, 0.5);
        EXPECT_TRUE(std::isnan(m.signal));
    }
    // Bar 4: MACD of bar 3 = 25/6 - 7/2 = 2/3, of bar 4 = 73/18 - 15/4 = 11/36; the seed
    // (1/2 + 2/3 + 11/36) over G = 2.
    auto m = sf::Macd(bars, 2, 3, 2, 4, state);
    EXPECT_DOUBLE_EQ(m.macd, 11.0 / 36);
    EXPECT_DOUBLE_EQ(m.signal, 53.0 / 72);
    // Bar 5, incremental: short 289/54, long 39/8, signal 53/72 + (103/216 - 53/72) * 2/3.
    m = sf::Macd(bars, 2, 3, 2, 5, state);
    EXPECT_NEAR(m.macd, 103.0 / 216, 1e-12);
    EXPECT_DOUBLE_EQ(m.signal, 365.0 / 648);
    sf::SMacdState fresh;
    EXPECT_DOUBLE_EQ(sf::Macd(bars, 2, 3, 2, 5, fresh).signal, 365.0 / 648);
    EXPECT_TRUE(std::isnan(sf::Macd(bars, 2, 3, 0, 5, fresh).macd));
    // A short period above the long one: the short average exists from bar S - 1.
    EXPECT_TRUE(std::isnan(sf::Macd(bars, 4, 2, 2, 2, fresh).macd));
    EXPECT_FALSE(std::isnan(sf::Macd(bars, 4, 2, 2, 3, fresh).macd));
}

TEST(Stochastics, KWindowStartingValuesAndFastSlowSteps) {
    CVectorBars bars;
    bars.Add(10, 8, 9);
    bars.Add(11, 9, 10);
    bars.Add(12, 10, 11);
    bars.Add(11, 7, 8);
    bars.Add(9, 6, 9);
    EXPECT_TRUE(std::isnan(sf::StochasticK(bars, 2, 1)));
    EXPECT_DOUBLE_EQ(sf::StochasticK(bars, 2, 2), 75.0); // (11 - 8) / (12 - 8): n + 1 bars
    EXPECT_DOUBLE_EQ(sf::StochasticK(bars, 2, 3), 20.0); // (8 - 7) / (12 - 7)
    EXPECT_DOUBLE_EQ(sf::StochasticK(bars, 2, 4), 50.0); // (9 - 6) / (12 - 6)
    // Fast, n = 2: below 2n %K of the bar and no %D; then %K of i - 1 and the mean of 2 %K.
    EXPECT_DOUBLE_EQ(sf::FastStochastics(bars, 2, 3).k, 20.0);
    EXPECT_TRUE(std::isnan(sf::FastStochastics(bars, 2, 3).d));
    EXPECT_DOUBLE_EQ(sf::FastStochastics(bars, 2, 4).k, 20.0);
    EXPECT_DOUBLE_EQ(sf::FastStochastics(bars, 2, 4).d, 47.5);
    EXPECT_DOUBLE_EQ(sf::SlowStochastics(bars, 2, 4).d, 47.5); // below 4n: the fast values
    EXPECT_TRUE(std::isnan(sf::FastStochastics(bars, 2, 1).k));

    // A flat span gives 50; the starting low of 1000000 is kept, so prices above it give 100.
    EXPECT_EQ(sf::StochasticK(CVectorBars::Flat({5, 5, 5}), 2, 2), 50.0);
    EXPECT_EQ(sf::StochasticK(CVectorBars::Flat({2e6, 2e6, 2e6}), 2, 2), 100.0);

    // Slow from 4n: %K is fast %D of i - 1 and %D the mean of fast %D over i - n .. i - 1.
    const auto random = RandomBars(3, 60);
    for (int n : {1, 3}) {
        for (int i = 4 * n; i < random.Count(); ++i) {
            double sum = 0;
            for (int b = i - n; b < i; ++b) {
                sum += sf::FastStochastics(random, n, b).d;
            }
            const auto slow = sf::SlowStochastics(random, n, i);
            ASSERT_EQ(slow.k, sf::FastStochastics(random, n, i - 1).d);
            ASSERT_DOUBLE_EQ(slow.d, sum / n);
        }
    }
}

TEST(Adx, AbsoluteMovesRebuildToBarBeforeAndSeedByHand) {
    CVectorBars bars;
    bars.Add(10, 8, 9);
    bars.Add(12, 9, 11); // TR 3, up 2 > down 1: +DM 2
    bars.Add(12, 7, 8);  // TR 5 (|7 - 11| = 4 < 5), down 2: -DM 2
    bars.Add(10, 6, 7);  // TR 4, highs fall by 2: an up-move of 2 > down 1: +DM 2
    bars.Add(11, 8, 10); // TR |11 - 7| = 4, down 2: -DM 2
    bars.Add(13, 9, 12); // TR 4, +DM 2
    sf::SAdxState state;
    EXPECT_TRUE(std::isnan(sf::Adx(bars, 2, 1, state).plusDi));
    EXPECT_EQ(state.last, -10);
    // n = 2: averages of bars 1, 2: TR 4, +DM 1, -DM 1, both DI 25, no ADX yet; bar 3 (< 2n)
    // reaches only to bar 2.
    for (int i : {2, 3}) {
        const auto a = sf::Adx(bars, 2, i, state);
        EXPECT_DOUBLE_EQ(a.plusDi, 25.0);
        EXPECT_DOUBLE_EQ(a.minusDi, 25.0);
        EXPECT_TRUE(std::isnan(a.adx));
    }
    // Bar 4: bar 3 gives DI 37.5 / 12.5 (DX 50), bar 4 gives 18.75 / 31.25 (DX 25); ADX 37.5.
    auto a = sf::Adx(bars, 2, 4, state);
    EXPECT_DOUBLE_EQ(a.plusDi, 18.75);
    EXPECT_DOUBLE_EQ(a.minusDi, 31.25);
    EXPECT_DOUBLE_EQ(a.adx, 37.5);
    a = sf::Adx(bars, 2, 5, state); // +DM 1.375, -DM 0.625: DX 37.5
    EXPECT_DOUBLE_EQ(a.plusDi, 34.375);
    EXPECT_DOUBLE_EQ(a.adx, 37.5);
    EXPECT_TRUE(std::isnan(sf::Adx(bars, 2, 6, state).adx));

    // Range widening by the same amount both ways: no directional movement, DX 0 / 0.
    CVectorBars even;
    for (int j = 0; j < 8; ++j) {
        even.Add(10 + j, 10 - j, 10);
    }
    sf::SAdxState evenState;
    const auto e = sf::Adx(even, 2, 4, evenState);
    EXPECT_EQ(e.plusDi, 0.0);
    EXPECT_EQ(e.minusDi, 0.0);
    EXPECT_TRUE(std::isnan(e.adx));
}

TEST(IncrementalContract, OutOfOrderCallsEqualBarByBar) {
    const auto bars = RandomBars(5, 250);
    struct SCase {
        int s, l, g;
    };
    for (const SCase c : {SCase{8, 17, 9}, SCase{3, 3, 1}, SCase{5, 2, 3}, SCase{1, 1, 1}}) {
        sf::SMacdState running;
        std::vector<sf::SMacdAt> byBar;
        for (int i = 0; i < bars.Count(); ++i) {
            byBar.push_back(sf::Macd(bars, c.s, c.l, c.g, i, running));
        }
        sf::SMacdState shared;
        for (int i : {100, 20, 21, 22, 200, 201, 5, 25, 26, 27, 28, 249}) {
            sf::SMacdState fresh;
            const auto m = sf::Macd(bars, c.s, c.l, c.g, i, fresh);
            const auto n = sf::Macd(bars, c.s, c.l, c.g, i, shared);
            for (double v : {m.macd, n.macd}) {
                ASSERT_TRUE(Same(byBar[i].macd, v)) << c.s << " " << c.l << " " << i;
            }
            for (double v : {m.signal, n.signal}) {
                ASSERT_TRUE(Same(byBar[i].signal, v)) << c.s << " " << c.l << " " << i;
            }
        }
    }
    for (int n : {1, 2, 14}) {
        sf::SAdxState running;
        std::vector<sf::SAdxAt> byBar;
        for (int i = 0; i < bars.Count(); ++i) {
            byBar.push_back(sf::Adx(bars, n, i, running));
        }
        sf::SAdxState shared;
        for (int i = bars.Count() - 1; i >= 0; i -= 3) { // every call out of order
            sf::SAdxState fresh;
            for (const auto& a : {sf::Adx(bars, n, i, fresh), sf::Adx(bars, n, i, shared)}) {
                ASSERT_TRUE(Same(byBar[i].adx, a.adx)) << n << " " << i;
                ASSERT_TRUE(Same(byBar[i].plusDi, a.plusDi));
                ASSERT_TRUE(Same(byBar[i].minusDi, a.minusDi));
            }
        }
    }
}

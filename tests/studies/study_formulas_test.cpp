#include "study_formulas.h"
#include "vector_bars.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace sf = study_formulas;

constexpr double X = std::numeric_limits<double>::quiet_NaN();

// The reference worked by hand on a few bars: every line whole, its warm-up holes included.
TEST(StudyFormulas, ByHand) {
    const auto powers = CVectorBars::Flat({1, 2, 4, 8, 16, 32, 64});
    // Bands over 1, 2, 4, 8: mean 3.75, squared deviations 28.75; each later window doubles.
    const auto bands = sf::Bollinger(powers, 4, 2.0);
    const double d = 2 * std::sqrt(28.75 / 4);
    // RSI, n = 3: changes +1, -0.5, +1.5, -1, +2, -0.5; the seed at bar 3 (gain 2.5 / 3, loss
    // 0.5 / 3), then Wilder steps: 5/9 and 4/9, 28/27 and 8/27, 56/81 and 59/162.
    const auto rsi = CVectorBars::Flat({10, 11, 10.5, 12, 11, 13, 12.5});
    const auto jumps = CVectorBars::Flat({5, 0, 4, 6, 8});
    CVectorBars obv;
    for (const double c : {10, 11, 11, 10, 12}) {
        obv.Add(c, c, c, 100 * (obv.Count() + 1));
    }
    // Typical prices 10 11 12 11 11 13, volumes 1 .. 6, n = 2: n + 1 comparisons over n.
    CVectorBars flow;
    for (const double tp : {10, 11, 12, 11, 11, 13}) {
        flow.Add(tp + 1, tp - 1, tp, flow.Count() + 1);
    }
    // MACD 2, 3, 2 (aS 2/3, aL 1/2, aG 2/3): bars 2 and 3 show the MACD of bar 2; the seed
    // (1/2 + 2/3 + 11/36) / 2.
    const auto macd = sf::Macd(CVectorBars::Flat({1, 2, 3, 5, 4, 6}), 2, 3, 2);
    const auto late = sf::Macd(CVectorBars::Flat({1, 2, 3, 5, 4, 6}), 4, 2, 2);
    // %K over n + 1 = 3 bars: (11 - 8) / (12 - 8), (8 - 7) / (12 - 7), (9 - 6) / (12 - 6); from
    // 2n the %K of the bar before and %D the mean of two.
    CVectorBars sto;
    for (const auto& [h, l, c] :
         {std::tuple{10, 8, 9}, {11, 9, 10}, {12, 10, 11}, {11, 7, 8}, {9, 6, 9}}) {
        sto.Add(h, l, c);
    }
    // ADX, n = 2. Bars 1 .. 5: TR 3 5 4 4 4; +DM 2 0 2 0 2 and -DM 0 2 0 2 0 (a fall of the
    // highs is an up-move too). DI 25 / 25 from the seed, held at bar 3; DX 50 and 25 at bars
    // 3 and 4 make the ADX 37.5.
    CVectorBars adx;
    for (const auto& [h, l, c] :
         {std::tuple{10, 8, 9}, {12, 9, 11}, {12, 7, 8}, {10, 6, 7}, {11, 8, 10}, {13, 9, 12}}) {
        adx.Add(h, l, c);
    }
    const auto a = sf::Adx(adx, 2);
    // Flat markets: no move gives 0 / 0 where a study divides by the moves, 0 where it sums them.
    const auto flat = CVectorBars::Flat({42, 42, 42, 42, 42});
    CVectorBars even; // the range widens by the same amount both ways: no directional move
    for (int j = 0; j < 5; ++j) {
        even.Add(10 + j, 10 - j, 10);
    }
    const std::vector<std::tuple<const char*, sf::Line, sf::Line>> cases{
        {"SMA", sf::SimpleAverage(powers, 5), {X, X, X, X, 31.0 / 5, 62.0 / 5, 124.0 / 5}},
        {"EMA", sf::StudyAverage(powers, 5, true), {X, X, X, X, X, X, 64.0 / 3 + 124.0 / 15}},
        {"upper", bands.upper, {X, X, X, 3.75 + d, 7.5 + 2 * d, 15 + 4 * d, 30 + 8 * d}},
        {"lower", bands.lower, {X, X, X, 3.75 - d, 7.5 - 2 * d, 15 - 4 * d, 30 - 8 * d}},
        {"RSI",
         sf::Rsi(rsi, 3),
         {X, X, X, 100 - 100.0 / 6, 100 - 100 / 2.25, 100 - 100 / 4.5, 100 - 5900.0 / 171}},
        {"MOM", sf::Momentum(jumps, 2), {X, X, -1, 6, 4}},
        {"ROC", sf::RateOfChange(jumps, 2), {X, X, X, X, 100}}, // none over the close of 0
        {"OBV", sf::OnBalanceVolume(obv, 2), {X, X, 200, -400, 100}},
        {"MF+", sf::MoneyFlow(flow, 2).positive, {X, X, X, 29, 18, 39}},
        {"MF-", sf::MoneyFlow(flow, 2).negative, {X, X, X, 22, 22, 22}},
        {"MFI", sf::MoneyFlowIndex(flow, 2), {X, X, X, 50 + 350.0 / 51, 45, 50 + 850.0 / 61}},
        {"MACD", macd.macd, {X, X, 0.5, 0.5, 11.0 / 36, 103.0 / 216}},
        {"signal", macd.signal, {X, X, X, X, 53.0 / 72, 365.0 / 648}},
        {"histogram",
         macd.histogram,
         {X, X, X, X, 11.0 / 36 - 53.0 / 72, 103.0 / 216 - 365.0 / 648}},
        {"fast %K", sf::Stochastics(sto, 2, true).k, {X, X, 75, 20, 20}},
        {"fast %D", sf::Stochastics(sto, 2, true).d, {X, X, X, X, 47.5}},
        {"slow %D", sf::Stochastics(sto, 2, false).d, {X, X, X, X, 47.5}}, // fast below 4n
        {"flat %K", sf::Stochastics(CVectorBars::Flat({5, 5, 5}), 2, true).k, {X, X, 50}},
        // The starting low of 1000000 stays below prices above it.
        {"high %K", sf::Stochastics(CVectorBars::Flat({2e6, 2e6, 2e6}), 2, true).k, {X, X, 100}},
        {"ADX", a.adx, {X, X, X, X, 37.5, 37.5}},
        {"+DI", a.plusDi, {X, X, 25, 25, 18.75, 34.375}},
        {"-DI", a.minusDi, {X, X, 25, 25, 31.25, 15.625}},
        {"flat RSI", sf::Rsi(flat, 2), {X, X, X, X, X}},
        {"flat MOM", sf::Momentum(flat, 2), {X, X, 0, 0, 0}},
        {"flat ROC", sf::RateOfChange(flat, 2), {X, X, X, 0, 0}},
        {"flat MF+", sf::MoneyFlow(flat, 2).positive, {X, X, X, 0, 0}},
        {"flat MFI", sf::MoneyFlowIndex(flat, 2), {X, X, X, X, X}},
        {"flat upper", sf::Bollinger(flat, 2, 2.0).upper, {X, 42, 42, 42, 42}},
        {"even +DI", sf::Adx(even, 2).plusDi, {X, X, 0, 0, 0}},
        {"even ADX", sf::Adx(even, 2).adx, {X, X, X, X, X}},
        {"rising MFI",
         sf::MoneyFlowIndex(CVectorBars::Flat({1, 2, 3, 4, 5, 6}), 3),
         {X, X, X, X, 100, 100}},
    };
    for (const auto& [what, actual, expected] : cases) {
        EXPECT_EQ(sf::Mismatch(expected, actual), "") << what;
    }
    // The short average of bars 0 .. 3 (2.75) goes on from bar 2, the long one from bar 1.
    EXPECT_NEAR(late.macd[3], 3.71 - 25.0 / 6, 1e-12);
}

// Where each line starts, over a market that always moves: a value at every bar from there on.
TEST(StudyFormulas, WarmUpEndsWhereEachStudyStarts) {
    CVectorBars bars;
    for (int i = 0; i < 60; ++i) {
        const double c = 100.0 + i + (i % 3) * 2.5;
        bars.Add(c + 1.0 + 0.5 * (i % 2), c - 2.0, c, 1000 + 10 * i);
    }
    auto first = [](const sf::Line& line) {
        const auto at =
            std::find_if(line.begin(), line.end(), [](double v) { return !std::isnan(v); });
        const bool gaps = std::any_of(at, line.end(), [](double v) { return std::isnan(v); });
        return gaps ? -1 : static_cast<int>(at - line.begin());
    };
    for (const int n : {1, 2, 5}) {
        const auto macd = sf::Macd(bars, 3, n + 1, n);
        const auto late = sf::Macd(bars, n + 4, n, 2);
        const std::vector<std::tuple<const char*, int, sf::Line>> lines{
            {"SMA", n - 1, sf::SimpleAverage(bars, n)},
            {"EMA", n + 1, sf::StudyAverage(bars, n, true)},
            {"bands", n - 1, sf::Bollinger(bars, n, 2.0).lower},
            {"RSI", n, sf::Rsi(bars, n)},
            {"MOM", n, sf::Momentum(bars, n)},
            {"ROC", n + 1, sf::RateOfChange(bars, n)},
            {"OBV", n, sf::OnBalanceVolume(bars, n)},
            {"MFI", n + 1, sf::MoneyFlowIndex(bars, n)},
            {"MACD", std::max(3, n + 1) - 1, macd.macd},
            {"signal", n + 2, macd.signal},
            {"histogram", n + 2, macd.histogram},
            {"late MACD", n + 3, late.macd},
            {"late signal", n + 3, late.signal},
            {"%K", n, sf::Stochastics(bars, n, false).k},
            {"fast %D", 2 * n, sf::Stochastics(bars, n, true).d},
            {"slow %D", 2 * n, sf::Stochastics(bars, n, false).d},
            {"DI", n, sf::Adx(bars, n).minusDi},
            {"ADX", 2 * n, sf::Adx(bars, n).adx},
        };
        for (const auto& [what, expected, line] : lines) {
            EXPECT_EQ(first(line), expected) << what << " n=" << n;
        }
    }
}

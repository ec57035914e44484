// The reference formulas worked by hand, then the one-pass kernels against them over periods and
// series shapes, whole and following a live series.

#include "studies/study_kernels.h"
#include "study_reference.h"
#include "vector_bars.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace sf = study_formulas;
namespace sk = study_kernels;

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
        // clang-format off
        const std::vector<std::tuple<const char*, int, sf::Line>> lines{
            {"SMA", n - 1, sf::SimpleAverage(bars, n)}, {"RSI", n, sf::Rsi(bars, n)},
            {"EMA", n + 1, sf::StudyAverage(bars, n, true)}, {"MOM", n, sf::Momentum(bars, n)},
            {"bands", n - 1, sf::Bollinger(bars, n, 2.0).lower},
            {"ROC", n + 1, sf::RateOfChange(bars, n)},
            {"OBV", n, sf::OnBalanceVolume(bars, n)}, {"MFI", n + 1, sf::MoneyFlowIndex(bars, n)},
            {"MACD", std::max(3, n + 1) - 1, macd.macd}, {"signal", n + 2, macd.signal},
            {"histogram", n + 2, macd.histogram}, {"late MACD", n + 3, late.macd},
            {"late signal", n + 3, late.signal}, {"%K", n, sf::Stochastics(bars, n, false).k},
            {"fast %D", 2 * n, sf::Stochastics(bars, n, true).d},
            {"slow %D", 2 * n, sf::Stochastics(bars, n, false).d},
            {"DI", n, sf::Adx(bars, n).minusDi}, {"ADX", 2 * n, sf::Adx(bars, n).adx}};
        // clang-format on
        for (const auto& [what, expected, line] : lines) {
            EXPECT_EQ(first(line), expected) << what << " n=" << n;
        }
    }
}

namespace {

using namespace study_reference;

// Every study's columns by the kernels, kept from one computation to the next as a chart keeps
// them while it follows a live series.
struct SKernelColumns {
    sk::Column sma, ema, rsi, momentum, roc, obv, mfi, mfiFromFlows;
    sk::SBands bands;
    sk::SStochastics fast, slow;
    sk::SMoneyFlow flow;
    sk::SMacd macd;
    sk::SAdx adx;
    sk::SRsiCarry rsiCarry;
    sk::SMacdCarry macdCarry;
    sk::SAdxCarry adxCarry;
    // `from`: the first bar that may have changed since the last computation (0: every bar).
    void Compute(const CVectorBars& bars, SPeriods p, std::size_t from) {
        const std::span<const double> close(bars.close);
        const SBarColumns columns = bars.Columns();
        sk::SimpleAverage(close, p.n, sma, from);
        sk::StudyAverage(close, p.n, true, ema, from);
        sk::Bollinger(close, p.n, 2.0, bands, from);
        sk::Rsi(close, p.n, rsi, rsiCarry, from);
        sk::Momentum(close, p.n, momentum);
        sk::RateOfChange(close, p.n, roc);
        sk::OnBalanceVolume(columns, p.n, obv, from);
        sk::Stochastics(columns, p.n, true, fast, from);
        sk::Stochastics(columns, p.n, false, slow, from);
        sk::MoneyFlow(columns, p.n, flow, from);
        sk::MoneyFlowIndex(columns, p.n, mfi, from);
        sk::MoneyFlowIndex(flow.positive, flow.negative, mfiFromFlows);
        sk::Macd(close, p.s, p.l, p.g, macd, macdCarry, from);
        sk::Adx(columns, p.n, adx, adxCarry, from);
    }
    std::vector<sf::Line> All() const {
        return Lines(sma, ema, bands, rsi, momentum, roc, obv, fast, slow, flow, mfi, macd, adx);
    }
};

constexpr SPeriods kPeriods[] = {{1, 1, 1, 1}, {2, 2, 3, 2},   {3, 9, 3, 4},
                                 {5, 4, 4, 2}, {14, 8, 17, 9}, {30, 12, 25, 9}};

} // namespace

// Every kernel against the reference over periods and series shapes: random walks (flat
// stretches, equal moves of the range, zero volumes) at three price levels, the last above the
// stochastics' starting low, trade prices, a market that never moves, a series shorter than most
// periods.
TEST(StudyKernels, EqualTheReferenceOverPeriodsAndSeries) {
    const std::vector<std::pair<const char*, CVectorBars>> shapes{
        {"walk", RandomBars(1, 700)},
        {"walk at 4800", RandomBars(2, 700, 4800.0)},
        {"walk above a million", RandomBars(8, 200, 2.5e6)},
        {"trades", CVectorBars::Flat(RandomBars(3, 300).close, 700)},
        {"flat", CVectorBars::Flat(std::vector<double>(80, 101.37))},
        {"short", RandomBars(9, 12)},
    };
    for (const auto& [name, bars] : shapes) {
        for (const SPeriods p : kPeriods) {
            SKernelColumns kernels;
            kernels.Compute(bars, p, 0);
            ExpectSame(Reference(bars, p), kernels.All(), std::string(name) + " " + Tag(p));
            // The index from the flows of its period is the pass over the bars, bit for bit.
            ASSERT_EQ(kernels.mfiFromFlows.size(), kernels.mfi.size());
            for (std::size_t i = 0; i < kernels.mfi.size(); ++i) {
                const double a = kernels.mfiFromFlows[i];
                ASSERT_TRUE(a == kernels.mfi[i] || (std::isnan(a) && std::isnan(kernels.mfi[i])))
                    << name << " " << Tag(p) << " bar " << i;
            }
        }
    }
}

TEST(StudyKernels, ExactZerosFlatWindowsAndLongSeries) {
    // Equal closes over the window: deviation exactly 0, also once a jump left the window.
    std::vector<double> closes(60, 101.37);
    closes[10] = 5000.0;
    const auto bands = sk::Bollinger(closes, 20, 2.0);
    for (std::size_t i = 31; i < closes.size(); ++i) {
        ASSERT_EQ(bands.width[i], 0.0) << i;
    }
    // Money flow: a flat span is 0 on both sides and no index, even after flows that do not sum
    // exactly; all rising is exactly 100. %D of a falling market after a rising one is exactly 0.
    CVectorBars flows;
    for (double c : {100.37, 100.41, 100.53, 100.59, 100.61, 100.61, 100.61, 100.61, 100.61}) {
        flows.Add(c + 0.13, c - 0.29, c, 137 + 13 * flows.Count());
    }
    const auto mfi = sk::MoneyFlowIndex(flows.Columns(), 3);
    EXPECT_EQ(mfi[4], 100.0);
    EXPECT_TRUE(std::isnan(mfi[8]));
    EXPECT_EQ(sk::MoneyFlow(flows.Columns(), 3).positive[8], 0.0);
    CVectorBars market;
    for (int i = 0; i < 50; ++i) {
        const double c = i < 12 ? 100 + i * 0.37 : 110 - i * 0.29;
        market.Add(c + 0.31, c - (i < 12 ? 0.17 : 0.0), c);
    }
    EXPECT_EQ(sk::Stochastics(market.Columns(), 3, true).d[49], 0.0);
    EXPECT_EQ(sk::Stochastics(market.Columns(), 3, false).d[49], 0.0);
    // A long series: the rolling sums stay on the reference past many re-summations, through a
    // jump and calm, tiny deviations far above zero.
    auto bars = RandomBars(4, 60000, 3000.0);
    for (int i = 30000; i < 30100; ++i) {
        bars.close[static_cast<std::size_t>(i)] = i == 30000 ? 9000.0 : 3000.0 + (i % 2) * 1e-4;
    }
    const auto b = sk::Bollinger(bars.close, 20, 2.0);
    std::vector<double> upper(b.size());
    b.Slice(sk::EBand::Upper, 0, upper);
    EXPECT_EQ(sf::Mismatch(sf::Bollinger(bars, 20, 2.0).upper, upper), "");
    EXPECT_EQ(sf::Mismatch(sf::SimpleAverage(bars, 50), sk::SimpleAverage(bars.close, 50)), "");
    EXPECT_EQ(
        sf::Mismatch(sf::MoneyFlow(bars, 14).positive, sk::MoneyFlow(bars.Columns(), 14).positive),
        "");
    for (std::size_t i = 30021; i < 30100; ++i) { // sqrt(1e-4^2 / 4) * 2 around 3000.00005
        ASSERT_NEAR(b.width[i], 1e-4, 1e-9);
    }
}

TEST(StudyKernels, EmptyShortAndBadInputs) {
    const std::vector<double> none;
    EXPECT_TRUE(sk::SimpleAverage(none, 5).empty() && sk::Macd(none, 8, 17, 9).signal.empty());
    EXPECT_TRUE(sk::Adx(SBarColumns{}, 14).adx.empty());
    EXPECT_TRUE(sk::Stochastics(SBarColumns{}, 5, false).k.empty());
    const auto bars = RandomBars(6, 40);
    const auto columns = bars.Columns();
    for (int bad : {0, -5}) {
        SKernelColumns kernels;
        kernels.Compute(bars, {bad, 8, bad, 9}, 0);
        for (const sf::Line& c : kernels.All()) {
            ASSERT_EQ(c.size(), 40u);
            ASSERT_TRUE(std::all_of(c.begin(), c.end(), [](double v) { return std::isnan(v); }));
        }
    }
    // Columns beside the closes that are too short: NaN from where they end.
    SBarColumns shortHighs = columns;
    shortHighs.high = shortHighs.high.first(25);
    const auto adx = sk::Adx(shortHighs, 3);
    EXPECT_TRUE(!std::isnan(adx.plusDi[24]) && std::isnan(adx.plusDi[25]));
    EXPECT_TRUE(std::isnan(sk::Stochastics(shortHighs, 3, true).k[39]));
}

TEST(StudyKernels, VolumeAverage) {
    const std::vector<double> volume{100, 200, 300, 600};
    EXPECT_DOUBLE_EQ(sk::VolumeAverage(volume, 2, true), 300.0);
    EXPECT_DOUBLE_EQ(sk::VolumeAverage(volume, 2, false), 450.0);  // the newest two
    EXPECT_DOUBLE_EQ(sk::VolumeAverage(volume, 10, false), 300.0); // fewer bars than the period
    EXPECT_TRUE(std::isnan(sk::VolumeAverage({}, 10, true)));
    EXPECT_TRUE(std::isnan(sk::VolumeAverage(volume, 0, false)));
    EXPECT_DOUBLE_EQ(sk::VolumeAverage(volume, 0, true), 300.0);
}

// A series followed as live trades build it: from a single bar, the newest bar changes in place
// (a trade inside its interval) or new bars arrive one or several at a time, through every
// study's warm-up and seed. After each step the columns equal a pass over the whole series.
TEST(StudyKernels, LiveFollowEqualsAPassOverTheWholeSeries) {
    const CVectorBars source = RandomBars(7, 420, 250.0);
    for (const SPeriods p : {SPeriods{14, 8, 17, 9}, {3, 9, 3, 4}, {1, 1, 1, 1}}) {
        std::mt19937 random(static_cast<unsigned>(p.n));
        CVectorBars bars;
        SKernelColumns followed;
        std::size_t taken = 0;
        while (taken < source.close.size() && !HasFailure()) {
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
            followed.Compute(bars, p, had == 0 ? 0 : had - 1);
            SKernelColumns whole;
            whole.Compute(bars, p, 0);
            ExpectSame(whole.All(), followed.All(), Tag(p) + " after " + std::to_string(taken));
        }
    }
    // A change further back than the newest bar, or a shorter series, is never patched over:
    // the studies start again from the first bar, into columns kept longer than the series.
    CVectorBars bars = RandomBars(3, 300);
    const SPeriods p{14, 8, 17, 9};
    SKernelColumns followed;
    followed.Compute(bars, p, 0);
    bars.close[40] += 3.0;
    bars.high[40] += 3.0;
    followed.Compute(bars, p, 40);
    ExpectSame(Reference(bars, p), followed.All(), "bar 40 changed");
    for (auto* column : {&bars.high, &bars.low, &bars.close, &bars.volume}) {
        column->resize(120);
    }
    bars.volumes.resize(120);
    followed.Compute(bars, p, 119);
    ExpectSame(Reference(bars, p), followed.All(), "cut short");
}

#include "studies/study_formulas.h"
#include "studies/study_kernels.h"
#include "vector_bars.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>

namespace sf = study_formulas;
namespace sk = study_kernels;

namespace {

// Every entry equal to the reference at that bar to 1e-9 relative (absolute below 1), NaN at
// the same bars; `step` samples long columns.
void ExpectColumn(const sk::Column& column, const CVectorBars& bars,
                  const std::function<double(int)>& reference, const std::string& what,
                  int step = 1) {
    ASSERT_EQ(column.size(), bars.close.size()) << what;
    for (int i = 0; i < bars.Count(); i += step) {
        const double expected = reference(i);
        const double actual = column[static_cast<std::size_t>(i)];
        const double scale = std::max({1.0, std::fabs(expected), std::fabs(actual)});
        if (std::isnan(expected) != std::isnan(actual) ||
            std::fabs(expected - actual) > 1e-9 * scale) {
            FAIL() << what << " at bar " << i << ": reference " << expected << ", kernel "
                   << actual;
        }
    }
}

// The reference of a study with running state, the pane filled bar by bar with a fresh state.
template <typename State, typename Value>
std::vector<Value> ByBar(int count, const std::function<Value(int, State&)>& value) {
    State state;
    std::vector<Value> values;
    for (int i = 0; i < count; ++i) {
        values.push_back(value(i, state));
    }
    return values;
}

void CheckAll(const CVectorBars& bars, int n, const std::string& name) {
    const auto close = std::span<const double>(bars.close);
    const auto columns = bars.Columns();
    const auto bands = sk::Bollinger(close, n, 2.0);
    const auto flow = sk::MoneyFlow(columns, n);
    const auto fast = sk::Stochastics(columns, n, true);
    const auto slow = sk::Stochastics(columns, n, false);
    const auto adx = sk::Adx(columns, n);
    // RSI column b is the value for argument b + 1, called in increasing order.
    const auto rsi = ByBar<sf::SRsiState, double>(
        bars.Count(), [&](int b, sf::SRsiState& s) { return sf::Rsi(bars, n, b + 1, s); });
    const auto adxRef = ByBar<sf::SAdxState, sf::SAdxAt>(
        bars.Count(), [&](int i, sf::SAdxState& s) { return sf::Adx(bars, n, i, s); });
    using Reference = std::function<double(int)>;
    const std::vector<std::tuple<const char*, sk::Column, Reference>> checks{
        {"SMA", sk::SimpleAverage(close, n), [&](int i) { return sf::SimpleAverage(bars, n, i); }},
        {"EMA", sk::StudyAverage(close, n, true),
         [&](int i) { return sf::StudyAverage(bars, n, true, i); }},
        {"lower", bands.lower, [&](int i) { return sf::BollingerAt(bars, n, 2, i).lower; }},
        {"upper", bands.upper, [&](int i) { return sf::BollingerAt(bars, n, 2, i).upper; }},
        {"RSI", sk::Rsi(close, n), [&](int b) { return rsi[b]; }},
        {"MOM", sk::Momentum(close, n), [&](int i) { return sf::Momentum(bars, n, i); }},
        {"ROC", sk::RateOfChange(close, n), [&](int i) { return sf::RateOfChange(bars, n, i); }},
        {"OBV", sk::OnBalanceVolume(columns, n),
         [&](int i) { return sf::OnBalanceVolume(bars, n, i); }},
        {"MF+", flow.positive, [&](int i) { return sf::MoneyFlow(bars, n, i).positive; }},
        {"MF-", flow.negative, [&](int i) { return sf::MoneyFlow(bars, n, i).negative; }},
        {"MFI", sk::MoneyFlowIndex(columns, n),
         [&](int i) { return sf::MoneyFlowIndex(bars, n, i); }},
        {"fast %K", fast.k, [&](int i) { return sf::FastStochastics(bars, n, i).k; }},
        {"fast %D", fast.d, [&](int i) { return sf::FastStochastics(bars, n, i).d; }},
        {"slow %K", slow.k, [&](int i) { return sf::SlowStochastics(bars, n, i).k; }},
        {"slow %D", slow.d, [&](int i) { return sf::SlowStochastics(bars, n, i).d; }},
        {"ADX", adx.adx, [&](int i) { return adxRef[i].adx; }},
        {"+DI", adx.plusDi, [&](int i) { return adxRef[i].plusDi; }},
        {"-DI", adx.minusDi, [&](int i) { return adxRef[i].minusDi; }},
    };
    for (const auto& [what, column, reference] : checks) {
        ExpectColumn(column, bars, reference, name + " n=" + std::to_string(n) + " " + what);
    }
}

void CheckMacd(const CVectorBars& bars, int s, int l, int g) {
    const auto m = sk::Macd(bars.close, s, l, g);
    const auto ref = ByBar<sf::SMacdState, sf::SMacdAt>(
        bars.Count(), [&](int i, sf::SMacdState& st) { return sf::Macd(bars, s, l, g, i, st); });
    const std::string tag = std::to_string(s) + "," + std::to_string(l) + "," + std::to_string(g);
    ExpectColumn(
        m.macd, bars, [&](int i) { return ref[i].macd; }, "MACD " + tag);
    ExpectColumn(
        m.signal, bars, [&](int i) { return ref[i].signal; }, "signal " + tag);
    ExpectColumn(
        m.histogram, bars, [&](int i) { return ref[i].macd - ref[i].signal; }, "histogram " + tag);
}

} // namespace

TEST(StudyKernels, EveryKernelMatchesTheBarFormulas) {
    for (unsigned seed : {1u, 2u}) {
        const auto bars = RandomBars(seed, 700, seed == 1 ? 100.0 : 4800.0);
        for (int n : {1, 2, 3, 5, 14}) {
            CheckAll(bars, n, "seed " + std::to_string(seed));
        }
        for (auto [s, l, g] :
             {std::tuple{8, 17, 9}, {12, 25, 9}, {1, 1, 1}, {4, 4, 2}, {9, 3, 4}}) {
            CheckMacd(bars, s, l, g);
        }
    }
    // A short series: every kernel stops where the bars end.
    const auto few = RandomBars(9, 12);
    for (int n : {5, 11, 12, 30}) {
        CheckAll(few, n, "few");
    }
}

TEST(StudyKernels, ExactZerosFlatWindowsAndLongSeries) {
    // Equal closes over the window: deviation exactly 0; the bands of a jump that left the
    // window come back to it.
    std::vector<double> closes(60, 101.37);
    closes[10] = 5000.0;
    const auto flat = CVectorBars::Flat(closes);
    const auto bands = sk::Bollinger(flat.close, 20, 2.0);
    for (std::size_t i = 31; i < closes.size(); ++i) {
        ASSERT_EQ(bands.lower[i], bands.middle[i]) << i;
        ASSERT_EQ(bands.upper[i], bands.middle[i]) << i;
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

    // Long series, sampled: the rolling sums stay on the formulas past many re-summations,
    // through a jump and calm, tiny deviations far above zero.
    auto bars = RandomBars(4, 60000, 3000.0);
    for (int i = 30000; i < 30100; ++i) {
        bars.close[static_cast<std::size_t>(i)] = i == 30000 ? 9000.0 : 3000.0 + (i % 2) * 1e-4;
    }
    const auto b = sk::Bollinger(bars.close, 20, 2.0);
    const auto m = sk::SimpleAverage(bars.close, 50);
    const auto f = sk::MoneyFlow(bars.Columns(), 14);
    ExpectColumn(
        b.upper, bars, [&](int i) { return sf::BollingerAt(bars, 20, 2, i).upper; },
        "long upper band", 7);
    ExpectColumn(
        m, bars, [&](int i) { return sf::SimpleAverage(bars, 50, i); }, "long SMA", 7);
    ExpectColumn(
        f.positive, bars, [&](int i) { return sf::MoneyFlow(bars, 14, i).positive; }, "long MF", 7);
    for (int i = 30021; i < 30100; ++i) { // sqrt(1e-4^2 / 4) * 2 around 3000.00005
        ASSERT_NEAR(b.upper[static_cast<std::size_t>(i)] - b.middle[static_cast<std::size_t>(i)],
                    1e-4, 1e-9);
    }
}

TEST(StudyKernels, EmptyShortAndBadInputs) {
    const std::vector<double> none;
    EXPECT_TRUE(sk::SimpleAverage(none, 5).empty());
    EXPECT_TRUE(sk::Macd(none, 8, 17, 9).signal.empty());
    EXPECT_TRUE(sk::Adx(SBarColumns{}, 14).adx.empty());
    EXPECT_TRUE(sk::Stochastics(SBarColumns{}, 5, false).k.empty());

    const auto bars = RandomBars(6, 40);
    const auto columns = bars.Columns();
    for (int bad : {0, -5}) {
        for (const sk::Column& c :
             {sk::SimpleAverage(bars.close, bad), sk::StudyAverage(bars.close, bad, true),
              sk::Bollinger(bars.close, bad, 2).upper, sk::Rsi(bars.close, bad),
              sk::Momentum(bars.close, bad), sk::RateOfChange(bars.close, bad),
              sk::OnBalanceVolume(columns, bad), sk::Macd(bars.close, 8, bad, 9).macd,
              sk::Stochastics(columns, bad, true).d, sk::MoneyFlow(columns, bad).negative,
              sk::MoneyFlowIndex(columns, bad), sk::Adx(columns, bad).minusDi}) {
            ASSERT_EQ(c.size(), 40u);
            ASSERT_TRUE(std::all_of(c.begin(), c.end(), [](double v) { return std::isnan(v); }));
        }
    }
    // Columns beside the closes that are too short: NaN from where they end.
    SBarColumns shortHighs = columns;
    shortHighs.high = shortHighs.high.first(25);
    const auto adx = sk::Adx(shortHighs, 3);
    EXPECT_FALSE(std::isnan(adx.plusDi[24]));
    EXPECT_TRUE(std::isnan(adx.plusDi[25]));
    EXPECT_TRUE(std::isnan(sk::Stochastics(shortHighs, 3, true).k[39]));

    // Columns the caller keeps, holding other values and sizes, come out the same.
    sk::Column kept(90, 12345.0);
    sk::Rsi(bars.close, 5, kept);
    EXPECT_EQ(kept.size(), 40u);
    ExpectColumn(
        kept, bars, [&](int i) { return sk::Rsi(bars.close, 5)[i]; }, "kept RSI");
    sk::SMacd keptMacd{sk::Column(3, 1.0), sk::Column(50, 2.0), sk::Column(40, 3.0)};
    sk::Macd(bars.close, 9, 3, 4, keptMacd);
    const auto fresh = sk::Macd(bars.close, 9, 3, 4);
    for (const auto& [k, f] : {std::pair{&keptMacd.macd, &fresh.macd},
                               {&keptMacd.signal, &fresh.signal},
                               {&keptMacd.histogram, &fresh.histogram}}) {
        ExpectColumn(
            *k, bars, [&, column = f](int i) { return (*column)[static_cast<std::size_t>(i)]; },
            "kept");
    }
    sk::SAdx keptAdx{sk::Column(70, 9.0), sk::Column(1, 9.0), sk::Column(0)};
    sk::Adx(shortHighs, 3, keptAdx);
    EXPECT_TRUE(std::isnan(keptAdx.adx[30]));
    EXPECT_TRUE(std::isnan(keptAdx.adx[0]));
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

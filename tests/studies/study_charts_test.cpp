#include "app/export.h"
#include "core/data_types.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "settings_table.h"
#include "studies/study_charts.h"
#include "studies/study_set.h"
#include "study_reference.h"
#include "vector_bars.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <memory>
#include <numeric>

namespace {

namespace sf = study_formulas;
using namespace study_reference;

// Daily bars zig-zagging upwards: close 100 + i + (i % 3), high = close + 1 (+ 0.5 on odd bars),
// low = close - 2, volume 1000 + 10 i.
std::shared_ptr<CStudyInputs> ZigZag(int count, int dataType = 2) {
    CVectorBars bars;
    for (int i = 0; i < count; ++i) {
        const double c = 100.0 + i + (i % 3);
        bars.Add(c + 1.0 + 0.5 * (i % 2), c - 2.0, c, 1000 + 10 * i);
    }
    return std::make_shared<CStudyInputs>(dataType, bars.high, bars.low, bars.close, bars.volume);
}

std::unique_ptr<CHistStudyChart> Filled(int type, const SStudySettings& settings,
                                        const CStudyInputs& inputs,
                                        SStudyContext context = {2, 0}) {
    std::unique_ptr<CHistStudyChart> study = MakeStudyChart(type);
    study->setup(settings, context);
    study->fill(inputs, 0);
    return study;
}

TEST(StudyCharts, DescriptionsFollowTheSettings) {
    const SStudySettings settings;
    const auto inputs = ZigZag(3);
    const char* expected[kStudyTypeCount] = {
        "RSI, lookback period - 21, levels - 70, 30",
        "MOM, lookback period - 20",
        "ROC, lookback period - 20",
        "OBV, smoothing period - 9",
        "MACD (custom), periods: short - 8, long - 17, signal smoothing - 18",
        "Slow STO, lookback period - 5, levels - 80, 20",
        "Volume, average: 1.01K",
        "Money Flow, lookback period - 14",
        "Money Flow Index, lookback period - 14, levels - 80, 20",
        "ADX, Smoothing period - 14",
    };
    for (int type = 0; type < kStudyTypeCount; ++type) {
        const auto study = Filled(type, settings, *inputs);
        EXPECT_EQ(study->StudyType(), type);
        // Too few bars for any value: the label is the description alone, at any cursor.
        const std::string description = expected[type];
        EXPECT_EQ(study->label(kNoCursorBar, false), description) << type;
        if (type != kStudyVolume) {
            EXPECT_EQ(study->label(2, false), description) << type;
        }
        EXPECT_EQ(study->label(kNoCursorBar, true), description + " (Minimized)") << type;
    }
    SStudySettings buy = settings;
    buy.periods[kStudyMACD] = 9;
    buy.stoFast = true;
    EXPECT_EQ(Filled(kStudyMACD, buy, *inputs)->label(kNoCursorBar, false),
              "MACD (buy), periods: short - 8, long - 17, signal smoothing - 9");
    EXPECT_EQ(Filled(kStudyStochastics, buy, *inputs)->label(kNoCursorBar, false),
              "Fast STO, lookback period - 5, levels - 80, 20");
}

TEST(StudyCharts, CursorValuesAndInfoLinesReadTheDrawnLines) {
    SStudySettings settings;
    settings.periods = {3, 3, 3, 3, 3, 2, 3, 3, 3, 3};
    settings.macdShort = 2;
    settings.macdLong = 4;
    const auto inputs = ZigZag(40);
    const int bar = 30;
    const auto rsi = Filled(kStudyRSI, settings, *inputs);
    const double r = rsi->LineAt(0, bar);
    ASSERT_FALSE(std::isnan(r));
    EXPECT_EQ(rsi->label(bar, true),
              fmt::format("RSI, lookback period - 3, levels - 70, 30 RSI: {:.4f} (Minimized)", r));
    EXPECT_EQ(rsi->InfoLine(bar), fmt::format("\nRSI: {:.1f}", r));
    // Outside the series: no values.
    EXPECT_EQ(rsi->label(40, false), "RSI, lookback period - 3, levels - 70, 30");
    const auto macd = Filled(kStudyMACD, settings, *inputs);
    EXPECT_EQ(macd->InfoLine(bar), fmt::format("\nMACD: {:.3f} Signal: {:.3f}",
                                               macd->LineAt(0, bar), macd->LineAt(1, bar)));
    const auto sto = Filled(kStudyStochastics, settings, *inputs);
    EXPECT_EQ(sto->InfoLine(bar).rfind("\nSlow STO%K: ", 0), 0U);
    const auto adx = Filled(kStudyADX, settings, *inputs);
    EXPECT_EQ(adx->label(bar, false),
              fmt::format("ADX, Smoothing period - 3 ADX: {:.4f} +DI: {:.4f} -DI: {:.4f}",
                          adx->LineAt(0, bar), adx->LineAt(1, bar), adx->LineAt(2, bar)));
    EXPECT_TRUE(Filled(kStudyVolume, settings, *inputs)->InfoLine(bar).empty());
    // Money flow in millions reads scaled.
    std::vector<double> close{10, 11, 12, 13, 14, 15};
    std::vector<double> volume(6, 1'000'000.0);
    CStudyInputs flows(2, close, close, close, volume);
    settings.periods[kStudyMoneyFlow] = 2;
    const auto mf = Filled(kStudyMoneyFlow, settings, flows);
    // Bar 5: tp rises at 3, 4 and 5: (13 + 14 + 15) million / 2 = 21 million positive.
    EXPECT_EQ(mf->InfoLine(5), "\nMoney Flow: 21.0M, pos: 21.0M, neg: 0");
    EXPECT_EQ(mf->label(5, false),
              "Money Flow, lookback period - 2 MF: 21000000 pos: 21000000 neg: 0");
}

// The first `count` bars of `bars` as the studies read them; trades keep only their prices.
CStudyInputs Inputs(const CVectorBars& bars, std::size_t count, bool trades) {
    auto first = [count](const std::vector<double>& column) {
        return std::vector<double>(column.begin(), column.begin() + static_cast<long>(count));
    };
    return trades ? CStudyInputs(kTicks, {}, {}, first(bars.close), first(bars.volume))
                  : CStudyInputs(kDays, first(bars.high), first(bars.low), first(bars.close),
                                 first(bars.volume));
}

// Every pane draws the reference's lines for its settings, whether filled at once or following a
// series that grew by a few bars and changed its newest one; the volume pane draws the bars' volume
// and their mean.
TEST(StudyCharts, PanesDrawTheReferenceLines) {
    // Each pane's lines among the reference's, by index; the slow stochastics are two further on.
    const std::vector<std::size_t> paneLines[kStudyTypeCount] = {
        {5}, {6}, {7}, {8}, {16, 17, 18}, {9, 10}, {}, {13, 14}, {15}, {19, 20, 21}};
    const CVectorBars walk = RandomBars(5, 300);
    // What a pane followed: the first 293 bars, before trades moved the newest of them.
    CVectorBars earlier = walk;
    earlier.close[292] -= 0.75;
    earlier.low[292] = std::min(earlier.low[292], earlier.close[292]);
    earlier.volume[292] = std::floor(earlier.volume[292] / 2);
    const double mean = std::accumulate(walk.volume.begin(), walk.volume.end(), 0.0) / 300;
    // The periods (MACD's signal is the study's period) and whether the stochastics are fast.
    const std::pair<SPeriods, bool> cases[] = {{{1, 1, 1, 1}, true},
                                               {{2, 2, 5, 2}, false},
                                               {{3, 9, 3, 3}, true},
                                               {{14, 8, 17, 14}, false}};
    for (const auto& [p, fast] : cases) {
        SStudySettings settings;
        settings.periods.fill(p.n);
        settings.macdShort = p.s;
        settings.macdLong = p.l;
        settings.stoFast = fast;
        const std::size_t slow = fast ? 0 : 2;
        for (const bool trades : {false, true}) {
            const CStudyInputs inputs = Inputs(walk, 300, trades);
            const CStudyInputs before = Inputs(earlier, 293, trades);
            const std::vector<sf::Line> reference = Reference(inputs, p);
            for (int type = 0; type < kStudyTypeCount; ++type) {
                const auto whole = Filled(type, settings, inputs);
                const auto followed = Filled(type, settings, before);
                followed->fill(inputs, 292);
                std::vector<sf::Line> expected;
                for (const std::size_t at : paneLines[type]) {
                    expected.push_back(reference[at + (type == kStudyStochastics ? slow : 0)]);
                }
                if (type == kStudyVolume) {
                    expected.push_back(walk.volume);
                    EXPECT_NEAR(whole->LineAt(1, 0), mean, 1e-12 * mean);
                    EXPECT_NEAR(followed->LineAt(1, 299), mean, 1e-12 * mean);
                }
                for (const auto* pane : {whole.get(), followed.get()}) {
                    for (std::size_t line = 0; line < expected.size(); ++line) {
                        std::vector<double> scratch;
                        const auto drawn = pane->LineSlice(line, 0, 300, scratch);
                        EXPECT_EQ(sf::Mismatch(expected[line], {drawn.begin(), drawn.end()}), "")
                            << "type " << type << " line " << line << " " << Tag(p)
                            << (trades ? " trades" : " bars")
                            << (pane == whole.get() ? "" : " followed");
                    }
                }
            }
        }
    }
}

TEST(StudyCharts, HistogramWidthsAndTheVolumeAverageInTheLabel) {
    const auto macd = MakeStudyChart(kStudyMACD);
    const auto volume = MakeStudyChart(kStudyVolume);
    // MACD: the whole part of 100 / bars + 0.75, at least one pixel, whatever a bar's width.
    for (const auto& [bars, width] : {std::pair{30, 4}, {60, 2}, {120, 1}, {400, 1}, {15360, 1}}) {
        EXPECT_EQ(macd->HistogramWidth(bars, 7.0), width) << bars;
    }
    EXPECT_EQ(volume->HistogramWidth(120, 10.0), 6);
    EXPECT_EQ(volume->HistogramWidth(3840, 0.2), 1);
    // The volume label names its average and its lookback.
    SStudySettings settings;
    const auto daily = ZigZag(4);
    // All data: (1000 + 1010 + 1020 + 1030) / 4.
    EXPECT_EQ(Filled(kStudyVolume, settings, *daily)->label(3, false),
              "Volume, average: 1.01K Vol: 1.03K");
    settings.radio[kStudyVolume] = 0; // custom: the newest two bars
    settings.periods[kStudyVolume] = 2;
    EXPECT_EQ(Filled(kStudyVolume, settings, *ZigZag(4, 1), {1, 5})->label(kNoCursorBar, false),
              "Volume, average: 1.02K in 300s, lookback period - 10 minutes");
    for (const auto& [type, unit] :
         {std::pair{0, "ticks"}, {2, "days"}, {3, "weeks"}, {4, "months"}}) {
        EXPECT_EQ(Filled(kStudyVolume, settings, *daily, {type, 0})->label(kNoCursorBar, false),
                  std::string("Volume, average: 1.02K, lookback period - 2 ") + unit);
    }
}

TEST(StudySet, ExportColumnsFollowTheShownStudiesOnce) {
    SUpperStudySettings upper;
    upper.masShow = true;
    upper.select = {true, false, true};
    upper.bandsShow = true;
    SStudySettings studies;
    studies.paneTypes = {kStudyRSI, kStudyMACD, kStudyRSI, kStudyVolume, kStudyADX};
    CStudySet set(ZigZag(50), upper, studies, {2, 0});
    set.Compute(2);
    std::vector<std::string> names;
    for (const SStudyColumn& column : set.ExportColumns()) {
        names.push_back(column.name);
        EXPECT_TRUE(column.At(49).has_value()) << column.name;
        EXPECT_FALSE(column.At(50).has_value()) << column.name;
    }
    EXPECT_EQ(names, (std::vector<std::string>{"MA1", "MA3", "BBLower", "BBMiddle", "BBUpper",
                                               "RSI", "MACD", "Signal", "Histogram",
                                               "VolumeAverage", "ADX", "+DI", "-DI"}));
    // MA1 over 5 closes ending at bar 4: 100, 102, 104, 103, 105.
    EXPECT_DOUBLE_EQ(set.Average(1)[4], 514.0 / 5);
    EXPECT_TRUE(std::isnan(set.Average(1)[3]) && set.Average(2).empty());
    upper.masShow = false;
    upper.bandsShow = false;
    studies.paneTypes.clear();
    CStudySet none(ZigZag(5), upper, studies, {2, 0});
    none.Compute(1);
    EXPECT_TRUE(none.ExportColumns().empty());
}

TEST(StudySet, ExportCellsReadBackAsTheSameDouble) {
    for (const double value : {0.1 + 0.2, 1.0 / 3.0, -123456.789e-7, 100.0, 5e-324}) {
        const std::string text = ExportStudyCell(value);
        double back = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        EXPECT_EQ(back, value) << text;
    }
    EXPECT_EQ(ExportStudyCell(std::nan("")), "");
}

TEST(StudySettings, ListsAndChoicesReadFromTheTable) {
    // A short list keeps the defaults of the missing studies (the studies pages open on the
    // defaults themselves); an unreadable entry keeps its own.
    skychart::test::SettingsTable settings;
    settings.SetText(keys::kStudyAvgPeriod, "30,x,7");
    settings.SetText(keys::kStudyCustomAvgPeriod, "30");
    settings.SetInt(keys::kRSIRadioSelect, 3); // "Custom": its period is in both lists
    settings.SetInt(keys::kNumberOfStudyCharts, 3);
    settings.SetInt(keys::Numbered(keys::kTypeOfStudyChart, 1), 4);
    settings.SetInt(keys::Numbered(keys::kTypeOfStudyChart, 2), 42);
    SStudySettings read = SStudySettings::Read(settings);
    EXPECT_EQ(std::tuple(read.Period(kStudyRSI), read.Period(kStudyMomentum),
                         read.Period(kStudyRateOfChange), read.Period(kStudyADX)),
              std::tuple(30, 20, 7, 14));
    EXPECT_EQ(read.paneTypes, (std::vector<int>{kStudyVolume, kStudyMACD, kStudyVolume}));
    // Written back over the defaults, a custom period is in both lists.
    read.Write(settings, SStudySettings{});
    EXPECT_EQ(settings.GetText(keys::kStudyCustomAvgPeriod), "30,20,20,9,18,5,500,9,9,10");
    EXPECT_EQ(settings.GetText(keys::kStudyAvgPeriod), "30,20,7,9,18,5,10,14,14,14");
}

} // namespace

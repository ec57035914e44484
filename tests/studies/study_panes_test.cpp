#include "chart/draw_manager.h"
#include "core/data_types.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "history_bars.h"
#include "recording_chart_2d.h"
#include "settings_table.h"
#include "studies/column_store.h"
#include "studies/study_panes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <thread>

namespace {

using skychart::test::CRecordingChart2D;

// Daily bars of a wave with a wide swing, so that the bands leave the bars' range.
class StudyPanes : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 200; ++i) {
            const double c = 100.0 + 20.0 * std::sin(i / 5.0);
            ASSERT_TRUE(history.AppendTick(
                MakeBar(DayAfter(2020, 1, 1, i), c - 0.5, c + 1.0, c - 1.0, c, 0, 1000 + i)));
        }
    }
    void Show(int paneCount, std::initializer_list<int> types) {
        settings.SetInt(keys::kNumberOfStudyCharts, paneCount);
        int pane = 0;
        for (const int type : types) {
            settings.SetInt(keys::Numbered(keys::kTypeOfStudyChart, pane++), type);
        }
    }
    SUpperStudySettings Upper() const { return SUpperStudySettings::Read(settings); }
    SStudySettings Lower() const { return SStudySettings::Read(settings); }
    // Paints study pane `pane` into its own chart as the view does: 120 slots, the cursor on
    // `cursorBar`.
    CRecordingChart2D& PaintStudy(int pane, int cursorBar = kNoCursorBar) {
        CRecordingChart2D& target = paneCharts[static_cast<std::size_t>(pane)];
        SPaneFrame frame;
        frame.displayedPoints = 120;
        frame.cursorBar = cursorBar;
        draw.PaintPane(pane, target, style, frame, 0, false);
        return target;
    }
    skychart::test::SettingsTable settings;
    CChartHistRequest history;
    CHistChartDrawManager draw{history};
    CRecordingChart2D chart;
    std::array<CRecordingChart2D, CHistChartDrawManager::kPaneCount> paneCharts;
    SChartStyle style;
};

TEST_F(StudyPanes, ComputedOffTheViewThreadAndDrawnThroughTheDrawManager) {
    settings.SetInt(keys::kMAsShow, 1);
    settings.SetInt(keys::kBBStudyShow, 1);
    Show(2, {kStudyRSI, kStudyVolume});
    CStudyPanes studies(Upper(), Lower());
    draw.SetStudies(&studies);
    // Before the first computation the panes are there, with their descriptions only.
    EXPECT_EQ(std::tuple(studies.PaneCount(), studies.PaneStudyType(1)), std::tuple(2, kStudyRSI));
    EXPECT_FALSE(studies.TakeFinished());
    studies.SeriesChanged(history, kDays, 0);
    EXPECT_TRUE(studies.Computing());
    studies.WaitFinished();
    EXPECT_FALSE(studies.Computing());
    ASSERT_EQ(studies.Current().Inputs().Count(), 200);
    draw.SetScrollPosition(80, 120, kDays);
    SPaneFrame frame;
    frame.displayedPoints = 120;
    draw.PaintPane(0, chart, style, frame, 0, false);
    const auto* ma1 = chart.Series(CStudyPanes::kAverageSeries);
    ASSERT_NE(ma1, nullptr);
    ASSERT_EQ(ma1->values.size(), 120U);
    EXPECT_DOUBLE_EQ(ma1->values[0], studies.Current().Average(1)[80]);
    EXPECT_EQ(ma1->line.color, 255U);
    const auto* lower = chart.Series(CStudyPanes::kBandSeries);
    ASSERT_NE(lower, nullptr);
    const double lowest = *std::min_element(lower->values.begin(), lower->values.end());
    // The bands reach below the lowest low: the range widens to them.
    ASSERT_LT(lowest, *std::min_element(draw.Displayed().low.begin(), draw.Displayed().low.end()));
    EXPECT_DOUBLE_EQ(chart.AxisRange(CChart2D::EAxis::Y).min, lowest);
    // The read-outs of a bar: the averages and the bands after the price fields, the study
    // panes' lines after them in the information.
    const std::vector<std::string> fields = draw.PriceBarFields(150);
    ASSERT_EQ(fields.size(), 7U);
    EXPECT_EQ(fields[5].substr(0, 5) + fields[6].substr(0, 14), "MA1: Bands: lower: ");
    EXPECT_NE(draw.InfoText(150).find("\nDate: 2020/05/30\nMA1: "), std::string::npos);
    // The RSI pane: its line over the displayed bars, its levels across the axis, the fixed
    // oscillator scale and the values at the cursor in the label.
    const CRecordingChart2D& rsiPane = PaintStudy(1, 150);
    const auto* line = rsiPane.Series(CStudyPanes::kLineSeries);
    ASSERT_NE(line, nullptr);
    ASSERT_EQ(line->values.size(), 120U);
    EXPECT_EQ(line->values[3], studies.Current().Pane(0).LineAt(0, 83));
    EXPECT_EQ(line->line.color, Lower().dataColor[kStudyRSI]);
    const auto* upperLevel = rsiPane.Series(CStudyPanes::kLevelSeries);
    ASSERT_NE(upperLevel, nullptr);
    EXPECT_EQ(upperLevel->points[0].y, 70.0);
    EXPECT_EQ(upperLevel->points[1].x, 119.5);
    EXPECT_EQ(rsiPane.AxisRange(CChart2D::EAxis::Y).max, 100.0);
    EXPECT_EQ(rsiPane.Axis(CChart2D::EAxis::Y).precision, 0);
    EXPECT_EQ(rsiPane.LabelLineText(), studies.Current().Pane(0).label(150, false));
    EXPECT_NE(rsiPane.LabelLineText().find(" RSI: "), std::string::npos);
    // The volume pane: bars from zero, the average across and a range fitted with room.
    const CRecordingChart2D& volumePane = PaintStudy(2);
    const auto* bars = volumePane.Series(CStudyPanes::kLineSeries);
    ASSERT_NE(bars, nullptr);
    EXPECT_EQ(bars->kind, CRecordingChart2D::EKind::Histogram);
    EXPECT_EQ(bars->values.back(), 1199.0);
    EXPECT_EQ(volumePane.Series(CStudyPanes::kLevelSeries), nullptr);
    ASSERT_NE(volumePane.Series(CStudyPanes::kLineSeries + 1), nullptr);
    EXPECT_DOUBLE_EQ(volumePane.Series(CStudyPanes::kLineSeries + 1)->values.front(), 1099.5);
    EXPECT_LT(volumePane.AxisRange(CChart2D::EAxis::Y).min, 0.0);
    EXPECT_GT(volumePane.AxisRange(CChart2D::EAxis::Y).max, 1199.0);
}

TEST_F(StudyPanes, SettingsChangesRecomputeAndANewSymbolClears) {
    Show(1, {kStudyMomentum});
    CStudyPanes studies(Upper(), Lower());
    studies.SeriesChanged(history, kDays, 0);
    // A second answer while the first is computed: the last one wins.
    studies.SeriesChanged(history, kDays, 0);
    studies.WaitFinished();
    EXPECT_EQ(studies.Current().Pane(0).Period(), 20);
    EXPECT_EQ(studies.Current().Pane(0).LineSize(0), 200U);
    settings.SetText(keys::kStudyAvgPeriod, "21,5");
    studies.SettingsChanged(Upper(), Lower());
    // The same panes keep their lines until the new ones are ready.
    EXPECT_EQ(studies.Current().Pane(0).LineSize(0), 200U);
    studies.WaitFinished();
    EXPECT_EQ(studies.Current().Pane(0).Period(), 5);
    // The series' columns are shared by the panes and the new set; the old set is gone.
    EXPECT_EQ(studies.Current().SharedInputs().use_count(), 2);
    sTICK now;
    sTICK then;
    ASSERT_TRUE(history.GetTick(10, now) && history.GetTick(5, then));
    EXPECT_DOUBLE_EQ(studies.Current().Pane(0).LineAt(0, 10), now.close - then.close);
    // Other panes: shown at once, with their labels only.
    Show(2, {kStudyADX, kStudyMFI});
    studies.SettingsChanged(Upper(), Lower());
    EXPECT_EQ(studies.PaneStudyType(1), kStudyADX);
    EXPECT_EQ(studies.Current().Pane(1).Count(), 0);
    studies.WaitFinished();
    EXPECT_EQ(studies.Current().Pane(1).Count(), 200);
    // A colour computes nothing: every study keeps its lines and takes the new look at once.
    const CHistStudyChart* mfi = &studies.Current().Pane(1);
    settings.SetText(keys::Numbered(keys::kStudyDataColor, kStudyMFI), "255");
    EXPECT_FALSE(studies.SettingsChanged(Upper(), Lower()) || studies.Computing());
    EXPECT_EQ(std::tuple(&studies.Current().Pane(1), mfi->Lines()[0].color), std::tuple(mfi, 255U));
    EXPECT_EQ(mfi->Count(), 200);
    // Live points: followed at once on the calling thread; growth while a computation runs is
    // followed when it is done, the lines drawn staying meanwhile.
    const auto append = [&](double close) {
        sTICK bar;
        ASSERT_TRUE(history.GetTick(history.GetLastIndex(), bar));
        bar.time = CDateTime(bar.time.Days() + 1);
        bar.close = close;
        ASSERT_TRUE(history.AppendTick(bar));
    };
    const auto mfiAt = [&](int bar) { return studies.Current().Pane(1).LineAt(0, bar); };
    append(150.0);
    studies.SeriesGrew();
    EXPECT_FALSE(studies.Computing());
    EXPECT_EQ(studies.Current().Inputs().Count(), 201);
    EXPECT_EQ(studies.Current().Pane(1).Count(), 201);
    const double followedMfi = mfiAt(200);
    // Another ADX period computes the ADX alone; the MFI keeps its lines.
    settings.SetText(keys::kStudyAvgPeriod, "21,5,20,9,18,5,10,14,14,12");
    EXPECT_TRUE(studies.SettingsChanged(Upper(), Lower()));
    append(151.0);
    studies.SeriesGrew();
    EXPECT_EQ(studies.Current().Pane(0).Count(), 201);
    EXPECT_TRUE(studies.Computing());
    studies.WaitFinished();
    EXPECT_EQ(studies.Current().Inputs().Count(), 202);
    EXPECT_EQ(studies.Current().Pane(0).Count(), 202);
    EXPECT_EQ(studies.Current().Pane(0).Period(), 12);
    EXPECT_EQ(&studies.Current().Pane(1), mfi);
    // The followed value is the one a computation over the whole series gives.
    EXPECT_NEAR(mfiAt(200), followedMfi, 1e-9);
    EXPECT_FALSE(std::isnan(mfiAt(201)));
    studies.Clear();
    EXPECT_EQ(studies.Current().Inputs().Count(), 0);
    EXPECT_EQ(studies.InfoStudies(5), "\nADX: , +DI: , -DI: \nMFI: ");
    // Going away while computing is safe.
    auto running = std::make_unique<CStudyPanes>(Upper(), Lower());
    running->SeriesChanged(history, kDays, 0);
    running.reset();
}

// A money flow index beside a money flow pane of its period keeps no column: it reads the pane's
// flows, what its own pass over the bars gives (to the rounding of a followed window), live
// points too. Once the flows' period changes it is computed from the bars again.
TEST_F(StudyPanes, AnIndexBesideItsFlowsReadsThem) {
    Show(2, {kStudyMoneyFlow, kStudyMFI});
    CStudyPanes studies(Upper(), Lower());
    studies.SeriesChanged(history, kDays, 0);
    studies.WaitFinished();
    const auto expectOwnPass = [&](bool column, const char* when) {
        const CHistStudyChart& index = studies.Current().Pane(1);
        EXPECT_EQ(index.Lines()[0].values.empty(), !column) << when;
        CStudyInputs inputs;
        ASSERT_TRUE(inputs.Read(history, kDays, nullptr));
        const auto own = MakeStudyChart(kStudyMFI);
        own->setup(Lower(), {kDays, 0});
        own->fill(inputs, 0);
        ASSERT_EQ(index.LineSize(0), own->LineSize(0)) << when;
        for (int bar = 0; bar < own->Count(); ++bar) {
            const double got = index.LineAt(0, bar);
            const double want = own->LineAt(0, bar);
            ASSERT_TRUE(std::abs(got - want) <= 1e-12 * std::abs(want) ||
                        (std::isnan(got) && std::isnan(want)))
                << when << " bar " << bar;
        }
    };
    expectOwnPass(false, "computed");
    sTICK bar;
    ASSERT_TRUE(history.GetTick(history.GetLastIndex(), bar));
    bar.time = CDateTime(bar.time.Days() + 1);
    bar.close = bar.high;
    ASSERT_TRUE(history.AppendTick(bar));
    studies.SeriesGrew();
    expectOwnPass(false, "followed");
    settings.SetText(keys::kStudyAvgPeriod, "14,20,20,9,18,5,10,9,14,14");
    studies.SettingsChanged(Upper(), Lower());
    studies.WaitFinished();
    EXPECT_EQ(studies.Current().Pane(0).Period(), 9);
    expectOwnPass(true, "alone");
}

// Each new series is computed into the columns of the set before it, shorter or longer, or of a
// computation stopped part way: every column equals that of a set computed afresh over the same
// series, bit for bit. A computation stopped before it starts computes nothing.
TEST_F(StudyPanes, ANewSeriesIsComputedIntoTheRoomOfTheOneBefore) {
    Show(10, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    settings.SetBool(keys::kMAsShow, true);
    settings.SetBool(keys::kBBStudyShow, true);
    CStudyPanes studies(Upper(), Lower());
    for (const int bars : {200, 150, 260}) {
        history.Clear();
        for (int i = 0; i < bars; ++i) {
            const double c = 50.0 + bars / 10.0 + 7.0 * std::cos(i / (bars / 40.0));
            ASSERT_TRUE(history.AppendTick(MakeBar(DayAfter(2021, 1, 1, i), c - 0.25,
                                                   c + 0.5 + (i % 3) * 0.25, c - 0.75, c, 0,
                                                   500 + (i * 37) % 200)));
        }
        studies.Clear();
        studies.SeriesChanged(history, kDays, 0);
        if (bars == 150) {
            // Another symbol entered before these studies were done.
            studies.Clear();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            studies.SeriesChanged(history, kDays, 0);
        }
        studies.WaitFinished();
        auto inputs = std::make_shared<CStudyInputs>();
        ASSERT_TRUE(inputs->Read(history, kDays, nullptr));
        const std::atomic<bool> stopped{true};
        CStudySet fresh(inputs, Upper(), Lower(), {kDays, 0});
        fresh.Compute(2, nullptr, &stopped);
        EXPECT_FALSE(fresh.Computed());
        fresh.Compute(1);
        const auto expected = fresh.ExportColumns();
        const auto actual = studies.Current().ExportColumns();
        ASSERT_EQ(actual.size(), expected.size());
        ASSERT_GT(expected.size(), 20U);
        for (std::size_t c = 0; c < expected.size(); ++c) {
            for (int bar = 0; bar <= bars; ++bar) {
                const auto want = expected[c].At(static_cast<std::size_t>(bar));
                const auto got = actual[c].At(static_cast<std::size_t>(bar));
                ASSERT_EQ(got.has_value(), want.has_value()) << expected[c].name << " " << bar;
                if (want && !(std::isnan(*want) && std::isnan(*got))) {
                    ASSERT_EQ(*got, *want) << expected[c].name << " bar " << bar << " of " << bars;
                }
            }
        }
    }
}

// Fresh room for a long column is prepared once, before it is written, with the values kept; a
// short column and room kept from a set before are not.
TEST(ColumnStore, OnlyFreshRoomOfALongColumnIsPrepared) {
    std::vector<std::pair<const void*, std::size_t>> prepared;
    CColumnStore store([&](void* data, std::size_t bytes) { prepared.emplace_back(data, bytes); });
    const std::size_t count = CColumnStore::kPreparedBytes / sizeof(double);
    std::vector<double> column{1.5, 2.5};
    store.Fill(column, count);
    ASSERT_EQ(prepared.size(), 1U);
    EXPECT_EQ(prepared[0].first, column.data());
    EXPECT_EQ(prepared[0].second, count * sizeof(double));
    EXPECT_GT(column.capacity(), count);
    EXPECT_EQ(column, (std::vector<double>{1.5, 2.5}));
    std::vector<double> small;
    store.Fill(small, count - 1);
    EXPECT_EQ(prepared.size(), 1U);
    store.Put(std::move(column));
    std::vector<double> kept;
    store.Fill(kept, count);
    EXPECT_EQ(prepared.size(), 1U);
    EXPECT_GE(kept.capacity(), count);
}

} // namespace

// Measures the chart view's load of a large tick history in the real main frame against the real
// portico, on the offscreen platform, in one process. Each run, in this order:
//
//   bare load     the answer through the feed connections and the chart loader's parse worker
//                 into a series of its own, with no window (as history_bench does);
//   load alone    from Enter in the frame's symbol box to the answer's end marker (the series
//                 complete), through the frame's feed connections and the chart view (its
//                 studies are then left to finish, untimed);
//   first chart   the same, but to the first painting of the pane stack that shows the complete
//                 series, and on until every study (ten study panes, the three averages and the
//                 bands) is computed off the view's thread and drawn; meanwhile a 10 ms timer
//                 records how late the event loop runs it.
//
// A first chart through the frame comes first: it finds the number of records and warms portico,
// and its studies, which find no room left by an earlier chart, are timed on their own. Before
// each load through the frame the previous series is emptied, untimed, so that every one starts
// from an empty chart. Runs are
// interleaved and medians printed, with the steps of the first-chart runs, the event loop's lag,
// the peak memory of the process and the size of the series.
//
//   chart_load_bench PORTICO [--ticks N] [--runs R] [--symbol SYM]
//                    [--series-memory plain|advice|app]
//
// --series-memory prepares the series (the frame's and the bare load's): app (the default) does
// as the application does, large pages advised and the block ahead made resident on a helper
// thread; plain leaves their memory to the allocator, and advice only asks for large pages.

#include "app/ui/main_frame.h"
#include "chart/color_page_logic.h"
#include "chart/ui/button_for_color.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_stack_widget.h"
#include "chart/ui/color_page.h"
#include "core/data_types.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "feed/feed_platform.h"
#include "feed/kestrel_stream_socket.h"
#include "frame_bench_support.h"
#include "history/chart_hist_request.h"
#include "history/history_parser.h"
#include "platform/config_writer.h"
#include "platform/large_pages.h"
#include "studies/study_panes.h"
#include "timed_frame_load.h"
#include "trend/ui/chart_trendlines.h"

#include <QApplication>
#include <QComboBox>
#include <QEvent>
#include <QEventLoop>
#include <QLineEdit>
#include <QScrollBar>
#include <QTimer>
#include <QtGlobal>

#include <spdlog/spdlog.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "bench_support.h"
#include "portico_process.h"
#include "recording_prompt.h"
#include "temp_dir.h"

namespace {

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "chart_load_bench: %s\n", what.c_str());
    std::exit(1);
}

// ---- the bare load: the feed connections and the parse worker, no window -----------------------

// Prepares `history` as --series-memory `memory` says.
void PrepareSeries(CChartHistRequest& history, const std::string& memory) {
    if (memory == "app") {
        PrepareSeriesMemory(history);
    } else if (memory == "advice") {
        history.SetMemoryAdvice(AdviseLargePages);
    }
}

// Seconds from sending the command to the end marker; the records loaded in `records`.
double BareLoad(int port, const std::string& command, const std::string& memory, int& records) {
    CChartHistRequest history;
    PrepareSeries(history, memory);
    const double seconds = LoadOverLoopback(port, command, history);
    records = history.GetCount();
    return seconds;
}

// A colour change through the colour page: the grid colour is set on its button and stored, and
// the frame hands the stored settings on as OK does. Returns the milliseconds until the stack is
// painted, and whether a study computation started.
struct SGridChange {
    double ms = 0.0;
    bool computing = false;
};
SGridChange ChangeGridColor(CMainFrame& frame, ColorRef color) {
    CColorPage page(frame.Settings());
    page.Button(EColorSlot::Grid)->SetColor(color);
    page.Store();
    CChartCanvas& canvas = frame.ChartView()->Canvas();
    const TimePoint start = Clock::now();
    frame.ApplyStoredSettings();
    const bool computing = canvas.Studies() != nullptr && canvas.Studies()->Computing();
    canvas.Stack().repaint();
    return {Seconds(start, Clock::now()) * 1000.0, computing};
}

// A full redraw of the eleven panes: the items of every pane handed to its chart, then the stack
// painted. Milliseconds of each of `times` redraws, added to `ms`.
void FullRedraws(CChartCanvas& canvas, int times, std::vector<double>& ms) {
    for (int i = 0; i < times; ++i) {
        const TimePoint start = Clock::now();
        canvas.RedrawAll();
        canvas.Stack().repaint();
        ms.push_back(Seconds(start, Clock::now()) * 1000.0);
    }
}

// Fifty trendlines of every kind over the displayed bars, at prices within the price pane.
void AddFiftyTrendlines(CMainFrame& frame, const CChartHistRequest& history) {
    const SDisplayedBars shown = frame.ChartView()->Canvas().DrawManager().Displayed();
    const SRangeExtremes range = history.GetExtremes(shown.first, shown.Count());
    const double low = range.lowestLow;
    const double span = std::max(range.highestHigh - low, 1e-6);
    for (int i = 0; i < 50; ++i) {
        const auto kind = static_cast<ETrendKind>(i % kTrendKindCount);
        std::vector<STrendPoint> points;
        for (int click = 0; click < TrendKindInfo(kind).clicks; ++click) {
            const double bar = shown.first + (shown.Count() - 1) * ((i + click * 7) % 50) / 49.0;
            const double price = low + span * ((i * 13 + click * 29) % 100) / 100.0;
            points.push_back(TrendPointAt(history, bar, price));
        }
        frame.Trendlines()->Add(kind, std::move(points));
    }
}

// The bytes that the studies shown keep for each point of the series: every column of the
// averages, the bands and the panes, and the series' columns that they read, as written (the room
// kept for live points is not resident until they come).
double StudyBytesPerPoint(const CStudyPanes& studies) {
    const CStudySet& set = studies.Current();
    double bytes = 0.0;
    auto add = [&bytes](const std::vector<double>& column) {
        bytes += static_cast<double>(column.size() * sizeof(double));
    };
    for (int number = 1; number <= 3; ++number) {
        add(set.Average(number));
    }
    add(set.Bands().middle);
    add(set.Bands().width);
    for (int pane = 0; pane < set.PaneCount(); ++pane) {
        for (const CHistStudyChart::SLine& line : set.Pane(pane).Lines()) {
            add(line.values);
        }
    }
    const SBarColumns inputs = set.Inputs().Columns();
    const bool ticks = inputs.high.data() == inputs.close.data();
    bytes += static_cast<double>((ticks ? 2 : 4) * inputs.Count() * sizeof(double));
    return set.Inputs().Count() == 0 ? 0.0 : bytes / set.Inputs().Count();
}

// A full-history daily chart with every study: from the load to every study drawn, each run
// from an empty chart. The records of the last run in `records`.
std::vector<double> DailyLoads(CTimedFrame& frame, const std::string& symbol, int runs,
                               int& records) {
    CChartFormView& view = *frame.ChartView();
    std::vector<double> seconds;
    for (int run = 0; run < runs; ++run) {
        frame.history.Clear();
        QApplication::processEvents();
        const TimePoint start = Clock::now();
        frame.LoadChart(symbol, kDays, -1);
        if (!WaitFor(
                [&] {
                    return view.Loader().HistoryShown() && !view.Canvas().Studies()->Computing();
                },
                std::chrono::seconds(120))) {
            Fail("the daily chart was not drawn with its studies");
        }
        seconds.push_back(Seconds(start, Clock::now()));
        records = frame.history.GetCount();
    }
    return seconds;
}

std::string StepText(const std::vector<double>& values) {
    char text[64];
    std::snprintf(text, sizeof text, "%8.1f ms", Median(values) * 1000.0);
    return text;
}

} // namespace

int main(int argc, char** argv) {
    const SLoadOptions options =
        ParseLoadOptions(argc, argv,
                         "usage: %s PORTICO [--ticks N] [--runs R] [--symbol SYM] "
                         "[--series-memory plain|advice|app]\n");
    const std::string& porticoPath = options.porticoPath;
    const long ticks = options.ticks;
    const int runs = options.runs;
    const std::string& symbol = options.symbol;
    const auto memoryOption = options.others.find("--series-memory");
    const std::string memory = memoryOption != options.others.end() ? memoryOption->second : "app";
    if (ticks <= 0 || ticks > 100'000'000) {
        Fail("--ticks must be 1 to 100000000");
    }

    skychart::test::PorticoProcess portico(porticoPath);
    if (!portico.start({"--linger", "0", "--connect-delay", "0"})) {
        Fail("portico did not start: " + portico.errorOutput());
    }

    // The frame's settings and the service's ports in a folder of their own: ticks, and every
    // study at once.
    skychart::test::TempDir home;
    PrepareFrameHome(home, portico,
                     "RequestDataType=0\nRequestType=0\nRequestRecentType=0,3,6,8,9\n"
                     "RequestDatapoints=" +
                         std::to_string(ticks) + ",10000,20000,10000,10000\n" +
                         EveryStudySettings());
    // The frame's progress lines and the offscreen platform's notes would drown the results.
    QuietFrameOutput();
    QApplication application(argc, argv);
    skychart::test::RecordingPrompt prompt;
    CSettings settings;
    SSettingsLoad load = LoadApplicationSettings(settings, prompt);
    CChartHistRequest history;
    PrepareSeries(history, memory);
    CTimedFrame frame(prompt, settings, history, load.writer);
    if (!frame.Create()) {
        Fail("the main frame could not be created");
    }
    frame.ShowWithCommandLine();
    if (!WaitFor([&] { return frame.ServiceReady(); }, std::chrono::seconds(60))) {
        Fail("the frame did not reach the service");
    }

    const std::string command = "HTX," + symbol + "," + std::to_string(ticks) + ",1,Lookup0\r\n";
    // The first chart of the process finds the number of records and warms portico.
    CStackWatch watch(frame, 0);
    const SFrameRun cold = FrameLoad(frame, watch, symbol, true);
    const int records = history.GetCount();
    if (records <= 0) {
        Fail("the warm-up load brought no records");
    }
    CStackWatch timedWatch(frame, records);

    std::vector<double> bare, alone, first;
    std::vector<double> settingStore;
    std::vector<double> enterCall, toFirstLine, receiving, toTick, tickToReplot, replotting,
        painting;
    std::vector<double> ownOverhead;     // (b)'s end marker to painted, over its own load
    std::vector<double> studiesDrawn;    // (b)'s first chart to every study drawn
    std::vector<double> markerToStudies; // (b)'s end marker, where the studies start, to them drawn
    std::vector<double> lagP99, lagMax, lagMaxAfterComplete;
    std::vector<double> allLag;
    std::vector<std::string> lagWhere;
    std::size_t lagSamples = 0;
    for (int run = 0; run < runs; ++run) {
        history.Clear();
        int bareRecords = 0;
        bare.push_back(BareLoad(portico.lookupPort(), command, memory, bareRecords));
        if (bareRecords != records) {
            std::fprintf(stderr, "note: the bare load gave %d records, the frame %d\n", bareRecords,
                         records);
        }
        QApplication::processEvents();

        const SFrameRun a = FrameLoad(frame, timedWatch, symbol, false);
        alone.push_back(Seconds(a.enter, a.complete));

        const SFrameRun b = FrameLoad(frame, timedWatch, symbol, true);
        first.push_back(Seconds(b.enter, b.painted));
        ownOverhead.push_back(Seconds(b.complete, b.painted) / Seconds(b.enter, b.complete));
        enterCall.push_back(Seconds(b.enter, b.enterReturned));
        toFirstLine.push_back(Seconds(b.enter, b.firstLine));
        receiving.push_back(Seconds(b.firstLine, b.complete));
        toTick.push_back(Seconds(b.complete, b.tick));
        tickToReplot.push_back(Seconds(b.tick, b.replot));
        replotting.push_back(Seconds(b.replot, b.replayed));
        painting.push_back(Seconds(b.replayed, b.painted));
        studiesDrawn.push_back(Seconds(b.painted, b.studies));
        markerToStudies.push_back(Seconds(b.complete, b.studies));
        lagP99.push_back(Percentile(b.lagMs, 0.99));
        const auto longest = std::max_element(b.lagMs.begin(), b.lagMs.end());
        lagMax.push_back(longest == b.lagMs.end() ? 0.0 : *longest);
        if (longest != b.lagMs.end()) {
            const auto at = static_cast<std::size_t>(longest - b.lagMs.begin());
            char where[160];
            std::snprintf(where, sizeof where,
                          "run %d: p99 %.1f ms, max %.1f ms at +%.0f ms after Enter (%d records "
                          "loaded; end marker at +%.0f ms)",
                          run + 1, lagP99.back(), *longest, Seconds(b.enter, b.lagAt[at]) * 1000.0,
                          b.lagRecords[at], Seconds(b.enter, b.complete) * 1000.0);
            lagWhere.emplace_back(where);
        }
        double afterComplete = 0.0;
        for (std::size_t i = 0; i < b.lagMs.size(); ++i) {
            if (b.lagAt[i] >= b.complete) {
                afterComplete = std::max(afterComplete, b.lagMs[i]);
            }
        }
        lagMaxAfterComplete.push_back(afterComplete);
        allLag.insert(allLag.end(), b.lagMs.begin(), b.lagMs.end());
        lagSamples += b.lagMs.size();
        // One store of a setting, as EnterSymbol makes two (the symbol and the recent list)
        // before the request goes out; the same value again changes nothing.
        const TimePoint storeStart = Clock::now();
        settings.SetText(keys::kCurrentSymbol, symbol);
        settingStore.push_back(Seconds(storeStart, Clock::now()));
        if (history.GetCount() != records) {
            std::fprintf(stderr, "note: run %d loaded %d records, the warm-up %d\n", run,
                         history.GetCount(), records);
        }
    }

    // With every study drawn over the whole series: the grid colour changes, which repaints the
    // panes and computes nothing.
    std::vector<double> gridMs;
    int gridComputations = 0;
    for (int change = 0; change < 7; ++change) {
        const SGridChange grid =
            ChangeGridColor(frame, change % 2 == 0 ? MakeColorRef(0x80, 0x80, 0xFF) : 0xC0C0C0);
        gridMs.push_back(grid.ms);
        gridComputations += grid.computing ? 1 : 0;
        QApplication::processEvents();
    }

    // A full redraw with fifty trendlines on the chart against the same chart without them, in
    // alternating blocks so that the machine's drift falls on both alike.
    CChartCanvas& canvas = frame.ChartView()->Canvas();
    std::vector<double> redrawBare, redrawTrend;
    for (int block = 0; block < 5; ++block) {
        FullRedraws(canvas, 11, redrawBare);
        AddFiftyTrendlines(frame, history);
        FullRedraws(canvas, 11, redrawTrend);
        frame.Trendlines()->DeleteAll(false);
    }

    const double studyBytes =
        StudyBytesPerPoint(dynamic_cast<const CStudyPanes&>(*canvas.Studies()));
    const CChartHistRequest& series = history;
    const int seriesCount = series.GetCount();
    const double seriesMb = (static_cast<double>(series.GetCount()) * sizeof(sTICK) +
                             static_cast<double>(series.GetCapacity()) * sizeof(sTICK*)) /
                            (1024.0 * 1024.0);
    const int displayed = frame.ChartView()->Canvas().DrawManager().Displayed().Count();
    const double peakMb = static_cast<double>(StatusKb("VmHWM:")) / 1024.0;
    const double rssMb = static_cast<double>(StatusKb("VmRSS:")) / 1024.0;
    // Last: the daily chart replaces the tick chart.
    int dailyRecords = 0;
    const std::vector<double> daily = DailyLoads(frame, symbol, runs, dailyRecords);

    const double aMedian = Median(alone);
    const double bMedian = Median(first);
    const double lagP99All = Percentile(allLag, 0.99);
    const double lagMaxAll = *std::max_element(lagMax.begin(), lagMax.end());
    std::printf("chart load: %s %ld ticks into the main frame (offscreen), %d records, series "
                "memory %s\n",
                symbol.c_str(), ticks, records, memory.c_str());
    std::printf("  bare load (parse worker, no window)     %.3f s (median of %d)\n", Median(bare),
                runs);
    std::printf("  (a) Enter to end marker (load alone)    %.3f s (median of %d)\n", aMedian, runs);
    std::printf("  (b) Enter to first painted chart        %.3f s (median of %d)\n", bMedian, runs);
    std::printf("  runs (bare / a / b):");
    for (int run = 0; run < runs; ++run) {
        const auto i = static_cast<std::size_t>(run);
        std::printf(" %.2f/%.2f/%.2f", bare[i], alone[i], first[i]);
    }
    std::printf(" s\n");
    std::printf("  steps of (b), medians:\n");
    std::printf("    EnterSymbol() itself                %s\n", StepText(enterCall).c_str());
    std::printf("      one store of a setting (it makes two) %s, longest %.1f ms\n",
                StepText(settingStore).c_str(),
                *std::max_element(settingStore.begin(), settingStore.end()) * 1000.0);
    std::printf("    Enter to the first line on the view %s\n", StepText(toFirstLine).c_str());
    std::printf("    that line to the end marker         %s\n", StepText(receiving).c_str());
    std::printf("    end marker to the progress tick     %s (the tick comes every %d ms)\n",
                StepText(toTick).c_str(), CChartFormView::kProgressPeriodMs);
    std::printf("    tick to the start of the drawing    %s (ShowCompleteHistory)\n",
                StepText(tickToReplot).c_str());
    std::printf("    drawing the stack (replot)          %s\n", StepText(replotting).c_str());
    std::printf("    replot to painted                   %s\n", StepText(painting).c_str());
    std::printf("    first chart to every study drawn    %s (ten study panes, three averages "
                "and the bands, computed off the view's thread)\n",
                StepText(studiesDrawn).c_str());
    std::printf("    end marker to every study drawn     %s (the studies start at the end marker; "
                "runs:",
                StepText(markerToStudies).c_str());
    for (const double seconds : markerToStudies) {
        std::printf(" %.0f", seconds * 1000.0);
    }
    std::printf(" ms)\n");
    std::printf("  first chart to every study drawn: %.0f ms   (goal at most 250 ms)\n",
                Median(studiesDrawn) * 1000.0);
    std::printf("  the same for the process's first chart, every study column fresh memory: %.0f "
                "ms   (goal at most 250 ms; Enter to end marker %.0f ms, end marker to every "
                "study drawn %.0f ms)\n",
                Seconds(cold.painted, cold.studies) * 1000.0,
                Seconds(cold.enter, cold.complete) * 1000.0,
                Seconds(cold.complete, cold.studies) * 1000.0);
    std::printf("  full-history daily chart, %s since its first day (%d bars), every study: load "
                "to every study drawn %.0f ms (median of %d; the complete history is shown on the "
                "%d ms progress tick)\n",
                symbol.c_str(), dailyRecords, Median(daily) * 1000.0, runs,
                CChartFormView::kProgressPeriodMs);
    std::printf("  study memory: %.0f bytes per tick point for every study shown (their columns "
                "and the series' columns they read)\n",
                studyBytes);
    std::printf(
        "  event loop lag over (b) and its studies, %zu ticks of %d ms: p99 %.1f ms, max %.1f ms "
        "(max after the end marker %.1f ms)\n",
        lagSamples, kLagPeriodMs, lagP99All, lagMaxAll,
        *std::max_element(lagMaxAfterComplete.begin(), lagMaxAfterComplete.end()));
    for (const std::string& where : lagWhere) {
        std::printf("    %s\n", where.c_str());
    }
    std::printf("  series: %d records of %zu bytes, %.0f MB with its pointer array; the view "
                "copies %d displayed points\n",
                seriesCount, sizeof(sTICK), seriesMb, displayed);
    std::printf("  process peak RSS %.0f MB (VmHWM), RSS with the tick chart %.0f MB\n", peakMb,
                rssMb);
    std::printf("  ratio (b) / (a):   %.2fx (target at most 1.3x)\n", bMedian / aMedian);
    std::printf("  within (b): end marker to painted / Enter to end marker: +%.1f%% (median)\n",
                Median(ownOverhead) * 100.0);
    std::printf("  for reference, (b) / bare load: %.2fx\n", bMedian / Median(bare));
    std::printf("  longest lag:       %.1f ms (target at most 100 ms)\n", lagMaxAll);
    std::printf("  grid colour change to painted, every study shown: %.1f ms median, %.1f ms "
                "longest of %zu (target under 50 ms); study computations started: %d (target 0)\n",
                Median(gridMs), *std::max_element(gridMs.begin(), gridMs.end()), gridMs.size(),
                gridComputations);
    std::printf("  full redraw of the eleven panes: %.1f ms without trendlines, %.1f ms with 50; "
                "ratio %.2fx (target at most 1.1x)\n",
                Median(redrawBare), Median(redrawTrend), Median(redrawTrend) / Median(redrawBare));
    std::printf("  note: the machine is shared; the other load on it shows in every number\n");
    std::fflush(stdout);

    // The frame's connections go before portico stops.
    frame.close();
    QApplication::processEvents();
    return 0;
}

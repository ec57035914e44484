// Measures the study kernels over a long series against TA-Lib, the C library of indicators that
// trading software computes its studies with, in one process on the same random-walk bars:
//
//   TA-Lib        SMA(20), BBANDS(20, 2), RSI(14), MACD(12, 26, 9), STOCH(5, 3, 3), ADX(14),
//                 MFI(14) and OBV over every bar;
//   ours          the ten lower studies, the three moving averages and the bands with their
//                 default settings, one after the other and then split over two threads;
//   chart view    the same through one study set over the series' columns, as the chart view
//                 computes them after a load (two threads): into fresh columns, and into those
//                 of the set it replaces, as a new series replacing one is computed.
//
// Each side allocates its outputs on every run and drops them after the study, as the chart view
// does for the first series it shows: every 40 MB column is a fresh mapping whose page faults are
// part of the time (the chart view's set makes its fresh columns resident in one request as the
// view does; the last line writes over the columns of the run before instead). Medians of
// the runs are printed, with the ratios and their targets (at most 1.0, stretch 0.5, goal 0.4) and
// the peak memory of the process.
//
//   study_bench [--runs R] [--bars N]

#include "bench_support.h"
#include "core/data_types.h"
#include "platform/large_pages.h"
#include "studies/study_kernels.h"
#include "studies/study_set.h"
#include "studies/study_settings.h"

#if SKYCHART_HAVE_TALIB
#include <ta_common.h>
#include <ta_func.h>
#endif

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <numeric>
#include <span>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using study_kernels::Column;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct SBars {
    std::vector<double> open, high, low, close, volume;

    SBarColumns Columns() const { return {high, low, close, volume}; }
    int Count() const { return static_cast<int>(close.size()); }
};

// A geometric random walk from 100 (so that prices stay positive however long the series), with
// wicks beyond the body on both sides and a positive whole volume.
SBars MakeBars(std::size_t count) {
    SBars bars;
    for (auto* column : {&bars.open, &bars.high, &bars.low, &bars.close, &bars.volume}) {
        column->reserve(count);
    }
    std::uint64_t state = 0x2545F4914F6CDD1DULL;
    const auto uniform = [&state] {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return static_cast<double>(state >> 11) / 9007199254740992.0;
    };
    double price = 100.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double open = price;
        price *= std::exp((uniform() - 0.5) * 0.004);
        bars.open.push_back(open);
        bars.close.push_back(price);
        bars.high.push_back(std::max(open, price) * (1.0 + uniform() * 0.002));
        bars.low.push_back(std::min(open, price) * (1.0 - uniform() * 0.002));
        bars.volume.push_back(100.0 + std::floor(uniform() * 9900.0));
    }
    return bars;
}

// One study of a side: it computes its outputs, drops them, and returns a value of them so that
// the work is used.
struct SStudy {
    std::string name;
    std::function<double()> compute;
};

double Newest(const Column& column) {
    return column.empty() ? 0.0 : column.back();
}

// Our side with the default settings of the studies.
std::vector<SStudy> OurStudies(const SBars& bars) {
    namespace k = study_kernels;
    const SStudySettings lower;
    const SUpperStudySettings upper;
    const std::span<const double> close = bars.close;
    const SBarColumns columns = bars.Columns();
    std::vector<SStudy> studies;
    for (int number = 1; number <= 3; ++number) {
        const int period = upper.Period(number);
        studies.push_back({"MA" + std::to_string(period), [=, exponential = upper.exponential] {
                               return Newest(k::StudyAverage(close, period, exponential));
                           }});
    }
    studies.push_back(
        {"bands", [=, period = upper.bandsPeriod, deviations = upper.bandsDeviations] {
             const k::SBands bands = k::Bollinger(close, period, deviations);
             return Newest(bands.middle) + Newest(bands.width);
         }});
    studies.push_back(
        {"RSI", [=, period = lower.Period(kStudyRSI)] { return Newest(k::Rsi(close, period)); }});
    studies.push_back({"MOM", [=, period = lower.Period(kStudyMomentum)] {
                           return Newest(k::Momentum(close, period));
                       }});
    studies.push_back({"ROC", [=, period = lower.Period(kStudyRateOfChange)] {
                           return Newest(k::RateOfChange(close, period));
                       }});
    studies.push_back({"OBV", [=, period = lower.Period(kStudyOBV)] {
                           return Newest(k::OnBalanceVolume(columns, period));
                       }});
    studies.push_back({"MACD", [=, shortPeriod = lower.macdShort, longPeriod = lower.macdLong,
                                signal = lower.Period(kStudyMACD)] {
                           return Newest(k::Macd(close, shortPeriod, longPeriod, signal).signal);
                       }});
    studies.push_back({"STO", [=, period = lower.Period(kStudyStochastics), fast = lower.stoFast] {
                           return Newest(k::Stochastics(columns, period, fast).d);
                       }});
    studies.push_back({"volume", [=, period = lower.Period(kStudyVolume),
                                  allData = lower.VolumeAverageAllData()] {
                           return k::VolumeAverage(columns.volume, period, allData);
                       }});
    studies.push_back({"MF", [=, period = lower.Period(kStudyMoneyFlow)] {
                           return Newest(k::MoneyFlow(columns, period).positive);
                       }});
    studies.push_back({"MFI", [=, period = lower.Period(kStudyMFI)] {
                           return Newest(k::MoneyFlowIndex(columns, period));
                       }});
    studies.push_back({"ADX", [=, period = lower.Period(kStudyADX)] {
                           return Newest(k::Adx(columns, period).adx);
                       }});
    return studies;
}

#if SKYCHART_HAVE_TALIB

// An output column for TA-Lib, which writes every entry it reports.
std::unique_ptr<double[]> Output(int count) {
    return std::unique_ptr<double[]>(new double[static_cast<std::size_t>(count)]);
}

// The newest value of a TA-Lib output, after checking its return code.
double Checked(const char* name, TA_RetCode code, int written, const double* values) {
    if (code != TA_SUCCESS) {
        std::fprintf(stderr, "study_bench: TA-Lib %s failed with code %d\n", name,
                     static_cast<int>(code));
        std::exit(1);
    }
    return written > 0 ? values[written - 1] : 0.0;
}

std::vector<SStudy> TaLibStudies(const SBars& bars) {
    const int n = bars.Count();
    const int last = n - 1;
    const double* high = bars.high.data();
    const double* low = bars.low.data();
    const double* close = bars.close.data();
    const double* volume = bars.volume.data();
    std::vector<SStudy> studies;
    studies.push_back({"SMA", [=] {
                           int begin = 0, written = 0;
                           const auto out = Output(n);
                           const TA_RetCode code =
                               TA_SMA(0, last, close, 20, &begin, &written, out.get());
                           return Checked("SMA", code, written, out.get());
                       }});
    studies.push_back({"BBANDS", [=] {
                           int begin = 0, written = 0;
                           const auto upper = Output(n), middle = Output(n), lower = Output(n);
                           const TA_RetCode code =
                               TA_BBANDS(0, last, close, 20, 2.0, 2.0, TA_MAType_SMA, &begin,
                                         &written, upper.get(), middle.get(), lower.get());
                           return Checked("BBANDS", code, written, upper.get()) +
                                  Checked("BBANDS", code, written, lower.get());
                       }});
    studies.push_back({"RSI", [=] {
                           int begin = 0, written = 0;
                           const auto out = Output(n);
                           const TA_RetCode code =
                               TA_RSI(0, last, close, 14, &begin, &written, out.get());
                           return Checked("RSI", code, written, out.get());
                       }});
    studies.push_back({"MACD", [=] {
                           int begin = 0, written = 0;
                           const auto macd = Output(n), signal = Output(n), histogram = Output(n);
                           const TA_RetCode code =
                               TA_MACD(0, last, close, 12, 26, 9, &begin, &written, macd.get(),
                                       signal.get(), histogram.get());
                           return Checked("MACD", code, written, histogram.get());
                       }});
    studies.push_back({"STOCH", [=] {
                           int begin = 0, written = 0;
                           const auto k = Output(n), d = Output(n);
                           const TA_RetCode code =
                               TA_STOCH(0, last, high, low, close, 5, 3, TA_MAType_SMA, 3,
                                        TA_MAType_SMA, &begin, &written, k.get(), d.get());
                           return Checked("STOCH", code, written, d.get());
                       }});
    studies.push_back({"ADX", [=] {
                           int begin = 0, written = 0;
                           const auto out = Output(n);
                           const TA_RetCode code =
                               TA_ADX(0, last, high, low, close, 14, &begin, &written, out.get());
                           return Checked("ADX", code, written, out.get());
                       }});
    studies.push_back({"MFI", [=] {
                           int begin = 0, written = 0;
                           const auto out = Output(n);
                           const TA_RetCode code = TA_MFI(0, last, high, low, close, volume, 14,
                                                          &begin, &written, out.get());
                           return Checked("MFI", code, written, out.get());
                       }});
    studies.push_back({"OBV", [=] {
                           int begin = 0, written = 0;
                           const auto out = Output(n);
                           const TA_RetCode code =
                               TA_OBV(0, last, close, volume, &begin, &written, out.get());
                           return Checked("OBV", code, written, out.get());
                       }});
    return studies;
}

// SMA(20) at the newest bar from both sides, to show that they read the same bars the same way.
void PrintCheck(const SBars& bars) {
    const int last = bars.Count() - 1;
    const auto out = Output(bars.Count());
    int begin = 0, written = 0;
    const TA_RetCode code = TA_SMA(0, last, bars.close.data(), 20, &begin, &written, out.get());
    const double theirs = Checked("SMA", code, written, out.get());
    const double ours = Newest(study_kernels::SimpleAverage(bars.close, 20));
    std::printf("  check: SMA(20) at the newest bar, ours %.6f, TA-Lib %.6f\n", ours, theirs);
}

#endif

// The time of each study of a side in one run, one after the other.
struct SSideTiming {
    std::vector<double> total;
    std::vector<std::vector<double>> each; // by study, one entry per run

    void Run(const std::vector<SStudy>& studies, double& sink) {
        each.resize(studies.size());
        const auto start = Clock::now();
        for (std::size_t i = 0; i < studies.size(); ++i) {
            const auto studyStart = Clock::now();
            sink += studies[i].compute();
            each[i].push_back(SecondsSince(studyStart));
        }
        total.push_back(SecondsSince(start));
    }
    double Each(std::size_t i) const { return Median(each[i]); }
};

// Splits the studies over two threads, the costliest first into the lighter half.
std::array<std::vector<std::size_t>, 2> Split(const SSideTiming& timing) {
    std::vector<std::size_t> order(timing.each.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return timing.Each(a) > timing.Each(b); });
    std::array<std::vector<std::size_t>, 2> halves;
    std::array<double, 2> load{0.0, 0.0};
    for (const std::size_t i : order) {
        const int half = load[0] <= load[1] ? 0 : 1;
        halves[half].push_back(i);
        load[half] += timing.Each(i);
    }
    return halves;
}

double RunHalf(const std::vector<SStudy>& studies, const std::vector<std::size_t>& half) {
    double sink = 0.0;
    for (const std::size_t i : half) {
        sink += studies[i].compute();
    }
    return sink;
}

void PrintEach(const char* side, const std::vector<SStudy>& studies, const SSideTiming& timing) {
    std::printf("  %s, ms each:", side);
    for (std::size_t i = 0; i < studies.size(); ++i) {
        std::printf(" %s %.1f", studies[i].name.c_str(), timing.Each(i) * 1e3);
    }
    std::printf("\n");
}

} // namespace

int main(int argc, char** argv) {
    int runs = 5;
    std::size_t count = 5'000'000;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--runs") == 0) {
            runs = std::max(1, std::atoi(argv[i + 1]));
        } else if (std::strcmp(argv[i], "--bars") == 0) {
            count = static_cast<std::size_t>(std::max(2, std::atoi(argv[i + 1])));
        }
    }
    const SBars bars = MakeBars(count);
    const std::vector<SStudy> ours = OurStudies(bars);
    double sink = 0.0;

    std::printf("study kernels: %zu random-walk bars, %d runs (medians of wall time); keep the "
                "machine quiet while this runs\n",
                count, runs);
#if SKYCHART_HAVE_TALIB
    if (TA_Initialize() != TA_SUCCESS) {
        std::fprintf(stderr, "study_bench: TA_Initialize failed\n");
        return 1;
    }
    const std::vector<SStudy> theirs = TaLibStudies(bars);
#else
    const std::vector<SStudy> theirs;
    std::printf("  TA-Lib is not built into this benchmark, so only our side runs: %s.\n",
                SKYCHART_TALIB_MISSING);
#endif

    // Both sides once to warm up, then interleaved runs.
    SSideTiming talib, sequential;
    for (const SStudy& study : theirs) {
        sink += study.compute();
    }
    for (const SStudy& study : ours) {
        sink += study.compute();
    }
    for (int run = 0; run < runs; ++run) {
        if (!theirs.empty()) {
            talib.Run(theirs, sink);
        }
        sequential.Run(ours, sink);
    }

    const auto halves = Split(sequential);
    std::vector<double> twoThreads;
    for (int run = 0; run < runs; ++run) {
        const auto start = Clock::now();
        auto other = std::async(std::launch::async, RunHalf, std::cref(ours), std::cref(halves[1]));
        sink += RunHalf(ours, halves[0]);
        sink += other.get();
        twoThreads.push_back(SecondsSince(start));
    }

    // As the chart view computes them after a load: one study set (the three averages, the bands
    // and ten panes, one of each study) over the series' columns, on the view's two threads, its
    // fresh columns prepared as the view's are.
    SUpperStudySettings upper;
    upper.masShow = true;
    upper.bandsShow = true;
    SStudySettings lower;
    lower.paneTypes.clear();
    for (int type = 0; type < kStudyTypeCount; ++type) {
        lower.paneTypes.push_back(type);
    }
    const auto inputs =
        std::make_shared<CStudyInputs>(kDays, bars.high, bars.low, bars.close, bars.volume);
    std::vector<double> viewSet;
    for (int run = 0; run < runs; ++run) {
        const auto start = Clock::now();
        CColumnStore fresh(PopulatePages);
        CStudySet set(inputs, upper, lower, {kDays, 0});
        set.Compute(2, &fresh);
        viewSet.push_back(SecondsSince(start));
        sink += set.Pane(kStudyADX).LineAt(0, bars.Count() - 1);
    }
    // As the chart view computes a new series that replaced one: into the columns of the set
    // before (the view keeps them from the old series until the new one is computed).
    CColumnStore store(PopulatePages);
    auto previous = std::make_shared<CStudySet>(inputs, upper, lower, SStudyContext{kDays, 0});
    previous->Compute(2);
    std::vector<double> viewReuse;
    for (int run = 0; run < runs; ++run) {
        previous->GiveRoom(store);
        previous.reset();
        const auto start = Clock::now();
        auto set = std::make_shared<CStudySet>(inputs, upper, lower, SStudyContext{kDays, 0});
        set->Compute(2, &store);
        viewReuse.push_back(SecondsSince(start));
        store.Clear();
        sink += set->Pane(kStudyADX).LineAt(0, bars.Count() - 1);
        previous = std::move(set);
    }

    const auto row = [](const char* what, double seconds) {
        std::printf("  %-83s %7.3f s\n", what, seconds);
    };
    if (!theirs.empty()) {
        row("TA-Lib: SMA(20) BBANDS(20,2) RSI(14) MACD(12,26,9) STOCH(5,3,3) ADX(14) MFI(14) OBV",
            Median(talib.total));
    }
    row("ours, sequential: ten lower studies, three moving averages, bands",
        Median(sequential.total));
    row("ours, two threads", Median(twoThreads));
    row("ours as the chart view computes them (one study set, two threads)", Median(viewSet));
    row("  the same into the columns of the series before (a new series replacing one)",
        Median(viewReuse));
    for (int half = 0; half < 2; ++half) {
        std::printf("    thread %d:", half + 1);
        for (const std::size_t i : halves[half]) {
            std::printf(" %s", ours[i].name.c_str());
        }
        std::printf("\n");
    }
    if (!theirs.empty()) {
        std::printf("  ours sequential / TA-Lib   %5.2f   (target <= 1.0, stretch <= 0.5)\n",
                    Median(sequential.total) / Median(talib.total));
        std::printf("  ours two threads / TA-Lib  %5.2f   (target <= 1.0, stretch <= 0.5)\n",
                    Median(twoThreads) / Median(talib.total));
        std::printf("  chart view's set / TA-Lib  %5.2f   (goal at most 0.4x)\n",
                    Median(viewSet) / Median(talib.total));
        std::printf("  the set replacing one / TA-Lib  %5.2f   (goal at most 0.4x)\n",
                    Median(viewReuse) / Median(talib.total));
        PrintEach("TA-Lib", theirs, talib);
    }
    PrintEach("ours", ours, sequential);
#if SKYCHART_HAVE_TALIB
    PrintCheck(bars);
    TA_Shutdown();
#endif
    std::printf("  peak RSS %.0f MB (bars %.0f MB)   (checksum %g)\n",
                static_cast<double>(StatusKb("VmHWM")) / 1024.0,
                static_cast<double>(5 * count * sizeof(double)) / 1048576.0, sink);
    return 0;
}

// Measures drawing the chart view's stack of eleven panes against one stock QCustomPlot
// candlestick replot (QCPFinancial) of the same bars, in one process on the offscreen platform:
//
//   full redraw   every pane's data, ranges, colours and labels handed over again and the stack
//                 drawn once (pane 0: 15,360 candles and three lines at 1200 x 700; panes 1-10:
//                 two or three lines each, level lines, and in two of them a 15,360-bar
//                 histogram, at 1200 x 200);
//   scroll        the same, with every span moved on by one bar;
//   crosshair     the crosshair moved on by one bar in every pane (with the value line and its
//                 tag in the price pane) and the events that this posts handled, painting
//                 included: what a mouse move costs;
//   paint         the widget painted from its buffers, as after any drawing.
//
// Runs are interleaved and medians printed, with the ratios and their targets (at most 1.0,
// stretch 0.5). The stock candles are measured as they come (antialiased) and, for reference,
// with antialiasing off.
//
//   chart_redraw_bench [--runs R] [--bars N] [--save FILE.png]

#include "bench_support.h"
#include "chart/drawn_item.h"
#include "chart/ui/chart_stack_widget.h"

#include <qcustomplot.h>

#include <QApplication>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using EAxis = CChart2D::EAxis;

constexpr int kWidth = 1200;
constexpr int kPriceHeight = 700;
constexpr int kStudyHeight = 200;
constexpr int kStudyPanes = 10;

// Synthetic bars and study lines, one element more than displayed so that the view can scroll
// by one bar.
struct SData {
    std::vector<double> open, high, low, close, volume;
    std::vector<std::vector<double>> priceLines; // three moving averages
    std::array<std::vector<std::vector<double>>, kStudyPanes> studyLines;
    std::array<std::vector<double>, kStudyPanes> histograms; // empty where a pane has none
};

std::vector<double> MovingAverage(const std::vector<double>& values, std::size_t period) {
    std::vector<double> result(values.size(), CChart2D::HoleValue());
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        sum += values[i];
        if (i >= period) {
            sum -= values[i - period];
        }
        if (i + 1 >= period) {
            result[i] = sum / static_cast<double>(period);
        }
    }
    return result;
}

SData MakeData(std::size_t count) {
    SData data;
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
        price = std::max(1.0, price + (uniform() - 0.5) * 0.8);
        data.open.push_back(open);
        data.close.push_back(price);
        data.high.push_back(std::max(open, price) + uniform() * 0.4);
        data.low.push_back(std::min(open, price) - uniform() * 0.4);
        data.volume.push_back(1000.0 + std::floor(uniform() * 9000.0));
    }
    for (const std::size_t period : {10u, 20u, 50u}) {
        data.priceLines.push_back(MovingAverage(data.close, period));
    }
    for (int pane = 0; pane < kStudyPanes; ++pane) {
        const int lines = pane % 3 == 0 ? 3 : 2;
        for (int line = 0; line < lines; ++line) {
            std::vector<double> values(count);
            for (std::size_t i = 0; i < count; ++i) {
                values[i] =
                    50.0 + 40.0 * std::sin(0.002 * static_cast<double>(i) * (line + 1) + pane) *
                               std::cos(0.013 * static_cast<double>(i));
            }
            data.studyLines[pane].push_back(std::move(values));
        }
    }
    data.histograms[4] = std::vector<double>(count); // MACD-like, around zero
    for (std::size_t i = 0; i < count; ++i) {
        data.histograms[4][i] = 30.0 * std::sin(0.01 * static_cast<double>(i));
    }
    data.histograms[6] = data.volume; // volume
    return data;
}

std::span<const double> Window(const std::vector<double>& values, std::size_t first,
                               std::size_t count) {
    return std::span<const double>(values).subspan(first, count);
}

// Hands every pane its data for the bars first .. first + count - 1, the way the view does on a
// redraw, and draws the stack once.
void FillStack(CChartStackWidget& stack, const SData& data, std::size_t first, std::size_t count,
               std::vector<std::unique_ptr<CDrawnItem>>& levels) {
    stack.HoldDrawing();
    std::vector<CChart2D::SXLabel> labels;
    const std::size_t step = std::max<std::size_t>(count / 12, 1);
    for (std::size_t i = 0; i < count; ++i) {
        if ((first + i) % step == 0) {
            char text[16];
            std::snprintf(text, sizeof text, "%02zu:%02zu", (first + i) / 60 % 24,
                          (first + i) % 60);
            labels.push_back({static_cast<double>(i), text});
        }
    }
    const double right = static_cast<double>(count) - 0.5;

    CChart2D& price = stack.Pane(0);
    const auto high = Window(data.high, first, count);
    const auto low = Window(data.low, first, count);
    price.SetBackgroundColor(0xFFFFFF);
    price.SetGridColor(0xC0C0C0);
    price.SetXRange(-0.5, right);
    price.SetAxisRange(EAxis::Y, *std::min_element(low.begin(), low.end()),
                       *std::max_element(high.begin(), high.end()));
    price.SetXLabels(labels);
    price.SetLabelLine("O 100.00 H 101.00 L 99.00 C 100.50 V 12345", 0x000000);
    price.SetPriceBarStyle(0,
                           {CChart2D::EPriceBarKind::Candles, MakeColorRef(0, 160, 0),
                            MakeColorRef(200, 0, 0), 0, CChart2D::ECandleStyle::Narrow, EAxis::Y});
    price.SetPriceBars(
        0, {Window(data.open, first, count), high, low, Window(data.close, first, count)}, 0.0);
    const ColorRef lineColors[3] = {MakeColorRef(0, 0, 255), MakeColorRef(255, 128, 0),
                                    MakeColorRef(128, 0, 128)};
    for (int line = 0; line < 3; ++line) {
        price.SetLineStyle(1 + line, {lineColors[line], 1, CChart2D::kSolid, EAxis::Y});
        price.SetLine(1 + line, Window(data.priceLines[line], first, count), 0.0);
    }

    for (int pane = 0; pane < kStudyPanes; ++pane) {
        CChart2D& study = stack.Pane(pane + 1);
        study.SetBackgroundColor(0xFFFFFF);
        study.SetGridColor(0xC0C0C0);
        study.SetXRange(-0.5, right);
        study.SetLabelPrecision(EAxis::Y, 0);
        study.SetXLabels(labels);
        study.SetLabelLine("RSI, lookback period - 21, levels - 70, 30", 0x000000);
        if (!data.histograms[pane].empty()) {
            const auto values = Window(data.histograms[pane], first, count);
            const auto [least, most] = std::minmax_element(values.begin(), values.end());
            study.SetAxisRange(EAxis::Y, std::min(*least, 0.0), *most);
            study.SetHistogramStyle(0, {MakeColorRef(70, 130, 180), 0.0, 1, EAxis::Y});
            study.SetHistogram(0, values, 0.0);
        } else {
            study.SetAxisRange(EAxis::Y, 0.0, 100.0);
        }
        int id = 1;
        for (const std::vector<double>& line : data.studyLines[pane]) {
            study.SetLineStyle(id, {lineColors[id % 3], 1, CChart2D::kSolid, EAxis::Y});
            study.SetLine(id, Window(line, first, count), 0.0);
            ++id;
        }
        const SPaneView view{static_cast<int>(first), static_cast<int>(count),
                             static_cast<int>(count)};
        levels[2 * pane]->Paint(study, view);
        levels[2 * pane + 1]->Paint(study, view);
    }
    stack.ReleaseDrawing();
}

double ThreadCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// Wall time and this thread's CPU time of `work`, in milliseconds. The CPU time is what the
// drawing itself costs; on a machine shared with other work the wall time also holds the waits.
struct STiming {
    std::vector<double> wall, cpu;
    void Time(const std::function<void()>& work) {
        const double cpuStart = ThreadCpuMs();
        const auto start = Clock::now();
        work();
        wall.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        cpu.push_back(ThreadCpuMs() - cpuStart);
    }
};

} // namespace

int main(int argc, char** argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    int runs = 15;
    std::size_t bars = 15360;
    std::string save;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--runs") == 0) {
            runs = std::max(1, std::atoi(argv[i + 1]));
        } else if (std::strcmp(argv[i], "--bars") == 0) {
            bars = static_cast<std::size_t>(std::max(2, std::atoi(argv[i + 1])));
        } else if (std::strcmp(argv[i], "--save") == 0) {
            save = argv[i + 1];
        }
    }
    QApplication application(argc, argv);
    const SData data = MakeData(bars + 1);

    // The stock candlestick chart of the same bars.
    QCustomPlot stock;
    stock.resize(kWidth, kPriceHeight);
    QVector<double> keys, open, high, low, close;
    for (std::size_t i = 0; i < bars; ++i) {
        keys.push_back(static_cast<double>(i));
        open.push_back(data.open[i]);
        high.push_back(data.high[i]);
        low.push_back(data.low[i]);
        close.push_back(data.close[i]);
    }
    auto* candles = new QCPFinancial(stock.xAxis, stock.yAxis);
    candles->setChartStyle(QCPFinancial::csCandlestick);
    candles->setData(keys, open, high, low, close, true);
    candles->setWidth(0.7);
    candles->setTwoColored(true);
    stock.rescaleAxes();
    stock.show();

    CChartStackWidget stack;
    stack.resize(kWidth, kPriceHeight + kStudyPanes * kStudyHeight);
    stack.SetPaneGeometry(0, 0, kPriceHeight);
    stack.SetPaneVisible(0, true);
    for (int pane = 1; pane <= kStudyPanes; ++pane) {
        stack.SetPaneGeometry(pane, kPriceHeight + (pane - 1) * kStudyHeight, kStudyHeight);
        stack.SetPaneVisible(pane, true);
    }
    std::vector<std::unique_ptr<CDrawnItem>> levels;
    for (int pane = 0; pane < kStudyPanes; ++pane) {
        levels.push_back(std::make_unique<CLevelLineItem>(
            10, 70.0, CChart2D::SLineStyle{0xD8BFD8, 1, CChart2D::kDash}));
        levels.push_back(std::make_unique<CLevelLineItem>(
            11, 30.0, CChart2D::SLineStyle{0x8CB4D2, 1, CChart2D::kDash}));
    }
    stack.show();
    QApplication::processEvents();

    // Warm up caches (labels, buffers) on both sides.
    stock.replot();
    FillStack(stack, data, 0, bars, levels);
    FillStack(stack, data, 1, bars, levels);
    QApplication::processEvents();

    STiming stockTime, plainTime, fullTime, scrollTime, crosshairTime, paintTime;
    std::size_t first = 0;
    for (int run = 0; run < runs; ++run) {
        candles->setAntialiased(true);
        stockTime.Time([&] { stock.replot(); });
        candles->setAntialiased(false);
        plainTime.Time([&] { stock.replot(); });
        fullTime.Time([&] { FillStack(stack, data, first, bars, levels); });
        first = 1 - first;
        scrollTime.Time([&] { FillStack(stack, data, first, bars, levels); });
        QApplication::processEvents();
        crosshairTime.Time([&] {
            const double slot = static_cast<double>(bars / 2 + static_cast<std::size_t>(run));
            for (int pane = 0; pane <= kStudyPanes; ++pane) {
                stack.Pane(pane).SetCrosshair({true, slot, pane == 0, 100.0, EAxis::Y, "100.00"});
            }
            // Whatever the change posted, up to the widget's painting.
            QApplication::processEvents();
            QApplication::processEvents();
        });
        paintTime.Time([&] { stack.repaint(); });
    }
    if (!save.empty()) {
        stack.RenderImage().save(QString::fromStdString(save));
    }

    std::printf("chart redraw: %zu bars, %d runs (medians); pane 0 %dx%d, panes 1-%d %dx%d\n", bars,
                runs, kWidth, kPriceHeight, kStudyPanes, kWidth, kStudyHeight);
    std::printf("                                              wall ms    cpu ms\n");
    const auto row = [](const char* what, const STiming& timing) {
        std::printf("  %-42s %8.2f  %8.2f\n", what, Median(timing.wall), Median(timing.cpu));
    };
    row("stock QCPFinancial candlestick replot", stockTime);
    row("(stock candles, antialiasing off)", plainTime);
    row("eleven-pane stack, full redraw", fullTime);
    row("eleven-pane stack, scroll by one bar", scrollTime);
    row("crosshair moved in every pane, painted", crosshairTime);
    row("stack painted from its buffers", paintTime);
    const auto ratio = [](const char* what, const STiming& timing, const STiming& base) {
        std::printf("  %-30s wall %5.2f  cpu %5.2f   (target <= 1.0, stretch <= 0.5)\n", what,
                    Median(timing.wall) / Median(base.wall), Median(timing.cpu) / Median(base.cpu));
    };
    ratio("full redraw / stock candles", fullTime, stockTime);
    ratio("scroll / stock candles", scrollTime, stockTime);
    std::printf("  (full redraw / stock candles without antialiasing: cpu %5.2f)\n",
                Median(fullTime.cpu) / Median(plainTime.cpu));
    return 0;
}

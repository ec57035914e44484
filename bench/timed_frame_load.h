#pragma once

// The main frame as the load benchmarks time it: the moments a load passes through (Enter, the
// first line on the view's thread, the end marker, the progress tick, the drawing and painting
// of the pane stack, every study drawn) and a load through the frame's symbol box.

#include "app/ui/main_frame.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_stack_widget.h"
#include "history/chart_hist_request.h"

#include <QEvent>
#include <QEventLoop>
#include <QObject>
#include <QScrollBar>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;
// The period of the timer that measures how late the event loop runs, in milliseconds.
inline constexpr int kLagPeriodMs = 10;

inline double Seconds(TimePoint from, TimePoint to) {
    return std::chrono::duration<double>(to - from).count();
}

// The main frame, noting when the first history line passed back to the view's thread (the
// records stay on the parse worker) and the end marker reach it.
class CTimedFrame : public CMainFrame {
public:
    CTimedFrame(IPrompt& prompt, CSettings& settings, CChartHistRequest& shown,
                std::shared_ptr<CConfigWriterMux> writer)
        : CMainFrame(prompt, settings, shown, std::move(writer)), history(shown) {}

    void OnHistoryLine(const std::string& line) override {
        if (!firstLine) {
            firstLine = Clock::now();
        }
        CMainFrame::OnHistoryLine(line);
        MarkIfComplete();
    }

    // Notes the moment the series is first seen complete. The parse worker completes it before
    // the line that carries the end marker reaches this thread, so a progress tick may show the
    // complete chart before that line: the stack's watch asks here too.
    void MarkIfComplete() {
        if (!complete && history.IsHistoryComplete()) {
            complete = Clock::now();
            if (onComplete) {
                onComplete();
            }
        }
    }

    void ResetMarks() {
        firstLine.reset();
        complete.reset();
    }

    CChartHistRequest& history; // the series the frame shows
    std::optional<TimePoint> firstLine;
    std::optional<TimePoint> complete;
    std::function<void()> onComplete;
};

// The moments of one load through the frame.
struct SFrameRun {
    TimePoint enter;
    TimePoint enterReturned;
    TimePoint firstLine;
    TimePoint complete;
    TimePoint tick;     // the progress tick that shows the complete series began
    TimePoint replot;   // the stack's drawing of it started ...
    TimePoint replayed; // ... and ended
    TimePoint painted;  // the stack's buffer painted onto the widget
    TimePoint studies;  // every study computed and drawn
    std::vector<double> lagMs;
    std::vector<TimePoint> lagAt;
    std::vector<int> lagRecords; // records in the series at each lag tick
};

// Watches the pane stack: the progress tick, the replot and the paint that follow the end
// marker.
class CStackWatch : public QObject {
public:
    CStackWatch(CTimedFrame& frame, int expected) : m_frame(frame), m_expected(expected) {
        CChartCanvas& canvas = frame.ChartView()->Canvas();
        m_stack = &canvas.Stack();
        m_stack->installEventFilter(this);
        connect(canvas.ScrollBar(), &QScrollBar::rangeChanged, this, [this] {
            m_frame.MarkIfComplete();
            if (Shows() && !m_tick) {
                m_tick = Clock::now();
            }
        });
        // Only a replot after the tick draws the complete series: studies that finish before
        // the tick redraw the empty chart.
        connect(m_stack, &QCustomPlot::beforeReplot, this, [this] {
            if (m_tick && !m_replot) {
                m_replot = Clock::now();
            }
        });
        connect(m_stack, &QCustomPlot::afterReplot, this, [this] {
            if (m_replot && !m_replotted) {
                m_replotted = Clock::now();
            }
        });
    }
    ~CStackWatch() override { m_stack->removeEventFilter(this); }

    void Reset() {
        m_tick.reset();
        m_replot.reset();
        m_replotted.reset();
        m_painted.reset();
    }
    std::function<void()> onPainted;

    std::optional<TimePoint> m_tick, m_replot, m_replotted, m_painted;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == m_stack && event->type() == QEvent::Paint && m_replotted && !m_painted) {
            // Painted here so that the time taken includes the painting itself.
            static_cast<QObject*>(m_stack)->event(event);
            m_painted = Clock::now();
            if (onPainted) {
                onPainted();
            }
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    bool Shows() const {
        // An expected count of 0 takes any complete series (the warm-up). While the market
        // trades, a later answer may hold a few points more or fewer than the warm-up's.
        return m_frame.complete &&
               (m_expected <= 0 ||
                std::abs(m_frame.history.GetCount() - m_expected) <= 1 + m_expected / 1000);
    }

    CTimedFrame& m_frame;
    int m_expected;
    CChartStackWidget* m_stack = nullptr;
};

// Runs the event loop until `quit` is called; a run that takes too long ends the benchmark.
void RunUntil(QEventLoop& loop, const char* what);
// Types `symbol` into the frame's symbol box, as a trader does before pressing Enter.
void EnterSymbolInBox(CMainFrame& frame, const std::string& symbol);
// Runs the event loop until the studies of the chart are computed and drawn.
void WaitForStudies(CMainFrame& frame);
// One load through the frame. With `toPaint`, runs until the first painting of the complete
// series and on until every study is drawn, recording the event loop's lag; otherwise until the
// end marker, then lets the chart and its studies finish untimed.
SFrameRun FrameLoad(CTimedFrame& frame, CStackWatch& watch, const std::string& symbol,
                    bool toPaint);

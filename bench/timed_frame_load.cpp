#include "timed_frame_load.h"

#include <QApplication>
#include <QLineEdit>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr auto kRunTimeout = std::chrono::minutes(5);

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "chart_load_bench: %s\n", what.c_str());
    std::exit(1);
}

} // namespace

void RunUntil(QEventLoop& loop, const char* what) {
    QTimer guard;
    guard.setSingleShot(true);
    bool timedOut = false;
    QObject::connect(&guard, &QTimer::timeout, &loop, [&] {
        timedOut = true;
        loop.quit();
    });
    guard.start(std::chrono::duration_cast<std::chrono::milliseconds>(kRunTimeout));
    loop.exec();
    if (timedOut) {
        Fail(std::string("timed out waiting for ") + what);
    }
}

void EnterSymbolInBox(CMainFrame& frame, const std::string& symbol) {
    QLineEdit* edit = frame.SymbolCombo()->lineEdit();
    edit->setFocus();
    edit->setText(QString::fromStdString(symbol));
}

void WaitForStudies(CMainFrame& frame) {
    CChartCanvas& canvas = frame.ChartView()->Canvas();
    QEventLoop studies;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &studies, [&] {
        if (canvas.Studies() == nullptr || !canvas.Studies()->Computing()) {
            studies.quit();
        }
    });
    poll.start(2);
    RunUntil(studies, "the studies");
}

SFrameRun FrameLoad(CTimedFrame& frame, CStackWatch& watch, const std::string& symbol,
                    bool toPaint) {
    // The previous series goes first, untimed, so that every run starts from an empty chart.
    frame.history.Clear();
    QApplication::processEvents();
    frame.ResetMarks();
    watch.Reset();

    SFrameRun run;
    QEventLoop loop;
    QTimer lag;
    lag.setTimerType(Qt::PreciseTimer);
    lag.setInterval(kLagPeriodMs);
    TimePoint lastLagTick;
    QObject::connect(&lag, &QTimer::timeout, &loop, [&] {
        const TimePoint now = Clock::now();
        const double late = Seconds(lastLagTick, now) * 1000.0 - kLagPeriodMs;
        run.lagMs.push_back(std::max(late, 0.0));
        run.lagAt.push_back(now);
        run.lagRecords.push_back(frame.history.GetCount());
        lastLagTick = now;
    });
    if (toPaint) {
        watch.onPainted = [&] { loop.quit(); };
        frame.onComplete = nullptr;
    } else {
        watch.onPainted = nullptr;
        frame.onComplete = [&] { loop.quit(); };
    }

    EnterSymbolInBox(frame, symbol);
    if (toPaint) {
        lag.start();
        lastLagTick = Clock::now();
    }
    run.enter = Clock::now();
    if (!frame.EnterSymbol()) {
        Fail("Enter in the symbol box loaded nothing");
    }
    run.enterReturned = Clock::now();
    RunUntil(loop, toPaint ? "the first chart" : "the end marker");
    if (toPaint) {
        // The studies follow off the view's thread; the lag is watched until they are drawn.
        WaitForStudies(frame);
        run.studies = Clock::now();
    }
    lag.stop();
    frame.onComplete = nullptr;
    watch.onPainted = nullptr;

    if (!frame.firstLine || !frame.complete) {
        Fail("the frame saw no complete answer");
    }
    run.firstLine = *frame.firstLine;
    run.complete = *frame.complete;
    if (toPaint) {
        if (!watch.m_tick || !watch.m_replot || !watch.m_replotted || !watch.m_painted) {
            Fail(std::string("the steps of the first chart were not all seen:") +
                 (watch.m_tick ? "" : " no progress tick") + (watch.m_replot ? "" : " no replot") +
                 (watch.m_replotted ? "" : " no end of the replot") +
                 (watch.m_painted ? "" : " no painting"));
        }
        run.tick = *watch.m_tick;
        run.replot = *watch.m_replot;
        run.replayed = *watch.m_replotted;
        run.painted = *watch.m_painted;
    } else {
        // Let the view draw this load too before the next run starts.
        QEventLoop settle;
        watch.onPainted = [&] { settle.quit(); };
        if (!watch.m_painted) {
            RunUntil(settle, "the chart after a load alone");
        }
        watch.onPainted = nullptr;
        // And its studies, so that the next chart replaces a complete one, as a trader's next
        // symbol usually does.
        WaitForStudies(frame);
    }
    return run;
}

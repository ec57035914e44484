#include "chart/ui/chart_form_view.h"

#include "chart/compare_series.h"
#include "chart/ui/chart_canvas.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"

#include <QLabel>
#include <QMenu>
#include <QScrollBar>
#include <QVBoxLayout>

#include <fmt/format.h>
#include <spdlog/spdlog.h>

CChartFormView::CChartFormView(CChartHistRequest& history, CSettings& settings, QWidget* parent)
    : QWidget(parent), m_loader(history, settings), m_settings(settings), m_compare(settings) {
    setObjectName("ChartFormView");

    m_notice = new QLabel(this);
    m_notice->setObjectName("ChartNotice");
    m_notice->setTextFormat(Qt::PlainText);
    m_notice->setContentsMargins(8, 3, 8, 3);
    m_canvas = new CChartCanvas(history, settings, this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_notice);
    layout->addWidget(m_canvas, 1);

    m_progressTimer.setObjectName(QString::number(kProgressTimerId));
    m_progressTimer.setInterval(kProgressPeriodMs);
    connect(&m_progressTimer, &QTimer::timeout, this, &CChartFormView::OnProgressTimer);
    connect(m_canvas, &CChartCanvas::displayedPointsChanged, this, [this](int displayed) {
        if (!Symbol().empty() && m_loader.History().IsHistoryComplete()) {
            SetStatusText(m_loader.ShownText(displayed));
        }
    });

    connect(m_canvas, &CChartCanvas::statusText, this,
            [this](const QString& text) { SetStatusText(text.toStdString()); });

    m_liveTimer.setSingleShot(true);
    m_liveTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_liveTimer, &QTimer::timeout, this, [this] {
        m_loader.ShowLivePoints(*this);
        m_pacer.Drawn(CRedrawPacer::Clock::now());
    });

    m_canvas->SetExchangeClock([this] { return m_loader.ExchangeNow(); });
    m_countdownTimer.setInterval(kCountdownPeriodMs);
    connect(&m_countdownTimer, &QTimer::timeout, this, [this] {
        if (m_canvas->CountsDown() && HistoryShown()) {
            m_canvas->RedrawAll();
        }
    });
    m_countdownTimer.start();

    // The answers are parsed off this thread while they arrive; what the parse passes back
    // comes here as queued calls.
    m_loader.ParseOnWorker([this](std::function<void()> call) {
        QMetaObject::invokeMethod(this, std::move(call), Qt::QueuedConnection);
    });
    m_loader.LoadSettings();
    m_canvas->LoadSettings();
    m_compareLines =
        std::make_shared<CCompareLines>(m_compare, m_canvas->DrawManager().Displayed());
    m_canvas->DrawManager().SetCompare(m_compareLines);
    // The stored compare symbols load with the chart.
    std::vector<std::string> stored;
    if (ParseCompareSymbols(settings.GetText(keys::kCompareSymbols), stored).empty()) {
        for (const std::string& symbol : stored) {
            m_compare.Add(symbol, {}, false);
        }
    }
    m_canvas->AddMenuExtender([this](QMenu& menu, int pane) {
        if (pane == 0) {
            AddCompareCommands(menu);
        }
    });
    ShowNotice();
}

CChartFormView::~CChartFormView() {
    FinishRestore(false, "the chart window closed");
}

CChartLoader::EStart CChartFormView::Load(const std::string& symbol) {
    if (!Symbol().empty() && Symbol() != symbol) {
        m_progressTimer.stop();
    }
    m_restorePosition.reset();
    FinishRestore(false, "another load replaced the restore");
    m_lastStatus.clear();
    m_liveTimer.stop();
    m_pacer = {};
    m_studiesStartedAt.reset();
    const CChartLoader::EStart started = m_loader.Load(symbol, [this] { m_progressTimer.start(); });
    m_canvas->ClearStudies();
    m_canvas->SetSeries(Symbol(), m_loader.DataType(), m_loader.IntervalIndex());
    m_canvas->SetPointCount(0, true);
    m_canvas->ResetYRange();
    // The compare symbols follow the chart's request; its own symbol is not compared with it.
    if (m_compare.Remove(symbol)) {
        m_settings.SetText(keys::kCompareSymbols, JoinCompareSymbols(m_compare.Symbols()));
    }
    if (started == CChartLoader::EStart::Sent) {
        m_compare.LoadAll();
    }
    m_canvas->RedrawAll();
    if (started == CChartLoader::EStart::Failed && m_loader.SettingsProblem()) {
        // Nothing was asked for: no progress will come to overwrite the reason.
        m_progressTimer.stop();
        SetStatusText(fmt::format(
            "No history requested for {}: {}", symbol,
            RequestSettingAdvice(*m_loader.SettingsProblem(),
                                 m_settingsFile.empty() ? "the settings file" : m_settingsFile)));
    }
    ShowNotice();
    return started;
}

CChartLoader::EStart CChartFormView::Reload() {
    if (Symbol().empty()) {
        return CChartLoader::EStart::Failed;
    }
    const std::string symbol = Symbol();
    m_progressTimer.stop();
    m_loader.Leave();
    return Load(symbol);
}

void CChartFormView::OnHistoryLine(const std::string& line) {
    if (!m_compare.OnHistoryLine(line)) {
        m_loader.OnHistoryLine(line);
        StartStudiesOfCompleteAnswer();
    }
}

void CChartFormView::StartStudiesOfCompleteAnswer() {
    // The studies of a long series take a while: they start as the end marker arrives, so that
    // they are well under way when the progress tick first shows the chart.
    if (m_studiesStartedAt || Symbol().empty() || m_loader.Loading() || m_loader.HistoryShown()) {
        return;
    }
    m_studiesStartedAt = m_loader.History().GetCount();
    m_canvas->ComputeStudies();
}

void CChartFormView::OnLevel1Line(const std::string& line) {
    const std::uint64_t applied = m_loader.AppliedTradeLines();
    m_loader.OnLevel1Line(line);
    m_compare.OnLevel1Line(line);
    if (m_loader.AppliedTradeLines() != applied) {
        LivePointsChanged();
    }
}

void CChartFormView::LivePointsChanged() {
    if (m_pacer.Due() || !m_loader.HistoryShown()) {
        return;
    }
    if (const auto delay = m_pacer.Changed(CRedrawPacer::Clock::now())) {
        m_liveTimer.start(*delay);
    }
}

void CChartFormView::OnProgressTimer() {
    m_loader.OnProgressTick(*this);
    std::vector<std::string> messages;
    if (m_compare.OnProgressTick(messages) && m_loader.HistoryShown()) {
        m_canvas->RedrawAll();
    }
    for (const std::string& message : messages) {
        SetStatusText(message);
    }
    ShowNotice();
}

int CChartFormView::ShowCompleteHistory(int count) {
    m_canvas->SetSeries(Symbol(), m_loader.DataType(), m_loader.IntervalIndex());
    m_canvas->ResetYRange();
    m_canvas->DrawManager().SetPointsDeleted(false);
    m_canvas->SetPointCount(count, !m_restorePosition);
    if (m_restorePosition) {
        // A restore shows the chart where the scroll bar stood; the bar redraws as it moves.
        m_canvas->ScrollBar()->setValue(*m_restorePosition);
        m_restorePosition.reset();
    }
    m_canvas->RedrawAll();
    if (!m_studiesStartedAt) {
        m_canvas->ComputeStudies();
    } else if (*m_studiesStartedAt != count) {
        // Live points came after the end marker.
        m_canvas->StudiesSeriesGrew();
    }
    m_studiesStartedAt.reset();
    TakeNewestPoint();
    emit historyShown();
    if (count == 0 && !m_loader.AnswerError().empty()) {
        FinishRestore(false, "the service answered " + m_loader.AnswerError());
    } else {
        FinishRestore(true, {});
    }
    return m_canvas->Range().DisplayedPoints();
}

void CChartFormView::TakeNewestPoint() {
    const CChartHistRequest& history = m_loader.History();
    sTICK newest;
    if (history.GetTick(history.GetLastIndex(), newest)) {
        m_newest = {history.GetCount(), newest.high, newest.low, newest.close, newest.volume};
    }
}

std::optional<int> CChartFormView::ShowNewPoints(int count, int added) {
    // A thumb held by the mouse is not moved under it; the view follows again once it is let go
    // at the right edge.
    if (!m_canvas->Range().AtRightEdge() || m_canvas->Range().IsTracking()) {
        return std::nullopt;
    }
    m_canvas->SetPointCount(count, true);
    // The timer asks on every tick at the right edge; only a new point or a newest point that
    // a trade changed is drawn again.
    const CChartHistRequest& history = m_loader.History();
    sTICK newest;
    if (history.GetTick(history.GetLastIndex(), newest)) {
        const SNewestPoint now{history.GetCount(), newest.high, newest.low, newest.close,
                               newest.volume};
        if (added != 0 || now != m_newest) {
            m_newest = now;
            // Live points: the studies go on over the new points first, then all is drawn once.
            m_canvas->StudiesSeriesGrew();
            m_canvas->RedrawAll();
            m_pacer.Drawn(CRedrawPacer::Clock::now());
        }
    }
    return m_canvas->Range().DisplayedPoints();
}

void CChartFormView::ApplyDisplaySettings() {
    m_canvas->LoadSettings();
}

void CChartFormView::Redraw() {
    m_canvas->RedrawAll();
}

bool CChartFormView::ZoomIn() {
    return m_canvas->ZoomIn();
}

bool CChartFormView::ZoomOut() {
    return m_canvas->ZoomOut();
}

void CChartFormView::SetStatusText(const std::string& text) {
    if (text == m_lastStatus) {
        return;
    }
    m_lastStatus = text;
    if (m_statusSink) {
        m_statusSink(text);
    }
}

void CChartFormView::ShowNotice() {
    const SChartSummary summary = m_loader.Summary();
    std::string text;
    if (summary.symbol.empty()) {
        text = "Type a symbol in the ribbon and press Enter.";
    } else if (m_loader.SettingsProblem()) {
        text = fmt::format("Nothing to show for {}: no history could be requested, because {}.",
                           summary.symbol, m_loader.SettingsProblem()->reason);
    } else if (!m_loader.AnswerError().empty() && summary.points == 0) {
        text = fmt::format("The service has no history for {}: {}", summary.symbol,
                           m_loader.AnswerError());
    } else if (!m_loader.IncompleteReason().empty()) {
        text = summary.points == 0
                   ? fmt::format("Nothing to show for {}: {}.", summary.symbol,
                                 m_loader.IncompleteReason())
                   : fmt::format("{} ({}): the history is incomplete, {} after {}.", summary.symbol,
                                 summary.dataType, m_loader.IncompleteReason(),
                                 CHistoryProgress::CountText(m_loader.DataType(), summary.points));
        text += " Use Reconnect to load it again.";
    } else if (!summary.complete) {
        text = fmt::format("Loading {} ({})... {} points received", summary.symbol,
                           summary.dataType, summary.points);
        if (m_loader.Stalled()) {
            text += fmt::format("; {}, still waiting",
                                CChartLoader::StallText(m_loader.StallLimit(), summary.symbol));
        }
    } else if (summary.points == 0) {
        text = fmt::format("No data points for {} ({}).", summary.symbol, summary.dataType);
    }
    m_notice->setText(QString::fromStdString(text));
    m_notice->setVisible(!text.empty());
}

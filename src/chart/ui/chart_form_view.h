#pragma once

#include "chart/chart_loader.h"

#include <QTimer>
#include <QWidget>

#include <functional>
#include <string>

class IHistoryFeed;
class QLabel;

// The main frame's single chart view. It loads the history of a symbol (one request on the
// lookup connection, the symbol watched on Level 1), reports the progress every 250 ms in the
// frame's status bar and, until the panes arrive, shows a summary of the loaded series.
class CChartFormView : public QWidget, private IHistoryProgressView {
    Q_OBJECT

public:
    // The progress timer: loading progress and, later, live redraw.
    static constexpr int kProgressTimerId = timers::kProgressId;
    static constexpr int kProgressPeriodMs = timers::kProgressPeriodMs;

    explicit CChartFormView(QWidget* parent = nullptr);
    ~CChartFormView() override;

    // The frame's feed (may be null until the connections exist).
    void SetFeed(IHistoryFeed* feed) { m_loader.SetFeed(feed); }
    // Where the progress texts go (the frame's status bar).
    void SetStatusSink(std::function<void(const std::string&)> sink) {
        m_statusSink = std::move(sink);
    }

    // Loads `symbol` (upper case, already stored as "CurrentSymbol"): a different symbol shown
    // before stops the progress timer, is unwatched and its series cleared; then the request
    // starts (parameters, watch, timer, command). Returns how the start went.
    CChartLoader::EStart Load(const std::string& symbol);
    // Loads the shown symbol again (data type, interval or data settings changed); nothing when
    // no symbol is shown.
    void Reload();
    // Reads the request settings again (after the data settings page stored them).
    void ReloadRequestSettings() { m_loader.LoadSettings(); }

    // A lookup line of a history answer.
    void OnHistoryLine(const std::string& line);
    // A Level 1 line ('Q', 'P', 'F'): held back while loading.
    void OnLevel1Line(const std::string& line);

    const std::string& Symbol() const { return m_loader.Symbol(); }
    const CChartLoader& Loader() const { return m_loader; }
    const SRequestSettings& RequestSettings() const { return m_loader.Settings(); }
    bool ProgressTimerActive() const { return m_progressTimer.isActive(); }
    // The last progress text sent to the status bar.
    const std::string& LastStatusText() const { return m_lastStatus; }

private:
    // IHistoryProgressView: no scroll bar and no panes yet; the summary stands for them.
    void SetScrollRange(int maximum) override { m_scrollMaximum = maximum; }
    void SetScrollPosition(int position) override { m_scrollPosition = position; }
    int ScrollLimit() const override { return m_scrollMaximum; }
    bool IsScrollAtLimit() const override { return m_scrollPosition >= m_scrollMaximum; }
    int RecomputeAndShowNewest() override;
    void AppendNewPoints(int count) override;
    int DisplayedPointCount() const override { return CChartLoader::kDefaultDisplayedPoints; }
    void SetStatusText(const std::string& text) override;

    void OnProgressTimer();
    void ShowSummary();

    CChartLoader m_loader;
    QTimer m_progressTimer;
    std::function<void(const std::string&)> m_statusSink;
    std::string m_lastStatus;
    QLabel* m_title = nullptr;
    QLabel* m_detail = nullptr;
    QLabel* m_live = nullptr;
    int m_scrollMaximum = 0;
    int m_scrollPosition = 0;
};

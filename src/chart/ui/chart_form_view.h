#pragma once

#include "chart/chart_loader.h"
#include "chart/compare_lines.h"
#include "chart/redraw_pacer.h"
#include "chart/ui/chart_click_tool.h"

#include <QTimer>
#include <QWidget>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class CChartCanvas;
class CChartHistRequest;
class CSettings;
class IHistoryFeed;
class IPrompt;
class QLabel;
class QMenu;
class QPrinter;

// The main frame's single chart view. It loads the history of a symbol (one request on the
// lookup connection, the symbol watched on Level 1), reports the progress every 250 ms in the
// frame's status bar and draws the series in its stack of panes once it is complete. A line
// over the panes says what is going on while there is nothing to draw.
class CChartFormView : public QWidget, private IHistoryProgressSink {
    Q_OBJECT

public:
    // The progress timer: loading progress and, later, live redraw.
    static constexpr int kProgressTimerId = timers::kProgressId;
    static constexpr int kProgressPeriodMs = timers::kProgressPeriodMs;
    static constexpr int kCountdownPeriodMs = 1000;

    // `history` and `settings` are the application's, and outlive the view.
    CChartFormView(CChartHistRequest& history, CSettings& settings, QWidget* parent = nullptr);
    ~CChartFormView() override;

    // The frame's feed (may be null until the connections exist).
    void SetFeed(IHistoryFeed* feed) {
        m_loader.SetFeed(feed);
        m_compare.SetFeed(feed);
    }
    // Where the progress texts go (the frame's status bar).
    void SetStatusSink(std::function<void(const std::string&)> sink) {
        m_statusSink = std::move(sink);
    }

    // The settings file that the messages about impossible request settings name.
    void SetSettingsFile(std::string file) { m_settingsFile = std::move(file); }

    // Loads `symbol` (upper case, already stored as "CurrentSymbol"): a different symbol shown
    // before stops the progress timer, is unwatched and its series cleared; then the request
    // starts (parameters, watch, timer, command). Returns how the start went. When the stored
    // request settings cannot make a request, the status bar names the setting and where to
    // mend it, and the chart says that it has nothing to show.
    CChartLoader::EStart Load(const std::string& symbol);
    // Loads the shown symbol again (data type, interval or data settings changed); nothing
    // (Failed) when no symbol is shown.
    CChartLoader::EStart Reload();
    // Reads the request settings again (after the data settings page stored them).
    void ReloadRequestSettings() { m_loader.LoadSettings(); }

    // The lookup connection stopped for `why`: the answer arriving ends with the points
    // received, shown as an incomplete history, and so does every load until SetFeed.
    void LookupStopped(const std::string& why) { m_loader.LookupStopped(why); }
    // How long an answer may send nothing before the view says it stalled.
    void SetStallLimit(std::chrono::milliseconds limit) { m_loader.SetStallLimit(limit); }

    // A lookup line of a history answer.
    void OnHistoryLine(const std::string& line);
    // A Level 1 line ('Q', 'P', 'F'): held back while loading.
    void OnLevel1Line(const std::string& line);
    // A time stamp line of the Level 1 connection (the countdown of the last-price marker).
    void OnTimeLine(const std::string& line) { m_loader.OnTimeLine(line); }
    // Called with every trade that changes the chart.
    void SetTradeHandler(std::function<void(const SLiveTrade&)> handler) {
        m_loader.SetTradeHandler(std::move(handler));
    }
    // When a trade of the shown symbol last changed the chart; none since the load.
    std::optional<std::chrono::steady_clock::time_point> LastUpdate() const {
        return m_loader.LastLiveUpdate();
    }

    const std::string& Symbol() const { return m_loader.Symbol(); }
    const CChartLoader& Loader() const { return m_loader; }
    const SRequestSettings& RequestSettings() const { return m_loader.Settings(); }
    bool ProgressTimerActive() const { return m_progressTimer.isActive(); }
    // The last progress text sent to the status bar.
    const std::string& LastStatusText() const { return m_lastStatus; }

    CChartCanvas& Canvas() const { return *m_canvas; }
    // The display or colour settings changed: the panes are laid out and drawn again.
    void ApplyDisplaySettings();
    // Draws the panes again with the settings as they stand.
    void Redraw();
    bool ZoomIn();
    bool ZoomOut();

    // "Print...": the displayed panes fitted to the page under a title line. False when the
    // printer could not be started.
    bool Print(QPrinter& printer);
    // "Export Image...": the same drawing into a PNG or PDF file, by its extension, at the
    // view's size. An empty text on success, else why it failed.
    std::string ExportImage(const std::string& path);
    // The title line of a printout at the current local time.
    std::string PrintTitleNow() const;
    // Adds "Print..." and "Export Image..." to the pane menu, run through `print` and
    // `exportImage`.
    void SetChartMenuCommands(std::function<void()> print, std::function<void()> exportImage);

    // Deleting and restoring points (chart_point_deletion.cpp). Adds "Delete Tick/Bar" and
    // "Restore Ticks" or "Restore Bars" to the pane menu; `prompt` (the frame's) asks before
    // each deletion and restore, `showPrompt` puts the mode's prompt in the status line ("" when
    // the mode ends).
    void SetPointCommands(IPrompt& prompt, std::function<void(const std::string&)> showPrompt);
    // "Delete Tick/Bar": the next left click on a displayed point asks whether to delete it and
    // leaves the mode; a right click or Escape leaves it at once, and so does another click
    // tool taking the chart. A click tool active before is cancelled. Nothing until the history
    // is shown.
    bool StartPointDeletion();
    void EndPointDeletion();
    bool PointDeletionActive() const;
    // Asks about the point at `place` (from 1) among the displayed points and deletes it on Yes.
    bool ConfirmAndDeletePoint(int place);
    // Deletes the point at series index `index` as Yes to the question does: the flag of
    // deleted points is set and the chart is drawn again from the scroll bar's position, the
    // studies computed again over the shorter series. False when the index is outside the
    // series or its history is not shown yet.
    bool DeletePointAt(int index);
    bool PointsDeleted() const;
    // Whether the history of the shown symbol is complete and drawn.
    bool HistoryShown() const { return m_loader.HistoryShown(); }
    // What a restore reports once its history is complete (true) or when it failed or another
    // load replaced it (false, and why).
    using RestoreDone = std::function<void(bool restored, const std::string& why)>;
    // "Restore Ticks" / "Restore Bars": nothing (false) when no point was deleted. With `ask`
    // the restore question comes first, and No leaves everything as it is. On Yes the series is
    // emptied, the flag cleared and the history requested again as a reload does; once it is
    // complete the chart shows again from the scroll bar's position and `done` is called.
    bool RestorePoints(bool ask, RestoreDone done = {});

    // Compare symbols (chart_compare.cpp). Each is loaded with the chart's request settings and
    // drawn over the price pane in per cent from the first shown bar; the list is stored under
    // "Compare Symbols" and loaded again with the chart. Adds `symbol`, or says why not (a
    // fourth symbol, one compared already, the chart's own, a malformed one): "" when added.
    std::string CompareSymbol(const std::string& symbol);
    // Removes `symbol`; false when it was not compared.
    bool RemoveCompareSymbol(const std::string& symbol);
    // Replaces the compare symbols by a comma list ("" clears them); why it is refused, or "".
    std::string SetCompareSymbols(const std::string& symbols);
    const CCompareSet& CompareSet() const { return m_compare; }
    // "Compare Symbol..." asks for the symbol through `prompt`, which shows a refusal.
    void SetComparePrompt(IPrompt& prompt) { m_comparePrompt = &prompt; }

signals:
    // A complete history is drawn (a load, a reload or a restore finished, or a point was
    // deleted): what is anchored to the points' times anchors again.
    void historyShown();

private:
    // IHistoryProgressSink: the status bar, and the canvas's scroll bar and panes.
    void SetStatusText(const std::string& text) override;
    int ShowCompleteHistory(int count) override;
    // Starts the studies of a complete answer that the next progress tick will show.
    void StartStudiesOfCompleteAnswer();
    // Taken only at the right edge: a chart scrolled back keeps its place.
    std::optional<int> ShowNewPoints(int count, int added) override;

    void OnProgressTimer();
    // Live trades changed the series: they are drawn at the next frame.
    void LivePointsChanged();
    void ShowNotice();
    // Calls the pending restore's `done` with the outcome.
    void FinishRestore(bool restored, const std::string& why);

    CChartLoader m_loader;
    CSettings& m_settings;
    CCompareSet m_compare;
    std::shared_ptr<CCompareLines> m_compareLines;
    IPrompt* m_comparePrompt = nullptr;
    // Stores the compare symbols and draws them.
    void CompareChanged();
    void AddCompareCommands(QMenu& menu);
    QTimer m_progressTimer;
    // Draws live points at most once a frame: the trades of every event loop turn until then
    // go on the chart and into the studies together.
    QTimer m_liveTimer;
    CRedrawPacer m_pacer;
    // Draws the last-price countdown again every second while it is shown.
    QTimer m_countdownTimer;
    std::function<void(const std::string&)> m_statusSink;
    std::string m_lastStatus;
    std::string m_settingsFile;
    CChartCanvas* m_canvas = nullptr;
    QLabel* m_notice = nullptr;
    // The newest point as last drawn: a live trade changes it or adds one after it.
    struct SNewestPoint {
        int count = 0;
        double high = 0.0;
        double low = 0.0;
        double close = 0.0;
        std::int64_t volume = 0;
        bool operator==(const SNewestPoint&) const = default;
    };
    SNewestPoint m_newest;
    void TakeNewestPoint();

    IPrompt* m_prompt = nullptr;
    std::function<void(const std::string&)> m_showPrompt;
    std::unique_ptr<IChartClickTool> m_deletionTool;
    // A restore waiting for its history: where the scroll bar stood (none: at the newest
    // points), and whom to tell.
    std::optional<int> m_restorePosition;
    // The count of points whose studies started as the answer's end marker came, before the
    // progress tick shows it; none before that in a load.
    std::optional<int> m_studiesStartedAt;
    RestoreDone m_restoreDone;
};

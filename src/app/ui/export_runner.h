#pragma once

#include "app/export.h"
#include "app/progress_line.h"
#include "chart/chart_loader.h"
#include "chart/compare_set.h"
#include "core/prompt.h"
#include "feed/feed_frame.h"
#include "trend/trend_store.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

class CChartHistRequest;
class CFeedConnections;
class CSettings;

// The export mode's message boxes: every text goes to standard error instead.
class CStderrPrompt : public IPrompt {
public:
    void Information(const std::string& caption, const std::string& text) override;
    void Error(const std::string& caption, const std::string& text) override;
    // Always No: nothing can be asked without a window.
    bool Question(const std::string& caption, const std::string& text) override;
    std::string AskText(const std::string& caption, const std::string& text) override;

    // Called before every text is written (the export ends its progress line there).
    void SetBeforeWrite(std::function<void()> hook) { m_beforeWrite = std::move(hook); }

private:
    void Write(const std::string& text) const;

    std::function<void()> m_beforeWrite;
};

// Loads one symbol's history without a window and writes it: starts the feed (launching portico
// when it is not running), waits until the service is connected and the lookup connection is
// up, loads through the chart's own request path, then writes the file the request asks for:
// the series as CSV (--export) or the drawn chart (--render, see RenderChart). Needs a
// QCoreApplication, a QApplication to render; Run() drives its event loop and returns the exit
// code. Every way it can fail ends it with its exit code and the cause on standard error: a
// connection the service refused, closed or overfilled with a line over 64 KiB (as the socket
// reported it), a service never ready, request settings that make no request, the request's
// timeout. With `progress` the points received so far are shown on a line of standard error.
class CExportRunner : public QObject, public IFeedFrame, private IHistoryProgressSink {
    Q_OBJECT

public:
    // The series loads into `history`, the request and the written file follow `settings`; both
    // outlive the runner. `connectTimeout`: how long the service may take to be ready;
    // `idleTimeout`: how long an answer may go without a line before the export gives up (the
    // window's stall limit); the request's timeout bounds the whole run. `settingsFile` is named
    // when the request settings make no request.
    CExportRunner(SExportRequest request, CChartHistRequest& history, CSettings& settings,
                  std::chrono::milliseconds connectTimeout, std::chrono::milliseconds idleTimeout,
                  std::string settingsFile, bool progress);
    ~CExportRunner() override;
    // The trendlines a render draws (none until set).
    void SetTrendlines(CTrendStore trendlines) { m_trendlines = std::move(trendlines); }

    int Run();

    // IFeedFrame
    void OnServiceIp() override;
    void OnSearchLine(const std::string& line) override;
    void OnHistoryLine(const std::string& line) override;
    void OnLevel1Line(const std::string& line) override;
    void OnSymbolNotFound(const std::string& line) override;
    void OnServiceStatus(const std::string& status) override;
    void OnFeedFault(const SFeedFault& fault) override;

private:
    // IHistoryProgressSink: the texts go to the log. Nothing is drawn before the file is
    // written, so every point is taken as it comes, the default count shown at once.
    void SetStatusText(const std::string& text) override;
    int ShowCompleteHistory(int count) override;
    std::optional<int> ShowNewPoints(int count, int added) override;

    void OnTick();
    void StartLoad();
    bool LookupReady() const;
    void Finish(int exitCode, const std::string& message);
    // Writes the series to the request's file as CSV; an error text, or "" when written.
    std::string WriteCsv() const;
    // "Export" or "Render", for the log.
    const char* ModeName() const;
    // Where the run stands, for the progress line: "LUMA (Daily): 12 points received".
    std::string StageText() const;
    // Whether every compare symbol's answer has ended (the render waits for them).
    bool CompareAnswered();
    // The same for the end of a message: " while LUMA (Daily) was loading (12 points received)".
    std::string WhileText() const;

    SExportRequest m_request;
    CSettings& m_settings;
    CTrendStore m_trendlines;
    std::chrono::milliseconds m_connectTimeout;
    std::chrono::milliseconds m_idleTimeout;
    std::string m_settingsFile;
    CStderrPrompt m_prompt;
    std::unique_ptr<CProgressLine> m_progress; // null when standard error is no terminal
    CChartLoader m_loader;
    // The compare symbols of a render, loaded after the chart and waited for.
    CCompareSet m_compare;
    std::unique_ptr<CFeedConnections> m_feed;
    QTimer m_timer;
    bool m_serviceReady = false;
    bool m_loading = false;
    bool m_finished = false;
    int m_exitCode = kExportNoService;
    std::chrono::steady_clock::time_point m_startedAt;
    std::string m_lastStatus;
};

// The whole export or render mode for `commandLine` (inside a QCoreApplication, a QApplication
// for --render): checks the options, starts the log, loads the settings file into `settings`
// without ever writing it back, loads the series into `history` and writes it. Returns the
// process exit code; every failure is explained on standard error.
int RunExport(const COrvaneCommandLineInfo& commandLine, const std::string& executable,
              CSettings& settings, CChartHistRequest& history);

#pragma once

#include "app/export.h"
#include "chart/chart_loader.h"
#include "core/prompt.h"
#include "feed/feed_frame.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

class CFeedConnections;

// The export mode's message boxes: every text goes to standard error instead.
class CStderrPrompt : public IPrompt {
public:
    void Information(const std::string& caption, const std::string& text) override;
    void Error(const std::string& caption, const std::string& text) override;
    // Always No: nothing can be asked without a window.
    bool Question(const std::string& caption, const std::string& text) override;

    // Called with every error text after it was written.
    void SetErrorHook(std::function<void(const std::string&)> hook) { m_hook = std::move(hook); }

private:
    std::function<void(const std::string&)> m_hook;
};

// Loads one symbol's history without a window and writes it: starts the feed (launching portico
// when it is not running), waits until the service is connected and the lookup connection is
// up, loads through the chart's own request path, then writes the file the request asks for:
// the series as CSV (--export) or the drawn chart (--render, see RenderChart). Needs a
// QCoreApplication, a QApplication to render; Run() drives its event loop and returns the exit
// code.
class CExportRunner : public QObject, public IFeedFrame, private IHistoryProgressView {
    Q_OBJECT

public:
    // `connectTimeout`: how long the service may take to be ready; `idleTimeout`: how long an
    // answer may go without a line before the export gives up.
    CExportRunner(SExportRequest request, std::chrono::milliseconds connectTimeout,
                  std::chrono::milliseconds idleTimeout);
    ~CExportRunner() override;

    int Run();

    // IFeedFrame
    void OnServiceIp() override;
    void OnSearchLine(const std::string& line) override;
    void OnHistoryLine(const std::string& line) override;
    void OnLevel1Line(const std::string& line) override;
    void OnSymbolNotFound(const std::string& line) override;
    void OnServiceStatus(const std::string& status) override;

private:
    // IHistoryProgressView: no panes; the texts go to the log.
    void SetScrollRange(int /*maximum*/) override {}
    void SetScrollPosition(int /*position*/) override {}
    int ScrollLimit() const override { return 0; }
    bool IsScrollAtLimit() const override { return true; }
    int RecomputeAndShowNewest() override;
    void AppendNewPoints(int /*count*/) override {}
    int DisplayedPointCount() const override { return CChartLoader::kDefaultDisplayedPoints; }
    void SetStatusText(const std::string& text) override;

    void OnTick();
    void StartLoad();
    bool LookupReady() const;
    void Finish(int exitCode, const std::string& message);
    // Writes the series to the request's file as CSV; an error text, or "" when written.
    std::string WriteCsv() const;
    // "Export" or "Render", for the log.
    const char* ModeName() const;

    SExportRequest m_request;
    std::chrono::milliseconds m_connectTimeout;
    std::chrono::milliseconds m_idleTimeout;
    CStderrPrompt m_prompt;
    CChartLoader m_loader;
    std::unique_ptr<CFeedConnections> m_feed;
    QTimer m_timer;
    bool m_serviceReady = false;
    bool m_loading = false;
    bool m_finished = false;
    int m_exitCode = kExportNoService;
    std::chrono::steady_clock::time_point m_startedAt;
    std::chrono::steady_clock::time_point m_lastLineAt;
    std::string m_lastStatus;
};

// The whole export or render mode for `commandLine` (inside a QCoreApplication, a QApplication
// for --render): checks the options, starts the log, loads the settings without ever writing
// them back, runs the export. Returns the process exit code; every failure is explained on
// standard error.
int RunExport(const COrvaneCommandLineInfo& commandLine, const std::string& executable);

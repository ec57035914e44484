#include "app/ui/export_runner.h"

#include "trend/ui/trend_file.h"

#include "app/chart_bus.h"
#include "app/command_line.h"
#include "app/ui/chart_render.h"
#include "base/error.h"
#include "chart/compare_series.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "feed/feed_connections.h"
#include "feed/kestrel_stream_socket.h"
#include "history/chart_hist_request.h"
#include "history/tick.h"
#include "platform/application_log.h"
#include "platform/config_writer.h"
#include "platform/qt_feed.h"
#include "platform/registry_paths.h"
#include "platform/startup_store.h"

#include <QCoreApplication>
#include <QSaveFile>

#include <fmt/format.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr int kTickMs = 250;
// The progress line is rewritten at most this often.
constexpr auto kProgressPeriod = 200ms;

void PrintError(const std::string& text) {
    std::fprintf(stderr, "Skychart: %s\n", text.c_str());
    std::fflush(stderr);
}

} // namespace

void CStderrPrompt::Write(const std::string& text) const {
    if (m_beforeWrite) {
        m_beforeWrite();
    }
    PrintError(text);
}

void CStderrPrompt::Information(const std::string& caption, const std::string& text) {
    Write(caption + ": " + text);
}

void CStderrPrompt::Error(const std::string& caption, const std::string& text) {
    Write(caption + ": " + text);
}

bool CStderrPrompt::Question(const std::string& caption, const std::string& text) {
    Write(caption + ": " + text + " (answered No)");
    return false;
}

std::string CStderrPrompt::AskText(const std::string& caption, const std::string& text) {
    Write(caption + ": " + text + " (cancelled)");
    return {};
}

CExportRunner::CExportRunner(SExportRequest request, CChartHistRequest& history,
                             CSettings& settings, std::chrono::milliseconds connectTimeout,
                             std::chrono::milliseconds idleTimeout, std::string settingsFile,
                             bool progress)
    : m_request(std::move(request)), m_settings(settings), m_connectTimeout(connectTimeout),
      m_idleTimeout(idleTimeout), m_settingsFile(std::move(settingsFile)),
      m_loader(history, settings), m_compare(settings) {
    m_loader.SetStallLimit(idleTimeout);
    m_loader.ParseOnWorker([this](std::function<void()> call) {
        QMetaObject::invokeMethod(this, std::move(call), Qt::QueuedConnection);
    });
    if (progress) {
        m_progress = std::make_unique<CProgressLine>(
            [](const std::string& text) {
                std::fputs(text.c_str(), stderr);
                std::fflush(stderr);
            },
            kProgressPeriod);
    }
    // A message starts on a line of its own, below the progress line.
    m_prompt.SetBeforeWrite([this] {
        if (m_progress) {
            m_progress->Finish();
        }
    });
    m_timer.setInterval(kTickMs);
    connect(&m_timer, &QTimer::timeout, this, &CExportRunner::OnTick);
}

CExportRunner::~CExportRunner() {
    // The connections call back into the runner; they go first.
    m_feed.reset();
}

int CExportRunner::Run() {
    m_startedAt = std::chrono::steady_clock::now();
    m_loader.LoadSettings();
    m_feed = MakeQtFeedConnections(*this, m_prompt, m_request.service);
    m_loader.SetFeed(m_feed.get());
    m_compare.SetFeed(m_feed.get());
    m_timer.start();
    m_feed->Start();
    if (m_finished) {
        return m_exitCode;
    }
    return QCoreApplication::exec();
}

bool CExportRunner::LookupReady() const {
    const SKestrelSocketStats* lookup =
        m_feed ? m_feed->ConnectionStatistics(CFeedConnections::kLookup) : nullptr;
    return lookup != nullptr && lookup->IsConnected();
}

void CExportRunner::OnTick() {
    if (m_finished) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - m_startedAt >= std::chrono::seconds(m_request.timeoutSeconds)) {
        Finish(kExportTimeout,
               fmt::format("timed out after {} s (--timeout {}){}", m_request.timeoutSeconds,
                           m_request.timeoutSeconds, WhileText()));
        return;
    }
    if (!m_loading) {
        if (m_serviceReady && LookupReady()) {
            StartLoad();
        } else if (now - m_startedAt > m_connectTimeout) {
            Finish(kExportNoService,
                   fmt::format("the market-data service did not become ready within {} s "
                               "(service status \"{}\")",
                               m_connectTimeout.count() / 1000,
                               m_feed ? m_feed->ServiceStatistics().status : "none"));
        }
        if (m_progress && !m_finished) {
            m_progress->Show("Skychart: " + StageText(), now);
        }
        return;
    }

    m_loader.OnProgressTick(*this);
    const bool empty = m_loader.History().GetCount() == 0;
    if (empty && !m_loader.AnswerError().empty()) {
        // The export sends one request, so its error reply is the whole answer.
        Finish(kExportNoData, fmt::format("no history for {}: the service answered {}",
                                          m_request.symbol, m_loader.AnswerError()));
    } else if (m_loader.History().IsHistoryComplete() && CompareAnswered()) {
        if (empty) {
            Finish(kExportNoData, fmt::format("no history for {}: the answer held no data points",
                                              m_request.symbol));
            return;
        }
        if (m_progress) {
            m_progress->Show("Skychart: " + StageText(), now);
            m_progress->Finish();
        }
        const std::string error =
            m_request.output == EExportOutput::Chart
                ? RenderChart(m_loader, m_request, m_settings, m_trendlines, &m_compare)
                : WriteCsv();
        if (!error.empty()) {
            Finish(kExportFileError, error);
            return;
        }
        spdlog::info("{}: {} points of {} written to {}", ModeName(), m_loader.History().GetCount(),
                     m_request.symbol, m_request.file);
        Finish(kExportOk, {});
    } else if (!LookupReady()) {
        Finish(kExportNoService,
               "the lookup connection closed before the answer was complete" + WhileText());
    } else if (m_loader.Stalled()) {
        Finish(kExportNoService, CChartLoader::StallText(m_idleTimeout, m_request.symbol));
    } else if (m_progress) {
        m_progress->Show("Skychart: " + StageText(), now);
    }
}

std::string CExportRunner::WhileText() const {
    if (m_loading) {
        return fmt::format(" while {} ({}) was loading ({} points received)", m_request.symbol,
                           m_request.typeText, m_loader.History().GetCount());
    }
    if (!m_serviceReady) {
        return fmt::format(" before the service was ready (status \"{}\")",
                           m_feed ? m_feed->ServiceStatistics().status : "none");
    }
    return " while " + StageText();
}

std::string CExportRunner::StageText() const {
    if (m_loading) {
        return fmt::format("{} ({}): {} points received", m_request.symbol, m_request.typeText,
                           m_loader.History().GetCount());
    }
    if (!m_serviceReady) {
        return fmt::format("waiting for the market-data service (status \"{}\")",
                           m_feed ? m_feed->ServiceStatistics().status : "none");
    }
    return "waiting for the lookup connection";
}

void CExportRunner::StartLoad() {
    m_loading = true;
    const CChartLoader::EStart started = m_loader.Load(m_request.symbol);
    if (started == CChartLoader::EStart::Failed) {
        const std::optional<SRequestSettingProblem>& problem = m_loader.SettingsProblem();
        Finish(kExportBadArguments,
               problem ? fmt::format("no history requested for {}: {}", m_request.symbol,
                                     RequestSettingAdvice(*problem, m_settingsFile))
                       : std::string("the stored request settings give no history request "
                                     "(see the log)"));
    } else if (started == CChartLoader::EStart::NoConnection) {
        Finish(kExportNoService, "no lookup connection to send the history request on");
    } else if (m_request.output == EExportOutput::Chart) {
        // The compare symbols that the settings (or -compare) name load after the chart.
        std::vector<std::string> symbols;
        ParseCompareSymbols(m_settings.GetText(keys::kCompareSymbols), symbols);
        for (const std::string& symbol : symbols) {
            if (const std::string refused = m_compare.Add(symbol, m_request.symbol, true);
                !refused.empty()) {
                spdlog::warn("Render: {} not compared: {}", symbol, refused);
            }
        }
    }
}

bool CExportRunner::CompareAnswered() {
    std::vector<std::string> messages;
    m_compare.OnProgressTick(messages);
    for (const std::string& message : messages) {
        spdlog::warn("Render: {}", message);
    }
    for (const CCompareSet::SEntry& entry : m_compare.Entries()) {
        if (!entry.loader->AnswerEnded()) {
            return false;
        }
    }
    return true;
}

void CExportRunner::Finish(int exitCode, const std::string& message) {
    if (m_finished) {
        return;
    }
    m_finished = true;
    m_exitCode = exitCode;
    m_timer.stop();
    if (m_progress) {
        // The line ends with the count that the message below may name.
        if (m_progress->Open()) {
            m_progress->Show("Skychart: " + StageText(), std::chrono::steady_clock::now());
        }
        m_progress->Finish();
    }
    if (!message.empty()) {
        spdlog::error("{} failed: {}", ModeName(), message);
        PrintError(message);
    }
    QCoreApplication::exit(exitCode);
}

const char* CExportRunner::ModeName() const {
    return m_request.output == EExportOutput::Chart ? "Render" : "Export";
}

std::string CExportRunner::WriteCsv() const {
    QSaveFile file(QString::fromStdString(m_request.file));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return fmt::format("cannot write {}: {}", m_request.file, file.errorString().toStdString());
    }
    // The studies that the user's settings show, over the whole series.
    const std::string text = SeriesExportText(m_loader.History(), m_request.dataType,
                                              m_loader.IntervalIndex(), m_settings);
    file.write(text.data(), static_cast<qint64>(text.size()));
    if (!file.commit()) {
        return fmt::format("cannot write {}: {}", m_request.file, file.errorString().toStdString());
    }
    return {};
}

int CExportRunner::ShowCompleteHistory(int /*count*/) {
    return CChartLoader::kDefaultDisplayedPoints;
}

std::optional<int> CExportRunner::ShowNewPoints(int /*count*/, int /*added*/) {
    return CChartLoader::kDefaultDisplayedPoints;
}

void CExportRunner::SetStatusText(const std::string& text) {
    if (text != m_lastStatus) {
        m_lastStatus = text;
        spdlog::info("{} status: {}", ModeName(), text);
    }
}

void CExportRunner::OnServiceIp() {
    m_serviceReady = true;
}

void CExportRunner::OnSearchLine(const std::string& /*line*/) {}

void CExportRunner::OnHistoryLine(const std::string& line) {
    try {
        if (!m_compare.OnHistoryLine(line)) {
            m_loader.OnHistoryLine(line);
        }
    } catch (const CInvalidArgException& error) {
        // Malformed lines are dropped, as in the window.
        spdlog::error("Invalid argument in history line \"{}\": {}; line dropped", line,
                      error.what());
    }
}

void CExportRunner::OnLevel1Line(const std::string& line) {
    try {
        m_loader.OnLevel1Line(line);
        m_compare.OnLevel1Line(line);
    } catch (const CInvalidArgException& error) {
        spdlog::error("Invalid argument in Level 1 line \"{}\": {}; line dropped", line,
                      error.what());
    }
}

void CExportRunner::OnSymbolNotFound(const std::string& line) {
    spdlog::warn("Symbol {} has no results...", line.size() > 2 ? line.substr(2) : "");
}

void CExportRunner::OnServiceStatus(const std::string& status) {
    spdlog::info("{}: service status {}", ModeName(), status);
}

void CExportRunner::OnFeedFault(const SFeedFault& fault) {
    if (m_finished) {
        return;
    }
    // The service's "S,IP," line comes on the Level 1 connection; once it has come, the export
    // needs nothing more of that connection. A complete answer is written whatever follows it.
    if ((fault.connection == CFeedConnections::kLevel1 && m_serviceReady) ||
        (m_loading && m_loader.History().IsHistoryComplete())) {
        spdlog::warn("{}: {}; the export goes on", ModeName(), DescribeFeedFault(fault));
        return;
    }
    Finish(kExportNoService, DescribeFeedFault(fault) + WhileText());
}

int RunExport(const COrvaneCommandLineInfo& commandLine, const std::string& executable,
              CSettings& settings, CChartHistRequest& history) {
    SExportRequest request;
    const std::string problem = CheckExportRequest(commandLine, request);
    if (!problem.empty()) {
        PrintError(problem);
        return kExportBadArguments;
    }
    // The log file has it all; standard error keeps only what the user must read, unless there
    // is no log file to keep the rest.
    const SLogResult log = InitApplicationLog(executable, false);
    if (log.file.empty()) {
        spdlog::default_logger()->sinks().push_back(
            std::make_shared<spdlog::sinks::stderr_sink_mt>());
    }
    if (request.output == EExportOutput::Chart) {
        spdlog::info("Skychart {} render of {} ({}) at {}x{} to {}", SKYCHART_VERSION,
                     request.symbol, request.typeText, request.width, request.height, request.file);
    } else {
        spdlog::info("Skychart {} export of {} ({}) to {}", SKYCHART_VERSION, request.symbol,
                     request.typeText, request.file);
    }

    CStderrPrompt prompt;
    // The settings are read, never written, and an unreadable file stays where it is: neither
    // mode changes anything the user keeps.
    LoadApplicationSettings(settings, prompt, ESettingsAccess::ReadOnly);
    settings.SetText(keys::kCurrentSymbol, request.symbol);
    settings.SetInt(keys::kRequestDataType, request.dataType);
    if (request.intervalIndex >= 0) {
        settings.SetInt(keys::kRequestIntervalIndex, request.intervalIndex);
    }
    if (request.priceScale >= 0) {
        settings.SetInt(keys::kPriceScale, request.priceScale);
    }
    if (request.compareGiven) {
        settings.SetText(keys::kCompareSymbols, JoinCompareSymbols(request.compare));
    }

    CExportRunner runner(
        request, history, settings, 30s,
        CChartLoader::StallLimitFrom(std::getenv(CChartLoader::kStallLimitVariable)),
        CRegistryPaths::ApplicationFile("Skychart").toStdString(), ::isatty(STDERR_FILENO) == 1);
    // The stored trendlines are drawn in a render, and their file is only read.
    runner.SetTrendlines(CTrendFile().Load(prompt, true));
    return runner.Run();
}

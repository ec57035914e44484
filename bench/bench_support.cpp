#include "bench_support.h"

#include "chart/chart_loader.h"
#include "core/prompt.h"
#include "core/settings.h"
#include "feed/feed_connections.h"
#include "feed/feed_frame.h"
#include "feed/kestrel_client_app_socket.h"
#include "history/chart_hist_request.h"
#include "platform/qt_feed.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "bench: %s (%s)\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

// The frame's part of the load: the lines the lookup connection dispatches reach the chart as the
// view sends them; a fault ends the bench.
class CLoadFrame : public IFeedFrame {
public:
    explicit CLoadFrame(CChartLoader& loader) : m_loader(loader) {}
    void OnServiceIp() override {}
    void OnSearchLine(const std::string& /*line*/) override {}
    void OnHistoryLine(const std::string& line) override { m_loader.OnHistoryLine(line); }
    void OnLevel1Line(const std::string& /*line*/) override {}
    void OnSymbolNotFound(const std::string& /*line*/) override {}
    void OnServiceStatus(const std::string& /*status*/) override {}
    void OnFeedFault(const SFeedFault& fault) override {
        Fail("the lookup connection stopped: " + DescribeFeedFault(fault));
    }

private:
    CChartLoader& m_loader;
};

class CSilentPrompt : public IPrompt {
public:
    void Information(const std::string& /*caption*/, const std::string& /*text*/) override {}
    void Error(const std::string& /*caption*/, const std::string& text) override { Fail(text); }
    bool Question(const std::string& /*caption*/, const std::string& /*text*/) override {
        return false;
    }
    std::string AskText(const std::string& /*caption*/, const std::string& /*text*/) override {
        return {};
    }
};

} // namespace

double LoadOverLoopback(int port, const std::string& command, CChartHistRequest& history) {
    static int argc = 1;
    static char name[] = "bench";
    static char* argv[] = {name, nullptr};
    if (QCoreApplication::instance() == nullptr) {
        new QCoreApplication(argc, argv);
    }
    // The application's path: the lookup connection on the event loop hands what it receives to
    // the chart's parse worker; the worker's wake-ups come back as queued calls.
    CSettings settings;
    CChartLoader loader(history, settings);
    QObject context;
    loader.ParseOnWorker([&context](std::function<void()> call) {
        QMetaObject::invokeMethod(&context, std::move(call), Qt::QueuedConnection);
    });
    CLoadFrame frame(loader);
    CSilentPrompt prompt;
    CQtFeedPlatform platform;
    CFeedConnections feed(frame, prompt, platform);
    if (!feed.CreateConnection(CFeedConnections::kLookup, 0)) {
        Fail("cannot make the lookup connection");
    }
    CKestrelClientAppSocket& lookup = *feed.Connection(CFeedConnections::kLookup);
    lookup.Connect(CFeedConnections::kAddress, static_cast<std::uint32_t>(port));
    while (!lookup.Statistics().IsConnected()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    loader.SetFeed(&feed);
    const auto start = Clock::now();
    if (!feed.SendHistoryCommand(command)) {
        Fail("cannot send the history command");
    }
    while (!history.IsHistoryComplete()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    loader.SetFeed(nullptr);
    return seconds;
}

SLoadOptions ParseLoadOptions(int argc, char** argv, const char* usage) {
    if (argc < 2) {
        std::fprintf(stderr, usage, argv[0]);
        std::exit(2);
    }
    SLoadOptions options;
    options.porticoPath = argv[1];
    for (int i = 2; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--ticks") {
            options.ticks = std::atol(argv[i + 1]);
        } else if (option == "--runs") {
            options.runs = std::max(1, std::atoi(argv[i + 1]));
        } else if (option == "--symbol") {
            options.symbol = argv[i + 1];
        } else {
            options.others[option] = argv[i + 1];
        }
    }
    return options;
}

double Median(std::vector<double> values) {
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

double Percentile(std::vector<double> values, double fraction) {
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    const auto rank = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1));
    return values[rank];
}

long StatusKb(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::size_t length = std::strlen(field);
    while (std::getline(status, line)) {
        if (line.compare(0, length, field) == 0) {
            return std::atol(line.c_str() + length + 1);
        }
    }
    return -1;
}

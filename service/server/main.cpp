// portico: the local market-data service.

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimeZone>

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "options.h"
#include "server.h"
#include "startup_ports.h"

namespace {

int g_signalPipe[2] = {-1, -1};

void OnSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(g_signalPipe[1], &byte, 1);
}

// SIGTERM and SIGINT end the event loop, so that the service shuts down cleanly.
void InstallSignalHandlers(QCoreApplication& app) {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) != 0) {
        return;
    }
    auto* notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [&app] {
        char byte = 0;
        [[maybe_unused]] const auto n = ::read(g_signalPipe[0], &byte, 1);
        app.quit();
    });
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const portico::OptionsResult parsed = portico::ParseOptions(arguments);
    if (!parsed.error.empty()) {
        std::fprintf(stderr, "portico: %s\nTry 'portico --help' for the options.\n",
                     parsed.error.c_str());
        return 2;
    }
    const portico::Options& options = parsed.options;
    if (options.showHelp) {
        std::fputs(portico::HelpText().c_str(), stdout);
        return 0;
    }
    if (options.showVersion) {
        std::printf("portico %s\n", PORTICO_VERSION);
        return 0;
    }

    if (!options.dataDir.empty()) {
        std::string reason;
        if (!portico::CheckDataFolder(options.dataDir, reason)) {
            std::fprintf(stderr, "portico: cannot serve data folder '%s': %s\n",
                         options.dataDir.c_str(), reason.c_str());
            return 1;
        }
    }

    QCoreApplication app(argc, argv);
    // Before anything is printed: a client may signal as soon as it sees the ports.
    InstallSignalHandlers(app);
    if (!options.product.empty() || !options.productVersion.empty()) {
        std::fprintf(stderr, "portico: started for %s %s\n", options.product.c_str(),
                     options.productVersion.c_str());
    }
    QTimeZone zone(QByteArray::fromStdString(options.timeZone));
    if (!zone.isValid()) {
        std::fprintf(stderr, "portico: warning: unknown time zone '%s', using UTC\n",
                     options.timeZone.c_str());
        zone = QTimeZone::utc();
    }
    const portico::StartupPorts defaults = portico::ReadStartupPorts();
    portico::Server server(options, zone);
    std::string error;
    const auto result = server.listen(options.adminPort.value_or(defaults.admin),
                                      options.lookupPort.value_or(defaults.lookup),
                                      options.level1Port.value_or(defaults.level1), error);
    if (result == portico::Server::ListenResult::AdminPortInUse) {
        std::printf("portico: already running (admin port %d in use)\n",
                    options.adminPort.value_or(defaults.admin));
        std::fflush(stdout);
        return 0;
    }
    if (result == portico::Server::ListenResult::Failed) {
        std::fprintf(stderr, "portico: %s\n", error.c_str());
        return 1;
    }
    std::printf("portico: listening admin=%d lookup=%d level1=%d\n", server.adminPort(),
                server.lookupPort(), server.level1Port());
    std::fflush(stdout);
    QObject::connect(&server, &portico::Server::idle, &app, [&app] {
        std::fprintf(stderr, "portico: no clients for the linger time, exiting\n");
        app.quit();
    });
    return app.exec();
}

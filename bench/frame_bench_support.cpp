#include "frame_bench_support.h"

#include "portico_process.h"
#include "temp_dir.h"

#include <QApplication>
#include <QString>
#include <QtGlobal>

#include <spdlog/spdlog.h>

#include <cstdio>
#include <cstdlib>

void PrepareFrameHome(const skychart::test::TempDir& home,
                      const skychart::test::PorticoProcess& portico, const std::string& settings) {
    const std::string config = home.path() + "/config";
    const std::string state = home.path() + "/state";
    ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    ::setenv("XDG_STATE_HOME", state.c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    home.writeFile("config/Orvane/Kestrel/Startup.conf",
                   "[General]\nAdminPort=" + std::to_string(portico.adminPort()) +
                       "\nLookupPort=" + std::to_string(portico.lookupPort()) + "\nLevel1Port=" +
                       std::to_string(portico.level1Port()) + "\nLogPath=" + state + "/logs\n");
    home.writeFile("config/Orvane/Kestrel/DisplayApps/Skychart.conf",
                   "[ApplicationSettings]\n" + settings);
}

std::string EveryStudySettings() {
    std::string text = "MAs SHOW=1\nBB STUDY SHOW=1\nNumber of displayed study charts=10\n";
    for (int pane = 0; pane < 10; ++pane) {
        text += "Type of study chart " + std::to_string(pane) + "=" + std::to_string(pane) + "\n";
    }
    return text;
}

void QuietFrameOutput() {
    spdlog::set_level(spdlog::level::warn);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type != QtDebugMsg && type != QtInfoMsg &&
            !text.contains(QStringLiteral("propagateSizeHints"))) {
            std::fprintf(stderr, "%s\n", qPrintable(text));
        }
    });
}

bool WaitFor(const std::function<bool()>& done, std::chrono::seconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        // Sleeps until something happens; the frame's own timers wake it at least every second.
        QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

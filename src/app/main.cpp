// Skychart: charts one symbol from the local market-data service.

#include "app/command_line.h"
#include "app/ui/charts_app.h"
#include "app/ui/export_runner.h"
#include "app/ui/guarded_application.h"
#include "app/ui/main_frame.h"
#include "app/ui/settings_drill.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "platform/large_pages.h"
#include "platform/registry_paths.h"
#include "platform/workspace_bus.h"

#include <QApplication>
#include <QCoreApplication>
#include <QIcon>

#include <cstdio>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    COrvaneCommandLineInfo commandLine;
    commandLine.Parse(std::vector<std::string>(argv + 1, argv + argc));

    if (commandLine.version) {
        std::printf("Skychart %s\n", SKYCHART_VERSION);
        return 0;
    }
    if (commandLine.help) {
        const std::string usage =
            COrvaneCommandLineInfo::Usage(CRegistryPaths::ApplicationFile("Skychart").toStdString(),
                                          CRegistryPaths::StartupFile().toStdString(),
                                          CRegistryPaths::DefaultLogFolder().toStdString());
        std::fputs(usage.c_str(), stdout);
        return 0;
    }
    if (const std::string problem = commandLine.ServiceProblem(); !problem.empty()) {
        std::fprintf(stderr, "Skychart: %s\n", problem.c_str());
        return 2;
    }
    if (!commandLine.saveWorkspace.empty()) {
        QCoreApplication application(argc, argv);
        const bool sent =
            CWorkspaceBus::Broadcast(QString::fromStdString(commandLine.saveWorkspace));
        if (!sent) {
            std::fprintf(stderr, "Skychart: cannot broadcast the save request: no session bus\n");
        }
        return sent ? 0 : 1;
    }

    if (commandLine.renderRequested) {
        // No window either, but drawing needs a GUI application: on the offscreen platform
        // unless one was chosen, so that no display is needed.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
        QApplication application(argc, argv);
        QApplication::setApplicationName("Skychart");
        QApplication::setApplicationVersion(SKYCHART_VERSION);
        CSettings settings;
        CChartHistRequest history;
        PrepareSeriesMemory(history);
        return RunExport(commandLine, argv[0], settings, history);
    }
    if (commandLine.exportRequested) {
        // No window: runs without a display.
        QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName("Skychart");
        QCoreApplication::setApplicationVersion(SKYCHART_VERSION);
        CSettings settings;
        CChartHistRequest history;
        PrepareSeriesMemory(history);
        return RunExport(commandLine, argv[0], settings, history);
    }

    CGuardedApplication application(argc, argv);
    QApplication::setApplicationName("Skychart");
    QApplication::setApplicationVersion(SKYCHART_VERSION);
    // The installed desktop entry and icon share this name; the icon is built in as well.
    QGuiApplication::setDesktopFileName("org.skychart.Skychart");
    QApplication::setWindowIcon(
        QIcon::fromTheme("org.skychart.Skychart", QIcon(":/icons/org.skychart.Skychart.svg")));
    CChartsApp charts;
    if (!charts.InitInstance(commandLine, argv[0])) {
        return 1;
    }
    if (const int rounds = SettingsDrillRounds(); rounds > 0 && charts.MainFrame() != nullptr) {
        StartSettingsDrill(*charts.MainFrame(), rounds);
    }
    return QApplication::exec();
}

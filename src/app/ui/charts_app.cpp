#include "app/ui/charts_app.h"

#include "trend/ui/trend_file.h"

#include "app/command_line.h"
#include "app/ui/main_frame.h"
#include "app/workspace.h"
#include "chart/color_preset.h"
#include "platform/application_log.h"
#include "platform/config_writer.h"
#include "platform/large_pages.h"
#include "platform/workspace_bus.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <cerrno>

CChartsApp::CChartsApp() : COrvaneWinAppEx("Skychart", SKYCHART_VERSION) {
    PrepareSeriesMemory(m_history);
}

CChartsApp::~CChartsApp() = default;

std::optional<COrvaneCommandLineInfo> CChartsApp::OpenWorkspace(const std::string& name,
                                                                IPrompt& prompt) {
    const std::optional<std::string> arguments = CWorkspaceStore::Load(name, "Skychart");
    if (!arguments) {
        spdlog::error("Workspace \"{}\" holds nothing for Skychart", name);
        prompt.Error(kWorkspaceErrorCaption,
                     fmt::format("Unable to open workspace with name {} in application {}. "
                                 "Error:{}",
                                 name, "Skychart", ENOENT));
        return std::nullopt;
    }
    spdlog::info("Opening workspace \"{}\": {}", name, *arguments);
    COrvaneCommandLineInfo stored;
    stored.Parse(SplitArguments(*arguments));
    return stored;
}

bool CChartsApp::InitInstance(const COrvaneCommandLineInfo& commandLine,
                              const std::string& executable) {
    InitApplicationLog(executable);
    spdlog::info("{} {} starting", ApplicationName(), Version());
    for (const std::string& flag : commandLine.unknownFlags) {
        spdlog::warn("Unknown command line option \"{}\" ignored", flag);
    }

    COrvaneCommandLineInfo effective = commandLine;
    if (!commandLine.openWorkspace.empty()) {
        std::optional<COrvaneCommandLineInfo> stored =
            OpenWorkspace(commandLine.openWorkspace, m_prompt);
        if (!stored) {
            return false;
        }
        effective = *stored;
    }

    SSettingsLoad settings = LoadApplicationSettings(m_settings, m_prompt);
    const bool dark = CMainFrame::DesktopIsDark();
    const EColorPreset colors = FollowDesktopColors(m_settings, dark);
    spdlog::info("Desktop palette {}; chart colours {}", dark ? "dark" : "light",
                 colors == EColorPreset::Dark ? "follow it (dark set)" : "as stored or light");

    m_trendFile = std::make_unique<CTrendFile>();
    m_trendStore = m_trendFile->Load(m_prompt, false);
    m_frame = std::make_unique<CMainFrame>(m_prompt, m_settings, m_history, settings.writer);
    // The service's data comes from the command line given, whatever workspace is opened.
    m_frame->SetServiceOptions(commandLine.ServiceOptions());
    m_frame->UseTrendStore(m_trendStore, [this] { m_trendFile->Save(m_trendStore); });
    if (!m_frame->Create()) {
        spdlog::error("The main frame could not be created");
        return false;
    }
    m_prompt.SetParent(m_frame.get());
    m_frame->SetCommandLine(effective);
    m_frame->ShowWithCommandLine();
    return true;
}

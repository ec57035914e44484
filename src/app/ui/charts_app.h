#pragma once

#include "app/ui/message_box_prompt.h"
#include "app/ui/orvane_win_app.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "trend/trend_store.h"

#include <memory>
#include <optional>

class CMainFrame;
class CTrendFile;

// The chart application: sets up the log, loads the settings, creates and shows the main frame
// and hands it the command line, which applies once the service is ready. It holds the settings
// table and the history, and hands both down to the frame.
class CChartsApp : public COrvaneWinAppEx {
public:
    static constexpr const char* kWorkspaceErrorCaption = "Kestrel Workspace Create Error";

    CChartsApp();
    ~CChartsApp() override;

    bool InitInstance(const COrvaneCommandLineInfo& commandLine,
                      const std::string& executable) override;

    CMainFrame* MainFrame() const { return m_frame.get(); }

    // The command line stored in workspace `name`, or none after telling the user.
    static std::optional<COrvaneCommandLineInfo> OpenWorkspace(const std::string& name,
                                                               IPrompt& prompt);

private:
    CMessageBoxPrompt m_prompt;
    CSettings m_settings;
    CChartHistRequest m_history;
    // The trendlines of every chart, and their file.
    CTrendStore m_trendStore;
    std::unique_ptr<CTrendFile> m_trendFile;
    std::unique_ptr<CMainFrame> m_frame;
};

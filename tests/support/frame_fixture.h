#pragma once

// The real main frame against a real portico on free ports, with its settings in a temporary
// XDG_CONFIG_HOME and every message box answered from a script.

#include "app/ui/main_frame.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "trend/trend_store.h"
#include "trend/ui/trend_file.h"

#include "line_client.h"
#include "portico_process.h"
#include "recording_prompt.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <QString>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace skychart::test {

class FrameTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Loads the settings from the temporary Skychart.conf and creates and shows the frame.
    CMainFrame& OpenFrame(const COrvaneCommandLineInfo& commandLine = {});
    // Destroys the frame and empties the settings table (the files stay).
    void CloseFrame();
    CMainFrame& frame() { return *m_frame; }
    // The settings table and the history handed to the frame.
    CSettings& settings() { return m_settings; }
    CChartHistRequest& history() { return m_history; }
    // Runs the event loop until `done` holds; false when it did not within the time.
    static bool WaitFor(const std::function<bool()>& done,
                        std::chrono::milliseconds timeout = std::chrono::seconds(30));
    // Waits until the service reported "S,IP," to the frame.
    bool WaitForService();
    // A value of the group ApplicationSettings in the real Skychart.conf (empty when missing).
    static QString Stored(const QString& key);
    // Waits until portico watches `count` symbols, by fresh "S,STATS" lines of its admin port.
    bool WaitForServiceWatchCount(int count);
    // Presses Enter in the symbol box after typing `text` into it.
    void EnterInSymbolBox(const QString& text);
    // Stores `values` (key -> text) in the table and has the chart view read its requests again.
    void UseSettings(const std::map<std::string, std::string>& values);
    PorticoProcess& portico() { return *m_portico; }
    // Stops the test's portico and starts another with `arguments` (after no linger and a short
    // connect delay), which the frames opened from now on talk to.
    void UsePortico(std::vector<std::string> arguments = {});
    // The portico processes the frames launched for this test that are still running.
    std::vector<int> LaunchedPorticos() const;
    const std::string& home() const { return m_home.path(); }
    RecordingPrompt m_prompt;

private:
    TempDir m_home;
    CSettings m_settings;
    CChartHistRequest m_history;
    std::unique_ptr<PorticoProcess> m_portico;
    // The trendlines of the frames, in their file in the temporary folder.
    CTrendStore m_trendStore;
    std::unique_ptr<CTrendFile> m_trendFile;
    std::unique_ptr<CMainFrame> m_frame;
};

} // namespace skychart::test

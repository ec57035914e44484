#include "frame_fixture.h"

#include "base/fields.h"
#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "platform/config_writer.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace skychart::test {

using namespace std::chrono_literals;

void FrameTest::SetUp() {
    const std::string config = home() + "/config";
    const std::string state = home() + "/state";
    ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    ::setenv("XDG_STATE_HOME", state.c_str(), 1);
    // A frozen exchange clock keeps answers stable; no linger, the test stops portico.
    UsePortico();
    settings().Reset();
}

void FrameTest::UsePortico(std::vector<std::string> arguments) {
    if (m_portico) {
        m_portico->stop();
    }
    arguments.insert(arguments.begin(), {"--linger", "0", "--connect-delay", "100"});
    m_portico = std::make_unique<PorticoProcess>(PORTICO_EXECUTABLE);
    ASSERT_TRUE(m_portico->start(arguments)) << m_portico->errorOutput();
    m_home.writeFile("config/Orvane/Kestrel/Startup.conf",
                     fmt::format("[General]\nAdminPort={}\nLookupPort={}\nLevel1Port={}\n"
                                 "LogPath={}/state/logs\n",
                                 m_portico->adminPort(), m_portico->lookupPort(),
                                 m_portico->level1Port(), home()));
}

void FrameTest::TearDown() {
    CloseFrame();
    // The frames launched portico too; those exit at once while the test's portico holds the
    // ports. Waiting for them here keeps one from taking over the ports once ours has stopped.
    EXPECT_TRUE(WaitFor([this] { return LaunchedPorticos().empty(); }, 30s))
        << "a portico launched by the frame is still running";
    if (m_portico) {
        m_portico->stop();
    }
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("XDG_STATE_HOME");
}

CMainFrame& FrameTest::OpenFrame(const COrvaneCommandLineInfo& commandLine) {
    SSettingsLoad load = LoadApplicationSettings(settings(), m_prompt);
    m_trendFile = std::make_unique<CTrendFile>();
    m_trendStore = m_trendFile->Load(m_prompt, false);
    m_frame = std::make_unique<CMainFrame>(m_prompt, settings(), m_history, load.writer);
    m_frame->UseTrendStore(m_trendStore, [this] { m_trendFile->Save(m_trendStore); });
    EXPECT_TRUE(m_frame->Create());
    m_frame->SetCommandLine(commandLine);
    m_frame->ShowWithCommandLine();
    return *m_frame;
}

void FrameTest::CloseFrame() {
    m_frame.reset();
    QApplication::processEvents();
    settings().Reset();
}

std::vector<int> FrameTest::LaunchedPorticos() const {
    // Processes running portico with this test's configuration folder in their environment.
    const std::string marker = "XDG_CONFIG_HOME=" + home() + "/config";
    std::vector<int> pids;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        std::error_code error;
        const auto executable = std::filesystem::read_symlink(entry.path() / "exe", error);
        if (error || executable.filename() != "portico") {
            continue;
        }
        std::ifstream environment(entry.path() / "environ", std::ios::binary);
        std::string variable;
        while (std::getline(environment, variable, '\0')) {
            if (variable == marker) {
                pids.push_back(std::stoi(name));
                break;
            }
        }
    }
    return pids;
}

bool FrameTest::WaitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

bool FrameTest::WaitForService() {
    return WaitFor([this] { return m_frame && m_frame->ServiceReady(); });
}

QString FrameTest::Stored(const QString& key) {
    return QString::fromStdString(CConfigWriter().Read(key.toStdString(), ""));
}

bool FrameTest::WaitForServiceWatchCount(int count) {
    // Field 5 of the service's statistics line is the number of watched symbols.
    return WaitFor(
        [&] {
            LineClient admin;
            const std::optional<std::string> line =
                admin.connect(m_portico->adminPort()) ? admin.readLineStartingWith("S,STATS,", 10s)
                                                      : std::nullopt;
            const std::vector<std::string> fields =
                line ? SplitFieldsCopy(*line) : std::vector<std::string>{};
            return fields.size() > 5 && std::atoi(fields[5].c_str()) == count;
        },
        30s);
}

void FrameTest::EnterInSymbolBox(const QString& text) {
    QLineEdit* edit = m_frame->SymbolCombo()->lineEdit();
    edit->setFocus();
    edit->setText(text);
    QTest::keyClick(edit, Qt::Key_Return);
}

void FrameTest::UseSettings(const std::map<std::string, std::string>& values) {
    for (const auto& [key, value] : values) {
        ASSERT_TRUE(m_settings.SetText(key, value)) << key;
    }
    m_frame->ChartView()->ReloadRequestSettings();
}

} // namespace skychart::test

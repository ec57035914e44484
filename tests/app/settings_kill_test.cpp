// The real Skychart, killed with SIGKILL at random moments (from a fixed seed) while it starts
// and while its settings drill stores: the settings file always parses, keeps every key, holds
// all or none of each OK's changes, holds what the last report said was stored, and has nothing
// left beside it.

#include "core/setting_keys.h"
#include "platform/config_writer.h"

#include "headless_run.h"
#include "portico_process.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <QString>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <poll.h>
#include <random>
#include <regex>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace skychart::test {
namespace {

namespace fs = std::filesystem;

// The drill's round r sets "Scrolling By Items Not Percent" r, "PTS INDEX" r mod 11 and
// "Grid Style" r mod 5.
constexpr int kPointCounts = 11;
constexpr int kGridStyles = 5;
const std::vector<std::string> kDrillKeys{keys::kScrollingItems, keys::kPtsIndex, keys::kGridStyle,
                                          keys::kShowGrid};

int NextRound(int round) {
    return round % 1000 + 1;
}

// A Skychart running the drill, its standard output on a pipe: what it printed is read as it
// comes while waiting for "ready", and to the end once it has been killed.
class DrillProcess {
public:
    explicit DrillProcess(std::vector<std::string> environment) {
        int fds[2] = {-1, -1};
        EXPECT_EQ(::pipe2(fds, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
        std::string executable = SKYCHART_EXECUTABLE;
        char* argv[] = {executable.data(), nullptr};
        std::vector<char*> envp;
        for (std::string& entry : environment) {
            envp.push_back(entry.data());
        }
        envp.push_back(nullptr);
        EXPECT_EQ(::posix_spawn(&m_pid, argv[0], &actions, nullptr, argv, envp.data()), 0);
        posix_spawn_file_actions_destroy(&actions);
        ::close(fds[1]);
        m_out = fds[0];
    }
    ~DrillProcess() {
        Kill();
        ::close(m_out);
    }
    DrillProcess(const DrillProcess&) = delete;
    DrillProcess& operator=(const DrillProcess&) = delete;
    bool WaitForReady() {
        while (m_text.find("ready\n") == std::string::npos) {
            pollfd poll{m_out, POLLIN, 0};
            if (::poll(&poll, 1, 60000) <= 0 || !ReadSome()) {
                return false;
            }
        }
        return true;
    }
    // SIGKILL and the process reaped; the lines it printed.
    std::vector<std::string> Kill() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
            m_pid = -1;
            ::fcntl(m_out, F_SETFL, O_NONBLOCK);
            while (ReadSome()) {
            }
        }
        std::vector<std::string> lines;
        std::istringstream in(m_text);
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    bool ReadSome() {
        char buffer[4096];
        const ssize_t got = ::read(m_out, buffer, sizeof buffer);
        m_text.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return got > 0;
    }
    pid_t m_pid = -1;
    int m_out = -1;
    std::string m_text;
};

class SettingsKillTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_portico.start({"--linger", "600"})) << m_portico.errorOutput();
        WriteStartupPorts(m_home, m_portico.adminPort(), m_portico.lookupPort(),
                          m_portico.level1Port());
        for (const char* folder : {"config/Orvane/Kestrel/DisplayApps", "state"}) {
            fs::create_directories(m_home.path() + "/" + folder);
        }
        // The runtime folder in memory where there is one, as on a desktop.
        std::string runtime = fs::is_directory("/dev/shm") ? "/dev/shm/skychart-run-XXXXXX"
                                                           : m_home.path() + "/run-XXXXXX";
        ASSERT_NE(::mkdtemp(runtime.data()), nullptr);
        m_runtime = runtime;
        m_environment =
            EnvironmentWith({"XDG_CONFIG_HOME=" + m_home.path() + "/config",
                             "XDG_STATE_HOME=" + m_home.path() + "/state",
                             "XDG_RUNTIME_DIR=" + m_runtime, "QT_QPA_PLATFORM=offscreen"});
        std::erase_if(m_environment, [](const std::string& entry) {
            return entry.starts_with("DISPLAY=") || entry.starts_with("WAYLAND_DISPLAY=") ||
                   entry.starts_with("DBUS_SESSION_BUS_ADDRESS=");
        });
    }
    void TearDown() override {
        if (!m_runtime.empty()) {
            fs::remove_all(m_runtime);
        }
    }
    std::vector<std::string> Environment(int rounds) const {
        std::vector<std::string> environment = m_environment;
        environment.push_back("SKYCHART_SETTINGS_DRILL=" + std::to_string(rounds));
        return environment;
    }
    std::string Folder() const { return m_home.path() + "/config/Orvane/Kestrel/DisplayApps"; }
    std::string File() const { return Folder() + "/Skychart.conf"; }
    // Every persisted key as the file holds it ("<missing>" when it does not).
    std::map<std::string, std::string> Stored() const {
        CConfigWriter reader(QString::fromStdString(File()));
        std::map<std::string, std::string> stored;
        for (const SSettingKey& key : AllSettingKeys()) {
            if (key.persist) {
                stored[key.key] = reader.Read(key.key, "<missing>");
            }
        }
        return stored;
    }
    std::vector<std::string> FolderEntries(const std::string& folder) const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // Runs the drill to its end.
    void RunToEnd(int rounds) {
        const RunResult run = RunProcess(SKYCHART_EXECUTABLE, {}, Environment(rounds), 120s);
        ASSERT_EQ(run.exitCode, 0) << run.err;
    }
    PorticoProcess m_portico{PORTICO_EXECUTABLE};
    TempDir m_home;
    std::string m_runtime;
    std::vector<std::string> m_environment;
};

TEST_F(SettingsKillTest, TwoHundredKillsLeaveEveryKeyAndAllOrNoneOfEachOk) {
    // Every persisted key in the file, then one round so that what OK stores besides the drill's
    // keys (the data page's dates, say) is in place: those keys must not change from here on.
    {
        std::vector<std::pair<std::string, std::string>> values;
        for (const SSettingKey& key : AllSettingKeys()) {
            if (key.persist) {
                values.emplace_back(key.key, key.defaultValue);
            }
        }
        ASSERT_TRUE(CConfigWriter(QString::fromStdString(File())).WriteAll(values));
    }
    const std::map<std::string, std::string> defaults = Stored();
    RunToEnd(1);
    const std::map<std::string, std::string> seeded = Stored();
    int round = std::stoi(seeded.at(keys::kScrollingItems));
    std::mt19937 random(20240611);
    for (int run = 0; run < 200; ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        DrillProcess drill(Environment(1000000));
        // Even runs die while starting, odd ones while the drill stores.
        if (run % 2 == 1) {
            ASSERT_TRUE(drill.WaitForReady());
        }
        const int delay = std::uniform_int_distribution<int>(0, run % 2 == 1 ? 150 : 200)(random);
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        const std::vector<std::string> lines = drill.Kill();
        ASSERT_EQ(SettingsFileProblem(QString::fromStdString(File())), "");
        // Beside the file at most the new bytes of a kill between linking and renaming them
        // (the next start removes them); never a lock.
        for (const std::string& name : FolderEntries(Folder())) {
            static const std::regex leftover(R"(Skychart\.conf\.new-\d+-\d+)");
            ASSERT_TRUE(name == "Skychart.conf" || std::regex_match(name, leftover)) << name;
        }
        const std::map<std::string, std::string> stored = Stored();
        for (const auto& [key, value] : seeded) {
            ASSERT_NE(stored.at(key), "<missing>") << key;
            if (defaults.at(key) == value &&
                std::find(kDrillKeys.begin(), kDrillKeys.end(), key) == kDrillKeys.end()) {
                ASSERT_EQ(stored.at(key), value) << key;
            }
        }
        // All or none: the three values of one round.
        const int now = std::stoi(stored.at(keys::kScrollingItems));
        ASSERT_EQ(std::stoi(stored.at(keys::kPtsIndex)), now % kPointCounts) << now;
        ASSERT_EQ(std::stoi(stored.at(keys::kGridStyle)), now % kGridStyles) << now;
        // What was reported stored is in the file; at most the next step is beyond it.
        std::string last = "none";
        for (const std::string& line : lines) {
            if (line.starts_with("ok ")) {
                round = std::stoi(line.substr(3));
                last = "ok";
            } else if (line.starts_with("grid ")) {
                last = "grid";
            }
        }
        // The at-once store is in the file even though Apply or OK has not come yet.
        if (last == "grid") {
            ASSERT_EQ(stored.at(keys::kShowGrid), lines.back().substr(5));
        }
        ASSERT_TRUE(now == round || (last != "ok" && now == NextRound(round)))
            << now << " " << round;
        round = now;
    }
    // A run that ends by itself clears what the killed ones left.
    RunToEnd(1);
    EXPECT_EQ(FolderEntries(m_runtime), std::vector<std::string>{});
    EXPECT_EQ(FolderEntries(Folder()), std::vector<std::string>{"Skychart.conf"});
}

} // namespace
} // namespace skychart::test

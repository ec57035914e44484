#include "platform/application_log.h"
#include "platform/process_alive.h"
#include "platform/registry_paths.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <QSettings>

#include <climits>
#include <csignal>
#include <fstream>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace fs = std::filesystem;
using skychart::test::TempDir;

namespace {

pid_t Spawn(std::vector<std::string> argv) {
    std::vector<char*> args;
    for (std::string& arg : argv) {
        args.push_back(arg.data());
    }
    args.push_back(nullptr);
    pid_t pid = -1;
    EXPECT_EQ(::posix_spawnp(&pid, args[0], nullptr, nullptr, args.data(), environ), 0);
    return pid;
}

// A real process that runs until the test ends: another live instance.
struct LiveChild {
    const pid_t pid = Spawn({"sleep", "300"});
    ~LiveChild() {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
};

// The pid of a real process that has ended and been reaped: a finished instance.
unsigned FinishedPid() {
    const pid_t pid = Spawn({"true"});
    ::waitpid(pid, nullptr, 0);
    return static_cast<unsigned>(pid);
}

fs::path LogOf(const fs::path& folder, unsigned pid) {
    fs::create_directories(folder);
    const fs::path file = folder / ("SkychartLog_" + std::to_string(pid) + ".txt");
    if (!fs::exists(file)) {
        std::ofstream(file) << "an earlier instance\n";
    }
    return file;
}

TEST(ProcessAlive, TellsRunningFromFinishedProcesses) {
    LiveChild live;
    EXPECT_TRUE(IsProcessRunning(static_cast<unsigned>(live.pid)));
    EXPECT_TRUE(IsProcessRunning(1)); // running, and not ours to signal unless we are root
    EXPECT_FALSE(IsProcessRunning(FinishedPid()));
    EXPECT_FALSE(IsProcessRunning(0));
    EXPECT_FALSE(IsProcessRunning(UINT_MAX));
}

class LogStart : public ::testing::Test {
protected:
    void SetUp() override {
        ::setenv("XDG_CONFIG_HOME", (fs::path(home.path()) / "config").c_str(), 1);
        ::setenv("XDG_STATE_HOME", (fs::path(home.path()) / "state").c_str(), 1);
    }
    TempDir home;
    const fs::path defaultFolder = fs::path(home.path()) / "state/Orvane/Kestrel/Logs";
};

TEST_F(LogStart, FinishedInstancesLogsGoUnlessPreservedAndLiveOnesStay) {
    LiveChild other;
    const fs::path live = LogOf(defaultFolder, static_cast<unsigned>(other.pid));
    const fs::path finished = LogOf(defaultFolder, FinishedPid());

    const SLogResult result = InitApplicationLog("/opt/skychart/Skychart.EXE");
    EXPECT_EQ(result.file, defaultFolder / ("SkychartLog_" + std::to_string(::getpid()) + ".txt"));
    EXPECT_TRUE(fs::exists(result.file));
    EXPECT_TRUE(fs::exists(live));
    EXPECT_FALSE(fs::exists(finished));
    EXPECT_EQ(result.deleted, std::vector<fs::path>{finished});
    QSettings startup(CRegistryPaths::StartupFile(), QSettings::IniFormat);
    EXPECT_EQ(fs::path(startup.value("LogPath").toString().toStdString()), defaultFolder);

    // A chosen folder, and the switch that keeps every log.
    const fs::path folder = fs::path(home.path()) / "chosen logs";
    const fs::path old = LogOf(folder, FinishedPid());
    for (const std::string preserve : {"1", "0"}) { // one start-up file each
        const fs::path config = fs::path(home.path()) / ("config" + preserve);
        ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
        home.writeFile(fs::path(CRegistryPaths::StartupFile().toStdString())
                           .lexically_relative(home.path())
                           .string(),
                       "LogPath=" + folder.string() + "\nPreserveDisplayAppLogs=" + preserve +
                           "\n");
        EXPECT_EQ(InitApplicationLog("Skychart").file.parent_path(), folder);
        EXPECT_EQ(fs::exists(old), preserve == "1");
    }
}

} // namespace

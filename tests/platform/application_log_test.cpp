#include "platform/application_log.h"
#include "platform/process_alive.h"
#include "platform/registry_paths.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <QSettings>

#include <climits>
#include <csignal>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using skychart::test::TempDir;

namespace {

// A child process that waits to be killed (another live instance), or that ends at once and is
// reaped (a finished instance).
pid_t Child(bool live) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (live) {
            ::pause();
        }
        ::_exit(0);
    }
    if (!live) {
        ::waitpid(pid, nullptr, 0);
    }
    return pid;
}
struct LiveChild {
    const pid_t pid = Child(true);
    ~LiveChild() {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
};
unsigned FinishedPid() {
    return static_cast<unsigned>(Child(false));
}

fs::path LogOf(const fs::path& folder, unsigned pid) {
    fs::create_directories(folder);
    const fs::path file = folder / ("SkychartLog_" + std::to_string(pid) + ".txt");
    if (!fs::exists(file)) {
        std::ofstream(file) << "an earlier instance\n";
    }
    return file;
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

    EXPECT_TRUE(IsProcessRunning(1)); // running, and not ours to signal unless we are root
    EXPECT_FALSE(IsProcessRunning(0));
    EXPECT_FALSE(IsProcessRunning(UINT_MAX));
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

// The start-up of the log (a finished instance's log removed, a live one's kept), the port
// reader over a real Startup.conf in a temporary XDG_CONFIG_HOME, and the launcher of the
// suite's programs over real child processes.

#include "platform/application_log.h"
#include "platform/process_alive.h"
#include "platform/process_launcher.h"
#include "platform/registry_paths.h"
#include "platform/startup_store.h"

#include "deadline.h"
#include "settings_file.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <QSettings>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using skychart::test::ReadFile;
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
    EXPECT_FALSE(IsProcessRunning(0) || IsProcessRunning(UINT_MAX));
    const SLogResult result = InitApplicationLog("/opt/skychart/Skychart.EXE");
    EXPECT_EQ(result.file, defaultFolder / ("SkychartLog_" + std::to_string(::getpid()) + ".txt"));
    EXPECT_TRUE(fs::exists(result.file) && fs::exists(live) && !fs::exists(finished));
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

class StartupPorts : public skychart::test::SettingsFileTest {
protected:
    fs::path File() const { return CRegistryPaths::StartupFile().toStdString(); }
    void Write(const std::string& text) const {
        home.writeFile(File().lexically_relative(home.path()).string(), text);
    }
    static QVariant Value(const char* name) {
        return QSettings(CRegistryPaths::StartupFile(), QSettings::IniFormat).value(name);
    }
    static int Lookup() { return CStartupStore::ReadPort("LookupPort", "9100", 9100); }
};

TEST_F(StartupPorts, AMissingPortIsWrittenAsItsDefaultTextAndUsed) {
    EXPECT_EQ(CStartupStore::ReadPort("AdminPort", "9300", 9300), 9300);
    EXPECT_EQ(Value("AdminPort").typeId(), QMetaType::QString);
    EXPECT_EQ(Value("AdminPort").toString(), "9300");
    EXPECT_EQ(CStartupStore::ReadPort("AdminPort", "9300", 9300), 9300);
    // Beside other values only the missing one is added.
    Write("[General]\nLookupPort=9101\n");
    EXPECT_EQ(CStartupStore::ReadPort("Level1Port", "5009", 5009), 5009);
    EXPECT_EQ(std::tuple(Lookup(), Value("LookupPort").toString()), std::tuple(9101, "9101"));
    EXPECT_EQ(Value("Level1Port").toString(), "5009");
}

TEST_F(StartupPorts, ATextIsReadLikeAtoiAndCutTo16BitsAndAnotherValueIsReplaced) {
    const std::string longest = std::string(CStartupStore::kValueBufferBytes - 5, '0') + "9301";
    const std::pair<std::string, int> cases[] = {
        {"9101", 9101},  {"42xyz", 42}, {"abc", 0},         {"", 0},
        {"70000", 4464}, {"-1", 65535}, {"99999999999", 0}, {longest, 9301},
    };
    for (const auto& [text, port] : cases) {
        Write("[General]\nLookupPort=" + text + "\n");
        EXPECT_EQ(Lookup(), port) << text;
        EXPECT_EQ(ReadFile(File()), "[General]\nLookupPort=" + text + "\n") << "rewritten";
    }
    // A value of another type, or too long for the buffer, is replaced by the default text.
    for (const std::string& value : {std::string("9101, 9102"), std::string("@ByteArray(9101)"),
                                     std::string("@Rect(1 2 3 4)"), "0" + longest}) {
        Write("[General]\nLookupPort=" + value + "\nAdminPort=9301\n");
        EXPECT_EQ(Lookup(), 9100) << value;
        EXPECT_EQ(Value("LookupPort").typeId(), QMetaType::QString) << value;
        EXPECT_EQ(Value("LookupPort").toString(), "9100") << value;
        EXPECT_EQ(Value("AdminPort").toString(), "9301");
    }
}

TEST(ProcessLauncher, AProgramThatIsNowhereIsReported) {
    EXPECT_FALSE(CProcessLauncher::Find("sh").isEmpty());
    EXPECT_TRUE(CProcessLauncher::Find("no-such-program-anywhere").isEmpty());
    EXPECT_TRUE(CProcessLauncher::Find("/no/such/program").isEmpty());
    int error = 0;
    EXPECT_FALSE(CProcessLauncher::Launch("no-such-program-anywhere", {}, error));
    EXPECT_EQ(error, ENOENT);
    EXPECT_FALSE(CProcessLauncher::Launch("", {}));
}

TEST(ProcessLauncher, TheChildsStandardStreamsAreTheNullDeviceOrItsErrorFile) {
    const TempDir dir;
    // The child writes where its own three streams lead, never into ours; with an error file
    // named, its standard error goes there (truncated first).
    for (const std::string& errorFile : {std::string(), dir.path() + "/portico.err"}) {
        SCOPED_TRACE(errorFile);
        const std::string report = dir.path() + "/streams" + std::to_string(errorFile.size());
        if (!errorFile.empty()) {
            std::ofstream(errorFile) << "an older run's lines\n";
        }
        int error = 0;
        qint64 pid = 0;
        ASSERT_TRUE(CProcessLauncher::Launch(
            "sh",
            {"-c",
             "echo told >&2; streams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2); "
             "echo \"$streams\" > \"$0.part\" && mv \"$0.part\" \"$0\"",
             QString::fromStdString(report)},
            error, &pid, QString::fromStdString(errorFile)))
            << error;
        EXPECT_GT(pid, 0);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!fs::exists(report) && skychart::test::RemainingMs(deadline) > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        const std::string stderrPath = errorFile.empty() ? "/dev/null" : errorFile;
        EXPECT_EQ(ReadFile(report), "/dev/null\n/dev/null\n" + stderrPath + "\n");
        if (!errorFile.empty()) {
            EXPECT_EQ(ReadFile(errorFile), "told\n");
        }
    }
}

} // namespace

// The real Skychart binary's export and render modes against a real portico that misbehaves:
// it drips its answers, sends a line over 64 KiB, closes a connection mid-answer or at once; and
// request settings that make no request. Each run ends with its exit code and the cause on
// standard error, and without a terminal nothing is rewritten in place. (Nobody listening at
// all: the export test of the unreachable service.)

#include "portico_process.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace skychart::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSettingsFile = "config/Orvane/Kestrel/DisplayApps/Skychart.conf";

std::string ReadAll(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class ExportFaultsTest : public ::testing::Test {
protected:
    void TearDown() override { m_portico.reset(); }

    // Starts a portico with `faults` in place of the one before and points Skychart at it.
    void StartService(const std::vector<std::string>& faults) {
        m_portico.reset();
        m_portico = std::make_unique<PorticoProcess>(PORTICO_EXECUTABLE);
        std::vector<std::string> arguments{"--linger", "0", "--connect-delay", "100"};
        arguments.insert(arguments.end(), faults.begin(), faults.end());
        ASSERT_TRUE(m_portico->start(arguments)) << m_portico->errorOutput();
        m_home.writeFile("config/Orvane/Kestrel/Startup.conf",
                         fmt::format("[General]\nAdminPort={}\nLookupPort={}\nLevel1Port={}\n",
                                     m_portico->adminPort(), m_portico->lookupPort(),
                                     m_portico->level1Port()));
    }
    std::vector<std::string> Environment() const {
        // A runtime folder of its own keeps Qt from warning about a missing one.
        const fs::path runtime = m_home.path() + "/runtime";
        fs::create_directories(runtime);
        fs::permissions(runtime, fs::perms::owner_all);
        std::vector<std::string> environment =
            EnvironmentWith({"XDG_CONFIG_HOME=" + m_home.path() + "/config",
                             "XDG_STATE_HOME=" + m_home.path() + "/state",
                             "XDG_RUNTIME_DIR=" + runtime.string(), "PATH=/usr/bin:/bin"});
        std::erase_if(environment, [](const std::string& entry) {
            return entry.starts_with("DISPLAY=") || entry.starts_with("WAYLAND_DISPLAY=") ||
                   entry.starts_with("QT_QPA_PLATFORM=");
        });
        return environment;
    }
    // Runs Skychart; standard error as it came (standard output is expected to stay empty).
    RunResult Run(const std::vector<std::string>& arguments) {
        RunResult result = RunProcess(SKYCHART_EXECUTABLE, arguments, Environment(), 120s);
        EXPECT_EQ(result.out, "");
        // Not a terminal: no progress line, nothing rewritten in place.
        EXPECT_EQ(result.err.find('\r'), std::string::npos) << result.err;
        return result;
    }
    std::string File(const std::string& name) const { return m_home.path() + "/" + name; }

    TempDir m_home;
    std::unique_ptr<PorticoProcess> m_portico;
};

TEST_F(ExportFaultsTest, ADrippingServiceEndsAtTheTimeoutWithTheCountSoFar) {
    // Fast enough to connect, far too slow for ten thousand days.
    StartService({"--fault-drip", "100"});
    const RunResult loading =
        Run({"--render", File("a.png"), "-symbol", "LUMA", "-type", "Daily", "--timeout", "10"});
    EXPECT_EQ(loading.exitCode, 6) << loading.err;
    EXPECT_TRUE(loading.err.starts_with(
        "Skychart: timed out after 10 s (--timeout 10) while LUMA (Daily) was loading ("))
        << loading.err;
    EXPECT_FALSE(fs::exists(File("a.png")));
}

TEST_F(ExportFaultsTest, ALineOverSixtyFourKibibytesIsNamedAsTheCause) {
    StartService({"--fault-long-line"});
    const RunResult run =
        Run({"--export", File("a.csv"), "-symbol", "LUMA", "-type", "Daily", "--timeout", "60"});
    EXPECT_EQ(run.exitCode, 3) << run.err;
    // The service sends it to every Level 1 client before the line that makes it ready.
    EXPECT_EQ(run.err,
              fmt::format("Skychart: the market-data service sent a line longer than 65,535 bytes "
                          "(the most a line may hold) on the Level 1 connection (127.0.0.1:{}) "
                          "before the service was ready (status \"Connected\")\n",
                          m_portico->level1Port()));
    EXPECT_FALSE(fs::exists(File("a.csv")));
}

TEST_F(ExportFaultsTest, AConnectionTheServiceClosesIsNamedWithWhatHadArrived) {
    // Mid-answer: the lookup connection goes after 100 data lines.
    StartService({"--fault-close-after", "100"});
    const RunResult midAnswer =
        Run({"--export", File("a.csv"), "-symbol", "LUMA", "-type", "Daily"});
    EXPECT_EQ(midAnswer.exitCode, 3) << midAnswer.err;
    EXPECT_EQ(midAnswer.err,
              fmt::format("Skychart: the market-data service closed the lookup connection "
                          "(127.0.0.1:{}) while LUMA (Daily) was loading (100 points received)\n",
                          m_portico->lookupPort()));
    EXPECT_FALSE(fs::exists(File("a.csv")));

    // At once: the admin connection is closed as soon as it is accepted.
    StartService({"--fault-refuse", "1"});
    const RunResult atOnce = Run({"--render", File("a.png"), "-symbol", "LUMA", "-type", "Daily"});
    EXPECT_EQ(atOnce.exitCode, 3) << atOnce.err;
    // An orderly close or a reset, as the timing has it.
    EXPECT_TRUE(atOnce.err.starts_with(
        fmt::format("Skychart: the market-data service closed the admin connection (127.0.0.1:{})",
                    m_portico->adminPort())))
        << atOnce.err;
    EXPECT_TRUE(atOnce.err.ends_with(" before the service was ready (status \"Not Connected\")\n"))
        << atOnce.err;
}

TEST_F(ExportFaultsTest, RequestSettingsThatMakeNoRequestAreNamedAndLeftAsTheyAre) {
    StartService({});
    // A list cut short inside its quotes, as a hand edit may leave it.
    const std::string cutShort = "[ApplicationSettings]\nRequestDatapoints=\"500\n";
    m_home.writeFile(kSettingsFile, cutShort);
    const RunResult run = Run({"--export", File("a.csv"), "-symbol", "LUMA", "-type", "Daily"});
    EXPECT_EQ(run.exitCode, 2) << run.err;
    EXPECT_EQ(run.err, "Skychart: no history requested for LUMA: RequestDatapoints has no value "
                       "for Days: it holds 1 value (\"500\\n\"), one is needed for each of "
                       "Ticks, Intervals, Days, Weeks and Months. Mend it on the Data page of "
                       "\"Chart Settings...\", or edit RequestDatapoints in " +
                           File(kSettingsFile) + ".\n");
    EXPECT_EQ(ReadAll(File(kSettingsFile)), cutShort);
    EXPECT_FALSE(fs::exists(File("a.csv")));
}

} // namespace
} // namespace skychart::test

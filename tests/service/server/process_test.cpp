// The portico process: command line, ports, a second instance, lingering, signals, and the
// statistics line of its admin port.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>
#include <tuple>
#include <unistd.h>

#include "portico_fixture.h"

namespace portico::test {
namespace {

using skychart::test::RunResult;

// Writes Startup.conf where a portico started by `portico` will read it.
std::string WriteStartupConf(PorticoProcess& portico, const std::string& text) {
    const std::string directory = portico.configHome() + "/Orvane/Kestrel";
    std::filesystem::create_directories(directory);
    std::ofstream(directory + "/Startup.conf") << text;
    return directory + "/Startup.conf";
}

TEST(PorticoCommandLineTest, HelpVersionAndBadOptions) {
    const RunResult version = PorticoProcess::Run(PORTICO_EXECUTABLE, {"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "portico 1.0.0\n");
    const RunResult help = PorticoProcess::Run(PORTICO_EXECUTABLE, {"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option : {"--fault-accept-delay", "--start-time", "-product",
                               "--slow-reader-grace", "at most 5,000,000 data lines"}) {
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
    }
    for (const std::vector<std::string>& bad :
         std::vector<std::vector<std::string>>{{"--nonsense"}, {"--start-time", "yesterday"}}) {
        const RunResult result = PorticoProcess::Run(PORTICO_EXECUTABLE, bad);
        EXPECT_EQ(result.exitCode, 2) << bad[0];
        EXPECT_TRUE(result.out.empty());
        EXPECT_NE(result.err.find(bad[0]), std::string::npos) << result.err;
    }
}

TEST(PorticoProcessTest, PortsComeFromStartupConfWhichStaysUntouched) {
    PorticoProcess portico(PORTICO_EXECUTABLE);
    const int admin = skychart::test::UnusedPort();
    const int lookup = skychart::test::UnusedPort();
    const int level1 = skychart::test::UnusedPort();
    const std::string conf = "[General]\nAdminPort=" + std::to_string(admin) +
                             "\nLookupPort=" + std::to_string(lookup) +
                             "\nLevel1Port=" + std::to_string(level1) + "\n";
    const std::string path = WriteStartupConf(portico, conf);
    ASSERT_TRUE(portico.start({"--linger", "0"}, false)) << portico.firstLine();
    EXPECT_EQ(std::tuple(portico.adminPort(), portico.lookupPort(), portico.level1Port()),
              std::tuple(admin, lookup, level1));
    EXPECT_EQ(portico.stop(), 0) << portico.errorOutput();
    EXPECT_EQ(skychart::test::ReadFile(path), conf);
    // Options win over the file; a bad value in it falls back; keys may lack a section.
    PorticoProcess overridden(PORTICO_EXECUTABLE);
    WriteStartupConf(overridden, "AdminPort=notaport\nLookupPort=" + std::to_string(lookup) + "\n");
    ASSERT_TRUE(
        overridden.start({"--admin-port", "0", "--level1-port", std::to_string(level1)}, false))
        << overridden.firstLine();
    EXPECT_NE(overridden.adminPort(), 0);
    EXPECT_EQ(std::tuple(overridden.lookupPort(), overridden.level1Port()),
              std::tuple(lookup, level1));
}

// Started as the application starts it, with a zone it does not know (UTC then), portico
// serves; a second instance finds the admin port taken and leaves.
TEST(PorticoProcessTest, StartsAsTheApplicationLaunchesItAndASecondInstanceLeaves) {
    PorticoProcess first(PORTICO_EXECUTABLE);
    ASSERT_TRUE(first.start(
        {"-product", "TRELLIS_PLOTS", "-version", "1.8.0.0", "--timezone", "Nowhere/Atlantis"}))
        << first.firstLine();
    LineClient level1;
    ASSERT_TRUE(Open(level1, first.level1Port()));
    EXPECT_TRUE(level1.readLineStartingWith("T,", 5s));
    ASSERT_TRUE(level1.send("wLUMA\n"));
    EXPECT_TRUE(level1.readLineStartingWith("P,"));
    EXPECT_NE(first.errorOutput().find("using UTC"), std::string::npos);
    PorticoProcess second(PORTICO_EXECUTABLE);
    EXPECT_FALSE(second.start({"--admin-port", std::to_string(first.adminPort())}));
    EXPECT_EQ(second.firstLine(), "portico: already running (admin port " +
                                      std::to_string(first.adminPort()) + " in use)");
    EXPECT_EQ(second.waitForExit(), 0);
    EXPECT_TRUE(first.running());
    // Terminated with a client watching, it exits cleanly.
    EXPECT_EQ(first.stop(), 0);
}

TEST(PorticoProcessTest, LeavesAfterTheLingerTimeWithoutClients) {
    PorticoProcess idle(PORTICO_EXECUTABLE);
    ASSERT_TRUE(idle.start({"--linger", "1"}));
    EXPECT_EQ(idle.waitForExit(60s), 0);
    PorticoProcess busy(PORTICO_EXECUTABLE);
    ASSERT_TRUE(busy.start({"--linger", "1"}));
    LineClient client;
    ASSERT_TRUE(Open(client, busy.lookupPort(), "SST\n"));
    ASSERT_TRUE(client.readLineStartingWith("!ENDMSG!,"));
    std::this_thread::sleep_for(2500ms); // longer than the linger time
    EXPECT_TRUE(busy.running()) << "a connected client keeps the service up";
    client.close();
    EXPECT_EQ(busy.waitForExit(60s), 0);
}

TEST(PorticoProcessTest, GarbageAndOverlongLinesDoNotHurtTheServiceAndAnInterruptEndsIt) {
    PorticoProcess portico(PORTICO_EXECUTABLE);
    ASSERT_TRUE(portico.start({"--start-time", "2026-11-20 12:00:00"}));
    for (const int port : {portico.adminPort(), portico.lookupPort(), portico.level1Port()}) {
        // 200,000 bytes without a line end, every seventh one of any value but '\n' and '\r'.
        std::string garbage(200'000, 'A');
        for (std::size_t i = 0; i < garbage.size(); i += 7) {
            const char c = static_cast<char>(i * 31 % 256);
            garbage[i] = c == '\n' || c == '\r' ? 'B' : c;
        }
        LineClient client;
        ASSERT_TRUE(Open(client, port, garbage + "\n\x01\x02,,,\xff\nS,SET PROTOCOL,X\n"));
        EXPECT_TRUE(client.readLineStartingWith("S,CURRENT PROTOCOL,X"));
    }
    LineClient lookup;
    ASSERT_TRUE(Open(lookup, portico.lookupPort(), "HTX,LUMA,1,1,Ok\n"));
    EXPECT_TRUE(lookup.readAnswer("Ok"));
    // Interrupted with a client connected, it exits cleanly.
    ::kill(portico.pid(), SIGINT);
    EXPECT_EQ(portico.waitForExit(), 0);
}

// The admin port's statistics line.
class AdminTest : public PorticoTest {};

TEST_F(AdminTest, StatsLineHas21FieldsAndSaysNotConnectedDuringTheDelay) {
    // A delay far longer than any test: the first line is "Not Connected" however slow the
    // machine. (The other tests, without a delay, see "Connected".)
    startPortico(FrozenNoonWith({"--connect-delay", "3600000", "--symbol-limit", "321"}));
    LineClient admin;
    ASSERT_TRUE(admin.connect(portico().adminPort()));
    const auto first = admin.readRawLine();
    ASSERT_TRUE(first);
    ASSERT_TRUE(first->ends_with("\r\n"));
    const auto fields = SplitFieldsCopy(first->substr(0, first->size() - 2));
    ASSERT_EQ(fields.size(), 21u) << *first;
    EXPECT_EQ(
        Pick(fields, {0, 1, 2, 3, 4, 5, 6, 10, 12, 13}),
        (std::vector<std::string>{"S", "STATS", "127.0.0.1", std::to_string(portico().level1Port()),
                                  "321", "0", "1", "Nov 20 12:00PM", "Not Connected", "1.0.0"}));
    for (int i = 15; i <= 20; ++i) {
        EXPECT_TRUE(Matches(fields[i], R"(\d+(\.\d+)?)"));
    }
}

} // namespace
} // namespace portico::test

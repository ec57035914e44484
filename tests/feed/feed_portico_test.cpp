// The feed connections on the Qt event loop against the real portico: the Level 1 handshake,
// the failure of a handler, retries and an overlong line. (Opening the connections, watches,
// searches and the reference tables over real sockets are the frame's tests; the watch limit's
// wire text is pinned on both sides, in the scripted feed tests and the service's own.)

#include "feed/feed_connections.h"
#include "feed/kestrel_client_app_socket.h"
#include "feed/lookup_system_info.h"
#include "platform/process_launcher.h"
#include "platform/qt_feed.h"
#include "portico_process.h"
#include "scripted_feed.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace skychart::test {
namespace {

using Lines = std::vector<std::string>;

// Runs the event loop until `done` holds; false when it does not within the bound.
bool RunUntil(const std::function<bool()>& done, std::chrono::seconds bound = 30s) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

// A port that is taken but refuses connections: bound, never listening.
class RefusingPort {
public:
    RefusingPort() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        auto* any = reinterpret_cast<sockaddr*>(&address);
        if (::bind(fd, any, length) == 0 && ::getsockname(fd, any, &length) == 0) {
            port = ntohs(address.sin_port);
        }
    }
    ~RefusingPort() { ::close(fd); }
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    int port = 0;
};

// The Qt platform, remembering the connection managers it started.
class TrackingPlatform : public CQtFeedPlatform {
public:
    bool LaunchConnectionManager(const std::string& parameters, int& errorCode) override {
        long long pid = 0;
        const bool started = CProcessLauncher::LaunchConnectionManager(parameters, errorCode, &pid);
        if (started) {
            launched.push_back(static_cast<pid_t>(pid));
        }
        return started;
    }
    std::vector<pid_t> launched;
};

bool Running(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string pidText, name, state;
    return stat >> pidText >> name >> state && state != "Z";
}

class FeedPorticoTest : public ::testing::Test {
protected:
    void TearDown() override {
        feed.reset();
        // A started manager finds the test's service on its admin port and leaves at once;
        // the service stays until it has, so that no manager outlives the test.
        for (const pid_t pid : platform.launched) {
            RunUntil([pid] { return !Running(pid); }, 10s);
            if (Running(pid)) {
                ::kill(pid, SIGTERM);
            }
        }
    }

    // Starts portico with `arguments` and points this process's Startup.conf at its ports.
    void StartService(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.end(), {"--connect-delay", "0", "--linger", "0"});
        ASSERT_TRUE(portico.start(arguments)) << portico.errorOutput();
        UseConfig(portico.configHome(), portico.adminPort(), portico.lookupPort(),
                  portico.level1Port());
    }
    // Makes `home` this process's configuration folder, with the three ports in Startup.conf.
    static void UseConfig(const std::string& home, int admin, int lookup, int level1) {
        ::setenv("XDG_CONFIG_HOME", home.c_str(), 1);
        const std::filesystem::path folder = std::filesystem::path(home) / "Orvane" / "Kestrel";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "Startup.conf")
            << "[General]\nAdminPort=" << admin << "\nLookupPort=" << lookup
            << "\nLevel1Port=" << level1 << "\n";
    }
    void StartFeed() {
        feed = std::make_unique<CFeedConnections>(frame, prompt, platform);
        feed->Start();
    }
    const SKestrelSocketStats& Stats(int kind) const { return *feed->ConnectionStatistics(kind); }

    PorticoProcess portico{PORTICO_EXECUTABLE};
    TrackingPlatform platform;
    std::optional<TempDir> m_home;
    std::optional<RefusingPort> m_refusing;
    RecordingFrame frame;
    RecordingPrompt prompt;
    std::unique_ptr<CFeedConnections> feed;
};

// Records the 'S' lines of one connection.
Lines g_systemLines;
void RecordSystemLine(CFeedConnections& /*frame*/, const std::string& line) {
    g_systemLines.push_back(line);
}

TEST_F(FeedPorticoTest, TheServiceTakesTheLevel1HandshakeAndAFailedLineLosesOnlyItself) {
    StartService();
    StartFeed();
    ASSERT_TRUE(RunUntil([this] {
        const SKestrelSocketStats* level1 = feed->ConnectionStatistics(CFeedConnections::kLevel1);
        return level1 != nullptr && level1->IsConnected() && frame.serviceIp > 0;
    })) << "the Level 1 connection never came up";
    // A connection of its own, to see the service's answers to the handshake.
    CKestrelClientAppSocket socket(platform, *feed, prompt, 3);
    socket.SetHandler('S', &RecordSystemLine);
    socket.SetProtocolVersion("6.1");
    socket.SetClientName("Skychart");
    socket.SetUpdateFields(CFeedConnections::UpdateFieldList());
    g_systemLines.clear();
    ASSERT_TRUE(socket.Create());
    socket.Connect("127.0.0.1", static_cast<std::uint32_t>(portico.level1Port()));
    ASSERT_TRUE(RunUntil([] { return g_systemLines.size() >= 3; }));
    EXPECT_TRUE(g_systemLines[0].starts_with("S,IP,")) << g_systemLines[0];
    EXPECT_EQ(g_systemLines[1], "S,CURRENT PROTOCOL,6.1");
    EXPECT_EQ(g_systemLines[2], "S,CURRENT UPDATE FIELDS," + CFeedConnections::UpdateFieldList());

    // The fundamental line fails in the frame after the watch bookkeeping; later lines still come.
    frame.throwOnLevel1 = true;
    EXPECT_GT(feed->WatchSymbol("AURX"), 0);
    ASSERT_TRUE(RunUntil([this] { return frame.Saw("P,AURX,") && frame.level1Lines.size() >= 3; }));
    EXPECT_TRUE(frame.Saw("F,AURX,"));
    EXPECT_TRUE(feed->WatchesInFlight().empty());
}

TEST_F(FeedPorticoTest, AnAdminPortThatRefusesEndsInTheFailureBoxAfterTenRetries) {
    // Kept until the started manager has gone, so that it cannot take the port itself.
    const RefusingPort& refusing = m_refusing.emplace();
    ASSERT_NE(refusing.port, 0);
    UseConfig(m_home.emplace().path(), refusing.port, refusing.port, refusing.port);
    StartFeed();
    ASSERT_TRUE(RunUntil([this] { return !prompt.boxes.empty(); }));
    ASSERT_EQ(prompt.boxes.size(), 1u);
    EXPECT_EQ(prompt.boxes[0].text, "Skychart is unable to connect to Kestrel.\nPlease restart the "
                                    "application.\nIf the error persists, please contact customer "
                                    "service.\nError Code: 111");
    EXPECT_EQ(feed->Connection(CFeedConnections::kAdmin)->ConnectRetriesLeft(), 0u);
    EXPECT_FALSE(Stats(CFeedConnections::kAdmin).IsConnected());
    EXPECT_EQ(feed->Connection(CFeedConnections::kLookup), nullptr);
    // The tables cannot be fetched either, and stay unloaded.
    EXPECT_FALSE(feed->ListedMarkets().Load());
    EXPECT_FALSE(feed->ListedMarkets().IsLoaded());
}

TEST_F(FeedPorticoTest, ALineOverTheLimitStallsOnlyItsOwnConnection) {
    StartService({"--fault-long-line"});
    StartFeed();
    ASSERT_TRUE(RunUntil([this] {
        const CKestrelClientAppSocket* level1 = feed->Connection(CFeedConnections::kLevel1);
        return level1 != nullptr &&
               level1->ReceiveFill() == CKestrelStreamSocket::kReceiveCapacity - 1;
    }));
    const std::uint32_t seen = Stats(CFeedConnections::kAdmin).messagesReceived.value;
    ASSERT_TRUE(RunUntil(
        [&] { return Stats(CFeedConnections::kAdmin).messagesReceived.value >= seen + 2; }));
    EXPECT_EQ(feed->Connection(CFeedConnections::kLevel1)->LastReceiveCount(), 0);
}

} // namespace
} // namespace skychart::test

// The feed connections on the Qt event loop against the real portico: the Level 1 handshake,
// the failure of a handler, retries and an overlong line. (Opening the connections, watches,
// searches and the reference tables over real sockets are the frame's tests; the watch limit's
// wire text is pinned on both sides, in the scripted feed tests and the service's own.)

#include "feed/feed_connections.h"
#include "feed/kestrel_client_app_socket.h"
#include "feed/lookup_system_info.h"
#include "line_client.h"
#include "platform/qt_feed.h"
#include "portico_process.h"
#include "scripted_feed.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <functional>

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

// The Qt platform without the connection manager: the test starts the service itself (the frame
// tests and the end-to-end tests start it as the application does).
class ServicePlatform : public CQtFeedPlatform {
public:
    bool LaunchConnectionManager(const std::string& /*parameters*/, int& errorCode) override {
        errorCode = 0;
        return true;
    }
};

class FeedPorticoTest : public ::testing::Test {
protected:
    // Starts portico with `arguments` and points this process's Startup.conf at its ports.
    void StartService(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.end(), {"--connect-delay", "0", "--linger", "0"});
        ASSERT_TRUE(portico.start(arguments)) << portico.errorOutput();
        UsePorts(portico.adminPort(), portico.lookupPort(), portico.level1Port());
    }
    void UsePorts(int admin, int lookup, int level1) {
        ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1);
        home.writeFile("Orvane/Kestrel/Startup.conf",
                       fmt::format("[General]\nAdminPort={}\nLookupPort={}\nLevel1Port={}\n", admin,
                                   lookup, level1));
    }
    void StartFeed() {
        feed = std::make_unique<CFeedConnections>(frame, prompt, platform);
        feed->Start();
    }
    const SKestrelSocketStats& Stats(int kind) const { return *feed->ConnectionStatistics(kind); }

    PorticoProcess portico{PORTICO_EXECUTABLE};
    ServicePlatform platform;
    TempDir home;
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
    const int refusing = UnusedPort();
    UsePorts(refusing, refusing, refusing);
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

// The socket notifications come from Qt's event loop, so these tests run inside an application.
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// The feed connections on the Qt event loop against the real portico: statistics and handshakes,
// watches against the symbol limit, lookups, and the faults the service can be made to commit.

#include "base/error.h"
#include "feed/feed_connections.h"
#include "feed/feed_frame.h"
#include "feed/kestrel_client_app_socket.h"
#include "feed/lookup_system_info.h"
#include "line_client.h"
#include "platform/qt_feed.h"
#include "portico_process.h"
#include "recording_prompt.h"
#include "run_until.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <functional>
#include <tuple>

namespace skychart::test {
namespace {

using Lines = std::vector<std::string>;
using Symbols = std::deque<std::string>;
constexpr int kAdmin = CFeedConnections::kAdmin;
constexpr int kLookup = CFeedConnections::kLookup;
constexpr int kLevel1 = CFeedConnections::kLevel1;

// The Qt platform without the connection manager: the test starts the service itself (the frame
// tests and the end-to-end tests start it as the application does).
class ServicePlatform : public CQtFeedPlatform {
public:
    bool LaunchConnectionManager(const std::vector<std::string>& /*arguments*/,
                                 int& errorCode) override {
        errorCode = 0;
        return true;
    }
};

// Sends all of `text` on `socket`, waiting for room when the kernel takes only part of it.
bool SendAll(CKestrelStreamSocket& socket, std::string_view text) {
    return RunUntil([&] {
        const int sent = socket.Send(text.data(), static_cast<int>(text.size()));
        text.remove_prefix(static_cast<std::size_t>(std::max(sent, 0)));
        return text.empty();
    });
}

// Records what the feed hands to the frame. A malformed update line fails here as it does in the
// chart's parser.
class RecordingFrame : public IFeedFrame {
public:
    void OnServiceIp() override { ++serviceIp; }
    void OnSearchLine(const std::string& line) override { searchLines.push_back(line); }
    void OnHistoryLine(const std::string& line) override { historyLines.push_back(line); }
    void OnLevel1Line(const std::string& line) override {
        level1Lines.push_back(line);
        if (line.find("#MALFORMED#") != std::string::npos) {
            throw CInvalidArgException("malformed update line");
        }
    }
    void OnSymbolNotFound(const std::string& line) override { notFound.push_back(line); }
    void OnServiceStatus(const std::string& status) override { statuses.push_back(status); }
    void OnFeedFault(const SFeedFault& fault) override {
        faults.push_back(DescribeFeedFault(fault));
    }

    // The Level 1 lines starting with `prefix`.
    std::size_t Count(std::string_view prefix) const {
        return static_cast<std::size_t>(
            std::count_if(level1Lines.begin(), level1Lines.end(),
                          [&](const std::string& line) { return line.starts_with(prefix); }));
    }

    int serviceIp = 0;
    Lines searchLines;
    Lines historyLines;
    Lines level1Lines;
    Lines notFound;
    Lines statuses;
    Lines faults;
};

// Every line each connection of the feed received, recorded by taps put in front of its handlers.
std::array<Lines, CFeedConnections::kConnectionKinds> g_received;
std::array<std::array<FeedLineHandler, 256>, CFeedConnections::kConnectionKinds> g_handlers;
// The pending watches right after the first symbol limit reply was handled.
Symbols g_pendingAfterLimit;

void TapConnections(CFeedConnections& feed);

template <int Kind> void Tap(CFeedConnections& feed, const std::string& line) {
    g_received[Kind].push_back(line);
    g_handlers[Kind][static_cast<unsigned char>(line[0])](feed, line);
    if (line.starts_with("S,SYMBOL LIMIT REACHED") && g_pendingAfterLimit.empty()) {
        g_pendingAfterLimit = feed.PendingWatches();
    }
    // The first "Connected" statistics make the other connections: they are tapped at once.
    TapConnections(feed);
}

void TapConnection(CFeedConnections& feed, int kind, FeedLineHandler tap) {
    CKestrelClientAppSocket* socket = feed.Connection(kind);
    if (socket == nullptr || socket->Handler(0) == tap) {
        return;
    }
    for (int byte = 0; byte < 256; ++byte) {
        const auto first = static_cast<unsigned char>(byte);
        g_handlers[static_cast<std::size_t>(kind)][first] = socket->Handler(first);
        socket->SetHandler(first, tap);
    }
}

void TapConnections(CFeedConnections& feed) {
    TapConnection(feed, kAdmin, &Tap<kAdmin>);
    TapConnection(feed, kLookup, &Tap<kLookup>);
    TapConnection(feed, kLevel1, &Tap<kLevel1>);
}

class FeedPorticoTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (Lines& lines : g_received) {
            lines.clear();
        }
        g_pendingAfterLimit.clear();
    }
    // Starts portico with `arguments` and points this process's Startup.conf at its ports.
    void StartService(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), {"--connect-delay", "0", "--linger", "0"});
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
        feed.Start();
        TapConnections(feed);
    }
    // Until every connection has had the service's answer to its handshake.
    static bool WaitUntilConnected() {
        return RunUntil([] {
            return Got(kAdmin, "S,CURRENT PROTOCOL") && Got(kLookup, "S,CURRENT PROTOCOL") &&
                   Got(kLevel1, "S,CURRENT UPDATE FIELDS");
        });
    }
    const SKestrelSocketStats& Stats(int kind) const { return *feed.ConnectionStatistics(kind); }
    // The lines connection `kind` received that start with `prefix`.
    static Lines Received(int kind, std::string_view prefix) {
        Lines lines;
        std::copy_if(g_received[static_cast<std::size_t>(kind)].begin(),
                     g_received[static_cast<std::size_t>(kind)].end(), std::back_inserter(lines),
                     [&](const std::string& line) { return line.starts_with(prefix); });
        return lines;
    }
    static bool Got(int kind, std::string_view prefix) { return !Received(kind, prefix).empty(); }
    // What the frame is told of a fault.
    static std::string Fault(ESocketFault cause, int kind, int port, int error = 0) {
        return DescribeFeedFault(
            {kind, "127.0.0.1", static_cast<std::uint32_t>(port), cause, error});
    }

    PorticoProcess portico{PORTICO_EXECUTABLE};
    ServicePlatform platform;
    TempDir home;
    RecordingFrame frame;
    RecordingPrompt prompt;
    CFeedConnections feed{frame, prompt, platform};
};

TEST_F(FeedPorticoTest, ConnectedStatisticsOpenTheOtherConnectionsAndEveryHandshakeIsTakenDripped) {
    // Every line reaches the feed a few bytes at a time.
    StartService({"--fault-drip", "7", "--connect-delay", "1500", "--symbol-limit", "7",
                  "--start-time", "2026-11-20 00:07:00"});
    StartFeed();
    ASSERT_TRUE(RunUntil([this] { return feed.ServiceStatistics().valid; }));
    // The service is not connected yet: the feed waits for it.
    EXPECT_EQ(feed.ServiceStatistics().status, "Not Connected");
    EXPECT_EQ(feed.Connection(kLookup), nullptr);
    EXPECT_EQ(feed.Connection(kLevel1), nullptr);

    ASSERT_TRUE(WaitUntilConnected());
    EXPECT_EQ(frame.statuses, Lines{"Connected"});
    EXPECT_EQ(Received(kAdmin, "S,CURRENT"), Lines{"S,CURRENT PROTOCOL,6.2"});
    EXPECT_EQ(Received(kLookup, "S,"), Lines{"S,CURRENT PROTOCOL,6.2"});
    EXPECT_EQ(Received(kLevel1, "S,"),
              (Lines{fmt::format("S,IP,127.0.0.1 {},127.0.0.1 {},127.0.0.1 {}",
                                 portico.level1Port(), portico.lookupPort(), portico.adminPort()),
                     "S,CURRENT PROTOCOL,6.1",
                     "S,CURRENT UPDATE FIELDS," + CFeedConnections::UpdateFieldList()}));
    for (const auto& [kind, sent] : {std::pair{kAdmin, 2u}, {kLookup, 2u}, {kLevel1, 3u}}) {
        EXPECT_EQ(Received(kind, "E,"), Lines{}) << "a handshake line the service refused";
        EXPECT_TRUE(Stats(kind).IsConnected());
        EXPECT_EQ(Stats(kind).messagesSent.value, sent) << kind;
    }
    EXPECT_EQ(std::tuple(feed.Connection(kLevel1)->ConnectRetriesLeft(),
                         feed.Connection(kLookup)->ConnectRetriesLeft()),
              std::tuple(240u, 240u));
    EXPECT_EQ(frame.serviceIp, 1);
    // The start time, "Nov 20 12:07AM" (the year is the machine's).
    const SServiceStatistics& stats = feed.ServiceStatistics();
    const CDateTime& start = stats.times[0];
    EXPECT_EQ(std::tuple(stats.IsConnected(), stats.SymbolLimit(), stats.WatchedSymbols(),
                         stats.serverAddress, stats.counts[0], stats.texts[1], start.GetMonth(),
                         start.GetDay(), start.GetHour(), start.GetMinute()),
              std::tuple(true, 7u, 0u, "127.0.0.1",
                         static_cast<std::uint32_t>(portico.level1Port()), "SIMULATED", 11, 20, 0,
                         7));
    EXPECT_GT(stats.numbers[5], 0.0);

    // A reference table whose end marker comes split over several reads.
    CListedMarkets& markets = feed.ListedMarkets();
    ASSERT_TRUE(markets.Load());
    EXPECT_EQ(markets.Response().find("!END"), std::string::npos) << markets.Response();
    EXPECT_EQ(markets.Name(5), "Driftwood Digital Venue");
}

TEST_F(FeedPorticoTest, WatchesWaitForRoomUnderTheSymbolLimitAndAMalformedLineCostsOnlyItself) {
    // A malformed line follows every update line, and the frame rejects each one.
    StartService({"--symbol-limit", "2", "--fault-malformed", "1", "--quote-rate", "40"});
    // Watches asked for before the service has said anything wait; a waiting watch no longer
    // wanted never goes out.
    EXPECT_EQ(feed.WatchSymbol("LUMA"), 0);
    EXPECT_EQ(feed.WatchSymbol("JSPR"), 0);
    feed.UnwatchSymbol("JSPR");
    EXPECT_EQ(feed.PendingWatches(), Symbols{"LUMA"});
    StartFeed();
    // A time line sends it, its fundamental line ends its flight, and updates follow the rejects.
    ASSERT_TRUE(RunUntil([this] {
        return frame.Count("Q,LUMA,") >= 2 && feed.ServiceStatistics().WatchedSymbols() == 1;
    }));
    EXPECT_EQ(feed.PendingWatches().size() + feed.WatchesInFlight().size(), 0u);
    EXPECT_EQ(std::tuple(frame.Count("F,LUMA,"), frame.Count("P,LUMA,")), std::tuple(1UL, 1UL));
    EXPECT_GE(frame.Count("Q,#MALFORMED#"), 2u);
    // None of the lines around them is lost: the service's count of the update lines it sent,
    // answered in line with them, is the count that arrived before the answer.
    ASSERT_GT(feed.Connection(kLevel1)->Send("S,LEVEL1 COUNTS\r\n"), 0);
    ASSERT_TRUE(RunUntil([] { return Got(kLevel1, "S,LEVEL1 COUNTS,"); }));
    const Lines& lines = g_received[kLevel1];
    const auto answer = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.starts_with("S,LEVEL1 COUNTS,");
    });
    const auto updates = std::count_if(
        lines.begin(), answer, [](const std::string& line) { return line.starts_with("Q,LUMA,"); });
    EXPECT_TRUE(answer->starts_with(fmt::format("S,LEVEL1 COUNTS,{},", updates))) << *answer;

    // Another client takes the last place before the feed hears of it. The feed's next watch,
    // sent on what it knows, comes back with the limit reply and waits again, behind the one
    // that counted it in flight and waited at once.
    LineClient other;
    ASSERT_TRUE(other.connect(portico.level1Port()) && other.send("wKRNO\r\n"));
    ASSERT_TRUE(other.readLineStartingWith("F,KRNO,"));
    EXPECT_GT(feed.WatchSymbol("BRYN"), 0);
    EXPECT_EQ(feed.WatchSymbol("CDLW"), 0);
    EXPECT_EQ(feed.WatchesInFlight(), Symbols{"BRYN"});
    ASSERT_TRUE(RunUntil([] { return !g_pendingAfterLimit.empty(); }));
    EXPECT_EQ(g_pendingAfterLimit, (Symbols{"CDLW", "BRYN"}));

    // Room comes when the other client leaves and when the feed gives up a symbol: one waiting
    // watch goes out each time, on the next time lines.
    other.close();
    ASSERT_TRUE(RunUntil([this] { return frame.Count("F,BRYN,") + frame.Count("F,CDLW,") == 1; }));
    feed.UnwatchSymbol("LUMA");
    ASSERT_TRUE(RunUntil([this] { return frame.Count("F,BRYN,") + frame.Count("F,CDLW,") == 2; }));
    EXPECT_EQ(frame.Count("F,BRYN,"), 1u);
    EXPECT_EQ(feed.PendingWatches().size() + feed.WatchesInFlight().size(), 0u);
}

TEST_F(FeedPorticoTest, LookupsSearchesAndLinesUpTo65534BytesUntilTheServiceCutsTheConnection) {
    StartService({"--fault-close-after", "3", "--start-time", "2026-11-20 12:30:00"});
    StartFeed();
    ASSERT_TRUE(WaitUntilConnected());
    EXPECT_EQ(feed.ServiceStatistics().times[0].GetHour(), 12); // "12:30PM"

    // The reference tables, each over a short connection of its own.
    CListedMarkets& markets = feed.ListedMarkets();
    CSecurityTypes& types = feed.SecurityTypes();
    ASSERT_TRUE(markets.Load() && types.Load());
    EXPECT_EQ(std::tuple(markets.ShortName(1), markets.Name(1), types.ShortName(4), types.Name(3)),
              std::tuple("NRTH", "Northgate Stock Exchange", "TOKEN", "Exchange Traded Fund"));
    EXPECT_EQ(markets.At(5), (CLookupSystemInfo::Entry{"DRFT", "Driftwood Digital Venue", "4",
                                                       "Driftwood Venues"}));
    for (const int id : {-1, 0, 6, 256}) {
        EXPECT_EQ(markets.At(id), CLookupSystemInfo::Entry{}) << id;
    }

    // Searches by symbol, by description with the market filter winning over the type filter, by
    // type alone, and one that finds nothing.
    const auto search = [this](const std::string& text, const std::string& market,
                               const std::string& type, bool byDescription) {
        const auto ends = [this] {
            return std::count(frame.searchLines.begin(), frame.searchLines.end(),
                              "LSearch,!ENDMSG!,");
        };
        const auto before = ends();
        feed.SearchSymbols(text, market, type, byDescription);
        Lines found;
        if (RunUntil([&] { return ends() > before; })) {
            for (const SSearchResult& r : feed.SearchResults()) {
                found.push_back(fmt::format("{},{},{},{}", r.symbol, r.listedMarketId,
                                            r.securityTypeId, r.description));
            }
        }
        return found;
    };
    EXPECT_EQ(search("LUM", "", "", false), Lines{"LUMA,1,1,Lumarel Photonics Corp"});
    EXPECT_EQ(search("gold", "4", "1", true), Lines{"@BGD#,4,2,Valecrest Bullion Gold Future"});
    EXPECT_EQ(search("", "", "4", false),
              (Lines{"AURX,5,4,Aurix Network Token", "VTRC,5,4,Vetracoin",
                     "QLMB,5,4,Quillumb Ledger Token", "SHRD,5,4,Shardline Token"}));
    EXPECT_EQ(search("QQXXZZ", "", "", false), Lines{"No Results Found,,,"});
    EXPECT_EQ(Stats(kLookup).messagesSent.value, 2u + 4u);

    // The longest line a connection takes, 65,534 bytes, arrives whole (the answer repeats the
    // request id).
    const std::string id = "Lookup" + std::string(65'508, 'x');
    ASSERT_TRUE(SendAll(*feed.Connection(kLookup), "HDX,NOSUCH,1,," + id + "\r\n"));
    ASSERT_TRUE(RunUntil([this] { return frame.historyLines.size() >= 2; }));
    EXPECT_EQ(frame.historyLines[0].size(), 65'534u);
    EXPECT_EQ(frame.historyLines, (Lines{id + ",E,!UNKNOWN_SYMBOL!,", id + ",!ENDMSG!,"}));

    // An unknown symbol is the frame's to report, and its watch no longer holds a place under
    // the symbol limit.
    feed.WatchSymbol("NOSUCH");
    EXPECT_EQ(feed.WatchesInFlight(), Symbols{"NOSUCH"});
    ASSERT_TRUE(RunUntil([this] { return !frame.notFound.empty(); }));
    EXPECT_EQ(frame.notFound, Lines{"n,NOSUCH"});
    EXPECT_TRUE(feed.WatchesInFlight().empty());

    // The service cuts the lookup connection after three lines of an answer: all three reach the
    // frame, and the close is reported once, for that connection only.
    frame.historyLines.clear();
    EXPECT_TRUE(feed.SendHistoryCommand("HDX,LUMA,10,,Lookup6\r\n"));
    ASSERT_TRUE(RunUntil([this] { return !frame.faults.empty(); }));
    ASSERT_EQ(frame.historyLines.size(), 3u);
    for (const std::string& line : frame.historyLines) {
        EXPECT_TRUE(line.starts_with("Lookup6,LH,")) << line;
    }
    EXPECT_EQ(frame.faults,
              Lines{Fault(ESocketFault::ClosedByPeer, kLookup, portico.lookupPort())});
    EXPECT_FALSE(Stats(kLookup).IsConnected());

    // Closing a connection on purpose is no fault; a watch that cannot go out then is neither
    // in flight nor waiting.
    feed.Connection(kLevel1)->Close();
    EXPECT_FALSE(Stats(kLevel1).IsConnected());
    const Symbols inFlight = feed.WatchesInFlight();
    EXPECT_LT(feed.WatchSymbol("LUMA"), 0);
    EXPECT_EQ(feed.WatchesInFlight(), inFlight);
    EXPECT_TRUE(feed.PendingWatches().empty());
    const std::uint32_t seen = Stats(kAdmin).messagesReceived.value;
    ASSERT_TRUE(RunUntil([&] { return Stats(kAdmin).messagesReceived.value > seen; }));
    EXPECT_EQ(frame.faults.size(), 1u);
}

TEST_F(FeedPorticoTest, APortThatRefusesFailsTheAdminAfterTenRetriesAndTheTablesUntilItAnswers) {
    const int refusing = UnusedPort();
    UsePorts(refusing, refusing, refusing);
    const auto start = std::chrono::steady_clock::now();
    StartFeed();
    ASSERT_TRUE(RunUntil([this] { return !prompt.boxes.empty(); }));
    EXPECT_GE(std::chrono::steady_clock::now() - start,
              10 * std::chrono::milliseconds(CKestrelClientAppSocket::kRetryPauseMs));
    ASSERT_EQ(prompt.boxes.size(), 1u);
    EXPECT_EQ(prompt.boxes[0].text, "Skychart is unable to connect to Kestrel.\nPlease restart the "
                                    "application.\nIf the error persists, please contact customer "
                                    "service.\nError Code: 111");
    EXPECT_EQ(frame.faults,
              Lines{Fault(ESocketFault::ConnectFailed, kAdmin, refusing, ECONNREFUSED)});
    EXPECT_EQ(feed.Connection(kAdmin)->ConnectRetriesLeft(), 0u);
    EXPECT_FALSE(Stats(kAdmin).IsConnected() || feed.Connection(kLookup) != nullptr);

    // The tables cannot be fetched and stay unloaded until a service answers on the port (one
    // that closes the connection before its reply does not); then they are fetched once.
    CListedMarkets& markets = feed.ListedMarkets();
    EXPECT_FALSE(markets.Load() || markets.IsLoaded());
    ASSERT_TRUE(portico.start(
        {"--lookup-port", std::to_string(refusing), "--linger", "0", "--fault-refuse", "1"}))
        << portico.errorOutput();
    EXPECT_FALSE(markets.Load() || markets.IsLoaded());
    EXPECT_TRUE(markets.Load());
    ASSERT_TRUE(portico.stop().has_value());
    EXPECT_TRUE(markets.Load());
    EXPECT_EQ(markets.Name(1), "Northgate Stock Exchange");
}

TEST_F(FeedPorticoTest, ALineOverTheLimitStopsOnlyItsConnectionAndTheServiceLeavingClosesTheRest) {
    StartService({"--fault-long-line"});
    StartFeed();
    ASSERT_TRUE(RunUntil([this] { return !frame.faults.empty(); }));
    EXPECT_EQ(frame.faults, Lines{Fault(ESocketFault::LineTooLong, kLevel1, portico.level1Port())});
    EXPECT_EQ(frame.serviceIp, 0) << "the greeting after the long line arrived";
    EXPECT_EQ(feed.Connection(kLevel1)->ReceiveFill(), CKestrelStreamSocket::kReceiveCapacity - 1);

    // The other connections go on: statistics keep coming, and a search is answered.
    ASSERT_TRUE(RunUntil([] { return Got(kLookup, "S,CURRENT PROTOCOL"); }));
    const std::uint32_t seen = Stats(kAdmin).messagesReceived.value;
    feed.SearchSymbols("LUM", "", "", false);
    ASSERT_TRUE(RunUntil([&] {
        return Stats(kAdmin).messagesReceived.value >= seen + 2 && !frame.searchLines.empty() &&
               frame.searchLines.back() == "LSearch,!ENDMSG!,";
    }));
    EXPECT_EQ(feed.SearchResults().size(), 1u);

    // The service leaving closes the admin and lookup connections; the Level 1 connection's
    // cause stays the long line.
    ASSERT_TRUE(portico.stop().has_value());
    ASSERT_TRUE(RunUntil([this] { return frame.faults.size() >= 3; }));
    std::sort(frame.faults.begin() + 1, frame.faults.end());
    EXPECT_EQ(frame.faults,
              (Lines{Fault(ESocketFault::LineTooLong, kLevel1, portico.level1Port()),
                     Fault(ESocketFault::ClosedByPeer, kAdmin, portico.adminPort()),
                     Fault(ESocketFault::ClosedByPeer, kLookup, portico.lookupPort())}));
    EXPECT_EQ(feed.Connection(kLevel1)->Fault(), ESocketFault::LineTooLong);
}

TEST_F(FeedPorticoTest, HeldWatchesOutliveTheChartsUnwatchAndGoWhenNothingWantsThem) {
    StartService({"--quote-rate", "40"});
    feed.WatchSymbol("LUMA");
    feed.HoldWatches({"LUMA", "AURX"}); // queued until the service talks; LUMA only once
    StartFeed();
    ASSERT_TRUE(RunUntil([this] { return feed.ServiceStatistics().WatchedSymbols() == 2; }));
    feed.UnwatchSymbol("LUMA"); // the chart moves on; the hold keeps it
    const std::size_t updates = frame.Count("Q,LUMA,");
    ASSERT_TRUE(RunUntil([&] { return frame.Count("Q,LUMA,") >= updates + 3; }));
    feed.WatchSymbol("AURX");
    feed.HoldWatches({}); // AURX is the chart's now; LUMA nobody's
    ASSERT_TRUE(RunUntil([this] { return feed.ServiceStatistics().WatchedSymbols() == 1; }));
    EXPECT_EQ(Received(kLevel1, "F,LUMA,").size(), 1u);
    EXPECT_EQ(frame.Count("F,AURX,"), 2u); // held, then the chart's own watch
}

} // namespace
} // namespace skychart::test

// The socket notifications come from Qt's event loop, so these tests run inside an application.
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

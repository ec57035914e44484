// The feed connections over a scripted platform: launch, handshake, dispatch, statistics,
// watch throttling and the symbol search.

#include "feed/feed_connections.h"
#include "feed/kestrel_client_app_socket.h"
#include "scripted_feed.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

namespace skychart::test {
namespace {

using Lines = std::vector<std::string>;
using Symbols = std::deque<std::string>;

// A statistics line with the given symbol limit, watched count and status (21 fields).
std::string Stats(unsigned limit, unsigned watched, const std::string& status) {
    return fmt::format("S,STATS,127.0.0.1,5009,{},{},1,0,0,0,Nov 20 12:00PM,Nov 20 11:59AM,{},"
                       "1.0.0,x,1.5,2.5,0,0,0,0\r\n",
                       limit, watched, status);
}

class FeedConnectionsTest : public ::testing::Test {
protected:
    void SetUp() override {
        platform.ports = {{"AdminPort", 4001}, {"LookupPort", 4002}, {"Level1Port", 4003}};
    }

    ScriptedSocket& admin() { return *platform.sockets.at(0); }
    ScriptedSocket& lookup() { return *platform.sockets.at(1); }
    ScriptedSocket& level1() { return *platform.sockets.at(2); }

    // Started, with the admin connected and the service reporting `limit` and `watched`.
    void StartConnected(unsigned limit = 500, unsigned watched = 0) {
        feed.Start();
        admin().events().OnConnect(0);
        admin().Arrive(Stats(limit, watched, "Connected"));
        ASSERT_EQ(platform.sockets.size(), 3u);
        lookup().events().OnConnect(0);
        level1().events().OnConnect(0);
        lookup().sent.clear();
        level1().sent.clear();
    }
    std::uint32_t SentCount(int kind) const {
        return feed.ConnectionStatistics(kind)->messagesSent.value;
    }

    ScriptedPlatform platform;
    RecordingFrame frame;
    RecordingPrompt prompt;
    CFeedConnections feed{frame, prompt, platform};
};

TEST_F(FeedConnectionsTest, StartLaunchesTheManagerAndConnectsTheAdminWithItsHandshake) {
    feed.Start();
    EXPECT_EQ(platform.launches, (Lines{"-product TRELLIS_PLOTS -version 1.8.0.0"}));
    EXPECT_TRUE(prompt.boxes.empty());
    ASSERT_EQ(platform.sockets.size(), 1u);
    EXPECT_EQ(admin().connects, (Lines{"127.0.0.1:4001"}));
    EXPECT_EQ(feed.Connection(CFeedConnections::kAdmin)->ConnectRetriesLeft(), 10u);
    EXPECT_FALSE(feed.CreateConnection(CFeedConnections::kAdmin, 5));

    admin().events().OnConnect(0);
    EXPECT_EQ(admin().sent, "S,SET PROTOCOL,6.2\nS,SET CLIENT NAME,Skychart\n");
    EXPECT_EQ(SentCount(CFeedConnections::kAdmin), 2u);
    EXPECT_EQ(feed.ConnectionStatistics(CFeedConnections::kAdmin)->status.value, "Connected");

    // A failed launch is reported, and the start goes on.
    ScriptedPlatform failing;
    failing.launchError = 2;
    CFeedConnections other(frame, prompt, failing);
    other.Start();
    ASSERT_EQ(prompt.boxes.size(), 1u);
    EXPECT_EQ(prompt.boxes[0].kind, "Error");
    EXPECT_EQ(prompt.boxes[0].text, "Unable to launch portico.exe.  Error Code: 2 hInst: 0");
    EXPECT_NE(other.Connection(CFeedConnections::kAdmin), nullptr);
}

TEST_F(FeedConnectionsTest, TheFirstConnectedStatisticsOpenLookupAndLevel1OnceOnly) {
    feed.Start();
    // Statistics lines that are short or mislabelled change nothing.
    const std::string line = Stats(9, 1, "Connected");
    for (const std::string& bad : {line.substr(0, line.rfind(",0")) + "\r\n", // 20 fields
                                   "S,STATX" + line.substr(7), "S,STATSX" + line.substr(7)}) {
        admin().Arrive(bad);
    }
    EXPECT_FALSE(feed.ServiceStatistics().valid);
    EXPECT_EQ(feed.ServiceStatistics().status, "Not Connected");

    admin().Arrive(Stats(500, 0, "Not Connected"));
    EXPECT_TRUE(feed.ServiceStatistics().valid);
    EXPECT_EQ(platform.sockets.size(), 1u);
    EXPECT_TRUE(frame.statuses.empty());

    admin().Arrive(Stats(321, 4, "Connected"));
    ASSERT_EQ(platform.sockets.size(), 3u);
    EXPECT_EQ(lookup().connects, (Lines{"127.0.0.1:4002"}));
    EXPECT_EQ(level1().connects, (Lines{"127.0.0.1:4003"}));
    EXPECT_EQ(feed.Connection(CFeedConnections::kLookup)->ConnectRetriesLeft(), 240u);
    EXPECT_EQ(feed.Connection(CFeedConnections::kLevel1)->ConnectRetriesLeft(), 240u);
    const SServiceStatistics& stats = feed.ServiceStatistics();
    EXPECT_EQ(stats.SymbolLimit(), 321u);
    EXPECT_EQ(stats.WatchedSymbols(), 4u);
    EXPECT_EQ(stats.serverAddress, "127.0.0.1");
    EXPECT_EQ(stats.texts[0], "1.0.0");
    EXPECT_DOUBLE_EQ(stats.numbers[1], 2.5);
    EXPECT_EQ(stats.times[0].GetHour(), 12);
    EXPECT_EQ(stats.times[1].GetMinute(), 59);

    admin().Arrive(Stats(321, 4, "Connected"));
    admin().Arrive(Stats(321, 4, "Not Connected"));
    admin().Arrive(Stats(321, 4, "Connected"));
    EXPECT_EQ(platform.sockets.size(), 3u);
    EXPECT_EQ(frame.statuses, (Lines{"Connected", "Not Connected", "Connected"}));

    lookup().events().OnConnect(0);
    level1().events().OnConnect(0);
    EXPECT_EQ(lookup().sent, "S,SET PROTOCOL,6.2\nS,SET CLIENT NAME,Skychart\n");
    EXPECT_EQ(level1().sent,
              "S,SET PROTOCOL,6.1\nS,SET CLIENT NAME,Skychart\n"
              "S,SELECT UPDATE FIELDS,Symbol,Total Volume,Most Recent Trade Size,High,Low,Bid,Ask,"
              "Bid Size,Ask Size,Most Recent Trade Time,Open Interest,Open,Close,"
              "Most Recent Trade Date,Most Recent Trade,Fraction Display Code,TickID,"
              "Most Recent Trade Market Center,Bid Market Center,Ask Market Center,"
              "Message Contents,Most Recent Trade Conditions,Most Recent Trade Aggressor,"
              "Most Recent Trade Day Code\n");
    EXPECT_EQ(SentCount(CFeedConnections::kLevel1), 3u);
}

TEST_F(FeedConnectionsTest, EveryFirstByteHasAHandlerAndLinesReachTheirFrameCalls) {
    StartConnected();
    const CKestrelClientAppSocket& socket = *feed.Connection(CFeedConnections::kLevel1);
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_NE(socket.Handler(static_cast<unsigned char>(byte)), nullptr) << byte;
    }

    level1().Arrive("Q,AURX,1\r\nP,AURX,2\r\nF,AURX,3\r\nn,NOSUCH\r\nA,x\r\nZ,y\r\n7,z\r\n"
                    "\xff,w\r\nq,v\r\n");
    lookup().Arrive("Lookup3,2026-11-20,1\r\nLSearch,!ENDMSG!,\r\nLX,other\r\n");
    EXPECT_EQ(frame.level1Lines, (Lines{"Q,AURX,1", "P,AURX,2", "F,AURX,3"}));
    EXPECT_EQ(frame.notFound, (Lines{"n,NOSUCH"}));
    EXPECT_EQ(frame.historyLines, (Lines{"Lookup3,2026-11-20,1"}));
    EXPECT_EQ(frame.searchLines, (Lines{"LSearch,!ENDMSG!,"}));
    EXPECT_EQ(frame.serviceIp, 0);

    // "S,IP," anywhere in an 'S' line, on any connection.
    level1().Arrive("S,IP,127.0.0.1\r\nS,KEY,S,IP,x\r\nS,CURRENT PROTOCOL,6.1\r\n");
    admin().Arrive(Stats(500, 0, "Connected").substr(0, 60) + "S,IP,\r\n");
    EXPECT_EQ(frame.serviceIp, 3);
}

TEST_F(FeedConnectionsTest, WatchesWaitForTheLimitAndDrainOnTimeLines) {
    // Before any statistics a watch is queued.
    EXPECT_EQ(feed.WatchSymbol("AURX"), 0);
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"AURX"}));
    StartConnected(2, 1);
    EXPECT_EQ(feed.WatchSymbol("BRYN"), 6);
    EXPECT_EQ(feed.WatchSymbol("LUMA"), 0);
    EXPECT_EQ(feed.WatchesInFlight(), (Symbols{"BRYN"}));
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"AURX", "LUMA"}));
    EXPECT_EQ(level1().sent, "wBRYN\n");
    EXPECT_EQ(SentCount(CFeedConnections::kLevel1), 4u);

    // A time line drains only while it fits; a line not starting "T," does nothing.
    level1().Arrive("T20261120\r\n");
    EXPECT_EQ(feed.PendingWatches().size(), 2u);
    level1().Arrive("F,BRYN,fundamentals\r\nT,20261120 12:00:01\r\n");
    EXPECT_EQ(feed.WatchesInFlight(), (Symbols{"AURX"}));
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"LUMA"}));
    admin().Arrive(Stats(5, 1, "Connected"));
    level1().Arrive("T,20261120 12:00:02\r\n");
    EXPECT_EQ(feed.WatchesInFlight(), (Symbols{"AURX", "LUMA"}));
    EXPECT_TRUE(feed.PendingWatches().empty());
    EXPECT_EQ(level1().sent, "wBRYN\nwAURX\nwLUMA\n");

    // The limit reply puts the symbol back at the end of the queue.
    feed.WatchSymbol("VTRC");
    level1().Arrive("S,SYMBOL LIMIT REACHED,AURX\r\n");
    EXPECT_EQ(feed.WatchesInFlight(), (Symbols{"LUMA", "VTRC"}));
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"AURX"}));
}

TEST_F(FeedConnectionsTest, TheLimitCountsTheServiceAndTheWatchesInFlight) {
    StartConnected(500, 499);
    EXPECT_GT(feed.WatchSymbol("AURX"), 0);
    EXPECT_EQ(feed.WatchSymbol("BRYN"), 0);
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"BRYN"}));
    // While the service is not connected, time lines leave the queue alone.
    admin().Arrive(Stats(600, 0, "Not Connected"));
    level1().Arrive("T,20261120 12:00:00\r\n");
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"BRYN"}));

    // A watch that cannot be sent is neither in flight nor queued.
    level1().failSendsWith = EPIPE;
    EXPECT_EQ(feed.WatchSymbol("LUMA"), -1);
    EXPECT_EQ(feed.WatchesInFlight(), (Symbols{"AURX"}));
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"BRYN"}));
    EXPECT_EQ(SentCount(CFeedConnections::kLevel1), 4u);
}

TEST_F(FeedConnectionsTest, UnwatchSendsTheRemovalAndForgetsAQueuedWatch) {
    feed.UnwatchSymbol("AURX");
    feed.WatchSymbol("AURX");
    StartConnected(1, 1);
    feed.WatchSymbol("AURX");
    EXPECT_EQ(feed.PendingWatches(), (Symbols{"AURX", "AURX"}));
    feed.UnwatchSymbol("AURX");
    EXPECT_TRUE(feed.PendingWatches().empty());
    EXPECT_EQ(level1().sent, "rAURX\n");
    EXPECT_EQ(SentCount(CFeedConnections::kLevel1), 4u);
}

TEST_F(FeedConnectionsTest, SearchesAndHistoryCommandsGoOutOnTheLookupConnection) {
    feed.SearchSymbols("IBM", "", "", false);
    EXPECT_FALSE(feed.SendHistoryCommand("HTX,AURX,10,1,Lookup0\n"));
    EXPECT_EQ(platform.sockets.size(), 0u);
    StartConnected();
    feed.SearchSymbols("IBM", "", "", false);
    feed.SearchSymbols("IBM", "5", "2", false);
    feed.SearchSymbols("", "", "2", false);
    feed.SearchSymbols("gold bar", "1 4", "", true);
    EXPECT_TRUE(feed.SendHistoryCommand("HTX,AURX,10,1,Lookup0\n"));
    EXPECT_EQ(lookup().sent, "SBF,s,IBM,,,LSearch\r\n"
                             "SBF,s,IBM,e,5,LSearch\r\n"
                             "SBF,s,,t,2,LSearch\r\n"
                             "SBF,d,gold bar,e,1 4,LSearch\r\n"
                             "HTX,AURX,10,1,Lookup0\n");
    EXPECT_EQ(SentCount(CFeedConnections::kLookup), 7u);
}

TEST_F(FeedConnectionsTest, SearchAnswersFillTheResultsAndAnEmptyAnswerSaysSo) {
    StartConnected();
    feed.SearchSymbols("lum", "", "", false);
    lookup().Arrive("LSearch,LS,LUMA,1,3,Lumarel Photonics Corp,\r\n"
                    "LSearch,LS,LUMB,2,4,Lumb, Inc\r\nLSearch,E,bad\r\nLSearch,!ENDMSG!,\r\n");
    ASSERT_EQ(feed.SearchResults().size(), 2u);
    const SSearchResult& first = feed.SearchResults()[0];
    EXPECT_EQ(first.symbol, "LUMA");
    EXPECT_EQ(first.description, "Lumarel Photonics Corp");
    EXPECT_EQ(first.listedMarketId, "1");
    EXPECT_EQ(first.securityTypeId, "3");
    EXPECT_EQ(feed.SearchResults()[1].description, "Lumb");
    EXPECT_EQ(frame.searchLines.size(), 4u);

    feed.SearchSymbols("IBM", "", "", false);
    EXPECT_TRUE(feed.SearchResults().empty());
    lookup().Arrive("LSearch,!ENDMSG!,\r\nLSearch,!ENDMSG!,\r\n");
    ASSERT_EQ(feed.SearchResults().size(), 1u);
    EXPECT_EQ(feed.SearchResults()[0].symbol, "No Results Found");
    EXPECT_EQ(feed.SearchResults()[0].description, "");
}

} // namespace
} // namespace skychart::test

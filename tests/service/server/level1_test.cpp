// The Level 1 port: greeting, time lines, field selection, watching and unwatching, and the
// market's trades and quotes on a fast clock.

#include <map>
#include <thread>

#include "portico_fixture.h"

namespace portico::test {
namespace {

// Fast enough that a token trades several times a second.
const std::vector<std::string> kLive = {"--start-time", "2026-11-20 12:00:00", "--clock-rate",
                                        "30",           "--quote-rate",        "4"};

class Level1Test : public PorticoTest {
protected:
    void connectLevel1(LineClient& client) {
        ASSERT_TRUE(client.connect(portico().level1Port()));
        const auto greeting = client.readLine();
        ASSERT_TRUE(greeting);
        EXPECT_TRUE(
            greeting->starts_with("S,IP,127.0.0.1 " + std::to_string(portico().level1Port())))
            << *greeting;
    }
    // Reads until a line starting with `prefix`, skipping time lines; fails on anything else.
    std::string expectLine(LineClient& client, const std::string& prefix) {
        while (auto line = client.readLine()) {
            if (line->starts_with("T,")) {
                continue;
            }
            EXPECT_TRUE(line->starts_with(prefix)) << *line;
            return *line;
        }
        ADD_FAILURE() << "no line starting with " << prefix;
        return {};
    }
};

// The greeting, the protocol, time lines of the frozen clock; a watch sends the fundamentals,
// then the summary in the selected fields, and no updates while the clock stands still.
TEST_F(Level1Test, GreetingTimeLinesAndAWatchInTheSelectedFields) {
    startPortico(FrozenNoonWith({"--quote-rate", "0"}));
    LineClient client;
    connectLevel1(client);
    ASSERT_TRUE(client.send("S,SET PROTOCOL,6.1\nS,SET CLIENT NAME,Skychart\n"));
    EXPECT_EQ(client.readLine(), "S,CURRENT PROTOCOL,6.1");
    const auto time = client.readLineStartingWith("T,", 5s);
    ASSERT_TRUE(time);
    EXPECT_TRUE(Matches(*time, R"(T,20261120 12:00:0\d)"));
    ASSERT_TRUE(client.send("S,SELECT UPDATE FIELDS,Symbol,Most Recent Trade,Message Contents,"
                            "Total Volume,Most Recent Trade Time\r\n"));
    EXPECT_EQ(expectLine(client, "S,"), "S,CURRENT UPDATE FIELDS,Symbol,Most Recent Trade,"
                                        "Message Contents,Total Volume,Most Recent Trade Time");
    ASSERT_TRUE(client.send("wAURX\n"));
    // Two decimals: width 12.
    EXPECT_EQ(Pick(SplitFieldsCopy(expectLine(client, "F,")), {1, 4, 30, 31}),
              (std::vector<std::string>{"AURX", "Aurix Network Token", "12", "2"}));
    EXPECT_TRUE(
        Matches(expectLine(client, "P,"), R"(P,AURX,\d+\.\d\d,C,\d+,\d\d:\d\d:\d\d\.\d{6})"));
    // On a frozen clock without quotes (and without stress lines) nothing more is sent, and
    // nothing is counted.
    std::this_thread::sleep_for(500ms);
    ASSERT_TRUE(client.send("S,LEVEL1 COUNTS\n"));
    EXPECT_EQ(expectLine(client, "S,"), "S,LEVEL1 COUNTS,0,0");
}

TEST_F(Level1Test, UpdatesHoldTheSelectedFieldsUntilUnwatched) {
    startPortico(kLive);
    LineClient client;
    connectLevel1(client);
    ASSERT_TRUE(client.send("S,SELECT UPDATE FIELDS,Symbol,Bogus Field,Bid\n"));
    EXPECT_EQ(expectLine(client, "E,"), "E,!INVALID_UPDATE_FIELD!,Bogus Field");
    // The default fields: the letter and the 24 common fields.
    ASSERT_TRUE(client.send("wVTRC\n"));
    expectLine(client, "F,VTRC,");
    const auto summary = SplitFieldsCopy(expectLine(client, "P,VTRC,"));
    ASSERT_EQ(summary.size(), 25u);
    EXPECT_TRUE(Matches(summary[10], R"(\d\d:\d\d:\d\d\.\d{6})"));
    EXPECT_EQ(Pick(summary, {14, 24}), (std::vector<std::string>{"11/20/2026", "20"}));
    EXPECT_TRUE(Matches(summary[15], R"(\d+\.\d{4})")) << "four decimals";
    // A later selection applies to the updates from then on, in its order.
    ASSERT_TRUE(client.send("S,SELECT UPDATE FIELDS,Message Contents,Symbol\n"));
    expectLine(client, "S,CURRENT UPDATE FIELDS,Message Contents,Symbol");
    const auto update = client.readLineStartingWith("Q,", 15s);
    ASSERT_TRUE(update);
    EXPECT_TRUE(Matches(*update, "Q,[^,]+,VTRC"));
    // Everything after the protocol answer comes after the unwatch took effect: time lines only.
    ASSERT_TRUE(client.send("rVTRC\nS,SET PROTOCOL,6.1\n"));
    ASSERT_TRUE(client.readLineStartingWith("S,CURRENT PROTOCOL,"));
    for (int i = 0; i < 2; ++i) {
        const auto line = client.readLine(5s);
        ASSERT_TRUE(line);
        ASSERT_TRUE(line->starts_with("T,")) << *line;
    }
}

TEST_F(Level1Test, MalformedWatchesUnknownSymbolsTheSymbolLimitAndTheAdminCounts) {
    startPortico(FrozenNoonWith({"--symbol-limit", "1", "--connect-delay", "0"}));
    LineClient first;
    LineClient second;
    connectLevel1(first);
    connectLevel1(second);
    ASSERT_TRUE(first.send("w\nwA B\nwNOSUCH\nwaurx\n"));
    EXPECT_EQ(expectLine(first, "E,"), "E,!SYNTAX_ERROR!,");
    EXPECT_EQ(expectLine(first, "E,"), "E,!SYNTAX_ERROR!,");
    EXPECT_EQ(expectLine(first, "n,"), "n,NOSUCH");
    expectLine(first, "F,AURX,");
    // The limit counts distinct symbols over all clients; a watched symbol is always served.
    ASSERT_TRUE(second.send("wVTRC\n"));
    EXPECT_EQ(expectLine(second, "S,"), "S,SYMBOL LIMIT REACHED,VTRC");
    ASSERT_TRUE(second.send("wAURX\n"));
    expectLine(second, "F,AURX,");
    ASSERT_TRUE(first.send("wAURX\n")); // a second watch sends F and P again
    first.readLineStartingWith("F,AURX,");
    ASSERT_TRUE(first.readLineStartingWith("P,AURX,"));
    // The admin port counts the distinct symbols watched and the clients, itself among them.
    LineClient admin;
    ASSERT_TRUE(Open(admin, portico().adminPort()));
    EXPECT_EQ(Pick(SplitFieldsCopy(admin.readLine().value_or("")), {4, 5, 6, 12}),
              (std::vector<std::string>{"1", "1", "3", "Connected"}));
    // Once nobody watches AURX, another symbol fits.
    ASSERT_TRUE(first.send("rAURX\nS,SET PROTOCOL,6.1\n"));
    ASSERT_TRUE(first.readLineStartingWith("S,CURRENT PROTOCOL,"));
    ASSERT_TRUE(second.send("rAURX\nwVTRC\n"));
    ASSERT_TRUE(second.readLineStartingWith("F,VTRC,"));
    // A client that leaves takes its watches with it.
    second.close();
    std::vector<std::string> stats;
    for (int i = 0; i < 10 && Pick(stats, {6}).front() != "2"; ++i) {
        stats = SplitFieldsCopy(admin.readLine().value_or(""));
    }
    EXPECT_EQ(Pick(stats, {5, 6}), (std::vector<std::string>{"0", "2"}));
}

// A fast exchange clock: minutes pass in seconds, the market's trades and quotes flow at the
// clock's pace, and the 1-minute bars a client builds from the trades equal a fresh history.
TEST_F(Level1Test, TradesAndQuotesFollowTheFastClockAndBuildTheHistoryBars) {
    // A minute of exchange time per wall second, in the busy morning.
    startPortico(
        {"--start-time", "2026-11-20 10:00:30", "--clock-rate", "60", "--quote-rate", "4"});
    LineClient client;
    ASSERT_TRUE(Open(client, portico().level1Port(),
                     "S,SELECT UPDATE FIELDS,Symbol,Most Recent Trade,"
                     "Most Recent Trade Size,Total Volume,Most Recent Trade Date,"
                     "Most Recent Trade Time,Message Contents,TickID\r\n"));
    ASSERT_TRUE(client.readLineStartingWith("S,CURRENT UPDATE FIELDS,"));
    ASSERT_TRUE(client.send("wLUMA\n"));
    const auto summary = SplitFieldsCopy(client.readLineStartingWith("P,LUMA,").value_or(""));
    ASSERT_EQ(summary.size(), 9u);
    long long volume = std::stoll(summary[4]);
    unsigned long tickId = std::stoul(summary[8]);

    // Trades by minute ("HH:MM"), until three whole minutes have passed after the first trade.
    std::map<std::string, PrintedBar> minutes;
    std::string firstTime, lastTime; // of the "T," lines, "YYYYMMDD HH:MM:SS"
    int quotes = 0;
    while (minutes.size() < 5) {
        const auto line = client.readLine(10s);
        ASSERT_TRUE(line) << "no trade for 10 s at a minute per second";
        if (line->starts_with("T,")) {
            (firstTime.empty() ? firstTime : lastTime) = line->substr(2);
            continue;
        }
        const auto q = SplitFieldsCopy(*line);
        ASSERT_EQ(q.size(), 9u) << *line;
        EXPECT_EQ(Pick(q, {0, 1, 5}), (std::vector<std::string>{"Q", "LUMA", "11/20/2026"}));
        if (q[7] != "C") {
            EXPECT_TRUE(q[7] == "ba" || q[7] == "O") << *line;
            EXPECT_EQ(std::stoll(q[4]), volume) << "only counted trades add to the day's volume";
            quotes += q[7] == "ba" ? 1 : 0;
            continue;
        }
        EXPECT_EQ(std::stoll(q[4]), volume + std::stoll(q[3])) << "the volume grows by each trade";
        EXPECT_GT(std::stoul(q[8]), tickId);
        ASSERT_TRUE(minutes.empty() || minutes.rbegin()->first <= q[6].substr(0, 5)) << *line;
        volume = std::stoll(q[4]);
        tickId = std::stoul(q[8]);
        minutes[q[6].substr(0, 5)].add(q[2], std::stoll(q[3]), volume);
    }
    EXPECT_GT(quotes, 0);
    // Four exchange minutes went by in a few wall seconds; the time lines, one per wall
    // second, step by about a minute.
    const auto seconds = [](const std::string& t) {
        return SecondsOf(t.substr(0, 4) + "-" + t.substr(4, 2) + "-" + t.substr(6));
    };
    ASSERT_FALSE(lastTime.empty());
    EXPECT_GE(seconds(lastTime) - seconds(firstTime), 30);

    // The minutes after the first (which the client saw only in part) and before the last are
    // in today's history, equal to what the client built.
    const std::string first = minutes.begin()->first;
    const std::string last = minutes.rbegin()->first;
    std::map<std::string, std::vector<std::string>> built;
    std::map<std::string, std::vector<std::string>> history;
    for (const auto& [minute, bar] : minutes) {
        if (first < minute && minute < last) {
            built[minute] = bar.intervalFields();
        }
    }
    for (const auto& bar : lookupData("HIT,LUMA,60,20261120 093000,,,,,1,Bars,,s,1", "Bars")) {
        const std::string minute = bar.at(2).substr(11, 5);
        if (first < minute && minute < last) {
            history[minute] = std::vector(bar.begin() + 3, bar.end());
        }
    }
    EXPECT_EQ(built.size(), 3u);
    EXPECT_EQ(history, built);
}

} // namespace
} // namespace portico::test

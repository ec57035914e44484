// The Level 1 port: greeting, time lines, field selection, watching and unwatching; the stress
// rate's synthetic lines on top of the market's own, every trade consistent with the one before,
// and counted by portico exactly as the client receives them. (That the live trades build the
// history's bars: the live portico tests of the history.)

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
    // (Room made by an unwatch or a client leaving: the feed's portico tests.)
    LineClient admin;
    ASSERT_TRUE(Open(admin, portico().adminPort()));
    EXPECT_EQ(Pick(SplitFieldsCopy(admin.readLine().value_or("")), {4, 5, 6, 12}),
              (std::vector<std::string>{"1", "1", "3", "Connected"}));
}

// What a client keeps of one symbol to check each update against the one before.
struct Day {
    long long volume = 0;
    long long tickId = -1;
    double high = 0, low = 0;
    std::string open;
};

TEST_F(Level1Test, SyntheticTradesAreConsistentAndCountedAsReceived) {
    startPortico(FrozenNoonWith({"--stress-rate", "20000"}));
    LineClient client;
    ASSERT_TRUE(Open(client, portico().level1Port(),
                     "S,SELECT UPDATE FIELDS,Symbol,Message Contents,Most Recent Trade,"
                     "Most Recent Trade Size,Total Volume,TickID,High,Low,Open,"
                     "Most Recent Trade Time,Bid,Ask\r\nwLUMA\nwAURX\n"));
    std::map<std::string, Day> days;
    for (const std::string symbol : {"LUMA", "AURX"}) {
        const auto p =
            SplitFieldsCopy(client.readLineStartingWith("P," + symbol + ",").value_or(""));
        ASSERT_EQ(p.size(), 13u);
        days[symbol] = {std::stoll(p[5]), std::stoll(p[6]), std::stod(p[7]), std::stod(p[8]), p[9]};
    }
    unsigned long long updates = 0;
    unsigned long long trades = 0;
    const auto check = [&](const std::string& line) {
        const auto q = SplitFieldsCopy(line);
        ASSERT_EQ(q.size(), 13u) << line;
        Day& day = days.at(q[1]);
        const double price = std::stod(q[3]);
        const double high = std::stod(q[7]);
        const double low = std::stod(q[8]);
        if (q[2] == "C") {
            ++trades;
            EXPECT_EQ(std::stoll(q[5]), day.volume + std::stoll(q[4])) << line;
            EXPECT_GT(std::stoll(q[6]), day.tickId) << line;
            EXPECT_TRUE(q[10].starts_with("12:00:00") && low <= price && price <= high &&
                        std::stod(q[11]) < std::stod(q[12]))
                << line;
            day.tickId = std::stoll(q[6]);
        } else {
            EXPECT_EQ(q[2], "ba") << line;
            EXPECT_EQ(std::stoll(q[5]), day.volume) << line;
        }
        EXPECT_TRUE(high >= day.high && low <= day.low && q[9] == day.open)
            << "the day's range only widens, its open stays: " << line;
        day.volume = std::stoll(q[5]);
        day.high = high;
        day.low = low;
    };
    // Two seconds of lines, then the counts, which the Level 1 connection answers counting
    // exactly the lines before them.
    std::string counts;
    bool asked = false;
    for (const auto began = std::chrono::steady_clock::now(); counts.empty();) {
        if (!asked && std::chrono::steady_clock::now() - began > 2s) {
            asked = client.send("S,LEVEL1 COUNTS\n");
            ASSERT_TRUE(asked);
        }
        const auto line = client.readLine();
        ASSERT_TRUE(line);
        if (line->starts_with("Q,")) {
            ++updates;
            check(*line);
            ASSERT_FALSE(HasFailure());
        } else if (line->starts_with("S,")) {
            counts = *line;
        }
    }
    EXPECT_EQ(counts, "S,LEVEL1 COUNTS," + std::to_string(updates) + "," + std::to_string(trades));
    // The rate itself is the benchmark's to measure; here the stress lines only have to be far
    // more than the quotes of two symbols (a few a second) could make.
    EXPECT_GT(updates, 1000u);
    EXPECT_GT(trades, updates / 2) << "most stress lines are trades";
    // The admin port's totals include this client's lines, and a second client's.
    LineClient other;
    ASSERT_TRUE(Open(other, portico().level1Port(), "wVTRC\nS,LEVEL1 COUNTS\n"));
    const auto otherCounts =
        SplitFieldsCopy(other.readLineStartingWith("S,LEVEL1 COUNTS,").value_or(""));
    LineClient admin;
    ASSERT_TRUE(Open(admin, portico().adminPort(), "S,LEVEL1 COUNTS\n"));
    const auto total = SplitFieldsCopy(admin.readLineStartingWith("S,LEVEL1 COUNTS,").value_or(""));
    ASSERT_EQ(otherCounts.size(), 4u);
    ASSERT_EQ(total.size(), 4u);
    EXPECT_GE(std::stoull(total[2]), updates + std::stoull(otherCounts[2]));
    EXPECT_GE(std::stoull(total[3]), trades);
    EXPECT_LE(std::stoull(total[3]), std::stoull(total[2]));
    // Leaving, the client's counts go to the log.
    client.close();
    other.close();
    ASSERT_TRUE(admin.send("S,SET PROTOCOL,6.2\n"));
    ASSERT_TRUE(admin.readLineStartingWith("S,CURRENT PROTOCOL,"));
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(portico().stop(), 0);
    // The stream went on after the counts until portico saw the close: at least those lines.
    const std::string log = portico().errorOutput();
    const std::string leftAfter = "client 1 left after ";
    const std::size_t at = log.find(leftAfter);
    ASSERT_NE(at, std::string::npos) << log;
    EXPECT_GE(std::stoull(log.substr(at + leftAfter.size())), updates) << log;
}

} // namespace
} // namespace portico::test

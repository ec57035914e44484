// The Level 1 port: greeting, time lines, field selection, watching and unwatching.

#include <regex>

#include "portico_fixture.h"

namespace portico::test {
namespace {

const std::string kSelect = "S,SELECT UPDATE FIELDS,Symbol,Most Recent Trade,Message Contents,"
                            "Total Volume,Most Recent Trade Time\r\n";

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

TEST_F(Level1Test, GreetingProtocolAndTimeLines) {
    startPortico();
    LineClient client;
    connectLevel1(client);
    ASSERT_TRUE(client.send("S,SET PROTOCOL,6.1\nS,SET CLIENT NAME,Skychart\n"));
    EXPECT_EQ(client.readLine(), "S,CURRENT PROTOCOL,6.1");
    const auto time = client.readLineStartingWith("T,", 5s);
    ASSERT_TRUE(time);
    EXPECT_TRUE(std::regex_match(*time, std::regex(R"(T,20261120 12:00:0\d)"))) << *time;
}

TEST_F(Level1Test, WatchSendsFundamentalsSummaryThenTradesAndQuotes) {
    startPortico(kLive);
    LineClient client;
    connectLevel1(client);
    ASSERT_TRUE(client.send(kSelect));
    EXPECT_EQ(expectLine(client, "S,"), "S,CURRENT UPDATE FIELDS,Symbol,Most Recent Trade,"
                                        "Message Contents,Total Volume,Most Recent Trade Time");
    ASSERT_TRUE(client.send("wAURX\n"));
    const auto fundamental = Fields(expectLine(client, "F,"));
    ASSERT_GE(fundamental.size(), 32u);
    EXPECT_EQ(fundamental[1], "AURX");
    EXPECT_EQ(fundamental[30], "12"); // two decimals: width 12
    EXPECT_EQ(fundamental[31], "2");
    EXPECT_EQ(fundamental[4], "Aurix Network Token");
    const auto summary = Fields(expectLine(client, "P,"));
    ASSERT_EQ(summary.size(), 6u);
    EXPECT_EQ(summary[1], "AURX");
    EXPECT_EQ(summary[3], "C");

    int trades = 0;
    int quotes = 0;
    long long volume = std::stoll(summary[4]);
    std::string lastTime = summary[5];
    while ((trades < 5 || quotes < 3) && trades + quotes < 2000) {
        const auto line = client.readLine(15s);
        ASSERT_TRUE(line);
        if (line->starts_with("T,")) {
            continue;
        }
        const auto q = Fields(*line);
        ASSERT_EQ(q.size(), 6u) << *line;
        ASSERT_EQ(q[0], "Q");
        EXPECT_EQ(q[1], "AURX");
        if (q[3] == "C") {
            ++trades;
            EXPECT_GT(std::stoll(q[4]), volume) << "each trade adds to the day's volume";
            EXPECT_GE(q[5], lastTime);
            volume = std::stoll(q[4]);
            lastTime = q[5];
        } else {
            EXPECT_EQ(q[3], "ba") << *line;
            EXPECT_EQ(std::stoll(q[4]), volume);
            ++quotes;
        }
    }
    EXPECT_GE(trades, 5);
    EXPECT_GE(quotes, 3);
}

TEST_F(Level1Test, DefaultFieldsAndRefusedSelections) {
    startPortico(kLive);
    LineClient client;
    connectLevel1(client);
    ASSERT_TRUE(client.send("S,SELECT UPDATE FIELDS,Symbol,Bogus Field,Bid\n"));
    EXPECT_EQ(expectLine(client, "E,"), "E,!INVALID_UPDATE_FIELD!,Bogus Field");
    ASSERT_TRUE(client.send("wVTRC\n"));
    expectLine(client, "F,VTRC,");
    const auto summary = Fields(expectLine(client, "P,VTRC,"));
    ASSERT_EQ(summary.size(), 25u); // the letter and the 24 common fields
    EXPECT_TRUE(std::regex_match(summary[10], std::regex(R"(\d\d:\d\d:\d\d\.\d{6})")));
    EXPECT_TRUE(std::regex_match(summary[14], std::regex(R"(11/20/2026)")));
    EXPECT_TRUE(std::regex_match(summary[15], std::regex(R"(\d+\.\d{4})"))) << "four decimals";
    // A later selection applies to the updates from then on, in its order.
    ASSERT_TRUE(client.send("S,SELECT UPDATE FIELDS,Message Contents,Symbol\n"));
    expectLine(client, "S,CURRENT UPDATE FIELDS,Message Contents,Symbol");
    while (true) {
        const auto line = client.readLine();
        ASSERT_TRUE(line);
        if (line->starts_with("Q,")) {
            const auto q = Fields(*line);
            ASSERT_EQ(q.size(), 3u);
            EXPECT_EQ(q[2], "VTRC");
            break;
        }
    }
}

TEST_F(Level1Test, UnknownSymbolsAndTheSymbolLimit) {
    std::vector<std::string> arguments = kLive;
    arguments.insert(arguments.end(), {"--symbol-limit", "1"});
    startPortico(arguments);
    LineClient first;
    LineClient second;
    connectLevel1(first);
    connectLevel1(second);
    ASSERT_TRUE(first.send("wNOSUCH\nwAURX\n"));
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
    // Once nobody watches AURX, another symbol fits.
    ASSERT_TRUE(first.send("rAURX\nS,SET PROTOCOL,6.1\n"));
    ASSERT_TRUE(first.readLineStartingWith("S,CURRENT PROTOCOL,"));
    ASSERT_TRUE(second.send("rAURX\nwVTRC\n"));
    ASSERT_TRUE(second.readLineStartingWith("F,VTRC,"));
}

TEST_F(Level1Test, UnwatchStopsTheUpdates) {
    startPortico(kLive);
    LineClient client;
    connectLevel1(client);
    ASSERT_TRUE(client.send("wAURX\n"));
    ASSERT_TRUE(client.readLineStartingWith("Q,", 15s));
    // Everything after the protocol answer comes after the unwatch took effect.
    ASSERT_TRUE(client.send("rAURX\nS,SET PROTOCOL,6.1\n"));
    ASSERT_TRUE(client.readLineStartingWith("S,CURRENT PROTOCOL,"));
    int timeLines = 0;
    while (timeLines < 2) {
        const auto line = client.readLine(5s);
        ASSERT_TRUE(line);
        ASSERT_TRUE(line->starts_with("T,")) << *line;
        ++timeLines;
    }
}

} // namespace
} // namespace portico::test

// A fast exchange clock: minutes pass in seconds, the market's trades flow on the Level 1 port at
// the clock's pace, and the 1-minute bars a client builds from them equal a fresh history answer.

#include <map>

#include "portico_fixture.h"

namespace portico::test {
namespace {

// A minute of exchange time per wall second, in the busy morning.
const std::vector<std::string> kMinutePerSecond = {
    "--start-time", "2026-11-20 10:00:30", "--clock-rate", "60", "--quote-rate", "0"};

const std::string kTradeFields = "S,SELECT UPDATE FIELDS,Symbol,Most Recent Trade,"
                                 "Most Recent Trade Size,Total Volume,Most Recent Trade Date,"
                                 "Most Recent Trade Time,Message Contents,TickID\r\n";

struct MinuteBar {
    std::string open, high, low, close;
    double highValue = 0, lowValue = 0;
    long long volume = 0;
    unsigned trades = 0;
};

class LiveClockTest : public PorticoTest {};

TEST_F(LiveClockTest, TradesFollowTheFastClockAndBuildTheHistoryBars) {
    startPortico(kMinutePerSecond);
    LineClient client;
    ASSERT_TRUE(client.connect(portico().level1Port()));
    ASSERT_TRUE(client.send(kTradeFields));
    ASSERT_TRUE(client.readLineStartingWith("S,CURRENT UPDATE FIELDS,"));
    ASSERT_TRUE(client.send("wLUMA\n"));
    const auto summary = client.readLineStartingWith("P,LUMA,");
    ASSERT_TRUE(summary);
    long long volume = std::stoll(Fields(*summary)[4]);
    unsigned long tickId = std::stoul(Fields(*summary)[8]);

    // Trades by minute of the day, until three whole minutes have passed after the first trade.
    std::map<int, MinuteBar> minutes;
    std::vector<long long> timeLines; // exchange seconds of the "T," lines
    int firstMinute = -1;
    int minute = -1;
    while (firstMinute < 0 || minute < firstMinute + 4) {
        const auto line = client.readLine(10s);
        ASSERT_TRUE(line) << "no trade for 10 s at a minute per second";
        if (line->starts_with("T,")) {
            const std::string t = line->substr(2);
            timeLines.push_back(SecondsOf(t.substr(0, 4) + "-" + t.substr(4, 2) + "-" +
                                          t.substr(6, 2) + t.substr(8)));
            continue;
        }
        const auto q = Fields(*line);
        ASSERT_EQ(q.size(), 9u) << *line;
        if (q[7] != "C") {
            continue;
        }
        EXPECT_EQ(q[5], "11/20/2026");
        const long long size = std::stoll(q[3]);
        EXPECT_EQ(std::stoll(q[4]), volume + size) << "the day's volume grows by each trade";
        EXPECT_GT(std::stoul(q[8]), tickId);
        volume = std::stoll(q[4]);
        tickId = std::stoul(q[8]);
        const int now = std::stoi(q[6].substr(0, 2)) * 60 + std::stoi(q[6].substr(3, 2));
        ASSERT_GE(now, minute) << *line;
        minute = now;
        firstMinute = firstMinute < 0 ? now : firstMinute;
        MinuteBar& bar = minutes[now];
        const double price = std::stod(q[2]);
        if (bar.trades == 0) {
            bar.open = bar.high = bar.low = q[2];
            bar.highValue = bar.lowValue = price;
        }
        if (price > bar.highValue) {
            bar.high = q[2];
            bar.highValue = price;
        }
        if (price < bar.lowValue) {
            bar.low = q[2];
            bar.lowValue = price;
        }
        bar.close = q[2];
        bar.volume += size;
        ++bar.trades;
    }
    // Four exchange minutes went by in a few wall seconds; the time lines, one per wall
    // second, step by about a minute.
    ASSERT_GE(timeLines.size(), 2u);
    EXPECT_GE(timeLines.back() - timeLines.front(), 30);

    // The minutes after the first (which the client saw only in part) up to the last complete
    // one are in today's history, equal to what the client built.
    const auto bars = lookupData("HIT,LUMA,60,20261120 093000,,,,,1,Bars,,s,1", "Bars");
    std::map<int, std::vector<std::string>> history;
    for (const auto& bar : bars) {
        ASSERT_EQ(bar.size(), 10u);
        ASSERT_EQ(bar[2].substr(0, 10), "2026-11-20");
        history[std::stoi(bar[2].substr(11, 2)) * 60 + std::stoi(bar[2].substr(14, 2))] = bar;
    }
    for (int m = firstMinute + 1; m < minute; ++m) {
        SCOPED_TRACE(m);
        const auto found = history.find(m);
        const auto built = minutes.find(m);
        ASSERT_NE(found, history.end()) << "a completed minute is missing from the history";
        ASSERT_NE(built, minutes.end());
        const auto& bar = found->second;
        EXPECT_EQ(bar[3], built->second.high);
        EXPECT_EQ(bar[4], built->second.low);
        EXPECT_EQ(bar[5], built->second.open);
        EXPECT_EQ(bar[6], built->second.close);
        EXPECT_EQ(std::stoll(bar[8]), built->second.volume);
        EXPECT_EQ(std::stoul(bar[9]), built->second.trades);
    }
}

} // namespace
} // namespace portico::test

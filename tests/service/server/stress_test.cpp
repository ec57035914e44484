// The stress rate: synthetic Level 1 lines on top of the market's own, every trade consistent
// with the one before, and counted by portico exactly as the client receives them.

#include <map>
#include <thread>

#include "portico_fixture.h"

namespace portico::test {
namespace {

// What a client keeps of one symbol to check each update against the one before.
struct Day {
    long long volume = 0;
    long long tickId = -1;
    double high = 0, low = 0;
    std::string open;
};

class StressTest : public PorticoTest {};

TEST_F(StressTest, SyntheticTradesAreConsistentAndCountedAsReceived) {
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

// The stress rate: synthetic Level 1 lines on top of the market's own, every trade consistent
// with the one before, and counted by portico exactly as the client receives them.

#include <map>
#include <thread>

#include "portico_fixture.h"

namespace portico::test {
namespace {

constexpr int kRate = 20000;

const std::string kFields = "S,SELECT UPDATE FIELDS,Symbol,Message Contents,Most Recent Trade,"
                            "Most Recent Trade Size,Total Volume,TickID,High,Low,Open,"
                            "Most Recent Trade Time,Bid,Ask\r\n";

// What a client keeps of one symbol to check each update against the one before.
struct Day {
    long long volume = 0;
    long long tickId = -1;
    double high = 0, low = 0;
    std::string open;
};

Day FromSummary(const std::vector<std::string>& p) {
    return Day{std::stoll(p[5]), std::stoll(p[6]), std::stod(p[7]), std::stod(p[8]), p[9]};
}

class StressTest : public PorticoTest {};

TEST_F(StressTest, SyntheticTradesAreConsistentAndCountedAsReceived) {
    startPortico(FrozenNoonWith({"--stress-rate", std::to_string(kRate)}));
    LineClient client;
    ASSERT_TRUE(client.connect(portico().level1Port()));
    ASSERT_TRUE(client.send(kFields));
    ASSERT_TRUE(client.readLineStartingWith("S,CURRENT UPDATE FIELDS,"));
    ASSERT_TRUE(client.send("wLUMA\nwAURX\n"));
    std::map<std::string, Day> days;
    for (const std::string symbol : {"LUMA", "AURX"}) {
        const auto summary = client.readLineStartingWith("P," + symbol + ",");
        ASSERT_TRUE(summary);
        days[symbol] = FromSummary(Fields(*summary));
    }

    unsigned long long updates = 0;
    unsigned long long trades = 0;
    const auto check = [&](const std::string& line) {
        const auto q = Fields(line);
        ASSERT_EQ(q.size(), 13u) << line;
        Day& day = days.at(q[1]);
        if (q[2] == "C") {
            ++trades;
            const double price = std::stod(q[3]);
            EXPECT_EQ(std::stoll(q[5]), day.volume + std::stoll(q[4])) << line;
            EXPECT_GT(std::stoll(q[6]), day.tickId) << line;
            EXPECT_EQ(q[10].substr(0, 8), "12:00:00") << line;
            EXPECT_LE(price, std::stod(q[7])) << line;
            EXPECT_GE(price, std::stod(q[8])) << line;
            EXPECT_LT(std::stod(q[11]), std::stod(q[12])) << line;
            day.tickId = std::stoll(q[6]);
        } else {
            EXPECT_EQ(q[2], "ba") << line;
            EXPECT_EQ(std::stoll(q[5]), day.volume) << line;
        }
        // The day's range only widens; its open stays.
        EXPECT_GE(std::stod(q[7]), day.high) << line;
        EXPECT_LE(std::stod(q[8]), day.low) << line;
        EXPECT_EQ(q[9], day.open) << line;
        day.volume = std::stoll(q[5]);
        day.high = std::stod(q[7]);
        day.low = std::stod(q[8]);
    };

    const auto began = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - began < 2s) {
        const auto line = client.readLine();
        ASSERT_TRUE(line);
        if (line->starts_with("Q,")) {
            ++updates;
            check(*line);
        }
        if (HasFailure()) {
            return;
        }
    }
    // The rate itself is the benchmark's to measure; here the stress lines only have to be far
    // more than the quotes of two symbols (a few a second) could make.
    EXPECT_GT(updates, 1000u);
    EXPECT_GT(trades, updates / 2) << "most stress lines are trades";

    // The answer on the Level 1 connection counts exactly the lines before it.
    ASSERT_TRUE(client.send("S,LEVEL1 COUNTS\n"));
    std::string counts;
    while (counts.empty()) {
        const auto line = client.readLine();
        ASSERT_TRUE(line);
        if (line->starts_with("Q,")) {
            ++updates;
            check(*line);
        } else if (line->starts_with("S,")) {
            counts = *line;
        }
    }
    EXPECT_EQ(counts, "S,LEVEL1 COUNTS," + std::to_string(updates) + "," + std::to_string(trades));

    // The admin port's totals include this client's lines, and a second client's.
    LineClient other;
    ASSERT_TRUE(other.connect(portico().level1Port()));
    ASSERT_TRUE(other.send("wVTRC\nS,LEVEL1 COUNTS\n"));
    const auto otherCounts = other.readLineStartingWith("S,LEVEL1 COUNTS,");
    ASSERT_TRUE(otherCounts);
    LineClient admin;
    ASSERT_TRUE(admin.connect(portico().adminPort()));
    ASSERT_TRUE(admin.send("S,LEVEL1 COUNTS\n"));
    const auto totals = admin.readLineStartingWith("S,LEVEL1 COUNTS,");
    ASSERT_TRUE(totals);
    const auto total = Fields(*totals);
    ASSERT_EQ(total.size(), 4u);
    EXPECT_GE(std::stoull(total[2]), updates + std::stoull(Fields(*otherCounts)[2]));
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

TEST_F(StressTest, NoSyntheticLinesWithoutTheOption) {
    startPortico(FrozenNoonWith({"--quote-rate", "0"}));
    LineClient client;
    ASSERT_TRUE(client.connect(portico().level1Port()));
    ASSERT_TRUE(client.send("wLUMA\n"));
    ASSERT_TRUE(client.readLineStartingWith("P,LUMA,"));
    std::this_thread::sleep_for(500ms);
    ASSERT_TRUE(client.send("S,LEVEL1 COUNTS\n"));
    // On a frozen clock without quotes nothing is sent, and nothing is counted.
    EXPECT_EQ(client.readLineStartingWith("S,"), "S,LEVEL1 COUNTS,0,0");
}

} // namespace
} // namespace portico::test

// The admin port's statistics line.

#include "portico_fixture.h"

namespace portico::test {
namespace {

class AdminTest : public PorticoTest {};

TEST_F(AdminTest, StatsLineHas21FieldsAndSaysNotConnectedDuringTheDelay) {
    // A delay far longer than any test: the first line is "Not Connected" however slow the
    // machine. (The other tests, without a delay, see "Connected".)
    startPortico(FrozenNoonWith({"--connect-delay", "3600000", "--symbol-limit", "321"}));
    LineClient admin;
    ASSERT_TRUE(admin.connect(portico().adminPort()));
    const auto first = admin.readRawLine();
    ASSERT_TRUE(first);
    ASSERT_TRUE(first->ends_with("\r\n"));
    const auto fields = Fields(first->substr(0, first->size() - 2));
    ASSERT_EQ(fields.size(), 21u) << *first;
    EXPECT_EQ(fields[0], "S");
    EXPECT_EQ(fields[1], "STATS");
    EXPECT_EQ(fields[2], "127.0.0.1");
    EXPECT_EQ(fields[3], std::to_string(portico().level1Port()));
    EXPECT_EQ(fields[4], "321");
    EXPECT_EQ(fields[5], "0");
    EXPECT_EQ(fields[6], "1");
    EXPECT_EQ(fields[10], "Nov 20 12:00PM");
    EXPECT_EQ(fields[12], "Not Connected");
    EXPECT_EQ(fields[13], "1.0.0");
    for (int i = 15; i <= 20; ++i) {
        std::size_t used = 0;
        std::stod(fields[i], &used);
        EXPECT_EQ(used, fields[i].size()) << fields[i];
    }
}

TEST_F(AdminTest, CountsClientsAndDistinctWatchedSymbols) {
    startPortico(FrozenNoonWith({"--connect-delay", "0"}));
    LineClient a;
    LineClient b;
    ASSERT_TRUE(a.connect(portico().level1Port()));
    ASSERT_TRUE(b.connect(portico().level1Port()));
    ASSERT_TRUE(a.send("wLUMA\nwBRYN\n"));
    ASSERT_TRUE(b.send("wLUMA\nwAURX\nwNOSUCH\n"));
    ASSERT_TRUE(b.readLineStartingWith("n,NOSUCH"));
    ASSERT_TRUE(a.readLineStartingWith("P,BRYN"));
    LineClient admin;
    ASSERT_TRUE(admin.connect(portico().adminPort()));
    auto stats = Fields(admin.readLine().value_or(""));
    ASSERT_EQ(stats.size(), 21u);
    EXPECT_EQ(stats[5], "3");
    EXPECT_EQ(stats[6], "3");
    EXPECT_EQ(stats[12], "Connected");
    // A client that leaves takes its watches with it.
    b.close();
    for (int i = 0; i < 10 && stats[5] != "2"; ++i) {
        stats = Fields(admin.readLine().value_or(""));
        ASSERT_EQ(stats.size(), 21u);
    }
    EXPECT_EQ(stats[5], "2");
    EXPECT_EQ(stats[6], "2");
}

} // namespace
} // namespace portico::test

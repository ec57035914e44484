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
    EXPECT_EQ(
        Pick(fields, {0, 1, 2, 3, 4, 5, 6, 10, 12, 13}),
        (std::vector<std::string>{"S", "STATS", "127.0.0.1", std::to_string(portico().level1Port()),
                                  "321", "0", "1", "Nov 20 12:00PM", "Not Connected", "1.0.0"}));
    for (int i = 15; i <= 20; ++i) {
        EXPECT_TRUE(Matches(fields[i], R"(\d+(\.\d+)?)"));
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
    EXPECT_EQ(Pick(stats, {5, 6, 12}), (std::vector<std::string>{"3", "3", "Connected"}));
    // A client that leaves takes its watches with it.
    b.close();
    for (int i = 0; i < 10 && Pick(stats, {5}).front() != "2"; ++i) {
        stats = Fields(admin.readLine().value_or(""));
    }
    EXPECT_EQ(Pick(stats, {5, 6}), (std::vector<std::string>{"2", "2"}));
}

} // namespace
} // namespace portico::test

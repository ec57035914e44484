// The fault options that let client tests exercise bad connections. (A connection cut after N
// lines and a dripped answer are held by the feed, export and history frame tests, which count
// the lines that came before the cut and the progress of a slow answer.)

#include <tuple>

#include "portico_fixture.h"

namespace portico::test {
namespace {

class FaultsTest : public PorticoTest {};

TEST_F(FaultsTest, LongLinesBeforeAnswersAndTheLevel1Greeting) {
    startPortico(FrozenNoonWith({"--fault-long-line"}));
    const auto answer = lookup("HTX,LUMA,5,1,Long", "Long");
    ASSERT_EQ(answer.size(), 7u);
    EXPECT_GT(answer[0].size(), 65536u);
    EXPECT_TRUE(answer[0].starts_with("Long,"));
    LineClient level1;
    ASSERT_TRUE(Open(level1, portico().level1Port()));
    EXPECT_GT(level1.readLine().value_or("").size(), 65536u);
    EXPECT_TRUE(level1.readLine().value_or("").starts_with("S,IP,"));
}

TEST_F(FaultsTest, MalformedLinesAfterEveryNLines) {
    startPortico(FrozenNoonWith({"--fault-malformed", "3"}));
    const auto answer = lookup("HTX,LUMA,9,1,M", "M");
    ASSERT_EQ(answer.size(), 13u);
    for (std::size_t i = 0; i < 12; ++i) {
        EXPECT_EQ(SplitFieldsCopy(answer[i]).size() < 14, i % 4 == 3) << answer[i];
    }
    LineClient level1;
    ASSERT_TRUE(Open(level1, portico().level1Port(), "wLUMA\nwBRYN\nwHOLT\n"));
    // F, P (1), F, P (2), F, P (3), then the malformed line.
    for (int i = 0; i < 6; ++i) {
        ASSERT_TRUE(level1.readLineStartingWith(i % 2 == 0 ? "F," : "P,"));
    }
    const auto malformed = level1.readLine().value_or("");
    EXPECT_TRUE(malformed.starts_with("Q,") && SplitFieldsCopy(malformed).size() < 25) << malformed;
}

TEST_F(FaultsTest, RefusedAndDelayedConnectionsAreServedAfterwards) {
    for (const auto& [option, value, refused] :
         {std::tuple{"--fault-refuse", "2", 2}, std::tuple{"--fault-accept-delay", "400", 0}}) {
        SCOPED_TRACE(option);
        startPortico(FrozenNoonWith({option, value}));
        for (const int port :
             {portico().adminPort(), portico().lookupPort(), portico().level1Port()}) {
            for (int i = 0; i < refused; ++i) {
                LineClient client;
                ASSERT_TRUE(client.connect(port));
                EXPECT_TRUE(client.waitForClose());
            }
        }
        EXPECT_EQ(lookup("HDX,LUMA,2,1,R", "R").size(), 3u);
        LineClient level1;
        ASSERT_TRUE(Open(level1, portico().level1Port()));
        EXPECT_TRUE(level1.readLine().value_or("").starts_with("S,IP,"));
    }
}

} // namespace
} // namespace portico::test

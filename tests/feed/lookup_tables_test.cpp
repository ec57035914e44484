// The reference tables fetched over the blocking lookup connection, and the service time texts.

#include "feed/lookup_system_info.h"
#include "feed/service_statistics.h"
#include "scripted_feed.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace skychart::test {
namespace {

using Table = std::array<CLookupSystemInfo::Entry, CLookupSystemInfo::kEntries>;

TEST(LookupTableFill, TakesEveryCompleteLineWithAnIdFrom0To255) {
    Table table;
    CLookupSystemInfo::FillTable("1,NRTH,Northgate Stock Exchange,1,Northgate Group,\r\n"
                                 "\n"
                                 "300,BIG,Too Big,,\n"
                                 "-1,NEG,Negative,,\n"
                                 ",EMPTY,No Id,,\n"
                                 "255,LAST,Last One\n"
                                 "0,ZERO,Zero,a,b,c,d\n"
                                 "7,TAIL,Not Ended",
                                 table);
    EXPECT_EQ(table[1][0], "NRTH");
    EXPECT_EQ(table[1][1], "Northgate Stock Exchange");
    EXPECT_EQ(table[1][2], "1");
    EXPECT_EQ(table[1][3], "Northgate Group");
    EXPECT_EQ(table[255], (CLookupSystemInfo::Entry{"LAST", "Last One", "", ""}));
    EXPECT_EQ(table[0], (CLookupSystemInfo::Entry{"ZERO", "Zero", "a", "b"}));
    EXPECT_EQ(table[7][0], "");
    const CLookupSystemInfo::Entry empty{};
    EXPECT_EQ(std::count(table.begin(), table.end(), empty), CLookupSystemInfo::kEntries - 3);
}

TEST(LookupReply, ReadsUntilTheEndMarkerAcrossReceives) {
    BlockingScript script;
    script.replies = {"\r\n1,A,Alpha,,\r\n2,B,", "Beta,,\r\n!ENDMSG!,\r\n", "9,LATE,,\r\n"};
    ScriptedBlockingSocket socket(script);
    std::string response = "kept:";
    CLookupSystemInfo::ReadReply(socket, response);
    EXPECT_EQ(response, "kept:\r\n1,A,Alpha,,\r\n2,B,Beta,,\r\n");
    EXPECT_EQ(script.replies.size(), 1u);

    // The text before a marker in its own receive loses its leading line ends.
    script.replies = {"\r\n\n3,C,Gamma,,\r\n!ENDMSG!,\r\n"};
    response.clear();
    CLookupSystemInfo::ReadReply(socket, response);
    EXPECT_EQ(response, "3,C,Gamma,,\r\n");

    script.replies = {"1,A,Alpha,,\r\n", "E,!SYNTAX_ERROR!,\r\n", "2,B,Beta,,\r\n"};
    CLookupSystemInfo::ReadReply(socket, response);
    EXPECT_EQ(response, "");

    // A shutdown ends reading with what came so far.
    script.replies = {"4,D,Delta,,\r\n"};
    CLookupSystemInfo::ReadReply(socket, response);
    EXPECT_EQ(response, "4,D,Delta,,\r\n");
}

TEST(LookupLoad, FetchesOnceAndRetriesOnlyAfterAFailure) {
    ScriptedPlatform platform;
    // A syntax error for an answer leaves a loaded empty table.
    CSecurityTypes types(platform);
    platform.blocking.replies = {"E,!SYNTAX_ERROR!,\r\n"};
    EXPECT_TRUE(types.Load());
    EXPECT_TRUE(types.IsLoaded());
    EXPECT_EQ(platform.blocking.sent, "SST\r\n");
    EXPECT_EQ(platform.blocking.port, 9100u);
    EXPECT_EQ(types.ShortName(1), "");

    platform.ports["LookupPort"] = 4321;
    CListedMarkets markets(platform);
    platform.blocking.connects = false;
    EXPECT_FALSE(markets.Load());
    EXPECT_FALSE(markets.IsLoaded());
    platform.blocking.connects = true;
    platform.blocking.sendResult = 3;
    EXPECT_FALSE(markets.Load());
    EXPECT_FALSE(markets.IsLoaded());

    platform.blocking.sendResult = -2;
    platform.blocking.sent.clear();
    platform.blocking.replies = {"1,NRTH,Northgate Stock Exchange,1,Northgate Group,\r\n"
                                 "300,X,Skipped,,\r\n!ENDMSG!,\r\n"};
    EXPECT_TRUE(markets.Load());
    EXPECT_EQ(platform.blocking.sent, "SLM\r\n");
    EXPECT_EQ(platform.blocking.port, 4321u);
    EXPECT_TRUE(platform.blocking.closed);
    EXPECT_EQ(markets.ShortName(1), "NRTH");
    EXPECT_EQ(markets.Name(1), "Northgate Stock Exchange");
    EXPECT_EQ(markets.ShortName(300), "");
    EXPECT_EQ(markets.ShortName(-5), "");
    const int made = platform.blocking.made;
    EXPECT_TRUE(markets.Load());
    EXPECT_EQ(platform.blocking.made, made);
}

TEST(ServiceTime, ReadsMonthDayAndTwelveHourTime) {
    const CDateTime noon = ParseServiceTime("Nov 20 12:00PM");
    ASSERT_TRUE(noon.IsValid());
    EXPECT_EQ(noon.GetMonth(), 11);
    EXPECT_EQ(noon.GetDay(), 20);
    EXPECT_EQ(noon.GetHour(), 12);
    EXPECT_EQ(ParseServiceTime("Jan 2 12:05AM").GetHour(), 0);
    EXPECT_EQ(ParseServiceTime("Mar 09 3:07PM").GetHour(), 15);
    EXPECT_EQ(ParseServiceTime("Mar 09 3:07PM").GetMinute(), 7);
    for (const char* bad : {"", "Nov", "Xyz 20 12:00PM", "Nov 20 13:00PM", "Nov 20 12:0PM",
                            "Nov 20 12:00", "Feb 30 10:00AM", "Nov 20 12:00PMX"}) {
        EXPECT_FALSE(ParseServiceTime(bad).IsValid()) << bad;
    }
}

} // namespace
} // namespace skychart::test

#include <gtest/gtest.h>

#include "civil_time.h"
#include "commands.h"

namespace portico {
namespace {

Micros At(int y, int mo, int d, int h, int mi, int s) {
    return StartOfDay(DaysFromCivil(y, mo, d)) + ((h * 60 + mi) * 60 + s) * kMicrosPerSecond;
}

HistoryRequest History(std::string_view line) {
    const Command command = ParseCommand(line);
    const auto* request = std::get_if<HistoryRequest>(&command);
    EXPECT_NE(request, nullptr) << line;
    return request ? *request : HistoryRequest{};
}

TEST(CommandsTest, SplittingKeepsEveryEmptyField) {
    const auto fields = SplitFields("a,,b,");
    ASSERT_EQ(fields.size(), 4u);
    EXPECT_EQ(fields[1], "");
    EXPECT_EQ(fields[3], "");
    EXPECT_EQ(SplitFields("").size(), 1u);
}

// Field positions of every kind are exercised against the running service; these are the
// readings it does not show: case, empty and zero fields, inclusive ends, optional fields.
TEST(CommandsTest, HistoryFieldsThatNeedNormalising) {
    const HistoryRequest htd = History("HTD,luma,3,500,,,0,Id1");
    EXPECT_EQ(htd.symbol, "LUMA");
    EXPECT_EQ(htd.beginFilter, -1);
    EXPECT_TRUE(htd.newestFirst);

    const HistoryRequest htt =
        History("HTT,X,20261119 093000,20261119 100000,5000000,093000,095959,1,Lookup2");
    EXPECT_EQ(htt.begin, At(2026, 11, 19, 9, 30, 0));
    EXPECT_EQ(htt.end, At(2026, 11, 19, 10, 0, 0) + kMicrosPerSecond - 1);
    EXPECT_EQ(htt.endFilter, 9 * 3600 + 59 * 60 + 59);
    const HistoryRequest open = History("HTT,X,00000000 000000,00000000 000000,,,,1,L");
    EXPECT_FALSE(open.begin || open.end);

    const HistoryRequest hdt = History("HDT,ABC,20200101,20201231,,1,Lookup7\r\n");
    EXPECT_EQ(hdt.end, At(2021, 1, 1, 0, 0, 0) - 1);
    EXPECT_FALSE(hdt.maxPoints);
    EXPECT_EQ(hdt.id, "Lookup7");
    EXPECT_TRUE(History("HIX,X,60,100,1,Lookup3").isIntervals()); // trailing fields optional
    for (const char* name : {"HDX", "HWX", "HMX"}) {
        const HistoryRequest bars = History(std::string(name) + ",X,,0,Lookup6");
        EXPECT_FALSE(bars.maxPoints);
        EXPECT_TRUE(bars.newestFirst);
        EXPECT_EQ(bars.id, "Lookup6");
        EXPECT_FALSE(bars.isTicks() || bars.isIntervals());
    }
}

TEST(CommandsTest, LinesWithoutAnIdOrCommandAreSyntaxErrors) {
    for (const char* line : {"HTX,LUMA", "HIT,X,60,20200101 000000", "SBF,s,IBM", "HELLO",
                             "htx,LUMA,10,1,L", "", "SLM,extra", ",,,", "w", "wA B"}) {
        EXPECT_TRUE(std::holds_alternative<SyntaxError>(ParseCommand(line))) << line;
    }
}

TEST(CommandsTest, SearchWatchAndSystemCommands) {
    const Command search = ParseCommand("SBF,d,gold Bar,e,1 4  5,LSearch\r");
    const auto& s = std::get<SearchRequest>(search);
    EXPECT_TRUE(s.byDescription);
    EXPECT_EQ(s.text, "gold Bar");
    EXPECT_EQ(s.filter, SearchRequest::Filter::ListedMarkets);
    EXPECT_EQ(s.filterIds, (std::vector<int>{1, 4, 5}));
    EXPECT_EQ(s.id, "LSearch");

    const auto plain = std::get<SearchRequest>(ParseCommand("SBF,s,IBM,,,LSearch"));
    EXPECT_EQ(plain.filter, SearchRequest::Filter::None);

    EXPECT_TRUE(std::holds_alternative<ListedMarketsRequest>(ParseCommand("SLM")));
    EXPECT_TRUE(std::holds_alternative<SecurityTypesRequest>(ParseCommand("SST\r\n")));
    EXPECT_EQ(std::get<WatchRequest>(ParseCommand("wluma")).symbol, "LUMA");
    EXPECT_EQ(std::get<UnwatchRequest>(ParseCommand("r@NGI#")).symbol, "@NGI#");

    const auto select =
        std::get<SystemCommand>(ParseCommand("S,SELECT UPDATE FIELDS,Symbol,Most Recent Trade"));
    EXPECT_EQ(select.name, "SELECT UPDATE FIELDS");
    EXPECT_EQ(select.argument, "Symbol,Most Recent Trade");
    EXPECT_EQ(std::get<SystemCommand>(ParseCommand("S,SET PROTOCOL,6.2")).argument, "6.2");
}

TEST(CommandsTest, DatesAndTimesOfDay) {
    EXPECT_EQ(ParseDate("20240229"), DaysFromCivil(2024, 2, 29));
    EXPECT_FALSE(ParseDate("20230229"));
    EXPECT_FALSE(ParseDate("2023011"));
    EXPECT_FALSE(ParseDate("2023O101"));
    EXPECT_EQ(ParseTimeOfDay("000000"), 0);
    EXPECT_EQ(ParseTimeOfDay("235959"), 86399);
    EXPECT_FALSE(ParseTimeOfDay("240000"));
    EXPECT_FALSE(ParseTimeOfDay("126000"));
    EXPECT_FALSE(ParseTimeOfDay("93000"));
}

} // namespace
} // namespace portico

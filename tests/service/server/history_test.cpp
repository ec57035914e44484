// History answers of every kind, their line formats, limits, directions, filters and errors.

#include <algorithm>
#include <regex>
#include <set>

#include "portico_fixture.h"

namespace portico::test {
namespace {

const long long kNoon = SecondsOf("2026-11-20 12:00:00");

std::vector<std::string> WithoutId(std::vector<std::string> fields) {
    fields.erase(fields.begin());
    return fields;
}

class HistoryTest : public PorticoTest {
protected:
    void SetUp() override { startPortico(); }
};

TEST_F(HistoryTest, TickLinesHaveTheirFormatAndEndAtNow) {
    LineClient client;
    ASSERT_TRUE(client.connect(portico().lookupPort()));
    ASSERT_TRUE(client.send("HTX,LUMA,200,1,Lookup0\n"));
    const std::regex tick(R"(Lookup0,LH,\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6},\d+\.\d\d,\d+,\d+,)"
                          R"(\d+\.\d\d,\d+\.\d\d,\d+,[CEO],\d+,[0-9A-F]{2},[012],\d+,\r\n)");
    long long previous = 0;
    for (int i = 0; i < 200; ++i) {
        const auto line = client.readRawLine();
        ASSERT_TRUE(line);
        ASSERT_TRUE(std::regex_match(*line, tick)) << *line;
        const auto fields = Fields(line->substr(0, line->size() - 2));
        const long long micros = MicrosOf(fields[2]);
        EXPECT_GE(micros, previous);
        previous = micros;
        EXPECT_LE(std::stod(fields[6]), std::stod(fields[7])); // bid <= ask
    }
    EXPECT_EQ(client.readRawLine(), "Lookup0,!ENDMSG!,\r\n");
    // The newest tick is the last one before the exchange clock's "now".
    EXPECT_LE(previous / 1'000'000, kNoon + 1);
    EXPECT_GT(previous / 1'000'000, kNoon - 60);
}

TEST_F(HistoryTest, DirectionReversesAndMaxPointsKeepsTheNewest) {
    const auto oldestFirst = lookupData("HTX,LUMA,300,1,A", "A");
    const auto newestFirst = lookupData("HTX,LUMA,300,0,B", "B");
    const auto fewer = lookupData("HTX,LUMA,100,1,C", "C");
    ASSERT_EQ(oldestFirst.size(), 300u);
    ASSERT_EQ(newestFirst.size(), 300u);
    ASSERT_EQ(fewer.size(), 100u);
    for (std::size_t i = 0; i < 300; ++i) {
        EXPECT_EQ(WithoutId(oldestFirst[i]), WithoutId(newestFirst[299 - i]));
    }
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(WithoutId(fewer[i]), WithoutId(oldestFirst[200 + i]));
    }
}

TEST_F(HistoryTest, DaysWithTimeFilterKeepOnlyTheWindowOfTheRecentDays) {
    // Two trading days: Thursday and Friday up to noon, regular hours only.
    const auto all = lookupData("HTD,BRYN,2,,093000,160000,1,Lookup1", "Lookup1");
    ASSERT_GT(all.size(), 1000u);
    std::set<std::string> dates;
    for (const auto& f : all) {
        const long long seconds = SecondsOf(f[2]);
        const long long second = seconds % 86400;
        EXPECT_GE(second, 9 * 3600 + 30 * 60) << f[2];
        EXPECT_LE(second, 16 * 3600) << f[2];
        if (second < 16 * 3600) {
            EXPECT_NE(f[9], "E") << "no extended-hours trades inside 09:30-16:00";
        }
        dates.insert(f[2].substr(0, 10));
    }
    EXPECT_EQ(dates, (std::set<std::string>{"2026-11-19", "2026-11-20"}));

    // A limit keeps the newest of the filtered ticks; newest first reverses them.
    const auto limited = lookupData("HTD,BRYN,2,500,093000,160000,1,X", "X");
    const auto reversed = lookupData("HTD,BRYN,2,500,093000,160000,0,Y", "Y");
    ASSERT_EQ(limited.size(), 500u);
    ASSERT_EQ(reversed.size(), 500u);
    for (std::size_t i = 0; i < 500; ++i) {
        EXPECT_EQ(WithoutId(limited[i]), WithoutId(all[all.size() - 500 + i]));
        EXPECT_EQ(WithoutId(reversed[i]), WithoutId(all[all.size() - 1 - i]));
    }
}

TEST_F(HistoryTest, DateRangeTicksStayInsideTheRangeBothEndsIncluded) {
    const auto ticks =
        lookupData("HTT,LUMA,20261119 100000,20261119 100500,,,,1,Lookup2", "Lookup2");
    ASSERT_GT(ticks.size(), 50u);
    for (const auto& f : ticks) {
        const long long micros = MicrosOf(f[2]);
        EXPECT_GE(micros, SecondsOf("2026-11-19 10:00:00") * 1'000'000) << f[2];
        EXPECT_LT(micros, SecondsOf("2026-11-19 10:05:01") * 1'000'000) << f[2];
    }
    // An open end runs up to now, not beyond it.
    const auto open = lookupData("HTT,LUMA,20261120 115900,00000000 000000,,,,1,O", "O");
    ASSERT_FALSE(open.empty());
    EXPECT_LE(SecondsOf(open.back()[2]), kNoon);
    // A filter narrows the range further.
    const auto filtered =
        lookupData("HTT,LUMA,20261119 100000,20261119 110000,,100100,100200,1,F", "F");
    ASSERT_FALSE(filtered.empty());
    for (const auto& f : filtered) {
        EXPECT_EQ(f[2].substr(11, 4), "10:0") << f[2];
        EXPECT_TRUE(f[2].substr(14, 2) == "01" || f[2].substr(11, 8) == "10:02:00") << f[2];
    }
}

TEST_F(HistoryTest, IntervalBarsLabelledAtTheirEndOrBeginning) {
    const auto atEnd = lookupData("HIX,LUMA,60,30,1,Lookup3,,s,0", "Lookup3");
    const auto atStart = lookupData("HIX,LUMA,60,30,1,Lookup3,,s,1", "Lookup3");
    const std::regex bar(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)");
    ASSERT_EQ(atEnd.size(), 30u);
    ASSERT_EQ(atStart.size(), 30u);
    for (std::size_t i = 0; i < 30; ++i) {
        ASSERT_EQ(atEnd[i].size(), 10u);
        EXPECT_TRUE(std::regex_match(atEnd[i][2], bar)) << atEnd[i][2];
        EXPECT_EQ(SecondsOf(atEnd[i][2]) - SecondsOf(atStart[i][2]), 60);
        EXPECT_EQ(SecondsOf(atEnd[i][2]) % 60, 0);
        EXPECT_EQ(std::vector<std::string>(atEnd[i].begin() + 3, atEnd[i].end()),
                  std::vector<std::string>(atStart[i].begin() + 3, atStart[i].end()));
    }
    EXPECT_EQ(SecondsOf(atEnd.back()[2]), kNoon);
}

TEST_F(HistoryTest, IntervalDaysWithFilterKeepWholeBarsInsideTheWindow) {
    const auto bars = lookupData("HID,LUMA,300,1,,093000,160000,1,Lookup4,,s,0", "Lookup4");
    ASSERT_FALSE(bars.empty());
    EXPECT_EQ(bars.front()[2], "2026-11-20 09:35:00");
    EXPECT_EQ(bars.back()[2], "2026-11-20 12:00:00");
    EXPECT_EQ(bars.size(), 30u); // 09:30 to 12:00 in five-minute steps
    const auto limited = lookupData("HID,LUMA,300,1,5,093000,160000,0,L,,s,0", "L");
    ASSERT_EQ(limited.size(), 5u);
    EXPECT_EQ(limited.front()[2], "2026-11-20 12:00:00");
    EXPECT_EQ(limited.back()[2], "2026-11-20 11:40:00");
}

TEST_F(HistoryTest, DayWeekAndMonthBars) {
    const std::regex date(R"(\d{4}-\d\d-\d\d)");
    const auto days = lookupData("HDX,LUMA,5,1,Lookup6", "Lookup6");
    ASSERT_EQ(days.size(), 5u);
    EXPECT_EQ(days.back()[2], "2026-11-20");
    EXPECT_EQ(days.front()[2], "2026-11-16"); // the week's Monday: no weekend days
    for (const auto& f : days) {
        ASSERT_EQ(f.size(), 9u);
        EXPECT_TRUE(std::regex_match(f[2], date));
    }
    const auto range = lookupData("HDT,LUMA,20261102,20261106,,1,Lookup7", "Lookup7");
    ASSERT_EQ(range.size(), 5u);
    EXPECT_EQ(range.front()[2], "2026-11-02");
    EXPECT_EQ(range.back()[2], "2026-11-06");
    const auto openEnded = lookupData("HDT,LUMA,20261118,0,,0,D", "D");
    ASSERT_EQ(openEnded.size(), 3u);
    EXPECT_EQ(openEnded.front()[2], "2026-11-20");

    const auto weeks = lookupData("HWX,LUMA,3,1,Lookup8", "Lookup8");
    ASSERT_EQ(weeks.size(), 3u);
    EXPECT_EQ(weeks.back()[2], "2026-11-20");
    EXPECT_EQ(weeks[1][2], "2026-11-13");
    const auto months = lookupData("HMX,LUMA,2,0,Lookup9", "Lookup9");
    ASSERT_EQ(months.size(), 2u);
    EXPECT_EQ(months[0][2], "2026-11-20");
    EXPECT_EQ(months[1][2], "2026-10-30");
    // Futures carry open interest in their day bars.
    const auto future = lookupData("HDX,@NGI#,1,1,F", "F");
    ASSERT_EQ(future.size(), 1u);
    EXPECT_GT(std::stoll(future[0][8]), 0);
}

TEST_F(HistoryTest, ErrorAnswersEndWithTheEndMarker) {
    EXPECT_EQ(lookup("HTX,NOSUCH,10,1,Lookup0", "Lookup0"),
              (std::vector<std::string>{"Lookup0,E,!UNKNOWN_SYMBOL!,", "Lookup0,!ENDMSG!,"}));
    // Before the first trading day, and a weekend of an equity: no data.
    EXPECT_EQ(lookup("HTT,ZNDR,20000101 000000,20000102 000000,,,,1,Lookup2", "Lookup2"),
              (std::vector<std::string>{"Lookup2,E,!NO_DATA!,", "Lookup2,!ENDMSG!,"}));
    EXPECT_EQ(lookup("HDT,LUMA,20261114,20261115,,1,Lookup7", "Lookup7"),
              (std::vector<std::string>{"Lookup7,E,!NO_DATA!,", "Lookup7,!ENDMSG!,"}));
    for (const std::string command :
         {"HIX,LUMA,60,10,1,Bad,,d,0", "HTX,LUMA,many,1,Bad", "HTT,LUMA,20261132 000000,,,,,1,Bad",
          "HID,LUMA,60,1,,0930,1600,1,Bad,,s,0", "HDX,LUMA,10,7,Bad"}) {
        const auto answer = lookup(command, "Bad");
        ASSERT_EQ(answer.size(), 2u) << command;
        EXPECT_TRUE(answer[0].starts_with("Bad,E,")) << answer[0];
        EXPECT_GT(answer[0].size(), std::string("Bad,E,,").size()) << "a reason is given";
    }
    LineClient client;
    ASSERT_TRUE(client.connect(portico().lookupPort()));
    ASSERT_TRUE(client.send("HELLO\nHTX,LUMA\nwLUMA\n"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client.readRawLine(), "E,!SYNTAX_ERROR!,\r\n");
    }
}

TEST_F(HistoryTest, PipelinedCommandsAreAnsweredInOrder) {
    LineClient client;
    ASSERT_TRUE(client.connect(portico().lookupPort()));
    ASSERT_TRUE(client.send("S,SET PROTOCOL,6.2\r\nS,SET CLIENT NAME,Tests\n\n\r\n"
                            "HTX,LUMA,3,1,First\nHDX,LUMA,2,1,Second\r\nHTX,NOSUCH,1,1,Third\n"
                            "SBF,s,LUM,,,Fourth\r\n"));
    EXPECT_EQ(client.readLine(), "S,CURRENT PROTOCOL,6.2");
    const auto first = client.readAnswer("First");
    const auto second = client.readAnswer("Second");
    const auto third = client.readAnswer("Third");
    const auto fourth = client.readAnswer("Fourth");
    ASSERT_TRUE(first && second && third && fourth);
    EXPECT_EQ(first->size(), 4u);
    EXPECT_EQ(second->size(), 3u);
    EXPECT_EQ(third->size(), 2u);
    EXPECT_EQ(fourth->front(), "Fourth,LS,LUMA,1,1,Lumarel Photonics Corp,");
}

TEST_F(HistoryTest, ALargeAnswerDoesNotHoldUpOtherClients) {
    LineClient big;
    ASSERT_TRUE(big.connect(portico().lookupPort()));
    ASSERT_TRUE(big.send("HTX,LUMA,3000000,1,Big\n"));
    // Nobody reads the big answer for now; the service still answers others at once.
    ASSERT_TRUE(big.readLine());
    const auto other = lookup("HDX,LUMA,3,1,Small", "Small");
    EXPECT_EQ(other.size(), 4u);
    bool found = false;
    const auto bytes = big.discardUntil("Big,!ENDMSG!,\r\n", found);
    EXPECT_TRUE(found);
    EXPECT_GT(bytes, 200'000'000u);
}

TEST_F(HistoryTest, AClientLeavingInTheMiddleOfAnAnswerHurtsNobody) {
    for (int i = 0; i < 3; ++i) {
        LineClient leaving;
        ASSERT_TRUE(leaving.connect(portico().lookupPort()));
        ASSERT_TRUE(leaving.send("HTX,LUMA,2000000,1,Gone\nHTX,LUMA,10,1,Never\n"));
        ASSERT_TRUE(leaving.readLine());
    }
    EXPECT_EQ(lookup("HDX,LUMA,2,1,Still", "Still").size(), 3u);
    EXPECT_TRUE(portico().running());
}

} // namespace
} // namespace portico::test

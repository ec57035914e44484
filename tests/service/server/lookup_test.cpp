// The lookup port: history answers of every kind, their line formats, limits, directions,
// filters and errors; symbol search; and the fault options that let
// client tests exercise bad connections. (A connection cut after N lines and a dripped answer are
// held by the feed, export and history frame tests, which count the lines that came before the cut
// and the progress of a slow answer.)

#include <algorithm>
#include <regex>
#include <tuple>

#include "portico_fixture.h"

namespace portico::test {
namespace {

// A data line of a tick answer with the id "H", its time of day matching `time`, its basis
// matching `basis`.
std::string TickLine(const std::string& time = R"(\d\d:\d\d:\d\d)",
                     const std::string& basis = "[CEO]") {
    return R"(H,LH,\d{4}-\d\d-\d\d )" + time +
           R"(\.\d{6},\d+\.\d\d,\d+,\d+,\d+\.\d\d,\d+\.\d\d,\d+,)" + basis +
           R"(,\d+,[0-9A-F]{2},[012],\d+,)";
}
const std::string kIntervalLine =
    R"(H,LH,\d{4}-\d\d-\d\d \d\d:\d\d:00(,\d+\.\d\d){4},\d+,\d+,\d+,)";
const std::string kDayLine = R"(H,LH,\d{4}-\d\d-\d\d(,\d+\.\d\d){4},\d+,\d+,)";

class LookupTest : public PorticoTest {
protected:
    void SetUp() override { startPortico(); }
};

TEST_F(LookupTest, EveryKindHasItsLinesRangeLimitAndDirection) {
    // Each command is `head` + limit + `middle` + direction + ",H" + `tail`, asked for `many`
    // lines (all when empty) and for the `few` newest, oldest first and newest first. Every
    // line matches `line`; the oldest and newest lines begin with `first` and `last` after the
    // id and "LH" (ticks at the frozen noon end in the minute before it).
    const struct {
        std::string head, middle, tail, many, few, line;
        std::size_t count; // of the `many` lines, when known
        std::string first, last;
    } cases[] = {
        {"HTX,LUMA,", ",", "", "300", "100", TickLine(), 300, "2026-11-20 1", "2026-11-20 11:59:"},
        // A symbol in lower case; a filter of the whole day.
        {"HTD,luma,1,", ",000000,235959,", "", "", "50", TickLine(), 0,
         "2026-11-20 04:00:", "2026-11-20 11:59:"},
        // Two trading days, regular hours only.
        {"HTD,BRYN,2,", ",093000,155959,", "", "", "500",
         TickLine(R"((09:[345]\d|1[0-5]:\d\d):\d\d)", "[CO]"), 0,
         "2026-11-19 09:30:", "2026-11-20 11:59:"},
        // Both ends of a range are included; an open end runs up to now; a filter narrows.
        {"HTT,LUMA,20261119 100000,20261119 100500,", ",,,", "", "", "50", TickLine(), 0,
         "2026-11-19 10:00:00.", "2026-11-19 10:05:00."},
        {"HTT,LUMA,20261120 115900,00000000 000000,", ",,,", "", "", "5", TickLine(), 0,
         "2026-11-20 11:59:", "2026-11-20 11:59:"},
        {"HTT,LUMA,20261119 100000,20261119 110000,", ",100100,100200,", "", "", "50",
         TickLine(R"(10:0(1:\d\d|2:00))"), 0, "2026-11-19 10:01:00.", "2026-11-19 10:02:00."},
        // Interval bars labelled at their end (by default, or "s,0") or at their start ("s,1").
        {"HIX,LUMA,60,", ",", "", "30", "5", kIntervalLine, 30, "2026-11-20 11:31:00,",
         "2026-11-20 12:00:00,"},
        {"HIT,LUMA,60,20261119 093000,20261119 100000,", ",,,", ",,s,1", "", "5", kIntervalLine, 31,
         "2026-11-19 09:30:00,", "2026-11-19 10:00:00,"},
        // Whole bars inside the daily window of the most recent day.
        {"HID,LUMA,300,1,", ",093000,160000,", ",,s,0", "", "5", kIntervalLine, 30,
         "2026-11-20 09:35:00,", "2026-11-20 12:00:00,"},
        // Days skip the weekend, and know the leap day; weeks and months are labelled with their
        // newest day.
        {"HDX,LUMA,", ",", "", "5", "2", kDayLine, 5, "2026-11-16,", "2026-11-20,"},
        {"HDT,LUMA,20240228,20240301,", ",", "", "", "2", kDayLine, 3, "2024-02-28,",
         "2024-03-01,"},
        {"HDT,LUMA,20261118,0,", ",", "", "", "2", kDayLine, 3, "2026-11-18,", "2026-11-20,"},
        {"HWX,LUMA,", ",", "", "", "2", kDayLine, 0, "1990-01-05,", "2026-11-20,"},
        {"HMX,LUMA,", ",", "", "2", "1", kDayLine, 2, "2026-10-30,", "2026-11-20,"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.head + c.many + c.middle);
        const auto ask = [&](const std::string& limit, bool newestFirst) {
            auto lines =
                lookup(c.head + limit + c.middle + (newestFirst ? "0" : "1") + ",H" + c.tail, "H");
            if (!lines.empty()) {
                lines.pop_back(); // the end marker
            }
            return lines;
        };
        const auto all = ask(c.many, false);
        const long few = std::stol(c.few);
        ASSERT_GT(all.size(), static_cast<std::size_t>(few));
        EXPECT_TRUE(c.count == 0 || all.size() == c.count) << all.size();
        EXPECT_TRUE(all.front().starts_with("H,LH," + c.first)) << all.front();
        EXPECT_TRUE(all.back().starts_with("H,LH," + c.last)) << all.back();
        const std::regex pattern(c.line);
        std::string previous;
        for (const std::string& line : all) {
            ASSERT_TRUE(std::regex_match(line, pattern)) << line;
            const auto f = SplitFieldsCopy(line);
            ASSERT_LE(previous, f[2]) << "out of order: " << line;
            ASSERT_TRUE(f.size() < 15 || std::stod(f[6]) <= std::stod(f[7])) << "bid over ask";
            previous = f[2];
        }
        // The newest first; the limit keeps the newest.
        const std::vector<std::string> reversed(all.rbegin(), all.rend());
        EXPECT_EQ(ask(c.many, true), reversed);
        EXPECT_EQ(ask(c.few, false), std::vector(all.end() - few, all.end()));
        EXPECT_EQ(ask(c.few, true), std::vector(reversed.begin(), reversed.begin() + few));
    }
    // Futures carry open interest in their day bars.
    const auto future = lookupData("HDX,@NGI#,1,1,F", "F");
    ASSERT_EQ(future.size(), 1u);
    EXPECT_GT(std::stoll(future[0][8]), 0);
}

TEST_F(LookupTest, ErrorAnswersEndWithTheEndMarker) {
    // An unknown symbol; no data before the first trading day, on a weekend of an equity, after
    // now.
    for (const auto& [command, error] :
         {std::pair{"HTX,NOSUCH,10,1,H", "UNKNOWN_SYMBOL"},
          std::pair{"HTT,ZNDR,20000101 000000,20000102 000000,,,,1,H", "NO_DATA"},
          std::pair{"HDT,LUMA,20261114,20261115,,1,H", "NO_DATA"},
          std::pair{"HTT,LUMA,21000101 000000,,,,,1,H", "NO_DATA"}}) {
        EXPECT_EQ(lookup(command, "H"),
                  (std::vector<std::string>{"H,E,!" + std::string(error) + "!,", "H,!ENDMSG!,"}));
    }
    // Arguments that cannot be served, absurd ones among them, are refused with a reason.
    // clang-format off
    const char* const refused[] = {
        // Counts, directions, intervals, symbols and search kinds that are none.
        "HTX,LUMA,many,1,H", "HTX,LUMA,10,2,H", "HDX,LUMA,10,7,H", "HIX,LUMA,60,10,1,H,,d,0",
        "HID,LUMA,60,0,,,,1,H", "HIX,LUMA,0,10,1,H,,s,0", "HTD,LUMA,1000000,,,,1,H",
        "HTX,LUMA,9999999999999999999,1,H", "HDT,,20200101,20201231,,1,H", "SBF,x,IBM,,,H",
        "SBF,s,IBM,q,1,H",
        // Dates and times that are none, or a range that ends before it begins.
        "HTT,LUMA,20261132 000000,,,,,1,H", "HTT,LUMA,20230230 000000,,,,,1,H",
        "HTT,LUMA,20230229 000000,,,,,1,H", "HTT,LUMA,2023011 000000,,,,,1,H",
        "HTT,LUMA,2023O101 000000,,,,,1,H", "HTT,LUMA,20230201 250000,,,,,1,H",
        "HTT,LUMA,20230201 126000,,,,,1,H", "HIT,LUMA,60,99999999,,,,,1,H,,s,0",
        "HTT,LUMA,20230202 000000,20230201 000000,,,,1,H",
        // Filter times of the wrong width or past the day.
        "HID,LUMA,60,1,,0930,1600,1,H,,s,0", "HTD,LUMA,1,,93000,,1,H",
        "HTD,LUMA,1,,093000,240000,1,H"};
    // clang-format on
    for (const char* command : refused) {
        const auto answer = lookup(command, "H");
        ASSERT_EQ(answer.size(), 2u) << command;
        EXPECT_TRUE(Matches(answer[0], "H,E,!INVALID_ARGUMENT! [^,]+,")) << command;
    }
    // Lines without a command or an id.
    LineClient client;
    ASSERT_TRUE(Open(client, portico().lookupPort(),
                     "HELLO\nHTX,LUMA\nwLUMA\nHIT,X,60,20200101 000000\nSBF,s,IBM\n"
                     "htx,LUMA,10,1,L\nSLM,extra\n,,,\n"));
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(client.readRawLine(), "E,!SYNTAX_ERROR!,\r\n");
    }
}

TEST_F(LookupTest, PipelinedCommandsAreAnsweredInOrder) {
    LineClient client;
    ASSERT_TRUE(Open(client, portico().lookupPort(),
                     "S,SET PROTOCOL,6.2\r\nS,SET CLIENT NAME,Tests\n\n\r\n"
                     "HTX,LUMA,3,1,First\nHDX,LUMA,2,1,Second\r\nHTX,NOSUCH,1,1,Third\n"
                     "SBF,s,LUM,,,Fourth\r\n"));
    EXPECT_EQ(client.readRawLine(), "S,CURRENT PROTOCOL,6.2\r\n");
    const auto firstLine = client.readRawLine();
    ASSERT_TRUE(firstLine);
    EXPECT_TRUE(Matches(*firstLine, "First,LH,.*,\r\n"));
    const auto first = client.readAnswer("First");
    const auto second = client.readAnswer("Second");
    const auto third = client.readAnswer("Third");
    const auto fourth = client.readAnswer("Fourth");
    ASSERT_TRUE(first && second && third && fourth);
    EXPECT_EQ(first->size(), 3u);
    EXPECT_EQ(second->size(), 3u);
    EXPECT_EQ(third->size(), 2u);
    EXPECT_EQ(fourth->front(), "Fourth,LS,LUMA,1,1,Lumarel Photonics Corp,");
}

// Symbol search. (The reference tables as the feed reads them: the feed's portico tests.)
TEST_F(LookupTest, SearchBySymbolPrefixOrDescriptionIgnoringCaseAndFiltered) {
    EXPECT_EQ(lookup("SBF,s,lum,,,S", "S"),
              (std::vector<std::string>{"S,LS,LUMA,1,1,Lumarel Photonics Corp,", "S,!ENDMSG!,"}));
    // The symbols found, in any order. Listed market 5 holds only the tokens, security type 2
    // only futures; an empty result is only the end marker.
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"SBF,d,BULLION gold,e,1 4  5", {"@BGD#"}},
        {"SBF,d,mills,,", {"IVRY", "TMBR"}},
        {"SBF,s,,e,5", {"AURX", "QLMB", "SHRD", "VTRC"}},
        {"SBF,s,@,t,2", {"@BGD#", "@HGS#", "@LCR#", "@NGI#", "@NGM#", "@RCP#", "@TEN#", "@WWH#"}},
        {"SBF,d,fund,e,2 4", {"HBGF", "SMCF"}},
        // clang-format off
        {"SBF,s,@,t,1 3", {}}, {"SBF,s,IBM,,", {}}, {"SBF,d,zzzz,t,1", {}}};
    // clang-format on
    for (const auto& [command, symbols] : cases) {
        std::vector<std::string> found;
        for (const auto& row : lookupData(command + ",S", "S")) {
            EXPECT_EQ(Pick(row, {1, 6}), (std::vector<std::string>{"LS", "<none>"})) << command;
            found.push_back(row.at(2));
        }
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, symbols) << command;
    }
    EXPECT_GE(lookupData("SBF,s,,,,S", "S").size(), 30u);
}

// The fault options.
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

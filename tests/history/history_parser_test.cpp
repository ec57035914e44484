#include "base/error.h"
#include "history/answer_numbers.h"
#include "history/chart_hist_request.h"
#include "history/history_answer_worker.h"
#include "history/history_parser.h"
#include "line_client.h"
#include "portico_process.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

// A tick line as the service writes it, with the basis letter and field count chosen.
std::string TickLine(const std::string& stamp, const std::string& price, char basis = 'C',
                     int kind = 0) {
    return "Lookup" + std::to_string(kind) + ",LH," + stamp + "," + price +
           ",200,150000,101.24,101.26,4455," + basis + ",11,3D,1,22,";
}

// Hands `line` to `parser`; false when it rejects the line.
bool Parses(CHistoryResponseParser& parser, const std::string& line) {
    try {
        parser.OnHistoryLine(line);
        return true;
    } catch (const CInvalidArgException&) {
        return false;
    }
}

class Parser : public ::testing::Test {
protected:
    sTICK Last() const {
        sTICK tick;
        EXPECT_TRUE(history.GetTick(history.GetLastIndex(), tick));
        return tick;
    }
    // Every field of the newest record.
    std::string LastText() const {
        const sTICK t = Last();
        SDateTimeFields f;
        t.time.GetFields(f);
        return fmt::format("{}-{}-{} {}:{}:{}.{} o{} h{} l{} c{} size{} vol{} bid{} ask{} id{} "
                           "aggressor{} day{} oi{}",
                           f.year, f.month, f.day, f.hour, f.minute, f.second, t.microseconds,
                           t.open, t.high, t.low, t.close, t.size, t.volume, t.bid, t.ask, t.tickId,
                           t.aggressor, t.dayCode, t.openInterest);
    }
    CChartHistRequest history;
    CHistoryResponseParser parser{history};
};

TEST_F(Parser, TicksAndBarsEachFillTheFieldsOfTheirLayout) {
    // Weeks and months leave the day code 0; text after the date is ignored. The kind comes from
    // the request id's last digit: a tick stamp under a bar kind is read with the bar layout, and
    // a non-digit stores nothing.
    const std::pair<std::string, const char*> cases[] = {
        {TickLine("2026-01-05 09:30:01.123456", "101.25"),
         "2026-1-5 9:30:1.123456 o0 h101.25 l101.25 c101.25 size200 vol150000 bid101.24 "
         "ask101.26 id4455 aggressor1 day22 oi0"},
        {"Lookup4,LH,2026-01-05 09:35:00,10.5,9.5,10.0,10.25,123456,789,42,",
         "2026-1-5 9:35:0.0 o10 h10.5 l9.5 c10.25 size789 vol123456 bid0 ask0 id0 aggressor0 "
         "day0 oi0"},
        {"Lookup6,LH,2026-01-07,11,9,10,10.5,5000000,321,",
         "2026-1-7 0:0:0.0 o10 h11 l9 c10.5 size0 vol5000000 bid0 ask0 id0 aggressor0 day7 oi321"},
        {"Lookup8,LH,2026-01-09 xx,11,9,10,10.5,7000000,0,",
         "2026-1-9 0:0:0.0 o10 h11 l9 c10.5 size0 vol7000000 bid0 ask0 id0 aggressor0 day0 oi0"},
        {"LookupX,LH,2026-03-01,5,4,4.5,4.75,1000,0,", nullptr},
        {"Lookup13,LH,2026-03-01 10:00:00,5,4,4.5,4.75,1000,9,",
         "2026-3-1 10:0:0.0 o4.5 h5 l4 c4.75 size9 vol1000 bid0 ask0 id0 aggressor0 day0 oi0"},
        // Size and tick id read as strtoul: a negative number wraps to 32 bits, a second sign
        // leaves no number, and the most negative 64-bit magnitude does not overflow on the way.
        {"Lookup0,LH,2026-01-05 09:30:01.000000,101.25,-1,150000,101.24,101.26,--5,C,11,3D,1,22,",
         "2026-1-5 9:30:1.0 o0 h101.25 l101.25 c101.25 size4294967295 vol150000 bid101.24 "
         "ask101.26 id0 aggressor1 day22 oi0"},
        {"Lookup0,LH,2026-01-05 09:30:01.000000,101.25,--9223372036854775808,150000,101.24,101.26,"
         "-9223372036854775808,C,11,3D,1,22,",
         "2026-1-5 9:30:1.0 o0 h101.25 l101.25 c101.25 size0 vol150000 bid101.24 ask101.26 id0 "
         "aggressor1 day22 oi0"},
    };
    for (const auto& [line, text] : cases) {
        parser.OnHistoryLine(line);
        EXPECT_TRUE(text == nullptr || LastText() == text) << LastText();
    }
    EXPECT_EQ(history.GetCount(), 7);
}

TEST_F(Parser, ShortLinesAreIgnoredOrThrowAndImpossibleDatesAreDropped) {
    parser.OnHistoryLine("Lookup6,LH,2026-01-07,11,9,10,10.5,5000000,321,");
    // A tick line of fewer than 9 fields is ignored, exactly 9 (no basis letter) an error; 10 to
    // 13 fields with a kept basis are an error, with a dropped one silently dropped; short bar
    // lines are errors; impossible dates are dropped.
    const std::pair<std::string, bool> cases[] = {
        {"Lookup0,LH,2026-01-05 09:30:00.000000,1.5,100,", false},
        {"Lookup0,LH,2026-01-05 09:30:00.000000,1.5,1,2,3,4,5,", true},
        {"Lookup1,LH,2026-01-05 09:30:00.000000,1.5,1,2,3,4,5,C,", true},
        {"Lookup2,LH,2026-01-05 09:30:00.000000,1.5,1,2,3,4,5,C,11,3D,1,", true},
        {"Lookup2,LH,2026-01-05 09:30:00.000000,1.5,1,2,3,4,5,O,11,3D,1,", false},
        {"Lookup6,LH,2026-01-08,11,9,10,10.5,5000000,", true},
        {"Lookup3,LH,2026-01-08 09:30:00,11,", true},
        {TickLine("2026-02-30 09:30:00.000000", "1.5"), false},
        {"Lookup3,LH,2026-01-05 24:00:00,1,1,1,1,1,1,", false},
        {"Lookup7,LH,2026-13-01,1,1,1,1,1,1,", false},
        {"Lookup9,LH,20x6-01-01,1,1,1,1,1,1,", false},
        {"Lookup6,LH,2026-1-1,1,1,1,1,1,1,", false},
    };
    for (const auto& [line, throws] : cases) {
        EXPECT_EQ(Parses(parser, line), !throws) << line;
    }
    EXPECT_EQ(history.GetCount(), 1);
}

TEST_F(Parser, BasisLettersFollowTheExtendedTradesFlag) {
    // Without the flag only 'C' is kept; with it 'E' and 'O' too; 'X' never.
    for (const bool extended : {false, true}) {
        history.Clear();
        history.SetExtendedTradesAccepted(extended);
        double price = 1.0;
        for (const char basis : {'C', 'E', 'O', 'X'}) {
            parser.OnHistoryLine(
                TickLine("2026-01-05 10:00:00.000000", std::to_string(price++), basis));
        }
        ASSERT_EQ(history.GetCount(), extended ? 3 : 1);
        EXPECT_EQ(history.GetClose(0), 1.0);
        EXPECT_EQ(history.GetClose(history.GetLastIndex()), extended ? 3.0 : 1.0);
    }
}

TEST_F(Parser, ErrorRepliesAndMarkersAreToldApartAndOnlyTheEndMarkerCompletes) {
    using EKind = SHistoryLine::EKind;
    const struct {
        const char* line;
        EKind kind;
        const char* error;
    } cases[] = {
        {"Lookup0,E,!NO_DATA!,", EKind::Error, "!NO_DATA!"},
        {"Lookup0,E", EKind::Error, "E"},
        {"Lookup0,E!ENDMSG!", EKind::Error, "E!ENDMSG!"},
        {"Lookup0,!ENDMSG!,x", EKind::Data, ""},
        {"Lookup0,!ENDMSG!,x,", EKind::Data, ""},
        {"Lookup0,!SYN!,1,2,3,4,5,6,7,8,9,10,11,12,", EKind::Data, ""},
        {"Lookup0,", EKind::Data, ""},
        {"Lookup0", EKind::Data, ""},
        {"", EKind::Data, ""},
        {"Lookup0,E,!UNKNOWN_SYMBOL!,", EKind::Error, "!UNKNOWN_SYMBOL!"},
    };
    for (const auto& c : cases) {
        const SHistoryLine answer = parser.OnHistoryLine(c.line);
        EXPECT_EQ(std::tuple(answer.kind, answer.errorText), std::tuple(c.kind, c.error)) << c.line;
    }
    EXPECT_EQ(parser.AnswerError(), "!UNKNOWN_SYMBOL!") << "the last error reply counts";
    EXPECT_EQ(std::tuple(history.GetCount(), history.GetPriceTextWidth(),
                         history.IsHistoryComplete(), parser.AnswerEnded()),
              std::tuple(0, 0, false, false));
    EXPECT_EQ(parser.OnHistoryLine("Lookup0,!ENDMSG!,").kind, EKind::End);
    EXPECT_TRUE(history.IsHistoryComplete() && parser.AnswerEnded());
    parser.HeldLevel1Lines().push_back("Q,ABC,1,");
    parser.StartAnswer();
    EXPECT_EQ(
        std::tuple(parser.AnswerError(), parser.AnswerEnded(), parser.HeldLevel1Lines().size()),
        std::tuple("", false, 0u));
}

TEST_F(Parser, AGoneChartDropsLinesAndItsEndMarkerClearsTheSeries) {
    parser.OnHistoryLine(TickLine("2026-01-05 10:00:00.000000", "1.0"));
    history.SetChartAlive(false);
    parser.OnHistoryLine(TickLine("2026-01-05 10:00:01.000000", "2.0"));
    EXPECT_EQ(history.GetCount(), 1);
    EXPECT_EQ(parser.OnHistoryLine("Lookup0,!ENDMSG!,").kind, SHistoryLine::EKind::End);
    EXPECT_EQ(history.GetCount(), 0);
    EXPECT_FALSE(history.IsHistoryComplete());
}

TEST_F(Parser, PriceTextWidthComesOnceFromTheFirstLine) {
    EXPECT_EQ(std::tuple(PriceTextWidthOf("123.4567"), PriceTextWidthOf("12"),
                         PriceTextWidthOf("1.5"), PriceTextWidthOf("")),
              std::tuple(14, 12, 11, 11));
    // A fundamental line's decimal count + 10, held at the largest int instead of wrapping.
    EXPECT_EQ(std::tuple(PriceTextWidthOfDecimals(2147483636), PriceTextWidthOfDecimals(2147483638),
                         PriceTextWidthOfDecimals(-2147483647 - 1)),
              std::tuple(2147483646, INT_MAX, -2147483638));

    parser.OnHistoryLine(TickLine("2026-01-05 10:00:00.000000", "123.4567"));
    parser.OnHistoryLine(TickLine("2026-01-05 10:00:01.000000", "12"));
    EXPECT_EQ(history.GetPriceTextWidth(), 14);
    // Even a line that stores nothing sets it, but a line without field 3 is an error.
    history.SetPriceTextWidth(0);
    parser.OnHistoryLine("LookupX,LH,x,12345.5678,");
    EXPECT_EQ(history.GetPriceTextWidth(), 14);
    history.SetPriceTextWidth(0);
    EXPECT_THROW(parser.OnHistoryLine("Lookup0,LH,x"), CInvalidArgException);
    EXPECT_EQ(history.GetPriceTextWidth(), 0);
}

TEST_F(Parser, HeldLevel1LinesAreBoundedAndAllReplayedInOrderAtTheEnd) {
    // The replay hands on every held line, a short one too (the live updater drops it and tells
    // the answer's trades from later ones); past the bound the oldest make room and are counted.
    std::vector<std::string> replayed;
    parser.SetLiveTradeHandler([&](const std::string& line) { replayed.push_back(line); });
    parser.SetHeldLineLimit(3);
    for (const char* line : {"Q,ABC,4,", "Q,ABC,5,", "Q,ABC", "Q,ABC,6,"}) {
        ASSERT_TRUE(parser.HoldLevel1LineWhileLoading(line));
    }
    EXPECT_EQ(parser.HeldLinesDropped(), 1U);
    EXPECT_NO_THROW(parser.OnHistoryLine("Lookup0,!ENDMSG!,"));
    EXPECT_EQ(replayed, (std::vector<std::string>{"Q,ABC,5,", "Q,ABC", "Q,ABC,6,"}));
    EXPECT_TRUE(parser.HeldLevel1Lines().empty());
    // Once complete nothing more is held; a new answer starts the count again.
    EXPECT_FALSE(parser.HoldLevel1LineWhileLoading("Q,ABC,7,"));
    parser.StartAnswer();
    EXPECT_EQ(parser.HeldLinesDropped(), 0U);
}

// Both ends of the range are kept, to the second; a time of day outside it only counts at its
// ends.
TEST_F(Parser, DateRangeOfTheRequestFiltersParsedTicks) {
    SHistoryParameters range;
    range.beginDate = 20260105;
    range.beginTime = 100000;
    range.endDate = 20260107;
    range.endTime = 160000;
    history.SetParameters(range);
    double close = 0.0;
    for (const char* stamp :
         {"2026-01-05 09:59:59.999999", "2026-01-05 10:00:00.000000", "2026-01-06 03:00:00.000000",
          "2026-01-07 16:00:00.999999", "2026-01-07 16:00:01.000000"}) {
        parser.OnHistoryLine(TickLine(stamp, std::to_string(++close)));
    }
    ASSERT_EQ(history.GetCount(), 3);
    EXPECT_EQ(std::tuple(history.GetClose(0), history.GetClose(2)), std::tuple(2.0, 4.0));
}

// The short paths for the numbers of answer lines give, bit for bit, what the general readers
// give: plain decimals of every length around the exact limits, and every other form.
TEST(AnswerNumbers, AgreeWithTheGeneralReadersOnGeneratedFields) {
    std::mt19937 random(11);
    const std::string junk = "0123456789.-+ eExn";
    const auto pick = [&random](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    std::vector<std::string> texts = {"",    "-",   ".5",  "-0", "-0.0", "9007199254740993",
                                      "1e5", "inf", "nan", " 7", "+7",   "18446744073709551616"};
    for (int i = 0; i < 300000; ++i) {
        std::string text;
        if (pick(0, 3) != 0) {
            text = pick(0, 4) == 0 ? "-" : "";
            for (int n = pick(0, 3) == 0 ? pick(1, 19) : pick(1, 8); n > 0; --n) {
                text += static_cast<char>('0' + pick(0, 9));
            }
            if (pick(0, 2) != 0) {
                text += '.';
                for (int n = pick(0, 3) == 0 ? pick(0, 24) : pick(0, 6); n > 0; --n) {
                    text += static_cast<char>('0' + pick(0, 9));
                }
            }
        } else {
            for (int n = pick(0, 22); n > 0; --n) {
                text += junk[static_cast<std::size_t>(pick(0, static_cast<int>(junk.size()) - 1))];
            }
        }
        texts.push_back(text);
    }
    // Read alone, and inside a line whose next bytes may be read too (digits and points that
    // must not count).
    for (const std::string& text : texts) {
        const std::string line = text + ".12345678";
        for (const char* readable :
             {static_cast<const char*>(nullptr), line.data() + line.size()}) {
            const std::string_view field(line.data(), text.size());
            const double fast = answer_numbers::Price(field, readable);
            const double general = ToDouble(text);
            ASSERT_EQ(std::memcmp(&fast, &general, sizeof fast), 0) << text;
            ASSERT_EQ(answer_numbers::Int64(field, readable), ToInteger<std::int64_t>(text))
                << text;
            ASSERT_EQ(answer_numbers::Int(field, readable), ToInteger<int>(text)) << text;
            ASSERT_EQ(answer_numbers::Unsigned32(field, readable), ToUnsigned32(text)) << text;
        }
    }
}

// Every field of every record, and the flags an answer sets.
std::string Outcome(const CChartHistRequest& history, const CHistoryResponseParser& parser,
                    int failures) {
    std::string text = fmt::format("width {} complete {} error '{}' ended {} failed {}\n",
                                   history.GetPriceTextWidth(), history.IsHistoryComplete(),
                                   parser.AnswerError(), parser.AnswerEnded(), failures > 0);
    sTICK t;
    for (int i = 0; i < history.GetCount(); ++i) {
        history.GetTick(i, t);
        text +=
            fmt::format("{} {} {} {} {} {} {} {} {} {} {} {} {} {} {}\n", t.time.Days(),
                        t.microseconds, t.open, t.high, t.low, t.close, t.size, t.volume, t.bid,
                        t.ask, t.tickId, t.aggressor, t.dayCode, t.openInterest, t.time.IsValid());
    }
    return text;
}

// An answer read as received text, in one piece or in pieces of any size on the worker thread,
// gives what its lines give one by one: real answers of portico of every layout, and lines that
// break each rule, with line ends of every kind and lines of other answers between them.
TEST(AnswerText, GivesWhatItsLinesGiveInOnePieceAndInPiecesOnTheWorker) {
    skychart::test::PorticoProcess portico(PORTICO_EXECUTABLE);
    // Midday, so that the newest ticks are regular trades whatever the time of the run.
    ASSERT_TRUE(portico.start(
        {"--linger", "0", "--connect-delay", "0", "--start-time", "2026-11-20 12:00:00"}))
        << portico.errorOutput();
    std::vector<std::string> lines = {
        "Lookup0,LH,2026-01-05 09:30:00.000000,123.4567,100,",
        "Lookup3,LH,2026-01-08 09:30:00,11,",
        "Lookup0,LH,2026-01-05 09:30:00.000000,1.5,1,2,3,4,5,",
        "Lookup1,LH,2026-01-05 09:30:00.000000,1.5,1,2,3,4,5,C,",
        "Lookup2,LH,2026-01-05 09:30:00.000000,1.5,1,2,3,4,5,O,11,3D,1,",
        "Lookup0,LH,2026-01-05 09:30:00.5,1.5,-1,2,3,4,--5,C,11,3D,1,22,",
        "Lookup0,LH,2026-02-30 09:30:00.000000,1.5,1,2,3,4,5,C,11,3D,1,22,",
        "Lookup3,LH,2026-01-05 24:00:00,1,1,1,1,1,1,",
        "Lookup7,LH,2026-13-01,1,1,1,1,1,1,",
        "LookupX,LH,2026-03-01,5,4,4.5,4.75,1000,0,",
        "Lookup0,E,!NO_DATA!,",
        "Lookup0,!ENDMSG!,x",
        "Lookup0,!SYN!,1,2,3,4,5,6,7,8,9,10,11,12,",
        "LSe,other,answer",
        "Q,ABC,1,",
        "Lookup0,"};
    const char* const requests[][2] = {{"HTX,LUMA,3000,1,Lookup0", "Lookup0"},
                                       {"HIX,LUMA,300,400,1,Lookup3,,s,0", "Lookup3"},
                                       {"HDX,LUMA,300,1,Lookup6", "Lookup6"},
                                       {"HWX,LUMA,50,1,Lookup8", "Lookup8"}};
    for (const auto& [command, id] : requests) {
        std::vector<std::string> answer =
            skychart::test::LookupAnswer(portico.lookupPort(), command, id);
        ASSERT_GT(answer.size(), 40U) << command;
        answer.pop_back();
        lines.insert(lines.end(), answer.begin(), answer.end());
    }
    lines.push_back("Lookup0,!ENDMSG!,");
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        text += lines[i] + (i % 5 == 0 ? "\n" : i % 7 == 0 ? "\r\n\n\r" : "\r\n");
    }

    CChartHistRequest history;
    const auto fresh = [&history] {
        history.Clear();
        history.SetHistoryComplete(false);
        history.SetPriceTextWidth(0);
    };
    int failures = 0;
    std::string byLines;
    {
        CHistoryResponseParser parser(history);
        for (const std::string& line : lines) {
            failures += line.starts_with("Loo") && !Parses(parser, line) ? 1 : 0;
        }
        byLines = Outcome(history, parser, failures);
    }
    ASSERT_GT(history.GetCount(), 3000);
    ASSERT_EQ(failures, 3);

    fresh();
    {
        CHistoryResponseParser parser(history);
        EXPECT_THROW(parser.OnHistoryText(text), CInvalidArgException);
        EXPECT_EQ(Outcome(history, parser, 1), byLines);
        // Only ended lines are read: the rest stays with the caller.
        EXPECT_EQ(parser.OnHistoryText("LSe,x\r\nLookup0,LH,2026-01-05 09:30:00.5,1.5"), 7U);
        EXPECT_EQ(Outcome(history, parser, 1), byLines);
    }
    for (const std::size_t piece : {1UL, 13UL, 4099UL, 65536UL}) {
        fresh();
        CHistoryResponseParser parser(history);
        std::vector<std::string> passedOn;
        bool failed = false;
        {
            CHistoryAnswerWorker worker(parser);
            if (piece == 4099) {
                // What a connection before left of a line too long to end is dropped at the
                // restart, not taken as the start of the first line.
                const std::string cut(CHistoryAnswerWorker::kLongLine + 2, '7');
                worker.Push(cut.data(), cut.size());
                worker.Drain();
                EXPECT_EQ(worker.PendingLineLength(), cut.size());
                worker.Restart();
            }
            for (std::size_t at = 0; at < text.size(); at += piece) {
                const std::size_t used = std::min(piece, text.size() - at);
                if (piece != 13) {
                    worker.Push(text.data() + at, used);
                    continue;
                }
                // As a connection receives: into a buffer of the worker's whose bytes past
                // those received are stale.
                std::vector<char> buffer = worker.Buffer();
                buffer.assign(text.data() + at, text.data() + at + used);
                const std::string stale = "\r\nLookup0,!ENDMSG!,\r\n";
                buffer.insert(buffer.end(), stale.begin(), stale.end());
                worker.Push(std::move(buffer), used);
            }
            worker.Drain();
            passedOn = worker.TakeLines();
            failed = worker.TakeFailure() != nullptr;
            EXPECT_EQ(worker.BytesPushed(), text.size() + (piece == 4099 ? 65536 : 0));
            EXPECT_EQ(worker.PendingLineLength(), 0U);
        }
        ASSERT_EQ(passedOn.size(), 9U) << piece;
        EXPECT_EQ(passedOn.back(), "Lookup0,!ENDMSG!,");
        for (const std::string& line : passedOn) {
            failed = (line.starts_with("Loo") && !Parses(parser, line)) || failed;
        }
        EXPECT_EQ(Outcome(history, parser, failed ? 1 : 0), byLines) << piece;
    }
}

// A line longer than the worker's limit, ended within one buffer or not, is the last thing the
// worker reads: the lines before it are read, none after, until a restart.
TEST(AnswerText, ALineTooLongIsTheLastReadUntilARestart) {
    CChartHistRequest history;
    CHistoryResponseParser parser(history);
    CHistoryAnswerWorker worker(parser);
    const std::string longLine = "LSe," + std::string(CHistoryAnswerWorker::kLongLine, 'x');
    for (const bool ended : {true, false}) {
        SCOPED_TRACE(ended);
        const std::string text = "LSe,a\r\n" + longLine + (ended ? "\r\nLSe,b\r\n" : "");
        worker.Push(text.data(), text.size());
        worker.Push("LSe,c\r\n", 7);
        worker.Drain();
        EXPECT_EQ(worker.TakeLines(), std::vector<std::string>{"LSe,a"});
        EXPECT_GT(worker.PendingLineLength(), CHistoryAnswerWorker::kLongLine);
        worker.Restart();
        worker.Push("LSe,d\r\n", 7);
        worker.Drain();
        EXPECT_EQ(worker.TakeLines(), std::vector<std::string>{"LSe,d"});
        EXPECT_EQ(worker.PendingLineLength(), 0U);
    }
}

} // namespace

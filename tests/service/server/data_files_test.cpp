// portico --data-dir over TCP: history answers of every kind made from real files against the
// same answers computed here from the rows, search and lookups listing the files' instruments,
// --data-only, a growing tick file followed on Level 1, and a data folder that is not there.

#include <ctime>
#include <fstream>
#include <map>
#include <random>

#include "portico_fixture.h"
#include "temp_dir.h"

namespace portico::test {
namespace {

using skychart::test::TempDir;

constexpr long long kMicros = 1'000'000;
// 2026-11-16 (a Monday) 00:00 in seconds since 1970; the frozen clock stands at 2026-11-20 noon.
constexpr long long kMonday = 1'794'787'200;
constexpr long long kDay = 86'400;

std::string Stamp(long long micros, bool fraction, bool time = true) {
    const std::time_t seconds = static_cast<std::time_t>(micros / kMicros);
    std::tm tm{};
    gmtime_r(&seconds, &tm);
    char text[40];
    std::strftime(text, sizeof(text), time ? "%Y-%m-%d %H:%M:%S" : "%Y-%m-%d", &tm);
    std::string out = text;
    if (fraction) {
        char digits[16];
        std::snprintf(digits, sizeof(digits), ".%06lld", micros % kMicros);
        out += digits;
    }
    return out;
}

// Prices are thousandths, written with three decimals.
std::string Price(long long thousandths) {
    char text[32];
    std::snprintf(text, sizeof(text), "%lld.%03lld", thousandths / 1000, thousandths % 1000);
    return text;
}

struct Trade {
    long long time = 0; // micros
    long long price = 0, size = 0, bid = 0, ask = 0, dayVolume = 0, tickId = 0;
};

struct Candle {
    long long time = 0; // micros: interval bars at their end, others the day shown
    long long open = 0, high = 0, low = 0, close = 0, volume = 0, dayVolume = 0, count = 0;
    long long openInterest = 0;
    void add(long long o, long long h, long long l, long long c, long long v, long long day) {
        open = count == 0 ? o : open;
        high = count == 0 ? h : std::max(high, h);
        low = count == 0 ? l : std::min(low, l);
        close = c;
        volume += v;
        dayVolume = day;
        ++count;
    }
    std::string interval(const std::string& id) const {
        return id + ",LH," + Stamp(time, false) + "," + Price(high) + "," + Price(low) + "," +
               Price(open) + "," + Price(close) + "," + std::to_string(dayVolume) + "," +
               std::to_string(volume) + "," + std::to_string(count) + ",";
    }
    std::string period(const std::string& id) const {
        return id + ",LH," + Stamp(time, false, false) + "," + Price(high) + "," + Price(low) +
               "," + Price(open) + "," + Price(close) + "," + std::to_string(volume) + "," +
               std::to_string(openInterest) + ",";
    }
};

std::string TickLine(const std::string& id, const Trade& t) {
    return id + ",LH," + Stamp(t.time, true) + "," + Price(t.price) + "," + std::to_string(t.size) +
           "," + std::to_string(t.dayVolume) + "," + Price(t.bid) + "," + Price(t.ask) + "," +
           std::to_string(t.tickId) + ",C,0,00,0," +
           std::to_string(std::stoi(Stamp(t.time, false).substr(8, 2))) + ",";
}

// Bars of `seconds` from rows that begin at `start` (micros) with their open..close, labelled at
// the end of their interval.
std::vector<Candle> Bucket(const std::vector<std::pair<long long, Candle>>& rows,
                           long long seconds) {
    std::vector<Candle> out;
    long long key = -1;
    for (const auto& [start, row] : rows) {
        const long long day = start / kMicros / kDay;
        const long long bucket = (start / kMicros - day * kDay) / seconds;
        if (out.empty() || day * kDay + bucket != key) {
            out.push_back({});
            out.back().time = (day * kDay + std::min((bucket + 1) * seconds, kDay)) * kMicros;
            key = day * kDay + bucket;
        }
        out.back().add(row.open, row.high, row.low, row.close, row.volume, row.dayVolume);
    }
    return out;
}

std::vector<std::string> Lines(const std::vector<Candle>& bars, const std::string& id,
                               bool intervals) {
    std::vector<std::string> out;
    for (const Candle& b : bars) {
        out.push_back(intervals ? b.interval(id) : b.period(id));
    }
    out.push_back(id + ",!ENDMSG!,");
    return out;
}

class DataFilesTest : public PorticoTest {
protected:
    std::string file(const std::string& name) const { return m_data.path() + "/" + name; }
    void write(const std::string& name, const std::string& text) { m_data.writeFile(name, text); }
    void append(const std::string& name, const std::string& text) {
        std::ofstream(file(name), std::ios::app) << text;
    }
    // The rows of a listed-markets or security-types table, split into fields.
    std::vector<std::vector<std::string>> table(const std::string& command) {
        LineClient client;
        std::vector<std::vector<std::string>> rows;
        EXPECT_TRUE(Open(client, portico().lookupPort(), command + "\r\n"));
        for (auto line = client.readLine(); line && *line != "!ENDMSG!,";
             line = client.readLine()) {
            rows.push_back(SplitFieldsCopy(*line));
        }
        return rows;
    }
    TempDir m_data;
};

// One sweep over the history commands: ticks (all, newest first with a limit, a range with a
// time-of-day filter), interval bars from ticks and from minute rows, and day, week and month
// bars from daily rows, each against what the rows give.
TEST_F(DataFilesTest, HistoryAnswersAreTheFilesRowsSummed) {
    std::mt19937 random(7);
    const auto uniform = [&](long long low, long long high) {
        return std::uniform_int_distribution<long long>(low, high)(random);
    };
    std::vector<Trade> trades;
    std::string ticks = "DateTime,Price,Size,Bid,Ask\n";
    std::string minutes = "Date,Time,Open,High,Low,Close,Volume\n";
    std::vector<std::pair<long long, Candle>> tickRows, minuteRows;
    for (long long d = 0; d < 4; ++d) {
        long long time = (kMonday + d * kDay + 9 * 3600 + 1800) * kMicros;
        long long dayVolume = 0;
        for (long long n = 0; n < 150; ++n) {
            time += uniform(1, 300'000'000);
            Trade t{time, uniform(9000, 11000), uniform(1, 500)};
            t.bid = t.price - 1;
            t.ask = t.price + 1;
            dayVolume += t.size;
            t.dayVolume = dayVolume;
            t.tickId = n;
            trades.push_back(t);
            ticks += Stamp(t.time, true) + "," + Price(t.price) + "," + std::to_string(t.size) +
                     "," + Price(t.bid) + "," + Price(t.ask) + "\n";
            tickRows.push_back(
                {t.time, {0, t.price, t.price, t.price, t.price, t.size, t.dayVolume}});
        }
        dayVolume = 0;
        for (long long m = 570; m < 960; m += uniform(1, 9)) {
            Candle c;
            c.open = uniform(9000, 11000);
            c.close = uniform(9000, 11000);
            c.high = std::max(c.open, c.close) + uniform(0, 50);
            c.low = std::min(c.open, c.close) - uniform(0, 50);
            c.volume = uniform(0, 1000);
            dayVolume += c.volume;
            c.dayVolume = dayVolume;
            const long long label = (kMonday + d * kDay + (m + 1) * 60) * kMicros;
            const std::string stamp = Stamp(label, false);
            minutes += stamp.substr(0, 10) + "," + stamp.substr(11) + "," + Price(c.open) + "," +
                       Price(c.high) + "," + Price(c.low) + "," + Price(c.close) + "," +
                       std::to_string(c.volume) + "\n";
            minuteRows.push_back({label - 60 * kMicros, c});
        }
    }
    // Weekdays from August on, for weeks and months.
    std::string daily = "Date,Open,High,Low,Close,Volume,OpenInterest\n";
    std::vector<Candle> days;
    for (long long day = kMonday / kDay - 105; day <= kMonday / kDay + 3; ++day) {
        if ((day + 3) % 7 >= 5) {
            continue;
        }
        Candle c;
        c.time = day * kDay * kMicros;
        c.open = uniform(9000, 11000);
        c.close = uniform(9000, 11000);
        c.high = std::max(c.open, c.close) + uniform(0, 500);
        c.low = std::min(c.open, c.close) - uniform(0, 500);
        c.volume = uniform(0, 100000);
        c.openInterest = uniform(0, 5000);
        c.count = 1;
        days.push_back(c);
        daily += Stamp(c.time, false, false) + "," + Price(c.open) + "," + Price(c.high) + "," +
                 Price(c.low) + "," + Price(c.close) + "," + std::to_string(c.volume) + "," +
                 std::to_string(c.openInterest) + "\n";
    }
    write("TICKY.ticks.csv", ticks);
    write("MINNY.minute.csv", minutes);
    write("DAILY.daily.csv", daily);
    startPortico(FrozenNoonWith({"--data-dir", m_data.path()}));

    std::vector<std::string> all, newest, filtered;
    for (const Trade& t : trades) {
        all.push_back(TickLine("A", t));
        const long long second = t.time / kMicros % kDay;
        if (t.time >= (kMonday + kDay + 10 * 3600) * kMicros &&
            t.time < (kMonday + 2 * kDay + 12 * 3600 + 1) * kMicros && second >= 11 * 3600 &&
            second < 14 * 3600 + 1) {
            filtered.push_back(TickLine("C", t));
        }
    }
    for (std::size_t n = 0; n < 50; ++n) {
        newest.push_back(TickLine("B", trades[trades.size() - 1 - n]));
    }
    all.push_back("A,!ENDMSG!,");
    newest.push_back("B,!ENDMSG!,");
    filtered.push_back("C,!ENDMSG!,");
    ASSERT_GT(filtered.size(), 10u);
    EXPECT_EQ(lookup("HTX,TICKY,,1,A", "A"), all);
    EXPECT_EQ(lookup("HTX,TICKY,50,0,B", "B"), newest);
    EXPECT_EQ(lookup("HTT,TICKY,20261117 100000,20261118 120000,,110000,140000,1,C", "C"),
              filtered);
    EXPECT_EQ(lookup("HIX,TICKY,300,,1,D", "D"), Lines(Bucket(tickRows, 300), "D", true));
    for (const int seconds : {60, 300, 3600}) {
        EXPECT_EQ(lookup("HIX,MINNY," + std::to_string(seconds) + ",,1,E", "E"),
                  Lines(Bucket(minuteRows, seconds), "E", true))
            << seconds;
    }
    EXPECT_EQ(lookup("HDX,DAILY,,1,H", "H"), Lines(days, "H", false));
    for (const bool weeks : {true, false}) {
        std::vector<Candle> groups;
        long long key = -1;
        for (const Candle& day : days) {
            const std::string date = Stamp(day.time, false, false);
            const long long k = weeks ? (day.time / kMicros / kDay + 3) / 7
                                      : std::stoll(date.substr(0, 4) + date.substr(5, 2));
            if (groups.empty() || k != key) {
                groups.push_back({});
                key = k;
            }
            groups.back().add(day.open, day.high, day.low, day.close, day.volume, 0);
            groups.back().time = day.time;
            groups.back().openInterest = day.openInterest;
        }
        const std::string id = weeks ? "W" : "M";
        EXPECT_EQ(lookup(std::string(weeks ? "HWX" : "HMX") + ",DAILY,,1," + id, id),
                  Lines(groups, id, false));
    }
}

// Search and the lookups list the files' instruments as described beside them; --data-only
// leaves the simulated market out.
TEST_F(DataFilesTest, SearchAndLookupsListTheFilesInstruments) {
    write("TICKY.ticks.csv", "DateTime,Price,Size\n2026-11-19 10:00:00,1.5,10\n");
    write("MINNY.minute.csv", "DateTime,Open,High,Low,Close\n2026-11-19 10:00,1,1,1,1\n");
    write("DAILY.daily.csv", "Date,Open,High,Low,Close\n2026-11-19,1,1,1,1\n");
    write("instruments.csv", "Symbol,Description,Market,SecurityType\n"
                             "ticky,\"Ticky Widgets, Common\",NRTH,FUTURE\n");
    write("MINNY.json", R"({"description": "Minny Holdings", "market": "BYOD",
                            "securityType": "crypto"})");
    startPortico(FrozenNoonWith({"--data-dir", m_data.path()}));
    const auto markets = table("SLM");
    const auto id = [&](const std::string& name) {
        for (const auto& row : markets) {
            if (row.size() > 1 && row[1] == name) {
                return row[0];
            }
        }
        return std::string("<none>");
    };
    ASSERT_NE(id("BYOD"), "<none>");
    ASSERT_NE(id("OWN"), "<none>");
    std::string crypto = "<none>";
    for (const auto& row : table("SST")) {
        crypto = row.size() > 1 && row[1] == "CRYPTO" ? row[0] : crypto;
    }
    EXPECT_EQ(lookup("SBF,d,widgets,,,S", "S"),
              (std::vector<std::string>{"S,LS,TICKY,1,2,Ticky Widgets  Common,", "S,!ENDMSG!,"}));
    EXPECT_EQ(lookup("SBF,s,MIN,,,S", "S"),
              (std::vector<std::string>{
                  "S,LS,MINNY," + id("BYOD") + "," + crypto + ",Minny Holdings,", "S,!ENDMSG!,"}));
    EXPECT_EQ(lookup("SBF,s,DAI,,,S", "S"),
              (std::vector<std::string>{"S,LS,DAILY," + id("OWN") + ",1,DAILY,", "S,!ENDMSG!,"}));
    EXPECT_EQ(lookup("SBF,s,LUMA,,,S", "S").size(), 2u);
    EXPECT_EQ(portico().errorOutput().find("refused"), std::string::npos)
        << portico().errorOutput();

    startPortico(FrozenNoonWith({"--data-dir", m_data.path(), "--data-only"}));
    EXPECT_EQ(lookup("SBF,s,LUMA,,,S", "S"), std::vector<std::string>{"S,!ENDMSG!,"});
    EXPECT_EQ(lookupData("SBF,s,,,,S", "S").size(), 3u);
    EXPECT_EQ(table("SLM").size(), 3u); // NRTH, BYOD, OWN
}

// Rows appended to a watched tick file reach a Level 1 client as trades once their line is
// complete, and the history answer after them holds the same trades with the same TickIDs. A
// watch of a file being indexed again is answered once it is, before the lines sent after it.
TEST_F(DataFilesTest, AGrowingTickFileIsFollowedOnLevel1) {
    write("TICKY.ticks.csv", "DateTime,Price,Size,Bid,Ask\n2026-11-19 10:00:00,12,1,11,13\n");
    startPortico(FrozenNoonWith({"--data-dir", m_data.path(), "--quote-rate", "0"}));
    ASSERT_EQ(lookup("HTX,TICKY,1,1,A", "A").size(), 2u); // indexed
    LineClient client;
    ASSERT_TRUE(client.connect(portico().level1Port()));
    write("TICKY.ticks.csv",
          "DateTime,Price,Size,Bid,Ask\n2026-11-19 10:00:00,12.250,10,12.249,12.251\n");
    ASSERT_TRUE(
        client.send("S,SELECT UPDATE FIELDS,Symbol,Most Recent Trade,Most Recent Trade Size,"
                    "Total Volume,TickID,Most Recent Trade Time,Message Contents\r\n"
                    "wTICKY\r\nS,REQUEST ALL UPDATE FIELDNAMES\r\n"));
    EXPECT_EQ(client.readLineStartingWith("P,TICKY,"), "P,TICKY,12.250,10,0,0,10:00:00.000000,C");
    ASSERT_TRUE(client.readLineStartingWith("S,UPDATE FIELDNAMES,"));
    append("TICKY.ticks.csv",
           "2026-11-20 11:00:00.5,12.345,7,12.344,12.346\n2026-11-20 11:00:01,12.3");
    EXPECT_EQ(client.readLineStartingWith("Q,"), "Q,TICKY,12.345,7,7,0,11:00:00.500000,C");
    append("TICKY.ticks.csv", "75,3,12.374,12.376\n");
    EXPECT_EQ(client.readLineStartingWith("Q,"), "Q,TICKY,12.375,3,10,1,11:00:01.000000,C");
    EXPECT_EQ(lookup("HTX,TICKY,2,1,H", "H"),
              (std::vector<std::string>{
                  "H,LH,2026-11-20 11:00:00.500000,12.345,7,7,12.344,12.346,0,C,0,00,0,20,",
                  "H,LH,2026-11-20 11:00:01.000000,12.375,3,10,12.374,12.376,1,C,0,00,0,20,",
                  "H,!ENDMSG!,"}));
    EXPECT_EQ(portico().errorOutput().find("skipped"), std::string::npos);
}

TEST(DataFolderTest, AMissingFolderStopsPorticoWithTheReason) {
    const auto missing = PorticoProcess::Run(PORTICO_EXECUTABLE, {"--data-dir", "/nonexistent/x"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("cannot serve data folder '/nonexistent/x': No such file"),
              std::string::npos)
        << missing.err;
    const auto alone = PorticoProcess::Run(PORTICO_EXECUTABLE, {"--data-only"});
    EXPECT_EQ(alone.exitCode, 2);
    EXPECT_NE(alone.err.find("'--data-only' needs '--data-dir'"), std::string::npos) << alone.err;
}

} // namespace
} // namespace portico::test

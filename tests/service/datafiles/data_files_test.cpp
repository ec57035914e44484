// The market over a folder of real data files: every layout reads the same rows, bad rows are
// skipped and named, a file without its columns is refused, a changed file is indexed again and
// a growing tick file gives its new rows (complete lines only).

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>
#include <zlib.h>

#include "datafiles/text_fields.h"
#include "market_test_support.h"
#include "temp_dir.h"

namespace portico {
namespace {

using skychart::test::TempDir;
using test::At;
using test::Day;
using test::Drain;

void WriteGzip(const std::string& path, const std::string& text) {
    gzFile file = gzopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(gzwrite(file, text.data(), static_cast<unsigned>(text.size())),
              static_cast<int>(text.size()));
    gzclose(file);
}

// A market of a folder's files only, its log kept.
class Folder {
public:
    Folder() = default;
    void write(const std::string& name, const std::string& text) { m_dir.writeFile(name, text); }
    void gzip(const std::string& name, const std::string& text) {
        WriteGzip(m_dir.path() + "/" + name, text);
    }
    void append(const std::string& name, const std::string& text) {
        std::ofstream(m_dir.path() + "/" + name, std::ios::app) << text;
    }
    Market& open() {
        DataFolder folder;
        folder.path = m_dir.path();
        folder.only = true;
        folder.log = [this](const std::string& line) {
            std::lock_guard lock(m_mutex);
            m_log.push_back(line);
        };
        m_market = std::make_unique<Market>(1, folder);
        return *m_market;
    }
    const Instrument& get(const std::string& symbol) {
        const Instrument* i = m_market->find(symbol);
        EXPECT_NE(i, nullptr) << symbol;
        return *i;
    }
    std::vector<std::string> logLines(const std::string& part) {
        std::lock_guard lock(m_mutex);
        std::vector<std::string> found;
        std::copy_if(m_log.begin(), m_log.end(), std::back_inserter(found),
                     [&](const std::string& l) { return l.find(part) != std::string::npos; });
        return found;
    }

private:
    TempDir m_dir;
    std::mutex m_mutex;
    std::vector<std::string> m_log;
    std::unique_ptr<Market> m_market;
};

// open, high, low, close, volume, open interest, tick count of each bar, and its time
std::vector<std::vector<std::int64_t>> Fields(const std::vector<Bar>& bars) {
    std::vector<std::vector<std::int64_t>> out;
    for (const Bar& b : bars) {
        out.push_back({b.time, b.open, b.high, b.low, b.close, b.volume, b.openInterest,
                       b.tickCount, b.totalVolume});
    }
    return out;
}

TEST(TextFields, RecordsNumbersDatesAndTimes) {
    std::string scratch;
    std::string_view f[8];
    ASSERT_EQ(files::SplitRecord(R"(a,"b,c", "say ""hi""",,)", f, 8, scratch), 5u);
    EXPECT_EQ(std::vector<std::string_view>(f, f + 5),
              (std::vector<std::string_view>{"a", "b,c", "say \"hi\"", "", ""}));
    std::int64_t v = 0;
    int d = 0;
    for (const auto& [text, value, decimals] :
         {std::tuple<const char*, std::int64_t, int>{"12.5", 12'500'000, 1},
          {" 0.000001 ", 1, 6},
          {"-3", -3'000'000, 0},
          {"7.2500000", 7'250'000, 6},
          {".5", 500'000, 1}}) {
        EXPECT_TRUE(files::ParsePrice(text, v, d)) << text;
        EXPECT_EQ(std::pair(v, d), std::pair(value, decimals)) << text;
    }
    for (const char* bad : {"", "1.2.3", "1e5", "0.0000001", "abc", "-", "12 3"}) {
        EXPECT_FALSE(files::ParsePrice(bad, v, d)) << bad;
    }
    EXPECT_TRUE(files::ParseCount("100.00", v) && v == 100);
    EXPECT_FALSE(files::ParseCount("100.5", v));
    Micros t = 0;
    for (const auto& [text, time] :
         {std::pair{"2024-02-29", At(2024, 2, 29)},
          {"2024/02/29 9:30", At(2024, 2, 29, 9, 30)},
          {"20240229T09:30:15.1234567", At(2024, 2, 29, 9, 30, 15, 123456)}}) {
        EXPECT_TRUE(files::ParseDateTime(text, t) && t == time) << text;
    }
    for (const char* bad : {"2023-02-29", "2024-13-01", "2024-01-01 24:00", "2024-1-01",
                            "2024-01-01 09:60", "2024-01/01", "2024-01-01 09:30:00.x"}) {
        EXPECT_FALSE(files::ParseDateTime(bad, t)) << bad;
    }
}

TEST(DataFiles, EveryLayoutGivesTheSameRows) {
    Folder folder;
    // Three days, in every date form, column order, quoting, line end and compression.
    folder.write("D1.daily.csv", "Date,Open,High,Low,Close,Adj Close,Volume,OpenInterest\n"
                                 "2024-03-04,10.5,11,10,10.75,10.7,1000,7\n"
                                 "2024-03-05,10.75,12.25,10.5,12,11.9,2000,8\n"
                                 "2024-03-06,12,12.5,11.5,11.5,11.4,1500,9\n");
    folder.write("d2.Daily.csv",
                 // A byte-order mark before the first name, as some spreadsheets write.
                 "\xEF\xBB\xBF\"volume\",\"OI\",\"close\",\"LOW\",\"High\",\"Open\",\"Date\"\r\n"
                 "1000,7,10.75,10,11,10.5,\"2024/03/04\"\r\n"
                 "2000,8,\"12.00\",10.5,12.25,10.75,2024/03/05\r\n"
                 "1500,9,11.5,11.5,12.5,12,2024/03/06\r\n");
    folder.gzip("D3.daily.csv.gz", "Date,Open,High,Low,Close,Volume,Open Interest\n"
                                   "20240304,10.5,11,10,10.75,1000,7\n"
                                   "20240305,10.75,12.25,10.5,12,2000,8\n"
                                   "20240306,12,12.5,11.5,11.5,1500,9\n");
    // Minute rows labelled with the end of their minute, and ticks of the same trades.
    folder.write("M1.minute.csv", "DateTime,Open,High,Low,Close,Volume\n"
                                  "2024-03-05 09:31,10,10.5,9.5,10.25,300\n"
                                  "2024-03-05 09:32,10.25,10.25,10,10,100\n"
                                  "2024-03-05 09:36,11,11,11,11,50\n");
    folder.write("M2.minute.csv", "Date,Time,Close,Open,Low,High,Volume\r\n"
                                  "2024-03-05,09:31:00,10.25,10,9.5,10.5,300\r\n"
                                  "2024-03-05,09:32:00,10,10.25,10,10.25,100\r\n"
                                  "2024-03-05,09:36:00,11,11,11,11,50\r\n");
    const std::string ticks = "2024-03-05 09:30:00.25,10,100,9.99,10.01\n"
                              "2024-03-05 09:30:30.5,10.5,100,10.49,10.51\n"
                              "2024-03-05 09:30:59.999999,9.5,50,9.49,9.51\n"
                              "2024-03-05 09:30:59.999999,10.25,50,10.24,10.26\n"
                              "2024-03-05 09:31:00,10.25,60,10.24,10.26\n"
                              "2024-03-05 09:31:59,10,40,9.99,10.01\n"
                              "2024-03-05 09:35:01,11,50,10.99,11.01\n";
    folder.write("T1.ticks.csv", "DateTime,Price,Size,Bid,Ask\n" + ticks);
    folder.gzip("T2.ticks.csv.gz", "Date Time,Price,Size,Bid,Ask\r\n" + ticks);
    std::string plain = "\"Size\",\"Price\",\"Date\",\"Time\"\n";
    for (std::string line; const char c : ticks) {
        if (c != '\n') {
            line += c;
            continue;
        }
        const auto f1 = line.find(','), f2 = line.find(',', f1 + 1), f3 = line.find(',', f2 + 1);
        plain += line.substr(f2 + 1, f3 - f2 - 1) + "," + line.substr(f1 + 1, f2 - f1 - 1) + "," +
                 line.substr(0, 10) + "," + line.substr(11, f1 - 11) + "\n";
        line.clear();
    }
    folder.write("T3.ticks.csv", plain);
    Market& market = folder.open();
    const Micros now = At(2024, 3, 7);

    const auto days = Fields(market.lastDailyBars(folder.get("D1"), 10, now));
    ASSERT_EQ(days.size(), 3u);
    EXPECT_EQ(days[1], (std::vector<std::int64_t>{At(2024, 3, 5), 1075, 1225, 1050, 1200, 2000, 8,
                                                  1, 2000}));
    EXPECT_EQ(Fields(market.lastDailyBars(folder.get("D2"), 10, now)), days);
    EXPECT_EQ(Fields(market.lastDailyBars(folder.get("D3"), 10, now)), days);
    // A week of them, labelled with its newest day; a range of days; the day still going.
    EXPECT_EQ(Fields(market.lastWeeklyBars(folder.get("D1"), 5, now)),
              (std::vector<std::vector<std::int64_t>>{
                  {At(2024, 3, 6), 1050, 1250, 1000, 1150, 4500, 9, 3, 4500}}));
    EXPECT_EQ(Fields(market.dailyBars(folder.get("D1"), Day(2024, 3, 5), Day(2024, 3, 5), now)),
              std::vector(days.begin() + 1, days.begin() + 2));
    EXPECT_EQ(market.lastDailyBars(folder.get("D1"), 10, At(2024, 3, 5, 12)).size(), 2u);
    EXPECT_EQ(folder.get("D1").decimals, 2);
    EXPECT_EQ(folder.get("D1").firstDay, Day(2024, 3, 4));

    // Minute rows as 1- and 5-minute bars, labelled at their end as portico's own bars are; the
    // ticks of the same minutes make the same bars.
    const Micros from = At(2024, 3, 5);
    const Micros to = At(2024, 3, 5, 23, 59, 59);
    const auto minutes = Fields(market.intervalBars(folder.get("M1"), 60, from, to));
    EXPECT_EQ(minutes, (std::vector<std::vector<std::int64_t>>{
                           {At(2024, 3, 5, 9, 31), 1000, 1050, 950, 1025, 300, 0, 1, 300},
                           {At(2024, 3, 5, 9, 32), 1025, 1025, 1000, 1000, 100, 0, 1, 400},
                           {At(2024, 3, 5, 9, 36), 1100, 1100, 1100, 1100, 50, 0, 1, 450}}));
    EXPECT_EQ(Fields(market.intervalBars(folder.get("M2"), 60, from, to)), minutes);
    EXPECT_EQ(Fields(market.intervalBars(folder.get("M1"), 300, from, to)),
              (std::vector<std::vector<std::int64_t>>{
                  {At(2024, 3, 5, 9, 35), 1000, 1050, 950, 1000, 400, 0, 2, 400},
                  {At(2024, 3, 5, 9, 40), 1100, 1100, 1100, 1100, 50, 0, 1, 450}}));
    for (const char* symbol : {"T1", "T2", "T3"}) {
        auto fromTicks = Fields(market.intervalBars(folder.get(symbol), 60, from, to));
        ASSERT_EQ(fromTicks.size(), 3u) << symbol;
        for (std::size_t b = 0; b < 3; ++b) {
            EXPECT_EQ(std::vector(fromTicks[b].begin(), fromTicks[b].begin() + 6),
                      std::vector(minutes[b].begin(), minutes[b].begin() + 6))
                << symbol << " bar " << b;
        }
    }

    // Ticks as stored, fractions of seconds kept; TickIDs count each day's rows; without Bid and
    // Ask the price stands for both.
    const auto t1 = Drain(market.ticks(folder.get("T1"), from, to));
    ASSERT_EQ(t1.size(), 7u);
    EXPECT_EQ(t1[2].time, At(2024, 3, 5, 9, 30, 59, 999999));
    EXPECT_EQ(std::tuple(t1[6].price, t1[6].bid, t1[6].ask, t1[6].size, t1[6].totalVolume,
                         t1[6].tickId, t1[6].basis),
              std::tuple(1100, 1099, 1101, 50u, 450, 6u, 'C'));
    const auto t3 = Drain(market.ticks(folder.get("T3"), from, to));
    ASSERT_EQ(t3.size(), 7u);
    EXPECT_EQ(std::tuple(t3[6].time, t3[6].bid, t3[6].ask, t3[6].totalVolume),
              std::tuple(t1[6].time, 1100, 1100, 450));
    EXPECT_EQ(Drain(market.ticks(folder.get("T2"), from, to)).size(), 7u);
    EXPECT_EQ(market.countTicks(folder.get("T1"), At(2024, 3, 5, 9, 30, 59, 999999),
                                At(2024, 3, 5, 9, 31)),
              3u);
    const auto last = Drain(market.lastTicks(folder.get("T1"), 2, At(2024, 3, 5, 9, 31, 30)));
    ASSERT_EQ(last.size(), 2u);
    EXPECT_EQ(std::pair(last[0].tickId, last[1].tickId), std::pair(3u, 4u));
    EXPECT_TRUE(folder.logLines("refused").empty());
}

TEST(DataFiles, BadRowsAreSkippedNamedAndCountedAndAFileWithoutItsColumnsIsRefused) {
    Folder folder;
    folder.write("BAD.daily.csv", "Date,Open,High,Low,Close,Volume\n"
                                  "2024-03-04,10,11,9,10.5,100\n"
                                  "2024-03-05,10,11,9\n"
                                  "2024-03-06,10,1x,9,10.5,100\n"
                                  "2024-03-07,10,9,11,10,100\n"
                                  "2024-03-08,12,11,9,10,100\n"
                                  "2024-03-09,10,11,9,9.5,100\n"
                                  "2024-03-03,10,11,9,10.5,100\n"
                                  "2024-03-32,10,11,9,10.5,100\n"
                                  "2024-03-11,10,11,9,10.123,100\n");
    folder.write("NOCLOSE.minute.csv", "DateTime,Open,High,Low,Volume\n2024-03-04 10:00,1,1,1,1\n");
    Market& market = folder.open();
    const auto bars = market.lastDailyBars(folder.get("BAD"), 10, At(2024, 4, 1));
    ASSERT_EQ(bars.size(), 3u);
    EXPECT_EQ(bars[2].close, 10123); // the most decimals of the file's prices
    EXPECT_EQ(folder.get("BAD").decimals, 3);
    const std::vector<std::string> expected = {
        "BAD.daily.csv line 3 skipped: too few fields",
        "BAD.daily.csv line 4 skipped: a field that is no number",
        "BAD.daily.csv line 5 skipped: high below low",
        "BAD.daily.csv line 6 skipped: open or close outside high..low",
        "BAD.daily.csv line 8 skipped: time goes backwards",
        "BAD.daily.csv line 9 skipped: a date or time that cannot be read"};
    for (const std::string& line : expected) {
        EXPECT_EQ(folder.logLines(line).size(), 1u) << line;
    }
    EXPECT_EQ(folder.logLines("BAD.daily.csv line").size(), expected.size());
    EXPECT_EQ(folder.logLines("indexed BAD.daily.csv: 3 rows over 3 days, 6 bad rows").size(), 1u);
    EXPECT_TRUE(market.lastDailyBars(folder.get("NOCLOSE"), 10, At(2024, 4, 1)).empty());
    EXPECT_EQ(folder.logLines("NOCLOSE.minute.csv refused: no column Close").size(), 1u);
}

// Large plain files are indexed in two halves at once and read ahead on another thread; the same
// text compressed is read once, in order: both must give the same rows, totals and bad rows.
TEST(DataFiles, ALargeFileReadInHalvesGivesWhatOneReadingGives) {
    Folder folder;
    const int kRows = 30'000; // about 1.4 MB over three days, the middle inside the second
    for (const bool backAtMiddle : {false, true}) {
        std::string text = "DateTime,Price,Size,Bid,Ask\n";
        for (int r = 0; r < kRows; ++r) {
            // BACK: a run of rows about the middle an hour back, the rows just after the cut
            // going back from the last one before it; JOIN: one row after the cut.
            const bool back = backAtMiddle ? r >= 14'900 && r < 15'100 : r == 16'010;
            const int second = 34'200 + r % 10'000 * 2 - (back ? 3600 : 0);
            char line[96];
            std::snprintf(line, sizeof line, "2024-03-%02d %02d:%02d:%02d.%06d,%d.%02d,%d,%d,%d\n",
                          4 + r / 10'000, second / 3600, second / 60 % 60, second % 60, r % 7,
                          100 + r % 50, r % 100, 1 + r % 300, 99, 151);
            text += r % 997 == 5 ? "2024-03-05 10:00:00,1x,1,1,1\n" : line;
        }
        const std::string name = backAtMiddle ? "BACK" : "JOIN";
        folder.write(name + ".ticks.csv", text);
        folder.gzip(name + "Z.ticks.csv.gz", text);
    }
    Market& market = folder.open();
    const auto ticks = [&](const std::string& symbol, Micros from, Micros to) {
        return Drain(market.ticks(folder.get(symbol), from, to));
    };
    const auto badLines = [&](const std::string& file) {
        auto lines = folder.logLines("data file " + file + " line");
        for (std::string& line : lines) {
            line.erase(0, line.find(" line "));
        }
        return lines;
    };
    for (const std::string symbol : {"JOIN", "BACK"}) {
        const std::string zipped = symbol + "Z";
        const auto all = ticks(symbol, At(2024, 3, 4), At(2024, 3, 7));
        EXPECT_EQ(all.size(), symbol == "JOIN" ? 29'968u : 29'770u) << symbol;
        EXPECT_TRUE(all == ticks(zipped, At(2024, 3, 4), At(2024, 3, 7))) << symbol;
        EXPECT_TRUE(ticks(symbol, At(2024, 3, 5, 9, 45, 1), At(2024, 3, 5, 14)) ==
                    ticks(zipped, At(2024, 3, 5, 9, 45, 1), At(2024, 3, 5, 14)))
            << symbol;
        EXPECT_EQ(Fields(market.lastDailyBars(folder.get(symbol), 5, At(2024, 3, 8))),
                  Fields(market.lastDailyBars(folder.get(zipped), 5, At(2024, 3, 8))))
            << symbol;
        EXPECT_EQ(
            Fields(market.intervalBars(folder.get(symbol), 300, At(2024, 3, 4), At(2024, 3, 7))),
            Fields(market.intervalBars(folder.get(zipped), 300, At(2024, 3, 4), At(2024, 3, 7))))
            << symbol;
        const auto bad = badLines(symbol + ".ticks.csv");
        EXPECT_EQ(bad, badLines(zipped + ".ticks.csv.gz")) << symbol;
        EXPECT_EQ(bad.size(), kRows - all.size()) << symbol;
    }
    const auto joined = badLines("JOIN.ticks.csv");
    ASSERT_EQ(joined.size(), 32u);
    EXPECT_EQ(joined[16], " line 15959 skipped: a field that is no number");
    EXPECT_EQ(joined[17], " line 16012 skipped: time goes backwards");
}

TEST(DataFiles, AChangedFileIsIndexedAgainAndAGrowingOneGivesItsCompleteNewRows) {
    Folder folder;
    folder.write("GROW.ticks.csv", "DateTime,Price,Size\n2024-03-05 10:00:00,5,10\n");
    folder.write("SWAP.daily.csv", "Date,Open,High,Low,Close\n2024-03-04,1,1,1,1\n");
    Market& market = folder.open();
    const Instrument& grow = folder.get("GROW");
    std::uint64_t seen = market.tradeCount(grow);
    EXPECT_EQ(seen, 1u);
    std::vector<Tick> trades;
    folder.append("GROW.ticks.csv", "2024-03-05 10:00:01,5.5,20\n2024-03-05 10:00:02,bad,1\n"
                                    "2024-03-06 09:00:00,6.25,30\n2024-03-06 09:00:01,6.");
    market.newTrades(grow, seen, trades);
    ASSERT_EQ(trades.size(), 2u);
    EXPECT_EQ(std::tuple(trades[0].price, trades[0].tickId, trades[0].totalVolume),
              std::tuple(550, 1u, 30));
    EXPECT_EQ(std::tuple(trades[1].price, trades[1].tickId, trades[1].totalVolume),
              std::tuple(625, 0u, 30));
    EXPECT_EQ(folder.logLines("GROW.ticks.csv line 4 skipped: a field that is no number").size(),
              1u);
    market.newTrades(grow, seen, trades);
    EXPECT_TRUE(trades.empty()); // the last row has no line end yet
    folder.append("GROW.ticks.csv", "5,40\n");
    market.newTrades(grow, seen, trades);
    ASSERT_EQ(trades.size(), 1u);
    EXPECT_EQ(std::tuple(trades[0].price, trades[0].tickId, trades[0].totalVolume),
              std::tuple(650, 1u, 70));
    // History sees every row the follower gave, with the same TickIDs.
    const auto history = Drain(market.ticks(grow, At(2024, 3, 5), At(2024, 3, 7)));
    ASSERT_EQ(history.size(), 4u);
    EXPECT_EQ(std::tuple(history[3].price, history[3].tickId), std::tuple(650, 1u));

    // Rewritten (not appended to): indexed again in the worker when next asked for.
    const Instrument& swap = folder.get("SWAP");
    EXPECT_EQ(market.lastDailyBars(swap, 5, At(2024, 4, 1)).size(), 1u);
    folder.write("SWAP.daily.csv", "Date,Open,High,Low,Close\n2024-03-01,2,2,2,2\n"
                                   "2024-03-04,3,3,3,3\n");
    const auto bars = market.lastDailyBars(swap, 5, At(2024, 4, 1));
    ASSERT_EQ(bars.size(), 2u);
    EXPECT_EQ(bars[1].close, 3);
    EXPECT_EQ(swap.firstDay, Day(2024, 3, 1));
}

} // namespace
} // namespace portico

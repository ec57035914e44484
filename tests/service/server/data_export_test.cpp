// End to end: Skychart's --export of an instrument that portico serves from a trader's files
// gives back the files' numbers.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "headless_run.h"

namespace skychart::test {
namespace {

// A number as the export writes it: the shortest text that reads back the same.
std::string Number(const std::string& text) {
    char out[64];
    std::snprintf(out, sizeof(out), "%.15g", std::stod(text));
    return out;
}

TEST(DataFileExport, SkychartExportsTheFilesRows) {
    TempDir home;
    // Daily rows in a spreadsheet's layout, ticks with fractional seconds and quotes.
    std::string daily = "\"Date\",\"Open\",\"High\",\"Low\",\"Close\",\"Adj Close\",\"Volume\"\r\n";
    std::vector<std::vector<std::string>> days;
    for (int d = 1; d <= 28; ++d) {
        char date[16];
        std::snprintf(date, sizeof(date), "2024-02-%02d", d);
        const double open = 50 + d * 0.25;
        char row[160];
        std::snprintf(row, sizeof(row), "%.2f,%.2f,%.2f,%.3f", open, open + 1.5, open - 0.75,
                      open + 0.125);
        days.push_back({date, Number(std::to_string(open)), Number(std::to_string(open + 1.5)),
                        Number(std::to_string(open - 0.75)), Number(std::to_string(open + 0.125)),
                        std::to_string(1000 + d)});
        daily += std::string(date) + "," + row + ",0," + std::to_string(1000 + d) + "\r\n";
    }
    home.writeFile("data/OWNX.daily.csv", daily);
    std::string ticks = "DateTime,Price,Size,Bid,Ask\n";
    for (int t = 0; t < 40; ++t) {
        char row[160];
        std::snprintf(row, sizeof(row), "2024-02-29 10:%02d:%02d.%06d,%.2f,%d,%.2f,%.2f\n", t / 4,
                      t % 4 * 15, t * 1234, 20.0 + t * 0.05, 100 + t, 19.99 + t * 0.05,
                      20.01 + t * 0.05);
        ticks += row;
    }
    home.writeFile("data/OWNX.ticks.csv", ticks);

    PorticoProcess portico(PORTICO_EXECUTABLE);
    ASSERT_TRUE(portico.start({"--linger", "0", "--connect-delay", "100", "--data-dir",
                               home.path() + "/data", "--data-only", "--start-time",
                               "2024-03-02 12:00:00"}))
        << portico.errorOutput();
    WriteStartupPorts(home, portico.adminPort(), portico.lookupPort(), portico.level1Port());
    const auto run = [&](const std::string& file, const std::string& type) {
        const RunResult result = RunHeadless(
            SKYCHART_EXECUTABLE,
            {"--export", home.path() + "/" + file, "-symbol", "OWNX", "-type", type}, home);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return ReadLines(home.path() + "/" + file);
    };

    const auto dayRows = run("daily.csv", "daily");
    ASSERT_EQ(dayRows.size(), days.size() + 2) << "28 file days and the day of the ticks";
    EXPECT_TRUE(dayRows[0].starts_with("DateTime,Open,High,Low,Close,Volume,OpenInterest"));
    for (std::size_t i = 0; i < days.size(); ++i) {
        const auto& d = days[i];
        EXPECT_TRUE(dayRows[i + 1].starts_with(d[0] + " 00:00:00," + d[1] + "," + d[2] + "," +
                                               d[3] + "," + d[4] + "," + d[5] + ",0,"))
            << dayRows[i + 1];
    }
    const auto tickRows = run("ticks.csv", "Tick");
    ASSERT_EQ(tickRows.size(), 41u);
    EXPECT_EQ(tickRows[0], "DateTime,Close,Volume,Size,Bid,Ask,VolumeAverage");
    const auto fileRows = ReadLines(home.path() + "/data/OWNX.ticks.csv");
    long long volume = 0;
    for (std::size_t i = 1; i < tickRows.size(); ++i) {
        const std::string& row = fileRows[i];
        std::vector<std::string> f;
        for (std::size_t start = 0, comma = 0; comma != std::string::npos; start = comma + 1) {
            comma = row.find(',', start);
            f.push_back(row.substr(start, comma == std::string::npos ? comma : comma - start));
        }
        volume += std::stoll(f[2]);
        EXPECT_TRUE(tickRows[i].starts_with(f[0] + "," + Number(f[1]) + "," +
                                            std::to_string(volume) + "," + f[2] + "," +
                                            Number(f[3]) + "," + Number(f[4]) + ","))
            << tickRows[i] << " against " << row;
    }
    EXPECT_EQ(portico.stop(), 0);
}

} // namespace
} // namespace skychart::test

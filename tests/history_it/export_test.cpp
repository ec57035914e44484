// The real Skychart binary in its export and render modes: no window, no display, the real
// portico, real files.

#include "history_it_support.h"

#include <QColor>
#include <QImage>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace skychart::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::vector<std::string> ReadLines(const std::string& file) {
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// How many pixels of `image` (of its rows above `below`, when given) have exactly the colour `rgb`.
int Count(const QImage& image, QRgb rgb, int below = -1) {
    int count = 0;
    for (int y = 0; y < (below < 0 ? image.height() : below); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += (image.pixel(x, y) & 0xFFFFFF) == rgb ? 1 : 0;
        }
    }
    return count;
}

std::string ReadAll(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class ExportTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_portico.start({"--linger", "0", "--connect-delay", "100"}))
            << m_portico.errorOutput();
        WriteStartup(m_portico.adminPort(), m_portico.lookupPort(), m_portico.level1Port());
        // The user's own settings, which an export must leave as they are.
        m_home.writeFile(kSettingsFile, "[ApplicationSettings]\nCurrentSymbol=KRNO\n"
                                        "RequestDataType=3\nSymbols=KRNO\n");
    }
    void TearDown() override { m_portico.stop(); }

    void WriteStartup(int admin, int lookup, int level1) {
        m_home.writeFile("config/Orvane/Kestrel/Startup.conf",
                         fmt::format("[General]\nAdminPort={}\nLookupPort={}\nLevel1Port={}\n",
                                     admin, lookup, level1));
    }

    RunResult Export(const std::vector<std::string>& arguments,
                     const std::string& executable = SKYCHART_EXECUTABLE,
                     const std::string& path = "/usr/bin:/bin") {
        // Neither mode needs a display, so none is given: no X, no Wayland, no platform chosen.
        std::vector<std::string> environment =
            EnvironmentWith({"XDG_CONFIG_HOME=" + m_home.path() + "/config",
                             "XDG_STATE_HOME=" + m_home.path() + "/state", "PATH=" + path});
        std::erase_if(environment, [](const std::string& entry) {
            return entry.starts_with("DISPLAY=") || entry.starts_with("WAYLAND_DISPLAY=") ||
                   entry.starts_with("QT_QPA_PLATFORM=");
        });
        RunResult result = RunProcess(executable, arguments, environment, 120s);
        result.out += result.err;
        return result;
    }

    std::string File(const std::string& name) const { return m_home.path() + "/" + name; }

    static constexpr const char* kSettingsFile = "config/Orvane/Kestrel/DisplayApps/Skychart.conf";
    TempDir m_home;
    PorticoProcess m_portico{PORTICO_EXECUTABLE};
};

TEST_F(ExportTest, DailyBarsAndTicksAreWrittenAsCsvAndTheSettingsStayAsTheyWere) {
    const std::string settingsBefore = ReadAll(File(kSettingsFile));

    const RunResult daily =
        Export({"--export", File("luma.csv"), "-symbol", "luma", "-type", "daily"});
    ASSERT_EQ(daily.exitCode, 0) << daily.out;
    const std::vector<std::string> rows = ReadLines(File("luma.csv"));
    ASSERT_GT(rows.size(), 2u);
    // The default layout shows one volume pane: its average follows the series columns.
    EXPECT_EQ(rows[0], "DateTime,Open,High,Low,Close,Volume,OpenInterest,VolumeAverage");
    // The default request: the newest 10000 days, as the service itself gives them.
    const auto direct = QueryLookup(m_portico.lookupPort(), "HDX,LUMA,10000,1,D", "D");
    ASSERT_EQ(rows.size(), direct.size() + 1);
    const std::string average = rows[1].substr(rows[1].rfind(',') + 1);
    for (std::size_t i = 0; i + 1 < direct.size(); ++i) {
        const auto& f = direct[i];
        const std::string expected =
            fmt::format("{} 00:00:00,{},{},{},{},{},{},{}", f[2].substr(0, 10), std::stod(f[5]),
                        std::stod(f[3]), std::stod(f[4]), std::stod(f[6]), f[7], f[8], average);
        ASSERT_EQ(rows[i + 1], expected) << "row " << i + 1;
    }

    const RunResult ticks =
        Export({"--export", File("aurx.csv"), "-symbol", "AURX", "-type", "Tick"});
    ASSERT_EQ(ticks.exitCode, 0) << ticks.out;
    const std::vector<std::string> tickRows = ReadLines(File("aurx.csv"));
    ASSERT_GT(tickRows.size(), 100u);
    EXPECT_LE(tickRows.size(), 10001u);
    EXPECT_EQ(tickRows[0], "DateTime,Close,Volume,Size,Bid,Ask,VolumeAverage");
    const std::regex row(R"((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}),([0-9.]+),(\d+),(\d+),)"
                         R"(([0-9.]+),([0-9.]+),[0-9.e+]+)");
    std::string previous;
    for (std::size_t i = 1; i < tickRows.size(); ++i) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(tickRows[i], match, row)) << tickRows[i];
        EXPECT_GE(match[1].str(), previous) << "row " << i;
        EXPECT_GT(std::stoul(match[4].str()), 0u) << tickRows[i];
        EXPECT_LE(std::stod(match[5].str()), std::stod(match[6].str())) << tickRows[i];
        previous = match[1].str();
    }

    EXPECT_EQ(ReadAll(File(kSettingsFile)), settingsBefore);

    // A settings file that cannot be read is used as defaults and left exactly where it is.
    const std::string unreadable = "[ApplicationSettings]\nCurrentSymbol=KRNO\n\x01\x02\xff";
    m_home.writeFile(kSettingsFile, unreadable);
    const RunResult minutes = Export({"--export", File("bars.csv"), "-symbol", "LUMA", "-type",
                                      "Minute", "-interval", "5-Minute"});
    ASSERT_EQ(minutes.exitCode, 0) << minutes.out;
    EXPECT_NE(minutes.out.find("could not be read"), std::string::npos) << minutes.out;
    EXPECT_EQ(ReadAll(File(kSettingsFile)), unreadable);
    for (const auto& entry : fs::directory_iterator(fs::path(File(kSettingsFile)).parent_path())) {
        EXPECT_EQ(entry.path().filename(), "Skychart.conf") << "set aside or added";
    }
    const std::vector<std::string> barRows = ReadLines(File("bars.csv"));
    ASSERT_EQ(barRows.size(), 10001u);
    EXPECT_EQ(barRows[0], "DateTime,Open,High,Low,Close,Volume,Size,VolumeAverage");
    EXPECT_TRUE(std::regex_match(barRows[1], std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d[05]:00,.*)")))
        << barRows[1];
}

TEST_F(ExportTest, EachFailureHasItsExitCodeAndExplainsItself) {
    // An unknown symbol: the only answer is the service's error reply.
    const RunResult unknown =
        Export({"--export", File("none.csv"), "-symbol", "NOSUCH", "-type", "Daily"});
    EXPECT_EQ(unknown.exitCode, 4) << unknown.out;
    EXPECT_NE(unknown.out.find("no history for NOSUCH"), std::string::npos) << unknown.out;
    EXPECT_FALSE(fs::exists(File("none.csv")));

    // A file that cannot be made: its folder is a plain file.
    m_home.writeFile("plain", "not a folder");
    const RunResult unwritable =
        Export({"--export", File("plain/luma.csv"), "-symbol", "LUMA", "-type", "Daily"});
    EXPECT_EQ(unwritable.exitCode, 5) << unwritable.out;
    EXPECT_NE(unwritable.out.find("cannot write " + File("plain/luma.csv")), std::string::npos)
        << unwritable.out;

    const RunResult noType = Export({"--export", File("x.csv"), "-symbol", "LUMA"});
    EXPECT_EQ(noType.exitCode, 2);
    EXPECT_NE(noType.out.find("needs -type"), std::string::npos) << noType.out;
    const RunResult badInterval = Export(
        {"--export", File("x.csv"), "-symbol", "LUMA", "-type", "Minute", "-interval", "7-Minute"});
    EXPECT_EQ(badInterval.exitCode, 2);
    EXPECT_NE(badInterval.out.find("7-Minute"), std::string::npos) << badInterval.out;

    // No service: the ports are closed and no portico can be launched (none beside the copied
    // executable, none on PATH).
    const int closed = UnusedPort();
    WriteStartup(closed, closed, closed);
    fs::create_directories(File("alone"));
    const std::string copy = File("alone/Skychart");
    fs::copy_file(SKYCHART_EXECUTABLE, copy);
    const RunResult unreachable =
        Export({"--export", File("y.csv"), "-symbol", "LUMA", "-type", "Daily"}, copy,
               File("alone/empty-path"));
    EXPECT_EQ(unreachable.exitCode, 3) << unreachable.out;
    EXPECT_NE(unreachable.out.find("Unable to launch portico"), std::string::npos)
        << unreachable.out;
    EXPECT_NE(unreachable.out.find(fmt::format("cannot reach the market-data service: the admin "
                                               "connection to 127.0.0.1:{} failed (Connection "
                                               "refused)",
                                               closed)),
              std::string::npos)
        << unreachable.out;
    EXPECT_FALSE(fs::exists(File("y.csv")));
}

// Splits a CSV row; an empty cell stays an empty field.
std::vector<std::string> Cells(const std::string& row) {
    std::vector<std::string> cells;
    std::string cell;
    std::istringstream in(row);
    while (std::getline(in, cell, ',')) {
        cells.push_back(cell);
    }
    if (!row.empty() && row.back() == ',') {
        cells.emplace_back();
    }
    return cells;
}

TEST_F(ExportTest, StudyColumnsHoldWhatTheChartDraws) {
    m_home.writeFile(kSettingsFile, "[ApplicationSettings]\nMAs SHOW=1\nMoving Average 2 Select=0\n"
                                    "BB STUDY SHOW=1\nNumber of displayed study charts=3\n"
                                    "Type of study chart 0=0\nType of study chart 1=1\n"
                                    "Type of study chart 2=0\n");
    const RunResult run = Export({"--export", File("s.csv"), "-symbol", "LUMA", "-type", "Daily"});
    ASSERT_EQ(run.exitCode, 0) << run.out;
    const std::vector<std::string> rows = ReadLines(File("s.csv"));
    ASSERT_GT(rows.size(), 100u);
    ASSERT_EQ(rows[0], "DateTime,Open,High,Low,Close,Volume,OpenInterest,MA1,MA3,BBLower,BBMiddle,"
                       "BBUpper,RSI,MOM");

    std::vector<double> close;
    std::vector<std::vector<std::string>> table;
    for (std::size_t i = 1; i < rows.size(); ++i) {
        table.push_back(Cells(rows[i]));
        ASSERT_EQ(table.back().size(), 14u) << rows[i];
        close.push_back(std::stod(table.back()[4]));
    }
    const auto value = [&](std::size_t row, std::size_t column) {
        return std::stod(table[row][column]);
    };
    const auto near = [](double a, double b) {
        return std::abs(a - b) <= 1e-9 * std::abs(b) + 1e-12;
    };
    // Plain definitions over the exported closes: simple averages of 5 and 15 closes, bands of
    // 20 closes at two population deviations, momentum over 20 bars, Wilder's RSI over 21.
    double gain = 0.0;
    double loss = 0.0;
    for (std::size_t i = 0; i < close.size(); ++i) {
        const auto mean = [&](std::size_t n) {
            double sum = 0.0;
            for (std::size_t j = i + 1 - n; j <= i; ++j) {
                sum += close[j];
            }
            return sum / static_cast<double>(n);
        };
        EXPECT_EQ(table[i][7].empty(), i < 4) << i;
        EXPECT_EQ(table[i][8].empty(), i < 14) << i;
        EXPECT_EQ(table[i][10].empty(), i < 19) << i;
        EXPECT_EQ(table[i][13].empty(), i < 20) << i;
        if (i >= 4) {
            EXPECT_TRUE(near(value(i, 7), mean(5))) << i;
        }
        if (i >= 14) {
            EXPECT_TRUE(near(value(i, 8), mean(15))) << i;
        }
        if (i >= 19) {
            const double m = mean(20);
            double variance = 0.0;
            for (std::size_t j = i - 19; j <= i; ++j) {
                variance += (close[j] - m) * (close[j] - m) / 20.0;
            }
            EXPECT_TRUE(near(value(i, 10), m)) << i;
            EXPECT_NEAR(value(i, 11), m + 2 * std::sqrt(variance), 1e-9 * m) << i;
            EXPECT_NEAR(value(i, 9), m - 2 * std::sqrt(variance), 1e-9 * m) << i;
        }
        if (i >= 20) {
            EXPECT_TRUE(near(value(i, 13), close[i] - close[i - 20])) << i;
        }
        if (i >= 1) {
            const double change = close[i] - close[i - 1];
            const double up = change > 0 ? change : 0.0;
            const double down = change < 0 ? -change : 0.0;
            if (i <= 21) {
                gain += up / 21.0;
                loss += down / 21.0;
            } else {
                gain += (up - gain) / 21.0;
                loss += (down - loss) / 21.0;
            }
        }
        if (i >= 21) {
            // After its first bar, RSI is Wilder's smoothing of gains and losses.
            ASSERT_FALSE(table[i][12].empty()) << i;
            EXPECT_NEAR(value(i, 12), 100.0 - 100.0 / (gain / loss + 1.0), 1e-7) << i;
        } else {
            EXPECT_TRUE(table[i][12].empty()) << i;
        }
    }
}

TEST_F(ExportTest, RenderDrawsTheChartWithTheUsersSettingsAndChangesNone) {
    const std::string settingsBefore = ReadAll(File(kSettingsFile));
    const RunResult daily = Export({"--render", File("luma.png"), "-symbol", "LUMA", "-type",
                                    "Daily", "-width", "800", "-height", "600"});
    ASSERT_EQ(daily.exitCode, 0) << daily.out;
    QImage image(QString::fromStdString(File("luma.png")));
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(800, 600));
    // Candles in the default up and down colours on the default white background.
    EXPECT_GT(Count(image, 0x00FF00), 500);
    EXPECT_GT(Count(image, 0xFF0000), 500);
    EXPECT_GT(Count(image, 0xFFFFFF), 800 * 600 / 4);

    const RunResult pdf = Export({"--render", File("luma.PDF"), "-symbol", "LUMA", "-type",
                                  "Minute", "-interval", "5-Minute"});
    ASSERT_EQ(pdf.exitCode, 0) << pdf.out;
    const std::string document = ReadAll(File("luma.PDF"));
    EXPECT_TRUE(document.starts_with("%PDF")) << document.substr(0, 16);
    EXPECT_GT(document.size(), 10000u);
    EXPECT_EQ(ReadAll(File(kSettingsFile)), settingsBefore);

    // The user's colours are the ones drawn (down candles blue, 0x00BBGGRR), and the file that
    // holds them stays byte for byte as it was. The default size is 1200 x 800.
    const std::string blueDown = settingsBefore + "Price Down Candle Color=16711680\n";
    m_home.writeFile(kSettingsFile, blueDown);
    const RunResult blue =
        Export({"--render", File("blue.png"), "-symbol", "LUMA", "-type", "Daily"});
    ASSERT_EQ(blue.exitCode, 0) << blue.out;
    image = QImage(QString::fromStdString(File("blue.png")));
    EXPECT_EQ(image.size(), QSize(1200, 800));
    EXPECT_GT(Count(image, 0x0000FF), 500);
    // No red candle in the price pane (the volume pane's average line below it is red).
    EXPECT_EQ(Count(image, 0xFF0000, image.height() / 2), 0);
    EXPECT_EQ(ReadAll(File(kSettingsFile)), blueDown);
}

TEST_F(ExportTest, RenderFailuresShareTheExitCodesOfExport) {
    const RunResult noSymbol = Export({"--render", File("a.png"), "-type", "Daily"});
    EXPECT_EQ(noSymbol.exitCode, 2);
    EXPECT_NE(noSymbol.out.find("--render needs -symbol"), std::string::npos) << noSymbol.out;
    const RunResult badWidth =
        Export({"--render", File("a.png"), "-symbol", "LUMA", "-type", "Daily", "-width", "99"});
    EXPECT_EQ(badWidth.exitCode, 2);
    EXPECT_NE(badWidth.out.find("-width must be"), std::string::npos) << badWidth.out;

    const RunResult unknown =
        Export({"--render", File("none.png"), "-symbol", "NOSUCH", "-type", "Daily"});
    EXPECT_EQ(unknown.exitCode, 4) << unknown.out;
    EXPECT_NE(unknown.out.find("no history for NOSUCH"), std::string::npos) << unknown.out;

    m_home.writeFile("plain", "not a folder");
    const RunResult unwritable =
        Export({"--render", File("plain/luma.png"), "-symbol", "LUMA", "-type", "Daily"});
    EXPECT_EQ(unwritable.exitCode, 5) << unwritable.out;
    EXPECT_NE(unwritable.out.find("cannot write " + File("plain/luma.png")), std::string::npos)
        << unwritable.out;
    for (const char* name : {"a.png", "none.png"}) {
        EXPECT_FALSE(fs::exists(File(name))) << name;
    }
}

} // namespace
} // namespace skychart::test

// The real Skychart binary in its export and render modes against the real portico, also one
// that misbehaves, and settings that make no request: every run ends with its exit code and the
// cause on standard error.

#include "app/workspace.h"
#include "base/fields.h"

#include "headless_run.h"
#include "line_client.h"
#include "pixels.h"
#include "portico_process.h"
#include "study_formulas.h"
#include "temp_dir.h"
#include "vector_bars.h"

#include <QImage>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

namespace skychart::test {
namespace {

namespace fs = std::filesystem;

class ExportTest : public ::testing::Test {
protected:
    void SetUp() override {
        StartService({});
        // The user's own settings, which an export must leave as they are.
        m_home.writeFile(kSettingsFile, "[ApplicationSettings]\nCurrentSymbol=KRNO\n"
                                        "RequestDataType=3\nSymbols=KRNO\n");
    }
    // Starts a portico with `faults` in place of the one before and points Skychart at it.
    void StartService(const std::vector<std::string>& faults) {
        m_portico = std::make_unique<PorticoProcess>(PORTICO_EXECUTABLE);
        std::vector<std::string> arguments{"--linger", "0", "--connect-delay", "100"};
        arguments.insert(arguments.end(), faults.begin(), faults.end());
        ASSERT_TRUE(m_portico->start(arguments)) << m_portico->errorOutput();
        WriteStartup(m_portico->adminPort(), m_portico->lookupPort(), m_portico->level1Port());
    }
    void WriteStartup(int admin, int lookup, int level1) {
        WriteStartupPorts(m_home, admin, lookup, level1);
    }
    // Runs Skychart; standard error as it came (standard output stays empty).
    RunResult Run(const std::vector<std::string>& arguments,
                  const std::string& executable = SKYCHART_EXECUTABLE,
                  const std::string& path = "/usr/bin:/bin") {
        // Neither mode needs a display, so none is given.
        RunResult result = RunHeadless(executable, arguments, m_home, path);
        EXPECT_EQ(result.out, "");
        // Not a terminal: no progress line, nothing rewritten in place.
        EXPECT_EQ(result.err.find('\r'), std::string::npos) << result.err;
        return result;
    }
    std::string File(const std::string& name) const { return m_home.path() + "/" + name; }
    // `line` split at spaces, the file after --export or --render in the home folder.
    std::vector<std::string> Args(const std::string& line) const {
        std::vector<std::string> words = SplitArguments(line);
        words[1] = File(words[1]);
        return words;
    }
    static constexpr const char* kSettingsFile = "config/Orvane/Kestrel/DisplayApps/Skychart.conf";
    TempDir m_home;
    std::unique_ptr<PorticoProcess> m_portico;
};

TEST_F(ExportTest, TicksAndDailyBarsWithTheirStudiesAreWrittenAsCsvAndTheSettingsStayAsTheyWere) {
    // A market closed for the weekend: the service's own answer below is the one exported.
    StartService({"--start-time", "2024-03-09 12:00:00"});
    const std::string settingsBefore = ReadFile(File(kSettingsFile));
    const RunResult ticks = Run(Args("--export ticks.csv -symbol KRNO -type Tick"));
    ASSERT_EQ(ticks.exitCode, 0) << ticks.err;
    const std::vector<std::string> tickRows = ReadLines(File("ticks.csv"));
    ASSERT_GT(tickRows.size(), 100u);
    EXPECT_LE(tickRows.size(), 10001u);
    // The default layout shows one volume pane: its average follows the series columns, the
    // average of all the data on every row.
    EXPECT_EQ(tickRows[0], "DateTime,Close,Volume,Size,Bid,Ask,VolumeAverage");
    const std::string average = tickRows[1].substr(tickRows[1].rfind(','));
    const std::regex row(R"((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}),([0-9.]+),(\d+),(\d+),)"
                         R"(([0-9.]+),([0-9.]+),[0-9.e+]+)");
    std::string previous;
    for (std::size_t i = 1; i < tickRows.size(); ++i) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(tickRows[i], match, row)) << tickRows[i];
        EXPECT_GE(match[1].str(), previous) << "row " << i;
        EXPECT_GT(std::stoul(match[4].str()), 0u) << tickRows[i];
        EXPECT_LE(std::stod(match[5].str()), std::stod(match[6].str())) << tickRows[i];
        EXPECT_TRUE(tickRows[i].ends_with(average)) << tickRows[i];
        previous = match[1].str();
    }
    EXPECT_EQ(ReadFile(File(kSettingsFile)), settingsBefore);
    // Two averages, the bands, and RSI and momentum panes (RSI twice, exported once).
    const std::string studies = settingsBefore +
                                "MAs SHOW=1\nMoving Average 2 Select=0\nBB STUDY SHOW=1\n"
                                "Number of displayed study charts=3\nType of study chart 0=0\n"
                                "Type of study chart 1=1\nType of study chart 2=0\n";
    m_home.writeFile(kSettingsFile, studies);
    const RunResult daily = Run(Args("--export luma.csv -symbol luma -type daily"));
    ASSERT_EQ(daily.exitCode, 0) << daily.err;
    const std::vector<std::string> rows = ReadLines(File("luma.csv"));
    ASSERT_GT(rows.size(), 100u);
    ASSERT_EQ(rows[0], "DateTime,Open,High,Low,Close,Volume,OpenInterest,MA1,MA3,BBLower,BBMiddle,"
                       "BBUpper,RSI,MOM");
    // The default request: the newest 10000 days, as the service itself gives them.
    const auto direct = QueryLookup(m_portico->lookupPort(), "HDX,LUMA,10000,1,D", "D");
    ASSERT_EQ(rows.size(), direct.size() + 1);
    for (std::size_t i = 0; i + 1 < direct.size(); ++i) {
        const auto& f = direct[i];
        const std::string expected =
            fmt::format("{} 00:00:00,{},{},{},{},{},{},", f[2].substr(0, 10), std::stod(f[5]),
                        std::stod(f[3]), std::stod(f[4]), std::stod(f[6]), f[7], f[8]);
        ASSERT_TRUE(rows[i + 1].starts_with(expected)) << "row " << i + 1 << ": " << rows[i + 1];
    }
    // Study columns as lines (NaN for an empty cell) against the plain formulas over the exported
    // closes: the simple average of 15, bands of 20 at two deviations, RSI over 21, momentum over
    // 20 (that every pane draws its formula is the study tests' to hold).
    std::vector<study_formulas::Line> columns(14);
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const std::vector<std::string> cells = SplitFieldsCopy(rows[i] + ","); // every cell
        ASSERT_EQ(cells.size(), columns.size()) << rows[i];
        for (std::size_t c = 1; c < cells.size(); ++c) {
            columns[c].push_back(cells[c].empty() ? std::nan("") : std::stod(cells[c]));
        }
    }
    const CVectorBars bars = CVectorBars::Flat(columns[4]);
    const std::pair<std::size_t, study_formulas::Line> expected[] = {
        {8, study_formulas::SimpleAverage(bars, 15)},
        {11, study_formulas::Bollinger(bars, 20, 2.0).upper},
        {12, study_formulas::Rsi(bars, 21)},
        {13, study_formulas::Momentum(bars, 20)}};
    for (const auto& [column, line] : expected) {
        EXPECT_EQ(study_formulas::Mismatch(line, columns[column]), "") << "column " << column;
    }
    EXPECT_EQ(ReadFile(File(kSettingsFile)), studies);
    // A settings file that cannot be read is used as defaults and left exactly where it is.
    const std::string unreadable = "[ApplicationSettings]\nCurrentSymbol=KRNO\n\x01\x02\xff";
    m_home.writeFile(kSettingsFile, unreadable);
    const RunResult minutes =
        Run(Args("--export bars.csv -symbol LUMA -type Minute -interval 5-Minute"));
    ASSERT_EQ(minutes.exitCode, 0) << minutes.err;
    EXPECT_NE(minutes.err.find("could not be read"), std::string::npos) << minutes.err;
    EXPECT_EQ(ReadFile(File(kSettingsFile)), unreadable);
    for (const auto& entry : fs::directory_iterator(fs::path(File(kSettingsFile)).parent_path())) {
        EXPECT_EQ(entry.path().filename(), "Skychart.conf") << "set aside or added";
    }
    const std::vector<std::string> barRows = ReadLines(File("bars.csv"));
    ASSERT_EQ(barRows.size(), 10001u);
    EXPECT_EQ(barRows[0], "DateTime,Open,High,Low,Close,Volume,Size,VolumeAverage");
    EXPECT_TRUE(std::regex_match(barRows[1], std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d[05]:00,.*)")))
        << barRows[1];
}

TEST_F(ExportTest, EachFailureHasItsExitCodeAndExplainsItselfAndWritesNothing) {
    m_home.writeFile("plain", "not a folder");
    const std::string settings = ReadFile(File(kSettingsFile));
    // A list cut short inside its quotes, as a hand edit may leave it.
    const std::string cutShort = "[ApplicationSettings]\nRequestDatapoints=\"500\n";
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        std::string says;
        const std::string& settings; // the file the run starts from, which it leaves as it is
    } cases[] = {
        // An unknown symbol: the only answer is the service's error reply.
        {Args("--export a.csv -symbol NOSUCH -type Daily"), 4, "no history for NOSUCH", settings},
        {Args("--render a.png -symbol NOSUCH -type Daily"), 4, "no history for NOSUCH", settings},
        // A file that cannot be made: its folder is a plain file.
        {Args("--export plain/a.csv -symbol LUMA -type Daily"), 5,
         "cannot write " + File("plain/a.csv"), settings},
        {Args("--render plain/a.png -symbol LUMA -type Daily"), 5,
         "cannot write " + File("plain/a.png"), settings},
        // The options are checked before anything is started.
        {Args("--render a.png -symbol LUMA -type Daily -width 99"), 2, "-width must be", settings},
        // The cut-short list is named, with where to mend it.
        {Args("--export a.csv -symbol LUMA -type Daily"), 2,
         "Skychart: no history requested for LUMA: RequestDatapoints has no value for Days: it "
         "holds 1 value (\"500\\n\"), one is needed for each of Ticks, Intervals, Days, Weeks "
         "and Months. Mend it on the Data page of \"Chart Settings...\", or edit "
         "RequestDatapoints in " +
             File(kSettingsFile) + ".\n",
         cutShort},
    };
    for (const auto& c : cases) {
        m_home.writeFile(kSettingsFile, c.settings);
        const RunResult run = Run(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        EXPECT_EQ(ReadFile(File(kSettingsFile)), c.settings);
    }
    // No service: the ports are closed and no portico can be launched (none beside the copied
    // executable, none on PATH).
    const int closed = UnusedPort();
    WriteStartup(closed, closed, closed);
    fs::create_directories(File("alone"));
    const std::string copy = File("alone/Skychart");
    fs::copy_file(SKYCHART_EXECUTABLE, copy);
    const RunResult unreachable =
        Run(Args("--export a.csv -symbol LUMA -type Daily"), copy, File("alone/empty-path"));
    EXPECT_EQ(unreachable.exitCode, 3) << unreachable.err;
    EXPECT_NE(unreachable.err.find("Unable to launch portico"), std::string::npos)
        << unreachable.err;
    EXPECT_NE(unreachable.err.find(fmt::format("cannot reach the market-data service: the admin "
                                               "connection to 127.0.0.1:{} failed (Connection "
                                               "refused)",
                                               closed)),
              std::string::npos)
        << unreachable.err;
    EXPECT_FALSE(fs::exists(File("a.csv")) || fs::exists(File("a.png")));
}

TEST_F(ExportTest, AServiceThatMisbehavesIsNamedAsTheCause) {
    // {admin}, {lookup} and {level1} stand for the ports of the misbehaving portico.
    const struct {
        std::vector<std::string> faults;
        std::vector<std::string> arguments;
        int exitCode;
        std::string begins; // the whole text unless `ends` is given
        std::string ends;
    } cases[] = {
        // Fast enough to connect, far too slow for ten thousand days.
        {{"--fault-drip", "100"},
         Args("--render a.png -symbol LUMA -type Daily --timeout 10"),
         6,
         "Skychart: timed out after 10 s (--timeout 10) while LUMA (Daily) was loading (",
         " points received)\n"},
        // The service sends it to every Level 1 client before the line that makes it ready.
        {{"--fault-long-line"},
         Args("--export a.csv -symbol LUMA -type Daily --timeout 60"),
         3,
         "Skychart: the market-data service sent a line longer than 65,535 bytes (the most a "
         "line may hold) on the Level 1 connection (127.0.0.1:{level1}) before the service was "
         "ready (status \"Connected\")\n",
         ""},
        // Mid-answer: the lookup connection goes after 100 data lines.
        {{"--fault-close-after", "100"},
         Args("--export a.csv -symbol LUMA -type Daily"),
         3,
         "Skychart: the market-data service closed the lookup connection (127.0.0.1:{lookup}) "
         "while LUMA (Daily) was loading (100 points received)\n",
         ""},
        // At once: the admin connection is closed as soon as it is accepted, in an orderly close
        // or a reset, as the timing has it.
        {{"--fault-refuse", "1"},
         Args("--render a.png -symbol LUMA -type Daily"),
         3,
         "Skychart: the market-data service closed the admin connection (127.0.0.1:{admin})",
         " before the service was ready (status \"Not Connected\")\n"},
    };
    for (const auto& c : cases) {
        StartService(c.faults);
        const RunResult run = Run(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        const std::string begins =
            fmt::format(fmt::runtime(c.begins), fmt::arg("admin", m_portico->adminPort()),
                        fmt::arg("lookup", m_portico->lookupPort()),
                        fmt::arg("level1", m_portico->level1Port()));
        if (c.ends.empty()) {
            EXPECT_EQ(run.err, begins);
        } else {
            EXPECT_TRUE(run.err.starts_with(begins) && run.err.ends_with(c.ends)) << run.err;
        }
        EXPECT_FALSE(fs::exists(c.arguments[1])) << c.arguments[1];
    }
}

TEST_F(ExportTest, RenderDrawsTheChartWithTheUsersSettingsAndChangesNone) {
    // The user's colours are the ones drawn (down candles blue, 0x00BBGGRR; up candles and the
    // background the default green and white), and the file that holds them stays byte for byte
    // as it was.
    const std::string blueDown =
        ReadFile(File(kSettingsFile)) + "Price Down Candle Color=16711680\n";
    m_home.writeFile(kSettingsFile, blueDown);
    const RunResult png =
        Run(Args("--render luma.png -symbol LUMA -type Daily -width 800 -height 600"));
    ASSERT_EQ(png.exitCode, 0) << png.err;
    const QImage image(QString::fromStdString(File("luma.png")));
    ASSERT_EQ(image.size(), QSize(800, 600));
    EXPECT_GT(Count(image, MakeColorRef(0, 255, 0)), 500);
    EXPECT_GT(Count(image, MakeColorRef(0, 0, 255)), 500);
    EXPECT_GT(Count(image, MakeColorRef(255, 255, 255)), 800 * 600 / 4);
    // No red candle in the price pane (the volume pane's average line below it is red).
    EXPECT_EQ(Count(image, MakeColorRef(255, 0, 0), QRect(0, 0, 800, 300)), 0);
    // At scale 2 the same chart is twice as wide and high, its one-pixel lines (the splitter
    // between the panes, the grid, the volume average) one device pixel wide at twice the row.
    const RunResult scaled =
        Run(Args("--render luma2.png -symbol LUMA -type Daily -width 800 -height 600 -scale 2"));
    ASSERT_EQ(scaled.exitCode, 0) << scaled.err;
    const QImage twice(QString::fromStdString(File("luma2.png")));
    ASSERT_EQ(twice.size(), QSize(1600, 1200));
    // A line row holds more than half the width in its colour.
    const auto lineRows = [](const QImage& picture, ColorRef color) {
        std::vector<int> rows;
        for (int y = 0; y < picture.height(); ++y) {
            if (Count(picture, color, QRect(0, y, picture.width(), 1)) > picture.width() / 2) {
                rows.push_back(y);
            }
        }
        return rows;
    };
    for (const ColorRef color :
         {MakeColorRef(170, 170, 170), MakeColorRef(192, 192, 192), MakeColorRef(255, 0, 0)}) {
        const std::vector<int> single = lineRows(image, color);
        const std::vector<int> doubled = lineRows(twice, color);
        ASSERT_FALSE(single.empty()) << color;
        ASSERT_EQ(doubled.size(), single.size()) << color;
        for (std::size_t i = 0; i < single.size(); ++i) {
            EXPECT_NEAR(doubled[i], 2 * single[i], 1) << color;
            EXPECT_TRUE(i == 0 || doubled[i] > doubled[i - 1] + 1) << color << " row " << i;
        }
    }
    const RunResult pdf =
        Run(Args("--render luma.PDF -symbol LUMA -type Minute -interval 5-Minute"));
    ASSERT_EQ(pdf.exitCode, 0) << pdf.err;
    const std::string document = ReadFile(File("luma.PDF"));
    EXPECT_TRUE(document.starts_with("%PDF")) << document.substr(0, 16);
    EXPECT_GT(document.size(), 10000u);
    EXPECT_EQ(ReadFile(File(kSettingsFile)), blueDown);
}

} // namespace
} // namespace skychart::test

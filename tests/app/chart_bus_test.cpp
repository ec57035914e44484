#include "app/chart_bus.h"
#include "app/command_line.h"
#include "app/export.h"
#include "core/data_types.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "studies/study_settings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

namespace {

constexpr const char* kInvalid = "org.skychart.Chart.Error.InvalidArgument";

// The error name of a failed check, and its message must say something.
std::string Fault(const SChartBusReply& reply) {
    EXPECT_FALSE(reply.message.empty()) << ChartBusErrorName(reply.fault);
    return ChartBusErrorName(reply.fault);
}

TEST(ChartBusLoad, TakesTheComboTextsAsTheRibbonDoes) {
    SChartBusLoad load;
    ASSERT_TRUE(CheckChartBusLoad("  luma\t", "Daily", "", load).Ok());
    EXPECT_EQ(load.symbol, "LUMA");
    EXPECT_EQ(load.typeIndex, FindComboItem(RequestTypeItems(), "Daily"));
    EXPECT_EQ(load.dataType, kDays);
    EXPECT_EQ(load.intervalIndex, -1); // "" keeps the current interval

    ASSERT_TRUE(CheckChartBusLoad("aurx.b", "minute", "5-MINUTE", load).Ok());
    EXPECT_EQ(load.symbol, "AURX.B");
    EXPECT_EQ(load.dataType, kIntervals);
    EXPECT_EQ(load.intervalIndex, FindComboItem(IntervalItems(), "5-Minute"));
    EXPECT_EQ(IntervalItems()[static_cast<std::size_t>(load.intervalIndex)].data, 5);

    // An interval with another type is still checked and kept, as the ribbon keeps it.
    ASSERT_TRUE(CheckChartBusLoad("X", "Tick", "2-Hour", load).Ok());
    EXPECT_EQ(load.dataType, kTicks);
    EXPECT_EQ(load.intervalIndex, static_cast<int>(IntervalItems().size()) - 1);
    ASSERT_TRUE(CheckChartBusLoad(std::string(127, 'A'), "Monthly", "", load).Ok());
    EXPECT_EQ(load.dataType, kMonths);
}

TEST(ChartBusLoad, RefusesWhatTheRibbonCouldNotSendAndLeavesTheRequestAlone) {
    SChartBusLoad load;
    load.symbol = "KEPT";
    for (const std::string& symbol :
         std::vector<std::string>{"", "   ", "LU MA", "A,B", "A\nHDX,B", std::string("A\0B", 3),
                                  std::string(128, 'A')}) {
        const SChartBusReply reply = CheckChartBusLoad(symbol, "Daily", "", load);
        EXPECT_EQ(Fault(reply), kInvalid) << symbol;
    }
    const SChartBusReply badType = CheckChartBusLoad("LUMA", "Hourly", "", load);
    EXPECT_EQ(Fault(badType), kInvalid);
    EXPECT_NE(badType.message.find("\"Hourly\""), std::string::npos) << badType.message;
    EXPECT_NE(badType.message.find("Tick, Minute, Daily, Weekly, Monthly"), std::string::npos)
        << badType.message;
    EXPECT_EQ(Fault(CheckChartBusLoad("LUMA", "", "", load)), kInvalid);
    const SChartBusReply badInterval = CheckChartBusLoad("LUMA", "Minute", "7-Minute", load);
    EXPECT_EQ(Fault(badInterval), kInvalid);
    EXPECT_NE(badInterval.message.find("\"7-Minute\""), std::string::npos) << badInterval.message;
    EXPECT_EQ(load.symbol, "KEPT");
}

TEST(ChartBusFiles, PathsMustBeAbsoluteFilesAndRenderSizesWithinTheLimits) {
    EXPECT_TRUE(CheckChartBusExport("/tmp/luma.csv").Ok());
    EXPECT_TRUE(CheckChartBusExport("/tmp/no-extension").Ok());
    for (const char* path : {"", "luma.csv", "./luma.csv", "/tmp/"}) {
        EXPECT_EQ(Fault(CheckChartBusExport(path)), kInvalid) << path;
    }

    EXPECT_TRUE(CheckChartBusRender("/tmp/luma.png", 640, 480).Ok());
    EXPECT_TRUE(CheckChartBusRender("/tmp/LUMA.PDF", kRenderMinSize, kRenderMaxSize).Ok());
    for (const char* path :
         {"luma.png", "/tmp/luma.jpg", "/tmp/png", "/tmp/a.png/", "/a.png.d/x"}) {
        EXPECT_EQ(Fault(CheckChartBusRender(path, 640, 480)), kInvalid) << path;
    }
    const SChartBusReply narrow = CheckChartBusRender("/tmp/a.png", kRenderMinSize - 1, 480);
    EXPECT_EQ(Fault(narrow), kInvalid);
    EXPECT_NE(narrow.message.find("width"), std::string::npos) << narrow.message;
    const SChartBusReply tall = CheckChartBusRender("/tmp/a.png", 640, kRenderMaxSize + 1);
    EXPECT_EQ(Fault(tall), kInvalid);
    EXPECT_NE(tall.message.find("height"), std::string::npos) << tall.message;
    EXPECT_EQ(Fault(CheckChartBusRender("/tmp/a.png", -640, 480)), kInvalid);
    EXPECT_EQ(Fault(CheckChartBusRender("/tmp/a.png", 640, 0)), kInvalid);
}

TEST(ChartBusFiles, ExportAndRenderNeedACompleteChartWithPoints) {
    const std::string noChart = "org.skychart.Chart.Error.NoChart";
    EXPECT_EQ(Fault(CheckChartBusLoaded("", false, 0)), noChart);
    // Whatever is left in the series of no symbol does not count.
    EXPECT_EQ(Fault(CheckChartBusLoaded("", false, 10)), noChart);
    const SChartBusReply loading = CheckChartBusLoaded("LUMA", true, 10);
    EXPECT_EQ(Fault(loading), noChart);
    EXPECT_NE(loading.message.find("LUMA"), std::string::npos);
    EXPECT_EQ(Fault(CheckChartBusLoaded("LUMA", false, 0)), noChart);
    EXPECT_TRUE(CheckChartBusLoaded("LUMA", false, 1).Ok());

    // Each kind answers with its own name under the interface's error space.
    EXPECT_STREQ(ChartBusErrorName(EChartBusFault::None), "");
    EXPECT_STREQ(ChartBusErrorName(EChartBusFault::InvalidArgument), kInvalid);
    EXPECT_STREQ(ChartBusErrorName(EChartBusFault::Failed), "org.skychart.Chart.Error.Failed");
    // --help shows how to reach the methods and what their errors are called.
    const std::string usage = COrvaneCommandLineInfo::Usage("s", "t", "l");
    for (const char* text : {"org.skychart.Skychart.pid", "gdbus call --session", "/Skychart",
                             "org.skychart.Chart.Load", "ExportSeries(path) -> rows",
                             "Render(path, width, height)", kInvalid}) {
        EXPECT_NE(usage.find(text), std::string::npos) << text;
    }
}

TEST(ChartBusExport, RowsAreTheLinesAfterTheHeader) {
    EXPECT_EQ(ExportTextRows(""), 0);
    EXPECT_EQ(ExportTextRows("DateTime,Close\n"), 0);
    EXPECT_EQ(ExportTextRows("DateTime,Close\na\nb\n"), 2);
    EXPECT_EQ(ExportTextRows("DateTime,Close\na\nb"), 2);
}

// The series text has the --export columns, then one column per drawn study line, and one row
// per point with as many cells as the header.
TEST(ChartBusExport, SeriesTextCarriesTheStudiesOfTheSettings) {
    CSettings settings;
    settings.RegisterAll(AllSettingKeys());
    settings.SetInt(keys::kMAsShow, 1);
    settings.SetInt(keys::kNumberOfStudyCharts, 1);
    settings.SetInt(keys::Numbered(keys::kTypeOfStudyChart, 0), kStudyRSI);

    CChartHistRequest history;
    for (int i = 0; i < 200; ++i) {
        sTICK bar;
        bar.time = CDateTime(CDateTime(2021, 3, 1, 0, 0, 0).Days() + i);
        bar.close = 50.0 + 5.0 * std::sin(i / 3.0);
        bar.open = bar.close - 0.25;
        bar.high = bar.close + 1.0;
        bar.low = bar.close - 1.0;
        bar.volume = 100 + i;
        ASSERT_TRUE(history.AppendTick(bar));
    }
    const std::string text = SeriesExportText(history, kDays, 0, settings);
    EXPECT_EQ(ExportTextRows(text), 200);
    std::istringstream lines(text);
    std::string header;
    std::getline(lines, header);
    const std::string prefix = "DateTime,Open,High,Low,Close,Volume,OpenInterest,";
    ASSERT_EQ(header.rfind(prefix, 0), 0U) << header;
    EXPECT_NE(header.find(",MA1"), std::string::npos) << header;
    EXPECT_NE(header.find(",RSI"), std::string::npos) << header;
    const auto columns = std::count(header.begin(), header.end(), ',');
    std::string row;
    std::string last;
    while (std::getline(lines, row)) {
        EXPECT_EQ(std::count(row.begin(), row.end(), ','), columns) << row;
        last = row;
    }
    // The newest bar has warmed up every study: no empty cell.
    EXPECT_EQ(last.rfind("2021-09-16 00:00:00,", 0), 0U) << last;
    EXPECT_EQ(last.find(",,"), std::string::npos) << last;
    EXPECT_NE(last.back(), ',');

    // Minute bars take the interval's length; the header is that of bars.
    const std::string minutes = SeriesExportText(history, kIntervals, 4, settings);
    EXPECT_EQ(minutes.rfind("DateTime,Open,High,Low,Close,Volume,Size,", 0), 0U);
    EXPECT_EQ(ExportTextRows(minutes), 200);
}

} // namespace

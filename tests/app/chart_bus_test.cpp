// The checks of the session bus methods. (The text ExportSeries writes is the one --export writes,
// whose columns the export tests check; the bus end-to-end test holds the error names each call
// answers with and the rows ExportSeries counts against the file it wrote.)

#include "app/chart_bus.h"
#include "app/command_line.h"
#include "app/export.h"
#include "core/data_types.h"
#include "history/chart_hist_request.h"
#include "trend/trend_lists.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace {

constexpr const char* kInvalid = "org.skychart.Chart.Error.InvalidArgument";

// The error name of a failed check, and its message must say something.
std::string Fault(const SChartBusReply& reply) {
    EXPECT_FALSE(reply.message.empty()) << ChartBusErrorName(reply.fault);
    return ChartBusErrorName(reply.fault);
}

TEST(ChartBusLoad, TakesTheComboTextsAsTheRibbonDoesAndRefusesWhatItCouldNotSend) {
    SChartBusLoad load;
    // An interval of "" keeps the current one; an interval with another type is still checked
    // and kept, as the ribbon keeps it.
    ASSERT_TRUE(CheckChartBusLoad("  luma\t", "Daily", "", load).Ok());
    EXPECT_EQ(std::tuple(load.symbol, load.typeIndex, load.dataType, load.intervalIndex),
              std::tuple("LUMA", FindComboItem(RequestTypeItems(), "Daily"), kDays, -1));
    ASSERT_TRUE(CheckChartBusLoad("aurx.b", "minute", "5-MINUTE", load).Ok());
    EXPECT_EQ(std::tuple(load.symbol, load.dataType,
                         IntervalItems()[static_cast<std::size_t>(load.intervalIndex)].data),
              std::tuple("AURX.B", kIntervals, 5));
    ASSERT_TRUE(CheckChartBusLoad("X", "Tick", "2-Hour", load).Ok());
    EXPECT_EQ(std::tuple(load.dataType, load.intervalIndex),
              std::tuple(kTicks, static_cast<int>(IntervalItems().size()) - 1));
    ASSERT_TRUE(CheckChartBusLoad(std::string(127, 'A'), "Monthly", "", load).Ok());
    EXPECT_EQ(load.dataType, kMonths);
    // What the ribbon could not send is refused, and the request is left alone.
    load.symbol = "KEPT";
    for (const std::string& symbol :
         std::vector<std::string>{"", "   ", "LU MA", "A,B", "A\nHDX,B", std::string("A\0B", 3),
                                  std::string(128, 'A')}) {
        EXPECT_EQ(Fault(CheckChartBusLoad(symbol, "Daily", "", load)), kInvalid) << symbol;
    }
    // The message names what was refused, and for the type what is allowed.
    const struct {
        const char* type;
        const char* interval;
        std::vector<std::string> said;
    } cases[] = {{"Hourly", "", {"\"Hourly\"", "Tick, Minute, Daily, Weekly, Monthly"}},
                 {"", "", {}},
                 {"Minute", "7-Minute", {"\"7-Minute\""}}};
    for (const auto& c : cases) {
        const SChartBusReply reply = CheckChartBusLoad("LUMA", c.type, c.interval, load);
        EXPECT_EQ(Fault(reply), kInvalid) << c.type;
        for (const std::string& text : c.said) {
            EXPECT_NE(reply.message.find(text), std::string::npos) << reply.message;
        }
    }
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
    for (const auto& [width, height, said] : {std::tuple{kRenderMinSize - 1, 480, "width"},
                                              {640, kRenderMaxSize + 1, "height"},
                                              {-640, 480, "width"},
                                              {640, 0, "height"}}) {
        const SChartBusReply reply = CheckChartBusRender("/tmp/a.png", width, height);
        EXPECT_EQ(Fault(reply), kInvalid);
        EXPECT_NE(reply.message.find(said), std::string::npos) << reply.message;
    }
}

TEST(ChartBusFiles, ExportAndRenderNeedACompleteChartWithPoints) {
    const std::string noChart = "org.skychart.Chart.Error.NoChart";
    // Whatever is left in the series of no symbol does not count.
    for (const auto& [symbol, loading, points] :
         {std::tuple{"", false, 0}, {"", false, 10}, {"LUMA", true, 10}, {"LUMA", false, 0}}) {
        EXPECT_EQ(Fault(CheckChartBusLoaded(symbol, loading, points)), noChart) << symbol;
    }
    EXPECT_NE(CheckChartBusLoaded("LUMA", true, 10).message.find("LUMA"), std::string::npos);
    EXPECT_TRUE(CheckChartBusLoaded("LUMA", false, 1).Ok());
    // --help shows how to reach the methods and what their errors are called.
    const std::string usage = COrvaneCommandLineInfo::Usage("s", "t", "l");
    for (const char* text :
         {"org.skychart.Skychart.pid", "gdbus call --session", "/Skychart",
          "org.skychart.Chart.Load", "ExportSeries(path) -> rows", "Render(path, width, height)",
          "DeletePoint(time) -> count", "RestorePoints() -> count",
          "AddTrendline(kind, times, prices) -> count", "Trendlines() -> JSON", "Reconnect()",
          "SKYCHART_STALL_SECONDS", kInvalid}) {
        EXPECT_NE(usage.find(text), std::string::npos) << text;
    }
}

// DeletePoint names a point by its DateTime as the export writes it: exactly, the first of
// equal ones; a text of no time (the reading itself is the point time tests'), or of no point,
// is refused and named.
TEST(ChartBusPoints, ATimeTextNamesExactlyOnePointOfTheSeries) {
    CChartHistRequest series;
    for (const auto& [second, micro] : {std::pair{0, 0}, {0, 500}, {0, 500}, {7, 0}}) {
        sTICK tick;
        tick.time = CDateTime(2024, 3, 5, 10, 0, second);
        tick.microseconds = micro;
        series.AppendTick(tick);
    }
    const std::pair<const char*, int> cases[] = {{"2024-03-05 10:00:00.000500", 1},
                                                 {"2024-03-05 10:00:00", 0},
                                                 {"2024-03-05 10:00:07.000000", 3},
                                                 {"2024-03-05 10:00:00.000499", -1},
                                                 {"2024-03-05", -1},
                                                 {"2024-03-05 10:00:08", -1},
                                                 {"junk", -1}};
    for (const auto& [text, expected] : cases) {
        SPointTime time;
        int index = -1;
        SChartBusReply reply = CheckChartBusPointTime(text, time);
        if (reply.Ok()) {
            reply = FindChartBusPoint(series, time, text, index);
        }
        EXPECT_EQ(reply.Ok() ? "" : Fault(reply), expected < 0 ? kInvalid : "") << text;
        EXPECT_EQ(index, expected) << text;
        EXPECT_TRUE(reply.Ok() || reply.message.find(text) != std::string::npos) << reply.message;
    }
}

} // namespace

// AddTrendline takes a kind by its name in any case and exactly its clicks' worth of points;
// Trendlines() writes them back with their look.
TEST(ChartBusTrendlines, ArgumentsCheckedAndTrendlinesWrittenAsJson) {
    SChartBusTrendline line;
    const std::vector<std::string> two = {"2026-03-02 00:00:00", "2026-03-09"};
    ASSERT_TRUE(CheckChartBusTrendline("fibonacci fan", two, {1.5, 2.5}, line).Ok());
    EXPECT_EQ(line.kind, ETrendKind::FibonacciFan);
    ASSERT_EQ(line.points.size(), 2u);
    EXPECT_TRUE(line.points[1].first.time == CDateTime(2026, 3, 9, 0, 0, 0));
    const std::string nan = "nan";
    for (const auto& [kind, times, prices, says] : std::vector<
             std::tuple<std::string, std::vector<std::string>, std::vector<double>, std::string>>{
             {"Fibonacci", two, {1, 2}, "Andrew's Pitchfork"},
             {"Parallel", two, {1, 2}, "takes 3 times"},
             {"Sloping", two, {1}, "not 2 and 1"},
             {"Sloping", {"2026-03-02", "03/09/2026"}, {1, 2}, "time 2"},
             {"Sloping", two, {1, std::stod(nan)}, "price 2"}}) {
        const SChartBusReply reply = CheckChartBusTrendline(kind, times, prices, line);
        EXPECT_EQ(Fault(reply), kInvalid) << kind;
        EXPECT_NE(reply.message.find(says), std::string::npos) << reply.message;
    }
    struct SPane : ITrendPane {
        void AddTrendItem(std::shared_ptr<CDrawnItem>) override {}
        void RemoveTrendItem(const CDrawnItem*) override {}
    } pane;
    CTrendLists lists(pane);
    EXPECT_EQ(TrendlinesJson(lists, false), "[]");
    const SPointTime time{CDateTime(2026, 3, 2, 9, 30, 0), 250};
    lists.Add(ETrendKind::Sloping, {{0, 1.5, time}, {3, 2.25, time}},
              {MakeColorRef(0x12, 0x34, 0xAB), 3, true});
    EXPECT_EQ(TrendlinesJson(lists, true),
              R"([{"color":"#1234ab","extendable":true,"kind":"Sloping","points":[)"
              R"({"price":1.5,"time":"2026-03-02 09:30:00.000250"},)"
              R"({"price":2.25,"time":"2026-03-02 09:30:00.000250"}],"width":3}])");
}

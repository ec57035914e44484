// The real main frame when the real portico fails under a load: a lookup connection that closes
// or a service killed mid-answer ends the load with the points received, shown and exportable
// and named incomplete; a stopped service is said to stall after the stall limit and the load
// goes on when it runs again; Reconnect brings a new service in and loads the chart again.

#include "frame_fixture.h"
#include "headless_run.h"

#include "app/ui/chart_bus_target.h"
#include "chart/ui/chart_form_view.h"

#include <QLabel>
#include <QStatusBar>
#include <QToolButton>

#include <fmt/format.h>

#include <csignal>
#include <cstdlib>

namespace skychart::test {
namespace {

using namespace std::chrono_literals;

class FeedFaultTest : public FrameTest {
protected:
    // Daily bars of LUMA, 2000 asked for.
    void OpenDailyFrame() {
        OpenFrame();
        UseSettings(
            {{"RequestDataType", "2"}, {"RequestDatapoints", "10000,10000,2000,10000,10000"}});
        ASSERT_TRUE(WaitForService());
    }
    std::string Status() { return frame().ChartView()->LastStatusText(); }
    std::string Pane(const char* name) {
        return frame().statusBar()->findChild<QLabel*>(name)->text().toStdString();
    }
    std::string Notice() {
        auto* notice = frame().ChartView()->findChild<QLabel*>("ChartNotice");
        return notice->isVisible() ? notice->text().toStdString() : std::string();
    }
    bool WaitForStatus(const std::string& start, std::chrono::milliseconds timeout = 60s) {
        return WaitFor([&] { return Status().starts_with(start); }, timeout);
    }
    int Count() { return history().GetCount(); }
};

TEST_F(FeedFaultTest, ALoadCutShortShowsWhatCameAndReconnectLoadsItWhole) {
    UsePortico({"--fault-close-after", "100"});
    const std::string closed =
        fmt::format("the market-data service closed the lookup connection (127.0.0.1:{})",
                    portico().lookupPort());
    OpenDailyFrame();
    CChartBusTarget bus(frame(), settings());
    EnterInSymbolBox("LUMA");
    ASSERT_TRUE(WaitForStatus("History incomplete:")) << Status();
    EXPECT_EQ(Status(), "History incomplete: " + closed + " after 100 bars.  Displaying 120.");
    EXPECT_EQ(Notice(), "LUMA (Daily bars): the history is incomplete, " + closed +
                            " after 100 bars. Use Reconnect to load it again.");
    EXPECT_EQ(Count(), 100);
    EXPECT_TRUE(frame().ChartView()->HistoryShown());
    // The panes stop saying that all is well, and the progress never writes over the cause.
    ASSERT_TRUE(
        WaitFor([&] { return Pane("Connection") == "Lookup lost: closed by the service"; }, 10s))
        << Pane("Connection");
    EXPECT_TRUE(Pane("FeedState").starts_with("Feed lost")) << Pane("FeedState");
    EXPECT_TRUE(Status().starts_with("History incomplete:")) << Status();
    // What came is exported as it stands, and trendlines go on the bars that came.
    const SBusMethodResult exported = bus.BusExportSeries(home() + "/bus.csv");
    const std::vector<std::string> lines = ReadLines(home() + "/bus.csv");
    ASSERT_EQ(std::tuple(exported.errorName, exported.value, lines.size()),
              std::tuple("", 100, 101u))
        << exported.errorMessage;
    const auto time = [](const std::string& line) { return line.substr(0, line.find(',')); };
    const SBusMethodResult added =
        bus.BusAddTrendline("Sloping", {time(lines[1]), time(lines[100])}, {10.0, 20.0});
    ASSERT_EQ(added.value, 1) << added.errorMessage;
    // Nothing can answer a later load: it ends at once and says why.
    EnterInSymbolBox("KRNO");
    ASSERT_TRUE(WaitForStatus("No history:")) << Status();
    EXPECT_EQ(Status(), "No history: " + closed + ".");
    EXPECT_EQ(Notice(),
              "Nothing to show for KRNO: " + closed + ". Use Reconnect to load it again.");
    EnterInSymbolBox("LUMA");
    ASSERT_TRUE(WaitForStatus("No history:")) << Status();
    // Reconnect (the ribbon's button) to a slow service, killed mid-answer: the load ends again
    // with what came.
    UsePortico({"--fault-drip", "200"});
    frame().findChild<QToolButton*>("ReconnectButton")->click();
    EXPECT_EQ(Pane("Connection"), "Not Connected");
    ASSERT_TRUE(WaitFor([&] { return Count() > 0; }, 60s)) << Status();
    ASSERT_EQ(::kill(portico().pid(), SIGKILL), 0);
    ASSERT_TRUE(WaitForStatus("History incomplete: the market-data service closed the lookup "
                              "connection"))
        << Status();
    const int received = Count();
    EXPECT_NE(Status().find(fmt::format(" after {} bars.", received)), std::string::npos)
        << Status();
    EXPECT_TRUE(frame().ChartView()->HistoryShown());
    // Reconnect (the status bar's button) to a service that works: the whole history. (That
    // the trendlines stay: the bus end-to-end test.)
    UsePortico();
    frame().findChild<QToolButton*>("StatusReconnectButton")->click();
    ASSERT_TRUE(
        WaitFor([&] { return Status().find("datapoints available") != std::string::npos; }, 60s))
        << Status();
    EXPECT_GT(Count(), received);
    EXPECT_EQ(std::tuple(frame().ChartView()->Symbol(), Notice()), std::tuple("LUMA", ""));
    ASSERT_TRUE(WaitFor([&] { return Pane("Connection") == "Connected"; }, 10s));
    EXPECT_FALSE(Pane("FeedState").starts_with("Feed lost")) << Pane("FeedState");
}

TEST_F(FeedFaultTest, AStoppedServiceIsSaidToStallAndTheLoadGoesOnWhenItRuns) {
    ::setenv("SKYCHART_STALL_SECONDS", "2", 1);
    UsePortico({"--fault-drip", "200"});
    OpenDailyFrame();
    ::unsetenv("SKYCHART_STALL_SECONDS");
    EnterInSymbolBox("LUMA");
    ASSERT_TRUE(WaitFor([&] { return Count() > 0; }, 60s)) << Status();
    ASSERT_EQ(::kill(portico().pid(), SIGSTOP), 0);
    const std::string stalled = "The service sent nothing for 2 s while LUMA was loading (";
    const bool said = WaitForStatus(stalled, 30s);
    const std::string text = Status();
    const std::string notice = Notice();
    const bool loading = frame().ChartView()->Loader().Loading();
    ::kill(portico().pid(), SIGCONT);
    ASSERT_TRUE(said) << text;
    EXPECT_TRUE(text.ends_with(" bars received) - still waiting")) << text;
    EXPECT_TRUE(notice.ends_with("; the service sent nothing for 2 s while LUMA was loading, still "
                                 "waiting"))
        << notice;
    EXPECT_TRUE(loading);
    ASSERT_TRUE(
        WaitFor([&] { return Status().find("datapoints available") != std::string::npos; }, 60s))
        << Status();
    EXPECT_EQ(Notice(), "");
    EXPECT_TRUE(frame().ChartView()->HistoryShown() && !frame().ChartView()->Loader().Stalled());
}

} // namespace
} // namespace skychart::test

// The real main frame against a real portico: creation, symbol entry, the command line applied
// when the service is ready, the ribbon combos stored in the real Skychart.conf, workspaces.

#include "frame_fixture.h"

#include "app/ui/charts_app.h"
#include "app/ui/ribbon_bar.h"
#include "chart/ui/chart_form_view.h"
#include "feed/feed_connections.h"
#include "platform/workspace_bus.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QStatusBar>

namespace skychart::test {
namespace {

QLabel* StatusPane(CMainFrame& frame, const QString& name) {
    return frame.statusBar()->findChild<QLabel*>(name);
}

TEST_F(FrameTest, CreationBuildsRibbonStatusBarAndReachesTheService) {
    CMainFrame& frame = OpenFrame();
    EXPECT_EQ(frame.StatusText(), "Ready...");
    EXPECT_NE(StatusPane(frame, "Symbol"), nullptr);
    EXPECT_NE(StatusPane(frame, "Chart Type"), nullptr);
    const QList<QGroupBox*> panels =
        frame.Ribbon()->PanelsWithCaption(CMainFrame::kEnterPanelCaption);
    ASSERT_FALSE(panels.isEmpty());
    EXPECT_TRUE(panels.front()->isAncestorOf(frame.SymbolCombo()));
    EXPECT_TRUE(frame.SymbolCombo()->isEditable());

    ASSERT_TRUE(WaitForService());
    EXPECT_EQ(frame.StatusText(), "Connected to Kestrel...");
    // Without a symbol on the command line nothing is loaded, and Enter on blanks loads nothing.
    EnterInSymbolBox("    ");
    EnterInSymbolBox("");
    EXPECT_TRUE(frame.ChartView()->Symbol().empty());
    EXPECT_EQ(settings().GetText("CurrentSymbol"), "");
    EXPECT_TRUE(Stored("CurrentSymbol").isEmpty());
    EXPECT_TRUE(Stored("Symbols").isEmpty());
    EXPECT_EQ(frame.SymbolCombo()->count(), 0);
    EXPECT_TRUE(frame.Feed()->PendingWatches().empty());
    EXPECT_TRUE(frame.Feed()->WatchesInFlight().empty());
}

TEST_F(FrameTest, EachSymbolEnteredReplacesTheWatchAndLeadsTheRecentList) {
    CMainFrame& frame = OpenFrame();
    ASSERT_TRUE(WaitForService());
    EnterInSymbolBox("  luma \t");
    EXPECT_EQ(frame.ChartView()->Symbol(), "LUMA");
    EXPECT_EQ(Stored("CurrentSymbol"), "LUMA");

    // A second symbol replaces the first: it goes first in the recent list, and the first one
    // is no longer watched.
    EnterInSymbolBox("krno");
    EXPECT_EQ(Stored("CurrentSymbol"), "KRNO");
    EXPECT_EQ(Stored("Symbols"), "KRNO,LUMA");
    EnterInSymbolBox("Luma");
    EXPECT_EQ(Stored("Symbols"), "LUMA,KRNO");
    EXPECT_EQ(frame.SymbolCombo()->count(), 2);
    EXPECT_TRUE(WaitForServiceWatchCount(1));

    // The recent symbols and the current one come back with the next start.
    CloseFrame();
    CMainFrame& again = OpenFrame();
    ASSERT_EQ(again.SymbolCombo()->count(), 2);
    EXPECT_EQ(again.SymbolCombo()->itemText(0), "LUMA");
    EXPECT_EQ(again.SymbolCombo()->itemText(1), "KRNO");
    EXPECT_EQ(again.SymbolCombo()->currentText(), "LUMA");
}

TEST_F(FrameTest, CommandLineAppliesOnceWhenTheServiceIsReadyAndTheWorkspaceKeepsTheChart) {
    COrvaneCommandLineInfo commandLine;
    commandLine.Parse({"-symbol", "krno", "-type", "weekly", "-interval", "1-Hour"});
    CMainFrame& frame = OpenFrame(commandLine);
    // Nothing is applied before the service reports itself.
    EXPECT_TRUE(frame.ChartView()->Symbol().empty());
    ASSERT_TRUE(WaitForService());

    EXPECT_EQ(frame.ChartView()->Symbol(), "KRNO");
    EXPECT_EQ(Stored("CurrentSymbol"), "KRNO");
    EXPECT_EQ(Stored("RequestDataType"), "3");
    EXPECT_EQ(Stored("RequestIntervalIndex"), "9");
    EXPECT_EQ(frame.RequestTypeCombo()->currentText(), "Weekly");
    EXPECT_EQ(frame.IntervalCombo()->currentText(), "1-Hour");
    EXPECT_TRUE(WaitForServiceWatchCount(1));

    // The user moves on; a later "S,IP," does not bring the command line back.
    EnterInSymbolBox("luma");
    frame.OnServiceIp();
    EXPECT_EQ(frame.ChartView()->Symbol(), "LUMA");
    EXPECT_EQ(Stored("CurrentSymbol"), "LUMA");

    // The workspace stores the chart shown; an unknown one tells the user and opens nothing.
    ASSERT_TRUE(frame.SaveWorkspace("Morning/Desk"));
    const std::optional<std::string> stored = CWorkspaceStore::Load("Morning/Desk", "Skychart");
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(stored->rfind("-symbol LUMA -type Weekly -interval 1-Hour ", 0), 0U) << *stored;
    EXPECT_FALSE(CChartsApp::OpenWorkspace("Evening", m_prompt).has_value());
    ASSERT_FALSE(m_prompt.boxes.empty());
    EXPECT_EQ(m_prompt.boxes.back().caption, "Kestrel Workspace Create Error");
    EXPECT_EQ(m_prompt.boxes.back().text,
              "Unable to open workspace with name Evening in application Skychart. Error:2");
}

TEST_F(FrameTest, RibbonCombosAreStoredAndSelectedAtTheNextStart) {
    CMainFrame& frame = OpenFrame();
    frame.RequestTypeCombo()->setCurrentIndex(frame.RequestTypeCombo()->findText("Minute"));
    frame.IntervalCombo()->setCurrentIndex(frame.IntervalCombo()->findText("30-Minute"));
    frame.ChartStyleCombo()->setCurrentIndex(frame.ChartStyleCombo()->findText("OHLC"));
    frame.SearchModeCombo()->setCurrentIndex(1);
    EXPECT_EQ(Stored("RequestDataType"), "1");
    EXPECT_EQ(Stored("RequestIntervalIndex"), "7");
    EXPECT_EQ(Stored("Candle Price Chart Style"), "0");
    EXPECT_EQ(Stored("Search Type"), "1");
    EXPECT_EQ(StatusPane(frame, "Chart Type")->text(), "30-Minute OHLC");

    CloseFrame();
    CMainFrame& again = OpenFrame();
    EXPECT_EQ(again.RequestTypeCombo()->currentText(), "Minute");
    EXPECT_EQ(again.IntervalCombo()->currentText(), "30-Minute");
    EXPECT_EQ(again.ChartStyleCombo()->currentText(), "OHLC");
    EXPECT_EQ(again.SearchModeCombo()->currentIndex(), 1);
    // Filling the combos at start stores nothing new.
    EXPECT_EQ(Stored("RequestIntervalIndex"), "7");
}

} // namespace
} // namespace skychart::test

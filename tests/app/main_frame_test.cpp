// The real main frame against a real portico: creation, symbol entry, the command line applied
// when the service is ready, the ribbon combos stored in the real Skychart.conf, workspaces, and
// the status bar panes when the service drops or breaks a connection.

#include "frame_fixture.h"

#include "app/ui/charts_app.h"
#include "app/ui/ribbon_bar.h"
#include "app/ui/status_pane.h"
#include "chart/color_preset.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "core/setting_keys.h"
#include "feed/feed_connections.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLayout>
#include <QPalette>
#include <QStatusBar>

#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>

namespace skychart::test {
namespace {

CStatusPane* StatusPane(CMainFrame& frame, const QString& name) {
    return frame.statusBar()->findChild<CStatusPane*>(name);
}

class StatusBarTest : public FrameTest {
protected:
    void ExpectPanesReadableAt(CMainFrame& frame, QSize size);
};

// At `size`, the panes sit side by side within the status bar, and each shows its whole text or
// as much as fits with an ellipsis in the middle; the whole text is always in its tooltip.
void StatusBarTest::ExpectPanesReadableAt(CMainFrame& frame, QSize size) {
    frame.resize(size);
    ASSERT_TRUE(WaitFor([&] { return frame.size() == size; }));
    frame.statusBar()->layout()->activate();
    // The panes and the buttons beside them, left to right.
    QList<QWidget*> items;
    for (QWidget* item : frame.statusBar()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (item->isVisible() && (qobject_cast<CStatusPane*>(item) != nullptr ||
                                  qobject_cast<QAbstractButton*>(item) != nullptr)) {
            items.push_back(item);
        }
    }
    std::sort(items.begin(), items.end(), [](QWidget* a, QWidget* b) { return a->x() < b->x(); });
    EXPECT_EQ(frame.statusBar()->findChildren<CStatusPane*>().size(), 5);
    int right = 0;
    for (QWidget* item : items) {
        EXPECT_GE(item->x(), right) << item->objectName().toStdString();
        right = item->geometry().right();
        auto* pane = qobject_cast<CStatusPane*>(item);
        if (pane == nullptr) {
            continue;
        }
        const QString whole = pane->text();
        const QString shown = pane->ShownText();
        SCOPED_TRACE(whole.toStdString() + " at " + std::to_string(size.width()));
        EXPECT_EQ(pane->y(), items.front()->y());
        EXPECT_LE(pane->fontMetrics().horizontalAdvance(shown), pane->contentsRect().width());
        EXPECT_EQ(pane->toolTip(), whole);
        if (shown != whole) {
            const qsizetype dots = shown.indexOf(QChar(0x2026));
            ASSERT_GT(dots, 0) << shown.toStdString();
            EXPECT_TRUE(whole.startsWith(shown.left(dots)) && whole.endsWith(shown.mid(dots + 1)));
        }
    }
    EXPECT_LT(right, frame.statusBar()->width());
}

TEST_F(FrameTest, SymbolsEnteredAndRibbonCombosAreStoredAndComeBackAtTheNextStart) {
    CMainFrame& frame = OpenFrame();
    EXPECT_EQ(frame.StatusText(), "Ready...");
    const QList<QGroupBox*> panels =
        frame.Ribbon()->PanelsWithCaption(CMainFrame::kEnterPanelCaption);
    ASSERT_FALSE(panels.isEmpty());
    EXPECT_TRUE(panels.front()->isAncestorOf(frame.SymbolCombo()));
    ASSERT_TRUE(WaitForService());
    EXPECT_EQ(frame.StatusText(), "Connected to Kestrel...");
    // Without a symbol on the command line nothing is loaded, and Enter on blanks loads nothing.
    EnterInSymbolBox("    ");
    EXPECT_TRUE(frame.ChartView()->Symbol().empty() && Stored("CurrentSymbol").isEmpty());
    EXPECT_TRUE(frame.Feed()->PendingWatches().empty());
    // Each symbol entered replaces the watch of the one before and leads the recent list.
    EnterInSymbolBox("  luma \t");
    EXPECT_EQ(frame.ChartView()->Symbol(), "LUMA");
    EnterInSymbolBox("krno");
    EXPECT_EQ(Stored("Symbols"), "KRNO,LUMA");
    EnterInSymbolBox("Luma");
    EXPECT_EQ(Stored("CurrentSymbol"), "LUMA");
    EXPECT_EQ(Stored("Symbols"), "LUMA,KRNO");
    EXPECT_TRUE(WaitForServiceWatchCount(1));
    frame.RequestTypeCombo()->setCurrentIndex(frame.RequestTypeCombo()->findText("Minute"));
    frame.IntervalCombo()->setCurrentIndex(frame.IntervalCombo()->findText("30-Minute"));
    frame.ChartStyleCombo()->setCurrentIndex(frame.ChartStyleCombo()->findText("OHLC"));
    frame.SearchModeCombo()->setCurrentIndex(1);
    EXPECT_EQ(Stored("RequestDataType") + Stored("RequestIntervalIndex") +
                  Stored("Candle Price Chart Style") + Stored("Search Type"),
              "1701");
    EXPECT_EQ(StatusPane(frame, "Chart Type")->text(), "30-Minute OHLC");
    CloseFrame();
    CMainFrame& again = OpenFrame();
    ASSERT_EQ(again.SymbolCombo()->count(), 2);
    EXPECT_EQ(
        std::tuple(again.SymbolCombo()->itemText(1), again.SymbolCombo()->currentText(),
                   again.RequestTypeCombo()->currentText(), again.IntervalCombo()->currentText(),
                   again.ChartStyleCombo()->currentText(), again.SearchModeCombo()->currentIndex()),
        std::tuple("KRNO", "LUMA", "Minute", "30-Minute", "OHLC", 1));
    // Filling the combos at start stores nothing new.
    EXPECT_EQ(Stored("RequestIntervalIndex"), "7");
    // A desktop that turns dark and light again takes the chart's colours along, unstored.
    const auto background = [&] { return again.ChartView()->Canvas().Style().background; };
    const QPalette light = QApplication::palette();
    QPalette dark = light;
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);
    EXPECT_TRUE(WaitFor(
        [&] { return background() == PresetColor(EColorPreset::Dark, keys::kBackgroundColor); }));
    QApplication::setPalette(light);
    EXPECT_TRUE(WaitFor([&] { return background() == 0xFFFFFFu; }));
    EXPECT_TRUE(Stored("Background Color").isEmpty());
}

TEST_F(FrameTest, CommandLineAppliesOnceWhenTheServiceIsReadyAndAnUnknownWorkspaceIsTold) {
    COrvaneCommandLineInfo commandLine;
    commandLine.Parse({"-symbol", "krno", "-type", "weekly", "-interval", "1-Hour"});
    CMainFrame& frame = OpenFrame(commandLine);
    // Nothing is applied before the service reports itself.
    EXPECT_TRUE(frame.ChartView()->Symbol().empty());
    ASSERT_TRUE(WaitForService());
    EXPECT_EQ(std::tuple(frame.ChartView()->Symbol(), Stored("CurrentSymbol"),
                         Stored("RequestDataType"), Stored("RequestIntervalIndex"),
                         frame.RequestTypeCombo()->currentText(),
                         frame.IntervalCombo()->currentText()),
              std::tuple("KRNO", "KRNO", "3", "9", "Weekly", "1-Hour"));
    EXPECT_TRUE(WaitForServiceWatchCount(1));
    // (That it applies once: the command line tests. The workspace end-to-end test saves and
    // reopens a workspace.) An unknown one tells the user and opens nothing.
    EXPECT_FALSE(CChartsApp::OpenWorkspace("Evening", m_prompt).has_value());
    ASSERT_FALSE(m_prompt.boxes.empty());
    EXPECT_EQ(m_prompt.boxes.back().caption, "Kestrel Workspace Create Error");
    EXPECT_EQ(m_prompt.boxes.back().text,
              "Unable to open workspace with name Evening in application Skychart. Error:2");
}

TEST_F(StatusBarTest, ALostConnectionIsNamedInThePanesLoggedOnceAndElidedToFit) {
    const std::string reconnect = " - use Reconnect";
    const QString feedLost = "Feed lost - use Reconnect";
    auto log = std::make_shared<spdlog::sinks::ringbuffer_sink_mt>(4096);
    log->set_pattern("%v");
    spdlog::default_logger()->sinks().push_back(log);
    const auto logged = [&](const std::string& text) {
        const std::vector<std::string> lines = log->last_formatted();
        return std::count(lines.begin(), lines.end(), text + '\n');
    };
    // A line that can never end deafens the Level 1 connection as soon as it connects.
    UsePortico({"--fault-long-line"});
    CMainFrame& frame = OpenFrame();
    CStatusPane* connection = StatusPane(frame, "Connection");
    CStatusPane* feed = StatusPane(frame, "FeedState");
    ASSERT_TRUE(WaitFor([&] { return connection->text() == "Level 1 lost: a line over 64 KiB"; }))
        << connection->text().toStdString();
    EXPECT_EQ(feed->text(), feedLost);
    const std::string message = frame.StatusText();
    EXPECT_TRUE(message.starts_with("The market-data service sent a line longer")) << message;
    EXPECT_TRUE(message.ends_with(reconnect)) << message;
    // The panes are shown again as the service reports; each text was logged when it appeared.
    frame.OnServiceStatus("Connected");
    frame.OnServiceStatus("Connected");
    EXPECT_EQ(logged("Connection: Level 1 lost: a line over 64 KiB"), 1);
    EXPECT_EQ(logged("Feed: " + feedLost.toStdString()), 1);
    EXPECT_EQ(logged("StatusBar: " + message), 1);
    spdlog::default_logger()->sinks().pop_back();
    ExpectPanesReadableAt(frame, {1280, 800});
    // The message is too long for its room at this width, and keeps its end in view.
    const QString shown = frame.statusBar()->findChild<CStatusPane*>("StatusText")->ShownText();
    EXPECT_NE(shown.toStdString(), message);
    EXPECT_TRUE(shown.endsWith(QString::fromStdString(reconnect))) << shown.toStdString();
    ExpectPanesReadableAt(frame, {1600, 1000});
    ExpectPanesReadableAt(frame, {640, 480});
}

} // namespace
} // namespace skychart::test

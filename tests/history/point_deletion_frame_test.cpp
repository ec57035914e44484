// Deleting points of a chart loaded from the real portico and restoring them, in the real frame:
// through the pane menu and a click, with the questions answered from a script, and through the
// bus methods; the view, the studies and live following go on over the shorter series, and a
// restore brings the series back without doubled points.

#include "frame_fixture.h"

#include "app/ui/chart_bus_target.h"
#include "chart/point_deletion.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_stack_widget.h"
#include "core/data_types.h"
#include "history/point_time.h"
#include "studies/study_panes.h"
#include "trend/trend_line.h"
#include "trend/trend_lists.h"
#include "trend/ui/chart_trendlines.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <map>

namespace skychart::test {
namespace {

class PointDeletionFrameTest : public FrameTest {
protected:
    // Stores `values` in the open frame's settings and loads LUMA.
    void LoadLuma(const std::map<std::string, std::string>& values) {
        UseSettings(values);
        ASSERT_TRUE(WaitForService());
        EnterInSymbolBox("LUMA");
        ASSERT_TRUE(WaitForShown());
    }
    bool WaitForShown() {
        return WaitFor([this] { return View().HistoryShown(); }, std::chrono::seconds(120));
    }
    // Opens the frame on a portico whose market is closed for the weekend, so that nothing but
    // `arguments` (extra trades, say) changes the series.
    void OpenOnClosedMarket(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.end(), {"--start-time", "2024-03-09 12:00:00"});
        UsePortico(arguments);
        OpenFrame();
    }
    CChartFormView& View() { return *frame().ChartView(); }
    CChartCanvas& Canvas() { return View().Canvas(); }
    // Each point's time and close, oldest first.
    std::vector<std::tuple<double, int, double>> Points() {
        std::vector<std::tuple<double, int, double>> points;
        for (int i = 0; i < history().GetCount(); ++i) {
            sTICK p;
            history().GetTick(i, p);
            points.emplace_back(p.time.Days(), p.microseconds, p.close);
        }
        return points;
    }
    // Opens the price pane's menu and reads whether `command` is enabled; runs it when `run`.
    bool MenuCommand(const QString& command, bool run = false) {
        bool enabled = false;
        bool found = false;
        QTimer::singleShot(0, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (menu == nullptr) {
                return;
            }
            for (QAction* action : menu->actions()) {
                if (action->text() == command) {
                    found = true;
                    enabled = action->isEnabled();
                    if (run && enabled) {
                        action->trigger();
                    }
                }
            }
            menu->close();
        });
        const QPoint at(200, Canvas().LayoutResult().panes[0].top + 100);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, Canvas().Stack().mapToGlobal(at));
        QCoreApplication::sendEvent(&Canvas().Stack(), &event);
        EXPECT_TRUE(found) << command.toStdString();
        return enabled;
    }
    // A left press on the price pane at slot `slot` of the displayed points.
    void ClickSlot(double slot) {
        const QPointF at(Canvas().Stack().Pane(0).SlotToPixelX(slot),
                         Canvas().LayoutResult().panes[0].top + 100.0);
        QMouseEvent press(QEvent::MouseButtonPress, at, at, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&Canvas().Stack(), &press);
    }
};

TEST_F(PointDeletionFrameTest, ABarClickedAndConfirmedIsDeletedAndTheRestoreBringsAllBack) {
    OpenOnClosedMarket();
    LoadLuma({{"RequestDataType", "2"}, {"RequestDatapoints", "300,40,500,10,6"}});
    const auto original = Points();
    ASSERT_EQ(original.size(), 500u);
    const std::string shown = "500 datapoints available.  Displaying 120.";
    ASSERT_EQ(frame().StatusText(), shown);
    EXPECT_TRUE(MenuCommand("Delete Tick/Bar"));
    EXPECT_FALSE(MenuCommand("Restore Bars"));
    // Nothing deleted: a restore asks nothing and does nothing.
    EXPECT_TRUE(!View().RestorePoints(true) && m_prompt.boxes.empty());
    // The mode says what to do, and the read-outs of the mouse wait behind its prompt.
    const std::string prompt = "Click on the bar to delete (Right click to cancel)";
    ASSERT_TRUE(MenuCommand("Delete Tick/Bar", true) && View().PointDeletionActive());
    EXPECT_EQ(frame().StatusText(), prompt);
    QMouseEvent move(QEvent::MouseMove, QPointF(300, 150), QPointF(300, 150), Qt::NoButton,
                     Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&Canvas().Stack(), &move);
    QTest::qWait(CChartCanvas::kReadOutPeriodMs * 3);
    EXPECT_EQ(frame().StatusText(), prompt);
    // No: the question showed the bar under the click, and nothing changed but the mode.
    const int first = Canvas().DrawManager().Displayed().first;
    ASSERT_EQ(first, 380);
    sTICK bar;
    history().GetTick(first + 60, bar);
    m_prompt.answers = {false};
    ClickSlot(60.2);
    ASSERT_EQ(m_prompt.boxes.size(), 1u);
    const SQuestionText asked =
        DeletionQuestion(bar, kDays, Canvas().DrawManager().Volume(first + 60));
    EXPECT_EQ(m_prompt.Texts().back(), asked.caption + "|" + asked.text);
    EXPECT_FALSE(View().PointDeletionActive());
    EXPECT_EQ(Points(), original);
    EXPECT_FALSE(View().PointsDeleted());
    EXPECT_NE(frame().StatusText(), prompt);
    // A right click or Escape leaves the mode without a question; a click beside the bars asks
    // nothing and stays in it.
    for (const int way : {0, 1}) {
        ASSERT_TRUE(View().StartPointDeletion());
        if (way == 0) {
            QContextMenuEvent right(QContextMenuEvent::Mouse, QPoint(300, 150), QPoint(300, 150));
            QCoreApplication::sendEvent(&Canvas().Stack(), &right);
        } else {
            QTest::keyClick(&Canvas(), Qt::Key_Escape);
        }
        EXPECT_FALSE(View().PointDeletionActive()) << way;
    }
    ASSERT_TRUE(View().StartPointDeletion());
    ClickSlot(-3.0);
    EXPECT_TRUE(View().PointDeletionActive());
    EXPECT_EQ(m_prompt.boxes.size(), 1u);
    // Trendline drawing takes the chart from the mode, and the mode from trendline drawing.
    CChartTrendlines& trendlines = *frame().Trendlines();
    ASSERT_TRUE(trendlines.Add(ETrendKind::Sloping, {TrendPointAt(history(), 450, 150.0),
                                                     TrendPointAt(history(), 470, 160.0)}));
    trendlines.StartDrawing(ETrendKind::Horizontal);
    EXPECT_FALSE(View().PointDeletionActive());
    ASSERT_TRUE(View().StartPointDeletion());
    EXPECT_EQ(trendlines.Placement(), nullptr);
    EXPECT_EQ(frame().StatusText(), prompt);
    // Yes: the bar is gone from the series, the panes and the studies, which compute again;
    // the trendline after it finds its bars again.
    m_prompt.answers = {true};
    ClickSlot(60.0);
    EXPECT_EQ(trendlines.Lists().All().at(0)->Points().at(0).bar, 449.0);
    EXPECT_EQ(history().GetCount(), 499);
    auto expected = original;
    expected.erase(expected.begin() + 440);
    EXPECT_EQ(Points(), expected);
    EXPECT_TRUE(View().PointsDeleted());
    EXPECT_EQ(frame().StatusText(), "499 datapoints available.  Displaying 120.");
    const SDisplayedBars& displayed = Canvas().DrawManager().Displayed();
    EXPECT_EQ(displayed.first + displayed.Count(), 499) << "the newest bars stay in view";
    EXPECT_EQ(std::count(displayed.times.begin(), displayed.times.end(), bar.time), 0);
    const auto* studies = dynamic_cast<const CStudyPanes*>(Canvas().Studies());
    ASSERT_NE(studies, nullptr);
    EXPECT_TRUE(WaitFor([&] { return studies->Current().Inputs().Count() == 499; }));
    // No to the restore question keeps it all; Yes brings the whole series back once, shown
    // where the scroll bar stood.
    EXPECT_TRUE(MenuCommand("Restore Bars"));
    m_prompt.answers = {false};
    MenuCommand("Restore Bars", true);
    EXPECT_EQ(m_prompt.Texts().back(), "Restoring intervals|Restore deleted intervals?");
    EXPECT_EQ(Points(), expected);
    EXPECT_TRUE(View().PointsDeleted());
    Canvas().ScrollBar()->setValue(100);
    m_prompt.answers = {true};
    MenuCommand("Restore Bars", true);
    EXPECT_FALSE(View().PointsDeleted());
    ASSERT_TRUE(WaitForShown());
    EXPECT_EQ(std::tuple(Points(), Canvas().Range().FirstIndex()), std::tuple(original, 100));
    EXPECT_EQ(std::tuple(frame().StatusText(), m_prompt.boxes.size()), std::tuple(shown, 4u));
}

TEST_F(PointDeletionFrameTest, TheBusDeletesByTimeLiveTicksFollowAndARestoreAnswersWhenItIsIn) {
    // Only the service's extra trades come, four in five seconds; the history answer stays.
    OpenOnClosedMarket({"--stress-rate", "5"});
    CChartBusTarget bus(frame(), settings());
    const auto error = [](const SBusMethodResult& result) {
        EXPECT_FALSE(result.errorMessage.empty()) << result.errorName;
        return result.errorName;
    };
    const std::string noChart = "org.skychart.Chart.Error.NoChart";
    LoadLuma({{"RequestDataType", "0"},
              {"RequestRecentType", "0,3,6,8,9"},
              {"RequestDatapoints", "300,40,500,10,6"},
              {"RequestEnableExtendedTrades", "1,0,0,0,0"}});
    ASSERT_TRUE(WaitFor([&] { return history().GetCount() > 300; })) << "no live ticks";
    // 40 of the answer's ticks, one after another at the same place.
    for (int i = 0; i < 40; ++i) {
        std::array<SPointTime, 1> time{};
        history().FillTimes(10, time);
        const int before = history().GetCount();
        const SBusMethodResult deleted = bus.BusDeletePoint(FormatPointTime(time[0], true));
        ASSERT_EQ(deleted.errorName, "") << deleted.errorMessage;
        EXPECT_EQ(deleted.value, before - 1);
    }
    EXPECT_TRUE(View().PointsDeleted());
    // Live ticks are drawn as they come, not only once the series is as long as before.
    const int after = history().GetCount();
    ASSERT_TRUE(WaitFor([&] { return Canvas().Range().PointCount() > after; }));
    EXPECT_LT(Canvas().Range().PointCount(), after + 40);
    // The restore answers once the history is in again. (That it brings every point back once:
    // the click test above and the bus end-to-end test.)
    std::vector<SBusMethodResult> answers;
    bus.BusRestorePoints([&](const SBusMethodResult& result) { answers.push_back(result); });
    EXPECT_TRUE(answers.empty());
    bus.BusRestorePoints([&](const SBusMethodResult& result) { answers.push_back(result); });
    ASSERT_EQ(answers.size(), 1u) << "a second restore while loading answers at once";
    EXPECT_EQ(error(answers[0]), noChart);
    ASSERT_TRUE(WaitFor([&] { return answers.size() == 2; }));
    EXPECT_EQ(answers[1].errorName, "") << answers[1].errorMessage;
    EXPECT_GE(answers[1].value, 300);
    // The history of a new load clears the flag of deleted points.
    ASSERT_TRUE(View().DeletePointAt(0));
    frame().LoadSymbol("AURX");
    EXPECT_TRUE(View().PointsDeleted());
    ASSERT_TRUE(WaitForShown());
    EXPECT_FALSE(View().PointsDeleted());
    // A load that replaces a restore fails it.
    ASSERT_TRUE(View().DeletePointAt(0));
    bus.BusRestorePoints([&](const SBusMethodResult& result) { answers.push_back(result); });
    frame().LoadSymbol("LUMA");
    ASSERT_EQ(answers.size(), 3u);
    EXPECT_EQ(answers[2].errorName, "org.skychart.Chart.Error.Failed");
    EXPECT_NE(answers[2].errorMessage.find("replaced"), std::string::npos);
}

} // namespace
} // namespace skychart::test

// Trendlines in the real frame over a chart loaded from the real portico: each kind placed click
// by click with its prompts and a rubber band, a right click cancelling at any step, a trendline
// flashing while its deletion is asked and removed only on Yes, and deleting all.

#include "frame_fixture.h"

#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_stack_widget.h"
#include "core/timers.h"
#include "trend/ui/chart_trendlines.h"

#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QTimer>

namespace skychart::test {
namespace {

class TrendFrameTest : public FrameTest {
protected:
    void LoadLuma() {
        UseSettings({{"RequestDataType", "2"}, {"RequestDatapoints", "300,40,500,10,6"}});
        ASSERT_TRUE(WaitForService());
        EnterInSymbolBox("LUMA");
        ASSERT_TRUE(
            WaitFor([this] { return Trend().Chart().has_value(); }, std::chrono::seconds(120)));
    }
    CChartCanvas& Canvas() { return frame().ChartView()->Canvas(); }
    CChartTrendlines& Trend() { return *frame().Trendlines(); }
    // The stack point of slot `slot` and price `price` of the price pane.
    QPointF At(double slot, double price) {
        const CChart2D& pane = Canvas().Stack().Pane(0);
        return {pane.SlotToPixelX(slot), Canvas().LayoutResult().panes[0].top +
                                             pane.ValueToPixelY(price, CChart2D::EAxis::Y)};
    }
    double MidPrice() {
        const auto range = Canvas().Stack().Pane(0).AxisRange(CChart2D::EAxis::Y);
        return (range.min + range.max) / 2.0;
    }
    void Send(QEvent::Type type, QPointF at, Qt::MouseButton button = Qt::LeftButton) {
        QMouseEvent event(type, at, at, button, button, Qt::NoModifier);
        QCoreApplication::sendEvent(&Canvas().Stack(), &event);
    }
    void RightClick() {
        const QPoint at(200, 200);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, Canvas().Stack().mapToGlobal(at));
        QCoreApplication::sendEvent(&Canvas().Stack(), &event);
    }
};

TEST_F(TrendFrameTest, EachKindIsPlacedClickByClickAndARightClickCancelsAtAnyStep) {
    OpenFrame();
    LoadLuma();
    const double price = MidPrice();
    int placed = 0;
    for (const STrendKindInfo& info : TrendKindTable()) {
        SCOPED_TRACE(info.name);
        // Cancelled after each number of clicks short of the last: nothing is made.
        for (int cancelAfter = 0; cancelAfter < info.clicks; ++cancelAfter) {
            Trend().StartDrawing(info.kind);
            for (int click = 0; click < cancelAfter; ++click) {
                Send(QEvent::MouseButtonPress, At(10 + 20 * click, price + click));
            }
            EXPECT_EQ(frame().StatusText(), info.prompts[static_cast<std::size_t>(cancelAfter)]);
            RightClick();
            EXPECT_EQ(std::tuple(Trend().Placement(), Canvas().ClickTool(), frame().StatusText()),
                      std::tuple(nullptr, nullptr, ""));
            EXPECT_EQ(Trend().Lists().Count(), placed);
        }
        Trend().StartDrawing(info.kind);
        for (int click = 0; click < info.clicks; ++click) {
            Send(QEvent::MouseButtonPress, At(10 + 20 * click, price + click));
            if (click + 1 < info.clicks) {
                // The line being placed follows the mouse, and the read-outs wait behind the
                // prompt.
                Send(QEvent::MouseMove, At(90, price));
                EXPECT_EQ(frame().StatusText(), info.prompts[static_cast<std::size_t>(click) + 1]);
                EXPECT_EQ(Canvas().DrawManager().Items(0).Items().size(),
                          static_cast<std::size_t>(placed) + 2);
            }
        }
        ++placed;
        EXPECT_EQ(Trend().Lists().Count(), placed);
        EXPECT_EQ(Canvas().ClickTool(), nullptr);
        const auto& points = Trend().Lists().List(info.kind).Trendlines().back()->Points();
        ASSERT_EQ(points.size(), static_cast<std::size_t>(info.clicks));
        EXPECT_EQ(points[0].bar, Canvas().DrawManager().View().first + 10);
        EXPECT_NEAR(points[0].price, price, 0.01 * price);
    }
    // The price data, then the seven trendlines.
    EXPECT_EQ(Canvas().DrawManager().Items(0).Items().size(), 8u);
}

TEST_F(TrendFrameTest, DraggedWholeBarsAndDeletedOnYesOnlyAfterFlashing) {
    OpenFrame();
    LoadLuma();
    const double price = MidPrice();
    for (const ETrendKind kind : {ETrendKind::Horizontal, ETrendKind::Sloping}) {
        Trend().StartDrawing(kind);
        Send(QEvent::MouseButtonPress, At(20, price));
        Send(QEvent::MouseButtonPress, At(60, kind == ETrendKind::Sloping ? price * 1.01 : price));
    }
    const auto horizontal = Trend().Lists().List(ETrendKind::Horizontal).Trendlines()[0];
    // A press on a line drags it, whole bars at a time, instead of scrolling the chart; the drag's
    // end stores its new bars' times.
    const std::vector<STrendPoint> before = horizontal->Points();
    const int position = Canvas().Range().Position();
    Send(QEvent::MouseButtonPress, At(40, price));
    Send(QEvent::MouseMove, At(41.4, price * 1.02));
    Send(QEvent::MouseMove, At(43.2, price * 1.02));
    Send(QEvent::MouseButtonRelease, At(43.2, price * 1.02));
    EXPECT_EQ(Canvas().Range().Position(), position);
    const std::vector<STrendPoint> after = horizontal->Points();
    for (std::size_t i = 0; i < after.size(); ++i) {
        EXPECT_EQ(after[i].bar, before[i].bar + 3);
        EXPECT_NEAR(after[i].price, price * 1.02, price * 0.002);
        EXPECT_TRUE(after[i].time.time == TimeOfBar(history(), after[i].bar).time);
    }
    // While the question is asked the line flashes by its timer; No keeps it drawn normally.
    int toggles = 0;
    m_prompt.whileAsked = [&] {
        EXPECT_TRUE(Trend().FlashTimer().isActive());
        EXPECT_EQ(frame().StatusText(), "Confirm the trendline deleting");
        bool last = horizontal->Highlighted();
        EXPECT_TRUE(last);
        WaitFor(
            [&] {
                toggles += horizontal->Highlighted() != last ? 1 : 0;
                last = horizontal->Highlighted();
                return toggles >= 2;
            },
            std::chrono::seconds(5));
    };
    m_prompt.answers = {false};
    Trend().StartDeleting();
    EXPECT_EQ(frame().StatusText(), "Click on a trendline to delete (Right click to cancel)");
    Send(QEvent::MouseButtonPress, At(30, price * 1.02));
    ASSERT_EQ(m_prompt.Texts(),
              std::vector<std::string>{"Delete Trendline|Delete flashing trendline?"});
    m_prompt.whileAsked = nullptr;
    EXPECT_EQ(std::tuple(toggles, Trend().Lists().Count()), std::tuple(2, 2));
    EXPECT_FALSE(horizontal->Highlighted());
    EXPECT_EQ(std::tuple(Trend().FlashTimer().isActive(), Trend().FlashTimer().objectName(),
                         Trend().FlashTimer().interval()),
              std::tuple(false, QString::number(timers::kFlashId), 500));
    EXPECT_EQ(frame().StatusText(), "");
    // Yes removes it; a click on nothing in the delete mode asks nothing.
    m_prompt.answers = {true};
    Trend().StartDeleting();
    Send(QEvent::MouseButtonPress, At(100, price * 0.5));
    EXPECT_EQ(m_prompt.boxes.size(), 1u);
    Send(QEvent::MouseButtonPress, At(30, price * 1.02));
    EXPECT_EQ(Trend().Lists().Count(), 1);
    EXPECT_EQ(Trend().Lists().List(ETrendKind::Horizontal).Trendlines().size(), 0u);
    // "Delete all trendlines?": No keeps them, Yes removes them. (Kept in their file and drawn
    // again after a restart: the trendline file test and the bus and alert end-to-end tests.)
    m_prompt.answers = {false, true};
    EXPECT_EQ(Trend().DeleteAll(), 0);
    EXPECT_EQ(Trend().DeleteAll(), 1);
    EXPECT_EQ(std::tuple(m_prompt.boxes.back().text, Trend().Lists().Count()),
              std::tuple("Delete all trendlines?", 0));
}

} // namespace
} // namespace skychart::test

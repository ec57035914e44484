// The chart canvas as the view uses it: the settings' colours on every pane, the keys going
// through the displayed points that persist, the pane commands surviving a restart,
// the read-outs of the bar under the mouse, and the info tip that shows them.

#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_info_tip.h"
#include "chart/ui/chart_stack_widget.h"
#include "core/data_types.h"
#include "core/setting_keys.h"
#include "history/chart_hist_request.h"
#include "history_bars.h"
#include "settings_table.h"
#include "studies/study_panes.h"

#include "pixels.h"

#include <gtest/gtest.h>

#include <QEventLoop>
#include <QFontMetrics>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTimer>

namespace {

constexpr ColorRef kBackground = MakeColorRef(255, 250, 205);
constexpr ColorRef kUp = MakeColorRef(0, 120, 255);
constexpr ColorRef kDown = MakeColorRef(255, 120, 0);

class ChartCanvasTest : public ::testing::Test {
protected:
    void SetUp() override {
        settings.SetInt(keys::kNumberOfStudyCharts, 2);
        settings.SetText(keys::kBackgroundColor, std::to_string(kBackground));
        settings.SetText(keys::kPriceUpCandleColor, std::to_string(kUp));
        settings.SetText(keys::kPriceDownCandleColor, std::to_string(kDown));
        for (int i = 0; i < 500; ++i) {
            history.AppendTick(MakeBar(DayAfter(2024, 1, 1, i), 100.0 + (i % 7), 108.0, 99.0,
                                       100.0 + ((i * 3) % 7), 0, 1000));
        }
    }
    std::unique_ptr<CChartCanvas> Open() {
        auto canvas = std::make_unique<CChartCanvas>(history, settings);
        canvas->resize(900, 600);
        canvas->SetSeries("LUMA", kDays, 0);
        canvas->LoadSettings();
        canvas->SetPointCount(history.GetCount(), true);
        canvas->RedrawAll();
        return canvas;
    }
    static void Press(CChartCanvas& canvas, int key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&canvas, &event);
    }
    skychart::test::SettingsTable settings;
    CChartHistRequest history;
};

TEST_F(ChartCanvasTest, TheSettingsColoursShowOnEveryPaneAndTheKeysStoreTheZoom) {
    auto canvas = Open();
    ASSERT_EQ(canvas->LayoutResult().panes.size(), 3U);
    const QImage image = canvas->Stack().RenderImage();
    for (const SPaneRect& pane : canvas->LayoutResult().panes) {
        const QRect area(0, pane.top, image.width(), pane.height);
        EXPECT_GT(Count(image, kBackground, area), area.width() * area.height() / 4)
            << "pane at " << pane.top;
    }
    const SPaneRect& price = canvas->LayoutResult().panes[0];
    const QRect priceArea(0, price.top, image.width(), price.height);
    EXPECT_GT(Count(image, kUp, priceArea), 100);
    EXPECT_GT(Count(image, kDown, priceArea), 100);
    // The keys and the scroll bar move the range. (The wheel: the chart end-to-end test.)
    EXPECT_EQ(canvas->Range().DisplayedPoints(), 120);
    Press(*canvas, Qt::Key_Plus);
    EXPECT_EQ(canvas->Range().DisplayedPoints(), 90);
    EXPECT_EQ(settings.GetInt(keys::kPtsIndex), 2);
    Press(*canvas, Qt::Key_Home);
    EXPECT_EQ(canvas->Range().FirstIndex(), 0);
    EXPECT_EQ(canvas->ScrollBar()->value(), 0);
    canvas->ScrollBar()->setValue(17);
    EXPECT_EQ(canvas->Range().FirstIndex(), 17);
    // On the Percent scale the first bar's close is 0% (bar 17 closes at 102, bar 23 at 106).
    canvas->SetPriceScale(EPriceScale::Percent);
    EXPECT_EQ(settings.GetInt(keys::kPriceScale), 2);
    const auto base = [&] { return canvas->Stack().Pane(0).ValueScale(CChart2D::EAxis::Y).Base(); };
    EXPECT_EQ(base(), 102.0);
    // A dragged thumb is tracked until it is let go, and the base is held until then.
    EXPECT_FALSE(canvas->Range().IsTracking());
    canvas->ScrollBar()->setSliderDown(true);
    canvas->ScrollBar()->setValue(23);
    EXPECT_TRUE(canvas->Range().IsTracking());
    EXPECT_EQ(std::tuple(canvas->Range().FirstIndex(), base()), std::tuple(23, 102.0));
    canvas->ScrollBar()->setSliderDown(false);
    EXPECT_FALSE(canvas->Range().IsTracking());
    EXPECT_EQ(std::tuple(canvas->Range().FirstIndex(), base()), std::tuple(23, 106.0));
}

// The layout is stored in the settings as the panes are minimised, maximised, restored and their
// borders dragged, and a canvas opened again shows it.
TEST_F(ChartCanvasTest, PaneCommandsAndBorderDragsSurviveARestart) {
    auto canvas = Open();
    canvas->MinimizePane(1);
    EXPECT_EQ(canvas->LayoutResult().panes[1].height, CChartCanvas::kMinimizedHeight);
    EXPECT_EQ(settings.GetText(keys::Numbered(keys::kChartMinimized, 1)), "1");
    auto reopened = Open();
    EXPECT_EQ(reopened->LayoutResult().panes[1].height, CChartCanvas::kMinimizedHeight);
    reopened->RestorePane(1);
    reopened->MaximizePane(2);
    EXPECT_EQ(settings.GetInt(keys::kMaximizedChartIndex), 2);
    EXPECT_EQ(Open()->Layout().maximized, 2);
    reopened->RestorePane(2);
    EXPECT_EQ(settings.GetText(keys::kMaximizedChartIndex), "999");
    // Dragging the border above pane 1 to row 300 stores its new top.
    const int border = reopened->LayoutResult().panes[1].top;
    const auto mouse = [&](QEvent::Type type, int y, Qt::MouseButtons buttons) {
        QMouseEvent event(type, QPointF(200, y), QPointF(200, y), Qt::LeftButton, buttons,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&reopened->Stack(), &event);
    };
    // The border is grabbed a few pixels off it, where the cursor says so.
    mouse(QEvent::MouseMove, border + 5, Qt::NoButton);
    EXPECT_EQ(reopened->Stack().cursor().shape(), Qt::SplitVCursor);
    mouse(QEvent::MouseButtonPress, border + 5, Qt::LeftButton);
    mouse(QEvent::MouseMove, 300, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, 300, Qt::NoButton);
    EXPECT_EQ(reopened->LayoutResult().panes[1].top, 300);
    const double stored = settings.GetNumber(keys::Numbered(keys::kTopOfChart, 1));
    EXPECT_NEAR(stored, 300.0 / reopened->LayoutResult().paneAreaHeight, 1e-9);
    EXPECT_EQ(Open()->LayoutResult().panes[1].top, 300);
}

// Ten study panes on a low view keep readable panes and scroll; on a tall one they follow the
// tops and the scroll bar goes. The stored tops are not touched by either.
TEST_F(ChartCanvasTest, TenStudyPanesScrollRatherThanSqueeze) {
    settings.SetInt(keys::kNumberOfStudyCharts, 10);
    auto canvas = Open();
    const std::string top5 = settings.GetText(keys::Numbered(keys::kTopOfChart, 5));
    QScrollBar* bar = canvas->PaneScrollBar();
    for (const int height : {400, 1100}) {
        canvas->resize(900, height); // not shown: no resize event
        canvas->Relayout();
        const SPaneLayoutResult& layout = canvas->LayoutResult();
        const int content = layout.contentHeight;
        EXPECT_EQ(canvas->Stack().height(), content);
        EXPECT_EQ(layout.panes.back().Bottom(), content);
        for (int pane = 1; pane <= 10; ++pane) {
            EXPECT_GE(layout.panes[static_cast<std::size_t>(pane)].height, canvas->MinPaneHeight())
                << pane;
        }
        EXPECT_EQ(bar->isHidden(), content <= layout.paneAreaHeight) << height;
        EXPECT_EQ(bar->maximum(), std::max(0, content - layout.paneAreaHeight));
    }
    EXPECT_TRUE(bar->isHidden()); // 1100 pixels are enough
    canvas->resize(900, 400);
    canvas->Relayout();
    ASSERT_FALSE(bar->isHidden());
    bar->setValue(bar->maximum());
    EXPECT_EQ(canvas->Stack().y(), -bar->maximum());
    EXPECT_EQ(settings.GetText(keys::Numbered(keys::kTopOfChart, 5)), top5);
}

// Runs the event loop until a timer started now after the read-out's own has fired: the read-out
// timer, started earlier and due sooner, has fired by then.
void AfterReadOut() {
    QEventLoop loop;
    QTimer::singleShot(CChartCanvas::kReadOutPeriodMs * 2, &loop, &QEventLoop::quit);
    loop.exec();
}

TEST_F(ChartCanvasTest, TheMouseReadsOutTheBarUnderItWithEveryStudy) {
    settings.SetInt(keys::Numbered(keys::kTypeOfStudyChart, 0), kStudyRSI);
    settings.SetInt(keys::kMAsShow, 1);
    const auto canvas = Open();
    canvas->SetStudies(std::make_unique<CStudyPanes>(SUpperStudySettings::Read(settings),
                                                     SStudySettings::Read(settings)));
    canvas->ComputeStudies();
    canvas->FinishStudies();
    std::vector<QString> statuses;
    QObject::connect(canvas.get(), &CChartCanvas::statusText,
                     [&](const QString& text) { statuses.push_back(text); });
    const auto move = [&](QPointF at) {
        QMouseEvent event(QEvent::MouseMove, at, at, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&canvas->Stack(), &event);
        AfterReadOut();
    };
    // The middle of the price pane: the bar of that slot in the newest 120.
    const CChart2D& price = canvas->Stack().Pane(0);
    const double x = price.SlotToPixelX(60.0);
    move({x, 100.0});
    const int bar = canvas->DrawManager().Displayed().first + 60;
    ASSERT_EQ(canvas->CursorBar(), bar);
    EXPECT_EQ(statuses, (std::vector<QString>{"Making Info Text...", "Ready..."}));
    // The price bar names the chart and shows the bar's fields, the averages' among them; the tip
    // shows the bar's information, the RSI's with it.
    EXPECT_NE(canvas->PriceBarText().find("Daily Price: LUMA"), std::string::npos);
    EXPECT_NE(canvas->PriceBarText().find(canvas->DrawManager().PriceBarFields(bar).back()),
              std::string::npos);
    const std::string info = canvas->DrawManager().InfoText(bar);
    EXPECT_NE(info.find("\nRSI: "), std::string::npos);
    EXPECT_EQ(canvas->InfoText(), info);
    EXPECT_FALSE(canvas->InfoTip().isHidden());
    EXPECT_EQ(canvas->InfoTip().Text().toStdString(), info);
    // The crosshair runs through both panes; the value line only in the pane under the mouse.
    const auto* stack = &canvas->Stack();
    EXPECT_EQ(stack->Crosshair(0).slot, 60.0);
    EXPECT_TRUE(stack->Crosshair(0).horizontal && stack->Crosshair(1).visible);
    EXPECT_FALSE(stack->Crosshair(1).horizontal);
    // The next bar: the read-outs follow without another pair of status texts.
    move({price.SlotToPixelX(61.0), 100.0});
    EXPECT_EQ(std::tuple(canvas->CursorBar(), statuses.size()), std::tuple(bar + 1, 2U));
    // Right of the newest bar there is no bar to read out: the price bar names the chart only.
    move({canvas->Stack().width() - 2.0, 100.0});
    EXPECT_EQ(canvas->CursorBar(), kNoCursorBar);
    EXPECT_EQ(canvas->PriceBarText(), "Daily Price: LUMA");
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&canvas->Stack(), &leave);
    AfterReadOut();
    EXPECT_EQ(canvas->CursorBar(), kNoCursorBar);
    EXPECT_TRUE(canvas->InfoTip().isHidden() && !stack->Crosshair(0).visible);
}

// The info tip: beside the cursor, flipped to its other side at the parent's right and bottom
// edges, always inside the parent, and drawn as a light box with the text.
TEST(ChartInfoTip, SitsBesideTheCursorAndFlipsWhereItWouldLeaveTheParent) {
    QWidget parent;
    parent.resize(400, 300);
    CChartInfoTip tip(&parent);
    constexpr int gap = CChartInfoTip::kCursorGap;
    const QString text = "Price: 101.25\nVolume: 1200\nTime: 09:31:00";
    tip.ShowAt({50, 40}, text);
    ASSERT_FALSE(tip.isHidden());
    EXPECT_EQ(tip.Text(), text);
    EXPECT_GE(tip.height(), 3 * QFontMetrics(tip.font()).lineSpacing());
    EXPECT_GE(tip.width(), QFontMetrics(tip.font()).horizontalAdvance("Time: 09:31:00"));
    EXPECT_EQ(tip.pos(), QPoint(50 + gap, 40 + gap));
    EXPECT_TRUE(tip.testAttribute(Qt::WA_TransparentForMouseEvents));
    // At the right edge it goes left of the cursor, at the bottom above it.
    tip.ShowAt({390, 40}, text);
    EXPECT_EQ(std::tuple(tip.geometry().right(), tip.y()), std::tuple(390 - gap - 1, 40 + gap));
    tip.ShowAt({60, 295}, text);
    EXPECT_EQ(std::tuple(tip.x(), tip.geometry().bottom()), std::tuple(60 + gap, 295 - gap - 1));
    tip.ShowAt({390, 295}, text);
    EXPECT_EQ(tip.geometry().bottomRight(), QPoint(390 - gap - 1, 295 - gap - 1));
    // Where neither side has room it keeps to the parent's edge.
    tip.ShowAt({200, 150}, QString(40, QLatin1Char('8')) + "\n1");
    ASSERT_GT(tip.width(), 200 - gap);
    EXPECT_EQ(tip.x(), 0);
    EXPECT_TRUE(parent.rect().contains(tip.geometry()));
    // Larger than the parent: from its top-left corner.
    tip.ShowAt({200, 150}, QString(400, QLatin1Char('8')));
    EXPECT_EQ(tip.pos(), QPoint(0, 150 + gap));
    // A light box with a border and dark text.
    tip.ShowAt({50, 40}, text);
    const QImage image = tip.grab().toImage();
    EXPECT_GT(qGray(image.pixel(image.width() - 3, image.height() - 3)), 200);
    EXPECT_LT(qGray(image.pixel(0, image.height() / 2)), 200);
    int dark = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 2; x < image.width() - 2; ++x) {
            dark += qGray(image.pixel(x, y)) < 100 ? 1 : 0;
        }
    }
    EXPECT_GT(dark, 30);
    tip.ShowAt({50, 40}, QString());
    EXPECT_TRUE(tip.isHidden());
}

} // namespace

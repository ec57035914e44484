#include "chart/ui/chart_canvas.h"

#include "chart/chart_print.h"
#include "chart/chart_style.h"
#include "chart/chart_view_settings.h"
#include "chart/ui/chart_info_tip.h"
#include "chart/ui/chart_stack_widget.h"
#include "chart/value_ticks.h"
#include "core/data_types.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"

#include <QScrollBar>

#include <cmath>

#include <fmt/format.h>

CChartCanvas::CChartCanvas(const CChartHistRequest& history, CSettings& settings, QWidget* parent)
    : QWidget(parent), m_history(history), m_settings(settings), m_draw(history) {
    setObjectName("ChartCanvas");
    setFocusPolicy(Qt::StrongFocus);
    m_viewport = new QWidget(this);
    m_viewport->setObjectName("ChartViewport");
    m_stack = new CChartStackWidget(m_viewport);
    m_stack->setObjectName("ChartStack");
    m_stack->setFocusPolicy(Qt::NoFocus);
    m_stack->setMouseTracking(true);
    m_stack->installEventFilter(this);
    m_scrollBar = new QScrollBar(Qt::Horizontal, this);
    m_scrollBar->setObjectName("ChartScrollBar");
    m_scrollBar->setFocusPolicy(Qt::NoFocus);
    connect(m_scrollBar, &QScrollBar::valueChanged, this, [this](int value) {
        if (m_syncing) {
            return;
        }
        // A dragged thumb is tracked until it is released.
        const bool moved = m_scrollBar->isSliderDown()
                               ? m_range.Scroll(CDisplayRange::EScrollRequest::ThumbTrack, value)
                               : m_range.SetPosition(value);
        if (moved) {
            RedrawAll();
        }
    });
    connect(m_scrollBar, &QScrollBar::sliderReleased, this, [this] {
        // The Percent scale takes its base from the first bar once the scroll ends.
        if (m_range.Scroll(CDisplayRange::EScrollRequest::ThumbPosition, m_scrollBar->value()) ||
            m_draw.PriceScale().HasBase()) {
            RedrawAll();
        }
    });
    m_paneScrollBar = new QScrollBar(Qt::Vertical, this);
    m_paneScrollBar->setObjectName("PaneScrollBar");
    m_paneScrollBar->setFocusPolicy(Qt::NoFocus);
    m_paneScrollBar->hide();
    connect(m_paneScrollBar, &QScrollBar::valueChanged, this,
            [this](int value) { m_stack->move(0, -value); });
    m_tip = new CChartInfoTip(this);
    m_tip->hide();
    m_studyPoll.setInterval(kStudyPollMs);
    connect(&m_studyPoll, &QTimer::timeout, this, &CChartCanvas::PollStudies);
    m_readOutTimer.setSingleShot(true);
    m_readOutTimer.setInterval(kReadOutPeriodMs);
    connect(&m_readOutTimer, &QTimer::timeout, this, &CChartCanvas::ShowCursorReadOut);
}

void CChartCanvas::SetStudies(std::unique_ptr<IPaneStudies> studies) {
    m_draw.SetStudies(studies.get());
    m_studies = std::move(studies);
    if (m_studies != nullptr) {
        // A finished computation is taken as soon as the event loop turns, not on the next poll.
        m_studies->SetFinishedHandler([this] {
            QMetaObject::invokeMethod(this, &CChartCanvas::PollStudies, Qt::QueuedConnection);
        });
    }
    RedrawAll();
}

void CChartCanvas::ComputeStudies() {
    if (m_studies == nullptr) {
        return;
    }
    m_studies->SeriesChanged(m_history, m_dataType, m_intervalIndex);
    m_studyPoll.start();
}

void CChartCanvas::StudiesSeriesGrew() {
    if (m_studies != nullptr) {
        m_studies->SeriesGrew();
        m_studyPoll.start();
    }
}

void CChartCanvas::StudySettingsChanged() {
    if (m_studies != nullptr && m_studies->Computing()) {
        m_studyPoll.start();
    }
    LoadSettings();
}

void CChartCanvas::ClearStudies() {
    if (m_studies != nullptr) {
        m_studies->Clear();
    }
    m_studyPoll.stop();
}

void CChartCanvas::FinishStudies() {
    if (m_studies != nullptr) {
        m_studies->WaitFinished();
        m_studyPoll.stop();
        RedrawAll();
    }
}

void CChartCanvas::PollStudies() {
    if (m_studies == nullptr) {
        m_studyPoll.stop();
        return;
    }
    if (m_studies->TakeFinished()) {
        RedrawAll();
    }
    if (!m_studies->Computing()) {
        m_studyPoll.stop();
    }
}

CChartCanvas::~CChartCanvas() = default;

void CChartCanvas::SetSeries(const std::string& symbol, int dataType, int intervalIndex) {
    m_symbol = symbol;
    m_dataType = dataType;
    m_intervalIndex = intervalIndex;
}

void CChartCanvas::LoadSettings() {
    const CSettings& settings = m_settings;
    m_style = ReadChartStyle(settings);
    m_layout = LoadPaneLayout(settings);
    m_range.SetScrollStepSettings(LoadScrollStep(settings));
    const int points = m_range.DisplayedPoints();
    m_range.SetPointsIndex(settings.GetInt(keys::kPtsIndex));
    SyncScrollBar();
    Relayout();
    if (m_range.DisplayedPoints() != points) {
        emit displayedPointsChanged(m_range.DisplayedPoints());
    }
}

void CChartCanvas::ApplyStyle(const SChartStyle& style) {
    m_style = style;
    RedrawAll();
}

void CChartCanvas::SetPriceScale(EPriceScale scale) {
    m_settings.SetInt(keys::kPriceScale, static_cast<int>(scale));
    m_style.priceScale = scale;
    RedrawAll();
}

void CChartCanvas::SetPointCount(int count, bool showNewest) {
    m_range.SetPointCount(count);
    if (showNewest) {
        m_range.ShowNewest();
    }
    SyncScrollBar();
}

void CChartCanvas::SyncScrollBar() {
    m_syncing = true;
    m_scrollBar->setRange(CDisplayRange::Minimum(), m_range.Limit());
    m_scrollBar->setPageStep(m_range.DisplayedPoints());
    m_scrollBar->setSingleStep(1);
    m_scrollBar->setValue(m_range.Position());
    m_syncing = false;
}

void CChartCanvas::Relayout() {
    if (m_furniture.around == 0) {
        // Until the panes are drawn: a label band and an axis of about the label's height.
        m_furniture = {2 * m_stack->LabelStripHeight(), m_stack->LabelStripHeight()};
    }
    LayOutPanes();
    // The panes' axes take what their labels need: when the drawing shows that the minimums
    // were reckoned on other margins (a pane took over the time labels, the fonts differ), the
    // panes are laid out once more on what was measured.
    const SPaneFurniture measured = MeasureFurniture();
    if (!(measured == m_furniture)) {
        m_furniture = measured;
        LayOutPanes();
    }
}

CChartCanvas::SPaneFurniture CChartCanvas::MeasureFurniture() const {
    SPaneFurniture furniture = m_furniture;
    int timePane = m_layout.LastPane();
    while (timePane > 0 && IsStrip(timePane)) {
        --timePane;
    }
    int timed = -1;
    int plain = -1;
    for (int pane = 0; pane <= timePane; ++pane) {
        if (IsStrip(pane)) {
            continue;
        }
        const CChart2D::SGeometry geometry = m_stack->Pane(pane).Geometry();
        (pane == timePane ? timed : plain) = geometry.top + geometry.bottom;
    }
    if (plain > 0) {
        furniture.around = plain;
    }
    if (timed > 0) {
        furniture.timeLabels = std::max(0, timed - furniture.around);
    }
    return furniture;
}

void CChartCanvas::LayOutPanes() {
    SPaneGeometry geometry;
    geometry.clientWidth = width();
    geometry.clientHeight = height();
    geometry.minimizedHeight = kMinimizedHeight;
    geometry.scrollBarHeight = m_scrollBar->sizeHint().height();
    geometry.minPaneHeight = MinPaneHeight();
    geometry.minPriceHeight = m_furniture.around + kMinPricePlotHeight;
    geometry.timeAxisHeight = m_furniture.timeLabels;
    m_layoutResult = m_layout.Layout(geometry);
    const int area = m_layoutResult.paneAreaHeight;
    const int content = m_layoutResult.contentHeight;
    const bool scrolls = content > area;
    if (scrolls) {
        m_layoutResult.paneWidth =
            std::max(0, m_layoutResult.paneWidth - m_paneScrollBar->sizeHint().width());
    }
    m_paneScrollBar->setRange(0, scrolls ? content - area : 0);
    m_paneScrollBar->setPageStep(std::max(area, 1));
    m_paneScrollBar->setSingleStep(std::max(MinPaneHeight() / 2, 1));
    m_paneScrollBar->setGeometry(m_layoutResult.paneWidth, 0, width() - m_layoutResult.paneWidth,
                                 area);
    m_paneScrollBar->setVisible(scrolls);
    m_viewport->setGeometry(0, 0, m_layoutResult.paneWidth, area);
    m_stack->setGeometry(0, -m_paneScrollBar->value(), m_layoutResult.paneWidth, content);
    m_scrollBar->setGeometry(0, m_layoutResult.scrollBarTop, width(), geometry.scrollBarHeight);

    m_stack->HoldDrawing();
    for (int pane = 0; pane < CHistChartDrawManager::kPaneCount; ++pane) {
        const bool shown = pane < static_cast<int>(m_layoutResult.panes.size());
        m_stack->SetPaneVisible(pane, shown);
        if (shown) {
            const SPaneRect& rect = m_layoutResult.panes[static_cast<std::size_t>(pane)];
            m_stack->SetPaneGeometry(pane, rect.top, rect.height);
            m_stack->SetPaneCollapsed(pane, IsStrip(pane));
        }
    }
    RedrawAll();
    m_stack->ReleaseDrawing();
}

std::string CChartCanvas::ChartText() const {
    try {
        return m_dataType == kIntervals ? fmt::format("{}-Minute", IntervalMinutes(m_intervalIndex))
                                        : DataTypeName(m_dataType);
    } catch (const CInvalidArgException&) {
        return {};
    }
}

std::string CChartCanvas::PriceLabelText(const SChartStyle& style) const {
    if (m_symbol.empty() || m_draw.Displayed().Count() == 0) {
        return {};
    }
    const std::vector<std::string> fields = m_draw.PriceBarFields(m_cursorBar);
    const std::string bar =
        ::PriceBarText(fields, style.showPriceBar, m_layout.IsMinimized(0), m_layout.maximized);
    return m_draw.HeaderLabel(m_symbol) + (bar.empty() ? "" : "   " + bar);
}

void CChartCanvas::RedrawAll() {
    const bool hasData = !m_symbol.empty() && m_history.GetCount() > 0;
    m_draw.SetScrollPosition(m_range.FirstIndex(), hasData ? m_range.DisplayedCount() : 0,
                             m_dataType);
    const SChartStyle& style = m_style;
    SPaneFrame frame;
    frame.displayedPoints = m_range.DisplayedPoints();
    frame.priceBarText = PriceLabelText(style);
    m_priceBarText = frame.priceBarText;
    for (int pane = m_layout.LastPane(); pane >= 0; --pane) {
        if (!IsStrip(pane)) {
            frame.timeLabelPane = pane;
            break;
        }
    }

    frame.cursorBar = m_cursorBar;
    frame.scrolling = m_range.IsTracking() || m_draggingChart;
    const bool intervals =
        m_dataType == kIntervals && m_intervalIndex >= 0 && m_intervalIndex < kIntervalCount;
    m_draw.SetBarClock(intervals ? IntervalSeconds(m_intervalIndex) : 0,
                       m_exchangeNow ? m_exchangeNow() : std::nullopt);

    m_stack->HoldDrawing();
    for (int pane = 0; pane <= m_layout.LastPane(); ++pane) {
        m_draw.PaintPane(pane, m_stack->Pane(pane), style, frame,
                         m_layout.studyTypes[static_cast<std::size_t>(pane)], IsStrip(pane));
    }
    m_stack->ReleaseDrawing();
}

int CChartCanvas::BarAt(const QPoint& pos) const {
    const int pane = m_stack->PaneAt(pos);
    if (pane < 0 || m_symbol.empty() || m_draw.Displayed().Count() == 0) {
        return kNoCursorBar;
    }
    const SPaneRect& rect = m_layoutResult.panes[static_cast<std::size_t>(pane)];
    const CChart2D& chart = m_stack->Pane(pane);
    const CChart2D::SGeometry geometry = chart.Geometry();
    const double x = pos.x();
    if (x < geometry.left || x > geometry.width - geometry.right || pos.y() < rect.top) {
        return kNoCursorBar;
    }
    const auto slot = static_cast<int>(std::lround(chart.PixelXToSlot(x)));
    if (slot < 0 || slot >= m_draw.Displayed().Count()) {
        return kNoCursorBar;
    }
    return m_draw.Displayed().first + slot;
}

void CChartCanvas::SetCursorBar(int bar) {
    if (bar == m_cursorBar) {
        return;
    }
    m_cursorBar = bar;
    if (!m_readOutTimer.isActive()) {
        m_readOutTimer.start();
    }
}

void CChartCanvas::ShowCursorReadOut() {
    if (m_cursorBar == kNoCursorBar) {
        m_infoText.clear();
    } else if (m_infoText.empty()) {
        // The status line tells when a read-out begins, not at every bar the mouse crosses.
        emit statusText(QStringLiteral("Making Info Text..."));
        m_infoText = m_draw.InfoText(m_cursorBar);
        emit statusText(QStringLiteral("Ready..."));
    } else {
        m_infoText = m_draw.InfoText(m_cursorBar);
    }
    // Only the label lines change: the price bar and each study pane's values.
    const SChartStyle& style = m_style;
    m_priceBarText = PriceLabelText(style);
    m_stack->HoldDrawing();
    m_stack->Pane(0).SetLabelRuns(m_draw.PriceLabelRuns(m_priceBarText, style.priceBar));
    if (m_studies != nullptr) {
        for (int pane = 1; pane <= std::min(m_layout.LastPane(), m_studies->PaneCount()); ++pane) {
            m_stack->Pane(pane).SetLabelLine(m_studies->PaneLabel(pane, m_cursorBar, IsStrip(pane)),
                                             style.StudyLabelColor(m_studies->PaneStudyType(pane)));
        }
    }
    m_stack->ReleaseDrawing();
    if (m_infoText.empty()) {
        m_tip->hide();
    } else {
        m_tip->ShowAt(m_stack->mapTo(this, m_mouse), QString::fromStdString(m_infoText));
    }
    emit cursorReadOutChanged();
}

void CChartCanvas::MoveCrosshair(const QPoint& pos) {
    const int under = m_stack->PaneAt(pos);
    const int bar = BarAt(pos);
    if (under < 0 || bar == kNoCursorBar) {
        m_stack->HideCrosshairs();
        return;
    }
    const double slot = bar - m_draw.Displayed().first;
    for (int pane = 0; pane <= m_layout.LastPane(); ++pane) {
        CChart2D& chart = m_stack->Pane(pane);
        CChart2D::SCrosshair crosshair;
        crosshair.visible = !IsStrip(pane);
        crosshair.slot = slot;
        if (pane == under) {
            const CChart2D::EAxis axis = chart.LabelAxis();
            const SPaneRect& rect = m_layoutResult.panes[static_cast<std::size_t>(pane)];
            crosshair.horizontal = true;
            crosshair.axis = axis;
            crosshair.value = chart.PixelYToValue(pos.y() - rect.top, axis);
            // Prices at the symbol's decimals; studies as finely as a pixel tells apart.
            const double perPixel =
                std::fabs(chart.PixelYToValue(0.0, axis) - chart.PixelYToValue(1.0, axis));
            crosshair.valueText = ValueTagText(crosshair.value, chart.LabelPrecision(axis),
                                               perPixel, pane != 0, chart.LabelFormat(axis));
            if (const CValueScale& scale = chart.ValueScale(axis); scale.HasBase()) {
                crosshair.valueText += " " + PercentText(scale.PercentOf(crosshair.value), 2);
            }
        }
        chart.SetCrosshair(crosshair);
    }
}

void CChartCanvas::HideCursor() {
    m_stack->HideCrosshairs();
    m_tip->hide();
    SetCursorBar(kNoCursorBar);
}

void CChartCanvas::AfterRangeChange(bool pointsChanged) {
    if (pointsChanged) {
        m_settings.SetInt(keys::kPtsIndex, m_range.PointsIndex());
        emit displayedPointsChanged(m_range.DisplayedPoints());
    }
    SyncScrollBar();
    RedrawAll();
}

bool CChartCanvas::ZoomIn() {
    if (m_symbol.empty() || !m_range.ZoomIn()) {
        return false;
    }
    AfterRangeChange(true);
    return true;
}

bool CChartCanvas::ZoomOut() {
    if (m_symbol.empty() || !m_range.ZoomOut()) {
        return false;
    }
    AfterRangeChange(true);
    return true;
}

void CChartCanvas::StoreLayout() {
    SavePaneLayout(m_settings, m_layout);
}

void CChartCanvas::MinimizePane(int pane) {
    if (m_layout.Minimize(pane)) {
        StoreLayout();
        Relayout();
    }
}

void CChartCanvas::MaximizePane(int pane) {
    if (m_layout.Maximize(pane)) {
        StoreLayout();
        Relayout();
    }
}

void CChartCanvas::RestorePane(int pane) {
    if (m_layout.Restore(pane)) {
        StoreLayout();
        Relayout();
    }
}

void CChartCanvas::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Relayout();
}

void CChartCanvas::RenderPanes(QPainter& painter, const QRectF& target) {
    std::vector<int> panes;
    for (int pane = 0; pane <= m_layout.LastPane(); ++pane) {
        panes.push_back(pane);
    }
    m_stack->RenderPanes(painter, target, panes);
}

QSize CChartCanvas::PanesSize() const {
    int height = 0;
    for (const SPaneRect& rect : m_layoutResult.panes) {
        height += rect.height;
    }
    return {m_layoutResult.paneWidth, height};
}

#include "chart/ui/chart_stack_widget.h"

#include "chart/chart_style.h"
#include "chart/ui/pane_stack_layout.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPicture>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

CChartStackWidget::CChartStackWidget(QWidget* parent) : QCustomPlot(parent) {
    setAutoAddPlottableToLegend(false);
    setInteractions({});
    setAntialiasedElements(QCP::aeNone);
    setNotAntialiasedElements(QCP::aeAll);
    setPlottingHints(QCP::phCacheLabels);
    // One paint buffer for all layers: the selection overlay is not used, and a buffer of its
    // own would be cleared and drawn on every replot.
    if (QCPLayer* overlay = layer(QStringLiteral("overlay"))) {
        overlay->setMode(QCPLayer::lmLogical);
    }

    QFont labelFont(font());
    labelFont.setPixelSize(kLabelFontPixels);
    // The label band is one line of the label font high and no more.
    m_labelStrip = QFontMetrics(labelFont).height();

    // The default axis rectangle and its legend go; the panes take the whole plot.
    plotLayout()->clear();
    m_layout = new CPaneStackLayout;
    plotLayout()->addElement(0, 0, m_layout);
    m_marginGroup = new CVisibleMarginGroup(this);
    // The panes draw one after the other, so one scratch image serves them all.
    const auto raster = std::make_shared<QImage>();
    for (int i = 0; i < kPaneCount; ++i) {
        m_panes[i] = std::make_unique<CStackPaneChart>(*this, i, raster);
        m_layout->AddPane(m_panes[i]->AxisRect());
    }
    ApplyPaneSlots();
    connect(this, &QCustomPlot::afterReplot, this, [this] { ++m_replots; });
}

CChartStackWidget::~CChartStackWidget() = default;

void CChartStackWidget::CheckIndex(int index) const {
    if (index < 0 || index >= kPaneCount) {
        throw CInvalidArgException("pane index " + std::to_string(index) + " is not 0 to " +
                                   std::to_string(kPaneCount - 1));
    }
}

CChart2D& CChartStackWidget::Pane(int index) {
    CheckIndex(index);
    return *m_panes[index];
}

const CChart2D::SCrosshair& CChartStackWidget::Crosshair(int index) const {
    CheckIndex(index);
    return m_panes[index]->Crosshair();
}

void CChartStackWidget::SetPaneGeometry(int index, int top, int height) {
    CheckIndex(index);
    m_slots[index].top = top;
    m_slots[index].height = std::max(height, 0);
    ApplyPaneSlots();
    Invalidate(true);
}

void CChartStackWidget::SetPaneVisible(int index, bool visible) {
    CheckIndex(index);
    m_slots[index].visible = visible;
    ApplyPaneSlots();
    Invalidate(true);
}

bool CChartStackWidget::IsPaneVisible(int index) const {
    CheckIndex(index);
    return m_slots[index].visible;
}

QRect CChartStackWidget::PaneRect(int index) const {
    CheckIndex(index);
    return QRect(0, m_slots[index].top, width(), m_slots[index].height);
}

void CChartStackWidget::SetPaneCollapsed(int index, bool collapsed) {
    CheckIndex(index);
    m_panes[static_cast<std::size_t>(index)]->SetCollapsed(collapsed);
}

int CChartStackWidget::PaneAt(const QPoint& point) const {
    for (int i = 0; i < kPaneCount; ++i) {
        if (m_slots[i].visible && m_slots[i].height > 0 && PaneRect(i).contains(point)) {
            return i;
        }
    }
    return -1;
}

void CChartStackWidget::ApplyPaneSlots() {
    for (int i = 0; i < kPaneCount; ++i) {
        const SPaneSlot& slot = m_slots[i];
        const bool shown = slot.visible && slot.height > 0;
        m_layout->SetPaneRect(i, slot.top, slot.height);
        m_panes[i]->AxisRect()->setVisible(shown);
        m_panes[i]->SetAligned(shown);
        m_panes[i]->SetValueTickCount(std::clamp(slot.height / kPixelsPerValueTick, 1, 5));
    }
}

// Panes of one background colour (the usual case: it is one setting) leave their background to
// the plot, which fills it once under everything when the buffer goes to the screen; one fill of
// the whole stack less on every drawing.
void CChartStackWidget::ShareBackground() {
    const QColor* shared = nullptr;
    bool same = true;
    for (int i = 0; i < kPaneCount; ++i) {
        if (m_slots[i].visible && m_slots[i].height > 0) {
            const QColor& color = m_panes[i]->BackgroundQColor();
            same = same && (!shared || *shared == color);
            shared = shared ? shared : &color;
        }
    }
    same = same && shared != nullptr;
    setBackground(QBrush(same ? *shared : QColor(Qt::white)));
    for (const auto& pane : m_panes) {
        pane->SetFillsBackground(!same);
    }
}

// ---- drawing ----

void CChartStackWidget::HoldDrawing() {
    ++m_holdDepth;
}

void CChartStackWidget::ReleaseDrawing() {
    if (m_holdDepth == 0) {
        return;
    }
    if (--m_holdDepth == 0) {
        Redraw();
    }
}

void CChartStackWidget::Redraw() {
    if (m_holdDepth > 0) {
        m_redrawPending = true;
        return;
    }
    m_redrawPending = false;
    // The buffer is drawn at the device pixel ratio of the screen the widget is on now, so that
    // lines and text are drawn at device resolution, not scaled up.
    if (bufferDevicePixelRatio() != devicePixelRatioF()) {
        setBufferDevicePixelRatio(devicePixelRatioF());
    }
    SyncViewport();
    ShareBackground();
    replot(QCustomPlot::rpRefreshHint);
    m_layoutDirty = false;
}

void CChartStackWidget::Invalidate(bool layout) {
    if (layout) {
        m_layoutDirty = true;
    }
    m_redrawPending = true;
    if (m_holdDepth == 0 && !m_redrawQueued) {
        m_redrawQueued = true;
        QMetaObject::invokeMethod(this, &CChartStackWidget::RunQueuedRedraw, Qt::QueuedConnection);
    }
}

void CChartStackWidget::RunQueuedRedraw() {
    m_redrawQueued = false;
    if (m_redrawPending && m_holdDepth == 0) {
        Redraw();
    }
}

// While drawing is held or the stack is about to be drawn, that drawing repaints the whole
// widget, crosshairs included.
void CChartStackWidget::CrosshairChanged(const QRegion& region) {
    if (m_holdDepth > 0 || m_redrawPending || region.isEmpty()) {
        return;
    }
    ++m_crosshairRepaints;
    update(region);
}

void CChartStackWidget::HideCrosshairs() {
    for (const auto& pane : m_panes) {
        pane->SetCrosshair(CChart2D::SCrosshair{});
    }
}

void CChartStackWidget::SyncViewport() {
    if (viewport() != rect()) {
        setViewport(rect());
        m_layoutDirty = true;
    }
}

void CChartStackWidget::EnsureLayout() {
    SyncViewport();
    if (m_layoutDirty) {
        updateLayout();
        m_layoutDirty = false;
    }
}

// A resize lays the panes out again but draws like any other change: once, and not while held.
void CChartStackWidget::resizeEvent(QResizeEvent* /*event*/) {
    SyncViewport();
    Invalidate(true);
}

std::vector<int> CChartStackWidget::SplitterRows() const {
    std::vector<int> rows;
    for (const SPaneSlot& slot : m_slots) {
        if (slot.visible && slot.height > 0 && slot.top > 0) {
            rows.push_back(slot.top);
        }
    }
    return rows;
}

void CChartStackWidget::PaintSplitters(QPainter& painter, const std::vector<int>& rows,
                                       int width) const {
    const QColor& back = m_panes[0]->BackgroundQColor();
    const ColorRef line = SplitterColor(MakeColorRef(back.red(), back.green(), back.blue()));
    painter.setPen(QPen(QColor(RedOf(line), GreenOf(line), BlueOf(line)), 0));
    for (const int row : rows) {
        painter.drawLine(QPointF(0, row + 0.5), QPointF(width, row + 0.5));
    }
}

void CChartStackWidget::paintEvent(QPaintEvent* event) {
    QCustomPlot::paintEvent(event);
    QPainter painter(this);
    PaintSplitters(painter, SplitterRows(), width());
    for (const auto& pane : m_panes) {
        pane->PaintCrosshair(painter);
    }
}

// ---- printing and export ----

void CChartStackWidget::RenderPanes(QPainter& painter, const QRectF& target,
                                    std::span<const int> panes) {
    for (const int index : panes) {
        CheckIndex(index);
    }
    int plotWidth = std::max(width(), 1);
    int total = 0;
    for (const int index : panes) {
        total += m_slots[index].height;
    }
    if (total <= 0 || !target.isValid() || !painter.isActive()) {
        return;
    }
    // Onto a larger target the panes are drawn at their screen size and scaled up, so that
    // lines and text grow with the page. Onto a smaller one they are laid out at the target's
    // size instead: scaled-down lines would fade.
    const double shrink = std::min(target.width() / plotWidth, target.height() / total);
    const double heightScale = shrink < 1.0 ? target.height() / total : 1.0;
    if (shrink < 1.0) {
        plotWidth = std::max(static_cast<int>(std::lround(target.width())), 1);
    }
    // Lay the chosen panes out one below the other, draw them into a picture through the
    // plot's own drawing, then put everything back.
    const std::array<SPaneSlot, kPaneCount> saved = m_slots;
    for (SPaneSlot& slot : m_slots) {
        slot.visible = false;
    }
    int top = 0;
    for (const int index : panes) {
        const int height =
            static_cast<int>(std::lround((top + saved[index].height) * 1.0 * heightScale)) -
            static_cast<int>(std::lround(top * heightScale));
        m_slots[index] = SPaneSlot{static_cast<int>(std::lround(top * heightScale)), height, true};
        top += saved[index].height;
    }
    total = static_cast<int>(std::lround(total * heightScale));
    const std::vector<int> splitters = SplitterRows();
    ApplyPaneSlots();
    ShareBackground();
    QPicture picture;
    {
        QCPPainter picturePainter(&picture);
        toPainter(&picturePainter, plotWidth, total);
    }
    m_slots = saved;
    ApplyPaneSlots();
    ShareBackground();
    m_layoutDirty = true;
    EnsureLayout();

    painter.save();
    painter.translate(target.topLeft());
    painter.scale(target.width() / plotWidth, target.height() / total);
    // A picture plays back enlarged by the device's resolution over its own (half as large
    // again on a PDF of 150 dpi): undone, so that the panes fill the target on any device.
    painter.save();
    const QPaintDevice* device = painter.device();
    if (device != nullptr && device->logicalDpiX() > 0 && device->logicalDpiY() > 0) {
        painter.scale(static_cast<double>(picture.logicalDpiX()) / device->logicalDpiX(),
                      static_cast<double>(picture.logicalDpiY()) / device->logicalDpiY());
    }
    painter.drawPicture(0, 0, picture);
    painter.restore();
    PaintSplitters(painter, splitters, plotWidth);
    painter.restore();
}

QImage CChartStackWidget::RenderImage() {
    std::vector<int> panes;
    for (int i = 0; i < kPaneCount; ++i) {
        if (m_slots[i].visible && m_slots[i].height > 0) {
            panes.push_back(i);
        }
    }
    std::stable_sort(panes.begin(), panes.end(),
                     [this](int a, int b) { return m_slots[a].top < m_slots[b].top; });
    int total = 0;
    for (const int index : panes) {
        total += m_slots[index].height;
    }
    QImage image(std::max(width(), 1), std::max(total, 1), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    RenderPanes(painter, QRectF(0, 0, image.width(), total), panes);
    return image;
}

// The trader's gestures on the canvas: the keys, the wheel, drags of the chart, of the border
// between two panes and of a drawn item that can be moved, and the pane menu.

#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_info_tip.h"
#include "chart/ui/chart_stack_widget.h"
#include "core/setting_keys.h"
#include "core/settings.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QWheelEvent>

#include <optional>

namespace {

std::optional<CDisplayRange::EKey> KeyOf(int key) {
    switch (key) {
    case Qt::Key_Left:
        return CDisplayRange::EKey::Left;
    case Qt::Key_Right:
        return CDisplayRange::EKey::Right;
    case Qt::Key_PageUp:
        return CDisplayRange::EKey::PageUp;
    case Qt::Key_PageDown:
        return CDisplayRange::EKey::PageDown;
    case Qt::Key_Home:
        return CDisplayRange::EKey::Home;
    case Qt::Key_End:
        return CDisplayRange::EKey::End;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        return CDisplayRange::EKey::Plus;
    case Qt::Key_Minus:
        return CDisplayRange::EKey::Minus;
    default:
        return std::nullopt;
    }
}

} // namespace

void CChartCanvas::FillPaneMenu(QMenu& menu, int pane) {
    menu.setObjectName("PaneMenu");
    menu.addAction("Minimize Chart", this, [this, pane] { MinimizePane(pane); });
    menu.addAction("Maximize Chart", this, [this, pane] { MaximizePane(pane); });
    menu.addAction("Restore Chart", this, [this, pane] { RestorePane(pane); });
    menu.addSeparator();
    menu.addAction("Zoom In", this, [this] { ZoomIn(); })->setEnabled(!m_symbol.empty());
    menu.addAction("Zoom Out", this, [this] { ZoomOut(); })->setEnabled(!m_symbol.empty());
    if (pane == 0) {
        menu.addSeparator();
        auto* scales = new QActionGroup(&menu);
        const bool comparing = m_draw.Compare() != nullptr && m_draw.Compare()->Active();
        const EPriceScale shown = comparing ? EPriceScale::Percent : m_style.priceScale;
        for (int i = 0; i < kPriceScaleCount; ++i) {
            const auto scale = static_cast<EPriceScale>(i);
            QAction* action = menu.addAction(PriceScaleName(scale), this,
                                             [this, scale] { SetPriceScale(scale); });
            action->setCheckable(true);
            action->setChecked(scale == shown);
            action->setEnabled(scale == shown || !comparing);
            scales->addAction(action);
        }
        if (comparing) {
            menu.addAction("(Percent while symbols are compared)")->setEnabled(false);
        }
        QAction* last = menu.addAction("Show Last Price", this, [this](bool show) {
            m_settings.SetInt(keys::kShowLastPrice, show ? 1 : 0);
            m_style.showLastPrice = show;
            RedrawAll();
        });
        last->setCheckable(true);
        last->setChecked(m_style.showLastPrice);
    }
    for (const auto& extender : m_menuExtenders) {
        extender(menu, pane);
    }
}

CChart2D::SPixelPoint CChartCanvas::PanePoint(int pane, const QPoint& pos) const {
    const SPaneRect& rect = m_layoutResult.panes[static_cast<std::size_t>(pane)];
    return {static_cast<double>(pos.x()), static_cast<double>(pos.y() - rect.top)};
}

bool CChartCanvas::DragItem(const QPoint& pos) {
    if (m_dragItem == nullptr) {
        return false;
    }
    const CChart2D& chart = m_stack->Pane(m_dragItemPane);
    if (m_dragItem->MoveBy(chart, m_draw.View(), PanePoint(m_dragItemPane, m_dragLast),
                           PanePoint(m_dragItemPane, pos))) {
        m_itemMoved = true;
        m_dragLast = pos;
        RedrawAll();
        return true;
    }
    if (!m_itemMoved) {
        // The item cannot be moved: the press drags the chart instead.
        m_dragItem.reset();
        return false;
    }
    return true;
}

double CChartCanvas::PixelsPerBar() const {
    const CChart2D::SGeometry geometry = m_stack->Pane(0).Geometry();
    return static_cast<double>(geometry.width - geometry.left - geometry.right) /
           std::max(m_range.DisplayedPoints(), 1);
}

void CChartCanvas::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && m_clickTool != nullptr) {
        m_clickTool->Cancel();
        event->accept();
        return;
    }
    const std::optional<CDisplayRange::EKey> key = KeyOf(event->key());
    if (!key || m_symbol.empty()) {
        QWidget::keyPressEvent(event);
        return;
    }
    const int pointsIndex = m_range.PointsIndex();
    if (m_range.Key(*key)) {
        AfterRangeChange(m_range.PointsIndex() != pointsIndex);
    }
    event->accept();
}

void CChartCanvas::SetClickTool(IChartClickTool* tool) {
    m_clickTool = tool;
    m_draggingChart = false;
    m_dragItem.reset();
    m_dragBorder = -1;
    m_stack->setCursor(tool != nullptr ? Qt::CrossCursor : Qt::ArrowCursor);
}

bool CChartCanvas::ToolMouse(QEvent* event) {
    if (m_clickTool == nullptr) {
        return false;
    }
    switch (event->type()) {
    case QEvent::ContextMenu:
        m_clickTool->Cancel();
        return true;
    case QEvent::MouseButtonPress: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        const QPoint pos = mouse->position().toPoint();
        const int pane = m_stack->PaneAt(pos);
        if (mouse->button() == Qt::LeftButton && pane >= 0) {
            setFocus(Qt::MouseFocusReason);
            m_clickTool->Click(pane, PanePoint(pane, pos));
        }
        return true;
    }
    case QEvent::MouseMove: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        m_mouse = mouse->position().toPoint();
        const int pane = m_stack->PaneAt(m_mouse);
        MoveCrosshair(m_mouse);
        SetCursorBar(BarAt(m_mouse));
        m_clickTool->Move(pane, pane >= 0 ? PanePoint(pane, m_mouse) : CChart2D::SPixelPoint{});
        return true;
    }
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
        return true;
    default:
        return false;
    }
}

bool CChartCanvas::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_stack && (ToolMouse(event) || HandleMouse(event))) {
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

bool CChartCanvas::HandleMouse(QEvent* event) {
    switch (event->type()) {
    case QEvent::ContextMenu: {
        auto* menuEvent = static_cast<QContextMenuEvent*>(event);
        const int pane = m_stack->PaneAt(menuEvent->pos());
        if (pane >= 0) {
            m_menuPoint = PanePoint(pane, menuEvent->pos());
            QMenu menu(this);
            FillPaneMenu(menu, pane);
            menu.exec(menuEvent->globalPos());
        }
        return true;
    }
    case QEvent::MouseButtonPress: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton) {
            return false;
        }
        setFocus(Qt::MouseFocusReason);
        const int y = static_cast<int>(mouse->position().y());
        m_dragBorder = m_layout.HitTestBorder(m_layoutResult, y, kBorderTolerance);
        if (m_dragBorder < 0 && !m_symbol.empty()) {
            HideCursor();
            // An item under the press follows the drag when it can be moved; otherwise the
            // chart scrolls.
            m_dragLast = mouse->position().toPoint();
            m_dragItemPane = m_stack->PaneAt(m_dragLast);
            m_dragItem = m_dragItemPane < 0
                             ? nullptr
                             : m_draw.ItemAt(m_dragItemPane, m_stack->Pane(m_dragItemPane),
                                             PanePoint(m_dragItemPane, m_dragLast), kItemTolerance);
            m_itemMoved = false;
            m_draggingChart = true;
            m_dragAnchorPosition = m_range.Position();
            m_dragStartX = mouse->position().x();
            m_stack->setCursor(Qt::ClosedHandCursor);
        }
        return true;
    }
    case QEvent::MouseMove: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        const int y = static_cast<int>(mouse->position().y());
        if (m_dragBorder >= 0) {
            SPaneLayout moved = m_layout;
            if (moved.DragBorder(m_layoutResult, m_dragBorder, y, MinPaneHeight()) &&
                !(moved == m_layout)) {
                m_layout = moved;
                Relayout();
            }
        } else if (m_draggingChart) {
            if (DragItem(mouse->position().toPoint())) {
                return true;
            }
            if (m_range.DragTo(m_dragAnchorPosition, mouse->position().x() - m_dragStartX,
                               PixelsPerBar())) {
                SyncScrollBar();
                RedrawAll();
            }
        } else {
            const bool onBorder = m_layout.HitTestBorder(m_layoutResult, y, kBorderTolerance) >= 0;
            m_stack->setCursor(onBorder ? Qt::SplitVCursor : Qt::CrossCursor);
            m_mouse = mouse->position().toPoint();
            if (onBorder) {
                HideCursor();
            } else {
                MoveCrosshair(m_mouse);
                SetCursorBar(BarAt(m_mouse));
                if (m_cursorBar != kNoCursorBar && m_tip->isVisible()) {
                    // The tip keeps beside the mouse between two read-outs.
                    m_tip->ShowAt(m_stack->mapTo(this, m_mouse),
                                  QString::fromStdString(m_infoText));
                }
            }
        }
        return true;
    }
    case QEvent::Leave: {
        HideCursor();
        return false;
    }
    case QEvent::MouseButtonRelease: {
        if (m_dragBorder >= 0) {
            StoreLayout();
        }
        m_dragBorder = -1;
        const bool scrolled = m_draggingChart && !m_itemMoved;
        m_draggingChart = false;
        const std::shared_ptr<CDrawnItem> moved = m_itemMoved ? m_dragItem : nullptr;
        m_dragItem.reset();
        m_itemMoved = false;
        m_stack->setCursor(Qt::ArrowCursor);
        if (moved != nullptr) {
            emit itemMoved(moved.get());
        } else if (scrolled && m_draw.PriceScale().HasBase()) {
            // The drag ended: the Percent scale takes the new first bar.
            RedrawAll();
        }
        return true;
    }
    case QEvent::Wheel: {
        auto* wheel = static_cast<QWheelEvent*>(event);
        const int notches = wheel->angleDelta().y() / 120;
        if (notches != 0 && !m_symbol.empty() && m_range.Wheel(notches)) {
            AfterRangeChange(true);
        }
        return true;
    }
    default:
        return false;
    }
}

#pragma once

// The drawing half of the chart view: the stack of eleven panes with its horizontal scroll bar,
// the pane layout, the display range and the draw manager. It shows whatever the series holds
// and handles the trader's gestures on it: the scroll bar, dragging the chart, the wheel and the
// keys, the pane menu and dragging the border between two panes. The window's view and the
// offscreen renderer both draw through it.

#include "chart/display_range.h"
#include "chart/draw_manager.h"
#include "chart/pane_layout.h"
#include "chart/ui/chart_click_tool.h"
#include "core/data_types.h"

#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CChartHistRequest;
class CChartInfoTip;
class CSettings;
class CChartStackWidget;
class QMenu;
class QPainter;
class QScrollBar;

class CChartCanvas : public QWidget {
    Q_OBJECT

public:
    // Height of a minimised pane: its label strip.
    static constexpr int kMinimizedHeight = 20;
    // The least plot height of a study pane and the price pane's larger one. When the panes'
    // least heights do not fit, the price pane gives first, then the stack scrolls vertically.
    static constexpr int kMinPlotHeight = 28;
    static constexpr int kMinPricePlotHeight = 40;
    // A border between two panes is grabbed this many pixels above or below it.
    static constexpr int kBorderTolerance = 6;
    // How near (pixels) a press must be to a drawn item to pick it.
    static constexpr double kItemTolerance = 5.0;
    // How often a running study computation is asked whether it is done.
    static constexpr int kStudyPollMs = 40;
    // The cursor read-outs are drawn at most this often.
    static constexpr int kReadOutPeriodMs = 30;

    // The canvas keeps its zoom and the pane layout in `settings`, which outlive it.
    CChartCanvas(const CChartHistRequest& history, CSettings& settings, QWidget* parent = nullptr);
    ~CChartCanvas() override;

    // What the panes show: the symbol, its data type and interval index (for the price bar and
    // the labels). An empty symbol shows empty panes.
    void SetSeries(const std::string& symbol, int dataType, int intervalIndex);
    // Reads the layout, the displayed points, the scroll step and the drawing style from the
    // settings, lays the panes out and redraws.
    void LoadSettings();
    // Draws with `style` from now on (a display or colour change): the panes are painted again,
    // nothing is computed again.
    void ApplyStyle(const SChartStyle& style);
    const SChartStyle& Style() const { return m_style; }
    // The price pane's scale: stored under "Price Scale" and drawn at once.
    void SetPriceScale(EPriceScale scale);

    // The series holds `count` points: a view at the right edge follows the newest points, a
    // view scrolled back stays. `showNewest` moves to the newest points whatever the position.
    void SetPointCount(int count, bool showNewest);
    void ResetYRange() { m_draw.ResetYRange(); }

    // The studies drawn over the price pane and in the study panes (none: the study panes show
    // their frames only).
    void SetStudies(std::unique_ptr<IPaneStudies> studies);
    IPaneStudies* Studies() const { return m_studies.get(); }
    // The series holds a new answer: the studies compute over it and the panes follow when
    // they are done.
    void ComputeStudies();
    // Live points arrived: the studies follow.
    void StudiesSeriesGrew();
    // The studies were handed new settings: the panes are laid out again, and the panes follow
    // the studies once they are computed.
    void StudySettingsChanged();
    // A new symbol is loading: the studies of the last one are dropped.
    void ClearStudies();
    // Waits for the studies being computed and draws them (image rendering).
    void FinishStudies();

    // The bar under the mouse (kNoCursorBar when none) and the read-outs of it.
    int CursorBar() const { return m_cursorBar; }
    void SetCursorBar(int bar);
    const std::string& InfoText() const { return m_infoText; }

    // Recomputes the pane rectangles and redraws.
    void Relayout();
    // Hands the draw manager the scroll position and redraws every displayed pane (nothing
    // when no symbol is shown or the series is empty: the panes keep their frames).
    void RedrawAll();

    // Commands of the view's menu and keys; each redraws and stores what changed.
    bool ZoomIn();
    bool ZoomOut();
    void MinimizePane(int pane);
    void MaximizePane(int pane);
    void RestorePane(int pane);

    // The displayed panes 0 to n, one below the other, scaled into `target`.
    void RenderPanes(QPainter& painter, const QRectF& target);
    // The size of that drawing at the view's scale: the pane width and the panes' heights.
    QSize PanesSize() const;

    CChartStackWidget& Stack() const { return *m_stack; }
    const CChartInfoTip& InfoTip() const { return *m_tip; }
    QScrollBar* ScrollBar() const { return m_scrollBar; }
    // The vertical scroll bar of the stack; shown only when the panes are taller than the view.
    QScrollBar* PaneScrollBar() const { return m_paneScrollBar; }
    const CDisplayRange& Range() const { return m_range; }
    const SPaneLayout& Layout() const { return m_layout; }
    const SPaneLayoutResult& LayoutResult() const { return m_layoutResult; }
    // The least height of a study pane's plot, label band and axis together.
    int MinPaneHeight() const { return m_furniture.around + kMinPlotHeight; }
    CHistChartDrawManager& DrawManager() { return m_draw; }
    // Adds commands to the pane menu, after those added before; `pane` is the pane clicked.
    void AddMenuExtender(std::function<void(QMenu&, int pane)> extender) {
        m_menuExtenders.push_back(std::move(extender));
    }
    // The pane menu of `pane`, as a right click opens it. On the price pane the scale shown is
    // ticked: Percent while a symbol is compared, when the other scales are off and a line says
    // why.
    void FillPaneMenu(QMenu& menu, int pane);
    // The tool that takes the mouse from now on (null: the gestures again). The tool outlives
    // its time on the canvas.
    void SetClickTool(IChartClickTool* tool);
    IChartClickTool* ClickTool() const { return m_clickTool; }
    // The pane point of `pos` (stack pixels) in pane `pane`.
    CChart2D::SPixelPoint PanePoint(int pane, const QPoint& pos) const;
    // Where the exchange time comes from for the last-price countdown (none: no countdown).
    void SetExchangeClock(std::function<std::optional<CDateTime>()> now) {
        m_exchangeNow = std::move(now);
    }
    // Whether the last-price marker counts down: it is shown over interval bars.
    bool CountsDown() const { return m_style.showLastPrice && m_dataType == kIntervals; }
    // The pane point of the click that opened the pane menu last.
    CChart2D::SPixelPoint MenuPoint() const { return m_menuPoint; }
    // The price bar text of the last redraw.
    const std::string& PriceBarText() const { return m_priceBarText; }

signals:
    // The displayed points changed (zoom): the status bar's count follows.
    void displayedPointsChanged(int points);
    // A status line text ("Making Info Text...", "Ready...").
    void statusText(const QString& text);
    // The cursor moved to another bar (or off the bars): the info text changed.
    void cursorReadOutChanged();
    // A drag of `item` ended, having moved it.
    void itemMoved(const CDrawnItem* item);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void SyncScrollBar();
    void AfterRangeChange(bool pointsChanged);
    void StoreLayout();
    bool HandleMouse(QEvent* event);
    double PixelsPerBar() const;
    // Whether `pane` is laid out as a title strip (minimised, or beside a maximised pane).
    bool IsStrip(int pane) const { return m_layout.IsStrip(m_layoutResult, pane); }
    // Lays the panes out with the furniture as it stands and draws them.
    void LayOutPanes();
    // What the label band and the axis take above and below a plot, as the panes were last
    // drawn: `around` for a pane without the time labels, and what those labels add.
    struct SPaneFurniture {
        int around = 0;
        int timeLabels = 0;
        friend bool operator==(const SPaneFurniture&, const SPaneFurniture&) = default;
    };
    SPaneFurniture MeasureFurniture() const;
    std::string ChartText() const;
    std::string PriceLabelText(const SChartStyle& style) const;
    // The bar under the pixel position `pos` of the stack, or kNoCursorBar.
    int BarAt(const QPoint& pos) const;
    // The labels and the info text for the cursor as it stands.
    void ShowCursorReadOut();
    // The crosshair through every displayed pane at the mouse, or none.
    void MoveCrosshair(const QPoint& pos);
    void HideCursor();
    void PollStudies();

    const CChartHistRequest& m_history;
    CSettings& m_settings;
    SChartStyle m_style;
    // The stack scrolls vertically inside the viewport when it is taller.
    QWidget* m_viewport = nullptr;
    CChartStackWidget* m_stack = nullptr;
    QScrollBar* m_scrollBar = nullptr;
    QScrollBar* m_paneScrollBar = nullptr;
    CHistChartDrawManager m_draw;
    CDisplayRange m_range;
    SPaneLayout m_layout;
    SPaneLayoutResult m_layoutResult;
    SPaneFurniture m_furniture;
    std::string m_symbol;
    int m_dataType = 0;
    int m_intervalIndex = 0;
    std::string m_priceBarText;
    bool m_syncing = false;
    std::vector<std::function<void(QMenu&, int)>> m_menuExtenders;
    CChart2D::SPixelPoint m_menuPoint;
    std::function<std::optional<CDateTime>()> m_exchangeNow;
    IChartClickTool* m_clickTool = nullptr;
    // Hands a mouse event to the click tool; false when no tool is active.
    bool ToolMouse(QEvent* event);
    std::unique_ptr<IPaneStudies> m_studies;
    QTimer m_studyPoll;
    CChartInfoTip* m_tip = nullptr;
    QPoint m_mouse;
    int m_cursorBar = kNoCursorBar;
    std::string m_infoText;
    // Cursor read-outs are coalesced: the labels are drawn at most once per period.
    QTimer m_readOutTimer;

    // Moves the item under a press by the mouse's move; false when no item follows the drag.
    bool DragItem(const QPoint& pos);

    // A drag in progress: of a pane border (the lower pane), of a drawn item that follows it,
    // or of the chart.
    int m_dragBorder = -1;
    std::shared_ptr<CDrawnItem> m_dragItem;
    int m_dragItemPane = -1;
    bool m_itemMoved = false;
    QPoint m_dragLast;
    bool m_draggingChart = false;
    int m_dragAnchorPosition = 0;
    double m_dragStartX = 0.0;
};

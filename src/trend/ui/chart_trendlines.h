#pragma once

// The trendlines of the chart window: drawing each kind with its click sequence and prompts and
// a rubber band that follows the mouse, deleting one (it flashes while the question is asked) or
// all, applying the kinds' styles, and keeping the trendlines of each symbol and data type in the
// store, which is saved whenever they change.

#include "chart/ui/chart_click_tool.h"
#include "trend/trend_lists.h"
#include "trend/trend_placement.h"
#include "trend/trend_store.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <string>

class CChartCanvas;
class CChartHistRequest;
class IPrompt;
class QMenu;

// The price pane of a canvas as the home of trendlines.
class CCanvasTrendPane : public ITrendPane {
public:
    explicit CCanvasTrendPane(CChartCanvas& canvas) : m_canvas(canvas) {}
    void AddTrendItem(std::shared_ptr<CDrawnItem> item) override;
    void RemoveTrendItem(const CDrawnItem* item) override;

private:
    CChartCanvas& m_canvas;
};

class CChartTrendlines : public QObject, private IChartClickTool {
    Q_OBJECT

public:
    // How near (pixels) a click must be to a trendline to pick it for deletion.
    static constexpr double kHitTolerance = 5.0;
    static constexpr const char* kDeleteCaption = "Delete Trendline";

    // `store` is the application's, saved through `save` after every change.
    CChartTrendlines(CChartCanvas& canvas, const CChartHistRequest& history, IPrompt& prompt,
                     CTrendStore& store, std::function<void()> save, QObject* parent = nullptr);
    ~CChartTrendlines() override;

    // Where the prompts go (the frame's status line).
    void SetPromptSink(std::function<void(const std::string&)> sink) {
        m_promptSink = std::move(sink);
    }

    // The chart now shows `chart` (its history is complete): its stored trendlines are drawn.
    // Called again for the same chart (a reload), the trendlines find their bars again.
    void ShowChart(const STrendChartKey& chart);
    // The series lost points: the trendlines find their bars again.
    void SeriesChanged();
    // Draws every trendline in `styles`.
    void ApplyStyles(const STrendStyles& styles);

    // The commands. Each first leaves a drawing or delete mode that is active.
    void StartDrawing(ETrendKind kind);
    void StartDeleting();
    // Asks "Delete all trendlines?"; on Yes removes them all. Returns how many were removed.
    int DeleteAll(bool ask = true);
    // Adds a trendline as if it had been drawn; false when no chart is shown.
    bool Add(ETrendKind kind, std::vector<STrendPoint> points);

    // Adds "Draw Trendlines" (a kind per command), "Delete Trendline..", "Delete All Trendlines"
    // and `settingsCommand` as "Trendlines..." to `menu`.
    void AddCommands(QMenu& menu, const std::function<void()>& settingsCommand);

    const CTrendLists& Lists() const { return m_lists; }
    // The trendline under `point` of the price pane (pane pixels), or null.
    std::shared_ptr<CBaseTrend> TrendlineAt(CChart2D::SPixelPoint point) const;
    // The trendlines changed outside the commands (an alert set or fired): they are stored,
    // saved and drawn again.
    void Changed();
    // The store changed under the shown chart (an alert deleted or armed again): its
    // trendlines are drawn again from it.
    void Reload();
    const std::optional<STrendChartKey>& Chart() const { return m_chart; }
    const STrendStyles& Styles() const { return m_styles; }
    // The placement in progress (drawing mode), or null.
    const CTrendPlacement* Placement() const { return m_placement.get(); }
    bool Deleting() const { return m_deleting; }
    const QTimer& FlashTimer() const { return m_flash; }

private:
    // IChartClickTool
    void Click(int pane, CChart2D::SPixelPoint point) override;
    void Move(int pane, CChart2D::SPixelPoint point) override;
    void Cancel() override;

    void ClickToDelete(CChart2D::SPixelPoint point);
    std::optional<STrendPoint> PointAt(int pane, CChart2D::SPixelPoint point) const;
    void ShowPreview(const std::vector<STrendPoint>& points);
    void DropPreview();
    void Leave();
    void SetPrompt(const std::string& text);

    CChartCanvas& m_canvas;
    const CChartHistRequest& m_history;
    IPrompt& m_prompt;
    CTrendStore& m_store;
    std::function<void()> m_save;
    std::function<void(const std::string&)> m_promptSink;
    CCanvasTrendPane m_pane;
    CTrendLists m_lists;
    STrendStyles m_styles{};
    std::optional<STrendChartKey> m_chart;

    std::unique_ptr<CTrendPlacement> m_placement;
    std::shared_ptr<CBaseTrend> m_preview;
    bool m_deleting = false;
    QTimer m_flash;
    std::shared_ptr<CBaseTrend> m_flashing;
};

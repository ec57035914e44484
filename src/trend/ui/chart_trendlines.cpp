#include "trend/ui/chart_trendlines.h"

#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_stack_widget.h"
#include "core/prompt.h"
#include "core/timers.h"
#include "history/chart_hist_request.h"

#include <QMenu>

#include <cmath>

namespace {

// Series numbers of the line being placed, far above those the lists hand out.
constexpr int kPreviewNumberBase = 1'000'000;

std::vector<int> PreviewNumbers() {
    std::vector<int> numbers(kMaxTrendParts);
    for (int i = 0; i < kMaxTrendParts; ++i) {
        numbers[static_cast<std::size_t>(i)] = kPreviewNumberBase + i;
    }
    return numbers;
}

} // namespace

void CCanvasTrendPane::AddTrendItem(std::shared_ptr<CDrawnItem> item) {
    m_canvas.DrawManager().AddItem(0, std::move(item));
}

void CCanvasTrendPane::RemoveTrendItem(const CDrawnItem* item) {
    m_canvas.DrawManager().RemoveItem(0, item);
}

CChartTrendlines::CChartTrendlines(CChartCanvas& canvas, const CChartHistRequest& history,
                                   IPrompt& prompt, CTrendStore& store, std::function<void()> save,
                                   QObject* parent)
    : QObject(parent), m_canvas(canvas), m_history(history), m_prompt(prompt), m_store(store),
      m_save(std::move(save)), m_pane(canvas), m_lists(m_pane) {
    m_flash.setObjectName(QString::number(timers::kFlashId));
    m_flash.setInterval(timers::kFlashPeriodMs);
    connect(&m_canvas, &CChartCanvas::itemMoved, this, [this](const CDrawnItem* item) {
        for (const auto& trend : m_lists.All()) {
            if (trend.get() == item) {
                trend->ReTime(m_history);
                Changed();
                return;
            }
        }
    });
    connect(&m_flash, &QTimer::timeout, this, [this] {
        if (m_flashing != nullptr) {
            m_flashing->SetHighlighted(!m_flashing->Highlighted());
            m_canvas.RedrawAll();
        }
    });
}

CChartTrendlines::~CChartTrendlines() {
    if (m_canvas.ClickTool() == this) {
        m_canvas.SetClickTool(nullptr);
    }
}

void CChartTrendlines::ShowChart(const STrendChartKey& chart) {
    if (m_chart && *m_chart == chart) {
        SeriesChanged();
        return;
    }
    Leave();
    m_lists.RemoveAll();
    m_chart = chart;
    AddTrendRecords(m_lists, m_store.Find(chart), m_history, m_styles);
    m_canvas.RedrawAll();
}

std::shared_ptr<CBaseTrend> CChartTrendlines::TrendlineAt(CChart2D::SPixelPoint point) const {
    return std::dynamic_pointer_cast<CBaseTrend>(
        m_canvas.DrawManager().ItemAt(0, m_canvas.Stack().Pane(0), point, kHitTolerance));
}

void CChartTrendlines::Reload() {
    if (!m_chart) {
        return;
    }
    Leave();
    m_lists.RemoveAll();
    AddTrendRecords(m_lists, m_store.Find(*m_chart), m_history, m_styles);
    m_canvas.RedrawAll();
}

void CChartTrendlines::SeriesChanged() {
    m_lists.Reanchor(m_history);
    m_canvas.RedrawAll();
}

void CChartTrendlines::ApplyStyles(const STrendStyles& styles) {
    m_styles = styles;
    m_lists.ApplyStyles(styles);
    m_canvas.RedrawAll();
}

void CChartTrendlines::StartDrawing(ETrendKind kind) {
    Leave();
    if (!m_chart || m_history.GetCount() == 0) {
        return;
    }
    m_placement = std::make_unique<CTrendPlacement>(kind);
    m_canvas.SetClickTool(this);
    SetPrompt(m_placement->Prompt());
}

void CChartTrendlines::StartDeleting() {
    Leave();
    if (m_lists.Count() == 0) {
        return;
    }
    m_deleting = true;
    m_canvas.SetClickTool(this);
    SetPrompt(kTrendDeletePrompt);
}

int CChartTrendlines::DeleteAll(bool ask) {
    Leave();
    if (m_lists.Count() == 0) {
        return 0;
    }
    if (ask && !m_prompt.Question("Delete All Trendlines", kTrendDeleteAllQuestion)) {
        return 0;
    }
    const int removed = m_lists.RemoveAll();
    Changed();
    return removed;
}

bool CChartTrendlines::Add(ETrendKind kind, std::vector<STrendPoint> points) {
    if (!m_chart) {
        return false;
    }
    // Drawn straight in the scale the price pane shows now.
    m_lists.Add(kind, std::move(points), m_styles[static_cast<std::size_t>(kind)])
        ->SetScale(m_canvas.DrawManager().PriceScale().Kind());
    Changed();
    return true;
}

void CChartTrendlines::AddCommands(QMenu& menu, const std::function<void()>& settingsCommand) {
    const bool chart = m_chart.has_value() && m_history.GetCount() > 0;
    QMenu* draw = menu.addMenu("Draw Trendlines");
    draw->setEnabled(chart);
    for (const STrendKindInfo& info : TrendKindTable()) {
        draw->addAction(info.menuText, this, [this, kind = info.kind] { StartDrawing(kind); });
    }
    menu.addAction("Delete Trendline..", this, [this] { StartDeleting(); })
        ->setEnabled(m_lists.Count() > 0);
    menu.addAction("Delete All Trendlines", this, [this] { DeleteAll(); })
        ->setEnabled(m_lists.Count() > 0);
    menu.addAction("Trendlines...", this, settingsCommand);
}

void CChartTrendlines::Click(int pane, CChart2D::SPixelPoint point) {
    if (m_deleting) {
        if (pane == 0) {
            ClickToDelete(point);
        }
        return;
    }
    if (m_placement == nullptr) {
        return;
    }
    const std::optional<STrendPoint> at = PointAt(pane, point);
    if (!at) {
        return;
    }
    if (!m_placement->Click(*at)) {
        SetPrompt(m_placement->Prompt());
        ShowPreview(m_placement->Preview(*at));
        return;
    }
    const CTrendPlacement placed = *m_placement;
    Leave();
    Add(placed.Kind(), placed.Points());
}

void CChartTrendlines::Move(int pane, CChart2D::SPixelPoint point) {
    if (m_placement == nullptr || m_placement->Points().empty()) {
        return;
    }
    if (const std::optional<STrendPoint> at = PointAt(pane, point)) {
        ShowPreview(m_placement->Preview(*at));
    }
}

void CChartTrendlines::Cancel() {
    Leave();
}

void CChartTrendlines::ClickToDelete(CChart2D::SPixelPoint point) {
    const CTrendLists::SNearest nearest =
        m_lists.Nearest(m_canvas.Stack().Pane(0), m_canvas.DrawManager().View(), point);
    if (nearest.trend == nullptr || nearest.distance > kHitTolerance) {
        return;
    }
    m_flashing = nearest.trend;
    m_flashing->SetHighlighted(true);
    m_canvas.RedrawAll();
    m_flash.start();
    SetPrompt(kTrendDeleteConfirmPrompt);
    const bool yes = m_prompt.Question(kDeleteCaption, kTrendDeleteQuestion);
    m_flash.stop();
    const std::shared_ptr<CBaseTrend> hit = std::move(m_flashing);
    m_flashing.reset();
    hit->SetHighlighted(false);
    Leave();
    if (yes) {
        m_lists.Remove(hit.get());
        Changed();
    } else {
        m_canvas.RedrawAll();
    }
}

std::optional<STrendPoint> CChartTrendlines::PointAt(int pane, CChart2D::SPixelPoint point) const {
    if (pane != 0 || m_history.GetCount() == 0) {
        return std::nullopt;
    }
    const CChart2D& chart = m_canvas.Stack().Pane(0);
    const double slot = chart.PixelXToSlot(point.x);
    const double price = chart.PixelYToValue(point.y, CChart2D::EAxis::Y);
    if (!std::isfinite(slot) || !std::isfinite(price)) {
        return std::nullopt;
    }
    return TrendPointAt(m_history, m_canvas.DrawManager().View().BarOf(std::round(slot)), price);
}

void CChartTrendlines::ShowPreview(const std::vector<STrendPoint>& points) {
    if (m_placement == nullptr) {
        return;
    }
    const ETrendKind kind = m_placement->Kind();
    if (m_preview == nullptr || m_preview->Kind() != kind) {
        DropPreview();
        m_preview = std::make_shared<CBaseTrend>(
            kind, points, m_styles[static_cast<std::size_t>(kind)], PreviewNumbers());
        m_preview->SetScale(m_canvas.DrawManager().PriceScale().Kind());
        m_pane.AddTrendItem(m_preview);
    } else {
        m_preview->SetScale(m_canvas.DrawManager().PriceScale().Kind());
        m_preview->SetPoints(points);
    }
    m_canvas.RedrawAll();
}

void CChartTrendlines::DropPreview() {
    if (m_preview != nullptr) {
        m_pane.RemoveTrendItem(m_preview.get());
        m_preview.reset();
    }
}

void CChartTrendlines::Leave() {
    const bool active = m_placement != nullptr || m_deleting || m_preview != nullptr;
    m_placement.reset();
    m_deleting = false;
    DropPreview();
    if (m_canvas.ClickTool() == this) {
        m_canvas.SetClickTool(nullptr);
    }
    if (active) {
        SetPrompt("");
        m_canvas.RedrawAll();
    }
}

void CChartTrendlines::SetPrompt(const std::string& text) {
    if (m_promptSink) {
        m_promptSink(text);
    }
}

void CChartTrendlines::Changed() {
    if (m_chart) {
        m_store.Set(*m_chart, TrendRecords(m_lists));
        if (m_save) {
            m_save();
        }
    }
    m_canvas.RedrawAll();
}

// Deleting a bad tick or bar from the chart view and restoring the deleted points: the pane
// menu's commands, the click that picks the point, the questions and what follows each answer.

#include "chart/point_deletion.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_stack_widget.h"
#include "core/prompt.h"
#include "history/chart_hist_request.h"
#include "history/point_time.h"

#include <QMenu>

#include <spdlog/spdlog.h>

namespace {

// The deletion mode: the first left click on a displayed point ends it and asks about that
// point; clicks beside the points are ignored.
class CPointDeletionTool final : public IChartClickTool {
public:
    explicit CPointDeletionTool(CChartFormView& view) : m_view(view) {}

    void Click(int pane, CChart2D::SPixelPoint point) override {
        const CChart2D& chart = m_view.Canvas().Stack().Pane(pane);
        const CChart2D::SGeometry geometry = chart.Geometry();
        if (point.x < geometry.left || point.x > geometry.width - geometry.right) {
            return;
        }
        const int place = PlaceOfSlot(chart.PixelXToSlot(point.x),
                                      m_view.Canvas().DrawManager().Displayed().Count());
        if (place == 0) {
            return;
        }
        m_view.EndPointDeletion();
        m_view.ConfirmAndDeletePoint(place);
    }
    void Cancel() override { m_view.EndPointDeletion(); }

private:
    CChartFormView& m_view;
};

} // namespace

void CChartFormView::SetPointCommands(IPrompt& prompt,
                                      std::function<void(const std::string&)> showPrompt) {
    m_prompt = &prompt;
    m_showPrompt = std::move(showPrompt);
    m_deletionTool = std::make_unique<CPointDeletionTool>(*this);
    m_canvas->AddMenuExtender([this](QMenu& menu, int) {
        menu.addSeparator();
        menu.addAction(kDeletePointCommand, this, [this] { StartPointDeletion(); })
            ->setEnabled(HistoryShown() && m_loader.History().GetCount() > 0);
        menu.addAction(QString::fromStdString(RestoreCommandText(m_loader.DataType())), this,
                       [this] { RestorePoints(true); })
            ->setEnabled(HistoryShown() && PointsDeleted());
    });
}

bool CChartFormView::StartPointDeletion() {
    if (m_deletionTool == nullptr || !HistoryShown() || m_loader.History().GetCount() == 0) {
        return false;
    }
    if (IChartClickTool* other = m_canvas->ClickTool();
        other != nullptr && other != m_deletionTool.get()) {
        other->Cancel();
    }
    m_canvas->SetClickTool(m_deletionTool.get());
    if (m_showPrompt) {
        m_showPrompt(DeletionModePrompt(m_loader.DataType()));
    }
    return true;
}

void CChartFormView::EndPointDeletion() {
    if (PointDeletionActive()) {
        m_canvas->SetClickTool(nullptr);
        if (m_showPrompt) {
            m_showPrompt({});
        }
    }
}

bool CChartFormView::PointDeletionActive() const {
    return m_deletionTool != nullptr && m_canvas->ClickTool() == m_deletionTool.get();
}

bool CChartFormView::PointsDeleted() const {
    return m_canvas->DrawManager().PointsDeleted();
}

bool CChartFormView::ConfirmAndDeletePoint(int place) {
    CHistChartDrawManager& draw = m_canvas->DrawManager();
    if (m_prompt == nullptr || place < 1 || place > draw.Displayed().Count()) {
        return false;
    }
    const int index = DeletionIndex(place, draw.Displayed().first);
    const CChartHistRequest& history = m_loader.History();
    sTICK point;
    if (!history.GetTick(index, point)) {
        return false;
    }
    const SQuestionText question = DeletionQuestion(point, m_loader.DataType(), draw.Volume(index));
    if (!m_prompt->Question(question.caption, question.text)) {
        return false;
    }
    // While the question was open the series may have been loaded again: only the point asked
    // about is deleted.
    sTICK now;
    if (!history.GetTick(index, now) || !(now.time == point.time) ||
        now.microseconds != point.microseconds) {
        spdlog::warn("Point {} not deleted: the series changed while the question was open", index);
        return false;
    }
    return DeletePointAt(index);
}

bool CChartFormView::DeletePointAt(int index) {
    sTICK point;
    m_loader.History().GetTick(index, point);
    if (!m_loader.RemovePoint(index)) {
        return false;
    }
    m_canvas->DrawManager().SetPointsDeleted(true);
    const int count = m_loader.History().GetCount();
    spdlog::info("Point {} of {} at {} deleted: {} points left", index, Symbol(),
                 FormatPointTime({point.time, point.microseconds}, m_loader.DataType() == 0),
                 count);
    // The view stays where the scroll bar is (at the newest points when it was there); the
    // studies compute again over the shorter series.
    m_canvas->SetPointCount(count, false);
    m_canvas->RedrawAll();
    m_canvas->ComputeStudies();
    TakeNewestPoint();
    SetStatusText(CHistoryProgress::DatapointsText(count, m_canvas->Range().DisplayedPoints()));
    emit historyShown();
    return true;
}

bool CChartFormView::RestorePoints(bool ask, RestoreDone done) {
    if (!PointsDeleted()) {
        return false;
    }
    if (ask) {
        const SQuestionText question = RestoreQuestion(m_loader.DataType());
        if (m_prompt == nullptr || !m_prompt->Question(question.caption, question.text)) {
            return false;
        }
    }
    EndPointDeletion();
    const std::optional<int> position = m_canvas->Range().AtRightEdge()
                                            ? std::nullopt
                                            : std::optional(m_canvas->Range().Position());
    // The reload empties the series first, so no point comes twice.
    m_canvas->DrawManager().SetPointsDeleted(false);
    spdlog::info("Restoring the deleted points of {}", Symbol());
    const CChartLoader::EStart started = Reload();
    m_restoreDone = std::move(done);
    if (started != CChartLoader::EStart::Sent) {
        const auto& problem = m_loader.SettingsProblem();
        FinishRestore(false, problem ? "no history could be requested: " + problem->reason
                                     : std::string("no lookup connection to request it on"));
        return true;
    }
    m_restorePosition = position;
    return true;
}

void CChartFormView::FinishRestore(bool restored, const std::string& why) {
    if (RestoreDone done = std::exchange(m_restoreDone, {})) {
        done(restored, why);
    }
}

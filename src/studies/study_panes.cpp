#include "studies/study_panes.h"

#include "chart/chart_print.h"
#include "core/data_types.h"
#include "history/chart_hist_request.h"
#include "studies/study_items.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kComputeThreads = 2;
// Growth beyond this many points is computed off the view's thread.
constexpr std::size_t kFollowLimit = 1 << 16;

double At(const std::vector<double>& column, int bar) {
    return bar >= 0 && bar < static_cast<int>(column.size()) ? column[static_cast<std::size_t>(bar)]
                                                             : CChart2D::HoleValue();
}

double At(const study_kernels::SBands& bands, study_kernels::EBand band, int bar) {
    return bar >= 0 && bar < static_cast<int>(bands.size())
               ? bands.At(band, static_cast<std::size_t>(bar))
               : CChart2D::HoleValue();
}

} // namespace

CStudyPanes::CStudyPanes(const SUpperStudySettings& upper, const SStudySettings& studies,
                         CColumnStore::Prepare prepare)
    : m_upper(upper), m_studies(studies), m_inputs(std::make_shared<CStudyInputs>()),
      m_store(std::make_shared<CColumnStore>(std::move(prepare))) {
    m_current = std::make_shared<CStudySet>(m_inputs, m_upper, m_studies, Context());
}

CStudyPanes::~CStudyPanes() {
    Retire();
    ReapRetired(true);
}

SStudyContext CStudyPanes::Context() const {
    SStudyContext context;
    context.dataType = m_dataType;
    if (m_dataType == kIntervals) {
        try {
            context.intervalMinutes = IntervalMinutes(m_intervalIndex);
        } catch (const std::exception&) {
            context.intervalMinutes = 0;
        }
    }
    return context;
}

void CStudyPanes::Show(std::shared_ptr<CStudySet> set) {
    m_current = std::move(set);
    ++m_itemsVersion;
}

void CStudyPanes::Retire() {
    if (m_job) {
        m_job->cancel = true;
        m_retired.push_back(std::move(m_job));
    }
}

void CStudyPanes::SeriesChanged(const CChartHistRequest& history, int dataType, int intervalIndex) {
    m_history = &history;
    m_dataType = dataType;
    m_intervalIndex = intervalIndex;
    m_growPending = false;
    Start(false);
}

void CStudyPanes::SeriesGrew() {
    if (m_history == nullptr) {
        return;
    }
    m_growPending = true;
    FollowGrowth();
}

bool CStudyPanes::FollowGrowth() {
    ReapRetired(false);
    if (!m_growPending || m_job || !m_retired.empty()) {
        // A computation reads the inputs: the growth is followed once it is done.
        return false;
    }
    m_growPending = false;
    const auto have = static_cast<std::size_t>(m_current->Inputs().Count());
    const auto count = static_cast<std::size_t>(std::max(m_history->GetCount(), 0));
    // The newest point may have changed; the ones before it stay as they are.
    const std::size_t from = have == 0 ? 0 : have - 1;
    if (have == 0 || count < have || count - from > kFollowLimit ||
        m_current->SharedInputs() != m_inputs || !m_current->Follow(*m_history, from)) {
        Start(true);
        return false;
    }
    return true;
}

bool CStudyPanes::SettingsChanged(const SUpperStudySettings& upper, const SStudySettings& studies) {
    m_upper = upper;
    m_studies = studies;
    if (m_job && m_jobReadsSeries) {
        // The series is still being read: it is computed with these settings instead.
        Start(false);
        return true;
    }
    Retire();
    // The studies that compute what they computed before are taken over from the drawn set,
    // with the new look; only the others are computed.
    auto set =
        std::make_shared<CStudySet>(m_inputs, m_upper, m_studies, Context(), m_current.get());
    if (set->Computed()) {
        Show(std::move(set));
        return false;
    }
    if (m_current->Studies().paneTypes != m_studies.paneTypes) {
        // Other panes show at once: the studies taken over with their lines, the new ones with
        // their descriptions until computed.
        Show(std::make_shared<CStudySet>(m_inputs, m_upper, m_studies, Context(), m_current.get()));
    } else {
        // The same panes keep their lines until the new ones are ready; those taken over show
        // their new look now.
        ++m_itemsVersion;
    }
    StartJob(std::move(set));
    return true;
}

void CStudyPanes::Clear() {
    m_growPending = false;
    Retire();
    m_inputs = std::make_shared<CStudyInputs>();
    if (m_current->Inputs().Count() > 0) {
        m_spare = m_current;
    }
    Show(std::make_shared<CStudySet>(m_inputs, m_upper, m_studies, Context()));
}

void CStudyPanes::TakeSpareRoom() {
    // A set still drawn somewhere is left to go when that drawing goes.
    if (m_spare != nullptr && m_spare.use_count() == 1) {
        m_spare->GiveRoom(*m_store);
    }
    m_spare.reset();
}

void CStudyPanes::SetFinishedHandler(std::function<void()> handler) {
    m_finished =
        handler ? std::make_shared<const std::function<void()>>(std::move(handler)) : nullptr;
}

void CStudyPanes::Start(bool keepDrawn) {
    Retire();
    const SUpperStudySettings upper = m_upper;
    const SStudySettings studies = m_studies;
    const SStudyContext context = Context();
    // The panes show their descriptions at once and their lines when computed. A series that
    // grew keeps the lines drawn until the new ones are ready.
    if (!keepDrawn || m_current->Studies().paneTypes != studies.paneTypes) {
        Show(
            std::make_shared<CStudySet>(std::make_shared<CStudyInputs>(), upper, studies, context));
    }
    // A computation stopped for this one (a symbol entered before the last one's studies were
    // done) leaves its columns to it, as a set replaced does.
    ReapRetired(false, m_store.get());
    TakeSpareRoom();

    auto job = std::make_unique<SJob>();
    SJob* running = job.get();
    const CChartHistRequest* history = m_history;
    const int dataType = m_dataType;
    job->thread = std::thread([running, history, dataType, upper, studies, context, store = m_store,
                               finished = m_finished] {
        auto inputs = std::make_shared<CStudyInputs>();
        if (history != nullptr && inputs->Read(*history, dataType, &running->cancel, store.get()) &&
            !running->cancel) {
            auto set = std::make_shared<CStudySet>(std::move(inputs), upper, studies, context);
            set->Compute(kComputeThreads, store.get(), &running->cancel);
            (running->cancel ? running->stopped : running->result) = std::move(set);
        }
        running->done = true;
        if (finished != nullptr) {
            (*finished)();
        }
    });
    m_job = std::move(job);
    m_jobReadsSeries = true;
}

void CStudyPanes::StartJob(std::shared_ptr<CStudySet> set) {
    auto job = std::make_unique<SJob>();
    SJob* running = job.get();
    job->thread = std::thread([running, set = std::move(set), finished = m_finished]() mutable {
        set->Compute(kComputeThreads, nullptr, &running->cancel);
        if (!running->cancel) {
            running->result = std::move(set);
        }
        running->done = true;
        if (finished != nullptr) {
            (*finished)();
        }
    });
    m_job = std::move(job);
    m_jobReadsSeries = false;
}

void CStudyPanes::ReapRetired(bool wait, CColumnStore* room) {
    for (auto it = m_retired.begin(); it != m_retired.end();) {
        if (wait || (*it)->done) {
            (*it)->thread.join();
            if (room != nullptr && (*it)->stopped != nullptr) {
                (*it)->stopped->GiveRoom(*room);
            }
            it = m_retired.erase(it);
        } else {
            ++it;
        }
    }
}

bool CStudyPanes::TakeFinished() {
    ReapRetired(false);
    bool changed = false;
    if (m_job && m_job->done) {
        changed = FinishJob();
    }
    // The series grew while a computation ran: the new set goes on over the new points.
    return FollowGrowth() || changed;
}

bool CStudyPanes::FinishJob() {
    m_job->thread.join();
    std::unique_ptr<SJob> job = std::move(m_job);
    // What the computation left of the room of the series before is not kept.
    m_store->Clear();
    const bool finished = job->result != nullptr;
    if (finished) {
        Show(std::move(job->result));
        m_inputs = m_current->SharedInputs();
    }
    return finished;
}

bool CStudyPanes::Computing() const {
    return m_job != nullptr || m_growPending;
}

void CStudyPanes::WaitFinished() {
    do {
        while (m_job) {
            FinishJob();
        }
        ReapRetired(true);
    } while (m_growPending && !FollowGrowth() && m_job);
}

void CStudyPanes::AddItems(int pane, std::vector<std::shared_ptr<CDrawnItem>>& items) const {
    const std::shared_ptr<const CStudySet> set = m_current;
    if (pane == 0) {
        const SUpperStudySettings& upper = set->Upper();
        for (int number = 1; number <= 3; ++number) {
            if (upper.AverageShown(number)) {
                items.push_back(std::make_shared<CStudyLineItem>(
                    kAverageSeries + number - 1, set, set->Average(number),
                    upper.colors[static_cast<std::size_t>(number - 1)]));
            }
        }
        if (upper.bandsShow) {
            using study_kernels::EBand;
            int id = kBandSeries;
            for (const EBand band : {EBand::Lower, EBand::Middle, EBand::Upper}) {
                items.push_back(std::make_shared<CStudyLineItem>(id++, set, set->Bands(), band,
                                                                 upper.bandsColor));
            }
        }
        return;
    }
    if (pane < 1 || pane > set->PaneCount()) {
        return;
    }
    const CHistStudyChart& study = set->Pane(pane - 1);
    int id = kLevelSeries;
    for (const CHistStudyChart::SLevel& level : study.Levels()) {
        items.push_back(std::make_shared<CLevelLineItem>(
            id++, level.value,
            CChart2D::SLineStyle{level.color, 1, CChart2D::kSolid, CChart2D::EAxis::Y}));
    }
    for (std::size_t line = 0; line < study.Lines().size(); ++line) {
        items.push_back(std::make_shared<CStudyLineItem>(kLineSeries + static_cast<int>(line), set,
                                                         study, line));
    }
}

SPaneScale CStudyPanes::PaneScale(int pane) const {
    SPaneScale scale;
    if (pane >= 1 && pane <= PaneCount()) {
        const CHistStudyChart& study = m_current->Pane(pane - 1);
        scale.fixed = study.FixedRange();
        const int type = study.StudyType();
        if (type == kStudyVolume || type == kStudyMoneyFlow || type == kStudyOBV) {
            scale.format = CChart2D::ELabelFormat::Scaled;
        }
    }
    return scale;
}

std::vector<std::string> CStudyPanes::PriceBarFields(int bar, int decimals) const {
    std::vector<std::string> fields;
    const SUpperStudySettings& upper = m_current->Upper();
    std::string averages;
    if (upper.masShow) {
        for (int number = 1; number <= 3; ++number) {
            const double value = At(m_current->Average(number), bar);
            if (upper.AverageShown(number) && !CChart2D::IsHole(value)) {
                averages += fmt::format("MA{}: {:.{}f}  ", number, value, decimals);
            }
        }
    }
    if (!averages.empty()) {
        fields.push_back(averages);
    }
    using study_kernels::EBand;
    const study_kernels::SBands& bands = m_current->Bands();
    if (upper.bandsShow && !CChart2D::IsHole(At(bands, EBand::Middle, bar))) {
        fields.push_back(fmt::format("Bands: lower: {:.{}f} middle: {:.{}f} upper: {:.{}f}",
                                     At(bands, EBand::Lower, bar), decimals,
                                     At(bands, EBand::Middle, bar), decimals,
                                     At(bands, EBand::Upper, bar), decimals));
    }
    return fields;
}

int CStudyPanes::PaneCount() const {
    return m_current->PaneCount();
}

int CStudyPanes::PaneStudyType(int pane) const {
    return pane >= 1 && pane <= PaneCount() ? m_current->Pane(pane - 1).StudyType() : kStudyVolume;
}

std::string CStudyPanes::PaneLabel(int pane, int cursorBar, bool minimized) const {
    if (pane < 1 || pane > PaneCount()) {
        return {};
    }
    return m_current->Pane(pane - 1).label(cursorBar, minimized);
}

std::string CStudyPanes::InfoAverages(int bar) const {
    const SUpperStudySettings& upper = m_current->Upper();
    std::string text;
    if (!upper.masShow) {
        return text;
    }
    for (int number = 1; number <= 3; ++number) {
        const double value = At(m_current->Average(number), bar);
        if (upper.AverageShown(number) && !CChart2D::IsHole(value)) {
            text += fmt::format("MA{}: {:.2f}  ", number, value);
        }
    }
    return text;
}

std::string CStudyPanes::InfoBands(int bar) const {
    using study_kernels::EBand;
    const study_kernels::SBands& bands = m_current->Bands();
    if (!m_current->Upper().bandsShow || CChart2D::IsHole(At(bands, EBand::Middle, bar))) {
        return {};
    }
    return fmt::format("Bands: lower: {:.2f}  middle: {:.2f}  upper: {:.2f}  ",
                       At(bands, EBand::Lower, bar), At(bands, EBand::Middle, bar),
                       At(bands, EBand::Upper, bar));
}

std::string CStudyPanes::InfoStudies(int bar) const {
    std::string text;
    for (int pane = 0; pane < m_current->PaneCount(); ++pane) {
        text += m_current->Pane(pane).InfoLine(bar);
    }
    return text;
}

#include "studies/study_panes.h"

#include "chart/chart_print.h"
#include "core/data_types.h"
#include "history/chart_hist_request.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kComputeThreads = 2;
// Growth beyond this many points is computed off the view's thread.
constexpr std::size_t kFollowLimit = 1 << 16;

std::span<const double> Slice(const std::vector<double>& column, int first, int count) {
    const int size = static_cast<int>(column.size());
    const int begin = std::clamp(first, 0, size);
    const int end = std::clamp(first + count, begin, size);
    return {column.data() + begin, static_cast<std::size_t>(end - begin)};
}

double At(const std::vector<double>& column, int bar) {
    return bar >= 0 && bar < static_cast<int>(column.size()) ? column[static_cast<std::size_t>(bar)]
                                                             : CChart2D::HoleValue();
}

} // namespace

CStudyPanes::CStudyPanes(const SUpperStudySettings& upper, const SStudySettings& studies)
    : m_upper(upper), m_studies(studies), m_inputs(std::make_shared<CStudyInputs>()) {
    m_current = std::make_shared<CStudySet>(m_inputs, m_upper, m_studies, Context());
}

CStudyPanes::~CStudyPanes() {
    if (m_job) {
        m_job->cancel = true;
        m_retired.push_back(std::move(m_job));
    }
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

void CStudyPanes::SeriesChanged(const CChartHistRequest& history, int dataType, int intervalIndex) {
    m_history = &history;
    m_dataType = dataType;
    m_intervalIndex = intervalIndex;
    m_growPending = false;
    Start(true, false);
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
        Start(true, true);
        return false;
    }
    return true;
}

void CStudyPanes::SettingsChanged(const SUpperStudySettings& upper, const SStudySettings& studies) {
    m_upper = upper;
    m_studies = studies;
    Start(false, false);
}

void CStudyPanes::Clear() {
    m_growPending = false;
    if (m_job) {
        m_job->cancel = true;
        m_retired.push_back(std::move(m_job));
    }
    m_inputs = std::make_shared<CStudyInputs>();
    m_current = std::make_shared<CStudySet>(m_inputs, m_upper, m_studies, Context());
}

void CStudyPanes::Start(bool readSeries, bool keepDrawn) {
    if (m_job) {
        m_job->cancel = true;
        m_retired.push_back(std::move(m_job));
    }
    const SUpperStudySettings upper = m_upper;
    const SStudySettings studies = m_studies;
    const SStudyContext context = Context();
    // The panes show their descriptions at once and their lines when computed. A settings
    // change that keeps the panes keeps the lines drawn until the new ones are ready.
    if ((readSeries && !keepDrawn) || m_current->Studies().paneTypes != studies.paneTypes) {
        m_current =
            std::make_shared<CStudySet>(std::make_shared<CStudyInputs>(), upper, studies, context);
    }

    auto job = std::make_unique<SJob>();
    SJob* running = job.get();
    const CChartHistRequest* history = readSeries ? m_history : nullptr;
    std::shared_ptr<CStudyInputs> inputs = readSeries ? nullptr : m_inputs;
    const int dataType = m_dataType;
    job->thread = std::thread([running, history, inputs, dataType, upper, studies, context] {
        std::shared_ptr<CStudyInputs> source = inputs;
        if (history != nullptr) {
            auto read = std::make_shared<CStudyInputs>();
            if (!read->Read(*history, dataType, &running->cancel)) {
                running->done = true;
                return;
            }
            source = std::move(read);
        }
        if (source == nullptr || running->cancel) {
            running->done = true;
            return;
        }
        auto set = std::make_shared<CStudySet>(source, upper, studies, context);
        set->Compute(kComputeThreads);
        running->result = std::move(set);
        running->done = true;
    });
    m_job = std::move(job);
}

void CStudyPanes::ReapRetired(bool wait) {
    for (auto it = m_retired.begin(); it != m_retired.end();) {
        if (wait || (*it)->done) {
            (*it)->thread.join();
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
    const bool finished = job->result != nullptr;
    if (finished) {
        m_current = std::move(job->result);
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

std::optional<CChart2D::SRange> CStudyPanes::UpperExtent(int first, int count) const {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    const auto fold = [&](const std::vector<double>& column) {
        for (const double v : Slice(column, first, count)) {
            if (!CChart2D::IsHole(v) && std::isfinite(v)) {
                low = std::min(low, v);
                high = std::max(high, v);
            }
        }
    };
    for (int number = 1; number <= 3; ++number) {
        fold(m_current->Average(number));
    }
    fold(m_current->Bands().lower);
    fold(m_current->Bands().upper);
    if (!(low <= high)) {
        return std::nullopt;
    }
    return CChart2D::SRange{low, high};
}

void CStudyPanes::PaintUpper(CChart2D& chart, int first, int count) {
    const SUpperStudySettings& upper = m_current->Upper();
    const auto draw = [&](CChart2D::SeriesId id, const std::vector<double>& column,
                          ColorRef color) {
        if (column.empty()) {
            chart.ClearSeries(id);
            return;
        }
        chart.SetLineStyle(id, {color, 1, CChart2D::kSolid, CChart2D::EAxis::Y});
        chart.SetLine(id, Slice(column, first, count), 0.0);
    };
    for (int number = 1; number <= 3; ++number) {
        draw(kAverageSeries + number - 1, m_current->Average(number),
             upper.colors[static_cast<std::size_t>(number - 1)]);
    }
    draw(kBandSeries, m_current->Bands().lower, upper.bandsColor);
    draw(kBandSeries + 1, m_current->Bands().middle, upper.bandsColor);
    draw(kBandSeries + 2, m_current->Bands().upper, upper.bandsColor);
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
    const study_kernels::SBands& bands = m_current->Bands();
    if (upper.bandsShow && !CChart2D::IsHole(At(bands.middle, bar))) {
        fields.push_back(fmt::format("Bands: lower: {:.{}f} middle: {:.{}f} upper: {:.{}f}",
                                     At(bands.lower, bar), decimals, At(bands.middle, bar),
                                     decimals, At(bands.upper, bar), decimals));
    }
    return fields;
}

int CStudyPanes::PaneCount() const {
    return m_current->PaneCount();
}

int CStudyPanes::PaneStudyType(int pane) const {
    return pane >= 1 && pane <= PaneCount() ? m_current->Pane(pane - 1).StudyType() : kStudyVolume;
}

void CStudyPanes::PaintPane(int pane, CChart2D& chart, int first, int count, int cursorBar,
                            bool minimized) {
    if (pane < 1 || pane > PaneCount()) {
        return;
    }
    const CChart2D::SRange x = chart.XRange();
    const int slots = static_cast<int>(std::lround(x.max - x.min));
    m_current->Pane(pane - 1).Paint(chart, first, count, slots, cursorBar, minimized);
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
    const study_kernels::SBands& bands = m_current->Bands();
    if (!m_current->Upper().bandsShow || CChart2D::IsHole(At(bands.middle, bar))) {
        return {};
    }
    return fmt::format("Bands: lower: {:.2f}  middle: {:.2f}  upper: {:.2f}  ",
                       At(bands.lower, bar), At(bands.middle, bar), At(bands.upper, bar));
}

std::string CStudyPanes::InfoStudies(int bar) const {
    std::string text;
    for (int pane = 0; pane < m_current->PaneCount(); ++pane) {
        text += m_current->Pane(pane).InfoLine(bar);
    }
    return text;
}

#include "studies/study_set.h"

#include "history/chart_hist_request.h"
#include "studies/study_charts.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

namespace {

const std::vector<double> kNoColumn;
const study_kernels::SBands kNoBands;

} // namespace

CStudySet::CStudySet(std::shared_ptr<CStudyInputs> inputs, const SUpperStudySettings& upper,
                     const SStudySettings& studies, const SStudyContext& context, CStudySet* reuse)
    : m_inputs(std::move(inputs)), m_upper(upper), m_studies(studies) {
    if (reuse != nullptr && reuse->m_inputs != m_inputs) {
        reuse = nullptr;
    }
    for (int number = 1; number <= 3; ++number) {
        const auto at = static_cast<std::size_t>(number - 1);
        bool pending = false;
        if (m_upper.AverageShown(number)) {
            if (reuse != nullptr && reuse->m_averages[at] != nullptr && !reuse->m_pending[at] &&
                reuse->m_upper.Period(number) == m_upper.Period(number) &&
                reuse->m_upper.exponential == m_upper.exponential) {
                m_averages[at] = reuse->m_averages[at];
            } else {
                m_averages[at] = std::make_shared<std::vector<double>>();
                pending = true;
            }
        }
        m_pending.push_back(pending);
    }
    bool bandsPending = false;
    if (m_upper.bandsShow) {
        if (reuse != nullptr && reuse->m_bands != nullptr && !reuse->m_pending[3] &&
            reuse->m_upper.bandsPeriod == m_upper.bandsPeriod &&
            reuse->m_upper.bandsDeviations == m_upper.bandsDeviations) {
            m_bands = reuse->m_bands;
        } else {
            m_bands = std::make_shared<study_kernels::SBands>();
            bandsPending = true;
        }
    }
    m_pending.push_back(bandsPending);

    std::vector<bool> taken(reuse != nullptr ? reuse->m_panes.size() : 0, false);
    for (const int type : m_studies.paneTypes) {
        std::shared_ptr<CHistStudyChart> pane = MakeStudyChart(type);
        pane->setup(m_studies, context);
        bool pending = true;
        for (std::size_t at = 0; at < taken.size(); ++at) {
            const std::shared_ptr<CHistStudyChart>& old = reuse->m_panes[at];
            if (!taken[at] && !reuse->m_pending[4 + at] && old->SameComputation(*pane)) {
                taken[at] = true;
                old->setup(m_studies, context);
                pane = old;
                pending = false;
                break;
            }
        }
        m_panes.push_back(std::move(pane));
        m_pending.push_back(pending);
    }
    // An index taken over reads the flows of its money flow pane, which this set must hold (and
    // follow) too; without it the index is computed again from the bars.
    for (std::size_t at = 0; at < m_panes.size(); ++at) {
        const auto* index = dynamic_cast<const CHistMFIChart*>(m_panes[at].get());
        if (index == nullptr || index->Flows() == nullptr ||
            std::any_of(m_panes.begin(), m_panes.end(),
                        [index](const auto& pane) { return pane.get() == index->Flows(); })) {
            continue;
        }
        m_panes[at] = MakeStudyChart(kStudyMFI);
        m_panes[at]->setup(m_studies, context);
        m_pending[4 + at] = true;
    }
}

bool CStudySet::Computed() const {
    return std::find(m_pending.begin(), m_pending.end(), true) == m_pending.end();
}

namespace {

// What each study costs against a moving average over the same bars, for taking the costly ones
// first: one thread then finishes while the other does the last cheap ones.
double StudyCost(int studyType) {
    switch (studyType) {
    case kStudyADX:
        return 3.6;
    case kStudyStochastics:
        return 3.0;
    case kStudyMACD:
        return 2.3;
    case kStudyMoneyFlow:
        return 2.7;
    case kStudyMFI:
        return 2.0;
    case kStudyRSI:
        return 1.4;
    case kStudyOBV:
        return 1.2;
    case kStudyVolume:
        return 0.2;
    case kStudyMomentum:
    case kStudyRateOfChange:
        return 0.0; // read from the closes where drawn
    default:
        return 1.0;
    }
}
constexpr double kBandsCost = 3.2;

struct SJob {
    double cost;
    std::function<void()> run;
};

} // namespace

void CStudySet::Compute(int threads, CColumnStore* store, const std::atomic<bool>* cancel) {
    const std::span<const double> close = m_inputs->Columns().close;
    auto room = [store, count = close.size()](std::vector<double>& column) {
        if (store != nullptr) {
            store->Fill(column, count);
        }
    };
    std::vector<SJob> jobs;
    for (int number = 1; number <= 3; ++number) {
        const auto at = static_cast<std::size_t>(number - 1);
        if (m_pending[at]) {
            jobs.push_back({1.0, [this, number, at, close, room] {
                                std::vector<double>& column = *m_averages[at];
                                room(column);
                                study_kernels::StudyAverage(close, m_upper.Period(number),
                                                            m_upper.exponential, column);
                            }});
        }
    }
    if (m_pending[3]) {
        jobs.push_back({kBandsCost, [this, close, room] {
                            room(m_bands->middle);
                            room(m_bands->width);
                            study_kernels::Bollinger(close, m_upper.bandsPeriod,
                                                     m_upper.bandsDeviations, *m_bands);
                        }});
    }
    // A money flow index is read from the flows of a money flow pane of its period when the set
    // holds one, computed in the same job when both are.
    std::vector<bool> done(m_panes.size(), false);
    auto fill = [this, store, count = close.size()](CHistStudyChart& pane) {
        if (store != nullptr) {
            pane.TakeRoom(*store, count);
        }
        pane.fill(*m_inputs, 0);
    };
    for (std::size_t at = 0; at < m_panes.size(); ++at) {
        auto* index = dynamic_cast<CHistMFIChart*>(m_panes[at].get());
        if (index == nullptr || !m_pending[4 + at]) {
            continue;
        }
        for (std::size_t flowAt = 0; flowAt < m_panes.size(); ++flowAt) {
            const CHistStudyChart* flows = m_panes[flowAt].get();
            if (!index->TakesFlowsOf(*flows) || (m_pending[4 + flowAt] && done[flowAt])) {
                continue;
            }
            const bool both = m_pending[4 + flowAt];
            jobs.push_back({both ? StudyCost(kStudyMoneyFlow) : 0.0,
                            [index, flows = m_panes[flowAt], both, fill] {
                                if (both) {
                                    fill(*flows);
                                }
                                index->FillFromFlows(flows);
                            }});
            done[at] = true;
            done[flowAt] = both || done[flowAt];
            break;
        }
    }
    for (std::size_t at = 0; at < m_panes.size(); ++at) {
        if (m_pending[4 + at] && !done[at]) {
            CHistStudyChart* pane = m_panes[at].get();
            jobs.push_back({StudyCost(pane->StudyType()), [pane, fill] { fill(*pane); }});
        }
    }
    m_computedCount = static_cast<int>(std::count(m_pending.begin(), m_pending.end(), true));
    std::stable_sort(jobs.begin(), jobs.end(),
                     [](const SJob& a, const SJob& b) { return a.cost > b.cost; });

    // Each worker takes the next job: the costly studies spread over the threads first.
    std::atomic<std::size_t> next{0};
    const auto stopped = [cancel] {
        return cancel != nullptr && cancel->load(std::memory_order_relaxed);
    };
    const auto work = [&] {
        for (std::size_t job = next++; job < jobs.size() && !stopped(); job = next++) {
            jobs[job].run();
        }
    };
    const int extra = std::clamp(threads, 1, 8) - 1;
    std::vector<std::jthread> workers;
    for (int t = 0; t < extra && static_cast<std::size_t>(t + 1) < jobs.size(); ++t) {
        workers.emplace_back(work);
    }
    work();
    workers.clear();
    if (!stopped()) {
        std::fill(m_pending.begin(), m_pending.end(), false);
    }
}

void CStudySet::GiveRoom(CColumnStore& store) {
    for (auto& average : m_averages) {
        if (average != nullptr && average.use_count() == 1) {
            store.Put(std::move(*average));
        }
    }
    if (m_bands != nullptr && m_bands.use_count() == 1) {
        store.Put(std::move(m_bands->middle));
        store.Put(std::move(m_bands->width));
    }
    for (auto& pane : m_panes) {
        if (pane.use_count() == 1) {
            pane->GiveRoom(store);
        }
    }
    if (m_inputs.use_count() == 1) {
        m_inputs->GiveRoom(store);
    }
    std::fill(m_pending.begin(), m_pending.end(), true);
}

bool CStudySet::Follow(const CChartHistRequest& history, std::size_t from) {
    from = std::min(from, static_cast<std::size_t>(m_inputs->Count()));
    if (!m_inputs->Follow(history, from)) {
        return false;
    }
    const std::span<const double> close = m_inputs->Columns().close;
    for (int number = 1; number <= 3; ++number) {
        if (const auto& average = m_averages[static_cast<std::size_t>(number - 1)]) {
            study_kernels::StudyAverage(close, m_upper.Period(number), m_upper.exponential,
                                        *average, from);
        }
    }
    if (m_bands != nullptr) {
        study_kernels::Bollinger(close, m_upper.bandsPeriod, m_upper.bandsDeviations, *m_bands,
                                 from);
    }
    for (auto& pane : m_panes) {
        pane->fill(*m_inputs, from);
    }
    return true;
}

const std::vector<double>& CStudySet::Average(int number) const {
    const auto& average = m_averages[static_cast<std::size_t>(std::clamp(number, 1, 3) - 1)];
    return average != nullptr ? *average : kNoColumn;
}

const study_kernels::SBands& CStudySet::Bands() const {
    return m_bands != nullptr ? *m_bands : kNoBands;
}

std::vector<SStudyColumn> CStudySet::ExportColumns() const {
    std::vector<SStudyColumn> columns;
    for (int number = 1; number <= 3; ++number) {
        if (m_upper.AverageShown(number)) {
            columns.push_back(
                {"MA" + std::to_string(number), [&values = Average(number)](std::size_t bar) {
                     return bar < values.size() ? std::optional(values[bar]) : std::nullopt;
                 }});
        }
    }
    if (m_upper.bandsShow) {
        using study_kernels::EBand;
        for (const auto& [name, band] : {std::pair{"BBLower", EBand::Lower},
                                         {"BBMiddle", EBand::Middle},
                                         {"BBUpper", EBand::Upper}}) {
            columns.push_back({name, [&bands = Bands(), band](std::size_t bar) {
                                   return bar < bands.size() ? std::optional(bands.At(band, bar))
                                                             : std::nullopt;
                               }});
        }
    }
    std::vector<int> written;
    for (const auto& pane : m_panes) {
        if (std::find(written.begin(), written.end(), pane->StudyType()) != written.end()) {
            continue;
        }
        written.push_back(pane->StudyType());
        for (std::size_t line = 0; line < pane->Lines().size(); ++line) {
            const char* name = pane->Lines()[line].name;
            if (name[0] != '\0') {
                columns.push_back({name, [&pane = *pane, line](std::size_t bar) {
                                       return bar < pane.LineSize(line)
                                                  ? std::optional(
                                                        pane.LineAt(line, static_cast<int>(bar)))
                                                  : std::nullopt;
                                   }});
            }
        }
    }
    return columns;
}

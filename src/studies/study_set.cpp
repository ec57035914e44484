#include "studies/study_set.h"

#include "history/chart_hist_request.h"

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
}

bool CStudySet::Computed() const {
    return std::find(m_pending.begin(), m_pending.end(), true) == m_pending.end();
}

void CStudySet::Compute(int threads) {
    const std::span<const double> close = m_inputs->Columns().close;
    std::vector<std::function<void()>> jobs;
    for (int number = 1; number <= 3; ++number) {
        const auto at = static_cast<std::size_t>(number - 1);
        if (m_pending[at]) {
            jobs.emplace_back([this, number, at, close] {
                *m_averages[at] =
                    study_kernels::StudyAverage(close, m_upper.Period(number), m_upper.exponential);
            });
        }
    }
    if (m_pending[3]) {
        jobs.emplace_back([this, close] {
            *m_bands =
                study_kernels::Bollinger(close, m_upper.bandsPeriod, m_upper.bandsDeviations);
        });
    }
    for (std::size_t at = 0; at < m_panes.size(); ++at) {
        if (m_pending[4 + at]) {
            jobs.emplace_back([this, study = m_panes[at].get()] { study->fill(*m_inputs, 0); });
        }
    }
    m_computedCount = static_cast<int>(jobs.size());

    // The jobs are taken in turn by each worker: the costly studies spread over the threads.
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t job = next++; job < jobs.size(); job = next++) {
            jobs[job]();
        }
    };
    const int extra = std::clamp(threads, 1, 8) - 1;
    std::vector<std::thread> workers;
    for (int t = 0; t < extra && static_cast<std::size_t>(t + 1) < jobs.size(); ++t) {
        workers.emplace_back(work);
    }
    work();
    for (std::thread& worker : workers) {
        worker.join();
    }
    std::fill(m_pending.begin(), m_pending.end(), false);
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
            columns.push_back({"MA" + std::to_string(number), &Average(number)});
        }
    }
    if (m_upper.bandsShow) {
        columns.push_back({"BBLower", &Bands().lower});
        columns.push_back({"BBMiddle", &Bands().middle});
        columns.push_back({"BBUpper", &Bands().upper});
    }
    std::vector<int> written;
    for (const auto& pane : m_panes) {
        if (std::find(written.begin(), written.end(), pane->StudyType()) != written.end()) {
            continue;
        }
        written.push_back(pane->StudyType());
        for (const CHistStudyChart::SLine& line : pane->Lines()) {
            if (line.name[0] == '\0') {
                continue;
            }
            if (line.flat) {
                columns.push_back(
                    {line.name, nullptr, line.flatValue, static_cast<std::size_t>(pane->Count())});
            } else {
                columns.push_back({line.name, &line.values});
            }
        }
    }
    return columns;
}

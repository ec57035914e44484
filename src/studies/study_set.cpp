#include "studies/study_set.h"

#include "history/chart_hist_request.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

CStudySet::CStudySet(std::shared_ptr<CStudyInputs> inputs, const SUpperStudySettings& upper,
                     const SStudySettings& studies, const SStudyContext& context)
    : m_inputs(std::move(inputs)), m_upper(upper), m_studies(studies) {
    for (const int type : m_studies.paneTypes) {
        m_panes.push_back(MakeStudyChart(type));
        m_panes.back()->setup(m_studies, context);
    }
}

void CStudySet::Compute(int threads) {
    const std::span<const double> close = m_inputs->Columns().close;
    std::vector<std::function<void()>> jobs;
    for (int number = 1; number <= 3; ++number) {
        if (m_upper.AverageShown(number)) {
            jobs.emplace_back([this, number, close] {
                m_averages[static_cast<std::size_t>(number - 1)] =
                    study_kernels::StudyAverage(close, m_upper.Period(number), m_upper.exponential);
            });
        }
    }
    if (m_upper.bandsShow) {
        jobs.emplace_back([this, close] {
            m_bands = study_kernels::Bollinger(close, m_upper.bandsPeriod, m_upper.bandsDeviations);
        });
    }
    for (auto& pane : m_panes) {
        jobs.emplace_back([this, study = pane.get()] { study->fill(*m_inputs, 0); });
    }

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
}

bool CStudySet::Follow(const CChartHistRequest& history, std::size_t from) {
    from = std::min(from, static_cast<std::size_t>(m_inputs->Count()));
    if (!m_inputs->Follow(history, from)) {
        return false;
    }
    const std::span<const double> close = m_inputs->Columns().close;
    for (int number = 1; number <= 3; ++number) {
        if (m_upper.AverageShown(number)) {
            study_kernels::StudyAverage(close, m_upper.Period(number), m_upper.exponential,
                                        m_averages[static_cast<std::size_t>(number - 1)], from);
        }
    }
    if (m_upper.bandsShow) {
        study_kernels::Bollinger(close, m_upper.bandsPeriod, m_upper.bandsDeviations, m_bands,
                                 from);
    }
    for (auto& pane : m_panes) {
        pane->fill(*m_inputs, from);
    }
    return true;
}

const std::vector<double>& CStudySet::Average(int number) const {
    return m_averages[static_cast<std::size_t>(std::clamp(number, 1, 3) - 1)];
}

std::vector<SStudyColumn> CStudySet::ExportColumns() const {
    std::vector<SStudyColumn> columns;
    for (int number = 1; number <= 3; ++number) {
        if (m_upper.AverageShown(number)) {
            columns.push_back({"MA" + std::to_string(number), &Average(number)});
        }
    }
    if (m_upper.bandsShow) {
        columns.push_back({"BBLower", &m_bands.lower});
        columns.push_back({"BBMiddle", &m_bands.middle});
        columns.push_back({"BBUpper", &m_bands.upper});
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

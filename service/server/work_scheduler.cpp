#include "work_scheduler.h"

#include <algorithm>

namespace portico {

WorkScheduler::WorkScheduler(QObject* parent) : QObject(parent) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &WorkScheduler::turn);
}

WorkScheduler::~WorkScheduler() = default;

void WorkScheduler::request(ScheduledWork* work) {
    if (work->m_workWaiting) {
        return;
    }
    work->m_workWaiting = true;
    m_waiting.push_back(work);
    if (!m_timer.isActive()) {
        m_timer.start();
    }
}

void WorkScheduler::cancel(ScheduledWork* work) {
    std::erase(m_waiting, work);
    work->m_workWaiting = false;
}

void WorkScheduler::turn() {
    const auto deadline = std::chrono::steady_clock::now() + kTurnBudget;
    // Those that ask again during this turn wait for the next round of it.
    while (!m_waiting.empty() && std::chrono::steady_clock::now() < deadline) {
        ScheduledWork* work = m_waiting.front();
        m_waiting.pop_front();
        work->m_workWaiting = false;
        if (work->workStep()) {
            request(work);
        }
    }
    if (!m_waiting.empty() && !m_timer.isActive()) {
        m_timer.start();
    }
}

} // namespace portico

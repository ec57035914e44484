#include "work_scheduler.h"

#include <algorithm>

#include "connection.h"

namespace portico {

WorkScheduler::WorkScheduler(QObject* parent) : QObject(parent) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &WorkScheduler::turn);
}

WorkScheduler::~WorkScheduler() = default;

void WorkScheduler::request(Connection* connection) {
    if (connection->m_workWaiting) {
        return;
    }
    connection->m_workWaiting = true;
    m_waiting.push_back(connection);
    if (!m_timer.isActive()) {
        m_timer.start();
    }
}

void WorkScheduler::cancel(Connection* connection) {
    std::erase(m_waiting, connection);
    connection->m_workWaiting = false;
}

void WorkScheduler::turn() {
    const auto deadline = std::chrono::steady_clock::now() + kTurnBudget;
    // Those that ask again during this turn wait for the next round of it.
    while (!m_waiting.empty() && std::chrono::steady_clock::now() < deadline) {
        Connection* connection = m_waiting.front();
        m_waiting.pop_front();
        connection->m_workWaiting = false;
        if (connection->workStep()) {
            request(connection);
        }
    }
    if (!m_waiting.empty() && !m_timer.isActive()) {
        m_timer.start();
    }
}

} // namespace portico

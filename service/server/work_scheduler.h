#pragma once

// Shares the event loop between the connections that have work to do (history answers to
// produce, queued commands to answer): each turn gives every waiting connection one step, round
// robin, until the turn's time budget is spent, then returns to the event loop so that every
// socket is served before the next turn.

#include <QObject>
#include <QTimer>

#include <chrono>
#include <deque>

namespace portico {

class Connection;

class WorkScheduler : public QObject {
    Q_OBJECT
public:
    explicit WorkScheduler(QObject* parent = nullptr);
    ~WorkScheduler() override;

    // Time of one turn before the event loop gets its go.
    static constexpr std::chrono::milliseconds kTurnBudget{15};

    // Calls connection->workStep() in a coming turn, and again in later ones while it returns
    // true. Asking again while it waits changes nothing.
    void request(Connection* connection);
    // Forgets a connection that is going away.
    void cancel(Connection* connection);

private:
    void turn();

    std::deque<Connection*> m_waiting;
    QTimer m_timer;
};

} // namespace portico

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

// What the scheduler gives turns to: a connection with pending work.
class ScheduledWork {
public:
    virtual ~ScheduledWork() = default;

protected:
    // One bounded step of the pending work, called by the scheduler after request(); true to be
    // called again in a later round.
    virtual bool workStep() { return false; }

private:
    friend class WorkScheduler;
    bool m_workWaiting = false; // in the scheduler's queue
};

class WorkScheduler : public QObject {
    Q_OBJECT
public:
    explicit WorkScheduler(QObject* parent = nullptr);
    ~WorkScheduler() override;

    // Time of one turn before the event loop gets its go.
    static constexpr std::chrono::milliseconds kTurnBudget{15};

    // Calls work->workStep() in a coming turn, and again in later ones while it returns true.
    // Asking again while it waits changes nothing.
    void request(ScheduledWork* work);
    // Forgets work that is going away.
    void cancel(ScheduledWork* work);

private:
    void turn();

    std::deque<ScheduledWork*> m_waiting;
    QTimer m_timer;
};

} // namespace portico

#pragma once

// A lookup connection: history requests, symbol search and the reference tables, answered in
// the order they arrive. A long history answer is produced a chunk at a time, only while the
// socket's pending output is low, so memory stays bounded and other clients keep being served.

#include <deque>
#include <memory>
#include <string>

#include "connection.h"
#include "history_answer.h"

namespace portico {

class LookupSession : public Connection {
    Q_OBJECT
public:
    LookupSession(QTcpSocket* socket, ServerContext& context, QObject* parent = nullptr);
    ~LookupSession() override;

protected:
    void onLine(std::string_view line) override;
    void onOutputDrained() override;

private:
    void pump();
    void schedulePump();
    // Answers one queued command; short answers are written at once, history answers started.
    void handle(const std::string& line);

    std::deque<std::string> m_queue;
    std::unique_ptr<HistoryAnswer> m_answer;
    std::uint64_t m_dataLinesSent = 0;
    bool m_pumpScheduled = false;
    bool m_cut = false;
};

} // namespace portico

#pragma once

// A lookup connection: history requests, symbol search and the reference tables, answered in
// the order they arrive. The work goes through the service's work scheduler a step at a time: a
// queued command is answered, or a chunk of a history answer produced, only while little of
// this connection's output waits to be written, so memory stays bounded and other clients keep
// being served. A large tick answer is produced on a thread of its own instead, and its steps
// only send what that thread has ready. At most kMaxQueued commands wait; beyond them input is left
// unread.

#include <deque>
#include <memory>
#include <string>

#include "answer_producer.h"
#include "connection.h"
#include "history_answer.h"

namespace portico {

class LookupSession : public Connection {
    Q_OBJECT
public:
    static constexpr std::size_t kMaxQueued = 64;

    LookupSession(QTcpSocket* socket, ServerContext& context, QObject* parent = nullptr);
    ~LookupSession() override;

protected:
    void onLine(std::string_view line) override;
    void onOutputDrained() override;
    bool acceptsInput() const override;
    bool workStep() override;

private:
    // Answers one queued command; short answers are written at once, history answers started.
    void handle(const std::string& line);
    // Sends the next chunk of m_producer's answer, if one is ready; what workStep() returns.
    bool sendProduced();
    // After the last chunk of an answer.
    bool endAnswer(HistoryAnswer::Progress progress, std::uint64_t dataLines);

    std::deque<std::string> m_queue;
    std::unique_ptr<HistoryAnswer> m_answer;    // produced here, a step at a time
    std::unique_ptr<AnswerProducer> m_producer; // or on a thread of its own
    std::uint64_t m_dataLinesSent = 0;
    bool m_cut = false;
};

} // namespace portico

#pragma once

#include "feed/received_bytes_sink.h"
#include "history/history_answer_worker.h"

#include <atomic>
#include <cstdint>
#include <functional>

class CHistoryResponseParser;

// The receiving end of a chart's history answers on the lookup connection: what the connection
// receives goes to a parse worker, which appends the chart's records to the series under its
// lock; its wake-ups reach the chart's thread through `post`, at most one waiting at a time.
class CAnswerReceiver final : public IReceivedBytesSink {
public:
    // Runs the function it is given later on the chart's thread; called from the worker thread.
    // What it runs must not outlive the receiver's owner.
    using Post = std::function<void(std::function<void()>)>;

    // `onWake` runs on the chart's thread when the worker has lines, a failure or room again.
    CAnswerReceiver(CHistoryResponseParser& parser, Post post, std::function<void()> onWake);

    std::vector<char> Buffer() override { return m_worker.Buffer(); }
    void Push(std::vector<char>&& buffer, std::size_t used) override {
        m_worker.Push(std::move(buffer), used);
    }
    bool HasRoom() const override { return m_worker.HasRoom(); }
    std::vector<std::string> TakeLines() override { return m_worker.TakeLines(); }
    std::exception_ptr TakeFailure() override { return m_worker.TakeFailure(); }
    bool LineLongerThan(std::size_t limit) const override {
        return m_worker.PendingLineLength() > limit;
    }
    void Drain() override { m_worker.Drain(); }
    void Restart() override { m_worker.Restart(); }

    // Bytes received so far: what tells an answer that still arrives from a stalled one.
    std::uint64_t BytesReceived() const { return m_worker.BytesPushed(); }

private:
    Post m_post;
    std::function<void()> m_onWake;
    std::atomic<bool> m_wakePosted{false};
    // Last: its thread stops before the rest goes.
    CHistoryAnswerWorker m_worker;
};

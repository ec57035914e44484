#pragma once

// A tick history answer produced on a thread of its own into a few buffers, which the connection
// sends as they fill: the event loop only hands finished text to the socket while the ticks are
// generated and formatted beside it. The thread reads a market of its own
// (Market::simulatedCopy), so it shares no mutable state with the event loop, and it never holds
// more than kBuffers buffers, so memory stays bounded whatever the client's pace.

#include <QObject>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

#include "history_answer.h"
#include "line_writer.h"

namespace portico {

class AnswerProducer {
public:
    static constexpr std::size_t kChunkBytes = 256 * 1024;
    static constexpr std::size_t kBuffers = 4;
    // Producers running at once; answers beyond them are produced on the event loop.
    static constexpr int kMaxRunning = 2;

    // A producer for `request` when the answer is one it takes (ticks of a simulated
    // instrument) and fewer than kMaxRunning run, as counted in `running` (the service's count,
    // kept on the event loop's thread, outliving the producer); null otherwise. `wake` is called
    // on `receiver`'s thread when a chunk becomes ready after take() found none.
    static std::unique_ptr<AnswerProducer> Start(const Market& market,
                                                 const HistoryRequest& request, Micros now,
                                                 const AnswerFaults& faults, int& running,
                                                 QObject* receiver, std::function<void()> wake,
                                                 DayTextCache* days = nullptr);
    // Stops the thread; what it had not handed over is dropped.
    ~AnswerProducer();

    struct Chunk {
        std::size_t buffer = 0;
        std::string_view text; // in the buffer, or in the text that `keep` holds
        HistoryAnswer::Progress progress = HistoryAnswer::Progress::More;
        std::uint64_t dataLines = 0; // of the answer so far
        std::shared_ptr<const void> keep;
    };
    // The next chunk of the answer, if one is ready; its text stays valid until recycle().
    std::optional<Chunk> take();
    void recycle(const Chunk& chunk);

private:
    AnswerProducer(int& running, QObject* receiver, std::function<void()> wake);
    void run(const Market& market, HistoryRequest request, Micros now, AnswerFaults faults,
             DayTextCache* days);

    int& m_running;
    QObject* m_receiver;
    std::function<void()> m_wake;
    std::array<LineWriter, kBuffers> m_buffers;
    std::mutex m_mutex;
    std::condition_variable m_room;
    std::vector<std::size_t> m_spare; // buffers free for the thread
    std::deque<Chunk> m_ready;
    bool m_waiting = false; // take() found nothing: the next chunk wakes the receiver
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

} // namespace portico

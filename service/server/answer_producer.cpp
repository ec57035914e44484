#include "answer_producer.h"

#include <sys/resource.h>
#include <unistd.h>

namespace portico {

namespace {
// The producer's market keeps this many generated days: a tick answer reads them in order.
constexpr std::size_t kCachedDays = 2;
// The producer thread's nice value.
constexpr int kNice = 10;
// A chunk is filled to this much, leaving room for the lines that cross it, so that its buffer
// never grows past kChunkBytes.
constexpr std::size_t kFillBytes = AnswerProducer::kChunkBytes - AnswerProducer::kChunkBytes / 8;
} // namespace

std::unique_ptr<AnswerProducer> AnswerProducer::Start(const Market& market,
                                                      const HistoryRequest& request, Micros now,
                                                      const AnswerFaults& faults, int& running,
                                                      QObject* receiver, std::function<void()> wake,
                                                      DayTextCache* days) {
    const Instrument* instrument = market.find(request.symbol);
    if (!request.isTicks() || instrument == nullptr || instrument->origin != Origin::Simulated ||
        running >= kMaxRunning) {
        return nullptr;
    }
    std::unique_ptr<AnswerProducer> producer(
        new AnswerProducer(running, receiver, std::move(wake)));
    ++running;
    producer->m_thread = std::thread(&AnswerProducer::run, producer.get(), std::cref(market),
                                     request, now, faults, days);
    return producer;
}

AnswerProducer::AnswerProducer(int& running, QObject* receiver, std::function<void()> wake)
    : m_running(running), m_receiver(receiver), m_wake(std::move(wake)) {
    for (std::size_t i = kBuffers; i-- > 0;) {
        m_spare.push_back(i);
    }
}

AnswerProducer::~AnswerProducer() {
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_room.notify_all();
    m_thread.join();
    --m_running;
}

std::optional<AnswerProducer::Chunk> AnswerProducer::take() {
    const std::lock_guard lock(m_mutex);
    if (m_ready.empty()) {
        m_waiting = true;
        return std::nullopt;
    }
    const Chunk chunk = m_ready.front();
    m_ready.pop_front();
    return chunk;
}

void AnswerProducer::recycle(const Chunk& chunk) {
    {
        const std::lock_guard lock(m_mutex);
        m_spare.push_back(chunk.buffer);
    }
    m_room.notify_one();
}

void AnswerProducer::run(const Market& market, HistoryRequest request, Micros now,
                         AnswerFaults faults, DayTextCache* days) {
    // Below the event loop and the programs on the machine: the client that reads the answer
    // comes first, and a large answer is made in the time it leaves.
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), kNice);
    const std::unique_ptr<Market> own = market.simulatedCopy(kCachedDays);
    HistoryAnswer answer(*own, std::move(request), now, faults, days);
    for (;;) {
        std::size_t index = 0;
        {
            std::unique_lock lock(m_mutex);
            m_room.wait(lock, [this] { return m_stop || !m_spare.empty(); });
            if (m_stop) {
                return;
            }
            index = m_spare.back();
            m_spare.pop_back();
        }
        // Lines kept whole in memory are sent from where they are; the buffer stays unused.
        Chunk chunk{index, {}, HistoryAnswer::Progress::More, 0, nullptr};
        if (!answer.view(kChunkBytes, chunk.text, chunk.keep)) {
            LineWriter& out = m_buffers[index];
            out.clear();
            while (chunk.progress == HistoryAnswer::Progress::More && out.size() < kFillBytes &&
                   !m_stop) {
                chunk.progress = answer.fill(out, kFillBytes);
            }
            chunk.text = out.view();
        }
        chunk.dataLines = answer.dataLines();
        const auto progress = chunk.progress;
        bool wake = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_stop) {
                return;
            }
            m_ready.push_back(std::move(chunk));
            wake = std::exchange(m_waiting, false);
        }
        if (wake) {
            QMetaObject::invokeMethod(m_receiver, m_wake, Qt::QueuedConnection);
        }
        if (progress != HistoryAnswer::Progress::More) {
            return;
        }
    }
}

} // namespace portico

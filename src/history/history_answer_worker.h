#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class CHistoryResponseParser;

// Parses a history answer on a thread of its own while it arrives. The receiving thread only
// hands over what each receive brought (Push); the worker cuts it into lines and parses the
// record lines into the series, under the series' lock. Every other line (the end marker, error
// replies, other markers, lines of other answers) is kept in order for the owning thread
// (TakeLines), which hands it to the parser or its own dispatch: the end of the answer and the
// replay of the held Level 1 lines stay on the owning thread.
class CHistoryAnswerWorker {
public:
    using Notify = std::function<void()>;

    // Bytes waiting for the worker beyond which HasRoom() says no.
    static constexpr std::size_t kQueueLimit = 4 << 20;
    // Once the queue was full, the wake-up that says there is room comes when this little is
    // left: the receiving side then reads a run of buffers at once, instead of one buffer per
    // wake-up while the worker stays just behind a fast sender.
    static constexpr std::size_t kRoomAgain = kQueueLimit / 2;
    // A line longer than this, ended or not, is not read, nor is anything after it until a
    // restart; the owner is woken and PendingLineLength says more than this.
    static constexpr std::size_t kLongLine = 0xFFFE;

    // `wake` (may be empty) runs on the worker thread whenever lines are waiting to be taken,
    // after a line failed, when the queue is down to kRoomAgain after it was full and when a line
    // longer than kLongLine was met; it must not call back into the worker.
    explicit CHistoryAnswerWorker(CHistoryResponseParser& parser, Notify wake = {});
    // Finishes the bytes pushed so far, then stops the thread.
    ~CHistoryAnswerWorker();
    CHistoryAnswerWorker(const CHistoryAnswerWorker&) = delete;
    CHistoryAnswerWorker& operator=(const CHistoryAnswerWorker&) = delete;

    // A buffer to receive into (one the worker is done with, as long as it was pushed, or an
    // empty one), to be handed back filled with Push: the receiving thread then copies nothing
    // itself.
    std::vector<char> Buffer();
    // Received bytes: the first `used` bytes of `buffer` are read. Taken even when the queue is
    // full.
    void Push(std::vector<char>&& buffer, std::size_t used);
    // The same with a copy of `size` bytes at `bytes`.
    void Push(const char* bytes, std::size_t size);
    // False while the bytes waiting pass kQueueLimit: the receiving side should stop reading
    // (the sender then waits on the connection) until the wake-up says there is room.
    bool HasRoom() const;
    // The lines waiting for the owning thread, oldest first; the waiting list is emptied.
    std::vector<std::string> TakeLines();
    // The first failure of a line since the last call (a malformed line throws), or null.
    std::exception_ptr TakeFailure();
    // Blocks until every byte pushed so far has been read.
    void Drain();
    // The bytes pushed from now on do not continue a line of those before: an unfinished line
    // is dropped once the bytes before are read.
    void Restart();
    // The length of the unfinished line the worker holds, as of the last buffer it read; more
    // than kLongLine once a line that long was met.
    std::size_t PendingLineLength() const;
    // Bytes pushed so far.
    std::uint64_t BytesPushed() const;

private:
    void Run();

    CHistoryResponseParser& m_parser;
    Notify m_wake;
    mutable std::mutex m_mutex;
    std::condition_variable m_work;
    std::condition_variable m_idle;
    // Buffers waiting with the bytes of each that were received.
    std::deque<std::pair<std::vector<char>, std::size_t>> m_queue;
    std::vector<std::vector<char>> m_spare;
    std::vector<std::string> m_lines;
    std::exception_ptr m_failure;
    std::uint64_t m_pushed = 0;
    std::size_t m_pendingLength = 0;
    std::size_t m_queued = 0;
    bool m_wasFull = false;
    bool m_busy = false;
    bool m_stop = false;
    // The worker's own: the start of a line that the next buffer ends. A queued buffer of no
    // bytes marks a restart.
    std::vector<char> m_pending;
    // The worker's own: a line longer than kLongLine was met, and nothing after it is read.
    bool m_tooLong = false;
    std::thread m_thread;
};

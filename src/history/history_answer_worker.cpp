#include "history/history_answer_worker.h"

#include "history/history_parser.h"

#include <algorithm>
#include <string_view>
#include <utility>

CHistoryAnswerWorker::CHistoryAnswerWorker(CHistoryResponseParser& parser, Notify wake)
    : m_parser(parser), m_wake(std::move(wake)), m_thread([this] { Run(); }) {}

CHistoryAnswerWorker::~CHistoryAnswerWorker() {
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_work.notify_one();
    m_thread.join();
}

std::vector<char> CHistoryAnswerWorker::Buffer() {
    std::lock_guard lock(m_mutex);
    if (m_spare.empty()) {
        return {};
    }
    std::vector<char> buffer = std::move(m_spare.back());
    m_spare.pop_back();
    return buffer;
}

void CHistoryAnswerWorker::Push(std::vector<char>&& buffer, std::size_t used) {
    used = std::min(used, buffer.size());
    if (used == 0) {
        return;
    }
    {
        std::lock_guard lock(m_mutex);
        m_pushed += used;
        m_queued += used;
        m_wasFull = m_wasFull || m_queued > kQueueLimit;
        m_queue.emplace_back(std::move(buffer), used);
    }
    m_work.notify_one();
}

void CHistoryAnswerWorker::Push(const char* bytes, std::size_t size) {
    std::vector<char> buffer = Buffer();
    buffer.assign(bytes, bytes + size);
    Push(std::move(buffer), size);
}

bool CHistoryAnswerWorker::HasRoom() const {
    std::lock_guard lock(m_mutex);
    return m_queued <= kQueueLimit;
}

std::vector<std::string> CHistoryAnswerWorker::TakeLines() {
    std::lock_guard lock(m_mutex);
    return std::exchange(m_lines, {});
}

std::exception_ptr CHistoryAnswerWorker::TakeFailure() {
    std::lock_guard lock(m_mutex);
    return std::exchange(m_failure, nullptr);
}

void CHistoryAnswerWorker::Drain() {
    std::unique_lock lock(m_mutex);
    m_idle.wait(lock, [this] { return m_queue.empty() && !m_busy; });
}

void CHistoryAnswerWorker::Restart() {
    {
        std::lock_guard lock(m_mutex);
        m_queue.emplace_back(std::vector<char>(), 0);
    }
    m_work.notify_one();
}

std::size_t CHistoryAnswerWorker::PendingLineLength() const {
    std::lock_guard lock(m_mutex);
    return m_pendingLength;
}

std::uint64_t CHistoryAnswerWorker::BytesPushed() const {
    std::lock_guard lock(m_mutex);
    return m_pushed;
}

void CHistoryAnswerWorker::Run() {
    std::vector<std::string> lines;
    const CHistoryResponseParser::LineSink passOn = [&lines](std::string_view line) {
        lines.emplace_back(line);
    };
    for (;;) {
        std::vector<char> buffer;
        std::size_t used = 0;
        {
            std::unique_lock lock(m_mutex);
            m_busy = false;
            m_idle.notify_all();
            m_work.wait(lock, [this] { return m_stop || !m_queue.empty(); });
            if (m_queue.empty()) {
                return;
            }
            buffer = std::move(m_queue.front().first);
            used = m_queue.front().second;
            m_queue.pop_front();
            m_queued -= used;
            m_busy = true;
        }
        if (used == 0 || m_tooLong) {
            // A restart; or bytes after a line too long, which nothing reads.
            std::lock_guard lock(m_mutex);
            if (used == 0) {
                m_pending.clear();
                m_tooLong = false;
                m_pendingLength = 0;
            }
            m_spare.push_back(std::move(buffer));
            continue;
        }
        // A line cut by the end of the last buffer is completed from the head of this one; the
        // rest is read in place, up to its last line end.
        std::string_view text(buffer.data(), used);
        std::exception_ptr failure;
        const auto read = [&](std::string_view part) {
            bool tooLong = false;
            try {
                m_parser.OnHistoryText(part, passOn, kLongLine, &tooLong);
            } catch (...) {
                if (!failure) {
                    failure = std::current_exception();
                }
            }
            m_tooLong = m_tooLong || tooLong;
        };
        if (!m_pending.empty()) {
            const std::size_t head = text.find_first_of("\r\n");
            const std::size_t cut = head == std::string_view::npos ? text.size() : head;
            m_pending.insert(m_pending.end(), text.begin(),
                             text.begin() + static_cast<std::ptrdiff_t>(cut));
            text.remove_prefix(cut);
            if (!text.empty()) {
                m_pending.push_back('\n');
                read(std::string_view(m_pending.data(), m_pending.size()));
                m_pending.clear();
            }
        }
        if (!m_tooLong) {
            const std::size_t last = text.find_last_of("\r\n");
            const std::size_t whole = last == std::string_view::npos ? 0 : last + 1;
            read(text.substr(0, whole));
            if (!m_tooLong) {
                m_pending.insert(m_pending.end(), text.begin() + static_cast<std::ptrdiff_t>(whole),
                                 text.end());
            }
        }
        // A line longer than kLongLine, ended or not, is the last thing read until a restart.
        m_tooLong = m_tooLong || m_pending.size() > kLongLine;
        bool notify = failure != nullptr;
        {
            std::lock_guard lock(m_mutex);
            const std::size_t length =
                m_tooLong ? std::max(m_pending.size(), kLongLine + 1) : m_pending.size();
            if (length > kLongLine && m_pendingLength <= kLongLine) {
                notify = true;
            }
            m_pendingLength = length;
            if (m_tooLong) {
                m_pending.clear();
            }
            if (failure && !m_failure) {
                m_failure = failure;
            }
            if (!lines.empty()) {
                notify = true;
                for (std::string& line : lines) {
                    m_lines.push_back(std::move(line));
                }
                lines.clear();
            }
            m_spare.push_back(std::move(buffer));
            if (m_wasFull && m_queued <= kRoomAgain) {
                m_wasFull = false;
                notify = true;
            }
        }
        if (notify && m_wake) {
            m_wake();
        }
    }
}

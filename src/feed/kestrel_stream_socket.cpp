#include "feed/kestrel_stream_socket.h"

#include "feed/received_bytes_sink.h"

#include <spdlog/spdlog.h>

#include <cstring>
#include <exception>
#include <string>
#include <vector>

void SKestrelSocketStats::MarkConnected() {
    connectedAt = std::chrono::system_clock::now();
    status.value = "Connected";
}

void SKestrelSocketStats::MarkClosed() {
    status.value = "Not Connected";
}

CKestrelStreamSocket::CKestrelStreamSocket(IFeedPlatform& platform)
    : m_buffer(new char[kReceiveCapacity]), m_stats(std::make_unique<SKestrelSocketStats>()),
      m_platform(platform.MakeSocket(*this)) {
    m_buffer[0] = 0;
}

CKestrelStreamSocket::~CKestrelStreamSocket() {
    // The platform socket goes first so that no notification reaches a half-destroyed object.
    m_platform.reset();
}

bool CKestrelStreamSocket::Create() {
    return m_platform && m_platform->Create();
}

bool CKestrelStreamSocket::Connect(const std::string& address, std::uint32_t port) {
    const bool connected = m_platform->Connect(address, port);
    if (connected) {
        m_stats->MarkConnected();
    }
    return connected;
}

int CKestrelStreamSocket::Send(const void* bytes, int length, int flags) {
    const int sent = m_platform->Send(bytes, length, flags);
    if (sent < 0) {
        m_lastError = m_platform->LastError();
        return sent;
    }
    m_lastError = 0;
    m_stats->bytesSent.value += static_cast<std::uint32_t>(sent);
    return sent;
}

int CKestrelStreamSocket::Receive(void* buffer, int length, int flags) {
    const int received = m_platform->Receive(buffer, length, flags);
    if (received < 0) {
        m_lastError = m_platform->LastError();
        return received;
    }
    m_lastError = 0;
    m_stats->bytesReceived.value += static_cast<std::uint32_t>(received);
    return received;
}

void CKestrelStreamSocket::Close() {
    m_receiveFill = 0;
    m_lastError = 0;
    m_stats->MarkClosed();
    m_platform->Close();
    m_closing = true;
    OnClose(0);
    m_closing = false;
}

void CKestrelStreamSocket::OnConnect(int error) {
    if (m_thread != nullptr) {
        m_thread->PostThreadMessage(IKestrelSocketThread::kConnectMessage, error, *this);
    }
    m_lastError = error;
    if (error == 0) {
        m_stats->MarkConnected();
    }
}

void CKestrelStreamSocket::OnReceive(int error) {
    if (error != 0) {
        m_lastError = error;
        return;
    }
    if (m_sink != nullptr) {
        ReceiveIntoSink();
        return;
    }
    m_lastReceiveCount =
        Receive(m_buffer.get() + m_receiveFill, m_receiveCapacity - m_receiveFill - 1, 0);
    SplitLines(m_lastReceiveCount);
}

void CKestrelStreamSocket::SetBytesSink(IReceivedBytesSink* sink) {
    if (m_sink == sink) {
        return;
    }
    if (m_waitingForSink) {
        m_waitingForSink = false;
        m_platform->SetReading(true);
    }
    m_sink = sink;
    if (m_sink == nullptr) {
        return;
    }
    m_sink->Restart();
    if (m_receiveFill > 0) {
        std::vector<char> tail = m_sink->Buffer();
        tail.assign(m_buffer.get(), m_buffer.get() + m_receiveFill);
        m_sink->Push(std::move(tail), static_cast<std::size_t>(m_receiveFill));
        m_receiveFill = 0;
        m_buffer[0] = 0;
    }
}

void CKestrelStreamSocket::ReceiveIntoSink() {
    // A buffer that came back from the sink keeps its length: only new room is cleared.
    std::vector<char> buffer = m_sink->Buffer();
    buffer.resize(kSinkReceiveBytes);
    m_lastReceiveCount = Receive(buffer.data(), static_cast<int>(buffer.size()), 0);
    if (m_lastReceiveCount < 1) {
        return;
    }
    // Counted twice, as the line split does.
    m_stats->bytesReceived.value += static_cast<std::uint32_t>(m_lastReceiveCount);
    m_sink->Push(std::move(buffer), static_cast<std::size_t>(m_lastReceiveCount));
    if (!m_sink->HasRoom()) {
        // The sender waits on the connection until the sink has caught up.
        m_waitingForSink = true;
        m_platform->SetReading(false);
    }
}

void CKestrelStreamSocket::TakeFromSink() {
    if (m_sink == nullptr) {
        return;
    }
    std::exception_ptr failure = m_sink->TakeFailure();
    std::vector<std::string> lines = m_sink->TakeLines();
    const auto now = std::chrono::system_clock::now();
    for (std::string& line : lines) {
        try {
            DeliverLine(line.data(), now);
        } catch (...) {
            if (!failure) {
                failure = std::current_exception();
            }
        }
    }
    if (m_fault == ESocketFault::None &&
        m_sink->LineLongerThan(static_cast<std::size_t>(m_receiveCapacity - 2))) {
        m_waitingForSink = true;
        m_platform->SetReading(false);
        ReportFault(ESocketFault::LineTooLong, 0);
    } else if (m_waitingForSink && m_fault == ESocketFault::None && m_sink->HasRoom()) {
        m_waitingForSink = false;
        m_platform->SetReading(true);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void CKestrelStreamSocket::OnClose(int error) {
    if (m_sink != nullptr) {
        // Every line received before the close is delivered before it.
        m_sink->Drain();
        try {
            TakeFromSink();
        } catch (const std::exception& e) {
            spdlog::warn("A line received before the connection closed was dropped: {}", e.what());
        }
    }
    if (m_thread != nullptr) {
        m_thread->PostThreadMessage(IKestrelSocketThread::kCloseMessage, error, *this);
    }
    if (m_listener != nullptr) {
        m_listener->OnConnectionClosed(*this, error);
    }
    m_stats->MarkClosed();
    m_lastError = error;
    if (!m_closing) {
        ReportFault(ESocketFault::ClosedByPeer, error);
    }
}

void CKestrelStreamSocket::ReportFault(ESocketFault fault, int error) {
    if (m_fault != ESocketFault::None || fault == ESocketFault::None) {
        return;
    }
    m_fault = fault;
    m_faultError = error;
    OnFault(fault, error);
}

void CKestrelStreamSocket::OnAccept(int error) {
    if (m_thread != nullptr) {
        m_thread->PostThreadMessage(IKestrelSocketThread::kAcceptMessage, error, *this);
    }
    if (m_listener != nullptr) {
        const std::intptr_t handle = m_platform->Accept();
        if (handle >= 0) {
            m_listener->OnAccepted(handle);
        }
    }
    m_lastError = error;
}

void CKestrelStreamSocket::OnLine(const char* /*line*/) {}

void CKestrelStreamSocket::DeliverLine(char* line, std::chrono::system_clock::time_point now) {
    ++m_stats->messagesReceived.value;
    m_stats->lastMessageAt = now;
    if (m_thread != nullptr) {
        m_thread->OnLine(*this, line);
    } else if (m_listener != nullptr) {
        m_listener->OnLine(*this, line, m_buffer.get());
    } else {
        OnLine(line);
    }
}

namespace {

// The first CR or LF in [from, end), or end. Two memchr passes beat a byte loop by far on long
// answers; the CR pass only covers the stretch before the next LF.
const char* FindLineEnd(const char* from, const char* end) {
    const auto* lf =
        static_cast<const char*>(std::memchr(from, '\n', static_cast<std::size_t>(end - from)));
    const char* limit = lf != nullptr ? lf : end;
    const auto* cr =
        static_cast<const char*>(std::memchr(from, '\r', static_cast<std::size_t>(limit - from)));
    return cr != nullptr ? cr : limit;
}

} // namespace

void CKestrelStreamSocket::SplitLines(std::int32_t count) {
    if (count < 1) {
        return;
    }
    // The receive call has counted these bytes already; they are counted again here.
    m_stats->bytesReceived.value += static_cast<std::uint32_t>(count);
    char* buffer = m_buffer.get();
    const std::int32_t total = m_receiveFill + count;
    buffer[total] = 0;
    std::int32_t start = 0;
    std::int32_t p = 0;
    std::exception_ptr failure;
    // Every line of one receive arrived at the same moment, to the clock's resolution.
    const auto now = std::chrono::system_clock::now();
    while (p < total) {
        p = static_cast<std::int32_t>(FindLineEnd(buffer + p, buffer + total) - buffer);
        if (p >= total) {
            break;
        }
        while (p < total && (buffer[p] == '\r' || buffer[p] == '\n')) {
            buffer[p++] = 0;
        }
        if (buffer[start] != 0) {
            // A consumer that throws abandons its own line only: the split goes on so that the
            // buffer stays consistent, and the first failure is passed on afterwards.
            try {
                DeliverLine(buffer + start, now);
            } catch (...) {
                if (!failure) {
                    failure = std::current_exception();
                }
            }
        }
        start = p;
    }
    if (start >= total) {
        buffer[0] = 0;
        m_receiveFill = 0;
    } else {
        const std::int32_t tail = total - start;
        if (start != 0) {
            std::memmove(buffer, buffer + start, static_cast<std::size_t>(tail));
        }
        m_receiveFill = tail;
    }
    // One unfinished line fills the buffer: no receive can take another byte, so the line can
    // never end and the connection delivers nothing more.
    if (m_receiveFill >= m_receiveCapacity - 1) {
        ReportFault(ESocketFault::LineTooLong, 0);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

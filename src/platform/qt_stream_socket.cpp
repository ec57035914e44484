#include "platform/qt_stream_socket.h"

#include "base/error.h"

#include <QMetaObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

#include <spdlog/spdlog.h>

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int MakeNonBlockingSocket() {
    return ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

} // namespace

CQtStreamSocket::CQtStreamSocket(IPlatformSocketEvents& events) : m_events(events) {}

CQtStreamSocket::~CQtStreamSocket() {
    DropNotifiers();
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

template <typename Notify> void CQtStreamSocket::Dispatch(const char* what, Notify&& notify) {
    try {
        notify();
    } catch (const CInvalidArgException& e) {
        spdlog::warn("Socket {} notification abandoned: {}", what, e.what());
    } catch (const std::exception& e) {
        spdlog::error("Socket {} notification failed: {}", what, e.what());
    }
}

bool CQtStreamSocket::Create() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
    m_fd = MakeNonBlockingSocket();
    if (m_fd < 0) {
        m_lastError = errno;
        m_state = EState::Closed;
        return false;
    }
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    local.sin_port = 0;
    if (::bind(m_fd, reinterpret_cast<sockaddr*>(&local), sizeof(local)) != 0) {
        m_lastError = errno;
        ::close(m_fd);
        m_fd = -1;
        return false;
    }
    m_state = EState::Created;
    return true;
}

void CQtStreamSocket::MakeNotifiers() {
    DropNotifiers();
    m_readNotifier = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Read);
    m_writeNotifier = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Write);
    connect(m_readNotifier.get(), &QSocketNotifier::activated, this, &CQtStreamSocket::OnReadable);
    connect(m_writeNotifier.get(), &QSocketNotifier::activated, this, &CQtStreamSocket::OnWritable);
}

void CQtStreamSocket::DropNotifiers() {
    if (m_readNotifier) {
        m_readNotifier->setEnabled(false);
    }
    if (m_writeNotifier) {
        m_writeNotifier->setEnabled(false);
    }
    // Deleting a notifier from inside its own signal is not allowed; defer it.
    if (m_readNotifier) {
        m_readNotifier.release()->deleteLater();
    }
    if (m_writeNotifier) {
        m_writeNotifier.release()->deleteLater();
    }
}

void CQtStreamSocket::PostConnectResult(int error) {
    QTimer::singleShot(0, this, [this, error] {
        // Reading starts only once the connect has been reported.
        if (error == 0 && m_state == EState::Connected && m_readNotifier) {
            m_readNotifier->setEnabled(m_reading);
        }
        Dispatch("connect", [this, error] { m_events.OnConnect(error); });
    });
}

bool CQtStreamSocket::Connect(const std::string& address, std::uint32_t port) {
    // A socket whose connect failed cannot connect again: a fresh one takes its place.
    if (m_state != EState::Created) {
        DropNotifiers();
        if (!Create()) {
            PostConnectResult(m_lastError);
            return false;
        }
    }
    sockaddr_in remote{};
    remote.sin_family = AF_INET;
    remote.sin_port = htons(static_cast<std::uint16_t>(port));
    if (::inet_pton(AF_INET, address.c_str(), &remote.sin_addr) != 1) {
        m_lastError = EINVAL;
        m_state = EState::Failed;
        PostConnectResult(m_lastError);
        return false;
    }
    const int result = ::connect(m_fd, reinterpret_cast<sockaddr*>(&remote), sizeof(remote));
    if (result == 0) {
        m_state = EState::Connected;
        MakeNotifiers();
        m_readNotifier->setEnabled(false);
        m_writeNotifier->setEnabled(false);
        PostConnectResult(0);
        return true;
    }
    m_lastError = errno;
    if (m_lastError == EINPROGRESS) {
        m_state = EState::Connecting;
        MakeNotifiers();
        m_readNotifier->setEnabled(false);
        return false;
    }
    m_state = EState::Failed;
    PostConnectResult(m_lastError);
    return false;
}

void CQtStreamSocket::OnWritable() {
    m_writeNotifier->setEnabled(false);
    if (m_state != EState::Connecting) {
        return;
    }
    int error = 0;
    socklen_t length = sizeof(error);
    if (::getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
        error = errno;
    }
    if (error == 0) {
        m_state = EState::Connected;
        m_readNotifier->setEnabled(m_reading);
    } else {
        m_state = EState::Failed;
        m_lastError = error;
    }
    Dispatch("connect", [this, error] { m_events.OnConnect(error); });
}

void CQtStreamSocket::OnReadable() {
    if (m_state != EState::Connected) {
        return;
    }
    char probe = 0;
    const ssize_t peeked = ::recv(m_fd, &probe, 1, MSG_PEEK | MSG_DONTWAIT);
    if (peeked == 0 || (peeked < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
        const int error = peeked == 0 ? 0 : errno;
        m_state = EState::Failed;
        DropNotifiers();
        Dispatch("close", [this, error] { m_events.OnClose(error); });
        return;
    }
    if (peeked < 0) {
        return;
    }
    QPointer<CQtStreamSocket> alive(this);
    m_inRead = true;
    m_readTookBytes = false;
    Dispatch("receive", [this] { m_events.OnReceive(0); });
    if (!alive) {
        return;
    }
    m_inRead = false;
    // A receiver whose buffer is full of one unfinished line takes nothing more; stop listening
    // rather than being woken for the same bytes forever.
    if (!m_readTookBytes && m_reading && m_state == EState::Connected && m_readNotifier) {
        spdlog::warn("Socket receiver takes no more bytes; reading stops on this connection");
        m_readNotifier->setEnabled(false);
    }
}

int CQtStreamSocket::Send(const void* bytes, int length, int flags) {
    if (m_fd < 0) {
        m_lastError = ENOTCONN;
        return -1;
    }
    const ssize_t sent =
        ::send(m_fd, bytes, static_cast<std::size_t>(length), flags | MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) {
        m_lastError = errno;
        return -1;
    }
    return static_cast<int>(sent);
}

int CQtStreamSocket::Receive(void* buffer, int length, int flags) {
    if (m_fd < 0) {
        m_lastError = ENOTCONN;
        return -1;
    }
    if (length <= 0) {
        return 0;
    }
    const ssize_t received =
        ::recv(m_fd, buffer, static_cast<std::size_t>(length), flags | MSG_DONTWAIT);
    if (received < 0) {
        m_lastError = errno;
        return -1;
    }
    if (m_inRead && received > 0) {
        m_readTookBytes = true;
    }
    return static_cast<int>(received);
}

std::intptr_t CQtStreamSocket::Accept() {
    if (m_fd < 0) {
        m_lastError = ENOTSOCK;
        return -1;
    }
    const int accepted = ::accept4(m_fd, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted < 0) {
        m_lastError = errno;
        return -1;
    }
    return accepted;
}

void CQtStreamSocket::SetReading(bool reading) {
    m_reading = reading;
    if (m_state == EState::Connected && m_readNotifier) {
        m_readNotifier->setEnabled(reading);
    }
}

void CQtStreamSocket::Close() {
    DropNotifiers();
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_state = EState::Closed;
}

#include "platform/blocking_socket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

CBlockingSocket::~CBlockingSocket() {
    ShutdownAndClose();
}

bool CBlockingSocket::Connect(const std::string& address, std::uint32_t port) {
    ShutdownAndClose();
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_fd < 0) {
        return false;
    }
    timeval timeout{};
    timeout.tv_sec = kTimeoutSeconds;
    ::setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
    ::setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
    sockaddr_in remote{};
    remote.sin_family = AF_INET;
    remote.sin_port = htons(static_cast<std::uint16_t>(port));
    if (::inet_pton(AF_INET, address.c_str(), &remote.sin_addr) != 1 ||
        ::connect(m_fd, reinterpret_cast<sockaddr*>(&remote), sizeof(remote)) != 0) {
        ShutdownAndClose();
        return false;
    }
    return true;
}

long CBlockingSocket::Send(const char* bytes, std::size_t length) {
    if (m_fd < 0) {
        return -1;
    }
    return static_cast<long>(::send(m_fd, bytes, length, MSG_NOSIGNAL));
}

long CBlockingSocket::Receive(char* buffer, std::size_t length) {
    if (m_fd < 0) {
        return -1;
    }
    ssize_t received = 0;
    do {
        received = ::recv(m_fd, buffer, length, 0);
    } while (received < 0 && errno == EINTR);
    return static_cast<long>(received);
}

void CBlockingSocket::ShutdownAndClose() {
    if (m_fd >= 0) {
        ::shutdown(m_fd, SHUT_RDWR);
        ::close(m_fd);
        m_fd = -1;
    }
}

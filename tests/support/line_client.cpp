#include "line_client.h"

#include "deadline.h"

#include "base/fields.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace skychart::test {

LineClient::~LineClient() {
    close();
}

void LineClient::close() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_buffer.clear();
    m_offset = 0;
    m_peerClosed = false;
}

bool LineClient::connect(int port, std::chrono::milliseconds timeout) {
    close();
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    while (true) {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0) {
            return false;
        }
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
            const int one = 1;
            ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
            m_fd = fd;
            return true;
        }
        ::close(fd);
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(20ms);
    }
}

bool LineClient::send(std::string_view bytes) {
    while (m_fd >= 0 && !bytes.empty()) {
        const ssize_t n = ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return m_fd >= 0;
}

bool LineClient::fill(std::chrono::steady_clock::time_point deadline) {
    if (m_fd < 0 || m_peerClosed) {
        return false;
    }
    if (m_offset > 0 && m_offset == m_buffer.size()) {
        m_buffer.clear();
        m_offset = 0;
    } else if (m_offset > (1u << 20)) {
        m_buffer.erase(0, m_offset);
        m_offset = 0;
    }
    pollfd p{m_fd, POLLIN, 0};
    int ready = 0;
    do {
        ready = ::poll(&p, 1, RemainingMs(deadline));
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0) {
        return false;
    }
    char chunk[65536];
    const ssize_t n = ::recv(m_fd, chunk, sizeof(chunk), 0);
    if (n <= 0) {
        m_peerClosed = true;
        return false;
    }
    m_buffer.append(chunk, static_cast<std::size_t>(n));
    return true;
}

std::optional<std::string> LineClient::readRawLine(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (true) {
        const std::size_t end = m_buffer.find('\n', m_offset);
        if (end != std::string::npos) {
            std::string line = m_buffer.substr(m_offset, end + 1 - m_offset);
            m_offset = end + 1;
            return line;
        }
        if (!fill(deadline)) {
            return std::nullopt;
        }
    }
}

std::optional<std::string> LineClient::readLine(std::chrono::milliseconds timeout) {
    auto line = readRawLine(timeout);
    while (line && !line->empty() && (line->back() == '\n' || line->back() == '\r')) {
        line->pop_back();
    }
    return line;
}

std::optional<std::string> LineClient::readLineStartingWith(std::string_view prefix,
                                                            std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (auto line = readLine(std::chrono::milliseconds(RemainingMs(deadline)))) {
        if (line->starts_with(prefix)) {
            return line;
        }
    }
    return std::nullopt;
}

std::optional<std::vector<std::string>> LineClient::readAnswer(std::string_view id,
                                                               std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const std::string end = std::string(id) + ",!ENDMSG!,";
    std::vector<std::string> lines;
    while (auto line = readLine(std::chrono::milliseconds(RemainingMs(deadline)))) {
        lines.push_back(std::move(*line));
        if (lines.back() == end) {
            return lines;
        }
    }
    return std::nullopt;
}

bool LineClient::waitForClose(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!m_peerClosed) {
        m_buffer.clear();
        m_offset = 0;
        if (!fill(deadline) && !m_peerClosed) {
            return false;
        }
    }
    return true;
}

std::vector<std::string> LookupAnswer(int port, const std::string& command, const std::string& id) {
    LineClient client;
    if (!client.connect(port) || !client.send(command + "\r\n")) {
        return {};
    }
    return client.readAnswer(id, 120s).value_or(std::vector<std::string>{});
}

std::vector<std::vector<std::string>> QueryLookup(int port, const std::string& command,
                                                  const std::string& id) {
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : LookupAnswer(port, command, id)) {
        if (line != id + ",!ENDMSG!,") {
            rows.push_back(SplitFieldsCopy(line));
        }
    }
    return rows;
}

int UnusedPort() {
    // Below the kernel's range for outgoing connections: a connection to a port that refuses
    // could otherwise find its own ephemeral port bound there and connect to itself, and a
    // parallel test's outgoing connection could take the port meanwhile.
    constexpr int kFirst = 20000;
    constexpr int kCount = 12000;
    static int next = static_cast<int>(::getpid() * 7919 % kCount);
    for (int tries = 0; tries < kCount; ++tries) {
        const int port = kFirst + next;
        next = (next + 1) % kCount;
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        const bool free =
            ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
        ::close(fd);
        if (free) {
            return port;
        }
    }
    return 0;
}

} // namespace skychart::test

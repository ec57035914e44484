#include "bare_load.h"

#include "feed/feed_platform.h"
#include "feed/kestrel_stream_socket.h"
#include "history/chart_hist_request.h"
#include "history/history_parser.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "bare load: %s (%s)\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

class CBlockingPlatformSocket : public IPlatformSocket {
public:
    ~CBlockingPlatformSocket() override { Close(); }
    bool Create() override {
        m_fd = socket(AF_INET, SOCK_STREAM, 0);
        return m_fd >= 0;
    }
    bool Connect(const std::string& address, std::uint32_t port) override {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(static_cast<std::uint16_t>(port));
        inet_pton(AF_INET, address.c_str(), &to.sin_addr);
        return connect(m_fd, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0;
    }
    int Send(const void* bytes, int length, int flags) override {
        return Result(send(m_fd, bytes, static_cast<std::size_t>(length), flags | MSG_NOSIGNAL));
    }
    int Receive(void* buffer, int length, int flags) override {
        return Result(recv(m_fd, buffer, static_cast<std::size_t>(length), flags));
    }
    std::intptr_t Accept() override { return -1; }
    void Close() override {
        if (m_fd >= 0) {
            close(m_fd);
            m_fd = -1;
        }
    }
    int LastError() const override { return m_error; }

private:
    int Result(ssize_t count) {
        m_error = count < 0 ? errno : 0;
        return static_cast<int>(count);
    }
    int m_fd = -1;
    int m_error = 0;
};

class CBlockingPlatform : public IFeedPlatform {
public:
    std::unique_ptr<IPlatformSocket> MakeSocket(IPlatformSocketEvents&) override {
        return std::make_unique<CBlockingPlatformSocket>();
    }
    std::unique_ptr<IBlockingSocket> MakeBlockingSocket() override { return nullptr; }
    bool LaunchConnectionManager(const std::string&, int& errorCode) override {
        errorCode = ENOSYS;
        return false;
    }
    int ReadPort(const std::string&, const std::string&, int defaultNumber) override {
        return defaultNumber;
    }
};

// Hands "Loo" lines straight from the socket's buffer to the parser.
class CHistoryLineListener : public IKestrelSocketListener {
public:
    explicit CHistoryLineListener(CHistoryResponseParser& parser) : m_parser(parser) {}
    void OnAccepted(std::intptr_t) override {}
    void OnLine(CKestrelStreamSocket&, const char* line, char*) override {
        if (std::strncmp(line, "Loo", 3) == 0) {
            m_parser.OnHistoryLine(line);
        }
    }
    void OnConnectionClosed(CKestrelStreamSocket&, int) override { m_closed = true; }
    bool Closed() const { return m_closed; }

private:
    CHistoryResponseParser& m_parser;
    bool m_closed = false;
};

} // namespace

double LoadOverLoopback(int port, const std::string& command, CChartHistRequest& history) {
    CBlockingPlatform platform;
    CHistoryResponseParser parser(history);
    CHistoryLineListener listener(parser);
    CKestrelStreamSocket socket(platform);
    socket.SetListener(&listener);
    if (!socket.Create() || !socket.Connect("127.0.0.1", static_cast<std::uint32_t>(port))) {
        Fail("cannot connect the stream socket to portico");
    }
    const auto start = Clock::now();
    if (socket.Send(command) != static_cast<int>(command.size())) {
        Fail("cannot send the history command");
    }
    while (!history.IsHistoryComplete()) {
        socket.OnReceive(0);
        if (socket.LastReceiveCount() <= 0) {
            Fail("portico closed the connection before the end marker");
        }
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
}

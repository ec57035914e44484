#include "bench_support.h"

#include "feed/feed_platform.h"
#include "feed/kestrel_stream_socket.h"
#include "history/chart_hist_request.h"
#include "history/history_parser.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "bench: %s (%s)\n", what.c_str(), std::strerror(errno));
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
    bool LaunchConnectionManager(const std::vector<std::string>&, int& errorCode) override {
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

SLoadOptions ParseLoadOptions(int argc, char** argv, const char* usage) {
    if (argc < 2) {
        std::fprintf(stderr, usage, argv[0]);
        std::exit(2);
    }
    SLoadOptions options;
    options.porticoPath = argv[1];
    for (int i = 2; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--ticks") {
            options.ticks = std::atol(argv[i + 1]);
        } else if (option == "--runs") {
            options.runs = std::max(1, std::atoi(argv[i + 1]));
        } else if (option == "--symbol") {
            options.symbol = argv[i + 1];
        } else {
            options.others[option] = argv[i + 1];
        }
    }
    return options;
}

double Median(std::vector<double> values) {
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

double Percentile(std::vector<double> values, double fraction) {
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    const auto rank = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1));
    return values[rank];
}

long StatusKb(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::size_t length = std::strlen(field);
    while (std::getline(status, line)) {
        if (line.compare(0, length, field) == 0) {
            return std::atol(line.c_str() + length + 1);
        }
    }
    return -1;
}

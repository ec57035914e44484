#include "bench_support.h"

#include "feed/kestrel_stream_socket.h"
#include "history/chart_hist_request.h"
#include "history/history_answer_worker.h"
#include "history/history_parser.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
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
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "bench: %s (%s)\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

// The receiving side of the load, as the application's event loop does it: one read of at most
// the stream socket's 64 KiB buffer per readable notification, handed to the parse worker, and
// the lines the worker passes back handled on this thread.
int ConnectTo(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) != 0) {
        Fail("cannot connect to portico");
    }
    return fd;
}

} // namespace

double LoadOverLoopback(int port, const std::string& command, CChartHistRequest& history) {
    CHistoryResponseParser parser(history);
    // The worker's wake-up pipe outlives the worker, which may write to it until it stops.
    struct SPipe {
        int fd[2] = {-1, -1};
        ~SPipe() {
            close(fd[0]);
            close(fd[1]);
        }
    } pipeEnds;
    if (pipe(pipeEnds.fd) != 0) {
        Fail("pipe");
    }
    int* const wake = pipeEnds.fd;
    CHistoryAnswerWorker worker(parser, [&wake] {
        const char byte = 1;
        [[maybe_unused]] const ssize_t written = write(wake[1], &byte, 1);
    });
    const int fd = ConnectTo(port);
    const auto start = Clock::now();
    if (send(fd, command.data(), command.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(command.size())) {
        Fail("cannot send the history command");
    }
    pollfd watched[2] = {{fd, POLLIN, 0}, {wake[0], POLLIN, 0}};
    while (!history.IsHistoryComplete()) {
        // While the worker is behind, the socket is left unread and portico waits.
        watched[0].events = worker.HasRoom() ? POLLIN : 0;
        if (poll(watched, 2, -1) < 0) {
            Fail("poll");
        }
        if ((watched[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            std::vector<char> buffer = worker.Buffer();
            buffer.resize(CKestrelStreamSocket::kReceiveCapacity);
            const ssize_t got = recv(fd, buffer.data(), buffer.size(), 0);
            if (got <= 0) {
                Fail("portico closed the connection before the end marker");
            }
            buffer.resize(static_cast<std::size_t>(got));
            worker.Push(std::move(buffer));
        }
        if ((watched[1].revents & POLLIN) != 0) {
            char drained[64];
            [[maybe_unused]] const ssize_t read_ = read(wake[0], drained, sizeof drained);
            for (const std::string& line : worker.TakeLines()) {
                if (line.compare(0, 3, "Loo") == 0) {
                    parser.OnHistoryLine(line);
                }
            }
            if (worker.TakeFailure()) {
                Fail("a line of the answer could not be read");
            }
        }
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    close(fd);
    return seconds;
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

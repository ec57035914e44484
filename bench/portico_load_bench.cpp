// Measures how fast portico serves a large tick history over loopback, against a raw loopback
// transfer of exactly the same bytes in the same run. Runs are interleaved and medians printed.
//
//   portico_load_bench PORTICO [--ticks N] [--runs R] [--symbol SYM]

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "portico_process.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t kReadChunk = 256 * 1024;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "portico_load_bench: %s (%s)\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

int ConnectLoopback(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        Fail("connect");
    }
    return fd;
}

void SendAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t sent = send(fd, data, std::min<std::size_t>(size, kReadChunk), MSG_NOSIGNAL);
        if (sent <= 0) {
            Fail("send");
        }
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
}

// One history request to portico; returns seconds until the end marker has been read. The
// answer is kept in `keep` when it is not null.
double RequestHistory(int port, const std::string& command, const std::string& endMarker,
                      std::string* keep, std::size_t& bytes) {
    std::vector<char> buffer(kReadChunk);
    const int fd = ConnectLoopback(port);
    const auto start = Clock::now();
    SendAll(fd, command.data(), command.size());
    std::string tail;
    bytes = 0;
    for (;;) {
        const ssize_t got = recv(fd, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
            Fail("portico closed the connection before the end marker");
        }
        bytes += static_cast<std::size_t>(got);
        if (keep != nullptr) {
            keep->append(buffer.data(), static_cast<std::size_t>(got));
        }
        tail.append(buffer.data(), static_cast<std::size_t>(got));
        if (tail.size() > 64) {
            tail.erase(0, tail.size() - 64);
        }
        if (tail.find(endMarker) != std::string::npos) {
            break;
        }
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    close(fd);
    return seconds;
}

// The same bytes from memory through a loopback connection into a discarding reader.
double RawTransfer(const std::string& bytes) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0) {
        Fail("listen");
    }
    socklen_t length = sizeof address;
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    std::thread sender([&] {
        const int fd = accept(listener, nullptr, nullptr);
        SendAll(fd, bytes.data(), bytes.size());
        close(fd);
    });
    std::vector<char> buffer(kReadChunk);
    const int fd = ConnectLoopback(ntohs(address.sin_port));
    const auto start = Clock::now();
    std::size_t total = 0;
    while (total < bytes.size()) {
        const ssize_t got = recv(fd, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
            Fail("raw transfer ended early");
        }
        total += static_cast<std::size_t>(got);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    sender.join();
    close(fd);
    close(listener);
    return seconds;
}

} // namespace

int main(int argc, char** argv) {
    const SLoadOptions options =
        ParseLoadOptions(argc, argv, "usage: %s PORTICO [--ticks N] [--runs R] [--symbol SYM]\n");
    const std::string& porticoPath = options.porticoPath;
    const long ticks = options.ticks;
    const int runs = options.runs;
    const std::string& symbol = options.symbol;

    skychart::test::PorticoProcess portico(porticoPath);
    if (!portico.start({"--linger", "0", "--connect-delay", "0"})) {
        Fail("portico did not start: " + portico.errorOutput());
    }
    const std::string command = "HTX," + symbol + "," + std::to_string(ticks) + ",1,Lookup0\r\n";
    const std::string endMarker = "Lookup0,!ENDMSG!,";

    // The first answer is formatted as it is sent; the second keeps the text of its past days,
    // which later answers copy, and is kept as the payload of the raw transfers.
    std::size_t bytes = 0;
    const double first = RequestHistory(portico.lookupPort(), command, endMarker, nullptr, bytes);
    std::string payload;
    payload.reserve(static_cast<std::size_t>(ticks) * 110);
    const double second = RequestHistory(portico.lookupPort(), command, endMarker, &payload, bytes);
    const std::size_t lines =
        static_cast<std::size_t>(std::count(payload.begin(), payload.end(), '\n'));

    std::vector<double> served;
    std::vector<double> raw;
    for (int run = 0; run < runs; ++run) {
        std::size_t got = 0;
        served.push_back(RequestHistory(portico.lookupPort(), command, endMarker, nullptr, got));
        if (got != bytes) {
            std::fprintf(stderr, "note: run %d got %zu bytes, first answer %zu\n", run, got, bytes);
        }
        raw.push_back(RawTransfer(payload));
    }
    const double servedMedian = Median(served);
    const double rawMedian = Median(raw);
    std::printf("portico load: HTX %s %ld ticks, %zu lines, %.1f MB\n", symbol.c_str(), ticks,
                lines, static_cast<double>(bytes) / 1e6);
    std::printf("  portico served it in      %.3f s (median of %d; %.0f MB/s)\n", servedMedian,
                runs, static_cast<double>(bytes) / 1e6 / servedMedian);
    std::printf("  raw loopback of the bytes %.3f s (median of %d; %.0f MB/s)\n", rawMedian, runs,
                static_cast<double>(bytes) / 1e6 / rawMedian);
    std::printf("  the first answer %.3f s (%.2fx raw loopback); the second, keeping the days' "
                "text, %.3f s (read into memory)\n",
                first, first / rawMedian, second);
    std::printf("  ratio portico / raw loopback: %.2fx\n", servedMedian / rawMedian);
    std::printf("  goal: at most 2x raw loopback; now %.2fx\n", servedMedian / rawMedian);
    return 0;
}

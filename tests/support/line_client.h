#pragma once

// A blocking TCP client for line protocols, with a timeout on every wait.

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace skychart::test {

using namespace std::chrono_literals;

class LineClient {
public:
    LineClient() = default;
    ~LineClient();
    LineClient(const LineClient&) = delete;
    LineClient& operator=(const LineClient&) = delete;
    // Connects to 127.0.0.1:port, retrying refused connects until the timeout.
    bool connect(int port, std::chrono::milliseconds timeout = 10s);
    void close();
    // Sends all bytes; false on failure.
    bool send(std::string_view bytes);
    // The next line with its terminator ("\n", usually after "\r"); none on timeout or close.
    std::optional<std::string> readRawLine(std::chrono::milliseconds timeout = 10s);
    // The next line without "\r\n".
    std::optional<std::string> readLine(std::chrono::milliseconds timeout = 10s);
    // Lines up to and including the first one that starts with `prefix`; none on timeout.
    std::optional<std::string> readLineStartingWith(std::string_view prefix,
                                                    std::chrono::milliseconds timeout = 10s);
    // Lines up to and including "<id>,!ENDMSG!," (without line ends); none on timeout/close.
    std::optional<std::vector<std::string>> readAnswer(std::string_view id,
                                                       std::chrono::milliseconds timeout = 60s);
    // Waits until the peer closes the connection; buffered and further data are dropped.
    bool waitForClose(std::chrono::milliseconds timeout = 10s);

private:
    // Reads more into the buffer; false on close, error or timeout.
    bool fill(std::chrono::steady_clock::time_point deadline);
    int m_fd = -1;
    std::string m_buffer;
    std::size_t m_offset = 0;
    bool m_peerClosed = false;
};

// Sends `command` (without its line end) on a fresh connection to the lookup `port` and returns
// the lines of the answer with id `id` up to and including its end marker; empty when no
// complete answer came.
std::vector<std::string> LookupAnswer(int port, const std::string& command, const std::string& id);
// The same lines split at their commas, the end marker left out.
std::vector<std::vector<std::string>> QueryLookup(int port, const std::string& command,
                                                  const std::string& id);

// A loopback port that was free a moment ago (bound once, then closed), outside the range the
// kernel picks outgoing ports from.
int UnusedPort();

} // namespace skychart::test

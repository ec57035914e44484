// Hostile clients against the real portico: history requests for far more than an answer holds,
// clients that send without reading on every port, a Level 1 client that stops reading, and a
// crowd that leaves in the middle of its answers. After each case portico must still answer a
// simple request, and its resident memory (printed with the case) must stay small.

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>

#include "portico_fixture.h"

namespace portico::test {
namespace {

constexpr std::uint64_t kMaxLines = 5'000'000;
// Far above what portico needs (tens of MiB), far below what it used to reach.
constexpr long kMemoryBoundMiB = 300;
// Long tick answers keep the text of past days up to a budget: a small one here, so that the
// bound holds what the budget lets the cache take beside everything else.
const std::vector<std::string> kSmallDayCache = FrozenNoonWith({"--day-cache-mb", "64"});
#if defined(__SANITIZE_ADDRESS__)
// portico is built with the same sanitizer: its memory holds the sanitizer's own, and it runs
// several times slower, so the figures are printed only and the long answers are left early.
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// A field of /proc/<pid>/status ("VmRSS", "VmHWM") in MiB; -1 when unreadable.
long StatusMiB(pid_t pid, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(field + ":")) {
            return std::stol(line.substr(field.size() + 1)) / 1024;
        }
    }
    return -1;
}

// A client that sends without ever reading, over a socket with a small receive buffer.
class Flooder {
public:
    ~Flooder() { close(); }
    bool connect(int port) {
        m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int small = 4096;
        ::setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &small, sizeof(small));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return ::connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }
    void close() {
        if (m_fd >= 0) {
            ::close(std::exchange(m_fd, -1));
        }
    }
    // Sends `unit` over and over until `total` bytes are out or the peer has taken nothing for
    // `stall`; the bytes sent.
    std::uint64_t flood(const std::string& unit, std::uint64_t total,
                        std::chrono::milliseconds stall = 1500ms) {
        std::string block;
        while (block.size() < (1u << 20)) {
            block += unit;
        }
        std::uint64_t sent = 0;
        for (auto progress = std::chrono::steady_clock::now();
             sent < total && std::chrono::steady_clock::now() - progress < stall;) {
            const std::size_t offset = sent % unit.size();
            const std::size_t length = std::min<std::uint64_t>(block.size() - offset, total - sent);
            const ssize_t n =
                ::send(m_fd, block.data() + offset, length, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n > 0) {
                sent += static_cast<std::uint64_t>(n);
                progress = std::chrono::steady_clock::now();
            } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
                break; // closed by the peer
            } else {
                pollfd p{m_fd, POLLOUT, 0};
                ::poll(&p, 1, 100);
            }
        }
        return sent;
    }
    // Whether the peer resets the connection within `timeout`; nothing is read meanwhile.
    bool resetByPeer(std::chrono::milliseconds timeout) {
        pollfd p{m_fd, POLLRDHUP, 0};
        return ::poll(&p, 1, static_cast<int>(timeout.count())) == 1 &&
               (p.revents & (POLLERR | POLLHUP | POLLRDHUP)) != 0;
    }

private:
    int m_fd = -1;
};

class HostileTest : public PorticoTest {
protected:
    // Prints portico's memory after a case and holds it to the bound.
    void checkMemory(const std::string& after) {
        const long resident = StatusMiB(portico().pid(), "VmRSS");
        const long peak = StatusMiB(portico().pid(), "VmHWM");
        std::printf("[ memory   ] portico after %s: VmRSS %ld MiB, peak VmHWM %ld MiB\n",
                    after.c_str(), resident, peak);
        EXPECT_GT(resident, 0);
        if (!kSanitized) {
            EXPECT_LT(resident, kMemoryBoundMiB) << after;
            EXPECT_LT(peak, kMemoryBoundMiB) << after;
        }
    }
    void expectSimpleAnswer(const std::string& when) {
        EXPECT_EQ(lookup("HDX,LUMA,3,1,Small", "Small").size(), 4u) << when;
    }
};

// The first and last data lines of an answer with the empty id, how many there were and whether
// the end marker came.
struct Answer {
    std::uint64_t lines = 0;
    std::string first, last;
    bool complete = false;
};

TEST_F(HostileTest, HugeHistoryRequestsGetTheNewestLinesUpToTheCapWhileOthersAreServed) {
    startPortico(kSmallDayCache);
    // Reads the answer to `command` to its end, or only its first line when sanitized; the
    // answer is under way and not read for a moment, and others are still served.
    const auto request = [&](const std::string& command) {
        LineClient client;
        EXPECT_TRUE(Open(client, portico().lookupPort(), command + "\n"));
        Answer answer;
        while (const auto line = client.readLine(60s)) {
            if (*line == ",!ENDMSG!,") {
                answer.complete = true;
                break;
            }
            answer.last = *line;
            if (answer.lines++ == 0) {
                answer.first = *line;
                expectSimpleAnswer("during " + command);
                if (kSanitized) {
                    break;
                }
            }
        }
        EXPECT_TRUE(kSanitized || (answer.complete && answer.lines == kMaxLines)) << command;
        client.close(); // in the middle of the answer when it is not read whole
        expectSimpleAnswer("after " + command);
        checkMemory(command);
        return answer;
    };
    // One-second bars over the whole history, three ways: no limit, an absurd limit, and a
    // range from the year 1.
    const Answer noLimit = request("HIX,LUMA,1,,1,,,s,0");
    const Answer absurd = request("HIX,LUMA,1,999999999999999999,1,,,s,0");
    const Answer fromYearOne = request("HIT,LUMA,1,00010101,,,,,1,,,s,0");
    // The time of a line, as text: it sorts as the times do.
    const auto time = [](const std::string& line) { return SplitFieldsCopy(line).at(2); };
    // The newest bars are the ones kept: up to the last second before the frozen noon.
    EXPECT_GT(time(noLimit.first), "2026-01-01");
    EXPECT_TRUE(kSanitized || time(noLimit.last) == "2026-11-20 11:59:59");
    EXPECT_EQ(std::tie(absurd.first, absurd.last), std::tie(noLimit.first, noLimit.last));
    EXPECT_EQ(std::tie(fromYearOne.first, fromYearOne.last), std::tie(noLimit.first, noLimit.last));
    // Minute bars since 1990 are more than the cap too: the oldest years are left out.
    const Answer minutes = request("HIX,LUMA,60,,1,,,s,0");
    EXPECT_GT(time(minutes.first), "1991-01-01");
    EXPECT_TRUE(kSanitized || time(minutes.last) == "2026-11-20 12:00:00");
    // Newest first, the cap keeps the same newest lines.
    const Answer ticks = request("HTX,LUMA,,0,");
    EXPECT_GT(time(ticks.first), "2026-11-20 11:59:00");
    EXPECT_TRUE(kSanitized || time(ticks.last) < "2026-11-01");
    // Asked again, the days' text is kept within its budget and gives the same lines.
    const Answer again = request("HTX,LUMA,,0,");
    EXPECT_EQ(std::tie(again.first, again.last), std::tie(ticks.first, ticks.last));
}

TEST_F(HostileTest, ClientsThatSendWithoutReadingAreHeldBackOnEveryPort) {
    startPortico(FrozenNoonWith({"--slow-reader-grace", "1"}));
    const std::uint64_t flood = 200u << 20;
    const std::string echo = "S,SET PROTOCOL," + std::string(60'000, 'x') + "\n";
    const struct {
        const char* name;
        int port;
        std::string unit;
    } cases[] = {
        {"lookup history commands", portico().lookupPort(), "HTX,LUMA,100,1,P\n"},
        {"lookup echoes", portico().lookupPort(), echo},
        {"admin echoes", portico().adminPort(), echo},
        {"Level 1 echoes", portico().level1Port(), echo},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Flooder flooder;
        ASSERT_TRUE(flooder.connect(c.port));
        const std::uint64_t sent = flooder.flood(c.unit, flood);
        std::printf("[ flood    ] %s: %llu MiB taken before portico stopped reading\n", c.name,
                    static_cast<unsigned long long>(sent >> 20));
        EXPECT_LT(sent, flood) << "portico went on reading";
        expectSimpleAnswer(std::string("while held: ") + c.name);
        checkMemory(c.name);
        if (c.port == portico().level1Port()) {
            // Over the output bound for the grace time, a Level 1 client is dropped.
            EXPECT_TRUE(flooder.resetByPeer(20s));
        }
        flooder.close();
    }
    // A client that has gone gives its memory back (checked once the service has let go).
    std::this_thread::sleep_for(500ms);
    checkMemory("the flooders left");
    EXPECT_NE(portico().errorOutput().find("dropped: more than 4 MiB of output not read for 1 s"),
              std::string::npos)
        << portico().errorOutput();
}

TEST_F(HostileTest, ALevel1ClientThatStopsReadingIsDropped) {
    startPortico(FrozenNoonWith({"--stress-rate", "300000", "--slow-reader-grace", "1"}));
    Flooder slow;
    ASSERT_TRUE(slow.connect(portico().level1Port()));
    ASSERT_GT(slow.flood("wLUMA\nwAURX\nwBRYN\nwVTRC\n", 24), 0u);
    LineClient reader;
    ASSERT_TRUE(Open(reader, portico().level1Port(), "wLUMA\n"));
    bool dropped = false;
    for (int turn = 0; turn < 300 && !dropped; ++turn) {
        // The other client keeps reading meanwhile.
        const auto until = std::chrono::steady_clock::now() + 100ms;
        while (std::chrono::steady_clock::now() < until) {
            reader.readLine(50ms);
        }
        dropped = slow.resetByPeer(1ms);
    }
    EXPECT_TRUE(dropped);
    checkMemory("a Level 1 client stopped reading");
    // The reading client is still served, stress lines included.
    ASSERT_TRUE(reader.send("S,LEVEL1 COUNTS\n"));
    EXPECT_TRUE(reader.readLineStartingWith("S,LEVEL1 COUNTS,"));
    EXPECT_TRUE(reader.readLineStartingWith("Q,LUMA,"));
    EXPECT_NE(portico().errorOutput().find("Level 1 client 1 dropped"), std::string::npos)
        << portico().errorOutput();
}

TEST_F(HostileTest, TwoHundredClientsLeavingInTheMiddleOfTheirAnswers) {
    startPortico(kSmallDayCache);
    const std::string commands[] = {"HTX,LUMA,2000000,1,T", "HIX,LUMA,1,,0,B,,s,0", "HTX,AURX,,1,A",
                                    "HTD,LUMA,100000,,093000,160000,0,D"};
    std::vector<std::unique_ptr<LineClient>> crowd;
    for (int i = 0; i < 200; ++i) {
        auto client = std::make_unique<LineClient>();
        // A command waits behind each answer: the client leaves with it unanswered.
        ASSERT_TRUE(
            Open(*client, portico().lookupPort(), commands[i % 4] + "\nHTX,LUMA,10,1,Never\n"));
        crowd.push_back(std::move(client));
    }
    for (const auto& client : crowd) {
        const auto line = client->readLine(60s);
        ASSERT_TRUE(line);
        EXPECT_NE(line->find(",LH,"), std::string::npos) << *line;
    }
    expectSimpleAnswer("with 200 answers under way");
    checkMemory("200 answers under way");
    crowd.clear();
    expectSimpleAnswer("after 200 clients left");
    std::this_thread::sleep_for(500ms);
    checkMemory("200 clients left");
    EXPECT_TRUE(portico().running());
}

} // namespace
} // namespace portico::test

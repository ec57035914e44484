// The line socket: cutting received bytes into lines, counters, status and delivery targets.

#include "feed/kestrel_stream_socket.h"
#include "scripted_feed.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>

namespace skychart::test {
namespace {

using Lines = std::vector<std::string>;
using Faults = std::vector<std::pair<ESocketFault, int>>;

class RecordingSocket : public CKestrelStreamSocket {
public:
    using CKestrelStreamSocket::CKestrelStreamSocket;
    Lines lines;
    Faults faults;
    // A line equal to this text makes the handler throw after recording it.
    std::string throwOn;

protected:
    void OnFault(ESocketFault fault, int error) override { faults.emplace_back(fault, error); }
    void OnLine(const char* line) override {
        lines.emplace_back(line);
        if (lines.back() == throwOn) {
            throw std::invalid_argument("short line");
        }
    }
};

class StreamSocketTest : public ::testing::Test {
protected:
    ScriptedPlatform platform;
    RecordingSocket socket{platform};
    ScriptedSocket& wire() { return *platform.sockets.at(0); }
    std::uint32_t messages() const { return socket.Statistics().messagesReceived.value; }
};

TEST_F(StreamSocketTest, AnyRunOfLineEndsEndsOneLineAndEmptyLinesAreNotDelivered) {
    wire().Arrive("A\r\nB\n");
    EXPECT_EQ(socket.lines, (Lines{"A", "B"}));
    EXPECT_EQ(socket.ReceiveFill(), 0);
    EXPECT_EQ(messages(), 2u);

    // A CR ending one receive and the LF starting the next: the LF ends an empty line.
    wire().Arrive("C\r");
    EXPECT_EQ(socket.lines.back(), "C");
    wire().Arrive("\nD");
    EXPECT_EQ(socket.lines.size(), 3u);
    EXPECT_EQ(socket.ReceiveFill(), 1);
    EXPECT_EQ(messages(), 3u);

    wire().Arrive("\n\r\n\rE\r\r");
    EXPECT_EQ(socket.lines, (Lines{"A", "B", "C", "D", "E"}));

    wire().Arrive("\n\n\n");
    EXPECT_EQ(socket.lines.size(), 5u);
    EXPECT_EQ(messages(), 5u);
    EXPECT_EQ(socket.ReceiveFill(), 0);
}

TEST_F(StreamSocketTest, AnUnfinishedLineWaitsAtTheStartOfTheBufferAndCountsItsBytesTwice) {
    wire().Arrive("ABC");
    EXPECT_TRUE(socket.lines.empty());
    EXPECT_EQ(socket.ReceiveFill(), 3);
    EXPECT_EQ(socket.LastReceiveCount(), 3);
    EXPECT_EQ(socket.Statistics().bytesReceived.value, 6u);
    EXPECT_EQ(messages(), 0u);

    // The tail of a receive that also ended a line moves to the front.
    wire().Arrive("D\nEF");
    EXPECT_EQ(socket.lines, (Lines{"ABCD"}));
    EXPECT_EQ(socket.ReceiveFill(), 2);
    EXPECT_EQ(std::string(socket.ReceiveBuffer(), 2), "EF");
    wire().Arrive("G\n");
    EXPECT_EQ(socket.lines, (Lines{"ABCD", "EFG"}));
    EXPECT_EQ(socket.Statistics().bytesReceived.value, 2u * (3 + 4 + 2));

    // A consumer that throws loses only its own line; the rest stays for the next receive.
    socket.throwOn = "bad";
    EXPECT_THROW(wire().Arrive("first\nbad\nlast\npart"), std::invalid_argument);
    EXPECT_EQ(socket.lines, (Lines{"ABCD", "EFG", "first", "bad", "last"}));
    EXPECT_EQ(socket.ReceiveFill(), 4);
    wire().Arrive("ial\n");
    EXPECT_EQ(socket.lines.back(), "partial");
}

TEST_F(StreamSocketTest, LinesUpTo65534BytesPassAndALongerOneStopsTheConnection) {
    const std::string longest(CKestrelStreamSocket::kReceiveCapacity - 2, 'x');
    wire().Arrive(longest + "\n");
    ASSERT_EQ(socket.lines.size(), 1u);
    EXPECT_EQ(socket.lines[0], longest);

    // One receive takes at most capacity - 1 bytes; the rest stays with the platform.
    wire().Arrive(std::string(70000, 'y'));
    EXPECT_EQ(socket.LastReceiveCount(), CKestrelStreamSocket::kReceiveCapacity - 1);
    EXPECT_EQ(socket.ReceiveFill(), CKestrelStreamSocket::kReceiveCapacity - 1);
    wire().Arrive("\nZ\n");
    EXPECT_EQ(socket.LastReceiveCount(), 0);
    EXPECT_EQ(socket.lines.size(), 1u);

    // The stall is reported as the cause the moment the buffer is full, once, and a close that
    // follows it does not replace it.
    EXPECT_EQ(socket.faults, (Faults{{ESocketFault::LineTooLong, 0}}));
    socket.OnClose(ECONNRESET);
    EXPECT_EQ(socket.Fault(), ESocketFault::LineTooLong);
    EXPECT_EQ(socket.faults.size(), 1u);
}

TEST_F(StreamSocketTest, SendCountsOnlyWhatWentOutAndKeepsTheErrorOfAFailure) {
    EXPECT_EQ(socket.Send("hello\n"), 6);
    EXPECT_EQ(socket.Statistics().bytesSent.value, 6u);
    EXPECT_EQ(socket.LastError(), 0);

    wire().failSendsWith = EPIPE;
    EXPECT_EQ(socket.Send("more\n"), -1);
    EXPECT_EQ(socket.LastError(), EPIPE);
    EXPECT_EQ(socket.Statistics().bytesSent.value, 6u);

    wire().failSendsWith = 0;
    wire().sendLimit = 2;
    EXPECT_EQ(socket.Send("abcdef"), 2);
    EXPECT_EQ(socket.Statistics().bytesSent.value, 8u);
    EXPECT_EQ(socket.LastError(), 0);
    EXPECT_EQ(wire().sent, "hello\nab");
}

class RecordingListener : public IKestrelSocketListener {
public:
    void OnAccepted(std::intptr_t handle) override { accepted.push_back(handle); }
    void OnLine(CKestrelStreamSocket& /*socket*/, const char* line, char* /*buffer*/) override {
        lines.emplace_back(line);
    }
    void OnConnectionClosed(CKestrelStreamSocket& /*socket*/, int error) override {
        closes.push_back(error);
    }
    std::vector<std::intptr_t> accepted;
    Lines lines;
    std::vector<int> closes;
};

TEST_F(StreamSocketTest, StatusFollowsConnectAndCloseAndTheListenerIsTold) {
    EXPECT_EQ(socket.Statistics().status.value, "Not Connected");
    socket.OnConnect(ECONNREFUSED);
    EXPECT_EQ(socket.LastError(), ECONNREFUSED);
    EXPECT_EQ(socket.Statistics().status.value, "Not Connected");
    socket.OnConnect(0);
    EXPECT_EQ(socket.Statistics().status.value, "Connected");
    EXPECT_NE(socket.Statistics().connectedAt.time_since_epoch().count(), 0);

    RecordingListener listener;
    socket.SetListener(&listener);
    wire().Arrive("one\ntw");
    EXPECT_EQ(listener.lines, (Lines{"one"}));
    EXPECT_TRUE(socket.lines.empty());

    // A deliberate close forgets the partial line and reports error 0, and is no fault; a close
    // by the peer is.
    socket.Close();
    EXPECT_TRUE(wire().closed);
    EXPECT_EQ(socket.ReceiveFill(), 0);
    EXPECT_EQ(socket.Statistics().status.value, "Not Connected");
    EXPECT_EQ(listener.closes, (std::vector<int>{0}));
    EXPECT_TRUE(socket.faults.empty());
    socket.OnClose(ECONNRESET);
    EXPECT_EQ(socket.LastError(), ECONNRESET);
    EXPECT_EQ(listener.closes, (std::vector<int>{0, ECONNRESET}));
    EXPECT_EQ(socket.faults, (Faults{{ESocketFault::ClosedByPeer, ECONNRESET}}));
}

} // namespace
} // namespace skychart::test

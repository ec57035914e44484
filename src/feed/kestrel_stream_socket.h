#pragma once

#include "feed/feed_platform.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

// A counter of the socket statistics with its display name.
struct SNamedCounter {
    const char* name;
    std::uint32_t value = 0;
};

// A text value of the socket statistics with its display name.
struct SNamedText {
    const char* name;
    std::string value;
};

// Per-connection statistics: times, byte and message counters, connection status.
struct SKestrelSocketStats {
    std::chrono::system_clock::time_point connectedAt{};
    std::chrono::system_clock::time_point lastMessageAt{};
    SNamedCounter bytesSent{"BytesSent"};
    SNamedCounter bytesReceived{"BytesReceived"};
    SNamedCounter messagesSent{"MessagesSent"};
    SNamedCounter messagesReceived{"MessagesReceived"};
    SNamedText status{"Status", "Not Connected"};

    void MarkConnected();
    void MarkClosed();
    bool IsConnected() const { return status.value == "Connected"; }
};

class CKestrelStreamSocket;
class IReceivedBytesSink;

// Why a connection stopped delivering lines. The first fault of a socket is kept: a line that
// overflowed the buffer stays the cause even when the peer closes afterwards.
enum class ESocketFault {
    None,
    ConnectFailed, // the connect failed for good (no retries left)
    LineTooLong,   // a line longer than the receive buffer: nothing more is read
    ClosedByPeer,  // the peer closed the connection or it broke (not a deliberate Close)
};

// Takes what a socket produces when no worker thread owns it.
class IKestrelSocketListener {
public:
    virtual ~IKestrelSocketListener() = default;
    virtual void OnAccepted(std::intptr_t handle) = 0;
    // `line` is zero-terminated inside `buffer` and valid only during the call.
    virtual void OnLine(CKestrelStreamSocket& socket, const char* line, char* buffer) = 0;
    virtual void OnConnectionClosed(CKestrelStreamSocket& socket, int error) = 0;
};

// A worker thread that owns a socket: it gets the connect, close and accept notifications as
// thread messages and every complete line.
class IKestrelSocketThread {
public:
    static constexpr unsigned kConnectMessage = 0x8001;
    static constexpr unsigned kCloseMessage = 0x8002;
    static constexpr unsigned kAcceptMessage = 0x8003;

    virtual ~IKestrelSocketThread() = default;
    virtual void PostThreadMessage(unsigned message, int error, CKestrelStreamSocket& socket) = 0;
    virtual void OnLine(CKestrelStreamSocket& socket, const char* line) = 0;
};

// The line-oriented socket of every feed connection. Receives into one fixed buffer, cuts the
// byte stream into lines in place (any run of CR and LF ends a line, empty lines are dropped)
// and hands each line to the owning thread, else the listener, else OnLine(). With a bytes sink
// it cuts nothing itself: each receive goes to the sink whole, and the lines the sink hands back
// are delivered the same way when TakeFromSink runs.
class CKestrelStreamSocket : public IPlatformSocketEvents {
public:
    static constexpr std::int32_t kReceiveCapacity = 0x10000;
    // The most one receive hands a bytes sink: a long answer then takes a few wake-ups of the
    // event loop and of the sink's reader per megabyte, not dozens. The sink itself refuses a
    // line too long for kReceiveCapacity, ended or not.
    static constexpr std::size_t kSinkReceiveBytes = std::size_t{1} << 18;

    explicit CKestrelStreamSocket(IFeedPlatform& platform);
    ~CKestrelStreamSocket() override;
    CKestrelStreamSocket(const CKestrelStreamSocket&) = delete;
    CKestrelStreamSocket& operator=(const CKestrelStreamSocket&) = delete;

    bool Create();
    virtual bool Connect(const std::string& address, std::uint32_t port);
    // One platform send; -1 on failure (LastError() says why), else the count sent.
    int Send(const void* bytes, int length, int flags = 0);
    int Send(const std::string& text) { return Send(text.data(), static_cast<int>(text.size())); }
    // One platform receive with the same error handling; counts the bytes received.
    int Receive(void* buffer, int length, int flags = 0);
    // A deliberate close: also runs the close notification with error 0.
    void Close();

    void OnConnect(int error) override;
    void OnReceive(int error) override;
    void OnClose(int error) override;
    void OnAccept(int error) override;

    void SetListener(IKestrelSocketListener* listener) { m_listener = listener; }
    // From now on every receive goes to `sink` uncut (null: lines are cut here again). An
    // unfinished line held here goes to the sink first. The sink outlives the socket or is taken
    // back before it goes.
    void SetBytesSink(IReceivedBytesSink* sink);
    IReceivedBytesSink* BytesSink() const { return m_sink; }
    // Delivers the lines the sink handed back, then reads on when reading stopped for the sink
    // and it has room again; a line that grew past the receive buffer in the sink stops the
    // connection as it would here (LineTooLong). A consumer's or the sink's failure is thrown
    // after the other lines are delivered.
    void TakeFromSink();
    void SetOwningThread(IKestrelSocketThread* thread) { m_thread = thread; }

    const SKestrelSocketStats& Statistics() const { return *m_stats; }
    SKestrelSocketStats& Statistics() { return *m_stats; }
    int LastError() const { return m_lastError; }
    // The first fault since the socket was made, and its error code (0 when none is known).
    ESocketFault Fault() const { return m_fault; }
    int FaultError() const { return m_faultError; }
    std::int32_t ReceiveFill() const { return m_receiveFill; }
    std::int32_t LastReceiveCount() const { return m_lastReceiveCount; }
    const char* ReceiveBuffer() const { return m_buffer.get(); }

protected:
    // Each complete line when there is neither an owning thread nor a listener.
    virtual void OnLine(const char* line);
    // Records the first fault and tells OnFault; later faults are ignored.
    void ReportFault(ESocketFault fault, int error);
    // The connection stopped delivering lines for `fault` (called once per socket).
    virtual void OnFault(ESocketFault /*fault*/, int /*error*/) {}

private:
    void SplitLines(std::int32_t count);
    void ReceiveIntoSink();
    void DeliverLine(char* line, std::chrono::system_clock::time_point now);

    std::int32_t m_receiveFill = 0;
    std::int32_t m_receiveCapacity = kReceiveCapacity;
    std::int32_t m_lastReceiveCount = 0;
    std::unique_ptr<char[]> m_buffer;
    IKestrelSocketThread* m_thread = nullptr;
    IKestrelSocketListener* m_listener = nullptr;
    int m_lastError = 0;
    ESocketFault m_fault = ESocketFault::None;
    int m_faultError = 0;
    // Set while Close() runs its own close notification.
    bool m_closing = false;
    IReceivedBytesSink* m_sink = nullptr;
    // Reading stopped because the sink had no room.
    bool m_waitingForSink = false;
    // Every socket of this application owns its statistics record.
    std::unique_ptr<SKestrelSocketStats> m_stats;
    std::unique_ptr<IPlatformSocket> m_platform;
};

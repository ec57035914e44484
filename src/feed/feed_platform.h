#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// What the feed logic needs of the operating system: an event-driven TCP socket, a blocking TCP
// socket for the short reference-table lookups, the start of the connection manager and the
// stored port values. The Qt event loop implementation lives in src/platform.

// Notifications of an event-driven socket. They arrive on the thread that made the socket, from
// its event loop, never from inside a call into the socket. `error` is 0 or an errno code.
class IPlatformSocketEvents {
public:
    virtual ~IPlatformSocketEvents() = default;
    // A connect finished: 0 when the connection is established, else the reason it failed.
    virtual void OnConnect(int error) = 0;
    // Bytes (or an orderly shutdown) are ready to be received.
    virtual void OnReceive(int error) = 0;
    // The peer closed the connection (0) or it broke (the error).
    virtual void OnClose(int error) = 0;
    // A listening socket has a connection to accept.
    virtual void OnAccept(int error) = 0;
};

// A non-blocking TCP stream socket. Results follow the system calls: Send and Receive return
// the count or -1, and LastError() then holds the errno value.
class IPlatformSocket {
public:
    virtual ~IPlatformSocket() = default;
    // A TCP socket on any local port with every notification enabled; false on failure.
    virtual bool Create() = 0;
    // Starts a connect. True when it completed at once. Whatever the result, exactly one
    // OnConnect notification follows (with the error when the connect failed).
    virtual bool Connect(const std::string& address, std::uint32_t port) = 0;
    virtual int Send(const void* bytes, int length, int flags) = 0;
    // One receive of at most `length` bytes; 0 at an orderly shutdown (or when length is 0).
    virtual int Receive(void* buffer, int length, int flags) = 0;
    // Takes a pending connection of a listening socket; its handle, or -1.
    virtual std::intptr_t Accept() = 0;
    // Closes the socket; no notification follows.
    virtual void Close() = 0;
    // Stops (false) or resumes (true) the receive notifications of a connected socket; bytes
    // that arrive meanwhile wait in the system, and the sender waits once its window is full.
    // A socket that cannot stop reading goes on notifying.
    virtual void SetReading(bool /*reading*/) {}
    virtual int LastError() const = 0;
};

// A plain blocking TCP client socket.
class IBlockingSocket {
public:
    virtual ~IBlockingSocket() = default;
    virtual bool Connect(const std::string& address, std::uint32_t port) = 0;
    // One send; the count sent or -1.
    virtual long Send(const char* bytes, std::size_t length) = 0;
    // One receive; the count, 0 at shutdown, -1 on error (or when no reply comes in time).
    virtual long Receive(char* buffer, std::size_t length) = 0;
    // Shuts the connection down both ways and closes it.
    virtual void ShutdownAndClose() = 0;
};

// Everything the feed connections ask of the platform.
class IFeedPlatform {
public:
    virtual ~IFeedPlatform() = default;
    virtual std::unique_ptr<IPlatformSocket> MakeSocket(IPlatformSocketEvents& events) = 0;
    virtual std::unique_ptr<IBlockingSocket> MakeBlockingSocket() = 0;
    // Starts the connection manager detached with `arguments`. On failure returns false with an
    // errno-like code in `errorCode`.
    virtual bool LaunchConnectionManager(const std::vector<std::string>& arguments,
                                         int& errorCode) = 0;
    // The stored port `valueName` (see CStartupStore::ReadPort).
    virtual int ReadPort(const std::string& valueName, const std::string& defaultText,
                         int defaultNumber) = 0;
};

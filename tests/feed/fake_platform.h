#pragma once

// A scripted platform for the feed logic: sockets whose received bytes the test supplies and
// whose sent bytes it reads back, a scripted blocking socket, and recorded launches and ports.

#include "feed/feed_platform.h"
#include "recording_frame.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

namespace skychart::test {

class ScriptedSocket : public IPlatformSocket {
public:
    explicit ScriptedSocket(IPlatformSocketEvents& events) : m_events(events) {}

    bool Create() override { return true; }
    bool Connect(const std::string& address, std::uint32_t port) override {
        connects.push_back(address + ":" + std::to_string(port));
        return false;
    }
    int Send(const void* bytes, int length, int flags) override;
    int Receive(void* buffer, int length, int flags) override;
    std::intptr_t Accept() override { return -1; }
    void Close() override { closed = true; }
    int LastError() const override { return m_lastError; }

    // Queues `bytes` and runs one receive notification, as the event loop would.
    void Arrive(const std::string& bytes);
    IPlatformSocketEvents& events() { return m_events; }

    std::string sent;
    std::vector<std::string> connects;
    std::string incoming;
    // When set, every send fails with this error.
    int failSendsWith = 0;
    // When not negative, the most bytes a send takes.
    int sendLimit = -1;
    bool closed = false;

private:
    IPlatformSocketEvents& m_events;
    int m_lastError = 0;
};

// What the blocking sockets of a ScriptedPlatform do and what they were given.
struct BlockingScript {
    bool connects = true;
    long sendResult = -2; // -2: everything
    std::deque<std::string> replies;
    int made = 0;
    std::string sent;
    std::uint32_t port = 0;
    bool closed = false;
};

class ScriptedBlockingSocket : public IBlockingSocket {
public:
    explicit ScriptedBlockingSocket(BlockingScript& script) : m_script(script) {}
    bool Connect(const std::string& /*address*/, std::uint32_t port) override {
        m_script.port = port;
        return m_script.connects;
    }
    long Send(const char* bytes, std::size_t length) override;
    long Receive(char* buffer, std::size_t length) override;
    void ShutdownAndClose() override { m_script.closed = true; }

private:
    BlockingScript& m_script;
};

class ScriptedPlatform : public IFeedPlatform {
public:
    std::unique_ptr<IPlatformSocket> MakeSocket(IPlatformSocketEvents& events) override;
    std::unique_ptr<IBlockingSocket> MakeBlockingSocket() override;
    bool LaunchConnectionManager(const std::string& parameters, int& errorCode) override;
    int ReadPort(const std::string& valueName, const std::string& defaultText,
                 int defaultNumber) override;

    // The sockets made, in order; owned by the code under test.
    std::vector<ScriptedSocket*> sockets;
    BlockingScript blocking;
    std::vector<std::string> launches;
    int launchError = 0;
    std::map<std::string, int> ports;
};

} // namespace skychart::test

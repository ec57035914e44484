#pragma once

// What the feed logic is given and what it hands back, for the tests: sockets whose received
// bytes the test supplies and whose sent bytes it reads back, a scripted blocking socket, recorded
// launches and ports, and a frame that records every line handed to it.

#include "base/error.h"
#include "feed/feed_frame.h"
#include "feed/feed_platform.h"

#include "recording_prompt.h"

#include <algorithm>
#include <cstring>
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
    int Send(const void* bytes, int length, int /*flags*/) override {
        if (failSendsWith != 0) {
            m_lastError = failSendsWith;
            return -1;
        }
        const int count = sendLimit >= 0 ? std::min(length, sendLimit) : length;
        sent.append(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
        return count;
    }
    int Receive(void* buffer, int length, int /*flags*/) override {
        const auto count = std::min(static_cast<std::size_t>(length), m_incoming.size());
        std::memcpy(buffer, m_incoming.data(), count);
        m_incoming.erase(0, count);
        return static_cast<int>(count);
    }
    std::intptr_t Accept() override { return -1; }
    void Close() override { closed = true; }
    int LastError() const override { return m_lastError; }

    // Queues `bytes` and runs one receive notification, as the event loop would.
    void Arrive(const std::string& bytes) {
        m_incoming += bytes;
        m_events.OnReceive(0);
    }
    IPlatformSocketEvents& events() { return m_events; }

    std::string sent;
    std::vector<std::string> connects;
    int failSendsWith = 0; // when set, every send fails with this error
    int sendLimit = -1;    // when not negative, the most bytes a send takes
    bool closed = false;

private:
    IPlatformSocketEvents& m_events;
    std::string m_incoming;
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
    long Send(const char* bytes, std::size_t length) override {
        m_script.sent.append(bytes, length);
        return m_script.sendResult == -2 ? static_cast<long>(length) : m_script.sendResult;
    }
    long Receive(char* buffer, std::size_t length) override {
        if (m_script.replies.empty()) {
            return 0;
        }
        std::string& next = m_script.replies.front();
        const std::size_t count = std::min(length, next.size());
        std::memcpy(buffer, next.data(), count);
        next.erase(0, count);
        if (next.empty()) {
            m_script.replies.pop_front();
        }
        return static_cast<long>(count);
    }
    void ShutdownAndClose() override { m_script.closed = true; }

private:
    BlockingScript& m_script;
};

class ScriptedPlatform : public IFeedPlatform {
public:
    std::unique_ptr<IPlatformSocket> MakeSocket(IPlatformSocketEvents& events) override {
        auto socket = std::make_unique<ScriptedSocket>(events);
        sockets.push_back(socket.get());
        return socket;
    }
    std::unique_ptr<IBlockingSocket> MakeBlockingSocket() override {
        ++blocking.made;
        return std::make_unique<ScriptedBlockingSocket>(blocking);
    }
    bool LaunchConnectionManager(const std::string& parameters, int& errorCode) override {
        launches.push_back(parameters);
        errorCode = launchError;
        return launchError == 0;
    }
    int ReadPort(const std::string& name, const std::string& /*text*/, int number) override {
        const auto found = ports.find(name);
        return found != ports.end() ? found->second : number;
    }

    std::vector<ScriptedSocket*> sockets; // the sockets made, in order; owned by the feed
    BlockingScript blocking;
    std::vector<std::string> launches;
    int launchError = 0;
    std::map<std::string, int> ports;
};

// Records what the feed hands to the frame.
class RecordingFrame : public IFeedFrame {
public:
    void OnServiceIp() override { ++serviceIp; }
    void OnSearchLine(const std::string& line) override { searchLines.push_back(line); }
    void OnHistoryLine(const std::string& line) override { historyLines.push_back(line); }
    void OnLevel1Line(const std::string& line) override {
        level1Lines.push_back(line);
        if (throwOnLevel1) {
            throw CInvalidArgException("index 24 is beyond 3 elements");
        }
    }
    void OnSymbolNotFound(const std::string& line) override { notFound.push_back(line); }
    void OnServiceStatus(const std::string& status) override { statuses.push_back(status); }
    void OnFeedFault(const SFeedFault& /*fault*/) override {}

    // True when a Level 1 line starting with `prefix` arrived.
    bool Saw(const std::string& prefix) const {
        return std::any_of(level1Lines.begin(), level1Lines.end(),
                           [&](const std::string& line) { return line.starts_with(prefix); });
    }

    int serviceIp = 0;
    bool throwOnLevel1 = false; // every Level 1 line fails in the frame, as a too short one would
    std::vector<std::string> searchLines;
    std::vector<std::string> historyLines;
    std::vector<std::string> level1Lines;
    std::vector<std::string> notFound;
    std::vector<std::string> statuses;
};

} // namespace skychart::test

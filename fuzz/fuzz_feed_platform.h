#pragma once

// A platform for the feed logic under the fuzzer: sockets that hand out queued chunks of bytes,
// one chunk (or what fits) per receive, a blocking socket that answers from chunks, a launch that
// always works and the default ports. Nothing touches the network.

#include "feed/feed_platform.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace skychart::fuzz {

// Takes the front of `chunks` into `buffer`, at most `length` bytes; the rest of a chunk that
// does not fit stays for the next receive. 0 when nothing is queued.
inline long TakeChunk(std::deque<std::string>& chunks, char* buffer, std::size_t length) {
    if (chunks.empty() || length == 0) {
        return 0;
    }
    std::string& front = chunks.front();
    const std::size_t count = std::min(length, front.size());
    std::memcpy(buffer, front.data(), count);
    front.erase(0, count);
    if (front.empty()) {
        chunks.pop_front();
    }
    return static_cast<long>(count);
}

class ChunkSocket : public IPlatformSocket {
public:
    explicit ChunkSocket(IPlatformSocketEvents& events) : m_events(events) {}

    bool Create() override { return true; }
    bool Connect(const std::string& /*address*/, std::uint32_t /*port*/) override { return false; }
    int Send(const void* bytes, int length, int /*flags*/) override {
        sent.append(static_cast<const char*>(bytes), static_cast<std::size_t>(length));
        return length;
    }
    int Receive(void* buffer, int length, int /*flags*/) override {
        return static_cast<int>(
            TakeChunk(chunks, static_cast<char*>(buffer), static_cast<std::size_t>(length)));
    }
    std::intptr_t Accept() override { return -1; }
    void Close() override {}
    int LastError() const override { return 0; }

    IPlatformSocketEvents& Events() { return m_events; }

    std::deque<std::string> chunks;
    std::string sent;

private:
    IPlatformSocketEvents& m_events;
};

class ChunkBlockingSocket : public IBlockingSocket {
public:
    explicit ChunkBlockingSocket(std::deque<std::string>& chunks) : m_chunks(chunks) {}

    bool Connect(const std::string& /*address*/, std::uint32_t /*port*/) override { return true; }
    long Send(const char* /*bytes*/, std::size_t length) override {
        return static_cast<long>(length);
    }
    long Receive(char* buffer, std::size_t length) override {
        return TakeChunk(m_chunks, buffer, length);
    }
    void ShutdownAndClose() override {}

private:
    std::deque<std::string>& m_chunks;
};

class ChunkPlatform : public IFeedPlatform {
public:
    std::unique_ptr<IPlatformSocket> MakeSocket(IPlatformSocketEvents& events) override {
        auto socket = std::make_unique<ChunkSocket>(events);
        sockets.push_back(socket.get());
        return socket;
    }
    std::unique_ptr<IBlockingSocket> MakeBlockingSocket() override {
        return std::make_unique<ChunkBlockingSocket>(blockingChunks);
    }
    bool LaunchConnectionManager(const std::vector<std::string>& /*arguments*/,
                                 int& errorCode) override {
        errorCode = 0;
        return true;
    }
    int ReadPort(const std::string& /*valueName*/, const std::string& /*defaultText*/,
                 int defaultNumber) override {
        return defaultNumber;
    }

    // The sockets made, in order; owned by the code under test.
    std::vector<ChunkSocket*> sockets;
    // What every blocking socket receives.
    std::deque<std::string> blockingChunks;
};

// Queues `chunks` on `socket` and runs receive notifications until all of them are taken, as
// the event loop would while bytes are waiting.
inline void Arrive(ChunkSocket& socket, const std::vector<std::string>& chunks) {
    for (const std::string& chunk : chunks) {
        socket.chunks.push_back(chunk);
        while (!socket.chunks.empty()) {
            const std::size_t waiting = socket.chunks.front().size();
            socket.Events().OnReceive(0);
            if (!socket.chunks.empty() && socket.chunks.front().size() == waiting) {
                return; // the receiver took nothing: its buffer is full
            }
        }
    }
}

} // namespace skychart::fuzz

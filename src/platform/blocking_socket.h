#pragma once

#include "feed/feed_platform.h"

// A blocking POSIX TCP client socket for the short lookups. Every wait for the peer is bounded so
// that a silent service cannot hang the caller for good.
class CBlockingSocket : public IBlockingSocket {
public:
    static constexpr int kTimeoutSeconds = 10;

    CBlockingSocket() = default;
    ~CBlockingSocket() override;
    CBlockingSocket(const CBlockingSocket&) = delete;
    CBlockingSocket& operator=(const CBlockingSocket&) = delete;

    bool Connect(const std::string& address, std::uint32_t port) override;
    long Send(const char* bytes, std::size_t length) override;
    long Receive(char* buffer, std::size_t length) override;
    void ShutdownAndClose() override;

private:
    int m_fd = -1;
};

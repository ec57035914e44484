#pragma once

#include "feed/kestrel_stream_socket.h"

#include <array>
#include <cstdint>
#include <string>

class CFeedConnections;
class IPrompt;

class CKestrelClientAppSocket;

// A line handler of the dispatch table: called with the owning frame and a copy of the line.
using FeedLineHandler = void (*)(CFeedConnections& frame, const std::string& line);
// Called with the owning frame when the connection stops for `fault`.
using FeedFaultHandler = void (*)(CFeedConnections& frame, const CKestrelClientAppSocket& socket,
                                  ESocketFault fault, int error);

// A client connection of the feed service: sends the handshake when connected, retries a
// failed connect every 250 ms up to its retry count, and dispatches each received line by its
// first byte through a table of 256 handlers.
class CKestrelClientAppSocket : public CKestrelStreamSocket {
public:
    static constexpr int kRetryPauseMs = 250;

    CKestrelClientAppSocket(IFeedPlatform& platform, CFeedConnections& frame, IPrompt& prompt,
                            std::uint32_t connectRetries);

    // Remembers the address and port for retries, then connects.
    bool Connect(const std::string& address, std::uint32_t port) override;
    void OnConnect(int error) override;
    void OnClose(int error) override;

    void SetHandler(unsigned char firstByte, FeedLineHandler handler) {
        m_handlers[firstByte] = handler;
    }
    FeedLineHandler Handler(unsigned char firstByte) const { return m_handlers[firstByte]; }
    void SetFaultHandler(FeedFaultHandler handler) { m_faultHandler = handler; }

    void SetProtocolVersion(const std::string& version) { m_protocolVersion = version; }
    void SetClientName(const std::string& name) { m_clientName = name; }
    void SetUpdateFields(const std::string& fields) { m_updateFields = fields; }
    void SetInitialCommands(const std::string& commands) { m_initialCommands = commands; }
    const std::string& ProtocolVersion() const { return m_protocolVersion; }
    const std::string& ClientName() const { return m_clientName; }
    const std::string& UpdateFields() const { return m_updateFields; }

    std::uint32_t ConnectRetriesLeft() const { return m_connectRetries; }
    const std::string& LastAddress() const { return m_lastAddress; }
    std::uint32_t LastPort() const { return m_lastPort; }

protected:
    void OnLine(const char* line) override;
    // Passes the fault to the fault handler with the frame and this socket.
    void OnFault(ESocketFault fault, int error) override;

private:
    // Sends `text` and counts it as `messages` sent.
    void SendCounted(const std::string& text, std::uint32_t messages);

    std::array<FeedLineHandler, 256> m_handlers{};
    FeedFaultHandler m_faultHandler = nullptr;
    CFeedConnections& m_frame;
    IPrompt& m_prompt;
    std::string m_protocolVersion;
    std::string m_clientName;
    std::string m_updateFields;
    std::uint32_t m_connectRetries;
    std::string m_lastAddress;
    std::uint32_t m_lastPort = 0;
    std::string m_initialCommands;
};

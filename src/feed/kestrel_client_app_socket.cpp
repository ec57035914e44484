#include "feed/kestrel_client_app_socket.h"

#include "core/prompt.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <thread>

CKestrelClientAppSocket::CKestrelClientAppSocket(IFeedPlatform& platform, CFeedConnections& frame,
                                                 IPrompt& prompt, std::uint32_t connectRetries)
    : CKestrelStreamSocket(platform), m_frame(frame), m_prompt(prompt),
      m_connectRetries(connectRetries) {}

bool CKestrelClientAppSocket::Connect(const std::string& address, std::uint32_t port) {
    m_lastAddress = address;
    m_lastPort = port;
    return CKestrelStreamSocket::Connect(address, port);
}

void CKestrelClientAppSocket::SendCounted(const std::string& text, std::uint32_t messages) {
    Send(text);
    Statistics().messagesSent.value += messages;
}

void CKestrelClientAppSocket::OnConnect(int error) {
    if (error != 0 && m_connectRetries > 0) {
        --m_connectRetries;
        spdlog::info("{} connect to {}:{} failed (error {}); {} retries left", m_clientName,
                     m_lastAddress, m_lastPort, error, m_connectRetries);
        // The pause blocks the event loop on purpose: retries are spaced by it.
        std::this_thread::sleep_for(std::chrono::milliseconds(kRetryPauseMs));
        CKestrelStreamSocket::Connect(m_lastAddress, m_lastPort);
    } else if (error != 0) {
        spdlog::error("{} gave up connecting to {}:{} (error {})", m_clientName, m_lastAddress,
                      m_lastPort, error);
        m_prompt.Error(m_clientName,
                       fmt::format("{} is unable to connect to Kestrel.\nPlease restart the "
                                   "application.\nIf the error persists, please contact "
                                   "customer service.\nError Code: {}",
                                   m_clientName, error));
        ReportFault(ESocketFault::ConnectFailed, error);
    } else {
        spdlog::info("{} connected to {}:{} (protocol {})", m_clientName, m_lastAddress, m_lastPort,
                     m_protocolVersion.empty() ? "-" : m_protocolVersion);
        if (!m_protocolVersion.empty()) {
            SendCounted(fmt::format("S,SET PROTOCOL,{}\n", m_protocolVersion), 1);
        }
        if (!m_clientName.empty()) {
            SendCounted(fmt::format("S,SET CLIENT NAME,{}\n", m_clientName), 1);
        }
        if (!m_updateFields.empty()) {
            SendCounted(fmt::format("S,SELECT UPDATE FIELDS,{}\n", m_updateFields), 1);
        }
        if (!m_initialCommands.empty()) {
            const auto lines = std::count(m_initialCommands.begin(), m_initialCommands.end(), '\n');
            SendCounted(m_initialCommands, static_cast<std::uint32_t>(lines));
        }
    }
    CKestrelStreamSocket::OnConnect(error);
}

void CKestrelClientAppSocket::OnClose(int error) {
    spdlog::info("{} connection to {}:{} closed (error {})", m_clientName, m_lastAddress,
                 m_lastPort, error);
    CKestrelStreamSocket::OnClose(error);
}

void CKestrelClientAppSocket::OnFault(ESocketFault fault, int error) {
    if (m_faultHandler != nullptr) {
        m_faultHandler(m_frame, *this, fault, error);
    }
}

void CKestrelClientAppSocket::OnLine(const char* line) {
    const auto first = static_cast<unsigned char>(line[0]);
    if (FeedLineHandler handler = m_handlers[first]) {
        handler(m_frame, std::string(line));
    }
}

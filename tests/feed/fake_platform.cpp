#include "fake_platform.h"

#include <algorithm>
#include <cstring>

namespace skychart::test {

int ScriptedSocket::Send(const void* bytes, int length, int /*flags*/) {
    if (failSendsWith != 0) {
        m_lastError = failSendsWith;
        return -1;
    }
    const int count = sendLimit >= 0 ? std::min(length, sendLimit) : length;
    sent.append(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
    return count;
}

int ScriptedSocket::Receive(void* buffer, int length, int /*flags*/) {
    const auto count = std::min<std::size_t>(static_cast<std::size_t>(length), incoming.size());
    std::memcpy(buffer, incoming.data(), count);
    incoming.erase(0, count);
    return static_cast<int>(count);
}

void ScriptedSocket::Arrive(const std::string& bytes) {
    incoming += bytes;
    m_events.OnReceive(0);
}

long ScriptedBlockingSocket::Send(const char* bytes, std::size_t length) {
    m_script.sent.append(bytes, length);
    return m_script.sendResult == -2 ? static_cast<long>(length) : m_script.sendResult;
}

long ScriptedBlockingSocket::Receive(char* buffer, std::size_t length) {
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

std::unique_ptr<IPlatformSocket> ScriptedPlatform::MakeSocket(IPlatformSocketEvents& events) {
    auto socket = std::make_unique<ScriptedSocket>(events);
    sockets.push_back(socket.get());
    return socket;
}

std::unique_ptr<IBlockingSocket> ScriptedPlatform::MakeBlockingSocket() {
    ++blocking.made;
    return std::make_unique<ScriptedBlockingSocket>(blocking);
}

bool ScriptedPlatform::LaunchConnectionManager(const std::string& parameters, int& errorCode) {
    launches.push_back(parameters);
    errorCode = launchError;
    return launchError == 0;
}

int ScriptedPlatform::ReadPort(const std::string& valueName, const std::string& /*defaultText*/,
                               int defaultNumber) {
    const auto found = ports.find(valueName);
    return found != ports.end() ? found->second : defaultNumber;
}

} // namespace skychart::test

#include "feed/lookup_system_info.h"

#include "base/fields.h"
#include "core/setting_keys.h"
#include "feed/feed_platform.h"

#include <spdlog/spdlog.h>

#include <cstdlib>
#include <vector>

namespace {

constexpr std::size_t kReplyChunk = 65535;
constexpr std::string_view kEndMarker = "!ENDMSG!";
constexpr std::string_view kSyntaxError = "!SYNTAX_ERROR!";

} // namespace

CLookupSystemInfo::CLookupSystemInfo(IFeedPlatform& platform, std::string request)
    : m_platform(platform), m_request(std::move(request)) {}

CLookupSystemInfo::~CLookupSystemInfo() = default;

const CLookupSystemInfo::Entry& CLookupSystemInfo::At(int id) const {
    static const Entry kEmpty{};
    if (id < 0 || id >= kEntries) {
        return kEmpty;
    }
    return m_table[static_cast<std::size_t>(id)];
}

bool CLookupSystemInfo::Load() {
    if (m_loaded) {
        return true;
    }
    if (!Fetch()) {
        spdlog::warn("Lookup of the reference table \"{}\" failed",
                     m_request.substr(0, m_request.find('\r')));
        return false;
    }
    FillTable(m_response, m_table);
    m_loaded = true;
    return true;
}

bool CLookupSystemInfo::Fetch() {
    m_response.clear();
    m_socket = m_platform.MakeBlockingSocket();
    if (!m_socket) {
        return false;
    }
    const int port =
        m_platform.ReadPort(startup_keys::kLookupPort.key, startup_keys::kLookupPort.defaultText,
                            startup_keys::kLookupPort.defaultPort);
    bool ok = m_socket->Connect("127.0.0.1", static_cast<std::uint32_t>(port));
    if (ok) {
        const long sent = m_socket->Send(m_request.data(), m_request.size());
        ok = sent == static_cast<long>(m_request.size());
    }
    if (ok) {
        ok = ReadReply(*m_socket, m_response);
    }
    m_socket->ShutdownAndClose();
    m_socket.reset();
    return ok;
}

bool CLookupSystemInfo::ReadReply(IBlockingSocket& socket, std::string& response) {
    std::vector<char> chunk(kReplyChunk);
    std::string text;
    for (;;) {
        const long received = socket.Receive(chunk.data(), kReplyChunk);
        if (received <= 0) {
            response.append(text);
            return false;
        }
        // A marker may have begun at the end of the text before.
        const std::size_t from =
            text.size() >= kSyntaxError.size() ? text.size() - kSyntaxError.size() + 1 : 0;
        text.append(chunk.data(), static_cast<std::size_t>(received));
        if (const auto end = text.find(kEndMarker, from); end != std::string::npos) {
            std::string_view before = std::string_view(text).substr(0, end);
            while (!before.empty() && (before.front() == '\r' || before.front() == '\n')) {
                before.remove_prefix(1);
            }
            response.append(before);
            return true;
        }
        if (text.find(kSyntaxError, from) != std::string::npos) {
            response.clear();
            return true;
        }
    }
}

void CLookupSystemInfo::FillTable(const std::string& response, std::array<Entry, kEntries>& table) {
    std::size_t start = 0;
    for (std::size_t end = response.find('\n', start); end != std::string::npos;
         start = end + 1, end = response.find('\n', start)) {
        const std::string line = response.substr(start, end - start);
        if (line.empty()) {
            continue;
        }
        const std::vector<std::string_view> fields = SplitFields(line);
        if (fields.empty() || fields[0].empty()) {
            continue;
        }
        const int id = std::atoi(std::string(fields[0]).c_str());
        if (id < 0 || id >= kEntries) {
            continue;
        }
        Entry& entry = table[static_cast<std::size_t>(id)];
        for (std::size_t i = 0; i < entry.size(); ++i) {
            entry[i] = i + 1 < fields.size() ? std::string(fields[i + 1]) : std::string();
        }
    }
}

CListedMarkets::CListedMarkets(IFeedPlatform& platform) : CLookupSystemInfo(platform, "SLM\r\n") {}

CSecurityTypes::CSecurityTypes(IFeedPlatform& platform) : CLookupSystemInfo(platform, "SST\r\n") {}

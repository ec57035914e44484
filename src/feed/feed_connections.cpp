#include "feed/feed_connections.h"

#include "base/fields.h"
#include "core/prompt.h"
#include "feed/feed_frame.h"
#include "feed/feed_platform.h"
#include "feed/kestrel_client_app_socket.h"
#include "feed/lookup_system_info.h"
#include "feed/symbol_search.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint32_t kAdminRetries = 10;
constexpr std::uint32_t kStreamRetries = 240;
constexpr std::string_view kStatsPrefix = "S,STATS";
constexpr std::string_view kLimitPrefix = "S,SYMBOL LIMIT REACHED";
// The prefix "S,SYMBOL LIMIT REACHED" and its comma.
constexpr std::size_t kLimitSymbolOffset = 23;

void RemoveAll(std::deque<std::string>& list, const std::string& symbol) {
    list.erase(std::remove(list.begin(), list.end(), symbol), list.end());
}

} // namespace

CFeedConnections::CFeedConnections(IFeedFrame& frame, IPrompt& prompt, IFeedPlatform& platform)
    : m_frame(frame), m_prompt(prompt), m_platform(platform),
      m_listedMarkets(std::make_unique<CListedMarkets>(platform)),
      m_securityTypes(std::make_unique<CSecurityTypes>(platform)) {}

CFeedConnections::~CFeedConnections() = default;

const std::string& CFeedConnections::UpdateFieldList() {
    // Entry 0 stays empty and is skipped; the others follow the positions of an update line.
    static const std::array<const char*, 25> kFields = {"",
                                                        "Symbol",
                                                        "Total Volume",
                                                        "Most Recent Trade Size",
                                                        "High",
                                                        "Low",
                                                        "Bid",
                                                        "Ask",
                                                        "Bid Size",
                                                        "Ask Size",
                                                        "Most Recent Trade Time",
                                                        "Open Interest",
                                                        "Open",
                                                        "Close",
                                                        "Most Recent Trade Date",
                                                        "Most Recent Trade",
                                                        "Fraction Display Code",
                                                        "TickID",
                                                        "Most Recent Trade Market Center",
                                                        "Bid Market Center",
                                                        "Ask Market Center",
                                                        "Message Contents",
                                                        "Most Recent Trade Conditions",
                                                        "Most Recent Trade Aggressor",
                                                        "Most Recent Trade Day Code"};
    static const std::string kList = [] {
        std::string list;
        for (std::size_t i = 1; i < kFields.size(); ++i) {
            list += (i > 1 ? "," : "");
            list += kFields[i];
        }
        return list;
    }();
    return kList;
}

std::vector<std::string> CFeedConnections::ServiceArguments(const SServiceOptions& options) {
    std::vector<std::string> arguments{"-product", kProductId, "-version", kProductVersion};
    if (!options.dataDir.empty()) {
        arguments.insert(arguments.end(), {"--data-dir", options.dataDir});
    }
    if (options.dataOnly) {
        arguments.emplace_back("--data-only");
    }
    return arguments;
}

void CFeedConnections::Start() {
    const std::vector<std::string> arguments = ServiceArguments(m_serviceOptions);
    int errorCode = 0;
    if (m_platform.LaunchConnectionManager(arguments, errorCode)) {
        spdlog::info("Launched the connection manager ({})", fmt::join(arguments, " "));
    } else {
        spdlog::error("Unable to launch the connection manager, error {}", errorCode);
        m_prompt.Error(
            kClientName,
            fmt::format("Unable to launch portico.exe.  Error Code: {} hInst: {}", errorCode, 0));
    }
    if (CreateConnection(kAdmin, kAdminRetries)) {
        ConnectTo(kAdmin, "6.2", startup_keys::kAdminPort);
    }
}

bool CFeedConnections::CreateConnection(int kind, std::uint32_t retries) {
    if (kind < 0 || kind >= kConnectionKinds || m_connections[static_cast<std::size_t>(kind)]) {
        return false;
    }
    auto socket = std::make_unique<CKestrelClientAppSocket>(m_platform, *this, m_prompt, retries);
    for (int byte = 0; byte < 256; ++byte) {
        socket->SetHandler(static_cast<unsigned char>(byte), &CFeedConnections::OnIgnoredLine);
    }
    socket->SetHandler('S', &CFeedConnections::OnSystemLine);
    socket->SetHandler('T', &CFeedConnections::OnTimeLine);
    socket->SetHandler('F', &CFeedConnections::OnFundamentalLine);
    socket->SetHandler('Q', &CFeedConnections::OnUpdateLine);
    socket->SetHandler('P', &CFeedConnections::OnUpdateLine);
    socket->SetHandler('L', &CFeedConnections::OnLookupLine);
    socket->SetHandler('n', &CFeedConnections::OnSymbolNotFoundLine);
    socket->SetFaultHandler(&CFeedConnections::OnSocketFault);
    if (kind == kLookup) {
        socket->SetBytesSink(m_answerSink);
    }
    CKestrelClientAppSocket& made = *socket;
    m_connections[static_cast<std::size_t>(kind)] = std::move(socket);
    const bool created = made.Create();
    spdlog::info("Connection {} made ({} retries), socket {}", kind, retries,
                 created ? "created" : "not created");
    return created;
}

CKestrelClientAppSocket* CFeedConnections::Connection(int kind) const {
    if (kind < 0 || kind >= kConnectionKinds) {
        return nullptr;
    }
    return m_connections[static_cast<std::size_t>(kind)].get();
}

const SKestrelSocketStats* CFeedConnections::ConnectionStatistics(int kind) const {
    const CKestrelClientAppSocket* socket = Connection(kind);
    return socket != nullptr ? &socket->Statistics() : nullptr;
}

void CFeedConnections::ConnectTo(int kind, const char* protocol,
                                 const startup_keys::SPortKey& portKey) {
    CKestrelClientAppSocket& socket = *Connection(kind);
    socket.SetClientName(kClientName);
    socket.SetProtocolVersion(protocol);
    if (kind == kLevel1) {
        socket.SetUpdateFields(UpdateFieldList());
    }
    const int port = m_platform.ReadPort(portKey.key, portKey.defaultText, portKey.defaultPort);
    spdlog::info("Connecting connection {} to {}:{} ({})", kind, kAddress, port, portKey.key);
    socket.Connect(kAddress, static_cast<std::uint32_t>(port));
}

void CFeedConnections::OpenLookupAndLevel1() {
    if (CreateConnection(kLookup, kStreamRetries)) {
        ConnectTo(kLookup, "6.2", startup_keys::kLookupPort);
    }
    if (!CreateConnection(kLevel1, kStreamRetries)) {
        return;
    }
    ConnectTo(kLevel1, "6.1", startup_keys::kLevel1Port);
}

int CFeedConnections::WatchSymbol(const std::string& symbol) {
    m_chartWatches.insert(symbol);
    return SendWatch(symbol);
}

int CFeedConnections::SendWatch(const std::string& symbol) {
    CKestrelClientAppSocket* level1 = Connection(kLevel1);
    if (m_serviceStats.valid && level1 != nullptr &&
        m_serviceStats.SymbolLimit() > m_serviceStats.WatchedSymbols() +
                                           static_cast<std::uint32_t>(m_watchesInFlight.size())) {
        const std::string command = fmt::format("w{}\n", symbol);
        const int sent = level1->Send(command);
        if (sent == static_cast<int>(command.size())) {
            m_watchesInFlight.push_back(symbol);
            ++level1->Statistics().messagesSent.value;
        }
        spdlog::info("Watch {} sent ({} bytes)", symbol, sent);
        return sent;
    }
    m_pendingWatches.push_back(symbol);
    spdlog::info("Watch {} queued ({} pending)", symbol, m_pendingWatches.size());
    return 0;
}

void CFeedConnections::UnwatchSymbol(const std::string& symbol) {
    m_chartWatches.erase(symbol);
    if (m_heldWatches.contains(symbol)) {
        spdlog::info("{} stays watched: it is held", symbol);
        return;
    }
    SendUnwatch(symbol);
}

void CFeedConnections::HoldWatches(const std::set<std::string, std::less<>>& symbols) {
    const std::set<std::string, std::less<>> previous = std::exchange(m_heldWatches, symbols);
    for (const std::string& symbol : symbols) {
        if (!previous.contains(symbol) && !m_chartWatches.contains(symbol)) {
            SendWatch(symbol);
        }
    }
    for (const std::string& symbol : previous) {
        if (!symbols.contains(symbol) && !m_chartWatches.contains(symbol)) {
            SendUnwatch(symbol);
        }
    }
}

void CFeedConnections::SendUnwatch(const std::string& symbol) {
    CKestrelClientAppSocket* level1 = Connection(kLevel1);
    if (m_serviceStats.valid && level1 != nullptr) {
        level1->Send(fmt::format("r{}\n", symbol));
        ++level1->Statistics().messagesSent.value;
        spdlog::info("Unwatch {} sent", symbol);
    }
    // A queued watch of a symbol that is no longer wanted must not go out later.
    RemoveAll(m_pendingWatches, symbol);
}

void CFeedConnections::DrainPendingWatches() {
    std::uint32_t n =
        m_serviceStats.WatchedSymbols() + static_cast<std::uint32_t>(m_watchesInFlight.size());
    while (n < m_serviceStats.SymbolLimit() && !m_pendingWatches.empty()) {
        const std::string symbol = m_pendingWatches.front();
        if (SendWatch(symbol) < 1) {
            break;
        }
        m_pendingWatches.pop_front();
        ++n;
    }
}

void CFeedConnections::SearchSymbols(const std::string& text, const std::string& exchangeFilter,
                                     const std::string& typeFilter, bool byDescription) {
    m_searchResults.clear();
    const std::string request =
        FormatSearchRequest(text, exchangeFilter, typeFilter, byDescription);
    CKestrelClientAppSocket* lookup = Connection(kLookup);
    if (lookup == nullptr) {
        spdlog::warn("Symbol search for \"{}\" dropped: no lookup connection", text);
        return;
    }
    lookup->Send(request);
    ++lookup->Statistics().messagesSent.value;
    spdlog::info("Symbol search sent: {}", request.substr(0, request.size() - 2));
}

bool CFeedConnections::SendHistoryCommand(const std::string& line) {
    CKestrelClientAppSocket* lookup = Connection(kLookup);
    if (lookup == nullptr) {
        spdlog::warn("History command dropped: no lookup connection");
        return false;
    }
    lookup->Send(line);
    ++lookup->Statistics().messagesSent.value;
    return true;
}

void CFeedConnections::SetAnswerSink(IReceivedBytesSink* sink) {
    m_answerSink = sink;
    if (CKestrelClientAppSocket* lookup = Connection(kLookup)) {
        lookup->SetBytesSink(sink);
    }
}

void CFeedConnections::TakeFromAnswerSink() {
    if (CKestrelClientAppSocket* lookup = Connection(kLookup)) {
        lookup->TakeFromSink();
    }
}

void CFeedConnections::CheckServiceIp(const std::string& line) {
    if (line.find("S,IP,") != std::string::npos) {
        spdlog::info("Service address line: {}", line);
        m_frame.OnServiceIp();
    }
}

void CFeedConnections::OnSystemLine(CFeedConnections& frame, const std::string& line) {
    if (!line.starts_with(kStatsPrefix)) {
        if (line.starts_with(kLimitPrefix)) {
            const std::string symbol =
                line.size() > kLimitSymbolOffset ? line.substr(kLimitSymbolOffset) : std::string();
            spdlog::warn("Symbol limit reached for {}; the watch waits", symbol);
            RemoveAll(frame.m_watchesInFlight, symbol);
            frame.m_pendingWatches.push_back(symbol);
        }
        frame.CheckServiceIp(line);
        return;
    }
    const std::string previous = frame.m_serviceStats.status;
    frame.m_serviceStats.Parse(line);
    if (frame.m_serviceStats.status != previous) {
        spdlog::info("Service status: {}", frame.m_serviceStats.status);
        if (frame.m_serviceStats.status == "Connected") {
            frame.OpenLookupAndLevel1();
        }
        frame.m_frame.OnServiceStatus(frame.m_serviceStats.status);
    }
    frame.CheckServiceIp(line);
}

void CFeedConnections::OnTimeLine(CFeedConnections& frame, const std::string& line) {
    if (line.starts_with("T,") && !frame.m_pendingWatches.empty() && frame.m_serviceStats.valid &&
        frame.m_serviceStats.IsConnected()) {
        frame.DrainPendingWatches();
    }
    frame.m_frame.OnTimeLine(line);
}

void CFeedConnections::OnFundamentalLine(CFeedConnections& frame, const std::string& line) {
    const std::size_t start = std::min<std::size_t>(2, line.size());
    const std::string symbol = line.substr(start, line.find(',', start) - start);
    RemoveAll(frame.m_watchesInFlight, symbol);
    frame.m_frame.OnLevel1Line(line);
}

void CFeedConnections::OnUpdateLine(CFeedConnections& frame, const std::string& line) {
    frame.m_frame.OnLevel1Line(line);
}

void CFeedConnections::OnLookupLine(CFeedConnections& frame, const std::string& line) {
    if (line.starts_with("LSe")) {
        HandleSearchResponse(line, frame.m_searchResults);
        frame.m_frame.OnSearchLine(line);
    } else if (line.starts_with("Loo")) {
        frame.m_frame.OnHistoryLine(line);
    }
}

void CFeedConnections::OnSymbolNotFoundLine(CFeedConnections& frame, const std::string& line) {
    // "n,<symbol>": the service will never send the fundamentals that end the watch's flight, so
    // the watch gives its place under the symbol limit back here.
    const std::size_t start = std::min<std::size_t>(2, line.size());
    RemoveAll(frame.m_watchesInFlight, line.substr(start, line.find(',', start) - start));
    frame.m_frame.OnSymbolNotFound(line);
}

void CFeedConnections::OnSocketFault(CFeedConnections& frame, const CKestrelClientAppSocket& socket,
                                     ESocketFault fault, int error) {
    SFeedFault report;
    report.connection = -1;
    for (int kind = 0; kind < kConnectionKinds; ++kind) {
        if (frame.Connection(kind) == &socket) {
            report.connection = kind;
        }
    }
    report.address = socket.LastAddress();
    report.port = socket.LastPort();
    report.cause = fault;
    report.error = error;
    spdlog::error("Connection {} stopped: {}", report.connection, DescribeFeedFault(report));
    frame.m_frame.OnFeedFault(report);
}

void CFeedConnections::OnIgnoredLine(CFeedConnections& /*frame*/, const std::string& /*line*/) {}

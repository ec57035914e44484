#pragma once

#include "core/setting_keys.h"
#include "feed/history_feed.h"
#include "feed/kestrel_stream_socket.h"

// The main frame's feed side: the connection manager launch, the admin, lookup and Level 1
// connections with their handshake, statistics, line dispatch, watch throttling and symbol
// search. Plain C++ over the socket and process interfaces of the platform layer.

#include "feed/service_statistics.h"
#include "feed/symbol_search.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

class CKestrelClientAppSocket;
class CListedMarkets;
class CSecurityTypes;
class IFeedFrame;
class IFeedPlatform;
class IPrompt;
struct SKestrelSocketStats;

// What the started service is told besides the product: the folder of the trader's own data
// files (an absolute path; empty for none) and whether it serves those files only.
struct SServiceOptions {
    std::string dataDir;
    bool dataOnly = false;
};

class CFeedConnections : public IHistoryFeed {
public:
    // Connection kinds: the index of each connection.
    enum EConnectionKind : int { kLevel1 = 0, kMarketDepth = 1, kLookup = 2, kAdmin = 3 };
    static constexpr int kConnectionKinds = 4;

    static constexpr const char* kAddress = "127.0.0.1";
    static constexpr const char* kClientName = "Skychart";
    static constexpr const char* kProductId = "TRELLIS_PLOTS";
    static constexpr const char* kProductVersion = "1.8.0.0";

    CFeedConnections(IFeedFrame& frame, IPrompt& prompt, IFeedPlatform& platform);
    ~CFeedConnections() override;
    CFeedConnections(const CFeedConnections&) = delete;
    CFeedConnections& operator=(const CFeedConnections&) = delete;

    // Applies to the next Start(): the options the connection manager is launched with.
    void SetServiceOptions(const SServiceOptions& options) { m_serviceOptions = options; }
    // The connection manager's arguments: the product and its version, then "--data-dir DIR"
    // and "--data-only" when `options` ask for them.
    static std::vector<std::string> ServiceArguments(const SServiceOptions& options);
    // Launches the connection manager, then creates and connects the admin connection.
    void Start();

    // Makes the connection of `kind` unless one exists; false when it exists or cannot be made.
    bool CreateConnection(int kind, std::uint32_t retries);
    // The connection of `kind`, or null.
    CKestrelClientAppSocket* Connection(int kind) const;
    // The statistics of the connection of `kind`, or null when there is none.
    const SKestrelSocketStats* ConnectionStatistics(int kind) const;

    // Watches `symbol` on the Level 1 connection when the service's symbol limit allows it;
    // returns the count of bytes sent, 0 when the symbol was queued instead.
    int WatchSymbol(const std::string& symbol) override;
    // Sends "r<symbol>" on the Level 1 connection and forgets a queued watch of it, unless the
    // symbol is held (below).
    void UnwatchSymbol(const std::string& symbol) override;
    // Symbols watched for the application's own sake (the alerts' symbols) whatever the chart
    // shows: the new ones are watched, those no longer held are unwatched unless the chart
    // watches them.
    void HoldWatches(const std::set<std::string, std::less<>>& symbols);
    const std::set<std::string, std::less<>>& HeldWatches() const { return m_heldWatches; }
    const std::deque<std::string>& PendingWatches() const { return m_pendingWatches; }
    const std::deque<std::string>& WatchesInFlight() const { return m_watchesInFlight; }

    // Sends a symbol search on the lookup connection, of descriptions or of symbols.
    void SearchSymbols(const std::string& text, const std::string& exchangeFilter,
                       const std::string& typeFilter, bool byDescription);
    const std::vector<SSearchResult>& SearchResults() const { return m_searchResults; }

    // Sends one history command line on the lookup connection; false when there is none.
    bool SendHistoryCommand(const std::string& line) override;
    void SetAnswerSink(IReceivedBytesSink* sink) override;
    void TakeFromAnswerSink() override;

    const SServiceStatistics& ServiceStatistics() const { return m_serviceStats; }

    // The reference tables; Load() them before use (they are fetched once).
    CListedMarkets& ListedMarkets() { return *m_listedMarkets; }
    CSecurityTypes& SecurityTypes() { return *m_securityTypes; }

    // Line handlers of the dispatch table (public so that the table can be filled and checked).
    static void OnSystemLine(CFeedConnections& frame, const std::string& line);
    static void OnTimeLine(CFeedConnections& frame, const std::string& line);
    static void OnFundamentalLine(CFeedConnections& frame, const std::string& line);
    static void OnUpdateLine(CFeedConnections& frame, const std::string& line);
    static void OnLookupLine(CFeedConnections& frame, const std::string& line);
    static void OnSymbolNotFoundLine(CFeedConnections& frame, const std::string& line);
    static void OnIgnoredLine(CFeedConnections& frame, const std::string& line);

    // A connection of this frame stopped for `fault`: the frame is told which one and why.
    static void OnSocketFault(CFeedConnections& frame, const CKestrelClientAppSocket& socket,
                              ESocketFault fault, int error);

    // The update-field list the Level 1 connection selects.
    static const std::string& UpdateFieldList();

private:
    void OpenLookupAndLevel1();
    void ConnectTo(int kind, const char* protocol, const startup_keys::SPortKey& portKey);
    void DrainPendingWatches();
    int SendWatch(const std::string& symbol);
    void SendUnwatch(const std::string& symbol);
    void CheckServiceIp(const std::string& line);

    IFeedFrame& m_frame;
    IPrompt& m_prompt;
    IFeedPlatform& m_platform;
    SServiceOptions m_serviceOptions;
    std::array<std::unique_ptr<CKestrelClientAppSocket>, kConnectionKinds> m_connections;
    SServiceStatistics m_serviceStats;
    std::deque<std::string> m_pendingWatches;
    std::deque<std::string> m_watchesInFlight;
    std::set<std::string> m_chartWatches; // watched through WatchSymbol, not unwatched since
    std::set<std::string, std::less<>> m_heldWatches;
    std::vector<SSearchResult> m_searchResults;
    std::unique_ptr<CListedMarkets> m_listedMarkets;
    std::unique_ptr<CSecurityTypes> m_securityTypes;
    IReceivedBytesSink* m_answerSink = nullptr;
};

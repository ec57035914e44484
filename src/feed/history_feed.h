#pragma once

#include <string>

// What a chart needs of the feed: the symbol watched on the Level 1 connection while it is shown,
// and its history command sent on the lookup connection. The feed connections implement it; the
// chart session reaches the feed only through it.
class IHistoryFeed {
public:
    virtual ~IHistoryFeed() = default;
    // Watches `symbol` on the Level 1 connection (or queues the watch while the service's symbol
    // limit is reached).
    virtual int WatchSymbol(const std::string& symbol) = 0;
    virtual void UnwatchSymbol(const std::string& symbol) = 0;
    // Sends one history command line (ending in "\n"); false when no lookup connection is open.
    virtual bool SendHistoryCommand(const std::string& line) = 0;
};

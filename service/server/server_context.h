#pragma once

// What every session shares: the market, the exchange clock, the options, the live feed and the
// service-wide counters.

#include <cstdint>

#include "clock.h"
#include "live_feed.h"
#include "market/market.h"
#include "options.h"

namespace portico {

class DayTextCache;
class WorkScheduler;

class ServerContext {
public:
    ServerContext(const Options& theOptions, const Market& theMarket, const Clock& theClock,
                  LiveFeed& theLive)
        : options(theOptions), market(theMarket), clock(theClock), live(theLive) {}

    const Options& options;
    const Market& market;
    const Clock& clock;
    LiveFeed& live;
    WorkScheduler* scheduler = nullptr; // shares the event loop between busy connections
    DayTextCache* dayText = nullptr;    // whole past days of tick lines, for answer producers

    int adminPort = 0;
    int lookupPort = 0;
    int level1Port = 0;
    int nextConnectionId = 1;
    int producersRunning = 0; // answers produced on threads of their own (AnswerProducer)
    std::uint64_t requestsServed = 0;
    std::uint64_t updatesSent = 0;   // 'Q' lines to every Level 1 client since the start
    std::uint64_t tradesSent = 0;    // those of them that are trades
    std::uint64_t bytesReceived = 0; // of connections already closed
    std::uint64_t bytesSent = 0;
};

} // namespace portico

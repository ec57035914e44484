#pragma once

#include <string>

class IReceivedBytesSink;

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
    // The lookup connection hands what it receives to `sink` uncut from now on, and its next
    // connection too (null: it cuts its lines itself again). The sink outlives the feed or is
    // taken back first. A feed that cannot hand bytes over ignores it.
    virtual void SetAnswerSink(IReceivedBytesSink* /*sink*/) {}
    // The sink said that it has lines or room: the lookup connection takes them now (see
    // CKestrelStreamSocket::TakeFromSink), on the thread of the feed.
    virtual void TakeFromAnswerSink() {}
};

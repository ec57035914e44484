#pragma once

#include "feed/feed_fault.h"

#include <string>

// What the feed connections need of the main frame. Each line handed over is a copy of one
// complete received line without its line end.
class IFeedFrame {
public:
    virtual ~IFeedFrame() = default;
    // A line containing "S,IP," arrived on any connection.
    virtual void OnServiceIp() = 0;
    // A symbol search answer line was handled (results changed, or the end marker arrived).
    virtual void OnSearchLine(const std::string& line) = 0;
    // Lookup lines beginning with "Loo": history answers.
    virtual void OnHistoryLine(const std::string& line) = 0;
    // Level 1 update lines: 'Q', 'P' and 'F' (after the watch bookkeeping of 'F').
    virtual void OnLevel1Line(const std::string& line) = 0;
    // 'T' lines: the exchange's time stamp, about once a second. Most frames do not need it.
    virtual void OnTimeLine(const std::string& /*line*/) {}
    // 'n' lines: the service does not know a watched symbol.
    virtual void OnSymbolNotFound(const std::string& line) = 0;
    // The service's connection status changed ("Connected" / "Not Connected").
    virtual void OnServiceStatus(const std::string& status) = 0;
    // A connection stopped for good: its connect failed after every retry, it received a line
    // longer than its buffer, or the service closed it. Said once per connection.
    virtual void OnFeedFault(const SFeedFault& fault) = 0;
};

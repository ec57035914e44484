#pragma once

#include "feed/kestrel_stream_socket.h"

#include <cstdint>
#include <string>

// A feed connection that stopped for good, as the frame is told of it: which connection, to
// where, and why.
struct SFeedFault {
    int connection = 0;     // CFeedConnections::EConnectionKind
    std::string address;    // "127.0.0.1"
    std::uint32_t port = 0; // of the last connect
    ESocketFault cause = ESocketFault::None;
    int error = 0; // errno-style code; 0 when none is known (an orderly close)
};

// "admin", "lookup", "Level 1" or "market depth".
std::string FeedConnectionName(int connection);

// The fault in words for the user, naming the connection, its address and the cause, e.g.
//   the market-data service closed the lookup connection (127.0.0.1:9100)
//   the market-data service sent a line longer than 65,535 bytes (the most a line may hold) on
//   the Level 1 connection (127.0.0.1:5009)
//   cannot reach the market-data service: the admin connection to 127.0.0.1:9300 failed
//   (Connection refused)
std::string DescribeFeedFault(const SFeedFault& fault);

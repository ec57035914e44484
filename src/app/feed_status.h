#pragma once

// The status bar's word on the feed. The connection pane says whether every connection the chart
// needs is up and, when one is lost, which one and why; the feed pane says what that means for
// the chart: how long ago the shown symbol last updated, so that a trader tells a quiet market
// from a dead feed, or that the feed is lost until the user reconnects.

#include "feed/kestrel_stream_socket.h"

#include <optional>
#include <string>
#include <vector>

class CFeedConnections;

// One connection as the status bar sees it.
struct SConnectionState {
    int kind = 0;      // CFeedConnections::EConnectionKind
    bool made = false; // the socket exists
    bool up = false;   // connected now
    bool wasUp = false;
    ESocketFault fault = ESocketFault::None; // the first fault of the socket
    int error = 0;                           // its errno-style code, 0 when none is known
};

struct SFeedState {
    // The service's own status, from its statistics line.
    std::string serviceStatus = "Not Connected";
    // The connections the chart needs: Level 1, lookup and admin.
    std::vector<SConnectionState> connections;
    bool symbolShown = false;
    // Seconds since a trade of the shown symbol last changed the chart; none before the first.
    std::optional<double> secondsSinceUpdate;
};

struct SStatusPaneTexts {
    std::string connection;
    std::string feed;
    // A needed connection is lost: it stays so until the user reconnects.
    bool lost = false;
    // The feed pane tells the age of the last update, which changes every second.
    bool counting = false;
};

// The feed's connections as they stand (none when there is no feed); the symbol is left out.
SFeedState ReadFeedState(const CFeedConnections* feed);

// The connection pane:
//   "Connected" once the service says so and every needed connection is up;
//   each lost connection and why, e.g. "Level 1 lost: a line over 64 KiB; Lookup lost: closed by
//   the service", as soon as one is lost (its socket faulted, or closed after it was up);
//   the service's status ("Not Connected") otherwise.
// The feed pane:
//   "Feed lost - use Reconnect" when a needed connection is lost (a dropped connection stays
//   closed until the user reconnects);
//   "Waiting for the market-data service" until the connection pane says "Connected";
//   "No symbol watched", or while a symbol is shown "No update yet", "Last update 12 s ago",
//   "Last update 3 min ago", "Last update 2 h ago".
SStatusPaneTexts StatusPaneTexts(const SFeedState& state);

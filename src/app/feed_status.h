#pragma once

// The status bar's word on the feed: whether the service still answers and how long ago the
// shown symbol last updated, so that a trader tells a quiet market from a dead feed.

#include <optional>
#include <string>

struct SFeedState {
    bool everConnected = false; // the Level 1 connection was up once
    bool connected = false;     // ... and is up now
    bool symbolShown = false;
    // Seconds since a trade of the shown symbol last changed the chart; none before the first.
    std::optional<double> secondsSinceUpdate;
};

// "Feed lost - use Reconnect" once the connection went away (a dropped connection stays closed
// until the user reconnects); "Last update 12 s ago", "Last update 3 min ago" or "No update yet"
// while a symbol is shown; empty otherwise.
std::string FeedStatusText(const SFeedState& state);

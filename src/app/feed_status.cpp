#include "app/feed_status.h"

#include <fmt/format.h>

#include <cmath>

std::string FeedStatusText(const SFeedState& state) {
    if (state.everConnected && !state.connected) {
        return "Feed lost - use Reconnect";
    }
    if (!state.symbolShown || !state.connected) {
        return {};
    }
    if (!state.secondsSinceUpdate) {
        return "No update yet";
    }
    const double seconds = std::max(*state.secondsSinceUpdate, 0.0);
    if (seconds < 60.0) {
        return fmt::format("Last update {} s ago", static_cast<int>(seconds));
    }
    if (seconds < 3600.0) {
        return fmt::format("Last update {} min ago", static_cast<int>(seconds / 60.0));
    }
    return fmt::format("Last update {} h ago", static_cast<int>(seconds / 3600.0));
}

#include "app/feed_status.h"

#include "feed/feed_connections.h"
#include "feed/feed_fault.h"
#include "feed/kestrel_client_app_socket.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

namespace {

bool IsLost(const SConnectionState& connection) {
    return connection.fault != ESocketFault::None || (connection.wasUp && !connection.up);
}

// "Level 1 lost: a line over 64 KiB" and the like.
std::string LostText(const SConnectionState& connection) {
    std::string name = FeedConnectionName(connection.kind);
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    const std::string reason = connection.error != 0 ? std::strerror(connection.error) : "";
    switch (connection.fault) {
    case ESocketFault::ConnectFailed:
        return fmt::format("{} lost: cannot connect ({})", name,
                           reason.empty() ? "no reason given" : reason);
    case ESocketFault::LineTooLong:
        return name + " lost: a line over 64 KiB";
    case ESocketFault::ClosedByPeer:
        return name + " lost: closed by the service" + (reason.empty() ? "" : " (" + reason + ")");
    case ESocketFault::None:
        break;
    }
    return name + " lost: closed";
}

std::string AgeText(double seconds) {
    seconds = std::max(seconds, 0.0);
    if (seconds < 60.0) {
        return fmt::format("Last update {} s ago", static_cast<int>(seconds));
    }
    if (seconds < 3600.0) {
        return fmt::format("Last update {} min ago", static_cast<int>(seconds / 60.0));
    }
    return fmt::format("Last update {} h ago", static_cast<int>(seconds / 3600.0));
}

} // namespace

SFeedState ReadFeedState(const CFeedConnections* feed) {
    SFeedState state;
    const int needed[] = {CFeedConnections::kLevel1, CFeedConnections::kLookup,
                          CFeedConnections::kAdmin};
    for (const int kind : needed) {
        SConnectionState connection;
        connection.kind = kind;
        if (const CKestrelClientAppSocket* socket =
                feed != nullptr ? feed->Connection(kind) : nullptr) {
            const SKestrelSocketStats& stats = socket->Statistics();
            connection.made = true;
            connection.up = stats.IsConnected();
            connection.wasUp = stats.connectedAt != std::chrono::system_clock::time_point{};
            connection.fault = socket->Fault();
            connection.error = socket->FaultError();
        }
        state.connections.push_back(connection);
    }
    if (feed != nullptr) {
        state.serviceStatus = feed->ServiceStatistics().status;
    }
    return state;
}

SStatusPaneTexts StatusPaneTexts(const SFeedState& state) {
    SStatusPaneTexts texts;
    for (const SConnectionState& connection : state.connections) {
        if (IsLost(connection)) {
            texts.connection += (texts.lost ? "; " : "") + LostText(connection);
            texts.lost = true;
        }
    }
    if (texts.lost) {
        texts.feed = "Feed lost - use Reconnect";
        return texts;
    }
    const bool ready = state.serviceStatus == "Connected" && !state.connections.empty() &&
                       std::all_of(state.connections.begin(), state.connections.end(),
                                   [](const SConnectionState& c) { return c.made && c.up; });
    if (!ready) {
        // The service may report itself connected before the chart's own connections are up.
        texts.connection = state.serviceStatus == "Connected" || state.serviceStatus.empty()
                               ? "Not Connected"
                               : state.serviceStatus;
        texts.feed = "Waiting for the market-data service";
        return texts;
    }
    texts.connection = "Connected";
    if (!state.symbolShown) {
        texts.feed = "No symbol watched";
    } else if (!state.secondsSinceUpdate) {
        texts.feed = "No update yet";
    } else {
        texts.feed = AgeText(*state.secondsSinceUpdate);
        texts.counting = true;
    }
    return texts;
}

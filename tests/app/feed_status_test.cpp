#include "app/feed_status.h"

#include <gtest/gtest.h>

namespace {

TEST(FeedStatus, TellsAQuietMarketFromADeadFeed) {
    SFeedState state;
    EXPECT_EQ(FeedStatusText(state), ""); // never connected, nothing shown
    state.everConnected = state.connected = true;
    EXPECT_EQ(FeedStatusText(state), "");
    state.symbolShown = true;
    EXPECT_EQ(FeedStatusText(state), "No update yet");
    state.secondsSinceUpdate = 12.9;
    EXPECT_EQ(FeedStatusText(state), "Last update 12 s ago");
    state.secondsSinceUpdate = 185.0;
    EXPECT_EQ(FeedStatusText(state), "Last update 3 min ago");
    state.secondsSinceUpdate = 7300.0;
    EXPECT_EQ(FeedStatusText(state), "Last update 2 h ago");
    // A dropped connection stays closed until a restart, whatever was shown.
    state.connected = false;
    EXPECT_EQ(FeedStatusText(state), "Feed lost - restart Skychart to reconnect");
    state.symbolShown = false;
    EXPECT_EQ(FeedStatusText(state), "Feed lost - restart Skychart to reconnect");
}

} // namespace

// The texts the shell shows: the connection and feed panes, the export mode's progress line on a
// terminal (rewritten in place, throttled, ended once) and the recent symbols of the symbol box.

#include "app/feed_status.h"
#include "app/progress_line.h"
#include "app/recent_symbols.h"
#include "feed/feed_connections.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace std::chrono_literals;

TEST(FeedStatus, EachPaneNamesItsStateAndALostConnectionSaysWhichAndWhy) {
    constexpr int kLevel1 = CFeedConnections::kLevel1;
    constexpr int kLookup = CFeedConnections::kLookup;
    constexpr int kAdmin = CFeedConnections::kAdmin;
    const SConnectionState up[] = {
        {kLevel1, true, true, true}, {kLookup, true, true, true}, {kAdmin, true, true, true}};
    // The three connections up, except `changed`.
    const auto with = [&](std::vector<SConnectionState> changed, std::string service,
                          bool symbol = false, std::optional<double> age = {}) {
        SFeedState state{std::move(service), {std::begin(up), std::end(up)}, symbol, age};
        for (const SConnectionState& connection : changed) {
            for (SConnectionState& held : state.connections) {
                held = held.kind == connection.kind ? connection : held;
            }
        }
        return state;
    };
    const std::string lost = "Feed lost - use Reconnect";
    const std::string waiting = "Waiting for the market-data service";
    const struct {
        SFeedState state;
        std::string connection, feed;
    } cases[] = {
        {{}, "Not Connected", waiting}, // no feed at all
        {with({{kLevel1}, {kLookup}}, "Not Connected"), "Not Connected", waiting},
        // The service is ready before the chart's own connections are.
        {with({{kLevel1, true}}, "Connected"), "Not Connected", waiting},
        {with({}, "Connected"), "Connected", "No symbol watched"},
        {with({}, "Connected", true), "Connected", "No update yet"},
        {with({}, "Connected", true, 12.9), "Connected", "Last update 12 s ago"},
        {with({}, "Connected", true, 185.0), "Connected", "Last update 3 min ago"},
        {with({}, "Connected", true, 7300.0), "Connected", "Last update 2 h ago"},
        // The service itself loses its feed: its own words.
        {with({}, "Not Connected", true, 5.0), "Not Connected", waiting},
        // A line too long leaves the socket connected but deaf.
        {with({{kLevel1, true, true, true, ESocketFault::LineTooLong}}, "Connected", true, 3.0),
         "Level 1 lost: a line over 64 KiB", lost},
        {with({{kLookup, true, false, true, ESocketFault::ClosedByPeer, ECONNRESET}}, "Connected"),
         "Lookup lost: closed by the service (Connection reset by peer)", lost},
        {with({{kAdmin, true, false, false, ESocketFault::ConnectFailed, ECONNREFUSED}},
              "Not Connected"),
         "Admin lost: cannot connect (Connection refused)", lost},
        // Closed without a fault after it was up, and two lost at once.
        {with({{kLookup, true, false, true}}, "Connected"), "Lookup lost: closed", lost},
        {with({{kLevel1, true, true, true, ESocketFault::LineTooLong},
               {kLookup, true, false, true, ESocketFault::ClosedByPeer}},
              "Connected"),
         "Level 1 lost: a line over 64 KiB; Lookup lost: closed by the service", lost}};
    for (const auto& [state, connection, feed] : cases) {
        const SStatusPaneTexts texts = StatusPaneTexts(state);
        EXPECT_EQ(texts.connection, connection) << feed;
        EXPECT_EQ(std::tuple(texts.feed, texts.lost), std::tuple(feed, feed == lost)) << connection;
        EXPECT_EQ(texts.counting, feed.starts_with("Last update")) << feed;
    }
}

TEST(ProgressLine, RewritesInPlaceAtMostOncePerPeriodAndEndsWithTheLatestText) {
    std::string out;
    CProgressLine line([&](const std::string& text) { out += text; }, 200ms);
    const CProgressLine::Clock::time_point t0{};
    line.Finish();
    EXPECT_EQ(out, "") << "nothing was shown, so nothing is ended";
    EXPECT_TRUE(line.Show("LUMA: 10 points received", t0));
    EXPECT_EQ(out, "\rLUMA: 10 points received");
    // Within the period a new text waits; the same text is never written twice.
    EXPECT_FALSE(line.Show("LUMA: 20 points received", t0 + 100ms));
    EXPECT_FALSE(line.Show("LUMA: 10 points received", t0 + 500ms));
    EXPECT_EQ(out, "\rLUMA: 10 points received");
    // A shorter text blanks out the rest of the longer one before it.
    out.clear();
    EXPECT_TRUE(line.Show("LUMA: 9", t0 + 700ms));
    EXPECT_EQ(out, "\rLUMA: 9" + std::string(17, ' '));
    EXPECT_TRUE(line.Open());
    // The end shows the count held back, then the line end; a second end adds nothing.
    out.clear();
    EXPECT_FALSE(line.Show("LUMA: 1000", t0 + 750ms));
    line.Finish();
    line.Finish();
    EXPECT_EQ(out, "\rLUMA: 1000\n");
    EXPECT_FALSE(line.Open());
    // After the end a new line starts at once, with nothing to blank out.
    out.clear();
    EXPECT_TRUE(line.Show("next", t0 + 760ms));
    EXPECT_EQ(out, "\rnext");
}

TEST(RecentSymbols, TrimmedUpperCaseNewestFirstWithoutRepeatsAndAtMostThirty) {
    CRecentSymbols recent({"MSFT", "", "LUMA", "KRNO"});
    EXPECT_EQ(recent.Items(), (std::vector<std::string>{"MSFT", "LUMA", "KRNO"}));
    recent.Use("KRNO");
    EXPECT_EQ(recent.Items(), (std::vector<std::string>{"KRNO", "MSFT", "LUMA"}));
    for (int i = 0; i < 40; ++i) {
        recent.Use("S" + std::to_string(i));
    }
    ASSERT_EQ(recent.Items().size(), CRecentSymbols::kMaxCount);
    EXPECT_EQ(std::tuple(recent.Items().front(), recent.Items().back()), std::tuple("S39", "S10"));
    // What is typed into the box is trimmed and upper-cased.
    EXPECT_EQ(SymbolFromEntry("  luma\t"), "LUMA");
    EXPECT_EQ(std::tuple(SymbolFromEntry("@es#"), SymbolFromEntry(" \t ")), std::tuple("@ES#", ""));
}

} // namespace

// The texts the shell shows: the feed status, the export mode's progress line on a terminal
// (rewritten in place, throttled, ended once) and the recent symbols of the symbol box.

#include "app/feed_status.h"
#include "app/progress_line.h"
#include "app/recent_symbols.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

TEST(FeedStatus, TellsAQuietMarketFromADeadFeed) {
    const std::string lost = "Feed lost - use Reconnect";
    // {ever connected, connected, symbol shown, seconds since the last update}
    const std::pair<SFeedState, std::string> cases[] = {
        {{}, ""}, // never connected, nothing shown
        {{true, true, false, {}}, ""},
        {{true, true, true, {}}, "No update yet"},
        {{true, true, true, 12.9}, "Last update 12 s ago"},
        {{true, true, true, 185.0}, "Last update 3 min ago"},
        {{true, true, true, 7300.0}, "Last update 2 h ago"},
        // A dropped connection stays closed until Reconnect, whatever was shown.
        {{true, false, true, 7300.0}, lost},
        {{true, false, false, 7300.0}, lost}};
    for (const auto& [state, text] : cases) {
        EXPECT_EQ(FeedStatusText(state), text) << state.connected << state.symbolShown;
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
    EXPECT_EQ(recent.Items().front(), "S39");
    EXPECT_EQ(recent.Items().back(), "S10");

    // What is typed into the box is trimmed and upper-cased.
    EXPECT_EQ(SymbolFromEntry("  luma\t"), "LUMA");
    EXPECT_EQ(SymbolFromEntry("@es#"), "@ES#");
    EXPECT_EQ(SymbolFromEntry(" \t "), "");
}

} // namespace

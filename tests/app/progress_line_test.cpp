// The progress line of the export mode on a terminal: rewritten in place, throttled, ended once.

#include "app/progress_line.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

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

} // namespace

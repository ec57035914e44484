#include "chart/chart_progress.h"
#include "history/chart_hist_request.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A chart view that records what the progress timer hands it; `atEdge` says whether it takes
// new points.
struct RecordingSink : IHistoryProgressSink {
    bool atEdge = true;
    int displayed = 120;
    std::vector<int> completed;
    std::vector<std::pair<int, int>> offered;
    std::vector<std::string> texts;

    void SetStatusText(const std::string& text) override { texts.push_back(text); }
    int ShowCompleteHistory(int count) override {
        completed.push_back(count);
        return displayed;
    }
    std::optional<int> ShowNewPoints(int count, int added) override {
        offered.emplace_back(count, added);
        return atEdge ? std::optional<int>(displayed) : std::nullopt;
    }
};

class Progress : public ::testing::Test {
protected:
    void Add(int count) {
        for (int i = 0; i < count; ++i) {
            history.AppendTick(sTICK{});
        }
    }
    CChartHistRequest history;
    CHistoryProgress progress;
    RecordingSink sink;
};

TEST_F(Progress, LoadingShowsTheRetrievalTextOfTheDataType) {
    Add(3);
    const std::vector<std::string> expected = {
        "Retrieving Tick Data (3 Ticks Received)",   "Retrieving Minute Data (3 Minutes Received)",
        "Retrieving Day Data (3 Days Received)",     "Retrieving Week Data (3 Weeks Received)",
        "Retrieving Month Data (3 Months Received)", ""};
    progress.StartNewLoad();
    for (int dataType = 0; dataType <= 5; ++dataType) {
        progress.OnTimer(history, dataType, sink);
    }
    EXPECT_EQ(sink.texts, expected);
    EXPECT_EQ(progress.ShownCount(), 3);
    EXPECT_TRUE(sink.completed.empty());
    EXPECT_TRUE(sink.offered.empty());
}

TEST_F(Progress, ANewLoadIsShownWholeOnceThenLivePointsOnlyWhenTaken) {
    progress.StartNewLoad();
    Add(500);
    history.SetHistoryComplete(true);
    sink.displayed = 80;
    progress.OnTimer(history, 0, sink);
    EXPECT_EQ(sink.completed, std::vector<int>{500});
    EXPECT_EQ(progress.ShownCount(), 500);
    EXPECT_FALSE(progress.IsNewLoad());
    EXPECT_EQ(sink.texts, std::vector<std::string>{"500 datapoints available.  Displaying 80."});

    // Nothing new: offered (the newest point may have changed), the same text again.
    progress.OnTimer(history, 0, sink);
    // Scrolled back: offered, not taken, and offered again with both points on a later tick.
    Add(2);
    sink.atEdge = false;
    progress.OnTimer(history, 0, sink);
    EXPECT_EQ(progress.ShownCount(), 500);
    sink.atEdge = true;
    progress.OnTimer(history, 0, sink);
    EXPECT_EQ(sink.offered, (std::vector<std::pair<int, int>>{{500, 0}, {502, 2}, {502, 2}}));
    EXPECT_EQ(sink.completed.size(), 1U);
    EXPECT_EQ(progress.ShownCount(), 502);
    EXPECT_EQ(sink.texts.size(), 3U);
    EXPECT_EQ(sink.texts.back(), "502 datapoints available.  Displaying 80.");
}

TEST_F(Progress, NothingIsOfferedWhenTheSeriesShrankOrNothingIsShown) {
    Add(5);
    history.SetHistoryComplete(true);
    progress.SetShownCount(8);
    progress.OnTimer(history, 0, sink);
    progress.SetShownCount(0);
    progress.OnTimer(history, 0, sink);
    EXPECT_TRUE(sink.offered.empty());
    EXPECT_TRUE(sink.texts.empty());
}

} // namespace

#include "chart/chart_progress.h"
#include "history/chart_hist_request.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A chart view that records what the progress timer asks of it.
struct RecordingView : IHistoryProgressView {
    int rangeMaximum = -1;
    int position = -1;
    int limit = 0;
    bool atLimit = true;
    int recomputes = 0;
    int held = 0;
    std::vector<int> appended;
    int displayed = 120;
    std::vector<std::string> texts;

    void SetScrollRange(int maximum) override { rangeMaximum = maximum; }
    void SetScrollPosition(int value) override { position = value; }
    int ScrollLimit() const override { return limit; }
    bool IsScrollAtLimit() const override { return atLimit; }
    int RecomputeAndShowNewest() override {
        ++recomputes;
        return held;
    }
    void AppendNewPoints(int count) override { appended.push_back(count); }
    int DisplayedPointCount() const override { return displayed; }
    void SetStatusText(const std::string& text) override { texts.push_back(text); }
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
    RecordingView view;
};

TEST_F(Progress, LoadingShowsTheRetrievalTextOfTheDataType) {
    Add(3);
    const std::vector<std::string> expected = {
        "Retrieving Tick Data (3 Ticks Received)",   "Retrieving Minute Data (3 Minutes Received)",
        "Retrieving Day Data (3 Days Received)",     "Retrieving Week Data (3 Weeks Received)",
        "Retrieving Month Data (3 Months Received)", ""};
    for (int dataType = 0; dataType <= 5; ++dataType) {
        progress.OnTimer(history, dataType, view);
    }
    EXPECT_EQ(view.texts, expected);
    EXPECT_EQ(progress.ShownCount(), 3);
    EXPECT_EQ(view.recomputes, 0);
}

TEST_F(Progress, FirstTickAfterCompletionRecomputesOnceForANewLoad) {
    progress.StartNewLoad();
    Add(500);
    history.SetHistoryComplete(true);
    view.held = 480;
    progress.OnTimer(history, 0, view);
    EXPECT_EQ(view.recomputes, 1);
    EXPECT_EQ(view.rangeMaximum, 500);
    EXPECT_EQ(view.position, 500);
    EXPECT_EQ(progress.ShownCount(), 480);
    EXPECT_FALSE(progress.IsNewLoad());
    ASSERT_EQ(view.texts.size(), 1U);
    EXPECT_EQ(view.texts.back(), "500 datapoints available.  Displaying 120.");
}

TEST_F(Progress, LivePointsAreFollowedOnlyAtTheRightEdge) {
    Add(10);
    history.SetHistoryComplete(true);
    progress.SetShownCount(10);
    view.limit = 7;

    // Scrolled back: counted, but the view and the text stay.
    Add(2);
    view.atLimit = false;
    progress.OnTimer(history, 0, view);
    EXPECT_TRUE(view.appended.empty());
    EXPECT_TRUE(view.texts.empty());
    EXPECT_EQ(progress.ShownCount(), 10);

    // Back at the edge: both new points are appended at once.
    view.atLimit = true;
    progress.OnTimer(history, 0, view);
    EXPECT_EQ(view.appended, (std::vector<int>{2}));
    EXPECT_EQ(view.rangeMaximum, 12);
    EXPECT_EQ(view.position, 7);
    EXPECT_EQ(progress.ShownCount(), 12);
    EXPECT_EQ(view.texts.back(), "12 datapoints available.  Displaying 120.");
}

TEST_F(Progress, NothingHappensWhenTheSeriesShrankOrNothingIsShown) {
    Add(5);
    history.SetHistoryComplete(true);
    progress.SetShownCount(8);
    progress.OnTimer(history, 0, view);
    progress.SetShownCount(0);
    progress.OnTimer(history, 0, view);
    EXPECT_TRUE(view.appended.empty());
    EXPECT_TRUE(view.texts.empty());
    EXPECT_EQ(view.rangeMaximum, -1);
}

} // namespace

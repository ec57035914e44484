// The chart session without a window: the progress decisions, and the loader sending its request
// through the feed interface to the real portico and taking the answer lines as they come.

#include "chart/chart_loader.h"
#include "chart/chart_progress.h"
#include "chart/redraw_pacer.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "feed/history_feed.h"
#include "history/chart_hist_request.h"
#include "line_client.h"
#include "portico_process.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace skychart::test {
namespace {

// A chart view that records what the progress timer hands it; `atEdge` says whether it takes
// new points.
struct RecordingSink : IHistoryProgressSink {
    void SetStatusText(const std::string& text) override { texts.push_back(text); }
    int ShowCompleteHistory(int count) override {
        completed.push_back(count);
        return displayed;
    }
    std::optional<int> ShowNewPoints(int count, int added) override {
        offered.emplace_back(count, added);
        return atEdge ? std::optional<int>(displayed) : std::nullopt;
    }

    bool atEdge = true;
    int displayed = 120;
    std::vector<int> completed;
    std::vector<std::pair<int, int>> offered;
    std::vector<std::string> texts;
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
    progress.StartNewLoad();
    for (int dataType = 0; dataType <= 5; ++dataType) {
        progress.OnTimer(history, dataType, sink);
    }
    EXPECT_EQ(sink.texts,
              (std::vector<std::string>{"Retrieving Tick Data (3 Ticks Received)",
                                        "Retrieving Minute Data (3 Minutes Received)",
                                        "Retrieving Day Data (3 Days Received)",
                                        "Retrieving Week Data (3 Weeks Received)",
                                        "Retrieving Month Data (3 Months Received)", ""}));
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

    // Drawn between ticks: offered and taken, the text left for the next tick.
    Add(1);
    progress.OnTimer(history, 0, sink, false);
    EXPECT_EQ(sink.offered.back(), (std::pair<int, int>{503, 1}));
    EXPECT_EQ(progress.ShownCount(), 503);
    EXPECT_EQ(sink.texts.size(), 3U);

    // A series that shrank below what is shown, or nothing shown: nothing offered.
    progress.SetShownCount(600);
    progress.OnTimer(history, 0, sink);
    progress.SetShownCount(0);
    progress.OnTimer(history, 0, sink);
    EXPECT_EQ(sink.offered.size(), 4U);
    EXPECT_EQ(sink.texts.size(), 3U);
}

// Live points are drawn at most once a frame: a change after a quiet spell at once, the changes
// until that drawing with it, the next ones the rest of the frame after it.
TEST(RedrawPacer, DrawsLivePointsAtMostOnceAFrame) {
    using std::chrono::milliseconds;
    CRedrawPacer pacer;
    const auto start = CRedrawPacer::Clock::time_point{} + std::chrono::hours(1);
    EXPECT_EQ(pacer.Changed(start), milliseconds(0));
    EXPECT_EQ(pacer.Changed(start + milliseconds(1)), std::nullopt);
    pacer.Drawn(start + milliseconds(2));
    EXPECT_EQ(pacer.Changed(start + milliseconds(5)), milliseconds(13));
    EXPECT_EQ(pacer.Changed(start + milliseconds(6)), std::nullopt);
    pacer.Drawn(start + milliseconds(18));
    EXPECT_EQ(pacer.Changed(start + milliseconds(40)), milliseconds(0));
}

TEST_F(Progress, AnAnswerCutShortIsShownWithItsCauseUntilTheNextLoad) {
    EXPECT_EQ(CHistoryProgress::CountText(0, 1073083), "1,073,083 ticks");
    EXPECT_EQ(CHistoryProgress::CountText(2, 1), "1 bar");
    EXPECT_EQ(CHistoryProgress::CountText(3, 999), "999 bars");
    EXPECT_EQ(CHistoryProgress::IncompleteText("it closed", 0, 0, 120), "No history: it closed.");
    progress.StartNewLoad();
    Add(1000);
    history.SetHistoryComplete(true);
    progress.SetIncomplete("it closed");
    progress.OnTimer(history, 1, sink);
    Add(1);
    progress.OnTimer(history, 1, sink);
    EXPECT_EQ(sink.texts,
              (std::vector<std::string>{"History incomplete: it closed after 1,000 bars.  "
                                        "Displaying 120.",
                                        "History incomplete: it closed after 1,001 bars.  "
                                        "Displaying 120."}));
    progress.StartNewLoad();
    EXPECT_EQ(progress.ShownText(1, 5, 120), "5 datapoints available.  Displaying 120.");
}

// The feed as the session sees it: the lookup connection is a plain client of the real portico;
// the watches are noted.
class LookupFeed : public IHistoryFeed {
public:
    explicit LookupFeed(int port) { EXPECT_TRUE(m_client.connect(port)); }
    int WatchSymbol(const std::string& symbol) override {
        watched.push_back(symbol);
        return 1;
    }
    void UnwatchSymbol(const std::string& symbol) override { unwatched.push_back(symbol); }
    bool SendHistoryCommand(const std::string& line) override {
        commands.push_back(line);
        return m_client.send(line);
    }
    // Hands every line of the next answer to `loader`, up to its end marker.
    int Deliver(CChartLoader& loader) {
        int lines = 0;
        while (std::optional<std::string> line = m_client.readLine()) {
            loader.OnHistoryLine(*line);
            ++lines;
            if (line->find("!ENDMSG!") != std::string::npos) {
                break;
            }
        }
        return lines;
    }

    std::vector<std::string> watched, unwatched, commands;

private:
    LineClient m_client;
};

TEST(ChartSession, LoadsThroughTheFeedInterfaceAndSurvivesAnErrorAnswer) {
    PorticoProcess portico(PORTICO_EXECUTABLE);
    ASSERT_TRUE(portico.start({}));
    CSettings settings;
    settings.RegisterAll(AllSettingKeys());
    settings.SetInt(keys::kRequestDataType, kDays);
    settings.SetText(keys::kRequestDatapoints, "10000,10000,250,10000,10000");

    CChartHistRequest history;
    CChartLoader loader(history, settings);
    LookupFeed feed(portico.lookupPort());
    loader.SetFeed(&feed);
    loader.LoadSettings();
    RecordingSink view;

    // The frame stores the symbol before it loads it; the request reads it from there.
    settings.SetText(keys::kCurrentSymbol, "NOSUCH");
    ASSERT_EQ(loader.Load("NOSUCH"), CChartLoader::EStart::Sent);
    loader.OnProgressTick(view);
    EXPECT_EQ(view.texts.back(), "Retrieving Day Data (0 Days Received)");

    // The trader moves on before the error answer arrives: it must not keep the next request
    // from completing.
    settings.SetText(keys::kCurrentSymbol, "LUMA");
    ASSERT_EQ(loader.Load("LUMA"), CChartLoader::EStart::Sent);
    EXPECT_EQ(feed.unwatched, std::vector<std::string>{"NOSUCH"});
    EXPECT_EQ(feed.watched, (std::vector<std::string>{"NOSUCH", "LUMA"}));
    EXPECT_EQ(feed.commands.back(), "HDX,LUMA,250,1,Lookup6\n");
    feed.Deliver(loader);
    EXPECT_EQ(loader.AnswerError(), "!UNKNOWN_SYMBOL!");
    EXPECT_GT(feed.Deliver(loader), 250);
    EXPECT_FALSE(loader.Loading());
    EXPECT_EQ(history.GetCount(), 250);
    loader.OnProgressTick(view);
    EXPECT_EQ(view.completed, std::vector<int>{250});
    EXPECT_EQ(view.texts.back(), "250 datapoints available.  Displaying 120.");
}

} // namespace
} // namespace skychart::test

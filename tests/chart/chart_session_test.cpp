// The chart session without a window: the progress decisions, and the loader sending its request
// through the feed connections to the real portico and taking the answer as it comes.

#include "chart/chart_loader.h"
#include "chart/chart_progress.h"
#include "chart/compare_set.h"
#include "chart/redraw_pacer.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "feed/feed_connections.h"
#include "feed/feed_frame.h"
#include "feed/kestrel_client_app_socket.h"
#include "history/chart_hist_request.h"
#include "platform/qt_feed.h"
#include "portico_process.h"
#include "recording_prompt.h"
#include "run_until.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <mutex>
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
    EXPECT_EQ(std::tuple(progress.ShownCount(), sink.completed.size(), sink.offered.size()),
              std::tuple(3, 0u, 0u));
}

TEST_F(Progress, ANewLoadIsShownWholeOnceThenLivePointsOnlyWhenTaken) {
    progress.StartNewLoad();
    Add(500);
    history.SetHistoryComplete(true);
    sink.displayed = 80;
    progress.OnTimer(history, 0, sink);
    EXPECT_EQ(std::tuple(sink.completed, progress.ShownCount(), progress.IsNewLoad()),
              std::tuple(std::vector<int>{500}, 500, false));
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
    EXPECT_EQ(std::tuple(sink.completed.size(), progress.ShownCount(), sink.texts.size(),
                         sink.texts.back()),
              std::tuple(1U, 502, 3U, "502 datapoints available.  Displaying 80."));

    // Drawn between ticks: offered and taken, the text left for the next tick.
    Add(1);
    progress.OnTimer(history, 0, sink, false);
    EXPECT_EQ(std::tuple(sink.offered.back(), progress.ShownCount(), sink.texts.size()),
              std::tuple(std::pair{503, 1}, 503, 3U));

    // A series that shrank below what is shown, or nothing shown: nothing offered.
    progress.SetShownCount(600);
    progress.OnTimer(history, 0, sink);
    progress.SetShownCount(0);
    progress.OnTimer(history, 0, sink);
    EXPECT_EQ(std::tuple(sink.offered.size(), sink.texts.size()), std::tuple(4U, 3U));
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

// The frame's side of the lookup connection: the lines it dispatches go to the compare set or
// the chart, as the view sends them, and are noted.
class RoutingFrame : public IFeedFrame {
public:
    RoutingFrame(CChartLoader& loader, CCompareSet& compare)
        : m_loader(loader), m_compare(compare) {}
    void OnServiceIp() override {}
    void OnSearchLine(const std::string& /*line*/) override {}
    void OnHistoryLine(const std::string& line) override {
        lines.push_back(line);
        if (!m_compare.OnHistoryLine(line)) {
            m_loader.OnHistoryLine(line);
        }
    }
    void OnLevel1Line(const std::string& /*line*/) override {}
    void OnSymbolNotFound(const std::string& /*line*/) override {}
    void OnServiceStatus(const std::string& /*status*/) override {}
    void OnFeedFault(const SFeedFault& fault) override { faults.push_back(fault); }

    std::vector<std::string> lines;
    std::vector<SFeedFault> faults;

private:
    CChartLoader& m_loader;
    CCompareSet& m_compare;
};

// A chart session on the real lookup connection: the loader, a compare set and the frame that
// routes the connection's lines to them. What the parse worker posts to the view's thread waits
// in `posted` until the test runs it, unless the test posts it to the event loop.
class ChartSession : public ::testing::Test {
protected:
    ChartSession() {
        static int argc = 1;
        static char name[] = "chart_session";
        static char* argv[] = {name, nullptr};
        static QCoreApplication application(argc, argv);
        settings.RegisterAll(AllSettingKeys());
        settings.SetInt(keys::kRequestDataType, kDays);
    }

    // Starts portico with `arguments` and connects the lookup connection to it. With `queued`,
    // what the parse posts runs on the event loop.
    void Connect(const std::vector<std::string>& arguments, bool queued) {
        ASSERT_TRUE(portico.start(arguments));
        loader.ParseOnWorker([this, queued](std::function<void()> call) {
            if (queued) {
                QMetaObject::invokeMethod(&context, std::move(call), Qt::QueuedConnection);
                return;
            }
            std::lock_guard lock(postedLock);
            posted.push_back(std::move(call));
        });
        ASSERT_TRUE(feed.CreateConnection(CFeedConnections::kLookup, 0));
        CKestrelClientAppSocket& lookup = *feed.Connection(CFeedConnections::kLookup);
        lookup.Connect(CFeedConnections::kAddress,
                       static_cast<std::uint32_t>(portico.lookupPort()));
        ASSERT_TRUE(RunUntil([&] { return lookup.Statistics().IsConnected(); }));
        loader.SetFeed(&feed);
        compare.SetFeed(&feed);
        loader.LoadSettings();
    }

    void RunPosted() {
        std::vector<std::function<void()>> calls;
        {
            std::lock_guard lock(postedLock);
            calls.swap(posted);
        }
        for (const auto& call : calls) {
            call();
        }
    }

    // The symbol is stored before it is loaded, as the frame does; the request reads it there.
    CChartLoader::EStart Load(const std::string& symbol) {
        settings.SetText(keys::kCurrentSymbol, symbol);
        return loader.Load(symbol);
    }

    PorticoProcess portico{PORTICO_EXECUTABLE};
    CSettings settings;
    // Declared before the loader, whose parse worker posts to them.
    QObject context;
    std::mutex postedLock;
    std::vector<std::function<void()>> posted;
    CChartHistRequest history;
    CChartLoader loader{history, settings};
    CCompareSet compare{settings};
    RoutingFrame frame{loader, compare};
    RecordingPrompt prompt;
    CQtFeedPlatform platform;
    CFeedConnections feed{frame, prompt, platform};
};

// The chart's answers: the records of its own request are parsed off the view's thread, and
// every other line (an error answer, the end markers, a compare symbol's answer) reaches the
// view's thread in order only when it runs what the parse posted to it.
TEST_F(ChartSession, RecordsFillTheSeriesOffTheViewThreadTheRestComesBackInOrder) {
    settings.SetText(keys::kRequestDatapoints, "10000,10000,250,10000,10000");
    ASSERT_NO_FATAL_FAILURE(Connect({}, false));
    RecordingSink view;
    ASSERT_EQ(Load("NOSUCH"), CChartLoader::EStart::Sent);
    loader.OnProgressTick(view);
    EXPECT_EQ(view.texts.back(), "Retrieving Day Data (0 Days Received)");
    // The trader moves on before the error answer arrives: it must not keep the next request
    // from completing.
    ASSERT_EQ(Load("LUMA"), CChartLoader::EStart::Sent);
    EXPECT_EQ(compare.Add("AURX", "LUMA", true), "");
    EXPECT_EQ(feed.PendingWatches(), (std::deque<std::string>{"LUMA", "AURX"}));

    ASSERT_TRUE(RunUntil([&] { return history.GetCount() == 250; }));
    EXPECT_TRUE(frame.lines.empty() && loader.Loading());
    EXPECT_EQ(compare.Entries()[0].history->GetCount(), 0);

    ASSERT_TRUE(RunUntil([&] {
        RunPosted();
        return compare.Entries()[0].loader->AnswerEnded() && !loader.Loading();
    }));
    ASSERT_GT(frame.lines.size(), 253U);
    EXPECT_TRUE(frame.lines[0].starts_with("Lookup6,E,")) << frame.lines[0];
    EXPECT_EQ(frame.lines[1], "Lookup6,!ENDMSG!,");
    EXPECT_EQ(std::count(frame.lines.begin(), frame.lines.end(), "Lookup6,!ENDMSG!,"), 2);
    EXPECT_EQ(
        std::count_if(frame.lines.begin(), frame.lines.end(),
                      [](const std::string& line) { return line.starts_with("LookupC1-6,"); }),
        static_cast<long>(frame.lines.size()) - 3);
    EXPECT_EQ(std::tuple(loader.AnswerError(), history.GetCount(),
                         compare.Entries()[0].history->GetCount()),
              std::tuple("!UNKNOWN_SYMBOL!", 250, 250));
    loader.OnProgressTick(view);
    EXPECT_EQ(view.completed, std::vector<int>{250});
    EXPECT_EQ(view.texts.back(), "250 datapoints available.  Displaying 120.");
}

// A line over the limit at the head of an answer, ended well inside one receive: the parse
// worker reads nothing from it on, and the lookup connection reports the long line once and
// stops reading.
TEST_F(ChartSession, ALineOverTheLimitInAnAnswerStopsTheLookupConnection) {
    ASSERT_NO_FATAL_FAILURE(Connect({"--fault-long-line"}, true));
    ASSERT_EQ(Load("LUMA"), CChartLoader::EStart::Sent);
    ASSERT_TRUE(RunUntil([&] { return !frame.faults.empty(); }));
    EXPECT_EQ(frame.faults[0].cause, ESocketFault::LineTooLong);
    EXPECT_EQ(frame.faults[0].connection, CFeedConnections::kLookup);
    // The answer's records came after the long line: none is read.
    EXPECT_FALSE(RunUntil([&] { return history.GetCount() > 0 || frame.faults.size() > 1; },
                          std::chrono::milliseconds(500)));
    EXPECT_TRUE(frame.lines.empty());
}

} // namespace
} // namespace skychart::test

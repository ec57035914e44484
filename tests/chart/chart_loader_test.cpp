// The chart session without a window: the loader sends its request through the feed interface
// to the real portico, takes the answer lines as they come and reports its progress; an error
// answer leaves the next load free to complete.

#include "chart/chart_loader.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "feed/history_feed.h"
#include "history/chart_hist_request.h"
#include "line_client.h"
#include "portico_process.h"

#include <gtest/gtest.h>

#include <vector>

namespace skychart::test {
namespace {

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

    std::vector<std::string> watched;
    std::vector<std::string> unwatched;
    std::vector<std::string> commands;

private:
    LineClient m_client;
};

struct StatusSink : IHistoryProgressSink {
    void SetStatusText(const std::string& text) override { texts.push_back(text); }
    int ShowCompleteHistory(int /*count*/) override { return ++recomputed, 120; }
    std::optional<int> ShowNewPoints(int /*count*/, int /*added*/) override { return 120; }

    int recomputed = 0;
    std::vector<std::string> texts;
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
    StatusSink view;

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
    EXPECT_EQ(view.recomputed, 1);
    EXPECT_EQ(view.texts.back(), "250 datapoints available.  Displaying 120.");
}

} // namespace
} // namespace skychart::test

// The live updater against the real portico: a chart loads its history, takes the Level 1 lines
// that arrive meanwhile and afterwards, and what it built live must equal what a fresh history
// request returns for the same points.

#include "base/error.h"
#include "base/fields.h"
#include "chart/chart_loader.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "deadline.h"
#include "feed/feed_connections.h"
#include "feed/history_feed.h"
#include "history/chart_hist_request.h"
#include "history/history_parser.h"
#include "line_client.h"
#include "portico_process.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace skychart::test {
namespace {

// The frame's two connections as the loader sees them: real clients of portico.
class LiveFeed : public IHistoryFeed {
public:
    LiveFeed(int lookupPort, int level1Port) {
        EXPECT_TRUE(m_lookup.connect(lookupPort) && m_level1.connect(level1Port));
        m_level1.send("S,SELECT UPDATE FIELDS," + CFeedConnections::UpdateFieldList() + "\n");
        EXPECT_TRUE(m_level1.readLineStartingWith("S,CURRENT UPDATE FIELDS").has_value());
    }
    int WatchSymbol(const std::string& symbol) override {
        return m_level1.send("w" + symbol + "\n") ? 1 : 0;
    }
    void UnwatchSymbol(const std::string& symbol) override { m_level1.send("r" + symbol + "\n"); }
    bool SendHistoryCommand(const std::string& line) override { return m_lookup.send(line); }

    // The answer up to its end marker; the Level 1 lines that came meanwhile, and during `hold`
    // after it, are handed over before the end marker, so the loader holds them and replays them
    // at the end. It holds only trades of the symbol.
    void Load(CChartLoader& loader, std::chrono::milliseconds hold) {
        while (std::optional<std::string> line = m_lookup.readLine(60s)) {
            if (line->find("!ENDMSG!") != std::string::npos) {
                const auto until = std::chrono::steady_clock::now() + hold;
                while (std::chrono::steady_clock::now() < until) {
                    if (std::optional<std::string> update = m_level1.readLine(50ms)) {
                        Hand(loader, *update);
                    }
                }
                for (const std::string& held : loader.HeldLevel1Lines()) {
                    const std::vector<std::string_view> fields = SplitFields(held);
                    EXPECT_TRUE(fields.size() > 21 && fields[1] == loader.Symbol() &&
                                fields[21].find('C') != std::string_view::npos)
                        << held;
                }
                heldAtEnd = loader.HeldLevel1Lines().size();
                answered = loader.History().GetCount();
                // As the frame's event loop does, a failure abandons only the line in hand.
                try {
                    loader.OnHistoryLine(*line);
                } catch (const CInvalidArgException& error) {
                    ADD_FAILURE() << "the end of the answer failed: " << error.what();
                }
                return;
            }
            loader.OnHistoryLine(*line);
        }
        ADD_FAILURE() << "no end of the history answer";
    }

    // Level 1 lines until `done` says so (checked at every line) or a minute passes.
    template <typename Done> void Follow(CChartLoader& loader, Done done) {
        const auto deadline = std::chrono::steady_clock::now() + 60s;
        while (!done()) {
            std::optional<std::string> line =
                m_level1.readLine(std::chrono::milliseconds(RemainingMs(deadline)));
            if (!line) {
                ADD_FAILURE() << "the live lines stopped before the test was done";
                return;
            }
            if (line->starts_with("T,") && line->size() >= 17) {
                clock = std::stoi(line->substr(11, 2) + line->substr(14, 2) + line->substr(17, 2));
            }
            Hand(loader, *line);
        }
    }

    int clock = 0;             // hhmmss of the newest time line
    std::size_t heldAtEnd = 0; // lines the loader held when the answer ended
    std::size_t answered = 0;  // points of the answer, before the held lines were replayed

private:
    void Hand(CChartLoader& loader, const std::string& line) {
        // The frame hands only update, summary and fundamental lines to the chart.
        if (!line.empty() && (line[0] == 'Q' || line[0] == 'P' || line[0] == 'F')) {
            loader.OnLevel1Line(line);
        }
    }

    LineClient m_lookup;
    LineClient m_level1;
};

struct SCase {
    const char* symbol;
    const char* start;
    const char* rate;
    int dataType;
    int kind;
    std::vector<std::string> faults = {};
    std::chrono::milliseconds hold = 300ms;
};

// Portico, the settings of one request kind, a loaded chart following live.
class LiveChart {
public:
    explicit LiveChart(const SCase& c) : portico(PORTICO_EXECUTABLE), loader(history, settings) {
        std::vector<std::string> arguments = {"--start-time", c.start, "--clock-rate", c.rate};
        arguments.insert(arguments.end(), c.faults.begin(), c.faults.end());
        EXPECT_TRUE(portico.start(arguments));
        id = "Lookup" + std::to_string(c.kind);
        settings.RegisterAll(AllSettingKeys());
        std::vector<std::string> kinds = {"0", "3", "6", "8", "9"};
        kinds[static_cast<std::size_t>(c.dataType)] = std::to_string(c.kind);
        // Kind 5 reads the intervals' elements of the date lists: the whole day of the start.
        const std::string day =
            std::string(c.start, 4) + std::string(c.start + 5, 2) + std::string(c.start + 8, 2);
        const std::map<std::string, std::string> values = {
            {keys::kCurrentSymbol, c.symbol},
            {keys::kRequestDataType, std::to_string(c.dataType)},
            {keys::kRequestIntervalIndex, c.kind == 5 ? "4" : "0"},
            {keys::kRequestRecentType, JoinFields(kinds)},
            {keys::kRequestDatapoints, "5000,500,20,20,20"},
            {keys::kRequestBeginDate, day + "," + day},
            {keys::kRequestEndDate, day + "," + day},
            {keys::kRequestBeginTime, "000000,000000"},
            {keys::kRequestEndTime, "235959,235959"}};
        for (const auto& [key, value] : values) {
            EXPECT_TRUE(settings.SetText(key, value)) << key;
        }
        feed = std::make_unique<LiveFeed>(portico.lookupPort(), portico.level1Port());
        loader.SetFeed(feed.get());
        loader.LoadSettings();
        EXPECT_EQ(loader.Load(c.symbol), CChartLoader::EStart::Sent);
        feed->Load(loader, c.hold);
        EXPECT_FALSE(loader.Loading());
        loaded = history.GetCount();
    }

    // A fresh answer to `command` (of the chart's kind), parsed.
    std::vector<sTICK> Fresh(const std::string& command) {
        CChartHistRequest fresh;
        CHistoryResponseParser parser(fresh);
        for (const std::string& line : LookupAnswer(portico.lookupPort(), command, id)) {
            parser.OnHistoryLine(line);
        }
        return Points(&fresh);
    }
    // The records of `series`, oldest first; the chart's own by default.
    std::vector<sTICK> Points(const CChartHistRequest* series = nullptr) const {
        const CChartHistRequest& from = series ? *series : history;
        std::vector<sTICK> out(static_cast<std::size_t>(from.GetCount()));
        for (std::size_t i = 0; i < out.size(); ++i) {
            from.GetTick(static_cast<int>(i), out[i]);
        }
        return out;
    }

    PorticoProcess portico;
    CSettings settings;
    CChartHistRequest history;
    CChartLoader loader;
    std::unique_ptr<LiveFeed> feed;
    std::string id;
    int loaded = 0;
};

// What a record holds, for comparing a live one with a fresh one.
auto Fields(const sTICK& t) {
    return std::tuple(t.time.Days(), t.microseconds, t.open, t.high, t.low, t.close, t.volume,
                      t.size, t.bid, t.ask, t.openInterest);
}

std::string TimeText(const sTICK& p) {
    return fmt::format("{}-{}-{} {}:{:02}", p.time.GetYear(), p.time.GetMonth(), p.time.GetDay(),
                       p.time.GetHour(), p.time.GetMinute());
}

TEST(LiveFromPortico, TicksFollowTheFeedWithoutGapsOrRepeatsAlsoAcrossMidnightAndBrokenLines) {
    // The trades that came while the history loaded are replayed from the newest tick of the
    // answer on: also when the load crosses midnight (the new day's TickIDs and total volumes
    // start again), and when malformed lines come between them.
    const SCase cases[] = {
        {"AURX", "2024-03-05 12:00:00", "60", 0, 0},
        {"AURX", "2024-03-05 23:59:50", "60", 0, 0, {}, 1500ms},
        {"AURX", "2024-03-05 12:00:00", "60", 0, 0, {"--fault-malformed", "20"}, 1000ms},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(std::string(c.start) + (c.faults.empty() ? "" : " " + c.faults[0]));
        LiveChart chart(c);
        EXPECT_GT(chart.feed->heldAtEnd, 0U);
        chart.feed->Follow(chart.loader, [&] { return chart.loader.AppliedTradeLines() >= 60; });
        const std::vector<sTICK> series = chart.Points();
        ASSERT_GT(static_cast<int>(series.size()), chart.loaded);

        // A tick is known by its day and TickID.
        const auto key = [](const sTICK& t) {
            return std::pair(static_cast<int>(t.time.Days()), t.tickId);
        };
        std::map<std::pair<int, std::uint32_t>, sTICK> fresh;
        for (const sTICK& tick : chart.Fresh("HTX,AURX,5000,1,Lookup0")) {
            fresh[key(tick)] = tick;
        }
        std::set<std::pair<int, std::uint32_t>> keys;
        for (const sTICK& tick : series) {
            EXPECT_TRUE(keys.insert(key(tick)).second) << "tick " << tick.tickId << " twice";
            const auto found = fresh.find(key(tick));
            if (found != fresh.end()) { // else older than the fresh answer reaches
                EXPECT_EQ(Fields(tick), Fields(found->second)) << "tick " << tick.tickId;
            }
        }
        // No gap: every trade the feed had from the answer's newest tick up to the newest one
        // followed is in the series.
        int lost = 0;
        const sTICK& answerNewest = series[chart.feed->answered - 1];
        for (auto it = fresh.lower_bound(key(answerNewest));
             it != fresh.end() && it->first <= key(series.back()); ++it) {
            lost += keys.contains(it->first) ? 0 : 1;
        }
        EXPECT_EQ(lost, 0) << "trades lost";
        if (std::string_view(c.start).ends_with("23:59:50")) {
            EXPECT_EQ(answerNewest.time.GetDay(), 5);
            EXPECT_EQ(series.back().time.GetDay(), 6) << "the load did not cross midnight";
        }
    }
}

TEST(LiveFromPortico, IntervalBarsBuiltLiveEqualAFreshHistoryAlsoAfterABarIsDeleted) {
    // A token trades every minute of the day; the clock runs a minute a second or faster. One
    // minute bars of the newest datapoints, five minute bars of the day's date range. A bar
    // deleted before, from the middle or the newest, changes nothing of what is built after it.
    const struct {
        SCase chart;
        int newBars;
        const char* command;
        bool deleteNewest;
    } cases[] = {
        {{"AURX", "2024-03-05 12:00:00", "60", 1, 3}, 4, "HIX,AURX,60,500,1,Lookup3,,s,0", false},
        {{"AURX", "2024-03-05 12:03:00", "120", 1, 5},
         2,
         "HIT,AURX,300,20240305 000000,20240305 235959,5000000,,,1,Lookup5,,s,0",
         true},
    };
    for (const auto& c : cases) {
        LiveChart chart(c.chart);
        const int gone = c.deleteNewest ? chart.loaded - 1 : chart.loaded / 2;
        sTICK deleted;
        chart.history.GetTick(gone, deleted);
        ASSERT_TRUE(chart.history.RemoveTick(gone));
        --chart.loaded;
        chart.feed->Follow(chart.loader,
                           [&] { return chart.history.GetCount() >= chart.loaded + c.newBars; });
        EXPECT_GT(chart.loader.AppliedTradeLines(), 0U);
        const std::vector<sTICK> series = chart.Points();
        std::map<double, sTICK> fresh;
        for (const sTICK& bar : chart.Fresh(c.command)) {
            fresh[bar.time.Days()] = bar;
        }
        // Every completed bar from the one that was newest when the history came (a newest bar
        // deleted starts again with the trades after the deletion).
        for (std::size_t i = static_cast<std::size_t>(chart.loaded) - 1; i + 1 < series.size();
             ++i) {
            if (series[i].time == deleted.time) {
                continue;
            }
            const auto found = fresh.find(series[i].time.Days());
            ASSERT_NE(found, fresh.end()) << "no fresh bar at " << TimeText(series[i]);
            EXPECT_EQ(Fields(series[i]), Fields(found->second)) << TimeText(series[i]);
        }
        for (std::size_t i = 1; i < series.size(); ++i) {
            EXPECT_LT(series[i - 1].time, series[i].time) << TimeText(series[i]);
            EXPECT_TRUE(c.deleteNewest || !(series[i].time == deleted.time)) << TimeText(series[i]);
        }
    }
}

TEST(LiveFromPortico, TheDayBarFollowsTheDaySummary) {
    // A future pauses from 17:00 to 18:00: once the clock is past 17:00 the day is final.
    LiveChart chart({"@NGI#", "2024-03-05 16:57:00", "60", 2, 6});
    chart.feed->Follow(chart.loader, [&] { return chart.feed->clock >= 170030; });
    EXPECT_GT(chart.loader.AppliedTradeLines(), 0U);
    EXPECT_EQ(chart.history.GetCount(), chart.loaded);
    const std::vector<sTICK> fresh = chart.Fresh("HDX,@NGI#,5,1,Lookup6");
    ASSERT_FALSE(fresh.empty());
    EXPECT_EQ(Fields(chart.Points().back()), Fields(fresh.back()));
}

} // namespace
} // namespace skychart::test

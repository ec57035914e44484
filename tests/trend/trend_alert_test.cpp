// Alerts over sequences of trades: a crossing fires once, a touch without a cross does not, a
// fired alert waits to be armed again, a sloping line is crossed at its price at the trade's bar;
// and the alerts in the trendline text, which still reads files written before them, each named
// by an id that outlives the alerts deleted around it.

#include "history/point_time.h"
#include "trend/alert_list.h"
#include "trend/trend_line.h"
#include "trend/trend_store.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// The trades at which an alert of `direction` on `price` fires.
std::vector<int> FiredAt(EAlertDirection direction, double price, std::vector<double> trades) {
    CAlertWatch watch({direction, false});
    std::vector<int> fired;
    for (std::size_t i = 0; i < trades.size(); ++i) {
        if (watch.OnTrade(trades[i], price)) {
            fired.push_back(static_cast<int>(i));
        }
    }
    return fired;
}

TEST(TrendAlert, FiresOnceWhenATradeCrossesOrReachesThePriceFromOneSide) {
    using enum EAlertDirection;
    // Up to the price fires; the trades after it, over and back, do not fire again.
    EXPECT_EQ(FiredAt(Crosses, 10.0, {9.0, 9.5, 10.0, 10.5, 9.0, 11.0}), std::vector<int>{2});
    // A jump over the price fires; near misses do not; the first trade has no side before it.
    EXPECT_EQ(FiredAt(Crosses, 10.0, {10.5, 9.99, 9.0}), std::vector<int>{1});
    EXPECT_EQ(FiredAt(Crosses, 10.0, {9.0, 9.99, 9.98, 9.99}), std::vector<int>{});
    // Starting on the price and leaving it is a touch without a cross.
    EXPECT_EQ(FiredAt(Crosses, 10.0, {10.0, 10.5, 10.0}), std::vector<int>{2});
    EXPECT_EQ(FiredAt(Crosses, 10.0, {10.0, 10.0, 11.0}), std::vector<int>{});
    // The one-way directions ignore the other way.
    EXPECT_EQ(FiredAt(RisesAbove, 10.0, {11.0, 9.0, 9.5, 10.1}), std::vector<int>{3});
    EXPECT_EQ(FiredAt(FallsBelow, 10.0, {9.0, 11.0, 10.0}), std::vector<int>{2});
    EXPECT_EQ(FiredAt(FallsBelow, 10.0, {9.0, 9.5, 12.0}), std::vector<int>{});

    // A fired alert stays fired until armed again, which forgets the side seen before.
    CAlertWatch watch({Crosses, false});
    EXPECT_FALSE(watch.OnTrade(9.0, 10.0));
    EXPECT_TRUE(watch.OnTrade(11.0, 10.0));
    EXPECT_TRUE(watch.Fired());
    EXPECT_FALSE(watch.OnTrade(9.0, 10.0));
    watch.Rearm();
    EXPECT_FALSE(watch.Fired());
    EXPECT_FALSE(watch.OnTrade(11.0, 10.0));
    EXPECT_TRUE(watch.OnTrade(9.0, 10.0));

    for (const char* name : {"crosses", "Rises Above", "fallsbelow"}) {
        EXPECT_TRUE(FindAlertDirection(name)) << name;
    }
    EXPECT_FALSE(FindAlertDirection("above"));
    EXPECT_EQ(AlertMark({Crosses, true}), "[Alert fired: Crosses]");
}

TEST(TrendAlert, ASlopingLineIsCrossedAtItsPriceAtTheTradesBar) {
    // Through bar 10 at 100 and bar 20 at 110: 115 at bar 25, extended past its points.
    CBaseTrend line(ETrendKind::Sloping, {{10.0, 100.0, {}}, {20.0, 110.0, {}}}, {}, {0});
    EXPECT_DOUBLE_EQ(line.PriceAt(25.0).value(), 115.0);
    EXPECT_DOUBLE_EQ(line.PriceAt(5.0).value(), 95.0);
    line.SetAlert(CAlertWatch({EAlertDirection::Crosses, false}));
    CAlertWatch& alert = *line.Alert();
    // 112 is above the line at bar 21 (111) and below it at bar 23 (113): the line rose into the
    // trades, which is a cross though the price stood still.
    EXPECT_FALSE(alert.OnTrade(112.0, *line.PriceAt(21.0)));
    EXPECT_FALSE(alert.OnTrade(112.0, *line.PriceAt(21.5)));
    EXPECT_TRUE(alert.OnTrade(112.0, *line.PriceAt(23.0)));
    // Other kinds take no alert.
    CBaseTrend fan(ETrendKind::FibonacciFan, {{10.0, 1.0, {}}, {20.0, 2.0, {}}}, {}, {1, 2, 3});
    fan.SetAlert(CAlertWatch());
    EXPECT_FALSE(fan.Alert());
    EXPECT_FALSE(fan.PriceAt(12.0));
}

TEST(TrendAlert, AlertsRideInTheTrendlineTextWhichStillReadsOldFiles) {
    const SPointTime time = ParsePointTime("2024-03-01").value();
    CTrendStore store;
    STrendRecord armed{ETrendKind::Horizontal, {{time, 12.5}, {time, 12.5}}};
    armed.alert = SAlertSetting{EAlertDirection::RisesAbove, false};
    STrendRecord plain{ETrendKind::Sloping, {{time, 1.0}, {time, 2.0}}};
    store.Set({"LUMA", 2}, {plain, armed});
    EXPECT_EQ(store.AddLevelAlert({"@RCP#", 1.2345, {EAlertDirection::FallsBelow, true}}), 2);
    EXPECT_EQ(store.Find({"LUMA", 2})[1].alert->id, 1);
    std::string error;
    const std::optional<CTrendStore> back = CTrendStore::Read(store.Write(), error);
    ASSERT_TRUE(back) << error;
    EXPECT_EQ(*back, store);

    // A file without alerts (written before them) reads as before; one with alerts but no ids,
    // or an id taken twice, numbers them past the highest id in the file.
    const std::string old = R"({"version": 1, "charts": [{"symbol": "LUMA", "type": "Daily",
        "trendlines": [{"kind": "Horizontal", "points": [{"time": "2024-03-01", "price": 3},
        {"time": "2024-03-04", "price": 3}]}]}]})";
    ASSERT_TRUE(CTrendStore::Read(old, error)) << error;
    EXPECT_FALSE(CTrendStore::Read(old, error)->Find({"LUMA", 2})[0].alert);
    std::optional<CTrendStore> numbered = CTrendStore::Read(
        R"({"version":1,"charts":[{"symbol":"L","type":"Daily","trendlines":[{"kind":"Horizontal",)"
        R"("points":[{"time":"2024-03-01","price":1},{"time":"2024-03-02","price":1}],"alert":)"
        R"({"direction":"Crosses","fired":false,"id":5}}]}],"alerts":[{"symbol":"X","price":1,)"
        R"("direction":"Crosses","fired":false},{"symbol":"X","price":2,"direction":"Crosses",)"
        R"("fired":false,"id":5}]})",
        error);
    ASSERT_TRUE(numbered) << error;
    EXPECT_EQ(numbered->LevelAlerts()[0].setting.id, 6);
    EXPECT_EQ(numbered->LevelAlerts()[1].setting.id, 5);
    EXPECT_EQ(numbered->Find({"L", 2})[0].alert->id, 7);
    EXPECT_EQ(numbered->TakeAlertId(), 8);
    // (Damaged alerts are among the trendline store's damaged texts.)

    // The list: levels first, then the lines; re-arm and delete by id, and the ids of the
    // others stay.
    EXPECT_EQ(store.AddLevelAlert({"LUMA", 9.5, {}}), 3);
    std::vector<SAlertEntry> list = ListAlerts(store, 4);
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].condition, "Falls below 1.2345");
    EXPECT_TRUE(list[0].fired);
    EXPECT_EQ(list[2].condition, "Rises above 12.5000 Horizontal trendline (Daily)");
    EXPECT_NE(AlertsJson(list).find(R"({"id":2,"symbol":"@RCP#","condition":"Falls below 1.2345",)"
                                    R"("direction":"Falls below","price":1.2345,"state":"fired")"),
              std::string::npos)
        << AlertsJson(list);
    ASSERT_TRUE(DeleteAlert(store, 2));
    EXPECT_FALSE(DeleteAlert(store, 2));
    ASSERT_TRUE(SetAlertFired(store, 3, true));
    EXPECT_TRUE(store.LevelAlerts()[0].setting.fired);
    ASSERT_TRUE(DeleteAlert(store, 1));
    EXPECT_FALSE(store.Find({"LUMA", 2})[1].alert);
    EXPECT_EQ(store.Find({"LUMA", 2}).size(), 2u); // the line stays
    list = ListAlerts(store);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].id, 3);
    // A deleted alert's id is not handed out again.
    EXPECT_EQ(store.AddLevelAlert({"LUMA", 1.0, {}}), 4);
}

} // namespace

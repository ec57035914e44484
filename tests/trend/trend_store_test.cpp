// The stored trendline text, written and read back, refused when damaged; the trendline styles
// over the settings table; alerts over sequences of trades, and in the trendline text by ids
// that outlive the alerts deleted around them.

#include "core/data_types.h"
#include "history/point_time.h"
#include "trend/alert_list.h"
#include "trend/trend_line.h"
#include "trend/trend_store.h"
#include "trend/trend_style.h"

#include "settings_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

SPointTime Time(const char* text) {
    return ParsePointTime(text).value();
}

STrendRecord Record(ETrendKind kind, int points, const char* time, double price) {
    STrendRecord record{kind, {}};
    for (int i = 0; i < points; ++i) {
        record.points.emplace_back(Time(time), price + i);
    }
    return record;
}

TEST(TrendStore, EveryKindAndTypeComesBackAsWrittenAndWhatNoFileHoldsIsLeftOut) {
    CTrendStore store;
    for (const SDataTypeChoice& type : DataTypeTable()) {
        CTrendStore::Records records;
        for (const STrendKindInfo& info : TrendKindTable()) {
            records.push_back(Record(info.kind, info.clicks, "2024-03-01 09:30:00.000250", 0.1));
        }
        records.push_back(Record(ETrendKind::Sloping, 2, "1900-01-01", -1e300));
        records.push_back(Record(ETrendKind::Horizontal, 2, "9999-12-31 23:59:59", 0.1 + 0.2));
        // The scale a line was drawn in comes back; linear is what a line without one reads as.
        records[0].scale = EPriceScale::Log;
        records[1].scale = EPriceScale::Percent;
        store.Set({"LUMA", type.dataType}, records);
    }
    store.Set({"ZETA", kDays}, {Record(ETrendKind::Sloping, 2, "2024-03-01", 7)});
    store.Set({"ZETA", kDays}, {}); // dropped
    store.Set({"AURX", kTicks}, {Record(ETrendKind::Sloping, 2, "2024-03-01 09:30:00", 7)});
    std::string error;
    const std::string text = store.Write();
    const std::optional<CTrendStore> read = CTrendStore::Read(text, error);
    ASSERT_TRUE(read) << error;
    EXPECT_EQ(std::tuple(*read, read->Write()), std::tuple(store, text));
    EXPECT_EQ(read->Charts().size(), kDataTypeCount + 1u);
    EXPECT_TRUE(read->Find({"ZETA", kDays}).empty());
    // Sorted by symbol, then type; ticks carry their microseconds even when zero, bars only when
    // they have any.
    EXPECT_TRUE(text.starts_with("{\n  \"version\": 1,\n  \"charts\": [\n    {\n      \"symbol\": "
                                 "\"AURX\",\n      \"type\": \"Tick\",\n      \"trendlines\": ["))
        << text;
    EXPECT_NE(text.find("],\n          \"scale\": \"log\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\"scale\": \"percent\""), std::string::npos);
    for (const char* time : {"\"2024-03-01 09:30:00.000000\"", "\"1900-01-01 00:00:00\"",
                             "\"2024-03-01 09:30:00.000250\""}) {
        EXPECT_NE(text.find(std::string("\"time\": ") + time + ",\n"), std::string::npos) << time;
    }
    // What no file could hold is left out of it rather than written unreadable.
    STrendRecord offCalendar = Record(ETrendKind::Sloping, 2, "2024-03-01", 1);
    offCalendar.points[1].first.time.SetStatus(CDateTime::Status::Invalid);
    STrendRecord notANumber = Record(ETrendKind::Sloping, 2, "2024-03-01", 1);
    notANumber.points[0].second = std::numeric_limits<double>::quiet_NaN();
    CTrendStore odd;
    odd.Set({"AURX", kIntervals},
            {Record(ETrendKind::Parallel, 2, "2024-03-01", 1), offCalendar, notANumber});
    odd.Set({"", kDays}, {Record(ETrendKind::Sloping, 2, "2024-03-01", 1)});
    odd.Set({"BAD", 7}, {Record(ETrendKind::Sloping, 2, "2024-03-01", 1)});
    EXPECT_TRUE(CTrendStore::Read(odd.Write(), error).value().Charts().empty());
}

TEST(TrendStore, ReadsWhatAPersonMayWriteAndRefusesDamageSayingWhere) {
    std::string error;
    EXPECT_TRUE(CTrendStore::Read("", error).value().Charts().empty());
    const auto readable = CTrendStore::Read(
        R"({"charts": [{"trendlines": [{"points": [{"price": 3, "time": "2024-03-01"},
           {"time": "2024-03-04 10:00:00.5", "price": -2.5, "note": "x"}], "kind": "SLOPING"}],
           "symbol": "LUMA", "type": "daily"}, {"symbol": "AURX", "type": "Tick",
           "trendlines": []}], "version": 1, "comment": "kept by hand"})",
        error);
    ASSERT_TRUE(readable) << error;
    const CTrendStore::Records expected{
        {ETrendKind::Sloping,
         {{Time("2024-03-01 00:00:00"), 3.0}, {Time("2024-03-04 10:00:00.500000"), -2.5}}}};
    EXPECT_EQ(readable->Charts().size(), 1u);
    EXPECT_EQ(readable->Find({"LUMA", kDays}), expected);
    const std::string point = R"({"time": "2024-03-01", "price": 1})";
    const auto file = [&](const std::string& chart) {
        return R"({"version": 1, "charts": [)" + chart + "]}";
    };
    const auto chart = [&](const std::string& trendline, const char* type = "Daily") {
        return file(R"({"symbol": "LUMA", "type": ")" + std::string(type) +
                    R"(", "trendlines": [)" + trendline + "]}");
    };
    const auto line = [&](const std::string& points, const char* kind = "Sloping") {
        return chart(R"({"kind": ")" + std::string(kind) + R"(", "points": [)" + points + "]}");
    };
    const auto alert = [&](const std::string& fields) {
        return R"({"version": 1, "charts": [], "alerts": [{"symbol": "X", "price": 1, )" + fields +
               "}]}";
    };
    const std::string good = line(point + "," + point);
    ASSERT_TRUE(CTrendStore::Read(good, error)) << error;
    const std::pair<std::string, std::string> damaged[] = {
        {good.substr(0, good.size() - 2), "not JSON (parse error at line 1, column"},
        {std::string(9, '[') + std::string(9, ']'), "nested deeper than 8 levels at byte 9"},
        {"[]", "the file: [] is not an object"},
        {R"({"charts": []})", "\"version\" is missing"},
        {R"({"version": 2, "charts": []})", "version: 2 is not 1"},
        {R"({"version": 1, "charts": {}})", "charts: {} is not a list"},
        {file(R"({"type": "Daily", "trendlines": []})"), "charts[0]: \"symbol\" is missing"},
        {file(R"({"symbol": "", "type": "Daily", "trendlines": []})"),
         "charts[0].symbol: the symbol is empty"},
        {chart("", "Hourly"), "charts[0].type: \"Hourly\" is no data type"},
        {file(R"({"symbol": "LUMA", "type": "Daily", "trendlines": []},
                 {"symbol": "LUMA", "type": "daily", "trendlines": []})"),
         "charts[1]: LUMA Daily is named twice"},
        {line(point + "," + point, "Zigzag"), "charts[0].trendlines[0].kind: \"Zigzag\" is no"},
        {line(point), "trendlines[0].points: 1 points where a Sloping trendline has 2"},
        {line(point + R"(, {"time": "2024-02-30", "price": 1})"),
         "points[1].time: \"2024-02-30\" is not a time"},
        {line(point + R"(, {"time": 20240301, "price": 1})"), "points[1].time: 20240301 is not a"},
        {line(point + R"(, {"time": "2024-03-01", "price": "1"})"), "\"1\" is not a price"},
        {line(point + R"(, {"time": "2024-03-01", "price": 1e999})"), "not JSON"},
        {chart(R"({"kind": "Sloping", "scale": "tilted", "points": [)" + point + "," + point +
               "]}"),
         "trendlines[0].scale: \"tilted\" is no price scale"},
        {alert(R"("direction": "Up", "fired": false)"), "alerts[0].direction"},
        {alert(R"("direction": "Crosses", "fired": 1)"), "alerts[0].fired"},
        {alert(R"("direction": "Crosses", "fired": false, "id": 0)"), "alerts[0].id"},
        {chart(R"({"kind": "Fibonacci Fan", "points": [)" + point + "," + point +
               R"(], "alert": {"direction": "Crosses", "fired": false}})"),
         "trendlines[0].alert"}, // only sloping and horizontal lines take an alert
    };
    for (const auto& [text, reason] : damaged) {
        EXPECT_FALSE(CTrendStore::Read(text, error)) << text;
        EXPECT_NE(error.find(reason), std::string::npos) << text << "\n  " << error;
    }
}

TEST(TrendStyles, DamagedStoredValuesReadAsDefaultsAndWritingRepairsAndCounts) {
    skychart::test::SettingsTable settings;
    const STrendStyles defaults = ReadTrendStyles(settings);
    for (const STrendKindInfo& info : TrendKindTable()) {
        const STrendStyle& style = defaults[static_cast<std::size_t>(info.kind)];
        EXPECT_EQ(style,
                  (STrendStyle{info.defaultColor, info.defaultWidth, info.defaultExtendable}));
    }
    const std::pair<const char*, const char*> bad[] = {
        {"Sloping Trendline Color", "16777216"}, {"Sloping Trendline Color", "-1"},
        {"Sloping Trendline Color", "red"},      {"Sloping Trendline Width", "0"},
        {"Sloping Trendline Width", "11"},       {"Sloping Trendline Width", "2px"},
        {"Sloping Trendline Width", "+3"},       {"Sloping Trendline Extendable", "2"},
        {"Sloping Trendline Extendable", ""},
    };
    for (const auto& [key, value] : bad) {
        ASSERT_TRUE(settings.SetText(key, value));
        EXPECT_EQ(ReadTrendStyles(settings), defaults) << key << "=" << value;
    }
    // The damaged value is replaced though the style read the same.
    EXPECT_EQ(WriteTrendStyles(settings, defaults), 1);
    EXPECT_EQ(settings.GetText("Sloping Trendline Extendable"), "0");
    EXPECT_EQ(WriteTrendStyles(settings, defaults), 0);
    STrendStyles changed = defaults;
    changed[1] = {0x123456, kMaxTrendWidth, true};
    changed[6] = {0xFF123456, 0, false}; // a colour's high byte dropped, the width kept in range
    EXPECT_EQ(WriteTrendStyles(settings, changed), 2);
    EXPECT_EQ(settings.GetText("Speed Resistance Trendline Color"), "1193046");
    EXPECT_EQ(settings.GetText("Speed Resistance Trendline Width"), "1");
    EXPECT_EQ(settings.GetText("Sloping Trendline Extendable"), "1");
    changed[6] = {0x123456, 1, false};
    EXPECT_EQ(ReadTrendStyles(settings), changed);
    ASSERT_TRUE(settings.SetText("Sloping Trendline Extendable", "false"));
    EXPECT_FALSE(ReadTrendStyles(settings)[1].extendable);
}

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
    EXPECT_TRUE(watch.OnTrade(11.0, 10.0) && watch.Fired());
    EXPECT_FALSE(watch.OnTrade(9.0, 10.0));
    watch.Rearm();
    EXPECT_FALSE(watch.Fired() || watch.OnTrade(11.0, 10.0));
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
    EXPECT_FALSE(fan.Alert() || fan.PriceAt(12.0));
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

#pragma once

// The trendlines a trader drew, kept per symbol and data type in a file of their own beside the
// settings (JSON), so that a chart shows them again whenever it is loaded. This is the text of
// that file, read and written; the platform layer owns the file itself.
//
//   {"version": 1,
//    "charts": [{"symbol": "LUMA", "type": "Daily",
//                "trendlines": [{"kind": "Sloping",
//                                "points": [{"time": "2024-03-01 00:00:00", "price": 12.5},
//                                           {"time": "2024-05-17 00:00:00", "price": 14.25}],
//                                "scale": "log"}]}]}
//
// "type" is the request type's name (DataTypeTable), "kind" a trendline kind's name
// (TrendKindTable), "time" a point time as the export writes it (FormatPointTime), "scale" the
// price scale the line was drawn in ("log" or "percent"; written only for those, and a line
// without it was drawn on the linear scale).
//
// Alerts ride along and may be missing (files written before them): a horizontal or sloping
// trendline may hold {"alert": {"direction": "Crosses", "fired": false, "id": 3}}, and the file a
// list of level alerts, {"alerts": [{"symbol": "LUMA", "price": 12.5, "direction": "Rises above",
// "fired": false, "id": 1}]}, which belong to a symbol whatever the chart's data type. "id" is a
// positive number unique in the file; an alert without one (an older file) or with one taken
// before it in the file is numbered when the file is read.

#include "chart/value_scale.h"
#include "core/trend_kinds.h"
#include "history/chart_hist_request.h"
#include "trend/trend_alert.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// One stored trendline: its kind and its points (bar time, price), as many as the kind's clicks.
struct STrendRecord {
    ETrendKind kind = ETrendKind::Horizontal;
    std::vector<std::pair<SPointTime, double>> points;
    EPriceScale scale = EPriceScale::Linear;
    std::optional<SAlertSetting> alert = std::nullopt;

    bool operator==(const STrendRecord& other) const;
};

// The chart a list of trendlines belongs to.
struct STrendChartKey {
    std::string symbol;
    int dataType = 0; // "RequestDataType"
    auto operator<=>(const STrendChartKey&) const = default;
};

// An alert on a price level of a symbol, drawn on no chart.
struct SLevelAlert {
    std::string symbol;
    double price = 0.0;
    SAlertSetting setting;
    bool operator==(const SLevelAlert&) const = default;
};

class CTrendStore {
public:
    using Records = std::vector<STrendRecord>;

    const Records& Find(const STrendChartKey& chart) const;
    // Replaces the chart's trendlines (none: the chart is dropped from the store); their alerts
    // without an id are numbered.
    void Set(const STrendChartKey& chart, Records records);
    const std::map<STrendChartKey, Records>& Charts() const { return m_charts; }
    // The level alerts of every symbol, in the order they were added.
    const std::vector<SLevelAlert>& LevelAlerts() const { return m_levels; }
    std::vector<SLevelAlert>& LevelAlerts() { return m_levels; }
    // Appends a level alert, numbered; returns its id.
    int AddLevelAlert(SLevelAlert alert);
    // An id no alert of this store has had since it was read: for an alert about to be set on a
    // trendline.
    int TakeAlertId();
    // The same trendlines and alerts.
    bool operator==(const CTrendStore& other) const {
        return m_charts == other.m_charts && m_levels == other.m_levels;
    }

    // The file's text: stable order (by symbol, then data type), two-space indentation.
    std::string Write() const;
    // Reads a file's text. Damage anywhere (not JSON, a wrong or missing field, an unknown kind
    // or type, a time that does not parse, a price that is not a finite number, a trendline
    // with the wrong number of points, a chart named twice) refuses the whole text: none, and
    // `error` says what and where. An empty text is an empty store.
    static std::optional<CTrendStore> Read(std::string_view text, std::string& error);

private:
    // Gives every alert without an id, or with one an alert before it has (levels first, then
    // the charts in order), the next free id.
    void NumberAlerts();

    std::map<STrendChartKey, Records> m_charts;
    std::vector<SLevelAlert> m_levels;
    int m_lastAlertId = 0; // the highest id handed out or read
};

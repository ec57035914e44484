#pragma once

// The alerts of the trendline store as one list: the level alerts first, in the order they were
// added, then the trendlines' alerts chart by chart. Each is named by its stored id, which stays
// when others are added or deleted.

#include "trend/trend_store.h"

#include <string>
#include <vector>

struct SAlertEntry {
    int id = 0; // the setting's id
    std::string symbol;
    // "Crosses 12.50" for a level; "Crosses Sloping trendline (Daily)" for a line.
    std::string condition;
    bool fired = false;
    double price = 0.0;   // a level's price, a horizontal line's; NaN for a sloping line
    STrendChartKey chart; // a line's chart
    int level = -1;       // the index among the level alerts, or -1
    int record = -1;      // the index among the chart's trendlines, or -1
    SAlertSetting setting;
};

std::vector<SAlertEntry> ListAlerts(const CTrendStore& store, int decimals = 2);
// Alerts() over the bus: [{"id", "symbol", "condition", "direction", "price" (null for a sloping
// line), "state": "armed" or "fired"}].
std::string AlertsJson(const std::vector<SAlertEntry>& alerts);
// Sets the alert `id`'s fired flag (false: armed again) or deletes it; false for an unknown id.
// The alert's id stays.
bool SetAlertFired(CTrendStore& store, int id, bool fired);
bool DeleteAlert(CTrendStore& store, int id);

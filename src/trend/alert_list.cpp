#include "trend/alert_list.h"

#include "core/data_types.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

std::vector<SAlertEntry> ListAlerts(const CTrendStore& store, int decimals) {
    std::vector<SAlertEntry> alerts;
    const auto& levels = store.LevelAlerts();
    for (std::size_t i = 0; i < levels.size(); ++i) {
        SAlertEntry entry;
        entry.id = levels[i].setting.id;
        entry.symbol = levels[i].symbol;
        entry.setting = levels[i].setting;
        entry.fired = levels[i].setting.fired;
        entry.price = levels[i].price;
        entry.level = static_cast<int>(i);
        entry.condition = fmt::format("{} {:.{}f}", AlertDirectionName(entry.setting.direction),
                                      entry.price, decimals);
        alerts.push_back(std::move(entry));
    }
    for (const auto& [key, records] : store.Charts()) {
        for (std::size_t i = 0; i < records.size(); ++i) {
            if (!records[i].alert) {
                continue;
            }
            SAlertEntry entry;
            entry.id = records[i].alert->id;
            entry.symbol = key.symbol;
            entry.chart = key;
            entry.record = static_cast<int>(i);
            entry.setting = *records[i].alert;
            entry.fired = entry.setting.fired;
            const bool horizontal = records[i].kind == ETrendKind::Horizontal;
            entry.price = horizontal && !records[i].points.empty()
                              ? records[i].points[0].second
                              : std::numeric_limits<double>::quiet_NaN();
            const char* type = key.dataType >= 0 && key.dataType < kDataTypeCount
                                   ? DataTypeTable()[static_cast<std::size_t>(key.dataType)].name
                                   : "";
            entry.condition = horizontal
                                  ? fmt::format("{} {:.{}f} Horizontal trendline ({})",
                                                AlertDirectionName(entry.setting.direction),
                                                entry.price, decimals, type)
                                  : fmt::format("{} Sloping trendline ({})",
                                                AlertDirectionName(entry.setting.direction), type);
            alerts.push_back(std::move(entry));
        }
    }
    return alerts;
}

std::string AlertsJson(const std::vector<SAlertEntry>& alerts) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const SAlertEntry& alert : alerts) {
        nlohmann::ordered_json entry = {{"id", alert.id},
                                        {"symbol", alert.symbol},
                                        {"condition", alert.condition},
                                        {"direction", AlertDirectionName(alert.setting.direction)}};
        entry["price"] = std::isfinite(alert.price) ? nlohmann::ordered_json(alert.price)
                                                    : nlohmann::ordered_json(nullptr);
        entry["state"] = alert.fired ? "fired" : "armed";
        list.push_back(std::move(entry));
    }
    return list.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

namespace {

// The entry `id`, or null.
const SAlertEntry* Find(const std::vector<SAlertEntry>& alerts, int id) {
    const auto found = std::find_if(alerts.begin(), alerts.end(),
                                    [id](const SAlertEntry& alert) { return alert.id == id; });
    return id > 0 && found != alerts.end() ? &*found : nullptr;
}

} // namespace

bool SetAlertFired(CTrendStore& store, int id, bool fired) {
    const std::vector<SAlertEntry> alerts = ListAlerts(store);
    const SAlertEntry* entry = Find(alerts, id);
    if (entry == nullptr) {
        return false;
    }
    if (entry->level >= 0) {
        store.LevelAlerts()[static_cast<std::size_t>(entry->level)].setting.fired = fired;
        return true;
    }
    CTrendStore::Records records = store.Find(entry->chart);
    records[static_cast<std::size_t>(entry->record)].alert->fired = fired;
    store.Set(entry->chart, std::move(records));
    return true;
}

bool DeleteAlert(CTrendStore& store, int id) {
    const std::vector<SAlertEntry> alerts = ListAlerts(store);
    const SAlertEntry* entry = Find(alerts, id);
    if (entry == nullptr) {
        return false;
    }
    if (entry->level >= 0) {
        auto& levels = store.LevelAlerts();
        levels.erase(levels.begin() + entry->level);
        return true;
    }
    CTrendStore::Records records = store.Find(entry->chart);
    records[static_cast<std::size_t>(entry->record)].alert.reset();
    store.Set(entry->chart, std::move(records));
    return true;
}

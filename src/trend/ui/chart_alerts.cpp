#include "trend/ui/chart_alerts.h"

#include "history/point_time.h"
#include "trend/ui/chart_trendlines.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

CChartAlerts::CChartAlerts(CChartTrendlines& trendlines, CTrendStore& store,
                           std::function<void()> save, QObject* parent)
    : QObject(parent), m_trendlines(trendlines), m_store(store), m_save(std::move(save)) {
    SyncLevels();
}

void CChartAlerts::SyncLevels() {
    const auto& levels = m_store.LevelAlerts();
    bool same = levels.size() == m_levels.size();
    for (std::size_t i = 0; same && i < levels.size(); ++i) {
        same = levels[i].setting == m_levels[i].Setting();
    }
    if (!same) {
        m_levels.clear();
        for (const SLevelAlert& level : levels) {
            m_levels.emplace_back(level.setting);
        }
    }
}

void CChartAlerts::Saved() {
    if (m_save) {
        m_save();
    }
    emit levelsChanged();
}

std::set<std::string, std::less<>> CChartAlerts::LevelSymbols() const {
    std::set<std::string, std::less<>> symbols;
    for (const SLevelAlert& level : m_store.LevelAlerts()) {
        if (!level.setting.fired) {
            symbols.insert(level.symbol);
        }
    }
    return symbols;
}

void CChartAlerts::ForgetTrades() {
    for (CAlertWatch& watch : m_levels) {
        watch.Forget();
    }
}

void CChartAlerts::OnTrade(const std::string& symbol, const SLiveTrade& trade) {
    SyncLevels();
    // The trade's time is written only for an alert that fires: most trades fire none.
    const auto timeText = [&trade] {
        return QString::fromStdString(trade.time.IsValid() ? FormatPointTime({trade.time, 0}, false)
                                                           : "");
    };
    bool changed = false;
    auto& levels = m_store.LevelAlerts();
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (levels[i].symbol != symbol || !m_levels[i].OnTrade(trade.price, levels[i].price)) {
            continue;
        }
        levels[i].setting = m_levels[i].Setting();
        changed = true;
        const std::string condition =
            fmt::format("{} {} {:.{}f}", symbol, AlertDirectionName(levels[i].setting.direction),
                        levels[i].price, m_decimals);
        const QString time = timeText();
        spdlog::info("Alert fired: {} at {} (trade {})", condition, time.toStdString(),
                     trade.price);
        emit alertFired(QString::fromStdString(symbol), levels[i].price, time,
                        QString::fromStdString(condition));
    }
    if (changed) {
        Saved();
    }
    const auto& chart = m_trendlines.Chart();
    if (!chart || chart->symbol != symbol || m_trendlines.Lists().Count() == 0) {
        return;
    }
    bool lineFired = false;
    for (const auto& trend : m_trendlines.Lists().All()) {
        std::optional<CAlertWatch>& alert = trend->Alert();
        const std::optional<double> price = trend->PriceAt(trade.bar);
        if (!alert || !price || !alert->OnTrade(trade.price, *price)) {
            continue;
        }
        lineFired = true;
        const std::string condition = fmt::format(
            "{} {} {} trendline at {:.{}f}", symbol, AlertDirectionName(alert->Setting().direction),
            TrendKindInfo(trend->Kind()).name, *price, m_decimals);
        const QString time = timeText();
        spdlog::info("Alert fired: {} at {} (trade {})", condition, time.toStdString(),
                     trade.price);
        emit alertFired(QString::fromStdString(symbol), *price, time,
                        QString::fromStdString(condition));
    }
    if (lineFired) {
        m_trendlines.Changed();
    }
}

int CChartAlerts::AddLevel(const std::string& symbol, double price, EAlertDirection direction) {
    SyncLevels();
    const int id = m_store.AddLevelAlert({symbol, price, {direction, false}});
    m_levels.emplace_back(m_store.LevelAlerts().back().setting);
    Saved();
    return id;
}

bool CChartAlerts::AddLine(const std::shared_ptr<CBaseTrend>& trend, EAlertDirection direction) {
    if (trend == nullptr || !CBaseTrend::TakesAlert(trend->Kind())) {
        return false;
    }
    // A new alert on a line that had one keeps its id.
    const int id = trend->Alert() ? trend->Alert()->Setting().id : 0;
    trend->SetAlert(CAlertWatch({direction, false, id > 0 ? id : m_store.TakeAlertId()}));
    m_trendlines.Changed();
    return true;
}

bool CChartAlerts::Delete(int id) {
    if (!DeleteAlert(m_store, id)) {
        return false;
    }
    SyncLevels();
    m_trendlines.Reload();
    Saved();
    return true;
}

bool CChartAlerts::Rearm(int id) {
    if (!SetAlertFired(m_store, id, false)) {
        return false;
    }
    SyncLevels();
    m_trendlines.Reload();
    Saved();
    return true;
}

#pragma once

// The alerts of the chart window: level alerts of any symbol, checked against the live trades of
// their symbols (the window keeps those symbols watched), and the alerts of the shown chart's
// trendlines, checked against its trades; kept in the trendline store and saved whenever they
// change.

#include "history/live_updater.h"
#include "trend/alert_list.h"
#include "trend/trend_line.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

class CChartTrendlines;

class CChartAlerts : public QObject {
    Q_OBJECT

public:
    // `store` is the application's, saved through `save` after every change.
    CChartAlerts(CChartTrendlines& trendlines, CTrendStore& store, std::function<void()> save,
                 QObject* parent = nullptr);

    // A live trade of `symbol`: the alerts it crosses fire.
    void OnTrade(const std::string& symbol, const SLiveTrade& trade);
    // A new chart is shown: the trades seen before say nothing about the next one.
    void ForgetTrades();

    // A level alert; returns its id.
    int AddLevel(const std::string& symbol, double price, EAlertDirection direction);
    // An alert on a horizontal or sloping trendline of the shown chart (replacing one it had);
    // false for another kind.
    bool AddLine(const std::shared_ptr<CBaseTrend>& trend, EAlertDirection direction);
    std::vector<SAlertEntry> List() const { return ListAlerts(m_store, m_decimals); }
    // False for an unknown id.
    bool Delete(int id);
    bool Rearm(int id);
    // The symbols of the level alerts that have not fired: the trades to follow.
    std::set<std::string, std::less<>> LevelSymbols() const;
    // The decimals the alerts' prices are written with (the shown symbol's).
    void SetDecimals(int decimals) { m_decimals = decimals; }

signals:
    // An alert fired: the symbol, the alert's price at the trade, the trade's exchange time
    // ("YYYY-MM-DD HH:MM:SS") and the alert's condition.
    void alertFired(const QString& symbol, double price, const QString& time,
                    const QString& condition);
    // A level alert was added, deleted, re-armed or fired: LevelSymbols() may have changed.
    void levelsChanged();

private:
    // The level watches follow the store's list (a file read, an alert deleted elsewhere).
    void SyncLevels();
    void Saved();

    CChartTrendlines& m_trendlines;
    CTrendStore& m_store;
    std::function<void()> m_save;
    std::vector<CAlertWatch> m_levels; // one per level alert of the store, in its order
    int m_decimals = 2;
};

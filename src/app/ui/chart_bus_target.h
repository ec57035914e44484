#pragma once

#include "app/chart_bus.h"
#include "chart/chart_loader.h"
#include "platform/chart_bus_service.h"

class CChartAlerts;
class CChartTrendlines;
class CTrendStore;
class CChartFormView;
class CSettings;

// What the bus drives in the chart window.
class IChartBusFrame {
public:
    virtual ~IChartBusFrame() = default;
    // The service has reported its address: a load can be sent.
    virtual bool ServiceReady() const = 0;
    // Loads `symbol` as picking request type `typeIndex` (and interval `intervalIndex` when not
    // -1) on the ribbon and Enter would.
    virtual CChartLoader::EStart LoadChart(const std::string& symbol, int typeIndex,
                                           int intervalIndex) = 0;
    // The loader of the chart shown.
    virtual const CChartLoader& ChartLoader() const = 0;
    // The trendlines of the chart shown, and those kept for every chart.
    virtual CChartTrendlines& ChartTrendlines() const = 0;
    virtual const CTrendStore& TrendStore() const = 0;
    // The alerts of every symbol.
    virtual CChartAlerts& ChartAlerts() const = 0;
    // The chart view, whose points DeletePoint and RestorePoints delete and restore.
    virtual CChartFormView* ChartView() const = 0;
    // Runs the connection start-up again and reloads the shown symbol once the service is
    // ready; false when it cannot start now.
    virtual bool Reconnect() = 0;
};

// The chart window as the bus drives it: Load goes through the ribbon's path, ExportSeries writes
// the view's series as --export does, Render draws the view's chart as --render does, both with
// the studies and looks that `settings` hold.
class CChartBusTarget : public IChartBusTarget {
public:
    CChartBusTarget(IChartBusFrame& frame, CSettings& settings)
        : m_frame(frame), m_settings(settings) {}

    SBusMethodResult BusLoad(const std::string& symbol, const std::string& type,
                             const std::string& interval) override;
    SBusMethodResult BusExportSeries(const std::string& path) override;
    SBusMethodResult BusRender(const std::string& path, int width, int height) override;
    SBusMethodResult BusAddTrendline(const std::string& kind, const std::vector<std::string>& times,
                                     const std::vector<double>& prices) override;
    SBusMethodResult BusTrendlines() override;
    SBusMethodResult BusDeleteAllTrendlines() override;
    // Deletes the point at a time as Yes to the question would, without asking; answers the
    // series' new count.
    SBusMethodResult BusDeletePoint(const std::string& time) override;
    // Restores as Yes to the restore question would; answers the count once the history is in
    // again, at once when nothing was deleted.
    void BusRestorePoints(std::function<void(const SBusMethodResult&)> answer) override;
    // Starts the connection sequence again; answers at once (Failed when it cannot start now).
    SBusMethodResult BusReconnect() override;
    SBusMethodResult BusSetPriceScale(const std::string& scale) override;
    SBusMethodResult BusCompare(const std::string& symbols) override;
    // Adds a level alert of the symbol (it need not be shown); answers its id.
    SBusMethodResult BusAddAlert(const std::string& symbol, double price,
                                 const std::string& direction) override;
    SBusMethodResult BusAlerts() override;

private:
    // The checks that Export and Render share: a loaded chart with points.
    SChartBusReply CheckLoaded() const;

    IChartBusFrame& m_frame;
    CSettings& m_settings;
};

// The bus's form of a reply.
SBusMethodResult ToBusResult(const SChartBusReply& reply);

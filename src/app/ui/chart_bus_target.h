#pragma once

#include "app/chart_bus.h"
#include "platform/chart_bus_service.h"

class CMainFrame;

// The main frame as the bus drives it: Load goes through the ribbon's path, ExportSeries writes
// the view's series as --export does, Render draws the view's chart as --render does.
class CChartBusTarget : public IChartBusTarget {
public:
    explicit CChartBusTarget(CMainFrame& frame) : m_frame(frame) {}

    SBusMethodResult BusLoad(const std::string& symbol, const std::string& type,
                             const std::string& interval) override;
    SBusMethodResult BusExportSeries(const std::string& path) override;
    SBusMethodResult BusRender(const std::string& path, int width, int height) override;

private:
    // The checks that Export and Render share: a loaded chart with points.
    SChartBusReply CheckLoaded() const;

    CMainFrame& m_frame;
};

// The bus's form of a reply.
SBusMethodResult ToBusResult(const SChartBusReply& reply);

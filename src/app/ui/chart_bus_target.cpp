#include "app/ui/chart_bus_target.h"

#include "app/export.h"
#include "app/ui/chart_render.h"
#include "history/chart_hist_request.h"

#include <QSaveFile>

#include <fmt/format.h>

SBusMethodResult ToBusResult(const SChartBusReply& reply) {
    return {ChartBusErrorName(reply.fault), reply.message, reply.rows};
}

SBusMethodResult CChartBusTarget::BusLoad(const std::string& symbol, const std::string& type,
                                          const std::string& interval) {
    SChartBusLoad load;
    const SChartBusReply checked = CheckChartBusLoad(symbol, type, interval, load);
    if (!checked.Ok()) {
        return ToBusResult(checked);
    }
    if (!m_frame.ServiceReady()) {
        return ToBusResult(SChartBusReply::Error(
            EChartBusFault::Failed, "not connected to the market-data service yet: try again"));
    }
    switch (m_frame.LoadChart(load.symbol, load.typeIndex, load.intervalIndex)) {
    case CChartLoader::EStart::Sent:
        return {};
    case CChartLoader::EStart::NoConnection:
        return ToBusResult(SChartBusReply::Error(
            EChartBusFault::Failed, "no lookup connection to send the history request on"));
    case CChartLoader::EStart::Failed:
        break;
    }
    const auto& problem = m_frame.ChartLoader().SettingsProblem();
    return ToBusResult(SChartBusReply::Error(
        EChartBusFault::Failed,
        problem ? "the request settings give no history request: " + problem->reason
                : std::string("the request settings give no history request (see the log)")));
}

SChartBusReply CChartBusTarget::CheckLoaded() const {
    const CChartLoader& loader = m_frame.ChartLoader();
    return CheckChartBusLoaded(loader.Symbol(), loader.Loading() && !loader.AnswerEnded(),
                               loader.History().GetCount());
}

SBusMethodResult CChartBusTarget::BusExportSeries(const std::string& path) {
    SChartBusReply reply = CheckChartBusExport(path);
    if (reply.Ok()) {
        reply = CheckLoaded();
    }
    if (!reply.Ok()) {
        return ToBusResult(reply);
    }
    const CChartLoader& loader = m_frame.ChartLoader();
    const std::string text =
        SeriesExportText(loader.History(), loader.DataType(), loader.IntervalIndex(), m_settings);
    QSaveFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(text.data(), static_cast<qint64>(text.size())) !=
            static_cast<qint64>(text.size()) ||
        !file.commit()) {
        return ToBusResult(SChartBusReply::Error(
            EChartBusFault::Failed,
            fmt::format("cannot write {}: {}", path, file.errorString().toStdString())));
    }
    return {{}, {}, ExportTextRows(text)};
}

SBusMethodResult CChartBusTarget::BusRender(const std::string& path, int width, int height) {
    SChartBusReply reply = CheckChartBusRender(path, width, height);
    if (reply.Ok()) {
        reply = CheckLoaded();
    }
    if (!reply.Ok()) {
        return ToBusResult(reply);
    }
    SExportRequest request;
    request.output = EExportOutput::Chart;
    request.file = path;
    request.width = width;
    request.height = height;
    const std::string error = RenderChart(m_frame.ChartLoader(), request, m_settings);
    if (!error.empty()) {
        return ToBusResult(SChartBusReply::Error(EChartBusFault::Failed, error));
    }
    return {};
}

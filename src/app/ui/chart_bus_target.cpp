#include "app/ui/chart_bus_target.h"

#include "app/export.h"
#include "app/ui/chart_render.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "core/data_types.h"
#include "history/chart_hist_request.h"
#include "trend/ui/chart_alerts.h"
#include "trend/ui/chart_trendlines.h"

#include <QSaveFile>

#include <fmt/format.h>

#include <cmath>

SBusMethodResult ToBusResult(const SChartBusReply& reply) {
    return {ChartBusErrorName(reply.fault), reply.message, reply.rows, {}};
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
    // Until the progress timer has shown the history, the chart's trendlines are not anchored
    // to it: the chart counts as loading.
    return CheckChartBusLoaded(loader.Symbol(), !loader.HistoryShown(),
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
    return {{}, {}, ExportTextRows(text), {}};
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
    const std::string error = RenderChart(m_frame.ChartLoader(), request, m_settings,
                                          m_frame.TrendStore(), &m_frame.ChartView()->CompareSet());
    if (!error.empty()) {
        return ToBusResult(SChartBusReply::Error(EChartBusFault::Failed, error));
    }
    return {};
}

SBusMethodResult CChartBusTarget::BusAddTrendline(const std::string& kind,
                                                  const std::vector<std::string>& times,
                                                  const std::vector<double>& prices) {
    SChartBusTrendline trendline;
    SChartBusReply reply = CheckChartBusTrendline(kind, times, prices, trendline);
    if (reply.Ok()) {
        reply = CheckLoaded();
    }
    if (!reply.Ok()) {
        return ToBusResult(reply);
    }
    const CChartHistRequest& history = m_frame.ChartLoader().History();
    std::vector<STrendPoint> points;
    for (std::size_t i = 0; i < trendline.points.size(); ++i) {
        const auto& [time, price] = trendline.points[i];
        const double bar = BarOfTime(history, time);
        if (bar != std::round(bar) || bar < 0 || bar >= history.GetCount()) {
            return ToBusResult(SChartBusReply::Error(
                EChartBusFault::InvalidArgument,
                fmt::format("the chart has no bar at time {} \"{}\"", i + 1, times[i])));
        }
        points.push_back({bar, price, time});
    }
    CChartTrendlines& trendlines = m_frame.ChartTrendlines();
    if (!trendlines.Add(trendline.kind, std::move(points))) {
        return ToBusResult(
            SChartBusReply::Error(EChartBusFault::NoChart, "the chart is not shown yet"));
    }
    return {{}, {}, trendlines.Lists().Count(), {}};
}

SBusMethodResult CChartBusTarget::BusTrendlines() {
    const SChartBusReply reply = CheckLoaded();
    if (!reply.Ok()) {
        return ToBusResult(reply);
    }
    const bool ticks = m_frame.ChartLoader().DataType() == kTicks;
    return {{}, {}, 0, TrendlinesJson(m_frame.ChartTrendlines().Lists(), ticks)};
}

SBusMethodResult CChartBusTarget::BusDeleteAllTrendlines() {
    const SChartBusReply reply = CheckLoaded();
    if (!reply.Ok()) {
        return ToBusResult(reply);
    }
    return {{}, {}, m_frame.ChartTrendlines().DeleteAll(false), {}};
}

SBusMethodResult CChartBusTarget::BusDeletePoint(const std::string& time) {
    SPointTime at;
    SChartBusReply reply = CheckChartBusPointTime(time, at);
    const CChartFormView& view = *m_frame.ChartView();
    const CChartHistRequest& history = view.Loader().History();
    if (reply.Ok()) {
        reply = CheckChartBusLoaded(view.Symbol(), !view.HistoryShown(), history.GetCount());
    }
    int index = -1;
    if (reply.Ok()) {
        reply = FindChartBusPoint(history, at, time, index);
    }
    if (reply.Ok() && !m_frame.ChartView()->DeletePointAt(index)) {
        reply = SChartBusReply::Error(EChartBusFault::Failed, "the point could not be deleted");
    }
    return reply.Ok() ? SBusMethodResult{{}, {}, history.GetCount(), {}} : ToBusResult(reply);
}

void CChartBusTarget::BusRestorePoints(std::function<void(const SBusMethodResult&)> answer) {
    CChartFormView& view = *m_frame.ChartView();
    const CChartHistRequest& history = view.Loader().History();
    // A series whose every point was deleted can still be restored.
    const SChartBusReply reply = CheckChartBusLoaded(view.Symbol(), !view.HistoryShown(),
                                                     view.PointsDeleted() ? 1 : history.GetCount());
    if (!reply.Ok()) {
        answer(ToBusResult(reply));
        return;
    }
    const bool restoring =
        view.RestorePoints(false, [answer, &history](bool restored, const std::string& why) {
            answer(restored ? SBusMethodResult{{}, {}, history.GetCount(), {}}
                            : ToBusResult(SChartBusReply::Error(EChartBusFault::Failed,
                                                                "the restore failed: " + why)));
        });
    if (!restoring) {
        // Nothing was deleted: the series is whole already.
        answer({{}, {}, history.GetCount(), {}});
    }
}

SBusMethodResult CChartBusTarget::BusReconnect() {
    if (!m_frame.Reconnect()) {
        return ToBusResult(SChartBusReply::Error(
            EChartBusFault::Failed, "cannot reconnect now: close the symbol search first"));
    }
    return {};
}

SBusMethodResult CChartBusTarget::BusSetPriceScale(const std::string& scale) {
    const std::optional<EPriceScale> parsed = ParsePriceScale(scale);
    if (!parsed) {
        return ToBusResult(SChartBusReply::Error(EChartBusFault::InvalidArgument,
                                                 "the price scale \"" + scale +
                                                     "\" is none of linear, log and percent"));
    }
    m_frame.ChartView()->Canvas().SetPriceScale(*parsed);
    return {};
}

SBusMethodResult CChartBusTarget::BusCompare(const std::string& symbols) {
    const std::string refused = m_frame.ChartView()->SetCompareSymbols(symbols);
    if (!refused.empty()) {
        return ToBusResult(SChartBusReply::Error(EChartBusFault::InvalidArgument,
                                                 "cannot compare \"" + symbols + "\": " + refused));
    }
    return {};
}

SBusMethodResult CChartBusTarget::BusAddAlert(const std::string& symbol, double price,
                                              const std::string& direction) {
    SChartBusAlert alert;
    const SChartBusReply reply = CheckChartBusAlert(symbol, price, direction, alert);
    if (!reply.Ok()) {
        return ToBusResult(reply);
    }
    return {{}, {}, m_frame.ChartAlerts().AddLevel(alert.symbol, alert.price, alert.direction), {}};
}

SBusMethodResult CChartBusTarget::BusAlerts() {
    return {{}, {}, 0, AlertsJson(m_frame.ChartAlerts().List())};
}

#pragma once

// Driving a running chart over the session bus: every Skychart owns the bus name
// org.skychart.Skychart.pid<PID> and serves the interface org.skychart.Chart at /Skychart with
//   Load(s symbol, s type, s interval)           load a symbol as the ribbon and Enter would
//   ExportSeries(s path) -> i rows               the series as it stands, as --export writes it
//   Render(s path, i width, i height)            the chart as --render draws it, PNG or PDF
//   AddTrendline(s kind, as times, ad prices) -> i count
//                                                a trendline through bars (by time) at prices
//   Trendlines() -> s                            the chart's trendlines as JSON
//   DeleteAllTrendlines() -> i removed           every trendline of the chart removed
//   DeletePoint(s time) -> i count               delete the point at a time, as Yes would
//   RestorePoints() -> i count                   restore the deleted points, answered once the
//                                                history is in again
//   Reconnect()                                  run the connection start-up again and reload
//                                                the chart once the service is ready
//   SetPriceScale(s scale)                       "linear", "log" or "percent", as the pane menu
//   Compare(s symbols)                           compare up to three symbols (a comma list; ""
//                                                clears them), as "Compare Symbol..." does
//   AddAlert(s symbol, d price, s direction) -> i id
//                                                a level alert ("Crosses", "Rises above",
//                                                "Falls below")
//   Alerts() -> s                                every alert as JSON
//   signal AlertFired(s symbol, d price, s time) an alert fired at a live trade
// This is the plain part: the error names, the checks of the arguments and the export text. The
// platform adaptor carries the calls, the main frame carries them out.

#include "core/trend_kinds.h"
#include "history/chart_hist_request.h"
#include "trend/trend_alert.h"

#include <string>
#include <utility>
#include <vector>

class CSettings;
class CTrendLists;

// Why a call failed: each kind answers with its own D-Bus error name.
enum class EChartBusFault {
    None,
    InvalidArgument, // the arguments are wrong: nothing was done
    NoChart,         // Export or Render with no symbol loaded, or its series still empty
    Failed,          // the arguments were right but the work failed (file not written, no feed)
};

// "org.skychart.Chart.Error.InvalidArgument", "...NoChart", "...Failed"; "" for None.
const char* ChartBusErrorName(EChartBusFault fault);

// The outcome of a call: the fault with a message for the caller, and the rows of an export.
struct SChartBusReply {
    EChartBusFault fault = EChartBusFault::None;
    std::string message;
    int rows = 0;

    bool Ok() const { return fault == EChartBusFault::None; }
    static SChartBusReply Error(EChartBusFault fault, std::string message) {
        return {fault, std::move(message), 0};
    }
};

// Load's arguments, checked: the symbol as Enter stores it, the positions in the request type
// and interval combos (RequestTypeItems, IntervalItems).
struct SChartBusLoad {
    std::string symbol;     // trimmed, upper case
    int typeIndex = -1;     // request type combo position
    int dataType = -1;      // "RequestDataType"
    int intervalIndex = -1; // interval combo position; -1: the interval stays as it is
};

// Checks Load's arguments. The symbol is trimmed and upper-cased; it must not be empty, be longer
// than the ribbon's box takes (127) or hold spaces, commas or control characters (they would
// break the request line). The type is one of the request type combo's texts and the interval,
// when not empty, one of the interval combo's texts, both ignoring case.
SChartBusReply CheckChartBusLoad(const std::string& symbol, const std::string& type,
                                 const std::string& interval, SChartBusLoad& load);

// Checks ExportSeries's path: not empty and absolute (the caller's working folder is not ours).
SChartBusReply CheckChartBusExport(const std::string& path);

// Checks Render's arguments: an absolute path ending in .png or .pdf (any case) and a width and
// height from kRenderMinSize to kRenderMaxSize.
SChartBusReply CheckChartBusRender(const std::string& path, int width, int height);

// The state of the chart that Export and Render need: NoChart when no symbol is loaded, its
// answer is still arriving, or its series holds no point (the service had none).
SChartBusReply CheckChartBusLoaded(const std::string& symbol, bool loading, int pointCount);

// Checks DeletePoint's time: "YYYY-MM-DD HH:MM:SS" with ".ffffff" for ticks, as the export's
// DateTime column writes it (ParsePointTime).
SChartBusReply CheckChartBusPointTime(const std::string& text, SPointTime& time);

// The index of the first point of `history` at exactly `time` (`text` names it in the message);
// InvalidArgument when no point is.
SChartBusReply FindChartBusPoint(const CChartHistRequest& history, const SPointTime& time,
                                 const std::string& text, int& index);

// The series as --export writes it: the header, one row per point, and the study columns of the
// studies that `settings` show, computed over the whole series of `dataType` (the interval
// position matters for minute bars).
std::string SeriesExportText(const CChartHistRequest& history, int dataType, int intervalIndex,
                             const CSettings& settings);

// The data rows of an export text: its lines after the header.
int ExportTextRows(const std::string& text);

// AddTrendline's arguments, checked: the kind and its points (bar time, price).
struct SChartBusTrendline {
    ETrendKind kind = ETrendKind::Sloping;
    std::vector<std::pair<SPointTime, double>> points;
};

// Checks AddTrendline's arguments: a kind named as the settings keys name it (any case), as
// many times and prices as the kind takes clicks, each time written as the export's DateTime
// column, each price a finite number. Whether the bars exist is the chart's to check.
SChartBusReply CheckChartBusTrendline(const std::string& kind,
                                      const std::vector<std::string>& times,
                                      const std::vector<double>& prices,
                                      SChartBusTrendline& trendline);

// The trendlines of `lists` as Trendlines() answers them: a JSON array of objects with "kind",
// "points" ([{"time", "price"}]), "color" ("#rrggbb"), "width" and "extendable", kind by kind.
// Tick times carry their microseconds.
std::string TrendlinesJson(const CTrendLists& lists, bool tickTimes);

// AddAlert's arguments, checked: the symbol as Load takes it, a finite price, and a direction
// named as the alert dialog names it (any case, spaces optional).
struct SChartBusAlert {
    std::string symbol;
    double price = 0.0;
    EAlertDirection direction = EAlertDirection::Crosses;
};
SChartBusReply CheckChartBusAlert(const std::string& symbol, double price,
                                  const std::string& direction, SChartBusAlert& alert);

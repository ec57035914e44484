#include "app/chart_bus.h"

#include "app/command_line.h"
#include "app/export.h"
#include "app/recent_symbols.h"
#include "chart/chart_print.h"
#include "core/data_types.h"
#include "core/settings.h"
#include "history/point_time.h"
#include "studies/study_set.h"
#include "trend/trend_lists.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

// The longest symbol the ribbon's box takes.
constexpr std::size_t kMaxSymbolLength = 127;

std::string ComboTexts(const std::vector<SComboItem>& items) {
    std::string texts;
    for (const SComboItem& item : items) {
        texts += texts.empty() ? "" : ", ";
        texts += item.text;
    }
    return texts;
}

SChartBusReply Invalid(std::string message) {
    return SChartBusReply::Error(EChartBusFault::InvalidArgument, std::move(message));
}

SChartBusReply CheckPath(const std::string& path) {
    if (path.empty()) {
        return Invalid("the file path is empty");
    }
    if (path.front() != '/') {
        return Invalid(fmt::format("the file path must be absolute, not \"{}\"", path));
    }
    if (path.back() == '/') {
        return Invalid(fmt::format("\"{}\" names a folder, not a file", path));
    }
    return {};
}

} // namespace

const char* ChartBusErrorName(EChartBusFault fault) {
    switch (fault) {
    case EChartBusFault::None:
        return "";
    case EChartBusFault::InvalidArgument:
        return "org.skychart.Chart.Error.InvalidArgument";
    case EChartBusFault::NoChart:
        return "org.skychart.Chart.Error.NoChart";
    case EChartBusFault::Failed:
        return "org.skychart.Chart.Error.Failed";
    }
    return "org.skychart.Chart.Error.Failed";
}

SChartBusReply CheckChartBusLoad(const std::string& symbolText, const std::string& type,
                                 const std::string& interval, SChartBusLoad& load) {
    const std::string symbol = SymbolFromEntry(symbolText);
    if (symbol.empty()) {
        return Invalid("the symbol is empty");
    }
    if (symbol.size() > kMaxSymbolLength) {
        return Invalid(fmt::format("the symbol is longer than {} characters", kMaxSymbolLength));
    }
    const auto bad = std::find_if(symbol.begin(), symbol.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x21 || byte == 0x7f || c == ',';
    });
    if (bad != symbol.end()) {
        return Invalid(fmt::format("the symbol \"{}\" holds a space, a comma or a control "
                                   "character",
                                   symbol));
    }
    const int typeIndex = FindComboItem(RequestTypeItems(), type);
    if (typeIndex < 0) {
        return Invalid(fmt::format("unknown request type \"{}\" (use {})", type,
                                   ComboTexts(RequestTypeItems())));
    }
    int intervalIndex = -1;
    if (!interval.empty()) {
        intervalIndex = FindComboItem(IntervalItems(), interval);
        if (intervalIndex < 0) {
            return Invalid(fmt::format("unknown interval \"{}\" (use {}, or \"\" to keep the "
                                       "current one)",
                                       interval, ComboTexts(IntervalItems())));
        }
    }
    load.symbol = symbol;
    load.typeIndex = typeIndex;
    load.dataType = RequestTypeItems()[static_cast<std::size_t>(typeIndex)].data;
    load.intervalIndex = intervalIndex;
    return {};
}

SChartBusReply CheckChartBusExport(const std::string& path) {
    return CheckPath(path);
}

SChartBusReply CheckChartBusRender(const std::string& path, int width, int height) {
    SChartBusReply reply = CheckPath(path);
    if (!reply.Ok()) {
        return reply;
    }
    const std::string extension = LowerExtension(path);
    if (extension != "png" && extension != "pdf") {
        return Invalid(fmt::format("Render writes a .png or a .pdf file, not \"{}\"", path));
    }
    for (const auto& [name, size] : {std::pair{"width", width}, std::pair{"height", height}}) {
        if (size < kRenderMinSize || size > kRenderMaxSize) {
            return Invalid(fmt::format("the {} must be from {} to {} pixels, not {}", name,
                                       kRenderMinSize, kRenderMaxSize, size));
        }
    }
    return {};
}

SChartBusReply CheckChartBusLoaded(const std::string& symbol, bool loading, int pointCount) {
    if (symbol.empty()) {
        return SChartBusReply::Error(EChartBusFault::NoChart,
                                     "no chart is loaded: call Load first");
    }
    if (loading) {
        return SChartBusReply::Error(
            EChartBusFault::NoChart,
            fmt::format("{} is still loading: try again when its history is complete", symbol));
    }
    if (pointCount <= 0) {
        return SChartBusReply::Error(EChartBusFault::NoChart,
                                     fmt::format("{} has no data points", symbol));
    }
    return {};
}

SChartBusReply CheckChartBusPointTime(const std::string& text, SPointTime& time) {
    const std::optional<SPointTime> parsed = ParsePointTime(text);
    if (!parsed) {
        return Invalid(fmt::format("\"{}\" is no point time: write it as the DateTime column of "
                                   "ExportSeries does, YYYY-MM-DD HH:MM:SS[.ffffff]",
                                   text));
    }
    time = *parsed;
    return {};
}

SChartBusReply FindChartBusPoint(const CChartHistRequest& history, const SPointTime& time,
                                 const std::string& text, int& index) {
    const int found = history.LowerBound(time);
    sTICK point;
    if (found >= history.GetCount() || !history.GetTick(found, point) ||
        !(point.time == time.time) || point.microseconds != time.microseconds) {
        return Invalid(fmt::format("no point of the series is at {}", text));
    }
    index = found;
    return {};
}

std::string SeriesExportText(const CChartHistRequest& history, int dataType, int intervalIndex,
                             const CSettings& settings) {
    auto inputs = std::make_shared<CStudyInputs>();
    inputs->Read(history, dataType, nullptr);
    SStudyContext context;
    context.dataType = dataType;
    if (dataType == kIntervals) {
        context.intervalMinutes = IntervalMinutes(intervalIndex);
    }
    CStudySet studies(inputs, SUpperStudySettings::Read(settings), SStudySettings::Read(settings),
                      context);
    studies.Compute(2);
    return ExportText(history, dataType, &studies);
}

int ExportTextRows(const std::string& text) {
    const auto lines = std::count(text.begin(), text.end(), '\n');
    const bool unterminated = !text.empty() && text.back() != '\n';
    return std::max(0, static_cast<int>(lines + (unterminated ? 1 : 0)) - 1);
}

SChartBusReply CheckChartBusTrendline(const std::string& kind,
                                      const std::vector<std::string>& times,
                                      const std::vector<double>& prices,
                                      SChartBusTrendline& trendline) {
    const int found = FindTrendKind(kind);
    if (found < 0) {
        std::string names;
        for (const STrendKindInfo& info : TrendKindTable()) {
            names += names.empty() ? "" : ", ";
            names += info.name;
        }
        return Invalid(fmt::format("\"{}\" is no trendline kind; the kinds are {}", kind, names));
    }
    trendline.kind = static_cast<ETrendKind>(found);
    const STrendKindInfo& info = TrendKindInfo(trendline.kind);
    const auto clicks = static_cast<std::size_t>(info.clicks);
    if (times.size() != clicks || prices.size() != clicks) {
        return Invalid(fmt::format("a {} trendline takes {} times and {} prices, not {} and {}",
                                   info.name, clicks, clicks, times.size(), prices.size()));
    }
    trendline.points.clear();
    for (std::size_t i = 0; i < clicks; ++i) {
        const std::optional<SPointTime> time = ParsePointTime(times[i]);
        if (!time) {
            return Invalid(
                fmt::format("time {} \"{}\" is not written YYYY-MM-DD HH:MM:SS", i + 1, times[i]));
        }
        if (!std::isfinite(prices[i])) {
            return Invalid(fmt::format("price {} is not a finite number", i + 1));
        }
        trendline.points.emplace_back(*time, prices[i]);
    }
    return {};
}

std::string TrendlinesJson(const CTrendLists& lists, bool tickTimes) {
    nlohmann::json all = nlohmann::json::array();
    for (const auto& trend : lists.All()) {
        nlohmann::json points = nlohmann::json::array();
        for (const STrendPoint& point : trend->Points()) {
            points.push_back(
                {{"time", FormatPointTime(point.time, tickTimes)}, {"price", point.price}});
        }
        const STrendStyle& style = trend->Style();
        all.push_back({{"kind", TrendKindInfo(trend->Kind()).name},
                       {"points", points},
                       {"color", fmt::format("#{:02x}{:02x}{:02x}", RedOf(style.color),
                                             GreenOf(style.color), BlueOf(style.color))},
                       {"width", style.width},
                       {"extendable", style.extendable}});
    }
    return all.dump();
}

SChartBusReply CheckChartBusAlert(const std::string& symbol, double price,
                                  const std::string& direction, SChartBusAlert& alert) {
    // The symbol is checked as Load checks it.
    SChartBusLoad load;
    if (const SChartBusReply reply = CheckChartBusLoad(symbol, "Daily", "", load); !reply.Ok()) {
        return reply;
    }
    if (!std::isfinite(price)) {
        return Invalid("the price is not a finite number");
    }
    const std::optional<EAlertDirection> found = FindAlertDirection(direction);
    if (!found) {
        return Invalid(fmt::format("unknown direction \"{}\" (use Crosses, Rises above or Falls "
                                   "below)",
                                   direction));
    }
    alert = {load.symbol, price, *found};
    return {};
}

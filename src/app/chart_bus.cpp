#include "app/chart_bus.h"

#include "app/command_line.h"
#include "app/export.h"
#include "app/recent_symbols.h"
#include "chart/chart_print.h"
#include "core/data_types.h"
#include "core/settings.h"
#include "studies/study_set.h"

#include <fmt/format.h>

#include <algorithm>
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

#include "app/export.h"

#include "app/command_line.h"
#include "chart/compare_series.h"
#include "chart/value_scale.h"
#include "history/chart_hist_request.h"
#include "history/point_time.h"
#include "history/tick.h"
#include "studies/study_set.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>

namespace {

// "RequestDataType" values.
constexpr int kTickData = 0;
constexpr int kIntervalData = 1;

std::string FormatTime(const sTICK& point, bool withMicroseconds) {
    return FormatPointTime({point.time, point.microseconds}, withMicroseconds);
}

// A -width or -height: a whole number of pixels within the limits; -1 when it is not.
int ParseSize(const std::string& text) {
    if (text.empty() || text.size() > 5 || !std::all_of(text.begin(), text.end(), [](char c) {
            return std::isdigit(static_cast<unsigned char>(c)) != 0;
        })) {
        return -1;
    }
    const int size = std::stoi(text);
    return size >= kRenderMinSize && size <= kRenderMaxSize ? size : -1;
}

std::string CheckSize(const char* option, bool requested, const std::string& text, int& size) {
    if (!requested) {
        return {};
    }
    if (text.empty()) {
        return fmt::format("{} needs a number of pixels from {} to {}", option, kRenderMinSize,
                           kRenderMaxSize);
    }
    size = ParseSize(text);
    if (size < 0) {
        return fmt::format("{} must be a whole number of pixels from {} to {}, not \"{}\"", option,
                           kRenderMinSize, kRenderMaxSize, text);
    }
    return {};
}

// --timeout: a whole number of seconds within the limits; -1 when it is not.
int ParseTimeout(const std::string& text) {
    if (text.empty() || text.size() > 5 || !std::all_of(text.begin(), text.end(), [](char c) {
            return std::isdigit(static_cast<unsigned char>(c)) != 0;
        })) {
        return -1;
    }
    const int seconds = std::stoi(text);
    return seconds >= 1 && seconds <= kExportMaxTimeout ? seconds : -1;
}

} // namespace

std::string LowerExtension(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    const std::size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        return {};
    }
    std::string extension = path.substr(dot + 1);
    for (char& c : extension) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return extension;
}

std::string CheckExportRequest(const COrvaneCommandLineInfo& commandLine, SExportRequest& request) {
    if (commandLine.exportRequested && commandLine.renderRequested) {
        return "--export and --render cannot be used together";
    }
    const bool render = commandLine.renderRequested;
    const char* mode = render ? "--render" : "--export";
    const std::string& file = render ? commandLine.renderFile : commandLine.exportFile;
    if (file.empty()) {
        return render ? "--render needs the name of the PNG or PDF file to write"
                      : "--export needs the name of the CSV file to write";
    }
    if (render && LowerExtension(file) != "png" && LowerExtension(file) != "pdf") {
        return fmt::format("--render writes a .png or a .pdf file, not \"{}\"", file);
    }
    if (commandLine.symbol.empty()) {
        return fmt::format("{} needs -symbol SYMBOL", mode);
    }
    if (!commandLine.typeRequested) {
        return fmt::format("{} needs -type TYPE (Tick, Minute, Daily, Weekly or Monthly)", mode);
    }
    const int typeIndex = FindComboItem(RequestTypeItems(), commandLine.type);
    if (typeIndex < 0) {
        return fmt::format("unknown request type \"{}\" (use Tick, Minute, Daily, Weekly or "
                           "Monthly)",
                           commandLine.type);
    }
    int intervalIndex = -1;
    if (commandLine.intervalRequested) {
        intervalIndex = FindComboItem(IntervalItems(), commandLine.interval);
        if (intervalIndex < 0) {
            return fmt::format("unknown interval \"{}\" (use 1-Minute ... 2-Hour)",
                               commandLine.interval);
        }
    }
    int width = kRenderDefaultWidth;
    int height = kRenderDefaultHeight;
    int scale = 1;
    if (render) {
        std::string problem =
            CheckSize("-width", commandLine.widthRequested, commandLine.width, width);
        if (problem.empty()) {
            problem = CheckSize("-height", commandLine.heightRequested, commandLine.height, height);
        }
        if (problem.empty() && commandLine.scaleRequested) {
            const std::string& text = commandLine.scale;
            scale = text.size() == 1 && text[0] >= '1' && text[0] <= '0' + kRenderMaxScale
                        ? text[0] - '0'
                        : 0;
            if (scale == 0) {
                problem = fmt::format("-scale must be a whole number from 1 to {}, not \"{}\"",
                                      kRenderMaxScale, text);
            }
        }
        if (!problem.empty()) {
            return problem;
        }
    }
    int timeout = kExportDefaultTimeout;
    if (commandLine.timeoutRequested) {
        timeout = ParseTimeout(commandLine.timeout);
        if (timeout < 0) {
            return fmt::format("--timeout needs a whole number of seconds from 1 to {}, not \"{}\"",
                               kExportMaxTimeout, commandLine.timeout);
        }
    }
    int priceScale = -1;
    std::vector<std::string> compare;
    if (render && commandLine.priceScaleRequested) {
        const std::optional<EPriceScale> parsed = ParsePriceScale(commandLine.priceScale);
        if (!parsed) {
            return fmt::format("-price-scale needs linear, log or percent, not \"{}\"",
                               commandLine.priceScale);
        }
        priceScale = static_cast<int>(*parsed);
    }
    if (render && commandLine.compareRequested) {
        if (const std::string problem = ParseCompareSymbols(commandLine.compare, compare);
            !problem.empty()) {
            return "-compare: " + problem;
        }
        if (std::find(compare.begin(), compare.end(), commandLine.symbol) != compare.end()) {
            return "-compare: " + commandLine.symbol + " is the chart's own symbol";
        }
    }
    request.priceScale = priceScale;
    request.compareGiven = render && commandLine.compareRequested;
    request.compare = std::move(compare);
    request.output = render ? EExportOutput::Chart : EExportOutput::Csv;
    request.timeoutSeconds = timeout;
    request.service = commandLine.ServiceOptions();
    request.file = file;
    request.symbol = commandLine.symbol;
    request.dataType = RequestTypeItems()[static_cast<std::size_t>(typeIndex)].data;
    request.intervalIndex = intervalIndex;
    request.typeText = RequestTypeItems()[static_cast<std::size_t>(typeIndex)].text;
    request.width = width;
    request.height = height;
    request.scale = scale;
    return {};
}

std::string ExportHeader(int dataType) {
    if (dataType == kTickData) {
        return "DateTime,Close,Volume,Size,Bid,Ask";
    }
    if (dataType == kIntervalData) {
        return "DateTime,Open,High,Low,Close,Volume,Size";
    }
    return "DateTime,Open,High,Low,Close,Volume,OpenInterest";
}

std::string ExportRow(const sTICK& point, int dataType) {
    if (dataType == kTickData) {
        return fmt::format("{},{},{},{},{},{}", FormatTime(point, true), point.close, point.volume,
                           point.size, point.bid, point.ask);
    }
    const std::string bar = fmt::format("{},{},{},{},{},{}", FormatTime(point, false), point.open,
                                        point.high, point.low, point.close, point.volume);
    if (dataType == kIntervalData) {
        return fmt::format("{},{}", bar, point.size);
    }
    return fmt::format("{},{}", bar, point.openInterest);
}

std::string ExportStudyCell(double value) {
    if (std::isnan(value)) {
        return {};
    }
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

std::string ExportText(const CChartHistRequest& history, int dataType, const CStudySet* studies) {
    const std::vector<SStudyColumn> columns =
        studies != nullptr ? studies->ExportColumns() : std::vector<SStudyColumn>{};
    std::string text = ExportHeader(dataType);
    for (const SStudyColumn& column : columns) {
        text += ',' + column.name;
    }
    text += '\n';
    sTICK point;
    const int count = history.GetCount();
    for (int i = 0; i < count; ++i) {
        history.GetTick(i, point);
        text += ExportRow(point, dataType);
        for (const SStudyColumn& column : columns) {
            text += ',';
            if (const std::optional<double> value = column.At(static_cast<std::size_t>(i))) {
                text += ExportStudyCell(*value);
            }
        }
        text += '\n';
    }
    return text;
}

#include "app/export.h"

#include "app/command_line.h"
#include "history/tick.h"

#include <fmt/format.h>

namespace {

// "RequestDataType" values.
constexpr int kTickData = 0;
constexpr int kIntervalData = 1;

std::string FormatTime(const sTICK& point, bool withMicroseconds) {
    SDateTimeFields fields;
    if (!point.time.IsValid() || !point.time.GetFields(fields)) {
        return {};
    }
    std::string text = fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", fields.year, fields.month,
                                   fields.day, fields.hour, fields.minute, fields.second);
    if (withMicroseconds) {
        text += fmt::format(".{:06}", point.microseconds);
    }
    return text;
}

} // namespace

std::string CheckExportRequest(const COrvaneCommandLineInfo& commandLine, SExportRequest& request) {
    if (commandLine.exportFile.empty()) {
        return "--export needs the name of the CSV file to write";
    }
    if (commandLine.symbol.empty()) {
        return "--export needs -symbol SYMBOL";
    }
    if (!commandLine.typeRequested) {
        return "--export needs -type TYPE (Tick, Minute, Daily, Weekly or Monthly)";
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
    request.file = commandLine.exportFile;
    request.symbol = commandLine.symbol;
    request.dataType = RequestTypeItems()[static_cast<std::size_t>(typeIndex)].data;
    request.intervalIndex = intervalIndex;
    request.typeText = RequestTypeItems()[static_cast<std::size_t>(typeIndex)].text;
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

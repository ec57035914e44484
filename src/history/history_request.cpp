#include "history/history_request.h"

#include "base/error.h"
#include "base/fields.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "history/request_settings.h"

#include <charconv>
#include <fmt/format.h>

namespace {

// The maximum datapoints field of day and date-range requests.
constexpr const char* kAllDatapoints = "5000000";

// "%.8d" / "%.6d": at least that many digits, a minus sign in front of them.
std::string Padded(std::int32_t value, int digits) {
    if (value < 0) {
        return fmt::format("-{:0{}d}", -static_cast<std::int64_t>(value), digits);
    }
    return fmt::format("{:0{}d}", value, digits);
}

// The begin and end filter times when the data type's "RequestFilterOn" element is "true",
// else the two empty fields.
std::string FilterPart(const SHistoryParameters& params, const std::vector<std::string>& filterOn,
                       std::size_t dataType) {
    if (ElementAt(filterOn, dataType) == "true") {
        return Padded(params.beginFilterTime, 6) + "," + Padded(params.endFilterTime, 6) + ",";
    }
    return ",,";
}

} // namespace

SPreparedRequest PrepareHistoryRequest(CChartHistRequest& history,
                                       const SRequestSettings& requestSettings,
                                       const CSettings& settings) {
    SPreparedRequest prepared;
    prepared.symbol = settings.GetText(keys::kCurrentSymbol);
    prepared.dataType = settings.GetInt(keys::kRequestDataType);
    const int kind = requestSettings.RecentType(prepared.dataType);
    prepared.kind = static_cast<std::uint32_t>(kind);

    history.SetSymbol(prepared.symbol);
    history.SetRequestKind(prepared.kind);
    history.SetDataDirection("1");
    history.SetBeginFilterTime(-1);
    history.SetEndFilterTime(-1);
    history.SetBeginDate("");
    history.SetEndDate("");
    history.SetBeginTime("");
    history.SetEndTime("");

    // Dates and times of one data type's elements of the four lists.
    const auto setRange = [&](int dataType, bool withTimes) {
        const std::string& beginDate = requestSettings.BeginDate(dataType);
        const std::string& endDate = requestSettings.EndDate(dataType);
        history.SetBeginDate(beginDate);
        history.SetEndDate(endDate);
        if (withTimes) {
            history.SetBeginTime(requestSettings.BeginTime(dataType));
            history.SetEndTime(requestSettings.EndTime(dataType));
        }
    };
    const auto intervalSeconds = [&] {
        return IntervalSeconds(settings.GetInt(keys::kRequestIntervalIndex));
    };

    switch (kind) {
    case kTicksDatapoints:
        history.SetMaxDatapoints(requestSettings.Datapoints(kTicks));
        break;
    case kTicksDays:
        history.SetDays(requestSettings.Days(kTicks));
        break;
    case kTicksDateRange:
        setRange(kTicks, true);
        break;
    case kIntervalsDatapoints:
        history.SetInterval(intervalSeconds());
        history.SetMaxDatapoints(requestSettings.Datapoints(kIntervals));
        break;
    case kIntervalsDays:
        history.SetInterval(intervalSeconds());
        history.SetDays(requestSettings.Days(kIntervals));
        break;
    case kIntervalsDateRange:
        history.SetInterval(intervalSeconds());
        setRange(kIntervals, true);
        break;
    case kDaysDatapoints:
        history.SetMaxDatapoints(requestSettings.Datapoints(kDays));
        break;
    case kDaysDateRange:
        setRange(kDays, false);
        break;
    case kWeeksDatapoints:
        history.SetMaxDatapoints(requestSettings.Datapoints(kWeeks));
        break;
    case kMonthsDatapoints:
        history.SetMaxDatapoints(requestSettings.Datapoints(kMonths));
        break;
    default:
        break;
    }

    if (requestSettings.FilterOn(prepared.dataType)) {
        history.SetBeginFilterTime(
            DecimalValue(requestSettings.BeginFilterTime(prepared.dataType)));
        history.SetEndFilterTime(DecimalValue(requestSettings.EndFilterTime(prepared.dataType)));
    }

    history.SetDataDirection("1");
    history.SetExtendedTradesAccepted(requestSettings.ExtendedTrades(prepared.dataType));
    prepared.useExchangeFormat = requestSettings.useExchangeFormat;
    return prepared;
}

std::string FormatHistoryCommand(const SHistoryParameters& p,
                                 const std::vector<std::string>& filterOn) {
    const std::string& s = p.symbol;
    const std::string& dir = p.dataDirection;
    const std::uint32_t kind = p.requestKind;
    switch (kind) {
    case kTicksDatapoints:
        return fmt::format("HTX,{},{},{},Lookup{}\n", s, p.maxDatapoints, dir, kind);
    case kTicksDays:
        return fmt::format("HTD,{},{},{},{}{},Lookup{}\n", s, p.days, kAllDatapoints,
                           FilterPart(p, filterOn, kTicks), dir, kind);
    case kTicksDateRange:
        return fmt::format("HTT,{},{} {},{} {},{},{}{},Lookup{}\n", s, Padded(p.beginDate, 8),
                           Padded(p.beginTime, 6), Padded(p.endDate, 8), Padded(p.endTime, 6),
                           kAllDatapoints, FilterPart(p, filterOn, kTicks), dir, kind);
    case kIntervalsDatapoints:
        return fmt::format("HIX,{},{},{},{},Lookup{},,s,0\n", s, p.interval, p.maxDatapoints, dir,
                           kind);
    case kIntervalsDays:
        return fmt::format("HID,{},{},{},{},{}{},Lookup{},,s,0\n", s, p.interval, p.days,
                           kAllDatapoints, FilterPart(p, filterOn, kIntervals), dir, kind);
    case kIntervalsDateRange:
        return fmt::format("HIT,{},{},{} {},{} {},{},{}{},Lookup{},,s,0\n", s, p.interval,
                           Padded(p.beginDate, 8), Padded(p.beginTime, 6), Padded(p.endDate, 8),
                           Padded(p.endTime, 6), kAllDatapoints,
                           FilterPart(p, filterOn, kIntervals), dir, kind);
    case kDaysDatapoints:
        return fmt::format("HDX,{},{},{},Lookup{}\n", s, p.maxDatapoints, dir, kind);
    case kDaysDateRange:
        return fmt::format("HDT,{},{},{},,{},Lookup{}\n", s, Padded(p.beginDate, 8),
                           Padded(p.endDate, 8), dir, kind);
    case kWeeksDatapoints:
        return fmt::format("HWX,{},{},{},Lookup{}\n", s, p.maxDatapoints, dir, kind);
    case kMonthsDatapoints:
        return fmt::format("HMX,{},{},{},Lookup{}\n", s, p.maxDatapoints, dir, kind);
    default:
        return {};
    }
}

std::string MakeHistoryCommand(CChartHistRequest& history, const CSettings& settings) {
    history.SetHistoryComplete(false);
    return FormatHistoryCommand(history.GetParameters(), settings.GetList(keys::kRequestFilterOn));
}

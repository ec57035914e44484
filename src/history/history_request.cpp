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
                                       const CSettings& settings, const std::string* symbol) {
    SPreparedRequest prepared;
    prepared.symbol = symbol != nullptr ? *symbol : settings.GetText(keys::kCurrentSymbol);
    prepared.dataType = settings.GetInt(keys::kRequestDataType);
    const int kind = requestSettings.RecentType(prepared.dataType);
    prepared.kind = static_cast<std::uint32_t>(kind);

    // Built whole and stored in one step: settings that cannot give a request leave the
    // history object's parameters as they were. Counts the kind does not use keep their values.
    SHistoryParameters params = history.GetParameters();
    params.symbol = prepared.symbol;
    params.requestKind = prepared.kind;
    params.dataDirection = "1";
    params.beginFilterTime = -1;
    params.endFilterTime = -1;
    params.beginDate = 0;
    params.endDate = 0;
    params.beginTime = 0;
    params.endTime = 0;

    // Dates and times of one data type's elements of the four lists.
    const auto setRange = [&](int dataType, bool withTimes) {
        params.beginDate = SHistoryParameters::FromText(requestSettings.BeginDate(dataType));
        params.endDate = SHistoryParameters::FromText(requestSettings.EndDate(dataType));
        if (withTimes) {
            params.beginTime = SHistoryParameters::FromText(requestSettings.BeginTime(dataType));
            params.endTime = SHistoryParameters::FromText(requestSettings.EndTime(dataType));
        }
    };
    const auto intervalSeconds = [&] {
        return IntervalSeconds(settings.GetInt(keys::kRequestIntervalIndex));
    };

    switch (kind) {
    case kTicksDatapoints:
        params.maxDatapoints = requestSettings.Datapoints(kTicks);
        break;
    case kTicksDays:
        params.days = requestSettings.Days(kTicks);
        break;
    case kTicksDateRange:
        setRange(kTicks, true);
        break;
    case kIntervalsDatapoints:
        params.interval = intervalSeconds();
        params.maxDatapoints = requestSettings.Datapoints(kIntervals);
        break;
    case kIntervalsDays:
        params.interval = intervalSeconds();
        params.days = requestSettings.Days(kIntervals);
        break;
    case kIntervalsDateRange:
        params.interval = intervalSeconds();
        setRange(kIntervals, true);
        break;
    case kDaysDatapoints:
        params.maxDatapoints = requestSettings.Datapoints(kDays);
        break;
    case kDaysDateRange:
        setRange(kDays, false);
        break;
    case kWeeksDatapoints:
        params.maxDatapoints = requestSettings.Datapoints(kWeeks);
        break;
    case kMonthsDatapoints:
        params.maxDatapoints = requestSettings.Datapoints(kMonths);
        break;
    default:
        break;
    }

    if (requestSettings.FilterOn(prepared.dataType)) {
        params.beginFilterTime = DecimalValue(requestSettings.BeginFilterTime(prepared.dataType));
        params.endFilterTime = DecimalValue(requestSettings.EndFilterTime(prepared.dataType));
    }
    const bool extendedTrades = requestSettings.ExtendedTrades(prepared.dataType);

    history.SetParameters(params);
    history.SetExtendedTradesAccepted(extendedTrades);
    prepared.useExchangeFormat = requestSettings.useExchangeFormat;
    return prepared;
}

std::string FormatHistoryCommand(const SHistoryParameters& p,
                                 const std::vector<std::string>& filterOn,
                                 std::string_view idPrefix) {
    const std::string& s = p.symbol;
    const std::string& dir = p.dataDirection;
    const std::uint32_t kind = p.requestKind;
    switch (kind) {
    case kTicksDatapoints:
        return fmt::format("HTX,{},{},{},{}{}\n", s, p.maxDatapoints, dir, idPrefix, kind);
    case kTicksDays:
        return fmt::format("HTD,{},{},{},{}{},{}{}\n", s, p.days, kAllDatapoints,
                           FilterPart(p, filterOn, kTicks), dir, idPrefix, kind);
    case kTicksDateRange:
        return fmt::format("HTT,{},{} {},{} {},{},{}{},{}{}\n", s, Padded(p.beginDate, 8),
                           Padded(p.beginTime, 6), Padded(p.endDate, 8), Padded(p.endTime, 6),
                           kAllDatapoints, FilterPart(p, filterOn, kTicks), dir, idPrefix, kind);
    case kIntervalsDatapoints:
        return fmt::format("HIX,{},{},{},{},{}{},,s,0\n", s, p.interval, p.maxDatapoints, dir,
                           idPrefix, kind);
    case kIntervalsDays:
        return fmt::format("HID,{},{},{},{},{}{},{}{},,s,0\n", s, p.interval, p.days,
                           kAllDatapoints, FilterPart(p, filterOn, kIntervals), dir, idPrefix,
                           kind);
    case kIntervalsDateRange:
        return fmt::format("HIT,{},{},{} {},{} {},{},{}{},{}{},,s,0\n", s, p.interval,
                           Padded(p.beginDate, 8), Padded(p.beginTime, 6), Padded(p.endDate, 8),
                           Padded(p.endTime, 6), kAllDatapoints,
                           FilterPart(p, filterOn, kIntervals), dir, idPrefix, kind);
    case kDaysDatapoints:
        return fmt::format("HDX,{},{},{},{}{}\n", s, p.maxDatapoints, dir, idPrefix, kind);
    case kDaysDateRange:
        return fmt::format("HDT,{},{},{},,{},{}{}\n", s, Padded(p.beginDate, 8),
                           Padded(p.endDate, 8), dir, idPrefix, kind);
    case kWeeksDatapoints:
        return fmt::format("HWX,{},{},{},{}{}\n", s, p.maxDatapoints, dir, idPrefix, kind);
    case kMonthsDatapoints:
        return fmt::format("HMX,{},{},{},{}{}\n", s, p.maxDatapoints, dir, idPrefix, kind);
    default:
        return {};
    }
}

std::string MakeHistoryCommand(CChartHistRequest& history, const CSettings& settings,
                               std::string_view idPrefix) {
    history.SetHistoryComplete(false);
    return FormatHistoryCommand(history.GetParameters(), settings.GetList(keys::kRequestFilterOn),
                                idPrefix);
}

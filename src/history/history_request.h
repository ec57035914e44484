#pragma once

#include "core/data_types.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CChartHistRequest;
class CSettings;
struct SHistoryParameters;
struct SRequestSettings;

// Request kinds: data type and request type together.
enum ERequestKind : std::uint32_t {
    kTicksDatapoints = 0,
    kTicksDays = 1,
    kTicksDateRange = 2,
    kIntervalsDatapoints = 3,
    kIntervalsDays = 4,
    kIntervalsDateRange = 5,
    kDaysDatapoints = 6,
    kDaysDateRange = 7,
    kWeeksDatapoints = 8,
    kMonthsDatapoints = 9,
};
inline constexpr std::uint32_t kRequestKindCount = 10;

// What a start of a request decided beyond the history object's parameters.
struct SPreparedRequest {
    std::string symbol;
    std::uint32_t kind = 0;
    int dataType = 0;
    bool useExchangeFormat = true;
};

// Derives the request parameters from the settings table ("CurrentSymbol", "RequestDataType",
// "RequestIntervalIndex") and the loaded request settings, and stores them in `history`: symbol,
// kind, direction "1", filter times (-1 unless this data type's filter is on), dates and times,
// datapoints, days, interval, and the extended-trades flag. A list element that does not exist
// throws CInvalidArgException; the caller then sends nothing. A `symbol` given is requested
// instead of "CurrentSymbol" (a second series on the chart's request settings).
SPreparedRequest PrepareHistoryRequest(CChartHistRequest& history,
                                       const SRequestSettings& requestSettings,
                                       const CSettings& settings,
                                       const std::string* symbol = nullptr);

// The request id of a history command is this prefix and the request kind's digit; the answer's
// lines begin with the id, and the last character of it tells the kind.
inline constexpr std::string_view kHistoryIdPrefix = "Lookup";

// The command line (ending in "\n") for the parameters' kind; empty for a kind outside 0-9.
// `filterOn` is "RequestFilterOn" split at commas; an element that the kind needs and that is
// missing throws CInvalidArgException. `idPrefix` (a text without commas) starts the request id.
std::string FormatHistoryCommand(const SHistoryParameters& params,
                                 const std::vector<std::string>& filterOn,
                                 std::string_view idPrefix = kHistoryIdPrefix);

// Clears the history complete flag and formats the current request's command with the
// "RequestFilterOn" list of `settings`. The caller sends a non-empty result on the lookup
// connection (CFeedConnections::SendHistoryCommand).
std::string MakeHistoryCommand(CChartHistRequest& history, const CSettings& settings,
                               std::string_view idPrefix = kHistoryIdPrefix);

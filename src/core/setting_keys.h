#pragma once

#include <vector>

// Every key of the settings table, named once. Values are texts: integers in decimal, booleans
// "true"/"false", lists joined with ",". Per-data-type lists hold one element per data type in the
// order Ticks, Intervals, Days, Weeks, Months.
namespace keys {

// The main frame and its ribbon.
inline constexpr const char* kCurrentSymbol = "CurrentSymbol";
inline constexpr const char* kSymbols = "Symbols";
inline constexpr const char* kRequestDataType = "RequestDataType";
inline constexpr const char* kRequestIntervalIndex = "RequestIntervalIndex";
inline constexpr const char* kCandlePriceChartStyle = "Candle Price Chart Style";
inline constexpr const char* kSearchType = "Search Type";
inline constexpr const char* kApplicationLook = "ApplicationLook";

// What a history request asks for.
inline constexpr const char* kRequestType = "RequestType";
inline constexpr const char* kRequestUseExchangeFormat = "RequestUseExchangeFormat";
inline constexpr const char* kRequestEnableExtendedTrades = "RequestEnableExtendedTrades";
inline constexpr const char* kRequestRecentType = "RequestRecentType";
inline constexpr const char* kRequestDatapoints = "RequestDatapoints";
inline constexpr const char* kRequestDays = "RequestDays";
inline constexpr const char* kRequestFilterOn = "RequestFilterOn";
inline constexpr const char* kRequestBeginDate = "RequestBeginDate";
inline constexpr const char* kRequestBeginTime = "RequestBeginTime";
inline constexpr const char* kRequestBeginFilterTime = "RequestBeginFilterTime";
inline constexpr const char* kRequestEndDate = "RequestEndDate";
inline constexpr const char* kRequestEndTime = "RequestEndTime";
inline constexpr const char* kRequestEndFilterTime = "RequestEndFilterTime";

} // namespace keys

// The suite's start-up values, kept apart from the application's settings table.
namespace startup_keys {

struct SPortKey {
    const char* key;
    const char* defaultText;
    int defaultPort;
};
inline constexpr SPortKey kAdminPort{"AdminPort", "9300", 9300};
inline constexpr SPortKey kLookupPort{"LookupPort", "9100", 9100};
inline constexpr SPortKey kLevel1Port{"Level1Port", "5009", 5009};
inline constexpr const char* kLogPath = "LogPath";
inline constexpr const char* kPreserveDisplayAppLogs = "PreserveDisplayAppLogs";

} // namespace startup_keys

// One key of the settings table: its name, its default text and whether it is mirrored.
struct SSettingKey {
    const char* key;
    const char* defaultValue;
    bool persist;
};

// Every key of the application with its default and persist flag, registered at start.
const std::vector<SSettingKey>& AllSettingKeys();

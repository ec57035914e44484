#pragma once

#include <string>
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

// The chart view: panes, display and scrolling.
inline constexpr const char* kNumberOfStudyCharts = "Number of displayed study charts";
inline constexpr const char* kTypeOfStudyChart = "Type of study chart %d"; // 0 .. 10
inline constexpr const char* kTopOfChart = "Top of chart %d";              // 0 .. 11
inline constexpr const char* kChartMinimized = "Chart %d Minimized";       // 0 .. 10
inline constexpr const char* kMaximizedChartIndex = "Maximized Chart Index";
inline constexpr const char* kShowPriceBar = "Show Price Bar";
inline constexpr const char* kPriceBarShowHide = "Price Bar Show/Hide";
inline constexpr const char* kPtsIndex = "PTS INDEX";
inline constexpr const char* kScrollingByItems = "Scrolling by Items";
inline constexpr const char* kScrollingItems = "Scrolling By Items Not Percent";
inline constexpr const char* kScrollingPercent = "Scrolling by Percent";
inline constexpr const char* kFixedYAxisScaling = "Fixed Y Axis Scaling";
inline constexpr const char* kYAxisOrientation = "Y Axis Orientation";
inline constexpr const char* kShowGrid = "Show Grid";
inline constexpr const char* kGridStyle = "Grid Style";

// Colours, as 0x00BBGGRR numbers in decimal.
inline constexpr const char* kBackgroundColor = "Background Color";
inline constexpr const char* kGridColor = "Grid Color";
inline constexpr const char* kPriceDataColor = "PriceData Color";
inline constexpr const char* kPriceLabelColor = "PriceLabel Color";
inline constexpr const char* kPriceUpCandleColor = "Price Up Candle Color";
inline constexpr const char* kPriceDownCandleColor = "Price Down Candle Color";
inline constexpr const char* kPriceBarColor = "Price Bar Color";
inline constexpr const char* kStudyDataColor = "Study Data Color %d";   // study type 0 .. 9
inline constexpr const char* kStudyLabelColor = "Study Label Color %d"; // study type 0 .. 9

// A numbered key: `pattern` with its "%d" replaced by `number`.
std::string Numbered(const char* pattern, int number);

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

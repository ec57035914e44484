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
inline constexpr const char* kShowLastPrice = "Show Last Price";
inline constexpr const char* kPriceBarShowHide = "Price Bar Show/Hide";
inline constexpr const char* kPtsIndex = "PTS INDEX";
inline constexpr const char* kScrollingByItems = "Scrolling by Items";
inline constexpr const char* kScrollingItems = "Scrolling By Items Not Percent";
inline constexpr const char* kScrollingPercent = "Scrolling by Percent";
inline constexpr const char* kFixedYAxisScaling = "Fixed Y Axis Scaling";
inline constexpr const char* kYAxisOrientation = "Y Axis Orientation";
inline constexpr const char* kShowGrid = "Show Grid";
inline constexpr const char* kGridStyle = "Grid Style";
inline constexpr const char* kPriceScale = "Price Scale"; // 0 linear, 1 logarithmic, 2 percent
// Up to three symbols compared over the price pane, comma separated.
inline constexpr const char* kCompareSymbols = "Compare Symbols";

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

// Upper studies over the price pane.
inline constexpr const char* kMAsShow = "MAs SHOW";
inline constexpr const char* kMovingAverageSelect = "Moving Average %d Select"; // 1 .. 3
inline constexpr const char* kMovingAveragePoints = "Moving Average %d Points"; // 1 .. 3
inline constexpr const char* kMovingAverageColor = "Moving Average %d Color";   // 1 .. 3
inline constexpr const char* kMovingAverageExponential = "Moving Average Exponential";
inline constexpr const char* kBBStudyShow = "BB STUDY SHOW";
inline constexpr const char* kBBColor = "BB Color";
inline constexpr const char* kBBAvgPeriod = "BB AVG PERIOD";
inline constexpr const char* kBBDeviations = "BB DIVIATIONS NUMBER";

// Lower studies: periods by study index, period choices, levels and line colours.
inline constexpr const char* kStudyAvgPeriod = "STUDY AVG PERIOD";
inline constexpr const char* kStudyCustomAvgPeriod = "STUDY CUSTOM AVG PERIOD";
inline constexpr const char* kRSIRadioSelect = "RSI Radio Select";
inline constexpr const char* kOBVRadioSelect = "OBV Radio Select";
inline constexpr const char* kMOMRadioSelect = "MOM Radio Select";
inline constexpr const char* kROCRadioSelect = "ROC Radio Select";
inline constexpr const char* kMACDRadioSelect = "MACD Radio Select";
inline constexpr const char* kMFRadioSelect = "MF Radio Select";
inline constexpr const char* kMFIRadioSelect = "MFI Radio Select";
inline constexpr const char* kADXRadioSelect = "ADX Radio Select";
inline constexpr const char* kSTORadioSelect = "STO Radio Select";
inline constexpr const char* kVolumeAverageAllData = "Volume Average All Data";
inline constexpr const char* kRSIUpperLevel = "RSI Upper Level";
inline constexpr const char* kRSILowerLevel = "RSI Lower Level";
inline constexpr const char* kRSIUpLevelColor = "RSI Up Level Color";
inline constexpr const char* kRSILowLevelColor = "RSI Low Level Color";
inline constexpr const char* kMomentumZeroColor = "Momentum zero Color";
inline constexpr const char* kROC100Color = "ROC 100% Color";
inline constexpr const char* kOBVZeroColor = "OBV zero Color";
inline constexpr const char* kMACDShortPeriod = "MACD Short Period";
inline constexpr const char* kMACDLongPeriod = "MACD Long Period";
inline constexpr const char* kMACDCustomShortPeriod = "MACD Custom Short Period";
inline constexpr const char* kMACDCustomLongPeriod = "MACD Custom Long Period";
inline constexpr const char* kMACDSignalLineColor = "MACD Signal Line Color";
inline constexpr const char* kMACDHistogramColor = "MACD Histogram Color";
inline constexpr const char* kSTOFast = "STO Fast";
inline constexpr const char* kSTOUpperLevel = "STO Upper Level";
inline constexpr const char* kSTOLowerLevel = "STO Lower Level";
inline constexpr const char* kSTOUpLevelColor = "STO Up Level Color";
inline constexpr const char* kSTOLowLevelColor = "STO Low Level Color";
inline constexpr const char* kSTODLineColor = "STO %D Line Color";
inline constexpr const char* kSTOKLineColor = "STO %K Line Color";
inline constexpr const char* kShowVolumeAverage = "Show Volume Average";
inline constexpr const char* kVolumeAverageColor = "VolumeAverage Color";
inline constexpr const char* kVolumeLabelColor = "VolumeLabel Color";
inline constexpr const char* kPositiveFlowLineColor = "Positive Flow Line Color";
inline constexpr const char* kNegativeFlowLineColor = "Negative Flow Line Color";
inline constexpr const char* kMFIUpperLevel = "MFI Upper Level";
inline constexpr const char* kMFILowerLevel = "MFI Lower Level";
inline constexpr const char* kMFIUpLevelColor = "MFI Up Level Color";
inline constexpr const char* kMFILowLevelColor = "MFI Low Level Color";
inline constexpr const char* kPositiveDIColor = "Positive Directional Indicator Color";
inline constexpr const char* kNegativeDIColor = "Negative Directional Indicator Color";

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

#include "core/setting_keys.h"

#include "core/trend_kinds.h"

std::string keys::Numbered(const char* pattern, int number) {
    std::string key = pattern;
    const std::size_t at = key.find("%d");
    if (at != std::string::npos) {
        key.replace(at, 2, std::to_string(number));
    }
    return key;
}

namespace {

// Numbered keys own their texts; the table points into them.
std::vector<SSettingKey> NumberedKeys() {
    using namespace keys;
    static std::vector<std::string> texts;
    static std::vector<std::string> defaults;
    std::vector<std::pair<std::string, std::string>> made;
    for (int p = 0; p <= 10; ++p) {
        made.emplace_back(Numbered(kTypeOfStudyChart, p), "6");
        made.emplace_back(Numbered(kChartMinimized, p), "0");
    }
    for (int p = 0; p <= 11; ++p) {
        made.emplace_back(Numbered(kTopOfChart, p), p == 0 ? "0" : (p == 1 ? "0.66" : "-1"));
    }
    for (int study = 0; study <= 9; ++study) {
        made.emplace_back(Numbered(kStudyDataColor, study), "0");
        made.emplace_back(Numbered(kStudyLabelColor, study), "0");
    }
    const char* averagePoints[] = {"5", "10", "15"};
    const char* averageColors[] = {"255", "16711680", "65535"};
    for (int average = 1; average <= 3; ++average) {
        made.emplace_back(Numbered(kMovingAverageSelect, average), "1");
        made.emplace_back(Numbered(kMovingAveragePoints, average), averagePoints[average - 1]);
        made.emplace_back(Numbered(kMovingAverageColor, average), averageColors[average - 1]);
    }
    for (const STrendKindInfo& kind : TrendKindTable()) {
        made.emplace_back(TrendColorKey(kind.kind), std::to_string(kind.defaultColor));
        made.emplace_back(TrendWidthKey(kind.kind), std::to_string(kind.defaultWidth));
        made.emplace_back(TrendExtendableKey(kind.kind), kind.defaultExtendable ? "1" : "0");
    }
    texts.reserve(made.size());
    defaults.reserve(made.size());
    std::vector<SSettingKey> result;
    for (auto& [key, value] : made) {
        texts.push_back(std::move(key));
        defaults.push_back(std::move(value));
        result.push_back({texts.back().c_str(), defaults.back().c_str(), true});
    }
    return result;
}

} // namespace

const std::vector<SSettingKey>& AllSettingKeys() {
    using namespace keys;
    static const std::vector<SSettingKey> all = [] {
        std::vector<SSettingKey> table = {
            {kCurrentSymbol, "", true},
            {kSymbols, "", true},
            {kRequestDataType, "0", true},
            {kRequestIntervalIndex, "0", true},
            {kCandlePriceChartStyle, "1", true},
            {kSearchType, "0", true},
            {kApplicationLook, "Fusion", true},

            {kRequestType, "0", true},
            {kRequestUseExchangeFormat, "true", true},
            {kRequestEnableExtendedTrades, "0,0,0,0,0", true},
            {kRequestRecentType, "0,3,6,8,9", true},
            {kRequestDatapoints, "10000,10000,10000,10000,10000", true},
            {kRequestDays, "1,0,1,0,0", true},
            {kRequestFilterOn, "false,false,false,false,false", true},
            {kRequestBeginDate, "", true},
            {kRequestBeginTime, "", true},
            {kRequestBeginFilterTime, "", true},
            {kRequestEndDate, "", true},
            {kRequestEndTime, "", true},
            {kRequestEndFilterTime, "", true},

            {kNumberOfStudyCharts, "1", true},
            {kMaximizedChartIndex, "999", true},
            {kShowPriceBar, "1", true},
            {kShowLastPrice, "0", true},
            {kPriceBarShowHide, "false", true},
            {kPtsIndex, "3", true},
            {kScrollingByItems, "true", true},
            {kScrollingItems, "1", true},
            {kScrollingPercent, "20", true},
            {kFixedYAxisScaling, "false", true},
            {kYAxisOrientation, "false", true},
            {kShowGrid, "1", true},
            {kGridStyle, "0", true},
            {kPriceScale, "0", true},
            {kCompareSymbols, "", true},

            {kBackgroundColor, "16777215", true},
            {kGridColor, "12632256", true},
            {kPriceDataColor, "0", true},
            {kPriceLabelColor, "0", true},
            {kPriceUpCandleColor, "65280", true},
            {kPriceDownCandleColor, "255", true},
            {kPriceBarColor, "12632256", true},

            {kMAsShow, "0", true},
            {kMovingAverageExponential, "0", true},
            {kBBStudyShow, "0", true},
            {kBBColor, "13553358", true},
            {kBBAvgPeriod, "20", true},
            {kBBDeviations, "2.0", true},

            {kStudyAvgPeriod, "21,20,20,9,18,5,10,14,14,14", true},
            {kStudyCustomAvgPeriod, "21,20,20,9,18,5,500,9,9,10", true},
            {kRSIRadioSelect, "1", true},
            {kOBVRadioSelect, "1", true},
            {kMOMRadioSelect, "1", true},
            {kROCRadioSelect, "1", true},
            {kMACDRadioSelect, "1", true},
            {kMFRadioSelect, "1", true},
            {kMFIRadioSelect, "1", true},
            {kADXRadioSelect, "1", true},
            {kSTORadioSelect, "0", true},
            {kVolumeAverageAllData, "1", true},
            {kRSIUpperLevel, "70", true},
            {kRSILowerLevel, "30", true},
            {kRSIUpLevelColor, "14204888", true},
            {kRSILowLevelColor, "9221330", true},
            {kMomentumZeroColor, "14269322", true},
            {kROC100Color, "12270022", true},
            {kOBVZeroColor, "16777215", true},
            {kMACDShortPeriod, "8", true},
            {kMACDLongPeriod, "17", true},
            {kMACDCustomShortPeriod, "38", true},
            {kMACDCustomLongPeriod, "78", true},
            {kMACDSignalLineColor, "12615935", true},
            {kMACDHistogramColor, "11829830", true},
            {kSTOFast, "0", true},
            {kSTOUpperLevel, "80", true},
            {kSTOLowerLevel, "20", true},
            {kSTOUpLevelColor, "14204888", true},
            {kSTOLowLevelColor, "9221330", true},
            {kSTODLineColor, "8388863", true},
            {kSTOKLineColor, "0", true},
            {kShowVolumeAverage, "1", true},
            {kVolumeAverageColor, "255", true},
            {kVolumeLabelColor, "0", true},
            {kPositiveFlowLineColor, "11829830", true},
            {kNegativeFlowLineColor, "255", true},
            {kMFIUpperLevel, "80", true},
            {kMFILowerLevel, "20", true},
            {kMFIUpLevelColor, "14204888", true},
            {kMFILowLevelColor, "9221330", true},
            {kPositiveDIColor, "11829830", true},
            {kNegativeDIColor, "255", true},
        };
        for (const SSettingKey& key : NumberedKeys()) {
            table.push_back(key);
        }
        return table;
    }();
    return all;
}

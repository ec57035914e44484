#include "core/setting_keys.h"

const std::vector<SSettingKey>& AllSettingKeys() {
    using namespace keys;
    static const std::vector<SSettingKey> all = {
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
    };
    return all;
}

#include "app/settings.h"

// Every key of the settings table with its default text and whether it is mirrored into the
// settings file. Lists hold one element per data type: Ticks, Intervals, Days, Weeks, Months.
const std::vector<SSettingKey>& AllSettingKeys() {
    static const std::vector<SSettingKey> keys = {
        // The main frame and its ribbon.
        {"CurrentSymbol", "", true},
        {"Symbols", "", true},
        {"RequestDataType", "0", true},
        {"RequestIntervalIndex", "0", true},
        {"Candle Price Chart Style", "1", true},
        {"Search Type", "0", true},
        {"ApplicationLook", "Fusion", true},

        // What a history request asks for.
        {"RequestType", "0", true},
        {"RequestUseExchangeFormat", "true", true},
        {"RequestEnableExtendedTrades", "0,0,0,0,0", true},
        {"RequestRecentType", "0,3,6,8,9", true},
        {"RequestDatapoints", "10000,10000,10000,10000,10000", true},
        {"RequestDays", "1,0,1,0,0", true},
        {"RequestFilterOn", "false,false,false,false,false", true},
        {"RequestBeginDate", "", true},
        {"RequestBeginTime", "", true},
        {"RequestBeginFilterTime", "", true},
        {"RequestEndDate", "", true},
        {"RequestEndTime", "", true},
        {"RequestEndFilterTime", "", true},
    };
    return keys;
}

#pragma once

#include "core/data_types.h"

#include <string>
#include <vector>

class CSettings;
class IPrompt;

// What a history request asks for, one element per data type (Ticks, Intervals, Days, Weeks,
// Months), as loaded from the settings table. Lists read from the table may hold fewer than five
// elements; the accessors throw CInvalidArgException for an element that is not there.
struct SRequestSettings {
    std::vector<int> recentType;              // "RequestRecentType": the request kind, 0-9
    std::vector<int> datapoints;              // "RequestDatapoints"
    std::vector<int> days;                    // "RequestDays"
    std::vector<bool> filterOn;               // "RequestFilterOn"
    std::vector<bool> extendedTrades;         // "RequestEnableExtendedTrades"
    std::vector<std::string> beginDate;       // yyyymmdd
    std::vector<std::string> endDate;         // yyyymmdd
    std::vector<std::string> beginTime;       // hhmmss
    std::vector<std::string> endTime;         // hhmmss
    std::vector<std::string> beginFilterTime; // hhmmss
    std::vector<std::string> endFilterTime;   // hhmmss
    bool useExchangeFormat = true;            // "RequestUseExchangeFormat"

    // Reads every list. Date lists are padded to five elements with `today` ("yyyymmdd"), begin
    // times with "093000", end times with "160000"; integer and flag lists keep at most five.
    void Load(const CSettings& settings, const std::string& today);
    // The same with today's local date.
    void Load(const CSettings& settings);
    // Writes every list back, comma-joined in the same order. A refused write is told through
    // `prompt` (when given); returns false when any write failed.
    bool Save(CSettings& settings, IPrompt* prompt = nullptr) const;

    int RecentType(int dataType) const;
    int Datapoints(int dataType) const;
    int Days(int dataType) const;
    bool FilterOn(int dataType) const;
    bool ExtendedTrades(int dataType) const;
    const std::string& BeginDate(int dataType) const;
    const std::string& EndDate(int dataType) const;
    const std::string& BeginTime(int dataType) const;
    const std::string& EndTime(int dataType) const;
    const std::string& BeginFilterTime(int dataType) const;
    const std::string& EndFilterTime(int dataType) const;

    // Today's local date as "%04d%02d%02d".
    static std::string TodayText();
};

#pragma once

#include <array>
#include <string_view>

// The five data types a chart loads, by their "RequestDataType" value, and the eleven bar
// intervals, by their "RequestIntervalIndex" value. The ribbon, the command line, the history
// requests and the export mode all read these tables.

enum EDataType : int { kTicks = 0, kIntervals = 1, kDays = 2, kWeeks = 3, kMonths = 4 };
inline constexpr int kDataTypeCount = 5;

struct SDataTypeChoice {
    const char* name; // the request type combo's text: "Tick" ... "Monthly"
    int dataType;
};
const std::array<SDataTypeChoice, kDataTypeCount>& DataTypeTable();

struct SIntervalChoice {
    const char* name; // "1-Minute" ... "2-Hour"
    int minutes;
};
inline constexpr int kIntervalCount = 11;
const std::array<SIntervalChoice, kIntervalCount>& IntervalTable();

// The interval's length in seconds; an index outside the table throws CInvalidArgException.
int IntervalSeconds(int index);
// Position of the data type or interval whose name matches `name` ignoring case; -1 when none.
int FindDataType(std::string_view name);
int FindInterval(std::string_view name);

#include "core/data_types.h"

#include "base/error.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace {

bool EqualNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

template <typename Table> int FindByName(const Table& table, std::string_view name) {
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (EqualNoCase(table[i].name, name)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

} // namespace

const std::array<SDataTypeChoice, kDataTypeCount>& DataTypeTable() {
    static const std::array<SDataTypeChoice, kDataTypeCount> table = {{
        {"Tick", kTicks},
        {"Minute", kIntervals},
        {"Daily", kDays},
        {"Weekly", kWeeks},
        {"Monthly", kMonths},
    }};
    return table;
}

const std::array<SIntervalChoice, kIntervalCount>& IntervalTable() {
    static const std::array<SIntervalChoice, kIntervalCount> table = {{
        {"1-Minute", 1},
        {"2-Minute", 2},
        {"3-Minute", 3},
        {"4-Minute", 4},
        {"5-Minute", 5},
        {"10-Minute", 10},
        {"15-Minute", 15},
        {"30-Minute", 30},
        {"45-Minute", 45},
        {"1-Hour", 60},
        {"2-Hour", 120},
    }};
    return table;
}

int IntervalSeconds(int index) {
    if (index < 0) {
        throw CInvalidArgException("interval index " + std::to_string(index) + " is not valid");
    }
    return ElementAt(IntervalTable(), static_cast<std::size_t>(index)).minutes * 60;
}

int FindDataType(std::string_view name) {
    return FindByName(DataTypeTable(), name);
}

int FindInterval(std::string_view name) {
    return FindByName(IntervalTable(), name);
}

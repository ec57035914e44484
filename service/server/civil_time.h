#pragma once

// Conversions between days since 1970-01-01 and proleptic Gregorian calendar dates.

#include <cstdint>

namespace portico {

struct CivilDate {
    int year = 1970;
    int month = 1; // 1-12
    int day = 1;   // 1-31
};

constexpr std::int32_t DaysFromCivil(int year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    const int era = (year >= 0 ? year : year - 399) / 400;
    const int yoe = year - era * 400;
    const int doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

constexpr CivilDate CivilFromDays(std::int32_t days) {
    days += 719468;
    const int era = (days >= 0 ? days : days - 146096) / 146097;
    const int doe = days - era * 146097;
    const int yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int mp = (5 * doy + 2) / 153;
    const int day = doy - (153 * mp + 2) / 5 + 1;
    const int month = mp < 10 ? mp + 3 : mp - 9;
    return CivilDate{yoe + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

// 0 = Monday ... 6 = Sunday.
constexpr int WeekdayFromDays(std::int32_t days) {
    const int w = static_cast<int>((days % 7 + 7 + 3) % 7);
    return w;
}

} // namespace portico

#pragma once

// Civil calendar arithmetic on days since 1970-01-01.

#include <cstdint>

namespace portico::detail {

struct CivilDate {
    int year = 1970;
    int month = 1; // 1..12
    int day = 1;   // 1..31
};

inline CivilDate CivilFromDays(std::int32_t days) {
    const std::int64_t z = static_cast<std::int64_t>(days) + 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const std::int64_t doe = z - era * 146097;
    const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const std::int64_t mp = (5 * doy + 2) / 153;
    const std::int64_t d = doy - (153 * mp + 2) / 5 + 1;
    const std::int64_t m = mp < 10 ? mp + 3 : mp - 9;
    const std::int64_t y = yoe + era * 400 + (m <= 2 ? 1 : 0);
    return {static_cast<int>(y), static_cast<int>(m), static_cast<int>(d)};
}

constexpr std::int32_t DaysFromCivil(int year, int month, int day) {
    const std::int64_t y = static_cast<std::int64_t>(year) - (month <= 2 ? 1 : 0);
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yoe = y - era * 400;
    const std::int64_t mp = month > 2 ? month - 3 : month + 9;
    const std::int64_t doy = (153 * mp + 2) / 5 + day - 1;
    const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return static_cast<std::int32_t>(era * 146097 + doe - 719468);
}

// 0 Monday .. 6 Sunday.
inline int Weekday(std::int32_t days) {
    const int r = static_cast<int>((static_cast<std::int64_t>(days) + 3) % 7);
    return r < 0 ? r + 7 : r;
}

inline bool IsWeekend(std::int32_t days) {
    return Weekday(days) >= 5;
}

} // namespace portico::detail

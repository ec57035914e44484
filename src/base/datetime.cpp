#include "base/datetime.h"

#include <chrono>
#include <cmath>

namespace {

constexpr int kMinYear = 100;
constexpr int kMaxYear = 9999;
constexpr std::int64_t kSecondsPerDay = 86400;
// 1899-12-30 as days since 1970-01-01.
constexpr std::int64_t kEpochOffset = -25569;

std::int64_t CivilToUnixDays(int year, int month, int day) {
    using namespace std::chrono;
    const sys_days days{std::chrono::year{year} / std::chrono::month{static_cast<unsigned>(month)} /
                        std::chrono::day{static_cast<unsigned>(day)}};
    return days.time_since_epoch().count();
}

} // namespace

std::int64_t CDateTime::DayNumber(int year, int month, int day) {
    return CivilToUnixDays(year, month, day) - kEpochOffset;
}

CDateTime::Status CDateTime::SetDateTime(int year, int month, int day, int hour, int minute,
                                         int second) {
    m_days = 0.0;
    m_status = Status::Invalid;
    // Out-of-range parts would not survive the round trip either; rejecting them first keeps
    // the chrono types inside their documented ranges.
    if (year < kMinYear || year > kMaxYear || month < 1 || month > 12 || day < 1 || day > 31 ||
        hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) {
        return m_status;
    }
    const std::int64_t dayNumber = DayNumber(year, month, day);
    const double fraction = static_cast<double>(hour * 3600 + minute * 60 + second) /
                            static_cast<double>(kSecondsPerDay);
    const double days = static_cast<double>(dayNumber);
    m_days = dayNumber < 0 ? days - fraction : days + fraction;
    m_status = Status::Valid;

    SDateTimeFields back;
    const SDateTimeFields wanted{year, month, day, hour, minute, second};
    if (!GetFields(back) || !(back == wanted)) {
        m_status = Status::Invalid;
    }
    return m_status;
}

bool CDateTime::GetFields(SDateTimeFields& out) const {
    if (m_status != Status::Valid || !std::isfinite(m_days)) {
        return false;
    }
    // Representable range: 0100-01-01 to 9999-12-31 23:59:59.
    constexpr double kLowest = -657434.0;
    constexpr double kHighest = 2958466.0;
    if (m_days <= kLowest - 1.0 || m_days >= kHighest) {
        return false;
    }
    std::int64_t dayNumber = static_cast<std::int64_t>(std::trunc(m_days));
    const double fraction = std::fabs(m_days - static_cast<double>(dayNumber));
    std::int64_t seconds = std::llround(fraction * static_cast<double>(kSecondsPerDay));
    if (seconds >= kSecondsPerDay) {
        seconds -= kSecondsPerDay;
        ++dayNumber;
    }
    using namespace std::chrono;
    const year_month_day ymd{sys_days{days{dayNumber + kEpochOffset}}};
    out.year = static_cast<int>(ymd.year());
    out.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
    out.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
    out.hour = static_cast<int>(seconds / 3600);
    out.minute = static_cast<int>((seconds % 3600) / 60);
    out.second = static_cast<int>(seconds % 60);
    return out.year >= kMinYear && out.year <= kMaxYear;
}

CDateTime CDateTime::FromFields(int year, int month, int day, int hour, int minute, int second) {
    if (year < kMinYear || year > kMaxYear || month < 1 || month > 12 || day < 1 || hour < 0 ||
        hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) {
        return CDateTime(0.0, Status::Invalid);
    }
    static constexpr int kMonthDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const int monthDays = month == 2 && leap ? 29 : kMonthDays[month - 1];
    if (day > monthDays) {
        return CDateTime(0.0, Status::Invalid);
    }
    // Days from the civil calendar, counted from 0000-03-01 in 400-year eras (years >= 100, so
    // every era here is non-negative).
    const int y = year - (month <= 2 ? 1 : 0);
    const int era = y / 400;
    const int yearOfEra = y - era * 400;
    const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    const std::int64_t unixDays = static_cast<std::int64_t>(era) * 146097 + dayOfEra - 719468;
    const std::int64_t dayNumber = unixDays - kEpochOffset;
    // The same arithmetic as SetDateTime, so both give the identical value.
    const double fraction = static_cast<double>(hour * 3600 + minute * 60 + second) /
                            static_cast<double>(kSecondsPerDay);
    const double days = static_cast<double>(dayNumber);
    return CDateTime(dayNumber < 0 ? days - fraction : days + fraction, Status::Valid);
}

int CDateTime::GetSecondsOfDay() const {
    if (m_status != Status::Valid || !std::isfinite(m_days) || m_days <= -657435.0 ||
        m_days >= 2958466.0) {
        return -1;
    }
    const double fraction = std::fabs(m_days - std::trunc(m_days));
    std::int64_t seconds = std::llround(fraction * static_cast<double>(kSecondsPerDay));
    if (seconds >= kSecondsPerDay) {
        seconds -= kSecondsPerDay;
    }
    return static_cast<int>(seconds);
}

int CDateTime::GetDayOfWeek() const {
    SDateTimeFields fields;
    if (!GetFields(fields)) {
        return -1;
    }
    using namespace std::chrono;
    const weekday wd{sys_days{days{CivilToUnixDays(fields.year, fields.month, fields.day)}}};
    return static_cast<int>(wd.c_encoding()) + 1;
}

double CDateTime::Linear() const {
    // Below half a second before the epoch the fraction counts downwards from the day number;
    // mirror it so that the line runs forwards.
    constexpr double kHalfSecond = 0.5 / 86400.0;
    if (m_days >= -kHalfSecond) {
        return m_days;
    }
    const double day = std::trunc(m_days);
    return day + (day - m_days);
}

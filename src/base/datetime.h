#pragma once

#include <cstdint>

// Calendar fields of a date-time, to the second.
struct SDateTimeFields {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;

    friend bool operator==(const SDateTimeFields&, const SDateTimeFields&) = default;
};

// A point in local time as a count of days since 1899-12-30 00:00:00, the fraction being the time
// of day, plus a status. Days before the epoch keep the time of day as a positive fraction below
// the (negative) day number, so -1.25 is 1899-12-29 06:00:00. Years 100 to 9999 can be held.
//
// A value built from calendar fields is valid only when converting it back gives the same
// fields: 30 February, hour 24 or a date of zero all come out invalid.
class CDateTime {
public:
    enum class Status : std::int32_t { Valid = 0, Invalid = 1 };

    CDateTime() = default;
    explicit CDateTime(double days, Status status = Status::Valid)
        : m_days(days), m_status(status) {}
    CDateTime(int year, int month, int day, int hour, int minute, int second) {
        SetDateTime(year, month, day, hour, minute, second);
    }

    // Builds the value from calendar fields and applies the validity rule; returns the status.
    Status SetDateTime(int year, int month, int day, int hour, int minute, int second);
    Status SetDate(int year, int month, int day) { return SetDateTime(year, month, day, 0, 0, 0); }

    // Splits the value into calendar fields (rounded to the nearest second); false when the
    // value is invalid or out of the representable range.
    bool GetFields(SDateTimeFields& out) const;

    int GetYear() const { return Field(&SDateTimeFields::year); }
    int GetMonth() const { return Field(&SDateTimeFields::month); }
    int GetDay() const { return Field(&SDateTimeFields::day); }
    int GetHour() const { return Field(&SDateTimeFields::hour); }
    int GetMinute() const { return Field(&SDateTimeFields::minute); }
    int GetSecond() const { return Field(&SDateTimeFields::second); }
    // 1 = Sunday ... 7 = Saturday; -1 when invalid.
    int GetDayOfWeek() const;

    double Days() const { return m_days; }
    Status GetStatus() const { return m_status; }
    bool IsValid() const { return m_status == Status::Valid; }
    void SetStatus(Status status) { m_status = status; }

    // Comparisons order by point in time: values before the epoch are mirrored about their
    // whole day so that a later time always compares greater.
    friend bool operator==(const CDateTime& a, const CDateTime& b) {
        return a.Linear() == b.Linear();
    }
    friend bool operator<(const CDateTime& a, const CDateTime& b) {
        return a.Linear() < b.Linear();
    }
    friend bool operator>(const CDateTime& a, const CDateTime& b) { return b < a; }
    friend bool operator<=(const CDateTime& a, const CDateTime& b) { return !(b < a); }
    friend bool operator>=(const CDateTime& a, const CDateTime& b) { return !(a < b); }

    // Days since 1899-12-30 of a calendar date, without any checking (proleptic Gregorian).
    static std::int64_t DayNumber(int year, int month, int day);

    // The same value and status as the calendar-field constructor, computed by plain arithmetic
    // instead of the round trip through the calendar types; for parsing many time stamps.
    static CDateTime FromFields(int year, int month, int day, int hour, int minute, int second);
    // Seconds since midnight (0-86399) as the calendar fields give them; -1 when invalid.
    int GetSecondsOfDay() const;

private:
    int Field(int SDateTimeFields::*member) const {
        SDateTimeFields fields;
        return GetFields(fields) ? fields.*member : -1;
    }
    // The value on a continuous time line (days), for ordering.
    double Linear() const;

    double m_days = 0.0;
    Status m_status = Status::Valid;
};

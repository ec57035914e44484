#include "history/point_time.h"

#include <fmt/format.h>

#include <charconv>

namespace {

// Reads exactly `digits` decimal digits at `pos`; -1 when they are not there.
int ReadDigits(std::string_view text, std::size_t pos, std::size_t digits) {
    if (pos + digits > text.size()) {
        return -1;
    }
    int value = 0;
    for (std::size_t i = pos; i < pos + digits; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return -1;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

} // namespace

std::string FormatPointTime(const SPointTime& time, bool withMicroseconds) {
    SDateTimeFields fields;
    if (!time.time.IsValid() || !time.time.GetFields(fields)) {
        return {};
    }
    std::string text = fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", fields.year, fields.month,
                                   fields.day, fields.hour, fields.minute, fields.second);
    if (withMicroseconds) {
        text += fmt::format(".{:06}", time.microseconds);
    }
    return text;
}

std::optional<SPointTime> ParsePointTime(std::string_view text) {
    const int year = ReadDigits(text, 0, 4);
    const int month = ReadDigits(text, 5, 2);
    const int day = ReadDigits(text, 8, 2);
    if (year < 0 || month < 0 || day < 0 || text[4] != '-' || text[7] != '-') {
        return std::nullopt;
    }
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::int32_t microseconds = 0;
    if (text.size() > 10) {
        hour = ReadDigits(text, 11, 2);
        minute = ReadDigits(text, 14, 2);
        second = ReadDigits(text, 17, 2);
        if (text[10] != ' ' || hour < 0 || minute < 0 || second < 0 || text[13] != ':' ||
            text[16] != ':') {
            return std::nullopt;
        }
        if (text.size() > 19) {
            const std::size_t digits = text.size() - 20;
            if (text[19] != '.' || digits < 1 || digits > 6) {
                return std::nullopt;
            }
            microseconds = ReadDigits(text, 20, digits);
            if (microseconds < 0) {
                return std::nullopt;
            }
            for (std::size_t i = digits; i < 6; ++i) {
                microseconds *= 10;
            }
        }
    }
    SPointTime time;
    if (time.time.SetDateTime(year, month, day, hour, minute, second) != CDateTime::Status::Valid) {
        return std::nullopt;
    }
    time.microseconds = microseconds;
    return time;
}

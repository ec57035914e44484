#include "chart/chart_labels.h"

#include "core/data_types.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

std::string ClockText(const SDateTimeFields& f) {
    return fmt::format("{:02}:{:02}:{:02}", f.hour, f.minute, f.second);
}

std::string CalendarText(const SDateTimeFields& f) {
    return fmt::format("{:04}/{:02}/{:02}", f.year, f.month, f.day);
}

} // namespace

std::string FormatScaled(double value) {
    if (value == 0.0) {
        return "0";
    }
    if (!std::isfinite(value)) {
        return "";
    }
    // log10 of a finite double lies within about +-324, so the conversion is defined.
    const int e = static_cast<int>(std::trunc(std::log10(std::fabs(value))));
    if (e < 0) {
        return "0";
    }
    const int g = e / 3;
    const int decimals = 3 * g - e + 2;
    switch (g) {
    case 0:
        return fmt::format("{:.{}f}", value, decimals);
    case 1:
        return fmt::format("{:.{}f}K", value / 1e3, decimals);
    case 2:
        return fmt::format("{:.{}f}M", value / 1e6, decimals);
    case 3:
        return fmt::format("{:.{}f}B", value / 1e9, decimals);
    case 4:
        return fmt::format("{:.{}f}T", value / 1e12, decimals);
    default:
        return "";
    }
}

std::string TimeLabel(const CDateTime& time, int microseconds, int dataType,
                      bool withMicroseconds) {
    if (dataType < kTicks || dataType > kMonths) {
        return "00:00:00";
    }
    SDateTimeFields fields;
    if (!time.GetFields(fields)) {
        return "";
    }
    switch (dataType) {
    case kTicks:
        if (withMicroseconds) {
            return fmt::format("{}.{:06}", ClockText(fields), microseconds);
        }
        return ClockText(fields);
    case kIntervals:
        return ClockText(fields);
    default:
        return CalendarText(fields);
    }
}

std::string TimeLabel(const sTICK& point, int dataType, bool withMicroseconds) {
    return TimeLabel(point.time, point.microseconds, dataType, withMicroseconds);
}

std::string DateText(const CDateTime& time) {
    SDateTimeFields fields;
    return time.GetFields(fields) ? CalendarText(fields) : std::string();
}

std::string DateMinutesText(const CDateTime& time) {
    SDateTimeFields fields;
    return time.GetFields(fields) ? ClockText(fields) + " min" : std::string();
}

int DateLabelIndex(int index, int count) {
    int clamped = std::max(index, 1);
    clamped = std::min(clamped, count - 1);
    return clamped < 0 ? -1 : clamped;
}

std::string DateLabel(std::span<const CDateTime> times, int index) {
    const int at = DateLabelIndex(index, static_cast<int>(times.size()));
    return at < 0 ? std::string() : DateText(times[static_cast<std::size_t>(at)]);
}

std::string DateMinutesLabel(std::span<const CDateTime> times, int index) {
    const int at = DateLabelIndex(index, static_cast<int>(times.size()));
    return at < 0 ? std::string() : DateMinutesText(times[static_cast<std::size_t>(at)]);
}

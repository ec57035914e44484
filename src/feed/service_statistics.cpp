#include "feed/service_statistics.h"

#include "base/fields.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::size_t kStatsFields = 21;

std::uint32_t ToUnsigned(std::string_view field) {
    const std::string text(field);
    return static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
}

double ToDouble(std::string_view field) {
    const std::string text(field);
    return std::strtod(text.c_str(), nullptr);
}

int CurrentYear() {
    const auto today = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
    return static_cast<int>(std::chrono::year_month_day(today).year());
}

// Reads one or two decimal digits at `pos`; -1 when there are none.
int ReadNumber(std::string_view text, std::size_t& pos) {
    int value = -1;
    for (int digits = 0; digits < 2 && pos < text.size() && text[pos] >= '0' && text[pos] <= '9';
         ++digits) {
        value = (value < 0 ? 0 : value * 10) + (text[pos++] - '0');
    }
    return value;
}

} // namespace

CDateTime ParseServiceTime(const std::string& text) {
    static constexpr std::array<std::string_view, 12> kMonths = {
        "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const CDateTime invalid(0.0, CDateTime::Status::Invalid);
    const std::string_view view(text);
    if (view.size() < 4 || view[3] != ' ') {
        return invalid;
    }
    int month = 0;
    for (std::size_t i = 0; i < kMonths.size(); ++i) {
        if (view.substr(0, 3) == kMonths[i]) {
            month = static_cast<int>(i) + 1;
        }
    }
    std::size_t pos = 4;
    const int day = ReadNumber(view, pos);
    if (month == 0 || day < 0 || pos >= view.size() || view[pos++] != ' ') {
        return invalid;
    }
    int hour = ReadNumber(view, pos);
    if (hour < 1 || hour > 12 || pos >= view.size() || view[pos++] != ':') {
        return invalid;
    }
    const std::size_t minuteStart = pos;
    const int minute = ReadNumber(view, pos);
    const std::string_view meridiem = view.substr(pos);
    if (minute < 0 || pos - minuteStart != 2 || (meridiem != "AM" && meridiem != "PM")) {
        return invalid;
    }
    hour = hour % 12 + (meridiem == "PM" ? 12 : 0);
    return CDateTime(CurrentYear(), month, day, hour, minute, 0);
}

bool SServiceStatistics::Parse(const std::string& line) {
    const std::vector<std::string_view> fields = SplitFields(line);
    if (fields.size() < kStatsFields || fields[1] != "STATS") {
        return false;
    }
    serverAddress = std::string(fields[2]);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        counts[i] = ToUnsigned(fields[3 + i]);
    }
    times[0] = ParseServiceTime(std::string(fields[10]));
    times[1] = ParseServiceTime(std::string(fields[11]));
    status = std::string(fields[12]);
    texts[0] = std::string(fields[13]);
    texts[1] = std::string(fields[14]);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        numbers[i] = ToDouble(fields[15 + i]);
    }
    valid = true;
    return true;
}

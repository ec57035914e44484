#include "history/request_settings_check.h"

#include "core/data_types.h"
#include "core/settings.h"
#include "history/history_request.h"

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <charconv>
#include <vector>

namespace {

constexpr const char* kDataPage = "on the Data page of \"Chart Settings...\"";
constexpr std::array<const char*, kDataTypeCount> kTypeNames = {"Ticks", "Intervals", "Days",
                                                                "Weeks", "Months"};
// The largest count a request sends.
constexpr long long kMaxCount = 2'147'483'647;

// A stored text as the user can find it in the file: quoted, control characters escaped, long
// texts cut.
std::string Quoted(const std::string& text) {
    constexpr std::size_t kLongest = 40;
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size() && i < kLongest; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20 || c == 0x7f) {
            out += fmt::format("\\x{:02x}", c);
        } else {
            out += static_cast<char>(c);
        }
    }
    out += text.size() > kLongest ? "...\"" : "\"";
    return out;
}

// The whole text as a whole number (blanks around it allowed); none otherwise.
std::optional<long long> WholeNumber(const std::string& text) {
    std::size_t first = 0;
    std::size_t last = text.size();
    while (first < last && std::isspace(static_cast<unsigned char>(text[first])) != 0) {
        ++first;
    }
    while (last > first && std::isspace(static_cast<unsigned char>(text[last - 1])) != 0) {
        --last;
    }
    if (first < last && text[first] == '+') {
        ++first;
    }
    long long value = 0;
    const char* begin = text.data() + first;
    const char* end = text.data() + last;
    const auto result = std::from_chars(begin, end, value);
    if (begin == end || result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

class CChecker {
public:
    explicit CChecker(const CSettings& settings) : m_settings(settings) {}

    // The data type's element of the list `key`; a problem when the list has none.
    std::optional<std::string> Element(const char* key, int dataType) {
        const std::vector<std::string> items = m_settings.GetList(key);
        if (static_cast<std::size_t>(dataType) < items.size()) {
            return items[static_cast<std::size_t>(dataType)];
        }
        const std::string count =
            items.size() == 1 ? "1 value" : fmt::format("{} values", items.size());
        Fail(key, fmt::format("{} has no value for {}: it holds {} ({}), one is needed for each "
                              "of Ticks, Intervals, Days, Weeks and Months",
                              key, kTypeNames[static_cast<std::size_t>(dataType)], count,
                              Quoted(m_settings.GetText(key))));
        return std::nullopt;
    }

    // The data type's element of `key` as a number from `low` to `high`.
    std::optional<long long> Number(const char* key, int dataType, long long low, long long high,
                                    const std::string& range) {
        const std::optional<std::string> text = Element(key, dataType);
        return text ? InRange(key, *text, dataType, low, high, range) : std::nullopt;
    }

    // An element of a list that a shorter list pads: only an element that is there must be a
    // number.
    bool PaddedNumber(const char* key, int dataType) {
        const std::vector<std::string> items = m_settings.GetList(key);
        if (static_cast<std::size_t>(dataType) >= items.size()) {
            return true;
        }
        return InRange(key, items[static_cast<std::size_t>(dataType)], dataType, 0, 99'999'999,
                       "0 to 99999999, a date yyyymmdd or a time hhmmss")
            .has_value();
    }

    // A single value setting as a number from `low` to `high`.
    std::optional<long long> Single(const char* key, long long low, long long high,
                                    const std::string& range, const char* place) {
        const std::string text = m_settings.GetText(key);
        const std::optional<long long> value = WholeNumber(text);
        if (value && *value >= low && *value <= high) {
            return value;
        }
        Fail(key, fmt::format("{} is {}, not one of {}", key, Quoted(text), range), place);
        return std::nullopt;
    }

    std::optional<SRequestSettingProblem> Problem() const { return m_problem; }
    bool Failed() const { return m_problem.has_value(); }

private:
    std::optional<long long> InRange(const char* key, const std::string& text, int dataType,
                                     long long low, long long high, const std::string& range) {
        const std::string what =
            fmt::format("the {} value of {}, {},", kTypeNames[static_cast<std::size_t>(dataType)],
                        key, Quoted(text));
        const std::optional<long long> value = WholeNumber(text);
        if (!value) {
            Fail(key, what + " is not a number");
            return std::nullopt;
        }
        if (*value < low || *value > high) {
            Fail(key, fmt::format("{} is out of range ({})", what, range));
            return std::nullopt;
        }
        return value;
    }

    void Fail(const char* key, std::string reason, const char* place = kDataPage) {
        if (!m_problem) {
            m_problem = SRequestSettingProblem{key, std::move(reason), place};
        }
    }

    const CSettings& m_settings;
    std::optional<SRequestSettingProblem> m_problem;
};

// The data type whose elements a request kind reads.
int DataTypeOfKind(long long kind) {
    if (kind <= kTicksDateRange) {
        return kTicks;
    }
    if (kind <= kIntervalsDateRange) {
        return kIntervals;
    }
    if (kind <= kDaysDateRange) {
        return kDays;
    }
    return kind == kWeeksDatapoints ? kWeeks : kMonths;
}

} // namespace

std::optional<SRequestSettingProblem> FindRequestSettingProblem(const CSettings& settings) {
    CChecker check(settings);
    const std::optional<long long> dataType =
        check.Single(keys::kRequestDataType, 0, kDataTypeCount - 1, "0 (Ticks) to 4 (Months)",
                     "with the request type on the ribbon");
    if (!dataType) {
        return check.Problem();
    }
    const int type = static_cast<int>(*dataType);
    const std::optional<long long> kind =
        check.Number(keys::kRequestRecentType, type, 0, kRequestKindCount - 1, "0 to 9");
    if (!kind) {
        return check.Problem();
    }
    // The counts, dates and filter flag come from the elements of the kind's own data type.
    const int kindType = DataTypeOfKind(*kind);
    const bool datapoints = *kind == kTicksDatapoints || *kind == kIntervalsDatapoints ||
                            *kind == kDaysDatapoints || *kind == kWeeksDatapoints ||
                            *kind == kMonthsDatapoints;
    const bool days = *kind == kTicksDays || *kind == kIntervalsDays;
    if (datapoints) {
        check.Number(keys::kRequestDatapoints, kindType, 0, kMaxCount, "0 or more");
    } else if (days) {
        check.Number(keys::kRequestDays, kindType, 0, kMaxCount, "0 or more");
    } else if (check.PaddedNumber(keys::kRequestBeginDate, kindType) &&
               check.PaddedNumber(keys::kRequestEndDate, kindType) && *kind != kDaysDateRange &&
               check.PaddedNumber(keys::kRequestBeginTime, kindType)) {
        check.PaddedNumber(keys::kRequestEndTime, kindType);
    }
    if (!check.Failed() && kindType == kIntervals) {
        check.Single(keys::kRequestIntervalIndex, 0, kIntervalCount - 1,
                     "0 (1-Minute) to 10 (2-Hour)", "with the interval on the ribbon");
    }
    // Day and date-range requests of ticks and intervals carry their filter flag.
    if (!check.Failed() && !datapoints && kindType <= kIntervals) {
        check.Element(keys::kRequestFilterOn, kindType);
    }
    if (!check.Failed()) {
        const std::optional<std::string> filter = check.Element(keys::kRequestFilterOn, type);
        if (filter && *filter == "true" &&
            check.PaddedNumber(keys::kRequestBeginFilterTime, type)) {
            check.PaddedNumber(keys::kRequestEndFilterTime, type);
        }
    }
    if (!check.Failed()) {
        check.Element(keys::kRequestEnableExtendedTrades, type);
    }
    return check.Problem();
}

std::string RequestSettingAdvice(const SRequestSettingProblem& problem,
                                 const std::string& settingsFile) {
    if (problem.key.empty()) {
        return fmt::format("{}. Mend it {}, or in {}.", problem.reason, problem.place,
                           settingsFile);
    }
    return fmt::format("{}. Mend it {}, or edit {} in {}.", problem.reason, problem.place,
                       problem.key, settingsFile);
}

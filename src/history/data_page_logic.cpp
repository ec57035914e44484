#include "history/data_page_logic.h"

#include "base/datetime.h"
#include "core/prompt.h"
#include "history/request_settings.h"

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <charconv>
#include <cstddef>

namespace {

constexpr std::array<const char*, CDataPageLogic::kDataTypeCount> kNames = {
    "Ticks", "Intervals", "Days", "Weeks", "Months"};

// The request kinds of a data type by choice (datapoints, days, date range); -1 where none.
constexpr std::array<std::array<int, 3>, CDataPageLogic::kDataTypeCount> kKinds = {{
    {0, 1, 2},
    {3, 4, 5},
    {6, -1, 7},
    {8, -1, -1},
    {9, -1, -1},
}};

// The element of each list that a data type gets when the stored list is too short.
constexpr std::array<int, CDataPageLogic::kDataTypeCount> kDefaultDays = {1, 0, 1, 0, 0};

template <typename T> void PadTo(std::vector<T>& items, std::size_t size, const auto& fill) {
    while (items.size() < size) {
        items.push_back(static_cast<T>(fill(items.size())));
    }
}

template <typename T> T& At(std::vector<T>& items, int index) {
    return items[static_cast<std::size_t>(index)];
}

template <typename T> const T& At(const std::vector<T>& items, int index) {
    return items[static_cast<std::size_t>(index)];
}

// Element access for vector<bool>, whose elements are proxies.
void SetFlag(std::vector<bool>& items, int index, bool value) {
    items[static_cast<std::size_t>(index)] = value;
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
        text.remove_prefix(1);
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
        text.remove_suffix(1);
    }
    return text;
}

// `count` decimal digits at `offset` of `text`.
std::optional<int> Digits(std::string_view text, std::size_t offset, std::size_t count) {
    int value = 0;
    for (std::size_t i = offset; i < offset + count; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) {
            return std::nullopt;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

} // namespace

CDataPageLogic::CDataPageLogic(IPrompt& prompt, SRequestSettings& settings, SPageDate today)
    : m_prompt(prompt), m_settings(settings), m_today(today) {
    // Lists that the settings file holds too short get their default elements, so that every
    // data type can be shown and stored.
    const std::size_t size = kDataTypeCount;
    PadTo(m_settings.recentType, size, [](std::size_t i) { return kKinds[i][0]; });
    PadTo(m_settings.datapoints, size, [](std::size_t) { return kDefaultDatapoints; });
    PadTo(m_settings.days, size, [](std::size_t i) { return kDefaultDays[i]; });
    PadTo(m_settings.filterOn, size, [](std::size_t) { return false; });
    PadTo(m_settings.extendedTrades, size, [](std::size_t) { return false; });
    const std::string todayText = FormatDate(today);
    for (std::vector<std::string>* dates : {&m_settings.beginDate, &m_settings.endDate}) {
        PadTo(*dates, size, [&](std::size_t) { return todayText; });
    }
    for (std::vector<std::string>* times : {&m_settings.beginTime, &m_settings.beginFilterTime}) {
        PadTo(*times, size, [](std::size_t) { return std::string("093000"); });
    }
    for (std::vector<std::string>* times : {&m_settings.endTime, &m_settings.endFilterTime}) {
        PadTo(*times, size, [](std::size_t) { return std::string("160000"); });
    }
}

std::string CDataPageLogic::DataTypeName(int dataType) {
    return IsDataType(dataType) ? kNames[static_cast<std::size_t>(dataType)] : "";
}

SChoiceEnabling CDataPageLogic::EnabledChoices(int dataType) {
    if (!IsDataType(dataType)) {
        return {};
    }
    const auto& kinds = kKinds[static_cast<std::size_t>(dataType)];
    return {kinds[0] >= 0, kinds[1] >= 0, kinds[2] >= 0};
}

std::optional<ERequestChoice> CDataPageLogic::ChoiceForKind(int dataType, int kind) {
    if (!IsDataType(dataType)) {
        return std::nullopt;
    }
    const auto& kinds = kKinds[static_cast<std::size_t>(dataType)];
    for (std::size_t choice = 0; choice < kinds.size(); ++choice) {
        if (kinds[choice] >= 0 && kinds[choice] == kind) {
            return static_cast<ERequestChoice>(choice);
        }
    }
    return std::nullopt;
}

int CDataPageLogic::KindForChoice(int dataType, ERequestChoice choice) {
    if (!IsDataType(dataType)) {
        return -1;
    }
    return kKinds[static_cast<std::size_t>(dataType)][static_cast<std::size_t>(choice)];
}

SFieldEnabling CDataPageLogic::EnabledFields(int dataType, ERequestChoice choice, bool filterOn) {
    SFieldEnabling fields;
    if (KindForChoice(dataType, choice) < 0) {
        return fields;
    }
    fields.datapoints = choice == ERequestChoice::Datapoints;
    fields.days = choice == ERequestChoice::Days;
    fields.dates = choice == ERequestChoice::DateRange;
    // Day bars of a date range are asked for by date alone.
    fields.times = fields.dates && dataType != kDays;
    fields.filterTimes = filterOn;
    fields.extendedTrades = dataType == kTicks;
    return fields;
}

std::optional<SDataPageFields> CDataPageLogic::Show(int dataType) {
    if (!IsDataType(dataType)) {
        m_prompt.Information(kInvalidSettingCaption, kInvalidDataTypeText);
        return std::nullopt;
    }
    SDataPageFields fields;
    fields.datapoints = fmt::format("{}", At(m_settings.datapoints, dataType));
    fields.days = At(m_settings.days, dataType);
    fields.filterOn = m_settings.filterOn[static_cast<std::size_t>(dataType)];
    fields.extendedTrades =
        dataType == kTicks && m_settings.extendedTrades[static_cast<std::size_t>(dataType)];

    int& kind = At(m_settings.recentType, dataType);
    if (const std::optional<ERequestChoice> choice = ChoiceForKind(dataType, kind)) {
        fields.choice = *choice;
    } else {
        // Weeks and Months know only datapoints: their kind is put right without a word.
        if (dataType != kWeeks && dataType != kMonths) {
            m_prompt.Information(kInvalidSettingCaption, kUnknownRequestTypeText);
        }
        fields.choice = ERequestChoice::Datapoints;
        kind = KindForChoice(dataType, ERequestChoice::Datapoints);
    }

    const auto date = [&](const std::vector<std::string>& list) {
        return ParseDate(At(list, dataType)).value_or(m_today);
    };
    const auto time = [&](const std::vector<std::string>& list, SPageTime fallback) {
        return ParseTime(At(list, dataType)).value_or(fallback);
    };
    const SPageTime open{9, 30, 0};
    const SPageTime close{16, 0, 0};
    fields.beginDate = date(m_settings.beginDate);
    fields.endDate = date(m_settings.endDate);
    fields.beginTime = time(m_settings.beginTime, open);
    fields.endTime = time(m_settings.endTime, close);
    fields.beginFilterTime = time(m_settings.beginFilterTime, open);
    fields.endFilterTime = time(m_settings.endFilterTime, close);
    return fields;
}

bool CDataPageLogic::Store(int dataType, SDataPageFields& fields) {
    if (!IsDataType(dataType)) {
        m_prompt.Information(kInvalidSettingCaption, kInvalidDataTypeText);
        return false;
    }
    const std::optional<long long> datapoints = ParseInteger(fields.datapoints);
    if (datapoints && *datapoints >= 1 && *datapoints <= kMaxDatapoints) {
        At(m_settings.datapoints, dataType) = static_cast<int>(*datapoints);
    } else {
        At(m_settings.datapoints, dataType) = kDefaultDatapoints;
        m_prompt.Information(kInvalidSettingCaption, kDatapointsRangeText);
        fields.datapoints = fmt::format("{}", kDefaultDatapoints);
    }
    At(m_settings.days, dataType) = fields.days < 0 ? 0 : fields.days;
    SetFlag(m_settings.filterOn, dataType, fields.filterOn);

    const int kind = KindForChoice(dataType, fields.choice);
    At(m_settings.recentType, dataType) =
        kind >= 0 ? kind : KindForChoice(dataType, ERequestChoice::Datapoints);

    At(m_settings.beginDate, dataType) = FormatDate(fields.beginDate);
    At(m_settings.endDate, dataType) = FormatDate(fields.endDate);
    At(m_settings.beginTime, dataType) = FormatTime(fields.beginTime);
    At(m_settings.endTime, dataType) = FormatTime(fields.endTime);
    At(m_settings.beginFilterTime, dataType) = FormatTime(fields.beginFilterTime);
    At(m_settings.endFilterTime, dataType) = FormatTime(fields.endFilterTime);
    SetFlag(m_settings.extendedTrades, dataType, dataType == kTicks && fields.extendedTrades);
    return true;
}

std::optional<long long> CDataPageLogic::ParseInteger(const std::string& text) {
    std::string_view digits = Trimmed(text);
    if (!digits.empty() && digits.front() == '+') {
        digits.remove_prefix(1);
    }
    long long value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<SPageDate> CDataPageLogic::ParseDate(const std::string& text) {
    if (text.size() != 8) {
        return std::nullopt;
    }
    const auto year = Digits(text, 0, 4);
    const auto month = Digits(text, 4, 2);
    const auto day = Digits(text, 6, 2);
    if (!year || !month || !day || *year < 100) {
        return std::nullopt;
    }
    // The date type turns impossible dates such as 30 February into invalid values.
    if (!CDateTime(*year, *month, *day, 0, 0, 0).IsValid()) {
        return std::nullopt;
    }
    return SPageDate{*year, *month, *day};
}

std::optional<SPageTime> CDataPageLogic::ParseTime(const std::string& text) {
    if (text.size() != 6) {
        return std::nullopt;
    }
    const auto hour = Digits(text, 0, 2);
    const auto minute = Digits(text, 2, 2);
    const auto second = Digits(text, 4, 2);
    if (!hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    return SPageTime{*hour, *minute, *second};
}

std::string CDataPageLogic::FormatDate(const SPageDate& date) {
    return fmt::format("{:04}{:02}{:02}", date.year, date.month, date.day);
}

std::string CDataPageLogic::FormatTime(const SPageTime& time) {
    return fmt::format("{:02}{:02}{:02}", time.hour, time.minute, time.second);
}

#include "history/request_settings.h"

#include "base/error.h"
#include "base/fields.h"
#include "core/settings.h"

#include <charconv>
#include <ctime>
#include <fmt/format.h>

namespace {

constexpr std::size_t kListLength = static_cast<std::size_t>(kDataTypeCount);

std::vector<std::string> ReadList(const CSettings& settings, const char* key) {
    std::vector<std::string> items = settings.GetList(key);
    if (items.size() > kListLength) {
        items.resize(kListLength);
    }
    return items;
}

std::vector<int> ReadIntegers(const CSettings& settings, const char* key) {
    std::vector<int> values;
    for (const std::string& item : ReadList(settings, key)) {
        values.push_back(DecimalValue(item));
    }
    return values;
}

std::vector<bool> ReadFlags(const CSettings& settings, const char* key, const char* on) {
    std::vector<bool> values;
    for (const std::string& item : ReadList(settings, key)) {
        values.push_back(item == on);
    }
    return values;
}

std::vector<std::string> ReadPadded(const CSettings& settings, const char* key,
                                    const std::string& padding) {
    std::vector<std::string> items = ReadList(settings, key);
    items.resize(kListLength, padding);
    return items;
}

template <typename T> std::vector<std::string> Texts(const std::vector<T>& values) {
    std::vector<std::string> items;
    for (const auto value : values) {
        items.push_back(std::to_string(value));
    }
    return items;
}

std::vector<std::string> FlagTexts(const std::vector<bool>& flags, const char* on,
                                   const char* off) {
    std::vector<std::string> items;
    for (const bool flag : flags) {
        items.emplace_back(flag ? on : off);
    }
    return items;
}

template <typename Container> auto Element(const Container& items, int dataType) {
    if (dataType < 0) {
        throw CInvalidArgException("data type " + std::to_string(dataType) + " is not valid");
    }
    return ElementAt(items, static_cast<std::size_t>(dataType));
}

const std::string& TextElement(const std::vector<std::string>& items, int dataType) {
    if (dataType < 0) {
        throw CInvalidArgException("data type " + std::to_string(dataType) + " is not valid");
    }
    return ElementAt(items, static_cast<std::size_t>(dataType));
}

} // namespace

std::string SRequestSettings::TodayText() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return fmt::format("{:04d}{:02d}{:02d}", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
}

void SRequestSettings::Load(const CSettings& settings) {
    Load(settings, TodayText());
}

void SRequestSettings::Load(const CSettings& settings, const std::string& today) {
    useExchangeFormat = settings.GetText(keys::kRequestUseExchangeFormat) == "true";
    extendedTrades = ReadFlags(settings, keys::kRequestEnableExtendedTrades, "1");
    recentType = ReadIntegers(settings, keys::kRequestRecentType);
    datapoints = ReadIntegers(settings, keys::kRequestDatapoints);
    days = ReadIntegers(settings, keys::kRequestDays);
    filterOn = ReadFlags(settings, keys::kRequestFilterOn, "true");
    beginDate = ReadPadded(settings, keys::kRequestBeginDate, today);
    endDate = ReadPadded(settings, keys::kRequestEndDate, today);
    beginTime = ReadPadded(settings, keys::kRequestBeginTime, "093000");
    beginFilterTime = ReadPadded(settings, keys::kRequestBeginFilterTime, "093000");
    endTime = ReadPadded(settings, keys::kRequestEndTime, "160000");
    endFilterTime = ReadPadded(settings, keys::kRequestEndFilterTime, "160000");
}

bool SRequestSettings::Save(CSettings& settings, IPrompt* prompt) const {
    bool stored = settings.SetBool(keys::kRequestUseExchangeFormat, useExchangeFormat);
    stored &= settings.SaveList(keys::kRequestEnableExtendedTrades,
                                FlagTexts(extendedTrades, "1", "0"), prompt);
    stored &= settings.SaveList(keys::kRequestRecentType, Texts(recentType), prompt);
    stored &= settings.SaveList(keys::kRequestDatapoints, Texts(datapoints), prompt);
    stored &= settings.SaveList(keys::kRequestDays, Texts(days), prompt);
    stored &=
        settings.SaveList(keys::kRequestFilterOn, FlagTexts(filterOn, "true", "false"), prompt);
    stored &= settings.SaveList(keys::kRequestBeginDate, beginDate, prompt);
    stored &= settings.SaveList(keys::kRequestBeginTime, beginTime, prompt);
    stored &= settings.SaveList(keys::kRequestBeginFilterTime, beginFilterTime, prompt);
    stored &= settings.SaveList(keys::kRequestEndDate, endDate, prompt);
    stored &= settings.SaveList(keys::kRequestEndTime, endTime, prompt);
    stored &= settings.SaveList(keys::kRequestEndFilterTime, endFilterTime, prompt);
    return stored;
}

int SRequestSettings::RecentType(int dataType) const {
    return Element(recentType, dataType);
}
int SRequestSettings::Datapoints(int dataType) const {
    return Element(datapoints, dataType);
}
int SRequestSettings::Days(int dataType) const {
    return Element(days, dataType);
}
bool SRequestSettings::FilterOn(int dataType) const {
    return Element(filterOn, dataType);
}
bool SRequestSettings::ExtendedTrades(int dataType) const {
    return Element(extendedTrades, dataType);
}
const std::string& SRequestSettings::BeginDate(int dataType) const {
    return TextElement(beginDate, dataType);
}
const std::string& SRequestSettings::EndDate(int dataType) const {
    return TextElement(endDate, dataType);
}
const std::string& SRequestSettings::BeginTime(int dataType) const {
    return TextElement(beginTime, dataType);
}
const std::string& SRequestSettings::EndTime(int dataType) const {
    return TextElement(endTime, dataType);
}
const std::string& SRequestSettings::BeginFilterTime(int dataType) const {
    return TextElement(beginFilterTime, dataType);
}
const std::string& SRequestSettings::EndFilterTime(int dataType) const {
    return TextElement(endFilterTime, dataType);
}

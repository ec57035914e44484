#include "studies/study_settings.h"

#include "core/setting_keys.h"
#include "core/settings.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <string_view>

namespace {

const std::array<SStudyCatalogEntry, kStudyTypeCount>& Catalog() {
    static const std::array<SStudyCatalogEntry, kStudyTypeCount> catalog{{
        {"RSI", "RSI", 21, 21, keys::kRSIRadioSelect, {14, 9, 25}},
        {"MOM", "Momentum", 20, 20, keys::kMOMRadioSelect, {10, 30}},
        {"ROC", "Rate of Change", 20, 20, keys::kROCRadioSelect, {10, 30}},
        {"OBV", "On Balance Volume", 9, 9, keys::kOBVRadioSelect, {9}},
        {"MACD", "MACD", 18, 18, keys::kMACDRadioSelect, {9, 9}},
        {"STO", "Stochastics", 5, 5, keys::kSTORadioSelect, {5, 10, 25}},
        {"Vol", "Volume", 10, 500, keys::kVolumeAverageAllData, {}},
        {"MF", "Money Flow", 14, 9, keys::kMFRadioSelect, {14}},
        {"MFI", "Money Flow Index", 14, 9, keys::kMFIRadioSelect, {14}},
        {"ADX", "ADX", 14, 10, keys::kADXRadioSelect, {14}},
    }};
    return catalog;
}

// The integer of a list entry, or nothing when it does not read as one.
bool ReadInt(std::string_view text, int& value) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    int parsed = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (error != std::errc{} || end == text.data()) {
        return false;
    }
    value = parsed;
    return true;
}

void ReadPeriodList(const CSettings& settings, const char* key,
                    std::array<int, kStudyTypeCount>& periods) {
    const std::vector<std::string> items = settings.GetList(key);
    for (std::size_t at = 0; at < items.size() && at < periods.size(); ++at) {
        int value = 0;
        if (ReadInt(items[at], value) && value > 0) {
            periods[at] = value;
        }
    }
}

std::string JoinPeriods(const std::array<int, kStudyTypeCount>& periods) {
    std::string text;
    for (std::size_t at = 0; at < periods.size(); ++at) {
        text += (at == 0 ? "" : ",") + std::to_string(periods[at]);
    }
    return text;
}

ColorRef Color(const CSettings& settings, const std::string& key) {
    return settings.GetUnsigned(key);
}

void SetColor(CSettings& settings, const std::string& key, ColorRef color) {
    settings.SetText(key, std::to_string(color));
}

} // namespace

const SStudyCatalogEntry& StudyCatalog(int studyType) {
    return Catalog()[static_cast<std::size_t>(std::clamp(studyType, 0, kStudyTypeCount - 1))];
}

bool IsStudyType(int studyType) {
    return studyType >= 0 && studyType < kStudyTypeCount;
}

bool SUpperStudySettings::AverageShown(int number) const {
    return masShow && number >= 1 && number <= 3 && select[static_cast<std::size_t>(number - 1)];
}

int SUpperStudySettings::Period(int number) const {
    if (number == 4) {
        return bandsPeriod;
    }
    return points[static_cast<std::size_t>(std::clamp(number, 1, 3) - 1)];
}

SUpperStudySettings SUpperStudySettings::Read(const CSettings& settings) {
    SUpperStudySettings upper;
    upper.masShow = settings.GetInt(keys::kMAsShow) == 1;
    for (int number = 1; number <= 3; ++number) {
        const auto at = static_cast<std::size_t>(number - 1);
        upper.select[at] = settings.GetInt(keys::Numbered(keys::kMovingAverageSelect, number)) == 1;
        upper.points[at] = settings.GetInt(keys::Numbered(keys::kMovingAveragePoints, number));
        upper.colors[at] = Color(settings, keys::Numbered(keys::kMovingAverageColor, number));
    }
    upper.exponential = settings.GetInt(keys::kMovingAverageExponential) == 1;
    upper.bandsShow = settings.GetInt(keys::kBBStudyShow) == 1;
    upper.bandsColor = Color(settings, keys::kBBColor);
    upper.bandsPeriod = settings.GetInt(keys::kBBAvgPeriod);
    upper.bandsDeviations = settings.GetNumber(keys::kBBDeviations);
    return upper;
}

void SUpperStudySettings::Write(CSettings& settings, const SUpperStudySettings& before) const {
    const auto storeFlag = [&settings](const std::string& key, bool now, bool was) {
        if (now != was) {
            settings.SetInt(key, now ? 1 : 0);
        }
    };
    const auto storeInt = [&settings](const std::string& key, int now, int was) {
        if (now != was) {
            settings.SetInt(key, now);
        }
    };
    const auto storeColor = [&settings](const std::string& key, ColorRef now, ColorRef was) {
        if (now != was) {
            SetColor(settings, key, now);
        }
    };
    storeFlag(keys::kMAsShow, masShow, before.masShow);
    for (int number = 1; number <= 3; ++number) {
        const auto at = static_cast<std::size_t>(number - 1);
        storeFlag(keys::Numbered(keys::kMovingAverageSelect, number), select[at],
                  before.select[at]);
        storeInt(keys::Numbered(keys::kMovingAveragePoints, number), points[at], before.points[at]);
        storeColor(keys::Numbered(keys::kMovingAverageColor, number), colors[at],
                   before.colors[at]);
    }
    storeFlag(keys::kMovingAverageExponential, exponential, before.exponential);
    storeFlag(keys::kBBStudyShow, bandsShow, before.bandsShow);
    storeColor(keys::kBBColor, bandsColor, before.bandsColor);
    storeInt(keys::kBBAvgPeriod, bandsPeriod, before.bandsPeriod);
    if (bandsDeviations != before.bandsDeviations) {
        settings.SetText(keys::kBBDeviations, fmt::format("{}", bandsDeviations));
    }
}

bool SStudySettings::IsCustom(int studyType) const {
    if (!IsStudyType(studyType)) {
        return false;
    }
    const auto at = static_cast<std::size_t>(studyType);
    if (studyType == kStudyVolume) {
        return radio[at] != 1; // "For all data" is 1
    }
    return radio[at] == static_cast<int>(StudyCatalog(studyType).fixedChoices.size());
}

int SStudySettings::Period(int studyType) const {
    if (!IsStudyType(studyType)) {
        return 1;
    }
    return std::max(periods[static_cast<std::size_t>(studyType)], 1);
}

std::string SStudySettings::MacdPresetWord() const {
    const int signal = Period(kStudyMACD);
    if (macdShort == 8 && macdLong == 17 && signal == 9) {
        return "buy";
    }
    if (macdShort == 12 && macdLong == 25 && signal == 9) {
        return "sell";
    }
    return "custom";
}

namespace {

// The keys of the lower studies that hold one number or colour each, with their members.
struct SIntKey {
    const char* key;
    int SStudySettings::*member;
};
struct SColorKey {
    const char* key;
    ColorRef SStudySettings::*member;
};
struct SFlagKey {
    const char* key;
    bool SStudySettings::*member;
};

constexpr SIntKey kIntKeys[] = {
    {keys::kRSIUpperLevel, &SStudySettings::rsiUpper},
    {keys::kRSILowerLevel, &SStudySettings::rsiLower},
    {keys::kMACDShortPeriod, &SStudySettings::macdShort},
    {keys::kMACDLongPeriod, &SStudySettings::macdLong},
    {keys::kMACDCustomShortPeriod, &SStudySettings::macdCustomShort},
    {keys::kMACDCustomLongPeriod, &SStudySettings::macdCustomLong},
    {keys::kSTOUpperLevel, &SStudySettings::stoUpper},
    {keys::kSTOLowerLevel, &SStudySettings::stoLower},
    {keys::kMFIUpperLevel, &SStudySettings::mfiUpper},
    {keys::kMFILowerLevel, &SStudySettings::mfiLower},
};
constexpr SColorKey kColorKeys[] = {
    {keys::kRSIUpLevelColor, &SStudySettings::rsiUpColor},
    {keys::kRSILowLevelColor, &SStudySettings::rsiLowColor},
    {keys::kMomentumZeroColor, &SStudySettings::momentumZeroColor},
    {keys::kROC100Color, &SStudySettings::roc100Color},
    {keys::kOBVZeroColor, &SStudySettings::obvZeroColor},
    {keys::kMACDSignalLineColor, &SStudySettings::macdSignalColor},
    {keys::kMACDHistogramColor, &SStudySettings::macdHistogramColor},
    {keys::kSTOUpLevelColor, &SStudySettings::stoUpColor},
    {keys::kSTOLowLevelColor, &SStudySettings::stoLowColor},
    {keys::kSTODLineColor, &SStudySettings::stoDColor},
    {keys::kSTOKLineColor, &SStudySettings::stoKColor},
    {keys::kVolumeAverageColor, &SStudySettings::volumeAverageColor},
    {keys::kVolumeLabelColor, &SStudySettings::volumeLabelColor},
    {keys::kPositiveFlowLineColor, &SStudySettings::positiveFlowColor},
    {keys::kNegativeFlowLineColor, &SStudySettings::negativeFlowColor},
    {keys::kMFIUpLevelColor, &SStudySettings::mfiUpColor},
    {keys::kMFILowLevelColor, &SStudySettings::mfiLowColor},
    {keys::kPositiveDIColor, &SStudySettings::positiveDIColor},
    {keys::kNegativeDIColor, &SStudySettings::negativeDIColor},
};
constexpr SFlagKey kFlagKeys[] = {
    {keys::kSTOFast, &SStudySettings::stoFast},
    {keys::kShowVolumeAverage, &SStudySettings::showVolumeAverage},
};

} // namespace

SStudySettings SStudySettings::Read(const CSettings& settings) {
    SStudySettings s;
    const int panes = std::clamp(settings.GetInt(keys::kNumberOfStudyCharts), 0, kMaxStudyPanes);
    s.paneTypes.clear();
    for (int pane = 0; pane < panes; ++pane) {
        const int type = settings.GetInt(keys::Numbered(keys::kTypeOfStudyChart, pane));
        s.paneTypes.push_back(IsStudyType(type) ? type : kStudyVolume);
    }
    ReadPeriodList(settings, keys::kStudyAvgPeriod, s.periods);
    ReadPeriodList(settings, keys::kStudyCustomAvgPeriod, s.customPeriods);
    for (int type = 0; type < kStudyTypeCount; ++type) {
        const auto at = static_cast<std::size_t>(type);
        s.radio[at] = settings.GetInt(StudyCatalog(type).radioKey);
        s.dataColor[at] = Color(settings, keys::Numbered(keys::kStudyDataColor, type));
        s.labelColor[at] = Color(settings, keys::Numbered(keys::kStudyLabelColor, type));
    }
    for (const SIntKey& entry : kIntKeys) {
        s.*entry.member = settings.GetInt(entry.key);
    }
    for (const SColorKey& entry : kColorKeys) {
        s.*entry.member = Color(settings, entry.key);
    }
    for (const SFlagKey& entry : kFlagKeys) {
        s.*entry.member = settings.GetInt(entry.key) == 1;
    }
    return s;
}

void SStudySettings::Write(CSettings& settings, const SStudySettings& before) const {
    const int panes = std::min(static_cast<int>(paneTypes.size()), kMaxStudyPanes);
    const int panesBefore = std::min(static_cast<int>(before.paneTypes.size()), kMaxStudyPanes);
    if (panes != panesBefore) {
        settings.SetInt(keys::kNumberOfStudyCharts, panes);
    }
    for (int pane = 0; pane < panes; ++pane) {
        const int type = paneTypes[static_cast<std::size_t>(pane)];
        if (pane >= panesBefore || type != before.paneTypes[static_cast<std::size_t>(pane)]) {
            settings.SetInt(keys::Numbered(keys::kTypeOfStudyChart, pane), type);
        }
    }
    if (periods != before.periods) {
        settings.SetText(keys::kStudyAvgPeriod, JoinPeriods(periods));
    }
    if (customPeriods != before.customPeriods) {
        settings.SetText(keys::kStudyCustomAvgPeriod, JoinPeriods(customPeriods));
    }
    const auto storeColor = [&settings](const std::string& key, ColorRef now, ColorRef was) {
        if (now != was) {
            SetColor(settings, key, now);
        }
    };
    for (int type = 0; type < kStudyTypeCount; ++type) {
        const auto at = static_cast<std::size_t>(type);
        if (radio[at] != before.radio[at]) {
            settings.SetInt(StudyCatalog(type).radioKey, radio[at]);
        }
        storeColor(keys::Numbered(keys::kStudyDataColor, type), dataColor[at],
                   before.dataColor[at]);
        storeColor(keys::Numbered(keys::kStudyLabelColor, type), labelColor[at],
                   before.labelColor[at]);
    }
    for (const SIntKey& entry : kIntKeys) {
        if (this->*entry.member != before.*entry.member) {
            settings.SetInt(entry.key, this->*entry.member);
        }
    }
    for (const SColorKey& entry : kColorKeys) {
        storeColor(entry.key, this->*entry.member, before.*entry.member);
    }
    for (const SFlagKey& entry : kFlagKeys) {
        if (this->*entry.member != before.*entry.member) {
            settings.SetInt(entry.key, this->*entry.member ? 1 : 0);
        }
    }
}

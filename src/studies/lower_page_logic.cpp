#include "studies/lower_page_logic.h"

#include "core/prompt.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace {

// Where each property row's value lives in the settings, and how a message names a level.
struct SFieldInfo {
    int SStudySettings::*level;      // null for a colour row
    ColorRef SStudySettings::*color; // null for a level row
    const char* levelName;
};

const std::array<SFieldInfo, kStudyFieldCount>& Fields() {
    static const std::array<SFieldInfo, kStudyFieldCount> fields{{
        {&SStudySettings::rsiUpper, nullptr, "RSI upper level"},
        {&SStudySettings::rsiLower, nullptr, "RSI lower level"},
        {nullptr, &SStudySettings::momentumZeroColor, nullptr},
        {nullptr, &SStudySettings::roc100Color, nullptr},
        {nullptr, &SStudySettings::obvZeroColor, nullptr},
        {nullptr, &SStudySettings::macdSignalColor, nullptr},
        {nullptr, &SStudySettings::macdHistogramColor, nullptr},
        {&SStudySettings::stoUpper, nullptr, "STO upper level"},
        {&SStudySettings::stoLower, nullptr, "STO lower level"},
        {nullptr, &SStudySettings::stoDColor, nullptr},
        {nullptr, &SStudySettings::stoKColor, nullptr},
        {nullptr, &SStudySettings::volumeAverageColor, nullptr},
        {nullptr, &SStudySettings::positiveFlowColor, nullptr},
        {nullptr, &SStudySettings::negativeFlowColor, nullptr},
        {&SStudySettings::mfiUpper, nullptr, "MFI upper level"},
        {&SStudySettings::mfiLower, nullptr, "MFI lower level"},
        {nullptr, &SStudySettings::positiveDIColor, nullptr},
        {nullptr, &SStudySettings::negativeDIColor, nullptr},
    }};
    return fields;
}

const SFieldInfo& Field(EStudyField field) {
    return Fields()[static_cast<std::size_t>(
        std::clamp(static_cast<int>(field), 0, kStudyFieldCount - 1))];
}

const std::array<SStudyProperties, kStudyTypeCount>& PropertyTable() {
    using F = EStudyField;
    static const std::array<SStudyProperties, kStudyTypeCount> table{{
        {"RSI Properties...",
         "Lookback period:",
         {"14", "9", "25", "Custom"},
         {{"Upper level:", F::RsiUpper}, {"Lower level:", F::RsiLower}}},
        {"Momentum Properties...",
         "Lookback period:",
         {"10", "30", "Custom"},
         {{"Zero level color:", F::MomentumZeroColor}}},
        {"ROC Properties...",
         "Lookback period:",
         {"10", "30", "Custom"},
         {{"Color of 100% :", F::Roc100Color}}},
        {"OBV Properties...",
         "Smoothing period:",
         {"9", "Custom"},
         {{"Zero level color:", F::ObvZeroColor}}},
        {"MACD Properties...",
         "Periods:",
         {"buy (8, 17, 9)", "sell (12, 25, 9)", "custom"},
         {{"Signal line color:", F::MacdSignalColor}, {"Histogram color:", F::MacdHistogramColor}},
         false,
         true},
        {"STO Properties...",
         "Lookback period:",
         {"5", "10", "25", "Custom"},
         {{"Upper level:", F::StoUpper},
          {"Lower level:", F::StoLower},
          {"Color of %D line:", F::StoDColor},
          {"Color of %K line:", F::StoKColor}},
         true},
        {"Volume Properties...",
         "Average span:",
         {"For all data", "Custom"},
         {{"Average color:", F::VolumeAverageColor}}},
        {"Money Flow Properties...",
         "Lookback period:",
         {"14", "Custom"},
         {{"Positive Flow color:", F::PositiveFlowColor},
          {"Negative Flow color:", F::NegativeFlowColor}}},
        {"MFI Properties...",
         "Lookback period:",
         {"14", "Custom"},
         {{"Upper level:", F::MfiUpper}, {"Lower level:", F::MfiLower}}},
        {"ADX Properties...",
         "Smoothing period:",
         {"14", "Custom"},
         {{"+ DI color:", F::PositiveDIColor}, {"-  DI color:", F::NegativeDIColor}}},
    }};
    return table;
}

struct SMacdPreset {
    int shortPeriod;
    int longPeriod;
    int signal;
};
constexpr std::array<SMacdPreset, 2> kMacdPresets{{{8, 17, 9}, {12, 25, 9}}};
constexpr int kMacdCustomChoice = 2;

// Volume's choices in page order, and what "Volume Average All Data" stores for them.
constexpr int kVolumeAllDataChoice = 0;
constexpr int kVolumeCustomChoice = 1;

int ChoiceCount(int studyType) {
    return static_cast<int>(StudyProperties(studyType).choices.size());
}

// The whole text (blanks around it allowed) as an integer in [low, high].
std::optional<int> WholeNumber(std::string_view text, int low, int high) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value < low ||
        value > high) {
        return std::nullopt;
    }
    return value;
}

std::string PeriodMessage(const std::string& what) {
    return fmt::format("{} must be a whole number from 1 to {}", what,
                       CLowerStudiesPageModel::kMaxCustomPeriod);
}

// The choice that draws what the panes of `type` compute with, and the custom edit's period.
struct SShownChoice {
    int choice;
    int customPeriod;
};

SShownChoice ShownChoice(const SStudySettings& s, int type) {
    const auto at = static_cast<std::size_t>(type);
    const int inUse = s.Period(type);
    if (type == kStudyVolume) {
        return {s.VolumeAverageAllData() ? kVolumeAllDataChoice : kVolumeCustomChoice,
                s.customPeriods[at]};
    }
    const std::vector<int>& fixed = StudyCatalog(type).fixedChoices;
    const int custom = static_cast<int>(fixed.size());
    // A custom period that equals a fixed choice shows as that choice.
    const int stored = s.radio[at];
    if (stored >= 0 && stored < custom && fixed[static_cast<std::size_t>(stored)] == inUse) {
        return {stored, s.customPeriods[at]};
    }
    const auto match = std::find(fixed.begin(), fixed.end(), inUse);
    if (match != fixed.end()) {
        return {static_cast<int>(match - fixed.begin()), s.customPeriods[at]};
    }
    return {custom, inUse};
}

// MACD's shown choice: a preset whose three periods are those in use, else the custom choice
// with the periods in use in its edits.
int ShownMacdChoice(const SStudySettings& s) {
    if (s.IsCustom(kStudyMACD)) {
        return kMacdCustomChoice;
    }
    const SMacdPreset inUse{s.macdShort, s.macdLong, s.Period(kStudyMACD)};
    auto matches = [&inUse](const SMacdPreset& preset) {
        return preset.shortPeriod == inUse.shortPeriod && preset.longPeriod == inUse.longPeriod &&
               preset.signal == inUse.signal;
    };
    const int stored = s.radio[kStudyMACD];
    if (stored >= 0 && stored < kMacdCustomChoice &&
        matches(kMacdPresets[static_cast<std::size_t>(stored)])) {
        return stored;
    }
    for (int preset = 0; preset < kMacdCustomChoice; ++preset) {
        if (matches(kMacdPresets[static_cast<std::size_t>(preset)])) {
            return preset;
        }
    }
    return kMacdCustomChoice;
}

} // namespace

bool IsLevelField(EStudyField field) {
    return Field(field).level != nullptr;
}

const SStudyProperties& StudyProperties(int studyType) {
    return PropertyTable()[static_cast<std::size_t>(std::clamp(studyType, 0, kStudyTypeCount - 1))];
}

std::size_t CLowerStudiesPageModel::At(int studyType) {
    return static_cast<std::size_t>(std::clamp(studyType, 0, kStudyTypeCount - 1));
}

CLowerStudiesPageModel::CLowerStudiesPageModel(const SStudySettings& settings)
    : m_settings(settings) {
    for (int type : settings.paneTypes) {
        if (IsStudyType(type) && static_cast<int>(m_displayed.size()) < kMaxStudyPanes) {
            m_displayed.push_back(type);
        }
    }
    m_shown = m_displayed.empty() ? kStudyRSI : m_displayed.front();
    for (int type = 0; type < kStudyTypeCount; ++type) {
        const SShownChoice shown = ShownChoice(settings, type);
        m_choice[At(type)] = shown.choice;
        m_customText[At(type)] = std::to_string(shown.customPeriod);
    }
    const int macdChoice = ShownMacdChoice(settings);
    m_choice[kStudyMACD] = macdChoice;
    if (macdChoice == kMacdCustomChoice) {
        m_macdText = {std::to_string(settings.macdShort), std::to_string(settings.macdLong),
                      std::to_string(settings.Period(kStudyMACD))};
    } else {
        m_macdText = {std::to_string(settings.macdCustomShort),
                      std::to_string(settings.macdCustomLong),
                      std::to_string(settings.customPeriods[kStudyMACD])};
    }
    for (int field = 0; field < kStudyFieldCount; ++field) {
        const SFieldInfo& info = Fields()[static_cast<std::size_t>(field)];
        if (info.level != nullptr) {
            m_levelText[static_cast<std::size_t>(field)] = std::to_string(settings.*info.level);
        }
    }
}

const char* CLowerStudiesPageModel::Add(int studyType) {
    if (!IsStudyType(studyType)) {
        return kNoStudyText;
    }
    if (static_cast<int>(m_displayed.size()) >= kMaxStudyPanes) {
        return kListFullText;
    }
    m_displayed.push_back(studyType);
    return nullptr;
}

bool CLowerStudiesPageModel::Remove(int row) {
    if (row < 0 || row >= static_cast<int>(m_displayed.size())) {
        return false;
    }
    m_displayed.erase(m_displayed.begin() + row);
    return true;
}

bool CLowerStudiesPageModel::MoveUp(int row) {
    if (row < 1 || row >= static_cast<int>(m_displayed.size())) {
        return false;
    }
    std::swap(m_displayed[static_cast<std::size_t>(row)],
              m_displayed[static_cast<std::size_t>(row - 1)]);
    return true;
}

bool CLowerStudiesPageModel::MoveDown(int row) {
    return row >= 0 && MoveUp(row + 1);
}

bool CLowerStudiesPageModel::ShowStudy(int studyType) {
    if (!IsStudyType(studyType)) {
        return false;
    }
    m_shown = studyType;
    return true;
}

int CLowerStudiesPageModel::Choice(int studyType) const {
    return m_choice[At(studyType)];
}

bool CLowerStudiesPageModel::SetChoice(int studyType, int choice) {
    if (!IsStudyType(studyType) || choice < 0 || choice >= ChoiceCount(studyType)) {
        return false;
    }
    m_choice[At(studyType)] = choice;
    return true;
}

bool CLowerStudiesPageModel::IsCustomChoice(int studyType) const {
    return Choice(studyType) == ChoiceCount(studyType) - 1;
}

const std::string& CLowerStudiesPageModel::CustomText(int studyType) const {
    return m_customText[At(studyType)];
}

void CLowerStudiesPageModel::SetCustomText(int studyType, std::string text) {
    m_customText[At(studyType)] = std::move(text);
}

const std::string& CLowerStudiesPageModel::MacdText(EMacdEdit edit) const {
    return m_macdText[static_cast<std::size_t>(std::clamp(static_cast<int>(edit), 0, 2))];
}

void CLowerStudiesPageModel::SetMacdText(EMacdEdit edit, std::string text) {
    m_macdText[static_cast<std::size_t>(std::clamp(static_cast<int>(edit), 0, 2))] =
        std::move(text);
}

const std::string& CLowerStudiesPageModel::LevelText(EStudyField field) const {
    return m_levelText[static_cast<std::size_t>(
        std::clamp(static_cast<int>(field), 0, kStudyFieldCount - 1))];
}

void CLowerStudiesPageModel::SetLevelText(EStudyField field, std::string text) {
    if (IsLevelField(field)) {
        m_levelText[static_cast<std::size_t>(field)] = std::move(text);
    }
}

ColorRef CLowerStudiesPageModel::Color(EStudyField field) const {
    const SFieldInfo& info = Field(field);
    return info.color != nullptr ? m_settings.*info.color : 0;
}

void CLowerStudiesPageModel::SetColor(EStudyField field, ColorRef color) {
    const SFieldInfo& info = Field(field);
    if (info.color != nullptr) {
        m_settings.*info.color = color & kColorRefMask;
    }
}

std::optional<CLowerStudiesPageModel::SRefusal>
CLowerStudiesPageModel::Build(SStudySettings& out) const {
    SStudySettings s = m_settings;
    for (int type = 0; type < kStudyTypeCount; ++type) {
        const auto at = At(type);
        const int choice = m_choice[at];
        const bool custom = IsCustomChoice(type);
        const std::string name = StudyCatalog(type).listName;
        if (type == kStudyMACD) {
            if (custom) {
                const auto shortPeriod = WholeNumber(m_macdText[0], 1, kMaxCustomPeriod);
                const auto longPeriod = WholeNumber(m_macdText[1], 1, kMaxCustomPeriod);
                const auto signal = WholeNumber(m_macdText[2], 1, kMaxCustomPeriod);
                if (!shortPeriod) {
                    return SRefusal{PeriodMessage("MACD short period"), type};
                }
                if (!longPeriod) {
                    return SRefusal{PeriodMessage("MACD long period"), type};
                }
                if (!signal) {
                    return SRefusal{PeriodMessage("MACD signal smoothing period"), type};
                }
                s.macdShort = s.macdCustomShort = *shortPeriod;
                s.macdLong = s.macdCustomLong = *longPeriod;
                s.customPeriods[at] = *signal;
                s.periods[at] = *signal;
            } else {
                const SMacdPreset& preset = kMacdPresets[static_cast<std::size_t>(choice)];
                s.macdShort = preset.shortPeriod;
                s.macdLong = preset.longPeriod;
                s.periods[at] = preset.signal;
            }
            if (s.macdShort >= s.macdLong) {
                return SRefusal{kMacdOrderText, type};
            }
            s.radio[at] = choice;
            continue;
        }
        if (custom) {
            const auto period = WholeNumber(m_customText[at], 1, kMaxCustomPeriod);
            if (!period) {
                return SRefusal{PeriodMessage("Custom period of " + name), type};
            }
            // The panes compute with the standard list; the custom list remembers the edit.
            s.customPeriods[at] = *period;
            s.periods[at] = *period;
        }
        if (type == kStudyVolume) {
            s.radio[at] = custom ? 0 : 1;
        } else {
            s.radio[at] = choice;
            if (!custom) {
                s.periods[at] = StudyCatalog(type).fixedChoices[static_cast<std::size_t>(choice)];
            }
        }
        for (const SStudyPropertyRow& row : StudyProperties(type).rows) {
            const SFieldInfo& info = Field(row.field);
            if (info.level == nullptr) {
                continue;
            }
            const auto level = WholeNumber(LevelText(row.field), kMinLevel, kMaxLevel);
            if (!level) {
                return SRefusal{fmt::format("{} must be a whole number from {} to {}",
                                            info.levelName, kMinLevel, kMaxLevel),
                                type};
            }
            s.*info.level = *level;
        }
    }
    s.paneTypes = m_displayed;
    out = std::move(s);
    return std::nullopt;
}

bool CLowerStudiesPageModel::Confirm(CSettings& settings, IPrompt& prompt) {
    SStudySettings built;
    if (const auto refusal = Build(built)) {
        ShowStudy(refusal->studyType);
        prompt.Error(kErrorCaption, refusal->text);
        return false;
    }
    // What the page does not edit keeps what the table holds now: the colour page of the same
    // sheet may have stored the study data and label colours since this page was made.
    const SStudySettings current = SStudySettings::Read(settings);
    built.dataColor = current.dataColor;
    built.labelColor = current.labelColor;
    built.rsiUpColor = current.rsiUpColor;
    built.rsiLowColor = current.rsiLowColor;
    built.stoUpColor = current.stoUpColor;
    built.stoLowColor = current.stoLowColor;
    built.mfiUpColor = current.mfiUpColor;
    built.mfiLowColor = current.mfiLowColor;
    built.showVolumeAverage = current.showVolumeAverage;
    built.volumeLabelColor = current.volumeLabelColor;
    built.Write(settings);
    return true;
}

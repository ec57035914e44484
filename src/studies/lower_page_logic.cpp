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

// The choice a study opens on: the stored one when it names the period its panes compute with,
// else the fixed choice of that period (the custom choice when there is none), so that the page
// never shows a period the chart does not draw.
int ShownChoice(const SStudySettings& s, int type) {
    const int stored = s.radio[static_cast<std::size_t>(type)];
    if (type == kStudyVolume) {
        return s.VolumeAverageAllData() ? kVolumeAllDataChoice : kVolumeCustomChoice;
    }
    if (type == kStudyMACD) {
        const auto inUse = [&s](int preset) {
            const SMacdPreset& p = kMacdPresets[static_cast<std::size_t>(preset)];
            return p.shortPeriod == s.macdShort && p.longPeriod == s.macdLong &&
                   p.signal == s.Period(kStudyMACD);
        };
        if (stored >= 0 && stored < kMacdCustomChoice && inUse(stored)) {
            return stored;
        }
        for (int preset = 0; preset < kMacdCustomChoice; ++preset) {
            if (inUse(preset)) {
                return preset;
            }
        }
        return kMacdCustomChoice;
    }
    const std::vector<int>& fixed = StudyCatalog(type).fixedChoices;
    const int custom = static_cast<int>(fixed.size());
    const int period = s.Period(type);
    if (stored >= 0 && stored < custom && fixed[static_cast<std::size_t>(stored)] == period) {
        return stored;
    }
    const auto match = std::find(fixed.begin(), fixed.end(), period);
    return match != fixed.end() ? static_cast<int>(match - fixed.begin()) : custom;
}

// Whether `a` and `b` choose the same periods for `type`: its choice, its period in use and its
// custom period (MACD: its short and long periods and custom pair too).
bool SamePeriods(const SStudySettings& a, const SStudySettings& b, int type) {
    const auto at = static_cast<std::size_t>(type);
    const bool same = a.radio[at] == b.radio[at] && a.periods[at] == b.periods[at] &&
                      a.customPeriods[at] == b.customPeriods[at];
    if (type != kStudyMACD) {
        return same;
    }
    return same && a.macdShort == b.macdShort && a.macdLong == b.macdLong &&
           a.macdCustomShort == b.macdCustomShort && a.macdCustomLong == b.macdCustomLong;
}

void CopyPeriods(const SStudySettings& from, SStudySettings& to, int type) {
    const auto at = static_cast<std::size_t>(type);
    to.radio[at] = from.radio[at];
    to.periods[at] = from.periods[at];
    to.customPeriods[at] = from.customPeriods[at];
    if (type == kStudyMACD) {
        to.macdShort = from.macdShort;
        to.macdLong = from.macdLong;
        to.macdCustomShort = from.macdCustomShort;
        to.macdCustomLong = from.macdCustomLong;
    }
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
    : m_settings(settings), m_loaded(settings) {
    for (int type : settings.paneTypes) {
        if (IsStudyType(type) && static_cast<int>(m_displayed.size()) < kMaxStudyPanes) {
            m_displayed.push_back(type);
        }
    }
    m_shown = m_displayed.empty() ? kStudyRSI : m_displayed.front();
    for (int type = 0; type < kStudyTypeCount; ++type) {
        m_choice[At(type)] = ShownChoice(settings, type);
        m_customText[At(type)] = std::to_string(settings.customPeriods[At(type)]);
    }
    // The custom edits show the stored custom pair and signal whichever choice is selected.
    m_macdText = {std::to_string(settings.macdCustomShort), std::to_string(settings.macdCustomLong),
                  std::to_string(settings.customPeriods[kStudyMACD])};
    for (int field = 0; field < kStudyFieldCount; ++field) {
        const SFieldInfo& info = Fields()[static_cast<std::size_t>(field)];
        if (info.level != nullptr) {
            m_levelText[static_cast<std::size_t>(field)] = std::to_string(settings.*info.level);
        }
    }
    Compose(m_shownSettings);
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
CLowerStudiesPageModel::Compose(SStudySettings& out) const {
    SStudySettings s = m_settings;
    std::optional<SRefusal> refusal;
    const auto refuse = [&refusal](std::string text, int type) {
        if (!refusal) {
            refusal = SRefusal{std::move(text), type};
        }
    };
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
                    refuse(PeriodMessage("MACD short period"), type);
                } else if (!longPeriod) {
                    refuse(PeriodMessage("MACD long period"), type);
                } else if (!signal) {
                    refuse(PeriodMessage("MACD signal smoothing period"), type);
                } else {
                    s.macdShort = s.macdCustomShort = *shortPeriod;
                    s.macdLong = s.macdCustomLong = *longPeriod;
                    s.customPeriods[at] = *signal;
                    s.periods[at] = *signal;
                }
            } else {
                const SMacdPreset& preset = kMacdPresets[static_cast<std::size_t>(choice)];
                s.macdShort = preset.shortPeriod;
                s.macdLong = preset.longPeriod;
                s.periods[at] = preset.signal;
            }
            if (s.macdShort >= s.macdLong) {
                refuse(kMacdOrderText, type);
            }
            s.radio[at] = choice;
            continue;
        }
        if (custom) {
            if (const auto period = WholeNumber(m_customText[at], 1, kMaxCustomPeriod)) {
                // The panes compute with the standard list; the custom list remembers the edit.
                s.customPeriods[at] = *period;
                s.periods[at] = *period;
            } else {
                refuse(PeriodMessage("Custom period of " + name), type);
            }
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
            if (const auto level = WholeNumber(LevelText(row.field), kMinLevel, kMaxLevel)) {
                s.*info.level = *level;
            } else {
                refuse(fmt::format("{} must be a whole number from {} to {}", info.levelName,
                                   kMinLevel, kMaxLevel),
                       type);
            }
        }
    }
    s.paneTypes = m_displayed;
    out = std::move(s);
    return refusal;
}

std::optional<CLowerStudiesPageModel::SRefusal>
CLowerStudiesPageModel::Build(SStudySettings& out) const {
    SStudySettings built;
    auto refusal = Compose(built);
    if (!refusal) {
        out = std::move(built);
    }
    return refusal;
}

bool CLowerStudiesPageModel::Check(IPrompt& prompt) {
    SStudySettings built;
    if (const auto refusal = Compose(built)) {
        ShowStudy(refusal->studyType);
        prompt.Error(kErrorCaption, refusal->text);
        return false;
    }
    return true;
}

void CLowerStudiesPageModel::Store(CSettings& settings) {
    SStudySettings now;
    if (Compose(now)) {
        return;
    }
    // Start from what the table held and take over what the user changed: a study's period
    // choice with every period it decides, each level, colour and the slow/fast pair on its own,
    // and the displayed list.
    SStudySettings target = m_loaded;
    for (int type = 0; type < kStudyTypeCount; ++type) {
        if (!SamePeriods(now, m_shownSettings, type)) {
            CopyPeriods(now, target, type);
        }
    }
    for (const SFieldInfo& info : Fields()) {
        if (info.level != nullptr && now.*info.level != m_shownSettings.*info.level) {
            target.*info.level = now.*info.level;
        }
        if (info.color != nullptr && now.*info.color != m_shownSettings.*info.color) {
            target.*info.color = now.*info.color;
        }
    }
    if (now.stoFast != m_shownSettings.stoFast) {
        target.stoFast = now.stoFast;
    }
    if (now.paneTypes != m_shownSettings.paneTypes) {
        target.paneTypes = now.paneTypes;
    }
    target.Write(settings, m_loaded);
    m_loaded = std::move(target);
    m_shownSettings = std::move(now);
}

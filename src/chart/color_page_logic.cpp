#include "chart/color_page_logic.h"

#include "core/settings.h"

#include <algorithm>

namespace {

struct SSlot {
    const char* key;
    const char* name;
};

constexpr std::array<SSlot, CColorPageLogic::kSlotCount> kSlots{{
    {keys::kBackgroundColor, "Background"},
    {keys::kGridColor, "Grid"},
    {keys::kPriceDataColor, "Price Data"},
    {keys::kPriceLabelColor, "Price Label"},
    {keys::kPriceUpCandleColor, "Up Candle"},
    {keys::kPriceDownCandleColor, "Down Candle"},
    {keys::kPriceBarColor, "Price Bar"},
}};

constexpr std::array<const char*, CColorPageLogic::kStudyTypeCount> kStudyNames{
    "RSI",         "Momentum", "Rate of Change", "On-Balance Volume", "MACD",
    "Stochastics", "Volume",   "Money Flow",     "Money Flow Index",  "ADX"};

// The default of `key` in the table of all keys; black when it has none that reads as a colour.
ColorRef DefaultColor(const std::string& key) {
    for (const SSettingKey& entry : AllSettingKeys()) {
        if (key == entry.key) {
            return ParseColorRef(entry.defaultValue).value_or(0);
        }
    }
    return 0;
}

ColorRef LoadColor(const CSettings& settings, const std::string& key) {
    if (const std::optional<ColorRef> color = ParseColorRef(settings.GetText(key))) {
        return *color;
    }
    return DefaultColor(key);
}

std::size_t SlotIndex(EColorSlot slot) {
    const int index = static_cast<int>(slot);
    return index >= 0 && index < CColorPageLogic::kSlotCount ? static_cast<std::size_t>(index) : 0;
}

// Whether the page shows `key` on a button of its own.
bool HasButton(const std::string& key) {
    const auto isSlot = [&key](const SSlot& slot) { return key == slot.key; };
    if (std::any_of(kSlots.begin(), kSlots.end(), isSlot)) {
        return true;
    }
    for (int type = 0; type < CColorPageLogic::kStudyTypeCount; ++type) {
        if (key == keys::Numbered(keys::kStudyDataColor, type) ||
            key == keys::Numbered(keys::kStudyLabelColor, type)) {
            return true;
        }
    }
    return false;
}

} // namespace

CColorPageLogic::CColorPageLogic(const CSettings& settings) {
    for (std::size_t i = 0; i < kSlots.size(); ++i) {
        m_colors[i] = LoadColor(settings, kSlots[i].key);
    }
    for (int type = 0; type < kStudyTypeCount; ++type) {
        m_studyData[Index(type)] = LoadColor(settings, keys::Numbered(keys::kStudyDataColor, type));
        m_studyLabel[Index(type)] =
            LoadColor(settings, keys::Numbered(keys::kStudyLabelColor, type));
    }
    m_shown = {m_colors, m_studyData, m_studyLabel};
}

ColorRef CColorPageLogic::Color(EColorSlot slot) const {
    return m_colors[SlotIndex(slot)];
}

void CColorPageLogic::SetColor(EColorSlot slot, ColorRef color) {
    m_colors[SlotIndex(slot)] = color & kColorRefMask;
}

bool CColorPageLogic::SelectStudyType(int type) {
    if (!IsStudyType(type)) {
        return false;
    }
    m_studyType = type;
    return true;
}

void CColorPageLogic::SetStudyDataColor(ColorRef color) {
    m_studyData[Index(m_studyType)] = color & kColorRefMask;
}

void CColorPageLogic::SetStudyLabelColor(ColorRef color) {
    m_studyLabel[Index(m_studyType)] = color & kColorRefMask;
}

ColorRef CColorPageLogic::StudyDataColorOf(int type) const {
    return IsStudyType(type) ? m_studyData[Index(type)] : 0;
}

ColorRef CColorPageLogic::StudyLabelColorOf(int type) const {
    return IsStudyType(type) ? m_studyLabel[Index(type)] : 0;
}

void CColorPageLogic::ApplyPreset(EColorPreset preset) {
    for (std::size_t i = 0; i < kSlots.size(); ++i) {
        m_colors[i] = PresetColor(preset, kSlots[i].key);
    }
    for (int type = 0; type < kStudyTypeCount; ++type) {
        m_studyData[Index(type)] = PresetColor(preset, keys::Numbered(keys::kStudyDataColor, type));
        m_studyLabel[Index(type)] =
            PresetColor(preset, keys::Numbered(keys::kStudyLabelColor, type));
    }
    m_presetOthers.clear();
    for (const SPresetColor& entry : PresetColors(preset)) {
        if (!HasButton(entry.key)) {
            m_presetOthers.push_back(entry);
        }
    }
}

void CColorPageLogic::Store(CSettings& settings) {
    const auto store = [&settings](const std::string& key, ColorRef now, ColorRef shown) {
        if (now != shown) {
            settings.SetText(key, std::to_string(now));
        }
    };
    for (std::size_t i = 0; i < kSlots.size(); ++i) {
        store(kSlots[i].key, m_colors[i], m_shown.colors[i]);
    }
    for (int type = 0; type < kStudyTypeCount; ++type) {
        store(keys::Numbered(keys::kStudyDataColor, type), m_studyData[Index(type)],
              m_shown.studyData[Index(type)]);
        store(keys::Numbered(keys::kStudyLabelColor, type), m_studyLabel[Index(type)],
              m_shown.studyLabel[Index(type)]);
    }
    for (const SPresetColor& entry : m_presetOthers) {
        const std::string text = std::to_string(entry.color);
        if (settings.GetText(entry.key) != text) {
            settings.SetText(entry.key, text);
        }
    }
    m_presetOthers.clear();
    m_shown = {m_colors, m_studyData, m_studyLabel};
}

const char* CColorPageLogic::Key(EColorSlot slot) {
    return kSlots[SlotIndex(slot)].key;
}

const char* CColorPageLogic::SlotName(EColorSlot slot) {
    return kSlots[SlotIndex(slot)].name;
}

const char* CColorPageLogic::StudyTypeName(int type) {
    return IsStudyType(type) ? kStudyNames[Index(type)] : "";
}

#pragma once

// The colour page's model: the seven chart colours and the data and label colours of the ten
// study types, loaded from the settings table, edited on the page, and those changed stored.

#include "chart/color_preset.h"
#include "chart/color_ref.h"

#include <array>
#include <string>
#include <vector>

class CSettings;

// The colours of the chart that have one button each, in the order of the page.
enum class EColorSlot : int {
    Background = 0,
    Grid,
    PriceData,
    PriceLabel,
    PriceUpCandle,
    PriceDownCandle,
    PriceBar,
};

class CColorPageLogic {
public:
    static constexpr int kSlotCount = 7;
    static constexpr int kStudyTypeCount = 10;

    // Loads every colour. A stored text that is not a decimal colour of at most 0xFFFFFF gives
    // the key's default colour. The study type selector starts on type 0.
    explicit CColorPageLogic(const CSettings& settings);

    ColorRef Color(EColorSlot slot) const;
    // Bits above the blue byte are dropped.
    void SetColor(EColorSlot slot, ColorRef color);

    // The study type whose two colours the study buttons show.
    int StudyType() const { return m_studyType; }
    // Shows `type`; the edits of the type shown before are kept. False, and nothing changes,
    // for a type outside 0-9.
    bool SelectStudyType(int type);

    // The data and label colours of the selected study type.
    ColorRef StudyDataColor() const { return m_studyData[Index(m_studyType)]; }
    ColorRef StudyLabelColor() const { return m_studyLabel[Index(m_studyType)]; }
    void SetStudyDataColor(ColorRef color);
    void SetStudyLabelColor(ColorRef color);
    // The colours of any study type, as edited (black outside 0-9).
    ColorRef StudyDataColorOf(int type) const;
    ColorRef StudyLabelColorOf(int type) const;

    // Gives every colour of the page, of every study type, the colour of `preset`; the colour
    // keys the page has no button for (averages, bands, study lines and levels, trendlines) take
    // theirs when the page is stored.
    void ApplyPreset(EColorPreset preset);

    // Stores, in decimal under its key, every colour that differs from the one loaded or last
    // stored, and after a preset each other colour key that differs from the preset's.
    void Store(CSettings& settings);

    // The settings key of a slot and the caption of its button.
    static const char* Key(EColorSlot slot);
    static const char* SlotName(EColorSlot slot);
    // "RSI", "Momentum", "Rate of Change", "On-Balance Volume", "MACD", "Stochastics",
    // "Volume", "Money Flow", "Money Flow Index", "ADX"; empty outside 0-9.
    static const char* StudyTypeName(int type);
    static bool IsStudyType(int type) { return type >= 0 && type < kStudyTypeCount; }

private:
    static std::size_t Index(int i) { return static_cast<std::size_t>(i); }

    std::array<ColorRef, kSlotCount> m_colors{};
    std::array<ColorRef, kStudyTypeCount> m_studyData{};
    std::array<ColorRef, kStudyTypeCount> m_studyLabel{};
    // The colours as loaded or last stored.
    struct SShown {
        std::array<ColorRef, kSlotCount> colors{};
        std::array<ColorRef, kStudyTypeCount> studyData{};
        std::array<ColorRef, kStudyTypeCount> studyLabel{};
    } m_shown;
    int m_studyType = 0;
    // The colours of the last preset for the keys without a button; empty when none was applied.
    std::vector<SPresetColor> m_presetOthers;
};

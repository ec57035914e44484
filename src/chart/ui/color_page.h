#pragma once

#include "chart/color_page_logic.h"
#include "core/ui/setting_sheet.h"

#include <array>

class CButtonForColor;
class CSettings;
class QComboBox;
class QPushButton;

// The colour page of the settings sheet: one colour button for each of the seven chart colours,
// and a study type selector (starting on type 0) whose data and label colours two more buttons
// show. Edits of every study type are kept while the page is open; applying stores those changed.
// The Light and Dark buttons set every colour at once.
class CColorPage : public CSettingPage {
    Q_OBJECT

public:
    // Shows the colours `settings` hold and stores them there. `screenDepth`: bits per pixel of
    // the screen; 0 asks the primary screen. Below 9 bits the buttons open the chooser without
    // its custom-colour part.
    explicit CColorPage(CSettings& settings, QWidget* parent = nullptr, int screenDepth = 0);

    QString Title() const override; // "Colors"
    // Never refuses.
    bool Check() override;
    // Stores the colours changed since the page opened or last stored.
    void Store() override;

    // The colours as the page holds them (the buttons read in).
    const CColorPageLogic& Colors();

    int ScreenDepth() const { return m_screenDepth; }
    CButtonForColor* Button(EColorSlot slot) const;
    QComboBox* StudyTypeSelector() const { return m_studyType; }
    CButtonForColor* StudyDataButton() const { return m_studyData; }
    CButtonForColor* StudyLabelButton() const { return m_studyLabel; }
    QPushButton* PresetButton(EColorPreset preset) const {
        return preset == EColorPreset::Light ? m_lightPreset : m_darkPreset;
    }
    // What the preset buttons do: every colour button shows `preset`'s colour, and the colours
    // without a button here are stored with the page.
    void ApplyPreset(EColorPreset preset);
    // Chooses the study type the two study buttons show (the selector follows); a type outside
    // 0-9 changes nothing.
    void SelectStudyType(int type);

private:
    // Takes the colours of every button into the model.
    void ReadButtons();
    void ShowStudyType();

    CSettings& m_settings;
    CColorPageLogic m_logic;
    int m_screenDepth = 0;
    std::array<CButtonForColor*, CColorPageLogic::kSlotCount> m_buttons{};
    QComboBox* m_studyType = nullptr;
    CButtonForColor* m_studyData = nullptr;
    CButtonForColor* m_studyLabel = nullptr;
    QPushButton* m_lightPreset = nullptr;
    QPushButton* m_darkPreset = nullptr;
};

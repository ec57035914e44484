#pragma once

#include "core/ui/setting_sheet.h"
#include "studies/lower_page_logic.h"

#include <array>

class CButtonForColor;
class CSettings;
class IPrompt;
class QButtonGroup;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;

// The lower studies page of the settings sheet. On the left the studies shown in the lower panes,
// top pane first (item data: the study index), with a study selector and Add, Remove, Up and
// Down; on the right the properties of one study, relabelled for it: its period choices with the
// custom edit (MACD: short, long and signal edits; stochastics: the Slow / Fast pair beside
// them), its levels and its colours. The selector and the list both choose the study whose
// properties are shown; Add appends the selector's study as the bottom pane. Everything edited
// is kept while the page is open and stored when the sheet is applied.
class CLowerStudiesSettingPage : public CSettingPage {
    Q_OBJECT

public:
    static constexpr int kMaxRows = 4; // property rows below the period choices
    static constexpr int kMaxFixedChoices = 3;

    // Shows the studies `settings` hold and stores them there. `screenDepth`: bits per pixel of
    // the screen; 0 asks the primary screen. Below 9 bits the colour buttons open the chooser
    // without its custom-colour part.
    CLowerStudiesSettingPage(IPrompt& prompt, CSettings& settings, QWidget* parent = nullptr,
                             int screenDepth = 0);

    QString Title() const override; // "Lower Studies"
    // Refuses, with an error box captioned "Error" and the property area turned to the study
    // concerned, a MACD short period not below the long one and custom periods or levels that
    // are not whole numbers in range.
    bool Check() override;
    // Stores what the user changed (the displayed list becoming the panes).
    void Store() override;

    const CLowerStudiesPageModel& Model() const { return m_model; }
    // Relabels the property area for `studyType` (the selector follows); 0-9 only.
    void ShowStudy(int studyType);

    QListWidget* DisplayedList() const { return m_list; }
    QComboBox* StudySelector() const { return m_selector; }
    QPushButton* AddButton() const { return m_add; }
    QPushButton* RemoveButton() const { return m_remove; }
    QPushButton* UpButton() const { return m_up; }
    QPushButton* DownButton() const { return m_down; }
    // Why the last Add was refused; hidden after one that was not (its space stays reserved).
    QLabel* ListNote() const { return m_note; }

    QGroupBox* PropertiesGroup() const { return m_group; }
    QLabel* PeriodLabel() const { return m_periodLabel; }
    // The button of period choice `choice` of the shown study (the custom choice last); null for
    // a choice it does not offer.
    QRadioButton* ChoiceButton(int choice) const;
    QLineEdit* CustomEdit() const { return m_customEdit; }
    QLineEdit* MacdEdit(EMacdEdit edit) const;
    QRadioButton* SlowChoice() const { return m_slow; }
    QRadioButton* FastChoice() const { return m_fast; }
    // Row `row` (0-3) below the choices: its caption, and its level edit or colour button (the
    // one the shown study's row uses is visible).
    QLabel* RowLabel(int row) const;
    QLineEdit* RowEdit(int row) const;
    CButtonForColor* RowColorButton(int row) const;

private:
    void MakeListControls(QWidget* box);
    void MakePropertyControls(bool fullChooser);
    void FillList(int selectRow);
    void UpdateButtons();
    void UpdateEnabling();
    void OnAdd();

    IPrompt& m_prompt;
    CSettings& m_settings;
    CLowerStudiesPageModel m_model;
    bool m_showing = false;

    QListWidget* m_list = nullptr;
    QComboBox* m_selector = nullptr;
    QPushButton* m_add = nullptr;
    QPushButton* m_remove = nullptr;
    QPushButton* m_up = nullptr;
    QPushButton* m_down = nullptr;
    QLabel* m_note = nullptr;

    QGroupBox* m_group = nullptr;
    QLabel* m_periodLabel = nullptr;
    QButtonGroup* m_choices = nullptr;
    std::array<QRadioButton*, kMaxFixedChoices> m_fixed{};
    QRadioButton* m_custom = nullptr;
    QLineEdit* m_customEdit = nullptr;
    QWidget* m_macdRow = nullptr;
    std::array<QLineEdit*, 3> m_macdEdits{};
    QWidget* m_slowFast = nullptr;
    QRadioButton* m_slow = nullptr;
    QRadioButton* m_fast = nullptr;
    std::array<QLabel*, kMaxRows> m_rowLabels{};
    std::array<QLineEdit*, kMaxRows> m_rowEdits{};
    std::array<CButtonForColor*, kMaxRows> m_rowColors{};
    std::array<EStudyField, kMaxRows> m_rowFields{};
};

#pragma once

#include "core/ui/setting_sheet.h"
#include "history/data_page_logic.h"

#include <memory>

class CSettings;
class IPrompt;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QGroupBox;
class QLineEdit;
class QRadioButton;
class QSpinBox;
class QTimeEdit;
struct SRequestSettings;

// The data settings page: what a history request asks for, edited one data type at a time. It
// loads the request settings from its settings table when it is made, shows the data type of
// "RequestDataType" first, keeps the fields of every data type it has shown, and saves them all
// when the sheet is applied.
class CDataSettingsPage : public CSettingPage {
    Q_OBJECT

public:
    CDataSettingsPage(IPrompt& prompt, CSettings& settings, QWidget* parent = nullptr);
    ~CDataSettingsPage() override;

    QString Title() const override;
    // Takes the shown data type's fields into the page (an out-of-range datapoints entry becomes
    // 10000, with a message); never refuses.
    bool Check() override;
    // Saves the request settings into the settings table.
    void Store() override;

    // Stores the fields of the data type shown and shows `dataType` (the selector follows).
    void SelectDataType(int dataType);
    int ShownDataType() const { return m_shown; }

    // The request settings as the page holds them (after the last store).
    const SRequestSettings& Settings() const { return *m_settings; }

    QComboBox* DataTypeSelector() const { return m_dataType; }
    QGroupBox* Group() const { return m_group; }
    QRadioButton* Choice(ERequestChoice choice) const;
    QLineEdit* DatapointsEdit() const { return m_datapoints; }
    QSpinBox* DaysSpin() const { return m_days; }
    QCheckBox* FilterCheck() const { return m_filter; }
    QTimeEdit* BeginFilterTime() const { return m_beginFilterTime; }
    QTimeEdit* EndFilterTime() const { return m_endFilterTime; }
    QDateEdit* BeginDate() const { return m_beginDate; }
    QDateEdit* EndDate() const { return m_endDate; }
    QTimeEdit* BeginTime() const { return m_beginTime; }
    QTimeEdit* EndTime() const { return m_endTime; }
    QCheckBox* ExtendedTradesCheck() const { return m_extended; }

private:
    void MakeControls();
    void Show(int dataType);
    // Stores the shown data type's fields; entries that had to be replaced show their default.
    void StoreShown();
    SDataPageFields Fields() const;
    ERequestChoice SelectedChoice() const;
    void UpdateEnabling();

    IPrompt& m_prompt;
    CSettings& m_table;
    std::unique_ptr<SRequestSettings> m_settings;
    std::unique_ptr<CDataPageLogic> m_logic;
    int m_shown = -1;
    bool m_switching = false;

    QComboBox* m_dataType = nullptr;
    QGroupBox* m_group = nullptr;
    QButtonGroup* m_choices = nullptr;
    QRadioButton* m_byDatapoints = nullptr;
    QRadioButton* m_byDays = nullptr;
    QRadioButton* m_byDateRange = nullptr;
    QLineEdit* m_datapoints = nullptr;
    QSpinBox* m_days = nullptr;
    QCheckBox* m_filter = nullptr;
    QTimeEdit* m_beginFilterTime = nullptr;
    QTimeEdit* m_endFilterTime = nullptr;
    QDateEdit* m_beginDate = nullptr;
    QDateEdit* m_endDate = nullptr;
    QTimeEdit* m_beginTime = nullptr;
    QTimeEdit* m_endTime = nullptr;
    QCheckBox* m_extended = nullptr;
};

#pragma once

#include "chart/display_page_logic.h"
#include "core/ui/setting_sheet.h"

class CLinePictureCtrl;
class CSettings;
class IPrompt;
class QCheckBox;
class QComboBox;
class QRadioButton;
class QSpinBox;

// The display page of the settings sheet: how many points the panes show, the grid and its line
// style, the price pane's chart type, the side of the value labels, the price bar, fixed y
// scaling and the scroll step. It shows the stored values when it is made. "Show Grid" is stored
// the moment it is ticked or cleared; what else the user changed when the sheet is applied.
class CDisplaySettingsPage : public CSettingPage {
    Q_OBJECT

public:
    // Shows the values `settings` hold and stores them there.
    CDisplaySettingsPage(IPrompt& prompt, CSettings& settings, QWidget* parent = nullptr);

    QString Title() const override; // "Display"
    // Refuses, with an error box, no display point count selected or a grid shown without a
    // grid style.
    bool Check() override;
    // Stores the values changed since the page opened or last stored.
    void Store() override;

    // The values the controls hold (a list without a selection gives SDisplayPageValues::kNone).
    SDisplayPageValues Values() const;

    QComboBox* DisplayPointsList() const { return m_points; }
    QCheckBox* ShowGridCheck() const { return m_showGrid; }
    QComboBox* GridStyleList() const { return m_gridStyle; }
    CLinePictureCtrl* GridStylePreview() const { return m_gridPreview; }
    QComboBox* ChartTypeList() const { return m_chartType; }
    QComboBox* ValueLabelSideList() const { return m_labelSide; }
    QCheckBox* ShowPriceBarCheck() const { return m_showPriceBar; }
    QCheckBox* ShowLastPriceCheck() const { return m_showLastPrice; }
    QCheckBox* FixedYAxisScalingCheck() const { return m_fixedY; }
    QComboBox* PriceScaleList() const { return m_priceScale; }
    QRadioButton* ScrollByItemsChoice() const { return m_byItems; }
    QRadioButton* ScrollByPercentChoice() const { return m_byPercent; }
    QSpinBox* ScrollItemsSpin() const { return m_items; }
    QSpinBox* ScrollPercentSpin() const { return m_percent; }

signals:
    // "Show Grid" was stored at once, before any Apply.
    void showGridChanged(bool shown);

private:
    void MakeControls();
    void Show(const SDisplayPageValues& values);
    void UpdateEnabling();

    IPrompt& m_prompt;
    CSettings& m_settings;
    QComboBox* m_points = nullptr;
    QCheckBox* m_showGrid = nullptr;
    QComboBox* m_gridStyle = nullptr;
    CLinePictureCtrl* m_gridPreview = nullptr;
    QComboBox* m_chartType = nullptr;
    QComboBox* m_labelSide = nullptr;
    QCheckBox* m_showPriceBar = nullptr;
    QCheckBox* m_showLastPrice = nullptr;
    QCheckBox* m_fixedY = nullptr;
    QComboBox* m_priceScale = nullptr;
    QRadioButton* m_byItems = nullptr;
    QRadioButton* m_byPercent = nullptr;
    QSpinBox* m_items = nullptr;
    QSpinBox* m_percent = nullptr;
    SDisplayPageValues m_shown; // what the controls held when the page opened or last stored
};

#pragma once

#include "core/ui/setting_sheet.h"
#include "studies/upper_page_logic.h"

#include <array>

class CButtonForColor;
class CSettings;
class IPrompt;
class QCheckBox;
class QLineEdit;
class QSpinBox;

// The upper studies page of the settings sheet: the three moving averages over the price pane
// (each with its check box, period and colour), their exponential switch and master switch, and
// the Bollinger bands (show, colour, period, number of deviations). It shows the stored values
// when it is made and stores those the user changed when the sheet is applied.
class CUpperStudiesSettingPage : public CSettingPage {
    Q_OBJECT

public:
    // Shows the values `settings` hold and stores them there. `screenDepth`: bits per pixel of
    // the screen; 0 asks the primary screen. Below 9 bits the colour buttons open the chooser
    // without its custom-colour part.
    CUpperStudiesSettingPage(IPrompt& prompt, CSettings& settings, QWidget* parent = nullptr,
                             int screenDepth = 0);

    QString Title() const override; // "Upper Studies"
    // Refuses, with an error box, a bands period outside 2-999 or a number of deviations that is
    // a lone point or outside 0.01-100; the field concerned takes the focus.
    bool Check() override;
    // Stores the values changed since the page opened or last stored (the deviations as typed).
    void Store() override;

    // What the controls hold, the two checked fields as typed.
    SUpperPageValues Values() const;

    QCheckBox* ShowAveragesCheck() const { return m_masShow; }
    // `number` 1-3.
    QCheckBox* AverageCheck(int number) const;
    QSpinBox* AverageSpin(int number) const;
    CButtonForColor* AverageColorButton(int number) const;
    QCheckBox* ExponentialCheck() const { return m_exponential; }
    QCheckBox* ShowBandsCheck() const { return m_bandsShow; }
    CButtonForColor* BandsColorButton() const { return m_bandsColor; }
    QSpinBox* BandsPeriodSpin() const { return m_bandsPeriod; }
    QLineEdit* DeviationsEdit() const { return m_deviations; }

private:
    void Show(const SUpperStudySettings& settings);
    void FilterDeviations();

    IPrompt& m_prompt;
    CSettings& m_settings;
    QCheckBox* m_masShow = nullptr;
    std::array<QCheckBox*, 3> m_select{};
    std::array<QSpinBox*, 3> m_points{};
    std::array<CButtonForColor*, 3> m_colors{};
    QCheckBox* m_exponential = nullptr;
    QCheckBox* m_bandsShow = nullptr;
    CButtonForColor* m_bandsColor = nullptr;
    QSpinBox* m_bandsPeriod = nullptr;
    QLineEdit* m_deviations = nullptr;
    SUpperPageValues m_shown; // what the controls held when the page opened or last stored
};

#pragma once

class CColorPage;
class CDataSettingsPage;
class CDisplaySettingsPage;
class CLowerStudiesSettingPage;
class CSettings;
class CSettingSheet;
class CTrendSettingsPage;
class CUpperStudiesSettingPage;
class IPrompt;

// The pages of the chart settings sheet, in tab order.
struct SChartSettingsPages {
    CDisplaySettingsPage* display = nullptr;
    CColorPage* colors = nullptr;
    CUpperStudiesSettingPage* upper = nullptr;
    CLowerStudiesSettingPage* lower = nullptr;
    CDataSettingsPage* data = nullptr;
    CTrendSettingsPage* trend = nullptr;
};

// Makes every page of the chart settings over `settings` and adds it to `sheet`.
SChartSettingsPages AddChartSettingsPages(CSettingSheet& sheet, IPrompt& prompt,
                                          CSettings& settings);

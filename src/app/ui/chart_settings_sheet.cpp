#include "app/ui/chart_settings_sheet.h"

#include "chart/ui/color_page.h"
#include "chart/ui/display_settings_page.h"
#include "core/ui/setting_sheet.h"
#include "history/ui/data_settings_page.h"
#include "studies/ui/lower_studies_page.h"
#include "studies/ui/upper_studies_page.h"
#include "trend/ui/trend_settings_page.h"

SChartSettingsPages AddChartSettingsPages(CSettingSheet& sheet, IPrompt& prompt,
                                          CSettings& settings) {
    SChartSettingsPages pages;
    pages.display = new CDisplaySettingsPage(prompt, settings);
    pages.colors = new CColorPage(settings);
    pages.upper = new CUpperStudiesSettingPage(prompt, settings);
    pages.lower = new CLowerStudiesSettingPage(prompt, settings);
    pages.data = new CDataSettingsPage(prompt, settings);
    pages.trend = new CTrendSettingsPage(settings);
    sheet.AddPage(pages.display);
    sheet.AddPage(pages.colors);
    sheet.AddPage(pages.upper);
    sheet.AddPage(pages.lower);
    sheet.AddPage(pages.data);
    sheet.AddPage(pages.trend);
    return pages;
}

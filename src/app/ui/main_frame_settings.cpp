#include "app/ui/main_frame.h"

#include "app/ui/chart_settings_sheet.h"
#include "app/ui/home_ribbon.h"
#include "chart/color_preset.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/display_settings_page.h"
#include "core/settings.h"
#include "core/ui/setting_sheet.h"
#include "history/ui/data_settings_page.h"
#include "studies/study_panes.h"
#include "trend/trend_style.h"
#include "trend/ui/chart_trendlines.h"
#include "trend/ui/trend_settings_page.h"

#include <QApplication>
#include <QComboBox>
#include <QEvent>
#include <QPalette>
#include <QTabWidget>

#include <spdlog/spdlog.h>

#include <algorithm>
#include <functional>
#include <utility>

// The settings sheet, what its pages change, and the colours that follow the desktop.

void CMainFrame::OpenDataSettings() {
    OpenSettings(EFirstPage::DataPage);
}

void CMainFrame::OpenTrendlineSettings() {
    OpenSettings(EFirstPage::TrendlinesPage);
}

void CMainFrame::OpenSettings(EFirstPage first) {
    CSettings& settings = Settings();
    CSettingSheet sheet(settings, this);
    const SChartSettingsPages pages = AddChartSettingsPages(sheet, Prompt(), settings);
    CDisplaySettingsPage* displayPage = pages.display;
    CDataSettingsPage* dataPage = pages.data;
    QWidget* const firstPages[] = {displayPage, dataPage, pages.trend};
    sheet.findChild<QTabWidget*>()->setCurrentWidget(firstPages[static_cast<std::size_t>(first)]);
    bool reload = false;
    connect(&sheet, &CSettingSheet::pageApplied, this,
            [&reload, dataPage](CSettingPage* page) { reload = reload || page == dataPage; });
    // Grid on or off is stored at once; the panes show it at once too.
    connect(displayPage, &CDisplaySettingsPage::showGridChanged, this,
            [this] { m_view->ApplyDisplaySettings(); });
    connect(&sheet, &CSettingSheet::settingsApplied, this, [this, &reload] {
        ApplyStoredSettings();
        if (reload) {
            // The request settings changed: the shown chart asks for its history again.
            reload = false;
            m_view->ReloadRequestSettings();
            m_view->Reload();
        }
    });
    m_sheet = &sheet;
    sheet.exec();
    m_sheet = nullptr;
}

void CMainFrame::ApplyStoredSettings() {
    SyncStyleCombo();
    // Each part is handed what it draws or computes by: a look that changed repaints, a study
    // whose inputs changed computes again.
    m_studies->SettingsChanged(SUpperStudySettings::Read(Settings()),
                               SStudySettings::Read(Settings()));
    m_view->Canvas().StudySettingsChanged();
    if (m_trendlines != nullptr) {
        m_trendlines->ApplyStyles(ReadTrendStyles(Settings()));
    }
}

void CMainFrame::SyncStyleCombo() {
    const int style = Settings().GetInt(keys::kCandlePriceChartStyle);
    m_filling = true;
    m_home.styleCombo->setCurrentIndex(std::max(0, FindComboData(ChartStyleItems(), style)));
    m_filling = false;
}

namespace {

ColorRef ColorRefOf(const QColor& color) {
    return MakeColorRef(color.red(), color.green(), color.blue());
}

// Calls `changed` when the application receives an event of `type`.
class CApplicationEventWatch : public QObject {
public:
    CApplicationEventWatch(QEvent::Type type, std::function<void()> changed, QObject* parent)
        : QObject(parent), m_type(type), m_changed(std::move(changed)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == m_type && watched == QCoreApplication::instance()) {
            m_changed();
        }
        return false;
    }

private:
    QEvent::Type m_type;
    std::function<void()> m_changed;
};

} // namespace

bool CMainFrame::DesktopIsDark() {
    const QPalette palette = QApplication::palette();
    return IsDarkPalette(ColorRefOf(palette.color(QPalette::Window)),
                         ColorRefOf(palette.color(QPalette::WindowText)));
}

void CMainFrame::WatchDesktopPalette() {
    auto* watch = new CApplicationEventWatch(
        QEvent::ApplicationPaletteChange, [this] { FollowDesktopPalette(); }, this);
    QCoreApplication::instance()->installEventFilter(watch);
}

void CMainFrame::FollowDesktopPalette() {
    const bool dark = DesktopIsDark();
    if (dark == m_desktopDark) {
        return;
    }
    m_desktopDark = dark;
    // A desktop that turns dark at dusk takes the chart with it, unless the user chose colours.
    if (ColorsChosen(Settings())) {
        return;
    }
    const EColorPreset colors = FollowDesktopColors(Settings(), dark);
    spdlog::info("Desktop palette turned {}; chart colours follow it ({} set)",
                 dark ? "dark" : "light", colors == EColorPreset::Dark ? "dark" : "light");
    ApplyStoredSettings();
    m_view->Redraw();
}

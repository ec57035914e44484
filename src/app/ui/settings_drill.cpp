#include "app/ui/settings_drill.h"

#include "app/ui/main_frame.h"
#include "chart/display_page_logic.h"
#include "chart/display_range.h"
#include "chart/line_style.h"
#include "chart/ui/display_settings_page.h"
#include "core/settings.h"
#include "core/ui/setting_sheet.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>

#include <cstdio>

namespace {

void Report(const char* what, int value) {
    std::printf("%s %d\n", what, value);
    std::fflush(stdout);
}

int g_roundsLeft = 0; // the drill runs once in a process

// One round on the open sheet: the at-once grid store, then three changes, stored by Apply (the
// sheet stays open for the next round) or, every fourth round and in the last, by OK.
void DrillSheet(CMainFrame& frame) {
    CSettingSheet* sheet = frame.ActiveSettingSheet();
    auto* page = sheet != nullptr ? qobject_cast<CDisplaySettingsPage*>(sheet->Page(0)) : nullptr;
    if (page == nullptr) {
        std::fputs("no display page\n", stderr);
        QApplication::exit(1);
        return;
    }
    page->ShowGridCheck()->click();
    Report("grid", frame.Settings().GetInt(keys::kShowGrid));
    const int round = page->ScrollItemsSpin()->value() % CDisplayPageLogic::kMaxScrollItems + 1;
    page->ScrollItemsSpin()->setValue(round);
    page->DisplayPointsList()->setCurrentIndex(round % static_cast<int>(DisplayPointsTable.size()));
    page->GridStyleList()->setCurrentIndex(round % kLineStyleCount);
    --g_roundsLeft;
    if (round % 4 == 0 || g_roundsLeft == 0) {
        // The sheet closes; DrillRound reports.
        sheet->Buttons()->button(QDialogButtonBox::Ok)->click();
        return;
    }
    sheet->Buttons()->button(QDialogButtonBox::Apply)->click();
    Report("ok", frame.Settings().GetInt(keys::kScrollingItems));
    QTimer::singleShot(0, sheet, [&frame] { DrillSheet(frame); });
}

void DrillRound(CMainFrame& frame) {
    if (g_roundsLeft <= 0) {
        QApplication::quit();
        return;
    }
    QTimer::singleShot(0, &frame, [&frame] { DrillSheet(frame); });
    frame.OpenSettings(CMainFrame::EFirstPage::DisplayPage);
    Report("ok", frame.Settings().GetInt(keys::kScrollingItems));
    QTimer::singleShot(0, &frame, [&frame] { DrillRound(frame); });
}

} // namespace

int SettingsDrillRounds() {
    bool ok = false;
    const int rounds = qEnvironmentVariableIntValue("SKYCHART_SETTINGS_DRILL", &ok);
    return ok && rounds > 0 ? rounds : 0;
}

void StartSettingsDrill(CMainFrame& frame, int rounds) {
    g_roundsLeft = rounds;
    QTimer::singleShot(0, &frame, [&frame] {
        std::puts("ready");
        std::fflush(stdout);
        DrillRound(frame);
    });
}

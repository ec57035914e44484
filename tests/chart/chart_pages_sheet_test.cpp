// The real settings sheet with the display and colour pages over a real Skychart.conf: controls
// are changed as a user would, the sheet's own buttons are pressed and the file is read back.

#include "chart/ui/button_for_color.h"
#include "chart/ui/color_page.h"
#include "chart/ui/display_settings_page.h"
#include "chart/ui/line_picture_ctrl.h"
#include "core/ui/setting_sheet.h"

#include "settings_file.h"

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTimer>

#include <functional>
#include <memory>

namespace {

class ChartPagesSheet : public skychart::test::SettingsFileTest {
protected:
    void TearDown() override {
        sheet.reset();
        SettingsFileTest::TearDown();
    }
    void Open(const Values& values, int screenDepth = 0) {
        Start(values);
        sheet = std::make_unique<CSettingSheet>(settings);
        display = new CDisplaySettingsPage(prompt, settings);
        colors = new CColorPage(settings, nullptr, screenDepth);
        sheet->AddPage(display);
        sheet->AddPage(colors);
        QObject::connect(sheet.get(), &CSettingSheet::pageApplied,
                         [this](CSettingPage* page) { applied += page == display ? 1 : 10; });
        sheet->show();
    }
    void Press(QDialogButtonBox::StandardButton button) {
        sheet->Buttons()->button(button)->click();
    }
    std::unique_ptr<CSettingSheet> sheet;
    CDisplaySettingsPage* display = nullptr;
    CColorPage* colors = nullptr;
    int applied = 0; // once for the display page, ten times for the colour page
};

TEST_F(ChartPagesSheet, OkStoresTheGridStyleAndColoursOfBothPages) {
    Open({"PTS INDEX=5", "Grid Color=255", "Study Data Color 4=16711680"});
    EXPECT_EQ(sheet->Page(0)->Title(), "Display");
    EXPECT_EQ(sheet->Page(1)->Title(), "Colors");
    EXPECT_EQ(display->DisplayPointsList()->currentText(), "480");
    EXPECT_EQ(display->GridStylePreview()->Color(), 255u);
    display->GridStyleList()->setCurrentIndex(3);
    EXPECT_EQ(display->GridStylePreview()->LineStyle(), 3);
    EXPECT_EQ(CLinePictureCtrl::PenStyle(3), Qt::DashDotLine);
    display->ChartTypeList()->setCurrentIndex(0);
    colors->Button(EColorSlot::Grid)->SetColor(0x00FF00);
    colors->StudyDataButton()->SetColor(0x000080); // study type 0
    colors->StudyTypeSelector()->setCurrentIndex(4);
    EXPECT_EQ(colors->StudyDataButton()->Color(), 16711680u);
    colors->StudyLabelButton()->SetColor(0x808080);
    Press(QDialogButtonBox::Ok);
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(applied, 11);
    ExpectStored({"Grid Style=3", "PTS INDEX=5", "Candle Price Chart Style=0", "Grid Color=65280",
                  "Study Data Color 0=128", "Study Data Color 4=16711680",
                  "Study Label Color 4=8421504"});
}

// Runs `answer` on the colour chooser once it is the modal window; `definer` tells whether the
// chooser shows its colour definer.
void AnswerChooser(std::function<void(QColorDialog&, bool definer)> answer) {
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, answer] {
        if (auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget())) {
            poll->stop();
            poll->deleteLater();
            bool definer = false;
            for (QWidget* child : dialog->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
                definer |= QString(child->metaObject()->className()).contains("QColorShower") &&
                           child->isVisible();
            }
            answer(*dialog, definer);
        }
    });
    poll->start(5);
}

TEST_F(ChartPagesSheet, ColourButtonsOpenTheChooserAndKeepItsChoiceOnOkOnly) {
    Open({"Price Bar Color=4210752"}, 8);
    CButtonForColor* button = colors->Button(EColorSlot::PriceBar);
    EXPECT_FALSE(button->FullChooser());
    bool shownPreset = false;
    bool definerShown = true;
    AnswerChooser([&](QColorDialog& dialog, bool definer) {
        shownPreset = dialog.currentColor() == QColor(0x40, 0x40, 0x40);
        definerShown = definer;
        dialog.setCurrentColor(QColor(0x12, 0x34, 0x56));
        dialog.accept();
    });
    button->click();
    EXPECT_TRUE(shownPreset && !definerShown);
    EXPECT_EQ(button->Color(), 0x563412u);
    // Cancel keeps the colour; a deep screen gets the whole chooser.
    CButtonForColor* grid = colors->Button(EColorSlot::Grid);
    grid->SetFullChooser(true);
    AnswerChooser([&](QColorDialog& dialog, bool definer) {
        definerShown = definer;
        dialog.setCurrentColor(Qt::red);
        dialog.reject();
    });
    EXPECT_TRUE(!grid->Choose() && definerShown);
    EXPECT_EQ(grid->Color(), 0xC0C0C0u);
    // "Show Grid" is stored the moment it is cleared and takes the style list with it.
    int gridSignals = 0;
    QObject::connect(display, &CDisplaySettingsPage::showGridChanged,
                     [&gridSignals](bool shown) { gridSignals += shown ? 100 : 1; });
    display->ShowGridCheck()->click();
    EXPECT_EQ(std::tuple(Stored("Show Grid"), gridSignals), std::tuple("0", 1));
    EXPECT_FALSE(display->GridStyleList()->isEnabled());
    Press(QDialogButtonBox::Apply);
    EXPECT_EQ(Stored("Price Bar Color"), std::to_string(0x563412));
    // A preset sets every button, those of the study types not shown too; Cancel stores none.
    colors->PresetButton(EColorPreset::Dark)->click();
    colors->StudyTypeSelector()->setCurrentIndex(6);
    EXPECT_EQ(colors->StudyDataButton()->Color(),
              PresetColor(EColorPreset::Dark, "Study Data Color 6"));
    EXPECT_EQ(grid->Color(), PresetColor(EColorPreset::Dark, keys::kGridColor));
    Press(QDialogButtonBox::Cancel);
    EXPECT_EQ(sheet->result(), QDialog::Rejected);
    ExpectStored({"Grid Color=<missing>", "Study Data Color 6=<missing>",
                  "Price Bar Color=" + std::to_string(0x563412)});
}

} // namespace

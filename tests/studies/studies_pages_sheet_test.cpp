// The real settings sheet with the upper and lower studies pages over a real Skychart.conf:
// controls are changed as a user would, the sheet's own buttons are pressed and the file is read
// back.

#include "chart/ui/button_for_color.h"
#include "core/ui/setting_sheet.h"
#include "studies/ui/lower_studies_page.h"
#include "studies/ui/upper_studies_page.h"

#include "settings_file.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>

#include <memory>

namespace {

class StudiesPagesSheetTest : public skychart::test::SettingsFileTest {
protected:
    void TearDown() override {
        sheet.reset();
        SettingsFileTest::TearDown();
    }
    void Open(const Values& values) {
        Start(values);
        sheet = std::make_unique<CSettingSheet>(settings);
        upper = new CUpperStudiesSettingPage(prompt, settings);
        lower = new CLowerStudiesSettingPage(prompt, settings);
        sheet->AddPage(upper);
        sheet->AddPage(lower);
        QObject::connect(sheet.get(), &CSettingSheet::pageApplied, [this](CSettingPage* page) {
            (page == upper ? upperApplied : lowerApplied) += 1;
            // The file is saved once, after every page stored.
            if (page == lower) {
                fileWhenLowerStored = FileText();
            }
        });
        sheet->show();
    }
    void Press(QDialogButtonBox::StandardButton button) {
        sheet->Buttons()->button(button)->click();
    }
    void PressOk() { Press(QDialogButtonBox::Ok); }
    // Types `text` into the bands' period field; leaving it (for the OK button) makes the spin
    // box read what was typed.
    void TypePeriod(const QString& text) {
        Type(upper->BandsPeriodSpin()->findChild<QLineEdit*>(), text);
        upper->BandsPeriodSpin()->interpretText();
    }
    // Types `text` over the whole field, as a paste does.
    static void Type(QLineEdit* edit, const QString& text) {
        edit->selectAll();
        edit->insert(text);
    }
    QStringList ListTexts() const {
        QStringList texts;
        for (int row = 0; row < lower->DisplayedList()->count(); ++row) {
            texts << lower->DisplayedList()->item(row)->text();
        }
        return texts;
    }
    std::unique_ptr<CSettingSheet> sheet;
    CUpperStudiesSettingPage* upper = nullptr;
    CLowerStudiesSettingPage* lower = nullptr;
    int upperApplied = 0;
    int lowerApplied = 0;
    std::string fileWhenLowerStored;
};

TEST_F(StudiesPagesSheetTest, OkStoresTheEditsOfBothPagesAndOnlyThose) {
    Open({"Moving Average 2 Points=1000", "BB DIVIATIONS NUMBER=2.555"});
    EXPECT_EQ(upper->AverageSpin(2)->value(), 999);
    EXPECT_EQ(upper->DeviationsEdit()->text(), "2.56");
    EXPECT_EQ(upper->AverageColorButton(2)->Color(), 0xFF0000u);
    upper->ShowAveragesCheck()->click();
    upper->AverageCheck(3)->click();
    upper->AverageSpin(1)->setValue(7);
    upper->ShowBandsCheck()->click();
    TypePeriod("30");
    // The arrows step within 2 to 999.
    upper->BandsPeriodSpin()->setValue(999);
    upper->BandsPeriodSpin()->stepBy(1);
    EXPECT_EQ(upper->BandsPeriodSpin()->value(), 999);
    upper->BandsPeriodSpin()->setValue(30);
    Type(upper->DeviationsEdit(), "1.2345x.3");
    EXPECT_EQ(upper->DeviationsEdit()->text(), "1.2345");
    EXPECT_EQ(upper->DeviationsEdit()->cursorPosition(), 6);
    // The lower page opens on the one default pane, volume.
    EXPECT_EQ(ListTexts(), QStringList{"Volume"});
    EXPECT_TRUE(lower->ChoiceButton(0)->isChecked() && !lower->CustomEdit()->isEnabled());
    // RSI from the selector: relabelled, showing its choice and its levels. (Which choice shows
    // which period: the page logic test.)
    lower->StudySelector()->setCurrentIndex(kStudyRSI);
    EXPECT_EQ(lower->PropertiesGroup()->title(), "RSI Properties...");
    EXPECT_EQ(lower->DisplayedList()->currentRow(), -1); // the volume row no longer
    EXPECT_TRUE(lower->ChoiceButton(3)->isChecked());
    EXPECT_EQ(lower->RowEdit(1)->text(), "30");
    EXPECT_FALSE(lower->RowLabel(2)->isVisibleTo(lower) || lower->SlowChoice()->isVisibleTo(lower));
    lower->ChoiceButton(0)->click();
    EXPECT_FALSE(lower->CustomEdit()->isEnabled());
    Type(lower->RowEdit(0), "75");
    lower->AddButton()->click();
    lower->UpButton()->click();
    EXPECT_EQ(ListTexts(), (QStringList{"RSI", "Volume"}));
    EXPECT_FALSE(lower->UpButton()->isEnabled());
    lower->DisplayedList()->setCurrentRow(1);
    EXPECT_EQ(lower->StudySelector()->currentIndex(), kStudyVolume);
    EXPECT_FALSE(lower->DownButton()->isEnabled());
    // Stochastics: the Slow / Fast pair; ADX: colour rows.
    lower->StudySelector()->setCurrentIndex(kStudyStochastics);
    EXPECT_TRUE(lower->SlowChoice()->isVisibleTo(lower) && lower->SlowChoice()->isChecked());
    lower->FastChoice()->click();
    lower->ChoiceButton(3)->click();
    Type(lower->CustomEdit(), "12");
    lower->StudySelector()->setCurrentIndex(kStudyADX);
    EXPECT_EQ(lower->RowLabel(1)->text(), StudyProperties(kStudyADX).rows[1].caption);
    EXPECT_FALSE(lower->RowEdit(1)->isVisibleTo(lower));
    ASSERT_TRUE(lower->RowColorButton(1)->isVisibleTo(lower));
    lower->RowColorButton(1)->SetColor(0x808080);
    const std::string before = FileText();
    PressOk();
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(upperApplied + 10 * lowerApplied, 11);
    EXPECT_EQ(fileWhenLowerStored, before);
    // A custom period is the one the panes compute with, and the custom list keeps it too; the
    // deviations are kept as typed; the untouched average period keeps what the file held.
    ExpectStored({"MAs SHOW=1", "Moving Average 1 Points=7", "Moving Average 2 Points=1000",
                  "Moving Average 3 Select=0", "BB STUDY SHOW=1", "BB AVG PERIOD=30",
                  "BB DIVIATIONS NUMBER=1.2345", "Number of displayed study charts=2",
                  "Type of study chart 0=0", "Type of study chart 1=6", "RSI Radio Select=0",
                  "RSI Upper Level=75", "STO Radio Select=3", "STO Fast=1",
                  "STUDY AVG PERIOD=14,20,20,9,18,12,10,14,14,14",
                  "STUDY CUSTOM AVG PERIOD=21,20,20,9,18,12,500,9,9,10",
                  "Negative Directional Indicator Color=8421504", "RSI Lower Level=<missing>",
                  "MACD Radio Select=<missing>"});
}

TEST_F(StudiesPagesSheetTest, ARefusalOnAnyPageStoresNothingAndShowsThatPage) {
    Open({});
    const std::string before = FileText();
    upper->AverageSpin(2)->setValue(33);
    // A bands period typed out of range is told on OK, with the field as typed. (The order of
    // the upper page's refusals: the page logic test.)
    TypePeriod("1000");
    sheet->findChild<QTabWidget*>()->setCurrentWidget(lower);
    PressOk();
    EXPECT_EQ(upper->BandsPeriodSpin()->cleanText(), "1000");
    EXPECT_EQ(sheet->CurrentPage(), upper);
    TypePeriod("20");
    // The lower page's MACD 17 / 17 is refused after the upper page passed: nothing is stored.
    lower->StudySelector()->setCurrentIndex(kStudyMACD);
    EXPECT_TRUE(lower->ChoiceButton(2)->isChecked()); // custom: 8 / 17 / 18 is no preset
    EXPECT_FALSE(lower->CustomEdit()->isVisibleTo(lower));
    EXPECT_EQ(lower->MacdEdit(EMacdEdit::Short)->text(), "38");
    lower->ChoiceButton(2)->click();
    Type(lower->MacdEdit(EMacdEdit::Short), "17");
    Type(lower->MacdEdit(EMacdEdit::Long), "17");
    lower->StudySelector()->setCurrentIndex(kStudyOBV);
    sheet->findChild<QTabWidget*>()->setCurrentWidget(upper);
    PressOk();
    EXPECT_EQ(prompt.Texts(),
              (std::vector<std::string>{
                  "Error|Study average period must be from 2 to 999",
                  "Error|MACD short period must be shorter then MACD long period"}));
    EXPECT_EQ(sheet->CurrentPage(), lower);
    EXPECT_EQ(lower->PropertiesGroup()->title(), "MACD Properties...");
    EXPECT_EQ(upperApplied + lowerApplied, 0);
    EXPECT_TRUE(sheet->isVisible());
    // The list takes ten studies; the eleventh is refused with a note that moves nothing.
    QCoreApplication::processEvents();
    const QRect addAt = lower->AddButton()->geometry();
    EXPECT_FALSE(lower->ListNote()->isVisible());
    for (int type = 0; type < 10; ++type) {
        lower->StudySelector()->setCurrentIndex(type);
        lower->AddButton()->click();
    }
    EXPECT_EQ(lower->DisplayedList()->count(), 10);
    EXPECT_TRUE(lower->ListNote()->isVisible());
    EXPECT_EQ(lower->ListNote()->text(), CLowerStudiesPageModel::kListFullText);
    QCoreApplication::processEvents();
    EXPECT_EQ(std::tuple(lower->AddButton()->geometry(), FileText()), std::tuple(addAt, before));
}

} // namespace

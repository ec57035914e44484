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
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

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
        sheet = std::make_unique<CSettingSheet>();
        upper = new CUpperStudiesSettingPage(prompt, settings);
        lower = new CLowerStudiesSettingPage(prompt, settings);
        sheet->AddPage(upper);
        sheet->AddPage(lower);
        QObject::connect(upper, &CUpperStudiesSettingPage::applied, [this] { ++upperApplied; });
        QObject::connect(lower, &CLowerStudiesSettingPage::applied, [this] { ++lowerApplied; });
        sheet->show();
    }
    void PressOk() { sheet->Buttons()->button(QDialogButtonBox::Ok)->click(); }
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
};

TEST_F(StudiesPagesSheetTest, OkStoresTheEditsOfBothPages) {
    Open({"Moving Average 2 Points=1000", "BB DIVIATIONS NUMBER=2.5"});
    EXPECT_EQ(upper->AverageSpin(2)->value(), 999);
    EXPECT_EQ(upper->DeviationsEdit()->text(), "2.50");
    EXPECT_EQ(upper->AverageColorButton(2)->Color(), 0xFF0000u);

    upper->ShowAveragesCheck()->click();
    upper->AverageCheck(3)->click();
    upper->AverageSpin(1)->setValue(7);
    upper->ShowBandsCheck()->click();
    upper->BandsPeriodSpin()->setValue(30);
    Type(upper->DeviationsEdit(), "1.2x.3");
    EXPECT_EQ(upper->DeviationsEdit()->text(), "1.2");
    EXPECT_EQ(upper->DeviationsEdit()->cursorPosition(), 3);

    // The lower page opens on the one default pane, volume.
    EXPECT_EQ(ListTexts(), QStringList{"Volume"});
    EXPECT_TRUE(lower->ChoiceButton(0)->isChecked());
    EXPECT_FALSE(lower->CustomEdit()->isEnabled());

    // RSI from the selector: relabelled, showing the period in use as its custom choice and its
    // levels.
    lower->StudySelector()->setCurrentIndex(kStudyRSI);
    EXPECT_EQ(lower->PropertiesGroup()->title(), "RSI Properties...");
    EXPECT_EQ(lower->DisplayedList()->currentRow(), -1); // the volume row no longer
    EXPECT_FALSE(lower->RemoveButton()->isEnabled());
    EXPECT_TRUE(lower->ChoiceButton(3)->isChecked());
    EXPECT_EQ(lower->CustomEdit()->text(), "21");
    EXPECT_EQ(lower->RowEdit(1)->text(), "30");
    EXPECT_FALSE(lower->RowLabel(2)->isVisibleTo(lower));
    EXPECT_FALSE(lower->SlowChoice()->isVisibleTo(lower));
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
    EXPECT_TRUE(lower->SlowChoice()->isVisibleTo(lower));
    EXPECT_TRUE(lower->SlowChoice()->isChecked());
    lower->FastChoice()->click();
    lower->ChoiceButton(3)->click();
    Type(lower->CustomEdit(), "12");
    lower->StudySelector()->setCurrentIndex(kStudyADX);
    EXPECT_EQ(lower->RowLabel(1)->text(), StudyProperties(kStudyADX).rows[1].caption);
    EXPECT_FALSE(lower->RowEdit(1)->isVisibleTo(lower));
    ASSERT_TRUE(lower->RowColorButton(1)->isVisibleTo(lower));
    lower->RowColorButton(1)->SetColor(0x808080);

    PressOk();
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(sheet->result(), QDialog::Accepted);
    EXPECT_EQ(upperApplied + 10 * lowerApplied, 11);
    // A custom period is the one the panes compute with, and the custom list keeps it too.
    ExpectStored({"MAs SHOW=1", "Moving Average 1 Points=7", "Moving Average 2 Points=999",
                  "Moving Average 3 Select=0", "BB STUDY SHOW=1", "BB AVG PERIOD=30",
                  "BB DIVIATIONS NUMBER=1.20", "Number of displayed study charts=2",
                  "Type of study chart 0=0", "Type of study chart 1=6", "RSI Radio Select=0",
                  "RSI Upper Level=75", "STO Radio Select=3", "STO Fast=1",
                  "STUDY AVG PERIOD=14,20,20,9,18,12,10,14,14,14",
                  "STUDY CUSTOM AVG PERIOD=21,20,20,9,18,12,500,9,9,10",
                  "Negative Directional Indicator Color=8421504"});
}

TEST_F(StudiesPagesSheetTest, RefusalsKeepTheSheetOpenOnTheEntryConcerned) {
    Open({});
    Type(upper->DeviationsEdit(), ".");
    PressOk();
    EXPECT_EQ(prompt.Texts(),
              std::vector<std::string>{"Error|You must select a valid No. of Deviations."});
    Type(upper->DeviationsEdit(), "100");

    // MACD opens on its custom choice (8, 17 and the signal 18 in use); 17 / 17 is refused.
    lower->StudySelector()->setCurrentIndex(kStudyMACD);
    EXPECT_TRUE(lower->ChoiceButton(2)->isChecked());
    EXPECT_FALSE(lower->CustomEdit()->isVisibleTo(lower));
    EXPECT_EQ(lower->MacdEdit(EMacdEdit::Signal)->text(), "18");
    Type(lower->MacdEdit(EMacdEdit::Short), "17");
    lower->StudySelector()->setCurrentIndex(kStudyOBV);
    PressOk();
    ASSERT_EQ(prompt.boxes.size(), 2u);
    EXPECT_EQ(prompt.Texts()[1], "Error|MACD short period must be shorter then MACD long period");
    // The page turned back to the study refused.
    EXPECT_EQ(lower->PropertiesGroup()->title(), "MACD Properties...");
    // The upper page passed, then the lower one refused (the sheet stays open at each refusal).
    EXPECT_EQ(upperApplied, 1);
    EXPECT_EQ(lowerApplied, 0);

    // The list takes ten studies; the eleventh is refused with the reason shown.
    for (int type = 0; type < 10; ++type) {
        lower->StudySelector()->setCurrentIndex(type);
        lower->AddButton()->click();
    }
    EXPECT_EQ(lower->DisplayedList()->count(), 10);
    EXPECT_EQ(lower->ListNote()->text(), CLowerStudiesPageModel::kListFullText);

    lower->StudySelector()->setCurrentIndex(kStudyMACD);
    Type(lower->MacdEdit(EMacdEdit::Short), "16");
    PressOk();
    EXPECT_EQ(prompt.boxes.size(), 2u);
    EXPECT_EQ(sheet->result(), QDialog::Accepted);
    ExpectStored({"MACD Short Period=16", "MACD Custom Short Period=16", "MACD Radio Select=2",
                  "Number of displayed study charts=10", "BB DIVIATIONS NUMBER=100.00"});
}

} // namespace

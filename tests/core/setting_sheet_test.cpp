// The real settings sheet over a real Skychart.conf in a temporary XDG_CONFIG_HOME: fields are
// edited as a user would, the sheet's own buttons are pressed, and the file is read back.

#include "core/ui/setting_sheet.h"
#include "history/ui/data_settings_page.h"

#include "settings_file.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTimeEdit>

#include <memory>

namespace {

const std::string kDatapointsBox =
    "Invalid Setting|Datapoints outside of range (1 - 5,000,000).  Defaulting to 10000.";

class SettingSheetTest : public skychart::test::SettingsFileTest {
protected:
    void TearDown() override {
        sheet.reset();
        SettingsFileTest::TearDown();
    }

    // Starts the settings from `values` as the application does and opens the sheet.
    CDataSettingsPage& Open(const Values& values) {
        Start(values);
        sheet = std::make_unique<CSettingSheet>(settings);
        auto* page = new CDataSettingsPage(prompt, settings);
        sheet->AddPage(page);
        QObject::connect(sheet.get(), &CSettingSheet::pageApplied,
                         [this, page](CSettingPage* p) { dataApplied += p == page ? 1 : 0; });
        sheet->show();
        return *page;
    }
    void Press(QDialogButtonBox::StandardButton button) {
        sheet->Buttons()->button(button)->click();
    }

    std::unique_ptr<CSettingSheet> sheet;
    int dataApplied = 0;
};

TEST_F(SettingSheetTest, TheEditsOfEveryDataTypeShownReachTheFileAndBadDatapointsTheDefault) {
    CDataSettingsPage& page = Open({"RequestDataType=1", "RequestDatapoints=100,200,300,400,500"});
    ASSERT_EQ(sheet->Page(0), &page);
    // The page opens on the data type the ribbon has selected.
    EXPECT_EQ(page.DataTypeSelector()->currentText(), "Intervals");
    EXPECT_EQ(page.Group()->title(), "Intervals");
    EXPECT_FALSE(page.ExtendedTradesCheck()->isEnabled());
    page.Choice(ERequestChoice::Days)->click();
    EXPECT_FALSE(page.DatapointsEdit()->isEnabled());
    page.DaysSpin()->setValue(4);
    EXPECT_FALSE(page.BeginFilterTime()->isEnabled());
    page.FilterCheck()->click();
    page.BeginFilterTime()->setTime(QTime(9, 45, 0));

    page.DataTypeSelector()->setCurrentIndex(2);
    EXPECT_EQ(page.Group()->title(), "Days");
    EXPECT_EQ(page.DatapointsEdit()->text(), "300");
    EXPECT_FALSE(page.Choice(ERequestChoice::Days)->isEnabled());
    page.Choice(ERequestChoice::DateRange)->click();
    EXPECT_FALSE(page.BeginTime()->isEnabled());
    page.BeginDate()->setDate(QDate(2020, 1, 1));

    page.DataTypeSelector()->setCurrentIndex(0);
    page.DatapointsEdit()->setText("2500");
    page.ExtendedTradesCheck()->click();
    // Back on a data type shown before: its edits are still there.
    page.DataTypeSelector()->setCurrentIndex(1);
    EXPECT_EQ(page.DaysSpin()->value(), 4);
    EXPECT_TRUE(page.BeginFilterTime()->isEnabled());
    Press(QDialogButtonBox::Apply);

    EXPECT_TRUE(prompt.Texts().empty());
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(dataApplied, 1);
    // Settings the page does not edit (the data type) are left as they were.
    ExpectStored({"RequestRecentType=0,4,7,8,9", "RequestType=4", "RequestDays=1,4,1,0,0",
                  "RequestFilterOn=false,true,false,false,false", "RequestDataType=1",
                  "RequestBeginFilterTime=093000,094500,093000,093000,093000",
                  "RequestDatapoints=2500,200,300,400,500",
                  "RequestEnableExtendedTrades=1,0,0,0,0"});
    EXPECT_EQ(Stored("RequestBeginDate").substr(18, 8), "20200101");

    // Leaving a data type with a bad number stores the default, with the message; so does OK.
    page.DataTypeSelector()->setCurrentIndex(2);
    page.DatapointsEdit()->setText("-1");
    page.DataTypeSelector()->setCurrentIndex(0);
    EXPECT_EQ(prompt.Texts(), std::vector<std::string>{kDatapointsBox});
    page.DatapointsEdit()->setText("5000001");
    Press(QDialogButtonBox::Ok);
    EXPECT_EQ(prompt.Texts(), (std::vector<std::string>{kDatapointsBox, kDatapointsBox}));
    EXPECT_EQ(page.DatapointsEdit()->text(), "10000");
    EXPECT_EQ(sheet->result(), QDialog::Accepted);
    EXPECT_EQ(dataApplied, 2);
    EXPECT_EQ(Stored("RequestDatapoints"), "10000,200,10000,400,500");
}

TEST_F(SettingSheetTest, AStoredDataTypeThatIsNoneStaysStoredAndCancelStoresNothing) {
    CDataSettingsPage& page = Open({"RequestDataType=9", "RequestDays=3,3,3,0,0"});
    EXPECT_EQ(prompt.Texts(),
              std::vector<std::string>{"Invalid Setting|Invalid Data Type Selection!"});
    EXPECT_EQ(page.Group()->title(), "Ticks");
    Press(QDialogButtonBox::Apply);
    EXPECT_EQ(Stored("RequestDataType"), "9");
    const std::string recent = Stored("RequestRecentType");

    page.Choice(ERequestChoice::Days)->click();
    page.DaysSpin()->setValue(9);
    page.DatapointsEdit()->setText("0");
    Press(QDialogButtonBox::Cancel);
    EXPECT_EQ(sheet->result(), QDialog::Rejected);
    EXPECT_EQ(prompt.Texts().size(), 1u);
    EXPECT_EQ(dataApplied, 1);
    EXPECT_EQ(Stored("RequestDays"), "3,3,3,0,0");
    EXPECT_EQ(Stored("RequestRecentType"), recent);
}

} // namespace

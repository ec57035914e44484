// The real settings sheet over a real Skychart.conf in a temporary XDG_CONFIG_HOME: fields are
// edited as a user would, the sheet's own buttons are pressed, and the file is read back.

#include "core/prompt.h"
#include "core/settings.h"
#include "core/ui/setting_sheet.h"
#include "history/ui/data_settings_page.h"
#include "platform/config_writer.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDate>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTime>
#include <QTimeEdit>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using skychart::test::TempDir;

struct ScriptedPrompt : IPrompt {
    void Information(const std::string& caption, const std::string& text) override {
        boxes.push_back(caption + "|" + text);
    }
    void Error(const std::string& caption, const std::string& text) override {
        boxes.push_back("Error " + caption + "|" + text);
    }
    bool Question(const std::string&, const std::string&) override { return false; }
    std::vector<std::string> boxes;
};

const std::string kDatapointsBox =
    "Invalid Setting|Datapoints outside of range (1 - 5,000,000).  Defaulting to 10000.";

class SettingSheetTest : public ::testing::Test {
protected:
    void SetUp() override { ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1); }
    void TearDown() override {
        sheet.reset();
        CSettings::Instance().Reset();
        ::unsetenv("XDG_CONFIG_HOME");
    }

    // Writes `values` into Skychart.conf, starts the settings as the application does and opens
    // the sheet.
    CDataSettingsPage& Open(const std::vector<std::pair<std::string, std::string>>& values) {
        CConfigWriter file;
        for (const auto& [key, value] : values) {
            EXPECT_TRUE(file.Write(key, value)) << key;
        }
        CSettings::Instance().Reset();
        const SSettingsLoad load = LoadApplicationSettings(prompt);
        CSettings::Instance().PublishWriter(load.writer);
        sheet = std::make_unique<CSettingSheet>();
        auto* page = new CDataSettingsPage(prompt);
        sheet->AddPage(page);
        QObject::connect(sheet.get(), &CSettingSheet::pageApplied,
                         [this, page](CSettingPage* p) { dataApplied += p == page ? 1 : 0; });
        sheet->show();
        return *page;
    }
    static std::string Stored(const std::string& key) {
        return CConfigWriter().Read(key, "<missing>");
    }
    void Press(QDialogButtonBox::StandardButton button) {
        sheet->Buttons()->button(button)->click();
    }

    TempDir home;
    ScriptedPrompt prompt;
    std::unique_ptr<CSettingSheet> sheet;
    int dataApplied = 0;
};

TEST_F(SettingSheetTest, ApplyStoresTheEditedDataTypeInTheSettingsFile) {
    CDataSettingsPage& page = Open({{"RequestDataType", "1"}, {"RequestIntervalIndex", "4"}});
    ASSERT_EQ(sheet->PageCount(), 1);
    EXPECT_EQ(sheet->Page(0), &page);
    // The page opens on the data type the ribbon has selected.
    EXPECT_EQ(page.DataTypeSelector()->currentText(), "Intervals");
    EXPECT_EQ(page.Group()->title(), "Intervals");
    EXPECT_TRUE(page.Choice(ERequestChoice::Datapoints)->isChecked());
    EXPECT_FALSE(page.ExtendedTradesCheck()->isEnabled());

    page.Choice(ERequestChoice::Days)->click();
    EXPECT_FALSE(page.DatapointsEdit()->isEnabled());
    EXPECT_TRUE(page.DaysSpin()->isEnabled());
    page.DaysSpin()->setValue(4);
    EXPECT_FALSE(page.BeginFilterTime()->isEnabled());
    page.FilterCheck()->click();
    EXPECT_TRUE(page.BeginFilterTime()->isEnabled());
    page.BeginFilterTime()->setTime(QTime(9, 45, 0));
    page.EndFilterTime()->setTime(QTime(15, 15, 30));
    Press(QDialogButtonBox::Apply);

    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(dataApplied, 1);
    EXPECT_EQ(Stored("RequestRecentType"), "0,4,6,8,9");
    EXPECT_EQ(Stored("RequestType"), "4");
    EXPECT_EQ(Stored("RequestDays"), "1,4,1,0,0");
    EXPECT_EQ(Stored("RequestFilterOn"), "false,true,false,false,false");
    EXPECT_EQ(Stored("RequestBeginFilterTime"), "093000,094500,093000,093000,093000");
    EXPECT_EQ(Stored("RequestEndFilterTime"), "160000,151530,160000,160000,160000");
    // Settings the page does not edit are left as they were.
    EXPECT_EQ(Stored("RequestDataType"), "1");
    EXPECT_EQ(Stored("RequestIntervalIndex"), "4");
}

TEST_F(SettingSheetTest, SwitchingTheDataTypeKeepsTheEditsOfEach) {
    CDataSettingsPage& page = Open({{"RequestDataType", "0"},
                                    {"RequestEnableExtendedTrades", "0,0,0,0,0"},
                                    {"RequestDatapoints", "100,200,300,400,500"}});
    EXPECT_EQ(page.Group()->title(), "Ticks");
    page.DatapointsEdit()->setText("2500");
    page.ExtendedTradesCheck()->click();

    page.DataTypeSelector()->setCurrentIndex(2);
    EXPECT_EQ(page.ShownDataType(), 2);
    EXPECT_EQ(page.Group()->title(), "Days");
    EXPECT_EQ(page.DatapointsEdit()->text(), "300");
    EXPECT_FALSE(page.ExtendedTradesCheck()->isChecked());
    EXPECT_FALSE(page.Choice(ERequestChoice::Days)->isEnabled());
    page.Choice(ERequestChoice::DateRange)->click();
    EXPECT_FALSE(page.BeginTime()->isEnabled());
    page.BeginDate()->setDate(QDate(2020, 1, 1));
    page.EndDate()->setDate(QDate(2020, 12, 31));

    page.DataTypeSelector()->setCurrentIndex(3);
    EXPECT_FALSE(page.Choice(ERequestChoice::DateRange)->isEnabled());

    page.DataTypeSelector()->setCurrentIndex(0);
    EXPECT_EQ(page.DatapointsEdit()->text(), "2500");
    EXPECT_TRUE(page.ExtendedTradesCheck()->isChecked());
    Press(QDialogButtonBox::Ok);

    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(sheet->result(), QDialog::Accepted);
    EXPECT_EQ(dataApplied, 1);
    EXPECT_EQ(Stored("RequestDatapoints"), "2500,200,300,400,500");
    EXPECT_EQ(Stored("RequestEnableExtendedTrades"), "1,0,0,0,0");
    EXPECT_EQ(Stored("RequestRecentType"), "0,3,7,8,9");
    EXPECT_EQ(Stored("RequestBeginDate").substr(18, 8), "20200101");
    EXPECT_EQ(Stored("RequestEndDate").substr(18, 8), "20201231");
}

TEST_F(SettingSheetTest, InvalidDatapointsKeepTheSheetOpenUntilTheDefaultIsAccepted) {
    CDataSettingsPage& page =
        Open({{"RequestDataType", "2"}, {"RequestDatapoints", "100,200,300,400,500"}});
    page.DatapointsEdit()->setText("5000001");
    Press(QDialogButtonBox::Ok);
    ASSERT_EQ(prompt.boxes, std::vector<std::string>{kDatapointsBox});
    EXPECT_EQ(page.DatapointsEdit()->text(), "10000");
    EXPECT_NE(sheet->result(), QDialog::Accepted);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(dataApplied, 0);
    EXPECT_EQ(Stored("RequestDatapoints"), "100,200,300,400,500");

    // Leaving a data type with a bad number stores the default too, with the same message.
    page.DataTypeSelector()->setCurrentIndex(1);
    page.DatapointsEdit()->setText("-1");
    page.DataTypeSelector()->setCurrentIndex(4);
    EXPECT_EQ(prompt.boxes.size(), 2u);
    EXPECT_EQ(prompt.boxes.back(), kDatapointsBox);
    page.DatapointsEdit()->setText("1");

    Press(QDialogButtonBox::Ok);
    EXPECT_EQ(prompt.boxes.size(), 2u);
    EXPECT_EQ(sheet->result(), QDialog::Accepted);
    EXPECT_EQ(Stored("RequestDatapoints"), "100,10000,10000,400,1");
}

TEST_F(SettingSheetTest, BadStoredValuesAreToldAndPutRight) {
    CDataSettingsPage& page = Open({{"RequestDataType", "0"}, {"RequestRecentType", "7,3,6,8,9"}});
    ASSERT_EQ(prompt.boxes, std::vector<std::string>{"Invalid Setting|Unknown request type "
                                                     "Selected.\r\nDefaulting to datapoints "
                                                     "request."});
    EXPECT_TRUE(page.Choice(ERequestChoice::Datapoints)->isChecked());
    Press(QDialogButtonBox::Apply);
    EXPECT_EQ(Stored("RequestRecentType"), "0,3,6,8,9");
    sheet.reset();

    prompt.boxes.clear();
    CDataSettingsPage& fallback = Open({{"RequestDataType", "9"}});
    ASSERT_EQ(prompt.boxes,
              std::vector<std::string>{"Invalid Setting|Invalid Data Type Selection!"});
    EXPECT_EQ(fallback.Group()->title(), "Ticks");
    Press(QDialogButtonBox::Apply);
    EXPECT_EQ(Stored("RequestDataType"), "9");
}

TEST_F(SettingSheetTest, CancelLeavesTheFileAsItWas) {
    CDataSettingsPage& page = Open({{"RequestDataType", "0"}, {"RequestDays", "3,3,3,0,0"}});
    page.Choice(ERequestChoice::Days)->click();
    page.DaysSpin()->setValue(9);
    page.DatapointsEdit()->setText("0");
    Press(QDialogButtonBox::Cancel);
    EXPECT_EQ(sheet->result(), QDialog::Rejected);
    EXPECT_TRUE(prompt.boxes.empty());
    EXPECT_EQ(dataApplied, 0);
    EXPECT_EQ(Stored("RequestDays"), "3,3,3,0,0");
    EXPECT_EQ(Stored("RequestRecentType"), "<missing>");
}

} // namespace

// The real settings sheet over a real Skychart.conf in a temporary XDG_CONFIG_HOME: fields are
// edited as a user would, the sheet's own buttons are pressed, and the file is read back.

#include "app/ui/chart_settings_sheet.h"
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
#include <QTabWidget>
#include <QTimeEdit>

#include <memory>
#include <sstream>

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

// A value unlike its default for every key a page of the chart settings reads; the stored
// choices and periods of the studies disagree as a hand-edited or older file may have them.
std::vector<std::string> UnusualSettings() {
    std::vector<std::string> values;
    std::stringstream lines(
        "PTS INDEX=6;Show Grid=0;Grid Style=2;Candle Price Chart Style=0;Y Axis Orientation=true;"
        "Show Price Bar=0;Fixed Y Axis Scaling=true;Scrolling by Items=false;"
        "Scrolling By Items Not Percent=7;Scrolling by Percent=35;MAs SHOW=1;"
        "Moving Average 1 Select=0;Moving Average 2 Points=33;Moving Average 3 Points=1000;"
        "Moving Average Exponential=1;BB STUDY SHOW=1;BB AVG PERIOD=25;"
        "BB DIVIATIONS NUMBER=2.555;Number of displayed study charts=3;Type of study chart 0=4;"
        "Type of study chart 1=0;Type of study chart 2=5;"
        "STUDY AVG PERIOD=25,30,12,11,9,10,20,16,17,18;"
        "STUDY CUSTOM AVG PERIOD=22,23,24,12,19,7,300,8,10,11;RSI Radio Select=2;"
        "MOM Radio Select=0;ROC Radio Select=2;OBV Radio Select=0;MACD Radio Select=0;"
        "MF Radio Select=0;MFI Radio Select=7;ADX Radio Select=0;STO Radio Select=3;"
        "Volume Average All Data=0;STO Fast=1;Show Volume Average=0;MACD Short Period=12;"
        "MACD Long Period=25;MACD Custom Short Period=30;MACD Custom Long Period=60;"
        "RSI Upper Level=75;RSI Lower Level=25;STO Upper Level=85;STO Lower Level=15;"
        "MFI Upper Level=90;MFI Lower Level=10;RequestDataType=2;RequestType=7;"
        "RequestUseExchangeFormat=false;RequestEnableExtendedTrades=1,0,0,0,0;"
        "RequestRecentType=1,4,7,8,9;RequestDatapoints=500,600,700,800,900;RequestDays=2,3,1,0,0;"
        "RequestFilterOn=true,false,true,false,false;"
        "RequestBeginDate=20240102,20240103,20240104,20240105,20240108;"
        "RequestEndDate=20240202,20240203,20240204,20240205,20240208;"
        "RequestBeginTime=091500,091600,091700,091800,091900;"
        "RequestEndTime=151500,151600,151700,151800,151900;"
        "RequestBeginFilterTime=100000,100100,100200,100300,100400;"
        "RequestEndFilterTime=140000,140100,140200,140300,140400;Sloping Trendline Width=3;"
        "Horizontal Trendline Extendable=1;");
    for (std::string line; std::getline(lines, line, ';');) {
        values.push_back(line);
    }
    std::uint32_t color = 0x010203;
    for (const SSettingKey& key : AllSettingKeys()) {
        if (std::string(key.key).ends_with("Color")) {
            values.push_back(std::string(key.key) + "=" + std::to_string(color += 0x030507));
        }
    }
    return values;
}

TEST_F(SettingSheetTest, ApplyAndOkWithNothingTouchedLeaveTheFileAsItWas) {
    Start(UnusualSettings());
    sheet = std::make_unique<CSettingSheet>(settings);
    AddChartSettingsPages(*sheet, prompt, settings);
    sheet->show();
    const std::string before = FileText();
    ASSERT_EQ(Stored("BB DIVIATIONS NUMBER"), "2.555");
    for (int tab = 0; tab < sheet->PageCount(); ++tab) {
        sheet->findChild<QTabWidget*>()->setCurrentIndex(tab);
        Press(QDialogButtonBox::Apply);
        EXPECT_EQ(FileText(), before) << sheet->Page(tab)->Title().toStdString();
    }
    Press(QDialogButtonBox::Ok);
    EXPECT_EQ(std::tuple(sheet->result(), FileText()), std::tuple(QDialog::Accepted, before));
    EXPECT_TRUE(prompt.boxes.empty());
}

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
    EXPECT_TRUE(prompt.Texts().empty() && sheet->isVisible());
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
    EXPECT_EQ(std::tuple(sheet->result(), dataApplied), std::tuple(QDialog::Accepted, 2));
    EXPECT_EQ(Stored("RequestDatapoints"), "10000,200,10000,400,500");
}

} // namespace

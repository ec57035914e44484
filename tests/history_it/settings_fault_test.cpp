// The real frame started on a hand-edited settings file whose request list is cut short: the
// status bar names the setting and where to mend it, the chart says it has nothing to show, the
// file is left byte for byte, and mending it on the Data page loads the chart.

#include "history_it_support.h"

#include "chart/ui/chart_form_view.h"
#include "core/ui/setting_sheet.h"
#include "history/chart_hist_request.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace skychart::test {
namespace {

using SettingsFaultTest = HistoryFrameTest;

std::string ReadAll(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST_F(SettingsFaultTest, AListCutShortIsNamedWhereItCanBeMendedAndTheFileIsLeftAsItIs) {
    const std::string file = home() + "/config/Orvane/Kestrel/DisplayApps/Skychart.conf";
    // A quote left open: what follows it, up to the end of the file, is the value.
    const std::string cutShort = "[ApplicationSettings]\nCurrentSymbol=LUMA\nSymbols=LUMA\n"
                                 "RequestDataType=2\nRequestDatapoints=\"500\n";
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << cutShort;
    const std::string expected =
        "No history requested for LUMA: RequestDatapoints has no value for Days: it holds 1 "
        "value (\"500\\n\"), one is needed for each of Ticks, Intervals, Days, Weeks and Months. "
        "Mend it on the Data page of \"Chart Settings...\", or edit RequestDatapoints in " +
        file + ".";

    COrvaneCommandLineInfo commandLine;
    commandLine.Parse({"-symbol", "LUMA", "-type", "Daily"});
    OpenFrame(commandLine);
    ASSERT_TRUE(WaitForService());
    EXPECT_EQ(frame().StatusText(), expected);
    const auto* notice = frame().ChartView()->findChild<QLabel*>("ChartNotice");
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->isVisibleTo(frame().ChartView()));
    EXPECT_TRUE(notice->text().startsWith(
        "Nothing to show for LUMA: no history could be requested, because RequestDatapoints has "
        "no value for Days"))
        << notice->text().toStdString();
    EXPECT_EQ(history().GetCount(), 0);
    // Said in the status bar, no box to click away; entered again, the same, and no progress text
    // covers it.
    EXPECT_TRUE(m_prompt.boxes.empty());
    EnterInSymbolBox("luma");
    QTest::qWait(600);
    EXPECT_EQ(frame().StatusText(), expected);
    CloseFrame();
    EXPECT_EQ(ReadAll(file), cutShort);

    // The Data page mends it: the page fills the list for every data type and the chart loads.
    OpenFrame(commandLine);
    ASSERT_TRUE(WaitForService());
    bool stored = false;
    QTimer::singleShot(0, [&] {
        CSettingSheet* sheet = frame().ActiveSettingSheet();
        ASSERT_NE(sheet, nullptr);
        sheet->Buttons()->button(QDialogButtonBox::Ok)->click();
        stored = true;
    });
    frame().findChild<QToolButton*>("ChartSettingsButton")->click();
    ASSERT_TRUE(stored);
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_GT(history().GetCount(), 500);
    EXPECT_EQ(Stored("RequestDatapoints").toStdString(), "500,10000,10000,10000,10000");
}

} // namespace
} // namespace skychart::test

// The ribbon and the data settings sheet drive the requests of the real frame: a changed data
// type or interval reloads the shown symbol, stored data settings reload it too, and a slow
// answer reports its progress while Level 1 lines wait.

#include "history_it_support.h"

#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "core/ui/setting_sheet.h"
#include "history/chart_hist_request.h"
#include "history/ui/data_settings_page.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <regex>

namespace skychart::test {
namespace {

using DataRequestTest = HistoryFrameTest;

TEST_F(DataRequestTest, RibbonChangesReloadTheShownSymbolAndAreStored) {
    OpenConnectedFrame({{"RequestRecentType", "0,3,6,8,9"},
                        {"RequestDatapoints", "300,40,30,10,6"},
                        {"RequestEnableExtendedTrades", "1,0,0,0,0"}});
    ASSERT_TRUE(EnterAndWait("LUMA"));
    EXPECT_EQ(history().GetCount(), 300);

    m_status.Clear();
    frame().RequestTypeCombo()->setCurrentIndex(2); // Daily
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_EQ(Stored("RequestDataType"), "2");
    EXPECT_EQ(Stored("RequestType"), "6");
    const std::vector<sTICK> days = Series();
    ASSERT_EQ(days.size(), 30u);
    for (const sTICK& day : days) {
        EXPECT_EQ(SecondOfDay(day), 0);
    }
    EXPECT_EQ(m_status.Texts().back(), "30 datapoints available.  Displaying 120.");

    frame().RequestTypeCombo()->setCurrentIndex(1); // Minute, "1-Minute" stored
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_EQ(Stored("RequestType"), "3");
    EXPECT_EQ(history().GetCount(), 40);

    frame().IntervalCombo()->setCurrentIndex(6); // 15-Minute
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_EQ(Stored("RequestIntervalIndex"), "6");
    const std::vector<sTICK> bars = Series();
    ASSERT_EQ(bars.size(), 40u);
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const sTICK& bar = bars[i];
        EXPECT_EQ(SecondOfDay(bar) % 900, 0) << DateOf(bar);
        EXPECT_EQ(bar.microseconds, 0);
        EXPECT_GE(bar.high, std::max(bar.open, bar.close));
        EXPECT_LE(bar.low, std::min(bar.open, bar.close));
        if (i > 0) {
            EXPECT_LT(bars[i - 1].time, bar.time);
        }
    }
}

TEST_F(DataRequestTest, StoredDataSettingsReloadTheChart) {
    OpenConnectedFrame({{"RequestRecentType", "0,3,6,8,9"},
                        {"RequestDatapoints", "300,40,30,10,6"},
                        {"RequestEnableExtendedTrades", "1,0,0,0,0"},
                        {"RequestDataType", "0"}});
    ASSERT_TRUE(EnterAndWait("LUMA"));
    ASSERT_EQ(history().GetCount(), 300);

    m_status.Clear();
    bool edited = false;
    QTimer::singleShot(0, [&] {
        CSettingSheet* sheet = frame().ActiveSettingSheet();
        ASSERT_NE(sheet, nullptr);
        auto* page = sheet->findChild<CDataSettingsPage*>();
        ASSERT_NE(page, nullptr);
        page->DatapointsEdit()->setText("700");
        sheet->Buttons()->button(QDialogButtonBox::Ok)->click();
        edited = true;
    });
    auto* button = frame().findChild<QToolButton*>("DataSettingsButton");
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->text(), "Data Settings...");
    button->click();
    ASSERT_TRUE(edited);
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_EQ(history().GetCount(), 700);
    EXPECT_EQ(Stored("RequestDatapoints").toStdString().substr(0, 4), "700,");
    EXPECT_EQ(frame().StatusText(), "700 datapoints available.  Displaying 120.");
}

TEST_F(DataRequestTest, ASlowAnswerReportsProgressAndHoldsLevel1LinesUntilItsEnd) {
    // A second portico that writes slowly; the frame talks to it instead.
    PorticoProcess slow(PORTICO_EXECUTABLE);
    ASSERT_TRUE(slow.start({"--linger", "0", "--connect-delay", "100", "--fault-drip", "3000"}))
        << slow.errorOutput();
    std::ofstream(home() + "/config/Orvane/Kestrel/Startup.conf")
        << fmt::format("[General]\nAdminPort={}\nLookupPort={}\nLevel1Port={}\n", slow.adminPort(),
                       slow.lookupPort(), slow.level1Port());

    OpenConnectedFrame({{"RequestRecentType", "0,3,6,8,9"},
                        {"RequestDatapoints", "4000,10000,10000,10000,10000"},
                        {"RequestEnableExtendedTrades", "1,0,0,0,0"},
                        {"RequestDataType", "0"}});
    m_status.Clear();
    EnterInSymbolBox("LUMA");
    std::size_t mostHeld = 0;
    CChartFormView* view = frame().ChartView();
    ASSERT_TRUE(WaitFor(
        [&] {
            mostHeld = std::max(mostHeld, view->Loader().HeldLevel1Lines().size());
            return history().IsHistoryComplete() &&
                   view->LastStatusText().find("datapoints") != std::string::npos;
        },
        std::chrono::seconds(120)));

    const std::vector<std::string> texts = m_status.Texts();
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts.back(), "4000 datapoints available.  Displaying 120.");
    const std::regex retrieving(R"(Retrieving Tick Data \((\d+) Ticks Received\))");
    int previous = -1;
    for (std::size_t i = 0; i + 1 < texts.size(); ++i) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(texts[i], match, retrieving)) << texts[i];
        const int received = std::stoi(match[1].str());
        EXPECT_GT(received, previous) << "the count only grows";
        EXPECT_LT(received, 4000);
        previous = received;
    }
    // The watch's fundamental line and the quotes came while loading and waited for the end.
    EXPECT_GT(mostHeld, 0u);
    EXPECT_TRUE(view->Loader().HeldLevel1Lines().empty());
    slow.stop();
}

} // namespace
} // namespace skychart::test

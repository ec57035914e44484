// The real main frame loading history from a real portico: every data type holds exactly what
// the service sends for the same request; the ribbon and the data sheet reload; a list cut short
// is named where to mend it.

#include "frame_fixture.h"

#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "core/ui/setting_sheet.h"
#include "feed/feed_connections.h"
#include "history/chart_hist_request.h"
#include "history/ui/data_settings_page.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace skychart::test {
namespace {

using Lines = std::vector<std::vector<std::string>>;

class HistoryFrameTest : public FrameTest {
protected:
    // Opens the frame, stores `values` (key -> text) and waits for the service.
    void OpenConnectedFrame(const std::map<std::string, std::string>& values = {}) {
        OpenFrame();
        UseSettings(values);
        ASSERT_TRUE(WaitForService());
    }
    // Waits until the current request is complete and its datapoints text is shown.
    bool WaitForLoaded() {
        const bool loaded = WaitFor(
            [this] {
                return history().IsHistoryComplete() &&
                       frame().ChartView()->LastStatusText().find("datapoints available") !=
                           std::string::npos;
            },
            std::chrono::seconds(120));
        // Lines still in the socket would belong to this answer: none may follow its end marker.
        QApplication::processEvents();
        return loaded;
    }
    bool EnterAndWait(const std::string& symbol) {
        EnterInSymbolBox(QString::fromStdString(symbol));
        return WaitForLoaded();
    }
    std::vector<sTICK> Series() {
        std::vector<sTICK> series(static_cast<std::size_t>(history().GetCount()));
        for (std::size_t i = 0; i < series.size(); ++i) {
            history().GetTick(static_cast<int>(i), series[i]);
        }
        return series;
    }
    // Clicks `button` and, once the settings sheet it opens runs, `edit`s it and presses OK.
    template <typename Edit> void EditSettingsSheet(const char* button, Edit edit) {
        bool edited = false;
        QTimer::singleShot(0, [&] {
            CSettingSheet* sheet = frame().ActiveSettingSheet();
            ASSERT_NE(sheet, nullptr);
            edit(*sheet);
            sheet->Buttons()->button(QDialogButtonBox::Ok)->click();
            edited = true;
        });
        frame().findChild<QToolButton*>(button)->click();
        ASSERT_TRUE(edited);
    }
};

// "YYYY-MM-DD HH:MM:SS" of a record.
std::string Stamp(const sTICK& p) {
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", p.time.GetYear(), p.time.GetMonth(),
                       p.time.GetDay(), p.time.GetHour(), p.time.GetMinute(), p.time.GetSecond());
}

enum class ELayout { Ticks, Intervals, Periods };

// Each record against the service's line of the same request, field by field (its numbers read
// and written again); the newest is left out when `newestMayMove` (it may still be trading).
void ExpectRecords(const std::vector<sTICK>& series, const Lines& direct, ELayout layout,
                   bool newestMayMove = false) {
    ASSERT_EQ(series.size(), direct.size());
    for (std::size_t i = 0; i + (newestMayMove ? 1 : 0) < series.size(); ++i) {
        const sTICK& t = series[i];
        const bool intervals = layout == ELayout::Intervals;
        std::string expected = direct[i].at(2);
        for (const std::size_t column : {3, 4, 5, 6, 7, 8, 12, 13}) {
            if (column < 9 || layout == ELayout::Ticks) {
                expected += fmt::format(",{}", std::stod(direct[i].at(column)));
            }
        }
        EXPECT_EQ(layout == ELayout::Ticks
                      ? fmt::format("{}.{:06},{},{},{},{},{},{},{},{}", Stamp(t), t.microseconds,
                                    t.close, t.size, t.volume, t.bid, t.ask, t.tickId, t.aggressor,
                                    t.dayCode)
                      : fmt::format("{},{},{},{},{},{},{}",
                                    intervals ? Stamp(t) : Stamp(t).substr(0, 10), t.high, t.low,
                                    t.open, t.close, t.volume, intervals ? t.size : t.openInterest),
                  expected);
    }
}

TEST_F(HistoryFrameTest, EveryDataTypeHoldsWhatTheServiceSends) {
    // A whole past trading day: the one before the newest daily bar.
    OpenConnectedFrame();
    const Lines recent = QueryLookup(portico().lookupPort(), "HDX,LUMA,5,1,Recent", "Recent");
    ASSERT_EQ(recent.size(), 5u);
    const auto compact = [](std::string date) { return std::erase(date, '-'), date; };
    const std::string day = compact(recent[3][2]);
    const std::string first = compact(recent[0][2]);
    UseSettings({{"RequestRecentType", "2,5,7,8,9"},
                 {"RequestDatapoints", "10000,10000,10000,30,12"},
                 {"RequestIntervalIndex", "4"}, // 5-Minute
                 {"RequestEnableExtendedTrades", "1,0,0,0,0"},
                 {"RequestBeginDate", fmt::format("{0},{0},{1}", day, first)},
                 {"RequestEndDate", fmt::format("{0},{0},{0}", day)},
                 {"RequestBeginTime", "100000,100000"},
                 {"RequestEndTime", "103000,103000"}});
    const auto load = [this](int dataType) {
        settings().SetInt("RequestDataType", dataType);
        EXPECT_TRUE(EnterAndWait("LUMA")) << "data type " << dataType;
        return Series();
    };
    const int port = portico().lookupPort();
    const std::vector<sTICK> ticks = load(0);
    ASSERT_GT(ticks.size(), 10u);
    ExpectRecords(ticks,
                  QueryLookup(port, fmt::format("HTT,LUMA,{0} 100000,{0} 103000,,,,1,T", day), "T"),
                  ELayout::Ticks);
    EXPECT_EQ(Stamp(ticks.front()).substr(11), "10:00:00");
    // A bar labelled after the end of the range (it holds the trades of 10:30:00) is dropped.
    Lines intervals =
        QueryLookup(port, fmt::format("HIT,LUMA,300,{0} 100000,{0} 103000,,,,1,I,,s,0", day), "I");
    std::erase_if(intervals, [&](const auto& f) { return f[2] > recent[3][2] + " 10:30:00"; });
    ExpectRecords(load(1), intervals, ELayout::Intervals);
    const std::vector<sTICK> days = load(2);
    ASSERT_EQ(days.size(), 4u);
    ExpectRecords(days, QueryLookup(port, fmt::format("HDT,LUMA,{},{},,1,D", first, day), "D"),
                  ELayout::Periods);
    EXPECT_EQ(days.back().dayCode, days.back().time.GetDay());
    ExpectRecords(load(3), QueryLookup(port, "HWX,LUMA,30,1,W", "W"), ELayout::Periods, true);
    const std::vector<sTICK> months = load(4);
    ExpectRecords(months, QueryLookup(port, "HMX,LUMA,12,1,M", "M"), ELayout::Periods, true);
    ASSERT_EQ(months.size(), 12u);
    EXPECT_EQ(months.front().dayCode, 0);
}

TEST_F(HistoryFrameTest, TheRibbonAndTheDataSheetLeadToTheNextLoadAndQuotesAreNoUpdates) {
    // A market closed for the weekend: no live trade or new bar changes the counts.
    UsePortico({"--start-time", "2024-03-09 12:00:00", "--quote-rate", "40"});
    OpenConnectedFrame({{"RequestRecentType", "0,3,6,8,9"},
                        {"RequestDatapoints", "300,40,30,10,6"},
                        {"RequestEnableExtendedTrades", "1,0,0,0,0"}});
    // (An error reply before the next request: the chart session test.)
    CChartFormView* view = frame().ChartView();
    ASSERT_TRUE(EnterAndWait("luma"));
    EXPECT_EQ(history().GetCount(), 300);
    frame().RequestTypeCombo()->setCurrentIndex(2); // Daily
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_EQ(Stored("RequestType"), "6");
    // The days' datapoints (what a day holds is the test of every data type above).
    EXPECT_EQ(frame().StatusText(), "30 datapoints available.  Displaying 120.");
    frame().RequestTypeCombo()->setCurrentIndex(1); // Minute, "1-Minute" stored
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_EQ(std::tuple(Stored("RequestType"), history().GetCount()), std::tuple("3", 40));
    frame().IntervalCombo()->setCurrentIndex(6); // 15-Minute
    ASSERT_TRUE(WaitForLoaded());
    const std::vector<sTICK> bars = Series();
    ASSERT_EQ(bars.size(), 40u);
    for (std::size_t i = 0; i < bars.size(); ++i) {
        EXPECT_EQ(bars[i].time.GetSecondsOfDay() % 900, 0) << Stamp(bars[i]);
        EXPECT_TRUE(i == 0 || bars[i - 1].time < bars[i].time) << Stamp(bars[i]);
    }
    // Stored data settings reload the chart too.
    EXPECT_EQ(frame().findChild<QToolButton*>("DataSettingsButton")->text(), "Data Settings...");
    EditSettingsSheet("DataSettingsButton", [](CSettingSheet& sheet) {
        auto* page = sheet.findChild<CDataSettingsPage*>();
        ASSERT_NE(page, nullptr);
        page->DatapointsEdit()->setText("700");
    });
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_EQ(std::tuple(history().GetCount(), Stored("RequestDatapoints"), frame().StatusText()),
              std::tuple(700, "300,700,30,10,6", "700 datapoints available.  Displaying 120."));
    // On a Saturday an equity's bid and ask still move, but nothing trades: the feed pane counts
    // trades of the shown symbol, not its quotes.
    const SKestrelSocketStats& level1 =
        *frame().Feed()->ConnectionStatistics(CFeedConnections::kLevel1);
    const std::uint32_t seen = level1.messagesReceived.value;
    ASSERT_TRUE(WaitFor([&] { return level1.messagesReceived.value >= seen + 30; }));
    auto* pane = frame().findChild<QLabel*>("FeedState");
    ASSERT_NE(pane, nullptr);
    pane->clear();
    ASSERT_TRUE(WaitFor([&] { return !pane->text().isEmpty(); }));
    EXPECT_EQ(pane->text().toStdString(), "No update yet");
    EXPECT_EQ(view->Loader().AppliedTradeLines(), 0U);
}

TEST_F(HistoryFrameTest, AListCutShortIsNamedWhereItCanBeMendedAndTheFileIsLeftAsItIs) {
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
    EXPECT_EQ(ReadFile(file), cutShort);
    // The Data page mends it: the page fills the list for every data type and the chart loads.
    OpenFrame(commandLine);
    ASSERT_TRUE(WaitForService());
    EditSettingsSheet("ChartSettingsButton", [](CSettingSheet&) {});
    ASSERT_TRUE(WaitForLoaded());
    EXPECT_GT(history().GetCount(), 500);
    EXPECT_EQ(Stored("RequestDatapoints").toStdString(), "500,10000,10000,10000,10000");
}

} // namespace
} // namespace skychart::test

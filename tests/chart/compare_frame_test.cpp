// Price scales, compare symbols, printing and image export in the real frame over LUMA from the
// real portico: scale and symbols stored and reloaded, compare lines from 0% at the first shown
// bar in the header's colours, refusals named; a PDF printout and PNG and PDF images.

#include "frame_fixture.h"

#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_stack_widget.h"
#include "chart/ui/stack_pane_chart.h"
#include "pixels.h"

#include <QAction>
#include <QFile>
#include <QImage>
#include <QMenu>
#include <QPrinter>

#include <algorithm>
#include <cmath>
#include <regex>

namespace skychart::test {
namespace {

using CompareFrameTest = FrameTest;

bool StartsWithPdf(const std::string& path) {
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) && file.read(5) == "%PDF-" && file.size() > 2000;
}

// The price pane menu's scale entries: "+" ticked, "-" off, then the name, and the line saying
// why the others are off.
std::string ScaleMenu(CChartCanvas& canvas) {
    QMenu menu;
    canvas.FillPaneMenu(menu, 0);
    std::string entries;
    for (const QAction* action : menu.actions()) {
        const std::string text = action->text().toStdString();
        if (text == "Linear" || text == "Logarithmic" || text == "Percent" ||
            text.find("compared") != std::string::npos) {
            entries += std::string(action->isChecked() ? "+" : "") +
                       (action->isEnabled() ? "" : "-") + text + ";";
        }
    }
    return entries;
}

TEST_F(CompareFrameTest, StoredScaleAndSymbolsComeBackEveryLineStartsAtZeroAndThePanesPrint) {
    OpenFrame();
    UseSettings({{"RequestDataType", "2"}, {"RequestDatapoints", "300,40,500,10,6"}});
    frame().ChartView()->Canvas().SetPriceScale(EPriceScale::Log);
    EXPECT_EQ(frame().ChartView()->CompareSymbol("krno"), "");
    EXPECT_EQ(frame().ChartView()->CompareSymbol("AURX"), "");
    EXPECT_EQ(Stored("Price Scale"), "1");
    EXPECT_EQ(Stored("Compare Symbols"), "KRNO,AURX");
    CloseFrame();
    OpenFrame();
    CChartFormView& view = *frame().ChartView();
    CChartCanvas& canvas = view.Canvas();
    EXPECT_EQ(canvas.Style().priceScale, EPriceScale::Log);
    ASSERT_EQ(view.CompareSet().Symbols(), (std::vector<std::string>{"KRNO", "AURX"}));
    ASSERT_TRUE(WaitForService());
    EnterInSymbolBox("LUMA");
    const auto answered = [&] {
        const auto& entries = view.CompareSet().Entries();
        return view.HistoryShown() &&
               std::all_of(entries.begin(), entries.end(), [](const CCompareSet::SEntry& entry) {
                   return entry.history->IsHistoryComplete() && entry.history->GetCount() > 0;
               });
    };
    ASSERT_TRUE(WaitFor(answered, std::chrono::seconds(120)));
    canvas.RedrawAll();
    // The pane shows per cent while symbols are compared; the stored choice stays.
    const CChart2D& pane = canvas.Stack().Pane(0);
    const CValueScale& scale = pane.ValueScale(CChart2D::EAxis::Y);
    ASSERT_EQ(scale.Kind(), EPriceScale::Percent);
    EXPECT_EQ(canvas.Style().priceScale, EPriceScale::Log);
    EXPECT_EQ(ScaleMenu(canvas),
              "-Linear;-Logarithmic;+Percent;-(Percent while symbols are compared);");
    const SDisplayedBars& bars = canvas.DrawManager().Displayed();
    ASSERT_GT(bars.Count(), 10);
    EXPECT_DOUBLE_EQ(scale.Base(), bars.close.front());
    EXPECT_DOUBLE_EQ(scale.PercentOf(bars.close.front()), 0.0);
    const CCompareLines& lines = *canvas.DrawManager().Compare();
    for (const CCompareSet::SEntry& entry : view.CompareSet().Entries()) {
        SCOPED_TRACE(entry.symbol);
        EXPECT_EQ(entry.history->GetParameters().symbol, entry.symbol);
        const std::vector<double> values = lines.Values(entry);
        ASSERT_EQ(values.size(), static_cast<std::size_t>(bars.Count()));
        // The same trading days: the first shown bar has its compare bar, at 0%.
        ASSERT_FALSE(std::isnan(values.front()));
        EXPECT_NEAR(scale.PercentOf(values.front()), 0.0, 1e-9);
        // Later values move with the symbol's own closes, not the chart's.
        int apart = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            apart += std::fabs(values[i] - bars.close[i]) > 0.01 * bars.close[i] ? 1 : 0;
        }
        EXPECT_GT(apart, 10);
    }
    // The header: the price bar, then each symbol with its change, in its line's colour; the
    // mouse's read-out of a bar keeps them.
    const auto& header = dynamic_cast<const CStackPaneChart&>(pane);
    const auto labelText = [&] {
        std::string text;
        for (const CChart2D::SLabelRun& run : header.LabelRuns()) {
            text += run.text;
        }
        return text;
    };
    const std::string before = labelText();
    canvas.SetCursorBar(bars.first + bars.Count() / 2);
    ASSERT_TRUE(WaitFor([&] { return labelText() != before; }));
    const auto& runs = header.LabelRuns();
    ASSERT_EQ(runs.size(), 3U);
    for (std::size_t i = 0; i < 2; ++i) {
        const CCompareSet::SEntry& entry = view.CompareSet().Entries()[i];
        EXPECT_EQ(runs[i + 1].text.rfind("  " + entry.symbol + " ", 0), 0U) << runs[i + 1].text;
        EXPECT_NE(runs[i + 1].text.find('%'), std::string::npos);
        EXPECT_EQ(runs[i + 1].color, entry.color);
    }
    EXPECT_NE(runs[0].color, runs[1].color);
    // An unknown symbol says so in the status line. (The refusals: the bus end-to-end test.)
    EXPECT_TRUE(view.CompareSymbol("BRYN").empty() && view.RemoveCompareSymbol("BRYN"));
    EXPECT_EQ(view.CompareSymbol("QQQQZ"), "");
    EXPECT_TRUE(WaitFor([&] {
        return view.LastStatusText().find("QQQQZ is an unknown symbol") != std::string::npos;
    }));
    EXPECT_EQ(view.SetCompareSymbols(""), "");
    EXPECT_EQ(Stored("Compare Symbols"), "");
    canvas.RedrawAll();
    EXPECT_EQ(pane.ValueScale(CChart2D::EAxis::Y).Kind(), EPriceScale::Log);
    EXPECT_EQ(ScaleMenu(canvas), "Linear;+Logarithmic;Percent;");
    // Printed and exported under the title line; a format or folder it cannot write is refused.
    EXPECT_TRUE(std::regex_match(view.PrintTitleNow(),
                                 std::regex(R"(LUMA Daily\t\t\d\d:\d\d:\d\d on \d{4}/\d\d/\d\d)")));
    const std::string folder = home();
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(folder + "/printed.pdf"));
    ASSERT_TRUE(view.Print(printer));
    EXPECT_TRUE(StartsWithPdf(folder + "/printed.pdf"));
    EXPECT_EQ(view.ExportImage(folder + "/chart.pdf"), "");
    EXPECT_TRUE(StartsWithPdf(folder + "/chart.pdf"));
    ASSERT_EQ(view.ExportImage(folder + "/chart.png"), "");
    const QImage image(QString::fromStdString(folder + "/chart.png"));
    EXPECT_GT(Count(image, MakeColorRef(0, 255, 0)), 100) << "up candles";
    EXPECT_GT(Count(image, MakeColorRef(255, 0, 0)), 100) << "down candles";
    EXPECT_NE(view.ExportImage(folder + "/chart.bmp"), "");
    EXPECT_NE(view.ExportImage(folder + "/no/such/folder/chart.png"), "");
}

} // namespace
} // namespace skychart::test

// Printing and image export of the loaded chart in the real frame: a PDF printout, PNG and PDF
// images of the displayed panes under the title line, and clear refusals.

#include "frame_fixture.h"

#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "pixels.h"
#include "temp_dir.h"

#include <QFile>
#include <QImage>
#include <QPrinter>

#include <gtest/gtest.h>

#include <regex>

namespace skychart::test {
namespace {

using ChartPrintingTest = FrameTest;

bool StartsWithPdf(const std::string& path) {
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) && file.read(5) == "%PDF-" && file.size() > 2000;
}

TEST_F(ChartPrintingTest, ThePanesArePrintedAndExportedUnderTheTitleLine) {
    OpenFrame();
    settings().SetInt("RequestDataType", 2);
    ASSERT_TRUE(WaitForService());
    EnterInSymbolBox("luma");
    CChartFormView& view = *frame().ChartView();
    ASSERT_TRUE(WaitFor([&] {
        return history().IsHistoryComplete() &&
               view.LastStatusText().find("datapoints available") != std::string::npos;
    }));
    EXPECT_TRUE(std::regex_match(view.PrintTitleNow(),
                                 std::regex(R"(LUMA Daily\t\t\d\d:\d\d:\d\d on \d{4}/\d\d/\d\d)")));

    TempDir folder;
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(folder.path() + "/printed.pdf"));
    ASSERT_TRUE(view.Print(printer));
    EXPECT_TRUE(StartsWithPdf(folder.path() + "/printed.pdf"));

    EXPECT_EQ(view.ExportImage(folder.path() + "/chart.pdf"), "");
    EXPECT_TRUE(StartsWithPdf(folder.path() + "/chart.pdf"));

    const std::string png = folder.path() + "/chart.png";
    ASSERT_EQ(view.ExportImage(png), "");
    const QImage image(QString::fromStdString(png));
    ASSERT_FALSE(image.isNull());
    EXPECT_GT(Count(image, MakeColorRef(0, 255, 0)), 100) << "up candles";
    EXPECT_GT(Count(image, MakeColorRef(255, 0, 0)), 100) << "down candles";

    EXPECT_NE(view.ExportImage(folder.path() + "/chart.bmp"), "");
    EXPECT_NE(view.ExportImage(folder.path() + "/no/such/folder/chart.png"), "");
}

} // namespace
} // namespace skychart::test

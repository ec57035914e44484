// Printing and image export of the chart view: the displayed panes fitted to the page below a
// title line, through the printer or into a PNG or PDF file (see chart_image.h).

#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_image.h"

#include <QMenu>
#include <QPageLayout>
#include <QPainter>
#include <QPrinter>

std::string CChartFormView::PrintTitleNow() const {
    return ChartTitleNow(Symbol(), m_loader.DataType(), m_loader.IntervalIndex());
}

bool CChartFormView::Print(QPrinter& printer) {
    QPainter painter;
    if (!painter.begin(&printer)) {
        return false;
    }
    const QRect page(QPoint(0, 0),
                     printer.pageLayout().paintRectPixels(printer.resolution()).size());
    PaintChartDocument(painter, page, *m_canvas, PrintTitleNow());
    return painter.end();
}

std::string CChartFormView::ExportImage(const std::string& path) {
    return WriteChartImage(*m_canvas, PrintTitleNow(), path);
}

void CChartFormView::SetChartMenuCommands(std::function<void()> print,
                                          std::function<void()> exportImage) {
    m_canvas->AddMenuExtender(
        [print = std::move(print), exportImage = std::move(exportImage)](QMenu& menu, int) {
            menu.addSeparator();
            menu.addAction("Print...", print);
            menu.addAction("Export Image...", exportImage);
        });
}

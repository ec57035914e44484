// Printing and image export of the chart view: the displayed panes fitted to the page below a
// title line, through the printer, a PDF writer or an image.

#include "chart/chart_print.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"

#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QMenu>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>

#include <algorithm>
#include <chrono>
#include <ctime>

namespace {

// Draws the title line centred at the top of `page` and the panes fitted below it.
void PaintDocument(QPainter& painter, const QRect& page, CChartCanvas& canvas,
                   const std::string& title) {
    QFont font("Times New Roman");
    font.setPointSizeF(10.0);
    painter.setFont(font);
    painter.setPen(Qt::black);
    const QFontMetrics metrics(font, painter.device());
    // The two tabs between the chart and the time read as a wide gap.
    QString text = QString::fromStdString(title);
    text.replace("\t\t", "        ");
    const int textWidth = metrics.horizontalAdvance(text);
    const int titleHeight = metrics.height() + metrics.height() / 2;
    painter.drawText(CentredLeft(page.left(), page.width(), textWidth),
                     page.top() + metrics.ascent(), text);

    const QSize size = canvas.PanesSize();
    const SPrintRect fitted = FitToPage(
        size.width(), size.height(),
        {page.left(), page.top() + titleHeight, page.width(), page.height() - titleHeight});
    if (fitted.width <= 0 || fitted.height <= 0) {
        return;
    }
    // The panes are drawn into an image at up to three times their screen size and that image
    // is fitted to the page: printers and PDF pages have their own resolution, and the panes'
    // pixel-sized text and lines keep their proportions this way.
    const double scale = std::clamp(static_cast<double>(fitted.width) / size.width(), 1.0, 3.0);
    QImage panes(static_cast<int>(size.width() * scale), static_cast<int>(size.height() * scale),
                 QImage::Format_RGB32);
    panes.fill(Qt::white);
    {
        QPainter panePainter(&panes);
        canvas.RenderPanes(panePainter, QRectF(0, 0, panes.width(), panes.height()));
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(fitted.left, fitted.top, fitted.width, fitted.height), panes);
}

} // namespace

std::string CChartFormView::PrintTitleNow() const {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local{};
    localtime_r(&now, &local);
    SDateTimeFields fields;
    fields.year = local.tm_year + 1900;
    fields.month = local.tm_mon + 1;
    fields.day = local.tm_mday;
    fields.hour = local.tm_hour;
    fields.minute = local.tm_min;
    fields.second = local.tm_sec;
    try {
        return PrintTitle(Symbol(), m_loader.DataType(), m_loader.IntervalIndex(), fields);
    } catch (const CInvalidArgException&) {
        return Symbol();
    }
}

bool CChartFormView::Print(QPrinter& printer) {
    QPainter painter;
    if (!painter.begin(&printer)) {
        return false;
    }
    const QRect page(QPoint(0, 0),
                     printer.pageLayout().paintRectPixels(printer.resolution()).size());
    PaintDocument(painter, page, *m_canvas, PrintTitleNow());
    return painter.end();
}

std::string CChartFormView::ExportImage(const std::string& path) {
    const QString file = QString::fromStdString(path);
    const QString suffix = QFileInfo(file).suffix().toLower();
    const QSize panes = m_canvas->PanesSize();
    if (panes.isEmpty()) {
        return "the chart has nothing to draw";
    }
    const std::string title = PrintTitleNow();
    if (suffix == "pdf") {
        QPdfWriter writer(file);
        writer.setPageOrientation(panes.width() >= panes.height() ? QPageLayout::Landscape
                                                                  : QPageLayout::Portrait);
        writer.setResolution(150);
        QPainter painter;
        if (!painter.begin(&writer)) {
            return "cannot write " + path;
        }
        const QRect page(QPoint(0, 0),
                         writer.pageLayout().paintRectPixels(writer.resolution()).size());
        PaintDocument(painter, page, *m_canvas, title);
        return painter.end() ? std::string() : "cannot write " + path;
    }
    if (suffix != "png") {
        return "the file name must end in .png or .pdf: " + path;
    }
    constexpr int kTitleStrip = 24;
    QImage image(panes.width(), panes.height() + kTitleStrip, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        PaintDocument(painter, image.rect(), *m_canvas, title);
    }
    return image.save(file, "PNG") ? std::string() : "cannot write " + path;
}

void CChartFormView::SetChartMenuCommands(std::function<void()> print,
                                          std::function<void()> exportImage) {
    m_canvas->SetMenuExtender(
        [print = std::move(print), exportImage = std::move(exportImage)](QMenu& menu) {
            menu.addSeparator();
            menu.addAction("Print...", print);
            menu.addAction("Export Image...", exportImage);
        });
}

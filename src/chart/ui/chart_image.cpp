#include "chart/ui/chart_image.h"

#include "base/error.h"
#include "chart/chart_print.h"
#include "chart/ui/chart_canvas.h"

#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

#include <algorithm>
#include <chrono>
#include <ctime>

namespace {

constexpr int kPdfResolution = 150;

QFont TitleFont() {
    QFont font("Times New Roman");
    font.setPointSizeF(10.0);
    return font;
}

// The title line and half a line of space below it.
int TitleHeight(const QFontMetrics& metrics) {
    return metrics.height() + metrics.height() / 2;
}

std::string WriteError(const std::string& path, const QSaveFile& file) {
    return "cannot write " + path + ": " + file.errorString().toStdString();
}

} // namespace

void PaintChartDocument(QPainter& painter, const QRect& page, CChartCanvas& canvas,
                        const std::string& title) {
    const QFont font = TitleFont();
    painter.setFont(font);
    painter.setPen(Qt::black);
    const QFontMetrics metrics(font, painter.device());
    QString text = QString::fromStdString(title);
    text.replace("\t\t", "        ");
    const int textWidth = metrics.horizontalAdvance(text);
    const int titleHeight = TitleHeight(metrics);
    painter.drawText(CentredLeft(page.left(), page.width(), textWidth),
                     page.top() + metrics.ascent(), text);

    const QSize size = canvas.PanesSize();
    const SPrintRect fitted = FitToPage(
        size.width(), size.height(),
        {page.left(), page.top() + titleHeight, page.width(), page.height() - titleHeight});
    if (fitted.width > 0 && fitted.height > 0) {
        canvas.RenderPanes(painter, QRectF(fitted.left, fitted.top, fitted.width, fitted.height));
    }
}

std::string ChartTitleNow(const std::string& symbol, int dataType, int intervalIndex) {
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
        return PrintTitle(symbol, dataType, intervalIndex, fields);
    } catch (const CInvalidArgException&) {
        return symbol;
    }
}

int ChartImageTitleHeight() {
    // The metrics of an image device: what a PNG's painter measures with.
    const QImage device(1, 1, QImage::Format_RGB32);
    return TitleHeight(QFontMetrics(TitleFont(), &device));
}

std::string WriteChartImage(CChartCanvas& canvas, const std::string& title, const std::string& path,
                            QSize imageSize, int scale) {
    const QString fileName = QString::fromStdString(path);
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    if (suffix != "png" && suffix != "pdf") {
        return "the file name must end in .png or .pdf: " + path;
    }
    const QSize panes = canvas.PanesSize();
    if (panes.isEmpty()) {
        return "the chart has nothing to draw";
    }
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        return WriteError(path, file);
    }
    if (suffix == "pdf") {
        QPdfWriter writer(&file);
        writer.setPageOrientation(panes.width() >= panes.height() ? QPageLayout::Landscape
                                                                  : QPageLayout::Portrait);
        writer.setResolution(kPdfResolution);
        QPainter painter;
        if (!painter.begin(&writer)) {
            return "cannot write " + path;
        }
        const QRect page(QPoint(0, 0),
                         writer.pageLayout().paintRectPixels(writer.resolution()).size());
        PaintChartDocument(painter, page, canvas, title);
        if (!painter.end()) {
            return "cannot write " + path;
        }
    } else {
        if (imageSize.isEmpty()) {
            imageSize = QSize(panes.width(), panes.height() + ChartImageTitleHeight());
        }
        scale = std::max(scale, 1);
        QImage image(imageSize * scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::white);
        {
            QPainter painter(&image);
            PaintChartDocument(painter, QRect(QPoint(0, 0), imageSize), canvas, title);
        }
        if (!image.save(&file, "PNG")) {
            return WriteError(path, file);
        }
    }
    return file.commit() ? std::string() : WriteError(path, file);
}

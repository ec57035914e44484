#pragma once

// The chart as a document: a title line centred at the top and the displayed panes fitted below
// it. Printing, "Export Image..." and the render mode all draw it through here.

#include <QSize>

#include <string>

class CChartCanvas;
class QPainter;
class QRect;

// Draws `title` centred at the top of `page` and the canvas's displayed panes fitted below it,
// keeping their proportions. Two tabs in the title read as a wide gap.
void PaintChartDocument(QPainter& painter, const QRect& page, CChartCanvas& canvas,
                        const std::string& title);

// The title line of a chart of `symbol` printed now (local time); the bare symbol when the data
// type or the interval index is out of range.
std::string ChartTitleNow(const std::string& symbol, int dataType, int intervalIndex);

// The height in pixels that the title line takes above the panes in a PNG.
int ChartImageTitleHeight();

// Writes the canvas's document under `title` to `path`, a PNG or a PDF by its extension (in any
// case). A PNG is `imageSize` pixels, or, when that is empty, the panes' size plus the title
// line, drawn at `scale` device pixels per pixel (an image `scale` times as wide and high); a PDF
// is one page at 150 dpi, landscape when the panes are wider than tall. The file is written whole
// or not at all (an existing one stays as it was). Returns "" when written, else why not: another
// extension, nothing to draw, or the file's error.
std::string WriteChartImage(CChartCanvas& canvas, const std::string& title, const std::string& path,
                            QSize imageSize = {}, int scale = 1);

#pragma once

// The arithmetic of printing the chart: the title line, the image of the stacked panes fitted to
// the printable area, and each pane's rectangle on the page.

#include "base/datetime.h"

#include <span>
#include <string>
#include <vector>

struct SPrintRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const SPrintRect&, const SPrintRect&) = default;
};

// Minutes of a bar by interval index (0-10): 1, 2, 3, 4, 5, 10, 15, 30, 45, 60, 120. Another
// index throws CInvalidArgException.
int IntervalMinutes(int intervalIndex);

// The name of a data type (0-4): "Tick", "Minute", "Daily", "Weekly", "Monthly". Another type
// throws CInvalidArgException.
std::string DataTypeName(int dataType);

// The title line: the symbol, a space, "%d-Minute Chart" with the interval's minutes for minute
// data (data type 1) or the type's name for the others, then "\t\t" and the time of printing as
// "%H:%M:%S on %Y/%m/%d". The interval index is used only for minute data.
std::string PrintTitle(const std::string& symbol, int dataType, int intervalIndex,
                       const SDateTimeFields& printedAt);

// The image fitted into `printable`, keeping its aspect ratio: when the page is relatively
// taller than the image the width fills the page and the image is centred vertically; otherwise
// the height fills it and the image is centred horizontally. An image or page without area gives
// an empty rectangle at the page's corner.
SPrintRect FitToPage(int imageWidth, int imageHeight, const SPrintRect& printable);

// The rectangles of the panes, one below the other, when an image of the panes' heights (top to
// bottom) is drawn into `fitted`: each pane's share of the height is scaled alike, and rounding
// never leaves a gap between two panes.
std::vector<SPrintRect> PrintPaneRects(std::span<const int> paneHeights, const SPrintRect& fitted);

// The left edge that centres a text `textWidth` wide on a page.
int CentredLeft(int pageLeft, int pageWidth, int textWidth);

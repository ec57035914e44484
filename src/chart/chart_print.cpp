#include "chart/chart_print.h"

#include "base/error.h"
#include "chart/chart_rounding.h"
#include "core/data_types.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>

namespace {

std::size_t Index(int value) {
    if (value < 0) {
        throw CInvalidArgException("index " + std::to_string(value) + " is negative");
    }
    return static_cast<std::size_t>(value);
}

} // namespace

int IntervalMinutes(int intervalIndex) {
    return ElementAt(IntervalTable(), Index(intervalIndex)).minutes;
}

std::string DataTypeName(int dataType) {
    return ElementAt(DataTypeTable(), Index(dataType)).name;
}

std::string PrintTitle(const std::string& symbol, int dataType, int intervalIndex,
                       const SDateTimeFields& printedAt) {
    const std::string chart = dataType == kIntervals
                                  ? fmt::format("{}-Minute Chart", IntervalMinutes(intervalIndex))
                                  : DataTypeName(dataType);
    return fmt::format("{} {}\t\t{:02}:{:02}:{:02} on {:04}/{:02}/{:02}", symbol, chart,
                       printedAt.hour, printedAt.minute, printedAt.second, printedAt.year,
                       printedAt.month, printedAt.day);
}

SPrintRect FitToPage(int imageWidth, int imageHeight, const SPrintRect& printable) {
    if (imageWidth <= 0 || imageHeight <= 0 || printable.width <= 0 || printable.height <= 0) {
        return {printable.left, printable.top, 0, 0};
    }
    const std::int64_t pageTall = static_cast<std::int64_t>(printable.height) * imageWidth;
    const std::int64_t imageTall = static_cast<std::int64_t>(imageHeight) * printable.width;
    if (pageTall > imageTall) {
        const int height = RoundHalfUp(static_cast<double>(imageHeight) * printable.width /
                                       static_cast<double>(imageWidth));
        return {printable.left, printable.top + (printable.height - height) / 2, printable.width,
                height};
    }
    const int width = RoundHalfUp(static_cast<double>(imageWidth) * printable.height /
                                  static_cast<double>(imageHeight));
    return {printable.left + (printable.width - width) / 2, printable.top, width, printable.height};
}

std::vector<SPrintRect> PrintPaneRects(std::span<const int> paneHeights, const SPrintRect& fitted) {
    std::int64_t total = 0;
    for (const int h : paneHeights) {
        total += h > 0 ? h : 0;
    }
    std::vector<SPrintRect> rects;
    rects.reserve(paneHeights.size());
    const double scale = total > 0 ? static_cast<double>(fitted.height) / total : 0.0;
    std::int64_t above = 0;
    for (const int h : paneHeights) {
        const int top = RoundHalfUp(static_cast<double>(above) * scale);
        above += h > 0 ? h : 0;
        const int bottom = RoundHalfUp(static_cast<double>(above) * scale);
        rects.push_back({fitted.left, fitted.top + top, fitted.width, bottom - top});
    }
    return rects;
}

int CentredLeft(int pageLeft, int pageWidth, int textWidth) {
    return pageLeft + (pageWidth - textWidth) / 2;
}

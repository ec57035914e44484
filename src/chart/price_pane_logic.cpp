#include "chart/price_pane_logic.h"

#include "chart/chart_rounding.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kCandleShare = 0.7;
constexpr int kWideCandleWidth = 3;

} // namespace

EPriceChartType PriceChartType(int dataType, int candleStyle) {
    if (dataType == 0) {
        return EPriceChartType::Line;
    }
    return candleStyle == 1 ? EPriceChartType::Candles : EPriceChartType::Bars;
}

double SpacePerPoint(double plotWidth, double leftMargin, double rightMargin, int displayedPoints) {
    const double space = displayedPoints > 1 ? (plotWidth - (leftMargin + rightMargin)) /
                                                   (static_cast<double>(displayedPoints) - 0.5)
                                             : plotWidth;
    return space > 0.0 ? space : 1.0;
}

SCandleWidth CandleWidth(double spacePerPoint) {
    const int width = RoundHalfUp(spacePerPoint * kCandleShare);
    return {width, width >= kWideCandleWidth};
}

SCandleWidth CandleWidth(double plotWidth, double leftMargin, double rightMargin,
                         int displayedPoints) {
    return CandleWidth(SpacePerPoint(plotWidth, leftMargin, rightMargin, displayedPoints));
}

SPriceRange DisplayedPriceRange(std::span<const double> highs, std::span<const double> lows,
                                std::span<const std::int64_t> volumes) {
    const std::size_t bars = std::min({highs.size(), lows.size(), volumes.size()});
    if (bars == 0) {
        return {};
    }
    SPriceRange range{-1'000'000.0, 1'000'000.0, 0};
    for (std::size_t i = 0; i < bars; ++i) {
        if (highs[i] > range.high) {
            range.high = highs[i];
        }
        if (lows[i] < range.low) {
            range.low = lows[i];
        }
        range.volume = std::max(range.volume, volumes[i]);
    }
    return range;
}

std::string PriceBarText(std::span<const std::string> fields, bool showPriceBar,
                         bool priceMinimized, int maximizedPane) {
    std::string text;
    if (!showPriceBar) {
        return text;
    }
    const bool markMinimized = priceMinimized && maximizedPane != 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        text += fields[i];
        if (markMinimized && i + 1 == fields.size()) {
            text += " (Minimized)";
        }
        text += ' ';
    }
    return text;
}

#pragma once

// The price pane's price data: the displayed bars as candlesticks or open-high-low-close bars,
// or a tick series as a line of trade prices.

#include "base/datetime.h"
#include "chart/chart_style.h"
#include "chart/drawn_item.h"
#include "chart/price_pane_logic.h"
#include "chart/series_ids.h"

#include <cstdint>
#include <vector>

// The displayed bars, copied from the series for one redraw: entry i is the bar at series index
// first + i. For ticks the open, high and low hold the trade price as the close does.
struct SDisplayedBars {
    int first = 0;
    std::vector<double> open;
    std::vector<double> high;
    std::vector<double> low;
    std::vector<double> close;
    std::vector<std::int64_t> volume;
    std::vector<CDateTime> times;
    std::vector<std::int32_t> microseconds;

    int Count() const { return static_cast<int>(close.size()); }
};

// How the price data is drawn: set by the draw manager before each paint.
struct SPriceLook {
    EPriceChartType type = EPriceChartType::Candles;
    SCandleWidth candle;
    ColorRef data = 0;
    ColorRef up = 0;
    ColorRef down = 0;
};

class CHistPriceChart final : public CDrawnItem {
public:
    static constexpr CChart2D::SeriesId kPriceSeries = series_ids::kPrice;

    // Draws `bars` as `look` says; both belong to the draw manager and outlive the item.
    CHistPriceChart(const SDisplayedBars& bars, const SPriceLook& look)
        : m_bars(bars), m_look(look) {}

    void Paint(CChart2D& chart, const SPaneView& view) override;
    void Erase(CChart2D& chart) const override;
    // The highest high and lowest low of the displayed bars.
    std::optional<CChart2D::SRange> Extent(const SPaneView& view) const override;

private:
    const SDisplayedBars& m_bars;
    const SPriceLook& m_look;
};

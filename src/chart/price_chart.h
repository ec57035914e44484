#pragma once

// The price pane's price data: the displayed bars as candlesticks or open-high-low-close bars,
// or a tick series as a line of trade prices.

#include "base/datetime.h"
#include "chart/chart_style.h"
#include "chart/drawn_item.h"
#include "chart/price_pane_logic.h"

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

class CHistPriceChart final : public CDrawnItem {
public:
    static constexpr CChart2D::SeriesId kPriceSeries = 100;

    explicit CHistPriceChart(const SDisplayedBars& bars) : m_bars(bars) {}

    // How the next Paint draws: the chart type, colours and candle width.
    void SetLook(EPriceChartType type, const SChartStyle& style, SCandleWidth candle);
    EPriceChartType Type() const { return m_type; }
    SCandleWidth Candle() const { return m_candle; }

    void Paint(CChart2D& chart) override;
    void Erase(CChart2D& chart) override;
    // Price data is neither picked nor dragged.
    std::optional<double> HitTest(const CChart2D& chart, CChart2D::SPixelPoint point,
                                  double tolerance) const override;
    bool MoveBy(const CChart2D& chart, CChart2D::SPixelPoint from,
                CChart2D::SPixelPoint to) override;

private:
    const SDisplayedBars& m_bars;
    EPriceChartType m_type = EPriceChartType::Candles;
    SCandleWidth m_candle;
    ColorRef m_data = 0;
    ColorRef m_up = 0;
    ColorRef m_down = 0;
};

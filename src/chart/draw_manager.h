#pragma once

// The draw manager of the chart view: it reads the displayed bars of the series, gives the
// panes the prices by bar index and paints the price pane and the study panes through their
// charts.

#include "chart/chart_style.h"
#include "chart/price_chart.h"
#include "chart/price_pane_logic.h"

#include <cstdint>
#include <string>

class CChartHistRequest;
enum class EPriceColumn : int;

// What a redraw of the panes knows beyond the bars: the table entry of displayed points (the
// width of the x axis in bars) and the price bar text.
struct SPaneFrame {
    int displayedPoints = 120;
    std::string priceBarText;
};

class CHistChartDrawManager {
public:
    static constexpr int kPaneCount = 11;

    explicit CHistChartDrawManager(const CChartHistRequest& history);

    // Reads the displayed bars, `count` from `first` (clipped to the series), for the data type
    // of the series. Only these bars are copied.
    void SetScrollPosition(int first, int count, int dataType);
    const SDisplayedBars& Displayed() const { return m_bars; }
    int DataType() const { return m_dataType; }
    // A new series: a fixed y range is fitted once more.
    void ResetYRange() { m_haveYRange = false; }

    // Bar accessors by series index, 0 being the oldest loaded bar; for ticks all four prices
    // give the trade price. An index outside the series gives the nearest bar.
    double High(int index) const;
    double Low(int index) const;
    double Open(int index) const;
    double Close(int index) const;
    std::int64_t Volume(int index) const;

    // The highest high, lowest low and largest volume of the displayed bars.
    SPriceRange DisplayedRange() const;
    CHistPriceChart& PriceChart() { return m_price; }

    // The eight fields of the price bar: symbol, chart, and the newest displayed bar's time,
    // open, high, low, close and volume.
    std::vector<std::string> PriceBarFields(const std::string& symbol,
                                            const std::string& chartText) const;

    // Pane 0: frame, x axis, y range (the displayed bars unless fixed), candle width, bars.
    void PaintPricePane(CChart2D& chart, const SChartStyle& style, const SPaneFrame& frame);
    // A study pane: frame, x axis and label line; the studies draw into it.
    void PaintStudyPane(CChart2D& chart, const SChartStyle& style, const SPaneFrame& frame,
                        int studyType, const std::string& label);

private:
    double Price(EPriceColumn column, int index) const;
    void PaintXAxis(CChart2D& chart, const SPaneFrame& frame) const;

    const CChartHistRequest& m_history;
    SDisplayedBars m_bars;
    int m_dataType = 0;
    CHistPriceChart m_price{m_bars};
    bool m_haveYRange = false;
    CChart2D::SRange m_yRange;
};

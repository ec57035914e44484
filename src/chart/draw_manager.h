#pragma once

// The draw manager of the chart view: it reads the displayed bars of the series, gives the
// panes the prices by bar index and paints the price pane and the study panes through their
// charts.

#include "chart/bar_series.h"
#include "chart/chart_style.h"
#include "chart/pane_studies.h"
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
    // The pane whose x axis carries the time labels (the lowest shown); the others draw the
    // grid lines only.
    int timeLabelPane = 0;
};

class CHistChartDrawManager final : public IBarSeries {
public:
    static constexpr int kPaneCount = 11;

    explicit CHistChartDrawManager(const CChartHistRequest& history);

    // The studies that draw over the price pane and into the study panes (not owned; null:
    // study panes show their frames only).
    void SetStudies(IPaneStudies* studies) { m_studies = studies; }
    IPaneStudies* Studies() const { return m_studies; }

    // Reads the displayed bars, `count` from `first` (clipped to the series), for the data type
    // of the series. Only these bars are copied.
    void SetScrollPosition(int first, int count, int dataType);
    const SDisplayedBars& Displayed() const { return m_bars; }
    int DataType() const { return m_dataType; }
    // A new series: a fixed y range is fitted once more.
    void ResetYRange() { m_haveYRange = false; }

    // Bar accessors by series index, 0 being the oldest loaded bar; for ticks all four prices
    // give the trade price. The volume is the one the studies weigh by: for ticks and minute
    // bars the point's own size. An index outside the series gives the nearest bar.
    int Count() const override;
    double High(int index) const override;
    double Low(int index) const override;
    double Open(int index) const override;
    double Close(int index) const override;
    std::int64_t Volume(int index) const override;

    // The highest high, lowest low and largest volume of the displayed bars.
    SPriceRange DisplayedRange() const;
    CHistPriceChart& PriceChart() { return m_price; }

    // The bar that the read-outs describe: `cursorBar` when it is a displayed bar, else the
    // newest displayed bar; kNoCursorBar when nothing is displayed.
    int ReadOutBar(int cursorBar) const;
    // The decimals that the displayed prices need (2 to 6).
    int PriceDecimals() const { return m_decimals; }
    // The price bar fields of a displayed bar: the prices, its time, and the studies' averages
    // and bands fields.
    std::vector<std::string> PriceBarFields(int bar) const;
    // The header label beside the price bar: "Daily Price: LUMA" and its kin.
    std::string HeaderLabel(const std::string& symbol) const;
    // The info text of a displayed bar: prices, volume and time, the averages and bands, and one
    // line per displayed study.
    std::string InfoText(int bar) const;

    // Pane 0: frame, x axis, y range (the displayed bars and the upper studies unless fixed),
    // candle width, bars and the upper studies.
    void PaintPricePane(CChart2D& chart, const SChartStyle& style, const SPaneFrame& frame);
    // Study pane `pane` (1 .. 10): frame, x axis, and the study's lines and label line; without
    // studies the frame carries `label`.
    void PaintStudyPane(CChart2D& chart, const SChartStyle& style, const SPaneFrame& frame,
                        int pane, int studyType, const std::string& label, int cursorBar,
                        bool minimized);

private:
    double Price(EPriceColumn column, int index) const;
    std::string TimeField(std::size_t at) const;
    std::string FormatPrice(double price) const;
    // The decimals (2 to 6) that `prices` need.
    static int DecimalsOf(std::span<const double> prices);
    void PaintXAxis(CChart2D& chart, const SPaneFrame& frame, bool withTexts) const;

    const CChartHistRequest& m_history;
    IPaneStudies* m_studies = nullptr;
    SDisplayedBars m_bars;
    int m_decimals = 2;
    int m_dataType = 0;
    CHistPriceChart m_price{m_bars};
    bool m_haveYRange = false;
    CChart2D::SRange m_yRange;
};

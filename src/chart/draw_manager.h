#pragma once

// The draw manager of the chart view: it reads the displayed bars of the series, gives the
// studies the prices by bar index, keeps each pane's list of drawn items (the price data and
// what the studies draw, then items of its own such as trendlines) and paints a pane by
// painting its list.

#include "chart/bar_series.h"
#include "chart/chart_style.h"
#include "chart/compare_lines.h"
#include "chart/last_price.h"
#include "chart/pane_studies.h"
#include "chart/price_chart.h"
#include "chart/price_pane_logic.h"

#include <array>
#include <cstdint>
#include <memory>
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
    // The bar under the mouse, whose values the study panes' label lines show.
    int cursorBar = kNoCursorBar;
    // The view is being scrolled (a thumb or the chart dragged): the Percent scale keeps its base.
    bool scrolling = false;
};

class CHistChartDrawManager final : public IBarSeries {
public:
    static constexpr int kPaneCount = 11;

    explicit CHistChartDrawManager(const CChartHistRequest& history);

    // The studies that draw over the price pane and into the study panes (not owned; null:
    // study panes show their frames only).
    void SetStudies(IPaneStudies* studies);
    IPaneStudies* Studies() const { return m_studies; }

    // Reads the displayed bars, `count` from `first` (clipped to the series), for the data type
    // of the series. Only these bars are copied.
    void SetScrollPosition(int first, int count, int dataType);
    const SDisplayedBars& Displayed() const { return m_bars; }
    int DataType() const { return m_dataType; }
    // A new series: a fixed y range is fitted once more.
    void ResetYRange() {
        m_haveYRange = false;
        m_percentBase.Reset();
        if (m_compare != nullptr) {
            m_compare->Reset();
        }
    }
    // The compare symbols' lines over the price pane (null: none). While a symbol is compared
    // the pane shows the Percent scale, whatever the stored choice, and its header lists them.
    void SetCompare(std::shared_ptr<CCompareLines> lines) {
        m_compare = std::move(lines);
        ++m_ownVersion;
    }
    const CCompareLines* Compare() const { return m_compare.get(); }
    // The price pane's scale as last painted (its Percent base the close of the first bar then).
    const CValueScale& PriceScale() const { return m_scale; }
    // Set by the first deletion of a point, cleared when the history of a new load completes:
    // while it is set the deleted points can be restored.
    void SetPointsDeleted(bool deleted) { m_pointsDeleted = deleted; }
    bool PointsDeleted() const { return m_pointsDeleted; }

    // Bar accessors by series index, 0 being the oldest loaded bar; for ticks all four prices
    // give the trade price. The volume is the one the studies weigh by: for ticks and minute
    // bars the point's own size. An index outside the series gives the nearest bar.
    int Count() const override;
    double High(int index) const override;
    double Low(int index) const override;
    double Open(int index) const override;
    double Close(int index) const override;
    std::int64_t Volume(int index) const override;

    // The decimals that the displayed prices need (2 to 6).
    int PriceDecimals() const { return m_decimals; }
    // The price bar fields of a displayed bar: the prices, its time, and the studies' averages
    // and bands fields; none for a bar that is not displayed (the mouse off the bars).
    std::vector<std::string> PriceBarFields(int bar) const;
    // The header label beside the price bar: "Daily Price: LUMA" and its kin.
    std::string HeaderLabel(const std::string& symbol) const;
    // The price pane's label line: `priceBarText` in `color`, then each compare symbol in its
    // line's colour.
    std::vector<CChart2D::SLabelRun> PriceLabelRuns(const std::string& priceBarText,
                                                    ColorRef color) const;
    // The info text of a displayed bar: prices, volume and time, the averages and bands, and one
    // line per displayed study.
    std::string InfoText(int bar) const;

    // Paints pane `pane` (0 the price pane, 1 .. 10 the study panes) into `chart`: the frame and
    // x axis, the value range (fitted to what the pane's items draw, or fixed), every item of
    // the pane's list and the label line. `studyType` is the study the layout puts in a study
    // pane; `strip`: the pane is laid out as its label strip.
    void PaintPane(int pane, CChart2D& chart, const SChartStyle& style, const SPaneFrame& frame,
                   int studyType, bool strip);

    // The items of pane `pane` as the next paint draws them.
    const CPaneItems& Items(int pane);
    // Adds an item of the view's own to pane `pane`, drawn after the studies' items, until it is
    // removed.
    void AddItem(int pane, std::shared_ptr<CDrawnItem> item);
    bool RemoveItem(int pane, const CDrawnItem* item);
    // The item of pane `pane` nearest to `point` (pane pixels) within `tolerance` pixels, as the
    // pane was last painted; null when none.
    std::shared_ptr<CDrawnItem> ItemAt(int pane, const CChart2D& chart, CChart2D::SPixelPoint point,
                                       double tolerance);
    // What the last-price marker's countdown needs: the bar interval in seconds (0 when the bars
    // are not interval bars) and the exchange clock's now (none: no countdown).
    void SetBarClock(int intervalSeconds, std::optional<CDateTime> now) {
        m_intervalSeconds = intervalSeconds;
        m_exchangeNow = now;
    }
    // The marker as the last paint of the price pane drew it.
    const CLastPriceItem& LastPrice() const { return *m_lastPrice; }
    // The bars the panes showed at the last paint.
    const SPaneView& View() const { return m_view; }

private:
    double Price(EPriceColumn column, int index) const;
    std::string TimeField(std::size_t at) const;
    std::string FormatPrice(double price) const;
    // The decimals (2 to 6) that `prices` need.
    static int DecimalsOf(std::span<const double> prices);
    void PaintXAxis(CChart2D& chart, const SPaneFrame& frame, bool withTexts) const;
    // The price pane's value range: fitted to its items unless fixed scaling keeps the last one.
    CChart2D::SRange PriceRange(const SChartStyle& style);
    // The price pane's scale for a paint with `style` and `frame`.
    CValueScale ChoosePriceScale(const SChartStyle& style, const SPaneFrame& frame);
    // Builds the panes' lists again when the studies' items or the view's own changed.
    void RefreshItems();

    const CChartHistRequest& m_history;
    IPaneStudies* m_studies = nullptr;
    SDisplayedBars m_bars;
    int m_decimals = 2;
    int m_dataType = 0;
    SPriceLook m_look;
    std::shared_ptr<CHistPriceChart> m_price = std::make_shared<CHistPriceChart>(m_bars, m_look);
    std::shared_ptr<CCompareLines> m_compare;
    std::shared_ptr<CLastPriceItem> m_lastPrice = std::make_shared<CLastPriceItem>();
    bool m_lastPriceShown = false;
    bool m_builtLastPriceShown = false;
    int m_intervalSeconds = 0;
    std::optional<CDateTime> m_exchangeNow;
    // The marker's state from the newest point of the series and `style`.
    SLastPrice LastPriceOf(const SChartStyle& style) const;
    bool m_haveYRange = false;
    bool m_pointsDeleted = false;
    CChart2D::SRange m_yRange;
    EPriceScale m_yRangeScale = EPriceScale::Linear;
    CValueScale m_scale;
    CPercentBase m_percentBase;
    SPaneView m_view;
    std::array<CPaneItems, kPaneCount> m_items;
    std::array<std::vector<std::shared_ptr<CDrawnItem>>, kPaneCount> m_own;
    // What the lists were built from: the studies, their items' version and the own items'.
    const IPaneStudies* m_itemsStudies = nullptr;
    std::uint64_t m_itemsVersion = 0;
    std::uint64_t m_ownVersion = 1;
    std::uint64_t m_builtOwnVersion = 0;
    bool m_builtComparing = false;
};

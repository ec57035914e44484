#pragma once

// The rules of the price pane that do not need a chart control: how the bars are drawn, how wide
// a candle is, the price range of the displayed bars and the text of the price bar.

#include <cstdint>
#include <span>
#include <string>

enum class EPriceChartType {
    Line,    // tick data: a line of trade prices
    Candles, // bar data, "Candle Price Chart Style" 1
    Bars,    // bar data, any other style: open-high-low-close bars
};

// Tick data (data type 0) is always a line whatever the style; bar data is drawn as candles for
// style 1 and as open-high-low-close bars for any other value.
EPriceChartType PriceChartType(int dataType, int candleStyle);

// Pixels per displayed point: (plot width - (left margin + right margin)) / (displayed points -
// 0.5) when more than one point is displayed, the whole plot width for one (or none); a result
// of 0 or less, or not a number, counts as 1.0.
double SpacePerPoint(double plotWidth, double leftMargin, double rightMargin, int displayedPoints);

struct SCandleWidth {
    int width = 0;
    // The control's wide candle style (3 pixels or more); else its narrow style.
    bool wide = false;

    friend bool operator==(const SCandleWidth&, const SCandleWidth&) = default;
};

// The candle width for a space per point: space x 0.7, rounded by adding 0.5 and truncating.
SCandleWidth CandleWidth(double spacePerPoint);
// The same from the plot: 120 points on 840 pixels without margins give 5 pixels, wide; 3840
// points give 0 pixels, narrow.
SCandleWidth CandleWidth(double plotWidth, double leftMargin, double rightMargin,
                         int displayedPoints);

struct SPriceRange {
    double high = 0.0;
    double low = 0.0;
    std::int64_t volume = 0;

    friend bool operator==(const SPriceRange&, const SPriceRange&) = default;
};

// The highest high, lowest low and largest volume of the displayed bars, given as the columns
// from the first displayed bar on (the shortest column sets the number of bars). The search
// starts from high -1,000,000, low 1,000,000 and volume 0; no bars give 0, 0, 0. Values that are
// not a number never win.
SPriceRange DisplayedPriceRange(std::span<const double> highs, std::span<const double> lows,
                                std::span<const std::int64_t> volumes);

// The price bar: empty when "Show Price Bar" is off; otherwise the fields, each followed by
// one space, with " (Minimized)" added to the last field when the price pane is minimised and
// pane 0 is not the maximised pane.
std::string PriceBarText(std::span<const std::string> fields, bool showPriceBar,
                         bool priceMinimized, int maximizedPane);

#pragma once

// The last-price marker of the price pane: the newest close as a tag on the price axis, filled
// in the up or down colour of the newest bar, with a dotted line across the pane at that price,
// and on minute bars the time left until the newest bar closes under the price.

#include "base/datetime.h"
#include "chart/drawn_item.h"
#include "chart/series_ids.h"

#include <optional>
#include <string>

// "mm:ss" below an hour, "h:mm:ss" from an hour on; a negative count reads "00:00".
std::string FormatTimeLeft(int seconds);

// The whole seconds from `now` to the close of the bar labelled `barEnd` (interval bars carry the
// end of their period), held to 0 .. `intervalSeconds`: past the end the bar waits at 0 for the
// next one. None when either time is invalid or the interval is not positive.
std::optional<int> SecondsLeftInBar(const CDateTime& barEnd, int intervalSeconds,
                                    const CDateTime& now);

// Whether the newest point moved up: a bar that closed at or above its open; a trade at or above
// the trade before it (the first trade of a series counts as up).
bool NewestIsUp(bool ticks, double open, double close, std::optional<double> previousClose);

struct SLastPrice {
    bool shown = false;
    double price = 0.0;
    bool up = true;
    int decimals = 2;
    std::string timeLeft; // "" when the bars have no countdown
    ColorRef upColor = 0x00FF00;
    ColorRef downColor = 0x0000FF;
    CChart2D::EAxis axis = CChart2D::EAxis::Y;
};

class CLastPriceItem final : public CDrawnItem {
public:
    // Above the price data and the averages, below the trendlines.
    static constexpr CChart2D::SeriesId kSeries = series_ids::kLastPrice;

    void Set(const SLastPrice& last) { m_last = last; }
    const SLastPrice& Last() const { return m_last; }

    // The tag's text: the price at the symbol's decimals, and the time left on a second line.
    std::string TagText() const;

    // A dotted line in the fill colour across the chart's x range and the tag; nothing when off.
    void Paint(CChart2D& chart, const SPaneView& view) override;
    void Erase(CChart2D& chart) const override;

private:
    SLastPrice m_last;
};

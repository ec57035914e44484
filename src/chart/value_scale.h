#pragma once

// How the price pane maps prices onto its height. Linear and Percent place a price in proportion
// to its value (Percent only labels the axis in per cent of a base price); Logarithmic places it
// by its log10, so that equal ratios take equal heights. The chart's axis works in "axis
// coordinates": the value itself, or its log10 on a logarithmic axis, where a price of zero or
// below has no place and is a hole.

#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

enum class EPriceScale : int { Linear = 0, Log = 1, Percent = 2 };
inline constexpr int kPriceScaleCount = 3;

// "Linear", "Logarithmic", "Percent" (the menu and the settings page); the short names
// "linear", "log", "percent" are what the command line and the bus take.
const char* PriceScaleName(EPriceScale scale);
const char* PriceScaleShortName(EPriceScale scale);
// A stored value 0 .. 2; anything else is Linear.
EPriceScale PriceScaleOf(int stored);
// A short or full name, without regard to case; none for any other text.
std::optional<EPriceScale> ParsePriceScale(std::string_view text);

class CValueScale {
public:
    struct SAxisSpan {
        double min = 0.0;
        double max = 1.0;
    };

    CValueScale() = default;
    static CValueScale Linear() { return CValueScale(EPriceScale::Linear, kNoBase); }
    static CValueScale Log() { return CValueScale(EPriceScale::Log, kNoBase); }
    // Per cent of `base`; a base that is not a positive number labels nothing in per cent.
    static CValueScale Percent(double base) { return CValueScale(EPriceScale::Percent, base); }
    static CValueScale Of(EPriceScale kind, double base) { return CValueScale(kind, base); }

    EPriceScale Kind() const { return m_kind; }
    bool IsLog() const { return m_kind == EPriceScale::Log; }
    double Base() const { return m_base; }
    bool HasBase() const { return m_kind == EPriceScale::Percent && m_base > 0.0; }

    static double LogCoordinate(double value) {
        return value > 0.0 ? std::log10(value) : std::numeric_limits<double>::quiet_NaN();
    }
    // The axis coordinate of `value` (NaN: a hole), and back.
    double ToAxis(double value) const { return IsLog() ? LogCoordinate(value) : value; }
    double FromAxis(double coordinate) const {
        return IsLog() ? std::pow(10.0, coordinate) : coordinate;
    }
    // The axis coordinates of the value range min .. max, ascending and of some extent. On a
    // logarithmic axis an end of zero or below is replaced: a low end by a tenth of the high
    // one, a high end by the low end (or 1) times ten; a range without extent is widened to a
    // factor of 10^0.05 either side.
    SAxisSpan AxisSpan(double min, double max) const;

    // `value` in per cent of the base (100 above it: +100), NaN without a base; and back.
    double PercentOf(double value) const;
    double ValueOfPercent(double percent) const;

    bool operator==(const CValueScale&) const = default;

private:
    static constexpr double kNoBase = 0.0;
    CValueScale(EPriceScale kind, double base) : m_kind(kind), m_base(base) {}

    EPriceScale m_kind = EPriceScale::Linear;
    double m_base = kNoBase;
};

// The base of the Percent scale: the close of the first displayed bar, held while the view is
// being scrolled (a thumb or the chart being dragged) so that the labels stay put under the
// trader's hand, and taken again from the first bar once the scroll ends.
class CPercentBase {
public:
    // The base for a redraw whose first displayed bar closes at `firstClose`.
    double Update(double firstClose, bool scrolling);
    // A new series: the next redraw takes its base whatever the scroll.
    void Reset() { m_base = 0.0; }
    double Base() const { return m_base; }

private:
    double m_base = 0.0;
};

#pragma once

// The value axis of a pane: which values carry a label and how a label reads. Steps are 1, 2 or
// 5 times a power of ten, so that every tick is written exactly with the decimals the axis
// shows; a step never needs more decimals than the axis precision unless the range is too
// narrow for two ticks at that precision.

#include "chart/chart_2d.h"
#include "chart/value_scale.h"

#include <string>
#include <vector>

struct SValueTicks {
    double step = 0.0;
    // Decimals that write every tick exactly: the precision, or more for a finer step.
    int decimals = 0;
    std::vector<double> ticks; // ascending, within the range
};

// Ticks for the range min .. max (either order): at most `target` of them, but at least two for
// a range of some extent. Steps finer than 10^-precision are used only when a
// coarser one leaves fewer than two ticks in the range. A range without extent or with an end
// that is not finite gives no ticks.
SValueTicks ChooseValueTicks(double min, double max, int target, int precision);

// The text of an axis label. Fixed: "%.*f" at `decimals`. Scaled: magnitudes of 1000 and more
// in the K, M, B and T form of FormatScaled, with more decimals where `step` needs them to tell
// neighbouring ticks apart; smaller magnitudes as in Fixed.
std::string ValueLabelText(double value, double step, int decimals, CChart2D::ELabelFormat format);

// The text of the crosshair's value tag: Scaled as FormatScaled (below 1000 at `decimals`);
// Fixed at `decimals`, or, when `finer` is set, with as many more decimals (up to six in all) as
// one pixel of `valuePerPixel` resolves.
std::string ValueTagText(double value, int decimals, double valuePerPixel, bool finer,
                         CChart2D::ELabelFormat format);

// A labelled tick of an axis mapped by a CValueScale: the value (a price) and its text.
struct SScaleTick {
    double value = 0.0;
    std::string text;
};

// The labelled ticks of the values min .. max on an axis mapped by `scale`, at most `target`
// and at least two for a range of some extent, ascending; each text reads back as its value.
//   Linear: ChooseValueTicks and ValueLabelText.
//   Logarithmic: readable prices, the powers of ten (every k-th over many decades), or 1 and 3,
//   1, 2 and 5, or 1 to 9 times them, whichever is the finest that fits; a range within a
//   decade with too few of those (or any range with fewer than two) takes linear steps. All labels
//   carry the decimals the finest tick needs, and at least `precision`. Percent: steps of 1, 2 or 5
//   times a power of ten in per cent of the base, labelled "+5%", "0%", "-2.5%" (no trailing
//   zeros). Without a base, as Linear.
std::vector<SScaleTick> ChooseScaleTicks(const CValueScale& scale, double min, double max,
                                         int target, int precision, CChart2D::ELabelFormat format);

// A per cent as the Percent scale writes it: "+3.21%", "0%", "-2.5%", at most `decimals`
// decimals with trailing zeros dropped.
std::string PercentText(double percent, int decimals);

#pragma once

// The value axis of a pane: which values carry a label and how a label reads. Steps are 1, 2 or
// 5 times a power of ten, so that every tick is written exactly with the decimals the axis
// shows; a step never needs more decimals than the axis precision unless the range is too
// narrow for two ticks at that precision.

#include "chart/chart_2d.h"

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

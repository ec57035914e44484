#pragma once

#include <cmath>
#include <limits>

// Rounding of the chart arithmetic: add 0.5 and truncate toward zero. Not a number gives 0 and
// values beyond the range of int are held at its ends, so no input makes the conversion undefined.
inline int RoundHalfUp(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    const double shifted = value + 0.5;
    if (shifted >= static_cast<double>(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (shifted <= static_cast<double>(std::numeric_limits<int>::min())) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(shifted);
}

// Rounds to the nearest whole number with halves away from zero, so that a movement and its
// mirror image give the same count with opposite signs.
inline int RoundHalfAway(double value) {
    return value < 0.0 ? -RoundHalfUp(-value) : RoundHalfUp(value);
}

#pragma once

// Chooses the labelled points of the time axis. The axis has one slot per displayed bar, so
// nights, weekends and holidays leave no gaps and a fixed time step would fall unevenly; labels
// are put where the bars cross natural boundaries instead (a new minute group, hour or day for
// intraday data, a new week, month or year for daily data and above), at the finest kind of
// boundary that still leaves room between the labels.

#include "base/datetime.h"

#include <span>
#include <string>
#include <vector>

struct STimeAxisLabel {
    // Position among the displayed bars (0 = the first displayed bar).
    int slot = 0;
    std::string text;
    // Starts a new day (intraday data) or a new year (daily data and above).
    bool major = false;

    friend bool operator==(const STimeAxisLabel&, const STimeAxisLabel&) = default;
};

// Labels for the displayed bars with time stamps `times` (one per bar, oldest first) of data type
// `dataType` (0 ticks, 1 minute bars, 2 daily, 3 weekly, 4 monthly) on a plot `plotWidth` pixels
// wide, no two closer than `minSpacing` pixels. Intraday labels read "%H:%M" ("%H:%M:%S" when
// they are seconds apart) and, where a new day starts, "%Y/%m/%d"; daily and longer bars are
// labelled "%Y/%m/%d". A label sits on the first bar of a new period; the first displayed bar
// is labelled only when no bar starts a period. Bars with invalid times are never labelled.
// No bars, an unknown data type or a plot without width give no labels. Linear in the bars.
std::vector<STimeAxisLabel> PickTimeAxisLabels(std::span<const CDateTime> times, int dataType,
                                               double plotWidth, double minSpacing = 80.0);

#pragma once

// A point of a trendline: a bar of the series and a price. Drawing uses the bar's index; the
// bar's time is what survives a reload, a deleted point and the stored file, and the index is
// found again from it whenever the series is replaced.

#include "history/chart_hist_request.h"

struct STrendPoint {
    double bar = 0.0; // series index; fractional or outside the series for a time it lacks
    double price = 0.0;
    SPointTime time;

    bool operator==(const STrendPoint& other) const {
        return bar == other.bar && price == other.price && time.time == other.time.time &&
               time.microseconds == other.time.microseconds;
    }
};

// The index of the bar at `time`. A time between two bars (a bar deleted since) falls between
// their indexes in proportion; a time before the first or after the last bar is placed at the
// series' usual spacing beyond it. 0 for an empty series.
double BarOfTime(const CChartHistRequest& history, const SPointTime& time);

// The time of bar `bar`, rounded to the nearest index and clamped into the series; an invalid
// time for an empty series.
SPointTime TimeOfBar(const CChartHistRequest& history, double bar);

// A trendline point on bar `bar` (rounded and clamped as above) at `price`.
STrendPoint TrendPointAt(const CChartHistRequest& history, double bar, double price);

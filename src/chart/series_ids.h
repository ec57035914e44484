#pragma once

// Every series id that a pane's drawn items draw on, in one place. Ids order the drawing (a
// higher id is drawn over a lower one), and no two items may share one: the later item would
// take over the other's points and style.

#include "chart/chart_2d.h"

namespace series_ids {

// A study pane: its level lines under the study's own lines.
inline constexpr CChart2D::SeriesId kStudyLevels = 10; // 10 .. 19
inline constexpr CChart2D::SeriesId kStudyLines = 20;  // 20 .. 29

// The price pane, bottom to top. The bands are an envelope in a light colour: under the price,
// so that a flat stretch, where they close on it, does not hide it; the averages over it.
inline constexpr CChart2D::SeriesId kBands = 100; // 100 .. 102
inline constexpr CChart2D::SeriesId kPrice = 105;
inline constexpr CChart2D::SeriesId kAverages = 110;    // 110 .. 112
inline constexpr CChart2D::SeriesId kCompare = 900;     // 900 .. 902
inline constexpr CChart2D::SeriesId kLastPrice = 910;   // one dotted line and its tag
inline constexpr CChart2D::SeriesId kTrendlines = 1000; // trendline n is 1000 + n

static_assert(kStudyLevels + 10 <= kStudyLines && kStudyLines + 10 <= kBands);
static_assert(kBands + 3 <= kPrice && kPrice < kAverages && kAverages + 3 <= kCompare);
static_assert(kCompare + 3 <= kLastPrice && kLastPrice < kTrendlines);

} // namespace series_ids

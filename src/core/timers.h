#pragma once

// The chart view's timers, with the identifiers and periods every part of the program uses.
namespace timers {

// Loading progress and live redraw.
inline constexpr int kProgressId = 1029;
inline constexpr int kProgressPeriodMs = 250;
// Flashing a trendline before it is deleted.
inline constexpr int kFlashId = 108;
inline constexpr int kFlashPeriodMs = 500;

} // namespace timers

#pragma once

// A point's time as the export's DateTime column writes it and as scripts and the trendline file
// name a bar: "YYYY-MM-DD HH:MM:SS", with ".ffffff" microseconds for ticks.

#include "history/chart_hist_request.h"

#include <optional>
#include <string>
#include <string_view>

// The text of `time`; empty when the time is invalid.
std::string FormatPointTime(const SPointTime& time, bool withMicroseconds);

// The time of a text written as above; the time of day may be left out (midnight) and the
// fraction may have one to six digits. None for anything else, or for no calendar time.
std::optional<SPointTime> ParsePointTime(std::string_view text);

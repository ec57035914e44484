#pragma once

// Texts of numbers, times and dates on the axes, the price bar and the cursor read-out.

#include "base/datetime.h"
#include "history/tick.h"

#include <span>
#include <string>

// A number with a K, M, B or T suffix: 0 gives "0"; magnitudes below 1 whose decimal exponent
// truncates below 0 give "0"; otherwise e = trunc(log10 |value|) and g = e / 3 choose the
// suffix (none, K, M, B, T) and 3g - e + 2 the decimals, so 0.5 gives "0.50", 12.5 "12.5", 999
// "999", 1500 "1.50K" and -1500 "-1.50K". Magnitudes of 1e15 and more, infinities and not a
// number give an empty text.
std::string FormatScaled(double value);

// The time label of a point by the series' data type (0 ticks, 1 minute bars, 2 daily, 3 weekly,
// 4 monthly): ticks and minute bars "%H:%M:%S", ticks with `withMicroseconds` "%s.%06d" (the time
// text and the microseconds); daily, weekly and monthly bars "%Y/%m/%d"; any other type
// "00:00:00". An invalid time gives an empty text.
std::string TimeLabel(const CDateTime& time, int microseconds, int dataType,
                      bool withMicroseconds = false);
std::string TimeLabel(const sTICK& point, int dataType, bool withMicroseconds = false);

// The date of a time as "%Y/%m/%d", and the second form of the date label, "%H:%M:%S min".
// An invalid time gives an empty text.
std::string DateText(const CDateTime& time);
std::string DateMinutesText(const CDateTime& time);

// The index the date label shows for `index` over a series of `count` points: first held to 1
// at the low end (so index 0 shows the date of index 1), then to count - 1 at the high end. A
// series of one point gives 0; an empty series gives -1.
int DateLabelIndex(int index, int count);

// The date label of point `index` of `times` (one stamp per point), after DateLabelIndex; the
// second function gives the "%H:%M:%S min" form. An empty series gives an empty text.
std::string DateLabel(std::span<const CDateTime> times, int index);
std::string DateMinutesLabel(std::span<const CDateTime> times, int index);

#pragma once

// Compare symbols: up to three other symbols whose closes are drawn over the price pane on the
// slots of the shown bars, each in per cent of its own close at the first shown bar. This is the
// plain part: the list of symbols as typed and stored, and matching another series' points to
// the shown bars by time.
//
// Matching. A bar of a compare symbol belongs to the shown bar with the same time; a shown bar
// without one is a gap (a missing day, another session), and of several bars at one time the
// last counts. Ticks never share times across symbols, so a shown tick takes the last compare
// trade at or before it (to the microsecond): the price the other symbol stood at then; a shown
// tick before the first compare trade is a gap.

#include "history/chart_hist_request.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

inline constexpr int kMaxCompareSymbols = 3;

// The symbols of a comma list ("krno, tesu" or the stored "KRNO,TESU"): trimmed, upper case,
// empty entries and repeats dropped. A symbol longer than 127 characters or holding a space or a
// control character, or more than kMaxCompareSymbols symbols, refuse the whole list: the
// reason is returned and `symbols` is left as it was. An empty text is an empty list.
std::string ParseCompareSymbols(std::string_view text, std::vector<std::string>& symbols);
std::string JoinCompareSymbols(std::span<const std::string> symbols);

// The closes of `other` on the shown bars `shown` (both in time order, `closes` beside
// `other`): one entry per shown bar, a hole where none matches. `ticks`: match the last trade
// at or before, as above.
std::vector<double> MatchCompareCloses(std::span<const SPointTime> shown,
                                       std::span<const SPointTime> other,
                                       std::span<const double> closes, bool ticks);

// `closes` as the price pane draws them over a main series whose Percent base is `base`: each
// close times base / `own` (the compare symbol's close at the base bar), so that it stands at the
// same per cent of `base` as it does of `own`. All holes without a positive `own` or `base`.
std::vector<double> CompareLineValues(std::span<const double> closes, double own, double base);

// The header text of a compare symbol: "KRNO +3.21%", the change from its first matched close
// to its last; "KRNO" alone when it has none.
std::string CompareHeaderText(const std::string& symbol, std::span<const double> closes);

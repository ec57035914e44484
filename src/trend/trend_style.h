#pragma once

// How the trendlines of one kind are drawn: the "<kind> Trendline Color", "... Width" and
// "... Extendable" settings.

#include "chart/color_ref.h"
#include "core/trend_kinds.h"

#include <array>

class CSettings;

struct STrendStyle {
    ColorRef color = 0;
    int width = 1; // pixels, 1 .. kMaxTrendWidth
    bool extendable = false;

    bool operator==(const STrendStyle&) const = default;
};
inline constexpr int kMaxTrendWidth = 10;

using STrendStyles = std::array<STrendStyle, kTrendKindCount>;

// The stored style of each kind; a stored value that is no colour, or a width outside 1 ..
// kMaxTrendWidth, reads as the kind's default.
STrendStyles ReadTrendStyles(const CSettings& settings);
// Stores the kinds whose style differs from what `settings` hold; returns how many changed.
int WriteTrendStyles(CSettings& settings, const STrendStyles& styles);

#pragma once

// What each kind of trendline draws through its points, in (bar, price): the parts (straight
// segments) and their labels. Points are the clicks in their order.
//
//   Horizontal              a level at the first price from the first to the second bar;
//                           extendable: from the first bar to the right edge of the pane
//   Sloping                 first point to second point; extendable: on past the second
//   Parallel                the sloping line and its parallel through the third point (a
//                           channel); extendable: both go on past their second ends
//   Andrew's Pitchfork      the median line from the first point to the midpoint of the second
//                           and third, the two tines from the second and third points parallel
//                           to it and as long, and the line joining the tines' roots;
//                           extendable: median and tines go on to the edge
//   Fibonacci Fan           the move from the first to the second point, and rays from the first
//                           point through the 38.2%, 50% and 61.8% retracements of the move's
//                           price span at the second point's bar; extendable: the rays go on
//   Fibonacci Retracements  levels across the move's bars at 0% (the second point), 23.6%,
//                           38.2%, 61.8%, 100% (the first point), 161.8%, 261.8% and 423.6% of
//                           the move back from its end, each labelled with its text and price,
//                           and the move as a dotted diagonal; extendable: the levels reach the
//                           right edge
//   Speed Resistance        the move, and rays from the first point through the one-third and
//                           two-thirds levels of its price span at the second point's bar;
//                           extendable: the rays go on
//
// With fewer points than the kind's clicks (a line being placed) the parts are those of the
// points so far: two points of a three-point kind draw the sloping line between them; one point
// draws nothing.

#include "core/trend_kinds.h"

#include <span>
#include <string>
#include <vector>

struct SBarPrice {
    double bar = 0.0;
    double price = 0.0;
};

struct STrendPart {
    enum class EExtend {
        None,
        Onward, // past `to`, away from `from`, to the pane's edge on that side
        Right,  // from `from` to the pane's right edge (`to` is not used)
    };
    SBarPrice from;
    SBarPrice to;
    EExtend extend = EExtend::None;
    bool dotted = false;
    // Drawn beside `from` (beside `to` when `labelAtEnd`: the rays of a fan, which share their
    // start); a "%p" in it stands for the price, written at the pane's precision.
    std::string label;
    bool labelAtEnd = false;
};

// The most parts one trendline draws (Fibonacci retracements: eight levels and the move).
inline constexpr int kMaxTrendParts = 9;

// The Fibonacci retracement levels and their labels.
struct SFibonacciLevel {
    double ratio;
    const char* text;
};
inline constexpr SFibonacciLevel kRetracementLevels[] = {
    {0.0, "0%"},   {0.236, "23.6%"},  {0.382, "38.2%"},  {0.618, "61.8%"},
    {1.0, "100%"}, {1.618, "161.8%"}, {2.618, "261.8%"}, {4.236, "423.6%"},
};
inline constexpr SFibonacciLevel kFanLevels[] = {{0.382, "38.2%"}, {0.5, "50%"}, {0.618, "61.8%"}};

std::vector<STrendPart> TrendParts(ETrendKind kind, std::span<const SBarPrice> points,
                                   bool extendable);

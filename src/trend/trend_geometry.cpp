#include "trend/trend_geometry.h"

#include <algorithm>

namespace {

using EExtend = STrendPart::EExtend;

STrendPart Segment(SBarPrice from, SBarPrice to, bool extend, std::string label = {}) {
    return {from, to, extend ? EExtend::Onward : EExtend::None, false, std::move(label)};
}

SBarPrice Shifted(SBarPrice point, double bars, double price) {
    return {point.bar + bars, point.price + price};
}

void Horizontal(std::vector<STrendPart>& parts, SBarPrice a, SBarPrice b, bool extendable) {
    STrendPart level = Segment(a, {b.bar, a.price}, false);
    if (extendable) {
        level.to = a;
        level.extend = EExtend::Right;
    }
    parts.push_back(level);
}

void Parallel(std::vector<STrendPart>& parts, SBarPrice a, SBarPrice b, SBarPrice c,
              bool extendable) {
    parts.push_back(Segment(a, b, extendable));
    if (a.bar == b.bar) {
        // A vertical line: its parallel stands at the third point's bar.
        parts.push_back(Segment({c.bar, a.price}, {c.bar, b.price}, false));
        return;
    }
    const double slope = (b.price - a.price) / (b.bar - a.bar);
    const double offset = c.price - (a.price + slope * (c.bar - a.bar));
    parts.push_back(Segment(Shifted(a, 0.0, offset), Shifted(b, 0.0, offset), extendable));
}

void Pitchfork(std::vector<STrendPart>& parts, SBarPrice a, SBarPrice b, SBarPrice c,
               bool extendable) {
    const SBarPrice middle{(b.bar + c.bar) / 2.0, (b.price + c.price) / 2.0};
    const double bars = middle.bar - a.bar;
    const double price = middle.price - a.price;
    parts.push_back(Segment(a, middle, extendable));
    parts.push_back(Segment(b, Shifted(b, bars, price), extendable));
    parts.push_back(Segment(c, Shifted(c, bars, price), extendable));
    parts.push_back(Segment(b, c, false));
}

void Rays(std::vector<STrendPart>& parts, SBarPrice a, SBarPrice b, bool extendable,
          std::span<const SFibonacciLevel> levels, bool retrace) {
    parts.push_back(Segment(a, b, false));
    const double span = b.price - a.price;
    for (const SFibonacciLevel& level : levels) {
        const double price = retrace ? b.price - level.ratio * span : a.price + level.ratio * span;
        STrendPart ray = Segment(a, {b.bar, price}, extendable);
        ray.label = level.text;
        ray.labelAtEnd = true;
        parts.push_back(ray);
    }
}

void Retracements(std::vector<STrendPart>& parts, SBarPrice a, SBarPrice b, bool extendable) {
    const double left = std::min(a.bar, b.bar);
    const double right = std::max(a.bar, b.bar);
    const double span = b.price - a.price;
    for (const SFibonacciLevel& level : kRetracementLevels) {
        const double price = b.price - level.ratio * span;
        STrendPart line{{left, price},
                        {right, price},
                        extendable ? EExtend::Right : EExtend::None,
                        false,
                        std::string(level.text) + " %p"};
        parts.push_back(line);
    }
    STrendPart move = Segment(a, b, false);
    move.dotted = true;
    parts.push_back(move);
}

constexpr SFibonacciLevel kSpeedLevels[] = {{1.0 / 3.0, "1/3"}, {2.0 / 3.0, "2/3"}};

} // namespace

std::vector<STrendPart> TrendParts(ETrendKind kind, std::span<const SBarPrice> points,
                                   bool extendable) {
    std::vector<STrendPart> parts;
    const int clicks = TrendKindInfo(kind).clicks;
    if (points.size() < 2) {
        return parts;
    }
    const SBarPrice a = points[0];
    const SBarPrice b = points[1];
    if (clicks == 3 && points.size() == 2) {
        parts.push_back(Segment(a, b, false));
        return parts;
    }
    switch (kind) {
    case ETrendKind::Horizontal:
        Horizontal(parts, a, b, extendable);
        break;
    case ETrendKind::Sloping:
        parts.push_back(Segment(a, b, extendable));
        break;
    case ETrendKind::Parallel:
        Parallel(parts, a, b, points[2], extendable);
        break;
    case ETrendKind::Pitchfork:
        Pitchfork(parts, a, b, points[2], extendable);
        break;
    case ETrendKind::FibonacciFan:
        Rays(parts, a, b, extendable, kFanLevels, true);
        break;
    case ETrendKind::FibonacciRetracements:
        Retracements(parts, a, b, extendable);
        break;
    case ETrendKind::SpeedResistance:
        Rays(parts, a, b, extendable, kSpeedLevels, false);
        break;
    }
    return parts;
}

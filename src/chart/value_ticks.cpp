#include "chart/value_ticks.h"

#include "chart/chart_labels.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// A step of mantissa x 10^exponent, the mantissa 1, 2 or 5.
struct SStep {
    int mantissa = 1;
    int exponent = 0;

    double Value() const {
        return exponent >= 0 ? mantissa * std::pow(10.0, exponent)
                             : mantissa / std::pow(10.0, -exponent);
    }
    // The i-th multiple, computed so that decimal steps land on the value their text shows.
    double Multiple(double i) const {
        return exponent >= 0 ? i * mantissa * std::pow(10.0, exponent)
                             : i * mantissa / std::pow(10.0, -exponent);
    }
    SStep Coarser() const {
        return mantissa == 5 ? SStep{1, exponent + 1} : SStep{mantissa == 1 ? 2 : 5, exponent};
    }
    SStep Finer() const {
        return mantissa == 1 ? SStep{5, exponent - 1} : SStep{mantissa == 5 ? 2 : 1, exponent};
    }
    int Decimals() const { return exponent < 0 ? -exponent : 0; }
};

// The smallest 1-2-5 step not below `raw` (> 0).
SStep StepAtLeast(double raw) {
    const int exponent = static_cast<int>(std::floor(std::log10(raw)));
    for (const int mantissa : {1, 2, 5}) {
        const SStep step{mantissa, exponent};
        if (step.Value() >= raw * (1.0 - 1e-9)) {
            return step;
        }
    }
    return {1, exponent + 1};
}

// The first and last multiple of `step` within min .. max, allowing for rounding.
std::pair<double, double> MultiplesWithin(double min, double max, const SStep& step) {
    const double value = step.Value();
    return {std::ceil(min / value - 1e-9), std::floor(max / value + 1e-9)};
}

constexpr std::array<const char*, 5> kSuffixes{"", "K", "M", "B", "T"};

} // namespace

SValueTicks ChooseValueTicks(double min, double max, int target, int precision) {
    SValueTicks result;
    precision = CChart2D::ClampPrecision(precision);
    result.decimals = precision;
    if (!std::isfinite(min) || !std::isfinite(max)) {
        return result;
    }
    if (max < min) {
        std::swap(min, max);
    }
    const double span = max - min;
    if (!(span > 0.0) || !std::isfinite(span)) {
        return result;
    }
    const int most = std::max(target, 2);
    SStep step = StepAtLeast(span / most);
    if (step.exponent < -precision) {
        step = {1, -precision};
    }
    // Coarser steps while more than `most` ticks fall in the range.
    for (int guard = 0; guard < 64; ++guard) {
        const auto [first, last] = MultiplesWithin(min, max, step);
        if (last - first + 1.0 <= most) {
            break;
        }
        step = step.Coarser();
    }
    // Finer steps until two ticks fall in the range; a step of the span's size or less always
    // gives two within a few refinements.
    for (int guard = 0; guard < 64; ++guard) {
        const auto [first, last] = MultiplesWithin(min, max, step);
        if (last - first >= 1.0) {
            break;
        }
        step = step.Finer();
    }
    const auto [first, last] = MultiplesWithin(min, max, step);
    result.step = step.Value();
    result.decimals = std::max(precision, step.Decimals());
    // Where two ticks needed a step that gives more than `most`, every k-th is kept, the first
    // and the last among them.
    const double n = last - first + 1.0;
    const double every = n > most ? std::ceil((n - 1.0) / (most - 1.0)) : 1.0;
    for (double i = first; i <= last; i += every) {
        result.ticks.push_back(step.Multiple(i) + 0.0); // no "-0"
    }
    return result;
}

std::string ValueLabelText(double value, double step, int decimals, CChart2D::ELabelFormat format) {
    decimals = CChart2D::ClampPrecision(decimals);
    const double magnitude = std::fabs(value);
    if (format == CChart2D::ELabelFormat::Fixed || !(magnitude >= 1000.0) ||
        !std::isfinite(value)) {
        return CChart2D::FormatAxisLabel(value, decimals);
    }
    // FormatScaled's suffix and decimals, with more when the step is finer than they show.
    const int e = static_cast<int>(std::trunc(std::log10(magnitude)));
    const int g = std::min(e / 3, static_cast<int>(kSuffixes.size()) - 1);
    const double unit = std::pow(10.0, 3 * g);
    int shown = std::max(3 * g - e + 2, 0);
    if (step > 0.0 && std::isfinite(step)) {
        const int needed = static_cast<int>(std::ceil(-std::log10(step / unit) - 1e-9));
        shown = std::clamp(needed, shown, 6);
    }
    return fmt::format("{:.{}f}{}", value / unit, shown, kSuffixes[static_cast<std::size_t>(g)]);
}

std::string ValueTagText(double value, int decimals, double valuePerPixel, bool finer,
                         CChart2D::ELabelFormat format) {
    decimals = CChart2D::ClampPrecision(decimals);
    if (format == CChart2D::ELabelFormat::Scaled && std::fabs(value) >= 1000.0) {
        return FormatScaled(value);
    }
    if (finer && valuePerPixel > 0.0 && std::isfinite(valuePerPixel)) {
        // One decimal past what a pixel tells apart.
        const int resolved = static_cast<int>(std::ceil(-std::log10(valuePerPixel))) + 1;
        decimals = std::max(decimals, std::min(resolved, 6));
    }
    return CChart2D::FormatAxisLabel(value, decimals);
}

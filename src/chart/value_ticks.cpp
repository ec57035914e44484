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

std::string PercentText(double percent, int decimals) {
    std::string text = fmt::format("{:+.{}f}", percent, CChart2D::ClampPrecision(decimals));
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') {
            text.pop_back();
        }
    }
    if (text == "+0" || text == "-0") {
        text = "0";
    }
    return text + "%";
}

namespace {

std::vector<SScaleTick> LinearTicks(double min, double max, int target, int precision,
                                    CChart2D::ELabelFormat format) {
    const SValueTicks chosen = ChooseValueTicks(min, max, target, precision);
    std::vector<SScaleTick> ticks;
    for (const double tick : chosen.ticks) {
        ticks.push_back({tick, ValueLabelText(tick, chosen.step, chosen.decimals, format)});
    }
    return ticks;
}

// The readable prices of one level within min .. max: `mantissas` times each power of ten,
// every `every`-th decade.
std::vector<SStep> LogLevel(double min, double max, std::initializer_list<int> mantissas,
                            int every) {
    std::vector<SStep> steps;
    const int low = static_cast<int>(std::floor(std::log10(min))) - 1;
    const int high = static_cast<int>(std::ceil(std::log10(max))) + 1;
    for (int exponent = low; exponent <= high; ++exponent) {
        if (((exponent % every) + every) % every != 0) {
            continue;
        }
        for (const int mantissa : mantissas) {
            const SStep step{mantissa, exponent};
            const double value = step.Value();
            if (value >= min * (1.0 - 1e-12) && value <= max * (1.0 + 1e-12)) {
                steps.push_back(step);
            }
        }
    }
    return steps;
}

std::vector<SScaleTick> LogTicks(double min, double max, int target, int precision) {
    const int most = std::max(target, 2);
    std::vector<SStep> chosen;
    // From the finest level down; the powers of ten thin out by whole decades.
    for (const auto& mantissas :
         {std::initializer_list<int>{1, 2, 3, 4, 5, 6, 7, 8, 9},
          std::initializer_list<int>{1, 2, 5}, std::initializer_list<int>{1, 3}}) {
        chosen = LogLevel(min, max, mantissas, 1);
        if (static_cast<int>(chosen.size()) <= most) {
            break;
        }
    }
    for (int every = 1; static_cast<int>(chosen.size()) > most && every < 400; ++every) {
        chosen = LogLevel(min, max, {1}, every);
    }
    // A range within a decade with too few readable prices: linear steps are finer and look
    // alike there.
    if (chosen.size() < 2 || (static_cast<int>(chosen.size()) < most / 2 && max < 10.0 * min)) {
        std::vector<SScaleTick> linear =
            LinearTicks(min, max, most, precision, CChart2D::ELabelFormat::Fixed);
        if (linear.size() > chosen.size() || chosen.size() < 2) {
            return linear;
        }
    }
    int decimals = CChart2D::ClampPrecision(precision);
    for (const SStep& step : chosen) {
        decimals = std::max(decimals, std::min(step.Decimals(), CChart2D::kMaxLabelPrecision));
    }
    std::vector<SScaleTick> ticks;
    for (const SStep& step : chosen) {
        ticks.push_back({step.Value(), CChart2D::FormatAxisLabel(step.Value(), decimals)});
    }
    return ticks;
}

} // namespace

std::vector<SScaleTick> ChooseScaleTicks(const CValueScale& scale, double min, double max,
                                         int target, int precision, CChart2D::ELabelFormat format) {
    if (!std::isfinite(min) || !std::isfinite(max)) {
        return {};
    }
    if (max < min) {
        std::swap(min, max);
    }
    if (scale.IsLog()) {
        if (!(min > 0.0) || !(max > min)) {
            return {};
        }
        return LogTicks(min, max, target, precision);
    }
    if (!scale.HasBase()) {
        return LinearTicks(min, max, target, precision, format);
    }
    const SValueTicks percent =
        ChooseValueTicks(scale.PercentOf(min), scale.PercentOf(max), target, 0);
    std::vector<SScaleTick> ticks;
    for (const double tick : percent.ticks) {
        ticks.push_back({scale.ValueOfPercent(tick), PercentText(tick, percent.decimals)});
    }
    return ticks;
}

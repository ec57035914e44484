#include "chart/value_scale.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

namespace {

struct SScaleNames {
    EPriceScale scale;
    const char* name;
    const char* shortName;
};

constexpr std::array<SScaleNames, kPriceScaleCount> kNames{{
    {EPriceScale::Linear, "Linear", "linear"},
    {EPriceScale::Log, "Logarithmic", "log"},
    {EPriceScale::Percent, "Percent", "percent"},
}};

bool SameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

} // namespace

const char* PriceScaleName(EPriceScale scale) {
    return kNames[static_cast<std::size_t>(PriceScaleOf(static_cast<int>(scale)))].name;
}

const char* PriceScaleShortName(EPriceScale scale) {
    return kNames[static_cast<std::size_t>(PriceScaleOf(static_cast<int>(scale)))].shortName;
}

EPriceScale PriceScaleOf(int stored) {
    return stored >= 0 && stored < kPriceScaleCount ? static_cast<EPriceScale>(stored)
                                                    : EPriceScale::Linear;
}

std::optional<EPriceScale> ParsePriceScale(std::string_view text) {
    for (const SScaleNames& names : kNames) {
        if (SameText(text, names.name) || SameText(text, names.shortName)) {
            return names.scale;
        }
    }
    return std::nullopt;
}

CValueScale::SAxisSpan CValueScale::AxisSpan(double min, double max) const {
    if (max < min) {
        std::swap(min, max);
    }
    if (!IsLog()) {
        return max == min ? SAxisSpan{min - 0.5, max + 0.5} : SAxisSpan{min, max};
    }
    if (!(max > 0.0)) {
        max = min > 0.0 ? min * 10.0 : 10.0;
    }
    if (!(min > 0.0)) {
        min = max / 10.0;
    }
    const double low = std::log10(min);
    const double high = std::log10(max);
    return high > low ? SAxisSpan{low, high} : SAxisSpan{low - 0.05, high + 0.05};
}

double CValueScale::PercentOf(double value) const {
    return HasBase() ? (value - m_base) / m_base * 100.0 : std::numeric_limits<double>::quiet_NaN();
}

double CValueScale::ValueOfPercent(double percent) const {
    return HasBase() ? m_base + m_base * percent / 100.0 : std::numeric_limits<double>::quiet_NaN();
}

double CPercentBase::Update(double firstClose, bool scrolling) {
    const bool usable = firstClose > 0.0 && std::isfinite(firstClose);
    if (usable && (!scrolling || !(m_base > 0.0))) {
        m_base = firstClose;
    }
    return m_base;
}

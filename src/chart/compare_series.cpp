#include "chart/compare_series.h"

#include "chart/chart_2d.h"
#include "chart/value_ticks.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr std::size_t kMaxSymbolLength = 127;

bool Before(const SPointTime& a, const SPointTime& b) {
    if (a.time < b.time) {
        return true;
    }
    return a.time == b.time && a.microseconds < b.microseconds;
}

bool Same(const SPointTime& a, const SPointTime& b) {
    return a.time == b.time && a.microseconds == b.microseconds;
}

} // namespace

std::string ParseCompareSymbols(std::string_view text, std::vector<std::string>& symbols) {
    std::vector<std::string> parsed;
    std::size_t at = 0;
    while (at <= text.size()) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        std::string_view entry = text.substr(at, comma - at);
        at = comma + 1;
        while (!entry.empty() && std::isspace(static_cast<unsigned char>(entry.front()))) {
            entry.remove_prefix(1);
        }
        while (!entry.empty() && std::isspace(static_cast<unsigned char>(entry.back()))) {
            entry.remove_suffix(1);
        }
        if (entry.empty()) {
            continue;
        }
        std::string symbol;
        for (const char c : entry) {
            const auto u = static_cast<unsigned char>(c);
            if (std::isspace(u) || std::iscntrl(u)) {
                return "the symbol \"" + std::string(entry) +
                       "\" holds a space or a control character";
            }
            symbol.push_back(static_cast<char>(std::toupper(u)));
        }
        if (symbol.size() > kMaxSymbolLength) {
            return "a symbol is longer than 127 characters";
        }
        if (std::find(parsed.begin(), parsed.end(), symbol) == parsed.end()) {
            parsed.push_back(std::move(symbol));
        }
    }
    if (static_cast<int>(parsed.size()) > kMaxCompareSymbols) {
        return "at most " + std::to_string(kMaxCompareSymbols) + " symbols can be compared";
    }
    symbols = std::move(parsed);
    return {};
}

std::string JoinCompareSymbols(std::span<const std::string> symbols) {
    std::string text;
    for (const std::string& symbol : symbols) {
        text += (text.empty() ? "" : ",") + symbol;
    }
    return text;
}

std::vector<double> MatchCompareCloses(std::span<const SPointTime> shown,
                                       std::span<const SPointTime> other,
                                       std::span<const double> closes, bool ticks) {
    std::vector<double> matched(shown.size(), CChart2D::HoleValue());
    const std::size_t count = std::min(other.size(), closes.size());
    // Both in time order: one walk. `j` is the first compare point after the shown bar.
    std::size_t j = 0;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        while (j < count && !Before(shown[i], other[j])) {
            ++j;
        }
        if (j == 0) {
            continue;
        }
        const SPointTime& last = other[j - 1];
        if (ticks || Same(last, shown[i])) {
            matched[i] = closes[j - 1];
        }
    }
    return matched;
}

std::vector<double> CompareLineValues(std::span<const double> closes, double own, double base) {
    std::vector<double> values(closes.size(), CChart2D::HoleValue());
    if (!(own > 0.0) || !(base > 0.0)) {
        return values;
    }
    const double factor = base / own;
    for (std::size_t i = 0; i < closes.size(); ++i) {
        values[i] = closes[i] * factor;
    }
    return values;
}

std::string CompareHeaderText(const std::string& symbol, std::span<const double> closes) {
    const auto isValue = [](double close) { return !CChart2D::IsHole(close); };
    const auto first = std::find_if(closes.begin(), closes.end(), isValue);
    const auto last = std::find_if(closes.rbegin(), closes.rend(), isValue);
    if (first == closes.end() || !(*first > 0.0)) {
        return symbol;
    }
    return symbol + " " + PercentText((*last / *first - 1.0) * 100.0, 2);
}

#include "trend/trend_style.h"

#include "core/settings.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace {

// A stored width: decimal digits only, 1 .. kMaxTrendWidth; none for anything else.
std::optional<int> ParseWidth(std::string_view text) {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (text.empty() || text.front() == '-' || ec != std::errc() || ptr != end || value < 1 ||
        value > kMaxTrendWidth) {
        return std::nullopt;
    }
    return value;
}

// A stored flag: "1" or "0", and the table's usual "true" or "false"; none for anything else.
std::optional<bool> ParseFlag(std::string_view text) {
    if (text == "1" || text == "true") {
        return true;
    }
    if (text == "0" || text == "false") {
        return false;
    }
    return std::nullopt;
}

// The texts a style is stored as: colour, width (kept in range) and flag.
struct SStyleTexts {
    std::string color;
    std::string width;
    std::string extendable;
};

SStyleTexts TextsOf(const STrendStyle& style) {
    return {std::to_string(style.color & kColorRefMask),
            std::to_string(std::clamp(style.width, 1, kMaxTrendWidth)),
            style.extendable ? "1" : "0"};
}

} // namespace

STrendStyles ReadTrendStyles(const CSettings& settings) {
    STrendStyles styles{};
    for (const STrendKindInfo& info : TrendKindTable()) {
        STrendStyle& style = styles[static_cast<std::size_t>(info.kind)];
        style.color = ParseColorRef(settings.GetText(TrendColorKey(info.kind)))
                          .value_or(info.defaultColor & kColorRefMask);
        style.width = ParseWidth(settings.GetText(TrendWidthKey(info.kind)))
                          .value_or(std::clamp(info.defaultWidth, 1, kMaxTrendWidth));
        style.extendable = ParseFlag(settings.GetText(TrendExtendableKey(info.kind)))
                               .value_or(info.defaultExtendable);
    }
    return styles;
}

int WriteTrendStyles(CSettings& settings, const STrendStyles& styles) {
    int changed = 0;
    for (const STrendKindInfo& info : TrendKindTable()) {
        const SStyleTexts texts = TextsOf(styles[static_cast<std::size_t>(info.kind)]);
        // Each key is compared as text, so that a stored value that read as the default (a
        // damaged one) is replaced by the value the page showed.
        bool kindChanged = false;
        const auto store = [&](const std::string& key, const std::string& text) {
            if (settings.GetText(key) != text && settings.SetText(key, text)) {
                kindChanged = true;
            }
        };
        store(TrendColorKey(info.kind), texts.color);
        store(TrendWidthKey(info.kind), texts.width);
        store(TrendExtendableKey(info.kind), texts.extendable);
        changed += kindChanged ? 1 : 0;
    }
    return changed;
}

#pragma once

// Colours as the settings table keeps them: 32-bit colour references with red in the low byte,
// then green, then blue (0x00BBGGRR), stored as decimal text.

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

using ColorRef = std::uint32_t;

inline constexpr ColorRef kColorRefMask = 0x00FFFFFFu;

constexpr ColorRef MakeColorRef(int red, int green, int blue) {
    return (static_cast<ColorRef>(red) & 0xFFu) | ((static_cast<ColorRef>(green) & 0xFFu) << 8) |
           ((static_cast<ColorRef>(blue) & 0xFFu) << 16);
}
constexpr int RedOf(ColorRef color) {
    return static_cast<int>(color & 0xFFu);
}
constexpr int GreenOf(ColorRef color) {
    return static_cast<int>((color >> 8) & 0xFFu);
}
constexpr int BlueOf(ColorRef color) {
    return static_cast<int>((color >> 16) & 0xFFu);
}

// The colour of a stored text: decimal digits only (no sign, no blanks) with a value of at most
// 0xFFFFFF; none for anything else.
inline std::optional<ColorRef> ParseColorRef(std::string_view text) {
    std::uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (text.empty() || ec != std::errc() || ptr != end || value > kColorRefMask) {
        return std::nullopt;
    }
    return static_cast<ColorRef>(value);
}

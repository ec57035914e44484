#pragma once

// The line styles that "Grid Style" stores as an index, in the order of the display page's list.

enum class ELineStyle : int { Solid = 0, Dash = 1, Dot = 2, DashDot = 3, DashDotDot = 4 };

inline constexpr int kLineStyleCount = 5;

constexpr bool IsLineStyle(int index) {
    return index >= 0 && index < kLineStyleCount;
}

// "Solid", "Dash", "Dot", "Dash-Dot", "Dash-Dot-Dot"; empty outside 0-4.
constexpr const char* LineStyleName(int index) {
    constexpr const char* names[kLineStyleCount] = {"Solid", "Dash", "Dot", "Dash-Dot",
                                                    "Dash-Dot-Dot"};
    return IsLineStyle(index) ? names[index] : "";
}

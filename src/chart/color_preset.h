#pragma once

// The chart's colour sets: Light (the built-in defaults) and Dark, each a colour for every colour
// key of the settings table; and the choice of defaults that follows the desktop.

#include "chart/color_ref.h"

#include <string>
#include <string_view>
#include <vector>

class CSettings;

enum class EColorPreset { Light, Dark };

struct SPresetColor {
    std::string key;
    ColorRef color = 0;
};

// Whether `key` names a colour setting: its name ends in "Color", or in "Color" and a number.
bool IsColorKey(std::string_view key);

// Every colour key of the settings table with its colour in `preset`, in table order. Light is
// the table's defaults.
const std::vector<SPresetColor>& PresetColors(EColorPreset preset);

// The colour of `key` in `preset`; black for a key that is not a colour key.
ColorRef PresetColor(EColorPreset preset, std::string_view key);

// Whether a desktop whose windows are `window` with text in `windowText` is dark: its window
// colour is darker than its text.
bool IsDarkPalette(ColorRef window, ColorRef windowText);

// Whether the user chose a colour: some colour key holds a stored value.
bool ColorsChosen(const CSettings& settings);

// The defaults follow the desktop: on a dark desktop, while the user has chosen no colour, the
// Dark colours become this session's defaults without being stored (the first colour the user
// stores keeps the whole set); on a light desktop they are the table's again. Returns the set
// the defaults now come from (Light once the user chose a colour).
EColorPreset FollowDesktopColors(CSettings& settings, bool darkDesktop);

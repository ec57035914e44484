#include "chart/color_preset.h"

#include "core/setting_keys.h"
#include "core/settings.h"

#include <algorithm>
#include <utility>

namespace {

constexpr ColorRef Rgb(int red, int green, int blue) {
    return MakeColorRef(red, green, blue);
}

// The dark set by key. Lines are light or saturated on a near-black background; every pair drawn
// in one pane differs in hue or lightness.
ColorRef DarkColor(std::string_view key) {
    constexpr ColorRef kText = Rgb(224, 224, 224);
    constexpr ColorRef kRed = Rgb(239, 83, 80);
    constexpr ColorRef kBlue = Rgb(66, 165, 245);
    constexpr ColorRef kUpLevel = Rgb(206, 147, 216);
    constexpr ColorRef kLowLevel = Rgb(255, 183, 77);
    static const std::vector<std::pair<std::string_view, ColorRef>> kColors{
        {keys::kBackgroundColor, Rgb(30, 30, 30)},
        {keys::kGridColor, Rgb(72, 72, 72)},
        {keys::kPriceDataColor, kText},
        {keys::kPriceLabelColor, kText},
        {keys::kPriceUpCandleColor, Rgb(38, 166, 154)},
        {keys::kPriceDownCandleColor, kRed},
        {keys::kPriceBarColor, Rgb(160, 160, 160)},
        {"Moving Average 1 Color", Rgb(255, 152, 0)},
        {"Moving Average 2 Color", kBlue},
        {"Moving Average 3 Color", Rgb(255, 235, 59)},
        {keys::kBBColor, Rgb(179, 157, 219)},
        {keys::kRSIUpLevelColor, kUpLevel},
        {keys::kRSILowLevelColor, kLowLevel},
        {keys::kMomentumZeroColor, Rgb(100, 149, 237)},
        {keys::kROC100Color, Rgb(240, 98, 146)},
        {keys::kOBVZeroColor, Rgb(144, 164, 174)},
        {keys::kMACDSignalLineColor, Rgb(255, 128, 171)},
        {keys::kMACDHistogramColor, kBlue},
        {keys::kSTOUpLevelColor, kUpLevel},
        {keys::kSTOLowLevelColor, kLowLevel},
        {keys::kSTODLineColor, Rgb(255, 82, 82)},
        {keys::kSTOKLineColor, kText},
        {keys::kVolumeAverageColor, Rgb(255, 112, 67)},
        {keys::kVolumeLabelColor, kText},
        {keys::kPositiveFlowLineColor, kBlue},
        {keys::kNegativeFlowLineColor, kRed},
        {keys::kMFIUpLevelColor, kUpLevel},
        {keys::kMFILowLevelColor, kLowLevel},
        {keys::kPositiveDIColor, kBlue},
        {keys::kNegativeDIColor, kRed},
        {"Horizontal Trendline Color", Rgb(79, 195, 247)},
        {"Sloping Trendline Color", Rgb(121, 134, 203)},
        {"Parallel Trendline Color", Rgb(77, 182, 172)},
        {"Andrew's Pitchfork Trendline Color", kUpLevel},
        {"Fibonacci Fan Trendline Color", Rgb(255, 167, 38)},
        {"Fibonacci Retracements Trendline Color", Rgb(220, 231, 117)},
        {"Speed Resistance Trendline Color", Rgb(129, 199, 132)},
    };
    const auto found = std::find_if(kColors.begin(), kColors.end(),
                                    [key](const auto& entry) { return entry.first == key; });
    // The study data and label colours: light text, as black is on the light set.
    return found != kColors.end() ? found->second : kText;
}

std::vector<SPresetColor> MakePreset(EColorPreset preset) {
    std::vector<SPresetColor> colors;
    for (const SSettingKey& entry : AllSettingKeys()) {
        if (!IsColorKey(entry.key)) {
            continue;
        }
        const ColorRef color = preset == EColorPreset::Light
                                   ? ParseColorRef(entry.defaultValue).value_or(0)
                                   : DarkColor(entry.key);
        colors.push_back({entry.key, color});
    }
    return colors;
}

} // namespace

bool IsColorKey(std::string_view key) {
    // A numbered key ("Study Data Color 3") ends in its number.
    const std::size_t end = key.find_last_not_of("0123456789");
    if (end != std::string_view::npos && end + 1 < key.size() && key[end] == ' ') {
        key = key.substr(0, end);
    }
    constexpr std::string_view kSuffix = "Color";
    return key.size() >= kSuffix.size() && key.substr(key.size() - kSuffix.size()) == kSuffix;
}

const std::vector<SPresetColor>& PresetColors(EColorPreset preset) {
    static const std::vector<SPresetColor> light = MakePreset(EColorPreset::Light);
    static const std::vector<SPresetColor> dark = MakePreset(EColorPreset::Dark);
    return preset == EColorPreset::Light ? light : dark;
}

ColorRef PresetColor(EColorPreset preset, std::string_view key) {
    const std::vector<SPresetColor>& colors = PresetColors(preset);
    const auto found = std::find_if(colors.begin(), colors.end(),
                                    [key](const SPresetColor& entry) { return entry.key == key; });
    return found != colors.end() ? found->color : 0;
}

bool IsDarkPalette(ColorRef window, ColorRef windowText) {
    const auto lightness = [](ColorRef color) {
        return 299 * RedOf(color) + 587 * GreenOf(color) + 114 * BlueOf(color);
    };
    return lightness(window) < lightness(windowText);
}

bool ColorsChosen(const CSettings& settings) {
    const std::vector<SPresetColor>& colors = PresetColors(EColorPreset::Light);
    return std::any_of(colors.begin(), colors.end(), [&settings](const SPresetColor& entry) {
        return settings.IsStored(entry.key);
    });
}

EColorPreset FollowDesktopColors(CSettings& settings, bool darkDesktop) {
    if (ColorsChosen(settings)) {
        return EColorPreset::Light;
    }
    const EColorPreset preset = darkDesktop ? EColorPreset::Dark : EColorPreset::Light;
    std::vector<std::pair<std::string, std::string>> values;
    for (const SPresetColor& entry : PresetColors(preset)) {
        values.emplace_back(entry.key, std::to_string(entry.color));
    }
    if (darkDesktop) {
        settings.OverlayDefaults(values);
    } else {
        // The light set is the table's defaults: a desktop turned light takes them back.
        settings.RemoveOverlay(values);
    }
    return preset;
}

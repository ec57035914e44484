#include "chart/chart_style.h"

#include "core/setting_keys.h"
#include "core/settings.h"

#include <algorithm>
#include <cmath>

namespace {

ColorRef StudyColor(const std::array<ColorRef, SChartStyle::kStudyTypeCount>& colors, int type) {
    return type >= 0 && type < SChartStyle::kStudyTypeCount ? colors[static_cast<std::size_t>(type)]
                                                            : ColorRef{0};
}

double Linear(int channel) {
    const double c = channel / 255.0;
    return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double Luminance(ColorRef color) {
    return 0.2126 * Linear(RedOf(color)) + 0.7152 * Linear(GreenOf(color)) +
           0.0722 * Linear(BlueOf(color));
}

// Black or white, whichever stands out more from `background`.
ColorRef FarthestExtreme(ColorRef background) {
    constexpr ColorRef kWhite = 0xFFFFFF;
    return ContrastRatio(0, background) >= ContrastRatio(kWhite, background) ? 0 : kWhite;
}

ColorRef Blend(ColorRef from, ColorRef to, double share) {
    const auto mix = [share](int a, int b) {
        return static_cast<int>(std::lround(a + (b - a) * share));
    };
    return MakeColorRef(mix(RedOf(from), RedOf(to)), mix(GreenOf(from), GreenOf(to)),
                        mix(BlueOf(from), BlueOf(to)));
}

} // namespace

double ContrastRatio(ColorRef a, ColorRef b) {
    const double la = Luminance(a);
    const double lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

double ColorDistance(ColorRef a, ColorRef b) {
    const double redMean = (RedOf(a) + RedOf(b)) / 2.0;
    const double red = RedOf(a) - RedOf(b);
    const double green = GreenOf(a) - GreenOf(b);
    const double blue = BlueOf(a) - BlueOf(b);
    return std::sqrt((2.0 + redMean / 256.0) * red * red + 4.0 * green * green +
                     (2.0 + (255.0 - redMean) / 256.0) * blue * blue);
}

ColorRef ReadableTextColor(ColorRef text, ColorRef background) {
    constexpr int kSteps = 32;
    const ColorRef extreme = FarthestExtreme(background);
    ColorRef color = text & kColorRefMask;
    for (int step = 1; step <= kSteps && ContrastRatio(color, background) < kMinTextContrast;
         ++step) {
        color = Blend(text, extreme, static_cast<double>(step) / kSteps);
    }
    return color;
}

ColorRef SplitterColor(ColorRef background) {
    return Blend(background, FarthestExtreme(background), 1.0 / 3.0);
}

ColorRef SChartStyle::StudyDataColor(int studyType) const {
    return StudyColor(studyData, studyType);
}

ColorRef SChartStyle::StudyLabelColor(int studyType) const {
    return StudyColor(studyLabel, studyType);
}

SChartStyle ReadChartStyle(const CSettings& settings) {
    SChartStyle style;
    style.candleStyle = settings.GetInt(keys::kCandlePriceChartStyle);
    style.showGrid = settings.GetInt(keys::kShowGrid) != 0;
    style.gridStyle = settings.GetInt(keys::kGridStyle);
    style.labelsOnY2 = settings.GetInt(keys::kYAxisOrientation) == 1;
    style.fixedYScaling = settings.GetInt(keys::kFixedYAxisScaling) == 1;
    style.showPriceBar = settings.GetInt(keys::kShowPriceBar) != 0;
    style.priceScale = PriceScaleOf(settings.GetInt(keys::kPriceScale));
    style.showLastPrice = settings.GetInt(keys::kShowLastPrice) == 1;
    style.background = settings.GetUnsigned(keys::kBackgroundColor);
    style.grid = settings.GetUnsigned(keys::kGridColor);
    style.priceData = settings.GetUnsigned(keys::kPriceDataColor);
    style.priceLabel = settings.GetUnsigned(keys::kPriceLabelColor);
    style.upCandle = settings.GetUnsigned(keys::kPriceUpCandleColor);
    style.downCandle = settings.GetUnsigned(keys::kPriceDownCandleColor);
    style.priceBar = settings.GetUnsigned(keys::kPriceBarColor);
    for (int type = 0; type < SChartStyle::kStudyTypeCount; ++type) {
        const auto at = static_cast<std::size_t>(type);
        style.studyData[at] = settings.GetUnsigned(keys::Numbered(keys::kStudyDataColor, type));
        style.studyLabel[at] = settings.GetUnsigned(keys::Numbered(keys::kStudyLabelColor, type));
    }
    return style;
}

void ApplyPaneFrame(CChart2D& chart, const SChartStyle& style, ColorRef labelColor) {
    chart.SetBackgroundColor(style.background);
    chart.SetGridVisible(style.showGrid);
    chart.SetGridStyle(style.gridStyle);
    chart.SetGridColor(style.grid);
    chart.SetLabelAxis(style.LabelAxis());
    chart.SetAxisLabelColor(labelColor);
}

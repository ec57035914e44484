#include "chart/chart_style.h"

#include "core/setting_keys.h"
#include "core/settings.h"

namespace {

ColorRef StudyColor(const std::array<ColorRef, SChartStyle::kStudyTypeCount>& colors, int type) {
    return type >= 0 && type < SChartStyle::kStudyTypeCount ? colors[static_cast<std::size_t>(type)]
                                                            : ColorRef{0};
}

} // namespace

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

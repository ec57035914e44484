#include "chart/display_page_logic.h"
#include "chart/value_scale.h"

#include "chart/display_range.h"
#include "chart/line_style.h"
#include "core/prompt.h"
#include "core/settings.h"

#include <algorithm>

namespace {

int IndexOrNone(int index, int count) {
    return index >= 0 && index < count ? index : SDisplayPageValues::kNone;
}

} // namespace

SDisplayPageValues CDisplayPageLogic::Load(const CSettings& settings) {
    SDisplayPageValues values;
    values.pointsIndex =
        IndexOrNone(settings.GetInt(keys::kPtsIndex), static_cast<int>(DisplayPointsTable.size()));
    values.showGrid = settings.GetInt(keys::kShowGrid) == 1;
    values.gridStyle = IndexOrNone(settings.GetInt(keys::kGridStyle), kLineStyleCount);
    values.chartStyle = settings.GetInt(keys::kCandlePriceChartStyle) == 1 ? 1 : 0;
    values.valueLabelSide = settings.GetInt(keys::kYAxisOrientation) == 1 ? 1 : 0;
    values.showPriceBar = settings.GetInt(keys::kShowPriceBar) == 1;
    values.showLastPrice = settings.GetInt(keys::kShowLastPrice) == 1;
    values.fixedYAxisScaling = settings.GetInt(keys::kFixedYAxisScaling) == 1;
    values.priceScale = static_cast<int>(PriceScaleOf(settings.GetInt(keys::kPriceScale)));
    values.scrollByItems = settings.GetInt(keys::kScrollingByItems) == 1;
    values.scrollItems =
        std::clamp(settings.GetInt(keys::kScrollingItems), kMinScrollItems, kMaxScrollItems);
    values.scrollPercent =
        std::clamp(settings.GetInt(keys::kScrollingPercent), kMinScrollPercent, kMaxScrollPercent);
    return values;
}

bool CDisplayPageLogic::SetShowGrid(CSettings& settings, bool show) {
    settings.SetInt(keys::kShowGrid, show ? 1 : 0);
    return show;
}

const char* CDisplayPageLogic::Refusal(const SDisplayPageValues& values) {
    if (values.pointsIndex < 0 ||
        values.pointsIndex >= static_cast<int>(DisplayPointsTable.size())) {
        return kNoDisplayPointsText;
    }
    if (values.showGrid && !IsLineStyle(values.gridStyle)) {
        return kNoGridStyleText;
    }
    return nullptr;
}

bool CDisplayPageLogic::Check(IPrompt& prompt, const SDisplayPageValues& values) {
    if (const char* refusal = Refusal(values)) {
        prompt.Error(kErrorCaption, refusal);
        return false;
    }
    return true;
}

void CDisplayPageLogic::Store(CSettings& settings, const SDisplayPageValues& values,
                              const SDisplayPageValues& shown) {
    const auto changed = [](auto now, auto before) { return now != before; };
    if (changed(values.pointsIndex, shown.pointsIndex) && values.pointsIndex >= 0 &&
        values.pointsIndex < static_cast<int>(DisplayPointsTable.size())) {
        settings.SetInt(keys::kPtsIndex, values.pointsIndex);
    }
    if (changed(values.showGrid, shown.showGrid)) {
        settings.SetInt(keys::kShowGrid, values.showGrid ? 1 : 0);
    }
    if (changed(values.gridStyle, shown.gridStyle) && IsLineStyle(values.gridStyle)) {
        settings.SetInt(keys::kGridStyle, values.gridStyle);
    }
    if (changed(values.chartStyle, shown.chartStyle) && values.chartStyle >= 0 &&
        values.chartStyle < kChartStyleCount) {
        settings.SetInt(keys::kCandlePriceChartStyle, values.chartStyle);
    }
    if (changed(values.valueLabelSide, shown.valueLabelSide) && values.valueLabelSide >= 0 &&
        values.valueLabelSide < kValueLabelSideCount) {
        settings.SetBool(keys::kYAxisOrientation, values.valueLabelSide == 1);
    }
    if (changed(values.showPriceBar, shown.showPriceBar)) {
        settings.SetInt(keys::kShowPriceBar, values.showPriceBar ? 1 : 0);
    }
    if (changed(values.showLastPrice, shown.showLastPrice)) {
        settings.SetInt(keys::kShowLastPrice, values.showLastPrice ? 1 : 0);
    }
    if (changed(values.fixedYAxisScaling, shown.fixedYAxisScaling)) {
        settings.SetBool(keys::kFixedYAxisScaling, values.fixedYAxisScaling);
    }
    if (changed(values.priceScale, shown.priceScale) && values.priceScale >= 0 &&
        values.priceScale < kPriceScaleCount) {
        settings.SetInt(keys::kPriceScale, values.priceScale);
    }
    if (changed(values.scrollByItems, shown.scrollByItems)) {
        settings.SetBool(keys::kScrollingByItems, values.scrollByItems);
    }
    if (changed(values.scrollItems, shown.scrollItems)) {
        settings.SetInt(keys::kScrollingItems,
                        std::clamp(values.scrollItems, kMinScrollItems, kMaxScrollItems));
    }
    if (changed(values.scrollPercent, shown.scrollPercent)) {
        settings.SetInt(keys::kScrollingPercent,
                        std::clamp(values.scrollPercent, kMinScrollPercent, kMaxScrollPercent));
    }
}

const char* CDisplayPageLogic::ChartStyleName(int chartStyle) {
    switch (chartStyle) {
    case 0:
        return "OHLC";
    case 1:
        return "Candlestick";
    default:
        return "";
    }
}

const char* CDisplayPageLogic::ValueLabelSideName(int side) {
    switch (side) {
    case 0:
        return "Left";
    case 1:
        return "Right";
    default:
        return "";
    }
}

#include "chart/chart_view_settings.h"

#include "core/setting_keys.h"
#include "core/settings.h"

#include <fmt/format.h>

SPaneLayout LoadPaneLayout(const CSettings& settings) {
    SPaneLayout layout;
    layout.displayedCount = settings.GetInt(keys::kNumberOfStudyCharts);
    for (int p = 0; p < SPaneLayout::kPaneCount; ++p) {
        const auto at = static_cast<std::size_t>(p);
        layout.studyTypes[at] = settings.GetInt(keys::Numbered(keys::kTypeOfStudyChart, p));
        const std::string top = keys::Numbered(keys::kTopOfChart, p + 1);
        layout.tops[at + 1] = settings.Has(top) ? settings.GetNumber(top) : SPaneLayout::kUnsetTop;
        const std::string minimized = keys::Numbered(keys::kChartMinimized, p);
        layout.minimized[at] = settings.Has(minimized) && settings.GetInt(minimized) == 1 ? 1 : 0;
    }
    layout.tops[0] = settings.GetNumber(keys::Numbered(keys::kTopOfChart, 0));
    layout.maximized = settings.GetInt(keys::kMaximizedChartIndex);
    layout.FinishLoading();
    return layout;
}

void SavePaneLayout(CSettings& settings, const SPaneLayout& layout) {
    for (int p = 0; p < SPaneLayout::kPaneCount; ++p) {
        const auto at = static_cast<std::size_t>(p);
        settings.SetInt(keys::Numbered(keys::kChartMinimized, p), layout.minimized[at]);
    }
    // The top below the lowest displayed pane is always the bottom of the view; it is not kept.
    for (int p = 1; p <= layout.displayedCount; ++p) {
        settings.SetText(keys::Numbered(keys::kTopOfChart, p),
                         fmt::format("{}", layout.tops[static_cast<std::size_t>(p)]));
    }
    settings.SetInt(keys::kMaximizedChartIndex, layout.maximized);
}

SScrollStepSettings LoadScrollStep(const CSettings& settings) {
    SScrollStepSettings step;
    step.byItems = settings.GetInt(keys::kScrollingByItems) != 0;
    step.items = settings.GetInt(keys::kScrollingItems);
    step.percent = settings.GetInt(keys::kScrollingPercent);
    return step;
}

#include "chart/pane_layout.h"

#include "chart/chart_rounding.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

// Below this share of the view a repaired pane would be too thin to use.
constexpr double kMinRepairedShare = 0.1;

} // namespace

bool SPaneLayout::IsMinimized(int pane) const {
    return pane >= 0 && pane < kPaneCount && minimized[static_cast<std::size_t>(pane)] != 0;
}

int SPaneLayout::MinimizedCount() const {
    int count = 0;
    for (int p = 0; p <= LastPane(); ++p) {
        count += IsMinimized(p) ? 1 : 0;
    }
    return count;
}

void SPaneLayout::FinishLoading() {
    displayedCount = LastPane();
    tops[0] = 0.0;
    tops[static_cast<std::size_t>(displayedCount + 1)] = 1.0;
    if (maximized != kNoMaximized && !IsDisplayed(maximized)) {
        maximized = kNoMaximized;
    }
    // The price pane alone is never a strip: there would be nothing else to show.
    if (displayedCount == 0) {
        minimized[0] = 0;
    }
    RepairTops();
}

void SPaneLayout::RepairTops() {
    const int n = LastPane();
    int firstBad = n + 1;
    for (int p = 1; p <= n; ++p) {
        const double top = tops[static_cast<std::size_t>(p)];
        if (!std::isfinite(top) || top <= tops[static_cast<std::size_t>(p - 1)] || top >= 1.0) {
            firstBad = p;
            break;
        }
    }
    if (firstBad > n) {
        return;
    }
    // A fresh layout: the price pane on top, the study panes sharing the rest equally.
    const double price = n == 1 ? 0.66 : (n <= 5 ? 0.5 : 0.4);
    const double step = (1.0 - price) / n;
    // Panes firstBad - 1 to n share what lies below the last good top, unless that leaves each
    // less than a tenth of the view (several studies were added at once).
    const double start = tops[static_cast<std::size_t>(firstBad - 1)];
    const int sharing = n - firstBad + 2;
    const double share = (1.0 - start) / sharing;
    if (firstBad > 1 && share >= kMinRepairedShare) {
        for (int p = firstBad; p <= n; ++p) {
            tops[static_cast<std::size_t>(p)] = start + (p - firstBad + 1) * share;
        }
        return;
    }
    for (int p = 1; p <= n; ++p) {
        tops[static_cast<std::size_t>(p)] = price + (p - 1) * step;
    }
}

bool SPaneLayout::Minimize(int pane) {
    if (!IsDisplayed(pane) || LastPane() == 0) {
        return false;
    }
    const SPaneLayout before = *this;
    minimized[static_cast<std::size_t>(pane)] = 1;
    if (maximized == pane) {
        maximized = kNoMaximized;
        if (MinimizedCount() >= LastPane()) {
            for (int p = 0; p <= LastPane(); ++p) {
                minimized[static_cast<std::size_t>(p)] = p == pane ? 1 : 0;
            }
        }
    } else {
        int left = 0;
        int last = -1;
        for (int p = 0; p <= LastPane(); ++p) {
            if (!IsMinimized(p)) {
                ++left;
                last = p;
            }
        }
        if (left == 1) {
            maximized = last;
        }
    }
    return !(before == *this);
}

bool SPaneLayout::Maximize(int pane) {
    if (!IsDisplayed(pane)) {
        return false;
    }
    const bool changed = maximized != pane;
    maximized = pane;
    return changed;
}

bool SPaneLayout::Restore(int pane) {
    if (!IsDisplayed(pane)) {
        return false;
    }
    const SPaneLayout before = *this;
    if (HasMaximized() && maximized != pane) {
        for (int p = 0; p <= LastPane(); ++p) {
            if (p != pane && p != maximized) {
                minimized[static_cast<std::size_t>(p)] = 1;
            }
        }
    } else if (maximized == pane) {
        maximized = kNoMaximized;
    } else {
        minimized[static_cast<std::size_t>(pane)] = 0;
    }
    return !(before == *this);
}

SPaneLayoutResult SPaneLayout::Layout(const SPaneGeometry& geometry) const {
    SPaneLayoutResult result;
    const int n = LastPane();
    const int scrollBar = std::max(0, geometry.scrollBarHeight);
    const int h = std::max(0, geometry.clientHeight - scrollBar);
    const int m = std::max(0, geometry.minimizedHeight);
    result.paneWidth = std::max(0, geometry.clientWidth - geometry.frameWidth);
    result.paneAreaHeight = h;
    result.scrollBarTop = h;
    result.panes.resize(static_cast<std::size_t>(n + 1));

    // Too low for even the minimums: the panes are stacked at them, and the view scrolls.
    int height = h;
    if (geometry.minPaneHeight > 0 || geometry.minPriceHeight > 0) {
        int needed = 0;
        for (int p = 0; p <= n; ++p) {
            needed += MinimumOf(result, geometry, p);
        }
        height = std::max(h, needed);
    }
    Divide(result, height, m);
    if (!result.proportionalOnly) {
        RaiseToMinimums(result, geometry);
    }
    result.contentHeight = result.panes.back().Bottom();
    return result;
}

void SPaneLayout::Divide(SPaneLayoutResult& result, int h, int m) const {
    const int n = LastPane();
    auto top = [this](int p) { return tops[static_cast<std::size_t>(p)]; };
    auto rect = [&result](int p) -> SPaneRect& {
        return result.panes[static_cast<std::size_t>(p)];
    };

    if ((n + 1) * m > h) {
        // Too low for the strips: the tops alone divide the view.
        result.proportionalOnly = true;
        rect(0) = {0, n == 0 ? h : std::max(0, RoundHalfUp(h * top(1)))};
        for (int p = 1; p <= n; ++p) {
            const int begin = rect(p - 1).Bottom();
            const int end = RoundHalfUp(h * top(p + 1));
            rect(p) = {begin, std::max(0, end - begin)};
        }
        return;
    }

    if (!HasShownMaximized()) {
        double shown = 0.0;
        int strips = 0;
        for (int p = 0; p <= n; ++p) {
            if (IsMinimized(p)) {
                ++strips;
            } else {
                shown += top(p + 1) - top(p);
            }
        }
        const double scale = shown > 0.0 ? (h - strips * m) / shown : 0.0;
        int bottom = h;
        for (int p = n; p >= 1; --p) {
            const int height =
                IsMinimized(p) ? m : std::max(0, RoundHalfUp((top(p + 1) - top(p)) * scale));
            rect(p) = {bottom - height, height};
            bottom -= height;
        }
        rect(0) = {0, std::max(0, bottom)};
        return;
    }

    int y = 0;
    for (int p = 0; p <= n; ++p) {
        const int height = p == maximized ? h - n * m : m;
        rect(p) = {y, height};
        y += height;
    }
}

bool SPaneLayout::IsStrip(const SPaneLayoutResult& layout, int pane) const {
    if (layout.proportionalOnly) {
        return false;
    }
    return HasShownMaximized() ? maximized != pane : IsMinimized(pane);
}

int SPaneLayout::MinimumOf(const SPaneLayoutResult& result, const SPaneGeometry& geometry,
                           int pane) const {
    if (IsStrip(result, pane)) {
        return std::max(0, geometry.minimizedHeight);
    }
    int minimum = pane == 0 ? geometry.minPriceHeight : geometry.minPaneHeight;
    // The lowest pane that is not a strip carries the time labels.
    bool lowest = true;
    for (int p = pane + 1; p <= LastPane(); ++p) {
        lowest = lowest && IsStrip(result, p);
    }
    if (lowest) {
        minimum += geometry.timeAxisHeight;
    }
    return std::max(0, minimum);
}

void SPaneLayout::RaiseToMinimums(SPaneLayoutResult& result, const SPaneGeometry& geometry) const {
    const int n = LastPane();
    std::vector<int> heights(static_cast<std::size_t>(n + 1));
    std::vector<int> room(heights.size());
    int deficit = 0;
    for (int p = 0; p <= n; ++p) {
        const auto at = static_cast<std::size_t>(p);
        const int minimum = MinimumOf(result, geometry, p);
        heights[at] = result.panes[at].height;
        if (!IsStrip(result, p) && heights[at] < minimum) {
            deficit += minimum - heights[at];
            heights[at] = minimum;
        }
        room[at] = IsStrip(result, p) ? 0 : std::max(0, heights[at] - minimum);
    }
    if (deficit == 0) {
        return;
    }
    result.raised = true;
    // The price pane gives first.
    const int fromPrice = std::min(deficit, room[0]);
    heights[0] -= fromPrice;
    deficit -= fromPrice;
    // Then the study panes, each in proportion to what it has over its minimum; the pixels the
    // rounding leaves go one by one from the top down.
    long long spare = 0;
    for (int p = 1; p <= n; ++p) {
        spare += room[static_cast<std::size_t>(p)];
    }
    if (deficit > 0 && spare > 0) {
        int left = deficit;
        for (int p = 1; p <= n; ++p) {
            const auto at = static_cast<std::size_t>(p);
            const auto take = static_cast<int>(room[at] * static_cast<long long>(deficit) / spare);
            heights[at] -= take;
            room[at] -= take;
            left -= take;
        }
        for (bool gave = true; left > 0 && gave;) {
            gave = false;
            for (int p = 1; p <= n && left > 0; ++p) {
                const auto at = static_cast<std::size_t>(p);
                if (room[at] > 0) {
                    --heights[at];
                    --room[at];
                    --left;
                    gave = true;
                }
            }
        }
    }
    int y = 0;
    for (int p = 0; p <= n; ++p) {
        result.panes[static_cast<std::size_t>(p)] = {y, heights[static_cast<std::size_t>(p)]};
        y += heights[static_cast<std::size_t>(p)];
    }
}

int SPaneLayout::HitTestPane(const SPaneLayoutResult& layout, int y) {
    for (std::size_t p = 0; p < layout.panes.size(); ++p) {
        const SPaneRect& r = layout.panes[p];
        if (y >= r.top && y < r.Bottom()) {
            return static_cast<int>(p);
        }
    }
    return -1;
}

bool SPaneLayout::BorderDraggable(const SPaneLayoutResult& layout, int lowerPane) const {
    if (lowerPane < 1 || lowerPane > LastPane() ||
        layout.panes.size() != static_cast<std::size_t>(LastPane() + 1)) {
        return false;
    }
    if (layout.proportionalOnly) {
        return true;
    }
    return !HasShownMaximized() && !IsMinimized(lowerPane - 1) && !IsMinimized(lowerPane);
}

int SPaneLayout::HitTestBorder(const SPaneLayoutResult& layout, int y, int tolerance) const {
    int best = -1;
    int bestDistance = tolerance + 1;
    for (int p = 1; p <= LastPane(); ++p) {
        if (!BorderDraggable(layout, p)) {
            continue;
        }
        const int distance = std::abs(y - layout.panes[static_cast<std::size_t>(p)].top);
        if (distance <= tolerance && distance < bestDistance) {
            best = p;
            bestDistance = distance;
        }
    }
    return best;
}

bool SPaneLayout::DragBorder(const SPaneLayoutResult& layout, int lowerPane, int y,
                             int minPaneHeight) {
    if (!BorderDraggable(layout, lowerPane)) {
        return false;
    }
    const SPaneRect& upper = layout.panes[static_cast<std::size_t>(lowerPane - 1)];
    const SPaneRect& lower = layout.panes[static_cast<std::size_t>(lowerPane)];
    const int minHeight = std::max(1, minPaneHeight);
    const int lowest = upper.top + minHeight;
    const int highest = lower.Bottom() - minHeight;
    if (lowest > highest) {
        return false;
    }
    const int border = std::clamp(y, lowest, highest);
    const double above = tops[static_cast<std::size_t>(lowerPane - 1)];
    const double below = tops[static_cast<std::size_t>(lowerPane + 1)];
    double newTop = 0.0;
    if (layout.proportionalOnly || (MinimizedCount() == 0 && !layout.raised)) {
        newTop = TopFromBorder(border, 0, layout.contentHeight);
    } else {
        const int pixels = upper.height + lower.height;
        newTop = above + (below - above) * (border - upper.top) / pixels;
    }
    double& top = tops[static_cast<std::size_t>(lowerPane)];
    if (!(newTop > above && newTop < below) || newTop == top) {
        return false;
    }
    top = newTop;
    return true;
}

double SPaneLayout::TopFromBorder(int borderY, int viewTop, int viewHeight) {
    if (viewHeight <= 0) {
        return 0.0;
    }
    return static_cast<double>(borderY - viewTop) / static_cast<double>(viewHeight);
}

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
        return result;
    }

    if (!HasMaximized() || !IsDisplayed(maximized)) {
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
        return result;
    }

    int y = 0;
    for (int p = 0; p <= n; ++p) {
        const int height = p == maximized ? h - n * m : m;
        rect(p) = {y, height};
        y += height;
    }
    return result;
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
    return !(HasMaximized() && IsDisplayed(maximized)) && !IsMinimized(lowerPane - 1) &&
           !IsMinimized(lowerPane);
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
    if (layout.proportionalOnly || MinimizedCount() == 0) {
        newTop = TopFromBorder(border, 0, layout.paneAreaHeight);
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

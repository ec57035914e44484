#pragma once

// The stack of panes of the chart view as plain data: which panes are shown, where their borders
// lie as fractions of the view's height, which are minimised and which one is maximised, and the
// arithmetic that turns this into pixel rectangles. The view owns one value, applies the pane
// commands to it and writes the whole value back to the settings afterwards.

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

// One pane's place in the view, in pixels from the top of the view's client area.
struct SPaneRect {
    int top = 0;
    int height = 0;

    int Bottom() const { return top + height; }
    friend bool operator==(const SPaneRect&, const SPaneRect&) = default;
};

// What the view measures before dividing itself among the panes.
struct SPaneGeometry {
    int clientWidth = 0;
    int clientHeight = 0;
    // Height of a minimised pane (its title strip).
    int minimizedHeight = 20;
    // Height of the horizontal scroll bar along the bottom; 0 when it is hidden.
    int scrollBarHeight = 0;
    // Frame width that the panes leave free at the side of the client area.
    int frameWidth = 0;
    // The least height of a pane that is not a strip (its label band and a plot that can be
    // read), and the price pane's own larger one; with both 0 the tops alone decide.
    int minPaneHeight = 0;
    int minPriceHeight = 0;
    // What the lowest full pane needs on top of its minimum for the time labels under it.
    int timeAxisHeight = 0;
};

// The pixel rectangles of the displayed panes 0 to n, top to bottom, and the strip left for
// the scroll bar.
struct SPaneLayoutResult {
    std::vector<SPaneRect> panes;
    int paneWidth = 0;
    // Height shared by the panes: the client height less the scroll bar.
    int paneAreaHeight = 0;
    // Height of the panes stacked one below the other. Larger than paneAreaHeight when the
    // panes' minimums do not fit: the stack then scrolls vertically.
    int contentHeight = 0;
    // True when some pane was given its minimum rather than its share of the tops.
    bool raised = false;
    // Top of the scroll bar (equal to paneAreaHeight); meaningful when its height is not 0.
    int scrollBarTop = 0;
    // True when the view was too low for the minimised strips and the panes follow their tops
    // alone, ignoring the minimised and maximised states.
    bool proportionalOnly = false;
};

struct SPaneLayout {
    // Panes 0 (price) to 10 (studies); positions 0 to 11 have a top.
    static constexpr int kPaneCount = 11;
    static constexpr int kTopCount = 12;
    static constexpr int kMaxStudyPanes = 10;
    static constexpr int kNoMaximized = 999;
    static constexpr int kDefaultStudyType = 6;
    static constexpr double kUnsetTop = -1.0;

    // Number of displayed study panes, n (0-10); also the number of the lowest displayed pane.
    int displayedCount = 1;
    // Top edge of each position as a fraction of the view's height; tops[n + 1] is 1.0 once
    // the layout is loaded.
    std::array<double, kTopCount> tops{0.0,       0.66,      kUnsetTop, kUnsetTop,
                                       kUnsetTop, kUnsetTop, kUnsetTop, kUnsetTop,
                                       kUnsetTop, kUnsetTop, kUnsetTop, kUnsetTop};
    std::array<std::uint8_t, kPaneCount> minimized{};
    // The maximised pane; kNoMaximized (999) when none.
    int maximized = kNoMaximized;
    // Study index shown at each position (0 RSI ... 9 ADX); kept as read.
    std::array<int, kPaneCount> studyTypes{6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6};

    // Finishes loading after the fields were filled from the settings: the displayed count is
    // clamped to 0-10, tops[0] becomes 0 and tops[n + 1] becomes 1.0, a maximised number that
    // is not a displayed pane becomes 999, and tops of displayed panes that are unset or out of
    // order (as after the count of study panes grew) are repaired: the valid tops from the
    // price pane down are kept and the rest of the view is shared equally by the remaining
    // panes, or, when no top is valid or the share would be under 5 per cent, every top is
    // reset to an even division below a price pane of 0.66 (one study) or 0.5 (more).
    void FinishLoading();

    // The lowest displayed pane: the displayed count held to 0-10, so that a count that was
    // never finished loading cannot reach past the arrays.
    int LastPane() const {
        return displayedCount < 0 ? 0 : std::min(displayedCount, kMaxStudyPanes);
    }
    bool IsDisplayed(int pane) const { return pane >= 0 && pane <= LastPane(); }
    bool HasMaximized() const { return maximized != kNoMaximized; }
    bool IsMinimized(int pane) const;
    // Number of minimised panes among the displayed ones.
    int MinimizedCount() const;

    // The pane commands of the context menu. Each returns false and changes nothing when `pane`
    // is not displayed. The caller stores the minimised flags and the maximised number
    // afterwards and lays the view out again.
    //
    // Minimise: marks `pane` minimised. If it was the maximised pane, nothing is maximised any
    // more, and when at least n of the panes 0-n are then minimised every other pane is shown
    // again. Otherwise, when exactly one pane is left not minimised, it becomes the maximised
    // pane. The price pane cannot be minimised while it is the only pane (false).
    bool Minimize(int pane);
    // Maximise: `pane` becomes the maximised pane.
    bool Maximize(int pane);
    // Restore: with another pane maximised, every pane other than `pane` and the maximised one
    // is marked minimised; with `pane` itself maximised, nothing is maximised any more and the
    // panes follow their tops again; with nothing maximised, `pane` is no longer minimised.
    bool Restore(int pane);

    // Divides the view among the displayed panes by their tops, the strips and the maximised
    // pane. Then every pane that is not a strip is given at least its minimum height: the price
    // pane gives up its height first, down to its own minimum, then the study panes that have
    // more than theirs, in proportion to what they have over. When even the minimums do not fit
    // the panes are stacked at their minimums, taller than the view. The tops are not changed.
    SPaneLayoutResult Layout(const SPaneGeometry& geometry) const;
    // Whether pane `pane` is laid out as a title strip: minimised, or beside a maximised pane
    // (never when the view is too low for the strips).
    bool IsStrip(const SPaneLayoutResult& layout, int pane) const;

    // The pane whose rectangle holds pixel row `y`; -1 when none does.
    static int HitTestPane(const SPaneLayoutResult& layout, int y);
    // The lower pane p (1 to n) of the border between panes p - 1 and p that lies within
    // `tolerance` pixels of `y` and may be dragged; -1 when none. Borders can be dragged only
    // while the panes follow their tops (nothing maximised, the view not too low) and neither
    // pane beside the border is minimised.
    int HitTestBorder(const SPaneLayoutResult& layout, int y, int tolerance) const;
    // Moves the border above pane `lowerPane` to pixel row `y` of the view, keeping both panes
    // beside it at least `minPaneHeight` pixels high, and sets the new top of `lowerPane`. With
    // no pane minimised or raised the top is (y - view top) / view height over the pane area;
    // otherwise the two panes share their joint fraction in the ratio of the pixel split. Returns
    // false and changes nothing when the border cannot be dragged or the panes are too low to move.
    bool DragBorder(const SPaneLayoutResult& layout, int lowerPane, int y, int minPaneHeight);

    // The top, as a fraction of the view's height, for a border at pixel row `borderY`.
    static double TopFromBorder(int borderY, int viewTop, int viewHeight);

    friend bool operator==(const SPaneLayout&, const SPaneLayout&) = default;

private:
    bool HasShownMaximized() const { return HasMaximized() && IsDisplayed(maximized); }
    // The division by the tops alone, on `height` pixels.
    void Divide(SPaneLayoutResult& result, int height, int stripHeight) const;
    void RaiseToMinimums(SPaneLayoutResult& result, const SPaneGeometry& geometry) const;
    int MinimumOf(const SPaneLayoutResult& result, const SPaneGeometry& geometry, int pane) const;
    bool BorderDraggable(const SPaneLayoutResult& layout, int lowerPane) const;
    void RepairTops();
};

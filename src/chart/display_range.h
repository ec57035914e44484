#pragma once

// Which bars of the series the panes show: the number of displayed points chosen from a fixed
// table, the scroll position over the series with the requests of the horizontal scroll bar,
// zooming, and the mouse and keyboard gestures a trader expects on top of them. Plain values in,
// plain values out; the view stores "PTS INDEX" and redraws when a call reports a change.

#include <array>

// Numbers of displayed points that "PTS INDEX" (0-10) chooses from.
inline constexpr std::array<int, 11> DisplayPointsTable{30,  60,   90,   120,  240,  480,
                                                        960, 1920, 3840, 7680, 15360};
inline constexpr int kDefaultPointsIndex = 3;

// The entry of DisplayPointsTable for `pointsIndex`, the index held to 0-10.
int DisplayPointsFor(int pointsIndex);

// How far one scroll step moves.
struct SScrollStepSettings {
    bool byItems = true; // "Scrolling by Items"
    int items = 1;       // "Scrolling By Items Not Percent"
    int percent = 20;    // "Scrolling by Percent"
};

// Bars per scroll step: `items` when scrolling by items, else round(displayed points x percent /
// 100); never below 1.
int ScrollStep(const SScrollStepSettings& settings, int displayedPoints);

// The scroll state over a series of N points. The position is the index of the first displayed
// point; it runs from 0 to the limit max(0, N - displayed points), so at the limit the newest
// point is the last one displayed. Every call that can move the view returns true when the
// position, the displayed points or the points index changed (then the panes are redrawn) and
// false when it left them as they were.
class CDisplayRange {
public:
    enum class EScrollRequest {
        LineLeft,      // one bar back
        LineRight,     // one bar on
        PageLeft,      // one page (the displayed points) back
        PageRight,     // one page on
        FarLeft,       // to the oldest bars
        FarRight,      // to the newest bars
        ThumbTrack,    // the thumb is dragged to the given position
        ThumbPosition, // the thumb was released at the given position
        EndScroll,     // the scroll gesture ended: nothing to do
    };

    // Keys the view hands on.
    enum class EKey { Left, Right, PageUp, PageDown, Home, End, Plus, Minus };

    explicit CDisplayRange(int pointsIndex = kDefaultPointsIndex);

    // The number of points in the series. A view at the right edge stays there as points are
    // added (live following); a view scrolled back keeps its position, held to the new limit
    // when the series shrank. A negative count counts as 0.
    bool SetPointCount(int count);
    int PointCount() const { return m_count; }

    // "PTS INDEX", held to 0-10, and the displayed points (the scroll bar's page) it gives. A
    // view at the right edge stays there; otherwise the position is held to the new limit.
    bool SetPointsIndex(int pointsIndex);
    int PointsIndex() const { return m_pointsIndex; }
    int DisplayedPoints() const { return DisplayPointsFor(m_pointsIndex); }

    int Position() const { return m_position; }
    static constexpr int Minimum() { return 0; }
    int Limit() const;
    // Moves to `position`, held to 0 ... limit.
    bool SetPosition(int position);
    // Moves by `bars` (negative: back), held to the range.
    bool ScrollBy(int bars);
    // Shows the newest points (the position goes to the limit).
    bool ShowNewest() { return SetPosition(Limit()); }

    // The displayed bars: from FirstIndex(), DisplayedCount() of them (fewer than the displayed
    // points when the series is shorter; 0 for an empty series).
    int FirstIndex() const { return m_position; }
    int DisplayedCount() const;
    // True when the newest point is displayed; new points are then followed.
    bool AtRightEdge() const { return m_position >= Limit(); }

    // A request of the horizontal scroll bar; `trackPosition` is the thumb's position for
    // ThumbTrack and ThumbPosition. A thumb drag sets the tracking flag until the thumb is
    // released.
    bool Scroll(EScrollRequest request, int trackPosition = 0);
    bool IsTracking() const { return m_tracking; }

    // Fewer displayed points: the index goes down by one, and further down while it is above 0
    // and the series holds fewer points than its entry; the position moves right by (entry one
    // above the new index - new count) so that the newest displayed bar stays in place.
    bool ZoomIn();
    // More displayed points: the index goes up by one and the position moves left by the
    // growth of the page, not below 0.
    bool ZoomOut();

    // Bars per scroll step for the keyboard, from the settings and the displayed points.
    void SetScrollStepSettings(const SScrollStepSettings& settings) { m_step = settings; }
    int StepBars() const { return ScrollStep(m_step, DisplayedPoints()); }

    // Mouse wheel: each notch up zooms in, each notch down zooms out.
    bool Wheel(int notchesUp);
    // Dragging the chart: the position the drag started at, the horizontal mouse movement
    // since then in pixels and the pixels one bar takes. Moving right shows older bars; the
    // view moves by the movement in bars rounded to the nearest whole bar. A non-positive or
    // undefined bar width moves nothing.
    bool DragTo(int anchorPosition, double dx, double pixelsPerBar);
    // Left and Right move by one scroll step, Page Up and Page Down by a page, Home and End to
    // the oldest and newest bars, '+' and '-' zoom in and out.
    bool Key(EKey key);

private:
    int m_count = 0;
    int m_pointsIndex = kDefaultPointsIndex;
    int m_position = 0;
    bool m_tracking = false;
    SScrollStepSettings m_step;
};

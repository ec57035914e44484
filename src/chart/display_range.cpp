#include "chart/display_range.h"

#include "chart/chart_rounding.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kLastPointsIndex = static_cast<int>(DisplayPointsTable.size()) - 1;

int ClampIndex(int pointsIndex) {
    return std::clamp(pointsIndex, 0, kLastPointsIndex);
}

// a + b held to the range of int.
int SaturatingAdd(int a, int b) {
    const long long sum = static_cast<long long>(a) + b;
    return static_cast<int>(std::clamp<long long>(sum, std::numeric_limits<int>::min(),
                                                  std::numeric_limits<int>::max()));
}

} // namespace

int DisplayPointsFor(int pointsIndex) {
    return DisplayPointsTable[static_cast<std::size_t>(ClampIndex(pointsIndex))];
}

int ScrollStep(const SScrollStepSettings& settings, int displayedPoints) {
    const int step =
        settings.byItems
            ? settings.items
            : RoundHalfUp(static_cast<double>(displayedPoints) * settings.percent / 100.0);
    return std::max(1, step);
}

CDisplayRange::CDisplayRange(int pointsIndex) : m_pointsIndex(ClampIndex(pointsIndex)) {}

int CDisplayRange::Limit() const {
    return std::max(0, m_count - DisplayedPoints());
}

int CDisplayRange::DisplayedCount() const {
    return std::clamp(m_count - m_position, 0, DisplayedPoints());
}

bool CDisplayRange::SetPosition(int position) {
    const int clamped = std::clamp(position, Minimum(), Limit());
    if (clamped == m_position) {
        return false;
    }
    m_position = clamped;
    return true;
}

bool CDisplayRange::ScrollBy(int bars) {
    return SetPosition(SaturatingAdd(m_position, bars));
}

bool CDisplayRange::SetPointCount(int count) {
    const bool following = AtRightEdge();
    const int before = DisplayedCount();
    m_count = std::max(0, count);
    const bool moved = SetPosition(following ? Limit() : m_position);
    return moved || DisplayedCount() != before;
}

bool CDisplayRange::SetPointsIndex(int pointsIndex) {
    const int index = ClampIndex(pointsIndex);
    if (index == m_pointsIndex) {
        return false;
    }
    const bool following = AtRightEdge();
    m_pointsIndex = index;
    SetPosition(following ? Limit() : m_position);
    return true;
}

bool CDisplayRange::Scroll(EScrollRequest request, int trackPosition) {
    switch (request) {
    case EScrollRequest::LineLeft:
        return ScrollBy(-1);
    case EScrollRequest::LineRight:
        return ScrollBy(1);
    case EScrollRequest::PageLeft:
        return ScrollBy(-DisplayedPoints());
    case EScrollRequest::PageRight:
        return ScrollBy(DisplayedPoints());
    case EScrollRequest::FarLeft:
        return SetPosition(Minimum());
    case EScrollRequest::FarRight:
        return SetPosition(Limit());
    case EScrollRequest::ThumbTrack:
        m_tracking = true;
        return SetPosition(trackPosition);
    case EScrollRequest::ThumbPosition:
        m_tracking = false;
        return SetPosition(trackPosition);
    case EScrollRequest::EndScroll:
        return false;
    }
    return false;
}

bool CDisplayRange::ZoomIn() {
    if (m_pointsIndex <= 0) {
        return false;
    }
    int index = m_pointsIndex - 1;
    while (index > 0 && m_count < DisplayPointsFor(index)) {
        --index;
    }
    const int newCount = DisplayPointsFor(index);
    const int shift = DisplayPointsFor(index + 1) - newCount;
    m_pointsIndex = index;
    SetPosition(SaturatingAdd(m_position, shift));
    return true;
}

bool CDisplayRange::ZoomOut() {
    if (m_pointsIndex >= kLastPointsIndex) {
        return false;
    }
    const int oldCount = DisplayedPoints();
    ++m_pointsIndex;
    const int newCount = DisplayedPoints();
    SetPosition(std::max(0, m_position - (newCount - oldCount)));
    return true;
}

bool CDisplayRange::Wheel(int notchesUp) {
    bool changed = false;
    for (int i = 0; i < notchesUp; ++i) {
        changed = ZoomIn() || changed;
    }
    for (int i = 0; i > notchesUp; --i) {
        changed = ZoomOut() || changed;
    }
    return changed;
}

bool CDisplayRange::DragTo(int anchorPosition, double dx, double pixelsPerBar) {
    if (!std::isfinite(dx) || !std::isfinite(pixelsPerBar) || pixelsPerBar <= 0.0) {
        return false;
    }
    const int bars = RoundHalfAway(dx / pixelsPerBar);
    // RoundHalfAway never gives INT_MIN, so the negation is defined.
    return SetPosition(SaturatingAdd(anchorPosition, -bars));
}

bool CDisplayRange::Key(EKey key) {
    switch (key) {
    case EKey::Left:
        return ScrollBy(-StepBars());
    case EKey::Right:
        return ScrollBy(StepBars());
    case EKey::PageUp:
        return Scroll(EScrollRequest::PageLeft);
    case EKey::PageDown:
        return Scroll(EScrollRequest::PageRight);
    case EKey::Home:
        return Scroll(EScrollRequest::FarLeft);
    case EKey::End:
        return Scroll(EScrollRequest::FarRight);
    case EKey::Plus:
        return ZoomIn();
    case EKey::Minus:
        return ZoomOut();
    }
    return false;
}

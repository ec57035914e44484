#pragma once

// Placing one trendline with the mouse: the points clicked so far and the prompt before the
// next click.

#include "core/trend_kinds.h"
#include "trend/trend_point.h"

#include <string>
#include <vector>

class CTrendPlacement {
public:
    explicit CTrendPlacement(ETrendKind kind) : m_kind(kind) {}

    ETrendKind Kind() const { return m_kind; }
    // The status line text before the next click.
    std::string Prompt() const;
    // Fixes the next point; true when it was the kind's last (Points() is the trendline).
    bool Click(const STrendPoint& point);
    const std::vector<STrendPoint>& Points() const { return m_points; }
    bool Complete() const;
    // The points so far and `mouse` as the next: what the line being placed looks like.
    std::vector<STrendPoint> Preview(const STrendPoint& mouse) const;

private:
    ETrendKind m_kind;
    std::vector<STrendPoint> m_points;
};

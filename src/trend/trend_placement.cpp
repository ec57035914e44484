#include "trend/trend_placement.h"

std::string CTrendPlacement::Prompt() const {
    const STrendKindInfo& info = TrendKindInfo(m_kind);
    if (Complete()) {
        return {};
    }
    return info.prompts[m_points.size()];
}

bool CTrendPlacement::Click(const STrendPoint& point) {
    if (!Complete()) {
        m_points.push_back(point);
    }
    return Complete();
}

bool CTrendPlacement::Complete() const {
    return static_cast<int>(m_points.size()) >= TrendKindInfo(m_kind).clicks;
}

std::vector<STrendPoint> CTrendPlacement::Preview(const STrendPoint& mouse) const {
    std::vector<STrendPoint> points = m_points;
    if (!Complete()) {
        points.push_back(mouse);
    }
    return points;
}

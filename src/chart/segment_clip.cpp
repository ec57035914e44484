#include "chart/segment_clip.h"

#include <algorithm>
#include <cmath>

bool ClipSegment(CChart2D::SPixelPoint& a, CChart2D::SPixelPoint& b, double left, double top,
                 double right, double bottom) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    double t0 = 0.0;
    double t1 = 1.0;
    const auto edge = [&](double p, double q) {
        if (p == 0.0) {
            return q >= 0.0;
        }
        const double t = q / p;
        if (p < 0.0) {
            if (t > t1) {
                return false;
            }
            t0 = std::max(t0, t);
        } else {
            if (t < t0) {
                return false;
            }
            t1 = std::min(t1, t);
        }
        return true;
    };
    if (!edge(-dx, a.x - left) || !edge(dx, right - a.x) || !edge(-dy, a.y - top) ||
        !edge(dy, bottom - a.y)) {
        return false;
    }
    const CChart2D::SPixelPoint start = a;
    a = {start.x + t0 * dx, start.y + t0 * dy};
    b = {start.x + t1 * dx, start.y + t1 * dy};
    return true;
}

double SegmentDistance(CChart2D::SPixelPoint point, CChart2D::SPixelPoint a,
                       CChart2D::SPixelPoint b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double length = dx * dx + dy * dy;
    double t = 0.0;
    if (length > 0.0) {
        t = std::clamp(((point.x - a.x) * dx + (point.y - a.y) * dy) / length, 0.0, 1.0);
    }
    return std::hypot(point.x - (a.x + t * dx), point.y - (a.y + t * dy));
}

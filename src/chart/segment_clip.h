#pragma once

#include "chart/chart_2d.h"

// Cuts the segment a-b to the rectangle from (left, top) to (right, bottom) (Liang-Barsky);
// false when nothing of it lies inside.
bool ClipSegment(CChart2D::SPixelPoint& a, CChart2D::SPixelPoint& b, double left, double top,
                 double right, double bottom);

// The distance from `point` to the segment a-b.
double SegmentDistance(CChart2D::SPixelPoint point, CChart2D::SPixelPoint a,
                       CChart2D::SPixelPoint b);

#pragma once

// One series of a pane as its painters take it, and the map of an axis from coordinates to
// pixels.

#include "chart/chart_2d.h"

#include <QImage>
#include <QStaticText>

#include <string>
#include <vector>

struct SPaneSeries {
    enum class EKind { Line, PriceBars, Histogram };

    EKind kind = EKind::Line;
    bool explicitPoints = false; // a line through `points` rather than `values`
    double xOffset = 0.0;
    std::vector<double> values; // line or histogram
    std::vector<CChart2D::SPoint> points;
    std::string label;       // beside the first of `points`
    CChart2D::SValueTag tag; // beside the plot area; none while its text is empty
    QStaticText labelText;   // its layout, kept between paints
    // The label drawn once for the screen, in `labelColor`, and blitted on later paints.
    mutable QImage labelImage;
    mutable CChart2D::SLineStyle labelStyle;
    std::vector<double> open, high, low, close;
    CChart2D::SLineStyle line;
    CChart2D::SPriceBarStyle bars;
    CChart2D::SHistogramStyle histogram;
    // The data above is in axis coordinates. On a logarithmic axis they are the log10 of the
    // values handed in, which `raw` keeps to go back to when the axis turns linear.
    bool logarithmic = false;
    struct SRaw {
        std::vector<double> values;
        std::vector<CChart2D::SPoint> points;
        std::vector<double> open, high, low, close;
    } raw;

    CChart2D::EAxis Axis() const {
        return kind == EKind::Line ? line.axis
                                   : (kind == EKind::PriceBars ? bars.axis : histogram.axis);
    }
};

// The linear map of one axis: pixel = origin + (coordinate - lower) x scale.
struct SAxisMap {
    double lower = 0.0;
    double origin = 0.0;
    double scale = 1.0;

    double ToPixel(double coordinate) const { return origin + (coordinate - lower) * scale; }
    double ToCoordinate(double pixel) const { return lower + (pixel - origin) / scale; }
};

#pragma once

// What the display and colour settings say about drawing, read from the settings table at the
// moment of a redraw.

#include "chart/chart_2d.h"

#include <array>

class CSettings;

struct SChartStyle {
    static constexpr int kStudyTypeCount = 10;

    int candleStyle = 1; // "Candle Price Chart Style": 1 candles, other values OHLC bars
    bool showGrid = true;
    int gridStyle = 0;
    bool labelsOnY2 = false; // "Y Axis Orientation": value labels on the second axis
    bool fixedYScaling = false;
    bool showPriceBar = true;

    ColorRef background = 0xFFFFFF;
    ColorRef grid = 0xC0C0C0;
    ColorRef priceData = 0;
    ColorRef priceLabel = 0;
    ColorRef upCandle = 0x00FF00;
    ColorRef downCandle = 0x0000FF;
    ColorRef priceBar = 0xC0C0C0;
    std::array<ColorRef, kStudyTypeCount> studyData{};
    std::array<ColorRef, kStudyTypeCount> studyLabel{};

    CChart2D::EAxis LabelAxis() const {
        return labelsOnY2 ? CChart2D::EAxis::Y2 : CChart2D::EAxis::Y;
    }
    ColorRef StudyDataColor(int studyType) const;
    ColorRef StudyLabelColor(int studyType) const;
};

SChartStyle ReadChartStyle(const CSettings& settings);

// Background, grid, label axis and axis label colour of a pane: what every pane shares.
void ApplyPaneFrame(CChart2D& chart, const SChartStyle& style, ColorRef labelColor);

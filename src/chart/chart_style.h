#pragma once

// What the display and colour settings say about drawing, read from the settings table at the
// moment of a redraw.

#include "chart/chart_2d.h"
#include "chart/value_scale.h"

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
    EPriceScale priceScale = EPriceScale::Linear; // "Price Scale"
    bool showLastPrice = false; // "Show Last Price": the newest close tagged on the price axis

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

// Legibility of text on a pane. The contrast ratio of two colours is (L1 + 0.05) / (L2 + 0.05)
// over their relative luminances, the lighter first: 1 for equal colours, 21 for black on white.
double ContrastRatio(ColorRef a, ColorRef b);
// How far apart two colours look: the RGB distance weighted by the mean red ("red mean"), 0 for
// equal colours and about 765 for black and white.
double ColorDistance(ColorRef a, ColorRef b);
// Below this ratio a header line does not read at a glance.
inline constexpr double kMinTextContrast = 4.5;
// `text` when it reads on `background`; otherwise `text` moved step by step toward black (on a
// light background) or white (on a dark one) until it does. The stored colour is left alone:
// this is only what is drawn.
ColorRef ReadableTextColor(ColorRef text, ColorRef background);
// The line drawn between two panes: the background moved a third of the way toward black (or
// white on a dark background), so that it shows on any background without standing out.
ColorRef SplitterColor(ColorRef background);

// Background, grid, label axis and axis label colour of a pane: what every pane shares.
void ApplyPaneFrame(CChart2D& chart, const SChartStyle& style, ColorRef labelColor);

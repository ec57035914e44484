#pragma once

// One trendline on the price pane: its kind, its points and its look. It draws one chart series
// per part of its kind (trend_geometry.h) with the series numbers its list gave it.

#include "chart/drawn_item.h"
#include "chart/series_ids.h"
#include "trend/trend_alert.h"
#include "trend/trend_geometry.h"
#include "trend/trend_point.h"
#include "trend/trend_style.h"

#include <vector>

// Trendline series number n is the price pane's series kTrendSeriesBase + n: above the price
// data, the averages and the bands.
inline constexpr CChart2D::SeriesId kTrendSeriesBase = series_ids::kTrendlines;

class CBaseTrend final : public CDrawnItem {
public:
    // `numbers` holds one series number per part of the kind.
    CBaseTrend(ETrendKind kind, std::vector<STrendPoint> points, const STrendStyle& style,
               std::vector<int> numbers);

    ETrendKind Kind() const { return m_kind; }
    const std::vector<STrendPoint>& Points() const { return m_points; }
    // Moves the points (a line being placed follows the mouse).
    void SetPoints(std::vector<STrendPoint> points) { m_points = std::move(points); }
    const std::vector<int>& SeriesNumbers() const { return m_numbers; }
    const STrendStyle& Style() const { return m_style; }
    void SetStyle(const STrendStyle& style) { m_style = style; }
    // Drawn highlighted (its colour inverted, two pixels wider): the line that flashes before
    // it is deleted.
    bool Highlighted() const { return m_highlighted; }
    void SetHighlighted(bool highlighted) { m_highlighted = highlighted; }
    // The price scale the trendline was drawn in. Its parts are straight in that scale (their
    // derived points, levels and extensions reckoned in its coordinates); on a pane of another
    // scale it is drawn as the curve it is there, sampled, and its first part's label says which
    // scale it belongs to. Linear and Percent place prices alike.
    EPriceScale Scale() const { return m_scale; }
    void SetScale(EPriceScale scale) { m_scale = scale; }
    // How many points a part drawn as a curve is sampled at.
    static constexpr int kCurveSamples = 48;

    // The line's alert, shown as a mark in its label; only horizontal and sloping lines take
    // one (SetAlert is ignored for the other kinds).
    static bool TakesAlert(ETrendKind kind) {
        return kind == ETrendKind::Horizontal || kind == ETrendKind::Sloping;
    }
    const std::optional<CAlertWatch>& Alert() const { return m_alert; }
    std::optional<CAlertWatch>& Alert() { return m_alert; }
    void SetAlert(std::optional<CAlertWatch> alert) {
        if (TakesAlert(m_kind)) {
            m_alert = std::move(alert);
        }
    }
    // The line's price at series index `bar`: a horizontal line's price, or the price of a
    // sloping line through its two points, extended both ways; none for other kinds.
    std::optional<double> PriceAt(double bar) const;
    // Finds the points' bars again from their times (the series was replaced or shortened).
    void Reanchor(const CChartHistRequest& history);

    // The distance in pixels from `point` to the nearest part as far as it lies in the plot
    // area; -1 when nothing of the trendline is in it.
    double Distance(const CChart2D& chart, const SPaneView& view,
                    CChart2D::SPixelPoint point) const;

    void Paint(CChart2D& chart, const SPaneView& view) override;
    void Erase(CChart2D& chart) const override;
    std::optional<double> HitTest(const CChart2D& chart, const SPaneView& view,
                                  CChart2D::SPixelPoint point, double tolerance) const override;
    // Follows a drag: every point moves by the whole bars and the price the mouse moved; the
    // points' times are found again from their bars when the drag ends (Reanchor's reverse,
    // ReTime).
    bool MoveBy(const CChart2D& chart, const SPaneView& view, CChart2D::SPixelPoint from,
                CChart2D::SPixelPoint to) override;
    // The points take the times (and, clamped into the series, the bars) of their bars.
    void ReTime(const CChartHistRequest& history);

private:
    // The parts in the coordinates of the trendline's scale (prices, or their log10).
    std::vector<STrendPart> Parts() const;
    // `parts` as drawn over `view`, with extensions reaching the pane's edges, in slots.
    static std::vector<std::pair<CChart2D::SPoint, CChart2D::SPoint>>
    SlotSegments(const std::vector<STrendPart>& parts, const SPaneView& view);
    // A segment of SlotSegments as the points of a line in prices on a chart of `chartScale`:
    // its two ends, or samples along it when the chart's scale bends it.
    std::vector<CChart2D::SPoint> LinePoints(const CChart2D::SPoint& from,
                                             const CChart2D::SPoint& to,
                                             const CValueScale& chartScale) const;
    CValueScale Space() const { return CValueScale::Of(m_scale, 0.0); }

    ETrendKind m_kind;
    std::vector<STrendPoint> m_points;
    STrendStyle m_style;
    std::vector<int> m_numbers;
    bool m_highlighted = false;
    EPriceScale m_scale = EPriceScale::Linear;
    std::optional<CAlertWatch> m_alert;
    double m_dragBars = 0.0; // the part of a drag short of a whole bar
};

// How many series a trendline of `kind` draws.
int TrendPartCount(ETrendKind kind);

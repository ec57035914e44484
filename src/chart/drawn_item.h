#pragma once

// The one protocol of everything drawn on a pane: price data, upper studies, study lines, level
// and zero lines, trendlines. The view keeps a pane's items in a list and, on every redraw,
// sets the pane's ranges and asks each item to paint itself; for a mouse point it asks the
// items for their distance and lets the nearest one follow a drag. It never needs to know the
// kinds.

#include "chart/chart_2d.h"

#include <optional>

class CDrawnItem {
public:
    CDrawnItem() = default;
    virtual ~CDrawnItem() = default;
    CDrawnItem(const CDrawnItem&) = delete;
    CDrawnItem& operator=(const CDrawnItem&) = delete;

    // Hands the item's series to `chart`. Called after the pane's x and value ranges are set.
    virtual void Paint(CChart2D& chart) = 0;
    // Takes the item's series off `chart` (the item is deleted or hidden).
    virtual void Erase(CChart2D& chart) = 0;
    // The distance in pixels from `point` (pane pixels) to the item when it is at most
    // `tolerance` pixels away; none when it is farther, when the point lies outside the plot
    // area, or when the item cannot be picked.
    virtual std::optional<double> HitTest(const CChart2D& chart, CChart2D::SPixelPoint point,
                                          double tolerance) const = 0;
    // Moves the item by a drag from `from` to `to` (pane pixels) and returns true; an item that
    // cannot be moved stays where it is and returns false. The caller paints again.
    virtual bool MoveBy(const CChart2D& chart, CChart2D::SPixelPoint from,
                        CChart2D::SPixelPoint to) = 0;
};

// A horizontal line at one value across the whole x range of the pane: the level lines of RSI,
// stochastics and MFI, and the zero and reference lines of the study panes. A NaN value draws
// nothing and cannot be hit. It follows a vertical drag only when made movable.
class CLevelLineItem : public CDrawnItem {
public:
    CLevelLineItem(CChart2D::SeriesId id, double value, const CChart2D::SLineStyle& style);

    CChart2D::SeriesId Id() const { return m_id; }
    double Value() const { return m_value; }
    void SetValue(double value) { m_value = value; }
    const CChart2D::SLineStyle& Style() const { return m_style; }
    void SetStyle(const CChart2D::SLineStyle& style) { m_style = style; }
    bool IsMovable() const { return m_movable; }
    void SetMovable(bool movable) { m_movable = movable; }

    void Paint(CChart2D& chart) override;
    void Erase(CChart2D& chart) override;
    std::optional<double> HitTest(const CChart2D& chart, CChart2D::SPixelPoint point,
                                  double tolerance) const override;
    bool MoveBy(const CChart2D& chart, CChart2D::SPixelPoint from,
                CChart2D::SPixelPoint to) override;

private:
    CChart2D::SeriesId m_id;
    double m_value;
    CChart2D::SLineStyle m_style;
    bool m_movable = false;
};

#pragma once

// The one protocol of everything drawn on a pane: the price data, the moving averages and
// bands, study lines and histograms, level, zero and reference lines, and trendlines. Each pane
// keeps its items in one ordered list (CPaneItems); the draw manager sets the pane's ranges,
// fitting the value range to what the items draw, and asks each item to paint itself; for a
// mouse point it asks the items for their distance and lets the nearest one follow a drag. It
// never needs to know the kinds.
//
// Items are anchored in the series, not in pixels: by bar index (0 the oldest bar of the
// series) and value. SPaneView says which bars the pane shows, so an item stays on its bars
// when the view scrolls or zooms and when the series grows live.
//
// The cursor crosshair is not an item: it is an overlay of the whole stack of panes, drawn by
// the stack over every pane's items and never printed (CChart2D::SetCrosshair).

#include "chart/chart_2d.h"

#include <memory>
#include <optional>
#include <vector>

// The bars a pane shows: series indexes first .. first + count - 1 at slots 0 .. count - 1, on
// an x axis `slotCount` bars wide (from slot -0.5 to slotCount - 0.5).
struct SPaneView {
    int first = 0;
    int count = 0;
    int slotCount = 1;

    double SlotOf(double bar) const { return bar - first; }
    double BarOf(double slot) const { return slot + first; }
};

class CDrawnItem {
public:
    CDrawnItem() = default;
    virtual ~CDrawnItem() = default;
    CDrawnItem(const CDrawnItem&) = delete;
    CDrawnItem& operator=(const CDrawnItem&) = delete;

    // Hands the item's series to `chart`. Called after the pane's x and value ranges are set.
    virtual void Paint(CChart2D& chart, const SPaneView& view) = 0;
    // Takes the item's series off `chart` (the item left the pane's list).
    virtual void Erase(CChart2D& chart) const = 0;
    // The lowest and highest value that the item draws over the bars of `view`, which a pane
    // that fits its value range takes in; none when it draws nothing there.
    virtual std::optional<CChart2D::SRange> Extent(const SPaneView& view) const;
    // The distance in pixels from `point` (pane pixels) to the item when it is at most
    // `tolerance` pixels away; none when it is farther, when the point lies outside the plot
    // area, or when the item cannot be picked (the default).
    virtual std::optional<double> HitTest(const CChart2D& chart, const SPaneView& view,
                                          CChart2D::SPixelPoint point, double tolerance) const;
    // Moves the item by a drag from `from` to `to` (pane pixels) and returns true; an item that
    // cannot be moved (the default) stays where it is and returns false. The caller paints again.
    virtual bool MoveBy(const CChart2D& chart, const SPaneView& view, CChart2D::SPixelPoint from,
                        CChart2D::SPixelPoint to);
};

// One pane's items in their order. The list remembers the items taken off it until the pane is
// painted next, so that their series leave the chart then.
class CPaneItems {
public:
    using Item = std::shared_ptr<CDrawnItem>;

    const std::vector<Item>& Items() const { return m_items; }
    void Add(Item item);
    // Takes `item` off the list; false when it is not on it.
    bool Remove(const CDrawnItem* item);
    // Replaces the whole list (items on both lists stay painted).
    void Assign(std::vector<Item> items);

    // Erases the items taken off since the last paint, then paints every item in order.
    void Paint(CChart2D& chart, const SPaneView& view);
    // The union of the items' extents over `view`; none when no item draws there.
    std::optional<CChart2D::SRange> Extent(const SPaneView& view) const;
    // The item nearest to `point` within `tolerance` pixels (the earlier on equal distance), or
    // null.
    Item ItemAt(const CChart2D& chart, const SPaneView& view, CChart2D::SPixelPoint point,
                double tolerance) const;

private:
    void Retire(const Item& item);

    std::vector<Item> m_items;
    std::vector<Item> m_retired;
};

// A horizontal line at one value across the whole x range of the pane: the level lines of RSI,
// stochastics and MFI, and the zero and reference lines of the study panes. A NaN value draws
// nothing and cannot be hit. It follows a vertical drag only when made movable.
class CLevelLineItem final : public CDrawnItem {
public:
    CLevelLineItem(CChart2D::SeriesId id, double value, const CChart2D::SLineStyle& style);

    CChart2D::SeriesId Id() const { return m_id; }
    double Value() const { return m_value; }
    void SetValue(double value) { m_value = value; }
    const CChart2D::SLineStyle& Style() const { return m_style; }
    bool IsMovable() const { return m_movable; }
    void SetMovable(bool movable) { m_movable = movable; }

    void Paint(CChart2D& chart, const SPaneView& view) override;
    void Erase(CChart2D& chart) const override;
    std::optional<CChart2D::SRange> Extent(const SPaneView& view) const override;
    std::optional<double> HitTest(const CChart2D& chart, const SPaneView& view,
                                  CChart2D::SPixelPoint point, double tolerance) const override;
    bool MoveBy(const CChart2D& chart, const SPaneView& view, CChart2D::SPixelPoint from,
                CChart2D::SPixelPoint to) override;

private:
    CChart2D::SeriesId m_id;
    double m_value;
    CChart2D::SLineStyle m_style;
    bool m_movable = false;
};

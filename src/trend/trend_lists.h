#pragma once

// All trendlines of a chart: one list per kind, in the kinds' order, sharing the numbering of
// the price pane's series they draw with. A trendline's numbers go back to the shared free list
// when it is deleted, and are handed out again, first come first served, before new ones.

#include "trend/trend_line.h"

#include <algorithm>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

// The pane that draws the trendlines: they are items of its list.
class ITrendPane {
public:
    virtual ~ITrendPane() = default;
    virtual void AddTrendItem(std::shared_ptr<CDrawnItem> item) = 0;
    virtual void RemoveTrendItem(const CDrawnItem* item) = 0;
};

class CTrendList {
public:
    CTrendList(ITrendPane& owner, std::int32_t& nextNumber,
               std::vector<std::uint32_t>& freeNumbers);
    ~CTrendList();
    CTrendList(const CTrendList&) = delete;
    CTrendList& operator=(const CTrendList&) = delete;

    // A series number for a new trendline part: the first of the free numbers, else the next
    // new one.
    int TakeSeriesNumber();
    // Makes a trendline of `kind` through `points`, adds it to the list and the pane.
    std::shared_ptr<CBaseTrend> Add(ETrendKind kind, std::vector<STrendPoint> points,
                                    const STrendStyle& style);
    // Takes `trend` off the list and the pane and gives its numbers back; false when it is not
    // on the list.
    bool Remove(const CBaseTrend* trend);
    // Removes every trendline, the last first.
    void RemoveAll();
    const std::vector<std::shared_ptr<CBaseTrend>>& Trendlines() const { return m_trendlines; }

private:
    ITrendPane& m_owner;
    std::vector<std::shared_ptr<CBaseTrend>> m_trendlines;
    std::int32_t& m_nextNumber;
    std::vector<std::uint32_t>& m_freeNumbers;
};

class CTrendLists {
public:
    static constexpr std::int32_t kFirstSeriesNumber = 4;

    explicit CTrendLists(ITrendPane& owner);
    ~CTrendLists();
    CTrendLists(const CTrendLists&) = delete;
    CTrendLists& operator=(const CTrendLists&) = delete;

    CTrendList& List(ETrendKind kind) { return *m_lists[static_cast<std::size_t>(kind)]; }
    const CTrendList& List(ETrendKind kind) const {
        return *m_lists[static_cast<std::size_t>(kind)];
    }
    std::shared_ptr<CBaseTrend> Add(ETrendKind kind, std::vector<STrendPoint> points,
                                    const STrendStyle& style) {
        return List(kind).Add(kind, std::move(points), style);
    }
    bool Remove(const CBaseTrend* trend);
    // Removes every trendline of every kind; returns how many there were.
    int RemoveAll();
    int Count() const;
    // Every trendline, kind by kind in the kinds' order.
    std::vector<std::shared_ptr<CBaseTrend>> All() const;

    struct SNearest {
        std::shared_ptr<CBaseTrend> trend; // null when there is no trendline
        double distance = -1.0;
    };
    // The trendline nearest to `point` (pane pixels) and its distance, remembered as the
    // selected one. Within a kind the earlier trendline wins on equal distance, and across
    // kinds the earlier kind. Trendlines with nothing in the plot area are passed over.
    SNearest Nearest(const CChart2D& chart, const SPaneView& view, CChart2D::SPixelPoint point);
    const std::shared_ptr<CBaseTrend>& Selected() const { return m_selected; }

    // Every trendline takes the kind's style of `styles`.
    void ApplyStyles(const STrendStyles& styles);
    // Every trendline finds its bars again from its points' times.
    void Reanchor(const CChartHistRequest& history);

    std::int32_t NextSeriesNumber() const { return m_nextNumber; }
    const std::vector<std::uint32_t>& FreeSeriesNumbers() const { return m_freeNumbers; }
    std::int32_t MaxParts() const { return m_maxParts; }

private:
    ITrendPane& m_owner;
    std::array<std::unique_ptr<CTrendList>, kTrendKindCount> m_lists;
    std::int32_t m_nextNumber = kFirstSeriesNumber;
    std::vector<std::uint32_t> m_freeNumbers;
    // The most series one trendline draws.
    std::int32_t m_maxParts = kMaxTrendParts;
    std::shared_ptr<CBaseTrend> m_selected;
};

struct STrendRecord;
// Draws the stored trendlines `records` over the series of `history` in the styles `styles`.
void AddTrendRecords(CTrendLists& lists, const std::vector<STrendRecord>& records,
                     const CChartHistRequest& history, const STrendStyles& styles);
// The trendlines of `lists` as the store keeps them, kind by kind.
std::vector<STrendRecord> TrendRecords(const CTrendLists& lists);

#pragma once

// The compare symbols' lines over the price pane: each symbol's closes matched to the shown bars
// by time (MatchCompareCloses) and drawn on the Percent scale from the first shown bar, so that
// every line starts where the price starts, at 0%. The base of each line is held while the
// chart's Percent base is (during a scroll) and taken again with it.

#include "chart/compare_set.h"
#include "chart/drawn_item.h"
#include "chart/price_chart.h"
#include "chart/series_ids.h"

#include <map>
#include <string>
#include <vector>

class CCompareLines final : public CDrawnItem {
public:
    // Series kFirstSeries .. kFirstSeries + 2: over the price data, the averages and the bands,
    // under the trendlines.
    static constexpr CChart2D::SeriesId kFirstSeries = series_ids::kCompare;

    // `set` and `bars` (the draw manager's displayed bars) outlive the item.
    CCompareLines(const CCompareSet& set, const SDisplayedBars& bars) : m_set(set), m_bars(bars) {}

    // Whether any symbol is compared: the pane then shows the Percent scale.
    bool Active() const { return !m_set.Empty(); }
    // The chart's Percent base and whether the shown bars are ticks, before each paint.
    void SetBase(double base, bool ticks);
    // A new series: every line takes its base again.
    void Reset() { m_bases.clear(); }
    // "KRNO +3.21%  TESU -0.84%": each symbol with its change from the first shown bar to the
    // last, as the pane header lists them, each in its line's colour; none with no symbol.
    std::vector<CChart2D::SLabelRun> HeaderRuns() const;

    void Paint(CChart2D& chart, const SPaneView& view) override;
    void Erase(CChart2D& chart) const override;
    std::optional<CChart2D::SRange> Extent(const SPaneView& view) const override;

    // The values drawn for `entry`, one per shown bar: its matched closes at the chart's base.
    std::vector<double> Values(const CCompareSet::SEntry& entry) const;

private:
    // The matched closes of `entry` on the shown bars.
    std::vector<double> Closes(const CCompareSet::SEntry& entry) const;

    const CCompareSet& m_set;
    const SDisplayedBars& m_bars;
    double m_base = 0.0;
    bool m_ticks = false;
    // Each symbol's own base (its close at the chart's base bar), held with the chart's.
    mutable std::map<std::string, double> m_bases;
};

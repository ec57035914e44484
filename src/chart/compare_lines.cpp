#include "chart/compare_lines.h"

#include "chart/compare_series.h"
#include "chart/value_ticks.h"

#include <algorithm>

void CCompareLines::SetBase(double base, bool ticks) {
    if (base != m_base || ticks != m_ticks) {
        // The chart took a new base: so does every line, at the first shown bar again.
        m_bases.clear();
    }
    m_base = base;
    m_ticks = ticks;
}

std::vector<double> CCompareLines::Closes(const CCompareSet::SEntry& entry) const {
    const int n = m_bars.Count();
    std::vector<SPointTime> shown(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const auto at = static_cast<std::size_t>(i);
        shown[at] = {m_bars.times[at], m_bars.microseconds[at]};
    }
    const CChartHistRequest& history = *entry.history;
    if (n == 0 || history.GetCount() == 0 || !history.IsHistoryComplete()) {
        return std::vector<double>(static_cast<std::size_t>(n), CChart2D::HoleValue());
    }
    // Only the compare points around the shown times are read: one before the first (a tick
    // takes the trade before it), and up to the last.
    const int first = std::max(history.LowerBound(shown.front()) - 1, 0);
    const int end = std::min(history.LowerBound(shown.back()) + 1, history.GetCount());
    const auto count = static_cast<std::size_t>(std::max(end - first, 0));
    std::vector<SPointTime> times(count);
    std::vector<double> closes(count);
    history.FillTimes(first, times);
    history.FillPrices(EPriceColumn::Close, first, closes);
    return MatchCompareCloses(shown, times, closes, m_ticks);
}

std::vector<double> CCompareLines::Values(const CCompareSet::SEntry& entry) const {
    const std::vector<double> closes = Closes(entry);
    auto held = m_bases.find(entry.symbol);
    if (held == m_bases.end()) {
        const auto first = std::find_if(closes.begin(), closes.end(),
                                        [](double close) { return !CChart2D::IsHole(close); });
        if (first == closes.end()) {
            return closes;
        }
        held = m_bases.emplace(entry.symbol, *first).first;
    }
    return CompareLineValues(closes, held->second, m_base);
}

std::vector<CChart2D::SLabelRun> CCompareLines::HeaderRuns() const {
    std::vector<CChart2D::SLabelRun> runs;
    for (const CCompareSet::SEntry& entry : m_set.Entries()) {
        runs.push_back({"  " + CompareHeaderText(entry.symbol, Closes(entry)), entry.color});
    }
    return runs;
}

void CCompareLines::Paint(CChart2D& chart, const SPaneView& /*view*/) {
    const auto& entries = m_set.Entries();
    for (int i = 0; i < kMaxCompareSymbols; ++i) {
        const CChart2D::SeriesId id = kFirstSeries + i;
        if (i >= static_cast<int>(entries.size())) {
            chart.ClearSeries(id);
            continue;
        }
        const CCompareSet::SEntry& entry = entries[static_cast<std::size_t>(i)];
        CChart2D::SLineStyle style;
        style.color = entry.color;
        style.width = 2;
        chart.SetLineStyle(id, style);
        chart.SetLine(id, Values(entry), 0.0);
    }
}

void CCompareLines::Erase(CChart2D& chart) const {
    for (int i = 0; i < kMaxCompareSymbols; ++i) {
        chart.ClearSeries(kFirstSeries + i);
    }
}

std::optional<CChart2D::SRange> CCompareLines::Extent(const SPaneView& /*view*/) const {
    std::optional<CChart2D::SRange> extent;
    for (const CCompareSet::SEntry& entry : m_set.Entries()) {
        for (const double value : Values(entry)) {
            if (CChart2D::IsHole(value)) {
                continue;
            }
            extent = extent ? CChart2D::SRange{std::min(extent->min, value),
                                               std::max(extent->max, value)}
                            : CChart2D::SRange{value, value};
        }
    }
    return extent;
}

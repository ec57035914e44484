#include "studies/study_items.h"

#include "studies/study_set.h"

#include <algorithm>
#include <cmath>

CStudyLineItem::CStudyLineItem(CChart2D::SeriesId id, std::shared_ptr<const CStudySet> set,
                               const CHistStudyChart& study, std::size_t line)
    : m_id(id), m_set(std::move(set)), m_study(&study), m_line(line) {}

CStudyLineItem::CStudyLineItem(CChart2D::SeriesId id, std::shared_ptr<const CStudySet> set,
                               const std::vector<double>& values, ColorRef color)
    : m_id(id), m_set(std::move(set)), m_values(&values), m_color(color) {}

CStudyLineItem::CStudyLineItem(CChart2D::SeriesId id, std::shared_ptr<const CStudySet> set,
                               const study_kernels::SBands& bands, study_kernels::EBand band,
                               ColorRef color)
    : m_id(id), m_set(std::move(set)), m_bands(&bands), m_band(band), m_color(color) {}

bool CStudyLineItem::IsHistogram() const {
    return m_study != nullptr && m_line < m_study->Lines().size() &&
           m_study->Lines()[m_line].histogram;
}

std::span<const double> CStudyLineItem::Shown(const SPaneView& view) const {
    const auto first = static_cast<std::size_t>(std::max(view.first, 0));
    const auto count = static_cast<std::size_t>(std::max(view.count + std::min(view.first, 0), 0));
    if (m_study != nullptr) {
        return m_line < m_study->Lines().size()
                   ? m_study->LineSlice(m_line, first, count, m_scratch)
                   : std::span<const double>();
    }
    if (m_bands != nullptr) {
        const std::size_t begin = std::min(first, m_bands->size());
        m_scratch.resize(std::min(count, m_bands->size() - begin));
        return m_bands->Slice(m_band, begin, m_scratch);
    }
    const std::size_t size = m_values != nullptr ? m_values->size() : 0;
    const std::size_t begin = std::min(first, size);
    return {m_values != nullptr ? m_values->data() + begin : nullptr,
            std::min(count, size - begin)};
}

void CStudyLineItem::Paint(CChart2D& chart, const SPaneView& view) {
    const std::span<const double> shown = Shown(view);
    const ColorRef color = m_study != nullptr && m_line < m_study->Lines().size()
                               ? m_study->Lines()[m_line].color
                               : m_color;
    if (IsHistogram()) {
        const CChart2D::SGeometry geometry = chart.Geometry();
        const double pixelsPerBar =
            static_cast<double>(geometry.width - geometry.left - geometry.right) /
            std::max(view.slotCount, 1);
        chart.SetHistogramStyle(
            m_id, {color, 0.0, m_study->HistogramWidth(view.slotCount, pixelsPerBar)});
        chart.SetHistogram(m_id, shown, 0.0);
        return;
    }
    chart.SetLineStyle(m_id, {color, 1, CChart2D::kSolid, CChart2D::EAxis::Y});
    chart.SetLine(m_id, shown, 0.0);
}

void CStudyLineItem::Erase(CChart2D& chart) const {
    chart.ClearSeries(m_id);
}

std::optional<CChart2D::SRange> CStudyLineItem::Extent(const SPaneView& view) const {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (const double v : Shown(view)) {
        if (std::isfinite(v)) {
            low = std::min(low, v);
            high = std::max(high, v);
        }
    }
    if (IsHistogram()) {
        low = std::min(low, 0.0);
        high = std::max(high, 0.0);
    }
    if (!(low <= high)) {
        return std::nullopt;
    }
    return CChart2D::SRange{low, high};
}

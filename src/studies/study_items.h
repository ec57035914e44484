#pragma once

// What the studies draw, as drawn items: a line or a histogram through one value per bar of the
// series (a moving average or band line over the price pane, a line of a study pane), read from
// the study set at every paint, so that the points that live trades add are drawn with the rest.

#include "chart/drawn_item.h"
#include "studies/study_kernels.h"

#include <memory>
#include <vector>

class CHistStudyChart;
class CStudySet;

class CStudyLineItem final : public CDrawnItem {
public:
    // Line `line` of the study pane `study`, in the line's colour and form.
    CStudyLineItem(CChart2D::SeriesId id, std::shared_ptr<const CStudySet> set,
                   const CHistStudyChart& study, std::size_t line);
    // The column `values` (one value per bar from the oldest), as a line in `color`.
    CStudyLineItem(CChart2D::SeriesId id, std::shared_ptr<const CStudySet> set,
                   const std::vector<double>& values, ColorRef color);
    // Band `band` of `bands`, as a line in `color`.
    CStudyLineItem(CChart2D::SeriesId id, std::shared_ptr<const CStudySet> set,
                   const study_kernels::SBands& bands, study_kernels::EBand band, ColorRef color);

    void Paint(CChart2D& chart, const SPaneView& view) override;
    void Erase(CChart2D& chart) const override;
    // The finite values over the view; a histogram always takes in its base, 0.
    std::optional<CChart2D::SRange> Extent(const SPaneView& view) const override;

private:
    // The values at the displayed bars (a derived line or a band is written into a scratch
    // column).
    std::span<const double> Shown(const SPaneView& view) const;
    bool IsHistogram() const;

    CChart2D::SeriesId m_id;
    // Keeps the study set, and so the columns read, alive for the item's lifetime.
    std::shared_ptr<const CStudySet> m_set;
    const CHistStudyChart* m_study = nullptr;
    std::size_t m_line = 0;
    const std::vector<double>* m_values = nullptr;
    const study_kernels::SBands* m_bands = nullptr;
    study_kernels::EBand m_band = study_kernels::EBand::Middle;
    ColorRef m_color = 0;
    mutable std::vector<double> m_scratch;
};

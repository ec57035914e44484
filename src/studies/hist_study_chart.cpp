#include "studies/hist_study_chart.h"

#include <algorithm>
#include <cmath>

void CHistStudyChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    m_context = context;
    m_period = settings.Period(m_studyType);
    const auto at = static_cast<std::size_t>(std::clamp(m_studyType, 0, kStudyTypeCount - 1));
    m_dataColor = settings.dataColor[at];
    m_labelColor = settings.labelColor[at];
    m_levels.clear();
}

std::string CHistStudyChart::label(int cursorBar, bool minimized) const {
    std::string text = Description();
    if (cursorBar != kNoCursorBar && cursorBar >= 0 && cursorBar < m_count) {
        text += CursorValues(cursorBar);
    }
    if (minimized) {
        text += " (Minimized)";
    }
    return text;
}

double CHistStudyChart::LineAt(std::size_t line, int bar) const {
    if (bar < 0 || static_cast<std::size_t>(bar) >= LineSize(line)) {
        return CChart2D::HoleValue();
    }
    const SLine& at = m_lines[line];
    return at.flat ? at.flatValue : at.values[static_cast<std::size_t>(bar)];
}

std::size_t CHistStudyChart::LineSize(std::size_t line) const {
    if (line >= m_lines.size()) {
        return 0;
    }
    return m_lines[line].flat ? static_cast<std::size_t>(std::max(m_count, 0))
                              : m_lines[line].values.size();
}

void CHistStudyChart::ResetLines(std::initializer_list<const char*> names) {
    m_lines.resize(names.size());
    std::size_t at = 0;
    for (const char* name : names) {
        m_lines[at].name = name;
        m_lines[at].histogram = false;
        m_lines[at].flat = false;
        ++at;
    }
}

CChart2D::SRange CHistStudyChart::ValueRange(int first, int count) const {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (std::size_t at = 0; at < m_lines.size(); ++at) {
        const SLine& line = m_lines[at];
        const int end = std::min(first + count, static_cast<int>(LineSize(at)));
        const auto fold = [&](double v) {
            if (!CChart2D::IsHole(v) && std::isfinite(v)) {
                low = std::min(low, v);
                high = std::max(high, v);
            }
        };
        if (line.flat) {
            if (std::max(first, 0) < end) {
                fold(line.flatValue);
            }
        } else {
            for (int bar = std::max(first, 0); bar < end; ++bar) {
                fold(line.values[static_cast<std::size_t>(bar)]);
            }
        }
        if (line.histogram) {
            low = std::min(low, 0.0);
            high = std::max(high, 0.0);
        }
    }
    for (const SLevel& level : m_levels) {
        low = std::min(low, level.value);
        high = std::max(high, level.value);
    }
    if (!(low <= high)) {
        return {0.0, 1.0};
    }
    // A little room above and below so that the extremes do not sit on the frame.
    const double margin = (high - low) * 0.05;
    return CChart2D::NormalizeRange(low - margin, high + margin);
}

int CHistStudyChart::HistogramWidth(double pixelsPerBar) const {
    return std::max(1, static_cast<int>(pixelsPerBar * 0.6));
}

void CHistStudyChart::Paint(CChart2D& chart, int first, int count, int slots, int cursorBar,
                            bool minimized) const {
    CChartDrawingHold hold(chart);
    const CChart2D::SRange range = ValueRange(first, count);
    chart.SetAxisRange(CChart2D::EAxis::Y, range.min, range.max);
    chart.SetAxisRange(CChart2D::EAxis::Y2, range.min, range.max);
    chart.SetLabelPrecision(CChart2D::EAxis::Y, 0);
    chart.SetLabelPrecision(CChart2D::EAxis::Y2, 0);

    const double right = std::max(slots, 1) - 0.5;
    for (std::size_t at = 0; at < 4; ++at) {
        const auto id = static_cast<CChart2D::SeriesId>(kLevelSeries + static_cast<int>(at));
        if (at >= m_levels.size()) {
            chart.ClearSeries(id);
            continue;
        }
        const CChart2D::SPoint points[] = {{-0.5, m_levels[at].value}, {right, m_levels[at].value}};
        chart.SetLinePoints(id, points);
        chart.SetLineStyle(id, {m_levels[at].color, 1, CChart2D::kSolid, CChart2D::EAxis::Y});
    }

    const CChart2D::SGeometry geometry = chart.Geometry();
    const double pixelsPerBar =
        static_cast<double>(geometry.width - geometry.left - geometry.right) / std::max(slots, 1);
    for (std::size_t at = 0; at < 4; ++at) {
        const auto id = static_cast<CChart2D::SeriesId>(kLineSeries + static_cast<int>(at));
        if (at >= m_lines.size()) {
            chart.ClearSeries(id);
            continue;
        }
        const SLine& line = m_lines[at];
        const int size = static_cast<int>(LineSize(at));
        const int begin = std::clamp(first, 0, size);
        const int end = std::clamp(first + count, begin, size);
        std::vector<double> flat;
        if (line.flat) {
            flat.assign(static_cast<std::size_t>(end - begin), line.flatValue);
        }
        const std::span<const double> shown =
            line.flat ? std::span<const double>(flat)
                      : std::span<const double>(line.values.data() + begin,
                                                static_cast<std::size_t>(end - begin));
        if (line.histogram) {
            chart.SetHistogramStyle(id, {line.color, 0.0, HistogramWidth(pixelsPerBar)});
            chart.SetHistogram(id, shown, 0.0);
        } else {
            chart.SetLineStyle(id, {line.color, 1, CChart2D::kSolid, CChart2D::EAxis::Y});
            chart.SetLine(id, shown, 0.0);
        }
    }
    chart.SetLabelLine(label(cursorBar, minimized), m_labelColor);
}

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

int CHistStudyChart::HistogramWidth(int /*barsInView*/, double pixelsPerBar) const {
    return std::max(1, static_cast<int>(pixelsPerBar * 0.6));
}

double CHistStudyChart::LineAt(std::size_t line, int bar) const {
    if (bar < 0 || static_cast<std::size_t>(bar) >= LineSize(line)) {
        return CChart2D::HoleValue();
    }
    const SLine& at = m_lines[line];
    if (at.derived) {
        double value = 0.0;
        return Derive(line, static_cast<std::size_t>(bar), {&value, 1})[0];
    }
    return at.values[static_cast<std::size_t>(bar)];
}

std::span<const double> CHistStudyChart::LineSlice(std::size_t line, std::size_t begin,
                                                   std::size_t count,
                                                   std::vector<double>& scratch) const {
    const std::size_t size = LineSize(line);
    begin = std::min(begin, size);
    count = std::min(count, size - begin);
    if (count == 0) {
        return {};
    }
    const SLine& at = m_lines[line];
    if (at.derived) {
        scratch.resize(count);
        return Derive(line, begin, scratch);
    }
    return {at.values.data() + begin, count};
}

std::span<const double> CHistStudyChart::Derive(std::size_t /*line*/, std::size_t /*begin*/,
                                                std::span<double> out) const {
    std::fill(out.begin(), out.end(), CChart2D::HoleValue());
    return out;
}

std::size_t CHistStudyChart::LineSize(std::size_t line) const {
    if (line >= m_lines.size()) {
        return 0;
    }
    return m_lines[line].derived ? static_cast<std::size_t>(std::max(m_count, 0))
                                 : m_lines[line].values.size();
}

void CHistStudyChart::GiveRoom(CColumnStore& store) {
    for (SLine& line : m_lines) {
        store.Put(std::move(line.values));
    }
    m_count = 0;
}

void CHistStudyChart::TakeRoom(CColumnStore& store, std::size_t count) {
    for (SLine& line : m_lines) {
        if (!line.derived) {
            store.Fill(line.values, count);
        }
    }
}

void CHistStudyChart::ResetLines(std::initializer_list<const char*> names) {
    m_lines.resize(names.size());
    std::size_t at = 0;
    for (const char* name : names) {
        m_lines[at].name = name;
        m_lines[at].histogram = false;
        m_lines[at].derived = false;
        ++at;
    }
}

bool CHistStudyChart::SameComputation(const CHistStudyChart& other) const {
    return m_studyType == other.m_studyType && m_period == other.m_period &&
           m_context.dataType == other.m_context.dataType &&
           m_context.intervalMinutes == other.m_context.intervalMinutes &&
           Parameters() == other.Parameters();
}

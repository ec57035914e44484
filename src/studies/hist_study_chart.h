#pragma once

// One lower study pane: the study's settings, its lines computed over the whole series, the
// level, zero and reference lines, the label line and the info text line. Each study derives
// from CHistStudyChart and overrides setup, fill and the texts. What the pane draws are the
// items made of its lines and levels (study_items.h).
//
// Bars are series indexes, 0 the oldest. A line holds one value per bar; NaN where the study
// draws nothing (warming up, or a result that is not a number).

#include "chart/chart_2d.h"
#include "chart/pane_studies.h"
#include "studies/column_store.h"
#include "studies/study_inputs.h"
#include "studies/study_settings.h"

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

// What a pane knows of the series beyond its bars.
struct SStudyContext {
    int dataType = 0;
    int intervalMinutes = 0; // minute bars: the minutes of one bar
};

class CHistStudyChart {
public:
    using Column = std::vector<double>;

    // A drawn line: its export name, values, colour and whether it is drawn as bars from zero.
    // A derived line keeps no column: the pane computes its values where they are read, from its
    // inputs or its other lines (a difference of two values costs less to compute again than to
    // keep; a value at every bar is one number).
    struct SLine {
        const char* name = "";
        Column values;
        ColorRef color = 0;
        bool histogram = false;
        bool derived = false;
    };
    // A horizontal line across the pane.
    struct SLevel {
        double value = 0.0;
        ColorRef color = 0;
    };

    explicit CHistStudyChart(int studyType) : m_studyType(studyType) {}
    virtual ~CHistStudyChart() = default;
    CHistStudyChart(const CHistStudyChart&) = delete;
    CHistStudyChart& operator=(const CHistStudyChart&) = delete;

    int StudyType() const { return m_studyType; }
    int Period() const { return m_period; }

    // Reads the study's settings: period, levels and colours. A pane set up again keeps its
    // lines; when SameComputation() with its former self holds, they stay valid and only the
    // look changed.
    virtual void setup(const SStudySettings& settings, const SStudyContext& context);
    // Whether `other` computes the same lines from the same inputs: the same study, period,
    // context and parameters (the colours and levels may differ).
    bool SameComputation(const CHistStudyChart& other) const;
    // Computes the study's lines over every bar of `inputs`. The bars before `from` are those of
    // the last fill (a series that grew at its end: live points); they keep
    // their values and the work is in proportion to the bars from `from` on. 0: every bar.
    virtual void fill(const CStudyInputs& inputs, std::size_t from) = 0;
    // Hands the room of the lines' columns to `store`; the lines are empty afterwards.
    void GiveRoom(CColumnStore& store);
    // Takes room for `count` bars from `store` for every drawn line that has too little, before
    // a fill from bar 0.
    void TakeRoom(CColumnStore& store, std::size_t count);
    // The pane's label line: the description, the values at `cursorBar` when it is a bar of
    // the series, and " (Minimized)".
    virtual std::string label(int cursorBar, bool minimized) const;
    // The info text line at `bar` (beginning with "\n"), empty for a study without one.
    virtual std::string InfoLine(int bar) const = 0;

    // The fixed value range of a study on a fixed scale (the oscillators); none: the pane fits
    // its range to what it draws.
    virtual std::optional<CChart2D::SRange> FixedRange() const { return std::nullopt; }
    // Pixel width of the bars of a histogram line, with `barsInView` bars on an axis of
    // `pixelsPerBar` pixels a bar: most of a bar, at least one pixel.
    virtual int HistogramWidth(int barsInView, double pixelsPerBar) const;

    const std::vector<SLine>& Lines() const { return m_lines; }
    const std::vector<SLevel>& Levels() const { return m_levels; }
    int Count() const { return m_count; }
    // The value of line `line` at `bar`, NaN outside the series.
    double LineAt(std::size_t line, int bar) const;
    // The bars of line `line` that hold a value (a derived line: every bar of the series).
    std::size_t LineSize(std::size_t line) const;
    // The values of line `line` at the bars from `begin` on, at most `count` of them and none
    // past LineSize(): a view of its column, or written into `scratch`.
    std::span<const double> LineSlice(std::size_t line, std::size_t begin, std::size_t count,
                                      std::vector<double>& scratch) const;

protected:
    virtual std::string Description() const = 0;
    // The values at the cursor, each beginning with a blank; empty when there are none.
    virtual std::string CursorValues(int bar) const = 0;
    // Settings beyond the period that the lines depend on.
    virtual std::array<int, 2> Parameters() const { return {0, 0}; }
    // The values of derived line `line` at bars `begin` .. `begin + out.size() - 1`, all of
    // them bars of the series: written into `out`, or a view of a column the pane reads.
    virtual std::span<const double> Derive(std::size_t line, std::size_t begin,
                                           std::span<double> out) const;

    // Makes one line per name (keeping the values of lines already there); the line flags are
    // cleared, for setup to set.
    void ResetLines(std::initializer_list<const char*> names);

    int m_studyType;
    int m_period = 1;
    ColorRef m_dataColor = 0;
    ColorRef m_labelColor = 0;
    SStudyContext m_context;
    std::vector<SLine> m_lines;
    std::vector<SLevel> m_levels;
    int m_count = 0;
    // The inputs of the last fill, for the derived lines; they outlive the pane, which only
    // study sets over the same inputs share.
    const CStudyInputs* m_inputs = nullptr;
};

// A pane for the study index `studyType` (an unknown index makes a volume pane).
std::unique_ptr<CHistStudyChart> MakeStudyChart(int studyType);

#pragma once

// The studies of one series, computed together: the moving averages and bands over the price
// pane and one study per displayed pane, over every bar of the inputs. The view draws slices of
// it, the cursor read-out and the export read single bars.
//
// A set made with other settings over the same inputs takes over, from the set it replaces,
// every average, the bands and every study pane that computes the same lines, sharing them:
// only what a settings change touched is computed again, and a change of colours or levels
// computes nothing.

#include "studies/hist_study_chart.h"
#include "studies/study_inputs.h"
#include "studies/study_kernels.h"
#include "studies/study_settings.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// A column of the export: its header and its value at a bar (NaN: an empty cell; none past the
// column).
struct SStudyColumn {
    std::string name;
    std::function<std::optional<double>(std::size_t bar)> At;
};

class CStudySet {
public:
    // `reuse`: a set over the same inputs whose computed studies this one takes over where they
    // compute the same lines (a pane taken over is set up with these settings: its look
    // changes, in `reuse` too).
    CStudySet(std::shared_ptr<CStudyInputs> inputs, const SUpperStudySettings& upper,
              const SStudySettings& studies, const SStudyContext& context,
              CStudySet* reuse = nullptr);

    // Computes every study not taken over, on up to `threads` threads: the studies are
    // independent and taken costliest first; a money flow index keeps no column when the set
    // has a money flow pane of its period, and is read from its flows. The columns take their
    // room from `store` when given. Once `cancel` is set no further study starts, and the set
    // stays incomplete: only its room is of use then.
    void Compute(int threads, CColumnStore* store = nullptr,
                 const std::atomic<bool>* cancel = nullptr);
    // Hands the room of every column that this set alone holds (its inputs' too) to `store`;
    // only for a set that nothing draws or reads any more.
    void GiveRoom(CColumnStore& store);
    // True when nothing is left to compute.
    bool Computed() const;
    // How many studies (averages, bands, panes) the last Compute computed.
    int ComputedCount() const { return m_computedCount; }
    // The series grew at its end or changed its newest bars, from bar `from` on: the inputs are
    // read again from there and every study goes on over the new bars, on the calling thread.
    // The caller sees that nothing else reads the inputs meanwhile. False (and nothing changed)
    // when the series no longer holds what the inputs do.
    bool Follow(const CChartHistRequest& history, std::size_t from);

    const CStudyInputs& Inputs() const { return *m_inputs; }
    const std::shared_ptr<CStudyInputs>& SharedInputs() const { return m_inputs; }
    const SUpperStudySettings& Upper() const { return m_upper; }
    const SStudySettings& Studies() const { return m_studies; }
    // Moving average `number` (1 .. 3): empty when it is not drawn.
    const std::vector<double>& Average(int number) const;
    // The bands: empty columns when they are not drawn.
    const study_kernels::SBands& Bands() const;
    int PaneCount() const { return static_cast<int>(m_panes.size()); }
    // Study pane `index` (0 the top study pane).
    const CHistStudyChart& Pane(int index) const {
        return *m_panes[static_cast<std::size_t>(index)];
    }
    CHistStudyChart& Pane(int index) { return *m_panes[static_cast<std::size_t>(index)]; }

    // The export's study columns: "MA1" .. "MA3" when drawn, the three band lines when drawn,
    // then the lines of each displayed study once, in pane order.
    std::vector<SStudyColumn> ExportColumns() const;

private:
    std::shared_ptr<CStudyInputs> m_inputs;
    SUpperStudySettings m_upper;
    SStudySettings m_studies;
    // Null where not drawn; shared with the set this one took them over from.
    std::array<std::shared_ptr<std::vector<double>>, 3> m_averages;
    std::shared_ptr<study_kernels::SBands> m_bands;
    std::vector<std::shared_ptr<CHistStudyChart>> m_panes;
    // What is still to compute: averages 0 .. 2, the bands, then the panes.
    std::vector<bool> m_pending;
    int m_computedCount = 0;
};

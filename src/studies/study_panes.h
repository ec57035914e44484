#pragma once

// The studies of the chart view: they read their settings on the view's thread, copy the series
// and compute every study on a worker thread, and hand the view the finished set to draw. Live
// points extend the drawn set on the view's thread, at the cost of the new points.

#include "chart/pane_studies.h"
#include "chart/series_ids.h"
#include "studies/column_store.h"
#include "studies/study_set.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

class CStudyPanes final : public IPaneStudies {
public:
    // `prepare` readies the fresh room of long study columns (see CColumnStore).
    CStudyPanes(const SUpperStudySettings& upper, const SStudySettings& studies,
                CColumnStore::Prepare prepare = {});
    ~CStudyPanes() override;
    CStudyPanes(const CStudyPanes&) = delete;
    CStudyPanes& operator=(const CStudyPanes&) = delete;

    void SeriesChanged(const CChartHistRequest& history, int dataType, int intervalIndex) override;
    void SeriesGrew() override;
    // New study settings. The studies whose lines they change are computed again over the series
    // they were last given, off the view's thread; the others keep their lines and take the new
    // look at once. True when a computation started.
    bool SettingsChanged(const SUpperStudySettings& upper, const SStudySettings& studies);
    void Clear() override;
    bool TakeFinished() override;
    void SetFinishedHandler(std::function<void()> handler) override;
    bool Computing() const override;
    void WaitFinished() override;

    std::uint64_t ItemsVersion() const override { return m_itemsVersion; }
    void AddItems(int pane, std::vector<std::shared_ptr<CDrawnItem>>& items) const override;
    std::vector<std::string> PriceBarFields(int bar, int decimals) const override;

    int PaneCount() const override;
    int PaneStudyType(int pane) const override;
    SPaneScale PaneScale(int pane) const override;
    std::string PaneLabel(int pane, int cursorBar, bool minimized) const override;

    std::string InfoAverages(int bar) const override;
    std::string InfoBands(int bar) const override;
    std::string InfoStudies(int bar) const override;

    // The set drawn now (its studies are empty until the first computation finishes).
    const CStudySet& Current() const { return *m_current; }

    // Series ids on the price pane: the averages over the price data, the bands under it.
    static constexpr CChart2D::SeriesId kAverageSeries = series_ids::kAverages;
    static constexpr CChart2D::SeriesId kBandSeries = series_ids::kBands;
    // Series ids of a study pane: the level lines below the study's lines.
    static constexpr CChart2D::SeriesId kLevelSeries = series_ids::kStudyLevels;
    static constexpr CChart2D::SeriesId kLineSeries = series_ids::kStudyLines;

private:
    struct SJob {
        std::thread thread;
        std::atomic<bool> cancel{false};
        std::atomic<bool> done{false};
        std::shared_ptr<CStudySet> result;
        // The incomplete set of a computation stopped early: the next one may take its room.
        std::shared_ptr<CStudySet> stopped;
    };

    // Starts a computation over the series read afresh. A new series shows no lines until
    // computed; a grown one keeps the lines drawn.
    void Start(bool keepDrawn);
    // Runs `set`'s computation off the view's thread; the view takes it when it is done.
    void StartJob(std::shared_ptr<CStudySet> set);
    // Stops the running computation (it finishes on its own and is discarded).
    void Retire();
    // The set drawn from now on: its items replace those drawn before.
    void Show(std::shared_ptr<CStudySet> set);
    // Joins the stopped computations that are done (all of them with `wait`). With `room`, the
    // columns they wrote go there for the next computation; otherwise they are freed.
    void ReapRetired(bool wait, CColumnStore* room = nullptr);
    // Joins the running job and takes its result. True when a new set was taken.
    bool FinishJob();
    // Extends the drawn set over what the series grew by, once no computation reads its inputs.
    // True when the set changed.
    bool FollowGrowth();
    SStudyContext Context() const;

    // Hands the room of the set replaced by a new series to the store when nothing draws it.
    void TakeSpareRoom();

    SUpperStudySettings m_upper;
    SStudySettings m_studies;
    const CChartHistRequest* m_history = nullptr;
    int m_dataType = 0;
    int m_intervalIndex = 0;
    std::shared_ptr<CStudyInputs> m_inputs;
    std::shared_ptr<CStudySet> m_current;
    std::unique_ptr<SJob> m_job;
    bool m_growPending = false;
    bool m_jobReadsSeries = false;
    std::vector<std::unique_ptr<SJob>> m_retired;
    // The set of the series before, whose columns the next computation writes over; the room
    // the computation did not take is freed when it is done.
    std::shared_ptr<CStudySet> m_spare;
    std::shared_ptr<CColumnStore> m_store;
    std::shared_ptr<const std::function<void()>> m_finished;
    std::uint64_t m_itemsVersion = 1;
};

#pragma once

// The ten lower studies.

#include "studies/hist_study_chart.h"
#include "studies/study_kernels.h"

class CHistRSIChart final : public CHistStudyChart {
public:
    CHistRSIChart() : CHistStudyChart(kStudyRSI) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    std::optional<CChart2D::SRange> FixedRange() const override;
    int m_upper = 70;
    int m_lower = 30;
    study_kernels::SRsiCarry m_carry;
};

class CHistMOMChart final : public CHistStudyChart {
public:
    CHistMOMChart() : CHistStudyChart(kStudyMomentum) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    std::span<const double> Derive(std::size_t line, std::size_t begin,
                                   std::span<double> out) const override;
};

class CHistROCChart final : public CHistStudyChart {
public:
    CHistROCChart() : CHistStudyChart(kStudyRateOfChange) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    std::span<const double> Derive(std::size_t line, std::size_t begin,
                                   std::span<double> out) const override;
};

class CHistOBVChart final : public CHistStudyChart {
public:
    CHistOBVChart() : CHistStudyChart(kStudyOBV) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
};

class CHistMACDChart final : public CHistStudyChart {
public:
    CHistMACDChart() : CHistStudyChart(kStudyMACD) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;
    // Thin bars: 100 / barsInView + 0.75 pixels, truncated, at least one.
    int HistogramWidth(int barsInView, double pixelsPerBar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    std::span<const double> Derive(std::size_t line, std::size_t begin,
                                   std::span<double> out) const override;
    std::array<int, 2> Parameters() const override { return {m_short, m_long}; }
    int m_short = 8;
    int m_long = 17;
    std::string m_preset;
    study_kernels::SMacdCarry m_carry;
};

class CHistSTOChart final : public CHistStudyChart {
public:
    CHistSTOChart() : CHistStudyChart(kStudyStochastics) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    std::optional<CChart2D::SRange> FixedRange() const override;
    std::array<int, 2> Parameters() const override { return {m_fast ? 1 : 0, 0}; }
    bool m_fast = false;
    int m_upper = 80;
    int m_lower = 20;
};

class CHistVOLChart final : public CHistStudyChart {
public:
    CHistVOLChart() : CHistStudyChart(kStudyVolume) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;
    double Average() const { return m_average; }

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    std::span<const double> Derive(std::size_t line, std::size_t begin,
                                   std::span<double> out) const override;
    // The seconds of one bar when a bar spans more than a second's trades (minute bars).
    int BarSeconds() const;
    std::array<int, 2> Parameters() const override {
        return {m_allData ? 1 : 0, m_showAverage ? 1 : 0};
    }
    bool m_allData = true;
    bool m_showAverage = true;
    ColorRef m_averageColor = 0;
    double m_average = 0.0;
    // The volume summed over the bars before the newest, which live trades no longer change.
    double m_settledSum = 0.0;
    std::size_t m_settledBars = 0;
};

class CHistMFChart final : public CHistStudyChart {
public:
    CHistMFChart() : CHistStudyChart(kStudyMoneyFlow) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
};

class CHistMFIChart final : public CHistStudyChart {
public:
    CHistMFIChart() : CHistStudyChart(kStudyMFI) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    // Whether FillFromFlows can take `pane`'s lines: a money flow pane of the same period.
    bool TakesFlowsOf(const CHistStudyChart& pane) const;
    // From now on the index is computed where it is read from the flows of `moneyFlow`, a pane
    // that TakesFlowsOf, filled over the same series: a study set that holds this pane holds
    // that one too, and follows both. A fill from the inputs alone can no longer be asked for.
    void FillFromFlows(std::shared_ptr<const CHistStudyChart> moneyFlow);
    // The money flow pane whose flows the index is read from, if any.
    const CHistStudyChart* Flows() const { return m_flows.get(); }
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    std::optional<CChart2D::SRange> FixedRange() const override;
    std::span<const double> Derive(std::size_t line, std::size_t begin,
                                   std::span<double> out) const override;
    int m_upper = 80;
    int m_lower = 20;
    std::shared_ptr<const CHistStudyChart> m_flows;
};

class CHistADXChart final : public CHistStudyChart {
public:
    CHistADXChart() : CHistStudyChart(kStudyADX) {}
    void setup(const SStudySettings& settings, const SStudyContext& context) override;
    void fill(const CStudyInputs& inputs, std::size_t from) override;
    std::string InfoLine(int bar) const override;

private:
    std::string Description() const override;
    std::string CursorValues(int bar) const override;
    study_kernels::SAdxCarry m_carry;
};

#include "studies/study_charts.h"

#include "chart/chart_labels.h"
#include "core/data_types.h"
#include "studies/kernel_support.h"
#include "studies/study_kernels.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>

namespace {

// Text by a printf format, as the labels and the info text are written.
std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Printf(const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

bool Defined(double value) {
    return !CChart2D::IsHole(value);
}

// A pane on the fixed 0 .. 100 scale of an oscillator.
CChart2D::SRange OscillatorRange() {
    return {0.0, 100.0};
}

} // namespace

std::unique_ptr<CHistStudyChart> MakeStudyChart(int studyType) {
    switch (studyType) {
    case kStudyRSI:
        return std::make_unique<CHistRSIChart>();
    case kStudyMomentum:
        return std::make_unique<CHistMOMChart>();
    case kStudyRateOfChange:
        return std::make_unique<CHistROCChart>();
    case kStudyOBV:
        return std::make_unique<CHistOBVChart>();
    case kStudyMACD:
        return std::make_unique<CHistMACDChart>();
    case kStudyStochastics:
        return std::make_unique<CHistSTOChart>();
    case kStudyMoneyFlow:
        return std::make_unique<CHistMFChart>();
    case kStudyMFI:
        return std::make_unique<CHistMFIChart>();
    case kStudyADX:
        return std::make_unique<CHistADXChart>();
    default:
        return std::make_unique<CHistVOLChart>();
    }
}

// ---- RSI ----

void CHistRSIChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    m_upper = settings.rsiUpper;
    m_lower = settings.rsiLower;
    m_levels = {{static_cast<double>(m_upper), settings.rsiUpColor},
                {static_cast<double>(m_lower), settings.rsiLowColor}};
    ResetLines({"RSI"});
    m_lines[0].color = m_dataColor;
}

void CHistRSIChart::fill(const CStudyInputs& inputs, std::size_t from) {
    study_kernels::Rsi(inputs.Columns().close, m_period, m_lines[0].values, m_carry, from);
    m_count = inputs.Count();
}

std::string CHistRSIChart::Description() const {
    return Printf("RSI, lookback period - %d, levels - %d, %d", m_period, m_upper, m_lower);
}

std::string CHistRSIChart::CursorValues(int bar) const {
    const double rsi = LineAt(0, bar);
    return Defined(rsi) ? Printf(" RSI: %0.4lf", rsi) : std::string();
}

std::string CHistRSIChart::InfoLine(int bar) const {
    const double rsi = LineAt(0, bar);
    return Defined(rsi) ? Printf("\nRSI: %.1f", rsi) : std::string("\nRSI: ");
}

std::optional<CChart2D::SRange> CHistRSIChart::FixedRange() const {
    return OscillatorRange();
}

// ---- momentum ----

void CHistMOMChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    m_levels = {{0.0, settings.momentumZeroColor}};
    ResetLines({"MOM"});
    m_lines[0].color = m_dataColor;
    m_lines[0].derived = true;
}

void CHistMOMChart::fill(const CStudyInputs& inputs, std::size_t /*from*/) {
    m_inputs = &inputs;
    m_count = inputs.Count();
}

std::span<const double> CHistMOMChart::Derive(std::size_t /*line*/, std::size_t begin,
                                              std::span<double> out) const {
    study_kernels::Momentum(m_inputs->Columns().close, m_period, begin, out);
    return out;
}

std::string CHistMOMChart::Description() const {
    return Printf("MOM, lookback period - %d", m_period);
}

std::string CHistMOMChart::CursorValues(int bar) const {
    const double momentum = LineAt(0, bar);
    return Defined(momentum) ? Printf(" MOM - %0.4lf", momentum) : std::string();
}

std::string CHistMOMChart::InfoLine(int bar) const {
    const double momentum = LineAt(0, bar);
    return Defined(momentum) ? Printf("\nMomentum: %.2f", momentum) : std::string("\nMomentum: ");
}

// ---- rate of change ----

void CHistROCChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    // The reference line sits where the price is unchanged.
    m_levels = {{0.0, settings.roc100Color}};
    ResetLines({"ROC"});
    m_lines[0].color = m_dataColor;
    m_lines[0].derived = true;
}

void CHistROCChart::fill(const CStudyInputs& inputs, std::size_t /*from*/) {
    m_inputs = &inputs;
    m_count = inputs.Count();
}

std::span<const double> CHistROCChart::Derive(std::size_t /*line*/, std::size_t begin,
                                              std::span<double> out) const {
    study_kernels::RateOfChange(m_inputs->Columns().close, m_period, begin, out);
    return out;
}

std::string CHistROCChart::Description() const {
    return Printf("ROC, lookback period - %d", m_period);
}

std::string CHistROCChart::CursorValues(int bar) const {
    const double roc = LineAt(0, bar);
    return Defined(roc) ? Printf(" ROC: %0.4lf", roc) : std::string();
}

std::string CHistROCChart::InfoLine(int bar) const {
    const double roc = LineAt(0, bar);
    return Defined(roc) ? Printf("\nROC: %.1f", roc) : std::string("\nROC: ");
}

// ---- on-balance volume ----

void CHistOBVChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    m_levels = {{0.0, settings.obvZeroColor}};
    ResetLines({"OBV"});
    m_lines[0].color = m_dataColor;
}

void CHistOBVChart::fill(const CStudyInputs& inputs, std::size_t from) {
    study_kernels::OnBalanceVolume(inputs.Columns(), m_period, m_lines[0].values, from);
    m_count = inputs.Count();
}

std::string CHistOBVChart::Description() const {
    return Printf("OBV, smoothing period - %d", m_period);
}

std::string CHistOBVChart::CursorValues(int bar) const {
    const double obv = LineAt(0, bar);
    return Defined(obv) ? Printf(" OBV: %0.0lf", obv) : std::string();
}

std::string CHistOBVChart::InfoLine(int bar) const {
    const double obv = LineAt(0, bar);
    return Defined(obv) ? Printf("\nOBV: %.0f", obv) : std::string("\nOBV: ");
}

// ---- MACD ----

void CHistMACDChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    m_short = std::max(settings.macdShort, 1);
    m_long = std::max(settings.macdLong, 1);
    m_preset = settings.MacdPresetWord();
    ResetLines({"MACD", "Signal", "Histogram"});
    m_lines[0].color = m_dataColor;
    m_lines[1].color = settings.macdSignalColor;
    m_lines[2].color = settings.macdHistogramColor;
    m_lines[2].histogram = true;
    m_lines[2].derived = true;
}

void CHistMACDChart::fill(const CStudyInputs& inputs, std::size_t from) {
    study_kernels::SMacd macd{std::move(m_lines[0].values), std::move(m_lines[1].values)};
    study_kernels::Macd(inputs.Columns().close, m_short, m_long, m_period, macd, m_carry, from);
    m_lines[0].values = std::move(macd.macd);
    m_lines[1].values = std::move(macd.signal);
    m_count = inputs.Count();
}

std::span<const double> CHistMACDChart::Derive(std::size_t /*line*/, std::size_t begin,
                                               std::span<double> out) const {
    // The histogram: MACD less its signal.
    const double* macd = m_lines[0].values.data() + begin;
    const double* signal = m_lines[1].values.data() + begin;
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = macd[i] - signal[i];
    }
    return out;
}

std::string CHistMACDChart::Description() const {
    return "MACD (" + m_preset +
           Printf("), periods: short - %d, long - %d, signal smoothing - %d", m_short, m_long,
                  m_period);
}

std::string CHistMACDChart::CursorValues(int bar) const {
    std::string text;
    if (const double macd = LineAt(0, bar); Defined(macd)) {
        text += Printf(" MACD: %0.4lf", macd);
    }
    if (const double signal = LineAt(1, bar); Defined(signal)) {
        text += Printf(" Signal: %0.4lf", signal);
    }
    return text;
}

int CHistMACDChart::HistogramWidth(int barsInView, double /*pixelsPerBar*/) const {
    return std::max(1, static_cast<int>(100.0 / std::max(barsInView, 1) + 0.75));
}

std::string CHistMACDChart::InfoLine(int bar) const {
    const double macd = LineAt(0, bar);
    const double signal = LineAt(1, bar);
    return "\nMACD: " + (Defined(macd) ? Printf("%.3f", macd) : std::string()) +
           " Signal: " + (Defined(signal) ? Printf("%.3f", signal) : std::string());
}

// ---- stochastics ----

void CHistSTOChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    m_fast = settings.stoFast;
    m_upper = settings.stoUpper;
    m_lower = settings.stoLower;
    m_levels = {{static_cast<double>(m_upper), settings.stoUpColor},
                {static_cast<double>(m_lower), settings.stoLowColor}};
    ResetLines({"%K", "%D"});
    m_lines[0].color = settings.stoKColor;
    m_lines[1].color = settings.stoDColor;
}

void CHistSTOChart::fill(const CStudyInputs& inputs, std::size_t from) {
    study_kernels::SStochastics sto{std::move(m_lines[0].values), std::move(m_lines[1].values)};
    study_kernels::Stochastics(inputs.Columns(), m_period, m_fast, sto, from);
    m_lines[0].values = std::move(sto.k);
    m_lines[1].values = std::move(sto.d);
    m_count = inputs.Count();
}

std::string CHistSTOChart::Description() const {
    return std::string(m_fast ? "Fast" : "Slow") +
           Printf(" STO, lookback period - %d, levels - %d, %d", m_period, m_upper, m_lower);
}

std::string CHistSTOChart::CursorValues(int bar) const {
    std::string text;
    if (const double k = LineAt(0, bar); Defined(k)) {
        text += Printf(" %%K: %0.4lf", k);
    }
    if (const double d = LineAt(1, bar); Defined(d)) {
        text += Printf(" %%D: %0.4lf", d);
    }
    return text;
}

std::string CHistSTOChart::InfoLine(int bar) const {
    const double k = LineAt(0, bar);
    const double d = LineAt(1, bar);
    return std::string(m_fast ? "\nFast " : "\nSlow ") +
           "STO%K: " + (Defined(k) ? Printf("%.1f", k) : std::string()) +
           " STO%D: " + (Defined(d) ? Printf("%.1f", d) : std::string());
}

std::optional<CChart2D::SRange> CHistSTOChart::FixedRange() const {
    return OscillatorRange();
}

// ---- volume ----

void CHistVOLChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    m_allData = settings.VolumeAverageAllData();
    m_showAverage = settings.showVolumeAverage;
    m_averageColor = settings.volumeAverageColor;
    ResetLines({"", "VolumeAverage"});
    m_lines[0].color = m_dataColor;
    m_lines[0].histogram = true;
    m_lines[0].derived = true;
    m_lines[1].derived = true;
    m_lines[1].color = m_averageColor;
}

void CHistVOLChart::fill(const CStudyInputs& inputs, std::size_t from) {
    const std::span<const double> volume = inputs.Columns().volume;
    const std::size_t count = volume.size();
    // The volume bars are the series' own column, read where they are drawn; only the average
    // is the study's.
    m_inputs = &inputs;
    if (m_allData) {
        // Summed oldest first as a whole pass would, the settled bars once.
        if (from < m_settledBars) {
            m_settledSum = 0.0;
            m_settledBars = 0;
        }
        for (; m_settledBars + 1 < count; ++m_settledBars) {
            m_settledSum += volume[m_settledBars];
        }
        m_average = count == 0 ? CChart2D::HoleValue()
                               : (m_settledSum + volume[count - 1]) / static_cast<double>(count);
    } else {
        m_average = study_kernels::VolumeAverage(volume, m_period, false);
    }
    m_count = inputs.Count();
}

std::span<const double> CHistVOLChart::Derive(std::size_t line, std::size_t begin,
                                              std::span<double> out) const {
    if (line == 0) {
        return m_inputs->Columns().volume.subspan(begin, out.size());
    }
    // The average: one value at every bar, drawn across the pane.
    std::fill(out.begin(), out.end(), m_showAverage ? m_average : CChart2D::HoleValue());
    return out;
}

int CHistVOLChart::BarSeconds() const {
    return m_context.dataType == kIntervals ? m_context.intervalMinutes * 60 : 1;
}

std::string CHistVOLChart::Description() const {
    const std::string average = Defined(m_average) ? FormatScaled(m_average) : std::string("0");
    std::string text = BarSeconds() >= 2
                           ? Printf("Volume, average: %s in %ds", average.c_str(), BarSeconds())
                           : Printf("Volume, average: %s", average.c_str());
    if (!m_allData) {
        switch (m_context.dataType) {
        case kTicks:
            text += Printf(", lookback period - %d ticks", m_period);
            break;
        case kIntervals:
            text += Printf(", lookback period - %d minutes", m_period * m_context.intervalMinutes);
            break;
        case kDays:
            text += Printf(", lookback period - %d days", m_period);
            break;
        case kWeeks:
            text += Printf(", lookback period - %d weeks", m_period);
            break;
        case kMonths:
            text += Printf(", lookback period - %d months", m_period);
            break;
        default:
            break;
        }
    }
    return text;
}

std::string CHistVOLChart::CursorValues(int bar) const {
    const std::string volume = FormatScaled(LineAt(0, bar));
    return BarSeconds() >= 2 ? Printf(" Vol: %s in %ds", volume.c_str(), BarSeconds())
                             : Printf(" Vol: %s", volume.c_str());
}

std::string CHistVOLChart::InfoLine(int) const {
    return {}; // the volume is in the info text's header
}

// ---- money flow ----

void CHistMFChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    ResetLines({"PositiveFlow", "NegativeFlow"});
    m_lines[0].color = settings.positiveFlowColor;
    m_lines[1].color = settings.negativeFlowColor;
}

void CHistMFChart::fill(const CStudyInputs& inputs, std::size_t from) {
    study_kernels::SMoneyFlow flow{std::move(m_lines[0].values), std::move(m_lines[1].values)};
    study_kernels::MoneyFlow(inputs.Columns(), m_period, flow, from);
    m_lines[0].values = std::move(flow.positive);
    m_lines[1].values = std::move(flow.negative);
    m_count = inputs.Count();
}

std::string CHistMFChart::Description() const {
    return Printf("Money Flow, lookback period - %d", m_period);
}

std::string CHistMFChart::CursorValues(int bar) const {
    const double positive = LineAt(0, bar);
    const double negative = LineAt(1, bar);
    if (!Defined(positive) || !Defined(negative)) {
        return {};
    }
    return Printf(" MF: %0.0lf pos: %0.0lf neg: %0.0lf", positive - negative, positive, negative);
}

std::string CHistMFChart::InfoLine(int bar) const {
    const double positive = LineAt(0, bar);
    const double negative = LineAt(1, bar);
    if (!Defined(positive) || !Defined(negative)) {
        return "\nMoney Flow: ";
    }
    return "\nMoney Flow: " + FormatScaled(positive - negative) +
           ", pos: " + FormatScaled(positive) + ", neg: " + FormatScaled(negative);
}

// ---- money flow index ----

void CHistMFIChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    m_upper = settings.mfiUpper;
    m_lower = settings.mfiLower;
    m_levels = {{static_cast<double>(m_upper), settings.mfiUpColor},
                {static_cast<double>(m_lower), settings.mfiLowColor}};
    ResetLines({"MFI"});
    m_lines[0].color = m_dataColor;
    m_lines[0].derived = m_flows != nullptr;
}

void CHistMFIChart::fill(const CStudyInputs& inputs, std::size_t from) {
    if (m_flows == nullptr) {
        study_kernels::MoneyFlowIndex(inputs.Columns(), m_period, m_lines[0].values, from);
    }
    m_count = inputs.Count();
}

bool CHistMFIChart::TakesFlowsOf(const CHistStudyChart& pane) const {
    return pane.StudyType() == kStudyMoneyFlow && pane.Period() == m_period &&
           pane.Lines().size() == 2;
}

void CHistMFIChart::FillFromFlows(std::shared_ptr<const CHistStudyChart> moneyFlow) {
    m_flows = std::move(moneyFlow);
    m_lines[0].derived = true;
    Column().swap(m_lines[0].values);
    m_count = m_flows->Count();
}

std::span<const double> CHistMFIChart::Derive(std::size_t /*line*/, std::size_t begin,
                                              std::span<double> out) const {
    study_kernels::MoneyFlowIndex(m_flows->Lines()[0].values, m_flows->Lines()[1].values, begin,
                                  out);
    return out;
}

std::string CHistMFIChart::Description() const {
    return Printf("Money Flow Index, lookback period - %d, levels - %d, %d", m_period, m_upper,
                  m_lower);
}

std::string CHistMFIChart::CursorValues(int bar) const {
    const double mfi = LineAt(0, bar);
    return Defined(mfi) ? Printf(" MFI: %0.4lf", mfi) : std::string();
}

std::string CHistMFIChart::InfoLine(int bar) const {
    const double mfi = LineAt(0, bar);
    return Defined(mfi) ? Printf("\nMFI: %.1f", mfi) : std::string("\nMFI: ");
}

std::optional<CChart2D::SRange> CHistMFIChart::FixedRange() const {
    return OscillatorRange();
}

// ---- ADX ----

void CHistADXChart::setup(const SStudySettings& settings, const SStudyContext& context) {
    CHistStudyChart::setup(settings, context);
    ResetLines({"ADX", "+DI", "-DI"});
    m_lines[0].color = m_dataColor;
    m_lines[1].color = settings.positiveDIColor;
    m_lines[2].color = settings.negativeDIColor;
}

void CHistADXChart::fill(const CStudyInputs& inputs, std::size_t from) {
    study_kernels::SAdx adx{std::move(m_lines[0].values), std::move(m_lines[1].values),
                            std::move(m_lines[2].values)};
    study_kernels::Adx(inputs.Columns(), m_period, adx, m_carry, from);
    m_lines[0].values = std::move(adx.adx);
    m_lines[1].values = std::move(adx.plusDi);
    m_lines[2].values = std::move(adx.minusDi);
    m_count = inputs.Count();
}

std::string CHistADXChart::Description() const {
    return Printf("ADX, Smoothing period - %d", m_period);
}

std::string CHistADXChart::CursorValues(int bar) const {
    std::string text;
    if (const double adx = LineAt(0, bar); Defined(adx)) {
        text += Printf(" ADX: %0.4lf", adx);
    }
    if (const double plus = LineAt(1, bar); Defined(plus)) {
        text += Printf(" +DI: %0.4lf", plus);
    }
    if (const double minus = LineAt(2, bar); Defined(minus)) {
        text += Printf(" -DI: %0.4lf", minus);
    }
    return text;
}

std::string CHistADXChart::InfoLine(int bar) const {
    const auto part = [](double v) { return Defined(v) ? Printf("%.1f", v) : std::string(); };
    return "\nADX: " + part(LineAt(0, bar)) + ", +DI: " + part(LineAt(1, bar)) +
           ", -DI: " + part(LineAt(2, bar));
}

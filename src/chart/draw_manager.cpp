#include "chart/draw_manager.h"

#include "chart/chart_labels.h"
#include "chart/time_axis.h"
#include "core/data_types.h"
#include "history/chart_hist_request.h"

#include <fmt/format.h>

#include <algorithm>

CHistChartDrawManager::CHistChartDrawManager(const CChartHistRequest& history)
    : m_history(history) {}

void CHistChartDrawManager::SetScrollPosition(int first, int count, int dataType) {
    m_dataType = dataType;
    const int total = m_history.GetCount();
    first = std::clamp(first, 0, std::max(total, 0));
    const auto shown = static_cast<std::size_t>(std::clamp(count, 0, total - first));
    m_bars.first = first;
    for (auto* column : {&m_bars.open, &m_bars.high, &m_bars.low, &m_bars.close}) {
        column->resize(shown);
    }
    m_bars.volume.resize(shown);
    m_bars.times.resize(shown);
    m_bars.microseconds.resize(shown);

    m_history.FillPrices(EPriceColumn::Close, first, m_bars.close);
    if (dataType == kTicks) {
        std::copy(m_bars.close.begin(), m_bars.close.end(), m_bars.open.begin());
        std::copy(m_bars.close.begin(), m_bars.close.end(), m_bars.high.begin());
        std::copy(m_bars.close.begin(), m_bars.close.end(), m_bars.low.begin());
    } else {
        m_history.FillPrices(EPriceColumn::Open, first, m_bars.open);
        m_history.FillPrices(EPriceColumn::High, first, m_bars.high);
        m_history.FillPrices(EPriceColumn::Low, first, m_bars.low);
    }
    m_history.FillVolumes(first, m_bars.volume);
    std::vector<SPointTime> times(shown);
    m_history.FillTimes(first, std::span<SPointTime>(times));
    for (std::size_t i = 0; i < shown; ++i) {
        m_bars.times[i] = times[i].time;
        m_bars.microseconds[i] = times[i].microseconds;
    }
}

double CHistChartDrawManager::Price(EPriceColumn column, int index) const {
    const int count = m_history.GetCount();
    if (count == 0) {
        return 0.0;
    }
    if (m_dataType == kTicks) {
        column = EPriceColumn::Close;
    }
    double value = 0.0;
    m_history.FillPrices(column, std::clamp(index, 0, count - 1), std::span<double>(&value, 1));
    return value;
}

double CHistChartDrawManager::High(int index) const {
    return Price(EPriceColumn::High, index);
}

double CHistChartDrawManager::Low(int index) const {
    return Price(EPriceColumn::Low, index);
}

double CHistChartDrawManager::Open(int index) const {
    return Price(EPriceColumn::Open, index);
}

double CHistChartDrawManager::Close(int index) const {
    return Price(EPriceColumn::Close, index);
}

std::int64_t CHistChartDrawManager::Volume(int index) const {
    const int count = m_history.GetCount();
    std::int64_t value = 0;
    if (count > 0) {
        m_history.FillVolumes(std::clamp(index, 0, count - 1), std::span<std::int64_t>(&value, 1));
    }
    return value;
}

SPriceRange CHistChartDrawManager::DisplayedRange() const {
    return DisplayedPriceRange(m_bars.high, m_bars.low, m_bars.volume);
}

std::vector<std::string> CHistChartDrawManager::PriceBarFields(const std::string& symbol,
                                                               const std::string& chartText) const {
    std::vector<std::string> fields{symbol, chartText};
    if (m_bars.Count() == 0) {
        return fields;
    }
    const auto last = static_cast<std::size_t>(m_bars.Count() - 1);
    fields.push_back(TimeLabel(m_bars.times[last], m_bars.microseconds[last], m_dataType, false));
    fields.push_back(fmt::format("O {:.2f}", m_bars.open[last]));
    fields.push_back(fmt::format("H {:.2f}", m_bars.high[last]));
    fields.push_back(fmt::format("L {:.2f}", m_bars.low[last]));
    fields.push_back(fmt::format("C {:.2f}", m_bars.close[last]));
    fields.push_back("V " + FormatScaled(static_cast<double>(m_bars.volume[last])));
    return fields;
}

void CHistChartDrawManager::PaintXAxis(CChart2D& chart, const SPaneFrame& frame) const {
    chart.SetXRange(-0.5, std::max(frame.displayedPoints, 1) - 0.5);
    const CChart2D::SGeometry geometry = chart.Geometry();
    const double plotWidth = geometry.width - geometry.left - geometry.right;
    // The labels are spaced for the whole axis, which may be wider than the bars shown.
    const double barsWidth =
        plotWidth * m_bars.Count() / static_cast<double>(std::max(frame.displayedPoints, 1));
    std::vector<CChart2D::SXLabel> labels;
    for (STimeAxisLabel& label : PickTimeAxisLabels(m_bars.times, m_dataType, barsWidth)) {
        labels.push_back({static_cast<double>(label.slot), std::move(label.text)});
    }
    chart.SetXLabels(labels);
}

void CHistChartDrawManager::PaintPricePane(CChart2D& chart, const SChartStyle& style,
                                           const SPaneFrame& frame) {
    CChartDrawingHold hold(chart);
    ApplyPaneFrame(chart, style, style.priceLabel);
    PaintXAxis(chart, frame);
    if (!style.fixedYScaling || !m_haveYRange) {
        const SPriceRange range = DisplayedRange();
        m_yRange = CChart2D::NormalizeRange(range.low, range.high);
        m_haveYRange = m_bars.Count() > 0;
    }
    chart.SetAxisRange(CChart2D::EAxis::Y, m_yRange.min, m_yRange.max);
    chart.SetAxisRange(CChart2D::EAxis::Y2, m_yRange.min, m_yRange.max);

    const CChart2D::SGeometry geometry = chart.Geometry();
    const SCandleWidth candle =
        CandleWidth(geometry.width, geometry.left, geometry.right, frame.displayedPoints);
    m_price.SetLook(PriceChartType(m_dataType, style.candleStyle), style, candle);
    m_price.Paint(chart);
    chart.SetLabelLine(frame.priceBarText, style.priceBar);
}

void CHistChartDrawManager::PaintStudyPane(CChart2D& chart, const SChartStyle& style,
                                           const SPaneFrame& frame, int studyType,
                                           const std::string& label) {
    CChartDrawingHold hold(chart);
    ApplyPaneFrame(chart, style, style.StudyLabelColor(studyType));
    PaintXAxis(chart, frame);
    chart.SetLabelLine(label, style.StudyLabelColor(studyType));
}

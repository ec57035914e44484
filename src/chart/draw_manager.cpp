#include "chart/draw_manager.h"
#include "chart/value_ticks.h"

#include "chart/chart_labels.h"
#include "chart/time_axis.h"
#include "core/data_types.h"
#include "history/chart_hist_request.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

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
    if (dataType == kTicks || dataType == kIntervals) {
        // Ticks and minute bars carry the day's running volume; each point's own is its size.
        std::vector<std::uint32_t> sizes(shown);
        m_history.FillSizes(first, std::span<std::uint32_t>(sizes));
        std::copy(sizes.begin(), sizes.end(), m_bars.volume.begin());
    } else {
        m_history.FillVolumes(first, m_bars.volume);
    }
    m_decimals = DecimalsOf(m_bars.close);
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

int CHistChartDrawManager::Count() const {
    return m_history.GetCount();
}

std::int64_t CHistChartDrawManager::Volume(int index) const {
    const int count = m_history.GetCount();
    if (count == 0) {
        return 0;
    }
    index = std::clamp(index, 0, count - 1);
    if (m_dataType == kTicks || m_dataType == kIntervals) {
        std::uint32_t size = 0;
        m_history.FillSizes(index, std::span<std::uint32_t>(&size, 1));
        return size;
    }
    std::int64_t value = 0;
    m_history.FillVolumes(index, std::span<std::int64_t>(&value, 1));
    return value;
}

int CHistChartDrawManager::DecimalsOf(std::span<const double> prices) {
    int decimals = 2;
    for (const double price : prices) {
        while (decimals < 6) {
            const double scaled = price * std::pow(10.0, decimals);
            if (std::abs(scaled - std::round(scaled)) < 1e-6 * std::max(1.0, std::abs(scaled))) {
                break;
            }
            ++decimals;
        }
    }
    return decimals;
}

std::string CHistChartDrawManager::FormatPrice(double price) const {
    return fmt::format("{:.{}f}", price, m_decimals);
}

std::string CHistChartDrawManager::TimeField(std::size_t at) const {
    const std::string time =
        TimeLabel(m_bars.times[at], m_bars.microseconds[at], m_dataType, m_dataType == kTicks);
    switch (m_dataType) {
    case kTicks:
    case kIntervals:
        return "Time: " + time;
    case kDays:
        return "Date: " + time;
    case kWeeks:
        return "Week ending " + time;
    default:
        return "Month ending " + time;
    }
}

std::vector<std::string> CHistChartDrawManager::PriceBarFields(int bar) const {
    std::vector<std::string> fields;
    const int at = bar - m_bars.first;
    if (at < 0 || at >= m_bars.Count()) {
        return fields;
    }
    const auto i = static_cast<std::size_t>(at);
    if (m_dataType == kTicks) {
        fields.push_back(FormatPrice(m_bars.close[i]));
    } else {
        fields.push_back("Hi: " + FormatPrice(m_bars.high[i]));
        fields.push_back("Low: " + FormatPrice(m_bars.low[i]));
        fields.push_back("Open: " + FormatPrice(m_bars.open[i]));
        fields.push_back("Close: " + FormatPrice(m_bars.close[i]));
    }
    fields.push_back(TimeField(i));
    if (m_studies != nullptr) {
        for (std::string& field : m_studies->PriceBarFields(bar, PriceDecimals())) {
            fields.push_back(std::move(field));
        }
    }
    return fields;
}

std::string CHistChartDrawManager::HeaderLabel(const std::string& symbol) const {
    static constexpr const char* kHeaders[] = {
        "Tick Price: ", "Minute Price: ", "Daily Price: ", "Weekly Price: ", "Monthly Price: "};
    const int type = std::clamp(m_dataType, 0, 4);
    return kHeaders[type] + symbol;
}

std::string CHistChartDrawManager::InfoText(int bar) const {
    const int at = bar - m_bars.first;
    if (at < 0 || at >= m_bars.Count()) {
        return {};
    }
    const auto i = static_cast<std::size_t>(at);
    std::string text = m_dataType == kTicks ? "Price: " + FormatPrice(m_bars.close[i])
                                            : "Hi: " + FormatPrice(m_bars.high[i]) +
                                                  ", Low: " + FormatPrice(m_bars.low[i]) +
                                                  ", Open: " + FormatPrice(m_bars.open[i]) +
                                                  ", Close: " + FormatPrice(m_bars.close[i]);
    if (m_scale.HasBase()) {
        text += " (" + PercentText(m_scale.PercentOf(m_bars.close[i]), 2) + ")";
    }
    text += "\nVolume: " + std::to_string(m_bars.volume[i]);
    text += "\n" + TimeField(i);
    if (m_studies != nullptr) {
        if (const std::string averages = m_studies->InfoAverages(bar); !averages.empty()) {
            text += "\n" + averages;
        }
        if (const std::string bands = m_studies->InfoBands(bar); !bands.empty()) {
            text += "\n" + bands;
        }
        text += m_studies->InfoStudies(bar);
    }
    return text;
}

void CHistChartDrawManager::PaintXAxis(CChart2D& chart, const SPaneFrame& frame,
                                       bool withTexts) const {
    chart.SetXRange(-0.5, std::max(frame.displayedPoints, 1) - 0.5);
    const CChart2D::SGeometry geometry = chart.Geometry();
    const double plotWidth = geometry.width - geometry.left - geometry.right;
    // The labels are spaced for the whole axis, which may be wider than the bars shown.
    const double barsWidth =
        plotWidth * m_bars.Count() / static_cast<double>(std::max(frame.displayedPoints, 1));
    std::vector<CChart2D::SXLabel> labels;
    for (STimeAxisLabel& label : PickTimeAxisLabels(m_bars.times, m_dataType, barsWidth)) {
        labels.push_back(
            {static_cast<double>(label.slot), withTexts ? std::move(label.text) : std::string()});
    }
    chart.SetXLabels(labels);
}

void CHistChartDrawManager::SetStudies(IPaneStudies* studies) {
    m_studies = studies;
    RefreshItems();
}

void CHistChartDrawManager::RefreshItems() {
    const std::uint64_t version = m_studies != nullptr ? m_studies->ItemsVersion() : 0;
    // The compare lines are on the list only while a symbol is compared.
    const bool comparing = m_compare != nullptr && m_compare->Active();
    if (m_itemsStudies == m_studies && m_itemsVersion == version &&
        m_builtOwnVersion == m_ownVersion && m_builtComparing == comparing &&
        m_builtLastPriceShown == m_lastPriceShown) {
        return;
    }
    m_builtComparing = comparing;
    m_itemsStudies = m_studies;
    m_itemsVersion = version;
    m_builtOwnVersion = m_ownVersion;
    m_builtLastPriceShown = m_lastPriceShown;
    for (int pane = 0; pane < kPaneCount; ++pane) {
        std::vector<std::shared_ptr<CDrawnItem>> items;
        if (pane == 0) {
            items.push_back(m_price);
            if (comparing) {
                items.push_back(m_compare);
            }
            if (m_lastPriceShown) {
                items.push_back(m_lastPrice);
            }
        }
        if (m_studies != nullptr) {
            m_studies->AddItems(pane, items);
        }
        const auto& own = m_own[static_cast<std::size_t>(pane)];
        items.insert(items.end(), own.begin(), own.end());
        m_items[static_cast<std::size_t>(pane)].Assign(std::move(items));
    }
}

const CPaneItems& CHistChartDrawManager::Items(int pane) {
    RefreshItems();
    return m_items[static_cast<std::size_t>(std::clamp(pane, 0, kPaneCount - 1))];
}

void CHistChartDrawManager::AddItem(int pane, std::shared_ptr<CDrawnItem> item) {
    if (pane < 0 || pane >= kPaneCount || item == nullptr) {
        return;
    }
    m_own[static_cast<std::size_t>(pane)].push_back(std::move(item));
    ++m_ownVersion;
}

bool CHistChartDrawManager::RemoveItem(int pane, const CDrawnItem* item) {
    if (pane < 0 || pane >= kPaneCount) {
        return false;
    }
    auto& own = m_own[static_cast<std::size_t>(pane)];
    const auto removed = std::erase_if(
        own, [item](const std::shared_ptr<CDrawnItem>& held) { return held.get() == item; });
    if (removed == 0) {
        return false;
    }
    ++m_ownVersion;
    return true;
}

std::shared_ptr<CDrawnItem> CHistChartDrawManager::ItemAt(int pane, const CChart2D& chart,
                                                          CChart2D::SPixelPoint point,
                                                          double tolerance) {
    if (pane < 0 || pane >= kPaneCount) {
        return nullptr;
    }
    return Items(pane).ItemAt(chart, m_view, point, tolerance);
}

SLastPrice CHistChartDrawManager::LastPriceOf(const SChartStyle& style) const {
    SLastPrice last;
    const int newest = Count() - 1;
    if (!style.showLastPrice || newest < 0) {
        return last;
    }
    const bool ticks = m_dataType == kTicks;
    last.shown = true;
    last.price = Close(newest);
    last.up = NewestIsUp(ticks, Open(newest), last.price,
                         newest > 0 ? std::optional<double>(Close(newest - 1)) : std::nullopt);
    last.decimals = m_decimals;
    last.upColor = style.upCandle;
    last.downColor = style.downCandle;
    last.axis = style.LabelAxis();
    sTICK bar;
    if (m_dataType == kIntervals && m_exchangeNow && m_history.GetTick(newest, bar)) {
        if (const std::optional<int> left =
                SecondsLeftInBar(bar.time, m_intervalSeconds, *m_exchangeNow)) {
            last.timeLeft = FormatTimeLeft(*left);
        }
    }
    return last;
}

CChart2D::SRange CHistChartDrawManager::PriceRange(const SChartStyle& style) {
    // A fixed range is kept in one scale only: another fits again.
    const bool log = m_scale.IsLog();
    if (!style.fixedYScaling || !m_haveYRange || (m_yRangeScale == EPriceScale::Log) != log) {
        // The averages and bands widen the range to what they draw.
        std::optional<CChart2D::SRange> extent = m_items[0].Extent(m_view);
        if (extent && log && !(extent->min > 0.0) && m_bars.Count() > 0) {
            // A band below zero has no place on a logarithmic axis: the bars' lows bound it.
            const SPriceRange bars = DisplayedPriceRange(m_bars.high, m_bars.low, m_bars.volume);
            extent->min = bars.low > 0.0 ? bars.low : extent->max / 10.0;
        }
        if (extent && log && extent->max > 0.0 && extent->min == extent->max) {
            // A flat series on a logarithmic axis is widened by a ratio, not by a price.
            extent = CChart2D::SRange{extent->min / 1.01, extent->max * 1.01};
        }
        m_yRange = extent ? CChart2D::NormalizeRange(extent->min, extent->max)
                          : CChart2D::NormalizeRange(0.0, 0.0);
        m_haveYRange = m_bars.Count() > 0;
        m_yRangeScale = m_scale.Kind();
    }
    return m_yRange;
}

CValueScale CHistChartDrawManager::ChoosePriceScale(const SChartStyle& style,
                                                    const SPaneFrame& frame) {
    const bool comparing = m_compare != nullptr && m_compare->Active();
    if (style.priceScale != EPriceScale::Percent && !comparing) {
        return CValueScale::Of(style.priceScale, 0.0);
    }
    const double first = m_bars.Count() > 0 ? m_bars.close.front() : CChart2D::HoleValue();
    return CValueScale::Percent(m_percentBase.Update(first, frame.scrolling));
}

void CHistChartDrawManager::PaintPane(int pane, CChart2D& chart, const SChartStyle& style,
                                      const SPaneFrame& frame, int studyType, bool strip) {
    if (pane < 0 || pane >= kPaneCount) {
        return;
    }
    if (pane == 0) {
        // The marker is on the price pane's list only while it is shown.
        m_lastPriceShown = style.showLastPrice;
    }
    RefreshItems();
    CChartDrawingHold hold(chart);
    const bool study = pane > 0 && m_studies != nullptr && pane <= m_studies->PaneCount();
    if (study) {
        studyType = m_studies->PaneStudyType(pane);
    }
    const ColorRef labelColor = pane == 0 ? style.priceLabel : style.StudyLabelColor(studyType);
    ApplyPaneFrame(chart, style, labelColor);
    PaintXAxis(chart, frame, frame.timeLabelPane == pane);
    m_view = {m_bars.first, m_bars.Count(), std::max(frame.displayedPoints, 1)};
    CPaneItems& items = m_items[static_cast<std::size_t>(pane)];

    CChart2D::SRange range{0.0, 1.0};
    // The price pane's labels carry the decimals of the symbol's prices.
    int precision = m_decimals;
    CChart2D::ELabelFormat format = CChart2D::ELabelFormat::Fixed;
    const CValueScale linear;
    if (pane == 0) {
        m_scale = ChoosePriceScale(style, frame);
        if (m_compare != nullptr) {
            m_compare->SetBase(m_scale.Base(), m_dataType == kTicks);
        }
        range = PriceRange(style);
        const CChart2D::SGeometry geometry = chart.Geometry();
        m_look.type = PriceChartType(m_dataType, style.candleStyle);
        m_look.candle =
            CandleWidth(geometry.width, geometry.left, geometry.right, frame.displayedPoints);
        m_look.data = style.priceData;
        m_look.up = style.upCandle;
        m_look.down = style.downCandle;
        m_lastPrice->Set(LastPriceOf(style));
    } else {
        const SPaneScale scale = study ? m_studies->PaneScale(pane) : SPaneScale{};
        if (scale.fixed) {
            range = *scale.fixed;
        } else if (const std::optional<CChart2D::SRange> extent = items.Extent(m_view)) {
            const double margin = (extent->max - extent->min) * scale.margin;
            range = CChart2D::NormalizeRange(extent->min - margin, extent->max + margin);
        }
        precision = scale.precision;
        format = scale.format;
    }
    for (const CChart2D::EAxis axis : {CChart2D::EAxis::Y, CChart2D::EAxis::Y2}) {
        chart.SetLabelPrecision(axis, precision);
        chart.SetLabelFormat(axis, format);
        chart.SetValueScale(axis, pane == 0 ? m_scale : linear);
    }
    chart.SetAxisRange(CChart2D::EAxis::Y, range.min, range.max);
    chart.SetAxisRange(CChart2D::EAxis::Y2, range.min, range.max);
    items.Paint(chart, m_view);

    if (pane == 0) {
        chart.SetLabelRuns(PriceLabelRuns(frame.priceBarText, style.priceBar));
    } else if (study) {
        chart.SetLabelLine(m_studies->PaneLabel(pane, frame.cursorBar, strip), labelColor);
    } else {
        chart.SetLabelLine(strip ? "(Minimized)" : "", labelColor);
    }
}

std::vector<CChart2D::SLabelRun>
CHistChartDrawManager::PriceLabelRuns(const std::string& priceBarText, ColorRef color) const {
    std::vector<CChart2D::SLabelRun> runs{{priceBarText, color}};
    if (m_compare != nullptr) {
        std::vector<CChart2D::SLabelRun> compared = m_compare->HeaderRuns();
        if (!compared.empty()) {
            runs.front().text += " ";
        }
        runs.insert(runs.end(), compared.begin(), compared.end());
    }
    return runs;
}

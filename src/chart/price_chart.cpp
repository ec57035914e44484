#include "chart/price_chart.h"

void CHistPriceChart::Paint(CChart2D& chart, const SPaneView& /*view*/) {
    if (m_look.type == EPriceChartType::Line) {
        CChart2D::SLineStyle line;
        line.color = m_look.data;
        chart.SetLineStyle(kPriceSeries, line);
        chart.SetLine(kPriceSeries, m_bars.close, 0.0);
        return;
    }
    CChart2D::SPriceBarStyle style;
    if (m_look.type == EPriceChartType::Candles) {
        style.kind = CChart2D::EPriceBarKind::Candles;
        style.up = m_look.up;
        style.down = m_look.down;
    } else {
        // Bars show their direction by their ticks; they take the price data colour.
        style.kind = CChart2D::EPriceBarKind::OhlcBars;
        style.up = m_look.data;
        style.down = m_look.data;
    }
    style.width = m_look.candle.width;
    style.style =
        m_look.candle.wide ? CChart2D::ECandleStyle::Wide : CChart2D::ECandleStyle::Narrow;
    chart.SetPriceBarStyle(kPriceSeries, style);
    chart.SetPriceBars(kPriceSeries, {m_bars.open, m_bars.high, m_bars.low, m_bars.close}, 0.0);
}

void CHistPriceChart::Erase(CChart2D& chart) const {
    chart.ClearSeries(kPriceSeries);
}

std::optional<CChart2D::SRange> CHistPriceChart::Extent(const SPaneView& /*view*/) const {
    if (m_bars.Count() == 0) {
        return std::nullopt;
    }
    const SPriceRange range = DisplayedPriceRange(m_bars.high, m_bars.low, m_bars.volume);
    return CChart2D::SRange{range.low, range.high};
}

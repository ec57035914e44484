#include "chart/price_chart.h"

void CHistPriceChart::SetLook(EPriceChartType type, const SChartStyle& style, SCandleWidth candle) {
    m_type = type;
    m_candle = candle;
    m_data = style.priceData;
    m_up = style.upCandle;
    m_down = style.downCandle;
}

void CHistPriceChart::Paint(CChart2D& chart) {
    if (m_type == EPriceChartType::Line) {
        CChart2D::SLineStyle line;
        line.color = m_data;
        chart.SetLineStyle(kPriceSeries, line);
        chart.SetLine(kPriceSeries, m_bars.close, 0.0);
        return;
    }
    CChart2D::SPriceBarStyle style;
    if (m_type == EPriceChartType::Candles) {
        style.kind = CChart2D::EPriceBarKind::Candles;
        style.up = m_up;
        style.down = m_down;
    } else {
        // Bars show their direction by their ticks; they take the price data colour.
        style.kind = CChart2D::EPriceBarKind::OhlcBars;
        style.up = m_data;
        style.down = m_data;
    }
    style.width = m_candle.width;
    style.style = m_candle.wide ? CChart2D::ECandleStyle::Wide : CChart2D::ECandleStyle::Narrow;
    chart.SetPriceBarStyle(kPriceSeries, style);
    chart.SetPriceBars(kPriceSeries, {m_bars.open, m_bars.high, m_bars.low, m_bars.close}, 0.0);
}

void CHistPriceChart::Erase(CChart2D& chart) {
    chart.ClearSeries(kPriceSeries);
}

std::optional<double> CHistPriceChart::HitTest(const CChart2D& /*chart*/,
                                               CChart2D::SPixelPoint /*point*/,
                                               double /*tolerance*/) const {
    return std::nullopt;
}

bool CHistPriceChart::MoveBy(const CChart2D& /*chart*/, CChart2D::SPixelPoint /*from*/,
                             CChart2D::SPixelPoint /*to*/) {
    return false;
}

#include "chart/last_price.h"

#include "chart/chart_style.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

std::string FormatTimeLeft(int seconds) {
    seconds = std::max(seconds, 0);
    if (seconds >= 3600) {
        return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
    return fmt::format("{:02}:{:02}", seconds / 60, seconds % 60);
}

std::optional<int> SecondsLeftInBar(const CDateTime& barEnd, int intervalSeconds,
                                    const CDateTime& now) {
    if (!barEnd.IsValid() || !now.IsValid() || intervalSeconds <= 0) {
        return std::nullopt;
    }
    const double left = std::round((barEnd.Days() - now.Days()) * 86400.0);
    return static_cast<int>(std::clamp(left, 0.0, static_cast<double>(intervalSeconds)));
}

bool NewestIsUp(bool ticks, double open, double close, std::optional<double> previousClose) {
    if (ticks) {
        return !previousClose || close >= *previousClose;
    }
    return close >= open;
}

std::string CLastPriceItem::TagText() const {
    std::string text = CChart2D::FormatAxisLabel(m_last.price, m_last.decimals);
    if (!m_last.timeLeft.empty()) {
        text += "\n" + m_last.timeLeft;
    }
    return text;
}

void CLastPriceItem::Paint(CChart2D& chart, const SPaneView& /*view*/) {
    if (!m_last.shown || CChart2D::IsHole(m_last.price)) {
        chart.ClearSeries(kSeries);
        return;
    }
    const ColorRef fill = m_last.up ? m_last.upColor : m_last.downColor;
    CChart2D::SLineStyle line;
    line.color = fill;
    line.style = CChart2D::kDot;
    line.axis = m_last.axis;
    chart.SetLineStyle(kSeries, line);
    const CChart2D::SRange x = chart.XRange();
    const CChart2D::SPoint points[] = {{x.min, m_last.price}, {x.max, m_last.price}};
    chart.SetLinePoints(kSeries, points);
    CChart2D::SValueTag tag;
    tag.value = m_last.price;
    tag.axis = m_last.axis;
    tag.text = TagText();
    tag.fill = fill;
    // Black or white, whichever reads on the fill.
    tag.textColor = ReadableTextColor(
        ContrastRatio(0xFFFFFF, fill) >= ContrastRatio(0, fill) ? 0xFFFFFF : 0x000000, fill);
    chart.SetLineTag(kSeries, tag);
}

void CLastPriceItem::Erase(CChart2D& chart) const {
    chart.ClearSeries(kSeries);
}

#pragma once

#include "base/datetime.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

// An optional short text of a record. History never fills the texts, so an empty one costs a
// single null pointer rather than a whole std::string; the live-trade path may set one.
class CTickText {
public:
    CTickText() = default;
    explicit CTickText(std::string_view text) { Assign(text); }
    CTickText(const CTickText& other) { Assign(other.View()); }
    CTickText(CTickText&& other) noexcept = default;
    CTickText& operator=(const CTickText& other) {
        if (this != &other) {
            Assign(other.View());
        }
        return *this;
    }
    CTickText& operator=(CTickText&& other) noexcept = default;
    ~CTickText() = default;

    void Assign(std::string_view text) {
        if (text.empty()) {
            m_text.reset();
            return;
        }
        m_text = std::make_unique<char[]>(text.size() + 1);
        std::memcpy(m_text.get(), text.data(), text.size());
        m_text[text.size()] = '\0';
    }
    void Clear() { m_text.reset(); }
    bool Empty() const { return !m_text; }
    // The text; empty when none is set.
    std::string_view View() const { return m_text ? std::string_view(m_text.get()) : ""; }
    std::string Str() const { return std::string(View()); }

    friend bool operator==(const CTickText& a, const CTickText& b) { return a.View() == b.View(); }

private:
    // Zero-terminated; null when empty.
    std::unique_ptr<char[]> m_text;
};

// One data point of the series: a trade (tick) or a bar of an interval, a day, a week or a month.
// Which fields a kind of point fills is noted at each field.
struct sTICK {
    // Zero in every history record; copied with the record.
    std::uint64_t reserved = 0;
    // Local exchange time. Ticks and interval bars to the second, day/week/month bars the date.
    CDateTime time = DefaultTime();
    // Sub-second part of a tick's time (0-999999); 0 for bars.
    std::int32_t microseconds = 0;
    // Zero; copied with the record.
    std::uint64_t reserved2 = 0;
    // Ticks: the trade size. Interval bars: the volume traded inside the bar.
    std::uint32_t size = 0;
    // Ticks only: bid and ask at the time of the trade.
    double bid = 0.0;
    double ask = 0.0;
    // Ticks and interval bars: the day's total volume after this point. Day/week/month bars: the
    // volume of the period.
    std::int64_t volume = 0;
    double open = 0.0;
    // Ticks: high, low and close all hold the trade price.
    double high = 0.0;
    double low = 0.0;
    CTickText text1;
    std::uint32_t word1 = 0;
    std::uint32_t word2 = 0;
    // Ticks: the feed's id of the trade; 0 for bars.
    std::uint32_t tickId = 0;
    double close = 0.0;
    CTickText text2;
    // Day, week and month bars: open interest.
    std::uint32_t openInterest = 0;
    CTickText text3;
    // Ticks: the trade's day code. Day bars: the day of the month (255 for an invalid date).
    std::uint8_t dayCode = 0;
    // Ticks: the trade's aggressor code.
    std::uint8_t aggressor = 0;

    // The time of a record that was never filled in: 1980-12-30 13:00:00, a valid time.
    static CDateTime DefaultTime() {
        static const CDateTime value(1980, 12, 30, 13, 0, 0);
        return value;
    }
};

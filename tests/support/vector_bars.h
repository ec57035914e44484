#pragma once

// Bars held in vectors: read by index as the chart's bars, and as the kernels' columns.

#include "chart/bar_series.h"
#include "studies/study_kernels.h"

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

class CVectorBars : public IBarSeries {
public:
    std::vector<double> high, low, close, volume;
    std::vector<std::int64_t> volumes;
    void Add(double h, double l, double c, std::int64_t v = 100) {
        high.push_back(h);
        low.push_back(l);
        close.push_back(c);
        volume.push_back(static_cast<double>(v));
        volumes.push_back(v);
    }
    // Bars whose four prices are the close.
    static CVectorBars Flat(const std::vector<double>& closes, std::int64_t v = 100) {
        CVectorBars bars;
        for (double c : closes) {
            bars.Add(c, c, c, v);
        }
        return bars;
    }
    SBarColumns Columns() const { return {high, low, close, volume}; }
    int Count() const override { return static_cast<int>(close.size()); }
    double High(int i) const override { return high.at(static_cast<std::size_t>(i)); }
    double Low(int i) const override { return low.at(static_cast<std::size_t>(i)); }
    double Open(int i) const override { return close.at(static_cast<std::size_t>(i)); }
    double Close(int i) const override { return close.at(static_cast<std::size_t>(i)); }
    std::int64_t Volume(int i) const override { return volumes.at(static_cast<std::size_t>(i)); }
};

// A random walk on a cent grid around `base` with what trips the formulas up: flat stretches
// (equal closes, equal typical prices, highs equal to lows), equal up and down moves of the
// range, zero volumes.
inline CVectorBars RandomBars(unsigned seed, int count, double base = 100.0) {
    std::mt19937 random(seed);
    auto cents = [&](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random) / 100.0;
    };
    CVectorBars bars;
    double c = base;
    for (int i = 0; i < count; ++i) {
        const int kind = std::uniform_int_distribution<int>(0, 9)(random);
        if (kind <= 1 && i > 0) { // a flat bar: all as before
            bars.Add(bars.close.back(), bars.close.back(), bars.close.back(), kind * 50);
            continue;
        }
        if (kind == 2 && i > 0) { // the range widens by the same amount both ways
            const double h = bars.high.back() + 0.05;
            const double l = bars.low.back() - 0.05;
            bars.Add(h, l, std::round((h + l) * 50) / 100, 300);
            continue;
        }
        c = std::max(1.0, std::round((c + cents(-60, 60)) * 100) / 100);
        bars.Add(c + cents(0, 40), c - cents(0, 40), c,
                 std::uniform_int_distribution<int>(0, 900)(random));
    }
    return bars;
}

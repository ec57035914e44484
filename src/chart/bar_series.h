#pragma once

// The bars as the studies read them, by series index (0 the oldest loaded bar). For ticks the
// four prices are the trade price; the volume is what the studies weigh by (for ticks and minute
// bars the point's own size).

#include <cstdint>

class IBarSeries {
public:
    virtual ~IBarSeries() = default;
    virtual int Count() const = 0;
    virtual double High(int index) const = 0;
    virtual double Low(int index) const = 0;
    virtual double Open(int index) const = 0;
    virtual double Close(int index) const = 0;
    virtual std::int64_t Volume(int index) const = 0;
};

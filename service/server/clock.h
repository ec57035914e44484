#pragma once

// The exchange clock: the wall clock turned into exchange-local civil microseconds through the
// exchange time zone, optionally started at a fixed exchange time and run faster or slower.

#include <cstdint>
#include <functional>
#include <optional>

#include "market/market.h"

namespace portico {

class Clock {
public:
    // Offset of the exchange time zone from UTC, in seconds, at a UTC instant in seconds.
    using OffsetFunction = std::function<int(std::int64_t utcSeconds)>;
    // Microseconds since 1970-01-01 UTC.
    using WallFunction = std::function<std::int64_t()>;

    Clock(OffsetFunction offset, std::optional<Micros> start, double rate,
          WallFunction wall = SystemWall);

    // The exchange-local civil time now.
    Micros now() const;
    // The exchange-local civil time of a UTC instant.
    Micros civilOf(std::int64_t utcMicros) const;

    static std::int64_t SystemWall();

private:
    OffsetFunction m_offset;
    WallFunction m_wall;
    double m_rate;
    bool m_follows; // plain wall time: no fixed start, rate 1
    std::int64_t m_wallAtStart;
    Micros m_civilAtStart;
};

} // namespace portico

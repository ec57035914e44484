#include "clock.h"

#include <chrono>
#include <cmath>

namespace portico {

std::int64_t Clock::SystemWall() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

Clock::Clock(OffsetFunction offset, std::optional<Micros> start, double rate, WallFunction wall)
    : m_offset(std::move(offset)), m_wall(std::move(wall)), m_rate(rate),
      m_follows(!start && rate == 1.0), m_wallAtStart(m_wall()),
      m_civilAtStart(start ? *start : civilOf(m_wallAtStart)) {}

Micros Clock::civilOf(std::int64_t utcMicros) const {
    const std::int64_t seconds =
        utcMicros >= 0 ? utcMicros / kMicrosPerSecond : (utcMicros + 1) / kMicrosPerSecond - 1;
    return utcMicros + static_cast<Micros>(m_offset(seconds)) * kMicrosPerSecond;
}

Micros Clock::now() const {
    const std::int64_t wall = m_wall();
    if (m_follows) {
        return civilOf(wall);
    }
    const double elapsed = static_cast<double>(wall - m_wallAtStart) * m_rate;
    return m_civilAtStart + static_cast<Micros>(std::llround(elapsed));
}

} // namespace portico

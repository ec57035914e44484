// One minute bar expanded into its ticks.

#include "market/generator.h"
#include "market/random.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace portico::detail {
namespace {

// Trade condition codes.
constexpr std::uint8_t kConditionRegular = 0x01;
constexpr std::uint8_t kConditionExtendedHours = 0x3D;
constexpr std::uint8_t kConditionOddLot = 0x17;
constexpr std::uint8_t kConditionBlock = 0x2E;

// A counted trade at a fixed place in the minute: the open, the high, the low and the close.
struct Waypoint {
    std::uint32_t at = 0;   // index among the minute's counted trades
    std::int64_t steps = 0; // price in increments
};

// The counted trades of a minute run from waypoint to waypoint, wandering a little around the
// straight line between them and never leaving the minute's range.
class PricePath {
public:
    PricePath(const MinuteBar& bar, std::int64_t increment, Rng& rng) : m_increment(increment) {
        const std::uint32_t n = bar.ticks;
        m_low = bar.low / increment;
        m_high = bar.high / increment;
        std::uint32_t atHigh = n;
        std::uint32_t atLow = n;
        if (n >= 4) {
            atHigh = 1 + static_cast<std::uint32_t>(rng.below(n - 2));
            atLow = 1 + static_cast<std::uint32_t>(rng.below(n - 3));
            if (atLow >= atHigh) {
                ++atLow;
            }
        } else if (n == 3) {
            // One trade between open and close: it makes whichever extreme lies beyond them.
            if (bar.high > std::max(bar.open, bar.close)) {
                atHigh = 1;
            } else if (bar.low < std::min(bar.open, bar.close)) {
                atLow = 1;
            }
        }
        // Waypoints at `n` do not exist.
        add(0, bar.open, n);
        if (atHigh < atLow) {
            add(atHigh, bar.high, n);
            add(atLow, bar.low, n);
        } else {
            add(atLow, bar.low, n);
            add(atHigh, bar.high, n);
        }
        add(n - 1, bar.close, n);
    }

    // Price of counted trade `c`; calls come with c = 0, 1, 2, ...
    std::int64_t at(std::uint32_t c, std::uint64_t random) {
        while (m_segment + 2 < m_count && m_points[m_segment + 1].at <= c) {
            ++m_segment;
        }
        const Waypoint& a = m_points[m_segment];
        const Waypoint& b = m_points[std::min(m_segment + 1, m_count - 1)];
        if (c == a.at) {
            return a.steps * m_increment;
        }
        if (c == b.at) {
            return b.steps * m_increment;
        }
        const std::int64_t line = a.steps + lineOffset(c, a, b);
        const std::int64_t step = (random & 3) == 0 ? -1 : (random & 3) == 3 ? 1 : 0;
        m_wander = m_wander * 3 / 4 + step;
        return std::clamp(line + m_wander, m_low, m_high) * m_increment;
    }

private:
    // (b.steps - a.steps) * (c - a.at) / (b.at - a.at), truncated. Consecutive calls within a
    // segment step the quotient and remainder on instead of dividing.
    std::int64_t lineOffset(std::uint32_t c, const Waypoint& a, const Waypoint& b) {
        const std::int64_t rise = b.steps - a.steps;
        const auto run = static_cast<std::int64_t>(b.at - a.at);
        if (m_lineSegment == m_segment && m_lineAt + 1 == c) {
            m_quotient += m_stepQuotient;
            m_remainder += m_stepRemainder;
            if (m_remainder >= run) {
                m_remainder -= run;
                ++m_quotient;
            }
        } else {
            const std::int64_t magnitude = rise < 0 ? -rise : rise;
            m_stepQuotient = magnitude / run;
            m_stepRemainder = magnitude % run;
            const std::int64_t total = magnitude * static_cast<std::int64_t>(c - a.at);
            m_quotient = total / run;
            m_remainder = total % run;
            m_lineSegment = m_segment;
        }
        m_lineAt = c;
        return rise < 0 ? -m_quotient : m_quotient;
    }

    void add(std::uint32_t at, std::int64_t price, std::uint32_t n) {
        if (at < n && (m_count == 0 || at > m_points[m_count - 1].at)) {
            m_points[m_count++] = {at, price / m_increment};
        }
    }

    std::int64_t m_increment;
    std::int64_t m_low = 0;
    std::int64_t m_high = 0;
    Waypoint m_points[4];
    std::uint32_t m_count = 0;
    std::uint32_t m_segment = 0;
    std::int64_t m_wander = 0;
    // lineOffset()'s division, for the call with c = m_lineAt in segment m_lineSegment.
    std::uint32_t m_lineSegment = UINT32_MAX;
    std::uint32_t m_lineAt = 0;
    std::int64_t m_quotient = 0;
    std::int64_t m_remainder = 0;
    std::int64_t m_stepQuotient = 0; // |rise| / run
    std::int64_t m_stepRemainder = 0;
};

// n / d for 2 <= d: a multiplication by a reciprocal from a table for the small divisors a minute's
// trade counts give, a division otherwise. With m = floor((2^64 - 1) / d) + 1, the high half of
// n * m is floor(n / d) exactly whenever n * d < 2^64, which n < 2^32 ensures.
constexpr std::size_t kReciprocals = 1024;
constexpr std::array<std::uint64_t, kReciprocals> kReciprocal = [] {
    std::array<std::uint64_t, kReciprocals> table{};
    for (std::size_t d = 2; d < kReciprocals; ++d) {
        table[d] = ~std::uint64_t{0} / d + 1;
    }
    return table;
}();

inline std::uint64_t Divide(std::uint64_t n, std::uint32_t d) {
    if (d < kReciprocals && n <= 0xffffffffULL) {
        __extension__ using Wide = unsigned __int128;
        return static_cast<std::uint64_t>((static_cast<Wide>(n) * kReciprocal[d]) >> 64);
    }
    return n / d;
}

// Roughly -log2 of a uniform random number, in units of 2^-16: an exponential waiting time.
std::uint64_t WaitingTime(std::uint64_t r) {
    r |= 1;
    const int zeros = std::countl_zero(r);
    const std::uint64_t fraction = ((r << zeros) >> 47) & 0xffff; // the bits after the leading 1
    return (static_cast<std::uint64_t>(zeros) << 16) + (0x10000 - fraction);
}

// Trade times of a minute: exponential gaps scaled into the minute, which spreads them like
// arrivals at random with quiet spells and bursts; adding the index keeps them strictly
// increasing at microsecond resolution. The gaps are summed first, since their total sets the
// scale; the times are then placed one by one (place()) as the ticks are made.
class TradeTimes {
public:
    // Leaves the sum of the gaps before each tick in its time.
    TradeTimes(Micros start, std::uint64_t seed, Tick* ticks, std::uint32_t count)
        : m_start(start), m_span(static_cast<double>(kMicrosPerMinute - count)) {
        Rng rng(seed);
        std::uint64_t elapsed = 0;
        for (std::uint32_t s = 0; s < count; ++s) {
            elapsed += WaitingTime(rng.next());
            ticks[s].time = static_cast<Micros>(elapsed);
        }
        m_total = static_cast<double>(elapsed + WaitingTime(rng.next()));
    }
    // The time of tick `s`, whose time holds the sum of the gaps before it.
    Micros place(std::uint32_t s, Micros elapsed) const {
        const double offset = static_cast<double>(elapsed) * m_span / m_total;
        return m_start + s + static_cast<Micros>(offset);
    }

private:
    Micros m_start;
    double m_span;
    double m_total = 0.0;
};

} // namespace

void ExpandMinute(const Instrument& instrument, const Profile& profile, const DayMinutes& day,
                  const MinuteBar& bar, Tick* out) {
    const std::uint32_t n = bar.ticks;
    const std::uint32_t all = bar.allTicks();
    Rng rng(HashKey(day.seed, 0x10000 + static_cast<std::uint64_t>(bar.minute)));
    const Micros start = MinuteStart(day, bar);
    const std::int64_t inc = instrument.increment;
    const std::uint32_t lot = instrument.lotSize;
    PricePath path(bar, inc, rng);
    const std::int64_t steps = (bar.high - bar.low) / inc + 1;
    std::int64_t lotsLeft = bar.volume / lot;
    std::int64_t volume = bar.volumeBefore;
    std::int64_t previous = bar.open;
    std::uint32_t counted = 0;
    std::uint32_t oddLeft = bar.oddLots;

    Tick* tick = out;
    const TradeTimes times(
        start, HashKey(day.seed, 0x20000 + static_cast<std::uint64_t>(bar.minute)), tick, all);
    // Read once: the byte-sized stores to the ticks would make the compiler read them again.
    const std::uint32_t tickIdBefore = bar.tickIdBefore;
    const std::uint8_t dayCode = day.dayCode;
    const std::uint8_t primaryCenter = profile.primaryCenter;
    const char basis = bar.basis;
    const std::int64_t low = bar.low;
    for (std::uint32_t s = 0; s < all; ++s, ++tick) {
        const std::uint64_t r = rng.next();
        const std::uint64_t r2 = rng.next();
        tick->time = times.place(s, tick->time);
        tick->tickId = tickIdBefore + s + 1;
        tick->dayCode = dayCode;
        // Selection sampling: exactly `oddLots` of the slots are odd lots.
        const bool odd = oddLeft > 0 && (((r & 0xffff) * (all - s)) >> 16) < oddLeft;
        std::int64_t price = 0;
        std::uint8_t aggressor = 0;
        if (odd) {
            --oddLeft;
            price = low + static_cast<std::int64_t>(
                              ((r2 >> 32) * static_cast<std::uint64_t>(steps)) >> 32) *
                              inc;
            tick->size = 1 + static_cast<std::uint32_t>(((r2 & 0xffffffffULL) * (lot - 1)) >> 32);
            tick->basis = 'O';
            tick->conditions = kConditionOddLot;
            tick->totalVolume = volume;
        } else {
            price = path.at(counted, r2);
            // Sizes: a random split of the minute's lots, most trades small, the last takes the
            // rest.
            const std::uint32_t left = n - counted;
            std::int64_t lots = lotsLeft;
            if (left > 1) {
                const auto extra = static_cast<std::uint64_t>(lotsLeft - left);
                const std::uint64_t u = (r2 >> 16) & 0xffff;
                lots = 1 + static_cast<std::int64_t>(
                               std::min(extra, Divide((3 * u * u * extra) >> 32, left)));
            }
            lotsLeft -= lots;
            const std::uint32_t size = static_cast<std::uint32_t>(lots) * lot;
            tick->size = size;
            volume += size;
            tick->totalVolume = volume;
            tick->basis = basis;
            // Selections rather than branches: the direction of the price is a coin toss.
            const auto still =
                ((r2 >> 8) & 7) == 0 ? 0 : static_cast<std::uint8_t>(1 + ((r2 >> 11) & 1));
            const std::uint8_t moved = price > previous ? 1 : 2;
            aggressor = price == previous ? still : moved;
            tick->conditions = basis == 'E' ? kConditionExtendedHours
                               : lots >= 20 ? kConditionBlock
                                            : kConditionRegular;
            previous = price;
            ++counted;
        }
        tick->price = price;
        tick->aggressor = aggressor;
        // The trade hits one side of the quote; spreads widen outside regular hours.
        std::int64_t spread =
            inc * (1 + (((r2 >> 40) & 7) == 0 ? 1 : 0) +
                   (basis == 'E' ? 1 + static_cast<std::int64_t>((r2 >> 44) % 3) : 0));
        spread = std::min(spread, price - inc);
        const std::int64_t below = aggressor == 1 ? price - spread : price - inc;
        tick->bid = aggressor == 2 ? price : below;
        tick->ask = aggressor == 1 ? price : price + spread;
        const std::uint64_t venue = r2 >> 56;
        tick->marketCenter =
            venue < 128 ? primaryCenter : static_cast<std::uint8_t>(1 + venue % 23);
    }
}

} // namespace portico::detail

#include "market/generator.h"

#include "market/calendar.h"
#include "market/random.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace portico::detail {
namespace {

// A count of trades with mean `lambda`, Poisson-like: below one from the first terms of the
// Poisson tail, otherwise from a bell curve. Branch-light, because it runs for every minute.
std::uint32_t TradeCount(double lambda, Rng& rng) {
    if (lambda < 1.0) {
        const double u = rng.uniform();
        const double l2 = lambda * lambda;
        const double atLeast1 = lambda - l2 * (0.5 - lambda / 6.0);
        const double atLeast2 = l2 * (0.5 - lambda / 3.0);
        const double atLeast3 = l2 * lambda * (1.0 / 6.0 - lambda / 8.0);
        return static_cast<std::uint32_t>(u < atLeast1) + static_cast<std::uint32_t>(u < atLeast2) +
               static_cast<std::uint32_t>(u < atLeast3);
    }
    const std::int64_t v = TruncateToInt(lambda + std::sqrt(lambda) * rng.normal() + 0.5);
    return v < 0 ? 0 : static_cast<std::uint32_t>(v);
}

std::int64_t RoundPrice(double units, double perIncrement, std::int64_t increment,
                        std::int64_t minPrice) {
    const std::int64_t price = TruncateToInt(units * perIncrement + 0.5) * increment;
    return std::max(price, minPrice);
}

} // namespace

std::uint64_t DaySeed(std::uint64_t seed, const Profile& profile, std::int32_t day) {
    return HashKey(HashKey(seed, profile.key),
                   static_cast<std::uint64_t>(static_cast<std::int64_t>(day)));
}

void ExtendDayParams(std::uint64_t seed, const Instrument& instrument, const Profile& profile,
                     std::vector<DayParams>& params, std::int32_t day) {
    if (day < instrument.firstDay) {
        return;
    }
    const auto needed = static_cast<std::size_t>(day - instrument.firstDay) + 1;
    if (params.size() >= needed) {
        return;
    }
    params.reserve(std::max(needed, params.size() + 4096));
    const double base = Log(instrument.startPrice);
    DayParams previous;
    previous.anchor = base;
    previous.openInterest = profile.baseOpenInterest;
    if (!params.empty()) {
        previous = params.back();
    }
    const bool weekends = !profile.layout->weekend.empty();
    for (std::size_t i = params.size(); i < needed; ++i) {
        const std::int32_t d = instrument.firstDay + static_cast<std::int32_t>(i);
        DayParams p = previous;
        p.prevAnchor = previous.anchor;
        p.trading = weekends || !IsWeekend(d);
        if (p.trading) {
            Rng rng(HashKey(DaySeed(seed, profile, d), 0x7761));
            p.heat = std::clamp(0.97 * previous.heat + 0.06 * rng.normal(), -0.8, 0.8);
            p.volatility = instrument.dailyVolatility * Exp(p.heat);
            double z = rng.normal();
            if (rng.below(100) < 2) {
                z *= 3.0; // now and then a shock
            }
            const double years = static_cast<double>(i) / 365.25;
            const double target = base + profile.growth * years;
            p.anchor =
                previous.anchor + p.volatility * z - profile.reversion * (previous.anchor - target);
            // Busy when volatile; the divisor keeps the long-run mean near one.
            p.activity = Exp(0.5 * p.heat + 0.25 * rng.normal() + 0.15 * std::fabs(z)) / 1.19;
            if (IsWeekend(d)) {
                p.activity *= 0.55;
            }
            if (profile.baseOpenInterest > 0) {
                const double oi = static_cast<double>(previous.openInterest);
                const double next = std::floor(oi * (1.0 + 0.02 * rng.normal()) + 0.5);
                p.openInterest = static_cast<std::uint32_t>(std::clamp(
                    next, profile.baseOpenInterest * 0.2, profile.baseOpenInterest * 5.0));
            }
        }
        params.push_back(p);
        previous = p;
    }
}

namespace {

// The minute bars of a day, handed to `sink` one by one.
template <class Sink>
void ForEachMinute(const Instrument& instrument, const Profile& profile, const DayParams& params,
                   std::int32_t day, std::uint64_t seed, Sink&& sink) {
    const auto& slots = IsWeekend(day) ? profile.layout->weekend : profile.layout->weekday;
    if (!params.trading || slots.empty()) {
        return;
    }
    const std::size_t count = slots.size();
    std::array<double, 1440> increments{};
    std::array<double, 1440> deviations{};
    std::array<double, 1440> surprise{};
    Rng rng(seed);
    // Equities, closed overnight, open with a small gap.
    const double gap =
        instrument.session == SessionClass::Equity ? 0.3 * params.volatility * rng.normal() : 0.0;
    const double origin = params.prevAnchor + gap;

    // A random walk over the day's minutes, then bent into a bridge from the previous anchor to
    // today's, with the bend spread in proportion to each minute's variance.
    double walk = 0.0;
    double variance = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double sd = params.volatility * slots[i].volShare;
        const double z = rng.normal();
        deviations[i] = sd;
        increments[i] = sd * z;
        surprise[i] = std::fabs(z);
        walk += increments[i];
        variance += sd * sd;
    }
    const double bend = (params.anchor - origin - walk) / variance;

    const std::int64_t inc = instrument.increment;
    const double perIncrement = 1.0 / static_cast<double>(inc);
    const std::int64_t lot = instrument.lotSize;
    const double expected = instrument.ticksPerDay * params.activity;
    double price = Exp(origin) * profile.priceScale;
    std::int64_t volumeBefore = 0;
    std::uint32_t idsBefore = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double sd = deviations[i];
        const double dx = increments[i] + bend * sd * sd;
        const double next = price * (1.0 + dx * (1.0 + dx * (0.5 + dx / 6.0)));
        const double lambda = expected * slots[i].activity * (0.5 + 0.625 * surprise[i]);
        const std::uint32_t n = TradeCount(lambda, rng);
        if (n == 0) {
            price = next;
            continue;
        }
        MinuteBar bar;
        bar.minute = slots[i].minute;
        bar.basis = slots[i].basis;
        bar.ticks = n;
        bar.close = RoundPrice(next, perIncrement, inc, profile.minPrice);
        bar.open = n == 1 ? bar.close : RoundPrice(price, perIncrement, inc, profile.minPrice);
        bar.high = std::max(bar.open, bar.close);
        bar.low = std::min(bar.open, bar.close);
        if (n >= 3) {
            const std::uint64_t r = rng.next();
            const double range = next * sd * 1.2 * perIncrement;
            const double u1 = static_cast<double>(r & 0xffffffffULL) * 0x1.0p-32;
            const double u2 = static_cast<double>(r >> 32) * 0x1.0p-32;
            std::int64_t up = TruncateToInt(u1 * u1 * range) * inc;
            std::int64_t down = TruncateToInt(u2 * u2 * range) * inc;
            if (n == 3) {
                // One tick between open and close can reach only one side.
                (rng.next() & 1) != 0 ? up = 0 : down = 0;
            }
            bar.high += up;
            bar.low = std::max(profile.minPrice, bar.low - down);
        }
        const std::uint64_t r = rng.next();
        const double u = static_cast<double>(r >> 11) * 0x1.0p-53;
        std::int64_t lots = n + TruncateToInt((profile.meanLots - 1.0) * n * (0.3 + 1.4 * u));
        if ((r & 0x3ff) < 4) {
            lots += 20 + static_cast<std::int64_t>((r >> 20) % 200); // a block print
        }
        bar.volume = lots * lot;
        if (profile.oddLots && ((r >> 10) & 0xff) < 40) {
            bar.oddLots = 1 + static_cast<std::uint32_t>(((r >> 18) & 0xff) % 3);
        }
        bar.volumeBefore = volumeBefore;
        bar.tickIdBefore = idsBefore;
        volumeBefore += bar.volume;
        idsBefore += bar.allTicks();
        sink(bar);
        price = next;
    }
}

} // namespace

void GenerateDay(const Instrument& instrument, const Profile& profile, const DayParams& params,
                 DayMinutes& out) {
    out.minutes.clear();
    out.dayCode = static_cast<std::uint8_t>(CivilFromDays(out.day).day);
    ForEachMinute(instrument, profile, params, out.day, out.seed,
                  [&](const MinuteBar& bar) { out.minutes.push_back(bar); });
}

void SummariseDay(const Instrument& instrument, const Profile& profile, const DayParams& params,
                  std::int32_t day, std::uint64_t seed, DaySums& out) {
    out = DaySums{};
    ForEachMinute(instrument, profile, params, day, seed, [&](const MinuteBar& m) {
        if (out.ticks == 0) {
            out.open = m.open;
            out.high = m.high;
            out.low = m.low;
        } else {
            out.high = std::max(out.high, m.high);
            out.low = std::min(out.low, m.low);
        }
        out.close = m.close;
        out.volume += m.volume;
        out.ticks += m.ticks;
        out.allTicks += m.allTicks();
    });
}

} // namespace portico::detail

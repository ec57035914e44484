#include "market/market_impl.h"

#include "market/aggregate.h"
#include "market/calendar.h"

#include <algorithm>

namespace portico {

MarketImpl::MarketImpl(std::uint64_t seed, std::size_t cachedDays)
    : m_seed(seed), m_cachedDays(std::max<std::size_t>(cachedDays, 1)),
      m_universe(detail::BuildUniverse()), m_caches(m_universe.instruments.size()) {}

const detail::DayParams* MarketImpl::dayParams(const Instrument& instrument,
                                               std::int32_t day) const {
    if (day < instrument.firstDay || day > kLastMarketDay) {
        return nullptr;
    }
    auto& params = m_caches[instrument.index].params;
    detail::ExtendDayParams(m_seed, instrument, profile(instrument), params, day);
    return &params[static_cast<std::size_t>(day - instrument.firstDay)];
}

bool MarketImpl::trades(const Instrument& instrument, std::int32_t day) const {
    const detail::DayParams* p = dayParams(instrument, day);
    return p != nullptr && p->trading;
}

std::shared_ptr<const detail::DayMinutes> MarketImpl::dayMinutes(const Instrument& instrument,
                                                                 std::int32_t day) const {
    const detail::DayParams* params = dayParams(instrument, day);
    if (params == nullptr || !params->trading) {
        return nullptr;
    }
    ++m_clock;
    LruEntry* oldest = nullptr;
    for (LruEntry& e : m_lru) {
        if (e.instrument == instrument.index && e.day == day) {
            e.used = m_clock;
            return e.minutes;
        }
        if (oldest == nullptr || e.used < oldest->used) {
            oldest = &e;
        }
    }
    auto minutes = std::make_shared<detail::DayMinutes>();
    minutes->day = day;
    minutes->seed = detail::DaySeed(m_seed, profile(instrument), day);
    detail::GenerateDay(instrument, profile(instrument), *params, *minutes);
    if (m_lru.size() < m_cachedDays) {
        m_lru.push_back({instrument.index, day, m_clock, minutes});
    } else {
        *oldest = {instrument.index, day, m_clock, minutes};
    }
    return minutes;
}

const MarketImpl::DayTotal& MarketImpl::dayTotal(const Instrument& instrument,
                                                 std::int32_t day) const {
    static const DayTotal none{};
    const detail::DayParams* params = dayParams(instrument, day);
    if (params == nullptr) {
        return none;
    }
    auto& totals = m_caches[instrument.index].totals;
    const auto index = static_cast<std::size_t>(day - instrument.firstDay);
    if (totals.size() <= index) {
        totals.resize(m_caches[instrument.index].params.size());
    }
    DayTotal& total = totals[index];
    if (total.known) {
        return total;
    }
    total.known = true;
    if (!params->trading) {
        return total;
    }
    detail::SummariseDay(instrument, profile(instrument), *params, day,
                         detail::DaySeed(m_seed, profile(instrument), day), total);
    return total;
}

void MarketImpl::fillTotals(const Instrument& instrument, std::int32_t fromDay,
                            std::int32_t toDay) const {
    fromDay = std::max(fromDay, instrument.firstDay);
    toDay = std::min(toDay, kLastMarketDay);
    if (toDay < fromDay || dayParams(instrument, toDay) == nullptr) {
        return;
    }
    InstrumentCache& cache = m_caches[instrument.index];
    if (cache.totals.size() < cache.params.size()) {
        cache.totals.resize(cache.params.size());
    }
    std::vector<std::size_t> missing;
    for (std::int32_t day = fromDay; day <= toDay; ++day) {
        const auto index = static_cast<std::size_t>(day - instrument.firstDay);
        if (!cache.totals[index].known && cache.params[index].trading) {
            missing.push_back(index);
        }
        cache.totals[index].known = true;
    }
    for (const std::size_t index : missing) {
        const std::int32_t day = instrument.firstDay + static_cast<std::int32_t>(index);
        detail::SummariseDay(instrument, profile(instrument), cache.params[index], day,
                             detail::DaySeed(m_seed, profile(instrument), day),
                             cache.totals[index]);
    }
}

Bar MarketImpl::dayBar(const Instrument& instrument, std::int32_t day, Micros now) const {
    Bar bar;
    const std::int32_t today = DayOf(now);
    const detail::DayParams* params = dayParams(instrument, day);
    if (params == nullptr || day > today || !params->trading) {
        return bar;
    }
    if (day < today) {
        const DayTotal& t = dayTotal(instrument, day);
        bar.open = t.open;
        bar.high = t.high;
        bar.low = t.low;
        bar.close = t.close;
        bar.volume = t.volume;
        bar.tickCount = t.ticks;
    } else {
        detail::BarBuilder builder;
        visitDay(
            instrument, day, StartOfDay(day), now, 86400,
            [&](const detail::MinuteBar& m) { builder.add(m); },
            [&](const Tick& t) { builder.add(t); });
        bar = builder.bar();
    }
    bar.time = StartOfDay(day);
    bar.totalVolume = bar.volume;
    bar.openInterest = params->openInterest;
    return bar;
}

Micros MarketImpl::startOfRecentDays(const Instrument& instrument, int days, Micros now) const {
    const int wanted = std::max(days, 1);
    fillTotals(instrument, LastDayOf(now) - std::min(wanted, 1 << 24) * 7 / 5 - 14, DayOf(now) - 1);
    int found = 0;
    for (std::int32_t day = LastDayOf(now); day >= instrument.firstDay; --day) {
        if (trades(instrument, day) && dayBar(instrument, day, now).tickCount > 0 &&
            ++found == wanted) {
            return StartOfDay(day);
        }
    }
    return StartOfDay(instrument.firstDay);
}

DaySummary MarketImpl::daySummary(const Instrument& instrument, Micros now) const {
    DaySummary s;
    s.day = DayOf(now);
    const Bar today = dayBar(instrument, s.day, now);
    s.traded = today.tickCount > 0;
    if (s.traded) {
        s.open = today.open;
        s.high = today.high;
        s.low = today.low;
        s.totalVolume = today.volume;
    }
    if (const detail::DayParams* p = dayParams(instrument, s.day); p != nullptr) {
        s.openInterest = p->openInterest;
    }
    for (std::int32_t day = std::min(s.day - 1, kLastMarketDay); day >= instrument.firstDay;
         --day) {
        if (!trades(instrument, day)) {
            continue;
        }
        const DayTotal& t = dayTotal(instrument, day);
        if (t.ticks > 0) {
            s.previousClose = t.close;
            break;
        }
    }
    TickCursor cursor = lastTicks(instrument, 1, now);
    s.hasLast = cursor.next(&s.last, 1) == 1;
    return s;
}

} // namespace portico

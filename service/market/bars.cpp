// Interval, daily, weekly and monthly bars.

#include "market/aggregate.h"
#include "market/calendar.h"
#include "market/market_impl.h"

#include <algorithm>

namespace portico {

namespace {
// A day early enough that `bars` bars of `daysPerBar` calendar days each fit after it, with
// room for weekends, up to the day of `now`.
std::int32_t DaysBack(Micros now, std::size_t bars, std::int64_t daysPerBar) {
    const auto span = static_cast<std::int64_t>(std::min<std::size_t>(bars, 1u << 24)) * daysPerBar;
    return static_cast<std::int32_t>(
        std::max<std::int64_t>(static_cast<std::int64_t>(LastDayOf(now)) - span - 14, INT32_MIN));
}
} // namespace

void MarketImpl::intervalBarsOfDay(const Instrument& instrument, int seconds, std::int32_t day,
                                   Micros from, Micros to, std::vector<Bar>& out) const {
    const Micros midnight = StartOfDay(day);
    detail::BarBuilder builder;
    std::int64_t bucket = -1;
    auto flush = [&] {
        if (!builder.empty()) {
            Bar bar = builder.bar();
            const std::int64_t end = std::min<std::int64_t>((bucket + 1) * seconds, 86400);
            bar.time = midnight + end * kMicrosPerSecond;
            out.push_back(bar);
            builder.reset();
        }
    };
    auto enter = [&](std::int64_t b) {
        if (b != bucket) {
            flush();
            bucket = b;
        }
    };
    visitDay(
        instrument, day, from, to, seconds,
        [&](const detail::MinuteBar& m) {
            enter(m.minute * 60 / seconds);
            builder.add(m);
        },
        [&](const Tick& t) {
            enter((t.time - midnight) / kMicrosPerSecond / seconds);
            builder.add(t);
        });
    flush();
}

std::vector<Bar> MarketImpl::intervalBars(const Instrument& instrument, int seconds, Micros from,
                                          Micros to) const {
    std::vector<Bar> out;
    if (seconds <= 0 || to < from) {
        return out;
    }
    const std::int32_t first = std::max(DayOf(from), instrument.firstDay);
    for (std::int32_t day = first; day <= LastDayOf(to); ++day) {
        if (trades(instrument, day)) {
            intervalBarsOfDay(instrument, seconds, day, from, to, out);
        }
    }
    return out;
}

std::vector<Bar> MarketImpl::lastIntervalBars(const Instrument& instrument, int seconds,
                                              std::size_t count, Micros now) const {
    std::vector<Bar> out;
    if (seconds <= 0 || count == 0) {
        return out;
    }
    // Whole days, newest first, each appended in time order; the chunks are reversed at the end.
    std::vector<std::vector<Bar>> chunks;
    std::size_t total = 0;
    for (std::int32_t day = LastDayOf(now); day >= instrument.firstDay && total < count; --day) {
        if (!trades(instrument, day)) {
            continue;
        }
        std::vector<Bar> bars;
        intervalBarsOfDay(instrument, seconds, day, StartOfDay(day), now, bars);
        total += bars.size();
        chunks.push_back(std::move(bars));
    }
    out.reserve(std::min(total, count));
    std::size_t skip = total > count ? total - count : 0;
    for (auto chunk = chunks.rbegin(); chunk != chunks.rend(); ++chunk) {
        const std::size_t drop = std::min(skip, chunk->size());
        skip -= drop;
        out.insert(out.end(), chunk->begin() + static_cast<std::ptrdiff_t>(drop), chunk->end());
    }
    return out;
}

std::vector<Bar> MarketImpl::dailyBars(const Instrument& instrument, std::int32_t fromDay,
                                       std::int32_t toDay, Micros now) const {
    std::vector<Bar> out;
    const std::int32_t first = std::max(fromDay, instrument.firstDay);
    const std::int32_t last = std::min(toDay, LastDayOf(now));
    fillTotals(instrument, first, std::min(last, DayOf(now) - 1));
    for (std::int32_t day = first; day <= last; ++day) {
        if (!trades(instrument, day)) {
            continue;
        }
        const Bar bar = dayBar(instrument, day, now);
        if (bar.tickCount > 0) {
            out.push_back(bar);
        }
    }
    return out;
}

std::vector<Bar> MarketImpl::lastDailyBars(const Instrument& instrument, std::size_t count,
                                           Micros now) const {
    std::vector<Bar> out;
    fillTotals(instrument, DaysBack(now, count, 2), DayOf(now) - 1);
    for (std::int32_t day = LastDayOf(now); day >= instrument.firstDay && out.size() < count;
         --day) {
        if (!trades(instrument, day)) {
            continue;
        }
        const Bar bar = dayBar(instrument, day, now);
        if (bar.tickCount > 0) {
            out.push_back(bar);
        }
    }
    std::reverse(out.begin(), out.end());
    return out;
}

template <class Grouping>
std::vector<Bar> MarketImpl::groupedBars(const Instrument& instrument, std::size_t count,
                                         std::int64_t daysPerGroup, Micros now,
                                         Grouping group) const {
    if (count == 0) {
        return {};
    }
    fillTotals(instrument, DaysBack(now, count, daysPerGroup), DayOf(now) - 1);
    std::int32_t next = LastDayOf(now);
    const auto previousDay = [&](std::int32_t& day, Bar& bar) {
        for (; next >= instrument.firstDay; --next) {
            if (trades(instrument, next)) {
                day = next--;
                bar = dayBar(instrument, day, now);
                return true;
            }
        }
        return false;
    };
    return detail::GroupDayBars(count, previousDay, group);
}

std::vector<Bar> MarketImpl::lastWeeklyBars(const Instrument& instrument, std::size_t count,
                                            Micros now) const {
    return groupedBars(instrument, count, 7, now, detail::WeekOf);
}

std::vector<Bar> MarketImpl::lastMonthlyBars(const Instrument& instrument, std::size_t count,
                                             Micros now) const {
    return groupedBars(instrument, count, 31, now, detail::MonthOf);
}

} // namespace portico

#include "market/market.h"

#include "market/market_impl.h"

namespace portico {

Market::Market(std::uint64_t seed) : m_impl(std::make_unique<MarketImpl>(seed)) {}
Market::~Market() = default;

const std::vector<Instrument>& Market::instruments() const {
    return m_impl->universe().instruments;
}

const Instrument* Market::find(std::string_view symbol) const {
    for (const Instrument& i : m_impl->universe().instruments) {
        if (i.symbol == symbol) {
            return &i;
        }
    }
    return nullptr;
}

const std::vector<ListedMarket>& Market::listedMarkets() const {
    return m_impl->universe().markets;
}

const std::vector<SecurityType>& Market::securityTypes() const {
    return m_impl->universe().types;
}

TickCursor Market::ticks(const Instrument& instrument, Micros from, Micros to) const {
    return m_impl->ticks(instrument, from, to);
}

TickCursor Market::lastTicks(const Instrument& instrument, std::size_t count, Micros to) const {
    return m_impl->lastTicks(instrument, count, to);
}

bool Market::tradesOn(const Instrument& instrument, std::int32_t day) const {
    return m_impl->trades(instrument, day);
}

std::uint64_t Market::countTicks(const Instrument& instrument, Micros from, Micros to) const {
    return m_impl->countTicks(instrument, from, to);
}

void Market::prepareDays(const Instrument& instrument, std::int32_t fromDay,
                         std::int32_t toDay) const {
    m_impl->fillTotals(instrument, fromDay, toDay);
}

Micros Market::startOfRecentDays(const Instrument& instrument, int days, Micros now) const {
    return m_impl->startOfRecentDays(instrument, days, now);
}

std::vector<Bar> Market::intervalBars(const Instrument& instrument, int seconds, Micros from,
                                      Micros to) const {
    return m_impl->intervalBars(instrument, seconds, from, to);
}

std::vector<Bar> Market::lastIntervalBars(const Instrument& instrument, int seconds,
                                          std::size_t count, Micros now) const {
    return m_impl->lastIntervalBars(instrument, seconds, count, now);
}

std::vector<Bar> Market::dailyBars(const Instrument& instrument, std::int32_t fromDay,
                                   std::int32_t toDay, Micros now) const {
    return m_impl->dailyBars(instrument, fromDay, toDay, now);
}

std::vector<Bar> Market::lastDailyBars(const Instrument& instrument, std::size_t count,
                                       Micros now) const {
    return m_impl->lastDailyBars(instrument, count, now);
}

std::vector<Bar> Market::lastWeeklyBars(const Instrument& instrument, std::size_t count,
                                        Micros now) const {
    return m_impl->lastWeeklyBars(instrument, count, now);
}

std::vector<Bar> Market::lastMonthlyBars(const Instrument& instrument, std::size_t count,
                                         Micros now) const {
    return m_impl->lastMonthlyBars(instrument, count, now);
}

DaySummary Market::daySummary(const Instrument& instrument, Micros now) const {
    return m_impl->daySummary(instrument, now);
}

} // namespace portico

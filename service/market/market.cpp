#include "market/market.h"

#include <algorithm>

#include "datafiles/file_store.h"
#include "market/market_impl.h"

namespace portico {

namespace {
constexpr int kOwnMarketGroup = 90;
}

Market::Market(std::uint64_t seed, const DataFolder& data)
    : Market(std::make_unique<MarketImpl>(seed), data) {}

Market::Market(std::unique_ptr<MarketImpl> impl, const DataFolder& data) : m_impl(std::move(impl)) {
    const detail::Universe& universe = m_impl->universe();
    m_types = universe.types;
    if (data.path.empty() || !data.only) {
        m_instruments = universe.instruments;
        m_markets = universe.markets;
    }
    if (data.path.empty()) {
        return;
    }
    const files::LogSink log = data.log ? data.log : [](const std::string&) {};
    m_files = std::make_unique<files::FileStore>(data.path, log);
    int nextMarket = 1;
    for (const ListedMarket& m : universe.markets) {
        nextMarket = std::max(nextMarket, m.id + 1);
    }
    int nextType = 1;
    for (const SecurityType& t : m_types) {
        nextType = std::max(nextType, t.id + 1);
    }
    const auto marketId = [&](const std::string& name) {
        const std::string shortName = name.empty() ? "OWN" : name;
        for (const ListedMarket& m : m_markets) {
            if (m.shortName == shortName) {
                return m.id;
            }
        }
        const std::string longName = name.empty() ? "Own data files" : name;
        m_markets.push_back({nextMarket, shortName, longName, kOwnMarketGroup, "Own data"});
        return nextMarket++;
    };
    const auto typeId = [&](const std::string& name) {
        const std::string shortName = name.empty() ? "EQUITY" : name;
        for (const SecurityType& t : m_types) {
            if (t.shortName == shortName) {
                return t.id;
            }
        }
        m_types.push_back({nextType, shortName, shortName});
        return nextType++;
    };
    const auto& listing = m_files->listing();
    for (const files::FileListing& item : listing) {
        if (std::erase_if(m_instruments,
                          [&](const Instrument& s) { return s.symbol == item.symbol; }) > 0) {
            log("the data files of " + item.symbol + " serve it instead of the simulated one");
        }
    }
    m_fileStart = m_instruments.size();
    for (std::size_t i = 0; i < listing.size(); ++i) {
        Instrument instrument;
        instrument.symbol = listing[i].symbol;
        instrument.description = listing[i].description;
        instrument.listedMarket = marketId(listing[i].market);
        instrument.securityType = typeId(listing[i].securityType);
        instrument.session = SessionClass::Continuous;
        instrument.decimals = 2;
        instrument.increment = 1;
        instrument.index = static_cast<std::uint32_t>(m_instruments.size());
        instrument.origin = Origin::File;
        instrument.source = static_cast<std::uint32_t>(i);
        m_instruments.push_back(instrument);
    }
}

Market::~Market() = default;

std::unique_ptr<Market> Market::simulatedCopy(std::size_t cachedDays) const {
    return std::unique_ptr<Market>(
        new Market(std::make_unique<MarketImpl>(m_impl->seed(), cachedDays), DataFolder{}));
}

void Market::sync(const Instrument& instrument) const {
    Instrument& mine = m_instruments[m_fileStart + instrument.source];
    mine.decimals = m_files->decimals(instrument.source);
    mine.firstDay = m_files->firstDay(instrument.source);
}

files::FileStore& Market::files(const Instrument& instrument) const {
    m_files->awaitReady(instrument.source);
    sync(instrument);
    return *m_files;
}

bool Market::ready(const Instrument& instrument, std::chrono::milliseconds wait) const {
    if (instrument.origin != Origin::File) {
        return true;
    }
    if (!m_files->ready(instrument.source, wait)) {
        return false;
    }
    sync(instrument);
    return true;
}

std::uint64_t Market::tradeCount(const Instrument& instrument) const {
    return instrument.origin == Origin::File ? files(instrument).tradeCount(instrument.source) : 0;
}

void Market::newTrades(const Instrument& instrument, std::uint64_t& seen,
                       std::vector<Tick>& out) const {
    out.clear();
    if (instrument.origin == Origin::File) {
        m_files->newTrades(instrument.source, seen, out);
        sync(instrument);
    }
}

const std::vector<Instrument>& Market::instruments() const {
    return m_instruments;
}

const Instrument* Market::find(std::string_view symbol) const {
    for (const Instrument& i : m_instruments) {
        if (i.symbol == symbol) {
            return &i;
        }
    }
    return nullptr;
}

const std::vector<ListedMarket>& Market::listedMarkets() const {
    return m_markets;
}

const std::vector<SecurityType>& Market::securityTypes() const {
    return m_types;
}

// Each query goes to the file store for a file instrument and to the generator otherwise.
#define PORTICO_DISPATCH(call, ...)                                                                \
    return instrument.origin == Origin::File                                                       \
               ? files(instrument).call(instrument.source, __VA_ARGS__)                            \
               : m_impl->call(instrument, __VA_ARGS__)

TickCursor Market::ticks(const Instrument& instrument, Micros from, Micros to) const {
    PORTICO_DISPATCH(ticks, from, to);
}

TickCursor Market::lastTicks(const Instrument& instrument, std::size_t count, Micros to) const {
    PORTICO_DISPATCH(lastTicks, count, to);
}

bool Market::tradesOn(const Instrument& instrument, std::int32_t day) const {
    return instrument.origin == Origin::File ? files(instrument).tradesOn(instrument.source, day)
                                             : m_impl->trades(instrument, day);
}

std::uint64_t Market::countTicks(const Instrument& instrument, Micros from, Micros to) const {
    PORTICO_DISPATCH(countTicks, from, to);
}

void Market::prepareDays(const Instrument& instrument, std::int32_t fromDay,
                         std::int32_t toDay) const {
    // File instruments keep every day's totals in their index.
    if (instrument.origin != Origin::File) {
        m_impl->fillTotals(instrument, fromDay, toDay);
    }
}

Micros Market::startOfRecentDays(const Instrument& instrument, int days, Micros now) const {
    PORTICO_DISPATCH(startOfRecentDays, days, now);
}

std::vector<Bar> Market::intervalBars(const Instrument& instrument, int seconds, Micros from,
                                      Micros to) const {
    PORTICO_DISPATCH(intervalBars, seconds, from, to);
}

std::vector<Bar> Market::lastIntervalBars(const Instrument& instrument, int seconds,
                                          std::size_t count, Micros now) const {
    PORTICO_DISPATCH(lastIntervalBars, seconds, count, now);
}

std::vector<Bar> Market::dailyBars(const Instrument& instrument, std::int32_t fromDay,
                                   std::int32_t toDay, Micros now) const {
    PORTICO_DISPATCH(dailyBars, fromDay, toDay, now);
}

std::vector<Bar> Market::lastDailyBars(const Instrument& instrument, std::size_t count,
                                       Micros now) const {
    PORTICO_DISPATCH(lastDailyBars, count, now);
}

std::vector<Bar> Market::lastWeeklyBars(const Instrument& instrument, std::size_t count,
                                        Micros now) const {
    PORTICO_DISPATCH(lastWeeklyBars, count, now);
}

std::vector<Bar> Market::lastMonthlyBars(const Instrument& instrument, std::size_t count,
                                         Micros now) const {
    PORTICO_DISPATCH(lastMonthlyBars, count, now);
}

DaySummary Market::daySummary(const Instrument& instrument, Micros now) const {
    PORTICO_DISPATCH(daySummary, now);
}

#undef PORTICO_DISPATCH

} // namespace portico

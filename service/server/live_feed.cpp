#include "live_feed.h"

#include <algorithm>
#include <vector>

#include "civil_time.h"

namespace portico {

namespace {

std::uint64_t NextRandom(std::uint64_t& state) {
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

constexpr int kMaxQuotesPerAdvance = 20;
// A stalled event loop catches up at most this much of the stress rate.
constexpr double kMaxStressBacklogSeconds = 0.25;
// Out of 256 synthetic lines, how many are trades.
constexpr std::uint64_t kStressTradesIn256 = 205;

} // namespace

LiveFeed::LiveFeed(const Market& market, int symbolLimit, double quoteRate, std::uint64_t seed,
                   int stressRate)
    : m_market(market), m_symbolLimit(symbolLimit), m_quoteRate(quoteRate), m_seed(seed),
      m_stressRate(stressRate) {}

LiveFeed::WatchStatus LiveFeed::watch(const std::string& symbol, int subscriber, Micros now) {
    const Instrument* instrument = m_market.find(symbol);
    if (!instrument) {
        return WatchStatus::Unknown;
    }
    auto found = m_symbols.find(symbol);
    if (found == m_symbols.end()) {
        if (m_symbols.size() >= static_cast<std::size_t>(m_symbolLimit)) {
            return WatchStatus::LimitReached;
        }
        Watched watched;
        watched.quote.instrument = instrument;
        watched.random = m_seed * 0x100000001B3ULL + instrument->index;
        startDay(watched, now);
        watched.released = now;
        watched.seenTrades = m_market.tradeCount(*instrument);
        found = m_symbols.emplace(symbol, std::move(watched)).first;
    }
    found->second.subscribers.insert(subscriber);
    return WatchStatus::Watching;
}

void LiveFeed::unwatch(const std::string& symbol, int subscriber) {
    const auto found = m_symbols.find(symbol);
    if (found != m_symbols.end()) {
        found->second.subscribers.erase(subscriber);
        if (found->second.subscribers.empty()) {
            m_symbols.erase(found);
        }
    }
}

void LiveFeed::unwatchAll(int subscriber) {
    for (auto it = m_symbols.begin(); it != m_symbols.end();) {
        it->second.subscribers.erase(subscriber);
        it = it->second.subscribers.empty() ? m_symbols.erase(it) : std::next(it);
    }
}

const QuoteState* LiveFeed::state(const std::string& symbol) const {
    const auto found = m_symbols.find(symbol);
    return found == m_symbols.end() ? nullptr : &found->second.quote;
}

void LiveFeed::startDay(Watched& watched, Micros now) {
    QuoteState& q = watched.quote;
    const DaySummary summary = m_market.daySummary(*q.instrument, now);
    q.day = summary.day;
    q.open = summary.open;
    q.high = summary.high;
    q.low = summary.low;
    q.totalVolume = summary.totalVolume;
    q.previousClose = summary.previousClose;
    q.openInterest = summary.openInterest;
    q.hasLast = summary.hasLast;
    q.last = summary.last;
    if (summary.hasLast) {
        q.bid = summary.last.bid;
        q.ask = summary.last.ask;
        q.bidTime = q.askTime = summary.last.time;
    }
    if (q.bid <= 0 || q.ask <= q.bid) {
        const std::int64_t reference = summary.hasLast ? summary.last.price : summary.previousClose;
        q.bid =
            std::max<std::int64_t>(reference - q.instrument->increment, q.instrument->increment);
        q.ask = q.bid + 2 * q.instrument->increment;
    }
    const std::uint64_t lot = std::max<std::uint32_t>(q.instrument->lotSize, 1);
    q.bidSize = static_cast<std::uint32_t>(lot * (1 + NextRandom(watched.random) % 20));
    q.askSize = static_cast<std::uint32_t>(lot * (1 + NextRandom(watched.random) % 20));
    q.bidMarketCenter = static_cast<std::uint8_t>(1 + NextRandom(watched.random) % 12);
    q.askMarketCenter = static_cast<std::uint8_t>(1 + NextRandom(watched.random) % 12);
    watched.extraVolume = 0;
    watched.extraTicks = 0;
    watched.anchor = summary.hasLast ? summary.last.price : summary.previousClose;
    if (watched.anchor <= 0) {
        watched.anchor = q.bid;
    }
}

void LiveFeed::applyTick(Watched& watched, const Tick& tick) {
    QuoteState& q = watched.quote;
    if (DayOf(tick.time) != q.day) {
        // The first tick of a new day: the day's figures start over, tick included.
        startDay(watched, tick.time);
        return;
    }
    if (tick.basis != 'O') {
        if (q.open == 0) {
            q.open = q.high = q.low = tick.price;
        }
        q.high = std::max(q.high, tick.price);
        q.low = std::min(q.low, tick.price);
    }
    q.totalVolume = tick.totalVolume + watched.extraVolume;
    q.last = tick;
    q.last.totalVolume = q.totalVolume;
    q.last.tickId += watched.extraTicks;
    q.hasLast = true;
    watched.anchor = tick.price;
    q.bid = tick.bid;
    q.ask = tick.ask;
    q.bidTime = q.askTime = tick.time;
}

void LiveFeed::moveQuote(Watched& watched, Micros now) {
    QuoteState& q = watched.quote;
    const std::int64_t increment = std::max<std::int64_t>(q.instrument->increment, 1);
    const std::int64_t reference = q.hasLast ? q.last.price : q.bid;
    const std::uint64_t r = NextRandom(watched.random);
    const auto below = static_cast<std::int64_t>(r % 3);
    const auto spread = static_cast<std::int64_t>(1 + (r >> 8) % 3);
    q.bid = std::max(reference - below * increment, increment);
    q.ask = q.bid + spread * increment;
    const std::uint64_t lot = std::max<std::uint32_t>(q.instrument->lotSize, 1);
    q.bidSize = static_cast<std::uint32_t>(lot * (1 + (r >> 16) % 20));
    q.askSize = static_cast<std::uint32_t>(lot * (1 + (r >> 24) % 20));
    q.bidMarketCenter = static_cast<std::uint8_t>(1 + (r >> 32) % 12);
    q.askMarketCenter = static_cast<std::uint8_t>(1 + (r >> 40) % 12);
    q.bidTime = q.askTime = now;
}

void LiveFeed::stressTrade(Watched& watched, Micros now) {
    QuoteState& q = watched.quote;
    if (DayOf(now) != q.day) {
        startDay(watched, now);
    }
    const std::int64_t increment = std::max<std::int64_t>(q.instrument->increment, 1);
    const std::uint64_t lot = std::max<std::uint32_t>(q.instrument->lotSize, 1);
    const std::uint64_t r = NextRandom(watched.random);
    const auto step = static_cast<std::int64_t>(r % 5) - 2;
    const std::int64_t price = std::max(watched.anchor + step * increment, increment);
    const auto size = static_cast<std::uint32_t>(lot * (1 + (r >> 8) % 10));
    if (q.open == 0) {
        q.open = q.high = q.low = price;
    }
    q.high = std::max(q.high, price);
    q.low = std::min(q.low, price);
    q.totalVolume += size;
    watched.extraVolume += size;
    ++watched.extraTicks;

    Tick& t = q.last;
    // The day's first trade takes TickID 0; the market's ticks come after the synthetic trades
    // by their number.
    const bool tradedToday = q.hasLast && DayOf(t.time) == q.day;
    const std::uint32_t tickId = tradedToday ? t.tickId + 1 : watched.extraTicks - 1;
    t.time = now;
    t.price = price;
    t.size = size;
    t.totalVolume = q.totalVolume;
    t.tickId = tickId;
    t.basis = 'C';
    t.aggressor = static_cast<std::uint8_t>(1 + (r >> 16) % 2);
    t.dayCode = static_cast<std::uint8_t>(CivilFromDays(q.day).day);
    t.marketCenter = static_cast<std::uint8_t>(1 + (r >> 24) % 12);
    t.conditions = 0;
    q.hasLast = true;
    q.bid = std::max(price - increment, increment);
    q.ask = q.bid + 2 * increment;
    t.bid = q.bid;
    t.ask = q.ask;
    q.bidTime = q.askTime = now;
}

void LiveFeed::stress(Micros now, double elapsedSeconds,
                      const std::function<void(const Update&)>& sink) {
    m_stressDue = std::min(m_stressDue + m_stressRate * elapsedSeconds,
                           m_stressRate * kMaxStressBacklogSeconds);
    const auto lines = static_cast<std::uint64_t>(m_stressDue);
    if (lines == 0 || m_symbols.empty()) {
        return;
    }
    m_stressDue -= static_cast<double>(lines);
    const std::uint64_t count = m_symbols.size();
    const std::uint64_t each = lines / count;
    const std::uint64_t remainder = lines % count;
    std::uint64_t index = 0;
    for (auto& [symbol, watched] : m_symbols) {
        const std::uint64_t position = (index++ + count - m_stressStart % count) % count;
        const std::uint64_t mine = each + (position < remainder ? 1 : 0);
        for (std::uint64_t i = 0; i < mine; ++i) {
            if (NextRandom(watched.random) % 256 < kStressTradesIn256) {
                stressTrade(watched, now);
                sink(Update{watched.quote, watched.subscribers, "C"});
            } else {
                moveQuote(watched, now);
                sink(Update{watched.quote, watched.subscribers, "ba"});
            }
        }
    }
    m_stressStart = (m_stressStart + remainder) % count;
}

void LiveFeed::followFile(Watched& watched, const std::function<void(const Update&)>& sink) {
    m_market.newTrades(*watched.quote.instrument, watched.seenTrades, m_batch);
    for (const Tick& tick : m_batch) {
        applyTick(watched, tick);
        sink(Update{watched.quote, watched.subscribers, "C"});
    }
}

void LiveFeed::advance(Micros now, double elapsedSeconds,
                       const std::function<void(const Update&)>& sink, bool holdStress) {
    std::vector<Tick> batch(1024);
    for (auto& [symbol, watched] : m_symbols) {
        if (watched.quote.instrument->origin == Origin::File) {
            followFile(watched, sink);
            continue;
        }
        if (now > watched.released) {
            TickCursor cursor =
                m_market.ticks(*watched.quote.instrument, watched.released + 1, now);
            while (const std::size_t n = cursor.next(batch.data(), batch.size())) {
                for (std::size_t i = 0; i < n; ++i) {
                    applyTick(watched, batch[i]);
                    const char contents[] = {batch[i].basis, '\0'};
                    sink(Update{watched.quote, watched.subscribers, std::string_view(contents, 1)});
                }
            }
            watched.released = now;
        }
        watched.quotesDue = std::min(watched.quotesDue + m_quoteRate * elapsedSeconds,
                                     static_cast<double>(kMaxQuotesPerAdvance));
        while (watched.quotesDue >= 1.0) {
            watched.quotesDue -= 1.0;
            moveQuote(watched, now);
            sink(Update{watched.quote, watched.subscribers, "ba"});
        }
    }
    if (m_stressRate > 0 && !holdStress) {
        stress(now, elapsedSeconds, sink);
    }
}

} // namespace portico

#pragma once

// The watched symbols of the whole service and their live updates: trades are the market's own
// ticks, released as the exchange clock passes them; between trades the bid and ask move at the
// quote rate. The trades of an instrument from a data file are the rows appended to its tick
// file, sent as they are seen (the file is looked at on every advance), with no quote moves. A
// stress rate adds synthetic trades and quote changes at the exchange clock's time, spread over the
// watched symbols, on top of the market's own.

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "market/market.h"
#include "update_fields.h"

namespace portico {

class LiveFeed {
public:
    LiveFeed(const Market& market, int symbolLimit, double quoteRate, std::uint64_t seed,
             int stressRate = 0);

    enum class WatchStatus { Unknown, LimitReached, Watching };
    // Adds a subscriber to a symbol, starting the symbol when nobody watched it yet.
    WatchStatus watch(const std::string& symbol, int subscriber, Micros now);
    void unwatch(const std::string& symbol, int subscriber);
    void unwatchAll(int subscriber);

    const QuoteState* state(const std::string& symbol) const;
    std::size_t watchedCount() const { return m_symbols.size(); }

    struct Update {
        const QuoteState& state;
        const std::set<int>& subscribers;
        std::string_view contents; // "C", "E", "O" for trades, "ba" for bid/ask changes
    };
    // Releases the ticks up to `now` and the quote changes due over `elapsedSeconds`; then,
    // unless `holdStress`, the synthetic lines of the stress rate due by now.
    void advance(Micros now, double elapsedSeconds, const std::function<void(const Update&)>& sink,
                 bool holdStress = false);

private:
    struct Watched {
        QuoteState quote;
        std::set<int> subscribers;
        Micros released = 0;          // ticks at or before this time have been sent
        std::uint64_t seenTrades = 0; // file instruments: trades of the file sent or older
        double quotesDue = 0;
        std::uint64_t random = 0;
        // Synthetic trades of the day so far: the market's ticks come after them in volume and
        // TickID. Their prices stay near `anchor`, the price of the market's newest tick.
        std::int64_t extraVolume = 0;
        std::uint32_t extraTicks = 0;
        std::int64_t anchor = 0;
    };
    void startDay(Watched& watched, Micros now);
    void applyTick(Watched& watched, const Tick& tick);
    void moveQuote(Watched& watched, Micros now);
    void stressTrade(Watched& watched, Micros now);
    void followFile(Watched& watched, const std::function<void(const Update&)>& sink);
    void stress(Micros now, double elapsedSeconds, const std::function<void(const Update&)>& sink);

    const Market& m_market;
    int m_symbolLimit;
    double m_quoteRate;
    std::uint64_t m_seed;
    double m_stressRate;
    double m_stressDue = 0;
    std::size_t m_stressStart = 0; // rotates which symbols get the remainder of a turn's lines
    std::map<std::string, Watched, std::less<>> m_symbols;
    std::vector<Tick> m_batch;
};

} // namespace portico

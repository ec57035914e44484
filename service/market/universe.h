#pragma once

// The fixed universe of fictional instruments and the trading-minute layouts of their sessions.

#include "market/market_types.h"

#include <array>
#include <cstdint>
#include <vector>

namespace portico::detail {

// One minute in which an instrument may trade.
struct MinuteSlot {
    std::int16_t minute = 0; // minute of the day, 0..1439
    char basis = 'C';
    double volShare = 0.0; // standard deviation of the minute's log return per unit of day's
    double activity = 0.0; // share of the day's trades expected in this minute
};

struct SessionLayout {
    std::vector<MinuteSlot> weekday;
    std::vector<MinuteSlot> weekend; // empty unless the instrument trades on weekends
};

const SessionLayout& LayoutOf(SessionClass session);

// Generator settings derived from an instrument once.
struct Profile {
    std::uint64_t key = 0;     // hash of the symbol
    double priceScale = 1.0;   // 10^decimals
    std::int64_t minPrice = 1; // lowest price ever generated
    double meanLots = 2.0;     // mean counted trade size in lots
    bool oddLots = false;      // equities print odd lots now and then
    double growth = 0.0;       // yearly drift of the long-run price level (log)
    double reversion = 0.0;    // daily pull of the log price towards its long-run level
    std::uint32_t baseOpenInterest = 0;
    std::uint8_t primaryCenter = 1;
    const SessionLayout* layout = nullptr;
};

struct Universe {
    std::vector<ListedMarket> markets;
    std::vector<SecurityType> types;
    std::vector<Instrument> instruments;
    std::vector<Profile> profiles; // parallel to instruments
};

Universe BuildUniverse();

} // namespace portico::detail

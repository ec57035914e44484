#pragma once

// What a Level 1 update line says about a trade: the positions of its fields, and the trade read
// from them, for the live series of the shown chart and for alerts on symbols no chart shows.

#include "base/datetime.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Positions of the fields in an update line, in the order the Level 1 connection selects them.
namespace level1 {
inline constexpr int kSymbol = 1;
inline constexpr int kTotalVolume = 2;
inline constexpr int kTradeSize = 3;
inline constexpr int kHigh = 4;
inline constexpr int kLow = 5;
inline constexpr int kBid = 6;
inline constexpr int kAsk = 7;
inline constexpr int kTradeTime = 10;
inline constexpr int kOpenInterest = 11;
inline constexpr int kOpen = 12;
inline constexpr int kTradeDate = 14;
inline constexpr int kTrade = 15;
inline constexpr int kTickId = 17;
inline constexpr int kMessageContents = 21;
inline constexpr int kAggressor = 23;
inline constexpr int kDayCode = 24;
} // namespace level1

// A trade that changed the series: its price and exchange time (invalid when its line had no
// date).
struct SLiveTrade {
    double price = 0.0;
    CDateTime time;
    std::int32_t microseconds = 0;
    int bar = 0; // the series index of the point the trade went into
};

// One trade read from an update ('Q') or summary ('P') line.
struct SUpdateTrade {
    bool summary = false; // a 'P' line
    bool counted = false; // contents hold "C"
    double price = 0.0;
    std::uint32_t size = 0;
    std::int64_t totalVolume = 0;
    double high = 0.0;
    double low = 0.0;
    double open = 0.0;
    std::uint32_t openInterest = 0;
    std::string_view dateText; // "MM/DD/YYYY"
    std::uint32_t tickId = 0;
    std::uint8_t dayCode = 0;
    int year = 0;
    int month = 0;
    int day = 0;
    bool dateValid = false;
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::int32_t microseconds = 0;

    // The trade as the series and the alerts see it, gone into point `bar`.
    SLiveTrade Live(int bar) const;
};

// Contents holding "C" are a regular trade (`counted`); "E" or "O" an extended or other trade,
// followed only when `extended`.
bool IsTradeContents(std::string_view contents, bool extended, bool& counted);

enum class EUpdateRead { Trade, NotTrade, Malformed };
// Reads the trade of an update line split into `fields`; a line too short or with a time that is
// not HH:MM:SS is Malformed, with the reason in `why`. The trade's texts point into `fields`.
EUpdateRead ReadUpdateTrade(const std::vector<std::string_view>& fields, bool extended,
                            SUpdateTrade& trade, std::string& why);

// The trade of one 'Q' line of any symbol, with the symbol; none for a quote, another kind of
// line or a malformed one. Alerts on symbols that no chart shows follow the market through it.
struct SSymbolTrade {
    std::string symbol;
    SLiveTrade trade;
};
std::optional<SSymbolTrade> ReadSymbolTrade(const std::string& line, bool extended);

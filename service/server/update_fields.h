#pragma once

// Level 1 update fields: their names, the live state of a watched symbol that they are read
// from, and the formatting of 'Q' and 'P' lines with a client's chosen fields in its order.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "line_writer.h"
#include "market/market.h"

namespace portico {

enum class UpdateField {
    Symbol,
    TotalVolume,
    TradeSize,
    High,
    Low,
    Bid,
    Ask,
    BidSize,
    AskSize,
    TradeTime,
    OpenInterest,
    Open,
    Close,
    TradeDate,
    Trade,
    FractionDisplayCode,
    TickId,
    TradeMarketCenter,
    BidMarketCenter,
    AskMarketCenter,
    MessageContents,
    TradeConditions,
    TradeAggressor,
    TradeDayCode,
    // Beyond the common set.
    DecimalPrecision,
    Change,
    BidTime,
    AskTime,
    ListedMarket,
};

std::string_view UpdateFieldName(UpdateField field);
std::optional<UpdateField> UpdateFieldFromName(std::string_view name);
const std::vector<UpdateField>& AllUpdateFields();
// What a client gets before it selects its own fields.
const std::vector<UpdateField>& DefaultUpdateFields();

// The live picture of one watched symbol.
struct QuoteState {
    const Instrument* instrument = nullptr;
    std::int32_t day = 0; // trading day the day statistics belong to
    std::int64_t open = 0;
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::int64_t previousClose = 0;
    std::int64_t totalVolume = 0;
    std::uint32_t openInterest = 0;
    Tick last;
    bool hasLast = false;
    std::int64_t bid = 0;
    std::int64_t ask = 0;
    std::uint32_t bidSize = 0;
    std::uint32_t askSize = 0;
    Micros bidTime = 0;
    Micros askTime = 0;
    std::uint8_t bidMarketCenter = 0;
    std::uint8_t askMarketCenter = 0;
};

// "<letter>,<field>,<field>,...\r\n" with exactly the given fields.
void WriteUpdateLine(LineWriter& out, char letter, const std::vector<UpdateField>& fields,
                     const QuoteState& state, std::string_view contents);

// "S,LEVEL1 COUNTS,<update lines>,<trade lines>\r\n"
void WriteLevel1Counts(LineWriter& out, std::uint64_t updateLines, std::uint64_t tradeLines);

} // namespace portico

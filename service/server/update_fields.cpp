#include "update_fields.h"

#include <algorithm>
#include <array>

namespace portico {

namespace {

struct NamedField {
    UpdateField field;
    std::string_view name;
};

constexpr std::array kFields = {
    NamedField{UpdateField::Symbol, "Symbol"},
    NamedField{UpdateField::TotalVolume, "Total Volume"},
    NamedField{UpdateField::TradeSize, "Most Recent Trade Size"},
    NamedField{UpdateField::High, "High"},
    NamedField{UpdateField::Low, "Low"},
    NamedField{UpdateField::Bid, "Bid"},
    NamedField{UpdateField::Ask, "Ask"},
    NamedField{UpdateField::BidSize, "Bid Size"},
    NamedField{UpdateField::AskSize, "Ask Size"},
    NamedField{UpdateField::TradeTime, "Most Recent Trade Time"},
    NamedField{UpdateField::OpenInterest, "Open Interest"},
    NamedField{UpdateField::Open, "Open"},
    NamedField{UpdateField::Close, "Close"},
    NamedField{UpdateField::TradeDate, "Most Recent Trade Date"},
    NamedField{UpdateField::Trade, "Most Recent Trade"},
    NamedField{UpdateField::FractionDisplayCode, "Fraction Display Code"},
    NamedField{UpdateField::TickId, "TickID"},
    NamedField{UpdateField::TradeMarketCenter, "Most Recent Trade Market Center"},
    NamedField{UpdateField::BidMarketCenter, "Bid Market Center"},
    NamedField{UpdateField::AskMarketCenter, "Ask Market Center"},
    NamedField{UpdateField::MessageContents, "Message Contents"},
    NamedField{UpdateField::TradeConditions, "Most Recent Trade Conditions"},
    NamedField{UpdateField::TradeAggressor, "Most Recent Trade Aggressor"},
    NamedField{UpdateField::TradeDayCode, "Most Recent Trade Day Code"},
    NamedField{UpdateField::DecimalPrecision, "Decimal Precision"},
    NamedField{UpdateField::Change, "Change"},
    NamedField{UpdateField::BidTime, "Bid Time"},
    NamedField{UpdateField::AskTime, "Ask Time"},
    NamedField{UpdateField::ListedMarket, "Listed Market"},
};

bool EqualNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return (x | 0x20) == (y | 0x20);
           });
}

} // namespace

std::string_view UpdateFieldName(UpdateField field) {
    for (const auto& named : kFields) {
        if (named.field == field) {
            return named.name;
        }
    }
    return {};
}

std::optional<UpdateField> UpdateFieldFromName(std::string_view name) {
    while (!name.empty() && name.front() == ' ') {
        name.remove_prefix(1);
    }
    while (!name.empty() && name.back() == ' ') {
        name.remove_suffix(1);
    }
    for (const auto& named : kFields) {
        if (EqualNoCase(named.name, name)) {
            return named.field;
        }
    }
    return std::nullopt;
}

const std::vector<UpdateField>& AllUpdateFields() {
    static const std::vector<UpdateField> all = [] {
        std::vector<UpdateField> fields;
        for (const auto& named : kFields) {
            fields.push_back(named.field);
        }
        return fields;
    }();
    return all;
}

const std::vector<UpdateField>& DefaultUpdateFields() {
    static const std::vector<UpdateField> defaults(AllUpdateFields().begin(),
                                                   AllUpdateFields().begin() + 24);
    return defaults;
}

void WriteUpdateLine(LineWriter& out, char letter, const std::vector<UpdateField>& fields,
                     const QuoteState& s, std::string_view contents) {
    const int decimals = s.instrument ? s.instrument->decimals : 2;
    out.put(letter);
    for (const UpdateField field : fields) {
        out.put(',');
        switch (field) {
        case UpdateField::Symbol:
            if (s.instrument) {
                out.put(s.instrument->symbol);
            }
            break;
        case UpdateField::TotalVolume:
            out.putSigned(s.totalVolume);
            break;
        case UpdateField::TradeSize:
            if (s.hasLast) {
                out.putUnsigned(s.last.size);
            }
            break;
        case UpdateField::High:
            out.putPrice(s.high, decimals);
            break;
        case UpdateField::Low:
            out.putPrice(s.low, decimals);
            break;
        case UpdateField::Bid:
            out.putPrice(s.bid, decimals);
            break;
        case UpdateField::Ask:
            out.putPrice(s.ask, decimals);
            break;
        case UpdateField::BidSize:
            out.putUnsigned(s.bidSize);
            break;
        case UpdateField::AskSize:
            out.putUnsigned(s.askSize);
            break;
        case UpdateField::TradeTime:
            if (s.hasLast) {
                out.putMicroTime(s.last.time);
            }
            break;
        case UpdateField::OpenInterest:
            out.putUnsigned(s.openInterest);
            break;
        case UpdateField::Open:
            out.putPrice(s.open, decimals);
            break;
        case UpdateField::Close:
            out.putPrice(s.previousClose, decimals);
            break;
        case UpdateField::TradeDate:
            if (s.hasLast) {
                out.putSlashDate(s.last.time);
            }
            break;
        case UpdateField::Trade:
            if (s.hasLast) {
                out.putPrice(s.last.price, decimals);
            }
            break;
        case UpdateField::FractionDisplayCode:
            out.putUnsigned(static_cast<std::uint64_t>(10 + decimals));
            break;
        case UpdateField::TickId:
            if (s.hasLast) {
                out.putUnsigned(s.last.tickId);
            }
            break;
        case UpdateField::TradeMarketCenter:
            if (s.hasLast) {
                out.putUnsigned(s.last.marketCenter);
            }
            break;
        case UpdateField::BidMarketCenter:
            out.putUnsigned(s.bidMarketCenter);
            break;
        case UpdateField::AskMarketCenter:
            out.putUnsigned(s.askMarketCenter);
            break;
        case UpdateField::MessageContents:
            out.put(contents);
            break;
        case UpdateField::TradeConditions:
            if (s.hasLast) {
                out.putHex2(s.last.conditions);
            }
            break;
        case UpdateField::TradeAggressor:
            if (s.hasLast) {
                out.putUnsigned(s.last.aggressor);
            }
            break;
        case UpdateField::TradeDayCode:
            if (s.hasLast) {
                out.putUnsigned(s.last.dayCode);
            }
            break;
        case UpdateField::DecimalPrecision:
            out.putUnsigned(static_cast<std::uint64_t>(decimals));
            break;
        case UpdateField::Change:
            if (s.hasLast && s.previousClose != 0) {
                out.putPrice(s.last.price - s.previousClose, decimals);
            }
            break;
        case UpdateField::BidTime:
            if (s.bidTime != 0) {
                out.putMicroTime(s.bidTime);
            }
            break;
        case UpdateField::AskTime:
            if (s.askTime != 0) {
                out.putMicroTime(s.askTime);
            }
            break;
        case UpdateField::ListedMarket:
            if (s.instrument) {
                out.putUnsigned(static_cast<std::uint64_t>(s.instrument->listedMarket));
            }
            break;
        }
    }
    out.endLine();
}

void WriteLevel1Counts(LineWriter& out, std::uint64_t updateLines, std::uint64_t tradeLines) {
    out.put("S,LEVEL1 COUNTS,");
    out.putUnsigned(updateLines);
    out.put(',');
    out.putUnsigned(tradeLines);
    out.endLine();
}

} // namespace portico

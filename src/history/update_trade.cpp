#include "history/update_trade.h"

#include "base/fields.h"
#include "base/numbers.h"

#include <fmt/format.h>

namespace {

std::string_view OptionalField(const std::vector<std::string_view>& fields, int position) {
    return fields.size() > static_cast<std::size_t>(position) ? fields[position]
                                                              : std::string_view();
}

} // namespace

bool IsTradeContents(std::string_view contents, bool extended, bool& counted) {
    counted = contents.find('C') != std::string_view::npos;
    return counted || (extended && contents.find_first_of("EO") != std::string_view::npos);
}

EUpdateRead ReadUpdateTrade(const std::vector<std::string_view>& fields, bool extended,
                            SUpdateTrade& trade, std::string& why) {
    if (fields.size() <= static_cast<std::size_t>(level1::kMessageContents)) {
        why = fmt::format("an update line of {} fields has no message contents", fields.size());
        return EUpdateRead::Malformed;
    }
    if (!IsTradeContents(fields[level1::kMessageContents], extended, trade.counted)) {
        return EUpdateRead::NotTrade; // bid and ask, or a trade of a kind not followed
    }

    std::string_view time = fields[level1::kTradeTime];
    while (!time.empty() && std::string_view("tTbao").find(time.back()) != std::string_view::npos) {
        time.remove_suffix(1);
    }
    trade.hour = Digits(time, 0, 2);
    trade.minute = Digits(time, 3, 2);
    trade.second = Digits(time, 6, 2);
    if (trade.hour < 0 || trade.minute < 0 || trade.second < 0) {
        why = fmt::format("a trade time \"{}\" is not HH:MM:SS", fields[level1::kTradeTime]);
        return EUpdateRead::Malformed;
    }
    if (time.size() > 9 && time[8] == '.') {
        std::int32_t micros = 0;
        std::size_t digits = 0;
        for (std::size_t i = 9; i < time.size() && digits < 6; ++i, ++digits) {
            const unsigned digit = static_cast<unsigned char>(time[i]) - static_cast<unsigned>('0');
            if (digit > 9) {
                break;
            }
            micros = micros * 10 + static_cast<std::int32_t>(digit);
        }
        for (; digits < 6; ++digits) {
            micros *= 10;
        }
        trade.microseconds = micros;
    }

    trade.dateText = fields[level1::kTradeDate].substr(0, 10);
    trade.month = Digits(trade.dateText, 0, 2);
    trade.day = Digits(trade.dateText, 3, 2);
    trade.year = Digits(trade.dateText, 6, 4);
    trade.dateValid = CDateTime::FromFields(trade.year, trade.month, trade.day, 0, 0, 0).IsValid();

    trade.price = ToDouble(fields[level1::kTrade]);
    trade.size = ToUnsigned32(fields[level1::kTradeSize]);
    trade.totalVolume = ToInteger<std::int64_t>(fields[level1::kTotalVolume]);
    trade.high = ToDouble(fields[level1::kHigh]);
    trade.low = ToDouble(fields[level1::kLow]);
    trade.open = ToDouble(fields[level1::kOpen]);
    trade.openInterest = ToUnsigned32(fields[level1::kOpenInterest]);
    trade.tickId = ToUnsigned32(OptionalField(fields, level1::kTickId));
    trade.dayCode =
        static_cast<std::uint8_t>(ToInteger<std::int64_t>(OptionalField(fields, level1::kDayCode)));
    return EUpdateRead::Trade;
}

SLiveTrade SUpdateTrade::Live(int bar) const {
    SLiveTrade live;
    live.price = price;
    live.microseconds = microseconds;
    if (dateValid) {
        live.time = CDateTime::FromFields(year, month, day, hour, minute, second);
    } else {
        live.time.SetStatus(CDateTime::Status::Invalid);
    }
    live.bar = bar;
    return live;
}

std::optional<SSymbolTrade> ReadSymbolTrade(const std::string& line, bool extended) {
    if (!line.starts_with("Q,")) {
        return std::nullopt;
    }
    std::vector<std::string_view> fields;
    SplitFields(line, fields);
    SUpdateTrade trade;
    std::string why;
    if (ReadUpdateTrade(fields, extended, trade, why) != EUpdateRead::Trade) {
        return std::nullopt;
    }
    return SSymbolTrade{std::string(fields[level1::kSymbol]), trade.Live(-1)};
}

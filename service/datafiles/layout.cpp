#include "datafiles/layout.h"

#include <algorithm>
#include <climits>

#include "datafiles/text_fields.h"

namespace portico::files {

const char* KindName(SeriesKind kind) {
    switch (kind) {
    case SeriesKind::Daily:
        return "daily";
    case SeriesKind::Minute:
        return "minute";
    case SeriesKind::Ticks:
        return "ticks";
    }
    return "";
}

const char* FaultText(RowFault fault) {
    switch (fault) {
    case RowFault::None:
        return "good";
    case RowFault::Short:
        return "too few fields";
    case RowFault::BadNumber:
        return "a field that is no number";
    case RowFault::BadTime:
        return "a date or time that cannot be read";
    case RowFault::HighBelowLow:
        return "high below low";
    case RowFault::OutsideRange:
        return "open or close outside high..low";
    case RowFault::Backwards:
        return "time goes backwards";
    }
    return "";
}

std::optional<Layout> DetectLayout(SeriesKind kind, const std::string_view* fields,
                                   std::size_t count, std::string& reason) {
    Layout layout;
    layout.kind = kind;
    const struct {
        const char* name;
        int Layout::*column;
    } names[] = {
        {"date", &Layout::date},
        {"time", &Layout::time},
        {"datetime", &Layout::dateTime},
        {"timestamp", &Layout::dateTime},
        {"open", &Layout::open},
        {"high", &Layout::high},
        {"low", &Layout::low},
        {"close", &Layout::close},
        {"last", &Layout::price},
        {"price", &Layout::price},
        {"volume", &Layout::volume},
        {"vol", &Layout::volume},
        {"openinterest", &Layout::openInterest},
        {"oi", &Layout::openInterest},
        {"size", &Layout::size},
        {"quantity", &Layout::size},
        {"qty", &Layout::size},
        {"bid", &Layout::bid},
        {"ask", &Layout::ask},
    };
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = NormalName(fields[i]);
        for (const auto& entry : names) {
            if (name == entry.name && layout.*entry.column < 0) {
                layout.*entry.column = static_cast<int>(i);
            }
        }
    }
    if (kind == SeriesKind::Ticks && layout.size < 0 && layout.volume >= 0) {
        std::swap(layout.size, layout.volume); // a tick's "Volume" is its size
    }
    std::string missing;
    const auto need = [&](int column, const char* name) {
        if (column < 0) {
            missing += missing.empty() ? name : std::string(", ") + name;
        }
    };
    if (layout.dateTime < 0 && layout.date < 0) {
        need(-1, kind == SeriesKind::Daily ? "Date" : "DateTime (or Date and Time)");
    } else if (kind != SeriesKind::Daily && layout.dateTime < 0) {
        need(layout.time, "Time");
    }
    if (kind == SeriesKind::Ticks) {
        need(layout.price, "Price");
        need(layout.size, "Size");
    } else {
        need(layout.open, "Open");
        need(layout.high, "High");
        need(layout.low, "Low");
        need(layout.close, "Close");
    }
    if (!missing.empty()) {
        reason = "no column " + missing;
        return std::nullopt;
    }
    if ((layout.bid < 0) != (layout.ask < 0)) {
        layout.bid = layout.ask = -1; // one side alone is not a quote
    }
    int last = -1;
    for (const int column : {layout.date, layout.time, layout.dateTime, layout.open, layout.high,
                             layout.low, layout.close, layout.volume, layout.openInterest,
                             layout.price, layout.size, layout.bid, layout.ask}) {
        last = std::max(last, column);
    }
    layout.needed = static_cast<std::size_t>(last + 1);
    return layout;
}

RowFault CheckRow(const Layout& layout, Micros previous, std::int64_t interest, int decimals,
                  Row& row) {
    if (layout.kind == SeriesKind::Daily) {
        row.time = StartOfDay(DayOf(row.time));
    } else if (layout.kind == SeriesKind::Minute) {
        row.time -= kMicrosPerMinute;
    }
    if (layout.kind == SeriesKind::Ticks) {
        if (row.volume > UINT32_MAX) {
            return RowFault::BadNumber;
        }
        row.openInterest = 0;
    } else {
        if (interest > UINT32_MAX) {
            return RowFault::BadNumber;
        }
        row.openInterest = static_cast<std::uint32_t>(interest);
        if (row.high < row.low) {
            return RowFault::HighBelowLow;
        }
        if (row.open < row.low || row.open > row.high || row.close < row.low ||
            row.close > row.high) {
            return RowFault::OutsideRange;
        }
        row.bid = row.ask = row.close;
    }
    if (row.time < previous || (row.time == previous && layout.kind != SeriesKind::Ticks)) {
        return RowFault::Backwards;
    }
    row.decimals = decimals;
    return RowFault::None;
}

RowFault ParseRow(const Layout& layout, const std::string_view* fields, std::size_t count,
                  Micros previous, Row& row) {
    if (count < layout.needed) {
        return RowFault::Short;
    }
    if (layout.dateTime >= 0) {
        if (!ParseDateTime(fields[layout.dateTime], row.time)) {
            return RowFault::BadTime;
        }
    } else {
        std::int32_t day = 0;
        Micros ofDay = 0;
        if (!ParseDay(fields[layout.date], day) ||
            (layout.time >= 0 && !ParseTimeOfDay(fields[layout.time], ofDay))) {
            return RowFault::BadTime;
        }
        row.time = StartOfDay(day) + ofDay;
    }
    int decimals = 0;
    int d = 0;
    const auto price = [&](int column, std::int64_t& out) {
        const bool good = ParsePrice(fields[column], out, d) && out >= 0;
        decimals = std::max(decimals, d);
        return good;
    };
    row.volume = 0;
    std::int64_t interest = 0;
    if (layout.kind == SeriesKind::Ticks) {
        if (!price(layout.price, row.close) || !ParseCount(fields[layout.size], row.volume)) {
            return RowFault::BadNumber;
        }
        row.open = row.high = row.low = row.close;
        row.bid = row.ask = row.close;
        if (layout.bid >= 0 && (!price(layout.bid, row.bid) || !price(layout.ask, row.ask))) {
            return RowFault::BadNumber;
        }
    } else {
        if (!price(layout.open, row.open) || !price(layout.high, row.high) ||
            !price(layout.low, row.low) || !price(layout.close, row.close) ||
            (layout.volume >= 0 && !ParseCount(fields[layout.volume], row.volume)) ||
            (layout.openInterest >= 0 && !ParseCount(fields[layout.openInterest], interest))) {
            return RowFault::BadNumber;
        }
    }
    return CheckRow(layout, previous, interest, decimals, row);
}

} // namespace portico::files

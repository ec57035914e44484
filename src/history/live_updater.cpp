#include "history/live_updater.h"

#include "base/datetime.h"
#include "base/fields.h"
#include "base/numbers.h"
#include "history/chart_hist_request.h"
#include "history/history_parser.h"
#include "history/history_request.h"
#include "history/tick.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>

namespace {

// A date text with its '/' characters removed, read as a decimal number (MMDDYYYY).
std::int64_t SlashlessValue(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (c != '/') {
            digits += c;
        }
    }
    return ToInteger<std::int64_t>(digits);
}

// The same number for the date's fields.
std::int64_t SlashlessValue(int month, int day, int year) {
    return std::int64_t{month} * 1'000'000 + std::int64_t{day} * 10'000 + year;
}

// "MM/DD/YYYY" with digits in every other place.
bool IsSlashDate(std::string_view text) {
    if (text.size() != 10) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool slash = i == 2 || i == 5;
        if (slash ? text[i] != '/' : (text[i] < '0' || text[i] > '9')) {
            return false;
        }
    }
    return true;
}

std::string SlashDate(const SDateTimeFields& f) {
    return fmt::format("{:02}/{:02}/{:04}", f.month, f.day, f.year);
}

bool IsLiveKind(const SHistoryParameters& params) {
    switch (params.requestKind) {
    case kTicksDatapoints:
    case kTicksDays:
    case kTicksDateRange:
    case kIntervalsDatapoints:
    case kIntervalsDays:
    case kIntervalsDateRange:
    case kDaysDatapoints:
        return true;
    case kDaysDateRange:
        return params.endDate == -1;
    default:
        return false;
    }
}

bool IsTickKind(std::uint32_t kind) {
    return kind <= kTicksDateRange;
}
bool IsIntervalKind(std::uint32_t kind) {
    return kind >= kIntervalsDatapoints && kind <= kIntervalsDateRange;
}

// The day whose trades a record holds: an interval bar is labelled with the end of its period,
// so a bar labelled 00:00:00 holds the trades of the day before.
bool TradingDayOf(const sTICK& record, std::uint32_t kind, SDateTimeFields& out) {
    CDateTime time = record.time;
    if (IsIntervalKind(kind) && time.IsValid()) {
        time = CDateTime(time.Days() - 1.0 / 86400.0);
    }
    return time.IsValid() && time.GetFields(out);
}

} // namespace

CLevel1Updater::CLevel1Updater(CChartHistRequest& history) : m_history(history) {}

void CLevel1Updater::Reset() {
    m_caughtUp = false;
    m_lastUpdate.reset();
    m_lastTrade.reset();
}

std::string_view CLevel1Updater::Optional(int position) const {
    return m_fields.size() > static_cast<std::size_t>(position) ? m_fields[position]
                                                                : std::string_view();
}

bool CLevel1Updater::WorthHolding(const std::string& line) {
    if (line.empty()) {
        return Drop("an empty Level 1 line");
    }
    if (line.front() != 'Q' && line.front() != 'P') {
        return false;
    }
    const SHistoryParameters params = m_history.GetParameters();
    if (!IsLiveKind(params)) {
        return false;
    }
    SplitFields(line, m_fields);
    if (m_fields.size() <= static_cast<std::size_t>(level1::kSymbol)) {
        return Drop(fmt::format("an update line of {} fields has no symbol", m_fields.size()));
    }
    if (m_fields[level1::kSymbol] != params.symbol) {
        return false;
    }
    if (m_fields.size() <= static_cast<std::size_t>(level1::kMessageContents)) {
        return Drop(
            fmt::format("an update line of {} fields has no message contents", m_fields.size()));
    }
    bool counted = false;
    return IsTradeContents(m_fields[level1::kMessageContents],
                           m_history.AreExtendedTradesAccepted(), counted);
}

bool CLevel1Updater::Drop(std::string reason) {
    ++m_dropped;
    m_dropReason = std::move(reason);
    return false;
}

bool CLevel1Updater::Apply(const std::string& line) {
    if (line.empty()) {
        return Drop("an empty Level 1 line");
    }
    const char letter = line.front();
    if (letter != 'Q' && letter != 'P' && letter != 'F') {
        return false;
    }
    SplitFields(line, m_fields);
    if (letter == 'F') {
        return ApplyFundamental();
    }
    if (!m_history.IsHistoryComplete()) {
        return false;
    }
    const SHistoryParameters params = m_history.GetParameters();
    if (!IsLiveKind(params)) {
        return false;
    }
    if (m_fields.size() <= static_cast<std::size_t>(level1::kSymbol)) {
        return Drop(fmt::format("an update line of {} fields has no symbol", m_fields.size()));
    }
    if (m_fields[level1::kSymbol] != params.symbol) {
        return false; // a late line of a symbol shown before
    }

    SUpdateTrade trade;
    trade.summary = letter == 'P';
    if (!ReadTrade(m_history.AreExtendedTradesAccepted(), trade)) {
        return false;
    }
    const std::uint32_t kind = params.requestKind;
    if (!PassesTimeFilter(trade, params)) {
        return false;
    }

    sTICK newest;
    const bool hasNewest = m_history.GetTick(m_history.GetLastIndex(), newest);
    if (hasNewest) {
        if (trade.summary) {
            const CDateTime time = CDateTime::FromFields(trade.year, trade.month, trade.day,
                                                         trade.hour, trade.minute, trade.second);
            const bool later = time > newest.time ||
                               (time == newest.time && trade.microseconds > newest.microseconds);
            if (!later) {
                return false;
            }
        }
        if (!m_caughtUp && AlreadyInHistory(trade, newest, kind)) {
            return false;
        }
    }
    m_caughtUp = true;

    bool changed = false;
    if (IsTickKind(kind)) {
        changed = ApplyTick(trade);
    } else if (IsIntervalKind(kind)) {
        if (params.interval <= 0) {
            return Drop(fmt::format("an interval request of {} seconds", params.interval));
        }
        changed = ApplyInterval(trade, newest, params.interval);
    } else {
        changed = ApplyDaySummary(trade, hasNewest ? newest : sTICK{});
    }
    if (changed) {
        ++m_appliedTrades;
        m_lastUpdate = std::chrono::steady_clock::now();
        m_lastTrade = trade.Live(m_history.GetLastIndex());
    }
    return changed;
}

bool CLevel1Updater::ApplyFundamental() {
    const std::size_t position = m_exchangeFormat ? 30 : 31;
    if (m_fields.size() <= position) {
        return Drop(fmt::format("a fundamental line of {} fields has no field {}", m_fields.size(),
                                position));
    }
    const int value = DecimalValue(m_fields[position]);
    m_history.SetPriceTextWidth(m_exchangeFormat ? value : PriceTextWidthOfDecimals(value));
    return false;
}

bool CLevel1Updater::ReadTrade(bool extended, SUpdateTrade& trade) {
    std::string why;
    switch (ReadUpdateTrade(m_fields, extended, trade, why)) {
    case EUpdateRead::Trade:
        return true;
    case EUpdateRead::Malformed:
        return Drop(std::move(why));
    case EUpdateRead::NotTrade:
        break;
    }
    return false;
}

bool CLevel1Updater::PassesTimeFilter(const SUpdateTrade& trade, const SHistoryParameters& params) {
    // Requests by datapoints are not filtered on either side. Requests by days keep the trades
    // between the filter times of day; date ranges keep those between the range's two
    // date-times, whatever their time of day.
    const std::uint32_t kind = params.requestKind;
    const std::int64_t hhmmss = trade.hour * 10000 + trade.minute * 100 + trade.second;
    if (kind == kTicksDays || kind == kIntervalsDays) {
        return params.endFilterTime < 0 ||
               (hhmmss <= params.endFilterTime &&
                (params.beginFilterTime < 0 || hhmmss >= params.beginFilterTime));
    }
    if ((kind == kTicksDateRange || kind == kIntervalsDateRange) && params.beginDate > 0 &&
        params.endDate > 0) {
        const std::int64_t value = std::int64_t{trade.year} * 10'000'000'000 +
                                   std::int64_t{trade.month} * 100'000'000 +
                                   std::int64_t{trade.day} * 1'000'000 + hhmmss;
        const std::int64_t begin = std::int64_t{params.beginDate} * 1'000'000 + params.beginTime;
        const std::int64_t end = std::int64_t{params.endDate} * 1'000'000 + params.endTime;
        return value >= begin && value <= end;
    }
    return true;
}

bool CLevel1Updater::AlreadyInHistory(const SUpdateTrade& trade, const sTICK& newest,
                                      std::uint32_t kind) const {
    // The feed answers a request a little after it released the first live trades held while
    // the answer loaded: those up to the newest record are in the answer already. A trade of an
    // earlier trading day than the newest record's is, one of a later day is not; within the
    // day a tick goes by its TickID (odd lots leave the day's total volume as it was) and a bar
    // by the day's total volume.
    SDateTimeFields day;
    if (!trade.dateValid || !TradingDayOf(newest, kind, day)) {
        return false;
    }
    const std::int64_t tradeDay = CDateTime::DayNumber(trade.year, trade.month, trade.day);
    const std::int64_t newestDay = CDateTime::DayNumber(day.year, day.month, day.day);
    if (tradeDay != newestDay) {
        return tradeDay < newestDay;
    }
    if (IsTickKind(kind)) {
        return trade.tickId <= newest.tickId;
    }
    return trade.totalVolume <= newest.volume;
}

bool CLevel1Updater::ApplyTick(const SUpdateTrade& trade) {
    sTICK tick;
    tick.time = CDateTime::FromFields(trade.year, trade.month, trade.day, trade.hour, trade.minute,
                                      trade.second);
    tick.microseconds = trade.microseconds;
    tick.high = trade.price;
    tick.low = trade.price;
    tick.close = trade.price;
    tick.size = trade.size;
    tick.volume = trade.totalVolume;
    tick.bid = ToDouble(Optional(level1::kBid));
    tick.ask = ToDouble(Optional(level1::kAsk));
    tick.tickId = trade.tickId;
    tick.aggressor =
        static_cast<std::uint8_t>(ToInteger<std::int64_t>(Optional(level1::kAggressor)));
    tick.dayCode = trade.dayCode;
    if (!tick.time.IsValid()) {
        return Drop(fmt::format("a trade date \"{}\" is no calendar date", trade.dateText));
    }
    return m_history.AppendTick(tick);
}

int CLevel1Updater::CompareWithNewest(const SUpdateTrade& trade, const sTICK& newest) const {
    SDateTimeFields bar;
    const bool barValid = newest.time.IsValid() && newest.time.GetFields(bar);
    const int barSeconds = barValid ? bar.hour * 3600 + bar.minute * 60 + bar.second : 0;
    const int tradeSeconds = trade.hour * 3600 + trade.minute * 60 + trade.second;
    if (IsSlashDate(trade.dateText)) {
        // The date texts compared by their numbers, as every trade of a live chart's date is
        // (no text is written): the same comparisons as below.
        const bool sameDate =
            barValid && trade.month == bar.month && trade.day == bar.day && trade.year == bar.year;
        if (trade.dateValid && sameDate && tradeSeconds >= barSeconds) {
            return 1;
        }
        return SlashlessValue(trade.month, trade.day, trade.year) >
                       (barValid ? SlashlessValue(bar.month, bar.day, bar.year) : 0)
                   ? 2
                   : 0;
    }
    const std::string barDate = barValid ? SlashDate(bar) : std::string();
    if (trade.dateValid && barValid && trade.dateText == barDate && tradeSeconds >= barSeconds) {
        return 1;
    }
    // Kept as MMDDYYYY numbers on purpose: a first trade of January compares below a bar of
    // December and extends it.
    return SlashlessValue(trade.dateText) > SlashlessValue(barDate) ? 2 : 0;
}

bool CLevel1Updater::ApplyInterval(const SUpdateTrade& trade, const sTICK& newest, int interval) {
    const bool hasNewest = m_history.GetCount() > 0;
    bool startNew = !hasNewest;
    CDateTime label;
    if (trade.dateValid) {
        // Bars are labelled with the end of their period: a trade at 09:30:00 of a one-minute
        // chart belongs to the bar of 09:31:00, one at 23:59:30 to 00:00:00 of the next day.
        const int seconds = trade.hour * 3600 + trade.minute * 60 + trade.second;
        const std::int64_t end = (std::int64_t{seconds} / interval + 1) * interval;
        const std::int64_t dayNumber =
            CDateTime::DayNumber(trade.year, trade.month, trade.day) + end / 86400;
        const int within = static_cast<int>(end % 86400);
        SDateTimeFields date;
        CDateTime(static_cast<double>(dayNumber)).GetFields(date);
        label = CDateTime::FromFields(date.year, date.month, date.day, within / 3600,
                                      within / 60 % 60, within % 60);
    } else {
        label.SetStatus(CDateTime::Status::Invalid);
    }
    if (hasNewest) {
        const int place = CompareWithNewest(trade, newest);
        startNew = place == 2 || (place == 1 && label > newest.time);
    }
    if (startNew) {
        sTICK bar;
        bar.time = label;
        bar.open = trade.price;
        bar.high = trade.price;
        bar.low = trade.price;
        bar.close = trade.price;
        bar.size = trade.size;
        bar.volume = trade.totalVolume;
        if (!label.IsValid()) {
            return Drop(fmt::format("a trade date \"{}\" is no calendar date", trade.dateText));
        }
        return m_history.AppendTick(bar);
    }
    sTICK bar = newest;
    bar.high = std::max(bar.high, trade.price);
    bar.low = std::min(bar.low, trade.price);
    bar.close = trade.price;
    bar.size += trade.size;
    bar.volume = trade.totalVolume;
    m_history.ReplaceTick(m_history.GetLastIndex(), bar);
    return true;
}

bool CLevel1Updater::ApplyDaySummary(const SUpdateTrade& trade, const sTICK& newest) {
    const bool hasNewest = m_history.GetCount() > 0;
    const bool startNew = !hasNewest || CompareWithNewest(trade, newest) == 2;
    sTICK bar = startNew ? sTICK{} : newest;
    if (startNew) {
        bar.time = CDateTime::FromFields(trade.year, trade.month, trade.day, 0, 0, 0);
        if (!bar.time.IsValid()) {
            return Drop(fmt::format("a trade date \"{}\" is no calendar date", trade.dateText));
        }
        bar.dayCode = trade.dayCode;
        bar.open = bar.high = bar.low = bar.close = trade.price;
    }
    if (trade.counted) {
        bar.high = trade.high;
        bar.low = trade.low;
        bar.open = trade.open;
        bar.close = trade.price;
        if (bar.high == 0.0 && bar.low == 0.0 && bar.open == 0.0 && trade.price != 0.0) {
            bar.high = bar.low = bar.open = trade.price;
        }
    } else {
        bar.high = std::max(bar.high, trade.price);
        bar.low = std::min(bar.low, trade.price);
    }
    bar.volume = trade.totalVolume;
    bar.openInterest = trade.openInterest;
    if (startNew) {
        return m_history.AppendTick(bar);
    }
    m_history.ReplaceTick(m_history.GetLastIndex(), bar);
    return true;
}

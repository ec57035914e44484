// The market's queries answered from the indexed files.

#include <algorithm>

#include "datafiles/file_store.h"
#include "datafiles/text_fields.h"
#include "market/aggregate.h"
#include "market/calendar.h"

namespace portico::files {

namespace {

std::int64_t Power10(int n) {
    std::int64_t value = 1;
    while (n-- > 0) {
        value *= 10;
    }
    return value;
}

// A price at kPriceScale in units of 10^-decimals: division by a constant for each count of
// decimals, which the compiler turns into a multiplication.
std::int64_t Scaled(std::int64_t price, int decimals) {
    switch (decimals) {
    case 0:
        return price / 1'000'000;
    case 1:
        return price / 100'000;
    case 2:
        return price / 10'000;
    case 3:
        return price / 1'000;
    case 4:
        return price / 100;
    case 5:
        return price / 10;
    default:
        return price;
    }
}

// The ticks of a cursor, at most `limit` of them, at the instrument's decimals.
class FileTickStream : public TickStream {
public:
    FileTickStream(RowCursor cursor, int decimals, std::uint64_t limit)
        : m_cursor(std::move(cursor)), m_decimals(decimals), m_left(limit) {}

    std::size_t next(Tick* out, std::size_t max) override {
        std::size_t written = 0;
        const FileRow* row = nullptr;
        while (written < max && m_left > 0 && (row = m_cursor.next()) != nullptr) {
            --m_left;
            Tick& t = out[written++];
            t = Tick{};
            t.time = row->row.time;
            t.price = Scaled(row->row.close, m_decimals);
            t.bid = Scaled(row->row.bid, m_decimals);
            t.ask = Scaled(row->row.ask, m_decimals);
            t.size = static_cast<std::uint32_t>(row->row.volume);
            t.totalVolume = row->dayVolume;
            t.tickId = row->tickId;
            t.basis = 'C';
            const std::int32_t day = DayOf(t.time);
            if (day != m_day) {
                m_day = day;
                m_dayCode = static_cast<std::uint8_t>(detail::CivilFromDays(day).day);
            }
            t.dayCode = m_dayCode;
        }
        return written;
    }

private:
    RowCursor m_cursor;
    int m_decimals;
    std::uint64_t m_left;
    std::int32_t m_day = INT32_MIN;
    std::uint8_t m_dayCode = 0;
};

} // namespace

SeriesFile* FileStore::seriesOf(std::size_t i, SeriesKind kind) const {
    Entry* entry = m_holdings[i].series[static_cast<std::size_t>(kind)];
    if (entry == nullptr || !entry->file.index || !entry->file.index->refusal.empty()) {
        return nullptr;
    }
    return &entry->file;
}

void FileStore::planDays(std::size_t i) {
    std::vector<TradingDay>& plan = m_holdings[i].days;
    plan.clear();
    for (const SeriesKind kind : {SeriesKind::Daily, SeriesKind::Minute, SeriesKind::Ticks}) {
        const SeriesFile* file = seriesOf(i, kind);
        if (file == nullptr) {
            continue;
        }
        const std::size_t coarser = plan.size();
        for (const DayTotal& total : file->index->days) {
            const auto known = std::lower_bound(
                plan.begin(), plan.begin() + static_cast<std::ptrdiff_t>(coarser), total.day,
                [](const TradingDay& d, std::int32_t day) { return d.day < day; });
            if (known == plan.begin() + static_cast<std::ptrdiff_t>(coarser) ||
                known->day != total.day) {
                plan.push_back({total.day, kind});
            }
        }
        std::inplace_merge(plan.begin(), plan.begin() + static_cast<std::ptrdiff_t>(coarser),
                           plan.end(),
                           [](const TradingDay& a, const TradingDay& b) { return a.day < b.day; });
    }
}

std::vector<FileStore::TradingDay>::const_iterator FileStore::daysFrom(std::size_t i,
                                                                       std::int32_t day) const {
    const auto& days = m_holdings[i].days;
    return std::partition_point(days.begin(), days.end(),
                                [day](const TradingDay& d) { return d.day < day; });
}

SeriesFile* FileStore::barSource(std::size_t i, int seconds) const {
    SeriesFile* minutes = seriesOf(i, SeriesKind::Minute);
    SeriesFile* ticks = seriesOf(i, SeriesKind::Ticks);
    if (minutes != nullptr && (seconds % 60 == 0 || ticks == nullptr)) {
        return minutes;
    }
    return ticks;
}

std::int64_t FileStore::divisor(std::size_t i) const {
    return Power10(kMaxDecimals - std::clamp(m_decimals[i], 0, kMaxDecimals));
}

TickCursor FileStore::ticks(std::size_t i, Micros from, Micros to) {
    SeriesFile* file = seriesOf(i, SeriesKind::Ticks);
    if (file == nullptr) {
        return TickCursor();
    }
    return TickCursor::Of(
        std::make_unique<FileTickStream>(RowCursor(*file, from, to), m_decimals[i], UINT64_MAX));
}

std::uint64_t FileStore::rowsBefore(SeriesFile& file, Micros time) {
    const SeriesIndex& index = *file.index;
    const std::size_t k = index.blockAtOrAfter(time);
    if (k == index.blocks.size()) {
        return index.rows;
    }
    const Block& block = index.blocks[k];
    if (block.first >= time) {
        return block.ordinal;
    }
    RowCursor cursor(file, block.ordinal);
    FileRow row;
    std::uint64_t count = block.ordinal;
    while (cursor.next(row) && row.row.time < time) {
        ++count;
    }
    return count;
}

TickCursor FileStore::lastTicks(std::size_t i, std::size_t count, Micros to) {
    SeriesFile* file = seriesOf(i, SeriesKind::Ticks);
    if (file == nullptr || count == 0) {
        return TickCursor();
    }
    const std::uint64_t end = to == INT64_MAX ? file->index->rows : rowsBefore(*file, to + 1);
    const std::uint64_t start = end - std::min<std::uint64_t>(end, count);
    return TickCursor::Of(
        std::make_unique<FileTickStream>(RowCursor(*file, start), m_decimals[i], end - start));
}

std::uint64_t FileStore::countTicks(std::size_t i, Micros from, Micros to) {
    SeriesFile* file = seriesOf(i, SeriesKind::Ticks);
    if (file == nullptr || to < from) {
        return 0;
    }
    return rowsBefore(*file, to + 1) - rowsBefore(*file, from);
}

bool FileStore::tradesOn(std::size_t i, std::int32_t day) const {
    const auto found = daysFrom(i, day);
    return found != m_holdings[i].days.end() && found->day == day;
}

Micros FileStore::startOfRecentDays(std::size_t i, int days, Micros now) {
    const auto& all = m_holdings[i].days;
    const auto end = daysFrom(i, DayOf(now) + 1);
    const auto wanted = static_cast<std::ptrdiff_t>(std::max(days, 1));
    if (end - all.begin() <= wanted) {
        return StartOfDay(m_firstDays[i]);
    }
    return StartOfDay((end - wanted)->day);
}

void FileStore::rowBars(std::size_t i, SeriesFile& file, int seconds, Micros from, Micros to,
                        std::vector<Bar>& out) {
    const std::int64_t div = divisor(i);
    RowCursor cursor(file, from, to);
    FileRow row;
    Bar bar;
    bool open = false;
    std::int32_t day = INT32_MIN;
    std::int64_t bucket = -1;
    const auto flush = [&] {
        if (open) {
            const std::int64_t end = std::min<std::int64_t>((bucket + 1) * seconds, 86400);
            bar.time = StartOfDay(day) + end * kMicrosPerSecond;
            out.push_back(bar);
            open = false;
        }
    };
    while (cursor.next(row)) {
        const Row& r = row.row;
        const std::int32_t rowDay = DayOf(r.time);
        const std::int64_t rowBucket = (r.time - StartOfDay(rowDay)) / kMicrosPerSecond / seconds;
        if (rowDay != day || rowBucket != bucket) {
            flush();
            day = rowDay;
            bucket = rowBucket;
        }
        // Each row counts as one trade: a tick, or a minute row with its range and volume.
        if (!open) {
            bar = Bar{};
            bar.open = r.open / div;
            bar.high = r.high / div;
            bar.low = r.low / div;
            open = true;
        }
        bar.high = std::max(bar.high, r.high / div);
        bar.low = std::min(bar.low, r.low / div);
        bar.close = r.close / div;
        bar.volume += r.volume;
        bar.totalVolume = row.dayVolume;
        ++bar.tickCount;
    }
    flush();
}

std::vector<Bar> FileStore::intervalBars(std::size_t i, int seconds, Micros from, Micros to) {
    std::vector<Bar> out;
    SeriesFile* file = barSource(i, seconds);
    if (file != nullptr && seconds > 0) {
        rowBars(i, *file, seconds, from, to, out);
    }
    return out;
}

std::vector<Bar> FileStore::lastIntervalBars(std::size_t i, int seconds, std::size_t count,
                                             Micros now) {
    std::vector<Bar> out;
    SeriesFile* file = barSource(i, seconds);
    if (file == nullptr || seconds <= 0 || count == 0) {
        return out;
    }
    // Whole days back from now until enough bars are made, newest day first.
    std::vector<std::vector<Bar>> chunks;
    std::size_t total = 0;
    const auto& days = file->index->days;
    for (auto d = days.rbegin(); d != days.rend() && total < count; ++d) {
        if (StartOfDay(d->day) > now) {
            continue;
        }
        std::vector<Bar> bars;
        rowBars(i, *file, seconds, StartOfDay(d->day), std::min(now, StartOfDay(d->day + 1) - 1),
                bars);
        total += bars.size();
        chunks.push_back(std::move(bars));
    }
    for (auto chunk = chunks.rbegin(); chunk != chunks.rend(); ++chunk) {
        out.insert(out.end(), chunk->begin(), chunk->end());
    }
    if (out.size() > count) {
        out.erase(out.begin(), out.end() - static_cast<std::ptrdiff_t>(count));
    }
    return out;
}

Bar FileStore::dayBar(std::size_t i, const TradingDay& day, Micros now) {
    Bar bar;
    SeriesFile* file = seriesOf(i, day.kind);
    const DayTotal* total = file != nullptr ? file->index->dayTotal(day.day) : nullptr;
    if (total == nullptr || StartOfDay(day.day) > now) {
        return bar;
    }
    const std::int64_t div = divisor(i);
    if (total->last <= now) {
        bar.open = total->open / div;
        bar.high = total->high / div;
        bar.low = total->low / div;
        bar.close = total->close / div;
        bar.volume = total->volume;
        bar.tickCount = total->rows;
        bar.openInterest = total->openInterest;
    } else {
        // The day is still going at `now`: its rows up to then.
        std::vector<Bar> whole;
        rowBars(i, *file, 86400, StartOfDay(day.day), now, whole);
        if (whole.empty()) {
            return bar;
        }
        bar = whole.front();
    }
    bar.time = StartOfDay(day.day);
    bar.totalVolume = bar.volume;
    return bar;
}

std::vector<Bar> FileStore::dailyBars(std::size_t i, std::int32_t fromDay, std::int32_t toDay,
                                      Micros now) {
    std::vector<Bar> out;
    for (auto d = daysFrom(i, fromDay); d != m_holdings[i].days.end() && d->day <= toDay; ++d) {
        const Bar bar = dayBar(i, *d, now);
        if (bar.tickCount > 0) {
            out.push_back(bar);
        }
    }
    return out;
}

std::vector<Bar> FileStore::lastDailyBars(std::size_t i, std::size_t count, Micros now) {
    std::vector<Bar> out;
    const auto& days = m_holdings[i].days;
    for (auto d = days.rbegin(); d != days.rend() && out.size() < count; ++d) {
        const Bar bar = dayBar(i, *d, now);
        if (bar.tickCount > 0) {
            out.push_back(bar);
        }
    }
    std::reverse(out.begin(), out.end());
    return out;
}

template <class Key>
std::vector<Bar> FileStore::groupedBars(std::size_t i, std::size_t count, Micros now, Key key) {
    const auto& days = m_holdings[i].days;
    auto d = days.rbegin();
    const auto previousDay = [&](std::int32_t& day, Bar& bar) {
        if (d == days.rend()) {
            return false;
        }
        day = d->day;
        bar = dayBar(i, *d++, now);
        return true;
    };
    return detail::GroupDayBars(count, previousDay, key);
}

std::vector<Bar> FileStore::lastWeeklyBars(std::size_t i, std::size_t count, Micros now) {
    return groupedBars(i, count, now, detail::WeekOf);
}

std::vector<Bar> FileStore::lastMonthlyBars(std::size_t i, std::size_t count, Micros now) {
    return groupedBars(i, count, now, detail::MonthOf);
}

DaySummary FileStore::daySummary(std::size_t i, Micros now) {
    DaySummary s;
    s.day = DayOf(now);
    const auto& days = m_holdings[i].days;
    auto d = daysFrom(i, s.day);
    if (d != days.end() && d->day == s.day) {
        const Bar today = dayBar(i, *d, now);
        s.traded = today.tickCount > 0;
        s.open = today.open;
        s.high = today.high;
        s.low = today.low;
        s.totalVolume = today.volume;
        s.openInterest = today.openInterest;
    }
    if (d != days.begin()) {
        const Bar before = dayBar(i, *std::prev(d), now);
        s.previousClose = before.close;
        s.openInterest = s.traded ? s.openInterest : before.openInterest;
    }
    TickCursor cursor = lastTicks(i, 1, now);
    s.hasLast = cursor.next(&s.last, 1) == 1;
    return s;
}

std::uint64_t FileStore::tradeCount(std::size_t i) {
    settle(i);
    const SeriesFile* file = seriesOf(i, SeriesKind::Ticks);
    return file != nullptr ? file->index->rows : 0;
}

void FileStore::newTrades(std::size_t i, std::uint64_t& seen, std::vector<Tick>& out) {
    out.clear();
    if (!settle(i)) {
        return; // indexed again in the worker: its rows come once it is done
    }
    SeriesFile* file = seriesOf(i, SeriesKind::Ticks);
    if (file == nullptr || seen >= file->index->rows) {
        return;
    }
    // A burst of appended rows goes out over several calls.
    const std::uint64_t count = std::min<std::uint64_t>(file->index->rows - seen, 16384);
    FileTickStream stream(RowCursor(*file, seen), m_decimals[i], count);
    out.resize(static_cast<std::size_t>(count));
    out.resize(stream.next(out.data(), out.size()));
    seen += out.size();
}

} // namespace portico::files

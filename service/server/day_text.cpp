#include "day_text.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include "tick_lines.h"

namespace portico {

namespace {
constexpr std::size_t kTicksPerRun = 4096;

template <typename T> T* Resized(T* block, std::size_t count) {
    void* moved = std::realloc(block, std::max<std::size_t>(count, 1) * sizeof(T));
    if (moved == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<T*>(moved);
}

// The time of day of a line's "HH:MM:SS.ffffff", in microseconds.
Micros TimeOfDay(const char* text) {
    const auto two = [text](int at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); };
    Micros micros = 0;
    for (int i = 9; i < 15; ++i) {
        micros = micros * 10 + (text[i] - '0');
    }
    return (two(0) * 3600 + two(3) * 60 + two(6)) * kMicrosPerSecond + micros;
}
} // namespace

DayText::~DayText() {
    std::free(m_data);
    std::free(m_ends);
}

void DayText::grow(std::size_t bytes) {
    if (m_size + bytes <= m_capacity) {
        return;
    }
    const std::size_t capacity = std::max(m_size + bytes, m_capacity + m_capacity / 2);
    if (capacity > UINT32_MAX) {
        throw std::length_error("a day's text is over 4 GiB");
    }
    m_data = Resized(m_data, capacity);
    m_capacity = capacity;
}

struct DayText::Maker {
    Maker(const Market& market, const Instrument& instrument, std::string_view id, Micros from,
          Micros to)
        : lines(id), cursor(market.ticks(instrument, from, to)), decimals(instrument.decimals),
          expected(market.countTicks(instrument, from, to)) {}

    TickLines lines;
    TickCursor cursor;
    int decimals;
    std::size_t expected; // lines
};

std::shared_ptr<DayText> DayText::Begin(const Market& market, const Instrument& instrument,
                                        std::string_view id, Micros from, Micros to) {
    auto text = std::make_shared<DayText>();
    text->m_idBytes = id.size();
    text->m_dayStart = StartOfDay(DayOf(from));
    text->m_maker = std::make_unique<Maker>(market, instrument, id, from, to);
    const Maker& maker = *text->m_maker;
    // Room for every line at its longest is only address space until it is written.
    text->grow(std::min<std::size_t>(maker.expected * maker.lines.maxLineBytes(), UINT32_MAX));
    text->m_ends = Resized(text->m_ends, maker.expected);
    return text;
}

bool DayText::extend() {
    if (!m_maker) {
        return false;
    }
    Maker& maker = *m_maker;
    const Tick* ticks = nullptr;
    const std::size_t n = maker.cursor.nextInPlace(ticks, kTicksPerRun);
    if (n == 0) {
        // Shrinking a large block in place gives the unused tail back without copying the text.
        m_data = Resized(m_data, m_size);
        m_capacity = m_size;
        m_ends = Resized(m_ends, m_lines);
        m_maker.reset();
        return false;
    }
    grow(n * maker.lines.maxLineBytes());
    if (m_lines + n > maker.expected) {
        maker.expected = std::max(m_lines + n, maker.expected + maker.expected / 2);
        m_ends = Resized(m_ends, maker.expected);
    }
    const char* const start = m_data;
    std::uint32_t* const ends = m_ends;
    std::size_t line = m_lines;
    const char* end =
        maker.lines.writeRun(m_data + m_size, {ticks, n}, maker.decimals, [&](const char* p) {
            ends[line++] = static_cast<std::uint32_t>(p - start);
        });
    m_lines = line;
    m_size = static_cast<std::size_t>(end - start);
    return true;
}

std::size_t DayText::lowerBound(Micros time) const {
    if (time <= m_dayStart) {
        return 0;
    }
    if (time >= m_dayStart + kMicrosPerDay) {
        return m_lines;
    }
    const Micros ofDay = time - m_dayStart;
    // "<id>,LH,YYYY-MM-DD " comes before the time.
    const std::size_t timeAt = m_idBytes + 15;
    std::size_t low = 0;
    std::size_t high = m_lines;
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (TimeOfDay(m_data + lineStart(middle) + timeAt) < ofDay) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

std::size_t DayText::fitting(std::size_t first, std::size_t last, std::size_t bytes) const {
    const std::uint64_t limit = std::uint64_t{lineStart(first)} + bytes;
    const std::uint32_t* end = std::upper_bound(m_ends + first, m_ends + last, limit);
    return std::max(static_cast<std::size_t>(end - m_ends), first + 1);
}

DayTextCache::DayTextCache(std::size_t budgetBytes, Clock::duration idle)
    : m_budget(budgetBytes), m_idle(idle) {}

std::size_t DayTextCache::bytes() const {
    const std::lock_guard lock(m_mutex);
    return m_bytes;
}

std::uint64_t DayTextCache::newAnswer() {
    const std::lock_guard lock(m_mutex);
    return ++m_answers;
}

std::shared_ptr<DayText> DayTextCache::find(const std::string& symbol, std::int32_t day,
                                            std::string_view id, std::uint64_t answer) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_days.find(Key(symbol, day, id));
    if (found == m_days.end()) {
        return nullptr;
    }
    found->second.used = Clock::now();
    found->second.answer = answer;
    return found->second.text;
}

bool DayTextCache::askedBefore(const std::string& symbol, std::int32_t day, std::string_view id) {
    const std::lock_guard lock(m_mutex);
    const auto [at, added] = m_asked.insert_or_assign(Key(symbol, day, id), Clock::now());
    return !added;
}

void DayTextCache::keep(const std::string& symbol, std::int32_t day, std::string_view id,
                        std::shared_ptr<DayText> text, std::uint64_t answer) {
    const std::size_t bytes = text->bytes();
    const std::lock_guard lock(m_mutex);
    Key key(symbol, day, id);
    if (bytes > m_budget || m_days.contains(key)) {
        return;
    }
    while (m_bytes + bytes > m_budget) {
        auto oldest = m_days.end();
        for (auto it = m_days.begin(); it != m_days.end(); ++it) {
            if (it->second.answer != answer &&
                (oldest == m_days.end() || it->second.used < oldest->second.used)) {
                oldest = it;
            }
        }
        if (oldest == m_days.end()) {
            return;
        }
        m_bytes -= oldest->second.text->bytes();
        m_days.erase(oldest);
    }
    m_bytes += bytes;
    m_days.emplace(std::move(key), Entry{std::move(text), Clock::now(), answer});
}

void DayTextCache::trim(Clock::time_point now) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_days, [&](const auto& item) {
        if (now - item.second.used < m_idle) {
            return false;
        }
        m_bytes -= item.second.text->bytes();
        return true;
    });
    std::erase_if(m_asked, [&](const auto& item) { return now - item.second >= m_idle; });
}

DayTextSource::DayTextSource(const Market& market, const Instrument& instrument,
                             TickSelection selection, std::string id, Micros now,
                             DayTextCache& cache)
    : m_market(market), m_instrument(instrument), m_selection(selection), m_id(std::move(id)),
      m_now(now), m_cache(cache), m_answer(cache.newAnswer()), m_lines(m_id) {
    if (m_selection.from > m_selection.to || m_selection.limit == 0) {
        return;
    }
    m_firstDay = std::max(DayOf(m_selection.from), m_instrument.firstDay);
    m_lastDay = DayOf(m_selection.to);
    if (m_selection.newestFirst) {
        m_left = m_selection.limit;
        m_day = m_lastDay;
    } else {
        locate();
    }
}

void DayTextSource::locate() {
    // Oldest first, the newest `limit` lines: the days are counted back from the end.
    std::uint64_t counted = 0;
    for (m_day = m_lastDay; m_day >= m_firstDay; --m_day) {
        counted += WindowTicks(m_market, m_instrument, m_selection, m_day);
        if (counted >= m_selection.limit) {
            m_skip = counted - m_selection.limit;
            m_left = m_selection.limit;
            return;
        }
    }
    m_day = m_firstDay;
    m_left = counted;
}

bool DayTextSource::openDay() {
    closeDay();
    const bool newestFirst = m_selection.newestFirst;
    while (newestFirst ? m_day >= m_firstDay : m_day <= m_lastDay) {
        const std::int32_t day = newestFirst ? m_day-- : m_day++;
        const auto w = TradingWindow(m_market, m_instrument, m_selection, day);
        if (!w) {
            continue;
        }
        const bool past = day < DayOf(m_now);
        // A whole past day as kept for other answers; a past day asked for the second time is
        // formatted whole to be kept; anything else just its window.
        m_text = past ? m_cache.find(m_instrument.symbol, day, m_id, m_answer) : nullptr;
        const bool keep = !m_text && past && m_cache.askedBefore(m_instrument.symbol, day, m_id);
        const Micros from = keep ? StartOfDay(day) : w->first;
        std::size_t first = 0;
        std::size_t last = 0;
        if (m_text) {
            first = m_text->lowerBound(w->first);
            last = m_text->lowerBound(w->second + 1);
        } else if (!keep && !newestFirst) {
            m_cursor = m_market.ticks(m_instrument, w->first, w->second);
            m_direct = true;
            m_made = 0;
            last = m_market.countTicks(m_instrument, w->first, w->second);
        } else {
            m_text = DayText::Begin(m_market, m_instrument, m_id, from,
                                    keep ? StartOfDay(day + 1) - 1 : w->second);
            m_textDay = day;
            m_keep = keep;
            // Oldest first the lines are sent as they are made: where the window lies in
            // them is counted. Newest first needs the day's end first.
            if (newestFirst) {
                m_text->finish();
                first = m_text->lowerBound(w->first);
                last = m_text->lowerBound(w->second + 1);
            } else {
                first = from < w->first ? m_market.countTicks(m_instrument, from, w->first - 1) : 0;
                last = first + m_market.countTicks(m_instrument, w->first, w->second);
            }
        }
        if (newestFirst) {
            first = std::max<std::uint64_t>(first, last - std::min<std::uint64_t>(last, m_left));
            m_next = last;
            m_end = first;
        } else {
            const auto skipped = std::min<std::uint64_t>(m_skip, last - first);
            m_skip -= skipped;
            first += skipped;
            last = std::min<std::uint64_t>(last, first + m_left);
            m_next = first;
            m_end = last;
        }
        if (first < last) {
            return true;
        }
        closeDay();
    }
    return false;
}

void DayTextSource::closeDay() {
    if (m_text && m_keep) {
        m_text->finish();
        m_cache.keep(m_instrument.symbol, m_textDay, m_id, m_text, m_answer);
    }
    m_text.reset();
    m_keep = false;
    m_cursor = TickCursor();
    m_direct = false;
    m_next = m_end = 0;
}

std::size_t DayTextSource::writeDirect(LineWriter& out) {
    const Tick* ticks = nullptr;
    std::size_t n = 0;
    while (m_made < m_next) {
        // The oldest lines of the window beyond the limit.
        n = m_cursor.nextInPlace(ticks, m_next - m_made);
        if (n == 0) {
            return 0;
        }
        m_made += n;
    }
    n = m_cursor.nextInPlace(ticks, m_end - m_next);
    m_lines.writeRun(out, {ticks, n}, m_instrument.decimals);
    m_made += n;
    return n;
}

bool DayTextSource::view(std::size_t maxBytes, std::string_view& text, std::uint64_t& lines,
                         std::shared_ptr<const DayText>& keep) {
    if (m_selection.newestFirst || (m_next == m_end && (m_left == 0 || !openDay())) || m_direct ||
        !m_text->whole()) {
        return false;
    }
    const std::size_t last = m_text->fitting(m_next, m_end, maxBytes);
    text = m_text->text(m_next, last);
    lines = last - m_next;
    m_left -= lines;
    m_next = m_left == 0 ? m_end : last;
    keep = m_text;
    return true;
}

SourceStep DayTextSource::fill(LineWriter& out, std::size_t budget, std::uint64_t& lines) {
    lines = 0;
    while (out.size() < budget) {
        if (m_next == m_end && (m_left == 0 || !openDay())) {
            closeDay();
            return lines > 0 ? SourceStep::Item : SourceStep::Done;
        }
        std::size_t count = 0;
        if (m_direct) {
            count = writeDirect(out);
            m_next += count;
        } else if (m_selection.newestFirst) {
            --m_next;
            out.put(m_text->text(m_next, m_next + 1));
            count = 1;
        } else {
            while (m_text->lines() <= m_next && m_text->extend()) {
            }
            if (m_text->lines() > m_next) {
                const std::size_t made = std::min(m_end, m_text->lines());
                const std::size_t last = m_text->fitting(m_next, made, budget - out.size());
                out.put(m_text->text(m_next, last));
                count = last - m_next;
                m_next = last;
            }
        }
        if (count == 0) {
            // Fewer lines than counted: never expected, but the answer ends cleanly.
            m_next = m_end;
            m_left = 0;
            continue;
        }
        lines += count;
        m_left -= count;
        if (m_left == 0) {
            m_next = m_end;
        }
    }
    return SourceStep::Item;
}

} // namespace portico

#pragma once

// Tick answers from the text of whole days. A past day's ticks never change, so the text of its
// lines, once formatted, serves every later answer over that day with the same request id:
// those answers copy lines instead of generating and formatting ticks again. A day's text is
// kept the second time the day is asked for within a while, so that a symbol looked at once
// takes no memory; the cache holds whole past days within a byte budget and lets go of days
// nobody asked for in a while. The day in progress is formatted for each answer and not kept.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <tuple>

#include "line_writer.h"
#include "market/market.h"
#include "tick_lines.h"
#include "tick_source.h"

namespace portico {

// The lines of a day's ticks (or of a window of them), in time order, each with its line end.
// A text is formatted a run of ticks at a time, so that its first lines can be sent while the
// rest is made; once whole it no longer changes.
class DayText {
public:
    DayText() = default;
    ~DayText();
    DayText(const DayText&) = delete;
    DayText& operator=(const DayText&) = delete;

    // The text of the ticks in [from, to] with the request id `id`, nothing formatted yet.
    static std::shared_ptr<DayText> Begin(const Market& market, const Instrument& instrument,
                                          std::string_view id, Micros from, Micros to);
    // Formats the next run of lines; false once the text is whole.
    bool extend();
    void finish() {
        while (extend()) {
        }
    }
    bool whole() const { return m_maker == nullptr; }

    std::size_t lines() const { return m_lines; }
    std::size_t bytes() const { return m_size + m_lines * sizeof(std::uint32_t); }
    // Where line `line` begins; lineStart(lines()) is the end of the text.
    std::uint32_t lineStart(std::size_t line) const { return line == 0 ? 0 : m_ends[line - 1]; }
    std::string_view text(std::size_t first, std::size_t last) const {
        return {m_data + lineStart(first), lineStart(last) - lineStart(first)};
    }
    // The first line whose tick is at `time` or later (lines() when none), for times of the day
    // the text covers.
    std::size_t lowerBound(Micros time) const;
    // The last line from `first` on that ends within `bytes` of where `first` begins, but at
    // least first + 1 (first < last <= lines()).
    std::size_t fitting(std::size_t first, std::size_t last, std::size_t bytes) const;

private:
    struct Maker;
    void grow(std::size_t bytes);

    std::unique_ptr<Maker> m_maker; // while the text is being formatted

    char* m_data = nullptr; // realloc()ed: growing a large text moves no bytes
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
    std::uint32_t* m_ends = nullptr;
    std::size_t m_lines = 0;
    std::size_t m_idBytes = 0;
    Micros m_dayStart = 0;
};

class DayTextCache {
public:
    using Clock = std::chrono::steady_clock;

    // Keeps at most `budgetBytes` of text; a day not asked for in `idle` goes at the next trim.
    explicit DayTextCache(std::size_t budgetBytes, Clock::duration idle = std::chrono::minutes(10));

    std::size_t budget() const { return m_budget; }
    std::size_t bytes() const;
    // A number for each answer, so that an answer never pushes out the days it has just read.
    std::uint64_t newAnswer();

    std::shared_ptr<DayText> find(const std::string& symbol, std::int32_t day, std::string_view id,
                                  std::uint64_t answer);
    // Whether the day was asked for before (and not let go since); notes that it is now.
    bool askedBefore(const std::string& symbol, std::int32_t day, std::string_view id);
    // Keeps `text` for `day` when it fits, pushing out the days least recently asked for, but
    // none that `answer` read: an answer longer than the budget keeps its oldest days rather
    // than pushing out each day it read before the next answer comes back to it.
    void keep(const std::string& symbol, std::int32_t day, std::string_view id,
              std::shared_ptr<DayText> text, std::uint64_t answer);
    // Lets go of the days not asked for since `now - idle`.
    void trim(Clock::time_point now);

private:
    using Key = std::tuple<std::string, std::int32_t, std::string>;
    struct Entry {
        std::shared_ptr<DayText> text; // whole: read only
        Clock::time_point used;
        std::uint64_t answer = 0;
    };

    const std::size_t m_budget;
    const Clock::duration m_idle;
    mutable std::mutex m_mutex;
    std::map<Key, Entry> m_days;
    std::map<Key, Clock::time_point> m_asked;
    std::size_t m_bytes = 0;
    std::uint64_t m_answers = 0;
};

// The data lines of a tick answer in answer order, copied from day texts: the same lines, in
// the same order, as TickSource's ticks formatted one by one.
class DayTextSource {
public:
    DayTextSource(const Market& market, const Instrument& instrument, TickSelection selection,
                  std::string id, Micros now, DayTextCache& cache);

    // Appends whole lines to `out` until it holds `budget` bytes or the answer ends (Done);
    // `lines` counts the lines appended.
    SourceStep fill(LineWriter& out, std::size_t budget, std::uint64_t& lines);
    // Instead of fill(), oldest first: up to `maxBytes` of the next lines (at least one) where
    // they lie in a whole day text, which `keep` holds; false, with nothing taken, when the next
    // lines are not in one.
    bool view(std::size_t maxBytes, std::string_view& text, std::uint64_t& lines,
              std::shared_ptr<const DayText>& keep);

private:
    void locate();
    // Opens the next day with lines in the answer; false when there is none.
    bool openDay();
    // Done with the open day: a whole past day is kept for other answers.
    void closeDay();
    // Writes the next lines of a day formatted straight into the answer; how many.
    std::size_t writeDirect(LineWriter& out);

    const Market& m_market;
    const Instrument& m_instrument;
    TickSelection m_selection;
    std::string m_id;
    Micros m_now;
    DayTextCache& m_cache;
    std::uint64_t m_answer;
    std::int32_t m_firstDay = 0;
    std::int32_t m_lastDay = -1;
    std::int32_t m_day = 0;   // the next day to open
    std::uint64_t m_skip = 0; // oldest first: lines of the first day beyond the limit
    std::uint64_t m_left = 0; // lines still to give
    std::shared_ptr<DayText> m_text;
    std::int32_t m_textDay = 0;
    bool m_keep = false; // m_text is new and whole past day
    // Oldest first, a day not to be kept is formatted straight into the answer from the ticks
    // of its window: lines [0, m_made) are made.
    TickCursor m_cursor;
    bool m_direct = false;
    std::size_t m_made = 0;
    TickLines m_lines;
    std::size_t m_next = 0; // the next line of m_text: counting up, or down from m_end
    std::size_t m_end = 0;  // oldest first, the end of the window; newest first, its start
};

} // namespace portico

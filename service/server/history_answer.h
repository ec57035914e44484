#pragma once

// The answer to one history request, produced a chunk at a time into a LineWriter, each chunk
// after a bounded amount of work; nothing holds more than a slice of the answer:
//   ticks:     <id>,LH,YYYY-MM-DD HH:MM:SS.ffffff,price,size,totalVolume,bid,ask,tickId,basis,
//              marketCenter,conditions,aggressor,dayCode,
//   intervals: <id>,LH,YYYY-MM-DD HH:MM:SS,high,low,open,close,totalVolume,periodVolume,tickCount,
//   days/weeks/months: <id>,LH,YYYY-MM-DD,high,low,open,close,periodVolume,openInterest,
//   errors:    <id>,E,!UNKNOWN_SYMBOL!,   <id>,E,!NO_DATA!,
//   end:       <id>,!ENDMSG!,

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "day_text.h"
#include "interval_source.h"
#include "line_writer.h"
#include "market/market.h"
#include "tick_lines.h"
#include "tick_source.h"

namespace portico {

struct AnswerFaults {
    bool longLine = false;       // a line over 64 KiB before the answer
    int malformedEvery = 0;      // a malformed line after every N data lines
    std::uint64_t lineLimit = 0; // stop (without end marker) after N data lines; 0: none
    // Whether the data lines are counted or interleaved one by one.
    bool perLine() const { return malformedEvery > 0 || lineLimit > 0; }
};

class HistoryAnswer {
public:
    enum class Progress { More, Done, Cut };

    // The most data lines of one answer: a request without a datapoint limit, or with a higher
    // one, gets the newest this many (in the direction asked for).
    static constexpr std::uint64_t kMaxDataLines = 5'000'000;

    // With `days`, a long tick answer without faults is copied from the text of whole days kept
    // there (DayTextSource), which takes a day's work at a time: for answers made on a thread of
    // their own.
    HistoryAnswer(const Market& market, HistoryRequest request, Micros now, AnswerFaults faults,
                  DayTextCache* days = nullptr);
    ~HistoryAnswer();

    // Appends lines until `out` holds at least `budget` bytes, a bounded amount of work has been
    // done (More, possibly with nothing appended) or the answer ends. Done: the end marker has
    // been written; Cut: the line limit was reached.
    Progress fill(LineWriter& out, std::size_t budget);
    // Instead of fill(): up to `maxBytes` of the next lines where they are kept whole in memory
    // (at least one line), which `keep` holds; false, with nothing taken, when the next lines
    // are not kept so.
    bool view(std::size_t maxBytes, std::string_view& text, std::shared_ptr<const void>& keep);
    std::uint64_t dataLines() const { return m_dataLines; }

private:
    // What has to happen before the first data line.
    enum class Stage {
        Indexing,   // a file instrument whose files are being indexed: waiting, a little per step
        RecentDays, // HTD, HID: finding the first of the recent days, a few days per step
        WarmDays,   // day, week and month bars: the day totals, a few hundred days per step
        Ready,
    };

    void start(LineWriter& out);
    void plan(); // the stage that comes first, once the instrument's data can be read
    // One bounded step of the current stage; true once the data can flow.
    bool prepare();
    void makeSource();
    // The day, week or month bars of the request, in answer order; quick once the days are warm.
    std::vector<Bar> periodBars() const;
    std::uint64_t limit() const;
    Progress finish(LineWriter& out, const char* error);
    Progress fillTicks(LineWriter& out, std::size_t budget);
    void writeBar(LineWriter& out, const Bar& bar);
    bool afterDataLine(LineWriter& out); // false when the line limit is reached

    const Market& m_market;
    HistoryRequest m_request;
    Micros m_now;
    AnswerFaults m_faults;
    const Instrument* m_instrument = nullptr;
    bool m_started = false;
    bool m_finished = false;
    Stage m_stage = Stage::Ready;
    std::int32_t m_walkDay = 0; // RecentDays: the next day to look at, walking back
    int m_daysFound = 0;
    Micros m_recentStart = 0;
    std::int32_t m_warmLow = 0;  // WarmDays: the oldest day to warm
    std::int32_t m_warmHigh = 0; // the newest day not yet warm
    DayTextCache* m_days;
    std::unique_ptr<TickSource> m_ticks;
    std::unique_ptr<DayTextSource> m_dayText;
    std::unique_ptr<IntervalSource> m_intervals;
    std::vector<Bar> m_bars; // day, week and month bars: at most one a day of history
    std::size_t m_barIndex = 0;
    std::uint64_t m_dataLines = 0;
    TickLines m_tickLines;
};

} // namespace portico

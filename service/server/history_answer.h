#pragma once

// The answer to one history request, produced a chunk at a time into a LineWriter:
//   ticks:     <id>,LH,YYYY-MM-DD HH:MM:SS.ffffff,price,size,totalVolume,bid,ask,tickId,basis,
//              marketCenter,conditions,aggressor,dayCode,
//   intervals: <id>,LH,YYYY-MM-DD HH:MM:SS,high,low,open,close,totalVolume,periodVolume,tickCount,
//   days/weeks/months: <id>,LH,YYYY-MM-DD,high,low,open,close,periodVolume,openInterest,
//   errors:    <id>,E,!UNKNOWN_SYMBOL!,   <id>,E,!NO_DATA!,
//   end:       <id>,!ENDMSG!,

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "commands.h"
#include "line_writer.h"
#include "market/market.h"
#include "tick_source.h"

namespace portico {

struct AnswerFaults {
    bool longLine = false;       // a line over 64 KiB before the answer
    int malformedEvery = 0;      // a malformed line after every N data lines
    std::uint64_t lineLimit = 0; // stop (without end marker) after N data lines; 0: none
};

class HistoryAnswer {
public:
    enum class Progress { More, Done, Cut };

    HistoryAnswer(const Market& market, HistoryRequest request, Micros now, AnswerFaults faults);
    ~HistoryAnswer();

    // Appends lines until `out` holds at least `budget` bytes or the answer ends. Done: the end
    // marker has been written; Cut: the line limit was reached.
    Progress fill(LineWriter& out, std::size_t budget);
    std::uint64_t dataLines() const { return m_dataLines; }

    // Bars of the request, in answer order; exposed for the answer itself and for tests.
    static std::vector<Bar> SelectBars(const Market& market, const Instrument& instrument,
                                       const HistoryRequest& request, Micros now);

private:
    void start(LineWriter& out);
    void writeTick(LineWriter& out, const Tick& tick);
    void writeBar(LineWriter& out, const Bar& bar);
    bool afterDataLine(LineWriter& out); // false when the line limit is reached

    const Market& m_market;
    HistoryRequest m_request;
    Micros m_now;
    AnswerFaults m_faults;
    const Instrument* m_instrument = nullptr;
    bool m_started = false;
    bool m_finished = false;
    std::unique_ptr<TickSource> m_ticks;
    std::vector<Bar> m_bars;
    std::size_t m_barIndex = 0;
    std::uint64_t m_dataLines = 0;
    // The date part of the last tick's time stamp, reused while the day stays the same.
    std::int32_t m_cachedDay = INT32_MIN;
    Micros m_cachedDayStart = 0;
    char m_dateText[11] = {};
};

} // namespace portico

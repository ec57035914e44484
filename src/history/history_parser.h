#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "history/tick.h"

class CChartHistRequest;

// The character width of price labels from a price text: length - position of the first "."
// + 9 (no point counts as position -1), at least 11.
int PriceTextWidthOf(std::string_view price);

// The price text width of a fundamental line's decimal count (field 31): the count + 10, held at
// the largest int for counts that would pass it.
int PriceTextWidthOfDecimals(int decimals);

// What a line of a history answer was.
struct SHistoryLine {
    enum class EKind {
        Data,  // a record (stored or not) or another line between the records
        Error, // an error reply: field 1 begins with "E"
        End,   // the end marker: exactly two fields, the second containing "!ENDMSG!"
    };
    EKind kind = EKind::Data;
    // Of an error reply: field 2, or field 1 when there is none; a view into the line.
    std::string_view errorText;
};

// Turns history answer lines into records of the series, recognises the error reply and the end
// of the answer, and replays the Level 1 lines that were held while the history loaded.
class CHistoryResponseParser {
public:
    using LiveTradeHandler = std::function<void(const std::string& line)>;
    using LineSink = std::function<void(std::string_view line)>;

    explicit CHistoryResponseParser(CChartHistRequest& history);

    // One received line beginning with "Loo", without its line end: a record is appended, an
    // error reply noted (it adds nothing and leaves the request incomplete), the end marker ends
    // the answer (EndOfAnswer). While the chart is gone nothing is stored and a line holding the
    // end marker anywhere empties the series. Short or malformed lines throw
    // CInvalidArgException; records appended before stay.
    SHistoryLine OnHistoryLine(std::string_view line);
    // A stretch of received text cut into lines (any run of CR and LF ends a line; empty lines
    // are dropped). Record lines of every kind whose request id is the parser's prefix and a
    // digit are parsed here and appended under one lock per batch. Every other line goes, in
    // order, to `passOn` when it is set; without it, other lines beginning with "Loo" go to
    // OnHistoryLine and the rest are dropped. Only complete lines are
    // read: returns the count of bytes up to and including the last line end. A line that throws
    // is lost alone: the others are read and the first failure is thrown at the end. A line
    // longer than `longestLine` ends the reading: neither it nor any line after it is read, and
    // `tooLong` (when given) says so.
    std::size_t OnHistoryText(std::string_view text, const LineSink& passOn = {},
                              std::size_t longestLine = std::string_view::npos,
                              bool* tooLong = nullptr);
    // The end marker arrived: sets the history complete flag and hands every held Level 1 line,
    // oldest first, to the live-trade handler, which tells the trades the answer holds already
    // from the later ones and drops what it cannot read. The handler must not throw.
    void EndOfAnswer();

    // A new request: the held lines are dropped, the error reply and the end marker forgotten.
    void StartAnswer();
    // The text of the last error reply since StartAnswer ("!NO_DATA!"); "" when none.
    const std::string& AnswerError() const { return m_answerError; }
    // True once the end marker arrived since StartAnswer (also when its replay threw, or when
    // the chart was gone).
    bool AnswerEnded() const { return m_answerEnded; }

    // The most Level 1 lines held while one answer loads.
    static constexpr std::size_t kHeldLineLimit = 100'000;

    // Holds a Level 1 update line while the history is loading; false (nothing held) once the
    // history is complete. Past the limit the oldest held line makes room.
    bool HoldLevel1LineWhileLoading(const std::string& line);
    // Held lines that made room for later ones since StartAnswer.
    std::uint64_t HeldLinesDropped() const { return m_heldDropped; }
    void SetHeldLineLimit(std::size_t limit) { m_heldLimit = limit; }
    std::deque<std::string>& HeldLevel1Lines() { return m_held; }
    const std::deque<std::string>& HeldLevel1Lines() const { return m_held; }
    void SetLiveTradeHandler(LiveTradeHandler handler) { m_liveTrade = std::move(handler); }

    // The request id of the records OnHistoryText reads itself is this and the kind digit
    // ("Lookup" unless set).
    void SetIdPrefix(std::string prefix) { m_idPrefix = std::move(prefix); }

    // Fills `tick` from one data line of the given kind (0-2 ticks, 3-5 intervals, 6-9 bars).
    // False when the line is ignored (a tick line under 9 fields or with a dropped basis
    // letter); throws CInvalidArgException for short lines. The record is not appended.
    bool ParseRecord(std::string_view line, std::uint32_t kind, sTICK& tick) const;

private:
    // Records parsed by OnHistoryText that wait for the next append.
    static constexpr std::size_t kBatch = 256;

    CChartHistRequest& m_history;
    std::vector<sTICK> m_batch;
    std::deque<std::string> m_held;
    std::size_t m_heldLimit = kHeldLineLimit;
    std::uint64_t m_heldDropped = 0;
    LiveTradeHandler m_liveTrade;
    std::string m_idPrefix = "Lookup";
    std::string m_answerError;
    bool m_answerEnded = false;
};

#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

class CChartHistRequest;
struct sTICK;

// The character width of price labels from a price text: length - position of the first "."
// + 9 (no point counts as position -1), at least 11.
int PriceTextWidthOf(std::string_view price);

// Sets the price text width from a fundamental ('F') Level 1 line: field 30 with the exchange
// format on, field 31 + 10 with it off. A line too short for the field throws
// CInvalidArgException and leaves the width as it was.
void ApplyFundamentalPriceWidth(CChartHistRequest& history, std::string_view fundamentalLine,
                                bool exchangeFormat);
// The price text width of a fundamental line's decimal count (field 31): the count + 10, held at
// the largest int for counts that would pass it.
int PriceTextWidthOfDecimals(int decimals);

// Whether a history line is an error reply (field 1 begins with "E"); `errorText` then gets
// field 2 (or field 1 when there is none). Looks at the line in place, without splitting it.
bool IsHistoryErrorReply(std::string_view line, std::string_view* errorText = nullptr);
// Whether a history line is the end marker that completes an answer: exactly two fields, the
// second containing "!ENDMSG!".
bool IsHistoryEndMarker(std::string_view line);

// Turns history answer lines into records of the series, recognises the end of the answer and
// replays the Level 1 lines that were held while the history loaded.
class CHistoryResponseParser {
public:
    using LiveTradeHandler = std::function<void(const std::string& line)>;

    explicit CHistoryResponseParser(CChartHistRequest& history);

    // One received line beginning with "Loo", without its line end. Short or malformed lines
    // throw CInvalidArgException; records appended before stay.
    void OnHistoryLine(std::string_view line);
    // The end marker arrived: sets the history complete flag and replays the held Level 1 lines
    // whose total volume (field 2) is beyond the last record's volume to the live-trade
    // handler. A held line with fewer than 3 fields throws and stops the replay.
    void EndOfAnswer();

    // Holds a Level 1 update line while the history is loading; false (nothing held) once the
    // history is complete.
    bool HoldLevel1LineWhileLoading(const std::string& line);
    std::deque<std::string>& HeldLevel1Lines() { return m_held; }
    const std::deque<std::string>& HeldLevel1Lines() const { return m_held; }
    void SetLiveTradeHandler(LiveTradeHandler handler) { m_liveTrade = std::move(handler); }

    // Fills `tick` from one data line of the given kind (0-2 ticks, 3-5 intervals, 6-9 bars).
    // False when the line is ignored (a tick line under 9 fields or with a dropped basis
    // letter); throws CInvalidArgException for short lines. The record is not appended.
    bool ParseRecord(std::string_view line, std::uint32_t kind, sTICK& tick) const;

private:
    CChartHistRequest& m_history;
    std::deque<std::string> m_held;
    LiveTradeHandler m_liveTrade;
};

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

// What the 250 ms progress timer asks of the chart view.
class IHistoryProgressView {
public:
    virtual ~IHistoryProgressView() = default;
    // The scroll bar's range 0 ... maximum and its position.
    virtual void SetScrollRange(int maximum) = 0;
    virtual void SetScrollPosition(int position) = 0;
    // The highest position the scroll bar can take, and whether it is there.
    virtual int ScrollLimit() const = 0;
    virtual bool IsScrollAtLimit() const = 0;
    // Recomputes the price chart and every study pane over the whole series, clears the
    // points-deleted flag and shows the newest points; returns the count the price chart holds.
    virtual int RecomputeAndShowNewest() = 0;
    // Appends `count` new points to the panes.
    virtual void AppendNewPoints(int count) = 0;
    // The number of points the view shows at once.
    virtual int DisplayedPointCount() const = 0;
    // Status bar pane 45030.
    virtual void SetStatusText(const std::string& text) = 0;
};

// The loading-progress and live-follow decisions, made every 250 ms.
class CHistoryProgress {
public:
    static constexpr int kTimerId = 1029;
    static constexpr int kPeriodMs = 250;
    static constexpr int kStatusPaneId = 45030;

    // A symbol was loaded: the next completed tick recomputes everything.
    void StartNewLoad() { m_newLoad = true; }
    bool IsNewLoad() const { return m_newLoad; }
    int ShownCount() const { return m_shownCount; }
    void SetShownCount(int count) { m_shownCount = count; }

    // One timer tick. `dataType` is "RequestDataType".
    void OnTimer(const CChartHistRequest& history, int dataType, IHistoryProgressView& view);

    // "Retrieving Tick Data (%d Ticks Received)" and its kin; empty outside 0-4.
    static std::string RetrievalText(int dataType, int count);
    // "%d datapoints available.  Displaying %d."
    static std::string DatapointsText(int count, int displayed);

private:
    bool m_newLoad = false;
    int m_shownCount = 0;
};

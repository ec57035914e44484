// The history line handler of the chart (CHistoryResponseParser) over answers of every request
// kind. Input: one configuration byte, then up to 256 lines cut at '\n'.
//   bit 0  extended trades accepted        bit 4  the price text width is already set
//   bit 1  the chart view is gone          bit 5  unused
//   bit 2  a date range is active          bits 6-7  growth step of the series: 1, 3, 64, 1024
//   bit 3  with time-of-day filters
// Lines starting with 'Q' or 'P' are held as Level 1 updates while the history loads, every other
// line goes to the history line handler, which must tell error replies and the end marker from
// data as a plain split of the line does; each line is also parsed as a record of each of the ten
// kinds. Only CInvalidArgException may come out of the parser; the series must only ever hold
// records with a valid time inside the active range.

#include "fuzz_support.h"

#include "base/error.h"
#include "base/fields.h"
#include "history/chart_hist_request.h"
#include "history/history_parser.h"
#include "history/tick.h"

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

namespace {

using skychart::fuzz::Check;

constexpr std::size_t kMaxLines = 256;
constexpr std::size_t kGrowthSteps[] = {1, 3, 64, 1024};

SHistoryParameters RangeParameters(bool filters) {
    SHistoryParameters params;
    params.beginDate = 20261119;
    params.beginTime = 93000;
    params.endDate = 20261120;
    params.endTime = 160000;
    if (filters) {
        params.beginFilterTime = 100000;
        params.endFilterTime = 153000;
    }
    return params;
}

void CheckSeries(const CChartHistRequest& history, bool rangeActive) {
    const CDateTime begin = CDateTime::FromFields(2026, 11, 19, 9, 30, 0);
    const CDateTime end = CDateTime::FromFields(2026, 11, 20, 16, 0, 0);
    for (int i = 0; i < history.GetCount(); ++i) {
        sTICK tick;
        Check(history.GetTick(i, tick), "a record within the count can be read");
        Check(tick.time.IsValid(), "only records with a valid time are kept");
        if (rangeActive) {
            Check(!(tick.time < begin) && !(end < tick.time), "records stay inside the range");
        }
    }
}

// Every kind's reading of a line: a tick keeps one price in high, low and close.
void ParseAsEveryKind(const CHistoryResponseParser& parser, std::string_view line) {
    for (std::uint32_t kind = 0; kind < 10; ++kind) {
        sTICK tick;
        try {
            if (parser.ParseRecord(line, kind, tick) && kind <= 2) {
                Check(tick.high == tick.low || (tick.high != tick.high && tick.low != tick.low),
                      "a tick's price is its high and low", line);
            }
        } catch (const CInvalidArgException&) {
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::InputCursor input(data, size);
    const std::uint8_t config = input.Byte();
    const bool chartAlive = (config & 2) == 0;
    const bool rangeActive = (config & 4) != 0;

    CChartHistRequest history;
    history.SetGrowthStep(kGrowthSteps[config >> 6]);
    history.SetExtendedTradesAccepted((config & 1) != 0);
    history.SetChartAlive(chartAlive);
    if (rangeActive) {
        history.SetParameters(RangeParameters((config & 8) != 0));
    }
    if ((config & 16) != 0) {
        history.SetPriceTextWidth(12);
    }
    CHistoryResponseParser parser(history);
    std::vector<std::string> replayed;
    parser.SetLiveTradeHandler([&](const std::string& line) { replayed.push_back(line); });

    for (const std::string_view line : skychart::fuzz::SplitAtNewlines(input.Rest(), kMaxLines)) {
        const std::string text(line);
        ParseAsEveryKind(parser, line);
        if (!line.empty() && (line[0] == 'Q' || line[0] == 'P')) {
            parser.HoldLevel1LineWhileLoading(text);
            continue;
        }
        const int before = history.GetCount();
        const std::vector<std::string_view> fields = SplitFields(line);
        const bool errorReply = fields.size() >= 2 && fields[1].starts_with('E');
        const bool endMarker =
            fields.size() == 2 && fields[1].find("!ENDMSG!") != std::string_view::npos;
        const bool ended = parser.AnswerEnded();
        try {
            const SHistoryLine answer = parser.OnHistoryLine(line);
            Check(answer.kind == (errorReply  ? SHistoryLine::EKind::Error
                                  : endMarker ? SHistoryLine::EKind::End
                                              : SHistoryLine::EKind::Data),
                  "the line is told an error reply, the end marker or data", line);
            Check(!errorReply || parser.AnswerError() == answer.errorText,
                  "the error reply's text is kept", line);
        } catch (const CInvalidArgException&) {
        }
        Check(parser.AnswerEnded() == (ended || (endMarker && !errorReply)),
              "only the end marker ends the answer", line);
        const int after = history.GetCount();
        if (!chartAlive && line.find("!ENDMSG!") != std::string_view::npos && !errorReply) {
            Check(after == 0, "an end marker after the chart is gone clears the series", line);
        } else {
            Check(after == before || (after == before + 1 && chartAlive && !errorReply),
                  "one line adds at most one record", line);
        }
        if (chartAlive && endMarker && !errorReply) {
            Check(history.IsHistoryComplete(), "the end marker completes the history", line);
        }
    }

    // Whatever is still held is replayed, every line of it in order, and nothing stays held.
    const std::deque<std::string> held = parser.HeldLevel1Lines();
    replayed.clear();
    parser.EndOfAnswer();
    Check(parser.HeldLevel1Lines().empty(), "the replay empties the held lines");
    Check(std::equal(held.begin(), held.end(), replayed.begin(), replayed.end()),
          "every held line is replayed in order");
    CheckSeries(history, rangeActive);
    return 0;
}

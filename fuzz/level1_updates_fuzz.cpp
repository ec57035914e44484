// The Level 1 live updater (CLevel1Updater) after a history answer. Input: three bytes, then up
// to 256 lines cut at '\n'.
//   byte 0  the request kind, modulo 10
//   byte 1  bit 0 extended trades, bit 1 exchange format, bit 2 history still loading,
//           bit 3 time-of-day filters, bit 4 a date range, bit 5 open end date (-1)
//   byte 2  the interval, one of kIntervals
// Lines starting with "Lookup" go to the history line handler (the answer of the request for
// LUMA); every other line goes to the updater, which must never throw, must count exactly the
// lines it applied, may only touch the series for LUMA, and must keep every record's time valid.

#include "fuzz_support.h"

#include "base/error.h"
#include "base/fields.h"
#include "history/chart_hist_request.h"
#include "history/history_parser.h"
#include "history/live_updater.h"
#include "history/tick.h"

#include <string>
#include <vector>

namespace {

using skychart::fuzz::Check;

constexpr std::size_t kMaxLines = 256;
constexpr int kIntervals[] = {60, 300, 900, 3600, 7200, 86400, 1, 0, -60, 120, 600, 1800, 2700};

SHistoryParameters Parameters(std::uint8_t kind, std::uint8_t flags, std::uint8_t interval) {
    SHistoryParameters params;
    params.symbol = "LUMA";
    params.requestKind = kind % 10U;
    params.interval = kIntervals[interval % std::size(kIntervals)];
    params.dataDirection = "1";
    if ((flags & 8) != 0) {
        params.beginFilterTime = 93000;
        params.endFilterTime = 160000;
    }
    if ((flags & 16) != 0) {
        params.beginDate = 20261119;
        params.beginTime = 0;
        params.endDate = 20261120;
        params.endTime = 235959;
    }
    if ((flags & 32) != 0) {
        params.endDate = -1;
    }
    return params;
}

bool SameRecord(const sTICK& a, const sTICK& b) {
    return a.time == b.time && a.microseconds == b.microseconds && a.size == b.size &&
           a.volume == b.volume && a.tickId == b.tickId &&
           (a.close == b.close || (a.close != a.close && b.close != b.close)) &&
           (a.high == b.high || (a.high != a.high && b.high != b.high));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::InputCursor input(data, size);
    const std::uint8_t kind = input.Byte();
    const std::uint8_t flags = input.Byte();
    const std::uint8_t interval = input.Byte();

    CChartHistRequest history;
    history.SetGrowthStep(64);
    history.SetParameters(Parameters(kind, flags, interval));
    history.SetExtendedTradesAccepted((flags & 1) != 0);
    CHistoryResponseParser parser(history);
    CLevel1Updater updater(history);
    updater.SetExchangeFormat((flags & 2) != 0);
    const bool loading = (flags & 4) != 0;
    history.SetHistoryComplete(!loading);

    std::uint64_t applied = 0;
    for (const std::string_view view : skychart::fuzz::SplitAtNewlines(input.Rest(), kMaxLines)) {
        const std::string line(view);
        if (line.starts_with("Lookup")) {
            try {
                parser.OnHistoryLine(line);
            } catch (const CInvalidArgException&) {
            }
            history.SetHistoryComplete(!loading);
            continue;
        }
        const int before = history.GetCount();
        sTICK newestBefore;
        const bool hadNewest = history.GetTick(history.GetLastIndex(), newestBefore);
        const bool changed = updater.Apply(line);
        applied += changed ? 1 : 0;
        Check(updater.AppliedTradeLines() == applied, "applied lines are counted", line);
        const int after = history.GetCount();
        Check(after == before || after == before + 1, "a line adds at most one point", line);
        const auto fields = SplitFields(line);
        if (fields.size() < 2 || fields[1] != "LUMA" || line[0] == 'F' || loading) {
            sTICK newestAfter;
            Check(!changed && after == before &&
                      (!hadNewest || (history.GetTick(history.GetLastIndex(), newestAfter) &&
                                      SameRecord(newestBefore, newestAfter))),
                  "only trades of the loaded symbol after the history change the series", line);
        }
    }
    for (int i = 0; i < history.GetCount(); ++i) {
        sTICK tick;
        Check(history.GetTick(i, tick) && tick.time.IsValid(), "every point has a valid time");
    }
    return 0;
}

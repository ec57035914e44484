// The stored trendline file, Skychart.trendlines.json, as CTrendStore reads it. Input: the file's
// bytes. Beyond not crashing: a refused text says why, a read text is written out as a store that
// reads back equal and whose text is stable, and a point time that parses is written the way it
// reads back.

#include "fuzz_support.h"
#include "quiet_logs.h"

#include "history/point_time.h"
#include "trend/trend_store.h"

#include <string>

namespace {

using skychart::fuzz::Check;

// The input taken whole as a point time, as "time" holds one.
void CheckPointTime(std::string_view text) {
    const std::optional<SPointTime> time = ParsePointTime(text);
    if (!time) {
        return;
    }
    Check(time->microseconds >= 0 && time->microseconds <= 999'999, "microseconds in range");
    for (const bool micro : {false, true}) {
        const std::string written = FormatPointTime(*time, micro);
        const std::optional<SPointTime> again = ParsePointTime(written);
        Check(again && again->time == time->time, "a written time reads back", written);
        Check(again->microseconds == (micro ? time->microseconds : 0),
              "microseconds are written only when asked", written);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::QuietLogs();
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CheckPointTime(text);

    std::string error;
    const std::optional<CTrendStore> store = CTrendStore::Read(text, error);
    if (!store) {
        Check(!error.empty(), "a refused text says why");
        return 0;
    }
    Check(error.empty(), "a read text has no error", error);
    const std::string written = store->Write();
    const std::optional<CTrendStore> again = CTrendStore::Read(written, error);
    Check(again.has_value(), "a written store reads back", error);
    Check(*again == *store, "a written store reads back equal", written);
    Check(again->Write() == written, "the written text is stable", written);
    for (const auto& [chart, records] : store->Charts()) {
        Check(!records.empty(), "a chart in the store has trendlines", chart.symbol);
        for (const STrendRecord& record : records) {
            Check(record.points.size() ==
                      static_cast<std::size_t>(TrendKindInfo(record.kind).clicks),
                  "a trendline has its kind's points", chart.symbol);
        }
    }
    return 0;
}

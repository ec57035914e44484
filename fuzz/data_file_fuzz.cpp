// A trader's data file held in memory: the first byte picks daily, minute or tick rows, the rest
// is the file. It is indexed (header detection, row parsing and checks, blocks and day totals),
// then read back through a cursor, which must give exactly the rows the index counted, in time
// order, with the TickIDs, day volumes and day totals the index holds. Indexed in two halves at
// once, it must give the same totals and bad rows. Each line read in one pass must give what its
// fields read one by one give.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datafiles/row_reader.h"
#include "datafiles/series_file.h"
#include "datafiles/series_index.h"
#include "datafiles/text_fields.h"

using namespace portico;
using namespace portico::files;

namespace {
void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto kind = static_cast<SeriesKind>(data[0] % 3);
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    auto index = std::make_shared<SeriesIndex>();
    index->kind = kind;
    std::vector<std::pair<std::uint64_t, RowFault>> reported;
    auto source = ByteSource::Memory(text);
    IndexMore(*index, *source, (data[0] & 4) != 0, [&](std::uint64_t line, RowFault fault) {
        Check(line >= 2 && line <= index->lines && fault != RowFault::None);
        reported.emplace_back(line, fault);
    });
    Check(reported.size() == index->badRows);
    Check(index->end <= text.size());
    // Read in two halves at once (cut at the middle line, however small the text), the same.
    auto halves = std::make_shared<SeriesIndex>();
    halves->kind = kind;
    std::vector<std::pair<std::uint64_t, RowFault>> reportedInHalves;
    auto secondSource = ByteSource::Memory(text);
    IndexFile(
        *halves, *ByteSource::Memory(text), secondSource.get(), text.size(), (data[0] & 4) != 0,
        [&](std::uint64_t line, RowFault fault) { reportedInHalves.emplace_back(line, fault); }, 0);
    Check(halves->refusal == index->refusal && halves->rows == index->rows &&
          halves->badRows == index->badRows && halves->lines == index->lines &&
          halves->end == index->end && halves->lastTime == index->lastTime &&
          halves->decimals == index->decimals && halves->days.size() == index->days.size());
    // All of them, or those of the first half and the first kHeldReports of the second.
    Check(reportedInHalves.size() <= reported.size() &&
          reportedInHalves.size() >= std::min(reported.size(), kHeldReports) &&
          std::equal(reportedInHalves.begin(), reportedInHalves.end(), reported.begin()));
    for (std::size_t d = 0; d < index->days.size(); ++d) {
        const DayTotal& a = index->days[d];
        const DayTotal& b = halves->days[d];
        Check(a.day == b.day && a.rows == b.rows && a.open == b.open && a.high == b.high &&
              a.low == b.low && a.close == b.close && a.volume == b.volume &&
              a.openInterest == b.openInterest && a.last == b.last);
        Check(halves->blocks[b.firstBlock].day == b.day);
    }
    if (!index->refusal.empty()) {
        return 0;
    }
    // Every line read in one pass gives what splitting it and reading its fields gives, with a
    // previous time that lets each through, one that equals it and one after it.
    RowReader reader(index->layout);
    std::string scratch;
    std::string_view fields[64];
    for (std::string_view rest = index->headerRead ? text : std::string_view(); !rest.empty();) {
        const std::size_t cut = std::min(rest.find('\n'), rest.size());
        const std::string_view record = rest.substr(0, cut);
        rest.remove_prefix(std::min(cut + 1, rest.size()));
        const std::size_t count =
            std::min<std::size_t>(SplitRecord(record, fields, 64, scratch), 64);
        for (const Micros previous : {INT64_MIN, index->lastTime, INT64_MAX}) {
            Row quick;
            Row split;
            const RowFault fault = reader.read(record, previous, quick);
            Check(fault == ParseRow(index->layout, fields, count, previous, split));
            Check(fault != RowFault::None ||
                  (quick.time == split.time && quick.open == split.open &&
                   quick.high == split.high && quick.low == split.low &&
                   quick.close == split.close && quick.volume == split.volume &&
                   quick.bid == split.bid && quick.ask == split.ask &&
                   quick.openInterest == split.openInterest && quick.decimals == split.decimals));
        }
    }
    SeriesFile file;
    file.kind = kind;
    file.index = index;
    file.readFrom(ByteSource::Memory(text));
    RowCursor cursor(file, INT64_MIN, INT64_MAX);
    FileRow row;
    std::uint64_t rows = 0;
    Micros previous = INT64_MIN;
    std::size_t day = 0;
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::uint32_t inDay = 0;
    while (cursor.next(row)) {
        Check(row.ordinal == rows);
        Check(row.row.time >= previous);
        Check(row.row.low <= row.row.high && row.row.decimals <= index->decimals);
        if (previous != INT64_MIN && DayOf(row.row.time) != DayOf(previous)) {
            const DayTotal& total = index->days[day];
            Check(total.rows == inDay && total.high == high && total.low == low);
            ++day;
            inDay = 0;
        }
        Check(day < index->days.size() && index->days[day].day == DayOf(row.row.time));
        high = inDay == 0 ? row.row.high : std::max(high, row.row.high);
        low = inDay == 0 ? row.row.low : std::min(low, row.row.low);
        Check(row.tickId == inDay);
        ++inDay;
        if (inDay == index->days[day].rows) {
            Check(row.dayVolume == index->days[day].volume);
            Check(row.row.close == index->days[day].close);
        }
        previous = row.row.time;
        ++rows;
    }
    Check(rows == index->rows);
    Check(rows == 0 || day + 1 == index->days.size());
    // The blocks of the halves lead to the same rows, TickIDs and day volumes.
    SeriesFile second;
    second.kind = kind;
    second.index = halves;
    second.readFrom(ByteSource::Memory(text));
    RowCursor again(file, INT64_MIN, INT64_MAX);
    RowCursor fromHalves(second, INT64_MIN, INT64_MAX);
    FileRow other;
    while (again.next(row)) {
        Check(fromHalves.next(other) && other.row.time == row.row.time &&
              other.row.close == row.row.close && other.tickId == row.tickId &&
              other.dayVolume == row.dayVolume && other.ordinal == row.ordinal);
    }
    Check(!fromHalves.next(other));
    return 0;
}

#include "datafiles/series_index.h"

#include <algorithm>

#include "datafiles/text_fields.h"

namespace portico::files {

namespace {
constexpr std::size_t kMaxFields = 64;
} // namespace

std::size_t SeriesIndex::blockAtOrAfter(Micros time) const {
    return static_cast<std::size_t>(
        std::partition_point(blocks.begin(), blocks.end(),
                             [time](const Block& b) { return b.last < time; }) -
        blocks.begin());
}

const DayTotal* SeriesIndex::dayTotal(std::int32_t day) const {
    const auto found = std::partition_point(days.begin(), days.end(),
                                            [day](const DayTotal& d) { return d.day < day; });
    return found != days.end() && found->day == day ? &*found : nullptr;
}

void IndexMore(SeriesIndex& index, ByteSource& source, bool takeUnterminated,
               const BadRowReport& report) {
    if (!index.refusal.empty()) {
        return;
    }
    LineReader reader(source, index.end);
    std::string_view fields[kMaxFields];
    std::string scratch;
    LineReader::Line line;
    Row row;
    while (reader.next(line)) {
        if (!line.terminated && !takeUnterminated) {
            break;
        }
        ++index.lines;
        index.end = line.end;
        index.endsUnterminated = !line.terminated;
        if (!index.headerRead) {
            if (line.text.empty() && !line.tooLong) {
                continue; // blank lines before the header
            }
            const std::size_t count = SplitRecord(line.text, fields, kMaxFields, scratch);
            std::string reason;
            const auto layout =
                DetectLayout(index.kind, fields, std::min(count, kMaxFields), reason);
            if (!layout) {
                index.refusal = reason;
                return;
            }
            index.layout = *layout;
            index.headerRead = true;
            continue;
        }
        if (line.text.empty() && !line.tooLong) {
            continue; // a blank line holds no row
        }
        const std::size_t count =
            line.tooLong ? 0 : SplitRecord(line.text, fields, kMaxFields, scratch);
        const RowFault fault =
            ParseRow(index.layout, fields, std::min(count, kMaxFields), index.lastTime, row);
        if (fault != RowFault::None) {
            ++index.badRows;
            if (report) {
                report(index.lines, fault);
            }
            continue;
        }
        const std::int32_t day = DayOf(row.time);
        const bool newDay = index.days.empty() || index.days.back().day != day;
        if (newDay) {
            DayTotal total;
            total.day = day;
            total.firstBlock = static_cast<std::uint32_t>(index.blocks.size());
            total.open = row.open;
            total.high = row.high;
            total.low = row.low;
            index.days.push_back(total);
        }
        DayTotal& total = index.days.back();
        if (newDay || index.blocks.back().rows == kBlockRows) {
            Block block;
            block.offset = line.offset;
            block.first = row.time;
            block.day = day;
            block.rowsBefore = total.rows;
            block.volumeBefore = total.volume;
            block.ordinal = index.rows;
            index.blocks.push_back(block);
        }
        Block& block = index.blocks.back();
        block.last = row.time;
        ++block.rows;
        total.high = std::max(total.high, row.high);
        total.low = std::min(total.low, row.low);
        total.close = row.close;
        total.volume += row.volume;
        total.openInterest = row.openInterest;
        total.last = row.time;
        ++total.rows;
        ++index.rows;
        index.lastTime = row.time;
        index.decimals = std::max(index.decimals, row.decimals);
    }
    index.readFailed = reader.failed();
}

} // namespace portico::files

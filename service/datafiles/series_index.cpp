#include "datafiles/series_index.h"

#include <algorithm>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#include "datafiles/row_reader.h"
#include "datafiles/text_fields.h"

namespace portico::files {

namespace {

constexpr std::size_t kMaxFields = 64;

// The offset of the first line that begins after `middle`; 0 when none does within reach.
std::uint64_t LineAfter(ByteSource& source, std::uint64_t middle, std::uint64_t size) {
    std::vector<char> bytes(LineReader::kMaxLine);
    const std::int64_t n = source.read(middle, bytes.data(), bytes.size());
    const void* newline =
        n > 0 ? std::memchr(bytes.data(), '\n', static_cast<std::size_t>(n)) : nullptr;
    if (newline == nullptr) {
        return 0;
    }
    const auto cut =
        middle + static_cast<std::uint64_t>(static_cast<const char*>(newline) - bytes.data()) + 1;
    return cut < size ? cut : 0;
}

// Adds `second`, the index of the lines after the end of `index`, to `index`. The second half
// must begin where `index` ends, with its first row no earlier than the last one of `index`.
void Join(SeriesIndex& index, const SeriesIndex& second,
          const std::vector<std::pair<std::uint64_t, RowFault>>& held, const BadRowReport& report) {
    const auto blockBase = static_cast<std::uint32_t>(index.blocks.size());
    // The day the cut falls in, when both halves hold rows of it.
    const bool joins = !index.days.empty() && !second.days.empty() &&
                       index.days.back().day == second.days.front().day;
    if (joins) {
        const DayTotal& before = index.days.back();
        for (Block block : second.blocks) {
            if (block.day != before.day) {
                break;
            }
            block.rowsBefore += before.rows;
            block.volumeBefore += before.volume;
            block.ordinal += index.rows;
            index.blocks.push_back(block);
        }
    }
    for (std::size_t b = index.blocks.size() - blockBase; b < second.blocks.size(); ++b) {
        Block block = second.blocks[b];
        block.ordinal += index.rows;
        index.blocks.push_back(block);
    }
    for (std::size_t d = 0; d < second.days.size(); ++d) {
        DayTotal total = second.days[d];
        if (joins && d == 0) {
            DayTotal& into = index.days.back();
            into.rows += total.rows;
            into.high = std::max(into.high, total.high);
            into.low = std::min(into.low, total.low);
            into.close = total.close;
            into.volume += total.volume;
            into.openInterest = total.openInterest;
            into.last = total.last;
            continue;
        }
        total.firstBlock += blockBase;
        index.days.push_back(total);
    }
    for (const auto& [line, fault] : held) {
        ++index.badRows;
        if (report) {
            report(index.lines + line, fault);
        }
    }
    index.badRows += second.badRows - held.size();
    index.rows += second.rows;
    index.lines += second.lines;
    index.end = second.end;
    index.endsUnterminated = second.endsUnterminated;
    index.lastTime = second.rows > 0 ? second.lastTime : index.lastTime;
    index.decimals = std::max(index.decimals, second.decimals);
    index.readFailed = second.readFailed;
}

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
               const BadRowReport& report, std::uint64_t stop) {
    if (!index.refusal.empty()) {
        return;
    }
    LineReader reader(source, index.end);
    std::string_view fields[kMaxFields];
    std::string scratch;
    LineReader::Line line;
    Row row;
    RowReader rows;
    if (index.headerRead) {
        rows.reset(index.layout);
    }
    while (reader.next(line) && line.offset < stop) {
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
            rows.reset(index.layout);
            continue;
        }
        if (line.text.empty() && !line.tooLong) {
            continue; // a blank line holds no row
        }
        // A line too long to read has no fields.
        const RowFault fault =
            line.tooLong ? RowFault::Short : rows.read(line.text, index.lastTime, row);
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

void IndexFile(SeriesIndex& index, ByteSource& source, ByteSource* other, std::uint64_t size,
               bool takeUnterminated, const BadRowReport& report, std::uint64_t splitBytes) {
    const std::uint64_t cut =
        other != nullptr && size >= splitBytes ? LineAfter(source, size / 2, size) : 0;
    if (cut > 0) {
        // The header first (the second half reads its rows by it), when it is the first line.
        IndexMore(index, source, takeUnterminated, report, 1);
    }
    if (cut == 0 || !index.headerRead || index.end > cut) {
        IndexMore(index, source, takeUnterminated, report);
        return;
    }
    SeriesIndex second;
    second.kind = index.kind;
    second.layout = index.layout;
    second.headerRead = true;
    second.end = cut;
    std::vector<std::pair<std::uint64_t, RowFault>> held;
    std::thread worker;
    try {
        worker = std::thread([&] {
            IndexMore(second, *other, takeUnterminated, [&](std::uint64_t line, RowFault fault) {
                if (held.size() < kHeldReports) {
                    held.emplace_back(line, fault);
                }
            });
        });
    } catch (const std::system_error&) {
        IndexMore(index, source, takeUnterminated, report); // no thread to be had: in one go
        return;
    }
    IndexMore(index, source, takeUnterminated, report, cut);
    worker.join();
    if (index.readFailed) {
        return;
    }
    // The rows of the second half were checked against each other only: its first row must not
    // go back from the last of the first half (nor repeat its time, but for ticks), or the rows
    // after the cut are read again after the first half, as one reading of the file would.
    const bool ticks = index.kind == SeriesKind::Ticks;
    const Micros first = second.rows > 0 ? second.blocks.front().first : INT64_MAX;
    const bool follows = first > index.lastTime || (ticks && first == index.lastTime);
    if (index.end != cut || !follows) {
        IndexMore(index, source, takeUnterminated, report);
        return;
    }
    Join(index, second, held, report);
}

} // namespace portico::files

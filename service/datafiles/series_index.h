#pragma once

// The index of one data file: for every block of up to kBlockRows rows of one day, where it
// begins in the file and what came before it in its day, and for every day its totals. It never
// holds the rows; answers read them from the file at a block's offset.

#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "datafiles/byte_source.h"
#include "datafiles/layout.h"

namespace portico::files {

inline constexpr std::uint32_t kBlockRows = 1024;

struct Block {
    std::uint64_t offset = 0; // of its first row in the (uncompressed) text
    Micros first = 0;         // time of its first and last row
    Micros last = 0;
    std::int32_t day = 0;
    std::uint32_t rows = 0;
    std::uint32_t rowsBefore = 0;  // rows of its day before it: its first row's TickID
    std::int64_t volumeBefore = 0; // volume of its day before it
    std::uint64_t ordinal = 0;     // rows of the file before it
};

struct DayTotal {
    std::int32_t day = 0;
    std::uint32_t firstBlock = 0;
    std::uint32_t rows = 0;
    std::int64_t open = 0; // at kPriceScale
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::int64_t close = 0;
    std::int64_t volume = 0;
    std::uint32_t openInterest = 0; // of its last row
    Micros last = 0;                // time of its last row
};

// Where a row of a file was refused, for the log.
using BadRowReport = std::function<void(std::uint64_t line, RowFault fault)>;

struct SeriesIndex {
    SeriesKind kind = SeriesKind::Daily;
    Layout layout;
    bool headerRead = false;
    std::string refusal; // why the file is refused whole; empty when it is not
    std::vector<Block> blocks;
    std::vector<DayTotal> days;
    int decimals = 0;
    std::uint64_t rows = 0;
    std::uint64_t badRows = 0;
    std::uint64_t end = 0;   // offset after the last line taken
    std::uint64_t lines = 0; // lines taken, the header included
    Micros lastTime = INT64_MIN;
    bool endsUnterminated = false; // the last line taken had no line end
    bool readFailed = false;
    // The file as it was when indexed, to notice a change.
    std::uint64_t fileSize = 0;
    std::int64_t modified = 0; // nanoseconds
    std::string tail;          // plain files: the bytes just before `end` (up to 64)

    // The block holding the first row at or after `time` (blocks.size() when none).
    std::size_t blockAtOrAfter(Micros time) const;
    // The day totals of `day`, or null.
    const DayTotal* dayTotal(std::int32_t day) const;
};

// Takes the lines of `source` from `index.end` on into the index: the header first, then every
// good row. A last line without a line end is taken only with `takeUnterminated`; lines that begin
// at or after `stop` are left.
void IndexMore(SeriesIndex& index, ByteSource& source, bool takeUnterminated,
               const BadRowReport& report, std::uint64_t stop = UINT64_MAX);

// Files of at least this many bytes are indexed in two halves at once.
inline constexpr std::uint64_t kSplitBytes = 1 << 20;
// The bad rows of a second half reported one by one; the count covers all of them.
inline constexpr std::size_t kHeldReports = 1024;

// Indexes a file of `size` bytes into a fresh index, as IndexMore does. When `other` (a second
// source of the same bytes) is given and the file holds at least `splitBytes`, the part after the
// line nearest its middle is indexed at the same time on another thread, reading `other`, and
// joined on: the index, the rows refused and the reports are the ones IndexMore makes alone.
void IndexFile(SeriesIndex& index, ByteSource& source, ByteSource* other, std::uint64_t size,
               bool takeUnterminated, const BadRowReport& report,
               std::uint64_t splitBytes = kSplitBytes);

} // namespace portico::files

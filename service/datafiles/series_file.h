#pragma once

// One data file of an instrument: where it is, its index (replaced whole when the file is
// indexed again, extended in place when rows are appended), and the reader that answers take
// its rows from, shared by every cursor over the file.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "datafiles/byte_source.h"
#include "datafiles/row_reader.h"
#include "datafiles/series_index.h"

namespace portico::files {

struct SeriesFile {
    std::string path;
    std::string name; // the file name, for the log
    SeriesKind kind = SeriesKind::Daily;
    bool gzip = false;
    std::shared_ptr<SeriesIndex> index; // null until first indexed

    // The reader at `offset`; null when the file cannot be opened.
    LineReader* readerAt(std::uint64_t offset);
    // Forgets the open file (it was replaced).
    void closeReader();
    // Reads from `source` instead of the file at `path` (text held in memory).
    void readFrom(std::unique_ptr<ByteSource> source);
    // The text it reads when that is held in memory; empty otherwise.
    std::string_view held() const { return m_source ? m_source->held() : std::string_view(); }

private:
    std::unique_ptr<ByteSource> m_source;
    std::unique_ptr<LineReader> m_reader;
};

// A row of a file with what its day holds up to it.
struct FileRow {
    Row row;
    std::uint32_t tickId = 0;   // its position in its day
    std::int64_t dayVolume = 0; // its day's volume, its own included
    std::uint64_t ordinal = 0;  // its position in the file
};

// The good rows of a file with from <= time <= to (or from the row `ordinal` on), oldest first.
// A time range over several blocks of a file that is not compressed is read ahead: another
// thread reads and checks its rows, a bounded number of blocks ahead of the caller, over what
// the index held when the cursor was made.
class RowCursor {
public:
    RowCursor(SeriesFile& file, Micros from, Micros to);
    RowCursor(SeriesFile& file, std::uint64_t ordinal);
    ~RowCursor();
    RowCursor(RowCursor&&) noexcept;

    bool next(FileRow& out);
    // The next row, valid until the next call; null past the last.
    const FileRow* next();

private:
    struct Ahead;
    RowCursor(SeriesFile& file, Micros from, Micros to, bool readAhead);
    bool enterBlock();       // the block m_block; false past the range
    bool read(FileRow& out); // the next row of a cursor that does not read ahead
    std::unique_ptr<Ahead> m_ahead;
    SeriesFile& m_file;
    std::shared_ptr<const SeriesIndex> m_index;
    Micros m_from = 0;
    Micros m_to = 0;
    std::uint64_t m_fromOrdinal = 0;
    std::size_t m_block = 0;
    std::uint32_t m_left = 0; // rows of the block still to read
    std::uint64_t m_position = 0;
    Micros m_previous = INT64_MIN;
    FileRow m_row;
    FileRow m_out;
    bool m_done = false;
    RowReader m_rows;
    bool m_readerSet = false;
};

} // namespace portico::files

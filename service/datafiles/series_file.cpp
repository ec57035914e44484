#include "datafiles/series_file.h"

#include <algorithm>

#include "datafiles/text_fields.h"

namespace portico::files {

LineReader* SeriesFile::readerAt(std::uint64_t offset) {
    if (!m_reader) {
        std::string error;
        m_source = ByteSource::Open(path, gzip, error);
        if (!m_source) {
            return nullptr;
        }
        m_reader = std::make_unique<LineReader>(*m_source, offset);
    }
    m_reader->seek(offset);
    return m_reader.get();
}

void SeriesFile::readFrom(std::unique_ptr<ByteSource> source) {
    m_source = std::move(source);
    m_reader = std::make_unique<LineReader>(*m_source);
}

void SeriesFile::closeReader() {
    m_reader.reset();
    m_source.reset();
}

RowCursor::RowCursor(SeriesFile& file, Micros from, Micros to)
    : m_file(file), m_index(file.index), m_from(from), m_to(to) {
    if (!m_index || to < from) {
        m_done = true;
        return;
    }
    m_block = m_index->blockAtOrAfter(from);
    m_done = !enterBlock();
}

RowCursor::RowCursor(SeriesFile& file, std::uint64_t ordinal)
    : m_file(file), m_index(file.index), m_from(INT64_MIN), m_to(INT64_MAX),
      m_fromOrdinal(ordinal) {
    if (!m_index || ordinal >= m_index->rows) {
        m_done = true;
        return;
    }
    const auto& blocks = m_index->blocks;
    const auto after = std::partition_point(blocks.begin(), blocks.end(),
                                            [&](const Block& b) { return b.ordinal <= ordinal; });
    m_block = static_cast<std::size_t>(after - blocks.begin()) - 1;
    m_done = !enterBlock();
}

bool RowCursor::enterBlock() {
    if (m_block >= m_index->blocks.size()) {
        return false;
    }
    const Block& b = m_index->blocks[m_block];
    if (b.first > m_to) {
        return false;
    }
    m_left = b.rows;
    m_position = b.offset;
    m_previous = INT64_MIN;
    m_row.tickId = b.rowsBefore;
    m_row.dayVolume = b.volumeBefore;
    m_row.ordinal = b.ordinal;
    return true;
}

bool RowCursor::next(FileRow& out) {
    constexpr std::size_t kMaxFields = std::size(decltype(m_fields){});
    std::string_view* const fields = m_fields;
    LineReader::Line line;
    while (!m_done) {
        if (m_left == 0) {
            ++m_block;
            if (!enterBlock()) {
                break;
            }
        }
        LineReader* reader = m_file.readerAt(m_position);
        if (reader == nullptr || !reader->next(line) || line.offset >= m_index->end) {
            break;
        }
        m_position = line.end;
        if (line.tooLong || line.text.empty()) {
            continue;
        }
        const std::size_t count = SplitRecord(line.text, fields, kMaxFields, m_scratch);
        if (ParseRow(m_index->layout, fields, std::min(count, kMaxFields), m_previous, m_row.row) !=
            RowFault::None) {
            continue;
        }
        --m_left;
        m_previous = m_row.row.time;
        m_row.dayVolume += m_row.row.volume;
        const bool wanted = m_row.row.time >= m_from && m_row.ordinal >= m_fromOrdinal;
        if (m_row.row.time > m_to) {
            break;
        }
        if (wanted) {
            out = m_row;
        }
        ++m_row.tickId;
        ++m_row.ordinal;
        if (wanted) {
            return true;
        }
    }
    m_done = true;
    return false;
}

} // namespace portico::files

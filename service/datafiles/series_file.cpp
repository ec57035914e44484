#include "datafiles/series_file.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

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

namespace {
// Reading ahead: ranges of at least this many blocks, this many rows to a batch, at most this
// many batches waiting.
constexpr std::size_t kAheadBlocks = 4;
constexpr std::size_t kBatchRows = 2048;
constexpr std::size_t kBatches = 4;
} // namespace

// The rows of a range read by a worker into batches: its own cursor over a copy of the blocks of
// the range, reading the file through its own reader.
struct RowCursor::Ahead {
    struct Batch {
        std::vector<FileRow> rows = std::vector<FileRow>(kBatchRows);
        std::size_t count = 0;
    };
    SeriesFile file;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Batch> ready; // read, not yet taken
    std::vector<Batch> spare;
    bool stop = false;
    bool done = false; // the worker read the last batch
    Batch taken;       // the caller's
    std::size_t position = 0;
    std::thread worker;

    Ahead(const SeriesFile& of, const SeriesIndex& index, std::size_t first, std::size_t end,
          Micros from, Micros to) {
        auto copy = std::make_shared<SeriesIndex>();
        copy->kind = index.kind;
        copy->layout = index.layout;
        copy->headerRead = true;
        copy->rows = index.rows;
        copy->end = index.end;
        copy->blocks.assign(index.blocks.begin() + static_cast<std::ptrdiff_t>(first),
                            index.blocks.begin() + static_cast<std::ptrdiff_t>(end));
        file.path = of.path;
        file.kind = of.kind;
        file.index = std::move(copy);
        if (!of.held().empty()) {
            file.readFrom(ByteSource::Memory(of.held()));
        }
        worker = std::thread([this, from, to] { read(from, to); });
    }

    ~Ahead() {
        {
            std::lock_guard lock(mutex);
            stop = true;
        }
        changed.notify_all();
        worker.join();
    }

    void read(Micros from, Micros to) {
        RowCursor rows(file, from, to, false);
        Batch filling;
        bool more = true;
        while (more) {
            filling.count = 0;
            while (filling.count < kBatchRows && (more = rows.next(filling.rows[filling.count]))) {
                ++filling.count;
            }
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return stop || ready.size() < kBatches; });
            if (stop) {
                return;
            }
            ready.push_back(std::move(filling));
            done = !more;
            if (spare.empty()) {
                filling = Batch();
            } else {
                filling = std::move(spare.back());
                spare.pop_back();
            }
            changed.notify_all();
        }
    }

    const FileRow* next() {
        if (position < taken.count) {
            return &taken.rows[position++];
        }
        std::unique_lock lock(mutex);
        while (true) {
            if (!taken.rows.empty()) {
                spare.push_back(std::move(taken));
            }
            changed.wait(lock, [&] { return done || !ready.empty(); });
            if (ready.empty()) {
                taken = Batch{{}, 0};
                return nullptr;
            }
            taken = std::move(ready.front());
            ready.pop_front();
            changed.notify_all();
            if (taken.count > 0) {
                position = 1;
                return &taken.rows[0];
            }
        }
    }
};

RowCursor::RowCursor(SeriesFile& file, Micros from, Micros to) : RowCursor(file, from, to, true) {}

RowCursor::RowCursor(SeriesFile& file, Micros from, Micros to, bool readAhead)
    : m_file(file), m_index(file.index), m_from(from), m_to(to) {
    if (!m_index || to < from) {
        m_done = true;
        return;
    }
    m_block = m_index->blockAtOrAfter(from);
    const auto& blocks = m_index->blocks;
    const auto end = static_cast<std::size_t>(
        std::partition_point(blocks.begin() + static_cast<std::ptrdiff_t>(m_block), blocks.end(),
                             [to](const Block& b) { return b.first <= to; }) -
        blocks.begin());
    if (readAhead && !file.gzip && end - m_block >= kAheadBlocks) {
        try {
            m_ahead = std::make_unique<Ahead>(file, *m_index, m_block, end, from, to);
            return;
        } catch (const std::system_error&) {
            // No thread to be had: the rows are read as they are asked for.
        }
    }
    m_done = !enterBlock();
}

RowCursor::~RowCursor() = default;
RowCursor::RowCursor(RowCursor&&) noexcept = default;

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
    if (!m_readerSet) {
        m_rows.reset(m_index->layout);
        m_readerSet = true;
    }
    return true;
}

bool RowCursor::next(FileRow& out) {
    if (m_ahead) {
        const FileRow* row = m_done ? nullptr : m_ahead->next();
        m_done = row == nullptr;
        if (row != nullptr) {
            out = *row;
        }
        return row != nullptr;
    }
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
        if (m_rows.read(line.text, m_previous, m_row.row) != RowFault::None) {
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

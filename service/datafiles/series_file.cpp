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
// Reading ahead: ranges of at least this many blocks, read by this many workers, each taking
// every other chunk of this many blocks (one batch of rows), with at most this many batches
// waiting.
constexpr std::size_t kAheadBlocks = 4;
constexpr std::size_t kWorkers = 2;
constexpr std::size_t kChunkBlocks = 2;
constexpr std::size_t kBatchRows = kChunkBlocks * kBlockRows;
constexpr std::size_t kBatches = 4;
} // namespace

// The rows of a range read by workers into batches, one batch for each chunk of blocks: worker k
// reads chunks k, k + kWorkers, ..., each through a cursor of its own over a copy of the chunk's
// blocks, reading the file through its own reader; the caller takes the batches in chunk order.
struct RowCursor::Ahead {
    struct Batch {
        std::vector<FileRow> rows = std::vector<FileRow>(kBatchRows);
        std::size_t count = 0;
    };
    struct Worker {
        SeriesFile file;
        std::deque<Batch> ready; // read, not yet taken
        std::thread thread;
    };
    SeriesIndex range; // the blocks of the range, copied: an index grows in place
    std::size_t chunks = 0;
    Worker workers[kWorkers];
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Batch> spare;
    bool stop = false;
    std::size_t chunk = 0; // the next one the caller takes
    Batch taken;           // the caller's
    std::size_t position = 0;

    Ahead(const SeriesFile& of, const SeriesIndex& index, std::size_t first, std::size_t end,
          Micros from, Micros to)
        : chunks((end - first + kChunkBlocks - 1) / kChunkBlocks) {
        range.kind = index.kind;
        range.layout = index.layout;
        range.headerRead = true;
        range.rows = index.rows;
        range.end = index.end;
        range.blocks.assign(index.blocks.begin() + static_cast<std::ptrdiff_t>(first),
                            index.blocks.begin() + static_cast<std::ptrdiff_t>(end));
        try {
            for (std::size_t k = 0; k < kWorkers; ++k) {
                Worker& worker = workers[k];
                worker.file.path = of.path;
                worker.file.kind = of.kind;
                if (!of.held().empty()) {
                    worker.file.readFrom(ByteSource::Memory(of.held()));
                }
                worker.thread = std::thread([this, k, from, to] { read(k, from, to); });
            }
        } catch (const std::system_error&) {
            finish();
            throw;
        }
    }

    ~Ahead() { finish(); }

    void finish() {
        {
            std::lock_guard lock(mutex);
            stop = true;
        }
        changed.notify_all();
        for (Worker& worker : workers) {
            if (worker.thread.joinable()) {
                worker.thread.join();
            }
        }
    }

    void read(std::size_t k, Micros from, Micros to) {
        Worker& worker = workers[k];
        Batch filling;
        for (std::size_t c = k; c < chunks; c += kWorkers) {
            auto blocks = std::make_shared<SeriesIndex>();
            blocks->kind = range.kind;
            blocks->layout = range.layout;
            blocks->headerRead = true;
            blocks->rows = range.rows;
            blocks->end = range.end;
            const auto at = range.blocks.begin();
            blocks->blocks.assign(at + static_cast<std::ptrdiff_t>(c * kChunkBlocks),
                                  at + static_cast<std::ptrdiff_t>(
                                           std::min((c + 1) * kChunkBlocks, range.blocks.size())));
            worker.file.index = std::move(blocks);
            RowCursor rows(worker.file, from, to, false);
            filling.count = 0;
            while (filling.count < kBatchRows && rows.next(filling.rows[filling.count])) {
                ++filling.count;
            }
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return stop || worker.ready.size() < kBatches; });
            if (stop) {
                return;
            }
            worker.ready.push_back(std::move(filling));
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
                taken = Batch{{}, 0};
            }
            if (chunk == chunks) {
                return nullptr;
            }
            std::deque<Batch>& ready = workers[chunk % kWorkers].ready;
            changed.wait(lock, [&] { return !ready.empty(); });
            taken = std::move(ready.front());
            ready.pop_front();
            ++chunk;
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

const FileRow* RowCursor::next() {
    if (m_ahead) {
        const FileRow* row = m_done ? nullptr : m_ahead->next();
        m_done = row == nullptr;
        return row;
    }
    return read(m_out) ? &m_out : nullptr;
}

bool RowCursor::next(FileRow& out) {
    if (m_ahead) {
        const FileRow* row = next();
        if (row != nullptr) {
            out = *row;
        }
        return row != nullptr;
    }
    return read(out);
}

bool RowCursor::read(FileRow& out) {
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

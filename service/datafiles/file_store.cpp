// Listing the folder, indexing its files in the worker, and noticing files that changed.

#include "datafiles/file_store.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "datafiles/text_fields.h"

namespace portico::files {

namespace {

// A last line without a line end counts once the file has been left alone this long: until then
// it may be a row still being written.
constexpr std::int64_t kSettledNanos = 2'000'000'000;
// Bad rows named one by one in the log, per file and indexing; the count covers all of them.
constexpr std::uint64_t kReportedBadRows = 1000;
static_assert(kReportedBadRows < kHeldReports);

struct FileState {
    bool exists = false;
    std::uint64_t size = 0;
    std::int64_t modified = 0;
};

FileState StateOf(const std::string& path) {
    struct stat st = {};
    if (::stat(path.c_str(), &st) != 0) {
        return {};
    }
    return {true, static_cast<std::uint64_t>(st.st_size),
            static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec};
}

std::int64_t WallNanos() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::string Upper(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return out;
}

// Protocol fields hold no commas or line ends.
std::string FieldText(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        c = c == ',' || c == '\r' || c == '\n' ? ' ' : c;
    }
    return out;
}

} // namespace

FileStore::FileStore(const std::string& folder, LogSink log) : m_log(std::move(log)) {
    scan(folder);
    readDescriptions(folder);
    m_decimals.assign(m_listing.size(), 2);
    m_firstDays.assign(m_listing.size(), 0);
    m_busy = m_entries.size();
    for (Entry& entry : m_entries) {
        entry.queued = true;
        m_queue.push_back(&entry);
    }
    m_log("indexing " + std::to_string(m_entries.size()) + " data files of " +
          std::to_string(m_listing.size()) + " instruments in " + folder);
    m_worker = std::thread([this] { work(); });
}

FileStore::~FileStore() {
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_worker.join();
}

void FileStore::scan(const std::string& folder) {
    std::map<std::string, std::vector<std::filesystem::path>> found;
    std::error_code error;
    for (const auto& item : std::filesystem::directory_iterator(folder, error)) {
        const std::string name = item.path().filename().string();
        std::string lower = NormalName(name);
        const bool gzip = lower.ends_with(".gz");
        if (gzip) {
            lower.resize(lower.size() - 3);
        }
        for (const SeriesKind kind : {SeriesKind::Daily, SeriesKind::Minute, SeriesKind::Ticks}) {
            const std::string suffix = std::string(".") + KindName(kind) + ".csv";
            if (!lower.ends_with(suffix) || !item.is_regular_file(error)) {
                continue;
            }
            const std::string symbol =
                Upper(name.substr(0, name.size() - suffix.size() - (gzip ? 3 : 0)));
            if (symbol.empty() || symbol.find_first_of(", \t\"") != std::string::npos) {
                m_log("data file " + name + " passed over: a symbol holds no blanks or commas");
                continue;
            }
            found[symbol].push_back(item.path());
        }
    }
    for (const auto& [symbol, paths] : found) {
        Holding holding;
        for (const auto& path : paths) {
            const std::string name = path.filename().string();
            std::string lower = NormalName(name);
            const bool gzip = lower.ends_with(".gz");
            const SeriesKind kind = lower.find(".daily.") != std::string::npos ? SeriesKind::Daily
                                    : lower.find(".minute.") != std::string::npos
                                        ? SeriesKind::Minute
                                        : SeriesKind::Ticks;
            const auto slot = static_cast<std::size_t>(kind);
            if (holding.series[slot] != nullptr) {
                m_log("data file " + name + " passed over: " + holding.series[slot]->file.name +
                      " holds the same rows");
                continue;
            }
            Entry& entry = m_entries.emplace_back();
            entry.file.path = path.string();
            entry.file.name = name;
            entry.file.kind = kind;
            entry.file.gzip = gzip;
            holding.series[slot] = &entry;
        }
        m_listing.push_back({symbol, symbol, "", ""});
        m_holdings.push_back(holding);
    }
}

void FileStore::readDescriptions(const std::string& folder) {
    std::map<std::string, std::size_t> bySymbol;
    for (std::size_t i = 0; i < m_listing.size(); ++i) {
        bySymbol[m_listing[i].symbol] = i;
    }
    const auto describe = [&](std::string_view symbol, std::string_view description,
                              std::string_view market, std::string_view type) {
        const auto found = bySymbol.find(Upper(symbol));
        if (found == bySymbol.end()) {
            return;
        }
        FileListing& listing = m_listing[found->second];
        if (!description.empty()) {
            listing.description = FieldText(description);
        }
        listing.market = Upper(FieldText(market));
        listing.securityType = Upper(FieldText(type));
    };
    std::ifstream table(folder + "/instruments.csv");
    std::string line;
    std::string scratch;
    std::string_view fields[8];
    int columns[4] = {-1, -1, -1, -1};
    bool header = true;
    while (std::getline(table, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const std::size_t count = std::min<std::size_t>(SplitRecord(line, fields, 8, scratch), 8);
        if (header) {
            static constexpr const char* kNames[] = {"symbol", "description", "market",
                                                     "securitytype"};
            for (std::size_t f = 0; f < count; ++f) {
                for (int c = 0; c < 4; ++c) {
                    columns[c] =
                        NormalName(fields[f]) == kNames[c] ? static_cast<int>(f) : columns[c];
                }
            }
            header = false;
            if (columns[0] < 0) {
                m_log("instruments.csv passed over: no column Symbol");
                break;
            }
            continue;
        }
        const auto field = [&](int c) {
            return columns[c] >= 0 && static_cast<std::size_t>(columns[c]) < count
                       ? fields[columns[c]]
                       : std::string_view();
        };
        describe(field(0), field(1), field(2), field(3));
    }
    for (const FileListing& listing : std::vector<FileListing>(m_listing)) {
        std::ifstream file(folder + "/" + listing.symbol + ".json");
        if (!file) {
            continue;
        }
        try {
            const auto json = nlohmann::json::parse(file);
            describe(listing.symbol, json.value("description", std::string()),
                     json.value("market", std::string()),
                     json.value("securityType", std::string()));
        } catch (const std::exception& e) {
            m_log(listing.symbol + ".json passed over: " + e.what());
        }
    }
}

void FileStore::work() {
    const auto started = std::chrono::steady_clock::now();
    bool reportedAll = false;
    std::uint64_t rows = 0;
    std::uint64_t bad = 0;
    std::size_t files = 0;
    std::unique_lock lock(m_mutex);
    while (true) {
        m_wake.wait(lock, [&] { return m_stop || !m_queue.empty(); });
        if (m_stop) {
            return;
        }
        Entry* entry = m_queue.front();
        m_queue.pop_front();
        lock.unlock();
        auto index = build(*entry);
        rows += index->rows;
        bad += index->badRows;
        ++files;
        lock.lock();
        entry->built = std::move(index);
        --m_busy;
        if (m_busy == 0 && !reportedAll) {
            reportedAll = true;
            const auto seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
            char took[32];
            std::snprintf(took, sizeof(took), "%.2f", seconds);
            m_log("data files indexed: " + std::to_string(files) + " files, " +
                  std::to_string(rows) + " rows, " + std::to_string(bad) + " bad rows in " + took +
                  " s");
        }
        m_built.notify_all();
    }
}

std::shared_ptr<SeriesIndex> FileStore::build(const Entry& entry) {
    const SeriesFile& file = entry.file;
    auto index = std::make_shared<SeriesIndex>();
    index->kind = file.kind;
    const FileState state = StateOf(file.path);
    index->fileSize = state.size;
    index->modified = state.modified;
    std::string error;
    auto source = ByteSource::Open(file.path, file.gzip, error);
    if (!source) {
        index->refusal = "cannot be read: " + error;
        m_log("data file " + file.name + " refused: " + index->refusal);
        return index;
    }
    const BadRowReport report = [&](std::uint64_t line, RowFault fault) {
        if (index->badRows <= kReportedBadRows) {
            m_log("data file " + file.name + " line " + std::to_string(line) +
                  " skipped: " + FaultText(fault));
        }
    };
    // A plain file is read from two places at once by a second source; a compressed one is
    // read once, from its start.
    auto other =
        file.gzip || state.size < kSplitBytes ? nullptr : ByteSource::Open(file.path, false, error);
    IndexFile(*index, *source, other.get(), state.size,
              WallNanos() - state.modified >= kSettledNanos, report);
    if (!index->headerRead && index->refusal.empty()) {
        index->refusal = "no header row";
    }
    if (index->readFailed) {
        index->refusal = "read error";
    }
    if (!index->refusal.empty()) {
        m_log("data file " + file.name + " refused: " + index->refusal);
        return index;
    }
    if (!file.gzip) {
        const std::uint64_t start = index->end > 64 ? index->end - 64 : 0;
        index->tail.resize(static_cast<std::size_t>(index->end - start));
        const std::int64_t n = source->read(start, index->tail.data(), index->tail.size());
        index->tail.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    }
    m_log("indexed " + file.name + ": " + std::to_string(index->rows) + " rows over " +
          std::to_string(index->days.size()) + " days, " + std::to_string(index->badRows) +
          " bad rows");
    return index;
}

void FileStore::append(Entry& entry, std::uint64_t size, std::int64_t modified) {
    SeriesIndex& index = *entry.file.index;
    std::string error;
    auto source = ByteSource::Open(entry.file.path, false, error);
    if (!source) {
        return;
    }
    const std::uint64_t before = index.badRows;
    IndexMore(index, *source, false, [&](std::uint64_t line, RowFault fault) {
        m_log("data file " + entry.file.name + " line " + std::to_string(line) +
              " skipped: " + FaultText(fault));
    });
    if (index.badRows != before) {
        m_log("data file " + entry.file.name + ": " + std::to_string(index.badRows) +
              " bad rows in all");
    }
    index.fileSize = size;
    index.modified = modified;
    const std::uint64_t start = index.end > 64 ? index.end - 64 : 0;
    index.tail.resize(static_cast<std::size_t>(index.end - start));
    const std::int64_t n = source->read(start, index.tail.data(), index.tail.size());
    index.tail.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
}

bool FileStore::settle(std::size_t i) {
    bool current = true;
    bool& changed = m_holdings[i].replanned;
    int decimals = 0;
    std::int32_t firstDay = INT32_MAX;
    for (Entry* entry : m_holdings[i].series) {
        if (entry == nullptr) {
            continue;
        }
        {
            std::lock_guard lock(m_mutex);
            if (entry->built) {
                entry->file.index = std::move(entry->built);
                entry->file.closeReader();
                entry->queued = false;
                changed = true;
            }
            if (entry->queued) {
                current = false;
                continue;
            }
        }
        SeriesIndex& index = *entry->file.index;
        const FileState state = StateOf(entry->file.path);
        if (state.size != index.fileSize || state.modified != index.modified) {
            bool grew = !entry->file.gzip && state.size > index.fileSize &&
                        !index.endsUnterminated && index.refusal.empty();
            if (grew) {
                std::string tail(index.tail.size(), '\0');
                std::string error;
                auto source = ByteSource::Open(entry->file.path, false, error);
                grew = source &&
                       source->read(index.end - tail.size(), tail.data(), tail.size()) ==
                           static_cast<std::int64_t>(tail.size()) &&
                       tail == index.tail;
            }
            if (grew) {
                append(*entry, state.size, state.modified);
                changed = true;
            } else {
                std::lock_guard lock(m_mutex);
                entry->queued = true;
                ++m_busy;
                m_queue.push_back(entry);
                m_wake.notify_one();
                current = false;
                continue;
            }
        }
        if (index.rows > 0) {
            decimals = std::max(decimals, index.decimals);
            firstDay = std::min(firstDay, index.days.front().day);
        }
    }
    if (current && changed) {
        planDays(i);
        changed = false;
    }
    if (current) {
        m_decimals[i] = decimals;
        m_firstDays[i] = firstDay == INT32_MAX ? 0 : firstDay;
    }
    return current;
}

bool FileStore::ready(std::size_t i, std::chrono::milliseconds wait) {
    if (settle(i)) {
        return true;
    }
    {
        std::unique_lock lock(m_mutex);
        m_built.wait_for(lock, wait, [&] {
            for (const Entry* entry : m_holdings[i].series) {
                if (entry != nullptr && entry->queued && !entry->built) {
                    return false;
                }
            }
            return true;
        });
    }
    return settle(i);
}

void FileStore::awaitReady(std::size_t i) {
    while (!ready(i, std::chrono::hours(1))) {
    }
}

bool FileStore::allIndexed() const {
    std::lock_guard lock(m_mutex);
    return m_busy == 0;
}

int FileStore::decimals(std::size_t i) const {
    return m_decimals[i];
}

std::int32_t FileStore::firstDay(std::size_t i) const {
    return m_firstDays[i];
}

} // namespace portico::files

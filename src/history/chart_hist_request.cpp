#include "history/chart_hist_request.h"

#include "base/error.h"
#include "base/fields.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <new>
#include <string>
#include <system_error>
#include <utility>

namespace {

// Records per storage block: the first blocks small, so that a short series stays small, then
// doubling up to a size that a long history needs few of and whose unused tail (never written,
// so never resident) is still a small share of it.
constexpr std::size_t kFirstBlockRecords = 16384;
constexpr std::size_t kBlockDoublings = 4;

// Records in the block at `position` in the series' list of blocks.
constexpr std::size_t BlockRecords(std::size_t position) {
    return kFirstBlockRecords << std::min(position, kBlockDoublings);
}

// Hands [data, data + bytes) to `prefault` in pieces that end on kPrefaultPiece boundaries of
// the address (so a piece never splits a large page), until done or asked to stop.
void PrefaultInPieces(const CHistoryRequestBase::MemoryAdvice& prefault, std::byte* data,
                      std::size_t bytes, const std::stop_token& stop) {
    constexpr std::uintptr_t kPiece = CHistoryRequestBase::kPrefaultPiece;
    std::byte* const end = data + bytes;
    for (std::byte* at = data; at < end && !stop.stop_requested();) {
        const auto address = reinterpret_cast<std::uintptr_t>(at);
        const auto toBoundary =
            static_cast<std::size_t>(((address + kPiece) & ~(kPiece - 1)) - address);
        const std::size_t piece = std::min(toBoundary, static_cast<std::size_t>(end - at));
        prefault(at, piece);
        at += piece;
    }
}

// A time stamp from a yyyymmdd date and an hhmmss time; invalid when they are no calendar time.
CDateTime RangePoint(std::int32_t date, std::int32_t time) {
    return CDateTime::FromFields(date / 10000, (date % 10000) / 100, date % 100, time / 10000,
                                 (time % 10000) / 100, time % 100);
}

} // namespace

// ---- CHistoryRequestBase ----------------------------------------------------------------------

CHistoryRequestBase::CHistoryRequestBase() = default;

CHistoryRequestBase::~CHistoryRequestBase() {
    ClearSeries();
}

void CHistoryRequestBase::Clear() {
    ClearSeries();
}

void CHistoryRequestBase::ClearSeries() {
    for (std::size_t i = 0; i < m_count; ++i) {
        Slot(i)->~sTICK();
    }
    for (sTICK* erased : m_erased) {
        erased->~sTICK();
    }
    m_erased.clear();
    DropNextBlock();
    for (auto& chunk : m_index) {
        m_spareIndex.push_back(std::move(chunk));
    }
    m_index.clear();
    m_index.shrink_to_fit();
    // Kept where the series before left none at that place (a shorter one).
    m_spare.resize(std::max(m_spare.size(), m_blocks.size()));
    for (std::size_t at = 0; at < m_blocks.size(); ++at) {
        m_blocks[at].used = 0;
        m_spare[at] = std::move(m_blocks[at]);
    }
    m_blocks.clear();
    m_blocks.shrink_to_fit();
    m_count = 0;
    m_capacity = 0;
    m_growthStep = kDefaultGrowthStep;
}

void CHistoryRequestBase::FreeSpareBlocks() {
    m_spare.clear();
    m_spare.shrink_to_fit();
    m_spareIndex.clear();
    m_spareIndex.shrink_to_fit();
}

void CHistoryRequestBase::Erase(std::size_t index) {
    m_erased.push_back(Slot(index));
    for (std::size_t i = index; i + 1 < m_count; ++i) {
        Slot(i) = Slot(i + 1);
    }
    --m_count;
}

std::size_t CHistoryRequestBase::SeriesBytes() const {
    std::size_t bytes = (m_index.capacity() + m_spareIndex.capacity()) * sizeof(m_index[0]) +
                        (m_index.size() + m_spareIndex.size()) * kIndexChunk * sizeof(sTICK*) +
                        m_erased.capacity() * sizeof(sTICK*);
    for (const SBlock& block : m_blocks) {
        bytes += block.capacity * sizeof(sTICK);
    }
    for (const SBlock& block : m_spare) {
        bytes += block.capacity * sizeof(sTICK);
    }
    bytes += m_next.capacity * sizeof(sTICK);
    return bytes + (m_blocks.capacity() + m_spare.capacity()) * sizeof(SBlock);
}

CHistoryRequestBase::SBlock CHistoryRequestBase::NewBlock(std::size_t capacity) const {
    SBlock block;
    block.capacity = capacity;
    const std::size_t bytes = capacity * sizeof(sTICK);
    // operator new[] of std::byte gives storage aligned for any fundamental type.
    static_assert(alignof(sTICK) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    block.bytes.reset(new std::byte[bytes]);
    if (m_advice && bytes >= kAdvisedBytes) {
        m_advice(block.bytes.get(), bytes);
    }
    return block;
}

void CHistoryRequestBase::PrepareNextBlock() {
    try {
        m_next = NewBlock(BlockRecords(m_blocks.size()));
    } catch (const std::bad_alloc&) {
        // Short of memory the next block is left to be allocated when it is needed.
        return;
    }
    try {
        m_prefaulter =
            std::jthread([prefault = m_prefault, data = m_next.bytes.get(),
                          bytes = m_next.capacity * sizeof(sTICK)](const std::stop_token& stop) {
                PrefaultInPieces(prefault, data, bytes, stop);
            });
    } catch (const std::system_error&) {
        // Without a thread the block is still ready to use; its pages fault in as it fills.
    } catch (const std::bad_alloc&) {
    }
}

CHistoryRequestBase::SBlock CHistoryRequestBase::TakeNextBlock() {
    if (m_prefaulter.joinable()) {
        m_prefaulter.join();
    }
    return std::exchange(m_next, SBlock{});
}

void CHistoryRequestBase::DropNextBlock() {
    if (m_prefaulter.joinable()) {
        m_prefaulter.request_stop();
        m_prefaulter.join();
    }
    m_next = SBlock{};
}

sTICK* CHistoryRequestBase::AllocateRecord() {
    if (m_blocks.empty() || m_blocks.back().used == m_blocks.back().capacity) {
        const std::size_t at = m_blocks.size();
        SBlock block = at < m_spare.size() ? std::move(m_spare[at]) : SBlock{};
        if (!block.bytes) {
            block = TakeNextBlock();
        }
        if (!block.bytes) {
            block = NewBlock(BlockRecords(at));
        }
        const bool large = block.capacity * sizeof(sTICK) >= kAdvisedBytes;
        m_blocks.push_back(std::move(block));
        // The block after comes ahead only when the series before left none there.
        const bool spareNext = at + 1 < m_spare.size() && m_spare[at + 1].bytes;
        if (m_prefault && large && !spareNext && !m_next.bytes) {
            PrepareNextBlock();
        }
    }
    SBlock& block = m_blocks.back();
    std::byte* place = block.bytes.get() + block.used * sizeof(sTICK);
    ++block.used;
    return std::launder(reinterpret_cast<sTICK*>(place));
}

void CHistoryRequestBase::PushBack(const sTICK& tick) {
    if (m_count == m_capacity) {
        m_capacity += m_growthStep;
    }
    if ((m_count >> kIndexShift) == m_index.size()) {
        if (m_spareIndex.empty()) {
            m_index.push_back(std::make_unique_for_overwrite<sTICK*[]>(kIndexChunk));
        } else {
            m_index.push_back(std::move(m_spareIndex.back()));
            m_spareIndex.pop_back();
        }
    }
    sTICK* place = AllocateRecord();
    try {
        Slot(m_count) = new (place) sTICK(tick);
    } catch (...) {
        --m_blocks.back().used;
        throw;
    }
    ++m_count;
}

// ---- CChartHistRequest ------------------------------------------------------------------------

std::int32_t SHistoryParameters::FromText(const std::string& text) {
    return DecimalValue(text);
}

void CChartHistRequest::SetParameters(const SHistoryParameters& params) {
    std::lock_guard lock(m_lock);
    m_params = params;
    UpdateRange();
}

SHistoryParameters CChartHistRequest::GetParameters() const {
    std::lock_guard lock(m_lock);
    return m_params;
}

int CChartHistRequest::GetCount() const {
    std::lock_guard lock(m_lock);
    return static_cast<int>(SeriesCount());
}

bool CChartHistRequest::GetTick(int index, sTICK& out) const {
    std::lock_guard lock(m_lock);
    const auto count = static_cast<int>(SeriesCount());
    if (count == 0) {
        return false;
    }
    out = At(static_cast<std::size_t>(std::clamp(index, 0, count - 1)));
    return true;
}

double CChartHistRequest::GetClose(int index) const {
    std::lock_guard lock(m_lock);
    const auto count = static_cast<int>(SeriesCount());
    if (count == 0) {
        return sTICK{}.close;
    }
    return At(static_cast<std::size_t>(std::clamp(index, 0, count - 1))).close;
}

void CChartHistRequest::ReplaceTick(int index, const sTICK& tick) {
    std::lock_guard lock(m_lock);
    if (index < 0 || static_cast<std::size_t>(index) >= SeriesCount()) {
        throw CInvalidArgException("record " + std::to_string(index) + " is outside the " +
                                   std::to_string(SeriesCount()) + " records of the series");
    }
    At(static_cast<std::size_t>(index)) = tick;
}

bool CChartHistRequest::RemoveTick(int index) {
    std::lock_guard lock(m_lock);
    if (index < 0 || static_cast<std::size_t>(index) >= SeriesCount()) {
        return false;
    }
    Erase(static_cast<std::size_t>(index));
    return true;
}

int CChartHistRequest::LowerBound(const SPointTime& time) const {
    std::lock_guard lock(m_lock);
    const auto before = [&time](const sTICK& point) {
        return point.time < time.time ||
               (point.time == time.time && point.microseconds < time.microseconds);
    };
    std::size_t low = 0;
    std::size_t high = SeriesCount();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (before(At(middle))) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return static_cast<int>(low);
}

bool CChartHistRequest::AppendTick(const sTICK& tick) {
    std::lock_guard lock(m_lock);
    if (!Accepts(tick)) {
        return false;
    }
    PushBack(tick);
    return true;
}

std::size_t CChartHistRequest::AppendTicks(const sTICK* ticks, std::size_t count) {
    std::lock_guard lock(m_lock);
    std::size_t accepted = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (Accepts(ticks[i])) {
            PushBack(ticks[i]);
            ++accepted;
        }
    }
    return accepted;
}

template <typename T, typename Field>
std::size_t CChartHistRequest::FillColumn(int first, std::span<T> out, Field field) const {
    std::lock_guard lock(m_lock);
    const auto count = static_cast<std::int64_t>(SeriesCount());
    const std::int64_t begin = std::max<std::int64_t>(first, 0);
    const std::int64_t end = std::min<std::int64_t>(
        static_cast<std::int64_t>(first) + static_cast<std::int64_t>(out.size()), count);
    if (begin >= end) {
        return 0;
    }
    const std::size_t offset = static_cast<std::size_t>(begin - first);
    for (std::int64_t i = begin; i < end; ++i) {
        out[offset + static_cast<std::size_t>(i - begin)] = field(At(static_cast<std::size_t>(i)));
    }
    return static_cast<std::size_t>(end - begin);
}

std::size_t CChartHistRequest::FillPrices(EPriceColumn column, int first,
                                          std::span<double> out) const {
    switch (column) {
    case EPriceColumn::Open:
        return FillColumn(first, out, [](const sTICK& t) { return t.open; });
    case EPriceColumn::High:
        return FillColumn(first, out, [](const sTICK& t) { return t.high; });
    case EPriceColumn::Low:
        return FillColumn(first, out, [](const sTICK& t) { return t.low; });
    case EPriceColumn::Close:
        return FillColumn(first, out, [](const sTICK& t) { return t.close; });
    }
    return 0;
}

std::size_t CChartHistRequest::FillVolumes(int first, std::span<std::int64_t> out) const {
    return FillColumn(first, out, [](const sTICK& t) { return t.volume; });
}

std::size_t CChartHistRequest::FillSizes(int first, std::span<std::uint32_t> out) const {
    return FillColumn(first, out, [](const sTICK& t) { return t.size; });
}

std::size_t CChartHistRequest::FillTimes(int first, std::span<SPointTime> out) const {
    return FillColumn(first, out, [](const sTICK& t) {
        return SPointTime{t.time, t.microseconds};
    });
}

SRangeExtremes CChartHistRequest::GetExtremes(int first, int count) const {
    std::lock_guard lock(m_lock);
    const auto size = static_cast<std::int64_t>(SeriesCount());
    const std::int64_t begin = std::max<std::int64_t>(first, 0);
    const std::int64_t end =
        std::min<std::int64_t>(static_cast<std::int64_t>(first) + std::max(count, 0), size);
    SRangeExtremes extremes;
    for (std::int64_t i = begin; i < end; ++i) {
        const sTICK& tick = At(static_cast<std::size_t>(i));
        if (extremes.count == 0) {
            extremes.highestHigh = tick.high;
            extremes.lowestLow = tick.low;
            extremes.largestVolume = tick.volume;
        } else {
            extremes.highestHigh = std::max(extremes.highestHigh, tick.high);
            extremes.lowestLow = std::min(extremes.lowestLow, tick.low);
            extremes.largestVolume = std::max(extremes.largestVolume, tick.volume);
        }
        ++extremes.count;
    }
    return extremes;
}

void CChartHistRequest::Clear() {
    std::lock_guard lock(m_lock);
    ClearSeries();
}

void CChartHistRequest::SetHistoryComplete(bool complete) {
    if (complete) {
        std::lock_guard lock(m_lock);
        DropNextBlock();
        FreeSpareBlocks();
    }
    m_historyComplete.store(complete);
}

void CChartHistRequest::ReleaseSpareRoom() {
    std::lock_guard lock(m_lock);
    FreeSpareBlocks();
}

std::size_t CChartHistRequest::GetSeriesBytes() const {
    std::lock_guard lock(m_lock);
    return SeriesBytes();
}

std::size_t CChartHistRequest::GetCapacity() const {
    std::lock_guard lock(m_lock);
    return SeriesCapacity();
}

std::size_t CChartHistRequest::GetGrowthStep() const {
    std::lock_guard lock(m_lock);
    return SeriesGrowthStep();
}

void CChartHistRequest::SetGrowthStep(std::size_t step) {
    std::lock_guard lock(m_lock);
    SetSeriesGrowthStep(step);
}

void CChartHistRequest::UpdateRange() {
    m_rangeStart = RangePoint(m_params.beginDate, m_params.beginTime);
    m_rangeEnd = RangePoint(m_params.endDate, m_params.endTime);
    m_rangeActive = m_rangeStart.IsValid() && m_rangeEnd.IsValid();
}

bool CChartHistRequest::Accepts(const sTICK& tick) const {
    if (!tick.time.IsValid()) {
        return false;
    }
    // Without a complete date range nothing is dropped by time: the service applied the
    // time-of-day filter itself for those requests.
    if (!m_rangeActive) {
        return true;
    }
    if (m_rangeStart > tick.time || tick.time > m_rangeEnd) {
        return false;
    }
    const int seconds = tick.time.GetSecondsOfDay();
    const int hhmmss = (seconds / 3600) * 10000 + ((seconds % 3600) / 60) * 100 + seconds % 60;
    const bool beforeEnd = m_params.endFilterTime < 0 || hhmmss <= m_params.endFilterTime;
    const bool afterBegin = m_params.beginFilterTime < 0 || hhmmss >= m_params.beginFilterTime;
    return beforeEnd && afterBegin;
}

#include "history/chart_hist_request.h"

#include "base/error.h"
#include "base/fields.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <string>

namespace {

// Records per storage block: large enough that a full history needs few allocations, small
// enough that the unused tail of the last block stays a few megabytes.
constexpr std::size_t kRecordsPerBlock = 16384;

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
        m_ticks[i]->~sTICK();
    }
    m_ticks.reset();
    m_blocks.clear();
    m_blocks.shrink_to_fit();
    m_count = 0;
    m_capacity = 0;
    m_growthStep = kDefaultGrowthStep;
}

sTICK* CHistoryRequestBase::AllocateRecord() {
    if (m_blocks.empty() || m_blocks.back().used == m_blocks.back().capacity) {
        SBlock block;
        // operator new[] of std::byte gives storage aligned for any fundamental type.
        static_assert(alignof(sTICK) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        block.bytes.reset(new std::byte[kRecordsPerBlock * sizeof(sTICK)]);
        block.capacity = kRecordsPerBlock;
        m_blocks.push_back(std::move(block));
    }
    SBlock& block = m_blocks.back();
    std::byte* place = block.bytes.get() + block.used * sizeof(sTICK);
    ++block.used;
    return std::launder(reinterpret_cast<sTICK*>(place));
}

void CHistoryRequestBase::PushBack(const sTICK& tick) {
    if (m_count == m_capacity) {
        const std::size_t capacity = m_capacity + m_growthStep;
        auto grown = std::make_unique_for_overwrite<sTICK*[]>(capacity);
        std::copy(m_ticks.get(), m_ticks.get() + m_count, grown.get());
        m_ticks = std::move(grown);
        m_capacity = capacity;
    }
    sTICK* place = AllocateRecord();
    try {
        m_ticks[m_count] = new (place) sTICK(tick);
    } catch (...) {
        --m_blocks.back().used;
        throw;
    }
    ++m_count;
}

// ---- CChartHistRequest ------------------------------------------------------------------------

CChartHistRequest& CChartHistRequest::Instance() {
    static CChartHistRequest instance;
    return instance;
}

void CChartHistRequest::SetSymbol(const std::string& symbol) {
    std::lock_guard lock(m_lock);
    m_params.symbol = symbol;
}

void CChartHistRequest::SetMaxDatapoints(std::int32_t count) {
    std::lock_guard lock(m_lock);
    m_params.maxDatapoints = count;
}

void CChartHistRequest::SetInterval(std::int32_t seconds) {
    std::lock_guard lock(m_lock);
    m_params.interval = seconds;
}

void CChartHistRequest::SetDays(std::int32_t days) {
    std::lock_guard lock(m_lock);
    m_params.days = days;
}

void CChartHistRequest::SetDataDirection(const std::string& direction) {
    std::lock_guard lock(m_lock);
    m_params.dataDirection = direction;
}

void CChartHistRequest::SetBeginFilterTime(std::int32_t hhmmss) {
    std::lock_guard lock(m_lock);
    m_params.beginFilterTime = hhmmss;
}

void CChartHistRequest::SetEndFilterTime(std::int32_t hhmmss) {
    std::lock_guard lock(m_lock);
    m_params.endFilterTime = hhmmss;
}

void CChartHistRequest::SetRequestKind(std::uint32_t kind) {
    std::lock_guard lock(m_lock);
    m_params.requestKind = kind;
}

void CChartHistRequest::SetBeginDate(const std::string& yyyymmdd) {
    std::lock_guard lock(m_lock);
    m_params.beginDate = DecimalValue(yyyymmdd);
    UpdateRange();
}

void CChartHistRequest::SetEndDate(const std::string& yyyymmdd) {
    std::lock_guard lock(m_lock);
    m_params.endDate = DecimalValue(yyyymmdd);
    UpdateRange();
}

void CChartHistRequest::SetBeginTime(const std::string& hhmmss) {
    std::lock_guard lock(m_lock);
    m_params.beginTime = DecimalValue(hhmmss);
    UpdateRange();
}

void CChartHistRequest::SetEndTime(const std::string& hhmmss) {
    std::lock_guard lock(m_lock);
    m_params.endTime = DecimalValue(hhmmss);
    UpdateRange();
}

std::string CChartHistRequest::GetSymbol() const {
    std::lock_guard lock(m_lock);
    return m_params.symbol;
}

std::int32_t CChartHistRequest::GetMaxDatapoints() const {
    std::lock_guard lock(m_lock);
    return m_params.maxDatapoints;
}

std::int32_t CChartHistRequest::GetInterval() const {
    std::lock_guard lock(m_lock);
    return m_params.interval;
}

std::int32_t CChartHistRequest::GetDays() const {
    std::lock_guard lock(m_lock);
    return m_params.days;
}

std::string CChartHistRequest::GetDataDirection() const {
    std::lock_guard lock(m_lock);
    return m_params.dataDirection;
}

std::int32_t CChartHistRequest::GetBeginDate() const {
    std::lock_guard lock(m_lock);
    return m_params.beginDate;
}

std::int32_t CChartHistRequest::GetBeginTime() const {
    std::lock_guard lock(m_lock);
    return m_params.beginTime;
}

std::int32_t CChartHistRequest::GetBeginFilterTime() const {
    std::lock_guard lock(m_lock);
    return m_params.beginFilterTime;
}

std::int32_t CChartHistRequest::GetEndDate() const {
    std::lock_guard lock(m_lock);
    return m_params.endDate;
}

std::int32_t CChartHistRequest::GetEndTime() const {
    std::lock_guard lock(m_lock);
    return m_params.endTime;
}

std::int32_t CChartHistRequest::GetEndFilterTime() const {
    std::lock_guard lock(m_lock);
    return m_params.endFilterTime;
}

std::uint32_t CChartHistRequest::GetRequestKind() const {
    std::lock_guard lock(m_lock);
    return m_params.requestKind;
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

void CChartHistRequest::Clear() {
    std::lock_guard lock(m_lock);
    ClearSeries();
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

#include "studies/study_inputs.h"

#include "core/data_types.h"
#include "history/chart_hist_request.h"
#include "studies/kernel_support.h"

#include <algorithm>
#include <thread>

namespace {

constexpr int kChunk = 1 << 16;
// A series of more points than this is read in two halves at once.
constexpr std::size_t kSplitRead = 1 << 18;

bool Cancelled(const std::atomic<bool>* cancel) {
    return cancel != nullptr && cancel->load(std::memory_order_relaxed);
}

} // namespace

CStudyInputs::CStudyInputs(int dataType, std::vector<double> high, std::vector<double> low,
                           std::vector<double> close, std::vector<double> volume)
    : m_dataType(dataType), m_high(std::move(high)), m_low(std::move(low)),
      m_close(std::move(close)), m_volume(std::move(volume)) {
    const std::size_t count = m_close.size();
    if (m_high.size() != count || m_low.size() != count) {
        m_high.clear();
        m_low.clear();
    }
    m_volume.resize(count, 0.0);
}

bool CStudyInputs::Read(const CChartHistRequest& history, int dataType,
                        const std::atomic<bool>* cancel, CColumnStore* store) {
    m_dataType = dataType;
    const auto count = static_cast<std::size_t>(std::max(history.GetCount(), 0));
    const bool ticks = dataType == kTicks;
    // Every entry is read over (or the inputs dropped): the columns are only sized, which
    // writes nothing into room taken from the store.
    for (auto* column : {&m_close, &m_high, &m_low, &m_volume}) {
        const bool used = !ticks || column == &m_close || column == &m_volume;
        if (store != nullptr) {
            store->Fill(*column, used ? count : 0);
        }
        study_kernels::detail::Sized(*column, used ? count : 0);
    }
    bool read = true;
    if (count > kSplitRead) {
        const std::size_t half = count / 2;
        bool second = true;
        std::jthread other([&] { second = ReadRange(history, half, count - half, cancel); });
        read = ReadRange(history, 0, half, cancel);
        other.join();
        read = read && second;
    } else {
        read = ReadRange(history, 0, count, cancel);
    }
    if (!read) {
        *this = CStudyInputs();
        return false;
    }
    return true;
}

void CStudyInputs::GiveRoom(CColumnStore& store) {
    for (auto* column : {&m_close, &m_high, &m_low, &m_volume}) {
        store.Put(std::move(*column));
    }
}

bool CStudyInputs::Follow(const CChartHistRequest& history, std::size_t from) {
    const auto count = static_cast<std::size_t>(std::max(history.GetCount(), 0));
    if (count < from || from > m_close.size()) {
        return false;
    }
    const std::size_t had = m_close.size();
    const auto grow = [count](std::vector<double>& column) {
        study_kernels::detail::Grown(column, count);
    };
    grow(m_close);
    grow(m_volume);
    if (m_dataType != kTicks) {
        grow(m_high);
        grow(m_low);
    }
    if (!ReadRange(history, from, count - from, nullptr)) {
        // The series shrank meanwhile: what was read is not a series any more.
        const auto keep = [had](std::vector<double>& column) {
            column.resize(std::min(column.size(), had));
        };
        keep(m_close);
        keep(m_volume);
        keep(m_high);
        keep(m_low);
        return false;
    }
    return true;
}

bool CStudyInputs::ReadRange(const CChartHistRequest& history, std::size_t from, std::size_t count,
                             const std::atomic<bool>* cancel) {
    const bool ticks = m_dataType == kTicks;
    // Ticks and minute bars weigh by their own size; the other bars carry their own volume.
    const bool ownSize = ticks || m_dataType == kIntervals;
    const std::size_t chunk = std::min<std::size_t>(kChunk, count);
    std::vector<std::uint32_t> sizes(ownSize ? chunk : 0);
    std::vector<std::int64_t> volumes(ownSize ? 0 : chunk);

    for (std::size_t done = 0; done < count; done += kChunk) {
        if (Cancelled(cancel)) {
            return false;
        }
        const std::size_t at = from + done;
        const int first = static_cast<int>(at);
        const std::size_t n = std::min<std::size_t>(kChunk, count - done);
        std::size_t got = history.FillPrices(EPriceColumn::Close, first,
                                             std::span<double>(m_close.data() + at, n));
        if (!ticks) {
            got = std::min(got, history.FillPrices(EPriceColumn::High, first,
                                                   std::span<double>(m_high.data() + at, n)));
            got = std::min(got, history.FillPrices(EPriceColumn::Low, first,
                                                   std::span<double>(m_low.data() + at, n)));
        }
        if (ownSize) {
            got = std::min(got, history.FillSizes(first, std::span(sizes.data(), n)));
            for (std::size_t i = 0; i < n; ++i) {
                m_volume[at + i] = static_cast<double>(sizes[i]);
            }
        } else {
            got = std::min(got, history.FillVolumes(first, std::span(volumes.data(), n)));
            for (std::size_t i = 0; i < n; ++i) {
                m_volume[at + i] = static_cast<double>(volumes[i]);
            }
        }
        if (got != n) {
            return false;
        }
    }
    return true;
}

SBarColumns CStudyInputs::Columns() const {
    SBarColumns columns;
    columns.close = m_close;
    columns.high = m_high.empty() ? std::span<const double>(m_close) : m_high;
    columns.low = m_low.empty() ? std::span<const double>(m_close) : m_low;
    columns.volume = m_volume;
    return columns;
}

std::size_t CStudyInputs::Clamp(int index, std::size_t size) {
    return static_cast<std::size_t>(std::clamp(index, 0, static_cast<int>(size) - 1));
}

double CStudyInputs::High(int index) const {
    const std::vector<double>& column = m_high.empty() ? m_close : m_high;
    return column.empty() ? 0.0 : column[Clamp(index, column.size())];
}

double CStudyInputs::Low(int index) const {
    const std::vector<double>& column = m_low.empty() ? m_close : m_low;
    return column.empty() ? 0.0 : column[Clamp(index, column.size())];
}

double CStudyInputs::Close(int index) const {
    return m_close.empty() ? 0.0 : m_close[Clamp(index, m_close.size())];
}

std::int64_t CStudyInputs::Volume(int index) const {
    return m_volume.empty() ? 0
                            : static_cast<std::int64_t>(m_volume[Clamp(index, m_volume.size())]);
}

#include "tick_source.h"

#include <algorithm>

namespace portico {

namespace {
constexpr std::size_t kBatch = 4096;
}

TickSource::TickSource(const Market& market, const Instrument& instrument, TickSelection selection)
    : m_market(market), m_instrument(instrument), m_selection(selection), m_filtered(filtered()) {
    if (m_selection.from > m_selection.to) {
        m_selection.maxPoints = 0;
        return;
    }
    if (m_selection.newestFirst) {
        m_day = DayOf(m_selection.to);
        return;
    }
    if (!m_selection.maxPoints) {
        m_cursor = m_market.ticks(m_instrument, m_selection.from, m_selection.to);
    } else if (!filtered()) {
        // The newest N ticks up to the end; those before the start are dropped as they come.
        m_cursor = m_market.lastTicks(m_instrument, *m_selection.maxPoints, m_selection.to);
    } else {
        // Count the ticks that pass the filter first, then skip the oldest surplus.
        TickCursor counter = m_market.ticks(m_instrument, m_selection.from, m_selection.to);
        std::vector<Tick> batch(kBatch);
        std::uint64_t total = 0;
        while (const std::size_t n = counter.next(batch.data(), batch.size())) {
            for (std::size_t i = 0; i < n; ++i) {
                total += keep(batch[i]) ? 1 : 0;
            }
        }
        m_skip = total > *m_selection.maxPoints ? total - *m_selection.maxPoints : 0;
        m_cursor = m_market.ticks(m_instrument, m_selection.from, m_selection.to);
    }
}

const Tick* TickSource::next() {
    if (m_selection.maxPoints && m_emitted >= *m_selection.maxPoints) {
        return nullptr;
    }
    while (true) {
        while (m_position < m_count) {
            const Tick& tick = m_batch[m_position++];
            if (m_selection.newestFirst || keep(tick)) {
                if (m_skip > 0) {
                    --m_skip;
                    continue;
                }
                ++m_emitted;
                return &tick;
            }
        }
        if (!(m_selection.newestFirst ? refillDescending() : refillAscending())) {
            return nullptr;
        }
    }
}

bool TickSource::refillAscending() {
    if (m_batch.size() < kBatch) {
        m_batch.resize(kBatch);
    }
    m_count = m_cursor.next(m_batch.data(), kBatch);
    m_position = 0;
    return m_count > 0;
}

bool TickSource::refillDescending() {
    const std::int32_t firstDay = std::max(DayOf(m_selection.from), m_instrument.firstDay);
    m_batch.clear();
    m_position = 0;
    while (m_batch.empty() && m_day >= firstDay) {
        const Micros from = std::max(m_selection.from, StartOfDay(m_day));
        const Micros to = std::min(m_selection.to, StartOfDay(m_day + 1) - 1);
        --m_day;
        TickCursor cursor = m_market.ticks(m_instrument, from, to);
        std::vector<Tick> chunk(kBatch);
        while (const std::size_t n = cursor.next(chunk.data(), chunk.size())) {
            for (std::size_t i = 0; i < n; ++i) {
                if (keep(chunk[i])) {
                    m_batch.push_back(chunk[i]);
                }
            }
        }
        std::reverse(m_batch.begin(), m_batch.end());
    }
    m_count = m_batch.size();
    return m_count > 0;
}

} // namespace portico

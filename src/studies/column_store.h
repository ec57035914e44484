#pragma once

// Columns whose room a computation reuses: those of a study set that was replaced, handed to the
// computation of the next series. A 5,000,000-bar column is 40 MB of fresh pages the first time it
// is written; written again in place it costs no page fault and no zeroing. Any thread may put
// and take.

#include "studies/kernel_support.h"

#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

class CColumnStore {
public:
    // How fresh room for a long column is prepared before it is first written: the application
    // makes its pages resident in one request, much cheaper than a page fault for each 4 KiB as
    // the kernels write. (Large pages would be cheaper still where the memory was used before,
    // but memory new to the process then costs the zeroing of whole 2 MiB pages, several times
    // what the first chart of a session can afford.) None leaves it to the allocator.
    using Prepare = std::function<void(void* data, std::size_t bytes)>;
    // Columns shorter than this are left to the allocator.
    static constexpr std::size_t kPreparedBytes = std::size_t{4} << 20;

    explicit CColumnStore(Prepare prepare = {}) : m_prepare(std::move(prepare)) {}

    // Keeps `column` (values and size as they are) when it has room.
    void Put(std::vector<double>&& column) {
        if (column.capacity() == 0) {
            return;
        }
        const std::lock_guard lock(m_mutex);
        m_columns.push_back(std::move(column));
        column = {};
    }

    // The kept column with the most room, sized as it was put (so that sizing it to a series of
    // the same length writes nothing); an empty one when none is kept.
    std::vector<double> Take() {
        const std::lock_guard lock(m_mutex);
        if (m_columns.empty()) {
            return {};
        }
        std::size_t best = 0;
        for (std::size_t at = 1; at < m_columns.size(); ++at) {
            if (m_columns[at].capacity() > m_columns[best].capacity()) {
                best = at;
            }
        }
        std::vector<double> column = std::move(m_columns[best]);
        m_columns[best] = std::move(m_columns.back());
        m_columns.pop_back();
        return column;
    }

    // Gives `column` the room of a kept column when it has none of its own.
    void Fill(std::vector<double>& column, std::size_t count) {
        if (column.capacity() == 0) {
            column = Take();
        }
        if (column.capacity() >= count || count * sizeof(double) < kPreparedBytes || !m_prepare) {
            return;
        }
        // Fresh room: prepared before anything is written to it. Kept values are copied over.
        std::vector<double> room;
        room.reserve(study_kernels::detail::RoomFor(count));
        // Only the entries the kernels write now: the room kept for live points stays
        // unbacked until they come.
        m_prepare(room.data(), count * sizeof(double));
        room.assign(column.begin(), column.end());
        column.swap(room);
    }

    // Frees what no computation took.
    void Clear() {
        std::vector<std::vector<double>> columns;
        const std::lock_guard lock(m_mutex);
        columns.swap(m_columns);
    }

    std::size_t Count() const {
        const std::lock_guard lock(m_mutex);
        return m_columns.size();
    }

private:
    Prepare m_prepare;
    mutable std::mutex m_mutex;
    std::vector<std::vector<double>> m_columns;
};

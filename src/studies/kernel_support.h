#pragma once

// Helpers shared by the one-pass study kernels: output columns, branch-free choices and the
// rolling sums with their periodic re-summation over a ring of the newest values.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace study_kernels::detail {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// `value` when `keep`, else +0.0, without a branch: for choices that follow the ups and downs
// of the prices, which defeat branch prediction (the compiler turns a plain choice into one).
inline double KeepIf(bool keep, double value) {
    const std::uint64_t mask = 0 - static_cast<std::uint64_t>(keep);
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(value) & mask);
}

// A rolling sum is re-summed exactly from its window every `ResumInterval(window)` bars, so that
// rounding cannot pile up over long series while the extra work stays below one addition a bar.
inline constexpr std::size_t kMinResumInterval = 1024;
inline std::size_t ResumInterval(std::size_t window) {
    return std::max(window, kMinResumInterval);
}

// The room a column of `count` entries is given when it has too little: an eighth more, for the
// points a live series adds, so that the first of them do not copy every column of the chart on
// the view's thread (the room not yet written is not resident memory).
inline std::size_t RoomFor(std::size_t count) {
    return count + count / 8 + 64;
}

// Sizes `column` to `count` entries, keeping its storage when it has the room, and returns its
// data. The kernels then write every entry.
inline double* Sized(std::vector<double>& column, std::size_t count) {
    if (column.capacity() < count) {
        column.reserve(RoomFor(count));
    }
    column.resize(count);
    return column.data();
}

// Sizes `column` to `count` entries keeping its values, for a series that grew. The storage
// about doubles when it runs out, so that a column following live points is copied seldom (the
// room not yet written is not resident memory). The columns of one chart grow together; each
// takes a little more or less room by where it lives, so that they are not all copied in the
// same step.
inline double* Grown(std::vector<double>& column, std::size_t count) {
    if (column.capacity() < count) {
        const auto spread = (reinterpret_cast<std::uintptr_t>(&column) / sizeof column) % 16;
        const std::size_t room = 2 * column.capacity() + column.capacity() * spread / 16;
        column.reserve(std::max(count + count * spread / 16, room));
    }
    column.resize(count);
    return column.data();
}

// Whether a computation can go on from a carry saved after bar `carryBar`: the columns hold the
// bars up to it (`have` entries), the bars from `from` on may have changed, and the series holds
// `count` bars.
inline bool GoesOn(std::size_t carryBar, std::size_t from, std::size_t have, std::size_t count) {
    return carryBar != static_cast<std::size_t>(-1) && carryBar < from && carryBar < have &&
           carryBar + 1 < count;
}

inline void FillNaN(double* out, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
        out[i] = kNaN;
    }
}

// NaN in the `count` entries of `out` outside the computed bars [from, to).
inline void FillNaNOutside(double* out, std::size_t count, std::size_t from, std::size_t to) {
    from = std::min(from, count);
    to = std::clamp(to, from, count);
    FillNaN(out, 0, from);
    FillNaN(out, to, count);
}

// Values by bar index, keeping at least the newest `window + 1`: a power-of-two ring, so a bar's
// slot is its index masked. A slot never written reads 0, and so does any bar before the first
// one written (indexes below 0 wrap to such slots).
class CBarRing {
public:
    explicit CBarRing(std::size_t window)
        : m_values(std::bit_ceil(window + 1), 0.0), m_mask(m_values.size() - 1) {}
    double& operator[](std::size_t bar) { return m_values[bar & m_mask]; }
    double operator[](std::size_t bar) const { return m_values[bar & m_mask]; }

private:
    std::vector<double> m_values;
    std::size_t m_mask;
};

// The sum of a value over the `window` newest bars. It is exactly 0 when none of those values
// is non-zero (a count is kept), and it is re-summed from the ring, oldest bar first, every
// `ResumInterval(window)` bars.
class CRollingSum {
public:
    explicit CRollingSum(std::size_t window)
        : m_ring(window), m_window(window), m_resumEvery(ResumInterval(window)) {}

    // Sets bar `bar`'s value; the window is then bars bar - window + 1 .. bar. Bars are put one
    // after the other in increasing order; bars before the first one put count as 0.
    void Put(std::size_t bar, double value) {
        const double leaving = m_ring[bar - m_window];
        m_ring[bar] = value;
        m_sum += value - leaving;
        m_nonZero += static_cast<std::ptrdiff_t>(value != 0) - (leaving != 0);
        if (++m_since == m_resumEvery) {
            m_since = 0;
            m_sum = 0.0;
            for (std::size_t k = 1; k <= m_window; ++k) {
                m_sum += m_ring[bar + k - m_window];
            }
        }
    }
    double Sum() const { return m_nonZero != 0 ? m_sum : 0.0; }
    double At(std::size_t bar) const { return m_ring[bar]; }

private:
    CBarRing m_ring;
    std::size_t m_window;
    std::size_t m_resumEvery;
    double m_sum = 0.0;
    std::ptrdiff_t m_nonZero = 0;
    std::size_t m_since = 0;
};

} // namespace study_kernels::detail

#pragma once

#include <chrono>

namespace skychart::test {

// Milliseconds left until `deadline`; 0 once it has passed.
inline int RemainingMs(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

} // namespace skychart::test

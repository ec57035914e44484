#pragma once

// The code under fuzzing logs every line it drops; a fuzz run would spend its time writing them.

#include <spdlog/spdlog.h>

namespace skychart::fuzz {

// Turns logging off once, on the first input.
inline void QuietLogs() {
    static const bool quiet = [] {
        spdlog::set_level(spdlog::level::off);
        return true;
    }();
    (void)quiet;
}

} // namespace skychart::fuzz

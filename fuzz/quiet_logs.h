#pragma once

// The code under fuzzing logs every line it drops and tells the user of every damaged file; a
// fuzz run would spend its time writing them.

#include "core/prompt.h"

#include <spdlog/spdlog.h>

#include <string>

namespace skychart::fuzz {

// Turns logging off once, on the first input.
inline void QuietLogs() {
    static const bool quiet = [] {
        spdlog::set_level(spdlog::level::off);
        return true;
    }();
    (void)quiet;
}

// A prompt that only counts the errors it is shown.
class SilentPrompt : public IPrompt {
public:
    void Information(const std::string&, const std::string&) override {}
    void Error(const std::string&, const std::string&) override { ++errors; }
    bool Question(const std::string&, const std::string&) override { return false; }
    std::string AskText(const std::string&, const std::string&) override { return {}; }
    int errors = 0;
};

} // namespace skychart::fuzz

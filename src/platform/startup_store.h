#pragma once

#include <cstdint>
#include <string>

// The suite's start-up values (Software\Orvane\Kestrel\Startup): the feed's ports, the log folder
// and the log clean-up switch.
class CStartupStore {
public:
    // The port stored under `valueName`, cut to 16 bits. A missing value, or one that is not a
    // single text (a list, say), is replaced by `defaultText` and `defaultNumber` returned; a
    // text that is not a number gives 0.
    static int ReadPort(const std::string& valueName, const std::string& defaultText,
                        int defaultNumber);
    // "LogPath"; when empty, the default log folder, which is then stored.
    static std::string LogPath();
    // "PreserveDisplayAppLogs"; 0 when missing or not a number.
    static std::uint32_t PreserveDisplayAppLogs();
};

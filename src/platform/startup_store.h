#pragma once

#include <cstdint>
#include <string>

// The suite's start-up values (Software\Orvane\Kestrel\Startup): the feed's ports, the log folder
// and the log clean-up switch.
class CStartupStore {
public:
    // Values are read into a buffer of this many bytes, the terminating NUL included: a longer
    // text does not fit and counts as unreadable.
    static constexpr int kValueBufferBytes = 255;

    // The port stored under `valueName`: the leading decimal number of the text (DecimalValue:
    // an empty, non-numeric or out-of-range text gives 0), cut to 16 bits. A missing value, one
    // that is not a single text (a list, say) or one of more than kValueBufferBytes - 1 bytes is
    // replaced by `defaultText`, written as a text, and `defaultNumber` is returned.
    static int ReadPort(const std::string& valueName, const std::string& defaultText,
                        int defaultNumber);
    // "LogPath"; when empty, the default log folder, which is then stored.
    static std::string LogPath();
    // "PreserveDisplayAppLogs"; 0 when missing or not a number.
    static std::uint32_t PreserveDisplayAppLogs();
};

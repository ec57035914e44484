#pragma once

#include <chrono>
#include <functional>
#include <string>

// A progress line for a terminal: each shown text replaces the one before in place ("\r", the
// text, blanks over the rest of a longer earlier text). A text is written at most once per
// period and only when it changed; Finish() writes the latest text if it was held back and ends
// the line with a newline, so that whatever follows starts on a line of its own. Nothing at all
// is written before the first Show.
class CProgressLine {
public:
    using Clock = std::chrono::steady_clock;

    CProgressLine(std::function<void(const std::string&)> write, std::chrono::milliseconds period);

    // Asks for `text` at `now`; true when it was written.
    bool Show(const std::string& text, Clock::time_point now);
    // Ends a written line; nothing when none was written. Show may start a new line afterwards.
    void Finish();
    // True while a written line waits for its end.
    bool Open() const { return m_open; }

private:
    void Write(const std::string& text);

    std::function<void(const std::string&)> m_write;
    std::chrono::milliseconds m_period;
    std::string m_shown;  // on the terminal now
    std::string m_latest; // asked for last
    Clock::time_point m_shownAt{};
    bool m_open = false;
};

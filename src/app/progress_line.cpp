#include "app/progress_line.h"

CProgressLine::CProgressLine(std::function<void(const std::string&)> write,
                             std::chrono::milliseconds period)
    : m_write(std::move(write)), m_period(period) {}

bool CProgressLine::Show(const std::string& text, Clock::time_point now) {
    m_latest = text;
    if (m_open && (text == m_shown || now - m_shownAt < m_period)) {
        return false;
    }
    Write(text);
    m_shownAt = now;
    return true;
}

void CProgressLine::Finish() {
    if (!m_open) {
        return;
    }
    if (m_latest != m_shown) {
        Write(m_latest);
    }
    m_write("\n");
    m_open = false;
    m_shown.clear();
}

void CProgressLine::Write(const std::string& text) {
    std::string line = "\r" + text;
    if (text.size() < m_shown.size()) {
        line.append(m_shown.size() - text.size(), ' ');
    }
    m_write(line);
    m_shown = text;
    m_open = true;
}

#include "history/exchange_clock.h"

#include <charconv>

namespace {

bool ReadNumber(std::string_view text, int& out) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
    return error == std::errc() && end == text.data() + text.size();
}

} // namespace

bool CExchangeClock::OnTimeLine(std::string_view line, TimePoint at) {
    // "T,20240305 14:30:00"
    if (!line.starts_with("T,") || line.size() < 19 || line[10] != ' ' || line[13] != ':' ||
        line[16] != ':') {
        return false;
    }
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!ReadNumber(line.substr(2, 4), year) || !ReadNumber(line.substr(6, 2), month) ||
        !ReadNumber(line.substr(8, 2), day) || !ReadNumber(line.substr(11, 2), hour) ||
        !ReadNumber(line.substr(14, 2), minute) || !ReadNumber(line.substr(17, 2), second)) {
        return false;
    }
    const CDateTime time = CDateTime::FromFields(year, month, day, hour, minute, second);
    if (!time.IsValid()) {
        return false;
    }
    // The service's stamp is its clock: it sets ours, forward or back.
    m_known = time;
    m_knownAt = at;
    return true;
}

void CExchangeClock::OnFeedTime(const CDateTime& time, TimePoint at) {
    if (!time.IsValid()) {
        return;
    }
    const std::optional<CDateTime> now = Now(at);
    if (now && time <= *now) {
        return;
    }
    m_known = time;
    m_knownAt = at;
}

std::optional<CDateTime> CExchangeClock::Now(TimePoint at) const {
    if (!m_known) {
        return std::nullopt;
    }
    const double seconds = std::chrono::duration<double>(at - m_knownAt).count();
    return CDateTime(m_known->Days() + (seconds > 0.0 ? seconds : 0.0) / 86400.0);
}

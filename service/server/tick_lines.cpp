#include "tick_lines.h"

#include <algorithm>

namespace portico {

TickLines::TickLines(std::string_view id) {
    m_stamp = std::string(id) + ",LH,0000-00-00 00:00:";
    m_stampSize = m_stamp.size();
    m_stamp.resize(std::max(m_stampSize, kStampBlock));
}

void TickLines::stampMinute(Micros time) {
    const std::int32_t day = DayOf(time);
    const Micros dayStart = StartOfDay(day);
    char* text = m_stamp.data() + m_stampSize - 17;
    if (day != m_stampDay) {
        LineWriter date;
        date.putIsoDate(time);
        std::memcpy(text, date.data(), 10);
        m_stampDay = day;
    }
    const auto minute = static_cast<unsigned>((time - dayStart) / kMicrosPerMinute);
    LineWriter::WriteFixedDigits<2>(text + 11, minute / 60);
    LineWriter::WriteFixedDigits<2>(text + 14, minute % 60);
    m_minuteStart = dayStart + static_cast<Micros>(minute) * kMicrosPerMinute;
}

} // namespace portico

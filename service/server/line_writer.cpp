#include "line_writer.h"

#include "civil_time.h"

namespace portico {

namespace {

inline char* WriteTwo(char* out, unsigned value) {
    LineWriter::WriteDigits(out, value, 2);
    return out + 2;
}

inline std::int64_t SecondOfDay(Micros time) {
    return (time - StartOfDay(DayOf(time))) / kMicrosPerSecond;
}

} // namespace

void LineWriter::grow(std::size_t more) {
    std::size_t capacity = m_buffer.size() * 2;
    while (capacity - m_size < more) {
        capacity *= 2;
    }
    m_buffer.resize(capacity);
}

char* LineWriter::WritePrice(char* p, std::int64_t value, int decimals) {
    if (decimals > 8 && decimals <= 18) {
        std::uint64_t magnitude = static_cast<std::uint64_t>(value);
        if (value < 0) {
            *p++ = '-';
            magnitude = static_cast<std::uint64_t>(0) - magnitude;
        }
        const std::uint64_t scale = kPowersOfTen[decimals];
        p = WriteUnsigned(p, magnitude / scale);
        *p++ = '.';
        WriteDigits(p, magnitude % scale, decimals);
        return p + decimals;
    }
    return WithDecimals(decimals, [&](auto d) {
        if constexpr (d() == 0) {
            return WriteSigned(p, value);
        } else {
            return WriteFixed<d()>(p, value);
        }
    });
}

void LineWriter::putIsoDate(Micros time) {
    const CivilDate date = CivilFromDays(DayOf(time));
    reserve(10);
    char* p = m_buffer.data() + m_size;
    p = WriteTwo(p, static_cast<unsigned>(date.year / 100 % 100));
    p = WriteTwo(p, static_cast<unsigned>(date.year % 100));
    *p++ = '-';
    p = WriteTwo(p, static_cast<unsigned>(date.month));
    *p++ = '-';
    WriteTwo(p, static_cast<unsigned>(date.day));
    m_size += 10;
}

void LineWriter::putCompactDate(Micros time) {
    const CivilDate date = CivilFromDays(DayOf(time));
    reserve(8);
    char* p = m_buffer.data() + m_size;
    p = WriteTwo(p, static_cast<unsigned>(date.year / 100 % 100));
    p = WriteTwo(p, static_cast<unsigned>(date.year % 100));
    p = WriteTwo(p, static_cast<unsigned>(date.month));
    WriteTwo(p, static_cast<unsigned>(date.day));
    m_size += 8;
}

void LineWriter::putSlashDate(Micros time) {
    const CivilDate date = CivilFromDays(DayOf(time));
    reserve(10);
    char* p = m_buffer.data() + m_size;
    p = WriteTwo(p, static_cast<unsigned>(date.month));
    *p++ = '/';
    p = WriteTwo(p, static_cast<unsigned>(date.day));
    *p++ = '/';
    p = WriteTwo(p, static_cast<unsigned>(date.year / 100 % 100));
    WriteTwo(p, static_cast<unsigned>(date.year % 100));
    m_size += 10;
}

void LineWriter::putTimeOfDay(Micros time) {
    const auto second = static_cast<unsigned>(SecondOfDay(time));
    reserve(8);
    char* p = m_buffer.data() + m_size;
    p = WriteTwo(p, second / 3600);
    *p++ = ':';
    p = WriteTwo(p, second / 60 % 60);
    *p++ = ':';
    WriteTwo(p, second % 60);
    m_size += 8;
}

void LineWriter::putMicroTime(Micros time) {
    commit(WriteMicroTimeOfDay(claim(15), time - StartOfDay(DayOf(time))));
}

void LineWriter::putIsoDateTime(Micros time) {
    putIsoDate(time);
    put(' ');
    putTimeOfDay(time);
}

void LineWriter::putIsoMicroTime(Micros time) {
    putIsoDate(time);
    put(' ');
    putMicroTime(time);
}

} // namespace portico

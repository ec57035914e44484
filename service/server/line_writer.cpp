#include "line_writer.h"

#include "civil_time.h"

namespace portico {

namespace {

constexpr std::uint64_t kPowersOfTen[] = {1,
                                          10,
                                          100,
                                          1'000,
                                          10'000,
                                          100'000,
                                          1'000'000,
                                          10'000'000,
                                          100'000'000,
                                          1'000'000'000,
                                          10'000'000'000,
                                          100'000'000'000,
                                          1'000'000'000'000,
                                          10'000'000'000'000,
                                          100'000'000'000'000,
                                          1'000'000'000'000'000,
                                          10'000'000'000'000'000,
                                          100'000'000'000'000'000,
                                          1'000'000'000'000'000'000};

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
    if (decimals <= 0 || decimals > 18) {
        return WriteSigned(p, value);
    }
    std::uint64_t magnitude = static_cast<std::uint64_t>(value);
    if (value < 0) {
        *p++ = '-';
        magnitude = static_cast<std::uint64_t>(0) - magnitude;
    }
    // Two decimals is by far the most common case; a constant divisor makes it cheap.
    const std::uint64_t scale = decimals == 2 ? 100 : kPowersOfTen[decimals];
    const std::uint64_t whole = decimals == 2 ? magnitude / 100 : magnitude / scale;
    p = WriteUnsigned(p, whole);
    *p++ = '.';
    WriteDigits(p, magnitude - whole * scale, decimals);
    return p + decimals;
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

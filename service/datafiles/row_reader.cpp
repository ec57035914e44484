#include "datafiles/row_reader.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

#include "datafiles/text_fields.h"

namespace portico::files {

namespace {

// The common forms of numbers, read where they stand in a record: each reader takes its field
// from `p` on and leaves `p` at the comma or the end after it, or says no (the field is of
// another form, which the long way reads or refuses).

constexpr std::uint64_t kPowersOfTen[] = {1,      10,      100,      1000,     10000,
                                          100000, 1000000, 10000000, 100000000};

constexpr std::uint64_t kBytes = 0x0101010101010101ULL;
constexpr std::uint64_t kTops = 0x8080808080808080ULL;

// The value of the `count` digits (1 to 8) in the low bytes of `digits`, one digit to a byte,
// the first in the lowest byte: moved up to the top with zeros before them, then added up pairwise.
inline std::uint64_t DigitsValue(std::uint64_t digits, int count) {
    digits <<= 8 * (8 - count);
    digits = digits * 10 + (digits >> 8);
    constexpr std::uint64_t kPairs = 0x000000FF000000FFULL;
    return static_cast<std::uint32_t>((((digits & kPairs) * (100 + (1000000ULL << 32))) +
                                       (((digits >> 16) & kPairs) * (1 + (10000ULL << 32)))) >>
                                      32);
}

// `word` with '0' taken from each byte: a top bit in each byte that was no digit.
inline std::uint64_t NotDigits(std::uint64_t less) {
    return ((less + 0x76 * kBytes) | less) & kTops;
}

inline std::uint64_t Load(const char* p) {
    std::uint64_t word = 0;
    std::memcpy(&word, p, 8);
    if constexpr (std::endian::native == std::endian::big) {
        word = __builtin_bswap64(word);
    }
    return word;
}

// The digits at `p`, up to `most` of them; false past `most`.
inline bool ReadDigits(const char*& p, const char* end, int most, std::uint64_t& value,
                       int& count) {
    value = 0;
    count = 0;
    while (end - p >= 8) {
        const std::uint64_t less = Load(p) ^ (0x30 * kBytes);
        const std::uint64_t wrong = NotDigits(less);
        const int n = wrong == 0 ? 8 : std::countr_zero(wrong) >> 3;
        if (n > 0) {
            value = value * kPowersOfTen[n] + DigitsValue(less, n);
        }
        count += n;
        p += n;
        if (count > most) {
            return false;
        }
        if (n < 8) {
            return true;
        }
    }
    while (p < end && *p >= '0' && *p <= '9') {
        value = value * 10 + static_cast<std::uint64_t>(*p++ - '0');
        if (++count > most) {
            return false;
        }
    }
    return true;
}

inline bool AtFieldEnd(const char* p, const char* end) {
    return p == end || *p == ',';
}

// The field at `p` when it is at most seven bytes and ends within the eight bytes read: those
// bytes as loaded (the record's last eight, moved down, when fewer are left; zeros past the
// end), and how many belong to the record. False when the field may be longer or the record is
// shorter than eight bytes.
inline bool ShortField(const char* p, const char* begin, const char* end, std::uint64_t& word,
                       int& left) {
    if (end - p >= 8) {
        word = Load(p);
        left = 8;
        return true;
    }
    if (end - begin < 8 || p == end) {
        return false;
    }
    left = static_cast<int>(end - p);
    word = Load(end - 8) >> (8 * (8 - left));
    return true;
}

// A price of up to seven bytes with its end, read in one word: digits, perhaps a point and more
// digits, then a comma or the end of the record.
inline bool WordPrice(const char*& p, const char* begin, const char* end, std::int64_t& scaled,
                      int& decimals) {
    std::uint64_t word = 0;
    int left = 0;
    if (!ShortField(p, begin, end, word, left)) {
        return false;
    }
    const std::uint64_t less = word ^ (0x30 * kBytes);
    std::uint64_t wrong = NotDigits(less);
    if (wrong == 0) {
        return false;
    }
    const int point = std::countr_zero(wrong) >> 3;
    if (point == 0) {
        return false;
    }
    int stop = point;
    std::uint64_t digits = less;
    if (((word >> (8 * point)) & 0xFF) == '.') {
        wrong &= wrong - 1;
        if (wrong == 0) {
            return false;
        }
        stop = std::countr_zero(wrong) >> 3;
        // The decimals moved down over the point.
        const std::uint64_t below = (std::uint64_t{1} << (8 * point)) - 1;
        digits = (less & below) | ((less >> 8) & ~below);
    }
    if (stop < left && ((word >> (8 * stop)) & 0xFF) != ',') {
        return false;
    }
    const int count = stop - (stop == point ? 0 : 1);
    decimals = stop == point ? 0 : stop - point - 1;
    scaled = static_cast<std::int64_t>(DigitsValue(digits, count) * kPowersOfTen[6 - decimals]);
    p += stop;
    return true;
}

// Up to twelve digits, then a point and up to six decimals (ParsePrice's common form).
inline bool QuickPrice(const char*& p, const char* begin, const char* end, std::int64_t& scaled,
                       int& decimals) {
    if (WordPrice(p, begin, end, scaled, decimals)) {
        return true;
    }
    std::uint64_t whole = 0;
    int wholeDigits = 0;
    if (!ReadDigits(p, end, 12, whole, wholeDigits) || wholeDigits == 0) {
        return false;
    }
    std::uint64_t fraction = 0;
    int count = 0;
    if (p < end && *p == '.') {
        ++p;
        if (!ReadDigits(p, end, kMaxDecimals, fraction, count)) {
            return false;
        }
    }
    if (!AtFieldEnd(p, end)) {
        return false;
    }
    scaled = static_cast<std::int64_t>(whole * kPriceScale + fraction * kPowersOfTen[6 - count]);
    decimals = count;
    return true;
}

// Up to sixteen digits, then perhaps a point and zeros.
inline bool QuickCount(const char*& p, const char* begin, const char* end, std::int64_t& value) {
    std::uint64_t word = 0;
    int left = 0;
    if (ShortField(p, begin, end, word, left)) {
        // Up to seven digits and their end in one word.
        const std::uint64_t less = word ^ (0x30 * kBytes);
        const std::uint64_t wrong = NotDigits(less);
        const int stop = wrong == 0 ? 8 : std::countr_zero(wrong) >> 3;
        if (stop > 0 && stop < 8 && (stop == left || ((word >> (8 * stop)) & 0xFF) == ',')) {
            value = static_cast<std::int64_t>(DigitsValue(less, stop));
            p += stop;
            return true;
        }
    }
    std::uint64_t digits = 0;
    int count = 0;
    if (!ReadDigits(p, end, 16, digits, count) || count == 0) {
        return false;
    }
    if (p < end && *p == '.') {
        ++p;
        while (p < end && *p == '0') {
            ++p;
        }
    }
    value = static_cast<std::int64_t>(digits);
    return AtFieldEnd(p, end);
}

// HH:MM:SS at `p` (eight bytes there), read in one word; false when not of that form.
inline bool WordTime(const char* p, Micros& micros) {
    // Each byte less its expected character ('0' or ':') is below ten, the colons' zero.
    const std::uint64_t less = Load(p) ^ 0x30303A30303A3030ULL;
    if (NotDigits(less) != 0 || (less & 0x0000FF0000FF0000ULL) != 0) {
        return false;
    }
    const auto digit = [less](int i) { return static_cast<int>((less >> (8 * i)) & 0xFF); };
    const int hour = digit(0) * 10 + digit(1);
    const int minute = digit(3) * 10 + digit(4);
    const int second = digit(6) * 10 + digit(7);
    if (hour > 23 || minute > 59 || second > 59) {
        return false;
    }
    micros = ((hour * 60 + minute) * 60 + second) * kMicrosPerSecond;
    return true;
}

// The length of a time of day at `p` in its fixed forms, HH:MM:SS and HH:MM:SS.ffffff, by where
// its field ends; 0 for neither.
inline std::size_t TimeLength(const char* p, const char* end) {
    const auto left = end - p;
    if (left >= 8 && AtFieldEnd(p + 8, end)) {
        return 8;
    }
    if (left >= 15 && p[8] == '.' && AtFieldEnd(p + 15, end)) {
        return 15;
    }
    return 0;
}

// A time of day of `length` bytes as TimeLength found it.
inline bool TimeOfDay(const char* p, std::size_t length, Micros& micros) {
    int fraction = 0;
    if (!WordTime(p, micros) || (length == 15 && !detail_text::SixDigits(p + 9, fraction))) {
        return false;
    }
    micros += fraction;
    return true;
}

} // namespace

void RowReader::reset(const Layout& layout) {
    m_layout = layout;
    std::fill(std::begin(m_roles), std::end(m_roles), Role::Skip);
    const auto set = [this](int column, Role role) {
        if (column >= 0 && static_cast<std::size_t>(column) < kMaxFields) {
            m_roles[column] = role;
        }
    };
    if (layout.dateTime >= 0) {
        set(layout.dateTime, Role::DateTime);
    } else {
        set(layout.date, Role::Date);
        set(layout.time, Role::Time);
    }
    if (layout.kind == SeriesKind::Ticks) {
        set(layout.price, Role::Price);
        set(layout.size, Role::Size);
        set(layout.bid, Role::Bid);
        set(layout.ask, Role::Ask);
    } else {
        set(layout.open, Role::Open);
        set(layout.high, Role::High);
        set(layout.low, Role::Low);
        set(layout.close, Role::Close);
        set(layout.volume, Role::Volume);
        set(layout.openInterest, Role::Interest);
    }
    m_haveDate = false;
}

RowFault RowReader::read(std::string_view record, Micros previous, Row& row) {
    RowFault fault = RowFault::None;
    if (m_layout.needed <= kMaxFields && quick(record, previous, row, fault)) {
        return fault;
    }
    const std::size_t count = SplitRecord(record, m_fields, kMaxFields, m_scratch);
    return ParseRow(m_layout, m_fields, std::min(count, kMaxFields), previous, row);
}

bool RowReader::newDay(const char* text, std::int32_t& day) {
    if (!detail_text::DayFromText(std::string_view(text, 10), day)) {
        return false;
    }
    std::memcpy(m_lastDate, text, 10);
    m_lastDay = day;
    m_haveDate = true;
    return true;
}

bool RowReader::quick(std::string_view record, Micros previous, Row& row, RowFault& fault) {
    const char* const begin = record.data();
    const char* p = begin;
    const char* const end = p + record.size();
    std::int32_t dayNumber = 0;
    Micros ofDay = 0;
    std::int64_t interest = 0;
    int decimals = 0;
    row.volume = 0;
    for (std::size_t column = 0; column < m_layout.needed; ++column) {
        if (column > 0) {
            if (p == end) {
                return false; // too few fields
            }
            ++p; // the comma
        }
        int d = 0;
        switch (m_roles[column]) {
        case Role::Skip:
            while (p < end && *p != ',') {
                if (*p++ == '"') {
                    return false;
                }
            }
            break;
        case Role::DateTime: {
            // YYYY-MM-DD HH:MM:SS, perhaps with six decimals.
            if (end - p < 19 || p[10] != ' ' || p[4] != '-') {
                return false;
            }
            const std::size_t length = TimeLength(p + 11, end);
            if (length == 0 || !day(p, dayNumber) || !TimeOfDay(p + 11, length, ofDay)) {
                return false;
            }
            p += 11 + length;
            break;
        }
        case Role::Date:
            if (end - p < 10 || !AtFieldEnd(p + 10, end) || !day(p, dayNumber)) {
                return false;
            }
            p += 10;
            break;
        case Role::Time: {
            const std::size_t length = TimeLength(p, end);
            if (length == 0 || !TimeOfDay(p, length, ofDay)) {
                return false;
            }
            p += length;
            break;
        }
        case Role::Open:
            if (!QuickPrice(p, begin, end, row.open, d)) {
                return false;
            }
            break;
        case Role::High:
            if (!QuickPrice(p, begin, end, row.high, d)) {
                return false;
            }
            break;
        case Role::Low:
            if (!QuickPrice(p, begin, end, row.low, d)) {
                return false;
            }
            break;
        case Role::Close:
        case Role::Price:
            if (!QuickPrice(p, begin, end, row.close, d)) {
                return false;
            }
            break;
        case Role::Bid:
            if (!QuickPrice(p, begin, end, row.bid, d)) {
                return false;
            }
            break;
        case Role::Ask:
            if (!QuickPrice(p, begin, end, row.ask, d)) {
                return false;
            }
            break;
        case Role::Volume:
        case Role::Size:
            if (!QuickCount(p, begin, end, row.volume)) {
                return false;
            }
            break;
        case Role::Interest:
            if (!QuickCount(p, begin, end, interest)) {
                return false;
            }
            break;
        }
        decimals = std::max(decimals, d);
    }
    row.time = StartOfDay(dayNumber) + ofDay;
    if (m_layout.kind == SeriesKind::Ticks) {
        row.open = row.high = row.low = row.close;
        if (m_layout.bid < 0) {
            row.bid = row.ask = row.close;
        }
    }
    fault = CheckRow(m_layout, previous, interest, decimals, row);
    return true;
}

} // namespace portico::files

#pragma once

// The text of a trader's data file: records split into fields (RFC 4180 quoting as spreadsheets
// write it), fixed-point numbers and the date and time forms that such files use. Nothing here
// allocates per record or depends on the locale.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <cstring>

#include "market/calendar.h"
#include "market/market_types.h"

namespace portico::files {

// Prices are held at this scale until the decimals of their file are known.
inline constexpr int kMaxDecimals = 6;
inline constexpr std::int64_t kPriceScale = 1'000'000;

// Splits one record (its line end removed) at the commas outside quotes. A quoted field loses its
// quotes and has each doubled quote made single, in `scratch`, which must stay untouched while
// the fields are used. Stores up to `max` fields and returns how many the record has.
std::size_t SplitRecord(std::string_view record, std::string_view* fields, std::size_t max,
                        std::string& scratch);

// The number, date and time readers below are inline for their common forms: they run for every
// field of every row.

// "-12.345" -> -12345000 at kPriceScale, with the count of decimals written (trailing zeros
// included); digits past the sixth decimal must be zeros. Blanks around the number are allowed.
inline bool ParsePrice(std::string_view text, std::int64_t& scaled, int& decimals);
// A whole non-negative count; a fraction of zeros ("100.0") is allowed.
inline bool ParseCount(std::string_view text, std::int64_t& value);

// YYYY-MM-DD, YYYY/MM/DD or YYYYMMDD -> days since 1970-01-01; false unless a calendar date.
inline bool ParseDay(std::string_view text, std::int32_t& day);
// H:MM, HH:MM:SS, HH:MM:SS.ffffff (up to nine digits, cut to microseconds) -> micros of the day.
inline bool ParseTimeOfDay(std::string_view text, Micros& micros);
// A date, then ' ' or 'T' and a time of day; a date alone is its midnight.
inline bool ParseDateTime(std::string_view text, Micros& time);

// Lower case with blanks, underscores, dashes, quotes and a byte-order mark left out: the form
// header names are matched in.
std::string NormalName(std::string_view name);

namespace detail_text {

inline std::string_view Trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
}

inline bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Exactly `count` digits at `p`.
inline bool Digits(const char* p, int count, int& value) {
    value = 0;
    for (int i = 0; i < count; ++i) {
        if (!IsDigit(p[i])) {
            return false;
        }
        value = value * 10 + (p[i] - '0');
    }
    return true;
}

// The six digits at `p` as microseconds, each digit checked and weighed on its own (no chain of
// multiplications from one digit to the next).
inline bool SixDigits(const char* p, int& value) {
    static constexpr int kWeights[] = {100000, 10000, 1000, 100, 10, 1};
    unsigned bad = 0;
    int sum = 0;
    for (int i = 0; i < 6; ++i) {
        const unsigned digit = static_cast<unsigned char>(p[i]) - unsigned{'0'};
        bad |= digit > 9 ? 1u : 0u;
        sum += static_cast<int>(digit) * kWeights[i];
    }
    value = sum;
    return bad == 0;
}

// The general forms, out of line: the inline readers take the common ones themselves.
bool ParsePriceText(std::string_view text, std::int64_t& scaled, int& decimals);
bool DayFromText(std::string_view text, std::int32_t& day);
bool ParseTimeText(std::string_view text, Micros& micros);
bool ParseDateTimeText(std::string_view text, Micros& time);

inline int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

} // namespace detail_text

inline bool ParsePrice(std::string_view text, std::int64_t& scaled, int& decimals) {
    static constexpr std::int64_t kPowers[] = {1000000, 100000, 10000, 1000, 100, 10, 1};
    // The common form first: digits, then a point and up to six decimals, nothing around them.
    {
        const char* p = text.data();
        const char* const end = p + text.size();
        std::int64_t whole = 0;
        while (p < end && p - text.data() <= 12 && detail_text::IsDigit(*p)) {
            whole = whole * 10 + (*p++ - '0');
        }
        const auto wholeDigits = p - text.data();
        if (wholeDigits > 0 && wholeDigits <= 12) {
            if (p == end) {
                scaled = whole * kPriceScale;
                decimals = 0;
                return true;
            }
            if (*p == '.') {
                const char* const first = ++p;
                std::int64_t fraction = 0;
                while (p < end && p - first < kMaxDecimals && detail_text::IsDigit(*p)) {
                    fraction = fraction * 10 + (*p++ - '0');
                }
                if (p == end) {
                    decimals = static_cast<int>(p - first);
                    scaled = whole * kPriceScale + fraction * kPowers[decimals];
                    return true;
                }
            }
        }
    }
    return detail_text::ParsePriceText(text, scaled, decimals);
}

inline bool ParseCount(std::string_view text, std::int64_t& value) {
    text = detail_text::Trim(text);
    std::size_t i = 0;
    value = 0;
    while (i < text.size() && detail_text::IsDigit(text[i])) {
        if (value > 900'000'000'000'000'000LL / 10) {
            return false;
        }
        value = value * 10 + (text[i++] - '0');
    }
    if (i == 0) {
        return false;
    }
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && text[i] == '0') {
            ++i;
        }
    }
    return i == text.size();
}

inline bool ParseDay(std::string_view text, std::int32_t& day) {
    // Rows come in runs of one date: the last one read on this thread is kept (none yet on a new
    // thread, which no text matches), and a text of ten bytes is compared in two loads.
    thread_local char lastText[10] = {};
    thread_local std::size_t lastSize = 0;
    thread_local std::int32_t lastDay = 0;
    if (text.size() == 10 && lastSize == 10) {
        std::uint64_t head = 0;
        std::uint64_t lastHead = 0;
        std::uint16_t tail = 0;
        std::uint16_t lastTail = 0;
        std::memcpy(&head, text.data(), 8);
        std::memcpy(&lastHead, lastText, 8);
        std::memcpy(&tail, text.data() + 8, 2);
        std::memcpy(&lastTail, lastText + 8, 2);
        if (head == lastHead && tail == lastTail) {
            day = lastDay;
            return true;
        }
    } else if (lastSize != 0 && text.size() == lastSize &&
               std::memcmp(text.data(), lastText, lastSize) == 0) {
        day = lastDay;
        return true;
    }
    if (!detail_text::DayFromText(text, day)) {
        return false;
    }
    std::memcpy(lastText, text.data(), text.size());
    lastSize = text.size();
    lastDay = day;
    return true;
}

inline bool ParseTimeOfDay(std::string_view text, Micros& micros) {
    const char* p = text.data();
    const std::size_t n = text.size();
    // The common forms at fixed places: HH:MM:SS and HH:MM:SS.ffffff.
    if ((n == 15 || n == 8) && p[2] == ':' && p[5] == ':' && (n == 8 || p[8] == '.')) {
        int hour = 0;
        int minute = 0;
        int second = 0;
        int fraction = 0;
        if (detail_text::Digits(p, 2, hour) && detail_text::Digits(p + 3, 2, minute) &&
            detail_text::Digits(p + 6, 2, second) &&
            (n == 8 || detail_text::SixDigits(p + 9, fraction)) && hour <= 23 && minute <= 59 &&
            second <= 59) {
            micros = ((hour * 60 + minute) * 60 + second) * kMicrosPerSecond + fraction;
            return true;
        }
    }
    return detail_text::ParseTimeText(text, micros);
}

inline bool ParseDateTime(std::string_view text, Micros& time) {
    // The common form first: "YYYY-MM-DD HH:MM:SS..." with nothing around it.
    if (text.size() >= 19 && text[10] == ' ' && text[4] == '-' && text.back() != ' ') {
        std::int32_t day = 0;
        Micros ofDay = 0;
        if (ParseDay(text.substr(0, 10), day) && ParseTimeOfDay(text.substr(11), ofDay)) {
            time = StartOfDay(day) + ofDay;
            return true;
        }
    }
    return detail_text::ParseDateTimeText(text, time);
}

} // namespace portico::files

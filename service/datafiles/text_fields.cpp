#include "datafiles/text_fields.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace portico::files {

std::size_t SplitRecord(std::string_view record, std::string_view* fields, std::size_t max,
                        std::string& scratch) {
    std::size_t count = 0;
    const auto store = [&](std::string_view field) {
        if (count < max) {
            fields[count] = field;
        }
        ++count;
    };
    // Plain records (no quotes) are split in one pass without copying, eight bytes at a time:
    // a word with no comma and no quote in it is passed over whole, one with a comma is left at
    // the comma.
    const char* const begin = record.data();
    const char* const end = begin + record.size();
    const char* start = begin;
    const char* p = begin;
    constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
    constexpr std::uint64_t kHighs = 0x8080808080808080ULL;
    const auto has = [](std::uint64_t word, char c) {
        const std::uint64_t x = word ^ (kOnes * static_cast<unsigned char>(c));
        return (x - kOnes) & ~x & kHighs;
    };
    bool sawQuote = false;
    while (true) {
        if (end - p >= 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, p, 8);
            if constexpr (std::endian::native == std::endian::big) {
                word = __builtin_bswap64(word);
            }
            const std::uint64_t found = has(word, ',') | has(word, '"');
            if (found == 0) {
                p += 8;
                continue;
            }
            // The lowest flagged byte is a true comma or quote (a false flag needs a true one
            // below it): step straight to it.
            p += std::countr_zero(found) >> 3;
            if (*p == '"') {
                sawQuote = true;
                break;
            }
            store(std::string_view(start, static_cast<std::size_t>(p - start)));
            start = ++p;
            continue;
        }
        for (; p < end; ++p) {
            if (*p == ',') {
                store(std::string_view(start, static_cast<std::size_t>(p - start)));
                start = p + 1;
            } else if (*p == '"') {
                sawQuote = true;
                break;
            }
        }
        if (sawQuote) {
            break;
        }
        store(std::string_view(start, static_cast<std::size_t>(end - start)));
        return count;
    }
    count = 0;
    // Unquoted text never grows, so the scratch is sized once and never moves while filled.
    if (scratch.size() < record.size()) {
        scratch.resize(record.size());
    }
    char* out = scratch.data();
    std::size_t i = 0;
    while (true) {
        char* const field = out;
        bool quoted = false;
        // Blanks before an opening quote are dropped; elsewhere they are kept.
        std::size_t j = i;
        while (j < record.size() && record[j] == ' ') {
            ++j;
        }
        if (j < record.size() && record[j] == '"') {
            quoted = true;
            i = j + 1;
        }
        while (i < record.size()) {
            const char c = record[i];
            if (quoted) {
                if (c == '"') {
                    if (i + 1 < record.size() && record[i + 1] == '"') {
                        *out++ = '"';
                        i += 2;
                        continue;
                    }
                    quoted = false;
                    ++i;
                    continue;
                }
            } else if (c == ',') {
                break;
            }
            *out++ = c;
            ++i;
        }
        store(std::string_view(field, static_cast<std::size_t>(out - field)));
        if (i >= record.size()) {
            return count;
        }
        ++i; // the comma
    }
}

namespace detail_text {

bool ParsePriceText(std::string_view text, std::int64_t& scaled, int& decimals) {
    static constexpr std::int64_t kPowers[] = {1000000, 100000, 10000, 1000, 100, 10, 1};
    text = detail_text::Trim(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    std::size_t i = 0;
    std::int64_t whole = 0;
    const std::size_t n = text.size();
    while (i < n && detail_text::IsDigit(text[i])) {
        if (whole > 9'000'000'000'000LL) {
            return false; // beyond what the fixed scale holds
        }
        whole = whole * 10 + (text[i++] - '0');
    }
    const std::size_t wholeDigits = i;
    if (whole > 9'000'000'000'000LL) {
        return false;
    }
    std::int64_t fraction = 0;
    int count = 0;
    if (i < n && text[i] == '.') {
        ++i;
        while (i < n && detail_text::IsDigit(text[i])) {
            if (count < kMaxDecimals) {
                fraction = fraction * 10 + (text[i] - '0');
            } else if (text[i] != '0') {
                return false;
            }
            ++count;
            ++i;
        }
    }
    if (i != n || (wholeDigits == 0 && count == 0)) {
        return false;
    }
    const int used = count < kMaxDecimals ? count : kMaxDecimals;
    scaled = whole * kPriceScale + fraction * kPowers[used];
    if (negative) {
        scaled = -scaled;
    }
    // Trailing zeros still count: "12.50" is written with two decimals.
    decimals = used;
    return true;
}

bool DayFromText(std::string_view text, std::int32_t& day) {
    int year = 0;
    int month = 0;
    int dayOfMonth = 0;
    const char* p = text.data();
    if (text.size() == 10 && (p[4] == '-' || p[4] == '/') && p[7] == p[4]) {
        if (!detail_text::Digits(p, 4, year) || !detail_text::Digits(p + 5, 2, month) ||
            !detail_text::Digits(p + 8, 2, dayOfMonth)) {
            return false;
        }
    } else if (text.size() == 8) {
        if (!detail_text::Digits(p, 4, year) || !detail_text::Digits(p + 4, 2, month) ||
            !detail_text::Digits(p + 6, 2, dayOfMonth)) {
            return false;
        }
    } else {
        return false;
    }
    if (year < 1900 || month < 1 || month > 12 || dayOfMonth < 1 ||
        dayOfMonth > detail_text::DaysInMonth(year, month)) {
        return false;
    }
    day = detail::DaysFromCivil(year, month, dayOfMonth);
    return true;
}

bool ParseTimeText(std::string_view text, Micros& micros) {
    const char* p = text.data();
    const std::size_t n = text.size();
    int hour = 0;
    std::size_t i = 0;
    if (n >= 4 && p[1] == ':' && detail_text::Digits(p, 1, hour)) {
        i = 2;
    } else if (n >= 5 && p[2] == ':' && detail_text::Digits(p, 2, hour)) {
        i = 3;
    } else {
        return false;
    }
    int minute = 0;
    int second = 0;
    if (i + 2 > n || !detail_text::Digits(p + i, 2, minute)) {
        return false;
    }
    i += 2;
    if (i < n) {
        if (p[i] != ':' || i + 3 > n || !detail_text::Digits(p + i + 1, 2, second)) {
            return false;
        }
        i += 3;
    }
    Micros fraction = 0;
    if (i < n) {
        if (p[i] != '.' || i + 1 == n || n - i - 1 > 9) {
            return false;
        }
        int place = 0;
        for (++i; i < n; ++i, ++place) {
            if (!detail_text::IsDigit(p[i])) {
                return false;
            }
            if (place < 6) {
                fraction = fraction * 10 + (p[i] - '0');
            }
        }
        for (; place < 6; ++place) {
            fraction *= 10;
        }
    }
    if (hour > 23 || minute > 59 || second > 59) {
        return false;
    }
    micros = ((hour * 60 + minute) * 60 + second) * kMicrosPerSecond + fraction;
    return true;
}

bool ParseDateTimeText(std::string_view text, Micros& time) {
    text = detail_text::Trim(text);
    std::size_t split = 0;
    while (split < text.size() && text[split] != ' ' && text[split] != 'T') {
        ++split;
    }
    if (split == text.size()) {
        split = std::string_view::npos;
    }
    std::int32_t day = 0;
    if (!ParseDay(text.substr(0, split), day)) {
        return false;
    }
    Micros ofDay = 0;
    if (split != std::string_view::npos) {
        std::string_view rest = text.substr(split + 1);
        while (!rest.empty() && rest.front() == ' ') {
            rest.remove_prefix(1);
        }
        if (!ParseTimeOfDay(rest, ofDay)) {
            return false;
        }
    }
    time = StartOfDay(day) + ofDay;
    return true;
}

} // namespace detail_text

std::string NormalName(std::string_view name) {
    std::string out;
    for (const char c : name) {
        if (c == ' ' || c == '_' || c == '-' || c == '\t' || c == '"' || c == '\xEF' ||
            c == '\xBB' || c == '\xBF') {
            continue; // with the byte-order mark (and its quotes) some spreadsheets write first
        }
        out.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
    }
    return out;
}

} // namespace portico::files

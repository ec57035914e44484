#include "datafiles/text_fields.h"

#include <cstring>

#include "market/calendar.h"

namespace portico::files {

namespace {

std::string_view Trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Exactly `count` digits at `p`.
bool Digits(const char* p, int count, int& value) {
    value = 0;
    for (int i = 0; i < count; ++i) {
        if (!IsDigit(p[i])) {
            return false;
        }
        value = value * 10 + (p[i] - '0');
    }
    return true;
}

int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

} // namespace

std::size_t SplitRecord(std::string_view record, std::string_view* fields, std::size_t max,
                        std::string& scratch) {
    std::size_t count = 0;
    const auto store = [&](std::string_view field) {
        if (count < max) {
            fields[count] = field;
        }
        ++count;
    };
    // Plain records (no quotes) are split in one pass without copying.
    const char* const begin = record.data();
    const char* const end = begin + record.size();
    const char* start = begin;
    for (const char* p = begin;; ++p) {
        if (p == end) {
            store(std::string_view(start, static_cast<std::size_t>(p - start)));
            return count;
        }
        if (*p == ',') {
            store(std::string_view(start, static_cast<std::size_t>(p - start)));
            start = p + 1;
        } else if (*p == '"') {
            break;
        }
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

bool ParsePrice(std::string_view text, std::int64_t& scaled, int& decimals) {
    text = Trim(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    std::size_t i = 0;
    std::int64_t whole = 0;
    const std::size_t n = text.size();
    while (i < n && IsDigit(text[i])) {
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
        while (i < n && IsDigit(text[i])) {
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
    static constexpr std::int64_t kPowers[] = {1000000, 100000, 10000, 1000, 100, 10, 1};
    const int used = count < kMaxDecimals ? count : kMaxDecimals;
    scaled = whole * kPriceScale + fraction * kPowers[used];
    if (negative) {
        scaled = -scaled;
    }
    // Trailing zeros still count: "12.50" is written with two decimals.
    decimals = used;
    return true;
}

bool ParseCount(std::string_view text, std::int64_t& value) {
    text = Trim(text);
    std::size_t i = 0;
    value = 0;
    while (i < text.size() && IsDigit(text[i])) {
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

bool ParseDay(std::string_view text, std::int32_t& day) {
    // Rows come in runs of one date: the last one read on this thread is kept.
    thread_local char lastText[10] = {};
    thread_local std::size_t lastSize = 0;
    thread_local std::int32_t lastDay = 0;
    if (text.size() == lastSize && std::memcmp(text.data(), lastText, lastSize) == 0) {
        day = lastDay;
        return true;
    }
    int year = 0;
    int month = 0;
    int dayOfMonth = 0;
    const char* p = text.data();
    if (text.size() == 10 && (p[4] == '-' || p[4] == '/') && p[7] == p[4]) {
        if (!Digits(p, 4, year) || !Digits(p + 5, 2, month) || !Digits(p + 8, 2, dayOfMonth)) {
            return false;
        }
    } else if (text.size() == 8) {
        if (!Digits(p, 4, year) || !Digits(p + 4, 2, month) || !Digits(p + 6, 2, dayOfMonth)) {
            return false;
        }
    } else {
        return false;
    }
    if (year < 1900 || month < 1 || month > 12 || dayOfMonth < 1 ||
        dayOfMonth > DaysInMonth(year, month)) {
        return false;
    }
    day = detail::DaysFromCivil(year, month, dayOfMonth);
    std::memcpy(lastText, text.data(), text.size());
    lastSize = text.size();
    lastDay = day;
    return true;
}

bool ParseTimeOfDay(std::string_view text, Micros& micros) {
    const char* p = text.data();
    const std::size_t n = text.size();
    int hour = 0;
    std::size_t i = 0;
    if (n >= 4 && p[1] == ':' && Digits(p, 1, hour)) {
        i = 2;
    } else if (n >= 5 && p[2] == ':' && Digits(p, 2, hour)) {
        i = 3;
    } else {
        return false;
    }
    int minute = 0;
    int second = 0;
    if (i + 2 > n || !Digits(p + i, 2, minute)) {
        return false;
    }
    i += 2;
    if (i < n) {
        if (p[i] != ':' || i + 3 > n || !Digits(p + i + 1, 2, second)) {
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
            if (!IsDigit(p[i])) {
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

bool ParseDateTime(std::string_view text, Micros& time) {
    text = Trim(text);
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

std::string NormalName(std::string_view name) {
    std::string out;
    for (const char c : name) {
        if (c == ' ' || c == '_' || c == '-' || c == '\t' || c == '\xEF' || c == '\xBB' ||
            c == '\xBF') {
            continue; // the byte-order mark some spreadsheets put before the first name too
        }
        out.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
    }
    return out;
}

} // namespace portico::files

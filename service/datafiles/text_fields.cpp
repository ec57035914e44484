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

#pragma once

// The numbers of history answer lines, read without locale or allocation. Each function gives
// exactly what its counterpart of base/numbers.h gives for every text; plain decimals (the only
// form the feed sends) take a short path, anything else goes to the counterpart.

#include "base/numbers.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace answer_numbers {

// Every function takes, besides the text, how far memory may be read (`readable`, at least the
// text's end): a field with eight readable bytes from its start is read eight bytes at a time.

// Eight characters (the first in the lowest byte) of which the first `n` (1 to 8) are kept and
// '0's put in front of them: the text of those n characters as eight with leading zeros.
inline std::uint64_t LoadPaddedChunk(std::uint64_t chunk, std::size_t n) {
    if (n == 8) {
        return chunk;
    }
    const unsigned drop = static_cast<unsigned>(8 - n) * 8;
    return (chunk << drop) | (0x3030303030303030ULL >> (64 - drop));
}

// The same of the eight bytes at `p`.
inline std::uint64_t LoadPadded(const char* p, std::size_t n) {
    std::uint64_t chunk = 0;
    std::memcpy(&chunk, p, sizeof chunk);
    return LoadPaddedChunk(chunk, n);
}

// The value of eight digit characters in `chunk` (the first in the lowest byte); false when a
// byte is no digit.
inline bool EightDigitsValue(std::uint64_t chunk, std::uint64_t& value) {
    if (((chunk & 0xF0F0F0F0F0F0F0F0ULL) |
         (((chunk + 0x0606060606060606ULL) & 0xF0F0F0F0F0F0F0F0ULL) >> 4)) !=
        0x3333333333333333ULL) {
        return false;
    }
    chunk -= 0x3030303030303030ULL;
    chunk = chunk * 10 + (chunk >> 8);
    value = (((chunk & 0x000000FF000000FFULL) * 0x000F424000000064ULL) +
             (((chunk >> 16) & 0x000000FF000000FFULL) * 0x0000271000000001ULL)) >>
            32;
    return true;
}

// The value of a field made only of 1 to 18 decimal digits in `value`; false for anything else.
inline bool PlainDigits(std::string_view text, std::uint64_t& value,
                        const char* readable = nullptr) {
    if (text.empty() || text.size() > 18) {
        return false;
    }
    if (text.size() <= 8 && readable != nullptr && readable - text.data() >= 8) {
        return EightDigitsValue(LoadPadded(text.data(), text.size()), value);
    }
    std::uint64_t v = 0;
    for (const char c : text) {
        const unsigned digit = static_cast<unsigned char>(c) - static_cast<unsigned>('0');
        if (digit > 9) {
            return false;
        }
        v = v * 10 + digit;
    }
    value = v;
    return true;
}

// ToDouble(text). A field of the form [-]digits[.digits] with at most 15 significant digits and
// at most 22 after the point is the quotient of two doubles that hold their integers exactly, so
// the one rounding of the division gives the correctly rounded value that ToDouble gives too.
inline double Price(std::string_view text, const char* readable = nullptr) {
    static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                         1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const char* p = text.data();
    const char* const end = p + text.size();
    const bool negative = p != end && *p == '-';
    p += negative ? 1 : 0;
    if (p == end || static_cast<unsigned>(*p - '0') > 9) {
        return ToDouble(text);
    }
    const auto n = static_cast<std::size_t>(end - p);
    if (n <= 8 && readable != nullptr && readable - p >= 8) {
        // The point found among the n bytes, the bytes after it moved up over it, and the n - 1
        // digits (or n without a point) read at once.
        std::uint64_t chunk = 0;
        std::memcpy(&chunk, p, sizeof chunk);
        const std::uint64_t keep = n == 8 ? ~0ULL : (1ULL << (8 * n)) - 1;
        const std::uint64_t x = (chunk ^ 0x2E2E2E2E2E2E2E2EULL) & keep;
        const std::uint64_t points =
            (x - 0x0101010101010101ULL) & ~x & 0x8080808080808080ULL & keep;
        std::size_t digits = n;
        std::size_t decimals = 0;
        if (points != 0) {
            const auto at = static_cast<std::size_t>(__builtin_ctzll(points)) / 8;
            const std::uint64_t before = (1ULL << (8 * at)) - 1;
            chunk = (chunk & before) | ((chunk >> 8) & ~before);
            digits = n - 1;
            decimals = digits - at;
        }
        std::uint64_t mantissa = 0;
        if (!EightDigitsValue(LoadPaddedChunk(chunk, digits), mantissa)) {
            return ToDouble(text);
        }
        const double value = static_cast<double>(mantissa) / kPowers[decimals];
        return negative ? -value : value;
    }
    std::uint64_t mantissa = 0;
    int digits = 0;
    int decimals = 0;
    for (; p != end && static_cast<unsigned>(*p - '0') <= 9; ++p, ++digits) {
        mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
    }
    if (p != end && *p == '.') {
        for (++p; p != end && static_cast<unsigned>(*p - '0') <= 9; ++p, ++digits, ++decimals) {
            mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
        }
    }
    if (p != end || digits > 15 || decimals > 22) {
        return ToDouble(text);
    }
    const double value = static_cast<double>(mantissa) / kPowers[decimals];
    return negative ? -value : value;
}

// ToInteger<std::int64_t>(text).
inline std::int64_t Int64(std::string_view text, const char* readable = nullptr) {
    std::uint64_t value = 0;
    return PlainDigits(text, value, readable) ? static_cast<std::int64_t>(value)
                                              : ToInteger<std::int64_t>(text);
}

// ToInteger<int>(text).
inline int Int(std::string_view text, const char* readable = nullptr) {
    std::uint64_t value = 0;
    return text.size() <= 9 && PlainDigits(text, value, readable) ? static_cast<int>(value)
                                                                  : ToInteger<int>(text);
}

// ToUnsigned32(text).
inline std::uint32_t Unsigned32(std::string_view text, const char* readable = nullptr) {
    std::uint64_t value = 0;
    return PlainDigits(text, value, readable) ? static_cast<std::uint32_t>(value)
                                              : ToUnsigned32(text);
}

} // namespace answer_numbers

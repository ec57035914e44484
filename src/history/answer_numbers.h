#pragma once

// The numbers of history answer lines, read without locale or allocation. Each function gives
// exactly what its counterpart of base/numbers.h gives for every text; plain decimals (the only
// form the feed sends) take a short path, anything else goes to the counterpart.

#include "base/numbers.h"

#include <cstdint>
#include <string_view>

namespace answer_numbers {

// The value of a field made only of 1 to 18 decimal digits in `value`; false for anything else.
inline bool PlainDigits(std::string_view text, std::uint64_t& value) {
    if (text.empty() || text.size() > 18) {
        return false;
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
inline double Price(std::string_view text) {
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
inline std::int64_t Int64(std::string_view text) {
    std::uint64_t value = 0;
    return PlainDigits(text, value) ? static_cast<std::int64_t>(value)
                                    : ToInteger<std::int64_t>(text);
}

// ToInteger<int>(text).
inline int Int(std::string_view text) {
    std::uint64_t value = 0;
    return text.size() <= 9 && PlainDigits(text, value) ? static_cast<int>(value)
                                                        : ToInteger<int>(text);
}

// ToUnsigned32(text).
inline std::uint32_t Unsigned32(std::string_view text) {
    std::uint64_t value = 0;
    return PlainDigits(text, value) ? static_cast<std::uint32_t>(value) : ToUnsigned32(text);
}

} // namespace answer_numbers

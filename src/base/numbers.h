#pragma once

// Decimal text conversions in the manner of the C library (atof, strtoul, _atoi64): leading
// blanks and a plus sign are skipped, the number ends at the first character that does not belong
// to it, and text without a number gives 0. Protocol fields are read with these.

#include <charconv>
#include <cstdint>
#include <string_view>

std::string_view NumberStart(std::string_view text);
double ToDouble(std::string_view text);

template <typename T> T ToInteger(std::string_view text) {
    T value = 0;
    const std::string_view number = NumberStart(text);
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    return result.ec == std::errc() ? value : T{0};
}

// strtoul's 32-bit result: a leading minus sign is taken modulo 2^32.
std::uint32_t ToUnsigned32(std::string_view text);

// `length` digits at `position` of `text`; -1 when they are not all there.
int Digits(std::string_view text, std::size_t position, std::size_t length);

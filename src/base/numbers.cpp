#include "base/numbers.h"

std::string_view NumberStart(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) {
        ++i;
    }
    if (i < text.size() && text[i] == '+') {
        ++i;
    }
    return text.substr(i);
}

double ToDouble(std::string_view text) {
    double value = 0.0;
    const std::string_view number = NumberStart(text);
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    return result.ec == std::errc() ? value : 0.0;
}

std::uint32_t ToUnsigned32(std::string_view text) {
    const std::string_view number = NumberStart(text);
    if (!number.empty() && number.front() == '-') {
        // The magnitude is read unsigned, so a second sign reads as no number, and the negation
        // wraps as unsigned arithmetic does instead of overflowing.
        return static_cast<std::uint32_t>(0U - ToInteger<std::uint64_t>(number.substr(1)));
    }
    return static_cast<std::uint32_t>(ToInteger<std::uint64_t>(number));
}

int Digits(std::string_view text, std::size_t position, std::size_t length) {
    if (position + length > text.size()) {
        return -1;
    }
    int value = 0;
    for (std::size_t i = position; i < position + length; ++i) {
        const unsigned digit = static_cast<unsigned char>(text[i]) - static_cast<unsigned>('0');
        if (digit > 9) {
            return -1;
        }
        value = value * 10 + static_cast<int>(digit);
    }
    return value;
}

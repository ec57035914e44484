#pragma once

// A growable output buffer with hand-written number, price, date and time formatting. History
// answers of millions of lines go through it, so every append is a few stores, with no locale,
// stream or printf machinery involved.
//
// The hottest lines are written through a raw cursor: claim() reserves room for a whole line
// and returns where it starts, the static Write* functions advance the cursor, and commit()
// takes it back. Keeping the cursor in a local variable lets the compiler keep it in a register.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "market/market.h"

namespace portico {

class LineWriter {
public:
    LineWriter() { m_buffer.resize(4096); }

    const char* data() const { return m_buffer.data(); }
    std::size_t size() const { return m_size; }
    std::string_view view() const { return {m_buffer.data(), m_size}; }
    std::string str() const { return std::string(view()); }
    void clear() { m_size = 0; }
    // Empties the buffer and gives its memory back, keeping the first 4 KiB.
    void release() {
        m_size = 0;
        std::string small(4096, '\0');
        m_buffer.swap(small);
    }
    std::size_t capacity() const { return m_buffer.size(); }
    // Drops everything after the first `size` bytes.
    void truncate(std::size_t size) {
        if (size < m_size) {
            m_size = size;
        }
    }

    // Room for at least `bytes` more; returns the cursor to write them at.
    char* claim(std::size_t bytes) {
        reserve(bytes);
        return m_buffer.data() + m_size;
    }
    // Ends a claim: `cursor` is where writing stopped.
    void commit(const char* cursor) { m_size = static_cast<std::size_t>(cursor - m_buffer.data()); }

    void put(char c) {
        reserve(1);
        m_buffer[m_size++] = c;
    }
    void put(std::string_view text) {
        reserve(text.size());
        std::memcpy(m_buffer.data() + m_size, text.data(), text.size());
        m_size += text.size();
    }
    void putRepeated(char c, std::size_t count) {
        reserve(count);
        std::memset(m_buffer.data() + m_size, c, count);
        m_size += count;
    }
    void putUnsigned(std::uint64_t value) { commit(WriteUnsigned(claim(20), value)); }
    void putSigned(std::int64_t value) { commit(WriteSigned(claim(21), value)); }
    // `value` in units of 10^-decimals, e.g. (12345, 2) -> "123.45", (-5, 2) -> "-0.05".
    void putPrice(std::int64_t value, int decimals) {
        commit(WritePrice(claim(kMaxPriceBytes), value, decimals));
    }
    // `value` as exactly `width` digits with leading zeros (value must fit).
    void putPadded(std::uint64_t value, int width) {
        char* p = claim(static_cast<std::size_t>(width));
        WriteDigits(p, value, width);
        commit(p + width);
    }
    void putHex2(std::uint8_t value) { commit(WriteHex2(claim(2), value)); }

    // Civil times in microseconds since 1970-01-01 (see market.h).
    void putIsoDate(Micros time);      // YYYY-MM-DD
    void putCompactDate(Micros time);  // YYYYMMDD
    void putSlashDate(Micros time);    // MM/DD/YYYY
    void putTimeOfDay(Micros time);    // HH:MM:SS
    void putMicroTime(Micros time);    // HH:MM:SS.ffffff
    void putIsoDateTime(Micros time);  // YYYY-MM-DD HH:MM:SS
    void putIsoMicroTime(Micros time); // YYYY-MM-DD HH:MM:SS.ffffff

    void endLine() {
        reserve(2);
        m_buffer[m_size++] = '\r';
        m_buffer[m_size++] = '\n';
    }

    void reserve(std::size_t more) {
        if (m_buffer.size() - m_size < more) {
            grow(more);
        }
    }

    // Cursor writers: each writes at `p` and returns the position after what it wrote.
    static constexpr std::size_t kMaxPriceBytes = 48;

    static int DigitCount(std::uint64_t value) {
        // The bit width gives the count of digits or one less; one comparison settles it.
        const int guess = (std::bit_width(value | 1) * 1233) >> 12;
        return guess + ((value | 1) >= kPowersOfTen[guess] ? 1 : 0);
    }
    // Writes exactly `digits` digits of `value` (the lowest ones) at out .. out + digits.
    static void WriteDigits(char* out, std::uint64_t value, int digits) {
        char* p = out + digits;
        while (digits >= 2 && value >= (1ULL << 32)) {
            const auto pair = static_cast<unsigned>(value % 100);
            value /= 100;
            p -= 2;
            std::memcpy(p, kDigitPairs + 2 * pair, 2);
            digits -= 2;
        }
        // The rest in 32-bit arithmetic, which is cheaper.
        auto small = static_cast<std::uint32_t>(value);
        while (digits >= 2) {
            const std::uint32_t pair = small % 100;
            small /= 100;
            p -= 2;
            std::memcpy(p, kDigitPairs + 2 * pair, 2);
            digits -= 2;
        }
        if (digits > 0) {
            *--p = static_cast<char>('0' + small % 10);
        }
    }
    // Exactly N digits of `value` (below 10^N), leading zeros included; N known at compile time.
    template <int N>
    [[gnu::always_inline]] static void WriteFixedDigits(char* out, std::uint32_t value) {
        static_assert(N >= 1 && N <= 9);
        if constexpr (N % 2 == 1) {
            if constexpr (N > 1) {
                WriteFixedDigits<N - 1>(out + 1, value % kPowersOfTen[N - 1]);
            }
            out[0] = static_cast<char>('0' + value / kPowersOfTen[N - 1]);
        } else {
            constexpr auto low = static_cast<std::uint32_t>(kPowersOfTen[N - 2]);
            if constexpr (N > 2) {
                WriteFixedDigits<N - 2>(out + 2, value % low);
            }
            std::memcpy(out, kDigitPairs + 2 * (value / low), 2);
        }
    }
    // Inlined at every call, so that each field's branches are predicted on their own.
    [[gnu::always_inline]] static char* WriteUnsigned(char* p, std::uint64_t value) {
        // Branches by size, each with constant divisors; the values of one field in consecutive
        // lines mostly take the same branch.
        if (value < 10'000) {
            if (value < 100) {
                if (value < 10) {
                    *p = static_cast<char>('0' + value);
                    return p + 1;
                }
                std::memcpy(p, kDigitPairs + 2 * value, 2);
                return p + 2;
            }
            if (value < 1000) {
                WriteFixedDigits<3>(p, static_cast<std::uint32_t>(value));
                return p + 3;
            }
            WriteFixedDigits<4>(p, static_cast<std::uint32_t>(value));
            return p + 4;
        }
        if (value < 100'000'000) {
            const auto v = static_cast<std::uint32_t>(value);
            if (value < 1'000'000) {
                if (value < 100'000) {
                    WriteFixedDigits<5>(p, v);
                    return p + 5;
                }
                WriteFixedDigits<6>(p, v);
                return p + 6;
            }
            if (value < 10'000'000) {
                WriteFixedDigits<7>(p, v);
                return p + 7;
            }
            WriteFixedDigits<8>(p, v);
            return p + 8;
        }
        const int digits = DigitCount(value);
        WriteDigits(p, value, digits);
        return p + digits;
    }
    [[gnu::always_inline]] static char* WriteSigned(char* p, std::int64_t value) {
        if (value < 0) {
            *p++ = '-';
            return WriteUnsigned(p,
                                 static_cast<std::uint64_t>(0) - static_cast<std::uint64_t>(value));
        }
        return WriteUnsigned(p, static_cast<std::uint64_t>(value));
    }
    // `value` in units of 10^-Decimals; the divisor is a constant, so no division instruction.
    template <int Decimals>
    [[gnu::always_inline]] static char* WriteFixed(char* p, std::int64_t value) {
        static_assert(Decimals > 0 && Decimals <= 18);
        std::uint64_t magnitude = static_cast<std::uint64_t>(value);
        if (value < 0) {
            *p++ = '-';
            magnitude = static_cast<std::uint64_t>(0) - magnitude;
        }
        constexpr std::uint64_t scale = kPowersOfTen[Decimals];
        const std::uint64_t whole = magnitude / scale;
        p = WriteUnsigned(p, whole);
        *p++ = '.';
        if constexpr (Decimals <= 9) {
            WriteFixedDigits<Decimals>(p, static_cast<std::uint32_t>(magnitude - whole * scale));
        } else {
            WriteDigits(p, magnitude - whole * scale, Decimals);
        }
        return p + Decimals;
    }
    // Calls `write` with std::integral_constant<int, decimals> for the counts of decimals prices
    // are usually written with (1 to 8), and with 0 for any other count (see WritePrice).
    template <typename Function>
    static decltype(auto) WithDecimals(int decimals, Function&& write) {
        switch (decimals) {
        case 1:
            return write(std::integral_constant<int, 1>{});
        case 2:
            return write(std::integral_constant<int, 2>{});
        case 3:
            return write(std::integral_constant<int, 3>{});
        case 4:
            return write(std::integral_constant<int, 4>{});
        case 5:
            return write(std::integral_constant<int, 5>{});
        case 6:
            return write(std::integral_constant<int, 6>{});
        case 7:
            return write(std::integral_constant<int, 7>{});
        case 8:
            return write(std::integral_constant<int, 8>{});
        default:
            return write(std::integral_constant<int, 0>{});
        }
    }
    static char* WritePrice(char* p, std::int64_t value, int decimals);
    static char* WriteHex2(char* p, std::uint8_t value) {
        static constexpr char kHex[] = "0123456789ABCDEF";
        p[0] = kHex[value >> 4];
        p[1] = kHex[value & 15];
        return p + 2;
    }
    // HH:MM:SS.ffffff of a time of day in microseconds (0 <= microsOfDay < one day).
    static char* WriteMicroTimeOfDay(char* p, Micros microsOfDay) {
        const auto second = static_cast<unsigned>(microsOfDay / kMicrosPerSecond);
        const auto fraction = static_cast<std::uint64_t>(microsOfDay % kMicrosPerSecond);
        WriteDigits(p, second / 3600, 2);
        p[2] = ':';
        WriteDigits(p + 3, second / 60 % 60, 2);
        p[5] = ':';
        WriteDigits(p + 6, second % 60, 2);
        p[8] = '.';
        WriteDigits(p + 9, fraction, 6);
        return p + 15;
    }

private:
    static constexpr std::uint64_t kPowersOfTen[] = {1,
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
                                                     1'000'000'000'000'000'000,
                                                     10'000'000'000'000'000'000ULL};
    static constexpr char kDigitPairs[] = "00010203040506070809"
                                          "10111213141516171819"
                                          "20212223242526272829"
                                          "30313233343536373839"
                                          "40414243444546474849"
                                          "50515253545556575859"
                                          "60616263646566676869"
                                          "70717273747576777879"
                                          "80818283848586878889"
                                          "90919293949596979899";

    void grow(std::size_t more);

    std::string m_buffer;
    std::size_t m_size = 0;
};

} // namespace portico

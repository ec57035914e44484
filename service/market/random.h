#pragma once

// Integer hashing and random numbers for the simulated market. Everything here is made of
// integer and basic IEEE double arithmetic so that the same seed gives the same data on every
// machine and standard library.

#include <bit>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace portico::detail {

inline constexpr std::uint64_t kGolden = 0x9e3779b97f4a7c15ULL;

inline std::uint64_t Mix64(std::uint64_t x) {
    x ^= x >> 30;
    x *= 0xbf58476d1ce4e5b9ULL;
    x ^= x >> 27;
    x *= 0x94d049bb133111ebULL;
    x ^= x >> 31;
    return x;
}

inline std::uint64_t HashKey(std::uint64_t a, std::uint64_t b) {
    return Mix64(a ^ Mix64(b + kGolden));
}

inline std::uint64_t HashText(std::string_view text) {
    std::uint64_t h = 0xcbf29ce484222325ULL;
    for (const char c : text) {
        h ^= static_cast<unsigned char>(c);
        h *= 0x100000001b3ULL;
    }
    return Mix64(h);
}

// A splitmix64 stream.
class Rng {
public:
    explicit Rng(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        m_state += kGolden;
        return Mix64(m_state);
    }
    // Uniform in [0, 1).
    double uniform() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
    // Uniform integer in [0, n) for n < 2^32.
    std::uint64_t below(std::uint64_t n) { return ((next() >> 32) * n) >> 32; }
    // Zero mean, unit variance, bell shaped (sum of four uniforms): cheap and exact everywhere.
    double normal() {
        const std::uint64_t r = next();
        const double sum = static_cast<double>((r & 0xffff) + ((r >> 16) & 0xffff) +
                                               ((r >> 32) & 0xffff) + (r >> 48)) +
                           2.0;
        return (sum * 0x1.0p-16 - 2.0) * 1.7320508075688772;
    }

private:
    std::uint64_t m_state;
};

// The largest integer not above x, for |x| < 2^62.
inline std::int64_t FloorToInt(double x) {
    const auto i = static_cast<std::int64_t>(x);
    return static_cast<double>(i) > x ? i - 1 : i;
}

// x rounded towards zero, for |x| < 2^62.
inline std::int64_t TruncateToInt(double x) {
    return static_cast<std::int64_t>(x);
}

// e^x from a polynomial, so that it does not depend on the maths library.
inline double Exp(double x) {
    if (x < -700.0) {
        return 0.0;
    }
    if (x > 700.0) {
        x = 700.0;
    }
    const std::int64_t n = FloorToInt(x * 1.4426950408889634 + 0.5);
    const auto k = static_cast<double>(n);
    const double r = (x - k * 6.93147180369123816490e-01) - k * 1.90821492927058770002e-10;
    double p = 1.0 / 39916800.0;
    p = p * r + 1.0 / 3628800.0;
    p = p * r + 1.0 / 362880.0;
    p = p * r + 1.0 / 40320.0;
    p = p * r + 1.0 / 5040.0;
    p = p * r + 1.0 / 720.0;
    p = p * r + 1.0 / 120.0;
    p = p * r + 1.0 / 24.0;
    p = p * r + 1.0 / 6.0;
    p = p * r + 0.5;
    p = p * r + 1.0;
    p = p * r + 1.0;
    // Times 2^n, in two steps so that neither power leaves the normal range.
    const std::int64_t half = n / 2;
    const double a = std::bit_cast<double>(static_cast<std::uint64_t>(half + 1023) << 52);
    const double b = std::bit_cast<double>(static_cast<std::uint64_t>(n - half + 1023) << 52);
    return p * a * b;
}

// Natural logarithm of x > 0 by Halley steps on Exp.
inline double Log(double x) {
    int exponent = 0;
    const double m = std::frexp(x, &exponent);
    double y = m - 1.0;
    for (int i = 0; i < 8; ++i) {
        const double e = Exp(y);
        y += 2.0 * (m - e) / (m + e);
    }
    return y + exponent * 0.6931471805599453;
}

} // namespace portico::detail

#include "render/power.h"

#include <cstdint>
#include <cstring>

namespace {

// ln 2 split so that k * kLn2High is exact for the exponents a float has.
constexpr double kLn2High = 0x1.62e42fefa3800p-1;
constexpr double kLn2Low = 0x1.ef35793c76730p-45;
constexpr double kInvLn2 = 0x1.71547652b82fep+0;
constexpr double kSqrtHalf = 0x1.6a09e667f3bcdp-1;

double FromBits(std::uint64_t bits)
{
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

std::uint64_t ToBits(double d)
{
    std::uint64_t bits;
    std::memcpy(&bits, &d, sizeof bits);
    return bits;
}

// ln x for a positive, finite double.
double Log(double x)
{
    std::uint64_t bits = ToBits(x);
    int k = static_cast<int>((bits >> 52) & 0x7ff);
    if (k == 0) {  // subnormal: scale into the normal range first
        bits = ToBits(x * 0x1p54);
        k = static_cast<int>((bits >> 52) & 0x7ff) - 54;
    }
    k -= 1023;
    double m = FromBits((bits & 0x000fffffffffffffull) | 0x3ff0000000000000ull);  // [1, 2)
    if (m > 2.0 * kSqrtHalf) {
        m *= 0.5;
        ++k;
    }
    // ln m = 2 atanh(s) with s = (m - 1) / (m + 1), |s| <= 0.1716.
    const double f = m - 1.0;
    const double s = f / (2.0 + f);
    const double z = s * s;
    // sum of z^i / (2i + 1), i = 0..11: the next term is below 1e-19.
    constexpr double c[12] = {1.0,        1.0 / 3,  1.0 / 5,  1.0 / 7,  1.0 / 9,  1.0 / 11,
                              1.0 / 13,  1.0 / 15, 1.0 / 17, 1.0 / 19, 1.0 / 21, 1.0 / 23};
    double series = c[11];
    for (int i = 10; i >= 0; --i) series = series * z + c[i];
    const double lnm = 2.0 * s * series;
    return static_cast<double>(k) * kLn2High + (lnm + static_cast<double>(k) * kLn2Low);
}

// e^y for y in the range a float power can need.
double Exp(double y)
{
    if (y < -1100.0) return 0.0;
    if (y > 1100.0) return FromBits(0x7ff0000000000000ull);
    const double nd = static_cast<double>(static_cast<std::int64_t>(y * kInvLn2 + (y < 0 ? -0.5 : 0.5)));
    const double r = (y - nd * kLn2High) - nd * kLn2Low;  // |r| <= ln 2 / 2 (+ rounding)
    // e^r = sum of r^i / i!, i = 0..14: the next term is below 1e-21.
    constexpr double f[15] = {1.0,
                              1.0,
                              1.0 / 2,
                              1.0 / 6,
                              1.0 / 24,
                              1.0 / 120,
                              1.0 / 720,
                              1.0 / 5040,
                              1.0 / 40320,
                              1.0 / 362880,
                              1.0 / 3628800,
                              1.0 / 39916800,
                              1.0 / 479001600,
                              1.0 / 6227020800.0,
                              1.0 / 87178291200.0};
    double series = f[14];
    for (int i = 13; i >= 0; --i) series = series * r + f[i];
    // Scale by 2^n in two exact steps, so results below the normal range
    // stay right.
    const int n = static_cast<int>(nd);
    const int half = n / 2;
    const double a = FromBits(static_cast<std::uint64_t>(half + 1023) << 52);
    const double b = FromBits(static_cast<std::uint64_t>(n - half + 1023) << 52);
    return series * a * b;
}

}  // namespace

float PowerOf(float base, float exponent)
{
    if (base != base) return base;
    if (base == 0.0f) return 0.0f;
    if (base == 1.0f) return 1.0f;
    return static_cast<float>(Exp(static_cast<double>(exponent) * Log(static_cast<double>(base))));
}

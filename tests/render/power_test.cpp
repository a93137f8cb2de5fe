#include "render/power.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>

namespace {

// The reference: the power in x87 extended precision, rounded to float.
float Reference(float x, float e) { return static_cast<float>(powl(static_cast<long double>(x), static_cast<long double>(e))); }

std::int32_t Bits(float f)
{
    std::int32_t b;
    std::memcpy(&b, &f, sizeof b);
    return b;
}

// Every exponent the motion slider can give, over the motion values the
// curve sees (0..1 and a little above, from rounding in the smoothing) and
// down into the small values: the result is the correctly rounded power.
// A rounding midpoint closer than the double evaluation can resolve is
// possible in principle; none may be more than one step off.
TEST(PowerOf, IsTheCorrectlyRoundedPower)
{
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> unit(0.0f, 1.02f);
    std::uniform_real_distribution<float> scale(-40.0f, 0.0f);
    long compared = 0, off = 0;
    for (int a = -100; a <= 100; ++a) {
        float e;
        if (a < 0) {
            e = (4.0f - 1.0f) * (static_cast<float>(a) * -0.01f) + 1.0f;
        } else {
            const float u = static_cast<float>(a) * 0.01f;
            e = 0.1f * u + (1.0f - u);
        }
        for (int i = 0; i < 2000; ++i) {
            const float x = i % 4 == 0 ? std::exp2(scale(rng)) : unit(rng);
            const float got = PowerOf(x, e), want = Reference(x, e);
            ++compared;
            if (got != want) {
                ++off;
                ASSERT_LE(std::abs(Bits(got) - Bits(want)), 1) << x << "^" << e;
            }
        }
    }
    EXPECT_LE(off, 2) << "of " << compared;
}

TEST(PowerOf, ExactCases)
{
    EXPECT_EQ(PowerOf(0.0f, 0.82f), 0.0f);
    EXPECT_EQ(PowerOf(1.0f, 0.1f), 1.0f);
    EXPECT_EQ(PowerOf(0.25f, 0.5f), 0.5f);
    EXPECT_EQ(PowerOf(0.5f, 4.0f), 0.0625f);
    EXPECT_EQ(PowerOf(1e-30f, 4.0f), 0.0f);  // below the smallest float
    EXPECT_TRUE(std::isnan(PowerOf(NAN, 1.0f)));
    for (float x : {0.3f, 0.7f, 1e-20f, 0x1.fffffep-1f, 1.01f}) EXPECT_EQ(PowerOf(x, 1.0f), x) << x;
}

}  // namespace

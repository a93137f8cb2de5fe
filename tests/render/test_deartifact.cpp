// Deartifacting: chroma median under the original brightness.
#include "image/median_filter.h"
#include "render/deartifact.h"

#include "test_support.h"

#include <algorithm>

namespace {

using namespace render_test;

float Luma(const Pixel& p) { return 0.299f * p[1] + 0.587f * p[2] + 0.114f * p[3]; }

using DeartifactFn = void (*)(long, CVFloatWorld&, CVFloatWorld&);

class DeartifactTest : public HostTest {};

// Each build is the chroma median of the popup's format followed by the
// luma restore; both agree bit for bit and leave the padding alone.
TEST_F(DeartifactTest, BuildsAgreeBitForBitAndLeavePaddingAlone)
{
    CVFloatWorld original(37, 23), a(37, 23), b(37, 23), scratchA(37, 23), scratchB(37, 23), c(37, 23);
    for (float lo : {0.0f, -0.3f}) {
        FillRandom(original, rng_, lo, 1.0f - lo);
        const std::vector<float> before = Snapshot(original);
        for (long popup : {2L, 3L, 4L}) {
            Restore(before, a);
            Restore(before, b);
            Deartifact_regular(popup, a, scratchA);
            Deartifact_simd(popup, b, scratchB);
            ASSERT_TRUE(SameBits(Snapshot(a), Snapshot(b))) << "popup " << popup;
            Restore(before, c);
            deartifact_median(original, popup - 1, scratchB);
            RestoreLuma_regular(c, scratchB);
            ASSERT_TRUE(SameBits(Snapshot(a), Snapshot(c))) << "popup " << popup;
            EXPECT_FALSE(SameBits(Snapshot(a), before));
            for (long y = 0; y < 23; ++y)
                for (long x = 37; x < 40; ++x) ASSERT_EQ(At(a, x, y), At(original, x, y));
        }
    }
}

// Colours far out of range, so that pixels take either clip step, or both:
// luma and alpha stay, every channel ends in 0..1. A colour above 1 or below
// 0 is pulled toward grey until its extreme channel sits on the bound.
TEST_F(DeartifactTest, RestoreBuildsAgreeOnWildColours)
{
    CVFloatWorld original(33, 17), filtered(33, 17), a(33, 17), b(33, 17);
    FillRandom(original, rng_, 0.0f, 1.0f);
    FillRandom(filtered, rng_, -1.0f, 2.0f);
    Put(original, 0, 0, Pixel{0.5f, 0.2f, 1, 1});  // red under a bright pixel: above 1
    Put(filtered, 0, 0, Pixel{1, 1, 0, 0});
    Put(original, 1, 0, Pixel{0.25f, 0.1f, 0.1f, 0.1f});  // blue under a dark one: below 0
    Put(filtered, 1, 0, Pixel{1, 0, 0, 1});
    Restore(Snapshot(original), a);
    Restore(Snapshot(original), b);
    RestoreLuma_regular(a, filtered);
    RestoreLuma_simd(b, filtered);
    EXPECT_TRUE(SameBits(Snapshot(a), Snapshot(b)));
    for (long y = 0; y < 17; ++y)
        for (long x = 0; x < 33; ++x) {
            SCOPED_TRACE(testing::Message() << x << "," << y);
            const Pixel was = At(original, x, y), now = At(a, x, y);
            ASSERT_EQ(Bits(now[0]), Bits(was[0]));
            ASSERT_NEAR(Luma(now), Luma(was), 2e-6f);
            ASSERT_GE(std::min({now[1], now[2], now[3]}), -1e-6f);
            ASSERT_LE(std::max({now[1], now[2], now[3]}), 1.0f + 1e-6f);
        }
    EXPECT_NEAR(At(a, 0, 0)[1], 1.0f, 1e-6f);
    EXPECT_NEAR(At(a, 1, 0)[1], 0.0f, 1e-6f);
}

TEST_F(DeartifactTest, NoneAndUnknownValuesTouchNothing)
{
    CVFloatWorld image(16, 12), scratch(16, 12);
    FillRandom(image, rng_);
    FillRandom(scratch, rng_);
    const std::vector<float> before = Snapshot(image), scratchBefore = Snapshot(scratch);
    for (DeartifactFn fn : {Deartifact_regular, Deartifact_simd, Deartifact})
        for (long popup : {1L, 0L, 5L, -1L}) {
            fn(popup, image, scratch);
            EXPECT_TRUE(SameBits(Snapshot(image), before)) << popup;
            EXPECT_TRUE(SameBits(Snapshot(scratch), scratchBefore)) << popup;
        }
}

}  // namespace

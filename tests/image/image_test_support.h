// Shared by the image tests: a fixture that runs every test as one host
// command and checks afterwards that all host memory came back, and random
// image contents.
#pragma once
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "headless/inproc/scoped_host.h"
#include "image/float_world.h"
#include "float_world_access.h"

using Access = CVFloatWorldTestAccess;
using tPixel = CVFloatWorld::tPixel;

// One host command per test; afterwards every handle must be back and the
// host must have seen no misuse. Handle data sits 8 bytes off a 16-byte
// boundary so that the allocator's slack behind a block is under one pixel:
// a pixel written past a block lands on the host's guard bytes and shows as
// a host problem.
class ImageTest : public ::testing::Test {
protected:
    ImageTest() { ctx_.host().set_handle_misalignment(8); }
    void TearDown() override
    {
        EXPECT_EQ(ctx_.host().live_handles(), 0u);
        EXPECT_TRUE(ctx_.host().problems().empty());
    }
    headless::Host& host() { return ctx_.host(); }

    headless::ScopedHostContext ctx_;
    std::mt19937 rng_{12345};
};

inline bool same_bits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Every float of the block's rows, padding included, uniform in [lo, hi).
inline void fill_random(CVFloatWorld& w, std::mt19937& rng, float lo, float hi)
{
    std::uniform_real_distribution<float> d(lo, hi);
    const A_long floats = static_cast<A_long>(w.rowbytes() / 4);
    for (A_long y = 0; y < w.height(); ++y) {
        float* row = w.data_row_ptr(y);
        for (A_long i = 0; i < floats; ++i) {
            row[i] = d(rng);
        }
    }
}

// Copies the whole block (padding included) of one image into another of
// the same size.
inline void copy_block(const CVFloatWorld& src, CVFloatWorld& dst)
{
    std::memcpy(dst.data_ptr(), src.data_ptr(), static_cast<size_t>(src.rowbytes()) * src.height());
}

// First differing pixel channel over the real pixels, as text; "" if equal.
inline std::string first_difference(const CVFloatWorld& a, const CVFloatWorld& b, A_long pad_pixels = 0)
{
    for (A_long y = 0; y < a.height(); ++y) {
        for (A_long x = 0; x < a.width() + pad_pixels; ++x) {
            const float* pa = a.data_at_point(x, y);
            const float* pb = b.data_at_point(x, y);
            for (int c = 0; c < 4; ++c) {
                if (!same_bits(pa[c], pb[c])) {
                    return "(" + std::to_string(x) + "," + std::to_string(y) + ") channel " + std::to_string(c) +
                           ": " + std::to_string(pa[c]) + " vs " + std::to_string(pb[c]);
                }
            }
        }
    }
    return "";
}

inline bool blocks_equal(const CVFloatWorld& a, const CVFloatWorld& b)
{
    return a.rowbytes() == b.rowbytes() && a.height() == b.height() &&
           std::memcmp(a.data_ptr(), b.data_ptr(), static_cast<size_t>(a.rowbytes()) * a.height()) == 0;
}

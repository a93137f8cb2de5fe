// Shared by the image tests: a fixture that runs every test as one host
// command and checks afterwards that all host memory came back, and helpers
// for image contents.
#pragma once
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "float_world_access.h"
#include "headless/inproc/scoped_host.h"
#include "image/float_world.h"

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

inline bool same_bits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Every float of the block's rows, padding included, uniform in [lo, hi).
inline void fill_random(CVFloatWorld& w, std::mt19937& rng, float lo, float hi)
{
    std::uniform_real_distribution<float> d(lo, hi);
    for (A_u_long i = 0; i < w.height() * w.rowbytes() / 4; ++i) w.data_ptr()[i] = d(rng);
}

// The whole block (padding included) into another image of the same size.
inline void copy_block(const CVFloatWorld& src, CVFloatWorld& dst)
{
    std::memcpy(dst.data_ptr(), src.data_ptr(), static_cast<size_t>(src.rowbytes()) * src.height());
}

inline bool blocks_equal(const CVFloatWorld& a, const CVFloatWorld& b)
{
    return a.rowbytes() == b.rowbytes() && a.height() == b.height() &&
           std::memcmp(a.data_ptr(), b.data_ptr(), static_cast<size_t>(a.rowbytes()) * a.height()) == 0;
}

// First differing channel over the real pixels (and `pad` more per row),
// as text; "" if equal bit for bit.
inline std::string first_difference(const CVFloatWorld& a, const CVFloatWorld& b, A_long pad = 0)
{
    for (A_long y = 0; y < a.height(); ++y)
        for (A_long x = 0; x < a.width() + pad; ++x)
            for (int c = 0; c < 4; ++c) {
                const float pa = a.data_at_point(x, y)[c], pb = b.data_at_point(x, y)[c];
                if (!same_bits(pa, pb))
                    return "(" + std::to_string(x) + "," + std::to_string(y) + ") channel " + std::to_string(c) +
                           ": " + std::to_string(pa) + " vs " + std::to_string(pb);
            }
    return "";
}

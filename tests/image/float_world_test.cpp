#include <cstdint>

#include "image/float_world_kernels.h"
#include "image_test_support.h"

namespace {

class FloatWorldTest : public ImageTest {};

TEST_F(FloatWorldTest, RowsArePaddedToFourPixelGroups)
{
    const A_long widths[] = {1, 4, 5, 720};
    const A_u_long expected[] = {64, 64, 128, 11520};
    for (int i = 0; i < 4; ++i) {
        CVFloatWorld w(widths[i], 2);
        EXPECT_EQ(w.rowbytes(), expected[i]) << widths[i];
        // The argument is ignored: the stored width decides.
        EXPECT_EQ(Access::calculate_rowbytes(w), expected[i]);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(w.data_ptr()) % 16, 0u);
        EXPECT_EQ(reinterpret_cast<char*>(w.data_row_ptr(1)) - reinterpret_cast<char*>(w.data_ptr()),
                  static_cast<std::ptrdiff_t>(expected[i]));
        EXPECT_EQ(w.pixel_end_ptr(), w.pixel_row_ptr(2));
        EXPECT_EQ(reinterpret_cast<char*>(w.pixel_at_point(3, 1)),
                  reinterpret_cast<char*>(w.data_ptr()) + expected[i] + 48);
    }
}

TEST_F(FloatWorldTest, StaggerCyclesThroughNineOffsets)
{
    Access::world_number() = 0;
    std::vector<std::unique_ptr<CVFloatWorld>> worlds;
    for (A_u_long i = 0; i < 10; ++i) {
        worlds.push_back(std::make_unique<CVFloatWorld>(3, 2));
        EXPECT_EQ(Access::start_offset(*worlds.back()), (i % 9) * 4096u) << i;
        // The whole image is usable at every stagger.
        worlds.back()->fill(tPixel{1, 2, 3, 4});
    }
    EXPECT_EQ(Access::world_number(), 1u);
    // resize allocates anew, so it moves on as well, and keeps nothing.
    worlds[0]->resize(3, 2);
    EXPECT_EQ(Access::start_offset(*worlds[0]), 4096u);
    EXPECT_EQ(worlds[0]->rowbytes(), 64u);
}

TEST_F(FloatWorldTest, FailedAllocationLeavesBareOffsetAndIsNotRaised)
{
    Access::world_number() = 0;
    host().fail_allocation(1);
    {
        CVFloatWorld w(8, 8);
        EXPECT_EQ(w.data_ptr(), nullptr);
    }
    Access::world_number() = 3;
    host().fail_allocation(1);
    {
        CVFloatWorld w(8, 8);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(w.data_ptr()), 3u * 4096u);
        EXPECT_EQ(Access::world_number(), 4u);
        // Releasing such an image must not hand the offset to the host.
        w.resize(8, 8);
        EXPECT_NE(w.data_ptr(), nullptr);
    }
    CVFloatWorld empty;
    EXPECT_EQ(empty.data_ptr(), nullptr);
    EXPECT_EQ(empty.width(), 0);
    EXPECT_EQ(empty.rowbytes(), 0u);
}

// Destination columns that a copy into an 8-wide image at column x touches.
std::vector<bool> touched_columns(A_long x, A_long src_w)
{
    CVFloatWorld src(src_w, 2);
    CVFloatWorld dst(8, 3);
    src.fill(tPixel{1, 1, 1, 1});
    dst.fill(tPixel{0, 0, 0, 0});
    src.copy_into_at(dst, x, 1);
    std::vector<bool> cols(8);
    for (A_long c = 0; c < 8; ++c) {
        cols[c] = dst.pixel_at_point(c, 1)->red == 1.0f;
        EXPECT_EQ(dst.pixel_at_point(c, 0)->red, 0.0f) << "row above the copy";
        EXPECT_EQ(dst.pixel_at_point(c, 2)->red, cols[c] ? 1.0f : 0.0f) << "second source row";
    }
    return cols;
}

TEST_F(FloatWorldTest, CopyIntoAtCopiesWholePaddedRowsCutAtTheDestination)
{
    // 64 bytes per row: columns 2..5.
    EXPECT_EQ(touched_columns(2, 4), (std::vector<bool>{false, false, true, true, true, true, false, false}));
    // min(64, 128 - 96) = 32 bytes: columns 6 and 7.
    EXPECT_EQ(touched_columns(6, 4), (std::vector<bool>{false, false, false, false, false, false, true, true}));
    // A 3-wide image still copies its padding pixel.
    EXPECT_EQ(touched_columns(0, 3), (std::vector<bool>{true, true, true, true, false, false, false, false}));

    CVFloatWorld a(5, 4), b(5, 4);
    fill_random(a, rng_, -1, 1);
    a.copy_into(b);
    EXPECT_TRUE(blocks_equal(a, b));
}

TEST_F(FloatWorldTest, FillVariantsSetEveryPixelAndTheOddPadding)
{
    for (A_long w : {1, 2, 3, 6, 7}) {
        CVFloatWorld a(w, 3), b(w, 3);
        fill_random(a, rng_, 5, 6);
        copy_block(a, b);
        const tPixel p{0.25f, -1.0f, 2.0f, 3.5f};
        float_world_kernels::fill_regular(a, p);
        float_world_kernels::fill_simd(b, p);
        EXPECT_TRUE(blocks_equal(a, b)) << w;
        const A_long written = (w + 1) & ~1;
        for (A_long y = 0; y < 3; ++y) {
            for (A_long x = 0; x < 4 * ((w + 3) / 4); ++x) {
                const bool set = a.pixel_at_point(x, y)->red == -1.0f;
                EXPECT_EQ(set, x < written) << w << " " << x;
            }
        }
    }
}

TEST_F(FloatWorldTest, BlendOverIsALinearCrossFadeInPixelPairs)
{
    for (A_long w : {1, 4, 7}) {
        CVFloatWorld src(w, 5);
        CVFloatWorld d1(w + 2, 4), d2(w + 2, 4), before(w + 2, 4);
        fill_random(src, rng_, -2, 2);
        fill_random(d1, rng_, -2, 2);
        copy_block(d1, d2);
        copy_block(d1, before);
        float_world_kernels::blend_over_regular(src, d1, 0.3f);
        float_world_kernels::blend_over_simd(src, d2, 0.3f);
        EXPECT_TRUE(blocks_equal(d1, d2)) << first_difference(d1, d2, 2);

        const A_long blended = (w + 1) & ~1;  // odd counts blend one more
        for (A_long y = 0; y < 4; ++y) {
            for (A_long x = 0; x < w + 2; ++x) {
                for (int c = 0; c < 4; ++c) {
                    const float s = src.data_at_point(x, y)[c];
                    const float b = before.data_at_point(x, y)[c];
                    const float want = x < blended ? s * 0.3f + b * (1.0f - 0.3f) : b;
                    ASSERT_TRUE(same_bits(d1.data_at_point(x, y)[c], want)) << w << " " << x << " " << y;
                }
            }
        }
    }

    CVFloatWorld src(6, 3), dst(6, 3), before(6, 3);
    fill_random(src, rng_, 0, 1);
    fill_random(dst, rng_, 0, 1);
    copy_block(dst, before);
    src.blend_over(dst, 0.0f);
    EXPECT_TRUE(blocks_equal(dst, before));
    src.blend_over(dst, 1.0f);
    EXPECT_EQ(first_difference(src, dst), "");
}

}  // namespace

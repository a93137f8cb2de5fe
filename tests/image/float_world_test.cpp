#include <cstdint>
#include <memory>

#include "image/float_world_kernels.h"
#include "image/single_float_world.h"
#include "image_test_support.h"

namespace {

class FloatWorldTest : public ImageTest {};

TEST_F(FloatWorldTest, RowsArePaddedToFourPixelGroups)
{
    struct Case { A_long width; A_u_long rowbytes, grey_rowbytes; };
    for (const Case c : {Case{1, 64, 16}, Case{4, 64, 16}, Case{5, 128, 32}, Case{720, 11520, 2880}}) {
        CVFloatWorld w(c.width, 2);
        EXPECT_EQ(w.rowbytes(), c.rowbytes) << c.width;
        EXPECT_EQ(Access::calculate_rowbytes(w), c.rowbytes);  // from the stored width
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(w.data_ptr()) % 16, 0u);
        EXPECT_EQ(w.pixel_end_ptr(), w.pixel_row_ptr(2));
        EXPECT_EQ(reinterpret_cast<char*>(w.pixel_at_point(3, 1)), reinterpret_cast<char*>(w.data_ptr()) + c.rowbytes + 48);
        // The grey image pads to four floats; its last row is usable to the end.
        CVSingleFloatWorld g(c.width, 3);
        EXPECT_EQ(g.rowbytes, c.grey_rowbytes) << c.width;
        EXPECT_EQ(reinterpret_cast<char*>(g.row_ptr(2)), reinterpret_cast<char*>(g.data) + 2 * c.grey_rowbytes);
        std::fill(g.row_ptr(2), g.row_ptr(2) + c.grey_rowbytes / 4, 1.0f);
    }
}

TEST_F(FloatWorldTest, StaggerCyclesThroughNineOffsets)
{
    Access::world_number() = 0;
    std::vector<std::unique_ptr<CVFloatWorld>> worlds;
    for (A_u_long i = 0; i < 10; ++i) {
        worlds.push_back(std::make_unique<CVFloatWorld>(3, 2));
        EXPECT_EQ(Access::start_offset(*worlds.back()), (i % 9) * 4096u) << i;
        worlds.back()->fill(tPixel{1, 2, 3, 4});  // the whole image is usable at every stagger
    }
    // resize allocates anew, so it moves on as well.
    worlds[0]->resize(3, 2);
    EXPECT_EQ(Access::start_offset(*worlds[0]), 4096u);
}

TEST_F(FloatWorldTest, FailedAllocationsAreNotRaised)
{
    // Seen as null only at stagger 0; otherwise the bare offset is left.
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
    host().fail_allocation(1);
    CVSingleFloatWorld g(8, 8);
    EXPECT_EQ(g.data, nullptr);
}

TEST_F(FloatWorldTest, CopyIntoAtCopiesWholePaddedRowsCutAtTheDestination)
{
    // Destination columns a copy into an 8-wide image at column x touches.
    auto touched = [](A_long x, A_long src_w) {
        CVFloatWorld src(src_w, 2), dst(8, 3);
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
    };
    // 64 bytes per row: columns 2..5; min(64, 128 - 96) = 32 bytes: columns
    // 6 and 7; a 3-wide image still copies its padding pixel.
    EXPECT_EQ(touched(2, 4), (std::vector<bool>{false, false, true, true, true, true, false, false}));
    EXPECT_EQ(touched(6, 4), (std::vector<bool>{false, false, false, false, false, false, true, true}));
    EXPECT_EQ(touched(0, 3), (std::vector<bool>{true, true, true, true, false, false, false, false}));
}

TEST_F(FloatWorldTest, FillVariantsSetEveryPixelAndTheOddPadding)
{
    for (A_long w : {1, 2, 3, 6, 7}) {
        CVFloatWorld a(w, 3), b(w, 3);
        fill_random(a, rng_, 5, 6);
        copy_block(a, b);
        float_world_kernels::fill_regular(a, tPixel{0.25f, -1.0f, 2.0f, 3.5f});
        float_world_kernels::fill_simd(b, tPixel{0.25f, -1.0f, 2.0f, 3.5f});
        EXPECT_TRUE(blocks_equal(a, b)) << w;
        for (A_long y = 0; y < 3; ++y)
            for (A_long x = 0; x < 4 * ((w + 3) / 4); ++x)
                EXPECT_EQ(a.pixel_at_point(x, y)->red == -1.0f, x < ((w + 1) & ~1)) << w << " " << x;
    }
}

TEST_F(FloatWorldTest, BlendOverIsALinearCrossFadeInPixelPairs)
{
    for (A_long w : {1, 4, 7}) {
        CVFloatWorld src(w, 5), d1(w + 2, 4), d2(w + 2, 4), before(w + 2, 4);
        fill_random(src, rng_, -2, 2);
        fill_random(d1, rng_, -2, 2);
        copy_block(d1, d2);
        copy_block(d1, before);
        float_world_kernels::blend_over_regular(src, d1, 0.3f);
        float_world_kernels::blend_over_simd(src, d2, 0.3f);
        EXPECT_TRUE(blocks_equal(d1, d2)) << first_difference(d1, d2, 2);
        const A_long blended = (w + 1) & ~1;  // odd counts blend one more
        for (A_long y = 0; y < 4; ++y)
            for (A_long x = 0; x < w + 2; ++x)
                for (int c = 0; c < 4; ++c) {
                    const float s = src.data_at_point(x, y)[c], b = before.data_at_point(x, y)[c];
                    ASSERT_TRUE(same_bits(d1.data_at_point(x, y)[c], x < blended ? s * 0.3f + b * (1.0f - 0.3f) : b))
                        << w << " " << x << " " << y;
                }
    }
}

TEST_F(FloatWorldTest, GreyExpandsIntoTheCommonAreaWithoutClamping)
{
    CVSingleFloatWorld g(10, 10);
    for (A_long y = 0; y < 10; ++y)
        for (A_long x = 0; x < 10; ++x) g.row_ptr(y)[x] = x + y == 0 ? -0.5f : static_cast<float>(x + 10 * y);
    CVFloatWorld f(6, 12);
    f.fill(tPixel{7, 7, 7, 7});
    g.copy_to_float_world(f);
    for (A_long y = 0; y < 12; ++y)
        for (A_long x = 0; x < 6; ++x) {
            const float v = y >= 10 ? 7.0f : x + y == 0 ? -0.5f : static_cast<float>(x + 10 * y);
            const tPixel& p = *f.pixel_at_point(x, y);
            EXPECT_EQ(p.alpha, y >= 10 ? 7.0f : 1.0f) << x << "," << y;
            EXPECT_TRUE(p.red == v && p.green == v && p.blue == v) << x << "," << y;
        }
}

TEST_F(FloatWorldTest, GreyImagesReleaseThroughTheBase)
{
    struct Derived : CVSingleFloatWorld {
        Derived() : CVSingleFloatWorld(33, 2) {}
    };
    std::unique_ptr<CVSingleFloatWorld> p(new Derived);
    EXPECT_EQ(host().live_handles(), 1u);
    p.reset();
    EXPECT_EQ(host().live_handles(), 0u);
}

}  // namespace

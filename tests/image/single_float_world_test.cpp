#include "image/single_float_world.h"
#include "image_test_support.h"

namespace {

class SingleFloatWorldTest : public ImageTest {};

TEST_F(SingleFloatWorldTest, RowsArePaddedToFourFloats)
{
    const A_long widths[] = {1, 4, 5, 720};
    const A_u_long expected[] = {16, 16, 32, 2880};
    for (int i = 0; i < 4; ++i) {
        CVSingleFloatWorld g(widths[i], 3);
        EXPECT_EQ(g.rowbytes, expected[i]);
        ASSERT_NE(g.data, nullptr);
        EXPECT_EQ(reinterpret_cast<char*>(g.row_ptr(2)) - reinterpret_cast<char*>(g.data),
                  static_cast<std::ptrdiff_t>(2 * expected[i]));
        // The last row is usable to its padded end.
        std::fill(g.row_ptr(2), g.row_ptr(2) + expected[i] / 4, 1.0f);
    }
}

TEST_F(SingleFloatWorldTest, ExpandsIntoTheCommonAreaWithoutClamping)
{
    CVSingleFloatWorld g(10, 10);
    for (A_long y = 0; y < 10; ++y) {
        for (A_long x = 0; x < 10; ++x) {
            g.row_ptr(y)[x] = x == 0 && y == 0 ? -0.5f : static_cast<float>(x + 10 * y);
        }
    }
    CVFloatWorld f(6, 12);
    f.fill(tPixel{7, 7, 7, 7});
    g.copy_to_float_world(f);
    EXPECT_EQ(f.pixel_at_point(0, 0)->alpha, 1.0f);
    EXPECT_EQ(f.pixel_at_point(0, 0)->red, -0.5f);
    EXPECT_EQ(f.pixel_at_point(0, 0)->blue, -0.5f);
    for (A_long y = 0; y < 12; ++y) {
        for (A_long x = 0; x < 6; ++x) {
            const tPixel& p = *f.pixel_at_point(x, y);
            if (y < 10) {
                if (x + y > 0) {
                    EXPECT_EQ(p.green, static_cast<float>(x + 10 * y));
                }
            } else {
                EXPECT_EQ(p.alpha, 7.0f) << "rows below the grey image keep their contents";
                EXPECT_EQ(p.red, 7.0f);
            }
        }
    }
}

struct Derived : CVSingleFloatWorld {
    Derived() : CVSingleFloatWorld(33, 2) {}
};

TEST_F(SingleFloatWorldTest, ReleasesThroughTheBaseAndSurvivesFailedAllocation)
{
    std::unique_ptr<CVSingleFloatWorld> p(new Derived);
    EXPECT_EQ(host().live_handles(), 1u);
    p.reset();
    EXPECT_EQ(host().live_handles(), 0u);

    host().fail_allocation(1);
    CVSingleFloatWorld g(8, 8);
    EXPECT_EQ(g.data, nullptr);
}

}  // namespace

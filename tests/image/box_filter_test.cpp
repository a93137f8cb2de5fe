#include "image/box_filter.h"

#include <cmath>
#include <tuple>

#include "image_test_support.h"

namespace {

using Form = void (*)(const CVFloatWorld&, CVFloatWorld&, A_long);

class BoxFilterTest : public ImageTest {
protected:
    // Runs a form on a copy of src into a dst of random contents; checks
    // that src is left alone.
    std::unique_ptr<CVFloatWorld> run(Form form, const CVFloatWorld& src, A_long r)
    {
        CVFloatWorld copy(src.width(), src.height());
        copy_block(src, copy);
        auto dst = std::make_unique<CVFloatWorld>(src.width(), src.height());
        fill_random(*dst, rng_, 100, 200);
        form(copy, *dst, r);
        EXPECT_TRUE(blocks_equal(copy, src)) << "source changed";
        return dst;
    }
};

// |mean| of the clamped window, in double.
float naive(const CVFloatWorld& src, A_long x, A_long y, int c, A_long r, bool vertical)
{
    double sum = 0;
    for (A_long i = -r; i <= r; ++i) {
        const A_long xx = vertical ? x : std::min(std::max(x + i, 0), src.width() - 1);
        const A_long yy = vertical ? std::min(std::max(y + i, 0), src.height() - 1) : y;
        sum += src.data_at_point(xx, yy)[c];
    }
    return static_cast<float>(std::fabs(sum / (2 * r + 1)));
}

TEST_F(BoxFilterTest, AllFormsAgreeBitForBitAndWithTheClampedMean)
{
    const std::vector<std::pair<A_long, A_long>> sizes = {{1, 1}, {2, 3}, {7, 2}, {5, 6},  {13, 7},
                                                          {3, 27}, {31, 5}, {9, 30}, {64, 31}};
    for (auto [w, h] : sizes) {
        for (A_long r : {0, 1, 2, 12}) {
            CVFloatWorld src(w, h);
            fill_random(src, rng_, -1, 1);

            auto hr = run(box_filter_forms::horizontal_regular, src, r);
            auto hs = run(box_filter_forms::horizontal_simd, src, r);
            EXPECT_EQ(first_difference(*hr, *hs), "") << w << "x" << h << " r=" << r;

            auto cr = run(box_filter_forms::vertical_columns_regular, src, r);
            auto cs = run(box_filter_forms::vertical_columns_simd, src, r);
            auto rr = run(box_filter_forms::vertical_rows_regular, src, r);
            auto rs = run(box_filter_forms::vertical_rows_simd, src, r);
            auto pub = run(box_filter_vertical, src, r);
            EXPECT_EQ(first_difference(*cr, *cs), "") << w << "x" << h << " r=" << r;
            EXPECT_EQ(first_difference(*cr, *rr), "") << w << "x" << h << " r=" << r;
            EXPECT_EQ(first_difference(*cr, *rs), "") << w << "x" << h << " r=" << r;
            EXPECT_EQ(first_difference(*cr, *pub), "") << w << "x" << h << " r=" << r;

            for (A_long y = 0; y < h; ++y) {
                for (A_long x = 0; x < w; ++x) {
                    const float* ph = hr->data_at_point(x, y);
                    const float* pv = cr->data_at_point(x, y);
                    // The horizontal pass keeps alpha, the vertical one averages it.
                    ASSERT_TRUE(same_bits(ph[0], src.data_at_point(x, y)[0]));
                    ASSERT_NEAR(pv[0], naive(src, x, y, 0, r, true), 1e-5);
                    for (int c = 1; c < 4; ++c) {
                        ASSERT_NEAR(ph[c], naive(src, x, y, c, r, false), 1e-5)
                            << w << "x" << h << " r=" << r << " at " << x << "," << y;
                        ASSERT_NEAR(pv[c], naive(src, x, y, c, r, true), 1e-5)
                            << w << "x" << h << " r=" << r << " at " << x << "," << y;
                        ASSERT_FALSE(std::signbit(ph[c]));
                        ASSERT_FALSE(std::signbit(pv[c]));
                    }
                }
            }
        }
    }
}

TEST_F(BoxFilterTest, SpikeSpreadsToItsWindowAndEdgesRepeat)
{
    CVFloatWorld src(16, 1);
    src.fill(tPixel{0.5f, 0, 0, 0});
    src.pixel_at_point(8, 0)->red = 7.0f;
    src.pixel_at_point(0, 0)->green = 1.0f;
    src.pixel_at_point(1, 0)->green = 2.0f;
    src.pixel_at_point(2, 0)->green = 4.0f;
    CVFloatWorld dst(16, 1);
    box_filter_horizontal(src, dst, 3);
    for (A_long x = 0; x < 16; ++x) {
        EXPECT_EQ(dst.pixel_at_point(x, 0)->red, x >= 5 && x <= 11 ? 1.0f : 0.0f) << x;
        EXPECT_EQ(dst.pixel_at_point(x, 0)->alpha, 0.5f);
    }
    box_filter_horizontal(src, dst, 2);
    // (3 * p0 + p1 + p2) / 5, as the running sum forms it.
    EXPECT_FLOAT_EQ(dst.pixel_at_point(0, 0)->green, 9.0f / 5.0f);
}

TEST_F(BoxFilterTest, VerticalPassClampsARadiusPastShortFields)
{
    // Two- and three-row fields with radius 2: every index stays inside.
    for (A_long h : {1, 2, 3}) {
        CVFloatWorld src(5, h);
        fill_random(src, rng_, -1, 1);
        auto dst = run(box_filter_vertical, src, 2);
        for (A_long y = 0; y < h; ++y) {
            EXPECT_NEAR(dst->pixel_at_point(2, y)->blue, naive(src, 2, y, 3, 2, true), 1e-6);
        }
    }
}

// The row-buffered form is the one that takes a row of sums from host
// memory; it is chosen only when 2r + 2 < height.
TEST_F(BoxFilterTest, VerticalPassPicksTheFormByHeight)
{
    for (auto [h, r, rows_form] : {std::make_tuple(6, 2, false), std::make_tuple(7, 2, true),
                                   std::make_tuple(26, 12, false), std::make_tuple(27, 12, true)}) {
        CVFloatWorld src(4, h), dst(4, h);
        fill_random(src, rng_, -1, 1);
        const size_t before = host().allocation_requests();
        box_filter_vertical(src, dst, r);
        EXPECT_EQ(host().allocation_requests() - before, rows_form ? 1u : 0u) << h << " " << r;
    }
}

}  // namespace

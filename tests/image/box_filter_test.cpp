#include "image/box_filter.h"

#include <cmath>
#include <memory>

#include "image_test_support.h"

namespace {

using Form = void (*)(const CVFloatWorld&, CVFloatWorld&, A_long);

class BoxFilterTest : public ImageTest {
protected:
    // Runs a form into a dst of random contents; checks that src is left alone.
    std::unique_ptr<CVFloatWorld> run(Form form, const CVFloatWorld& src, A_long r)
    {
        CVFloatWorld before(src.width(), src.height());
        copy_block(src, before);
        auto dst = std::make_unique<CVFloatWorld>(src.width(), src.height());
        fill_random(*dst, rng_, 100, 200);
        form(src, *dst, r);
        EXPECT_TRUE(blocks_equal(before, src)) << "source changed";
        return dst;
    }
};

// |mean| of the window with its indices clamped into the image, in double.
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

// Sizes from one pixel up, radii from 0 to past the image (short fields).
TEST_F(BoxFilterTest, AllFormsAgreeBitForBitAndWithTheClampedMean)
{
    const std::vector<std::pair<A_long, A_long>> sizes = {{1, 1}, {2, 3}, {7, 2}, {5, 6},  {13, 7},
                                                          {3, 27}, {31, 5}, {9, 30}, {64, 31}};
    for (auto [w, h] : sizes) {
        for (A_long r : {0, 1, 2, 12}) {
            SCOPED_TRACE(testing::Message() << w << "x" << h << " r=" << r);
            CVFloatWorld src(w, h);
            fill_random(src, rng_, -1, 1);
            auto hr = run(box_filter_forms::horizontal_regular, src, r);
            EXPECT_EQ(first_difference(*hr, *run(box_filter_forms::horizontal_simd, src, r)), "");
            EXPECT_EQ(first_difference(*hr, *run(box_filter_horizontal, src, r)), "");
            auto cr = run(box_filter_forms::vertical_columns_regular, src, r);
            for (Form f : {box_filter_forms::vertical_columns_simd, box_filter_forms::vertical_rows_regular,
                           box_filter_forms::vertical_rows_simd, box_filter_vertical})
                EXPECT_EQ(first_difference(*cr, *run(f, src, r)), "");
            // Both passes at once (vertical radius r) against the two passes
            // through an image; declined, dst untouched, where the vertical
            // row form does not apply.
            const A_long rh = (r + 3) % 5;
            auto two = run(box_filter_forms::vertical_rows_regular, *run(box_filter_forms::horizontal_regular, src, rh), r);
            using Fused = bool (*)(const CVFloatWorld&, CVFloatWorld&, A_long, A_long);
            for (Fused fused : {box_filter_forms::horizontal_vertical_regular, box_filter_forms::horizontal_vertical_simd}) {
                CVFloatWorld dst(w, h), before(w, h);
                fill_random(dst, rng_, 100, 200);
                copy_block(dst, before);
                const bool done = fused(src, dst, rh, r);
                EXPECT_EQ(done, 2 * r + 2 < h);
                EXPECT_EQ(first_difference(done ? *two : before, dst), "");
            }

            for (A_long y = 0; y < h; ++y)
                for (A_long x = 0; x < w; ++x) {
                    const float* ph = hr->data_at_point(x, y);
                    const float* pv = cr->data_at_point(x, y);
                    // The horizontal pass keeps alpha, the vertical one averages it.
                    ASSERT_TRUE(same_bits(ph[0], src.data_at_point(x, y)[0]));
                    ASSERT_NEAR(pv[0], naive(src, x, y, 0, r, true), 1e-5);
                    for (int c = 1; c < 4; ++c) {
                        ASSERT_NEAR(ph[c], naive(src, x, y, c, r, false), 1e-5) << x << "," << y;
                        ASSERT_NEAR(pv[c], naive(src, x, y, c, r, true), 1e-5) << x << "," << y;
                        ASSERT_FALSE(std::signbit(ph[c]) || std::signbit(pv[c]));
                    }
                }
        }
    }
}

// The row-buffered form is the one that takes a row of sums from host
// memory; it is chosen only when 2r + 2 < height.
TEST_F(BoxFilterTest, VerticalPassPicksTheFormByHeight)
{
    struct Case { A_long h, r; bool rows_form; };
    for (const Case c : {Case{6, 2, false}, Case{7, 2, true}, Case{26, 12, false}, Case{27, 12, true}}) {
        CVFloatWorld src(4, c.h), dst(4, c.h);
        fill_random(src, rng_, -1, 1);
        const size_t before = host().allocation_requests();
        box_filter_vertical(src, dst, c.r);
        EXPECT_EQ(host().allocation_requests() - before, c.rows_form ? 1u : 0u) << c.h << " " << c.r;
    }
}

}  // namespace

// Every operation on small odd-sized images, one-row images and at every
// stagger. Integer buffers are exactly as large as the operations may use,
// so the sanitizer build reports any access outside them; a pixel written
// past an image block lands on the host's guard bytes (see ImageTest).
#include <memory>

#include "image/box_filter.h"
#include "image/float_world_kernels.h"
#include "image/median_filter.h"
#include "image/single_float_world.h"
#include "image_test_support.h"

namespace {

class BoundsTest : public ImageTest {};

TEST_F(BoundsTest, EveryOperationStaysInsideItsBlocks)
{
    const std::vector<std::pair<A_long, A_long>> sizes = {{1, 1}, {3, 1}, {5, 2}, {7, 3}, {9, 8}};
    for (A_u_long stagger = 0; stagger < 9; ++stagger) {
        for (auto [w, h] : sizes) {
            Access::world_number() = stagger;
            CVFloatWorld a(w, h), b(w, h);
            ASSERT_EQ(Access::start_offset(a), stagger * 4096u);
            fill_random(a, rng_, -1, 2);
            fill_random(b, rng_, -1, 2);

            // 8-bit rows exactly w pixels; 16-bit rows one pixel more for
            // the pair step of odd widths.
            std::unique_ptr<A_u_char[]> b8(new A_u_char[static_cast<size_t>(w) * h * 4]());
            std::unique_ptr<A_u_short[]> b16(new A_u_short[static_cast<size_t>(w + 1) * h * 4]());
            const A_u_long rb8 = static_cast<A_u_long>(w) * 4;
            const A_u_long rb16 = static_cast<A_u_long>(w + 1) * 8;
            Access::to8_regular(a, w, h, rb8, b8.get());
            Access::to8_simd(a, w, h, rb8, b8.get());
            Access::from8_regular(b, rb8, b8.get());
            Access::from8_simd(b, rb8, b8.get());
            Access::to16_regular(a, w, h, rb16, b16.get());
            Access::to16_simd(a, w, h, rb16, b16.get());
            Access::from16_regular(b, rb16, b16.get());
            Access::from16_simd(b, rb16, b16.get());

            float_world_kernels::fill_regular(b, tPixel{1, 2, 3, 4});
            float_world_kernels::fill_simd(b, tPixel{1, 2, 3, 4});
            float_world_kernels::blend_over_regular(a, b, 0.5f);
            float_world_kernels::blend_over_simd(a, b, 0.5f);
            a.copy_into(b);
            a.copy_into_at(b, w - 1, h - 1);
            CVFloatWorld big(2 * w + 1, 2 * h + 1);
            a.copy_scaling_into(big, nullptr);
            big.copy_scaling_into(b, nullptr);

            for (A_long r : {0, 1, 2, 12}) {
                box_filter_forms::horizontal_regular(a, b, r);
                box_filter_forms::horizontal_simd(a, b, r);
                box_filter_forms::vertical_columns_regular(a, b, r);
                box_filter_forms::vertical_columns_simd(a, b, r);
                box_filter_forms::vertical_rows_regular(a, b, r);
                box_filter_forms::vertical_rows_simd(a, b, r);
            }
            for (A_long filter : {1, 2, 3}) {
                deartifact_median(a, filter, b);
            }
            CVSingleFloatWorld grey(w, h);
            for (A_long y = 0; y < h; ++y) {
                std::fill(grey.row_ptr(y), grey.row_ptr(y) + grey.rowbytes / 4, 0.5f);
            }
            grey.copy_to_float_world(b);
        }
    }
}

}  // namespace

#include "image/median_filter.h"
#include "image/cpu_features.h"

#include <algorithm>

#include "image_test_support.h"

namespace {

class MedianFilterTest : public ImageTest {};

// The expected pixel, computed by sorting the window: borders copied,
// interior colour channels the middle value, interior alpha 1.
tPixel reference(const CVFloatWorld& src, A_long R, A_long x, A_long y)
{
    if (x < R || x >= src.width() - R || y < R || y >= src.height() - R) return *src.pixel_at_point(x, y);
    tPixel p{1.0f, 0, 0, 0};
    for (int c = 1; c < 4; ++c) {
        std::vector<float> v;
        for (A_long j = -R; j <= R; ++j)
            for (A_long i = -R; i <= R; ++i) v.push_back(src.data_at_point(x + i, y + j)[c]);
        std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
        (&p.alpha)[c] = v[v.size() / 2];
    }
    return p;
}

// Images with and without an interior; few distinct values in the larger
// ones as well, so ties are common.
TEST_F(MedianFilterTest, MatchesSortedWindowsAndCopiesBorders)
{
    const std::vector<std::pair<A_long, A_long>> sizes = {{1, 1}, {3, 3}, {2, 7}, {5, 5},  {7, 7},
                                                          {8, 5}, {9, 1}, {20, 17}, {33, 9}, {64, 24}};
    // Every vector width the processor runs (capped from the widest down).
    for (int cap : {128, 256, -1})
    for (A_long filter : {1, 2, 3}) {
        cpu_features::cap_vector_width(cap);
        for (auto [w, h] : sizes) {
            CVFloatWorld src(w, h), dst(w, h), before(w, h);
            fill_random(src, rng_, -1, 1);
            for (A_long i = 0; w * h > 30 && i < w * h; ++i) src.pixel_ptr()[i].green = static_cast<float>(rng_() % 3);
            fill_random(dst, rng_, 5, 6);
            copy_block(src, before);
            deartifact_median(src, filter, dst);
            EXPECT_TRUE(blocks_equal(src, before));
            for (A_long y = 0; y < h; ++y)
                for (A_long x = 0; x < w; ++x) {
                    const tPixel want = reference(src, filter, x, y);
                    ASSERT_EQ(std::memcmp(dst.pixel_at_point(x, y), &want, sizeof want), 0)
                        << "filter " << filter << " " << w << "x" << h << " at " << x << "," << y << " cap " << cap;
                }
        }
    }
    cpu_features::cap_vector_width(-1);
}

TEST_F(MedianFilterTest, OtherFilterNumbersLeaveTheDestinationAlone)
{
    CVFloatWorld src(9, 9), dst(9, 9), before(9, 9);
    fill_random(src, rng_, 0, 1);
    fill_random(dst, rng_, 0, 1);
    copy_block(dst, before);
    for (A_long filter : {0, 4, -1}) {
        deartifact_median(src, filter, dst);
        EXPECT_TRUE(blocks_equal(dst, before)) << filter;
    }
}

}  // namespace

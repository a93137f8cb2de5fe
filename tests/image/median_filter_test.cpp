#include "image/median_filter.h"

#include <algorithm>

#include "image_test_support.h"

namespace {

class MedianFilterTest : public ImageTest {};

// The whole expected result, computed by sorting each window.
std::vector<tPixel> reference(const CVFloatWorld& src, A_long filter)
{
    const A_long R = filter;
    const A_long w = src.width(), h = src.height();
    std::vector<tPixel> out;
    for (A_long y = 0; y < h; ++y) {
        for (A_long x = 0; x < w; ++x) {
            if (x < R || x >= w - R || y < R || y >= h - R) {
                out.push_back(*src.pixel_at_point(x, y));
                continue;
            }
            tPixel p{1.0f, 0, 0, 0};
            for (int c = 1; c < 4; ++c) {
                std::vector<float> v;
                for (A_long j = -R; j <= R; ++j) {
                    for (A_long i = -R; i <= R; ++i) {
                        v.push_back(src.data_at_point(x + i, y + j)[c]);
                    }
                }
                std::sort(v.begin(), v.end());
                (&p.alpha)[c] = v[v.size() / 2];
            }
            out.push_back(p);
        }
    }
    return out;
}

TEST_F(MedianFilterTest, MatchesSortedWindowsAndCopiesBorders)
{
    const std::vector<std::pair<A_long, A_long>> sizes = {{1, 1}, {3, 3}, {2, 7}, {5, 5},  {7, 7},
                                                          {8, 5}, {9, 1}, {20, 17}, {33, 9}};
    for (A_long filter : {1, 2, 3}) {
        for (auto [w, h] : sizes) {
            CVFloatWorld src(w, h), dst(w, h);
            fill_random(src, rng_, -1, 1);
            // Few distinct values as well, so ties are common.
            if (w * h > 30) {
                for (A_long y = 0; y < h; ++y) {
                    for (A_long x = 0; x < w; ++x) {
                        src.pixel_at_point(x, y)->green = static_cast<float>(rng_() % 3);
                    }
                }
            }
            fill_random(dst, rng_, 5, 6);
            CVFloatWorld before(w, h);
            copy_block(src, before);
            deartifact_median(src, filter, dst);
            EXPECT_TRUE(blocks_equal(src, before));
            const std::vector<tPixel> want = reference(src, filter);
            for (A_long y = 0; y < h; ++y) {
                for (A_long x = 0; x < w; ++x) {
                    const tPixel& got = *dst.pixel_at_point(x, y);
                    const tPixel& exp = want[y * w + x];
                    ASSERT_TRUE(std::memcmp(&got, &exp, sizeof got) == 0)
                        << "filter " << filter << " " << w << "x" << h << " at " << x << "," << y;
                }
            }
        }
    }
}

TEST_F(MedianFilterTest, SmallBlocksVanishOrShrinkToAPlus)
{
    CVFloatWorld src(12, 12), dst(12, 12);
    src.fill(tPixel{1, 0, 0, 0});
    for (A_long y = 2; y < 4; ++y) {
        for (A_long x = 2; x < 4; ++x) {
            src.pixel_at_point(x, y)->red = 1.0f;  // 2 x 2 block
        }
    }
    for (A_long y = 6; y < 9; ++y) {
        for (A_long x = 6; x < 9; ++x) {
            src.pixel_at_point(x, y)->red = 1.0f;  // 3 x 3 block
        }
    }
    deartifact_median(src, 1, dst);
    for (A_long y = 0; y < 12; ++y) {
        for (A_long x = 0; x < 12; ++x) {
            const bool plus = (x == 7 && y >= 6 && y <= 8) || (y == 7 && x >= 6 && x <= 8);
            EXPECT_EQ(dst.pixel_at_point(x, y)->red, plus ? 1.0f : 0.0f) << x << "," << y;
        }
    }
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

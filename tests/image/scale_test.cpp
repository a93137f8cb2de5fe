#include "image_test_support.h"

namespace {

class ScaleTest : public ImageTest {};

tPixel avg(const tPixel& a, const tPixel& b)
{
    return tPixel{(a.alpha + b.alpha) * 0.5f, (a.red + b.red) * 0.5f, (a.green + b.green) * 0.5f,
                  (a.blue + b.blue) * 0.5f};
}

bool same(const tPixel& a, const tPixel& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Output sample i of n on a source of m samples sits at i * m / n: the
// integer part picks the source sample, and a remainder of at least half
// blends it with the next. The last n / (2m) + 1 samples of an enlargement
// (none of a reduction) repeat the position reached after the others.
std::vector<tPixel> reference_line(const tPixel* src, A_long m, A_long n)
{
    const A_long main = n - (n >= m ? n / (2 * m) + 1 : 0);
    std::vector<tPixel> out;
    for (A_long i = 0; i < n; ++i) {
        const A_long at = std::min(i, main) * m;
        out.push_back(i < main && at % n >= n / 2 ? avg(src[at / n], src[at / n + 1]) : src[at / n]);
    }
    return out;
}

// The same down the rows, on whole lines. (The scaler keeps its last line
// for the tail when the walk has not moved on; that line is never a blended
// one, so it equals the row computed afresh.)
std::vector<tPixel> reference_rect(const std::vector<tPixel>& src, A_long sw, A_long sh, A_long dw, A_long dh)
{
    const A_long main = dh - (dh >= sh ? dh / (2 * sh) + 1 : 0);
    std::vector<tPixel> out;
    for (A_long i = 0; i < dh; ++i) {
        const A_long at = std::min(i, main) * sh, row = at / dh;
        std::vector<tPixel> line = reference_line(&src[row * sw], sw, dw);
        if (i < main && at % dh >= dh / 2) {
            const std::vector<tPixel> next = reference_line(&src[(row + 1) * sw], sw, dw);
            for (A_long x = 0; x < dw; ++x) line[x] = avg(line[x], next[x]);
        }
        out.insert(out.end(), line.begin(), line.end());
    }
    return out;
}

// Exact-size buffers on both sides, so a read past the source or a write
// past the destination reaches the sanitizer build. Small sizes both ways,
// field to frame and frame to field, and 4 -> 8 samples on one row:
// p0, (p0 + p1) / 2, p1, (p1 + p2) / 2, p2, (p2 + p3) / 2, p3, p3.
TEST_F(ScaleTest, RectMatchesTheSchemeComputedDirectly)
{
    std::vector<std::vector<A_long>> dims = {{720, 243, 720, 486}, {720, 486, 360, 243}, {1920, 3, 1280, 2}};
    for (A_long sw : {1, 2, 3, 4, 5, 7, 8, 12, 13})
        for (A_long dw : {1, 2, 3, 4, 5, 7, 8, 12, 13})
            for (A_long sh : {1, 2, 3, 5, 8})
                for (A_long dh : {1, 2, 3, 4, 7, 9, 16}) dims.push_back({sw, sh, dw, dh});
    CVFloatWorld any;
    std::uniform_real_distribution<float> d(-1, 1);
    for (const auto& s : dims) {
        std::vector<tPixel> src(s[0] * s[1]), dst(s[2] * s[3]);
        for (auto& p : src) p = tPixel{d(rng_), d(rng_), d(rng_), d(rng_)};
        auto copy = src;
        Access::scale_rect(any, dst.data(), copy.data(), s[0], s[1], s[2], s[3]);
        const std::vector<tPixel> want = reference_rect(src, s[0], s[1], s[2], s[3]);
        for (size_t i = 0; i < dst.size(); ++i)
            ASSERT_TRUE(same(dst[i], want[i])) << s[0] << "x" << s[1] << " -> " << s[2] << "x" << s[3] << " at " << i;
        ASSERT_EQ(0, std::memcmp(copy.data(), src.data(), src.size() * sizeof(tPixel)));
    }
    tPixel src[4] = {{0, 0, 0, 0}, {4, 4, 4, 4}, {8, 8, 8, 8}, {16, 16, 16, 16}}, dst[8];
    Access::scale_rect(any, dst, src, 4, 1, 8, 1);
    const float want[8] = {0, 2, 4, 6, 8, 12, 16, 16};
    for (int i = 0; i < 8; ++i) EXPECT_TRUE(same(dst[i], tPixel{want[i], want[i], want[i], want[i]})) << i;
}

TEST_F(ScaleTest, CopyScalingUsesThePaddedRows)
{
    // 3 pixels wide means rows of 4: the padding pixel is a source sample.
    CVFloatWorld src(3, 2), dst(7, 4);
    fill_random(src, rng_, 0, 1);
    dst.fill(tPixel{9, 9, 9, 9});
    src.copy_scaling_into(dst, nullptr);
    const std::vector<tPixel> flat(src.pixel_ptr(), src.pixel_ptr() + 8);
    const std::vector<tPixel> want = reference_rect(flat, 4, 2, 8, 4);
    for (A_long y = 0; y < 4; ++y)
        for (A_long x = 0; x < 8; ++x) EXPECT_TRUE(same(*dst.pixel_at_point(x, y), want[y * 8 + x])) << x << "," << y;
}

TEST_F(ScaleTest, MissingLineBuffersLeaveTheDestinationAlone)
{
    CVFloatWorld src(4, 4), dst(8, 8), before(8, 8);
    fill_random(src, rng_, 0, 1);
    fill_random(dst, rng_, 0, 1);
    copy_block(dst, before);
    host().fail_allocation(2);
    src.copy_scaling_into(dst, nullptr);
    EXPECT_TRUE(blocks_equal(dst, before));
}

}  // namespace

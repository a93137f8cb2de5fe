#include "image_test_support.h"

namespace {

class ScaleTest : public ImageTest {};

tPixel avg(const tPixel& a, const tPixel& b)
{
    return tPixel{(a.alpha + b.alpha) * 0.5f, (a.red + b.red) * 0.5f, (a.green + b.green) * 0.5f,
                  (a.blue + b.blue) * 0.5f};
}

bool same(const tPixel& a, const tPixel& b)
{
    return same_bits(a.alpha, b.alpha) && same_bits(a.red, b.red) && same_bits(a.green, b.green) &&
           same_bits(a.blue, b.blue);
}

// Where output sample i of n falls on a source of m samples: the index of
// its first source sample and whether it blends with the next. The same
// error-accumulating walk as the scaler, stated per sample; samples of the
// tail repeat the position the walk ends on.
struct Sample {
    A_long index;
    bool blend;
    bool tail;
};

std::vector<Sample> sample_positions(A_long m, A_long n)
{
    const A_long tail = n >= m ? n / (2 * m) + 1 : 0;
    std::vector<Sample> out;
    A_long index = 0, err = 0;
    for (A_long i = 0; i < n - tail; ++i) {
        out.push_back(Sample{index, err >= n / 2, false});
        index += m / n;
        err += m % n;
        if (err >= n) {
            err -= n;
            ++index;
        }
    }
    for (A_long i = 0; i < tail; ++i) {
        out.push_back(Sample{index, false, true});
    }
    return out;
}

std::vector<tPixel> reference_line(const tPixel* src, A_long m, A_long n)
{
    std::vector<tPixel> out;
    for (const Sample& s : sample_positions(m, n)) {
        out.push_back(s.blend ? avg(src[s.index], src[s.index + 1]) : src[s.index]);
    }
    return out;
}

// The two-dimensional scheme evaluated row by row from scratch. A tail row
// whose source row is the one the last blended row was made from repeats
// that row, blend included, as the scaler's line buffer does.
std::vector<tPixel> reference_rect(const std::vector<tPixel>& src, A_long sw, A_long sh, A_long dw, A_long dh)
{
    std::vector<tPixel> out;
    const std::vector<Sample> rows = sample_positions(sh, dh);
    std::vector<tPixel> previous;
    A_long previous_index = -1;
    for (const Sample& r : rows) {
        std::vector<tPixel> line;
        if (r.tail && r.index == previous_index) {
            line = previous;
        } else {
            line = reference_line(&src[r.index * sw], sw, dw);
            if (r.blend) {
                const std::vector<tPixel> next = reference_line(&src[(r.index + 1) * sw], sw, dw);
                for (A_long i = 0; i < dw; ++i) {
                    line[i] = avg(line[i], next[i]);
                }
            }
        }
        out.insert(out.end(), line.begin(), line.end());
        previous = line;
        previous_index = r.index;
    }
    return out;
}

std::vector<tPixel> random_pixels(std::mt19937& rng, size_t n)
{
    std::uniform_real_distribution<float> d(-1, 1);
    std::vector<tPixel> v(n);
    for (auto& p : v) {
        p = tPixel{d(rng), d(rng), d(rng), d(rng)};
    }
    return v;
}

TEST_F(ScaleTest, LineDoublingBlendsNeighboursAndRepeatsTheLast)
{
    CVFloatWorld any;
    tPixel src[4] = {{0, 0, 0, 0}, {4, 4, 4, 4}, {8, 8, 8, 8}, {16, 16, 16, 16}};
    tPixel dst[8];
    Access::scale_line(any, dst, src, 4, 8);
    const float want[8] = {0, 2, 4, 6, 8, 12, 16, 16};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(dst[i].red, want[i]) << i;
        EXPECT_EQ(dst[i].alpha, want[i]) << i;
    }
}

// Exact-size buffers on both sides, so a read past the source or a write
// past the destination reaches the sanitizer build.
TEST_F(ScaleTest, RectMatchesTheSchemeComputedDirectly)
{
    CVFloatWorld any;
    const A_long sizes[] = {1, 2, 3, 4, 5, 7, 8, 12, 13};
    for (A_long sw : sizes) {
        for (A_long dw : sizes) {
            for (A_long sh : {1, 2, 3, 5, 8}) {
                for (A_long dh : {1, 2, 3, 4, 7, 9, 16}) {
                    const std::vector<tPixel> src = random_pixels(rng_, sw * sh);
                    auto copy = src;
                    std::vector<tPixel> dst(dw * dh);
                    Access::scale_rect(any, dst.data(), copy.data(), sw, sh, dw, dh);
                    const std::vector<tPixel> want = reference_rect(src, sw, sh, dw, dh);
                    for (size_t i = 0; i < dst.size(); ++i) {
                        ASSERT_TRUE(same(dst[i], want[i]))
                            << sw << "x" << sh << " -> " << dw << "x" << dh << " at " << i;
                    }
                    ASSERT_EQ(0, std::memcmp(copy.data(), src.data(), src.size() * sizeof(tPixel)));
                }
            }
        }
    }
    // Field to frame and frame to field sizes.
    for (auto dims : {std::vector<A_long>{720, 243, 720, 486}, std::vector<A_long>{720, 486, 360, 243},
                      std::vector<A_long>{1920, 3, 1280, 2}}) {
        const std::vector<tPixel> src = random_pixels(rng_, dims[0] * dims[1]);
        auto copy = src;
        std::vector<tPixel> dst(dims[2] * dims[3]);
        Access::scale_rect(any, dst.data(), copy.data(), dims[0], dims[1], dims[2], dims[3]);
        const std::vector<tPixel> want = reference_rect(src, dims[0], dims[1], dims[2], dims[3]);
        for (size_t i = 0; i < dst.size(); ++i) {
            ASSERT_TRUE(same(dst[i], want[i])) << dims[0] << " -> " << dims[2] << " at " << i;
        }
    }
}

TEST_F(ScaleTest, CopyScalingUsesThePaddedRows)
{
    // 3 pixels wide means rows of 4: the padding pixel is a source sample.
    CVFloatWorld src(3, 2), dst(7, 4);
    fill_random(src, rng_, 0, 1);
    dst.fill(tPixel{9, 9, 9, 9});
    src.copy_scaling_into(dst, nullptr);
    std::vector<tPixel> flat;
    for (A_long y = 0; y < 2; ++y) {
        flat.insert(flat.end(), src.pixel_row_ptr(y), src.pixel_row_ptr(y) + 4);
    }
    const std::vector<tPixel> want = reference_rect(flat, 4, 2, 8, 4);
    for (A_long y = 0; y < 4; ++y) {
        for (A_long x = 0; x < 8; ++x) {
            EXPECT_TRUE(same(*dst.pixel_at_point(x, y), want[y * 8 + x])) << x << "," << y;
        }
    }
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

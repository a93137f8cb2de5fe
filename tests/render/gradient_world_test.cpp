#include "render/gradient_world.h"
#include "render/render_settings.h"

#include "test_support.h"

namespace {

using namespace render_test;
using Row = std::vector<float>;
using Rows = std::vector<Row>;

class GradientTest : public HostTest {
protected:
    // One image row per entry of `rows`; the image starts out as garbage,
    // which must not leak into the result.
    Rows Run(const Rows& rows, float threshold = kGradientThreshold)
    {
        const long h = static_cast<long>(rows.size()), w = static_cast<long>(rows[0].size());
        CVFloatWorld field(w, h);
        FillGrey(field, [&](long x, long y) { return rows[y][x]; });
        CVGradientWorld g(w, h);
        FillAll(g, 99.0f);
        g.SetThreshold(threshold);
        g.Compute(field);
        Rows out(h, Row(w));
        for (long y = 0; y < h; ++y)
            for (long x = 0; x < w; ++x) out[y][x] = g.row_ptr(y)[x];
        return out;
    }
};

const Row kRidge = {0, 0, 0, 0, 1, 0, 0, 0, 0};
const Row kRidgeEdges = {0, 0, 0, -1, 0, 1, 0, 0, 0};

TEST_F(GradientTest, EdgesOfRows)
{
    struct Case { const char* what; Rows in, out; };
    const Case cases[] = {
        {"flat", {Row(9, 0.3f), Row(9, 0.3f)}, {Row(9, 0.0f), Row(9, 0.0f)}},
        {"width 2", {{0, 1}, {1, 0}}, {{0, 0}, {0, 0}}},
        {"width 1", {{1}}, {{0}}},
        // First differences -1 at 3 and +1 at 5, second differences +1, -2,
        // +1 at 2, 4, 6: sign changes at 3 and 5. Rows are independent, and
        // a dark notch mirrors the pattern.
        {"ridge and notch", {kRidge, {1, 1, 1, 1, 0, 1, 1, 1, 1}}, {kRidgeEdges, {0, 0, 0, 1, 0, -1, 0, 0, 0}}},
        {"small step", {{0.2f, 0.2f, 0.2f, 0.2f, 0.24f, 0.24f, 0.24f, 0.24f}}, {Row(8, 0.0f)}},
        {"clear step", {{0.2f, 0.2f, 0.2f, 0.2f, 0.6f, 0.6f, 0.6f, 0.6f}}, {{0, 0, 0, -1, -1, 0, 0, 0}}},
    };
    for (const Case& c : cases) EXPECT_EQ(Run(c.in), c.out) << c.what;
}

TEST_F(GradientTest, PixelValueUsesItsOwnThird)
{
    // White against black measured with the motion map's third is exactly
    // the threshold; this stage's third is a hair smaller, so the ridge falls
    // below it. With the same constant it would show.
    EXPECT_EQ(Run({kRidge}, 3.0f * 0x1.555554p-2f), (Rows{Row(9, 0.0f)}));
    EXPECT_EQ(Run({kRidge}, 3.0f * 0x1.55553Ep-2f), (Rows{kRidgeEdges}));
}

// The four-at-a-time form against the pass-by-pass one it replaced, on
// random rows of widths around the vector steps, thresholds that keep some
// first differences and drop others, and a row range.
TEST_F(GradientTest, FourAtATimeEqualsPassByPass)
{
    for (long w : {1L, 3L, 4L, 5L, 7L, 8L, 9L, 13L, 37L})
        for (float threshold : {0.0f, kGradientThreshold, 0.3f}) {
            CVFloatWorld field(w, 6);
            FillRandom(field, rng_);
            CVGradientWorld fast(w, 6), slow(w, 6);
            FillAll(fast, 99.0f);
            FillAll(slow, 99.0f);
            fast.SetThreshold(threshold);
            slow.SetThreshold(threshold);
            fast.ComputeRows(field, 1, 5);
            slow.ComputeRows(field, 1, 5, true);
            ASSERT_TRUE(SameBits(Snapshot(fast), Snapshot(slow))) << "width " << w << " threshold " << threshold;
            EXPECT_EQ(fast.row_ptr(0)[0], 99.0f);
            EXPECT_EQ(fast.row_ptr(5)[0], 99.0f);
        }
}

}  // namespace

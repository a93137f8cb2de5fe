#include "render/gradient_world.h"
#include "render/render_settings.h"

#include "headless/inproc/scoped_host.h"
#include "test_images.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class GradientTest : public ::testing::Test {
protected:
    // One row per entry of `rows`, each of the same length.
    std::vector<std::vector<float>> Run(const std::vector<std::vector<float>>& rows,
                                        float threshold = kGradientThreshold)
    {
        const A_long h = static_cast<A_long>(rows.size());
        const A_long w = static_cast<A_long>(rows[0].size());
        CVFloatWorld field(w, h);
        FillGrey(field, [&](A_long x, A_long y) { return rows[y][x]; });
        CVGradientWorld g(w, h);
        EXPECT_NE(g.data, nullptr);
        // Garbage in the fresh image must not leak into the result.
        for (A_long y = 0; y < h; ++y)
            for (A_long x = 0; x < w; ++x) g.row_ptr(y)[x] = 99.0f;
        g.SetThreshold(threshold);
        g.Compute(field);
        std::vector<std::vector<float>> out(h, std::vector<float>(w));
        for (A_long y = 0; y < h; ++y)
            for (A_long x = 0; x < w; ++x) out[y][x] = g.row_ptr(y)[x];
        return out;
    }

    headless::ScopedHostContext ctx_;
};

using Row = std::vector<float>;

TEST_F(GradientTest, FlatAndNarrowRowsGiveZeros)
{
    EXPECT_EQ(Run({Row(9, 0.3f), Row(9, 0.3f)}), (std::vector<Row>{Row(9, 0.0f), Row(9, 0.0f)}));
    EXPECT_EQ(Run({{0.0f, 1.0f}, {1.0f, 0.0f}}), (std::vector<Row>{{0.0f, 0.0f}, {0.0f, 0.0f}}));
    EXPECT_EQ(Run({{1.0f}}), (std::vector<Row>{{0.0f}}));
}

TEST_F(GradientTest, RidgeGivesOppositeEdgesBesideIt)
{
    // One bright pixel at 4: first differences -1 at 3 and +1 at 5, second
    // differences +1, -2, +1 at 2, 4, 6, sign changes at 3 and 5. Height 1.
    const Row ridge = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(Run({ridge}), (std::vector<Row>{{0, 0, 0, -1, 0, 1, 0, 0, 0}}));
    // Rows are independent; a dark notch gives the mirrored pattern.
    const Row notch = {1, 1, 1, 1, 0, 1, 1, 1, 1};
    EXPECT_EQ(Run({ridge, notch}),
              (std::vector<Row>{{0, 0, 0, -1, 0, 1, 0, 0, 0}, {0, 0, 0, 1, 0, -1, 0, 0, 0}}));
}

TEST_F(GradientTest, StepBelowThresholdIsNoEdge)
{
    const Row small = {0.2f, 0.2f, 0.2f, 0.2f, 0.24f, 0.24f, 0.24f, 0.24f};
    EXPECT_EQ(Run({small}), (std::vector<Row>{Row(8, 0.0f)}));
    // The same step made clear marks both pixels beside it.
    const Row big = {0.2f, 0.2f, 0.2f, 0.2f, 0.6f, 0.6f, 0.6f, 0.6f};
    EXPECT_EQ(Run({big}), (std::vector<Row>{{0, 0, 0, -1, -1, 0, 0, 0}}));
}

TEST_F(GradientTest, PixelValueUsesItsOwnThird)
{
    // The difference between white and black measured with the motion map's
    // third is the threshold; this stage's third is a hair smaller, so the
    // ridge falls below it. With the same constant it would show.
    const float otherThird = 0x1.555554p-2f;
    const float t = (1.0f + 1.0f + 1.0f) * otherThird - 0.0f;
    const Row ridge = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(Run({ridge}, t), (std::vector<Row>{Row(9, 0.0f)}));
    const float own = (1.0f + 1.0f + 1.0f) * 0x1.55553Ep-2f;
    EXPECT_EQ(Run({ridge}, own), (std::vector<Row>{{0, 0, 0, -1, 0, 1, 0, 0, 0}}));
}

TEST_F(GradientTest, DrawIntoMarksEdgesInTwoChannels)
{
    CVFloatWorld field(9, 1);
    FillGrey(field, [](A_long x, A_long) { return x == 4 ? 1.0f : 0.0f; });
    CVGradientWorld g(9, 1);
    g.SetThreshold(kGradientThreshold);
    g.Compute(field);
    g.DrawInto(field);
    for (A_long x = 0; x < 9; ++x) {
        const CVFloatWorld::tPixel p = *field.pixel_at_point(x, 0);
        EXPECT_EQ(p.alpha, 1.0f);
        EXPECT_EQ(p.red, x == 5 ? 1.0f : 0.0f) << x;
        EXPECT_EQ(p.green, x == 3 ? 1.0f : 0.0f) << x;
        EXPECT_EQ(p.blue, 0.0f);
    }
}

}  // namespace

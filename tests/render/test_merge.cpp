// The merge stage as a whole: per-pixel writes of the field line, the
// directional search and its views, and the rebuilt line below.
#include "image/box_filter.h"
#include "render/merge.h"

#include "test_support.h"

#include <stdexcept>

namespace {

using namespace render_test;

// The images of one merge call for a frame of W x H; Field 0 is the upper
// field (H + 1) / 2 rows high or the lower one H / 2 rows high.
struct Scene {
    Scene(long W, long H, bool upperField)
        : width(W), height(H), upper(upperField), rows(upper ? (H + 1) / 2 : H / 2), field0(W, rows),
          plus1(W, upper ? H / 2 : (H + 1) / 2), copy(W, rows), prepared(W, rows), output(W, H),
          gradient(W, rows), difference(W, H / 2) {}

    // The filtered copies the render prepares from Field 0.
    void Prepare(long patternSize) {
        field0.copy_into(copy);
        CVFloatWorld horizontal(width, rows);
        box_filter_horizontal(copy, horizontal, patternSize);
        box_filter_vertical(horizontal, prepared, 2);
    }

    void Run(const MergeKernels& kernels, A_long show, long patternSize = 4) {
        RenderSettings s{};
        s.show = show;
        s.patternSize = patternSize;
        s.searchSpan = 2 * patternSize;
        s.blendLimit = 0.4f;
        MergeWith(kernels, s, field0, plus1, upper, gradient, difference, copy, prepared, output, 0, rows);
    }

    long OutRow(long y) const { return 2 * y + (upper ? 0 : 1); }

    long width, height;
    bool upper;
    long rows;
    CVFloatWorld field0, plus1, copy, prepared, output;
    CVGradientWorld gradient;
    CVDifferenceWorld difference;
};

const MergeKernels kScalar = MergeKernelsFor(false);
const MergeKernels kVector = MergeKernelsFor(true);
const MergeKernels kBoth[] = {kScalar, kVector};
const Pixel kBlack{1, 0, 0, 0};

class MergeTest : public HostTest {};

TEST_F(MergeTest, BuildsAgreeOnRandomFieldsInEveryView) {
    std::uniform_real_distribution<float> u(0.0f, 1.0f);
    struct Shape { long W, H, pattern; bool upper; };
    for (const Shape& sh : {Shape{40, 14, 4, true}, Shape{37, 15, 4, false}, Shape{26, 11, 2, true},
                            Shape{12, 5, 4, false}, Shape{30, 9, 1, true}}) {
        Scene s(sh.W, sh.H, sh.upper);
        FillRandom(s.field0, rng_);
        FillRandom(s.plus1, rng_);
        // Flat patches give NaN scores; the search must treat them alike.
        for (long x = 0; x < 6; ++x) Put(s.field0, x, 1, Pixel{1, 0.5f, 0.5f, 0.5f});
        s.Prepare(sh.pattern);
        for (long y = 0; y < s.gradient.height; ++y)
            for (long x = 0; x < sh.W; ++x) {
                const float r = u(rng_);
                s.gradient.row_ptr(y)[x] = r < 0.2f ? -1.0f : (r > 0.6f ? 1.0f : 0.0f);
            }
        for (long y = 0; y < s.difference.height; ++y)
            for (long x = 0; x < sh.W; ++x) {
                const float r = u(rng_);
                s.difference.row_ptr(y)[x] = r < 0.3f ? 0.0f : (r > 0.7f ? 1.0f : u(rng_));
            }
        FillRandom(s.output, rng_);
        const std::vector<float> base = Snapshot(s.output);
        for (A_long show : {kShowResult, kShowAutoLevels, kShowMatchPoints, kShowVectorMagnitudes, kShowSource,
                            kShowData}) {
            SCOPED_TRACE(testing::Message() << "show " << show << " width " << sh.W);
            Restore(base, s.output);
            s.Run(kScalar, show, sh.pattern);
            const std::vector<float> scalar = Snapshot(s.output);
            Restore(base, s.output);
            s.Run(kVector, show, sh.pattern);
            ASSERT_TRUE(SameBits(scalar, Snapshot(s.output)));
            ASSERT_FALSE(SameBits(scalar, base));
            // Output rows outside the walked lines stay as they were.
            const long rowFloats = static_cast<long>(s.output.rowbytes() / 4);
            const long first = s.OutRow(0), last = s.OutRow(s.rows - 2) + 1;
            for (long i = 0; i < static_cast<long>(base.size()); ++i) {
                if (i / rowFloats >= first && i / rowFloats <= last) continue;
                ASSERT_EQ(Bits(scalar[i]), Bits(base[i])) << i;
            }
        }
    }
}

// A still frame (edges everywhere, motion nowhere) keeps Field 0 in its own
// lines and weaves Field +1 into the lines between. Motion without edges
// blends Field 0 over the base by the motion value, and the line below is
// filled straight down: the mean of the field rows above
// and below (each row one colour here, so that where a sample falls along the
// row does not matter), blended over the woven line. The last field row is
// not walked.
TEST_F(MergeTest, StillWeavesAndMotionWithoutEdgesFillsStraightDown) {
    for (bool upper : {true, false})
        for (const MergeKernels& kernels : kBoth)
            for (float m : {0.0f, 0.25f}) {
                SCOPED_TRACE(testing::Message() << "upper " << upper << " motion " << m);
                Scene s(21, 12, upper);
                FillRandom(s.field0, rng_);
                for (long y = 0; y < s.rows && m != 0.0f; ++y)
                    for (long x = 1; x <= s.width; ++x) Put(s.field0, x, y, At(s.field0, 0, y));
                FillRandom(s.plus1, rng_);
                s.Prepare(4);
                FillAll(s.gradient, m == 0.0f ? 1.0f : 0.0f);
                FillAll(s.difference, m);
                FillRandom(s.output, rng_);
                const std::vector<float> base = Snapshot(s.output);
                s.Run(kernels, kShowResult);
                const long rowFloats = static_cast<long>(s.output.rowbytes() / 4);
                for (long y = 0; y + 1 < s.rows; ++y)
                    for (long x = 0; x < s.width; ++x) {
                        const Pixel p = At(s.field0, x, y), below = At(s.field0, x, y + 1);
                        const Pixel weave = At(s.plus1, x, y + (upper ? 0 : 1));
                        const float* o = base.data() + s.OutRow(y) * rowFloats + x * 4;
                        const Pixel r0 = At(s.output, x, s.OutRow(y)), r1 = At(s.output, x, s.OutRow(y) + 1);
                        if (m == 0.0f) {
                            ASSERT_EQ(r0, p) << x << "," << y;
                            ASSERT_EQ(r1, weave) << x << "," << y;
                            continue;
                        }
                        ASSERT_EQ(r0[0], o[0]);  // alpha of the base
                        for (int c = 1; c < 4; ++c) ASSERT_EQ(r0[c], m * p[c] + (1 - m) * o[c]) << x << "," << y;
                        for (int c = 0; c < 4; ++c)
                            ASSERT_NEAR(r1[c], m * 0.5f * (p[c] + below[c]) + (1 - m) * weave[c], 1e-6f) << x << "," << y;
                    }
                for (long i = s.OutRow(s.rows - 1) * rowFloats; i < static_cast<long>(base.size()); ++i)
                    ASSERT_EQ(s.output.data_ptr()[i], base[i]) << i;
            }
}

TEST_F(MergeTest, NaNScoresNeverWin) {
    // Rows from 3 on are flat from column 17 on, at their mean: every offset
    // k >= 1 at (21, 4) compares with a flat window (NaN); k <= 0 reach
    // textured pixels.
    Scene s(40, 16, true);
    FillRandom(s.field0, rng_);
    const Pixel flat{1, 0.5f, 0.5f, 0.5f};
    for (long y = 3; y < s.rows; ++y)
        for (long x = 17; x < s.width; ++x) Put(s.field0, x, y, flat);
    s.Prepare(4);
    for (long y = 3; y < s.rows; ++y)
        for (long x = 17; x < s.width; ++x) Put(s.prepared, x, y, flat);
    FillRandom(s.plus1, rng_);
    FillAll(s.gradient, 0.0f);
    s.gradient.row_ptr(4)[21] = 1.0f;
    FillAll(s.difference, 1.0f);
    for (const MergeKernels& kernels : kBoth) {
        FillAll(s.output, kBlack);
        s.Run(kernels, kShowVectorMagnitudes);
        const Pixel got = At(s.output, 21, s.OutRow(4));
        const bool negative = got[3] > 0.0f && got[2] == 0.0f;
        const bool zero = got[2] == 0.1f && got[3] == 0.0f;
        EXPECT_TRUE(negative || zero) << got[2] << " " << got[3];
    }
    // A field flat everywhere: every score is NaN, the match goes straight down.
    FillAll(s.copy, flat);
    for (const MergeKernels& kernels : kBoth) {
        FillAll(s.output, kBlack);
        s.Run(kernels, kShowVectorMagnitudes);
        EXPECT_EQ(At(s.output, 21, s.OutRow(4)), (Pixel{1, 0, 0.1f, 0}));
    }
}

TEST_F(MergeTest, MovingEdgeIsFilledAlongItsDirection) {
    // An edge moving two pixels right per field row; everything moves.
    Scene s(48, 24, true);
    auto edge = [](long y) { return 10 + 2 * y; };
    for (long y = 0; y < s.rows; ++y)
        for (long x = 0; x < s.width; ++x)
            Put(s.field0, x, y, x >= edge(y) ? Pixel{1, 0.9f, 0.8f, 0.7f} : Pixel{1, 0.1f, 0.2f, 0.3f});
    s.Prepare(4);
    FillAll(s.plus1, Pixel{1, 0.5f, 0.5f, 0.5f});
    FillAll(s.gradient, 0.0f);
    for (long y = 0; y < s.rows; ++y) s.gradient.row_ptr(y)[edge(y)] = 1.0f;
    FillAll(s.difference, 1.0f);
    for (const MergeKernels& kernels : kBoth) {
        FillAll(s.output, kBlack);
        s.Run(kernels, kShowResult);
        // Between field rows 5 (edge at 20) and 6 (edge at 22) the rebuilt
        // line has its edge at 21; straight down, columns 20 and 21 would
        // both be half grey.
        const long r = s.OutRow(5) + 1;
        for (long x : {17, 20}) EXPECT_LT(At(s.output, x, r)[1], 0.2f) << x;
        for (long x : {21, 24}) EXPECT_GT(At(s.output, x, r)[1], 0.8f) << x;
    }
}

TEST_F(MergeTest, ViewsMarkTheirPixelsAndTiesGoToTheLargerOffset) {
    // Every row is the row above moved two pixels right, with a pattern of
    // period 4: the offsets -2 and +2 match equally well. The window means
    // are equal at every centre, so equal windows score equal bits.
    Scene s(40, 16, true);
    const Pixel period[4] = {{1, 0.9f, 0.2f, 0.3f}, {1, 0.1f, 0.8f, 0.3f}, {1, 0.1f, 0.2f, 0.7f},
                             {1, 0.1f, 0.2f, 0.3f}};
    for (long y = 0; y < s.rows; ++y)
        for (long x = 0; x < s.width; ++x) Put(s.field0, x, y, period[((x - 2 * y) % 4 + 8) % 4]);
    s.field0.copy_into(s.copy);
    FillAll(s.prepared, Pixel{1, 0.3f, 0.35f, 0.4f});
    FillRandom(s.plus1, rng_);
    FillAll(s.gradient, 0.0f);
    s.gradient.row_ptr(3)[12] = 1.0f;
    s.gradient.row_ptr(3)[24] = 1.0f;
    FillAll(s.difference, 1.0f);
    for (long x = 30; x < s.width; ++x) s.difference.row_ptr(3)[x] = 0.0f;
    const long r0 = s.OutRow(3), r1 = r0 + 1;
    for (const MergeKernels& kernels : kBoth) {
        // Match points: the start in red on the field line, the matched end
        // (k = +2) in green on the line below. The second match's end lies
        // in the row's last segment, which the end-of-row fill covers.
        FillAll(s.output, kBlack);
        s.Run(kernels, kShowMatchPoints);
        EXPECT_EQ(At(s.output, 12, r0), (Pixel{1, 1, 0, 0}));
        EXPECT_EQ(At(s.output, 14, r1), (Pixel{1, 0, 1, 0}));
        EXPECT_EQ(At(s.output, 24, r0), (Pixel{1, 1, 0, 0}));
        EXPECT_EQ(At(s.output, 13, r0), At(s.field0, 13, 3));  // m = 1: Field 0 colour

        // Vector magnitudes: |k| = 2 of a span of 8, in green for k >= 0, on
        // both lines; a moving pixel without an edge is opaque black.
        FillAll(s.output, kBlack);
        s.Run(kernels, kShowVectorMagnitudes);
        const float v = 2.0f * 0.9f / 8.0f + 0.1f;
        EXPECT_EQ(At(s.output, 12, r0), (Pixel{1, 0, v, 0}));
        EXPECT_EQ(At(s.output, 12, r1), (Pixel{1, 0, v, 0}));
        EXPECT_EQ(At(s.output, 11, r0), kBlack);

        // Source: moving pixels of the field line in half red, every filled
        // pixel of the line below yellow where it moves, woven where not.
        FillAll(s.output, kBlack);
        s.Run(kernels, kShowSource);
        EXPECT_EQ(At(s.output, 5, r0), (Pixel{1, 0.5f, 0, 0}));
        EXPECT_EQ(At(s.output, 33, r0), At(s.field0, 33, 3));  // still: Field 0 itself
        for (long x = 0; x < s.width; ++x)
            EXPECT_EQ(At(s.output, x, r1), x < 30 ? Pixel({1, 1, 1, 0}) : At(s.plus1, x, 3)) << x;
    }
}

// A match left of column 0 puts its "Match Points" mark into the row
// above's tail (the flat row layout). Where that is a real pixel of Field
// 0's own line, the line is what stays: it used to be written after the mark.
TEST_F(MergeTest, MatchMarksLeftOfTheRowDoNotOverwriteTheFieldLine) {
    Scene s(40, 16, true);  // 40 pixels: no row padding
    // Every row is the row above moved two pixels left, so offset -2 matches.
    auto texture = [](long u) {
        const unsigned h = static_cast<unsigned>(u * 2654435761u) >> 20;
        return Pixel{1, (h % 97) / 97.0f, (h % 89) / 89.0f, (h % 83) / 83.0f};
    };
    for (long y = 0; y < s.rows; ++y)
        for (long x = 0; x < s.width; ++x) Put(s.field0, x, y, texture(x + 2 * y + 100));
    s.Prepare(4);
    FillRandom(s.plus1, rng_);
    FillAll(s.gradient, 0.0f);
    s.gradient.row_ptr(4)[1] = 1.0f;
    FillAll(s.difference, 1.0f);
    const long r0 = s.OutRow(4);
    for (const MergeKernels& kernels : kBoth) {
        FillAll(s.output, kBlack);
        s.Run(kernels, kShowMatchPoints);
        EXPECT_EQ(At(s.output, 1, r0), (Pixel{1, 1, 0, 0}));
        const Pixel p = At(s.field0, 39, 4);
        EXPECT_EQ(At(s.output, 39, r0), (Pixel{1, p[1], p[2], p[3]}));  // not the green mark of column -1
    }
}

TEST_F(MergeTest, RejectsImagesThatDoNotFit) {
    RenderSettings settings{};
    settings.show = kShowResult;
    settings.patternSize = 4;
    settings.searchSpan = 8;
    Scene s(11, 10, true);  // narrower than span + pattern = 12
    EXPECT_THROW(Merge(settings, s.field0, s.plus1, true, s.gradient, s.difference, s.copy, s.prepared, s.output,
                       0, s.rows),
                 std::invalid_argument);
    Scene t(16, 10, true);  // more rows than the field has
    EXPECT_THROW(Merge(settings, t.field0, t.plus1, true, t.gradient, t.difference, t.copy, t.prepared, t.output,
                       0, t.rows + 1),
                 std::invalid_argument);
}

}  // namespace

#include "render/field_frames.h"

#include "test_support.h"

namespace {

using namespace render_test;

class FieldFramesTest : public HostTest {};

TEST_F(FieldFramesTest, SplitOddHeight)
{
    CVFloatWorld frame(5, 7), upper(5, 4), lower(5, 3);
    FillGrey(frame, [](long, long y) { return static_cast<float>(y); });
    SplitFields(frame, &upper, &lower);
    for (long i = 0; i < 4; ++i) EXPECT_EQ(At(upper, 0, i)[1], 2.0f * i);
    for (long i = 0; i < 3; ++i) EXPECT_EQ(At(lower, 0, i)[1], 2.0f * i + 1);
    // Either field may be left out.
    FillGrey(lower, -1.0f);
    SplitFields(frame, nullptr, &lower);
    EXPECT_EQ(At(lower, 0, 2)[1], 5.0f);
}

TEST_F(FieldFramesTest, BuildPlacesFieldRowsAndAveragesAllChannelsBetween)
{
    // Field row i holds 4i (scaled per channel); frame rows between field
    // rows average them, a lower field's frame row 0 and any frame row past
    // the last field row repeat the nearest field row.
    struct Case { bool upper; long frameH; std::vector<float> rows; };
    const Case cases[] = {
        {true, 6, {0, 2, 4, 6, 8, 8}},
        {true, 7, {0, 2, 4, 6, 8, 10, 12}},
        {false, 6, {0, 0, 2, 4, 6, 8}},
        {false, 7, {0, 0, 2, 4, 6, 8, 8}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "upper " << c.upper << " height " << c.frameH);
        CVFloatWorld field(3, c.upper ? (c.frameH + 1) / 2 : c.frameH / 2), frame(3, c.frameH);
        for (long y = 0; y < field.height(); ++y)
            for (long x = 0; x < 3; ++x) Put(field, x, y, Pixel{4.0f * y, 8.0f * y, 12.0f * y, 16.0f * y});
        FillGrey(frame, -1.0f);
        BuildFrameFromField(field, frame, c.upper);
        for (long r = 0; r < c.frameH; ++r) {
            const float v = c.rows[r];
            EXPECT_EQ(At(frame, 2, r), (Pixel{v, 2 * v, 3 * v, 4 * v})) << "row " << r;
        }
    }
}

}  // namespace

namespace {

// The merge's base in one pass is the two frames built and blended, to the
// bit, padding included: both parities, odd and even heights and widths.
TEST_F(FieldFramesTest, BlendedFrameInOnePassEqualsBuildingAndBlending)
{
    for (long width : {5L, 8L, 13L})
        for (long H : {5L, 6L, 9L})
            for (bool upper : {true, false}) {
                const long HU = (H + 1) / 2, HL = H / 2;
                CVFloatWorld field(width, upper ? HU : HL), other(width, upper ? HL : HU);
                FillRandom(field, rng_, -1.0f, 2.0f);
                FillRandom(other, rng_, -1.0f, 2.0f);
                CVFloatWorld a(width, H), want(width, H), got(width, H);
                FillRandom(want, rng_);
                Restore(Snapshot(want), got);
                BuildFrameFromField(field, a, upper);
                BuildFrameFromField(other, want, !upper);
                a.blend_over(want, 0.5f);
                const std::vector<float> before = Snapshot(got);
                BuildBlendedFrame(field, other, upper, got);
                ASSERT_TRUE(SameBits(Snapshot(got), Snapshot(want))) << width << "x" << H << " upper " << upper;
                // Row by row, from a column on, pixels of the width only where
                // a mask is not 0: those pixels as in the whole frame (padding
                // included), every other one left alone.
                Restore(before, got);
                const long first = 1, column = 2;
                std::vector<float> mask(width);
                for (float& m : mask) m = std::bernoulli_distribution(0.5)(rng_) ? 0.0f : 0.25f;
                for (long r = first; r < H; ++r) BuildBlendedRows(field, other, upper, got, r, r + 1, column, mask.data());
                const std::vector<float> rows = Snapshot(got), whole = Snapshot(want);
                const size_t rowFloats = got.rowbytes() / sizeof(float);
                for (size_t i = 0; i < rows.size(); ++i) {
                    const long x = static_cast<long>(i % rowFloats / 4);
                    const bool built = static_cast<long>(i / rowFloats) >= first && x >= column &&
                                       (x >= width || mask[x] != 0.0f);
                    ASSERT_TRUE(SameBits({rows[i]}, {built ? whole[i] : before[i]})) << "float " << i;
                }
            }
}

}  // namespace

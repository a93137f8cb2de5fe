// The two inner routines of the merge: the pattern score and the segment
// filler, each in its vector and scalar build.
#include "render/fill_segment.h"
#include "render/pattern_score.h"
#include "image/cpu_features.h"

#include "test_support.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace {

using namespace render_test;

struct ScoreCase { long x, y, k, h; };

// Pointers exactly as the merge hands them over.
float Score(PatternScoreFn fn, const CVFloatWorld& copy, const CVFloatWorld& prepared, const ScoreCase& c) {
    return fn(copy, copy.data_at_point(c.x, c.y), prepared.data_at_point(c.x, c.y),
              copy.data_row_ptr(c.y + 1) + (c.x + c.k) * 4, prepared.data_row_ptr(c.y + 1) + (c.x + c.k) * 4, c.h,
              2, copy.rowbytes(), c.x, copy.width(), c.y, copy.height());
}

const PatternScoreFn kScores[] = {PatternScore_regular, PatternScore_simd};
const FillSegmentFn kFills[] = {FillSegment_regular, FillSegment_simd};

class MergeKernelsTest : public HostTest {};

TEST_F(MergeKernelsTest, ScoreBuildsAgreeBitForBitOnRandomFields) {
    // Widths with and without row padding; a flat band gives NaN scores too.
    for (long width : {24L, 37L}) {
        CVFloatWorld copy(width, 9), prepared(width, 9);
        FillRandom(copy, rng_);
        FillRandom(prepared, rng_);
        for (long y = 0; y < 9; ++y)
            for (long x = 0; x < 6; ++x) Put(copy, x, y, Pixel{1.0f, 0.5f, 0.5f, 0.5f});
        for (long h : {1L, 4L})
            for (long y = 0; y + 1 < 9; ++y)
                for (long x = 0; x < width; ++x)
                    for (long k = -2 * h; k <= 2 * h && x + k <= width - 1; ++k) {
                        const ScoreCase c{x, y, k, h};
                        ASSERT_EQ(Bits(Score(PatternScore_regular, copy, prepared, c)),
                                  Bits(Score(PatternScore_simd, copy, prepared, c)))
                            << "x " << x << " y " << y << " k " << k << " h " << h << " width " << width;
                    }
    }
}

// The all-offsets scorer in each vector width against the per-offset
// routine, checkasm-style: random fields of widths with and without row
// padding, every pixel, every search span the slider allows at its ends and
// in between, pattern sizes where the window is clipped at both edges. Where
// it declines (a window reaching the end of the image) the merge scores
// offset by offset, so declining is allowed only there.
TEST_F(MergeKernelsTest, AllOffsetsAtOnceMatchOffsetByOffset) {
    const std::pair<ScoreOffsetsFn, cpu_features::VectorWidth> builds[] = {
        {ScoreOffsets_128, cpu_features::VectorWidth::k128},
        {ScoreOffsets_256, cpu_features::VectorWidth::k256},
        {ScoreOffsets_512, cpu_features::VectorWidth::k512}};
    const cpu_features::VectorWidth widest = cpu_features::widest_vectors();
    int ran = 0;
    for (long width : {29L, 40L}) {
        const long H = 7;
        CVFloatWorld copy(width, H), prepared(width, H);
        FillRandom(copy, rng_);
        FillRandom(prepared, rng_);
        for (long y = 0; y < H; ++y) Put(copy, 5, y, Pixel{1.0f, 0.5f, 0.5f, 0.5f});  // some NaN windows
        for (long h : {1L, 3L, 12L}) {
            const long span = 2 * h;
            if (width < span + h) continue;
            for (const auto& build : builds) {
                if (build.second > widest) continue;
                ++ran;
                for (long y = 0; y + 1 < H; ++y)
                    for (long x = 0; x < width; ++x) {
                        const long last = std::min(span, width - 1 - x);
                        float scores[64];
                        const bool done = build.first(copy, prepared, x, y, h, width, H, -span, last, scores);
                        bool reachesEnd = false;
                        for (long k = -span; k <= last; ++k) {
                            const float want = Score(PatternScore_regular, copy, prepared, {x, y, k, h});
                            if (done) {
                                ASSERT_EQ(Bits(scores[k + span]), Bits(want))
                                    << "x " << x << " y " << y << " k " << k << " h " << h << " width " << width
                                    << " build " << static_cast<int>(build.second);
                            }
                            // The second window's last pixel on the last row.
                            const long lastRow = std::min(y + 1 + (2 + y >= H ? 1 + (y - H + 1) : 2), H - 1);
                            const long right = x + h < width ? h : width - 1 - x;
                            reachesEnd |= lastRow == H - 1 && x + k + right - 1 >= copy.rowbytes() / 16;
                        }
                        ASSERT_TRUE(done || reachesEnd) << "declined at x " << x << " y " << y << " h " << h;
                    }
            }
        }
    }
    EXPECT_GE(ran, 5);
}

TEST_F(MergeKernelsTest, IdenticalWindowsScoreThreeAndFlatWindowsNaN) {
    // Every row the same: the window at (x, y) equals the one at (x, y + 1).
    CVFloatWorld copy(20, 8), prepared(20, 8);
    FillRandom(copy, rng_);
    for (long y = 1; y < 8; ++y) std::memcpy(copy.data_row_ptr(y), copy.data_row_ptr(0), copy.rowbytes());
    FillAll(prepared, Pixel{1.0f, 0.5f, 0.5f, 0.5f});
    for (PatternScoreFn fn : kScores) {
        EXPECT_NEAR(Score(fn, copy, prepared, {9, 3, 0, 4}), 3.0f, 1e-5f);
        EXPECT_NEAR(Score(fn, copy, prepared, {0, 0, 0, 2}), 3.0f, 1e-5f);
    }
    // One channel constant over the windows and equal to their mean: no
    // guard, the score is NaN.
    for (long y = 0; y < 8; ++y)
        for (long x = 0; x < 20; ++x) copy.data_at_point(x, y)[2] = 0.5f;
    for (PatternScoreFn fn : kScores) EXPECT_TRUE(std::isnan(Score(fn, copy, prepared, {9, 3, 2, 4})));
}

// Which pixels of the copied field the score reads: nudging a pixel changes
// the score exactly when it lies in one of the two windows. Windows span the
// columns -left .. right - 1 (never +right); the first window's rows are
// clamped to 0 .. H - 1, the second's to 1 .. H - 1; near the bottom the row
// count drops to 4; columns left of 0 reach into the previous row's tail, and
// nothing at or past the end of the image is read.
TEST_F(MergeKernelsTest, ScoreReadsExactlyTheTwoWindows) {
    const long W = 24, H = 8;  // no padding: the last row ends the block
    const ScoreCase cases[] = {
        {10, 3, 3, 4},  // inside
        {1, 0, -2, 3},  // left edge and top row; second window left of column 0
        {22, 6, 1, 3},  // right edge (right = 1), second-to-last row (4 rows)
        {18, 6, 5, 4},  // second window runs off the end of the block
        {0, 5, -8, 4},  // the furthest left the merge reaches
    };
    CVFloatWorld copy(W, H), prepared(W, H);
    FillRandom(copy, rng_);
    FillRandom(prepared, rng_);
    for (const ScoreCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "x " << c.x << " y " << c.y << " k " << c.k);
        const long left = std::min(c.h, c.x), right = c.x + c.h < W ? c.h : W - 1 - c.x;
        const long count = 2 + c.y >= H ? 5 + (c.y - H + 1) : 5;
        // Pairs in walking order; the first pair whose second pixel lies past
        // the block ends the walk.
        std::set<long> expected;
        for (long j = 0; j < count; ++j) {
            const long ra = std::clamp(c.y + j - 2, 0L, H - 1), rb = std::clamp(c.y + j - 1, 1L, H - 1);
            for (long col = -left; col < right; ++col) {
                const long fb = rb * W + c.x + c.k + col;
                if (fb >= H * W) {
                    j = count;
                    break;
                }
                expected.insert(ra * W + c.x + col);
                expected.insert(fb);
            }
        }
        for (PatternScoreFn fn : kScores) {
            const float base = Score(fn, copy, prepared, c);
            ASSERT_TRUE(std::isfinite(base));
            for (long flat = 0; flat < H * W; ++flat) {
                float* p = copy.data_ptr() + flat * 4;
                const float saved = p[1];
                p[1] += 0.37f;
                const bool changed = Score(fn, copy, prepared, c) != base;
                p[1] = saved;
                EXPECT_EQ(changed, expected.count(flat) == 1) << "pixel " << flat % W << "," << flat / W;
            }
        }
    }
}

// The filler written out pixel by pixel from its definition: the oracle
// for both builds. One liberty, shared with them: a whole sample column
// takes its pixel as it is instead of mixing in the next one at weight 0.
void ReferenceFill(bool upper, bool isResult, long y, long segmentStart, const MatchPoint& previous,
                   const MatchPoint& current, const CVFloatWorld& field0, const CVFloatWorld& next,
                   const float* difference, float* output) {
    const long H = field0.height(), W = field0.width();
    const long r = upper ? std::clamp(y, 0L, H - 1) : std::clamp(y, 0L, H);
    const long n = static_cast<long>(std::floor(current.midpoint) - std::floor(previous.midpoint));
    const float hi = static_cast<float>(W - 1);
    auto clampColumn = [hi](float v) { return v < 0.0f ? 0.0f : (v > hi ? hi : v); };
    auto sample = [&](long row, float x, int c) {
        const float fx = std::floor(x), f = x - fx;
        const float* p = field0.data_row_ptr(row) + static_cast<long>(fx) * 4;
        return f != 0.0f ? p[c] * (1.0f - f) + p[c + 4] * f : p[c];
    };
    const Pixel yellow{1.0f, 1.0f, 1.0f, 0.0f};
    for (long i = 0; i < n; ++i) {
        const float t = 1.0f - static_cast<float>(n - i) / static_cast<float>(n);
        const float q = previous.midpoint + t * (current.midpoint - previous.midpoint);
        const float shift = q - std::floor(q);
        const float x0 = clampColumn(previous.start + t * (current.start - previous.start) - shift);
        const float x1 = clampColumn(previous.end + t * (current.end - previous.end) - shift);
        const long rowbytes = static_cast<long>(next.rowbytes());
        const long pos = std::clamp((r + (upper ? 0 : 1)) * rowbytes + (static_cast<long>(previous.midpoint) + i) * 16,
                                    0L, next.height() * rowbytes - 16);
        const float* b = reinterpret_cast<const float*>(reinterpret_cast<const char*>(next.data_ptr()) + pos);
        const float m = difference[i];
        if (segmentStart + i < 0) continue;
        for (int c = 0; c < 4; ++c) {
            const float a = isResult ? 0.5f * (sample(r, x0, c) + sample(r + 1, x1, c)) : yellow[c];
            output[c] = m * a + (1.0f - m) * b[c];
        }
        output += 4;
    }
}

TEST_F(MergeKernelsTest, FillBuildsAgreeWithTheDefinitionAndWriteOnlyTheSegment) {
    const long W = 29;
    CVFloatWorld field0(W, 7), plus1(W, 7), plus1Short(W, 6), outA(W, 3), outB(W, 3);
    FillRandom(field0, rng_);
    FillRandom(plus1, rng_);
    FillRandom(plus1Short, rng_);
    std::vector<float> difference(64);
    std::uniform_real_distribution<float> u(0.0f, 1.0f);
    std::uniform_int_distribution<long> col(0, W - 1);
    for (int trial = 0; trial < 400; ++trial) {
        for (float& m : difference) {
            const float r = u(rng_);
            m = r < 0.2f ? 0.0f : (r > 0.8f ? 1.0f : u(rng_));
        }
        const bool upper = trial % 2 == 0, isResult = (trial / 2) % 2 == 0;
        const long y = trial % 6;  // rows y and y + 1 exist in field0
        const CVFloatWorld& next = trial % 3 == 0 ? plus1Short : plus1;
        const long s0 = col(rng_), e0 = col(rng_), s1 = col(rng_), e1 = col(rng_);
        const MatchPoint previous{float(s0), float(e0), float(s0 + e0) * 0.5f, 1.0f};
        const MatchPoint current = trial % 5 == 4 ? MatchPoint{float(W), float(W), float(W), float(W)}
                                                  : MatchPoint{float(s1), float(e1), float(s1 + e1) * 0.5f, 2.0f};
        const long segmentStart = static_cast<long>(previous.midpoint);
        FillRandom(outA, rng_);
        const std::vector<float> before = Snapshot(outA);
        Restore(before, outB);
        const float* d = difference.data() + 8;
        FillSegment_regular(upper, isResult, y, segmentStart, previous, current, field0, next, d,
                            outA.data_row_ptr(1) + segmentStart * 4);
        FillSegment_simd(upper, isResult, y, segmentStart, previous, current, field0, next, d,
                         outB.data_row_ptr(1) + segmentStart * 4);
        const std::vector<float> a = Snapshot(outA);
        ASSERT_TRUE(SameBits(a, Snapshot(outB))) << "trial " << trial;
        Restore(before, outB);
        ReferenceFill(upper, isResult, y, segmentStart, previous, current, field0, next, d,
                      outB.data_row_ptr(1) + segmentStart * 4);
        ASSERT_TRUE(SameBits(a, Snapshot(outB))) << "reference, trial " << trial;
        // Only floor(current) - floor(previous) pixels from segmentStart on.
        const long n = static_cast<long>(std::floor(current.midpoint) - std::floor(previous.midpoint));
        const long rowPixels = static_cast<long>(outA.rowbytes() / 16);
        for (long i = 0; i < static_cast<long>(a.size()); ++i) {
            const long pixel = i / 4 - rowPixels - segmentStart;
            if (pixel >= 0 && pixel < n) continue;
            ASSERT_EQ(Bits(a[i]), Bits(before[i])) << "trial " << trial << " float " << i;
        }
    }
}

// Moving pixels take the mean of two Field 0 samples along the match: at the
// previous midpoint the match ends themselves, halfway between them the
// points halfway along. (Weaving still pixels and the "Source" colour are
// checked through the merge.)
TEST_F(MergeKernelsTest, MovingPixelsFollowTheMatch) {
    CVFloatWorld field0(20, 6), plus1(20, 6), out(20, 1);
    FillRandom(field0, rng_);
    FillRandom(plus1, rng_);
    const std::vector<float> moving(20, 1.0f);
    // A match from (start 0, end 4) to (start 10, end 14): midpoints 2 and 12.
    const MatchPoint previous{0.0f, 4.0f, 2.0f, 1.0f}, current{10.0f, 14.0f, 12.0f, 1.0f};
    for (FillSegmentFn fn : kFills) {
        fn(true, true, 2, 2, previous, current, field0, plus1, moving.data(), out.data_ptr());
        for (int c = 0; c < 4; ++c) {
            EXPECT_FLOAT_EQ(At(out, 0, 0)[c], 0.5f * (At(field0, 0, 2)[c] + At(field0, 4, 3)[c]));
            EXPECT_NEAR(At(out, 5, 0)[c], 0.5f * (At(field0, 5, 2)[c] + At(field0, 9, 3)[c]), 1e-5f);
        }
    }
}

TEST_F(MergeKernelsTest, FillSkipsNegativeStartsAndClampsTheWeaveRow) {
    const long W = 6;  // padded to 8
    CVFloatWorld field0(W, 4), plus1(W, 4), out(W, 2);
    FillRandom(field0, rng_);
    FillRandom(plus1, rng_);
    const Pixel unset{-1, -1, -1, -1}, last{0.125f, 0.25f, 0.375f, 0.5f};
    std::memcpy(plus1.data_end_ptr() - 4, last.data(), 16);
    const std::vector<float> still(8, 0.0f);
    for (FillSegmentFn fn : kFills) {
        // Five pixels from segment start -2: the two left of column 0 are
        // not written, the other three go to the first three output pixels.
        FillAll(out, unset);
        fn(true, true, 1, -2, MatchPoint{0, 0, 0, 0}, MatchPoint{5, 5, 5, 0}, field0, plus1, still.data(),
           out.data_row_ptr(1));
        for (long i = 0; i < 3; ++i) EXPECT_EQ(At(out, i, 1), At(plus1, 2 + i, 1)) << i;
        EXPECT_EQ(At(out, 3, 1), unset);
        EXPECT_EQ(At(out, W - 1, 0), unset);
        // A lower Field 0 row at the bottom of the other field: the weave row
        // lies past the next field, so its last pixel (padding included) is used.
        fn(false, false, 3, 0, MatchPoint{0, 0, 0, 0}, MatchPoint{3, 3, 3, 0}, field0, plus1, still.data(),
           out.data_ptr());
        for (long i = 0; i < 3; ++i) EXPECT_EQ(At(out, i, 0), last) << i;
    }
}

}  // namespace

#include "render/difference_world.h"
#include "render/render_settings.h"

#include "headless/inproc/scoped_host.h"
#include "test_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

// Four fields of W x H grey pixels and a map of W x H.
class DifferenceTest : public ::testing::Test {
protected:
    void Make(A_long w, A_long h)
    {
        for (auto& f : f_) f.resize(w, h);
        for (auto& f : f_) FillGrey(f, 0.5f);
        map_ = std::make_unique<CVDifferenceWorld>(w, h);
        ASSERT_NE(map_->data, nullptr);
        map_->SetParameters(kDiffLow, kDiffHigh, kDiffSpread, 0.0f);
    }
    void Evidence(bool upper) { map_->ComputeEvidence(upper, f_[0], f_[1], f_[2], f_[3]); }
    void Compute(bool upper) { map_->Compute(upper, f_[0], f_[1], f_[2], f_[3]); }
    float At(A_long x, A_long y) const { return map_->row_ptr(y)[x]; }
    void SetMap(float v)
    {
        for (A_long y = 0; y < map_->height; ++y)
            for (A_long x = 0; x < map_->width; ++x) map_->row_ptr(y)[x] = v;
    }

    headless::ScopedHostContext ctx_;
    CVFloatWorld f_[4];  // Field -2, -1, 0, +1
    std::unique_ptr<CVDifferenceWorld> map_;
};

TEST_F(DifferenceTest, IdenticalFieldsGiveAZeroMap)
{
    Make(37, 9);
    for (float adjust : {-100.0f, 0.0f, 20.0f, 100.0f}) {
        for (bool upper : {true, false}) {
            map_->SetParameters(kDiffLow, kDiffHigh, kDiffSpread, adjust);
            Compute(upper);
            for (A_long y = 0; y < 9; ++y)
                for (A_long x = 0; x < 37; ++x) ASSERT_EQ(At(x, y), 0.0f) << x << "," << y;
        }
    }
}

TEST_F(DifferenceTest, StrongChangeIsFullMotion)
{
    Make(40, 30);
    FillGrey(f_[1], 0.0f);
    FillGrey(f_[3], 1.0f);  // Field -1 to Field +1: far above 2 x highThreshold
    Evidence(true);
    for (A_long y = 0; y < 30; ++y)
        for (A_long x = 0; x < 40; ++x) ASSERT_EQ(At(x, y), 1.0f);
    Compute(false);
    for (A_long y = 0; y < 30; ++y)
        for (A_long x = 0; x < 40; ++x) ASSERT_EQ(At(x, y), 1.0f);
}

TEST_F(DifferenceTest, FieldMinus2AgainstField0OnNeighbourRowsOnly)
{
    // Only row 1 of Field -2 / Field 0 changes; an upper Field 0 sees it
    // from rows 0 and 2, and the missing rows above 0 and below 3 add nothing.
    Make(12, 4);
    FillGrey(f_[2], [](A_long, A_long y) { return y == 1 ? 1.0f : 0.5f; });
    Evidence(true);
    const float expectUpper[4] = {1.0f, 0.0f, 1.0f, 0.0f};
    for (A_long y = 0; y < 4; ++y)
        for (A_long x = 0; x < 12; ++x) EXPECT_EQ(At(x, y), expectUpper[y]) << x << "," << y;

    // A lower Field 0 carries its row offset both into the rows it asks for
    // and inside the evidence, so field row 0 of Field -2 / Field 0 is never
    // looked at and a change on the last row reaches every map row.
    FillGrey(f_[2], [](A_long, A_long y) { return y == 0 ? 1.0f : 0.5f; });
    Evidence(false);
    for (A_long y = 0; y < 4; ++y)
        for (A_long x = 0; x < 12; ++x) EXPECT_EQ(At(x, y), 0.0f) << x << "," << y;
    FillGrey(f_[2], [](A_long, A_long y) { return y == 3 ? 1.0f : 0.5f; });
    Evidence(false);
    for (A_long y = 0; y < 4; ++y)
        for (A_long x = 0; x < 12; ++x) EXPECT_EQ(At(x, y), 1.0f) << x << "," << y;
}

// The evidence step written out pixel by pixel, straight from its definition.
float ReferenceEvidence(const CVFloatWorld* f, bool upper, float L, float U, A_long k, A_long x, A_long y, A_long W,
                        A_long H)
{
    auto value = [](const CVFloatWorld& w, A_long px, A_long py) {
        const float* p = w.data_at_point(px, py);
        return (p[1] + p[2] + p[3]) * 0x1.555554p-2f;
    };
    auto same = [&](float d) { return d < L ? 1.0f : d > U ? 0.0f : (L - d) / (U - L) + 1.0f; };
    auto changed = [&](float d) { return d < L ? 0.0f : d > U ? 1.0f : (d - L) / (U - L); };
    auto mn = [](float a, float b) { return a > b ? b : a; };
    auto mx = [](float a, float b) { return a < b ? b : a; };
    struct E { float m, s; };
    auto E_ = [&](const CVFloatWorld& P, const CVFloatWorld& R, A_long ex, A_long ey) {
        const A_long yy = std::clamp<A_long>(ey + (upper ? 0 : 1), 0, H - 1);
        float sAll = 1, sRight = 1, tLeft = 1, sLeft = 1, tRight = 1;
        for (A_long dx = -k; dx <= k; ++dx) {
            const A_long xx = std::clamp<A_long>(ex + dx, 0, W - 1);
            const float d = std::fabs(value(P, xx, yy) - value(R, xx, yy)) * 0.5f;
            sAll = mn(sAll, same(d));
            if (dx >= 0) sRight = mn(sRight, same(d));
            if (dx < 0) tLeft = mn(tLeft, changed(d));
            if (dx <= 0) sLeft = mn(sLeft, same(d));
            if (dx > 0) tRight = mn(tRight, changed(d));
        }
        const float tc = changed(std::fabs(value(P, ex, yy) - value(R, ex, yy)) * 0.5f);
        return E{mx(mn(tRight, tLeft), tc), mx(mx(mx(sAll, mn(sRight, tLeft)), mn(sLeft, tRight)), 0.0f)};
    };
    const A_long r = upper ? 0 : 1;
    const E e0 = E_(f[1], f[3], x, y);
    const E e1 = r + y + 1 >= H ? E{0, 1} : E_(f[0], f[2], x, r + y + 1);
    const E e2 = r + y - 1 < 0 ? E{0, 1} : E_(f[0], f[2], x, r + y - 1);
    const float m = mx(e0.m, mx(e1.m, e2.m));
    const float sm = mn(e0.s, mn(e1.s, e2.s));
    return m + sm == 0.0f ? 0.0f : m / (m + sm);
}

TEST_F(DifferenceTest, EvidenceMatchesItsDefinitionOnNoise)
{
    // Values around the thresholds, so that every ramp is used.
    Make(23, 7);
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> jitter(0.0f, 0.08f);
    for (auto& f : f_) FillGrey(f, [&](A_long, A_long) { return 0.4f + jitter(rng); });
    for (bool upper : {true, false}) {
        Evidence(upper);
        A_long between = 0;
        for (A_long y = 0; y < 7; ++y)
            for (A_long x = 0; x < 23; ++x) {
                const float ref = ReferenceEvidence(f_, upper, kDiffLow, kDiffHigh, kDiffSpread, x, y, 23, 7);
                ASSERT_EQ(At(x, y), ref) << upper << " " << x << "," << y;
                between += ref > 0.0f && ref < 1.0f;
            }
        EXPECT_GT(between, 10);
    }
}

TEST_F(DifferenceTest, SmoothingIsA15By15MeanWithRepeatedEdges)
{
    Make(40, 40);
    SetMap(0.0f);
    map_->row_ptr(20)[20] = 225.0f;
    map_->row_ptr(0)[0] = 225.0f;
    map_->Smooth();
    for (A_long y = 0; y < 40; ++y)
        for (A_long x = 0; x < 40; ++x) {
            float expect = 0.0f;
            if (std::abs(x - 20) <= 7 && std::abs(y - 20) <= 7) expect = 1.0f;
            // The corner sample counts 8 times per axis at the edge, then
            // falls away one step per pixel.
            if (x <= 7 && y <= 7) expect = 225.0f * (8 - x) / 15.0f * (8 - y) / 15.0f;
            ASSERT_NEAR(At(x, y), expect, 1e-4f) << x << "," << y;
        }
}

TEST_F(DifferenceTest, SmoothingShortRowsCountOnlyTheSamplesTheyHave)
{
    // Fewer than 9 samples: the sum starts with the first sample 8 times and
    // the rest up to the next-to-last, so a width of 3 keeps 9 of 15 shares.
    Make(3, 30);
    SetMap(1.0f);
    map_->Smooth();
    for (A_long y = 0; y < 30; ++y)
        for (A_long x = 0; x < 3; ++x) ASSERT_NEAR(At(x, y), 9.0f / 15.0f, 1e-6f);
    // Columns the same way: in a map of 2 rows the last row enters the sum
    // only once, so a 1 there gives 0 above it and 1/15 on it.
    Make(30, 2);
    SetMap(0.0f);
    for (A_long x = 0; x < 30; ++x) map_->row_ptr(1)[x] = 1.0f;
    map_->Smooth();
    EXPECT_NEAR(At(15, 0), 0.0f, 1e-6f);
    EXPECT_NEAR(At(15, 1), 1.0f / 15.0f, 1e-6f);
}

TEST_F(DifferenceTest, MotionCurve)
{
    Make(4, 1);
    const float lo = 0.11764706f, hi = 0.5294118f;
    struct Case { float adjust, v, expect; };
    const Case cases[] = {
        {0.0f, 0.3f, (0.3f - lo) / (hi - lo)},   // exponent 1: unchanged by the power
        {0.0f, -0.3f, (0.3f - lo) / (hi - lo)},  // magnitude
        {0.0f, lo, 0.0f},
        {0.0f, hi, 1.0f},
        {20.0f, 0.3f, (powf(0.3f, 0.82f) - lo) / (hi - lo)},
        {-100.0f, 0.9f, 1.0f},                   // 0.9^4 = 0.656
        {-100.0f, 0.5f, 0.0f},                   // 0.5^4 = 0.0625
        {-100.0f, 0.7f, (powf(0.7f, 4.0f) - lo) / (hi - lo)},
        {100.0f, 0.01f, 1.0f},                   // 0.01^0.1 = 0.63
        {100.0f, 0.0f, 0.0f},
    };
    for (const Case& c : cases) {
        map_->SetParameters(kDiffLow, kDiffHigh, kDiffSpread, c.adjust);
        SetMap(c.v);
        map_->ApplyMotionCurve();
        EXPECT_NEAR(At(2, 0), c.expect, 2e-6f) << c.adjust << " " << c.v;
    }
}

TEST_F(DifferenceTest, DrawIntoShowsTheMapAsOpaqueGrey)
{
    Make(6, 2);
    map_->row_ptr(0)[3] = 0.25f;
    for (A_long x = 0; x < 6; ++x) map_->row_ptr(1)[x] = 0.75f;
    map_->row_ptr(0)[0] = 0.0f;
    CVFloatWorld field(6, 3);  // an upper field: one row more than the map
    FillGrey(field, 0.1f);
    map_->DrawInto(field);
    const CVFloatWorld::tPixel p = *field.pixel_at_point(3, 0);
    EXPECT_EQ(p.alpha, 1.0f);
    EXPECT_EQ(p.red, 0.25f);
    EXPECT_EQ(p.green, 0.25f);
    EXPECT_EQ(p.blue, 0.25f);
    EXPECT_EQ(field.pixel_at_point(0, 0)->red, 0.0f);
    EXPECT_EQ(field.pixel_at_point(5, 2)->red, 0.75f);  // last map row repeated
}

}  // namespace

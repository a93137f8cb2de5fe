#include "render/difference_world.h"
#include "render/power.h"
#include "render/render_settings.h"

#include "test_support.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

using namespace render_test;

// Four fields of W x H grey pixels and a map of W x H.
class DifferenceTest : public HostTest {
protected:
    void Make(long w, long h)
    {
        for (auto& f : f_) f.resize(w, h);
        for (auto& f : f_) FillGrey(f, 0.5f);
        map_ = std::make_unique<CVDifferenceWorld>(w, h);
        map_->SetParameters(kDiffLow, kDiffHigh, kDiffSpread, 0.0f);
    }
    float At(long x, long y) const { return map_->row_ptr(y)[x]; }

    CVFloatWorld f_[4];  // Field -2, -1, 0, +1
    std::unique_ptr<CVDifferenceWorld> map_;
};

// The evidence step written out pixel by pixel, straight from its definition.
float ReferenceEvidence(const CVFloatWorld* f, bool upper, long x, long y, long W, long H)
{
    const float L = kDiffLow, U = kDiffHigh;
    auto value = [](const CVFloatWorld& w, long px, long py) {
        const float* p = w.data_at_point(px, py);
        return (p[1] + p[2] + p[3]) * 0x1.555554p-2f;
    };
    auto same = [&](float d) { return d < L ? 1.0f : d > U ? 0.0f : (L - d) / (U - L) + 1.0f; };
    auto changed = [&](float d) { return d < L ? 0.0f : d > U ? 1.0f : (d - L) / (U - L); };
    auto mn = [](float a, float b) { return a > b ? b : a; };
    auto mx = [](float a, float b) { return a < b ? b : a; };
    struct E { float m, s; };
    // Q, the field between P and R, never counts.
    auto evidence = [&](const CVFloatWorld& P, const CVFloatWorld& R, long ex, long ey) {
        const long yy = std::clamp<long>(ey + (upper ? 0 : 1), 0, H - 1);
        auto d = [&](long xx) { return std::fabs(value(P, xx, yy) - value(R, xx, yy)) * 0.5f; };
        float sAll = 1, sRight = 1, tLeft = 1, sLeft = 1, tRight = 1;
        for (long dx = -kDiffSpread; dx <= kDiffSpread; ++dx) {
            const float v = d(std::clamp<long>(ex + dx, 0, W - 1));
            sAll = mn(sAll, same(v));
            if (dx >= 0) sRight = mn(sRight, same(v));
            if (dx < 0) tLeft = mn(tLeft, changed(v));
            if (dx <= 0) sLeft = mn(sLeft, same(v));
            if (dx > 0) tRight = mn(tRight, changed(v));
        }
        return E{mx(mn(tRight, tLeft), changed(d(ex))), mx(mx(mx(sAll, mn(sRight, tLeft)), mn(sLeft, tRight)), 0.0f)};
    };
    const long r = upper ? 0 : 1;
    const E e0 = evidence(f[1], f[3], x, y);
    const E e1 = r + y + 1 >= H ? E{0, 1} : evidence(f[0], f[2], x, r + y + 1);
    const E e2 = r + y - 1 < 0 ? E{0, 1} : evidence(f[0], f[2], x, r + y - 1);
    const float m = mx(e0.m, mx(e1.m, e2.m)), s = mn(e0.s, mn(e1.s, e2.s));
    return m + s == 0.0f ? 0.0f : m / (m + s);
}

// Field -2 and Field -1 read straight from 8- and 16-bit host rows (here the
// odd rows of a layer, the even ones another field's) give the map of the
// same fields converted into images, to the bit.
TEST_F(DifferenceTest, FieldsReadFromHostRowsGiveTheSameMap)
{
    const long w = 23, h = 7;
    Make(w, h);
    std::uniform_int_distribution<int> near(100, 125), any(0, 255);
    for (bool deep : {false, true}) {
        const std::ptrdiff_t pitch = (deep ? 8 : 4) * (w + 3);  // a layer row, with some padding
        std::vector<char> layers[2];
        FieldRows rows[2];
        for (int i = 0; i < 2; ++i) {
            layers[i].resize(static_cast<size_t>(pitch) * 2 * h);
            for (size_t b = 0; b < layers[i].size(); b += deep ? 2 : 1) {
                const int v = near(rng_);
                if (deep)
                    reinterpret_cast<A_u_short*>(layers[i].data() + b)[0] = static_cast<A_u_short>(v * 128 + any(rng_));
                else
                    reinterpret_cast<A_u_char*>(layers[i].data())[b] = static_cast<A_u_char>(v);
            }
            rows[i].first = layers[i].data() + pitch;
            rows[i].pitch = 2 * pitch;
            rows[i].deep = deep;
            rows[i].rows = h;
            if (deep)
                f_[i].copy_from_16bit_integer_world(w, h, 2 * pitch, reinterpret_cast<const A_u_short*>(rows[i].first));
            else
                f_[i].copy_from_8bit_integer_world(w, h, 2 * pitch, reinterpret_cast<const A_u_char*>(rows[i].first));
        }
        std::uniform_real_distribution<float> jitter(0.0f, 0.08f);
        for (int i = 2; i < 4; ++i) FillGrey(f_[i], [&](long, long) { return 0.4f + jitter(rng_); });
        for (bool upper : {true, false}) {
            map_->Compute(upper, f_[0], f_[1], f_[2], f_[3]);
            const std::vector<float> fromImages = Snapshot(*map_);
            map_->Compute(upper, rows[0], rows[1], f_[2], f_[3]);
            EXPECT_TRUE(SameBits(Snapshot(*map_), fromImages)) << "deep " << deep << " upper " << upper;
        }
    }
}

// Values around the thresholds, so that every ramp is used. Compute is the
// evidence, then the smoothing, then the motion curve.
TEST_F(DifferenceTest, EvidenceMatchesItsDefinitionOnNoise)
{
    Make(23, 7);
    std::uniform_real_distribution<float> jitter(0.0f, 0.08f);
    for (auto& f : f_) FillGrey(f, [&](long, long) { return 0.4f + jitter(rng_); });
    for (bool upper : {true, false}) {
        map_->SetParameters(kDiffLow, kDiffHigh, kDiffSpread, 20.0f);
        map_->Compute(upper, f_[0], f_[1], f_[2], f_[3]);
        const std::vector<float> computed = Snapshot(*map_);
        map_->ComputeEvidence(upper, f_[0], f_[1], f_[2], f_[3]);
        const std::vector<float> evidence = Snapshot(*map_);
        map_->Smooth();
        map_->ApplyMotionCurve();
        EXPECT_TRUE(SameBits(Snapshot(*map_), computed));
        Restore(evidence, *map_);
        long between = 0;
        for (long y = 0; y < 7; ++y)
            for (long x = 0; x < 23; ++x) {
                const float ref = ReferenceEvidence(f_, upper, x, y, 23, 7);
                ASSERT_EQ(At(x, y), ref) << upper << " " << x << "," << y;
                between += ref > 0.0f && ref < 1.0f;
            }
        EXPECT_GT(between, 10);
    }
}

TEST_F(DifferenceTest, SmoothingIsA15By15MeanWithRepeatedEdges)
{
    Make(40, 40);
    FillAll(*map_, 0.0f);
    map_->row_ptr(20)[20] = 225.0f;
    map_->row_ptr(0)[0] = 225.0f;
    map_->Smooth();
    for (long y = 0; y < 40; ++y)
        for (long x = 0; x < 40; ++x) {
            float expect = std::abs(x - 20) <= 7 && std::abs(y - 20) <= 7 ? 1.0f : 0.0f;
            // The corner sample counts 8 times per axis at the edge, then
            // falls away one step per pixel.
            if (x <= 7 && y <= 7) expect = 225.0f * (8 - x) / 15.0f * (8 - y) / 15.0f;
            ASSERT_NEAR(At(x, y), expect, 1e-4f) << x << "," << y;
        }
    // Short rows count only the samples they have: the first sample 8 times
    // and the rest up to the next-to-last, so a width of 3 keeps 9 of 15.
    Make(3, 30);
    FillAll(*map_, 1.0f);
    map_->Smooth();
    EXPECT_NEAR(At(1, 10), 9.0f / 15.0f, 1e-6f);
    // Columns alike: in a map of 2 rows the last row enters the sum only
    // once, so a 1 there gives 0 above it and 1/15 on it.
    Make(30, 2);
    FillAll(*map_, 0.0f);
    for (long x = 0; x < 30; ++x) map_->row_ptr(1)[x] = 1.0f;
    map_->Smooth();
    EXPECT_NEAR(At(15, 0), 0.0f, 1e-6f);
    EXPECT_NEAR(At(15, 1), 1.0f / 15.0f, 1e-6f);
}

// The running sum takes the entering sample first, then drops the leaving
// one: (S + in) - out. On random values the other grouping, S + (in - out),
// rounds differently somewhere, so the reference is run both ways and the
// map must match the first bit for bit and differ from the second.
TEST_F(DifferenceTest, SmoothingAddsTheEnteringSampleBeforeDroppingTheLeavingOne)
{
    const long W = 37, H = 29;
    Make(W, H);
    std::uniform_real_distribution<float> value(0.0f, 1.0f);
    std::vector<float> in(W * H);
    for (long y = 0; y < H; ++y)
        for (long x = 0; x < W; ++x) map_->row_ptr(y)[x] = in[y * W + x] = value(rng_);
    map_->Smooth();

    auto reference = [&](bool enterFirst) {
        // One line of n samples at the given stride, radius 7.
        auto line = [&](const float* src, float* dst, long n, long stride) {
            const long firstEnd = std::min<long>(7, n - 2);
            float sum = src[0] * 7.0f;
            for (long i = 0; i <= firstEnd; ++i) sum += src[i * stride];
            long enter = firstEnd + 1, leave = 0;
            for (long i = 0; i < n; ++i) {
                dst[i * stride] = sum * (1.0f / 15.0f);
                const float a = src[enter * stride], b = src[leave * stride];
                sum = enterFirst ? (sum + a) - b : sum + (a - b);
                if (enter < n - 1) ++enter;
                if (i >= 7) ++leave;
            }
        };
        std::vector<float> rows(W * H), out(W * H);
        for (long y = 0; y < H; ++y) line(&in[y * W], &rows[y * W], W, 1);
        for (long x = 0; x < W; ++x) line(&rows[x], &out[x], H, W);
        return out;
    };
    std::vector<float> got;
    for (long y = 0; y < H; ++y)
        for (long x = 0; x < W; ++x) got.push_back(At(x, y));
    EXPECT_TRUE(SameBits(got, reference(true)));
    EXPECT_FALSE(SameBits(reference(true), reference(false)));
}

TEST_F(DifferenceTest, MotionCurve)
{
    Make(4, 1);
    const float lo = 0.11764706f, hi = 0.5294118f;
    struct Case { float adjust, v, expect; };
    const Case cases[] = {
        {0.0f, 0.3f, (0.3f - lo) / (hi - lo)},   // exponent 1: unchanged by the power
        {0.0f, -0.3f, (0.3f - lo) / (hi - lo)},  // magnitude
        {20.0f, 0.3f, (powf(0.3f, 0.82f) - lo) / (hi - lo)},
        {-100.0f, 0.9f, 1.0f},  // 0.9^4 = 0.656
        {-100.0f, 0.5f, 0.0f},  // 0.5^4 = 0.0625
        {-100.0f, 0.7f, (powf(0.7f, 4.0f) - lo) / (hi - lo)},
        {100.0f, 0.01f, 1.0f},  // 0.01^0.1 = 0.63
    };
    for (const Case& c : cases) {
        map_->SetParameters(kDiffLow, kDiffHigh, kDiffSpread, c.adjust);
        FillAll(*map_, c.v);
        map_->ApplyMotionCurve();
        EXPECT_NEAR(At(2, 0), c.expect, 2e-6f) << c.adjust << " " << c.v;
    }
}

// The curve clips most values without working out the power; the values
// right around where the power crosses 30/255 and 135/255 must come out as
// the power itself says, for several slider settings.
TEST_F(DifferenceTest, MotionCurveClipsExactlyWhereThePowerCrosses)
{
    const float lo = 0.11764706f, hi = 0.5294118f;
    for (float adjust : {-100.0f, -37.0f, 0.0f, 20.0f, 63.0f, 100.0f}) {
        const float e = adjust < 0 ? (4.0f - 1.0f) * (adjust * -0.01f) + 1.0f
                                   : 0.1f * (adjust * 0.01f) + (1.0f - adjust * 0.01f);
        std::vector<float> values;
        for (float limit : {lo, hi}) {
            float v = static_cast<float>(std::pow(static_cast<double>(limit), 1.0 / e));
            for (int i = 0; i < 40; ++i) v = std::nextafter(v, 0.0f);
            for (int i = 0; i < 80; ++i, v = std::nextafter(v, 2.0f)) values.push_back(v);
        }
        Make(static_cast<long>(values.size()), 1);
        map_->SetParameters(kDiffLow, kDiffHigh, kDiffSpread, adjust);
        for (size_t i = 0; i < values.size(); ++i) map_->row_ptr(0)[i] = values[i];
        map_->ApplyMotionCurve();
        for (size_t i = 0; i < values.size(); ++i) {
            const float w = PowerOf(values[i], e);
            const float want = w <= lo ? 0.0f : w >= hi ? 1.0f : (w - lo) / (hi - lo);
            ASSERT_EQ(At(static_cast<long>(i), 0), want) << adjust << " " << values[i];
        }
    }
}

TEST_F(DifferenceTest, DrawIntoShowsTheMapAsOpaqueGrey)
{
    Make(6, 2);
    map_->row_ptr(0)[3] = 0.25f;
    map_->row_ptr(0)[0] = 0.0f;
    for (long x = 0; x < 6; ++x) map_->row_ptr(1)[x] = 0.75f;
    CVFloatWorld field(6, 3);  // an upper field: one row more than the map
    FillGrey(field, 0.1f);
    map_->DrawInto(field);
    EXPECT_EQ(render_test::At(field, 3, 0), (Pixel{1, 0.25f, 0.25f, 0.25f}));
    EXPECT_EQ(render_test::At(field, 0, 0)[1], 0.0f);
    EXPECT_EQ(render_test::At(field, 5, 2)[1], 0.75f);  // last map row repeated
}

}  // namespace

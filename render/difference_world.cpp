#include "render/difference_world.h"

#include "render/image_memory.h"

#include <cmath>

namespace {

// Mean of the three colour channels; a slightly short third (0x3EAAAAAA).
constexpr float kThird = 0x1.555554p-2f;

// Motion curve clip points: 30/255 and 135/255.
constexpr float kCurveLow = 0.11764706f;   // 0x3DF0F0F1
constexpr float kCurveHigh = 0.5294118f;   // 0x3F078788

constexpr A_long kSmoothRadius = 7;

inline float Min(float a, float b) { return a > b ? b : a; }
inline float Max(float a, float b) { return a < b ? b : a; }
inline A_long Clamp(A_long v, A_long lo, A_long hi) { return v < lo ? lo : (v > hi ? hi : v); }

inline float Value(const CVFloatWorld& f, A_long x, A_long y)
{
    const float* p = f.data_at_point(x, y);
    return (p[1] + p[2] + p[3]) * kThird;
}

struct Ramps {
    float low;
    float high;
    float Same(float d) const
    {
        if (d < low) return 1.0f;
        if (d > high) return 0.0f;
        return (low - d) / (high - low) + 1.0f;
    }
    float Changed(float d) const
    {
        if (d < low) return 0.0f;
        if (d > high) return 1.0f;
        return (d - low) / (high - low);
    }
};

inline float Diff(float a, float b) { return std::fabs(b - a) * 0.5f; }

struct Evidence {
    float moved;
    float still;
};

// P and R are fields of the same parity, Q the one between them. Q takes no
// part in the result: its term compares Q's row with itself and is always 0.
Evidence Evaluate(const Ramps& ramps, A_long spread, bool upper, A_long width, A_long height,
                  const CVFloatWorld& P, const CVFloatWorld& /*Q*/, const CVFloatWorld& R, A_long x, A_long y)
{
    const A_long yy = Clamp(y + (upper ? 0 : 1), 0, height - 1);
    float sAll = 1.0f, sRight = 1.0f, tLeft = 1.0f, sLeft = 1.0f, tRight = 1.0f;
    for (A_long dx = -spread; dx <= spread; ++dx) {
        const A_long xx = Clamp(x + dx, 0, width - 1);
        const float d = Diff(Value(R, xx, yy), Value(P, xx, yy));
        const float s = ramps.Same(d);
        const float t = ramps.Changed(d);
        sAll = Min(sAll, s);
        if (dx >= 0) sRight = Min(sRight, s);
        if (dx < 0) tLeft = Min(tLeft, t);
        if (dx <= 0) sLeft = Min(sLeft, s);
        if (dx > 0) tRight = Min(tRight, t);
    }
    const float tCentre = ramps.Changed(Diff(Value(R, x, yy), Value(P, x, yy)));
    Evidence e;
    e.moved = Max(Min(tRight, tLeft), tCentre);
    const float qTerm = 0.0f;
    e.still = Max(Max(Max(sAll, Min(sRight, tLeft)), Min(sLeft, tRight)), qTerm);
    return e;
}

// One running 15-sample mean over n samples spaced `stride` floats apart.
// The sum starts with 7 copies of the first sample plus samples 0..min(7, n-2);
// the leaving index stays on 0 until the position reaches 7 and the entering
// index stops at the last sample, so both ends repeat the edge sample.
void BoxLine(const float* src, float* dst, A_long n, A_long stride)
{
    const float inv = 1.0f / 15.0f;
    float sum = src[0] * static_cast<float>(kSmoothRadius);
    const A_long firstEnd = n - 2 < kSmoothRadius ? n - 2 : kSmoothRadius;
    for (A_long i = 0; i <= firstEnd; ++i) sum += src[i * stride];
    A_long enter = firstEnd + 1;
    A_long leave = 0;
    for (A_long x = 0; x < n; ++x) {
        dst[x * stride] = sum * inv;
        sum += src[enter * stride] - src[leave * stride];
        if (enter < n - 1) ++enter;
        if (x >= kSmoothRadius) ++leave;
    }
}

}  // namespace

CVDifferenceWorld::CVDifferenceWorld(A_long w, A_long h)
    : CVSingleFloatWorld(w, h), lowThreshold_(0.0f), highThreshold_(0.0f), spread_(0),
      motionAdjust_(0.0f)
{
}

CVDifferenceWorld::~CVDifferenceWorld() = default;

void CVDifferenceWorld::SetParameters(float lowThreshold, float highThreshold, A_long spread, float motionAdjust)
{
    lowThreshold_ = lowThreshold;
    highThreshold_ = highThreshold;
    spread_ = spread;
    motionAdjust_ = motionAdjust;
}

void CVDifferenceWorld::Compute(bool upper, const CVFloatWorld& fieldMinus2, const CVFloatWorld& fieldMinus1,
                                const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1)
{
    ComputeEvidence(upper, fieldMinus2, fieldMinus1, field0, fieldPlus1);
    Smooth();
    ApplyMotionCurve();
}

void CVDifferenceWorld::ComputeEvidence(bool upper, const CVFloatWorld& fieldMinus2,
                                        const CVFloatWorld& fieldMinus1, const CVFloatWorld& field0,
                                        const CVFloatWorld& fieldPlus1)
{
    const A_long w = width;
    const A_long h = height;
    const Ramps ramps{lowThreshold_, highThreshold_};
    const A_long r = upper ? 0 : 1;
    for (A_long y = 0; y < h; ++y) {
        float* out = row_ptr(y);
        for (A_long x = 0; x < w; ++x) {
            const Evidence e0 =
                Evaluate(ramps, spread_, upper, w, h, fieldMinus1, field0, fieldPlus1, x, y);
            // The neighbour rows carry the lower-field offset twice (here and
            // inside Evaluate); that is the behaviour the render relies on.
            Evidence e1{0.0f, 1.0f};
            if (r + y + 1 < h)
                e1 = Evaluate(ramps, spread_, upper, w, h, fieldMinus2, fieldMinus1, field0, x, r + y + 1);
            Evidence e2{0.0f, 1.0f};
            if (r + y - 1 >= 0)
                e2 = Evaluate(ramps, spread_, upper, w, h, fieldMinus2, fieldMinus1, field0, x, r + y - 1);
            const float mMax = Max(e0.moved, Max(e1.moved, e2.moved));
            const float sMin = Min(e0.still, Min(e1.still, e2.still));
            const float sum = mMax + sMin;
            out[x] = sum == 0.0f ? 0.0f : mMax / sum;
        }
    }
}

void CVDifferenceWorld::Smooth()
{
    const A_long w = width;
    const A_long h = height;
    if (w <= 0 || h <= 0) return;
    CVSingleFloatWorld temp(w, h);
    RequireImage(temp);
    for (A_long y = 0; y < h; ++y) BoxLine(row_ptr(y), temp.row_ptr(y), w, 1);
    const A_long stride = static_cast<A_long>(rowbytes / sizeof(float));
    for (A_long x = 0; x < w; ++x) BoxLine(temp.row_ptr(0) + x, row_ptr(0) + x, h, stride);
}

void CVDifferenceWorld::ApplyMotionCurve()
{
    const float a = motionAdjust_;
    float e;
    if (a < 0.0f) {
        e = (4.0f - 1.0f) * (a * -0.01f) + 1.0f;
    } else {
        const float u = a * 0.01f;
        e = 0.1f * u + (1.0f - u);
    }
    const A_long w = width;
    const A_long h = height;
    for (A_long y = 0; y < h; ++y) {
        float* row = row_ptr(y);
        for (A_long x = 0; x < w; ++x) {
            const float v = powf(std::fabs(row[x]), e);
            if (v <= kCurveLow)
                row[x] = 0.0f;
            else if (v >= kCurveHigh)
                row[x] = 1.0f;
            else
                row[x] = (v - kCurveLow) / (kCurveHigh - kCurveLow);
        }
    }
}

void CVDifferenceWorld::DrawInto(CVFloatWorld& field) const
{
    const A_long w = width < field.width() ? width : field.width();
    const A_long h = height;
    if (h <= 0) return;
    for (A_long y = 0; y < field.height(); ++y) {
        const float* src = row_ptr(y < h ? y : h - 1);
        float* dst = field.data_row_ptr(y);
        for (A_long x = 0; x < w; ++x) {
            const float v = src[x];
            dst[4 * x + 0] = 1.0f;
            dst[4 * x + 1] = v;
            dst[4 * x + 2] = v;
            dst[4 * x + 3] = v;
        }
    }
}

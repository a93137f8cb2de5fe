#include "render/difference_world.h"

#include "render/image_memory.h"
#include "render/power.h"

#include <emmintrin.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>

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

// The host's integer values as the float image holds them (the image
// core's conversion: one float multiplication per value).
constexpr float kFrom8 = 0.003921569f;   // 0x3B808081
constexpr float kFrom16 = 3.0517578e-5f;  // 1 / 32768

// Four pixels, one per vector in channel order, from x on of row y of a
// field, and the pixel value of one.
inline void Pixels4(const FieldRows& f, const float* row, const char* layerRow, A_long x, __m128& p0, __m128& p1,
                    __m128& p2, __m128& p3)
{
    if (row != nullptr) {
        p0 = _mm_loadu_ps(row + 4 * x);
        p1 = _mm_loadu_ps(row + 4 * x + 4);
        p2 = _mm_loadu_ps(row + 4 * x + 8);
        p3 = _mm_loadu_ps(row + 4 * x + 12);
        return;
    }
    const __m128i zero = _mm_setzero_si128();
    if (f.deep) {
        const __m128 k = _mm_set1_ps(kFrom16);
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(layerRow + 8 * x));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(layerRow + 8 * x + 16));
        p0 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(a, zero)), k);
        p1 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(a, zero)), k);
        p2 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(b, zero)), k);
        p3 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(b, zero)), k);
    } else {
        const __m128 k = _mm_set1_ps(kFrom8);
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(layerRow + 4 * x));
        const __m128i lo = _mm_unpacklo_epi8(bytes, zero);
        const __m128i hi = _mm_unpackhi_epi8(bytes, zero);
        p0 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(lo, zero)), k);
        p1 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(lo, zero)), k);
        p2 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(hi, zero)), k);
        p3 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(hi, zero)), k);
    }
}

inline float PixelValue(const FieldRows& f, const float* row, const char* layerRow, A_long x)
{
    float c[4];
    for (int i = 1; i < 4; ++i) {
        if (row != nullptr)
            c[i] = row[4 * x + i];
        else if (f.deep)
            c[i] = static_cast<float>(reinterpret_cast<const A_u_short*>(layerRow)[4 * x + i]) * kFrom16;
        else
            c[i] = static_cast<float>(reinterpret_cast<const A_u_char*>(layerRow)[4 * x + i]) * kFrom8;
    }
    return (c[1] + c[2] + c[3]) * kThird;
}

// Same and changed ramps of half the value difference of P and R along one
// field row. Four pixels at a time, each lane doing the scalar operations.
void RampRow(const Ramps& ramps, const FieldRows& P, const CVFloatWorld& R, A_long y, A_long width,
             float* same, float* changed)
{
    const float* p = P.image != nullptr ? P.image->data_row_ptr(y) : nullptr;
    const char* layerRow = P.image != nullptr ? nullptr : P.first + y * P.pitch;
    const float* q = R.data_row_ptr(y);
    A_long x = 0;
    const __m128 third = _mm_set1_ps(kThird);
    const __m128 half = _mm_set1_ps(0.5f);
    const __m128 signless = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const __m128 low = _mm_set1_ps(ramps.low);
    const __m128 high = _mm_set1_ps(ramps.high);
    const __m128 span = _mm_set1_ps(ramps.high - ramps.low);
    const __m128 one = _mm_set1_ps(1.0f);
    for (; x + 4 <= width; x += 4, q += 16) {
        __m128 p0, p1, p2, p3;
        Pixels4(P, p, layerRow, x, p0, p1, p2, p3);
        __m128 q0 = _mm_loadu_ps(q), q1 = _mm_loadu_ps(q + 4), q2 = _mm_loadu_ps(q + 8), q3 = _mm_loadu_ps(q + 12);
        _MM_TRANSPOSE4_PS(p0, p1, p2, p3);  // now one channel each
        _MM_TRANSPOSE4_PS(q0, q1, q2, q3);
        const __m128 pv = _mm_mul_ps(_mm_add_ps(_mm_add_ps(p1, p2), p3), third);
        const __m128 qv = _mm_mul_ps(_mm_add_ps(_mm_add_ps(q1, q2), q3), third);
        const __m128 d = _mm_mul_ps(_mm_and_ps(_mm_sub_ps(pv, qv), signless), half);
        const __m128 below = _mm_cmplt_ps(d, low);
        const __m128 above = _mm_cmpgt_ps(d, high);
        const __m128 outside = _mm_or_ps(below, above);
        // same: 1 below, 0 above, the ramp between; changed: 0 below, 1 above.
        __m128 s = _mm_and_ps(below, one);
        __m128 c = _mm_and_ps(above, one);
        // Most differences lie off the ramp; its divisions are worked out
        // only when some lane lies on it (NaN counts as on it, as before).
        if (_mm_movemask_ps(outside) != 0xF) {
            const __m128 sameMid = _mm_add_ps(_mm_div_ps(_mm_sub_ps(low, d), span), one);
            const __m128 changedMid = _mm_div_ps(_mm_sub_ps(d, low), span);
            s = _mm_or_ps(s, _mm_andnot_ps(outside, sameMid));
            c = _mm_or_ps(c, _mm_andnot_ps(outside, changedMid));
        }
        _mm_storeu_ps(same + x, s);
        _mm_storeu_ps(changed + x, c);
    }
    for (; x < width; ++x, q += 4) {
        const float d = Diff((q[1] + q[2] + q[3]) * kThird, PixelValue(P, p, layerRow, x));
        same[x] = ramps.Same(d);
        changed[x] = ramps.Changed(d);
    }
}

// Evidence at x from the ramps of two same-parity fields along the row in
// question. The field between them would enter only through a term that
// compares its row with itself and is always 0, so it is not read. Each
// running minimum takes its samples from left to right.
inline Evidence Evaluate(A_long spread, A_long width, const float* same, const float* changed, A_long x)
{
    float sAll = 1.0f, sRight = 1.0f, tLeft = 1.0f, sLeft = 1.0f, tRight = 1.0f;
    const bool inside = x >= spread && x + spread < width;
    for (A_long dx = -spread; dx < 0; ++dx) {
        const A_long xx = inside ? x + dx : Clamp(x + dx, 0, width - 1);
        sAll = Min(sAll, same[xx]);
        tLeft = Min(tLeft, changed[xx]);
        sLeft = Min(sLeft, same[xx]);
    }
    sAll = Min(sAll, same[x]);
    sRight = Min(sRight, same[x]);
    sLeft = Min(sLeft, same[x]);
    for (A_long dx = 1; dx <= spread; ++dx) {
        const A_long xx = inside ? x + dx : Clamp(x + dx, 0, width - 1);
        sAll = Min(sAll, same[xx]);
        sRight = Min(sRight, same[xx]);
        tRight = Min(tRight, changed[xx]);
    }
    const float tCentre = changed[x];
    Evidence e;
    e.moved = Max(Min(tRight, tLeft), tCentre);
    const float selfTerm = 0.0f;
    e.still = Max(Max(Max(sAll, Min(sRight, tLeft)), Min(sLeft, tRight)), selfTerm);
    return e;
}

// Evidence of every x of a row. The interior, where no neighbour is
// clamped, goes four columns at a time; each lane takes the same minima and
// maxima as Evaluate (over values in 0..1, none NaN, so the order in which
// a minimum meets its samples cannot change it).
void EvidenceRow(A_long spread, A_long width, const float* same, const float* changed, float* moved,
                 float* still)
{
    A_long x = 0;
    const A_long interiorEnd = width - spread;  // x + spread < width
    for (; x < spread && x < width; ++x) {
        const Evidence e = Evaluate(spread, width, same, changed, x);
        moved[x] = e.moved;
        still[x] = e.still;
    }
    const __m128 one = _mm_set1_ps(1.0f);
    for (; x + 4 <= interiorEnd; x += 4) {
        __m128 sAll = one, sRight = one, tLeft = one, sLeft = one, tRight = one;
        for (A_long dx = -spread; dx < 0; ++dx) {
            const __m128 sv = _mm_loadu_ps(same + x + dx);
            sAll = _mm_min_ps(sAll, sv);
            tLeft = _mm_min_ps(tLeft, _mm_loadu_ps(changed + x + dx));
            sLeft = _mm_min_ps(sLeft, sv);
        }
        const __m128 centre = _mm_loadu_ps(same + x);
        sAll = _mm_min_ps(sAll, centre);
        sRight = _mm_min_ps(sRight, centre);
        sLeft = _mm_min_ps(sLeft, centre);
        for (A_long dx = 1; dx <= spread; ++dx) {
            const __m128 sv = _mm_loadu_ps(same + x + dx);
            sAll = _mm_min_ps(sAll, sv);
            sRight = _mm_min_ps(sRight, sv);
            tRight = _mm_min_ps(tRight, _mm_loadu_ps(changed + x + dx));
        }
        const __m128 tCentre = _mm_loadu_ps(changed + x);
        _mm_storeu_ps(moved + x, _mm_max_ps(_mm_min_ps(tRight, tLeft), tCentre));
        const __m128 st = _mm_max_ps(_mm_max_ps(_mm_max_ps(sAll, _mm_min_ps(sRight, tLeft)), _mm_min_ps(sLeft, tRight)),
                                     _mm_setzero_ps());
        _mm_storeu_ps(still + x, st);
    }
    for (; x < width; ++x) {
        const Evidence e = Evaluate(spread, width, same, changed, x);
        moved[x] = e.moved;
        still[x] = e.still;
    }
}

// The map row from the evidence of the map row and of the rows below and
// above; a missing neighbour row counts as (0, 1.0).
void CombineEvidence(A_long width, float* const moved[3], float* const still[3], bool hasBelow, bool hasAbove,
                     float* out)
{
    A_long x = 0;
    const __m128 zero = _mm_setzero_ps();
    const __m128 one = _mm_set1_ps(1.0f);
    for (; x + 4 <= width; x += 4) {
        const __m128 m1 = hasBelow ? _mm_loadu_ps(moved[1] + x) : zero;
        const __m128 s1 = hasBelow ? _mm_loadu_ps(still[1] + x) : one;
        const __m128 m2 = hasAbove ? _mm_loadu_ps(moved[2] + x) : zero;
        const __m128 s2 = hasAbove ? _mm_loadu_ps(still[2] + x) : one;
        const __m128 mMax = _mm_max_ps(_mm_loadu_ps(moved[0] + x), _mm_max_ps(m1, m2));
        const __m128 sMin = _mm_min_ps(_mm_loadu_ps(still[0] + x), _mm_min_ps(s1, s2));
        const __m128 sum = _mm_add_ps(mMax, sMin);
        const __m128 v = _mm_div_ps(mMax, sum);
        _mm_storeu_ps(out + x, _mm_andnot_ps(_mm_cmpeq_ps(sum, zero), v));
    }
    for (; x < width; ++x) {
        const float m1 = hasBelow ? moved[1][x] : 0.0f, s1 = hasBelow ? still[1][x] : 1.0f;
        const float m2 = hasAbove ? moved[2][x] : 0.0f, s2 = hasAbove ? still[2][x] : 1.0f;
        const float mMax = Max(moved[0][x], Max(m1, m2));
        const float sMin = Min(still[0][x], Min(s1, s2));
        const float sum = mMax + sMin;
        out[x] = sum == 0.0f ? 0.0f : mMax / sum;
    }
}

// Running 15-sample means along rows (stride 1) or, row by row with one
// running sum per column, down columns. Per line of n samples: the sum
// starts with 7 copies of the first sample plus samples 0..min(7, n - 2);
// the leaving index stays on 0 until the position reaches 7 and the
// entering index stops at the last sample, so both ends repeat the edge
// sample. The entering sample is added before the leaving one is taken
// away; in float the other grouping rounds differently.
struct BoxWalk {
    A_long n;
    A_long firstEnd;
    explicit BoxWalk(A_long count) : n(count), firstEnd(count - 2 < kSmoothRadius ? count - 2 : kSmoothRadius) {}
};

constexpr float kBoxInv = 1.0f / 15.0f;

void BoxRow(const float* src, float* dst, A_long n)
{
    const BoxWalk walk(n);
    float sum = src[0] * static_cast<float>(kSmoothRadius);
    for (A_long i = 0; i <= walk.firstEnd; ++i) sum += src[i];
    A_long enter = walk.firstEnd + 1;
    A_long leave = 0;
    for (A_long x = 0; x < n; ++x) {
        dst[x] = sum * kBoxInv;
        sum = (sum + src[enter]) - src[leave];
        if (enter < n - 1) ++enter;
        if (x >= kSmoothRadius) ++leave;
    }
}

// BoxRow on four rows at once, one row per lane: each lane takes its row's
// samples through the same operations in the same order, so four running
// sums advance side by side instead of one sum waiting on its own additions.
void BoxRows4(const float* const src[4], float* const dst[4], A_long n)
{
    auto column = [&](A_long i) { return _mm_setr_ps(src[0][i], src[1][i], src[2][i], src[3][i]); };
    const BoxWalk walk(n);
    const __m128 inv = _mm_set1_ps(kBoxInv);
    __m128 sum = _mm_mul_ps(column(0), _mm_set1_ps(static_cast<float>(kSmoothRadius)));
    for (A_long i = 0; i <= walk.firstEnd; ++i) sum = _mm_add_ps(sum, column(i));
    A_long enter = walk.firstEnd + 1;
    A_long leave = 0;
    A_long x = 0;
    auto step = [&]() {
        const __m128 out = _mm_mul_ps(sum, inv);
        sum = _mm_sub_ps(_mm_add_ps(sum, column(enter)), column(leave));
        if (enter < n - 1) ++enter;
        if (x >= kSmoothRadius) ++leave;
        ++x;
        return out;
    };
    while (x + 4 <= n) {
        const A_long at = x;
        __m128 o0 = step(), o1 = step(), o2 = step(), o3 = step();
        _MM_TRANSPOSE4_PS(o0, o1, o2, o3);  // now one row each
        _mm_storeu_ps(dst[0] + at, o0);
        _mm_storeu_ps(dst[1] + at, o1);
        _mm_storeu_ps(dst[2] + at, o2);
        _mm_storeu_ps(dst[3] + at, o3);
    }
    while (x < n) {
        const A_long at = x;
        alignas(16) float lanes[4];
        _mm_store_ps(lanes, step());
        for (int k = 0; k < 4; ++k) dst[k][at] = lanes[k];
    }
}

// The same recurrence for every column at once; `sums` holds one running
// sum per column.
void BoxColumns(const CVSingleFloatWorld& src, CVSingleFloatWorld& dst, float* sums)
{
    const A_long w = src.width;
    const A_long n = src.height;
    const BoxWalk walk(n);
    const float* first = src.row_ptr(0);
    for (A_long x = 0; x < w; ++x) sums[x] = first[x] * static_cast<float>(kSmoothRadius);
    for (A_long i = 0; i <= walk.firstEnd; ++i) {
        const float* row = src.row_ptr(i);
        for (A_long x = 0; x < w; ++x) sums[x] += row[x];
    }
    A_long enter = walk.firstEnd + 1;
    A_long leave = 0;
    for (A_long y = 0; y < n; ++y) {
        float* out = dst.row_ptr(y);
        const float* in = src.row_ptr(enter);
        const float* out_of = src.row_ptr(leave);
        for (A_long x = 0; x < w; ++x) {
            out[x] = sums[x] * kBoxInv;
            sums[x] = (sums[x] + in[x]) - out_of[x];
        }
        if (enter < n - 1) ++enter;
        if (y >= kSmoothRadius) ++leave;
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

void CVDifferenceWorld::Compute(bool upper, const FieldRows& fieldMinus2, const FieldRows& fieldMinus1,
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
    ComputeEvidence(upper, FieldRows::Of(fieldMinus2), FieldRows::Of(fieldMinus1), field0, fieldPlus1);
}

void CVDifferenceWorld::ComputeEvidence(bool upper, const FieldRows& fieldMinus2, const FieldRows& fieldMinus1,
                                        const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1)
{
    const A_long w = width;
    const A_long h = height;
    if (w <= 0 || h <= 0) return;
    const Ramps ramps{lowThreshold_, highThreshold_};
    const A_long r = upper ? 0 : 1;

    // Evidence of the two field pairs along the rows one map row needs:
    // Field -1 against Field +1 on the map row, and Field -2 against Field 0
    // on the rows below and above. Each Field -2 / Field 0 row serves two map
    // rows two apart, so the evidence of the last three is kept (slot = row
    // mod 3).
    CVSingleFloatWorld rows(w, 12);
    RequireImage(rows);
    float* same = rows.row_ptr(0);
    float* changed = rows.row_ptr(1);
    float* nearMoved = rows.row_ptr(2);
    float* nearStill = rows.row_ptr(3);
    float* farMoved[3] = {rows.row_ptr(4), rows.row_ptr(6), rows.row_ptr(8)};
    float* farStill[3] = {rows.row_ptr(5), rows.row_ptr(7), rows.row_ptr(9)};
    A_long farRow[3] = {-1, -1, -1};
    auto farEvidence = [&](A_long q) {
        const A_long slot = q % 3;
        if (farRow[slot] != q) {
            RampRow(ramps, fieldMinus2, field0, q, w, same, changed);
            EvidenceRow(spread_, w, same, changed, farMoved[slot], farStill[slot]);
            farRow[slot] = q;
        }
        return slot;
    };

    for (A_long y = 0; y < h; ++y) {
        // The evidence row carries the lower-field offset; the neighbour
        // rows carry it twice (once in the row asked for, once inside the
        // evidence), which is the behaviour the render relies on.
        RampRow(ramps, fieldMinus1, fieldPlus1, Clamp(y + r, 0, h - 1), w, same, changed);
        EvidenceRow(spread_, w, same, changed, nearMoved, nearStill);
        const bool hasBelow = r + y + 1 < h;
        const bool hasAbove = r + y - 1 >= 0;
        float* moved[3] = {nearMoved, nullptr, nullptr};
        float* still[3] = {nearStill, nullptr, nullptr};
        if (hasBelow) {
            const A_long slot = farEvidence(Clamp(r + y + 1 + r, 0, h - 1));
            moved[1] = farMoved[slot];
            still[1] = farStill[slot];
        }
        if (hasAbove) {
            const A_long slot = farEvidence(Clamp(r + y - 1 + r, 0, h - 1));
            moved[2] = farMoved[slot];
            still[2] = farStill[slot];
        }
        CombineEvidence(w, moved, still, hasBelow, hasAbove, row_ptr(y));
    }
}

void CVDifferenceWorld::Smooth()
{
    const A_long w = width;
    const A_long h = height;
    if (w <= 0 || h <= 0) return;
    CVSingleFloatWorld temp(w, h);
    RequireImage(temp);
    CVSingleFloatWorld sums(w, 1);
    RequireImage(sums);
    A_long y = 0;
    for (; y + 4 <= h; y += 4) {
        const float* const src[4] = {row_ptr(y), row_ptr(y + 1), row_ptr(y + 2), row_ptr(y + 3)};
        float* const dst[4] = {temp.row_ptr(y), temp.row_ptr(y + 1), temp.row_ptr(y + 2), temp.row_ptr(y + 3)};
        BoxRows4(src, dst, w);
    }
    for (; y < h; ++y) BoxRow(row_ptr(y), temp.row_ptr(y), w);
    BoxColumns(temp, *this, sums.row_ptr(0));
}

namespace {

float FloatFromBits(std::uint32_t bits)
{
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

// The largest non-negative float v with PowerOf(v, e) <= limit (strict:
// < limit) and the smallest with PowerOf(v, e) >= limit, found by bisection
// on the bit patterns: PowerOf is monotonic in its base, so every value on
// the far side of these bounds maps to the same clipped end of the curve.
float LastAtOrBelow(float limit, float e, bool strict)
{
    std::uint32_t lo = 0, hi = 0x7f800000u;  // PowerOf(0) = 0 is below; infinity is not
    while (hi - lo > 1) {
        const std::uint32_t mid = lo + (hi - lo) / 2;
        const float p = PowerOf(FloatFromBits(mid), e);
        if (strict ? p < limit : p <= limit)
            lo = mid;
        else
            hi = mid;
    }
    return FloatFromBits(lo);
}

}  // namespace

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
    // Most values land on one of the two clipped ends; the power is only
    // worked out for the ones that may fall between.
    const float zeroUpTo = LastAtOrBelow(kCurveLow, e, false);
    const float oneFrom = std::nextafter(LastAtOrBelow(kCurveHigh, e, true), 2.0f);
    const A_long w = width;
    const A_long h = height;
    for (A_long y = 0; y < h; ++y) {
        float* row = row_ptr(y);
        for (A_long x = 0; x < w; ++x) {
            const float m = std::fabs(row[x]);
            if (m <= zeroUpTo) {
                row[x] = 0.0f;
            } else if (m >= oneFrom) {
                row[x] = 1.0f;
            } else {
                const float v = PowerOf(m, e);
                if (v <= kCurveLow)
                    row[x] = 0.0f;
                else if (v >= kCurveHigh)
                    row[x] = 1.0f;
                else
                    row[x] = (v - kCurveLow) / (kCurveHigh - kCurveLow);
            }
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

#include "render/fill_segment.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include <emmintrin.h>

// The blend limit of the render settings takes no part here: every filled
// pixel is the plain motion-weighted mix of the directional and the weave
// pixel.

namespace {

long Clamp(long v, long lo, long hi) { return v < lo ? lo : (v > hi ? hi : v); }



struct Segment {
    long row;             // field row r
    long n;               // pixels to fill
    const float* weaveBase;  // byte-addressed base of fieldPlus1
    int64_t weaveRow;     // byte position of the weave row
    int64_t weaveMax;     // last byte position a pixel may start at
    long firstColumn;     // truncate(previous midpoint)
    float lastColumn;     // width - 1
    const float* row0;    // field0 rows r and r + 1
    const float* row1;
};

bool Prepare(bool upper, long y, const MatchPoint& previous, const MatchPoint& current,
             const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1, Segment& s) {
    const long h = field0.height();
    // Kept asymmetric: a lower field may address one row further down.
    s.row = upper ? Clamp(y, 0, h - 1) : Clamp(y, 0, h);
    s.n = static_cast<long>(std::floor(current.midpoint) - std::floor(previous.midpoint));
    if (s.n < 1) return false;
    s.weaveBase = fieldPlus1.data_ptr();
    const int64_t rowbytes = static_cast<int64_t>(fieldPlus1.rowbytes());
    s.weaveRow = (s.row + (upper ? 0 : 1)) * rowbytes;
    s.weaveMax = static_cast<int64_t>(fieldPlus1.height()) * rowbytes - 16;
    s.firstColumn = static_cast<long>(previous.midpoint);
    s.lastColumn = static_cast<float>(field0.width() - 1);
    s.row0 = field0.data_row_ptr(s.row);
    s.row1 = field0.data_row_ptr(s.row + 1);
    return true;
}

// floorf for the columns here (|v| far below 2^31): truncate, then step
// down where truncation went up. Exact, as floorf is.
inline __m128 Floor4(__m128 v) {
    const __m128 t = _mm_cvtepi32_ps(_mm_cvttps_epi32(v));
    return _mm_sub_ps(t, _mm_and_ps(_mm_cmpgt_ps(t, v), _mm_set1_ps(1.0f)));
}

// v < 0 ? 0 : (v > hi ? hi : v), lane by lane.
inline __m128 ClampColumns4(__m128 v, __m128 hi) {
    v = _mm_andnot_ps(_mm_cmplt_ps(v, _mm_setzero_ps()), v);
    const __m128 over = _mm_cmpgt_ps(v, hi);
    return _mm_or_ps(_mm_and_ps(over, hi), _mm_andnot_ps(over, v));
}

// The two neighbours of a sample column and the weight of the right one. At a
// whole column the right neighbour is not read at all: at the last column it
// would be padding or the next row, which must not leak in even at weight 0.
struct Tap {
    const float* p;
    float f;
};

// The sample taps of pixels i .. i + 3 of the segment (lanes past the
// segment's end are worked out and not used). Each lane does the scalar
// step's operations: t = 1 - (n - i) / n, q = previous midpoint + t x
// (current - previous midpoint), shift = q - floorf(q), then the clamped
// start and end columns less the shift. A column x lies in 0 .. width - 1,
// so floorf(x) is its truncation: the tap is the pixel there with weight
// x - floorf(x).
inline void Steps4(const Segment& s, long i, const MatchPoint& previous, const MatchPoint& current, Tap* t0,
                   Tap* t1) {
    const __m128 n = _mm_set1_ps(static_cast<float>(s.n));
    const __m128 left = _mm_cvtepi32_ps(_mm_setr_epi32(static_cast<int>(s.n - i), static_cast<int>(s.n - i - 1),
                                                      static_cast<int>(s.n - i - 2), static_cast<int>(s.n - i - 3)));
    const __m128 t = _mm_sub_ps(_mm_set1_ps(1.0f), _mm_div_ps(left, n));
    const __m128 q = _mm_add_ps(_mm_set1_ps(previous.midpoint),
                                _mm_mul_ps(t, _mm_set1_ps(current.midpoint - previous.midpoint)));
    const __m128 shift = _mm_sub_ps(q, Floor4(q));
    const __m128 hi = _mm_set1_ps(s.lastColumn);
    const __m128 a = _mm_add_ps(_mm_set1_ps(previous.start), _mm_mul_ps(t, _mm_set1_ps(current.start - previous.start)));
    const __m128 b = _mm_add_ps(_mm_set1_ps(previous.end), _mm_mul_ps(t, _mm_set1_ps(current.end - previous.end)));
    const __m128 x0 = ClampColumns4(_mm_sub_ps(a, shift), hi);
    const __m128 x1 = ClampColumns4(_mm_sub_ps(b, shift), hi);
    const __m128i c0 = _mm_cvttps_epi32(x0), c1 = _mm_cvttps_epi32(x1);
    alignas(16) int column0[4], column1[4];
    alignas(16) float f0[4], f1[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(column0), c0);
    _mm_store_si128(reinterpret_cast<__m128i*>(column1), c1);
    _mm_store_ps(f0, _mm_sub_ps(x0, _mm_cvtepi32_ps(c0)));
    _mm_store_ps(f1, _mm_sub_ps(x1, _mm_cvtepi32_ps(c1)));
    for (int l = 0; l < 4; ++l) {
        t0[l] = Tap{s.row0 + static_cast<long>(column0[l]) * 4, f0[l]};
        t1[l] = Tap{s.row1 + static_cast<long>(column1[l]) * 4, f1[l]};
    }
}

const float* WeaveAt(const Segment& s, long i) {
    int64_t pos = s.weaveRow + static_cast<int64_t>(s.firstColumn + i) * 16;
    if (pos > s.weaveMax) pos = s.weaveMax;
    if (pos < 0) pos = 0;
    return reinterpret_cast<const float*>(reinterpret_cast<const char*>(s.weaveBase) + pos);
}

// Walks a segment four pixels at a time: still pixels take the weave pixel
// (see below), moving ones get their sample taps from Steps4 and are mixed
// by `mix(m, tap0, tap1, weave, output)`. Pixels left of the output row's
// start (segmentStart + i < 0) are passed over without moving the output.
template <typename Mix>
void WalkSegment(const Segment& s, long segmentStart, const MatchPoint& previous, const MatchPoint& current,
                 const float* difference, float* output, Mix mix) {
    const long first = segmentStart >= 0 ? 0 : (-segmentStart < s.n ? -segmentStart : s.n);
    for (long base = first; base < s.n; base += 4) {
        const long count = s.n - base < 4 ? s.n - base : 4;
        bool moving = false;
        for (long l = 0; l < count; ++l) moving |= difference[base + l] != 0.0f;
        Tap t0[4], t1[4];
        if (moving) Steps4(s, base, previous, current, t0, t1);
        for (long l = 0; l < count; ++l) {
            const long i = base + l;
            const float* weave = WeaveAt(s, i);
            if (difference[i] == 0.0f)
                std::memcpy(output, weave, 16);
            else
                mix(difference[i], t0[l], t1[l], weave, output);
            output += 4;
        }
    }
}

const float kYellow[4] = {1.0f, 1.0f, 1.0f, 0.0f};

// A pixel without motion: 0 x A + (1 - 0) x B is B itself. The fields hold
// finite, non-negative values (converted from the host's unsigned pixels),
// so 0 x A is +0 and +0 + B is B to the bit; the directional sample A need
// not be worked out.

// The pixel at the tap, mixed with its right neighbour by the weight when
// there is one, channel by channel.
inline void SampleRegular(const Tap& t, float* out) {
    if (t.f == 0.0f) {
        for (int c = 0; c < 4; ++c) out[c] = t.p[c];
        return;
    }
    const float keep = 1.0f - t.f;
    for (int c = 0; c < 4; ++c) out[c] = t.p[c] * keep + t.p[c + 4] * t.f;
}

}  // namespace

void FillSegment_regular(bool upper, bool isResult, long y, long segmentStart,
                         const MatchPoint& previous, const MatchPoint& current,
                         const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1,
                         const float* difference, float* output) {
    Segment s;
    if (!Prepare(upper, y, previous, current, field0, fieldPlus1, s)) return;
    WalkSegment(s, segmentStart, previous, current, difference, output,
                [&](float m, const Tap& t0, const Tap& t1, const float* weave, float* out) {
                    float a[4];
                    if (isResult) {
                        float s0[4], s1[4];
                        SampleRegular(t0, s0);
                        SampleRegular(t1, s1);
                        for (int c = 0; c < 4; ++c) a[c] = 0.5f * (s0[c] + s1[c]);
                    } else {
                        for (int c = 0; c < 4; ++c) a[c] = kYellow[c];
                    }
                    for (int c = 0; c < 4; ++c) out[c] = m * a[c] + (1.0f - m) * weave[c];
                });
}

namespace {

__m128 Sample(const Tap& t) {
    const __m128 p = _mm_loadu_ps(t.p);
    if (t.f == 0.0f) return p;
    const __m128 f = _mm_set1_ps(t.f);
    return _mm_add_ps(_mm_mul_ps(p, _mm_sub_ps(_mm_set1_ps(1.0f), f)),
                      _mm_mul_ps(_mm_loadu_ps(t.p + 4), f));
}

}  // namespace

void FillSegment_simd(bool upper, bool isResult, long y, long segmentStart,
                      const MatchPoint& previous, const MatchPoint& current,
                      const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1,
                      const float* difference, float* output) {
    Segment s;
    if (!Prepare(upper, y, previous, current, field0, fieldPlus1, s)) return;
    const __m128 half = _mm_set1_ps(0.5f);
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 yellow = _mm_loadu_ps(kYellow);
    WalkSegment(s, segmentStart, previous, current, difference, output,
                [&](float mv, const Tap& t0, const Tap& t1, const float* weave, float* out) {
                    __m128 a = yellow;
                    if (isResult) a = _mm_mul_ps(half, _mm_add_ps(Sample(t0), Sample(t1)));
                    const __m128 m = _mm_set1_ps(mv);
                    const __m128 b = _mm_loadu_ps(weave);
                    _mm_storeu_ps(out, _mm_add_ps(_mm_mul_ps(m, a), _mm_mul_ps(_mm_sub_ps(one, m), b)));
                });
}

#include "render/fill_segment.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define TESSEN_FILL_SSE2 1
#endif

// The blend limit of the render settings takes no part here: every filled
// pixel is the plain motion-weighted mix of the directional and the weave
// pixel.

namespace {

long Clamp(long v, long lo, long hi) { return v < lo ? lo : (v > hi ? hi : v); }

float ClampColumn(float v, float hi) { return v < 0.0f ? 0.0f : (v > hi ? hi : v); }

// Everything about one filled pixel that both builds share.
struct Step {
    float x0;       // column sampled in field row r
    float x1;       // column sampled in field row r + 1
    const float* weave;
};

struct Segment {
    long row;             // field row r
    long n;               // pixels to fill
    const float* weaveBase;  // byte-addressed base of fieldPlus1
    int64_t weaveRow;     // byte position of the weave row
    int64_t weaveMax;     // last byte position a pixel may start at
    long firstColumn;     // truncate(previous midpoint)
    float lastColumn;     // width - 1
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
    return true;
}

Step StepAt(const Segment& s, long i, const MatchPoint& previous, const MatchPoint& current) {
    const float t = 1.0f - static_cast<float>(s.n - i) / static_cast<float>(s.n);
    const float q = previous.midpoint + t * (current.midpoint - previous.midpoint);
    const float shift = q - std::floor(q);
    Step st;
    st.x0 = ClampColumn(previous.start + t * (current.start - previous.start) - shift,
                        s.lastColumn);
    st.x1 = ClampColumn(previous.end + t * (current.end - previous.end) - shift, s.lastColumn);
    int64_t pos = s.weaveRow + static_cast<int64_t>(s.firstColumn + i) * 16;
    if (pos > s.weaveMax) pos = s.weaveMax;
    if (pos < 0) pos = 0;
    st.weave = reinterpret_cast<const float*>(reinterpret_cast<const char*>(s.weaveBase) + pos);
    return st;
}

// The two neighbours of a sample column and the weight of the right one. At a
// whole column the right neighbour is not read at all: at the last column it
// would be padding or the next row, which must not leak in even at weight 0.
struct Tap {
    const float* p;
    float f;
};

Tap TapAt(const CVFloatWorld& field, long row, float x) {
    const float fx = std::floor(x);
    return Tap{field.data_row_ptr(row) + static_cast<long>(fx) * 4, x - fx};
}

const float kYellow[4] = {1.0f, 1.0f, 1.0f, 0.0f};

// A pixel without motion: 0 x A + (1 - 0) x B is B itself. The fields hold
// finite, non-negative values (converted from the host's unsigned pixels),
// so 0 x A is +0 and +0 + B is B to the bit; the directional sample A need
// not be worked out.
void StillPixel(const Segment& s, long i, float* output) {
    int64_t pos = s.weaveRow + static_cast<int64_t>(s.firstColumn + i) * 16;
    if (pos > s.weaveMax) pos = s.weaveMax;
    if (pos < 0) pos = 0;
    std::memcpy(output, reinterpret_cast<const char*>(s.weaveBase) + pos, 16);
}

}  // namespace

void FillSegment_regular(bool upper, bool isResult, long y, long segmentStart,
                         const MatchPoint& previous, const MatchPoint& current,
                         const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1,
                         const float* difference, float* output) {
    Segment s;
    if (!Prepare(upper, y, previous, current, field0, fieldPlus1, s)) return;
    for (long i = 0; i < s.n; ++i) {
        if (difference[i] == 0.0f) {
            if (segmentStart + i >= 0) {
                StillPixel(s, i, output);
                output += 4;
            }
            continue;
        }
        const Step st = StepAt(s, i, previous, current);
        float a[4];
        if (isResult) {
            const Tap t0 = TapAt(field0, s.row, st.x0);
            const Tap t1 = TapAt(field0, s.row + 1, st.x1);
            for (int c = 0; c < 4; ++c) {
                const float s0 = t0.f != 0.0f ? t0.p[c] * (1.0f - t0.f) + t0.p[c + 4] * t0.f
                                              : t0.p[c];
                const float s1 = t1.f != 0.0f ? t1.p[c] * (1.0f - t1.f) + t1.p[c + 4] * t1.f
                                              : t1.p[c];
                a[c] = 0.5f * (s0 + s1);
            }
        } else {
            for (int c = 0; c < 4; ++c) a[c] = kYellow[c];
        }
        const float m = difference[i];
        if (segmentStart + i >= 0) {
            for (int c = 0; c < 4; ++c) output[c] = m * a[c] + (1.0f - m) * st.weave[c];
            output += 4;
        }
    }
}

#if TESSEN_FILL_SSE2

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
    for (long i = 0; i < s.n; ++i) {
        if (difference[i] == 0.0f) {
            if (segmentStart + i >= 0) {
                StillPixel(s, i, output);
                output += 4;
            }
            continue;
        }
        const Step st = StepAt(s, i, previous, current);
        __m128 a = yellow;
        if (isResult) {
            a = _mm_mul_ps(half, _mm_add_ps(Sample(TapAt(field0, s.row, st.x0)),
                                            Sample(TapAt(field0, s.row + 1, st.x1))));
        }
        const __m128 m = _mm_set1_ps(difference[i]);
        if (segmentStart + i >= 0) {
            const __m128 b = _mm_loadu_ps(st.weave);
            _mm_storeu_ps(output, _mm_add_ps(_mm_mul_ps(m, a), _mm_mul_ps(_mm_sub_ps(one, m), b)));
            output += 4;
        }
    }
}

#else

void FillSegment_simd(bool upper, bool isResult, long y, long segmentStart,
                      const MatchPoint& previous, const MatchPoint& current,
                      const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1,
                      const float* difference, float* output) {
    FillSegment_regular(upper, isResult, y, segmentStart, previous, current, field0, fieldPlus1,
                        difference, output);
}

#endif

#include "render/pattern_score.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include <emmintrin.h>
#include <immintrin.h>

#include "image/cpu_features.h"
#include "image/simd_target.h"

namespace {

// The window as both builds walk it.
struct Window {
    long left;         // columns -left .. right - 1 around each centre
    long right;
    long count;        // rows
    ptrdiff_t stride;  // floats per row
    uintptr_t end;     // first address past the image block
};

long Clamp(long v, long lo, long hi) { return v < lo ? lo : (v > hi ? hi : v); }

Window Geometry(const CVFloatWorld& image, long h, long v, unsigned long rowbytes, long x,
                long width, long y, long rows) {
    Window w;
    w.left = h < x ? h : x;
    // The column at +right is not part of the window, so the window is
    // left + right pixels wide and leans one pixel to the left.
    w.right = x + h < width ? h : width - 1 - x;
    // Near the bottom the count shrinks by this formula (4 rows on the row
    // above the last); the clamps below then repeat the last row.
    w.count = 2 * v + 1;
    if (v + y >= rows) w.count = 2 * v + 1 + (y - rows + 1);
    w.stride = static_cast<ptrdiff_t>(rowbytes / sizeof(float));
    w.end = reinterpret_cast<uintptr_t>(image.data_end_ptr());
    return w;
}

// Row j of the first window (around row y) and of the second (around y + 1,
// which never reaches up to row 0), as offsets in floats from the centres.
ptrdiff_t RowOffsetA(const Window& w, long j, long v, long y, long rows) {
    return (Clamp(y + j - v, 0, rows - 1) - y) * w.stride - w.left * 4;
}
ptrdiff_t RowOffsetB(const Window& w, long j, long v, long y, long rows) {
    return (Clamp(y + 1 + j - v, 1, rows - 1) - (y + 1)) * w.stride - w.left * 4;
}

// The second window may run off the bottom of the image on the last row; the
// sums end at the first pixel that would lie outside the block.
bool PastEnd(const Window& w, const float* p) { return reinterpret_cast<uintptr_t>(p) >= w.end; }

}  // namespace

float PatternScore_regular(const CVFloatWorld& field0Copy, const float* a, const float* meanA,
                           const float* b, const float* meanB, long halfWidth,
                           long halfHeight, unsigned long rowbytes, long x, long width, long y,
                           long rows) {
    const Window w = Geometry(field0Copy, halfWidth, halfHeight, rowbytes, x, width, y, rows);
    float sab[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    float saa[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    float sbb[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    const long columns = w.left + w.right;
    for (long j = 0; j < w.count; ++j) {
        const float* pa = a + RowOffsetA(w, j, halfHeight, y, rows);
        const float* pb = b + RowOffsetB(w, j, halfHeight, y, rows);
        for (long c = 0; c < columns; ++c, pa += 4, pb += 4) {
            if (PastEnd(w, pb)) goto done;
            for (int ch = 0; ch < 4; ++ch) {
                const float da = pa[ch] - meanA[ch];
                const float db = pb[ch] - meanB[ch];
                sab[ch] += da * db;
                saa[ch] += da * da;
                sbb[ch] += db * db;
            }
        }
    }
done:
    float r[4];
    for (int ch = 0; ch < 4; ++ch) r[ch] = sab[ch] * (1.0f / std::sqrt(saa[ch] * sbb[ch]));
    return r[1] + r[2] + r[3];  // alpha (channel 0) takes no part
}


float PatternScore_simd(const CVFloatWorld& field0Copy, const float* a, const float* meanA,
                        const float* b, const float* meanB, long halfWidth, long halfHeight,
                        unsigned long rowbytes, long x, long width, long y, long rows) {
    const Window w = Geometry(field0Copy, halfWidth, halfHeight, rowbytes, x, width, y, rows);
    const __m128 ma = _mm_loadu_ps(meanA);
    const __m128 mb = _mm_loadu_ps(meanB);
    __m128 sab = _mm_setzero_ps();
    __m128 saa = _mm_setzero_ps();
    __m128 sbb = _mm_setzero_ps();
    const long columns = w.left + w.right;
    for (long j = 0; j < w.count; ++j) {
        const float* pa = a + RowOffsetA(w, j, halfHeight, y, rows);
        const float* pb = b + RowOffsetB(w, j, halfHeight, y, rows);
        for (long c = 0; c < columns; ++c, pa += 4, pb += 4) {
            if (PastEnd(w, pb)) goto done;
            const __m128 da = _mm_sub_ps(_mm_loadu_ps(pa), ma);
            const __m128 db = _mm_sub_ps(_mm_loadu_ps(pb), mb);
            sab = _mm_add_ps(sab, _mm_mul_ps(da, db));
            saa = _mm_add_ps(saa, _mm_mul_ps(da, da));
            sbb = _mm_add_ps(sbb, _mm_mul_ps(db, db));
        }
    }
done:
    const __m128 inv = _mm_div_ps(_mm_set1_ps(1.0f), _mm_sqrt_ps(_mm_mul_ps(saa, sbb)));
    float r[4];
    _mm_storeu_ps(r, _mm_mul_ps(sab, inv));
    return r[1] + r[2] + r[3];
}


// ---- all offsets at once

namespace {

constexpr long kMaxWindowColumns = 24;  // 2 x the largest pattern size
constexpr long kMaxWindowRows = 5;
constexpr long kMaxOffsets = 49;  // 2 x the largest search span + 1
alignas(16) const float kOnes[4] = {1.0f, 1.0f, 1.0f, 1.0f};

namespace lanes128 {
using V = __m128;
constexpr long L = 1;
inline V Zero() { return _mm_setzero_ps(); }
inline V Load(const float* p) { return _mm_loadu_ps(p); }
inline V LoadSome(const float* p, long) { return _mm_loadu_ps(p); }
inline V Broadcast(const float* p) { return _mm_loadu_ps(p); }
inline V Add(V a, V b) { return _mm_add_ps(a, b); }
inline V Sub(V a, V b) { return _mm_sub_ps(a, b); }
inline V Mul(V a, V b) { return _mm_mul_ps(a, b); }
inline V Div(V a, V b) { return _mm_div_ps(a, b); }
inline V Sqrt(V a) { return _mm_sqrt_ps(a); }
inline void Store(float* p, V v) { _mm_storeu_ps(p, v); }
#include "render/pattern_offsets_body.inc"
}  // namespace lanes128

TESSEN_TARGET_AVX2_BEGIN
namespace lanes256 {
using V = __m256;
constexpr long L = 2;
inline V Zero() { return _mm256_setzero_ps(); }
inline V Load(const float* p) { return _mm256_loadu_ps(p); }
inline V LoadSome(const float* p, long n)
{
    // n is 1 here (a group of two holds one or two offsets).
    return n >= 2 ? _mm256_loadu_ps(p) : _mm256_maskload_ps(p, _mm256_setr_epi32(-1, -1, -1, -1, 0, 0, 0, 0));
}
inline V Broadcast(const float* p) { const __m128 v = _mm_loadu_ps(p); return _mm256_set_m128(v, v); }
inline V Add(V a, V b) { return _mm256_add_ps(a, b); }
inline V Sub(V a, V b) { return _mm256_sub_ps(a, b); }
inline V Mul(V a, V b) { return _mm256_mul_ps(a, b); }
inline V Div(V a, V b) { return _mm256_div_ps(a, b); }
inline V Sqrt(V a) { return _mm256_sqrt_ps(a); }
inline void Store(float* p, V v) { _mm256_storeu_ps(p, v); }
#include "render/pattern_offsets_body.inc"
}  // namespace lanes256
TESSEN_TARGET_END

TESSEN_TARGET_AVX512F_BEGIN
// The compiler's own 512-bit header starts some results from a deliberately
// undefined register, which its flow analysis then flags.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
namespace lanes512 {
using V = __m512;
constexpr long L = 4;
inline V Zero() { return _mm512_setzero_ps(); }
inline V Load(const float* p) { return _mm512_loadu_ps(p); }
inline V LoadSome(const float* p, long n)
{
    return _mm512_maskz_loadu_ps(static_cast<__mmask16>((1u << (4 * n)) - 1u), p);
}
inline V Broadcast(const float* p) { return _mm512_broadcast_f32x4(_mm_loadu_ps(p)); }
inline V Add(V a, V b) { return _mm512_add_ps(a, b); }
inline V Sub(V a, V b) { return _mm512_sub_ps(a, b); }
inline V Mul(V a, V b) { return _mm512_mul_ps(a, b); }
inline V Div(V a, V b) { return _mm512_div_ps(a, b); }
inline V Sqrt(V a) { return _mm512_sqrt_ps(a); }
inline void Store(float* p, V v) { _mm512_storeu_ps(p, v); }
#include "render/pattern_offsets_body.inc"
}  // namespace lanes512
#pragma GCC diagnostic pop
TESSEN_TARGET_END

}  // namespace

bool ScoreOffsets_128(const CVFloatWorld& field0Copy, const CVFloatWorld& prepared, long x, long y,
                      long halfWidth, long width, long rows, long first, long last, float* scores)
{
    return lanes128::ScoreOffsets(field0Copy, prepared, x, y, halfWidth, width, rows, first, last, scores);
}

bool ScoreOffsets_256(const CVFloatWorld& field0Copy, const CVFloatWorld& prepared, long x, long y,
                      long halfWidth, long width, long rows, long first, long last, float* scores)
{
    return lanes256::ScoreOffsets(field0Copy, prepared, x, y, halfWidth, width, rows, first, last, scores);
}

bool ScoreOffsets_512(const CVFloatWorld& field0Copy, const CVFloatWorld& prepared, long x, long y,
                      long halfWidth, long width, long rows, long first, long last, float* scores)
{
    return lanes512::ScoreOffsets(field0Copy, prepared, x, y, halfWidth, width, rows, first, last, scores);
}

ScoreOffsetsFn ScoreOffsetsForThisProcessor()
{
    switch (cpu_features::widest_vectors()) {
    case cpu_features::VectorWidth::k512: return ScoreOffsets_512;
    case cpu_features::VectorWidth::k256: return ScoreOffsets_256;
    default: return ScoreOffsets_128;
    }
}

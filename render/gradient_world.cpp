#include "render/gradient_world.h"

#include <cmath>

#include <emmintrin.h>
#include <xmmintrin.h>

namespace {

// Mean of the three colour channels with this stage's own third (0x3EAAAA9F),
// a hair smaller than the motion map's.
constexpr float kThird = 0x1.55553Ep-2f;

}  // namespace

CVGradientWorld::CVGradientWorld(A_long w, A_long h)
    : CVSingleFloatWorld(w, h), threshold_(0.0f)
{
}

CVGradientWorld::~CVGradientWorld() = default;

namespace {

// +1 where the second difference rises through zero, -1 where it falls;
// zero on either side makes no edge.
inline float SignChange(float before, float next)
{
    if (before < 0.0f && next > 0.0f) return 1.0f;
    if (before > 0.0f && next < 0.0f) return -1.0f;
    return 0.0f;
}

// One row, pass by pass, each in place over the image row.
void EdgesOfRow(const float* src, float* row, A_long w, float threshold)
{
    // First difference across each pixel; small ones are noise.
    row[0] = 0.0f;
    row[w - 1] = 0.0f;
    for (A_long x = 1; x < w - 1; ++x) {
        const float* l = src + 4 * (x - 1);
        const float* r = src + 4 * (x + 1);
        const float g = (l[1] + l[2] + l[3]) * kThird - (r[1] + r[2] + r[3]) * kThird;
        row[x] = std::fabs(g) < threshold ? 0.0f : g;
    }

    // Second difference in place: the sample at x - 1 is already
    // replaced when x is written, so the old one is kept in hand.
    float before = row[0];
    for (A_long x = 1; x < w - 1; ++x) {
        const float current = row[x];
        row[x] = before - row[x + 1];
        before = current;
    }

    // Sign change of the second difference, again keeping the previous
    // second difference rather than the edge value that replaced it.
    before = row[0];
    for (A_long x = 1; x < w - 1; ++x) {
        const float current = row[x];
        row[x] = SignChange(before, row[x + 1]);
        before = current;
    }
}

// The same row four values at a time, each pass from one scratch row into
// the other (a and b hold w floats each) and the last into the image row:
// pixel values, first differences, second differences, sign changes. Every
// value takes the operations of EdgesOfRow; the edge samples are the same
// zeros.
void EdgesOfRow4(const float* src, float* row, A_long w, float threshold, float* a, float* b)
{
    const __m128 third = _mm_set1_ps(kThird);
    const __m128 limit = _mm_set1_ps(threshold);
    const __m128 signless = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const __m128 zero = _mm_setzero_ps();
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 minusOne = _mm_set1_ps(-1.0f);
    A_long x = 0;
    for (; x + 4 <= w; x += 4) {
        __m128 p0 = _mm_loadu_ps(src + 4 * x), p1 = _mm_loadu_ps(src + 4 * x + 4);
        __m128 p2 = _mm_loadu_ps(src + 4 * x + 8), p3 = _mm_loadu_ps(src + 4 * x + 12);
        _MM_TRANSPOSE4_PS(p0, p1, p2, p3);  // now one channel each
        _mm_storeu_ps(a + x, _mm_mul_ps(_mm_add_ps(_mm_add_ps(p1, p2), p3), third));
    }
    for (; x < w; ++x) a[x] = (src[4 * x + 1] + src[4 * x + 2] + src[4 * x + 3]) * kThird;

    b[0] = 0.0f;
    b[w - 1] = 0.0f;
    for (x = 1; x + 4 <= w - 1; x += 4) {
        const __m128 g = _mm_sub_ps(_mm_loadu_ps(a + x - 1), _mm_loadu_ps(a + x + 1));
        _mm_storeu_ps(b + x, _mm_andnot_ps(_mm_cmplt_ps(_mm_and_ps(g, signless), limit), g));
    }
    for (; x < w - 1; ++x) {
        const float g = a[x - 1] - a[x + 1];
        b[x] = std::fabs(g) < threshold ? 0.0f : g;
    }

    a[0] = 0.0f;
    a[w - 1] = 0.0f;
    for (x = 1; x + 4 <= w - 1; x += 4)
        _mm_storeu_ps(a + x, _mm_sub_ps(_mm_loadu_ps(b + x - 1), _mm_loadu_ps(b + x + 1)));
    for (; x < w - 1; ++x) a[x] = b[x - 1] - b[x + 1];

    row[0] = 0.0f;
    row[w - 1] = 0.0f;
    for (x = 1; x + 4 <= w - 1; x += 4) {
        const __m128 before = _mm_loadu_ps(a + x - 1), next = _mm_loadu_ps(a + x + 1);
        const __m128 rise = _mm_and_ps(_mm_cmplt_ps(before, zero), _mm_cmpgt_ps(next, zero));
        const __m128 fall = _mm_and_ps(_mm_cmpgt_ps(before, zero), _mm_cmplt_ps(next, zero));
        _mm_storeu_ps(row + x, _mm_or_ps(_mm_and_ps(rise, one), _mm_and_ps(fall, minusOne)));
    }
    for (; x < w - 1; ++x) row[x] = SignChange(a[x - 1], a[x + 1]);
}

}  // namespace

void CVGradientWorld::Compute(const CVFloatWorld& field)
{
    ComputeRows(field, 0, height);
}

void CVGradientWorld::ComputeRows(const CVFloatWorld& field, A_long first, A_long end, bool byPasses)
{
    const A_long w = width;
    if (first < 0) first = 0;
    if (end > height) end = height;
    if (first >= end) return;
    if (w <= 2) {
        for (A_long y = first; y < end; ++y)
            for (A_long x = 0; x < w; ++x) row_ptr(y)[x] = 0.0f;
        return;
    }
    // Two scratch rows for the four-at-a-time form; without them the rows
    // are worked out pass by pass in place.
    CVSingleFloatWorld scratch(w, byPasses ? 0 : 2);
    const bool fourAtATime = !byPasses && scratch.data != nullptr;
    for (A_long y = first; y < end; ++y) {
        if (fourAtATime)
            EdgesOfRow4(field.data_row_ptr(y), row_ptr(y), w, threshold_, scratch.row_ptr(0), scratch.row_ptr(1));
        else
            EdgesOfRow(field.data_row_ptr(y), row_ptr(y), w, threshold_);
    }
}

void CVGradientWorld::DrawInto(CVFloatWorld& field) const
{
    // The render may draw into the other field, which can be one row shorter.
    const A_long w = width < field.width() ? width : field.width();
    const A_long h = height < field.height() ? height : field.height();
    for (A_long y = 0; y < h; ++y) {
        const float* src = row_ptr(y);
        float* dst = field.data_row_ptr(y);
        for (A_long x = 0; x < w; ++x) {
            float* p = dst + 4 * x;
            p[0] = 1.0f;
            p[1] = src[x] > 0.0f ? 1.0f : 0.0f;
            p[2] = src[x] < 0.0f ? 1.0f : 0.0f;
            p[3] = 0.0f;
        }
    }
}

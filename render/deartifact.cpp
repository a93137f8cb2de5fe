#include "render/deartifact.h"

#include <stdexcept>

#include "image/cpu_features.h"
#include "image/median_filter.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define TESSEN_DEARTIFACT_SSE2 1
#endif

namespace {

// Rec. 601 luma weights (bits 0x3E991687, 0x3F1645A2, 0x3DE978D5).
constexpr float kLumaR = 0x1.322d0ep-2f;
constexpr float kLumaG = 0x1.2c8b44p-1f;
constexpr float kLumaB = 0x1.d2f1aap-4f;
static_assert(kLumaR == 0.299f && kLumaG == 0.587f && kLumaB == 0.114f, "luma weights");

// Runs the median into scratch; false when there is nothing to do.
bool Filter(long popupValue, CVFloatWorld& image, CVFloatWorld& scratch) {
    const long mode = DeartifactMode(popupValue);
    if (mode == 0) return false;
    if (scratch.width() != image.width() || scratch.height() != image.height() ||
        scratch.data_ptr() == image.data_ptr()) {
        throw std::invalid_argument("Deartifact: scratch must be a distinct image of the same size");
    }
    deartifact_median(image, mode, scratch);
    return true;
}

float Luma(const float* p) { return kLumaR * p[1] + kLumaG * p[2] + kLumaB * p[3]; }

float Min3(float a, float b, float c) {
    const float m = a < b ? a : b;
    return m < c ? m : c;
}
float Max3(float a, float b, float c) {
    const float m = a > b ? a : b;
    return m > c ? m : c;
}

}  // namespace

long DeartifactMode(long popupValue) {
    switch (popupValue) {
        case 2: return 1;
        case 3: return 2;
        case 4: return 3;
        default: return 0;
    }
}

void Deartifact(long popupValue, CVFloatWorld& image, CVFloatWorld& scratch) {
    if (cpu_has_simd()) {
        Deartifact_simd(popupValue, image, scratch);
    } else {
        Deartifact_regular(popupValue, image, scratch);
    }
}

void Deartifact_regular(long popupValue, CVFloatWorld& image, CVFloatWorld& scratch) {
    if (Filter(popupValue, image, scratch)) RestoreLuma_regular(image, scratch);
}

void Deartifact_simd(long popupValue, CVFloatWorld& image, CVFloatWorld& scratch) {
    if (Filter(popupValue, image, scratch)) RestoreLuma_simd(image, scratch);
}

namespace {

// One pixel: the filtered colour at the original's luma. Out-of-range
// colours are pulled toward grey at constant luma, first until the smallest
// channel is 0, then until the largest is 1. Alpha stays the original's.
void RestorePixel(float* o, const float* f) {
    const float yo = Luma(o);
    const float shift = yo - Luma(f);
    float p[4];
    for (int c = 1; c < 4; ++c) p[c] = f[c] + shift;
    const float lo = Min3(p[1], p[2], p[3]);
    if (lo < 0.0f) {
        for (int c = 1; c < 4; ++c) p[c] = yo + (p[c] - yo) * yo / (yo - lo);
    }
    const float hi = Max3(p[1], p[2], p[3]);
    if (hi > 1.0f) {
        for (int c = 1; c < 4; ++c) p[c] = yo + (p[c] - yo) * (1.0f - yo) / (hi - yo);
    }
    for (int c = 1; c < 4; ++c) o[c] = p[c];
}

}  // namespace

void RestoreLuma_regular(CVFloatWorld& image, const CVFloatWorld& filtered) {
    const long w = image.width();
    const long h = image.height();
    for (long y = 0; y < h; ++y) {
        float* o = image.data_row_ptr(y);
        const float* f = filtered.data_row_ptr(y);
        for (long x = 0; x < w; ++x, o += 4, f += 4) RestorePixel(o, f);
    }
}

#if TESSEN_DEARTIFACT_SSE2

namespace {

__m128 Select(__m128 mask, __m128 yes, __m128 no) {
    return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
}

}  // namespace

// Four pixels at a time, one channel per register, with the same operations
// in the same order as RestorePixel; the row's last pixels go through
// RestorePixel itself, so the padding is never touched.
void RestoreLuma_simd(CVFloatWorld& image, const CVFloatWorld& filtered) {
    const long w = image.width();
    const long h = image.height();
    const __m128 wr = _mm_set1_ps(kLumaR), wg = _mm_set1_ps(kLumaG), wb = _mm_set1_ps(kLumaB);
    const __m128 zero = _mm_setzero_ps(), one = _mm_set1_ps(1.0f);
    for (long y = 0; y < h; ++y) {
        float* o = image.data_row_ptr(y);
        const float* f = filtered.data_row_ptr(y);
        long x = 0;
        for (; x + 4 <= w; x += 4, o += 16, f += 16) {
            __m128 oa = _mm_loadu_ps(o), orr = _mm_loadu_ps(o + 4), og = _mm_loadu_ps(o + 8),
                   ob = _mm_loadu_ps(o + 12);
            __m128 fa = _mm_loadu_ps(f), fr = _mm_loadu_ps(f + 4), fg = _mm_loadu_ps(f + 8),
                   fb = _mm_loadu_ps(f + 12);
            _MM_TRANSPOSE4_PS(oa, orr, og, ob);
            _MM_TRANSPOSE4_PS(fa, fr, fg, fb);
            const __m128 yo =
                _mm_add_ps(_mm_add_ps(_mm_mul_ps(wr, orr), _mm_mul_ps(wg, og)), _mm_mul_ps(wb, ob));
            const __m128 yf =
                _mm_add_ps(_mm_add_ps(_mm_mul_ps(wr, fr), _mm_mul_ps(wg, fg)), _mm_mul_ps(wb, fb));
            const __m128 shift = _mm_sub_ps(yo, yf);
            __m128 pr = _mm_add_ps(fr, shift), pg = _mm_add_ps(fg, shift),
                   pb = _mm_add_ps(fb, shift);

            const __m128 lo = _mm_min_ps(_mm_min_ps(pr, pg), pb);
            const __m128 below = _mm_cmplt_ps(lo, zero);
            const __m128 d1 = _mm_sub_ps(yo, lo);
            pr = Select(below, _mm_add_ps(yo, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(pr, yo), yo), d1)), pr);
            pg = Select(below, _mm_add_ps(yo, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(pg, yo), yo), d1)), pg);
            pb = Select(below, _mm_add_ps(yo, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(pb, yo), yo), d1)), pb);

            const __m128 hi = _mm_max_ps(_mm_max_ps(pr, pg), pb);
            const __m128 above = _mm_cmpgt_ps(hi, one);
            const __m128 k2 = _mm_sub_ps(one, yo);
            const __m128 d2 = _mm_sub_ps(hi, yo);
            pr = Select(above, _mm_add_ps(yo, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(pr, yo), k2), d2)), pr);
            pg = Select(above, _mm_add_ps(yo, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(pg, yo), k2), d2)), pg);
            pb = Select(above, _mm_add_ps(yo, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(pb, yo), k2), d2)), pb);

            _MM_TRANSPOSE4_PS(oa, pr, pg, pb);
            _mm_storeu_ps(o, oa);
            _mm_storeu_ps(o + 4, pr);
            _mm_storeu_ps(o + 8, pg);
            _mm_storeu_ps(o + 12, pb);
        }
        for (; x < w; ++x, o += 4, f += 4) RestorePixel(o, f);
    }
}

#else

void RestoreLuma_simd(CVFloatWorld& image, const CVFloatWorld& filtered) {
    RestoreLuma_regular(image, filtered);
}

#endif

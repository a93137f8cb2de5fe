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

void RestoreLuma_regular(CVFloatWorld& image, const CVFloatWorld& filtered) {
    const long w = image.width();
    const long h = image.height();
    for (long y = 0; y < h; ++y) {
        float* o = image.data_row_ptr(y);
        const float* f = filtered.data_row_ptr(y);
        for (long x = 0; x < w; ++x, o += 4, f += 4) {
            const float yo = Luma(o);
            const float shift = yo - Luma(f);
            float p[4];
            for (int c = 0; c < 4; ++c) p[c] = f[c] + shift;
            // Out-of-range colours are pulled toward grey at constant luma:
            // first until the smallest channel is 0, then until the largest is 1.
            const float lo = Min3(p[1], p[2], p[3]);
            if (lo < 0.0f) {
                for (int c = 0; c < 4; ++c) p[c] = yo + (p[c] - yo) * yo / (yo - lo);
            }
            const float hi = Max3(p[1], p[2], p[3]);
            if (hi > 1.0f) {
                for (int c = 0; c < 4; ++c) p[c] = yo + (p[c] - yo) * (1.0f - yo) / (hi - yo);
            }
            for (int c = 1; c < 4; ++c) o[c] = p[c];  // alpha stays the original's
        }
    }
}

#if TESSEN_DEARTIFACT_SSE2

namespace {

// Lanes 1 + 2 + 3 of v in that order, as the scalar build adds them.
float SumColour(__m128 v) {
    float l[4];
    _mm_storeu_ps(l, v);
    return l[1] + l[2] + l[3];
}

float MinColour(__m128 v) {
    float l[4];
    _mm_storeu_ps(l, v);
    return Min3(l[1], l[2], l[3]);
}

float MaxColour(__m128 v) {
    float l[4];
    _mm_storeu_ps(l, v);
    return Max3(l[1], l[2], l[3]);
}

}  // namespace

void RestoreLuma_simd(CVFloatWorld& image, const CVFloatWorld& filtered) {
    const long w = image.width();
    const long h = image.height();
    const __m128 weights = _mm_set_ps(kLumaB, kLumaG, kLumaR, 0.0f);
    const __m128 keepAlpha = _mm_castsi128_ps(_mm_set_epi32(0, 0, 0, -1));
    for (long y = 0; y < h; ++y) {
        float* o = image.data_row_ptr(y);
        const float* f = filtered.data_row_ptr(y);
        for (long x = 0; x < w; ++x, o += 4, f += 4) {
            const __m128 vo = _mm_loadu_ps(o);
            const __m128 vf = _mm_loadu_ps(f);
            const float yo = SumColour(_mm_mul_ps(vo, weights));
            const float yf = SumColour(_mm_mul_ps(vf, weights));
            const __m128 lumaO = _mm_set1_ps(yo);
            __m128 p = _mm_add_ps(vf, _mm_set1_ps(yo - yf));
            const float lo = MinColour(p);
            if (lo < 0.0f) {
                p = _mm_add_ps(lumaO, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(p, lumaO), lumaO),
                                                 _mm_set1_ps(yo - lo)));
            }
            const float hi = MaxColour(p);
            if (hi > 1.0f) {
                p = _mm_add_ps(lumaO, _mm_div_ps(_mm_mul_ps(_mm_sub_ps(p, lumaO),
                                                            _mm_set1_ps(1.0f - yo)),
                                                 _mm_set1_ps(hi - yo)));
            }
            _mm_storeu_ps(o, _mm_or_ps(_mm_and_ps(keepAlpha, vo), _mm_andnot_ps(keepAlpha, p)));
        }
    }
}

#else

void RestoreLuma_simd(CVFloatWorld& image, const CVFloatWorld& filtered) {
    RestoreLuma_regular(image, filtered);
}

#endif

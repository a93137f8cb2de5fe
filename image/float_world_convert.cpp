// Pixel-depth conversions between CVFloatWorld and the host's 8-bit and
// 16-bit pixels. The regular float-to-integer paths truncate and keep the low
// bits (no clamping); the SIMD paths round to nearest even and saturate, the
// 8-bit one only on the 16-byte aligned middle of each row. Both behaviours
// are kept: which one runs depends on the processor, as it always has.
#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "image/cpu_features.h"
#include "image/float_world.h"

namespace {

// 1/255 rounded to float (bits 0x3B808081) and exactly 1/32768.
const float kFrom8 = 0.003921569f;
const float kFrom16 = 3.0517578e-5f;
const float kTo8 = 255.0f;
const float kTo16 = 32768.0f;

// Truncation toward zero as the processor does it: out-of-range values and
// NaN give 0x80000000 instead of undefined behaviour.
inline A_long truncate_to_int(float v)
{
    return _mm_cvttss_si32(_mm_set_ss(v));
}

inline A_u_char low_byte(float v)
{
    return static_cast<A_u_char>(static_cast<A_u_long>(truncate_to_int(v)) & 0xFFu);
}

inline A_u_short low_word(float v)
{
    return static_cast<A_u_short>(static_cast<A_u_long>(truncate_to_int(v)) & 0xFFFFu);
}

// v x scale truncated toward zero, low 8 or 16 bits kept, for n values:
// the regular conversions' rule, sixteen or eight values per step (the
// truncating conversion gives 0x80000000 for out-of-range values and NaN
// exactly as the scalar one does).
inline void truncate_low_bytes(const float* s, A_u_char* d, std::ptrdiff_t n, float scale)
{
    const __m128 k = _mm_set1_ps(scale);
    const __m128i mask = _mm_set1_epi32(0xFF);
    std::ptrdiff_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i a = _mm_and_si128(_mm_cvttps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i), k)), mask);
        const __m128i b = _mm_and_si128(_mm_cvttps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i + 4), k)), mask);
        const __m128i c = _mm_and_si128(_mm_cvttps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i + 8), k)), mask);
        const __m128i e = _mm_and_si128(_mm_cvttps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i + 12), k)), mask);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i),
                         _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, e)));
    }
    for (; i < n; ++i) d[i] = low_byte(s[i] * scale);
}

inline __m128i low_words_signed(__m128i v) { return _mm_srai_epi32(_mm_slli_epi32(v, 16), 16); }

inline void truncate_low_words(const float* s, A_u_short* d, std::ptrdiff_t n, float scale)
{
    const __m128 k = _mm_set1_ps(scale);
    std::ptrdiff_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m128i a = low_words_signed(_mm_cvttps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i), k)));
        const __m128i b = low_words_signed(_mm_cvttps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i + 4), k)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_packs_epi32(a, b));
    }
    for (; i < n; ++i) d[i] = low_word(s[i] * scale);
}

template <typename T>
inline T* row_at(T* base, A_long y, A_u_long rowbytes)
{
    using Byte = typename std::conditional<std::is_const<T>::value, const char, char>::type;
    return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) +
                                static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(rowbytes));
}

inline bool aligned16(const void* p)
{
    return (reinterpret_cast<std::uintptr_t>(p) & 15u) == 0;
}

// The regular integer-to-float path: every value v becomes float(v) x scale,
// the pixels of a row side by side four values at a time (the same products
// the pixel pairs give, only more per instruction).
inline void widen_row(const A_u_char* s, float* d, std::ptrdiff_t n, float scale)
{
    const __m128 k = _mm_set1_ps(scale);
    const __m128i zero = _mm_setzero_si128();
    std::ptrdiff_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
        const __m128i lo = _mm_unpacklo_epi8(bytes, zero);
        const __m128i hi = _mm_unpackhi_epi8(bytes, zero);
        _mm_storeu_ps(d + i, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(lo, zero)), k));
        _mm_storeu_ps(d + i + 4, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(lo, zero)), k));
        _mm_storeu_ps(d + i + 8, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(hi, zero)), k));
        _mm_storeu_ps(d + i + 12, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(hi, zero)), k));
    }
    for (; i < n; ++i) d[i] = static_cast<float>(s[i]) * scale;
}

inline void widen_row(const A_u_short* s, float* d, std::ptrdiff_t n, float scale)
{
    const __m128 k = _mm_set1_ps(scale);
    const __m128i zero = _mm_setzero_si128();
    std::ptrdiff_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
        _mm_storeu_ps(d + i, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(words, zero)), k));
        _mm_storeu_ps(d + i + 4, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(words, zero)), k));
    }
    for (; i < n; ++i) d[i] = static_cast<float>(s[i]) * scale;
}

template <typename T>
void widen_rows(CVFloatWorld& image, const T* src, A_u_long rowbytes, float scale)
{
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(image.width()) * 4;
    for (A_long y = 0; y < image.height(); ++y) widen_row(row_at(src, y, rowbytes), image.data_row_ptr(y), n, scale);
}

}  // namespace

// ---- 8-bit to float

void CVFloatWorld::copy_from_8bit_integer_world(A_long w, A_long h, A_u_long rowbytes, const A_u_char* src)
{
    if (cpu_has_simd()) {
        copy_from_8bit_integer_world_simd(w, h, rowbytes, src);
    } else {
        copy_from_8bit_integer_world_regular(w, h, rowbytes, src);
    }
}

void CVFloatWorld::copy_from_8bit_integer_world_regular(A_long, A_long, A_u_long rowbytes, const A_u_char* src)
{
    widen_rows(*this, src, rowbytes, kFrom8);
}

void CVFloatWorld::copy_from_8bit_integer_world_simd(A_long, A_long, A_u_long rowbytes, const A_u_char* src)
{
    const __m128 k = _mm_set1_ps(kFrom8);
    const __m128i zero = _mm_setzero_si128();
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(width_) * 4;
    for (A_long y = 0; y < height_; ++y) {
        const A_u_char* s = row_at(src, y, rowbytes);
        float* d = data_row_ptr(y);
        std::ptrdiff_t i = 0;
        for (; i < n && !aligned16(s + i); ++i) {
            d[i] = static_cast<float>(s[i]) * kFrom8;
        }
        for (; i + 16 <= n; i += 16) {
            const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(s + i));
            const __m128i lo = _mm_unpacklo_epi8(bytes, zero);
            const __m128i hi = _mm_unpackhi_epi8(bytes, zero);
            _mm_storeu_ps(d + i, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(lo, zero)), k));
            _mm_storeu_ps(d + i + 4, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(lo, zero)), k));
            _mm_storeu_ps(d + i + 8, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(hi, zero)), k));
            _mm_storeu_ps(d + i + 12, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(hi, zero)), k));
        }
        for (; i < n; ++i) {
            d[i] = static_cast<float>(s[i]) * kFrom8;
        }
    }
}

// ---- 16-bit to float

void CVFloatWorld::copy_from_16bit_integer_world(A_long w, A_long h, A_u_long rowbytes, const A_u_short* src)
{
    if (cpu_has_simd()) {
        copy_from_16bit_integer_world_simd(w, h, rowbytes, src);
    } else {
        copy_from_16bit_integer_world_regular(w, h, rowbytes, src);
    }
}

void CVFloatWorld::copy_from_16bit_integer_world_regular(A_long, A_long, A_u_long rowbytes, const A_u_short* src)
{
    widen_rows(*this, src, rowbytes, kFrom16);
}

void CVFloatWorld::copy_from_16bit_integer_world_simd(A_long, A_long, A_u_long rowbytes, const A_u_short* src)
{
    const __m128 k = _mm_set1_ps(kFrom16);
    const __m128i zero = _mm_setzero_si128();
    for (A_long y = 0; y < height_; ++y) {
        const A_u_short* s = row_at(src, y, rowbytes);
        float* d = data_row_ptr(y);
        A_long x = 0;
        for (; x + 1 < width_; x += 2) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 4 * x));
            _mm_store_ps(d + 4 * x, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(v, zero)), k));
            _mm_store_ps(d + 4 * x + 4, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(v, zero)), k));
        }
        if (x < width_) {
            const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + 4 * x));
            _mm_store_ps(d + 4 * x, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(v, zero)), k));
        }
    }
}

// ---- float to 8-bit

void CVFloatWorld::copy_to_8bit_integer_world(A_long w, A_long h, A_u_long rowbytes, A_u_char* dst) const
{
    if (cpu_has_simd()) {
        copy_to_8bit_integer_world_simd(w, h, rowbytes, dst);
    } else {
        copy_to_8bit_integer_world_regular(w, h, rowbytes, dst);
    }
}

void CVFloatWorld::copy_to_8bit_integer_world_regular(A_long w, A_long h, A_u_long rowbytes, A_u_char* dst) const
{
    const A_long rows = height_ < h ? height_ : h;
    const A_long cols = width_ < w ? width_ : w;
    // Pixel pairs and a last single pixel: every pixel of the row, once.
    const std::ptrdiff_t n = cols > 0 ? static_cast<std::ptrdiff_t>(cols) * 4 : 0;
    for (A_long y = 0; y < rows; ++y) truncate_low_bytes(data_row_ptr(y), row_at(dst, y, rowbytes), n, kTo8);
}

// The row is the image's own width (w is not applied): the destination rows
// must be at least as wide as the image.
void CVFloatWorld::copy_to_8bit_integer_world_simd(A_long, A_long h, A_u_long rowbytes, A_u_char* dst) const
{
    const A_long rows = height_ < h ? height_ : h;
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(width_) * 4;
    const __m128 k = _mm_set1_ps(kTo8);
    for (A_long y = 0; y < rows; ++y) {
        const float* s = data_row_ptr(y);
        A_u_char* d = row_at(dst, y, rowbytes);
        std::ptrdiff_t i = 0;
        for (; i < n && !aligned16(d + i); ++i) {
            d[i] = low_byte(s[i] * kTo8);
        }
        for (; i + 16 <= n; i += 16) {
            const __m128i a = _mm_cvtps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i), k));
            const __m128i b = _mm_cvtps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i + 4), k));
            const __m128i c = _mm_cvtps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i + 8), k));
            const __m128i e = _mm_cvtps_epi32(_mm_mul_ps(_mm_loadu_ps(s + i + 12), k));
            const __m128i words = _mm_packs_epi32(a, b);
            const __m128i words2 = _mm_packs_epi32(c, e);
            _mm_store_si128(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(words, words2));
        }
        for (; i < n; ++i) {
            d[i] = low_byte(s[i] * kTo8);
        }
    }
}

// ---- float to 16-bit: pixel pairs without a single-pixel step, so an odd
// count writes the pixel after the last as well.

void CVFloatWorld::copy_to_16bit_integer_world(A_long w, A_long h, A_u_long rowbytes, A_u_short* dst) const
{
    if (cpu_has_simd()) {
        copy_to_16bit_integer_world_simd(w, h, rowbytes, dst);
    } else {
        copy_to_16bit_integer_world_regular(w, h, rowbytes, dst);
    }
}

void CVFloatWorld::copy_to_16bit_integer_world_regular(A_long w, A_long h, A_u_long rowbytes, A_u_short* dst) const
{
    const A_long rows = height_ < h ? height_ : h;
    const A_long cols = width_ < w ? width_ : w;
    // Pixel pairs only: an odd count writes the pixel after the last too.
    const std::ptrdiff_t n = cols > 0 ? static_cast<std::ptrdiff_t>((cols + 1) & ~1) * 4 : 0;
    for (A_long y = 0; y < rows; ++y) truncate_low_words(data_row_ptr(y), row_at(dst, y, rowbytes), n, kTo16);
}

void CVFloatWorld::copy_to_16bit_integer_world_simd(A_long w, A_long h, A_u_long rowbytes, A_u_short* dst) const
{
    const A_long rows = height_ < h ? height_ : h;
    const A_long cols = width_ < w ? width_ : w;
    const __m128 k = _mm_set1_ps(kTo16);
    for (A_long y = 0; y < rows; ++y) {
        const float* s = data_row_ptr(y);
        A_u_short* d = row_at(dst, y, rowbytes);
        for (A_long x = 0; x < cols; x += 2) {
            const __m128i a = _mm_cvtps_epi32(_mm_mul_ps(_mm_load_ps(s + 4 * x), k));
            const __m128i b = _mm_cvtps_epi32(_mm_mul_ps(_mm_load_ps(s + 4 * x + 4), k));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 4 * x), _mm_packs_epi32(a, b));
        }
    }
}

// ---- host layers

namespace {

struct LayerWindow {
    A_long w;
    A_long h;
    A_u_long rowbytes;
    char* start;
    bool deep;
};

LayerWindow layer_window(const PF_LayerDef& layer, const PF_LRect* rect)
{
    PF_LRect r;
    if (rect != nullptr) {
        r = *rect;
    } else {
        r.left = layer.extent_hint.left;
        r.top = layer.extent_hint.top;
        r.right = layer.extent_hint.right;
        r.bottom = layer.extent_hint.bottom;
    }
    LayerWindow win;
    win.w = r.right - r.left;
    win.h = r.bottom - r.top;
    win.rowbytes = static_cast<A_u_long>(layer.rowbytes);
    win.deep = (layer.world_flags & PF_WorldFlag_DEEP) != 0;
    const std::ptrdiff_t pixel_bytes = win.deep ? 8 : 4;
    win.start = reinterpret_cast<char*>(layer.data) +
                static_cast<std::ptrdiff_t>(r.top) * static_cast<std::ptrdiff_t>(layer.rowbytes) +
                static_cast<std::ptrdiff_t>(r.left) * pixel_bytes;
    return win;
}

}  // namespace

void CVFloatWorld::copy_from_PF_World(const PF_LayerDef& layer, const PF_LRect* rect)
{
    const LayerWindow win = layer_window(layer, rect);
    if (win.deep) {
        copy_from_16bit_integer_world(win.w, win.h, win.rowbytes, reinterpret_cast<const A_u_short*>(win.start));
    } else {
        copy_from_8bit_integer_world(win.w, win.h, win.rowbytes, reinterpret_cast<const A_u_char*>(win.start));
    }
}

void CVFloatWorld::copy_to_PF_World(PF_LayerDef& layer, const PF_LRect* rect) const
{
    const LayerWindow win = layer_window(layer, rect);
    if (win.deep) {
        copy_to_16bit_integer_world(win.w, win.h, win.rowbytes, reinterpret_cast<A_u_short*>(win.start));
    } else {
        copy_to_8bit_integer_world(win.w, win.h, win.rowbytes, reinterpret_cast<A_u_char*>(win.start));
    }
}

#include "cli/pixel_convert.h"

#include <cmath>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tessen::cli {

void HostFrame::allocate(int w, int h, int bit_depth) {
    width = w;
    height = h;
    depth = bit_depth;
    rowbytes = size_t(w) * 4 * (bit_depth == 16 ? 2 : 1);
    bytes.resize(rowbytes * size_t(h));
}

namespace {

// The per-pixel form, also the tail of the vector rows.
template <typename Out, typename Quantize>
void yuv_pixels(const YuvCoefficients& k, const YuvRow& row, int x, Out* out, Out opaque, Quantize quantize) {
    for (; x < row.width; ++x) {
        const float u = row.cb0[x] + (row.cb1[x] - row.cb0[x]) * row.t;
        const float v = row.cr0[x] + (row.cr1[x] - row.cr0[x]) * row.t;
        float rgb[3];
        k.to_rgb(float(row.luma[x]), u, v, rgb);
        Out* o = out + 4 * x;
        o[0] = row.alpha ? Out(row.alpha[x]) : opaque;
        for (int c = 0; c < 3; ++c) o[1 + c] = quantize(rgb[c]);
    }
}

#if defined(__SSE2__)
// R', G', B' of four pixels, each lane computed as to_rgb computes it.
struct Rgb4 {
    __m128 r, g, b;
};
inline Rgb4 yuv4(const YuvCoefficients& k, const YuvRow& row, int x) {
    const __m128 t = _mm_set1_ps(row.t);
    const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row.luma + x));
    const __m128 y = _mm_cvtepi32_ps(_mm_unpacklo_epi16(words, _mm_setzero_si128()));
    const __m128 b0 = _mm_loadu_ps(row.cb0 + x), r0 = _mm_loadu_ps(row.cr0 + x);
    const __m128 cb = _mm_add_ps(b0, _mm_mul_ps(_mm_sub_ps(_mm_loadu_ps(row.cb1 + x), b0), t));
    const __m128 cr = _mm_add_ps(r0, _mm_mul_ps(_mm_sub_ps(_mm_loadu_ps(row.cr1 + x), r0), t));
    const __m128 l = _mm_mul_ps(_mm_sub_ps(y, _mm_set1_ps(k.y_offset)), _mm_set1_ps(k.y_scale));
    const __m128 u = _mm_mul_ps(_mm_sub_ps(cb, _mm_set1_ps(k.c_offset)), _mm_set1_ps(k.c_scale));
    const __m128 v = _mm_mul_ps(_mm_sub_ps(cr, _mm_set1_ps(k.c_offset)), _mm_set1_ps(k.c_scale));
    Rgb4 p;
    p.r = _mm_add_ps(l, _mm_mul_ps(_mm_set1_ps(k.r_v), v));
    p.b = _mm_add_ps(l, _mm_mul_ps(_mm_set1_ps(k.b_u), u));
    p.g = _mm_sub_ps(_mm_sub_ps(l, _mm_mul_ps(_mm_set1_ps(k.g_u), u)), _mm_mul_ps(_mm_set1_ps(k.g_v), v));
    return p;
}
// Clamped to 0..1, scaled, plus a half, truncated: what the per-pixel
// quantizers do for every finite value.
inline __m128i quantize4(__m128 v, float scale) {
    const __m128 c = _mm_min_ps(_mm_max_ps(v, _mm_setzero_ps()), _mm_set1_ps(1.0f));
    return _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(c, _mm_set1_ps(scale)), _mm_set1_ps(0.5f)));
}
inline __m128i alpha4(const YuvRow& row, int x, int opaque) {
    if (!row.alpha) return _mm_set1_epi32(opaque);
    const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row.alpha + x));
    return _mm_unpacklo_epi16(words, _mm_setzero_si128());
}
#endif

}  // namespace

void yuv_row_to_argb8(const YuvCoefficients& k, const YuvRow& row, uint8_t* out) {
    int x = 0;
#if defined(__SSE2__)
    for (; x + 4 <= row.width; x += 4) {
        const Rgb4 p = yuv4(k, row, x);
        const __m128i argb = _mm_or_si128(
            _mm_or_si128(alpha4(row, x, 255), _mm_slli_epi32(quantize4(p.r, 255.0f), 8)),
            _mm_or_si128(_mm_slli_epi32(quantize4(p.g, 255.0f), 16), _mm_slli_epi32(quantize4(p.b, 255.0f), 24)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * x), argb);
    }
#endif
    yuv_pixels<uint8_t>(k, row, x, out, 255, u8_from_unit);
}

void yuv_row_to_argb16(const YuvCoefficients& k, const YuvRow& row, uint16_t* out) {
    int x = 0;
#if defined(__SSE2__)
    const float scale = float(kHostMax16);
    for (; x + 4 <= row.width; x += 4) {
        const Rgb4 p = yuv4(k, row, x);
        const __m128i ar = _mm_or_si128(alpha4(row, x, int(kHostMax16)), _mm_slli_epi32(quantize4(p.r, scale), 16));
        const __m128i gb = _mm_or_si128(quantize4(p.g, scale), _mm_slli_epi32(quantize4(p.b, scale), 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * x), _mm_unpacklo_epi32(ar, gb));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * x + 8), _mm_unpackhi_epi32(ar, gb));
    }
#endif
    yuv_pixels<uint16_t>(k, row, x, out, uint16_t(kHostMax16), host16_from_unit);
}

HostLevels YuvCoefficients::whole_code_levels(bool full, int bits) {
    if (full) return {};
    const float max = std::ldexp(1.0f, bits) - 1;
    const float unit = std::ldexp(1.0f, bits - 8);
    return {16 * unit / max, 235 * unit / max};
}

YuvCoefficients YuvCoefficients::make(int matrix, bool full, int bits, const HostLevels& levels) {
    YuvCoefficients k;
    switch (matrix) {
    case 1:  // BT.709
        k.kr = 0.2126f, k.kb = 0.0722f;
        break;
    case 4:  // FCC
        k.kr = 0.30f, k.kb = 0.11f;
        break;
    case 7:  // SMPTE 240M
        k.kr = 0.212f, k.kb = 0.087f;
        break;
    case 9:  // BT.2020 (non-constant luminance)
    case 10:
        k.kr = 0.2627f, k.kb = 0.0593f;
        break;
    default:  // BT.601 (BT.470BG, SMPTE 170M) and anything unknown
        k.kr = 0.299f, k.kb = 0.114f;
        break;
    }
    const float kg = 1 - k.kr - k.kb;
    k.r_v = 2 * (1 - k.kr);
    k.b_u = 2 * (1 - k.kb);
    k.g_u = 2 * k.kb * (1 - k.kb) / kg;
    k.g_v = 2 * k.kr * (1 - k.kr) / kg;
    const float max = std::ldexp(1.0f, bits) - 1;
    const float unit = std::ldexp(1.0f, bits - 8);  // one 8-bit step
    k.y_code_max = max;
    k.c_offset = std::ldexp(1.0f, bits - 1);
    if (full) {
        k.y_offset = 0;
        k.y_scale = 1 / max;
        k.c_scale = 1 / max;
    } else {
        k.y_offset = 16 * unit;
        k.y_scale = 1 / (219 * unit);
        k.c_scale = 1 / (224 * unit);
    }
    if (!levels.nominal()) {
        // host = black + (white - black) * R': one affine step, folded into
        // the offsets and scales so that to_rgb and from_rgb stay as they are.
        const float span = levels.white - levels.black;
        k.y_offset -= levels.black / (span * k.y_scale);
        k.y_scale *= span;
        k.c_scale *= span;
    }
    return k;
}

void convert_depth(const HostFrame& in, HostFrame& out, int depth) {
    if (&in == &out) {
        if (in.depth == depth) return;
        const HostFrame copy = in;
        convert_depth(copy, out, depth);
        return;
    }
    out.allocate(in.width, in.height, depth);
    const size_t n = size_t(in.width) * 4;
    for (int y = 0; y < in.height; ++y) {
        if (in.depth == depth) {
            std::memcpy(out.row8(y), in.row8(y), out.rowbytes);
        } else if (depth == 16) {
            const uint8_t* s = in.row8(y);
            uint16_t* d = out.row16(y);
            for (size_t i = 0; i < n; ++i) d[i] = host16_from_8(s[i]);
        } else {
            const uint16_t* s = in.row16(y);
            uint8_t* d = out.row8(y);
            for (size_t i = 0; i < n; ++i) d[i] = u8_from_host16(s[i]);
        }
    }
}

}  // namespace tessen::cli

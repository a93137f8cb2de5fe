#include "cli/pixel_convert.h"

#include <cmath>
#include <cstring>

namespace tessen::cli {

void HostFrame::allocate(int w, int h, int bit_depth) {
    width = w;
    height = h;
    depth = bit_depth;
    rowbytes = size_t(w) * 4 * (bit_depth == 16 ? 2 : 1);
    bytes.resize(rowbytes * size_t(h));
}

YuvCoefficients YuvCoefficients::make(int matrix, bool full, int bits) {
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

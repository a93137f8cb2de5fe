// Exact depth conversions between file pixels and the host's pixels.
//
// The host's 16-bit components run 0..32768. Conversions round to nearest
// with integer arithmetic, so that 8-bit -> host16 -> 8-bit and
// host16 -> 16-bit -> host16 give back every value unchanged.
#pragma once

#include "cli/video_io.h"

#include <cstdint>

namespace tessen::cli {

constexpr uint32_t kHostMax16 = 32768;

// From a component of `bits` bits (1..16), max = 2^bits - 1.
constexpr uint16_t host16_from_bits(uint32_t c, int bits) {
    const uint32_t max = (1u << bits) - 1;
    return uint16_t((c * kHostMax16 + max / 2) / max);
}
constexpr uint16_t host16_from_8(uint8_t b) { return uint16_t((uint32_t(b) * kHostMax16 + 127) / 255); }
constexpr uint16_t host16_from_16(uint16_t c) { return uint16_t((uint32_t(c) * kHostMax16 + 32767) / 65535); }

// From host16; values above 32768 are taken as 32768.
constexpr uint8_t u8_from_host16(uint16_t v) {
    const uint32_t x = v > kHostMax16 ? kHostMax16 : v;
    return uint8_t((x * 255 + kHostMax16 / 2) / kHostMax16);
}
constexpr uint16_t u16_from_host16(uint16_t v) {
    const uint32_t x = v > kHostMax16 ? kHostMax16 : v;
    return uint16_t((x * 65535 + kHostMax16 / 2) / kHostMax16);
}
// An n-bit component straight to 8 bits, rounded to nearest.
constexpr uint8_t u8_from_bits(uint32_t c, int bits) {
    const uint32_t max = (1u << bits) - 1;
    return uint8_t((c * 255 + max / 2) / max);
}

// Y'CbCr <-> R'G'B' for one matrix, range and bit depth, in float. FFmpeg's
// scaler is not exact at depths above 8 bits (10-bit white 940 comes out as
// 1020 of 1023, and R'G'B' white goes in as 943), so the file conversions
// use this instead.
struct YuvCoefficients {
    float kr = 0.299f, kb = 0.114f;      // luma weights of red and blue
    float y_offset = 16, y_scale = 1.0f / 219;   // Y' = (Y - y_offset) * y_scale
    float c_offset = 128, c_scale = 1.0f / 224;  // Cb' = (Cb - c_offset) * c_scale
    float y_code_max = 255;              // largest code value
    float r_v = 1.402f, b_u = 1.772f, g_u = 0.344136f, g_v = 0.714136f;  // derived from kr, kb

    // matrix: an AVColorSpace value (BT.601 for anything unknown); full:
    // full ("JPEG") range instead of limited; bits: 8..16. R'G'B' values
    // are placed on the host's 0..1 scale by `levels`.
    static YuvCoefficients make(int matrix, bool full, int bits, const HostLevels& levels = {});
    // The whole-range levels for a source of this range and depth.
    static HostLevels whole_code_levels(bool full, int bits);

    // Codes to R'G'B' in 0..1 (not clamped).
    void to_rgb(float y, float cb, float cr, float rgb[3]) const {
        const float l = (y - y_offset) * y_scale, u = (cb - c_offset) * c_scale, v = (cr - c_offset) * c_scale;
        rgb[0] = l + r_v * v;
        rgb[2] = l + b_u * u;
        rgb[1] = l - g_u * u - g_v * v;
    }
    // R'G'B' in 0..1 to unrounded codes.
    void from_rgb(const float rgb[3], float& y, float& cb, float& cr) const {
        const float l = kr * rgb[0] + (1 - kr - kb) * rgb[1] + kb * rgb[2];
        y = y_offset + l / y_scale;
        cb = c_offset + (rgb[2] - l) / (2 * (1 - kb)) / c_scale;
        cr = c_offset + (rgb[0] - l) / (2 * (1 - kr)) / c_scale;
    }
};

// 0..1 (clamped) to host16 and 8 bits, rounded to nearest.
inline uint16_t host16_from_unit(float v) {
    return v <= 0 ? 0 : v >= 1 ? uint16_t(kHostMax16) : uint16_t(v * float(kHostMax16) + 0.5f);
}
inline uint8_t u8_from_unit(float v) { return v <= 0 ? 0 : v >= 1 ? 255 : uint8_t(v * 255.0f + 0.5f); }

// One row of Y'CbCr codes to host ARGB pixels, exactly as to_rgb and then
// u8_from_unit / host16_from_unit per pixel: the chroma of each pixel is
// a + (b - a) * t between two chroma rows already at luma width. `alpha`
// holds finished alpha values of the output depth, or is null for opaque.
// Four pixels at a time where the processor has SSE2, with the same float
// operations in the same order.
struct YuvRow {
    const uint16_t* luma;
    const float *cb0, *cb1, *cr0, *cr1;
    float t;
    const uint16_t* alpha;
    int width;
};
void yuv_row_to_argb8(const YuvCoefficients& k, const YuvRow& row, uint8_t* out);
void yuv_row_to_argb16(const YuvCoefficients& k, const YuvRow& row, uint16_t* out);

// Copies `in` into `out` at the given depth (8 or 16); same depth copies.
void convert_depth(const HostFrame& in, HostFrame& out, int depth);

}  // namespace tessen::cli

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

// Copies `in` into `out` at the given depth (8 or 16); same depth copies.
void convert_depth(const HostFrame& in, HostFrame& out, int depth);

}  // namespace tessen::cli

#include "cli/pixel_convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace tessen::cli {
namespace {

TEST(PixelConvert, EightBitThroughHostSixteenComesBackExactly) {
    EXPECT_EQ(host16_from_8(0), 0);
    EXPECT_EQ(host16_from_8(255), 32768);
    for (int b = 0; b < 256; ++b) {
        const uint16_t v = host16_from_8(uint8_t(b));
        ASSERT_EQ(u8_from_host16(v), b) << b;
        // nearest host value to b * 32768 / 255
        ASSERT_LE(std::fabs(v - b * 32768.0 / 255.0), 0.5) << b;
    }
}

TEST(PixelConvert, HostSixteenThroughSixteenBitComesBackExactly) {
    EXPECT_EQ(u16_from_host16(32768), 65535);
    EXPECT_EQ(host16_from_16(65535), 32768);
    for (int v = 0; v <= 32768; ++v) {
        const uint16_t c = u16_from_host16(uint16_t(v));
        ASSERT_EQ(host16_from_16(c), v) << v;
        ASSERT_LE(std::fabs(c - v * 65535.0 / 32768.0), 0.5) << v;
    }
    // every 16-bit value lands on the nearest host value, monotonically
    uint16_t last = 0;
    for (int c = 0; c <= 65535; ++c) {
        const uint16_t v = host16_from_16(uint16_t(c));
        ASSERT_GE(v, last) << c;
        ASSERT_LE(std::fabs(v - c * 32768.0 / 65535.0), 0.5) << c;
        last = v;
    }
}

TEST(PixelConvert, OtherDepthsRoundToNearestAndHostOverflowClamps) {
    for (int bits : {5, 6, 10, 12}) {
        const uint32_t max = (1u << bits) - 1;
        EXPECT_EQ(host16_from_bits(max, bits), 32768);
        EXPECT_EQ(u8_from_bits(max, bits), 255);
        for (uint32_t c = 0; c <= max; ++c) {
            ASSERT_LE(std::fabs(host16_from_bits(c, bits) - c * 32768.0 / max), 0.5) << bits << " " << c;
            ASSERT_LE(std::fabs(u8_from_bits(c, bits) - c * 255.0 / max), 0.5) << bits << " " << c;
        }
    }
    EXPECT_EQ(u8_from_host16(40000), 255);
    EXPECT_EQ(u16_from_host16(65535), 65535);
}

TEST(PixelConvert, FrameDepthConversionRoundTrips) {
    HostFrame f8;
    f8.allocate(7, 3, 8);
    for (size_t i = 0; i < f8.bytes.size(); ++i) f8.bytes[i] = uint8_t(i * 37);
    HostFrame f16, back;
    convert_depth(f8, f16, 16);
    ASSERT_EQ(f16.depth, 16);
    ASSERT_EQ(f16.rowbytes, 7u * 8);
    EXPECT_EQ(f16.row16(2)[5], host16_from_8(f8.row8(2)[5]));
    convert_depth(f16, back, 8);
    EXPECT_EQ(back.bytes, f8.bytes);
    convert_depth(back, back, 16);  // in place
    EXPECT_EQ(back.bytes, f16.bytes);
}

// The row converters against to_rgb and the per-pixel quantizers, on codes
// beyond both ends of the range, every tail length and both alpha cases;
// also checks that nothing past the row is written.
TEST(PixelConvert, YuvRowsMatchThePerPixelConversion) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> code(-40.0f, 1100.0f);
    for (const YuvCoefficients& k : {YuvCoefficients::make(1, false, 8), YuvCoefficients::make(5, true, 10)}) {
        for (int w = 0; w <= 19; ++w) {
            const size_t n = size_t(w) + 1;
            std::vector<uint16_t> luma(n), alpha(n);
            std::vector<float> cb0(n), cb1(n), cr0(n), cr1(n);
            for (size_t x = 0; x < n; ++x) {
                luma[x] = uint16_t(rng() % 1024);
                alpha[x] = uint16_t(rng() % 256);
                cb0[x] = code(rng), cb1[x] = code(rng), cr0[x] = code(rng), cr1[x] = code(rng);
            }
            for (bool with_alpha : {false, true}) {
                const YuvRow row{luma.data(), cb0.data(), cb1.data(), cr0.data(), cr1.data(), 0.375f,
                                 with_alpha ? alpha.data() : nullptr, w};
                std::vector<uint8_t> out8(4 * n + 4, 0xA5);
                std::vector<uint16_t> out16(4 * n + 4, 0xA5A5);
                yuv_row_to_argb8(k, row, out8.data());
                yuv_row_to_argb16(k, row, out16.data());
                for (int x = 0; x < w; ++x) {
                    const float u = cb0[x] + (cb1[x] - cb0[x]) * row.t, v = cr0[x] + (cr1[x] - cr0[x]) * row.t;
                    float rgb[3];
                    k.to_rgb(float(luma[x]), u, v, rgb);
                    ASSERT_EQ(out8[4 * x], with_alpha ? alpha[x] : 255) << w << " " << x;
                    ASSERT_EQ(out16[4 * x], with_alpha ? alpha[x] : 32768) << w << " " << x;
                    for (int c = 0; c < 3; ++c) {
                        ASSERT_EQ(out8[4 * x + 1 + c], u8_from_unit(rgb[c])) << w << " " << x << " " << c;
                        ASSERT_EQ(out16[4 * x + 1 + c], host16_from_unit(rgb[c])) << w << " " << x << " " << c;
                    }
                }
                for (size_t i = 4 * size_t(w); i < out8.size(); ++i) ASSERT_EQ(out8[i], 0xA5) << w << " " << i;
                for (size_t i = 4 * size_t(w); i < out16.size(); ++i) ASSERT_EQ(out16[i], 0xA5A5) << w << " " << i;
            }
        }
    }
}

}  // namespace
}  // namespace tessen::cli

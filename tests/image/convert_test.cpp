#include <emmintrin.h>

#include <cmath>
#include <cstdint>
#include <memory>

#include "image_test_support.h"

namespace {

class ConvertTest : public ImageTest {};

const float kFrom8 = 0.003921569f;

// An integer buffer whose rows start `misalign` bytes past a 16-byte
// boundary (operator new aligns to 16) and which ends with its last row.
template <typename T>
struct IntBuffer {
    IntBuffer(A_long w, A_long h, size_t misalign, size_t extra_row_bytes = 0)
        : rowbytes(static_cast<A_u_long>(w * 4 * sizeof(T) + extra_row_bytes)), offset(misalign),
          size(misalign + static_cast<size_t>(rowbytes) * h), storage(new unsigned char[size])
    {
    }
    T* row(A_long y) { return reinterpret_cast<T*>(storage.get() + offset + rowbytes * y); }
    std::vector<unsigned char> bytes() const { return std::vector<unsigned char>(storage.get(), storage.get() + size); }
    void set(unsigned char v) { std::fill(storage.get(), storage.get() + size, v); }
    A_u_long rowbytes;
    size_t offset, size;
    std::unique_ptr<unsigned char[]> storage;
};

TEST_F(ConvertTest, FromIntegerVariantsAgreeAndLeaveTheSourceAlone)
{
    for (A_long w : {1, 3, 4, 5, 17, 33}) {
        for (size_t misalign : {0, 3, 8, 13}) {
            SCOPED_TRACE(testing::Message() << "width " << w << " misalign " << misalign);
            IntBuffer<A_u_char> b8(w, 3, misalign, 3);
            IntBuffer<A_u_short> b16(w, 3, misalign & ~size_t(1), 2);
            for (size_t i = 0; i < b8.size; ++i) b8.storage[i] = static_cast<unsigned char>(rng_());
            for (size_t i = 0; i < b16.size; ++i) b16.storage[i] = static_cast<unsigned char>(rng_());
            const auto src8 = b8.bytes(), src16 = b16.bytes();

            CVFloatWorld r(w, 3), s(w, 3);
            fill_random(r, rng_, 0, 1);
            copy_block(r, s);
            Access::from8_regular(r, b8.rowbytes, b8.row(0));
            Access::from8_simd(s, b8.rowbytes, b8.row(0));
            EXPECT_TRUE(blocks_equal(r, s)) << first_difference(r, s, 1);
            EXPECT_EQ(b8.bytes(), src8);
            for (A_long y = 0; y < 3; ++y)
                for (A_long i = 0; i < 4 * w; ++i)
                    ASSERT_TRUE(same_bits(r.data_row_ptr(y)[i], static_cast<float>(b8.row(y)[i]) * kFrom8));

            Access::from16_regular(r, b16.rowbytes, b16.row(0));
            Access::from16_simd(s, b16.rowbytes, b16.row(0));
            EXPECT_TRUE(blocks_equal(r, s)) << first_difference(r, s, 1);
            EXPECT_EQ(b16.bytes(), src16);
            for (A_long i = 0; i < 4 * w; ++i) ASSERT_EQ(r.data_row_ptr(2)[i], b16.row(2)[i] / 32768.0f);
        }
    }
}

TEST_F(ConvertTest, RegularPathTruncatesAndWraps)
{
    CVFloatWorld f(2, 1);
    float* d = f.data_ptr();
    A_u_char b[8] = {255, 128, 0, 1, 254, 2, 3, 4};
    Access::from8_regular(f, 8, b);
    EXPECT_EQ(d[0], 1.0f);
    EXPECT_EQ(d[1], 0.5019608f);

    const float in[8] = {1.0f, 0.5019608f, 1.5f, 0.999f, -0.5f, 0.5f, 0.0f, 2.0f};
    std::copy(in, in + 8, d);
    A_u_char out[8] = {};
    Access::to8_regular(f, 2, 1, 8, out);
    // 1.5 * 255 = 382.5 -> 382 -> low byte 126; -127.5 -> -127 -> 0x81.
    EXPECT_EQ(std::vector<int>(out, out + 8), (std::vector<int>{255, 128, 126, 254, 129, 127, 0, 254}));

    A_u_short w16[8] = {32768, 16384, 0, 65535, 1, 2, 3, 4};
    Access::from16_regular(f, 16, w16);
    EXPECT_EQ(d[0], 1.0f);
    EXPECT_EQ(d[3], 65535.0f / 32768.0f);
    d[2] = 3.0f;   // 98304 -> low 16 bits 32768
    d[4] = -0.5f;  // -16384 -> 0xC000
    A_u_short o16[8] = {};
    Access::to16_regular(f, 2, 1, 16, o16);
    EXPECT_EQ(std::vector<int>(o16, o16 + 5), (std::vector<int>{32768, 16384, 32768, 65535, 0xC000}));
}

// The same rule over long rows (where the conversions go many values at a
// time), for values in range, out of range both ways, huge and NaN: each
// value truncated toward zero, its low bits kept, 0x80000000 for what does
// not fit an int.
TEST_F(ConvertTest, RegularPathsKeepTheRuleOnLongRows)
{
    const A_long w = 37;
    CVFloatWorld f(w, 2);
    std::uniform_real_distribution<float> u(-3.0f, 3.0f);
    float* d = f.data_ptr();
    for (size_t i = 0; i < f.rowbytes() / 2; ++i) d[i] = u(rng_);
    d[5] = NAN;
    d[9] = 1e20f;
    d[13] = -1e20f;
    d[17] = 0.999f;
    auto truncated = [](float v) {
        if (!(v > -2147483648.0f && v < 2147483648.0f)) return A_u_long{0x80000000u};
        return static_cast<A_u_long>(static_cast<A_long>(v));
    };
    std::vector<A_u_char> out8(w * 4 * 2, 0xEE);
    Access::to8_regular(f, w, 2, w * 4, out8.data());
    std::vector<A_u_short> out16((w + 1) * 4 * 2, 0xEEEE);
    Access::to16_regular(f, w, 2, (w + 1) * 8, out16.data());
    for (A_long y = 0; y < 2; ++y)
        for (A_long i = 0; i < (w + 1) * 4; ++i) {
            const float v = f.data_row_ptr(y)[i];
            if (i < w * 4) {
                ASSERT_EQ(out8[y * w * 4 + i], truncated(v * 255.0f) & 0xFFu) << y << " " << i;
            }
            ASSERT_EQ(out16[y * (w + 1) * 4 + i], truncated(v * 32768.0f) & 0xFFFFu) << y << " " << i;
        }
}

TEST_F(ConvertTest, SimdSixteenBitRoundsAndSaturates)
{
    CVFloatWorld f(2, 1);
    const float in[8] = {1.0f, 0.5f, 3.0f, -2.0f, -0.5f, 1.5f / 32768.0f, 2.5f / 32768.0f, 0.99999f};
    std::copy(in, in + 8, f.data_ptr());
    A_u_short o16[8] = {};
    Access::to16_simd(f, 2, 1, 16, o16);
    EXPECT_EQ(std::vector<int>(o16, o16 + 8), (std::vector<int>{32767, 16384, 32767, 0x8000, 0xC000, 2, 2, 32767}));
}

// The pixel after the last of an odd count is written from the image's
// padding, by both variants; the one after that is not. The count is
// min(width, w): w = 1 writes pixels 0 and 1.
TEST_F(ConvertTest, SixteenBitWritesOnePixelPastAnOddWidth)
{
    for (auto to16 : {Access::to16_regular, Access::to16_simd}) {
        CVFloatWorld f(3, 2);
        fill_random(f, rng_, 0, 0.5f);
        for (A_long y = 0; y < 2; ++y) f.pixel_at_point(3, y)->red = 0.25f;
        IntBuffer<A_u_short> buf(5, 2, 0);
        buf.set(0xEE);
        to16(f, 3, 2, buf.rowbytes, buf.row(0));
        for (A_long y = 0; y < 2; ++y) {
            EXPECT_EQ(buf.row(y)[3 * 4 + 1], 8192);
            EXPECT_EQ(buf.row(y)[4 * 4 + 1], 0xEEEE);
        }
        buf.set(0xEE);
        to16(f, 1, 1, buf.rowbytes, buf.row(0));
        EXPECT_NE(buf.row(0)[4 + 1], 0xEEEE);
        EXPECT_EQ(buf.row(0)[8 + 1], 0xEEEE);
        EXPECT_EQ(buf.row(1)[1], 0xEEEE);
    }
}

// What the SIMD 8-bit path writes for the n channels of a row whose
// destination starts `misalign` bytes past a 16-byte boundary: truncation
// and wrap up to the first boundary and after the last whole block,
// rounding to even and saturation in between.
std::vector<int> simd8_model(const float* v, size_t n, size_t misalign)
{
    const size_t head = std::min(n, (16 - misalign % 16) % 16);
    const size_t end = head + (n - head) / 16 * 16;
    std::vector<int> out(n);
    for (size_t i = 0; i < n; ++i) {
        const float x = v[i] * 255.0f;
        if (i >= head && i < end)
            out[i] = std::min(255, std::max(0, static_cast<int>(std::nearbyint(x))));
        else
            out[i] = static_cast<int>(static_cast<std::uint32_t>(_mm_cvttss_si32(_mm_set_ss(x))) & 0xFF);
    }
    return out;
}

TEST_F(ConvertTest, SimdEightBitRoundsOnlyTheAlignedMiddle)
{
    // All 0.5: 127.5 truncates to 127 at the ends, rounds to even 128 inside.
    CVFloatWorld f(8, 1);
    f.fill(tPixel{0.5f, 0.5f, 0.5f, 0.5f});
    IntBuffer<A_u_char> buf(8, 1, 5);
    Access::to8_simd(f, 8, 1, buf.rowbytes, buf.row(0));
    std::vector<int> want(32, 127);
    std::fill(want.begin() + 11, want.begin() + 27, 128);
    EXPECT_EQ(std::vector<int>(buf.row(0), buf.row(0) + 32), want);

    // Random values in and out of range, every alignment, odd widths.
    for (A_long w : {1, 3, 4, 5, 9, 30}) {
        for (size_t misalign = 0; misalign < 16; ++misalign) {
            CVFloatWorld g(w, 2);
            fill_random(g, rng_, -0.5f, 1.5f);
            IntBuffer<A_u_char> b(w, 2, misalign, 4);
            b.set(0xAB);
            // w is not applied: the whole image width is written.
            Access::to8_simd(g, 1, 2, b.rowbytes, b.row(0));
            for (A_long y = 0; y < 2; ++y) {
                const auto m = simd8_model(g.data_row_ptr(y), 4 * w, reinterpret_cast<std::uintptr_t>(b.row(y)) % 16);
                ASSERT_EQ(std::vector<int>(b.row(y), b.row(y) + 4 * w), m) << w << " " << misalign;
                ASSERT_EQ(std::vector<int>(b.row(y) + 4 * w, b.row(y) + 4 * w + 4), std::vector<int>(4, 0xAB));
            }
        }
    }
}

// Every byte value survives float and back, on the regular path and on both
// the rounded middle and the truncated ends of the SIMD path.
TEST_F(ConvertTest, EveryByteRoundTrips)
{
    CVFloatWorld f(64, 1);
    IntBuffer<A_u_char> in(64, 1, 0), out1(64, 1, 0), out2(64, 1, 7);
    for (int i = 0; i < 256; ++i) in.row(0)[i] = static_cast<A_u_char>(i);
    Access::from8_simd(f, in.rowbytes, in.row(0));
    Access::to8_regular(f, 64, 1, out1.rowbytes, out1.row(0));
    Access::to8_simd(f, 64, 1, out2.rowbytes, out2.row(0));
    EXPECT_EQ(out1.bytes(), in.bytes());
    EXPECT_EQ(std::vector<unsigned char>(out2.row(0), out2.row(0) + 256), in.bytes());
}

TEST_F(ConvertTest, HostLayersUseTheRectangleOrTheExtentHint)
{
    // A 16 x 4 8-bit layer whose pixel (x, y) holds channels (x, y, 7, 9).
    const A_long lw = 16, lh = 4;
    std::vector<PF_Pixel> pixels(lw * lh);
    for (A_long i = 0; i < lw * lh; ++i)
        pixels[i] = PF_Pixel{static_cast<A_u_char>(i % lw), static_cast<A_u_char>(i / lw), 7, 9};
    PF_LayerDef layer{};
    layer.data = pixels.data();
    layer.rowbytes = lw * 4;
    layer.width = lw;
    layer.height = lh;
    layer.extent_hint = PF_UnionableRect{2, 1, 7, 3};

    CVFloatWorld from_hint(layer);
    ASSERT_EQ(from_hint.width(), 5);
    ASSERT_EQ(from_hint.height(), 2);
    EXPECT_EQ(from_hint.pixel_at_point(0, 0)->alpha, 2 * kFrom8);
    EXPECT_EQ(from_hint.pixel_at_point(4, 1)->red, 2 * kFrom8);

    CVFloatWorld f(4, 2);
    const PF_LRect rect{10, 2, 14, 4};
    f.copy_from_PF_World(layer, &rect);
    EXPECT_EQ(f.pixel_at_point(0, 0)->alpha, 10 * kFrom8);
    EXPECT_EQ(f.pixel_at_point(3, 1)->red, 3 * kFrom8);

    // The deep flag switches to 16-bit pixels.
    std::vector<PF_Pixel16> deep(lw * lh);
    for (A_long i = 0; i < lw * lh; ++i) deep[i] = PF_Pixel16{static_cast<A_u_short>(1000 + i), 32768, 0, 16384};
    PF_LayerDef dl{};
    dl.world_flags = PF_WorldFlag_DEEP;
    dl.data = reinterpret_cast<PF_Pixel*>(deep.data());
    dl.rowbytes = lw * 8;
    dl.extent_hint = PF_UnionableRect{1, 2, 5, 4};
    CVFloatWorld g(4, 2);
    g.copy_from_PF_World(dl, nullptr);
    EXPECT_EQ(g.pixel_at_point(0, 0)->alpha, (1000 + 2 * lw + 1) / 32768.0f);
    EXPECT_EQ(g.pixel_at_point(0, 0)->red, 1.0f);
    EXPECT_EQ(g.pixel_at_point(2, 1)->blue, 0.5f);
}

}  // namespace

// The PNG writer: structure and checksums checked here, pixels checked by
// decoding with ffmpeg when it is installed.
#include "headless/png.h"
#include "headless/world.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

uint32_t be32(const uint8_t* p) { return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]; }

struct Chunk {
    std::string type;
    std::vector<uint8_t> data;
};

// Splits a PNG into chunks, checking the signature and every CRC.
std::vector<Chunk> chunks_of(const std::vector<uint8_t>& png) {
    static const uint8_t sig[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    EXPECT_GE(png.size(), 8u);
    EXPECT_TRUE(std::equal(sig, sig + 8, png.begin()));
    std::vector<Chunk> out;
    size_t pos = 8;
    while (pos + 12 <= png.size()) {
        const uint32_t len = be32(&png[pos]);
        EXPECT_LE(pos + 12 + len, png.size());
        const uint32_t crc = headless::png_crc32(&png[pos + 4], len + 4);
        EXPECT_EQ(crc, be32(&png[pos + 8 + len])) << "CRC of chunk " << out.size();
        out.push_back(Chunk{std::string(png.begin() + pos + 4, png.begin() + pos + 8),
                            std::vector<uint8_t>(png.begin() + pos + 8, png.begin() + pos + 8 + len)});
        pos += 12 + len;
    }
    EXPECT_EQ(pos, png.size());
    return out;
}

// Unpacks a zlib stream made of stored blocks, checking lengths and Adler-32.
std::vector<uint8_t> unstore(const std::vector<uint8_t>& z) {
    std::vector<uint8_t> raw;
    EXPECT_EQ((z[0] * 256 + z[1]) % 31, 0);  // zlib header check bits
    size_t pos = 2;
    bool last = false;
    while (!last) {
        last = z[pos] & 1;
        EXPECT_EQ(z[pos] & 6, 0);  // stored
        const unsigned n = z[pos + 1] | (z[pos + 2] << 8);
        const unsigned nn = z[pos + 3] | (z[pos + 4] << 8);
        EXPECT_EQ(n ^ 0xFFFFu, nn);
        raw.insert(raw.end(), z.begin() + pos + 5, z.begin() + pos + 5 + n);
        pos += 5 + n;
    }
    EXPECT_EQ(headless::adler32(raw.data(), raw.size()), be32(&z[pos]));
    return raw;
}

TEST(Png, ChecksumsOfKnownInputs) {
    const uint8_t text[] = "123456789";
    EXPECT_EQ(headless::png_crc32(text, 9), 0xCBF43926u);
    EXPECT_EQ(headless::adler32(reinterpret_cast<const uint8_t*>("Wikipedia"), 9), 0x11E60398u);
}

TEST(Png, StructureOfALargeImageSpanningSeveralBlocks) {
    const int w = 300, h = 100;  // 120,100 bytes of scan lines: two stored blocks
    std::vector<uint8_t> rgba(static_cast<size_t>(w) * h * 4);
    for (size_t i = 0; i < rgba.size(); ++i) rgba[i] = static_cast<uint8_t>(i * 7);
    const auto chunks = chunks_of(headless::encode_png_rgba8(w, h, rgba.data()));
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].type, "IHDR");
    EXPECT_EQ(be32(&chunks[0].data[0]), 300u);
    EXPECT_EQ(chunks[0].data[8], 8);  // bit depth
    EXPECT_EQ(chunks[0].data[9], 6);  // RGBA
    EXPECT_EQ(chunks[2].type, "IEND");
    const auto raw = unstore(chunks[1].data);
    ASSERT_EQ(raw.size(), static_cast<size_t>(h) * (w * 4 + 1));
    EXPECT_EQ(raw[0], 0);
    EXPECT_EQ(raw[1 + 4 * 5 + 2], rgba[4 * 5 + 2]);
    EXPECT_EQ(raw[(w * 4 + 1) * 99 + 1], rgba[static_cast<size_t>(w) * 4 * 99]);
}

TEST(Png, SixteenBitWorldDecodesWithFfmpeg) {
    headless::World world(5, 3, true);
    for (A_long y = 0; y < 3; ++y)
        for (A_long x = 0; x < 5; ++x) *world.pixel16(x, y) = PF_Pixel16{32768, A_u_short(x * 8192), A_u_short(y * 16384), 32768};
    const auto png = headless::encode_png(world);
    const auto chunks = chunks_of(png);
    EXPECT_EQ(chunks[0].data[8], 16);
    EXPECT_EQ(chunks[0].data[9], 2);
    const auto raw = unstore(chunks[1].data);
    EXPECT_EQ(raw[1 + 6 * 4], 0xFF);  // red of x = 4 is full scale: 32768 -> 65535
    EXPECT_EQ(raw[1 + 6 * 4 + 1], 0xFF);

    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) GTEST_SKIP() << "ffmpeg not installed";
    char scratch[] = "/tmp/tessen-png-XXXXXX";
    ASSERT_NE(mkdtemp(scratch), nullptr);
    const std::string dir = scratch;
    const std::string in = dir + "/deep.png", out = dir + "/deep.raw";
    struct Cleanup {
        std::string dir;
        ~Cleanup() { std::system(("rm -rf '" + dir + "'").c_str()); }
    } cleanup{dir};
    std::string error;
    ASSERT_TRUE(headless::write_file(in, png, &error)) << error;
    const std::string cmd = "ffmpeg -v error -y -i " + in + " -f rawvideo -pix_fmt rgb48be " + out;
    ASSERT_EQ(std::system(cmd.c_str()), 0);
    std::ifstream f(out, std::ios::binary);
    std::vector<uint8_t> decoded((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    ASSERT_EQ(decoded.size(), 5u * 3 * 6);
    // Pixel (2, 1): red 16384 -> 32768, green 16384 -> 32768, blue full.
    const uint8_t* p = &decoded[(1 * 5 + 2) * 6];
    EXPECT_EQ(p[0] * 256 + p[1], 32768);
    EXPECT_EQ(p[2] * 256 + p[3], 32768);
    EXPECT_EQ(p[4] * 256 + p[5], 65535);
    std::remove(in.c_str());
    std::remove(out.c_str());
}

TEST(Png, UnwritablePathIsAClearError) {
    std::string error;
    EXPECT_FALSE(headless::write_file("/nonexistent-dir/x.png", {1, 2, 3}, &error));
    EXPECT_NE(error.find("/nonexistent-dir/x.png"), std::string::npos);
}

}  // namespace

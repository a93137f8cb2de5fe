#include "headless/png.h"

#include "headless/effect_ui.h"
#include "headless/world.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace headless {

uint32_t png_crc32(const uint8_t* data, size_t n, uint32_t crc) {
    static uint32_t table[256];
    static bool ready = false;
    if (!ready) {
        for (uint32_t i = 0; i < 256; ++i) {
            uint32_t c = i;
            for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            table[i] = c;
        }
        ready = true;
    }
    crc = ~crc;
    for (size_t i = 0; i < n; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

uint32_t adler32(const uint8_t* data, size_t n) {
    uint32_t a = 1, b = 0;
    for (size_t i = 0; i < n; ++i) {
        a = (a + data[i]) % 65521;
        b = (b + a) % 65521;
    }
    return (b << 16) | a;
}

namespace {

void put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<uint8_t>(v >> s));
}

void chunk(std::vector<uint8_t>& out, const char* type, const std::vector<uint8_t>& data) {
    put32(out, static_cast<uint32_t>(data.size()));
    const size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    put32(out, png_crc32(out.data() + start, out.size() - start));
}

// zlib stream of stored deflate blocks.
std::vector<uint8_t> zlib_stored(const std::vector<uint8_t>& raw) {
    std::vector<uint8_t> z = {0x78, 0x01};
    size_t pos = 0;
    do {
        const size_t n = std::min<size_t>(65535, raw.size() - pos);
        const bool last = pos + n == raw.size();
        z.push_back(last ? 1 : 0);
        z.push_back(static_cast<uint8_t>(n));
        z.push_back(static_cast<uint8_t>(n >> 8));
        z.push_back(static_cast<uint8_t>(~n));
        z.push_back(static_cast<uint8_t>(~n >> 8));
        z.insert(z.end(), raw.begin() + static_cast<ptrdiff_t>(pos), raw.begin() + static_cast<ptrdiff_t>(pos + n));
        pos += n;
    } while (pos < raw.size());
    put32(z, adler32(raw.data(), raw.size()));
    return z;
}

std::vector<uint8_t> assemble(int width, int height, uint8_t depth, uint8_t color_type, const std::vector<uint8_t>& raw) {
    std::vector<uint8_t> out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> ihdr;
    put32(ihdr, static_cast<uint32_t>(width));
    put32(ihdr, static_cast<uint32_t>(height));
    ihdr.insert(ihdr.end(), {depth, color_type, 0, 0, 0});
    chunk(out, "IHDR", ihdr);
    chunk(out, "IDAT", zlib_stored(raw));
    chunk(out, "IEND", {});
    return out;
}

}  // namespace

std::vector<uint8_t> encode_png_rgba8(int width, int height, const uint8_t* rgba, size_t stride) {
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (stride == 0) stride = static_cast<size_t>(width) * 4;
    std::vector<uint8_t> raw;
    raw.reserve((static_cast<size_t>(width) * 4 + 1) * height);
    for (int y = 0; y < height; ++y) {
        raw.push_back(0);  // filter: none
        const uint8_t* row = rgba + stride * y;
        raw.insert(raw.end(), row, row + static_cast<size_t>(width) * 4);
    }
    return assemble(width, height, 8, 6, raw);
}

std::vector<uint8_t> encode_png_rgb16(int width, int height, const uint16_t* rgb, size_t stride) {
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (stride == 0) stride = static_cast<size_t>(width) * 3;
    std::vector<uint8_t> raw;
    raw.reserve((static_cast<size_t>(width) * 6 + 1) * height);
    for (int y = 0; y < height; ++y) {
        raw.push_back(0);
        const uint16_t* row = rgb + stride * y;
        for (size_t i = 0; i < static_cast<size_t>(width) * 3; ++i) {
            raw.push_back(static_cast<uint8_t>(row[i] >> 8));
            raw.push_back(static_cast<uint8_t>(row[i]));
        }
    }
    return assemble(width, height, 16, 2, raw);
}

bool write_file(const std::string& path, const std::vector<uint8_t>& bytes, std::string* error) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
        if (error) *error = "cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    const bool closed = std::fclose(f) == 0;
    if ((!ok || !closed) && error) *error = "cannot write " + path;
    return ok && closed;
}

std::vector<uint8_t> encode_png(const World& world) {
    const int w = world.width(), h = world.height();
    if (world.deep()) {
        std::vector<uint16_t> rgb(static_cast<size_t>(w) * h * 3);
        auto up = [](A_u_short c) { return static_cast<uint16_t>((std::min<uint32_t>(c, 32768) * 65535u + 16384) / 32768); };
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const PF_Pixel16* p = world.pixel16(x, y);
                uint16_t* o = &rgb[(static_cast<size_t>(y) * w + x) * 3];
                o[0] = up(p->red);
                o[1] = up(p->green);
                o[2] = up(p->blue);
            }
        return encode_png_rgb16(w, h, rgb.data());
    }
    std::vector<uint8_t> rgba(static_cast<size_t>(w) * h * 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const PF_Pixel* p = world.pixel8(x, y);
            uint8_t* o = &rgba[(static_cast<size_t>(y) * w + x) * 4];
            o[0] = p->red;
            o[1] = p->green;
            o[2] = p->blue;
            o[3] = p->alpha;
        }
    return encode_png_rgba8(w, h, rgba.data());
}

std::vector<uint8_t> encode_png(const Raster& raster) {
    return encode_png_rgba8(raster.width, raster.height, raster.rgba.data());
}

}  // namespace headless

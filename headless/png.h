// A minimal PNG writer for tools that show what the host drew or rendered:
// 8-bit RGBA or 16-bit RGB, no filtering, stored (uncompressed) deflate
// blocks, no external libraries.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace headless {

class World;
struct Raster;

// Encodes width × height pixels. `rgba` holds 4 bytes per pixel (R, G, B, A);
// `rgb` holds 3 values per pixel (R, G, B, 0..65535). `stride` is the
// distance between rows in elements (bytes or values); 0 = tightly packed.
std::vector<uint8_t> encode_png_rgba8(int width, int height, const uint8_t* rgba, size_t stride = 0);
std::vector<uint8_t> encode_png_rgb16(int width, int height, const uint16_t* rgb, size_t stride = 0);

// Writes a file; false with a reason in `error` when it cannot.
bool write_file(const std::string& path, const std::vector<uint8_t>& bytes, std::string* error);

// A host world: 8-bit worlds as RGBA, deep worlds (0..32768) as 16-bit RGB.
std::vector<uint8_t> encode_png(const World& world);
// The Effect Controls raster as RGBA.
std::vector<uint8_t> encode_png(const Raster& raster);

// The checksums PNG and zlib use (exposed for tests).
uint32_t png_crc32(const uint8_t* data, size_t n, uint32_t crc = 0);
uint32_t adler32(const uint8_t* data, size_t n);

}  // namespace headless

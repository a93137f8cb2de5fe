// Images and helpers shared by the merge and deartifacting tests. Pixel
// memory comes from a headless host, as in a render.
#pragma once
#include "image/float_world.h"
#include "image/single_float_world.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace merge_test {

using Pixel = std::array<float, 4>;

inline uint32_t Bits(float f) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    return u;
}

inline Pixel At(const CVFloatWorld& image, long x, long y) {
    const float* p = image.data_at_point(x, y);
    return Pixel{p[0], p[1], p[2], p[3]};
}

inline void Put(CVFloatWorld& image, long x, long y, const Pixel& v) {
    std::memcpy(image.data_at_point(x, y), v.data(), sizeof(v));
}

// Every float of the block, padding included.
inline size_t FloatCount(const CVFloatWorld& image) {
    return static_cast<size_t>(image.height()) * image.rowbytes() / sizeof(float);
}

inline std::vector<float> Snapshot(const CVFloatWorld& image) {
    return std::vector<float>(image.data_ptr(), image.data_ptr() + FloatCount(image));
}

inline std::vector<float> Snapshot(const CVSingleFloatWorld& image) {
    const size_t n = static_cast<size_t>(image.height) * image.rowbytes / sizeof(float);
    return std::vector<float>(image.data, image.data + n);
}

// Equal bit for bit (so NaN equals the same NaN).
inline bool SameBits(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

inline void FillRandom(CVFloatWorld& image, std::mt19937& rng, float lo = 0.0f, float hi = 1.0f) {
    std::uniform_real_distribution<float> u(lo, hi);
    float* p = image.data_ptr();
    for (size_t i = 0, n = FloatCount(image); i < n; ++i) p[i] = u(rng);
}

inline void FillAll(CVFloatWorld& image, const Pixel& v) {
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < static_cast<long>(image.rowbytes() / 16); ++x) Put(image, x, y, v);
}

inline void FillAll(CVSingleFloatWorld& image, float v) {
    for (long y = 0; y < image.height; ++y)
        for (long x = 0; x < static_cast<long>(image.rowbytes / 4); ++x) image.row_ptr(y)[x] = v;
}

inline void CopyPixels(const std::vector<float>& from, CVFloatWorld& to) {
    std::memcpy(to.data_ptr(), from.data(), from.size() * sizeof(float));
}

}  // namespace merge_test

// Images and helpers shared by the render tests. Pixel memory comes from a
// headless host, as in a render.
#pragma once
#include "headless/inproc/scoped_host.h"
#include "image/float_world.h"
#include "image/single_float_world.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

namespace render_test {

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
inline std::vector<float> Snapshot(const CVFloatWorld& image) {
    return std::vector<float>(image.data_ptr(), image.data_ptr() + image.height() * image.rowbytes() / 4);
}
inline std::vector<float> Snapshot(const CVSingleFloatWorld& image) {
    return std::vector<float>(image.data, image.data + image.height * image.rowbytes / 4);
}
inline void Restore(const std::vector<float>& from, CVFloatWorld& to) {
    std::memcpy(to.data_ptr(), from.data(), from.size() * sizeof(float));
}
inline void Restore(const std::vector<float>& from, CVSingleFloatWorld& to) {
    std::memcpy(to.data, from.data(), from.size() * sizeof(float));
}

// Equal bit for bit (so NaN equals the same NaN).
inline bool SameBits(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

inline void FillRandom(CVFloatWorld& image, std::mt19937& rng, float lo = 0.0f, float hi = 1.0f) {
    std::uniform_real_distribution<float> u(lo, hi);
    float* p = image.data_ptr();
    for (size_t i = 0, n = image.height() * image.rowbytes() / 4; i < n; ++i) p[i] = u(rng);
}

// Every pixel, padding included.
inline void FillAll(CVFloatWorld& image, const Pixel& v) {
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < static_cast<long>(image.rowbytes() / 16); ++x) Put(image, x, y, v);
}
inline void FillAll(CVSingleFloatWorld& image, float v) {
    for (long y = 0; y < image.height; ++y)
        for (long x = 0; x < static_cast<long>(image.rowbytes / 4); ++x) image.row_ptr(y)[x] = v;
}

// Every pixel opaque grey of value f(x, y).
inline void FillGrey(CVFloatWorld& img, const std::function<float(long, long)>& f) {
    for (long y = 0; y < img.height(); ++y)
        for (long x = 0; x < img.width(); ++x) Put(img, x, y, Pixel{1.0f, f(x, y), f(x, y), f(x, y)});
}
inline void FillGrey(CVFloatWorld& img, float v) {
    FillGrey(img, [v](long, long) { return v; });
}

// One host command per test, and a seeded generator.
class HostTest : public ::testing::Test {
protected:
    headless::ScopedHostContext context_;
    std::mt19937 rng_{2024};
};

}  // namespace render_test

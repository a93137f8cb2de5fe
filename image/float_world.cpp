#include "image/float_world.h"

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "dae/host_memory.h"
#include "image/cpu_features.h"
#include "image/float_world_kernels.h"

const A_u_long CVFloatWorld::kFloatsPerPixel;
const A_u_long CVFloatWorld::kBytesPerPixel;
A_u_long CVFloatWorld::world_number_ = 0;

namespace {

// Nine staggers of 4096 bytes: 0, 4096, ... 32768.
const A_u_long kStaggerCount = 9;
const int kStaggerShift = 12;

// Rows are padded to whole groups of four pixels and some operations read
// the padding (the pattern windows reach into the previous row's tail, the
// pair-wise conversions take the pixel after an odd last one). Host memory
// comes back with whatever it held, so the padding is cleared once here and
// no output can depend on stale memory.
void clear_row_padding(char* data, A_long width, A_long height, A_u_long rowbytes)
{
    const A_u_long used = static_cast<A_u_long>(width) * CVFloatWorld::kBytesPerPixel;
    if (width < 0 || used >= rowbytes) return;
    for (A_long y = 0; y < height; ++y) {
        std::memset(data + static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(rowbytes) + used, 0,
                    rowbytes - used);
    }
}

}  // namespace

CVFloatWorld::CVFloatWorld()
    : width_(0), height_(0), start_offset(0), rowbytes_(0), data_(nullptr)
{
}

CVFloatWorld::CVFloatWorld(A_long w, A_long h)
    : width_(w), height_(h), start_offset(0), rowbytes_(0), data_(nullptr)
{
    setup();
}

CVFloatWorld::CVFloatWorld(const PF_LayerDef& layer)
    : width_(layer.extent_hint.right - layer.extent_hint.left),
      height_(layer.extent_hint.bottom - layer.extent_hint.top),
      start_offset(0),
      rowbytes_(0),
      data_(nullptr)
{
    setup();
    copy_from_PF_World(layer, nullptr);
}

// Never used: copying is disabled, the bodies only keep the members defined.
CVFloatWorld::CVFloatWorld(const CVFloatWorld&)
{
    width_ = 0;
    height_ = 0;
    rowbytes_ = 0;
}

CVFloatWorld& CVFloatWorld::operator=(const CVFloatWorld&)
{
    return *this;
}

CVFloatWorld::~CVFloatWorld()
{
    setdown();
}

void CVFloatWorld::resize(A_long w, A_long h)
{
    setdown();
    width_ = w;
    height_ = h;
    rowbytes_ = calculate_rowbytes(w);
    setup();
}

A_u_long CVFloatWorld::calculate_rowbytes(A_long)
{
    return static_cast<A_u_long>((width_ + 3) & ~3) * kBytesPerPixel;
}

void CVFloatWorld::setup()
{
    rowbytes_ = calculate_rowbytes(width_);
    start_offset = world_number_ << kStaggerShift;
    const A_u_long size = static_cast<A_u_long>(height_) * rowbytes_ + start_offset;
    void* block = DAE::AllocateHandleMemory(size);
    // A failed allocation leaves data at the bare offset unless the stagger
    // was 0; setdown recognises both by the block address.
    data_ = reinterpret_cast<float*>(reinterpret_cast<std::uintptr_t>(block) + start_offset);
    if (block != nullptr) {
        clear_row_padding(reinterpret_cast<char*>(data_), width_, height_, rowbytes_);
    }
    ++world_number_;
    if (world_number_ >= kStaggerCount) {
        world_number_ = 0;
    }
}

void CVFloatWorld::setdown()
{
    if (data_ != nullptr) {
        const std::uintptr_t block = reinterpret_cast<std::uintptr_t>(data_) - start_offset;
        if (block != 0) {
            DAE::FreeHandleMemory(reinterpret_cast<void*>(block));
        }
        data_ = nullptr;
    }
}

A_long CVFloatWorld::width() const { return width_; }
A_long CVFloatWorld::height() const { return height_; }
A_u_long CVFloatWorld::rowbytes() const { return rowbytes_; }

float* CVFloatWorld::data_ptr() const { return data_; }
CVFloatWorld::tPixel* CVFloatWorld::pixel_ptr() const { return reinterpret_cast<tPixel*>(data_); }

float* CVFloatWorld::data_row_ptr(A_long y) const
{
    return reinterpret_cast<float*>(reinterpret_cast<char*>(data_) +
                                    static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(rowbytes_));
}

CVFloatWorld::tPixel* CVFloatWorld::pixel_row_ptr(A_long y) const
{
    return reinterpret_cast<tPixel*>(data_row_ptr(y));
}

float* CVFloatWorld::data_at_point(A_long x, A_long y) const
{
    return data_row_ptr(y) + static_cast<std::ptrdiff_t>(x) * kFloatsPerPixel;
}

CVFloatWorld::tPixel* CVFloatWorld::pixel_at_point(A_long x, A_long y) const
{
    return reinterpret_cast<tPixel*>(data_at_point(x, y));
}

float* CVFloatWorld::data_end_ptr() const { return data_row_ptr(height_); }
CVFloatWorld::tPixel* CVFloatWorld::pixel_end_ptr() const { return pixel_row_ptr(height_); }

void CVFloatWorld::copy_into_at(CVFloatWorld& dst, A_long x, A_long y) const
{
    const A_u_long room = dst.rowbytes_ - static_cast<A_u_long>(x) * kBytesPerPixel;
    const A_u_long bytes = rowbytes_ < room ? rowbytes_ : room;
    const A_long dst_rows = dst.height_ - y;
    const A_long rows = height_ < dst_rows ? height_ : dst_rows;
    for (A_long r = 0; r < rows; ++r) {
        std::memcpy(dst.data_at_point(x, r + y), data_row_ptr(r), bytes);
    }
}

void CVFloatWorld::copy_into(CVFloatWorld& dst) const
{
    copy_into_at(dst, 0, 0);
}

void CVFloatWorld::fill(const tPixel& pixel)
{
    if (cpu_has_simd()) {
        float_world_kernels::fill_simd(*this, pixel);
    } else {
        float_world_kernels::fill_regular(*this, pixel);
    }
}

void CVFloatWorld::blend_over(CVFloatWorld& dst, float t) const
{
    if (cpu_has_simd()) {
        float_world_kernels::blend_over_simd(*this, dst, t);
    } else {
        float_world_kernels::blend_over_regular(*this, dst, t);
    }
}

namespace float_world_kernels {

void fill_regular(CVFloatWorld& world, const CVFloatWorld::tPixel& pixel)
{
    const A_long w = world.width();
    for (A_long y = 0; y < world.height(); ++y) {
        CVFloatWorld::tPixel* row = world.pixel_row_ptr(y);
        for (A_long x = 0; x < w; x += 2) {
            row[x] = pixel;
            row[x + 1] = pixel;
        }
    }
}

void fill_simd(CVFloatWorld& world, const CVFloatWorld::tPixel& pixel)
{
    const __m128 v = _mm_loadu_ps(&pixel.alpha);
    const A_long w = world.width();
    for (A_long y = 0; y < world.height(); ++y) {
        float* row = world.data_row_ptr(y);
        for (A_long x = 0; x < w; x += 2) {
            _mm_store_ps(row + 4 * x, v);
            _mm_store_ps(row + 4 * x + 4, v);
        }
    }
}

void blend_over_regular(const CVFloatWorld& src, CVFloatWorld& dst, float t)
{
    const A_long rows = src.height() < dst.height() ? src.height() : dst.height();
    const A_long cols = src.width() < dst.width() ? src.width() : dst.width();
    const float u = 1.0f - t;
    for (A_long y = 0; y < rows; ++y) {
        const float* s = src.data_row_ptr(y);
        float* d = dst.data_row_ptr(y);
        for (A_long x = 0; x < cols; x += 2) {
            for (int c = 0; c < 8; ++c) {
                d[4 * x + c] = s[4 * x + c] * t + d[4 * x + c] * u;
            }
        }
    }
}

void blend_over_simd(const CVFloatWorld& src, CVFloatWorld& dst, float t)
{
    const A_long rows = src.height() < dst.height() ? src.height() : dst.height();
    const A_long cols = src.width() < dst.width() ? src.width() : dst.width();
    const __m128 tv = _mm_set1_ps(t);
    const __m128 uv = _mm_set1_ps(1.0f - t);
    for (A_long y = 0; y < rows; ++y) {
        const float* s = src.data_row_ptr(y);
        float* d = dst.data_row_ptr(y);
        for (A_long x = 0; x < cols; x += 2) {
            const __m128 s0 = _mm_load_ps(s + 4 * x);
            const __m128 s1 = _mm_load_ps(s + 4 * x + 4);
            const __m128 d0 = _mm_load_ps(d + 4 * x);
            const __m128 d1 = _mm_load_ps(d + 4 * x + 4);
            _mm_store_ps(d + 4 * x, _mm_add_ps(_mm_mul_ps(s0, tv), _mm_mul_ps(d0, uv)));
            _mm_store_ps(d + 4 * x + 4, _mm_add_ps(_mm_mul_ps(s1, tv), _mm_mul_ps(d1, uv)));
        }
    }
}

}  // namespace float_world_kernels

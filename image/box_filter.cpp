#include "image/box_filter.h"

#include <emmintrin.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "dae/host_memory.h"
#include "image/cpu_features.h"
#include "image/float_world.h"

namespace {

// Both forms are written once over a four-channel value type, so that the
// regular and SIMD variants perform the same float operations in the same
// order: sum = r * p0, then + p[0] ... p[r]; each step (sum + entering) -
// leaving; out = |sum * inv|.

struct Regular {
    struct V {
        float c[4];
    };
    static V load(const float* p) { return V{{p[0], p[1], p[2], p[3]}}; }
    static void store(float* p, const V& v)
    {
        for (int i = 0; i < 4; ++i) {
            p[i] = v.c[i];
        }
    }
    static V splat(float f) { return V{{f, f, f, f}}; }
    static V add(const V& a, const V& b)
    {
        return V{{a.c[0] + b.c[0], a.c[1] + b.c[1], a.c[2] + b.c[2], a.c[3] + b.c[3]}};
    }
    static V sub(const V& a, const V& b)
    {
        return V{{a.c[0] - b.c[0], a.c[1] - b.c[1], a.c[2] - b.c[2], a.c[3] - b.c[3]}};
    }
    static V mul(const V& a, const V& b)
    {
        return V{{a.c[0] * b.c[0], a.c[1] * b.c[1], a.c[2] * b.c[2], a.c[3] * b.c[3]}};
    }
    static V abs(const V& a)
    {
        return V{{std::fabs(a.c[0]), std::fabs(a.c[1]), std::fabs(a.c[2]), std::fabs(a.c[3])}};
    }
    // Alpha (channel 0) from the source pixel, colour from the mean.
    static V alpha_from(const V& mean, const V& src) { return V{{src.c[0], mean.c[1], mean.c[2], mean.c[3]}}; }
    static void prefetch(const float*) {}
};

struct Simd {
    using V = __m128;
    static V load(const float* p) { return _mm_load_ps(p); }
    static void store(float* p, V v) { _mm_store_ps(p, v); }
    static V splat(float f) { return _mm_set1_ps(f); }
    static V add(V a, V b) { return _mm_add_ps(a, b); }
    static V sub(V a, V b) { return _mm_sub_ps(a, b); }
    static V mul(V a, V b) { return _mm_mul_ps(a, b); }
    static V abs(V a) { return _mm_and_ps(a, _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF))); }
    static V alpha_from(V mean, V src)
    {
        const V lane0 = _mm_castsi128_ps(_mm_set_epi32(0, 0, 0, -1));
        return _mm_or_ps(_mm_and_ps(lane0, src), _mm_andnot_ps(lane0, mean));
    }
    static void prefetch(const float* p) { _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0); }
};

inline A_long clamp_index(std::int64_t i, A_long n)
{
    if (i < 0) {
        return 0;
    }
    if (i > n - 1) {
        return n - 1;
    }
    return static_cast<A_long>(i);
}

inline float reciprocal_of_window(A_long r)
{
    return 1.0f / static_cast<float>(2 * static_cast<std::int64_t>(r) + 1);
}

// The running mean of one line of n pixels, `stride` floats apart, into a
// line `out_stride` floats apart: the horizontal pass walks a row, the
// per-column vertical pass a column. Only the horizontal pass keeps the
// source alpha.
template <typename Ops, bool kKeepAlpha>
void running_mean(const float* p, std::ptrdiff_t stride, float* d, std::ptrdiff_t out_stride, A_long n, A_long r,
                  typename Ops::V inv, typename Ops::V fr)
{
    using V = typename Ops::V;
    V sum = Ops::mul(fr, Ops::load(p));
    for (A_long i = 0; i <= r; ++i) {
        sum = Ops::add(sum, Ops::load(p + stride * clamp_index(i, n)));
    }
    for (A_long x = 0; x < n; ++x) {
        const V mean = Ops::abs(Ops::mul(sum, inv));
        Ops::store(d + out_stride * x, kKeepAlpha ? Ops::alpha_from(mean, Ops::load(p + stride * x)) : mean);
        const A_long enter = clamp_index(static_cast<std::int64_t>(x) + r + 1, n);
        const A_long leave = clamp_index(static_cast<std::int64_t>(x) - r, n);
        Ops::prefetch(p + stride * clamp_index(static_cast<std::int64_t>(enter) + 1, n));
        sum = Ops::sub(Ops::add(sum, Ops::load(p + stride * enter)), Ops::load(p + stride * leave));
    }
}

template <typename Ops>
void horizontal(const CVFloatWorld& src, CVFloatWorld& dst, A_long r)
{
    if (src.width() <= 0) {
        return;
    }
    r = r < 0 ? 0 : r;
    const auto inv = Ops::splat(reciprocal_of_window(r));
    const auto fr = Ops::splat(static_cast<float>(r));
    for (A_long y = 0; y < src.height(); ++y) {
        running_mean<Ops, true>(src.data_row_ptr(y), 4, dst.data_row_ptr(y), 4, src.width(), r, inv, fr);
    }
}

template <typename Ops>
void vertical_columns(const CVFloatWorld& src, CVFloatWorld& dst, A_long r)
{
    if (dst.height() <= 0) {
        return;
    }
    r = r < 0 ? 0 : r;
    const auto inv = Ops::splat(reciprocal_of_window(r));
    const auto fr = Ops::splat(static_cast<float>(r));
    const std::ptrdiff_t in_stride = src.rowbytes() / sizeof(float);
    const std::ptrdiff_t out_stride = dst.rowbytes() / sizeof(float);
    for (A_long x = 0; x < dst.width(); ++x) {
        running_mean<Ops, false>(src.data_at_point(x, 0), in_stride, dst.data_at_point(x, 0), out_stride,
                                 dst.height(), r, inv, fr);
    }
}

template <typename Ops>
void vertical_rows(const CVFloatWorld& src, CVFloatWorld& dst, A_long r)
{
    using V = typename Ops::V;
    const A_long w = dst.width();
    const A_long h = dst.height();
    if (h <= 0) {
        return;
    }
    r = r < 0 ? 0 : r;
    float* sums = static_cast<float*>(DAE::AllocateHandleMemory(src.rowbytes()));
    if (sums == nullptr) {
        vertical_columns<Ops>(src, dst, r);
        return;
    }
    const V inv = Ops::splat(reciprocal_of_window(r));
    const V fr = Ops::splat(static_cast<float>(r));
    {
        const float* row0 = src.data_row_ptr(0);
        for (A_long x = 0; x < w; ++x) {
            Ops::store(sums + 4 * x, Ops::mul(fr, Ops::load(row0 + 4 * x)));
        }
    }
    for (A_long i = 0; i <= r; ++i) {
        const float* row = src.data_row_ptr(clamp_index(i, h));
        for (A_long x = 0; x < w; ++x) {
            Ops::store(sums + 4 * x, Ops::add(Ops::load(sums + 4 * x), Ops::load(row + 4 * x)));
        }
    }
    // With 2r + 2 < h the clamps reproduce the three phases of the walk:
    // rows 0 .. r - 1 drop row 0, the middle drops row y - r and adds row
    // y + r + 1, the last rows add row h - 1.
    for (A_long y = 0; y < h; ++y) {
        float* d = dst.data_row_ptr(y);
        const float* in = src.data_row_ptr(clamp_index(static_cast<std::int64_t>(y) + r + 1, h));
        const float* out = src.data_row_ptr(clamp_index(static_cast<std::int64_t>(y) - r, h));
        for (A_long x = 0; x < w; ++x) {
            const V s = Ops::load(sums + 4 * x);
            Ops::store(d + 4 * x, Ops::abs(Ops::mul(s, inv)));
            Ops::store(sums + 4 * x, Ops::sub(Ops::add(s, Ops::load(in + 4 * x)), Ops::load(out + 4 * x)));
        }
    }
    DAE::FreeHandleMemory(sums);
}

// The horizontal pass with radius rh from src, then the vertical pass with
// radius rv (row form) into dst, the horizontal rows made just before the
// vertical walk first needs them, into a ring of 2 rv + 2 rows that stays in
// cache: the same row values and the same operations on them as the two
// passes through a whole intermediate image. False (dst untouched) when the
// row form does not apply or host memory for the ring runs out.
template <typename Ops>
bool horizontal_then_vertical(const CVFloatWorld& src, CVFloatWorld& dst, A_long rh, A_long rv)
{
    using V = typename Ops::V;
    const A_long w = dst.width();
    const A_long h = dst.height();
    rh = rh < 0 ? 0 : rh;
    rv = rv < 0 ? 0 : rv;
    if (h <= 0 || w <= 0 || src.width() <= 0 || 2 * static_cast<std::int64_t>(rv) + 2 >= h || src.height() < h)
        return false;
    const A_long ringRows = 2 * rv + 2;
    CVFloatWorld ring(src.width(), ringRows);
    // A failed block leaves the image pointing at its bare stagger offset.
    constexpr std::uintptr_t kNoBlockBelow = 64 * 1024;
    if (reinterpret_cast<std::uintptr_t>(ring.data_ptr()) < kNoBlockBelow) return false;
    float* sums = static_cast<float*>(DAE::AllocateHandleMemory(ring.rowbytes()));
    if (sums == nullptr) return false;

    const V hinv = Ops::splat(reciprocal_of_window(rh));
    const V hfr = Ops::splat(static_cast<float>(rh));
    A_long made = 0;  // horizontal rows made so far
    auto row = [&](A_long y) -> const float* {
        for (; made <= y; ++made)
            running_mean<Ops, true>(src.data_row_ptr(made), 4, ring.data_row_ptr(made % ringRows), 4, src.width(),
                                    rh, hinv, hfr);
        return ring.data_row_ptr(y % ringRows);
    };

    const V inv = Ops::splat(reciprocal_of_window(rv));
    const V fr = Ops::splat(static_cast<float>(rv));
    {
        const float* row0 = row(0);
        for (A_long x = 0; x < w; ++x) Ops::store(sums + 4 * x, Ops::mul(fr, Ops::load(row0 + 4 * x)));
    }
    for (A_long i = 0; i <= rv; ++i) {
        const float* r = row(clamp_index(i, h));
        for (A_long x = 0; x < w; ++x)
            Ops::store(sums + 4 * x, Ops::add(Ops::load(sums + 4 * x), Ops::load(r + 4 * x)));
    }
    for (A_long y = 0; y < h; ++y) {
        float* d = dst.data_row_ptr(y);
        const float* in = row(clamp_index(static_cast<std::int64_t>(y) + rv + 1, h));
        const float* out = row(clamp_index(static_cast<std::int64_t>(y) - rv, h));
        for (A_long x = 0; x < w; ++x) {
            const V s = Ops::load(sums + 4 * x);
            Ops::store(d + 4 * x, Ops::abs(Ops::mul(s, inv)));
            Ops::store(sums + 4 * x, Ops::sub(Ops::add(s, Ops::load(in + 4 * x)), Ops::load(out + 4 * x)));
        }
    }
    DAE::FreeHandleMemory(sums);
    return true;
}

}  // namespace

namespace box_filter_forms {

bool horizontal_vertical_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long rh, A_long rv)
{
    return horizontal_then_vertical<Regular>(src, dst, rh, rv);
}
bool horizontal_vertical_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long rh, A_long rv)
{
    return horizontal_then_vertical<Simd>(src, dst, rh, rv);
}

void horizontal_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long r) { horizontal<Regular>(src, dst, r); }
void horizontal_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long r) { horizontal<Simd>(src, dst, r); }

void vertical_columns_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long r)
{
    vertical_columns<Regular>(src, dst, r);
}
void vertical_columns_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long r)
{
    vertical_columns<Simd>(src, dst, r);
}

void vertical_rows_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long r) { vertical_rows<Regular>(src, dst, r); }
void vertical_rows_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long r) { vertical_rows<Simd>(src, dst, r); }

}  // namespace box_filter_forms

void box_filter_horizontal(const CVFloatWorld& src, CVFloatWorld& dst, A_long r)
{
    if (cpu_has_simd()) {
        box_filter_forms::horizontal_simd(src, dst, r);
    } else {
        box_filter_forms::horizontal_regular(src, dst, r);
    }
}

void box_filter_vertical(const CVFloatWorld& src, CVFloatWorld& dst, A_long r)
{
    const bool simd = cpu_has_simd();
    const bool short_image = 2 * static_cast<std::int64_t>(r) + 2 >= dst.height();
    if (short_image) {
        if (simd) {
            box_filter_forms::vertical_columns_simd(src, dst, r);
        } else {
            box_filter_forms::vertical_columns_regular(src, dst, r);
        }
    } else if (simd) {
        box_filter_forms::vertical_rows_simd(src, dst, r);
    } else {
        box_filter_forms::vertical_rows_regular(src, dst, r);
    }
}

bool box_filter_horizontal_vertical(const CVFloatWorld& src, CVFloatWorld& dst, A_long rh, A_long rv)
{
    return cpu_has_simd() ? box_filter_forms::horizontal_vertical_simd(src, dst, rh, rv)
                          : box_filter_forms::horizontal_vertical_regular(src, dst, rh, rv);
}

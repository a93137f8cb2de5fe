// Image core: every operation on a 1920 x 540 field and a 1920 x 1080 frame,
// both variants where there are two; box filters at r = 1 and r = 12.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#include "headless/inproc/scoped_host.h"
#include "image/box_filter.h"
#include "image/float_world.h"
#include "image/float_world_kernels.h"
#include "image/median_filter.h"
#include "image/single_float_world.h"
#include "tests/image/float_world_access.h"

namespace {

using Access = CVFloatWorldTestAccess;
using tPixel = CVFloatWorld::tPixel;

void randomize(CVFloatWorld& w)
{
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> d(0.0f, 1.0f);
    const A_long floats = static_cast<A_long>(w.rowbytes() / 4);
    for (A_long y = 0; y < w.height(); ++y) {
        float* row = w.data_row_ptr(y);
        for (A_long i = 0; i < floats; ++i) {
            row[i] = d(rng);
        }
    }
}

// Per benchmark: a host command, a random source image of the size asked
// for, a destination of the same size and an integer buffer that fits both
// depths.
struct Setup {
    explicit Setup(const benchmark::State& state)
        : w(static_cast<A_long>(state.range(0))),
          h(static_cast<A_long>(state.range(1))),
          src(w, h),
          dst(w, h),
          ints(static_cast<size_t>(w + 1) * h * 8)
    {
        randomize(src);
        randomize(dst);
        std::mt19937 rng(3);
        for (auto& b : ints) {
            b = static_cast<unsigned char>(rng());
        }
    }
    A_u_char* bytes8() { return ints.data(); }
    A_u_short* words16() { return reinterpret_cast<A_u_short*>(ints.data()); }
    A_u_long rb8() const { return static_cast<A_u_long>(w) * 4; }
    A_u_long rb16() const { return static_cast<A_u_long>(w + 1) * 8; }
    void count(benchmark::State& state) const
    {
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(w) * h);
    }

    headless::ScopedHostContext ctx;
    A_long w;
    A_long h;
    CVFloatWorld src;
    CVFloatWorld dst;
    std::vector<unsigned char> ints;
};

#define IMAGE_SIZES ->Args({1920, 540})->Args({1920, 1080})->Unit(benchmark::kMillisecond)

// ---- conversions

void BM_From8Regular(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::from8_regular(s.dst, s.rb8(), s.bytes8());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_From8Regular) IMAGE_SIZES;

void BM_From8Simd(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::from8_simd(s.dst, s.rb8(), s.bytes8());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_From8Simd) IMAGE_SIZES;

void BM_From16Regular(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::from16_regular(s.dst, s.rb16(), s.words16());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_From16Regular) IMAGE_SIZES;

void BM_From16Simd(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::from16_simd(s.dst, s.rb16(), s.words16());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_From16Simd) IMAGE_SIZES;

void BM_To8Regular(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::to8_regular(s.src, s.w, s.h, s.rb8(), s.bytes8());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_To8Regular) IMAGE_SIZES;

void BM_To8Simd(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::to8_simd(s.src, s.w, s.h, s.rb8(), s.bytes8());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_To8Simd) IMAGE_SIZES;

void BM_To16Regular(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::to16_regular(s.src, s.w, s.h, s.rb16(), s.words16());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_To16Regular) IMAGE_SIZES;

void BM_To16Simd(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        Access::to16_simd(s.src, s.w, s.h, s.rb16(), s.words16());
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_To16Simd) IMAGE_SIZES;

// The host-layer wrappers, 8-bit, whole extent, on whichever path the
// processor selects.
void BM_CopyFromToPFWorld(benchmark::State& state)
{
    Setup s(state);
    PF_LayerDef layer{};
    layer.data = reinterpret_cast<PF_Pixel*>(s.bytes8());
    layer.rowbytes = static_cast<A_long>(s.rb8());
    layer.width = s.w;
    layer.height = s.h;
    layer.extent_hint = PF_UnionableRect{0, 0, s.w, s.h};
    for (auto _ : state) {
        s.dst.copy_from_PF_World(layer, nullptr);
        s.dst.copy_to_PF_World(layer, nullptr);
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_CopyFromToPFWorld) IMAGE_SIZES;

// ---- copies, scaling, fill, blend

void BM_CopyInto(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        s.src.copy_into(s.dst);
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_CopyInto) IMAGE_SIZES;

// A field doubled to a frame's height, and a frame halved to a field's.
void BM_CopyScalingInto(benchmark::State& state)
{
    Setup s(state);
    const A_long other_h = s.h == 540 ? 1080 : 540;
    CVFloatWorld other(s.w, other_h);
    for (auto _ : state) {
        s.src.copy_scaling_into(other, nullptr);
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_CopyScalingInto) IMAGE_SIZES;

void BM_FillRegular(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        float_world_kernels::fill_regular(s.dst, tPixel{1, 0.5f, 0.25f, 0});
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_FillRegular) IMAGE_SIZES;

void BM_FillSimd(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        float_world_kernels::fill_simd(s.dst, tPixel{1, 0.5f, 0.25f, 0});
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_FillSimd) IMAGE_SIZES;

void BM_BlendOverRegular(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        float_world_kernels::blend_over_regular(s.src, s.dst, 0.5f);
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_BlendOverRegular) IMAGE_SIZES;

void BM_BlendOverSimd(benchmark::State& state)
{
    Setup s(state);
    for (auto _ : state) {
        float_world_kernels::blend_over_simd(s.src, s.dst, 0.5f);
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_BlendOverSimd) IMAGE_SIZES;

void BM_SingleToFloatWorld(benchmark::State& state)
{
    Setup s(state);
    CVSingleFloatWorld grey(s.w, s.h);
    for (A_long y = 0; y < s.h; ++y) {
        std::fill(grey.row_ptr(y), grey.row_ptr(y) + s.w, 0.5f);
    }
    for (auto _ : state) {
        grey.copy_to_float_world(s.dst);
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_SingleToFloatWorld) IMAGE_SIZES;

// ---- box filters: the third argument is the radius

using BoxForm = void (*)(const CVFloatWorld&, CVFloatWorld&, A_long);

void run_box(benchmark::State& state, BoxForm form)
{
    Setup s(state);
    const A_long r = static_cast<A_long>(state.range(2));
    for (auto _ : state) {
        form(s.src, s.dst, r);
        benchmark::ClobberMemory();
    }
    s.count(state);
}

#define BOX_SIZES                                                                                      \
    ->Args({1920, 540, 1})->Args({1920, 540, 12})->Args({1920, 1080, 1})->Args({1920, 1080, 12})->Unit( \
        benchmark::kMillisecond)

void BM_BoxHorizontalRegular(benchmark::State& state) { run_box(state, box_filter_forms::horizontal_regular); }
BENCHMARK(BM_BoxHorizontalRegular) BOX_SIZES;
void BM_BoxHorizontalSimd(benchmark::State& state) { run_box(state, box_filter_forms::horizontal_simd); }
BENCHMARK(BM_BoxHorizontalSimd) BOX_SIZES;
void BM_BoxVerticalRowsRegular(benchmark::State& state) { run_box(state, box_filter_forms::vertical_rows_regular); }
BENCHMARK(BM_BoxVerticalRowsRegular) BOX_SIZES;
void BM_BoxVerticalRowsSimd(benchmark::State& state) { run_box(state, box_filter_forms::vertical_rows_simd); }
BENCHMARK(BM_BoxVerticalRowsSimd) BOX_SIZES;
void BM_BoxVerticalColumnsRegular(benchmark::State& state)
{
    run_box(state, box_filter_forms::vertical_columns_regular);
}
BENCHMARK(BM_BoxVerticalColumnsRegular) BOX_SIZES;
void BM_BoxVerticalColumnsSimd(benchmark::State& state) { run_box(state, box_filter_forms::vertical_columns_simd); }
BENCHMARK(BM_BoxVerticalColumnsSimd) BOX_SIZES;

// ---- median filters: the third argument is the filter number (3x3, 5x5, 7x7)

void BM_DeartifactMedian(benchmark::State& state)
{
    Setup s(state);
    const A_long filter = static_cast<A_long>(state.range(2));
    for (auto _ : state) {
        deartifact_median(s.src, filter, s.dst);
        benchmark::ClobberMemory();
    }
    s.count(state);
}
BENCHMARK(BM_DeartifactMedian)
    ->Args({1920, 540, 1})
    ->Args({1920, 540, 2})
    ->Args({1920, 540, 3})
    ->Args({1920, 1080, 1})
    ->Args({1920, 1080, 2})
    ->Args({1920, 1080, 3})
    ->Unit(benchmark::kMillisecond);

}  // namespace

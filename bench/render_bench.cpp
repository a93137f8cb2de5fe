// Render pipeline part A: the motion map, the edge image and the field
// helpers on a 1920 x 540 field, and whole renders through the entry point
// (NTSC to 29.97, full quality, "Result") at 720 x 480 and 1920 x 1080.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "headless/effect.h"
#include "headless/inproc/scoped_host.h"
#include "host/entry_point.h"
#include "image/cpu_features.h"
#include "image/float_world.h"
#include "render/difference_world.h"
#include "render/field_frames.h"
#include "render/gradient_world.h"
#include "render/render_settings.h"

namespace {

constexpr A_long kFieldWidth = 1920;
constexpr A_long kFieldHeight = 540;

// Moving diagonal bands with a little noise: edges everywhere, motion in
// parts of the picture.
float BandValue(A_long x, A_long y, A_long shift, int channel)
{
    const A_long band = ((x + shift) + 2 * y) / 23 + ((x + shift) - 3 * y) / 41;
    return 0.15f + 0.7f * static_cast<float>((band + channel) % 4) / 3.0f;
}

void FillBands(CVFloatWorld& field, A_long shift, std::mt19937& rng)
{
    std::uniform_real_distribution<float> noise(-0.01f, 0.01f);
    for (A_long y = 0; y < field.height(); ++y) {
        float* p = field.data_row_ptr(y);
        for (A_long x = 0; x < field.width(); ++x, p += 4) {
            p[0] = 1.0f;
            for (int c = 1; c < 4; ++c) p[c] = BandValue(x, y, x < field.width() / 2 ? shift : 0, c) + noise(rng);
        }
    }
}

struct FieldScene {
    FieldScene()
    {
        std::mt19937 rng(7);
        for (int i = 0; i < 4; ++i) {
            fields[i].resize(kFieldWidth, kFieldHeight);
            FillBands(fields[i], 3 * i, rng);
        }
    }
    headless::ScopedHostContext ctx;
    CVFloatWorld fields[4];
};

void BM_DifferenceCompute(benchmark::State& state)
{
    FieldScene scene;
    CVDifferenceWorld map(kFieldWidth, kFieldHeight);
    map.SetParameters(kDiffLow, kDiffHigh, kDiffSpread, 20.0f);
    for (auto _ : state) {
        map.Compute(false, scene.fields[0], scene.fields[1], scene.fields[2], scene.fields[3]);
        benchmark::DoNotOptimize(map.data);
    }
    state.SetItemsProcessed(state.iterations() * kFieldWidth * kFieldHeight);
}
BENCHMARK(BM_DifferenceCompute)->Unit(benchmark::kMillisecond);

void BM_GradientCompute(benchmark::State& state)
{
    FieldScene scene;
    CVGradientWorld gradient(kFieldWidth, kFieldHeight);
    gradient.SetThreshold(kGradientThreshold);
    for (auto _ : state) {
        gradient.Compute(scene.fields[2]);
        benchmark::DoNotOptimize(gradient.data);
    }
    state.SetItemsProcessed(state.iterations() * kFieldWidth * kFieldHeight);
}
BENCHMARK(BM_GradientCompute)->Unit(benchmark::kMillisecond);

void BM_SplitAndBuildFrame(benchmark::State& state)
{
    FieldScene scene;
    CVFloatWorld frame(kFieldWidth, 2 * kFieldHeight);
    CVFloatWorld upper(kFieldWidth, kFieldHeight), lower(kFieldWidth, kFieldHeight);
    for (auto _ : state) {
        BuildFrameFromField(scene.fields[2], frame, true);
        SplitFields(frame, &upper, &lower);
        benchmark::DoNotOptimize(lower.data_ptr());
    }
    state.SetItemsProcessed(state.iterations() * kFieldWidth * kFieldHeight);
}
BENCHMARK(BM_SplitAndBuildFrame)->Unit(benchmark::kMillisecond);

// args: width, height, deep, variant (0 what the capability test answers, 1
// regular, 2 SIMD)
void BM_Render(benchmark::State& state)
{
    const A_long w = static_cast<A_long>(state.range(0));
    const A_long h = static_cast<A_long>(state.range(1));
    const bool deep = state.range(2) != 0;
    cpu_features::force_simd_answer(static_cast<int>(state.range(3)) - 1);
    std::vector<headless::World> frames;
    for (A_long f = 0; f < 4; ++f) {
        headless::World world(w, h, deep);
        for (A_long y = 0; y < h; ++y)
            for (A_long x = 0; x < w; ++x) {
                // Odd lines a field later: the bands move between fields.
                const A_long shift = 6 * f + 3 * (y & 1);
                const A_u_char r = static_cast<A_u_char>(255.0f * BandValue(x, y, x < w / 2 ? shift : 0, 1));
                const A_u_char g = static_cast<A_u_char>(255.0f * BandValue(x, y, x < w / 2 ? shift : 0, 2));
                const A_u_char b = static_cast<A_u_char>(255.0f * BandValue(x, y, x < w / 2 ? shift : 0, 3));
                if (deep)
                    *world.pixel16(x, y) = PF_Pixel16{32768, static_cast<A_u_short>(r * 128),
                                                      static_cast<A_u_short>(g * 128), static_cast<A_u_short>(b * 128)};
                else
                    *world.pixel8(x, y) = PF_Pixel{255, r, g, b};
            }
        frames.push_back(std::move(world));
    }
    headless::EffectInstance fx(&EntryPointFunc);
    fx.host().set_recycle_memory(true);  // memory as a real host gives it
    if (fx.setup() != PF_Err_NONE) {
        state.SkipWithError("effect set-up failed");
        return;
    }
    fx.set_input(headless::InputClip::from_frames(std::move(frames), 29.97));
    fx.set_comp_rate(29.97);
    fx.set_popup(kParamSourceVideo, 1);
    fx.set_popup(kParamFieldOrder, 1);
    fx.set_frame(1);
    // One render first: a host that renders frame after frame has its memory
    // warm, and the figure is the per-frame cost from then on.
    if (fx.render() != PF_Err_NONE) {
        state.SkipWithError("render failed");
        return;
    }
    for (auto _ : state) {
        if (fx.render() != PF_Err_NONE) {
            state.SkipWithError("render failed");
            break;
        }
    }
    state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    cpu_features::force_simd_answer(-1);
}
BENCHMARK(BM_Render)
    ->Args({720, 480, 0, 0})
    ->Args({720, 480, 1, 0})
    ->Args({1920, 1080, 0, 0})
    ->Args({1920, 1080, 1, 0})
    ->Args({1920, 1080, 0, 1})
    ->Args({1920, 1080, 1, 1})
    ->Args({1920, 1080, 0, 2})
    ->Args({1920, 1080, 1, 2})
    // A 1080 render is about 70 ms: make bench's 0.2 s would time three
    // frames, too few to read a rate off.
    ->MinTime(1.5)
    ->Unit(benchmark::kMillisecond);

}  // namespace

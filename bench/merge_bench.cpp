// Merge stage on a 1920 x 540 field (its 1920 x 1080 frame) and deartifacting
// on a 1920 x 1080 frame, each in its vector and scalar build.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

#include "headless/inproc/scoped_host.h"
#include "image/box_filter.h"
#include "image/float_world.h"
#include "render/deartifact.h"
#include "render/difference_world.h"
#include "render/gradient_world.h"
#include "render/merge.h"
#include "render/render_settings.h"

namespace {

constexpr A_long kWidth = 1920;
constexpr A_long kFrameHeight = 1080;
constexpr A_long kFieldHeight = kFrameHeight / 2;

// A picture with edges in every direction: diagonal bands of flat colour
// with a little noise, the next field the same bands two pixels further.
void Bands(CVFloatWorld& field, A_long shift, std::mt19937& rng) {
    std::uniform_real_distribution<float> noise(-0.01f, 0.01f);
    for (A_long y = 0; y < field.height(); ++y) {
        float* p = field.data_row_ptr(y);
        for (A_long x = 0; x < field.width(); ++x, p += 4) {
            const A_long band = ((x + shift) + 2 * y) / 23 + ((x + shift) - 3 * y) / 41;
            p[0] = 1.0f;
            p[1] = 0.2f + 0.6f * static_cast<float>(band % 3) / 2.0f + noise(rng);
            p[2] = 0.3f + 0.5f * static_cast<float>(band % 5) / 4.0f + noise(rng);
            p[3] = 0.1f + 0.8f * static_cast<float>(band % 2) + noise(rng);
        }
    }
}

struct MergeScene {
    explicit MergeScene(A_long movingPercent)
        : field0(kWidth, kFieldHeight),
          plus1(kWidth, kFieldHeight),
          copy(kWidth, kFieldHeight),
          prepared(kWidth, kFieldHeight),
          output(kWidth, kFrameHeight),
          gradient(kWidth, kFieldHeight),
          difference(kWidth, kFieldHeight) {
        std::mt19937 rng(11);
        Bands(field0, 0, rng);
        Bands(plus1, 2, rng);
        field0.copy_into(copy);
        CVFloatWorld horizontal(kWidth, kFieldHeight);
        box_filter_horizontal(copy, horizontal, 4);
        box_filter_vertical(horizontal, prepared, 2);
        gradient.SetThreshold(kGradientThreshold);
        gradient.Compute(field0);
        // The left part of the frame moves, the rest stands still.
        const A_long moving = kWidth * movingPercent / 100;
        for (A_long y = 0; y < kFieldHeight; ++y)
            for (A_long x = 0; x < kWidth; ++x) difference.row_ptr(y)[x] = x < moving ? 1.0f : 0.0f;
        settings.show = kShowResult;
        settings.patternSize = 4;
        settings.searchSpan = 8;
        settings.blendLimit = kBlendLimit;
    }

    double EdgeShare() const {
        long edges = 0;
        for (A_long y = 0; y < kFieldHeight; ++y)
            for (A_long x = 0; x < kWidth; ++x) edges += gradient.row_ptr(y)[x] != 0.0f;
        return static_cast<double>(edges) / (static_cast<double>(kWidth) * kFieldHeight);
    }

    CVFloatWorld field0, plus1, copy, prepared, output;
    CVGradientWorld gradient;
    CVDifferenceWorld difference;
    RenderSettings settings{};
};

// range(0): 1 vector, 0 scalar; range(1): share of the frame that moves, in
// percent (100: every edge pixel is searched, 0: a still frame, nothing is).
void BM_Merge(benchmark::State& state) {
    headless::ScopedHostContext context;
    MergeScene s(static_cast<A_long>(state.range(1)));
    const MergeKernels kernels = MergeKernelsFor(state.range(0) != 0);
    for (auto _ : state) {
        MergeWith(kernels, s.settings, s.field0, s.plus1, true, s.gradient, s.difference, s.copy,
                  s.prepared, s.output, 0, kFieldHeight);
        benchmark::DoNotOptimize(s.output.data_ptr());
    }
    state.counters["edge_share"] = s.EdgeShare();
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kWidth) * kFieldHeight);
}
BENCHMARK(BM_Merge)
    ->ArgNames({"simd", "motion"})
    ->Args({1, 100})
    ->Args({0, 100})
    ->Args({1, 50})
    ->Args({0, 50})
    ->Args({1, 0})
    ->Args({0, 0})
    ->Unit(benchmark::kMillisecond);

// range(0): 1 vector, 0 scalar; range(1): "Deartifacting" popup value 2..4.
void BM_Deartifact(benchmark::State& state) {
    headless::ScopedHostContext context;
    CVFloatWorld frame(kWidth, kFrameHeight), work(kWidth, kFrameHeight),
        scratch(kWidth, kFrameHeight);
    std::mt19937 rng(5);
    Bands(frame, 0, rng);
    const long popup = static_cast<long>(state.range(1));
    const bool simd = state.range(0) != 0;
    for (auto _ : state) {
        state.PauseTiming();
        frame.copy_into(work);
        state.ResumeTiming();
        if (simd) {
            Deartifact_simd(popup, work, scratch);
        } else {
            Deartifact_regular(popup, work, scratch);
        }
        benchmark::DoNotOptimize(work.data_ptr());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kWidth) * kFrameHeight);
}
BENCHMARK(BM_Deartifact)
    ->ArgNames({"simd", "popup"})
    ->ArgsProduct({{1, 0}, {2, 3, 4}})
    ->Unit(benchmark::kMillisecond);

// The luma restore alone (the part after the image core's median).
void BM_RestoreLuma(benchmark::State& state) {
    headless::ScopedHostContext context;
    CVFloatWorld frame(kWidth, kFrameHeight), work(kWidth, kFrameHeight),
        filtered(kWidth, kFrameHeight);
    std::mt19937 rng(5);
    Bands(frame, 0, rng);
    Bands(filtered, 7, rng);
    const bool simd = state.range(0) != 0;
    for (auto _ : state) {
        state.PauseTiming();
        frame.copy_into(work);
        state.ResumeTiming();
        if (simd) {
            RestoreLuma_simd(work, filtered);
        } else {
            RestoreLuma_regular(work, filtered);
        }
        benchmark::DoNotOptimize(work.data_ptr());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kWidth) * kFrameHeight);
}
BENCHMARK(BM_RestoreLuma)->ArgName("simd")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace

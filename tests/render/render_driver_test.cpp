// The render command end to end: the module's entry point driven by the
// headless host, with clips whose fields carry known values.
#include "render/render_driver.h"

#include "headless/effect.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstring>

#include <functional>
#include <memory>
#include <string>

namespace {

using headless::EffectInstance;
using headless::InputClip;
using headless::World;

PF_FilterProc ModuleEntry()
{
    static void* module = dlopen(TESSEN_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    return module ? reinterpret_cast<PF_FilterProc>(dlsym(module, "EntryPointFunc")) : nullptr;
}

// Pixel value of a clip: frame, column, row -> A, R, G, B bytes.
using PixelFn = std::function<PF_Pixel(A_long frame, A_long x, A_long y)>;

InputClip MakeClip(A_long w, A_long h, bool deep, A_long frames, double fps, PixelFn fn)
{
    InputClip clip;
    clip.fps = fps;
    clip.width = w;
    clip.height = h;
    clip.deep = deep;
    clip.frame_count = frames;
    clip.frame = [fn](A_long index, World& into) {
        for (A_long y = 0; y < into.height(); ++y)
            for (A_long x = 0; x < into.width(); ++x) {
                const PF_Pixel p = fn(index, x, y);
                if (into.deep())
                    *into.pixel16(x, y) = PF_Pixel16{static_cast<A_u_short>(p.alpha * 128), static_cast<A_u_short>(p.red * 128),
                                                     static_cast<A_u_short>(p.green * 128), static_cast<A_u_short>(p.blue * 128)};
                else
                    *into.pixel8(x, y) = p;
            }
    };
    return clip;
}

// An alpha that differs from pixel to pixel, so any change shows.
A_u_char AlphaAt(A_long x, A_long y) { return static_cast<A_u_char>(64 + (x * 7 + y * 13) % 180); }

// Field number f of the clip (upper field first: frame f / 2, parity f % 2)
// as a red value.
A_u_char FieldCode(A_long f) { return static_cast<A_u_char>(20 + 8 * f); }

PixelFn FieldCoded()
{
    return [](A_long frame, A_long x, A_long y) {
        const A_u_char v = FieldCode(2 * frame + (y & 1));
        return PF_Pixel{AlphaAt(x, y), v, 100, 50};
    };
}

// A still picture with detail: the same in every frame.
PixelFn StillPicture()
{
    return [](A_long, A_long x, A_long y) {
        return PF_Pixel{AlphaAt(x, y), static_cast<A_u_char>((x * 11 + y * 3) % 251),
                        static_cast<A_u_char>(x * 255 / 64 % 256), static_cast<A_u_char>((y * 17) % 256)};
    };
}

class RenderDriverTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(ModuleEntry(), nullptr) << dlerror(); }

    // A set-up instance with the "Show" popup present.
    void Start(InputClip clip, double compRate, A_long sourceVideo, A_long fieldOrder)
    {
        fx_ = std::make_unique<EffectInstance>(ModuleEntry(), host_);
        fx_->project().set_preference("Wrenfold Suite", "Diagnostic Views", "1");
        ASSERT_EQ(fx_->setup(), PF_Err_NONE);
        ASSERT_EQ(fx_->num_params(), 14);
        baseline_handles_ = host_.live_handles();
        fx_->set_input(std::move(clip));
        fx_->set_comp_rate(compRate);
        fx_->set_popup(kParamSourceVideo, sourceVideo);
        fx_->set_popup(kParamFieldOrder, fieldOrder);
    }

    // Renders frame k; then renders once more outside frame set-up and
    // set-down so that the message and out flags of the render stay visible.
    PF_Err RenderFrame(A_long k)
    {
        fx_->set_frame(k);
        const PF_Err err = fx_->render();
        const PF_Err again = fx_->call(PF_Cmd_RENDER, &fx_->output().def());
        EXPECT_EQ(err, again);
        return err;
    }

    World& Out() { return fx_->output(); }
    World& In() { return fx_->rendered_input(); }

    A_long Red(A_long x, A_long y)
    {
        return Out().deep() ? (Out().pixel16(x, y)->red + 64) / 128 : Out().pixel8(x, y)->red;
    }

    void ExpectInputAlpha()
    {
        for (A_long y = 0; y < Out().height(); ++y)
            for (A_long x = 0; x < Out().width(); ++x) {
                if (Out().deep())
                    ASSERT_EQ(Out().pixel16(x, y)->alpha, In().pixel16(x, y)->alpha) << x << "," << y;
                else
                    ASSERT_EQ(Out().pixel8(x, y)->alpha, In().pixel8(x, y)->alpha) << x << "," << y;
            }
    }

    void ExpectNothingHeld()
    {
        EXPECT_EQ(fx_->outstanding_checkouts(), 0);
        EXPECT_EQ(host_.live_handles(), baseline_handles_);
        EXPECT_TRUE(host_.problems().empty()) << host_.problems().front();
    }

    headless::Host host_;
    std::unique_ptr<EffectInstance> fx_;
    size_t baseline_handles_ = 0;
};

TEST_F(RenderDriverTest, StillClipComesBackInTheMergedLines)
{
    for (bool deep : {false, true}) {
        for (A_long order : {1, 2}) {
            Start(MakeClip(64, 24, deep, 4, 29.97, StillPicture()), 29.97, 1, order);
            ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
            // Field 0 is the first field at 29.97; the merge walks all its
            // rows but the last, writing each into its own frame line.
            const bool upper = order == 1;
            const A_long h0 = upper ? 12 : 12;
            for (A_long y = 0; y + 1 < h0; ++y) {
                const A_long r = 2 * y + (upper ? 0 : 1);
                for (A_long x = 0; x < 64; ++x) {
                    if (deep)
                        ASSERT_EQ(std::memcmp(Out().pixel16(x, r), In().pixel16(x, r), 8), 0) << x << "," << r;
                    else
                        ASSERT_EQ(std::memcmp(Out().pixel8(x, r), In().pixel8(x, r), 4), 0) << x << "," << r;
                }
            }
            ExpectInputAlpha();
            fx_.reset();
        }
    }
}

TEST_F(RenderDriverTest, OnlyTheExtentIsWritten)
{
    // An extent of odd width starting on an odd line: the field order flips
    // with it, the still picture still comes back in the merged lines, and
    // nothing outside the extent changes (16-bit rows are written in pixel
    // pairs, so the column right of an odd extent is the one at risk).
    for (bool deep : {false, true}) {
        Start(MakeClip(64, 24, deep, 4, 29.97, StillPicture()), 29.97, 1, 1);
        const PF_Rect e{8, 3, 47, 21};
        fx_->set_extent_hint(e);
        ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
        for (A_long y = 0; y < 24; ++y)
            for (A_long x = 0; x < 64; ++x) {
                const bool inside = x >= e.left && x < e.right && y >= e.top && y < e.bottom;
                const A_long alpha = deep ? Out().pixel16(x, y)->alpha : Out().pixel8(x, y)->alpha;
                const A_long inAlpha = deep ? In().pixel16(x, y)->alpha : In().pixel8(x, y)->alpha;
                if (!inside) {
                    ASSERT_EQ(alpha + Red(x, y), 0) << x << "," << y;
                    continue;
                }
                ASSERT_EQ(alpha, inAlpha) << x << "," << y;
            }
        // Extent line 0 is layer line 3, a line of the second field; with the
        // swapped order Field 0 is still the layer's upper (first) field,
        // now on the extent's odd lines, all but its last one merged.
        for (A_long y = e.top + 1; y < e.bottom - 2; y += 2)
            for (A_long x = e.left; x < e.right; ++x) {
                const A_long inRed = deep ? (In().pixel16(x, y)->red + 64) / 128 : In().pixel8(x, y)->red;
                ASSERT_EQ(Red(x, y), inRed) << deep << " " << x << "," << y;
            }
        fx_.reset();
    }
}

TEST_F(RenderDriverTest, NtscTo23976FollowsThePulldownCadence)
{
    // Upper field first: field number n is frame n / 2, parity n % 2.
    Start(MakeClip(32, 10, false, 12, 29.97, FieldCoded()), 23.976, 1, 1);
    fx_->set_popup(kParamShow, kShowField0);
    const A_long cadence[] = {0, 2, 5, 7, 10, 12};
    for (A_long k = 0; k < 6; ++k) {
        ASSERT_EQ(RenderFrame(k), PF_Err_NONE);
        // Frame row 0 is always a copy of Field 0's first row.
        EXPECT_EQ(Red(5, 0), FieldCode(cadence[k])) << "frame " << k;
        EXPECT_EQ(Red(5, 3), FieldCode(cadence[k])) << "frame " << k;
        ExpectInputAlpha();
    }
}

TEST_F(RenderDriverTest, FieldViewsShowTheirFields)
{
    Start(MakeClip(32, 10, false, 8, 29.97, FieldCoded()), 29.97, 1, 1);
    const A_long n = 6;  // frame 3, its first field
    struct View { A_long show; A_long field; };
    for (const View v : {View{kShowFieldMinus2, n - 2}, View{kShowFieldMinus1, n - 1}, View{kShowField0, n},
                         View{kShowFieldPlus1, n + 1}}) {
        fx_->set_popup(kParamShow, v.show);
        ASSERT_EQ(RenderFrame(3), PF_Err_NONE);
        for (A_long y = 0; y < 10; ++y) EXPECT_EQ(Red(7, y), FieldCode(v.field)) << v.show << " row " << y;
        ExpectInputAlpha();
    }
    // A quarter of each of the four fields.
    fx_->set_popup(kParamShow, kShowAllFields);
    ASSERT_EQ(RenderFrame(3), PF_Err_NONE);
    const double mean = (FieldCode(n - 2) + FieldCode(n - 1) + FieldCode(n) + FieldCode(n + 1)) / 4.0;
    EXPECT_NEAR(Red(7, 0), mean, 1.0);
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, GradientAndDifferenceViews)
{
    // A bright vertical line at column 20 that moves every other frame.
    auto line = [](A_long frame, A_long x, A_long y) {
        const A_long at = 20 + 6 * (frame % 2);
        const A_u_char v = x == at ? 250 : 10;
        return PF_Pixel{AlphaAt(x, y), v, v, v};
    };
    Start(MakeClip(48, 12, false, 6, 29.97, line), 29.97, 1, 1);
    fx_->set_popup(kParamShow, kShowGradient);
    ASSERT_EQ(RenderFrame(2), PF_Err_NONE);
    // Edges of Field 0 (frame 2: line at 20) on an opaque black picture.
    EXPECT_EQ(Out().pixel8(19, 1)->green, 255);
    EXPECT_EQ(Out().pixel8(21, 1)->red, 255);
    EXPECT_EQ(Out().pixel8(20, 1)->red, 0);
    EXPECT_EQ(Out().pixel8(5, 1)->red + Out().pixel8(5, 1)->green + Out().pixel8(5, 1)->blue, 0);
    ExpectInputAlpha();

    ExpectNothingHeld();
}

TEST_F(RenderDriverTest, DifferenceViewShowsTheMotionMap)
{
    // The left half flashes from frame to frame, the right half stands still.
    auto flash = [](A_long frame, A_long x, A_long y) {
        const A_u_char v = x < 24 && frame % 2 ? 230 : 30;
        return PF_Pixel{AlphaAt(x, y), v, v, v};
    };
    Start(MakeClip(64, 20, false, 6, 29.97, flash), 29.97, 1, 1);
    fx_->set_popup(kParamShow, kShowDifference);
    ASSERT_EQ(RenderFrame(2), PF_Err_NONE);
    for (A_long y = 0; y < 20; ++y) {
        EXPECT_EQ(Red(3, y), 255) << y;       // white where it moves
        EXPECT_EQ(Out().pixel8(3, y)->blue, 255) << y;
        EXPECT_EQ(Red(60, y), 0) << y;        // black where all is still
    }
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, MergeViewsStartFromTheirBase)
{
    // Lower field first: the last frame row is not reached by the merge, so
    // it shows the base: opaque black for "Vector Magnitudes" and "Source",
    // the blend of Field 0 and Field +1 for the others.
    Start(MakeClip(40, 10, false, 4, 29.97, StillPicture()), 29.97, 1, 2);
    for (A_long show : {kShowResult, kShowAutoLevels, kShowMatchPoints, kShowVectorMagnitudes, kShowSource,
                        kShowData}) {
        fx_->set_popup(kParamShow, show);
        ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
        A_long sum = 0;
        for (A_long x = 0; x < 40; ++x) sum += Red(x, 9) + Out().pixel8(x, 9)->green + Out().pixel8(x, 9)->blue;
        if (show == kShowVectorMagnitudes || show == kShowSource)
            EXPECT_EQ(sum, 0) << show;
        else
            EXPECT_GT(sum, 40 * 50) << show;
        ExpectInputAlpha();
    }
}

TEST_F(RenderDriverTest, FastPathInterpolatesField0AndSkipsTheRest)
{
    // A single green dot on grey in the upper field: deartifacting would
    // remove it, the merge would weave the still lower field in.
    auto dot = [](A_long, A_long x, A_long y) {
        const bool on = x == 10 && y == 4;
        return PF_Pixel{AlphaAt(x, y), static_cast<A_u_char>(on ? 0 : 100), static_cast<A_u_char>(on ? 240 : 100),
                        static_cast<A_u_char>(y % 2 ? 200 : 100)};
    };
    for (bool deep : {false, true}) {
        Start(MakeClip(32, 10, deep, 4, 29.97, dot), 29.97, 1, 1);
        fx_->set_popup(kParamDeartifacting, 2);
        fx_->set_quality(PF_Quality_LO);
        ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
        auto blue = [&](A_long x, A_long y) {
            return Out().deep() ? (Out().pixel16(x, y)->blue + 64) / 128 : Out().pixel8(x, y)->blue;
        };
        auto green = [&](A_long x, A_long y) {
            return Out().deep() ? (Out().pixel16(x, y)->green + 64) / 128 : Out().pixel8(x, y)->green;
        };
        // Upper field lines as they are, lines between interpolated from
        // them (the lower field's blue 200 never shows).
        for (A_long y = 0; y < 10; ++y) EXPECT_EQ(blue(3, y), 100) << y;
        EXPECT_EQ(green(10, 4), 240);
        EXPECT_EQ(green(10, 3), 170);
        ExpectInputAlpha();
        fx_.reset();
    }
    // Half resolution takes the same path.
    Start(MakeClip(32, 10, false, 4, 29.97, dot), 29.97, 1, 1);
    fx_->set_downsample(1, 2, 1, 2);
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    EXPECT_EQ(Out().height(), 5);
    for (A_long y = 0; y < 5; ++y) EXPECT_EQ(Out().pixel8(3, y)->blue, 100) << y;
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, DeinterlaceOffCopiesOrOnlyDeartifacts)
{
    auto fringe = [](A_long, A_long x, A_long y) {
        const bool on = x == 10 && y == 4;
        return PF_Pixel{AlphaAt(x, y), static_cast<A_u_char>(on ? 250 : 90), 90, 90};
    };
    Start(MakeClip(32, 10, false, 4, 29.97, fringe), 29.97, 1, 1);
    fx_->set_checkbox(kParamDoDeinterlace, false);
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    EXPECT_TRUE(Out().same_pixels(In()));
    // Deartifacting alone: the lone red pixel loses its colour, grey stays.
    fx_->set_popup(kParamDeartifacting, 2);
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    EXPECT_LT(Out().pixel8(10, 4)->red, 200);
    EXPECT_EQ(Out().pixel8(20, 6)->red, 90);
    EXPECT_EQ(Out().pixel8(20, 6)->green, 90);
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, LayerSizeAndMinimumSize)
{
    Start(MakeClip(11, 8, false, 2, 29.97, StillPicture()), 29.97, 1, 1);
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "Corvane will only work on a layer with dimensions of at least 12 x 5.");
    EXPECT_TRUE(Out().same_pixels(In()));
    fx_.reset();

    Start(MakeClip(12, 5, false, 2, 29.97, StillPicture()), 29.97, 1, 1);
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "");
    ExpectInputAlpha();
    // An extent below the minimum is copied without a word.
    fx_->set_extent_hint(PF_Rect{0, 0, 12, 4});
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "");
    EXPECT_TRUE(Out().same_pixels(In()));
    fx_.reset();

    // A layer that is not the frame at this downsampling: a picture, opaque.
    Start(MakeClip(64, 24, false, 2, 29.97, StillPicture()), 29.97, 1, 1);
    fx_->in_data().width = 80;
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "");
    EXPECT_EQ(fx_->out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    for (A_long y = 0; y < 24; ++y)
        for (A_long x = 0; x < 64; ++x) ASSERT_EQ(Out().pixel8(x, y)->alpha, 255);
}

TEST_F(RenderDriverTest, UnsupportedConversionsShowAPicture)
{
    struct Pair { A_long source; double rate; };
    for (const Pair p : {Pair{1, 25.0}, Pair{1, 24.0}, Pair{2, 24.0}, Pair{1, 30.0}, Pair{2, 30.0}, Pair{2, 29.97},
                         Pair{1, 50.0}}) {
        Start(MakeClip(40, 10, false, 2, 29.97, StillPicture()), p.rate, p.source, 1);
        ASSERT_EQ(RenderFrame(0), PF_Err_NONE) << p.source << " " << p.rate;
        EXPECT_NE(fx_->out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0) << p.source << " " << p.rate;
        A_long lit = 0;
        for (A_long y = 0; y < 10; ++y)
            for (A_long x = 0; x < 40; ++x) {
                ASSERT_EQ(Out().pixel8(x, y)->alpha, 255);
                lit += Out().pixel8(x, y)->red + Out().pixel8(x, y)->green + Out().pixel8(x, y)->blue;
            }
        EXPECT_FALSE(Out().same_pixels(In()));
        fx_.reset();
    }
    // The supported ones render.
    for (const Pair p : {Pair{1, 23.976}, Pair{1, 29.97}, Pair{2, 23.976}, Pair{2, 25.0}}) {
        Start(MakeClip(40, 10, false, 2, 29.97, StillPicture()), p.rate, p.source, 1);
        ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
        EXPECT_EQ(fx_->out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0) << p.source << " " << p.rate;
        ExpectInputAlpha();
        fx_.reset();
    }
}

TEST_F(RenderDriverTest, InvalidSourceVideoIsAnError)
{
    Start(MakeClip(40, 10, false, 2, 29.97, StillPicture()), 29.97, 1, 1);
    fx_->param(kParamSourceVideo).u.pd.value = 3;
    EXPECT_EQ(RenderFrame(0), PF_Err_UNRECOGNIZED_PARAM_TYPE);
    EXPECT_EQ(fx_->outstanding_checkouts(), 0);
}

TEST_F(RenderDriverTest, EveryAllocationFailureIsOutOfMemoryAndReleasesAll)
{
    // Full processing with three views, and the fast path (show 0 here).
    for (A_long show : {A_long{kShowResult}, A_long{kShowDifference}, A_long{kShowGradient}, A_long{0}}) {
        Start(MakeClip(40, 12, false, 4, 29.97, StillPicture()), 29.97, 1, 1);
        if (show == 0)
            fx_->set_quality(PF_Quality_LO);
        else
            fx_->set_popup(kParamShow, show);
        fx_->set_popup(kParamDeartifacting, 3);
        fx_->set_frame(1);
        baseline_handles_ = host_.live_handles();
        const size_t before = host_.allocation_requests();
        ASSERT_EQ(fx_->render(), PF_Err_NONE);
        const World reference = Out();
        const size_t requests = host_.allocation_requests() - before;
        ASSERT_GT(requests, 6u);
        size_t outOfMemory = 0;
        for (size_t n = 1; n <= requests; ++n) {
            host_.fail_allocation(n);
            const PF_Err err = fx_->render();
            host_.clear_allocation_failures();
            // A failed scratch row may be worked around; anything else is
            // out of memory.
            if (err == PF_Err_NONE)
                EXPECT_TRUE(Out().same_pixels(reference)) << "allocation " << n;
            else
                EXPECT_EQ(err, PF_Err_OUT_OF_MEMORY) << "allocation " << n;
            outOfMemory += err == PF_Err_OUT_OF_MEMORY;
            ExpectNothingHeld();
        }
        EXPECT_GE(outOfMemory + 2, requests) << "show " << show;
        fx_.reset();
    }
}

}  // namespace

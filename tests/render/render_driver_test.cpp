// The render command end to end: the module's entry point driven by the
// headless host, with clips whose fields carry known values.
#include "render/render_driver.h"

#include "headless/effect.h"
#include "image/cpu_features.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

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

InputClip MakeClip(A_long w, A_long h, PixelFn fn, bool deep = false, A_long frames = 4)
{
    InputClip clip;
    clip.fps = 29.97;
    clip.width = w;
    clip.height = h;
    clip.deep = deep;
    clip.frame_count = frames;
    clip.frame = [fn](A_long index, World& into) {
        for (A_long y = 0; y < into.height(); ++y)
            for (A_long x = 0; x < into.width(); ++x) {
                const PF_Pixel p = fn(index, x, y);
                for (int c = 0; c < 4 && into.deep(); ++c) (&into.pixel16(x, y)->alpha)[c] = (&p.alpha)[c] * 128;
                if (!into.deep()) *into.pixel8(x, y) = p;
            }
    };
    return clip;
}

// An alpha that differs from pixel to pixel, so any change shows.
A_u_char AlphaAt(A_long x, A_long y) { return static_cast<A_u_char>(64 + (x * 7 + y * 13) % 180); }

// Field number f of the clip (upper field first: frame f / 2, parity f % 2)
// as a red value; the row within its field as green.
A_u_char FieldCode(A_long f) { return static_cast<A_u_char>(20 + 8 * f); }

PF_Pixel FieldCoded(A_long frame, A_long x, A_long y)
{
    return PF_Pixel{AlphaAt(x, y), FieldCode(2 * frame + (y & 1)), static_cast<A_u_char>(40 + 20 * (y / 2)), 50};
}

// A still picture with detail: the same in every frame.
PF_Pixel StillPicture(A_long, A_long x, A_long y)
{
    return PF_Pixel{AlphaAt(x, y), static_cast<A_u_char>((x * 11 + y * 3) % 251),
                    static_cast<A_u_char>(x * 255 / 64 % 256), static_cast<A_u_char>((y * 17) % 256)};
}

// A grey clip whose pixel (10, 4) alone is coloured.
PF_Pixel Dot(A_long, A_long x, A_long y)
{
    const bool on = x == 10 && y == 4;
    return PF_Pixel{AlphaAt(x, y), static_cast<A_u_char>(on ? 0 : 100), static_cast<A_u_char>(on ? 240 : 100),
                    static_cast<A_u_char>(y % 2 ? 200 : 100)};
}

class RenderDriverTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(ModuleEntry(), nullptr) << dlerror(); }

    // A set-up instance with the "Show" popup present.
    void Start(InputClip clip, double compRate = 29.97, A_long sourceVideo = 1, A_long fieldOrder = 1)
    {
        fx_.reset();
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
        EXPECT_EQ(fx_->call(PF_Cmd_RENDER, &fx_->output().def()), err);
        return err;
    }

    World& Out() { return fx_->output(); }
    World& In() { return fx_->rendered_input(); }

    // Channel c (0 alpha .. 3 blue) of a world as stored, and on the 8-bit scale.
    static A_long Raw(World& w, A_long x, A_long y, int c)
    {
        return w.deep() ? (&w.pixel16(x, y)->alpha)[c] : (&w.pixel8(x, y)->alpha)[c];
    }
    static A_long Get(World& w, A_long x, A_long y, int c) { return w.deep() ? (Raw(w, x, y, c) + 64) / 128 : Raw(w, x, y, c); }
    A_long Red(A_long x, A_long y) { return Get(Out(), x, y, 1); }
    A_long Colour(A_long x, A_long y) { return Get(Out(), x, y, 1) + Get(Out(), x, y, 2) + Get(Out(), x, y, 3); }

    void ExpectInputAlpha()
    {
        for (A_long y = 0; y < Out().height(); ++y)
            for (A_long x = 0; x < Out().width(); ++x) ASSERT_EQ(Raw(Out(), x, y, 0), Raw(In(), x, y, 0)) << x << "," << y;
    }

    // A message picture over the whole output of a layer of the wrong size:
    // opaque, not the input.
    void ExpectPicture()
    {
        for (A_long y = 0; y < Out().height(); ++y)
            for (A_long x = 0; x < Out().width(); ++x) ASSERT_EQ(Out().pixel8(x, y)->alpha, 255);
        EXPECT_FALSE(Out().same_pixels(In()));
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

// A still clip comes back unchanged in Field 0's lines, all but its last
// one, which the merge walks. An extent starting on an odd line flips the
// field order with it; one of odd width is the risk for 16-bit rows, which
// are written in pixel pairs (at the layer's right edge the row has no room
// for the pixel after). Nothing else outside the extent is written.
TEST_F(RenderDriverTest, StillClipComesBackInTheMergedLinesOfTheExtent)
{
    for (bool deep : {false, true})
        for (A_long order : {1, 2})
            for (const PF_Rect e : {PF_Rect{0, 0, 64, 24}, PF_Rect{8, 3, 47, 21}, PF_Rect{1, 0, 64, 24}}) {
                SCOPED_TRACE(testing::Message() << "deep " << deep << " order " << order << " top " << e.top);
                Start(MakeClip(64, 24, StillPicture, deep), 29.97, 1, order);
                fx_->set_extent_hint(e);
                ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
                for (A_long y = 0; y < 24; ++y)
                    for (A_long x = 0; x < 64; ++x) {
                        const bool inside = x >= e.left && x < e.right && y >= e.top && y < e.bottom;
                        ASSERT_EQ(Raw(Out(), x, y, 0), inside ? Raw(In(), x, y, 0) : 0) << x << "," << y;
                        ASSERT_TRUE(inside || Colour(x, y) == 0) << x << "," << y;
                    }
                // Field 0 is the first field at 29.97.
                const bool upperFirst = (order == 1) != (e.top % 2 == 1);
                const A_long h0 = upperFirst ? (e.bottom - e.top + 1) / 2 : (e.bottom - e.top) / 2;
                for (A_long i = 0; i + 1 < h0; ++i) {
                    const A_long r = e.top + 2 * i + (upperFirst ? 0 : 1);
                    for (A_long x = e.left; x < e.right; ++x)
                        for (int c = 0; c < 4; ++c) ASSERT_EQ(Raw(Out(), x, r, c), Raw(In(), x, r, c)) << x << "," << r;
                }
            }
}

// 16-bit rows go out in pixel pairs: an odd extent width inside the layer
// also writes the pixel just after it, from the image's row padding. The
// "Source" view fills its base with opaque black, padding included, so that
// column comes back opaque black (the conversion's own 1.0) while every
// other pixel outside the extent stays untouched.
TEST_F(RenderDriverTest, OddDeepExtentAlsoWritesThePixelAfterIt)
{
    Start(MakeClip(64, 24, StillPicture, true));
    fx_->set_popup(kParamShow, kShowSource);
    const PF_Rect e{8, 3, 47, 21};
    fx_->set_extent_hint(e);
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    const A_long opaque = cpu_has_simd() ? 32767 : 32768;
    for (A_long y = 0; y < 24; ++y)
        for (A_long x = 0; x < 64; ++x) {
            if (x >= e.left && x < e.right && y >= e.top && y < e.bottom) continue;
            const bool after = x == e.right && y >= e.top && y < e.bottom;
            ASSERT_EQ(Raw(Out(), x, y, 0), after ? opaque : 0) << x << "," << y;
            for (int c = 1; c < 4; ++c) ASSERT_EQ(Raw(Out(), x, y, c), 0) << x << "," << y;
        }
}

// Stripes that move from frame to frame, so the merge searches along edges
// right from column 0.
PF_Pixel MovingStripes(A_long frame, A_long x, A_long y)
{
    const A_u_char v = static_cast<A_u_char>(((x * 5 + y * 3 + frame * 9) % 23) * 11);
    return PF_Pixel{AlphaAt(x, y), v, static_cast<A_u_char>(v / 2), static_cast<A_u_char>(255 - v)};
}

// The pattern windows reach left of column 0 into the previous row's tail,
// padding included, and the pair-wise conversions read the padding pixel
// after an odd last one. None of it may depend on what host memory held
// before: a width that leaves row padding renders the same whatever fresh
// host memory is filled with.
TEST_F(RenderDriverTest, OutputNeverDependsOnFreshHostMemory)
{
    for (bool deep : {false, true}) {
        std::vector<std::vector<A_u_char>> outputs;
        for (unsigned char fresh : {0x00, 0xCD, 0xFF, 0x7F}) {
            host_.set_fresh_byte(fresh);
            Start(MakeClip(45, 16, MovingStripes, deep));
            ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
            std::vector<A_u_char> bytes;
            for (A_long y = 0; y < Out().height(); ++y) {
                const A_u_char* row = reinterpret_cast<const A_u_char*>(Out().pixel8(0, y));
                bytes.insert(bytes.end(), row, row + Out().width() * (deep ? 8 : 4));
            }
            outputs.push_back(bytes);
        }
        for (size_t i = 1; i < outputs.size(); ++i) EXPECT_TRUE(outputs[i] == outputs[0]) << "deep " << deep << " fill " << i;
    }
    host_.set_fresh_byte(0xCD);
}

TEST_F(RenderDriverTest, NtscTo23976FollowsThePulldownCadence)
{
    Start(MakeClip(32, 10, FieldCoded, false, 12), 23.976);
    fx_->set_popup(kParamShow, kShowField0);
    const A_long cadence[] = {0, 2, 5, 7, 10, 12};
    for (A_long k = 0; k < 6; ++k) {
        ASSERT_EQ(RenderFrame(k), PF_Err_NONE);
        for (A_long y : {0, 3}) EXPECT_EQ(Red(5, y), FieldCode(cadence[k])) << "frame " << k << " row " << y;
        ExpectInputAlpha();
    }
}

TEST_F(RenderDriverTest, FieldViewsShowTheirFields)
{
    // Frame 3, its first field (n = 6) is Field 0, an upper field. Frame row
    // 2 is field row 1 when a field is built as an upper one, and the mean of
    // field rows 0 and 1 otherwise: Field -2 is built as Field 0 is.
    Start(MakeClip(32, 10, FieldCoded, false, 8));
    const A_long n = 6;
    struct View { A_long show, field, row2Green; };
    for (const View v : {View{kShowFieldMinus2, n - 2, 60}, View{kShowFieldMinus1, n - 1, 50},
                         View{kShowField0, n, 60}, View{kShowFieldPlus1, n + 1, 50}}) {
        fx_->set_popup(kParamShow, v.show);
        ASSERT_EQ(RenderFrame(3), PF_Err_NONE);
        for (A_long y = 0; y < 10; ++y) EXPECT_EQ(Red(7, y), FieldCode(v.field)) << v.show << " row " << y;
        EXPECT_NEAR(Get(Out(), 7, 2, 2), v.row2Green, 1) << v.show;
        ExpectInputAlpha();
    }
    // A quarter of each of the four fields.
    fx_->set_popup(kParamShow, kShowAllFields);
    ASSERT_EQ(RenderFrame(3), PF_Err_NONE);
    EXPECT_NEAR(Red(7, 0), (FieldCode(n - 2) + FieldCode(n - 1) + FieldCode(n) + FieldCode(n + 1)) / 4.0, 1.0);
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, GradientAndDifferenceViews)
{
    // A bright vertical line at column 20 that moves every other frame:
    // the edges of Field 0 on an opaque black picture.
    Start(MakeClip(48, 12, [](A_long frame, A_long x, A_long y) {
        const A_u_char v = x == 20 + 6 * (frame % 2) ? 250 : 10;
        return PF_Pixel{AlphaAt(x, y), v, v, v};
    }, false, 6));
    fx_->set_popup(kParamShow, kShowGradient);
    ASSERT_EQ(RenderFrame(2), PF_Err_NONE);
    EXPECT_EQ(Get(Out(), 19, 1, 2), 255);
    EXPECT_EQ(Red(21, 1), 255);
    EXPECT_EQ(Red(20, 1), 0);
    EXPECT_EQ(Colour(5, 1), 0);
    ExpectInputAlpha();

    // The left half flashes from frame to frame, the right half stands still.
    Start(MakeClip(64, 20, [](A_long frame, A_long x, A_long y) {
        const A_u_char v = x < 24 && frame % 2 ? 230 : 30;
        return PF_Pixel{AlphaAt(x, y), v, v, v};
    }, false, 6));
    fx_->set_popup(kParamShow, kShowDifference);
    ASSERT_EQ(RenderFrame(2), PF_Err_NONE);
    for (A_long y = 0; y < 20; ++y) {
        EXPECT_EQ(Colour(3, y), 3 * 255) << y;  // white where it moves
        EXPECT_EQ(Colour(60, y), 0) << y;       // black where all is still
    }
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, MergeViewsStartFromTheirBase)
{
    // Lower field first: the last frame row is not reached by the merge, so
    // it shows the base: opaque black for "Vector Magnitudes" and "Source",
    // the blend of Field 0 and Field +1 for the others.
    Start(MakeClip(40, 10, StillPicture), 29.97, 1, 2);
    for (A_long show : {kShowResult, kShowAutoLevels, kShowMatchPoints, kShowVectorMagnitudes, kShowSource, kShowData}) {
        fx_->set_popup(kParamShow, show);
        ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
        A_long sum = 0;
        for (A_long x = 0; x < 40; ++x) sum += Colour(x, 9);
        if (show == kShowVectorMagnitudes || show == kShowSource)
            EXPECT_EQ(sum, 0) << show;
        else
            EXPECT_GT(sum, 40 * 50) << show;
        ExpectInputAlpha();
    }
}

TEST_F(RenderDriverTest, FastPathInterpolatesField0AndSkipsTheRest)
{
    // Deartifacting would remove the dot, the merge would weave the lower
    // field's blue 200 in: neither runs at low quality or half resolution.
    for (bool deep : {false, true}) {
        Start(MakeClip(32, 10, Dot, deep));
        fx_->set_popup(kParamDeartifacting, 2);
        fx_->set_quality(PF_Quality_LO);
        ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
        for (A_long y = 0; y < 10; ++y) EXPECT_EQ(Get(Out(), 3, y, 3), 100) << y;
        EXPECT_EQ(Get(Out(), 10, 4, 2), 240);
        EXPECT_EQ(Get(Out(), 10, 3, 2), 170);  // interpolated between field lines
        ExpectInputAlpha();
    }
    Start(MakeClip(32, 10, Dot));
    fx_->set_downsample(1, 2, 1, 2);
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    EXPECT_EQ(Out().height(), 5);
    for (A_long y = 0; y < 5; ++y) EXPECT_EQ(Get(Out(), 3, y, 3), 100) << y;
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, DeinterlaceOffCopiesOrOnlyDeartifacts)
{
    Start(MakeClip(32, 10, [](A_long, A_long x, A_long y) {
        return PF_Pixel{AlphaAt(x, y), static_cast<A_u_char>(x == 10 && y == 4 ? 250 : 90), 90, 90};
    }));
    fx_->set_checkbox(kParamDoDeinterlace, false);
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    EXPECT_TRUE(Out().same_pixels(In()));
    // Deartifacting alone: the lone red pixel loses its colour, grey stays.
    fx_->set_popup(kParamDeartifacting, 2);
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    EXPECT_LT(Red(10, 4), 200);
    EXPECT_EQ(Colour(20, 6), 3 * 90);
    ExpectInputAlpha();
}

TEST_F(RenderDriverTest, SizeChecks)
{
    Start(MakeClip(11, 8, StillPicture));
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "Corvane will only work on a layer with dimensions of at least 12 x 5.");
    EXPECT_TRUE(Out().same_pixels(In()));

    Start(MakeClip(12, 5, StillPicture));
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "");
    ExpectInputAlpha();
    // An extent below the minimum is copied without a word.
    fx_->set_extent_hint(PF_Rect{0, 0, 12, 4});
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "");
    EXPECT_TRUE(Out().same_pixels(In()));

    // A layer that is not the frame at this downsampling: a picture, no flag.
    Start(MakeClip(64, 24, StillPicture));
    fx_->in_data().width = 80;
    ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
    EXPECT_EQ(fx_->message(), "");
    EXPECT_EQ(fx_->out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    ExpectPicture();
}

TEST_F(RenderDriverTest, OnlyFourConversionsRender)
{
    struct Pair { A_long source; double rate; bool supported; };
    for (const Pair p : {Pair{1, 23.976, true}, Pair{1, 29.97, true}, Pair{2, 23.976, true}, Pair{2, 25.0, true},
                         Pair{1, 25.0, false}, Pair{1, 24.0, false}, Pair{2, 24.0, false}, Pair{1, 30.0, false},
                         Pair{2, 30.0, false}, Pair{2, 29.97, false}, Pair{1, 50.0, false}}) {
        SCOPED_TRACE(testing::Message() << "source " << p.source << " rate " << p.rate);
        Start(MakeClip(40, 10, StillPicture, false, 2), p.rate, p.source);
        ASSERT_EQ(RenderFrame(0), PF_Err_NONE);
        EXPECT_EQ((fx_->out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) != 0, !p.supported);
        ExpectInputAlpha();
        if (!p.supported) {
            EXPECT_FALSE(Out().same_pixels(In()));
        }
    }
}

// The host refuses the n-th checkout of the input layer: its error comes
// back, and whatever was checked out before is checked in again. A "Source
// Video" value the render cannot time is an error too.
TEST_F(RenderDriverTest, ErrorsComeBackAndReleaseEverything)
{
    static int calls, failAt;
    static PF_Err (*host)(PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, PF_ParamDef*);
    Start(MakeClip(40, 12, StillPicture));
    host = fx_->in_data().inter.checkout_param;
    fx_->in_data().inter.checkout_param = [](PF_ProgPtr r, PF_ParamIndex i, A_long t, A_long s, A_u_long sc,
                                             PF_ParamDef* p) -> PF_Err {
        return ++calls == failAt ? PF_Err_INTERNAL_STRUCT_DAMAGED : host(r, i, t, s, sc, p);
    };
    fx_->set_frame(1);
    for (failAt = 1; failAt <= 3; ++failAt) {
        calls = 0;
        EXPECT_EQ(fx_->render(), PF_Err_INTERNAL_STRUCT_DAMAGED) << failAt;
        ExpectNothingHeld();
    }
    calls = 0;
    EXPECT_EQ(fx_->render(), PF_Err_NONE);
    EXPECT_EQ(calls, 3);
    fx_->param(kParamSourceVideo).u.pd.value = 3;
    EXPECT_EQ(fx_->render(), PF_Err_UNRECOGNIZED_PARAM_TYPE);
    ExpectNothingHeld();
}

// What no After Effects sends: the effect answers with an error code and
// leaves the output as it was.
TEST_F(RenderDriverTest, HostileRendersGetAnErrorAndTouchNothing)
{
    const auto expectRefused = [this](const char* what, PF_LayerDef* output) {
        SCOPED_TRACE(what);
        EXPECT_EQ(fx_->call(PF_Cmd_RENDER, output), PF_Err_BAD_CALLBACK_PARAM);
        EXPECT_EQ(fx_->message(), "");
        ExpectNothingHeld();
    };
    Start(MakeClip(40, 12, StillPicture));
    ASSERT_EQ(RenderFrame(1), PF_Err_NONE);
    World before = Out();
    Out().fill(PF_Pixel{1, 2, 3, 4}, PF_Pixel16{1, 2, 3, 4});
    before = Out();
    expectRefused("no output world", nullptr);
    fx_->in_data().width = 80;  // the wrong-size branch draws into the output
    expectRefused("no output world, layer of the wrong size", nullptr);
    fx_->in_data().width = 40;
    for (A_long size : {A_long{INT32_MAX}, A_long{INT32_MIN}, A_long{0}, A_long{13}}) {
        fx_->param(kParamPatternSize).u.sd.value = size;
        expectRefused("\"Detail Pattern Size\" beyond what the host allows", &Out().def());
    }
    fx_->param(kParamPatternSize).u.sd.value = 4;
    for (double adjust : {std::nan(""), 100.5, -HUGE_VAL}) {
        fx_->param(kParamMotionAdjust).u.fs_d.value = adjust;
        expectRefused("\"Motion Detection Adjustment\" beyond what the host allows", &Out().def());
    }
    fx_->param(kParamMotionAdjust).u.fs_d.value = 20;
    for (A_long t : {A_long{INT32_MAX - 50}, A_long{INT32_MIN + 50}}) {
        fx_->set_current_time(t);
        expectRefused("a time whose neighbour frames fall off the time line", &Out().def());
    }
    fx_->set_frame(1);
    fx_->in_data().num_params = 12;
    expectRefused("fewer parameters than declared", &Out().def());
    EXPECT_TRUE(Out().same_pixels(before));

    // Before parameter set-up the host holds the input layer alone.
    fx_.reset();
    EffectInstance bare(ModuleEntry(), host_);
    ASSERT_EQ(bare.global_setup(), PF_Err_NONE);
    bare.set_input(MakeClip(40, 12, StillPicture));
    EXPECT_EQ(bare.render(), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(bare.outstanding_checkouts(), 0);
}

// A layer under 8 pixels at 1/16 resolution has no pixels: below the
// minimum, so the message, and nothing to copy. The host hands it out with
// pixel memory also when it recycles its worlds.
TEST_F(RenderDriverTest, LayerWithoutPixelsAtLowResolution)
{
    for (const bool recycle : {true, false}) {
        SCOPED_TRACE(recycle);
        host_.set_recycle_memory(recycle);
        Start(MakeClip(7, 100, StillPicture, recycle));
        fx_->set_downsample(1, 16, 1, 16);
        ASSERT_EQ(fx_->layer_width(), 0);
        EXPECT_EQ(RenderFrame(0), PF_Err_NONE);
        EXPECT_EQ(fx_->message(), "Corvane will only work on a layer with dimensions of at least 12 x 5.");
        ExpectNothingHeld();
    }
}

TEST_F(RenderDriverTest, EveryAllocationFailureIsOutOfMemoryAndReleasesAll)
{
    // Full processing with three views, and the fast path (show 0 here).
    for (A_long show : {A_long{kShowResult}, A_long{kShowDifference}, A_long{kShowGradient}, A_long{0}}) {
        Start(MakeClip(40, 12, StillPicture));
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
        ASSERT_GT(requests, 3u);
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
    }
}

}  // namespace

// Rendering support: composition time bases, the input clip and layer
// checkouts at arbitrary times, output worlds and the pixel callbacks.
#include "headless/effect.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <vector>

namespace {

using headless::EffectInstance;
using headless::InputClip;
using headless::World;

std::function<PF_Err(PF_Cmd, PF_InData*, PF_ParamDef**, PF_LayerDef*)> g_fx;

PF_Err Entry(PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef** params, PF_LayerDef* output, void*) {
    return g_fx ? g_fx(cmd, in, params, output) : PF_Err_NONE;
}

struct FxScope {
    explicit FxScope(std::function<PF_Err(PF_Cmd, PF_InData*, PF_ParamDef**, PF_LayerDef*)> f) { g_fx = std::move(f); }
    ~FxScope() { g_fx = nullptr; }
};

// Frame i of the clip has red = i in every pixel.
InputClip numbered_clip(A_long frames, double fps, bool deep = false) {
    InputClip c;
    c.fps = fps;
    c.width = 16;
    c.height = 6;
    c.deep = deep;
    c.frame_count = frames;
    c.frame = [](A_long i, World& w) { w.fill(PF_Pixel{255, A_u_char(i), 0, 0}, PF_Pixel16{32768, A_u_short(i), 0, 0}); };
    return c;
}

A_long red_of(const PF_LayerDef& ld) {
    if (ld.world_flags & PF_WorldFlag_DEEP) return reinterpret_cast<const PF_Pixel16*>(ld.data)->red;
    return reinterpret_cast<const PF_Pixel*>(ld.data)->red;
}

TEST(TimeBase, NtscAndWholeRatesGiveExactFloatQuotients) {
    struct Case {
        double rate;
        A_u_long scale;
        A_long step;
        float as_float;
    } cases[] = {{23.976, 2997, 125, 23.976f}, {29.97, 2997, 100, 29.97f}, {24, 2400, 100, 24.f}, {25, 2500, 100, 25.f}, {30, 3000, 100, 30.f}};
    for (const Case& c : cases) {
        A_u_long scale;
        A_long step;
        headless::time_base_for_rate(c.rate, &scale, &step);
        EXPECT_EQ(scale, c.scale) << c.rate;
        EXPECT_EQ(step, c.step) << c.rate;
        // The effect computes the rate in single precision and compares exactly.
        EXPECT_EQ(static_cast<float>(scale) / static_cast<float>(step), c.as_float) << c.rate;
    }
    A_u_long scale;
    A_long step;
    headless::time_base_for_rate(23.98, &scale, &step);
    EXPECT_NE(static_cast<float>(scale) / static_cast<float>(step), 23.976f);
}

TEST(Checkout, FrameShownAtEachTimeWithFirstAndLastHeldUnlessTheClipServesThem) {
    // A 29.97 clip of 10 frames seen from a 23.976 composition, checked out at
    // the times the effect asks for (its own time units and scales).
    std::vector<std::pair<A_long, A_u_long>> asks;  // time, scale
    std::vector<A_long> seen;
    FxScope fx([&](PF_Cmd cmd, PF_InData* in, PF_ParamDef**, PF_LayerDef*) -> PF_Err {
        if (cmd != PF_Cmd_RENDER) return PF_Err_NONE;
        for (auto& a : asks) {
            PF_ParamDef p{};
            PF_Err err = in->inter.checkout_param(in->effect_ref, 0, a.first, in->time_step, a.second, &p);
            if (err) return err;
            EXPECT_EQ(p.param_type, PF_Param_LAYER);
            seen.push_back(red_of(p.u.ld));
            in->inter.checkin_param(in->effect_ref, &p);
        }
        return PF_Err_NONE;
    });
    EffectInstance e(Entry);
    e.set_input(numbered_clip(10, 29.97));
    e.set_comp_rate(23.976);
    asks = {
        {-125, 2997},    // before the clip: first frame held
        {0, 2997},       // 0
        {99, 2997},      // just before 1/29.97 s
        {100, 2997},     // exactly frame 1
        {125, 2997},     // one 23.976 frame: 1.25 source frames
        {200, 2997},     // 2
        {899, 2997},     // just before frame 9
        {900, 2997},     // the last frame
        {5000, 2997},    // after the clip: last frame held
        {1001, 30000},   // 1001/30000 s = one NTSC frame exactly
        {600, 5994},     // exactly frame 3 in another scale
    };
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(seen, (std::vector<A_long>{0, 0, 0, 1, 1, 2, 8, 9, 9, 1, 3}));
    EXPECT_EQ(e.checked_out_frames(), seen);
    EXPECT_EQ(e.outstanding_checkouts(), 0);

    // A clip that serves the times outside itself gets the indices as they fall.
    InputClip outside = numbered_clip(10, 29.97);
    outside.frame_serves_outside = true;
    e.set_input(outside);
    e.clear_checkout_log();
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(e.checked_out_frames(), (std::vector<A_long>{-2, 0, 0, 1, 1, 2, 8, 9, 50, 1, 3}));
    EXPECT_TRUE(e.host().clean()) << e.host().leak_report();
}

TEST(Checkout, RecyclingReusesWorldsAndClearsTheOutputOnlyOutsideTheExtent) {
    // The effect checks out the frames before, at and after the current time
    // one after another and writes red = the current frame's red plus 100
    // inside the extent hint, nothing outside it.
    std::vector<A_long> seen;
    FxScope fx([&](PF_Cmd cmd, PF_InData* in, PF_ParamDef**, PF_LayerDef* out) -> PF_Err {
        if (cmd != PF_Cmd_RENDER) return PF_Err_NONE;
        for (A_long d = -1; d <= 1; ++d) {
            PF_ParamDef p{};
            PF_Err err = in->inter.checkout_param(in->effect_ref, 0, in->current_time + d * in->time_step, in->time_step,
                                                  in->time_scale, &p);
            if (err) return err;
            seen.push_back(red_of(p.u.ld));
            const PF_Pixel px{255, A_u_char(red_of(p.u.ld) + 100), 0, 0};
            const PF_Rect e{out->extent_hint.left, out->extent_hint.top, out->extent_hint.right, out->extent_hint.bottom};
            if (d == 0) in->utils->fill(in->effect_ref, &px, &e, out);
            if ((err = in->inter.checkin_param(in->effect_ref, &p))) return err;
        }
        return PF_Err_NONE;
    });
    EffectInstance e(Entry);
    e.host().set_recycle_memory(true);
    InputClip clip = numbered_clip(10, 25);
    int made = 0;  // frames the clip was asked to write
    clip.frame = [&made, write = clip.frame](A_long i, World& w) { ++made, write(i, w); };
    e.set_input(clip);
    e.set_comp_rate(25);
    e.set_frame(2);
    ASSERT_EQ(e.render(), PF_Err_NONE);
    const PF_PixelPtr first = e.output().def().data;
    EXPECT_EQ(e.output().pixel8(0, 0)->red, 102);
    EXPECT_EQ(made, 4);  // the current frame and the three checked out
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(made, 4);  // kept frames go out again as they are, none made anew
    e.set_frame(3);
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(made, 6);  // only the current frame and the one after it
    e.set_frame(5);
    e.set_extent_hint(PF_Rect{4, 2, 12, 4});
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(e.output().def().data, first);  // the same world again
    // Reused layer worlds hold the frames asked for.
    EXPECT_EQ(seen, (std::vector<A_long>{1, 2, 3, 1, 2, 3, 2, 3, 4, 4, 5, 6}));
    EXPECT_EQ(e.rendered_input().pixel8(3, 3)->red, 5);
    for (A_long y = 0; y < e.output().height(); ++y)
        for (A_long x = 0; x < e.output().width(); ++x) {
            const bool inside = x >= 4 && x < 12 && y >= 2 && y < 4;
            EXPECT_EQ(e.output().pixel8(x, y)->red, inside ? 105 : 0) << x << "," << y;
        }
    EXPECT_TRUE(e.host().clean()) << e.host().leak_report();
}

TEST(Checkout, CurrentFrameIsParameterZeroAndUnreleasedCheckoutsAreSeen) {
    FxScope fx([](PF_Cmd cmd, PF_InData* in, PF_ParamDef** params, PF_LayerDef* out) -> PF_Err {
        if (cmd != PF_Cmd_RENDER) return PF_Err_NONE;
        EXPECT_EQ(red_of(params[0]->u.ld), 4);
        EXPECT_EQ(out->width, params[0]->u.ld.width);
        EXPECT_TRUE(out->world_flags & PF_WorldFlag_DEEP);
        PF_ParamDef p{};
        return in->inter.checkout_param(in->effect_ref, 0, in->current_time, in->time_step, in->time_scale, &p);  // never checked in
    });
    EffectInstance e(Entry);
    e.set_input(numbered_clip(10, 25, true));
    e.set_comp_rate(25);
    e.set_frame(4);
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(e.outstanding_checkouts(), 1);
    EXPECT_NE(e.host().leak_report().find("1 checkout(s) not checked in"), std::string::npos);

    PF_ParamDef bogus{};
    bogus.param_type = PF_Param_LAYER;
    EXPECT_NE(e.in_data().inter.checkin_param(e.in_data().effect_ref, &bogus), PF_Err_NONE);
    PF_ParamDef p{};
    EXPECT_EQ(e.in_data().inter.checkout_param(e.in_data().effect_ref, 7, 0, 1, 25, &p), PF_Err_INVALID_INDEX);
    EXPECT_EQ(e.host().problems().size(), 2u);
}

TEST(Checkout, AFailingClipBecomesAnErrorCodeNotAnException) {
    PF_Err seen = PF_Err_NONE;
    FxScope fx([&](PF_Cmd cmd, PF_InData* in, PF_ParamDef**, PF_LayerDef*) -> PF_Err {
        if (cmd != PF_Cmd_RENDER) return PF_Err_NONE;
        PF_ParamDef p{};
        seen = in->inter.checkout_param(in->effect_ref, 0, 500, 100, 2997, &p);
        return PF_Err_NONE;
    });
    EffectInstance e(Entry);
    InputClip c = numbered_clip(20, 29.97);
    c.frame = [](A_long i, World& w) {
        if (i == 5) throw std::runtime_error("decoder gave up");
        w.fill(PF_Pixel{}, PF_Pixel16{});
    };
    e.set_input(c);
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(seen, PF_Err_INTERNAL_STRUCT_DAMAGED);
    ASSERT_EQ(e.host().problems().size(), 1u);
    EXPECT_EQ(e.host().problems()[0], "input clip failed at frame 5: decoder gave up");
}

TEST(Worlds, RowsArePaddedToSixteenBytesAndDownsamplingScalesTheLayer) {
    EXPECT_EQ(headless::host_rowbytes(1, false), 16);
    EXPECT_EQ(headless::host_rowbytes(5, false), 32);
    EXPECT_EQ(headless::host_rowbytes(4, false), 16);
    EXPECT_EQ(headless::host_rowbytes(3, true), 32);
    World odd(11, 3, false);
    EXPECT_EQ(odd.def().rowbytes, 48);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(odd.def().data) % 16, 0u);

    A_long w = 0, h = 0, row = 0;
    FxScope fx([&](PF_Cmd cmd, PF_InData* in, PF_ParamDef** params, PF_LayerDef* out) -> PF_Err {
        if (cmd == PF_Cmd_RENDER) {
            w = params[0]->u.ld.width;
            h = params[0]->u.ld.height;
            row = out->rowbytes;
            EXPECT_EQ(in->width, 721);
            EXPECT_EQ(in->extent_hint.right, w);
        }
        return PF_Err_NONE;
    });
    EffectInstance e(Entry);
    InputClip c = numbered_clip(1, 25);
    c.width = 721;
    c.height = 577;
    e.set_input(c);
    e.set_downsample(1, 2, 1, 2);
    ASSERT_EQ(e.render(), PF_Err_NONE);
    EXPECT_EQ(w, 361);  // (721 + 1) / 2
    EXPECT_EQ(h, 289);
    EXPECT_EQ(row, 1456);  // 361 × 4 = 1444, padded

    // Factors no host uses give the full layer, and a width no world can
    // have is refused, never wrapped.
    for (const PF_RationalScale d : {PF_RationalScale{INT32_MAX, 1}, PF_RationalScale{-3, 4},
                                     PF_RationalScale{0, 1}, PF_RationalScale{7, 0}}) {
        e.in_data().downsample_x = d;
        EXPECT_EQ(e.layer_width(), 721) << d.num << "/" << d.den;
    }
    e.in_data().downsample_x = PF_RationalScale{INT32_MAX, 4294967295u};
    EXPECT_EQ(e.layer_width(), 360);
    EXPECT_THROW(headless::host_rowbytes(INT32_MAX, true), std::length_error);
}

// Time bases and frame numbers at the ends of the 32-bit time line stop
// there instead of overflowing.
TEST(Worlds, TimesStayOnTheTimeLine) {
    FxScope fx(nullptr);
    EffectInstance e(Entry);
    e.set_time_base(2997, INT32_MAX);
    EXPECT_EQ(e.in_data().total_time, INT32_MAX);
    e.set_frame(3);
    EXPECT_EQ(e.in_data().current_time, INT32_MAX);
    e.set_time_base(2997, INT32_MIN);
    EXPECT_EQ(e.in_data().current_time, INT32_MIN);
    e.set_time_base(2997, -1);
    EXPECT_EQ(e.in_data().total_time, -300);
    e.set_current_time(INT32_MIN);
    e.set_time_base(2997, 100);  // frame INT32_MIN / -1
    EXPECT_EQ(e.in_data().current_time, INT32_MAX);
    e.set_frame(INT32_MIN);
    EXPECT_EQ(e.in_data().current_time, INT32_MIN);
}

TEST(Worlds, CopyAndFillCallbacks) {
    FxScope fx(nullptr);
    EffectInstance e(Entry);
    PF_UtilCallbacks* u = e.in_data().utils;
    PF_ProgPtr ref = e.in_data().effect_ref;
    World a(8, 4, false), b(8, 4, false), deep(8, 4, true);
    const PF_Pixel red{255, 255, 0, 0};
    ASSERT_EQ(u->fill(ref, &red, nullptr, &a.def()), PF_Err_NONE);
    const PF_Rect inner{2, 1, 5, 3};
    const PF_Pixel16 half{16384, 16384, 16384, 16384};
    ASSERT_EQ(u->fill16(ref, &half, &inner, &deep.def()), PF_Err_NONE);
    EXPECT_EQ(deep.pixel16(2, 1)->green, 16384);
    EXPECT_EQ(deep.pixel16(1, 1)->green, 0);
    ASSERT_EQ(u->fill(ref, nullptr, &inner, &a.def()), PF_Err_NONE);  // null colour: transparent black
    EXPECT_EQ(a.pixel8(3, 2)->alpha, 0);

    ASSERT_EQ(u->copy(ref, &a.def(), &b.def(), nullptr, nullptr), PF_Err_NONE);
    EXPECT_TRUE(a.same_pixels(b));
    const PF_Rect src{0, 0, 2, 2}, dst{6, 2, 8, 4};
    World c(8, 4, false);
    ASSERT_EQ(u->copy(ref, &a.def(), &c.def(), const_cast<PF_Rect*>(&src), const_cast<PF_Rect*>(&dst)), PF_Err_NONE);
    EXPECT_EQ(c.pixel8(7, 3)->red, 255);
    EXPECT_EQ(c.pixel8(5, 3)->red, 0);
    EXPECT_TRUE(e.host().problems().empty());
    EXPECT_NE(u->copy(ref, &a.def(), &deep.def(), nullptr, nullptr), PF_Err_NONE);  // depths differ
    EXPECT_EQ(e.host().problems().size(), 1u);

    // iterate visits the area only, with source and destination pixels.
    const PF_Rect area{1, 1, 3, 2};
    ASSERT_EQ(u->iterate(&e.in_data(), 0, 0, &b.def(), &area, nullptr,
                         [](void*, A_long x, A_long, PF_Pixel* in, PF_Pixel* out) -> PF_Err {
                             *out = PF_Pixel{255, A_u_char(in->red / 5), A_u_char(x), 0};
                             return PF_Err_NONE;
                         },
                         &c.def()),
              PF_Err_NONE);
    EXPECT_EQ(c.pixel8(1, 1)->red, 51);   // source red 255
    EXPECT_EQ(c.pixel8(2, 1)->red, 0);    // source cleared by the fill above
    EXPECT_EQ(c.pixel8(2, 1)->green, 2);
    EXPECT_EQ(c.pixel8(3, 1)->alpha, 0);  // outside the area
    // An unimplemented callback answers with an error and a problem instead of a null jump.
    EXPECT_NE(u->blend(ref, &a.def(), &b.def(), 0, &c.def()), PF_Err_NONE);
    EXPECT_EQ(e.host().problems().size(), 2u);

    PF_EffectWorld made{};
    ASSERT_EQ(u->new_world(ref, 3, 3, PF_NewWorldFlag_DEEP_PIXELS, &made), PF_Err_NONE);
    EXPECT_TRUE(made.world_flags & PF_WorldFlag_DEEP);
    EXPECT_NE(e.host().leak_report().find("new_world not disposed"), std::string::npos);
    ASSERT_EQ(u->dispose_world(ref, &made), PF_Err_NONE);
    EXPECT_EQ(e.host().leak_report(), "");
}

}  // namespace

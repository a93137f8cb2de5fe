// The Auto Setup button driven by Effect Controls events, as the user works it.
#include "host/auto_check_button.h"
#include "host/auto_setup.h"
#include "host/embedded_bitmaps.h"
#include "support.h"

#include <cstdlib>
#include <vector>

namespace {

// A 720x480 layer in a 29.97 composition with the button drawn once. The
// button's picture is centred in the control frame, so the frame's centre
// shows the picture's centre pixel.
struct Button {
    Button() {
        fx.set_comp_rate(29.97);
        headless::InputClip clip;
        clip.width = 720;
        clip.height = 480;
        fx.set_input(clip);
        EXPECT_EQ(fx.setup(), PF_Err_NONE);
        fx.ui().reset_raster(300, 200);
        EXPECT_EQ(fx.draw(2), PF_Err_NONE);
        EXPECT_TRUE(fx.last_event_handled());
        const PF_Rect f = fx.control_frame();
        cx = (f.left + f.right) / 2;
        cy = (f.top + f.bottom) / 2;
    }
    ~Button() {
        EXPECT_EQ(fx.ui().live_drawbot_objects(), 0);
        for (const std::string& p : fx.host().problems()) ADD_FAILURE() << "host problem: " << p;
    }

    // Whether the frame's centre shows picture `id` (its centre pixel).
    bool Shows(A_long id) {
        A_long w = 0, h = 0;
        const unsigned char* p = static_cast<const unsigned char*>(GetEmbeddedBitmap(id, &w, &h));
        if (!p) return false;
        const unsigned char* want = p + (static_cast<size_t>(h / 2) * w + w / 2) * 4;  // B, G, R, A
        const uint8_t* got = fx.ui().raster().at(cx, cy);                              // R, G, B, A
        return std::abs(got[0] - want[2]) <= 1 && std::abs(got[1] - want[1]) <= 1 && std::abs(got[2] - want[0]) <= 1;
    }
    bool DrawnAs(A_long id) { return fx.draw(2) == PF_Err_NONE && Shows(id); }
    PF_Point At(A_long dx, A_long dy = 0) const { return PF_Point{cx + dx, cy + dy}; }

    headless::EffectInstance fx{&EntryPointFunc};
    A_long cx = 0, cy = 0;
};

TEST(AutoSetupButton, PressAndReleaseInsideAppliesOnce) {
    Button b;
    EXPECT_TRUE(b.Shows(kBitmapButton));
    EXPECT_FALSE(b.Shows(kBitmapButtonPressed));
    ASSERT_EQ(b.fx.press(2, b.At(0)), PF_Err_NONE);
    EXPECT_TRUE(b.fx.dragging());
    ASSERT_EQ(b.fx.drag(b.At(0)), PF_Err_NONE);
    // While dragging, the user reads what Auto Setup is going to conclude.
    const AutoSetupRateClass rate = ClassifyRate(2997, 100);
    EXPECT_EQ(b.fx.message(), ComposeAutoSetupMessage(LookUpAutoSetup(rate, 720, 480), rate));
    EXPECT_TRUE(b.DrawnAs(kBitmapButtonPressed));
    EXPECT_EQ(b.fx.sequence_bytes()[0], 0);

    b.fx.ui().clear_ui_updates();
    ASSERT_EQ(b.fx.release(b.At(0)), PF_Err_NONE);
    EXPECT_TRUE(b.fx.out_data().out_flags & PF_OutFlag_REFRESH_UI);
    EXPECT_EQ(b.fx.popup(5), 1);  // NTSC
    EXPECT_EQ(b.fx.popup(6), 2);  // Lower Field First
    EXPECT_EQ(b.fx.changes_by_effect(5), 1);
    EXPECT_EQ(b.fx.changes_by_effect(6), 1);
    EXPECT_EQ(b.fx.sequence_bytes()[0], 1);
    bool button_disabled = false, groups_enabled = true;
    for (const auto& u : b.fx.ui().ui_updates()) {
        if (u.index == 2) button_disabled = (u.def.ui_flags & PF_PUI_DISABLED) != 0;
        if (u.index == 3 || u.index == 10) groups_enabled &= (u.def.ui_flags & PF_PUI_DISABLED) == 0;
    }
    EXPECT_TRUE(button_disabled);
    EXPECT_TRUE(groups_enabled);
    EXPECT_TRUE(b.DrawnAs(kBitmapButtonDone));
}

TEST(AutoSetupButton, OnlyAReleaseWithinTheButtonsWidthApplies) {
    struct Gesture {
        const char* what;
        A_long press_dx;
        std::vector<A_long> drag_dx;
        PF_Point release;  // from the centre
        bool applies;
        A_long height, source;  // layer height; Source Video afterwards
    };
    const Gesture gestures[] = {
        {"dragged off and released outside", 0, {0, 45}, {45, 0}, false, 480, 2},
        {"released far below, within the width", 0, {}, {0, 500}, true, 480, 1},
        {"pressed outside, dragged back in", 45, {45, 0}, {0, 0}, true, 480, 1},
        // A PAL frame in a 29.97 composition: values set, failure reported.
        {"failed Auto Setup", 0, {0}, {0, 0}, true, 576, 2},
    };
    for (const Gesture& g : gestures) {
        SCOPED_TRACE(g.what);
        Button b;
        b.fx.in_data().width = 720;
        b.fx.in_data().height = g.height;
        ASSERT_EQ(b.fx.press(2, b.At(g.press_dx)), PF_Err_NONE);
        for (A_long dx : g.drag_dx) ASSERT_EQ(b.fx.drag(b.At(dx)), PF_Err_NONE);
        EXPECT_EQ(b.fx.message().rfind("Auto Setup Failed.", 0) == 0, g.height == 576) << b.fx.message();
        if (!g.drag_dx.empty()) {
            // Dragged off, the button shows its normal look again.
            EXPECT_TRUE(b.DrawnAs(g.drag_dx.back() == 0 ? kBitmapButtonPressed : kBitmapButton));
        }
        ASSERT_EQ(b.fx.release(b.At(g.release.h, g.release.v)), PF_Err_NONE);
        EXPECT_EQ(b.fx.sequence_bytes()[0], g.applies ? 1 : 0);
        EXPECT_EQ(b.fx.popup(5), g.source);
        EXPECT_EQ(b.fx.popup(6), 2);
        EXPECT_EQ(b.fx.changes_by_effect(5), g.applies ? 1 : 0);
        EXPECT_TRUE(b.DrawnAs(g.applies ? kBitmapButtonDone : kBitmapButton));
    }
}

TEST(AutoSetupButton, IdlePulsesUntilAutoSetupHasRun) {
    // Counter 1..49 has a positive weight (two pictures drawn), 50..100 and 0
    // none worth drawing; the counter runs 1..100, then 0.
    Button b;
    const int before = b.fx.ui().draw_image_calls();
    b.fx.ui().clear_invalidations();
    for (int i = 0; i < 101; ++i) ASSERT_EQ(b.fx.idle(2), PF_Err_NONE);
    EXPECT_EQ(b.fx.ui().draw_image_calls() - before, 49 * 2 + 52);
    EXPECT_EQ(b.fx.ui().invalidations().size(), 101u);
    const int after_cycle = b.fx.ui().draw_image_calls();
    ASSERT_EQ(b.fx.idle(2), PF_Err_NONE);  // counter 1 again
    EXPECT_EQ(b.fx.ui().draw_image_calls() - after_cycle, 2);

    ASSERT_EQ(b.fx.press(2, b.At(0)), PF_Err_NONE);
    ASSERT_EQ(b.fx.release(b.At(0)), PF_Err_NONE);
    const int done = b.fx.ui().draw_image_calls();
    ASSERT_EQ(b.fx.idle(2), PF_Err_NONE);
    EXPECT_TRUE(b.fx.last_event_handled());
    EXPECT_EQ(b.fx.ui().draw_image_calls(), done);

    // The weight in single precision: a quarter period is full scale.
    const std::pair<int, int> weights[] = {{0, 0}, {1, 4114}, {25, 65535}, {50, 0}, {75, -65535}};
    for (auto [counter, weight] : weights) EXPECT_EQ(CVAutoCheckButton::PulseWeight(counter), weight) << counter;
}

TEST(AutoSetupButton, WhatTheButtonIgnoresOrSurvives) {
    Button b;
    const int drawn = b.fx.ui().draw_image_calls();
    // Only the Effect Controls window reaches the button.
    for (PF_WindowType w : {PF_Window_COMP, PF_Window_LAYER, PF_Window_PREVIEW}) {
        b.fx.ui().set_window_type(w);
        EXPECT_EQ(b.fx.draw(2), PF_Err_NONE);
        EXPECT_FALSE(b.fx.last_event_handled()) << w;
    }
    b.fx.ui().set_window_type(PF_Window_EFFECT);
    // Events for parameters without a control are not handled.
    EXPECT_EQ(b.fx.draw(5), PF_Err_NONE);
    EXPECT_FALSE(b.fx.last_event_handled());
    // A missing picture leaves the control undrawn.
    g_button_image_override = 23414;  // the one picture id the module lacks
    const PF_Err err = b.fx.draw(2);
    g_button_image_override = -1;
    EXPECT_EQ(err, PF_Err_NONE);
    EXPECT_EQ(b.fx.ui().draw_image_calls(), drawn);

    b.fx.host().withdraw_suite("PF AE App Suite", 6);
    EXPECT_EQ(b.fx.press(2, b.At(0)), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(b.fx.message(), "Failed to acquire PFAppSuite4.");
    EXPECT_TRUE(b.fx.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE);
    b.fx.host().clear_problems();
}

// A press and release before parameter set-up (the host holds the input layer
// alone): an error, and no parameter is read or written.
TEST(AutoSetupButton, BeforeParameterSetupIsAnError) {
    headless::EffectInstance fx{&EntryPointFunc};
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.press(2, PF_Point{100, 90}), PF_Err_NONE);
    EXPECT_EQ(fx.drag(PF_Point{100, 90}), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(fx.release(PF_Point{100, 90}), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(fx.num_params(), 1);
    EXPECT_EQ(fx.ui().ui_updates().size(), 0u);
    // The same through the UI update of a record marked done.
    ASSERT_EQ(fx.reload_sequence({1, 0, 0, 0, 0, 0, 0, 0}), PF_Err_NONE);
    EXPECT_EQ(fx.update_params_ui(), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    host_test::ExpectClean(fx);
}

}  // namespace

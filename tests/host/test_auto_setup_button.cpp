// The Auto Setup button driven by Effect Controls events, as the user works it.
#include "host/auto_check_button.h"
#include "host/auto_setup.h"
#include "host/embedded_bitmaps.h"
#include "host/entry_point.h"

#include "headless/effect.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using headless::EffectInstance;

// The button's picture is centred in the control frame, so the frame's centre
// shows the picture's centre pixel.
class ButtonTest : public ::testing::Test {
protected:
    void SetUp() override {
        fx_.set_comp_rate(29.97);
        headless::InputClip clip;
        clip.width = 720;
        clip.height = 480;
        fx_.set_input(clip);
        ASSERT_EQ(fx_.setup(), PF_Err_NONE);
        fx_.ui().reset_raster(300, 200);
        ASSERT_EQ(fx_.draw(2), PF_Err_NONE);
        const PF_Rect f = fx_.control_frame();
        cx_ = (f.left + f.right) / 2;
        cy_ = (f.top + f.bottom) / 2;
    }
    void TearDown() override {
        EXPECT_EQ(fx_.ui().live_drawbot_objects(), 0);
        for (const std::string& p : fx_.host().problems()) ADD_FAILURE() << "host problem: " << p;
    }

    // Whether the frame's centre shows picture `id` (its centre pixel).
    bool Shows(A_long id) {
        A_long w = 0, h = 0;
        const unsigned char* p = static_cast<const unsigned char*>(GetEmbeddedBitmap(id, &w, &h));
        if (!p) return false;
        const unsigned char* want = p + (static_cast<size_t>(h / 2) * w + w / 2) * 4;  // B, G, R, A
        const uint8_t* got = fx_.ui().raster().at(cx_, cy_);                           // R, G, B, A
        return std::abs(got[0] - want[2]) <= 1 && std::abs(got[1] - want[1]) <= 1 && std::abs(got[2] - want[0]) <= 1;
    }
    bool Distinguishable() { return !Shows(kBitmapButton) || !Shows(kBitmapButtonPressed); }
    PF_Point Inside() const { return PF_Point{cx_, cy_}; }
    PF_Point RightOfButton() const { return PF_Point{cx_ + 45, cy_}; }

    EffectInstance fx_{&EntryPointFunc};
    A_long cx_ = 0, cy_ = 0;
};

TEST_F(ButtonTest, NewButtonShowsItsNormalLook) {
    EXPECT_TRUE(fx_.last_event_handled());
    EXPECT_TRUE(Shows(kBitmapButton));
    EXPECT_FALSE(Shows(kBitmapButtonPressed));
}

TEST_F(ButtonTest, PressAndReleaseInsideAppliesOnce) {
    ASSERT_EQ(fx_.press(2, Inside()), PF_Err_NONE);
    EXPECT_TRUE(fx_.dragging());
    ASSERT_EQ(fx_.drag(Inside()), PF_Err_NONE);
    // While dragging, the user reads what Auto Setup is going to conclude.
    const AutoSetupRateClass rate = ClassifyRate(2997, 100);
    EXPECT_EQ(fx_.message(), ComposeAutoSetupMessage(LookUpAutoSetup(rate, 720, 480), rate));
    ASSERT_EQ(fx_.draw(2), PF_Err_NONE);
    EXPECT_TRUE(Shows(kBitmapButtonPressed));
    EXPECT_EQ(fx_.sequence_bytes()[0], 0);

    fx_.ui().clear_ui_updates();
    ASSERT_EQ(fx_.release(Inside()), PF_Err_NONE);
    EXPECT_TRUE(fx_.out_data().out_flags & PF_OutFlag_REFRESH_UI);
    EXPECT_EQ(fx_.popup(5), 1);  // NTSC
    EXPECT_EQ(fx_.popup(6), 2);  // Lower Field First
    EXPECT_EQ(fx_.changes_by_effect(5), 1);
    EXPECT_EQ(fx_.changes_by_effect(6), 1);
    EXPECT_EQ(fx_.sequence_bytes()[0], 1);

    bool button_disabled = false, groups_enabled = true;
    for (const auto& u : fx_.ui().ui_updates()) {
        if (u.index == 2) button_disabled = (u.def.ui_flags & PF_PUI_DISABLED) != 0;
        if (u.index == 3 || u.index == 10) groups_enabled &= (u.def.ui_flags & PF_PUI_DISABLED) == 0;
    }
    EXPECT_TRUE(button_disabled);
    EXPECT_TRUE(groups_enabled);

    ASSERT_EQ(fx_.draw(2), PF_Err_NONE);
    EXPECT_TRUE(Shows(kBitmapButtonDone));
    // The host greys the button out from now on.
    fx_.ui().clear_ui_updates();
    ASSERT_EQ(fx_.update_params_ui(), PF_Err_NONE);
    ASSERT_EQ(fx_.ui().ui_updates().size(), 1u);
    EXPECT_TRUE(fx_.ui().ui_updates()[0].def.ui_flags & PF_PUI_DISABLED);
}

TEST_F(ButtonTest, ReleaseOutsideChangesNothing) {
    ASSERT_EQ(fx_.press(2, Inside()), PF_Err_NONE);
    ASSERT_EQ(fx_.drag(Inside()), PF_Err_NONE);
    ASSERT_EQ(fx_.drag(RightOfButton()), PF_Err_NONE);
    ASSERT_EQ(fx_.draw(2), PF_Err_NONE);
    EXPECT_TRUE(Shows(kBitmapButton));  // dragged off: the normal look again
    ASSERT_EQ(fx_.release(RightOfButton()), PF_Err_NONE);
    EXPECT_EQ(fx_.popup(5), 2);
    EXPECT_EQ(fx_.popup(6), 2);
    EXPECT_EQ(fx_.changes_by_effect(5), 0);
    EXPECT_EQ(fx_.sequence_bytes()[0], 0);
    ASSERT_EQ(fx_.draw(2), PF_Err_NONE);
    EXPECT_TRUE(Shows(kBitmapButton));
}

TEST_F(ButtonTest, OnlyTheHorizontalPositionCounts) {
    // Far below the button but within its width: still a press on it.
    ASSERT_EQ(fx_.press(2, Inside()), PF_Err_NONE);
    ASSERT_EQ(fx_.release(PF_Point{cx_, cy_ + 500}), PF_Err_NONE);
    EXPECT_EQ(fx_.sequence_bytes()[0], 1);
    EXPECT_EQ(fx_.popup(5), 1);
}

TEST_F(ButtonTest, DraggingBackInsideStillApplies) {
    ASSERT_EQ(fx_.press(2, RightOfButton()), PF_Err_NONE);
    ASSERT_EQ(fx_.drag(RightOfButton()), PF_Err_NONE);
    ASSERT_EQ(fx_.drag(Inside()), PF_Err_NONE);
    ASSERT_EQ(fx_.release(Inside()), PF_Err_NONE);
    EXPECT_EQ(fx_.sequence_bytes()[0], 1);
}

TEST_F(ButtonTest, FailedAutoSetupStillSetsValuesAndMarksTheInstance) {
    // A PAL frame in a 29.97 composition: values set, failure reported.
    fx_.in_data().width = 720;
    fx_.in_data().height = 576;
    ASSERT_EQ(fx_.press(2, Inside()), PF_Err_NONE);
    ASSERT_EQ(fx_.drag(Inside()), PF_Err_NONE);
    EXPECT_EQ(fx_.message().rfind("Auto Setup Failed.", 0), 0u) << fx_.message();
    ASSERT_EQ(fx_.release(Inside()), PF_Err_NONE);
    EXPECT_EQ(fx_.popup(5), 2);
    EXPECT_EQ(fx_.popup(6), 2);
    EXPECT_EQ(fx_.sequence_bytes()[0], 1);
}

TEST_F(ButtonTest, IdlePulsesUntilAutoSetupHasRun) {
    // Counter 1..49 has a positive weight (two pictures drawn), 50..100 and 0
    // none worth drawing; the counter runs 1..100, then 0.
    const int before = fx_.ui().draw_image_calls();
    fx_.ui().clear_invalidations();
    for (int i = 0; i < 101; ++i) ASSERT_EQ(fx_.idle(2), PF_Err_NONE);
    EXPECT_EQ(fx_.ui().draw_image_calls() - before, 49 * 2 + 52);
    EXPECT_EQ(fx_.ui().invalidations().size(), 101u);
    const int after_cycle = fx_.ui().draw_image_calls();
    ASSERT_EQ(fx_.idle(2), PF_Err_NONE);  // counter 1 again
    EXPECT_EQ(fx_.ui().draw_image_calls() - after_cycle, 2);

    ASSERT_EQ(fx_.press(2, Inside()), PF_Err_NONE);
    ASSERT_EQ(fx_.release(Inside()), PF_Err_NONE);
    const int done = fx_.ui().draw_image_calls();
    ASSERT_EQ(fx_.idle(2), PF_Err_NONE);
    EXPECT_TRUE(fx_.last_event_handled());
    EXPECT_EQ(fx_.ui().draw_image_calls(), done);
}

TEST(ButtonPulse, SinglePrecisionWeight) {
    EXPECT_EQ(CVAutoCheckButton::PulseWeight(0), 0);
    EXPECT_EQ(CVAutoCheckButton::PulseWeight(25), 65535);
    EXPECT_EQ(CVAutoCheckButton::PulseWeight(50), 0);
    EXPECT_EQ(CVAutoCheckButton::PulseWeight(75), -65535);
    EXPECT_EQ(CVAutoCheckButton::PulseWeight(1), 4114);
    EXPECT_LT(CVAutoCheckButton::PulseWeight(51), 0);
}

TEST_F(ButtonTest, MissingAppSuiteIsReportedWithItsText) {
    fx_.host().withdraw_suite("PF AE App Suite", 6);
    EXPECT_EQ(fx_.press(2, Inside()), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(fx_.message(), "Failed to acquire PFAppSuite4.");
    EXPECT_TRUE(fx_.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE);
    fx_.host().clear_problems();
}

TEST_F(ButtonTest, MissingPictureLeavesTheControlUndrawn) {
    const int before = fx_.ui().draw_image_calls();
    g_button_image_override = 23414;
    const PF_Err err = fx_.draw(2);
    g_button_image_override = -1;
    EXPECT_EQ(err, PF_Err_NONE);
    EXPECT_EQ(fx_.ui().draw_image_calls(), before);
}

}  // namespace

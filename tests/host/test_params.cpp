// The parameter list as the host receives it from parameter set-up.
#include "support.h"

#include <vector>

namespace {

using headless::EffectInstance;

const char kShow[] =
    "Result|(-|All Fields|Field -2|Field -1|Field 0|Field +1|(-|Gradient|Difference|Auto Levels|Match "
    "Points|Vector Magnitudes|Source|Data";

// Recorded parameter at host index i (the input layer is index 0).
const PF_ParamDef& At(EffectInstance& fx, size_t host_index) { return fx.host().param(host_index - 1).def; }

struct Want {
    PF_ParamType type;
    A_long id;
    const char* name;
    const char* choices;  // popups only
    A_long count, dephault;
    bool fixed_in_time;
};

void Check(const PF_ParamDef& d, const Want& w, bool collapsed = true) {
    EXPECT_EQ(d.param_type, w.type);
    EXPECT_EQ(d.uu.id, w.id);
    EXPECT_STREQ(d.name, w.name);
    EXPECT_EQ((d.flags & PF_ParamFlag_START_COLLAPSED) != 0, collapsed);
    EXPECT_EQ((d.flags & PF_ParamFlag_CANNOT_TIME_VARY) != 0, w.fixed_in_time);
    if (w.type == PF_Param_POPUP) {
        EXPECT_STREQ(d.u.pd.u.namesptr, w.choices);
        EXPECT_EQ(d.u.pd.num_choices, w.count);
        EXPECT_EQ(d.u.pd.dephault, w.dephault);
    }
}

TEST(Params, ListWithoutThePreference) {
    EffectInstance fx(&EntryPointFunc);
    host_test::SetUpParams(fx);
    EXPECT_EQ(fx.host().out_data().num_params, 13);
    ASSERT_EQ(fx.host().param_count(), 12u);
    const Want want[] = {
        {PF_Param_NO_DATA, 14, "Tessen Plus", nullptr, 0, 0, false},  // the framework's header
        {PF_Param_NO_DATA, 12, "Auto Setup", nullptr, 0, 0, false},
        {PF_Param_GROUP_START, 1, "Deinterlace", nullptr, 0, 0, false},
        {PF_Param_CHECKBOX, 2, "", nullptr, 0, 0, false},
        {PF_Param_POPUP, 3, "Source Video", "NTSC|PAL", 2, 2, true},
        {PF_Param_POPUP, 4, "Field Order", "Upper Field First|Lower Field First", 2, 2, true},
        {PF_Param_FLOAT_SLIDER, 5, "Motion Detection Adjustment", nullptr, 0, 0, false},
        {PF_Param_SLIDER, 6, "Detail Pattern Size", nullptr, 0, 0, false},
        {PF_Param_GROUP_END, 7, "", nullptr, 0, 0, false},
        {PF_Param_GROUP_START, 8, "Deartifacting", nullptr, 0, 0, false},
        {PF_Param_POPUP, 9, "Deartifacting", "None|Broadcast 4:2:2|HDCAM 3:1:1|DV/HDV 4:1:1, 4:2:0", 4, 1, false},
        {PF_Param_GROUP_END, 10, "", nullptr, 0, 0, false},
    };
    for (size_t i = 0; i < 12; ++i) {
        SCOPED_TRACE("host index " + std::to_string(i + 1));
        // Everything but the button starts collapsed, groups whatever they ask.
        Check(At(fx, i + 1), want[i], i != 1);
    }
    EXPECT_EQ(At(fx, 1).ui_flags, PF_PUI_TOPIC);
    const PF_ParamDef& button = At(fx, 2);
    EXPECT_EQ(button.ui_width, 113);
    EXPECT_EQ(button.ui_height, 100);
    EXPECT_TRUE(button.ui_flags & PF_PUI_CONTROL);
    const PF_ParamDef& box = At(fx, 4);
    EXPECT_STREQ(box.u.bd.u.nameptr, "Do Deinterlace");
    EXPECT_EQ(box.u.bd.dephault, 1);
    EXPECT_TRUE(box.flags & PF_ParamFlag_SUPERVISE);
    // valid min/max, slider min/max, default.
    const PF_FloatSliderDef& m = At(fx, 7).u.fs_d;
    EXPECT_EQ((std::vector<double>{m.valid_min, m.valid_max, m.slider_min, m.slider_max, m.dephault}),
              (std::vector<double>{-100, 100, -100, 100, 20}));
    EXPECT_EQ(m.precision, 4);
    const PF_SliderDef& p = At(fx, 8).u.sd;
    EXPECT_EQ((std::vector<A_long>{p.valid_min, p.valid_max, p.slider_min, p.slider_max, p.dephault}),
              (std::vector<A_long>{1, 12, 2, 7, 4}));

    // Custom UI: the button right after it was added, then once more for the
    // whole effect with zero sizes.
    const auto& uis = fx.host().registered_uis();
    ASSERT_EQ(uis.size(), 2u);
    EXPECT_EQ(uis[0].params_before, 2);
    EXPECT_EQ(uis[1].params_before, 12);
    for (const PF_CustomUIInfo* ui : {&uis[0].info, &uis[1].info}) {
        const bool button_ui = ui == &uis[0].info;
        EXPECT_EQ(ui->events, PF_CustomEFlag_EFFECT);
        for (const A_long* wha : {&ui->comp_ui_width, &ui->layer_ui_width, &ui->preview_ui_width}) {
            EXPECT_EQ(wha[0], button_ui ? 113 : 0);  // width, height, alignment
            EXPECT_EQ(wha[1], button_ui ? 100 : 0);
            EXPECT_EQ(wha[2], button_ui ? PF_UIAlignment_LEFT | PF_UIAlignment_RIGHT : 0);
        }
    }
    EXPECT_TRUE(fx.host().problems().empty());
}

TEST(Params, ShowExistsWhenTheKeyDoesWhateverItsValue) {
    const Want show = {PF_Param_POPUP, 11, "Show", kShow, 15, 1, false};
    for (const char* value : {"true", "false", "0", ""}) {
        SCOPED_TRACE(value);
        EffectInstance fx(&EntryPointFunc);
        fx.project().set_preference("Wrenfold Suite", "Diagnostic Views", value);
        host_test::SetUpParams(fx);
        EXPECT_EQ(fx.host().out_data().num_params, 14);
        ASSERT_EQ(fx.host().param_count(), 13u);
        Check(At(fx, 13), show);
        // The closing registration comes after "Show".
        EXPECT_EQ(fx.host().registered_uis().back().params_before, 13);
    }
    // Another key or another section does not count.
    EffectInstance fx(&EntryPointFunc);
    fx.project().set_preference("Wrenfold Suite", "Diagnostic View", "1");
    fx.project().set_preference("Wrenfold", "Diagnostic Views", "1");
    host_test::SetUpParams(fx);
    EXPECT_EQ(fx.host().out_data().num_params, 13);

    // A failing preference read fails the command.
    EffectInstance failing(&EntryPointFunc);
    failing.project().fail_blob(5);
    ASSERT_EQ(failing.global_setup(), PF_Err_NONE);
    EXPECT_EQ(failing.call(PF_Cmd_PARAMS_SETUP), 5);
    EXPECT_EQ(failing.host().unreleased_suites(), 0);
}

}  // namespace

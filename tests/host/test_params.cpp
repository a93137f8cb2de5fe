// The parameter list as the host receives it from parameter set-up.
#include "host/entry_point.h"

#include "headless/effect.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using headless::EffectInstance;

const char kShow[] =
    "Result|(-|All Fields|Field -2|Field -1|Field 0|Field +1|(-|Gradient|Difference|Auto Levels|Match "
    "Points|Vector Magnitudes|Source|Data";

// Recorded parameter at host index i (the input layer is index 0).
const PF_ParamDef& At(EffectInstance& fx, size_t host_index) { return fx.host().param(host_index - 1).def; }

TEST(Params, ListWithoutThePreference) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
    EXPECT_EQ(fx.host().out_data().num_params, 13);
    ASSERT_EQ(fx.host().param_count(), 12u);

    struct Want {
        PF_ParamType type;
        A_long id;
        const char* name;
    };
    const Want want[] = {
        {PF_Param_NO_DATA, 14, nullptr},  // the framework's header
        {PF_Param_NO_DATA, 12, "Auto Setup"},
        {PF_Param_GROUP_START, 1, "Deinterlace"},
        {PF_Param_CHECKBOX, 2, ""},
        {PF_Param_POPUP, 3, "Source Video"},
        {PF_Param_POPUP, 4, "Field Order"},
        {PF_Param_FLOAT_SLIDER, 5, "Motion Detection Adjustment"},
        {PF_Param_SLIDER, 6, "Detail Pattern Size"},
        {PF_Param_GROUP_END, 7, ""},
        {PF_Param_GROUP_START, 8, "Deartifacting"},
        {PF_Param_POPUP, 9, "Deartifacting"},
        {PF_Param_GROUP_END, 10, ""},
    };
    for (size_t i = 0; i < 12; ++i) {
        const PF_ParamDef& d = At(fx, i + 1);
        SCOPED_TRACE("host index " + std::to_string(i + 1));
        EXPECT_EQ(d.param_type, want[i].type);
        EXPECT_EQ(d.uu.id, want[i].id);
        if (want[i].name) {
            EXPECT_STREQ(d.name, want[i].name);
        }
    }

    const PF_ParamDef& button = At(fx, 2);
    EXPECT_EQ(button.ui_width, 113);
    EXPECT_EQ(button.ui_height, 100);
    EXPECT_TRUE(button.ui_flags & PF_PUI_CONTROL);
    EXPECT_FALSE(button.flags & PF_ParamFlag_START_COLLAPSED);

    // Groups start collapsed whatever they ask for: every parameter carries the flag.
    EXPECT_TRUE(At(fx, 3).flags & PF_ParamFlag_START_COLLAPSED);
    EXPECT_TRUE(At(fx, 10).flags & PF_ParamFlag_START_COLLAPSED);

    const PF_ParamDef& box = At(fx, 4);
    EXPECT_STREQ(box.u.bd.u.nameptr, "Do Deinterlace");
    EXPECT_EQ(box.u.bd.dephault, 1);
    EXPECT_EQ(box.u.bd.value, 1);
    EXPECT_TRUE(box.flags & PF_ParamFlag_SUPERVISE);

    const PF_ParamDef& source = At(fx, 5);
    EXPECT_STREQ(source.u.pd.u.namesptr, "NTSC|PAL");
    EXPECT_EQ(source.u.pd.num_choices, 2);
    EXPECT_EQ(source.u.pd.dephault, 2);
    EXPECT_TRUE(source.flags & PF_ParamFlag_CANNOT_TIME_VARY);

    const PF_ParamDef& order = At(fx, 6);
    EXPECT_STREQ(order.u.pd.u.namesptr, "Upper Field First|Lower Field First");
    EXPECT_EQ(order.u.pd.num_choices, 2);
    EXPECT_EQ(order.u.pd.dephault, 2);
    EXPECT_TRUE(order.flags & PF_ParamFlag_CANNOT_TIME_VARY);

    const PF_FloatSliderDef& motion = At(fx, 7).u.fs_d;
    EXPECT_EQ(motion.valid_min, -100.0f);
    EXPECT_EQ(motion.valid_max, 100.0f);
    EXPECT_EQ(motion.slider_min, -100.0f);
    EXPECT_EQ(motion.slider_max, 100.0f);
    EXPECT_EQ(motion.dephault, 20.0f);
    EXPECT_EQ(motion.precision, 4);

    const PF_SliderDef& pattern = At(fx, 8).u.sd;
    EXPECT_EQ(pattern.valid_min, 1);
    EXPECT_EQ(pattern.valid_max, 12);
    EXPECT_EQ(pattern.slider_min, 2);
    EXPECT_EQ(pattern.slider_max, 7);
    EXPECT_EQ(pattern.dephault, 4);

    const PF_ParamDef& deartifacting = At(fx, 11);
    EXPECT_STREQ(deartifacting.u.pd.u.namesptr, "None|Broadcast 4:2:2|HDCAM 3:1:1|DV/HDV 4:1:1, 4:2:0");
    EXPECT_EQ(deartifacting.u.pd.num_choices, 4);
    EXPECT_EQ(deartifacting.u.pd.dephault, 1);
    EXPECT_FALSE(deartifacting.flags & PF_ParamFlag_CANNOT_TIME_VARY);

    // Custom UI: the button right after it was added, then once more for the
    // whole effect with zero sizes.
    const auto& uis = fx.host().registered_uis();
    ASSERT_EQ(uis.size(), 2u);
    EXPECT_EQ(uis[0].params_before, 2);
    EXPECT_EQ(uis[0].info.events, PF_CustomEFlag_EFFECT);
    EXPECT_EQ(uis[0].info.comp_ui_width, 113);
    EXPECT_EQ(uis[0].info.comp_ui_height, 100);
    EXPECT_EQ(uis[0].info.layer_ui_width, 113);
    EXPECT_EQ(uis[0].info.preview_ui_height, 100);
    EXPECT_EQ(uis[0].info.comp_ui_alignment, PF_UIAlignment_LEFT | PF_UIAlignment_RIGHT);
    EXPECT_EQ(uis[0].info.layer_ui_alignment, PF_UIAlignment_LEFT | PF_UIAlignment_RIGHT);
    EXPECT_EQ(uis[0].info.preview_ui_alignment, PF_UIAlignment_LEFT | PF_UIAlignment_RIGHT);
    EXPECT_EQ(uis[1].params_before, 12);
    EXPECT_EQ(uis[1].info.events, PF_CustomEFlag_EFFECT);
    EXPECT_EQ(uis[1].info.comp_ui_width | uis[1].info.comp_ui_height | uis[1].info.layer_ui_width |
                  uis[1].info.layer_ui_height | uis[1].info.preview_ui_width | uis[1].info.preview_ui_height |
                  uis[1].info.comp_ui_alignment | uis[1].info.layer_ui_alignment |
                  uis[1].info.preview_ui_alignment,
              0);
    EXPECT_TRUE(fx.host().problems().empty());
}

TEST(Params, ShowExistsWhenTheKeyDoesWhateverItsValue) {
    for (const char* value : {"true", "false", "0", ""}) {
        EffectInstance fx(&EntryPointFunc);
        fx.project().set_preference("Wrenfold Suite", "Diagnostic Views", value);
        ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
        ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
        EXPECT_EQ(fx.host().out_data().num_params, 14) << value;
        ASSERT_EQ(fx.host().param_count(), 13u);
        const PF_ParamDef& show = At(fx, 13);
        EXPECT_EQ(show.param_type, PF_Param_POPUP);
        EXPECT_EQ(show.uu.id, 11);
        EXPECT_STREQ(show.name, "Show");
        EXPECT_STREQ(show.u.pd.u.namesptr, kShow);
        EXPECT_EQ(show.u.pd.num_choices, 15);
        EXPECT_EQ(show.u.pd.dephault, 1);
        EXPECT_FALSE(show.flags & PF_ParamFlag_CANNOT_TIME_VARY);
        // The closing registration comes after "Show".
        EXPECT_EQ(fx.host().registered_uis().back().params_before, 13);
    }
    // Another key or another section does not count.
    EffectInstance fx(&EntryPointFunc);
    fx.project().set_preference("Wrenfold Suite", "Diagnostic View", "1");
    fx.project().set_preference("Wrenfold", "Diagnostic Views", "1");
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
    EXPECT_EQ(fx.host().out_data().num_params, 13);
}

TEST(Params, PreferenceErrorsFailTheCommand) {
    EffectInstance fx(&EntryPointFunc);
    fx.project().fail_blob(5);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    EXPECT_EQ(fx.call(PF_Cmd_PARAMS_SETUP), 5);
    EXPECT_EQ(fx.host().unreleased_suites(), 0);
}

TEST(Params, HostRefusingAParameterFailsTheCommand) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    fx.host().fail_allocation(1);  // whatever the host allocates first while adding
    const PF_Err err = fx.call(PF_Cmd_PARAMS_SETUP);
    fx.host().clear_allocation_failures();
    // Either nothing needed memory (0) or the failure came back as a result.
    EXPECT_TRUE(err == PF_Err_NONE || err == PF_Err_OUT_OF_MEMORY) << err;
    EXPECT_EQ(fx.host().unreleased_suites(), 0);
}

}  // namespace

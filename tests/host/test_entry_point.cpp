// The effect as After Effects drives it: every command through EntryPointFunc
// in the headless host, with the host's own bookkeeping checked afterwards.
#include "host/entry_point.h"

#include "headless/effect.h"
#include "host/auto_setup.h"
#include "tessen_pipl_values.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using headless::EffectInstance;

constexpr A_long kPremiereApplId = 0x50724D72;  // 'PrMr'

void ExpectClean(EffectInstance& fx) {
    EXPECT_EQ(fx.host().leak_report(), "");
    for (const std::string& p : fx.host().problems()) ADD_FAILURE() << "host problem: " << p;
    EXPECT_EQ(fx.ui().live_drawbot_objects(), 0);
}

TEST(EntryPoint, WholeSessionLeavesNothingBehind) {
    EffectInstance fx(&EntryPointFunc);
    fx.set_comp_rate(29.97);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    fx.ui().reset_raster(400, 300);
    EXPECT_EQ(fx.update_params_ui(), PF_Err_NONE);
    EXPECT_EQ(fx.draw(2), PF_Err_NONE);
    EXPECT_EQ(fx.idle(2), PF_Err_NONE);
    EXPECT_EQ(fx.press(2, PF_Point{100, 90}), PF_Err_NONE);
    EXPECT_EQ(fx.drag(PF_Point{101, 90}), PF_Err_NONE);
    EXPECT_EQ(fx.release(PF_Point{101, 90}), PF_Err_NONE);
    EXPECT_EQ(fx.draw(2), PF_Err_NONE);
    EXPECT_EQ(fx.render(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_flatten(), PF_Err_NONE);
    EXPECT_EQ(fx.get_flattened_sequence_data(), PF_Err_NONE);
    EXPECT_EQ(fx.about(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.outstanding_checkouts(), 0);
    ExpectClean(fx);
}

TEST(EntryPoint, GlobalSetupDeclaresVersionAndFlags) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    EXPECT_EQ(fx.my_version(), 0x8E600u);
    EXPECT_EQ(static_cast<A_u_long>(fx.out_flags()), 0x06008043u);
    EXPECT_EQ(static_cast<A_u_long>(fx.out_flags2()), 0x00800008u);
    // The registration record is generated from the same numbers.
    EXPECT_EQ(fx.my_version(), kEffectVersion);
    EXPECT_EQ(static_cast<A_u_long>(fx.out_flags()), kEffectOutFlags);
    EXPECT_EQ(static_cast<A_u_long>(fx.out_flags2()), kEffectOutFlags2);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    ExpectClean(fx);
}

TEST(EntryPoint, OnlyAfterEffectsIsServed) {
    EffectInstance fx(&EntryPointFunc);
    fx.host().set_appl_id(kPremiereApplId);
    EXPECT_EQ(fx.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_EQ(fx.my_version(), 0u);
}

TEST(EntryPoint, AboutText) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.about(), PF_Err_NONE);
    const std::string text = fx.message();
    EXPECT_EQ(text.rfind("Veltrix Tessen 1.1.12\r", 0), 0u) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(fx.host().sprintf_overflows(), 0u);
}

TEST(EntryPoint, UnlistedCommandsChangeNothing) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    const std::vector<uint8_t> seq = fx.sequence_bytes();
    const size_t handles = fx.host().live_handles();
    const int acquisitions = fx.host().total_acquisitions();
    std::vector<PF_ParamDef> before;
    for (A_long i = 0; i < fx.num_params(); ++i) before.push_back(fx.param(i));

    std::vector<PF_Cmd> unlisted = {2, 9, 12, 13};
    for (PF_Cmd c = 16; c <= 27; ++c) unlisted.push_back(c);
    for (PF_Cmd c = 29; c <= 40; ++c) unlisted.push_back(c);
    unlisted.push_back(1000);
    unlisted.push_back(-1);
    for (PF_Cmd cmd : unlisted) {
        SCOPED_TRACE("command " + std::to_string(cmd));
        EXPECT_EQ(fx.call(cmd), PF_Err_NONE);
        const PF_OutData& out = fx.out_data();
        EXPECT_EQ(out.my_version, 0u);
        EXPECT_EQ(out.out_flags, 0);
        EXPECT_EQ(out.out_flags2, 0);
        EXPECT_EQ(out.num_params, 0);
        EXPECT_EQ(out.return_msg[0], 0);
        EXPECT_EQ(out.sequence_data, fx.sequence_data());
    }
    EXPECT_EQ(fx.sequence_bytes(), seq);
    EXPECT_EQ(fx.host().live_handles(), handles);
    EXPECT_EQ(fx.host().total_acquisitions(), acquisitions);
    for (A_long i = 0; i < fx.num_params(); ++i)
        EXPECT_EQ(std::memcmp(&before[i], &fx.param(i), sizeof(PF_ParamDef)), 0) << "parameter " << i;
}

TEST(EntryPoint, FailuresBecomeResults) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
    // The host refuses the record's memory: out of memory, nothing leaks.
    fx.host().fail_allocation(1);
    EXPECT_EQ(fx.sequence_setup(), PF_Err_OUT_OF_MEMORY);
    fx.host().clear_allocation_failures();
    EXPECT_EQ(fx.host().unreleased_suites(), 0);
    // Without a record there is nothing to flatten.
    EXPECT_EQ(fx.get_flattened_sequence_data(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    // A reopened project with a record the host cannot copy.
    ASSERT_EQ(fx.reload_sequence({0, 0, 0, 0, 0, 0, 0, 0}), PF_Err_NONE);
    fx.host().fail_allocation(1);
    EXPECT_EQ(fx.get_flattened_sequence_data(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    fx.host().clear_allocation_failures();
    // The failed command leaves out_data->sequence_data as the host filled it
    // in (the live record); the host takes nothing from a failed command.
    fx.host().clear_problems();
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    ExpectClean(fx);
}

TEST(SequenceRecord, SetupResetupFlatten) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), std::vector<uint8_t>(8, 0));
    EXPECT_EQ(fx.sequence_flatten(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);

    // Reopened after Auto Setup: the flag stays, the scratch bytes go.
    ASSERT_EQ(fx.reload_sequence({1, 5, 6, 7, 8, 9, 10, 11}), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), (std::vector<uint8_t>{1, 0, 0, 0, 0, 0, 0, 0}));
    ASSERT_EQ(fx.get_flattened_sequence_data(), PF_Err_NONE);
    EXPECT_NE(fx.flattened(), fx.sequence_data());
    EXPECT_EQ(fx.flattened_bytes(), fx.sequence_bytes());
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);

    ASSERT_EQ(fx.reload_sequence({0, 1, 1, 1, 1, 1, 1, 1}), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), std::vector<uint8_t>(8, 0));
    // Set-up over an existing record replaces it with a fresh one.
    EXPECT_EQ(fx.sequence_setup(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), std::vector<uint8_t>(8, 0));
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    ExpectClean(fx);
}

TEST(SequenceSetup, SwitchesHostFieldSeparationOffOnFootageOnly) {
    {
        EffectInstance fx(&EntryPointFunc);
        fx.project().set_interlaced(FIEL_Order_UPPER_FIRST, AEGP_PulldownPhase_WSSWW);
        ASSERT_EQ(fx.setup(), PF_Err_NONE);
        const FIEL_Type type = fx.project().interpretation().il.type;  // packed: read by value
        EXPECT_EQ(type, static_cast<FIEL_Type>(FIEL_Type_FRAME_RENDERED));
        EXPECT_EQ(fx.project().interpretation().pd, AEGP_PulldownPhase_NO_PULLDOWN);
        EXPECT_EQ(fx.project().interpretation_writes(), 1);
    }
    for (auto source : {headless::Project::Source::Composition, headless::Project::Source::Solid}) {
        EffectInstance fx(&EntryPointFunc);
        fx.project().set_source(source);
        fx.project().set_interlaced(FIEL_Order_UPPER_FIRST, AEGP_PulldownPhase_WSSWW);
        ASSERT_EQ(fx.setup(), PF_Err_NONE);
        EXPECT_EQ(fx.project().interpretation_writes(), 0);
        const FIEL_Type type = fx.project().interpretation().il.type;
        EXPECT_EQ(type, static_cast<FIEL_Type>(FIEL_Type_INTERLACED));
    }
    {
        // Another host than After Effects: no AEGP work at all.
        EffectInstance fx(&EntryPointFunc);
        fx.project().set_interlaced(FIEL_Order_UPPER_FIRST, AEGP_PulldownPhase_WSSWW);
        ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
        ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
        fx.host().set_appl_id(kPremiereApplId);
        EXPECT_EQ(fx.sequence_setup(), PF_Err_NONE);
        EXPECT_EQ(fx.project().interpretation_writes(), 0);
        fx.host().set_appl_id(kAfterEffectsApplId);
    }
}

TEST(SequenceSetup, ReadErrorsReturnWriteErrorsDoNot) {
    {
        EffectInstance fx(&EntryPointFunc);
        fx.project().fail_interpretation_write(7);
        EXPECT_EQ(fx.setup(), PF_Err_NONE);
        EXPECT_EQ(fx.sequence_bytes(), std::vector<uint8_t>(8, 0));
    }
    {
        EffectInstance fx(&EntryPointFunc);
        fx.project().fail_interpretation_read(9);
        ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
        ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
        EXPECT_EQ(fx.sequence_setup(), 9);
        EXPECT_EQ(fx.host().unreleased_suites(), 0);
    }
}

TEST(UpdateParamsUI, DisablesTheButtonOnceAutoSetupHasRun) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    fx.ui().clear_ui_updates();
    EXPECT_EQ(fx.update_params_ui(), PF_Err_NONE);
    EXPECT_TRUE(fx.ui().ui_updates().empty());
    ASSERT_EQ(fx.sequence_setdown(), PF_Err_NONE);

    ASSERT_EQ(fx.reload_sequence({1, 0, 0, 0, 0, 0, 0, 0}), PF_Err_NONE);
    EXPECT_EQ(fx.update_params_ui(), PF_Err_NONE);
    ASSERT_EQ(fx.ui().ui_updates().size(), 1u);
    EXPECT_EQ(fx.ui().ui_updates()[0].index, 2);
    EXPECT_TRUE(fx.ui().ui_updates()[0].def.ui_flags & PF_PUI_DISABLED);
    EXPECT_TRUE(fx.ui().ui_updates()[0].def.ui_flags & PF_PUI_CONTROL);
}

TEST(UpdateParamsUI, MissingParameterArrayIsAnErrorNotACrash) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.reload_sequence({1, 0, 0, 0, 0, 0, 0, 0}), PF_Err_NONE);
    fx.in_data().sequence_data = fx.sequence_data();
    EXPECT_EQ(EntryPointFunc(PF_Cmd_UPDATE_PARAMS_UI, &fx.in_data(), &fx.out_data(), nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(EntryPointFunc(PF_Cmd_ABOUT, nullptr, nullptr, nullptr, nullptr, nullptr), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(fx.host().unreleased_suites(), 0);
}

TEST(Events, OnlyTheEffectControlsWindowReachesTheButton) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    fx.ui().reset_raster(300, 200);
    for (PF_WindowType w : {PF_Window_COMP, PF_Window_LAYER, PF_Window_PREVIEW}) {
        fx.ui().set_window_type(w);
        EXPECT_EQ(fx.draw(2), PF_Err_NONE);
        EXPECT_FALSE(fx.last_event_handled());
    }
    EXPECT_EQ(fx.ui().draw_image_calls(), 0);
    fx.ui().set_window_type(PF_Window_EFFECT);
    EXPECT_EQ(fx.draw(2), PF_Err_NONE);
    EXPECT_TRUE(fx.last_event_handled());
    EXPECT_EQ(fx.ui().draw_image_calls(), 1);
    // Events for parameters without a control are not handled.
    EXPECT_EQ(fx.draw(5), PF_Err_NONE);
    EXPECT_FALSE(fx.last_event_handled());
}

}  // namespace

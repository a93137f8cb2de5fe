// The effect as After Effects drives it: every command through EntryPointFunc
// in the headless host, with the host's own bookkeeping checked afterwards.
#include "support.h"

#include <cstring>
#include <vector>

namespace {

using headless::EffectInstance;
using host_test::ExpectClean;
using host_test::SetUpParams;
using Bytes = std::vector<uint8_t>;

TEST(EntryPoint, AboutAndOnlyAfterEffectsIsServed) {
    EffectInstance fx(&EntryPointFunc);
    // Version and flags: see the module tests, which compare them with the
    // registration record.
    ASSERT_EQ(fx.about(), PF_Err_NONE);
    const std::string text = fx.message();
    EXPECT_EQ(text.rfind("Veltrix Tessen 1.1.12\r", 0), 0u) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(fx.host().sprintf_overflows(), 0u);
    ExpectClean(fx);

    EffectInstance premiere(&EntryPointFunc);
    premiere.host().set_appl_id(host_test::kPremiereApplId);
    EXPECT_EQ(premiere.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_EQ(premiere.my_version(), 0u);
}

TEST(EntryPoint, UnlistedCommandsChangeNothing) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    const Bytes seq = fx.sequence_bytes();
    const size_t handles = fx.host().live_handles();
    const int acquisitions = fx.host().total_acquisitions();
    std::vector<PF_ParamDef> before;
    for (A_long i = 0; i < fx.num_params(); ++i) before.push_back(fx.param(i));

    std::vector<PF_Cmd> unlisted = {2, 9, 12, 13, 1000, -1};
    for (PF_Cmd c = 16; c <= 40; ++c) {
        if (c != 28) unlisted.push_back(c);
    }
    for (PF_Cmd cmd : unlisted) {
        SCOPED_TRACE("command " + std::to_string(cmd));
        EXPECT_EQ(fx.call(cmd), PF_Err_NONE);
        const PF_OutData& out = fx.out_data();
        EXPECT_EQ(out.my_version, 0u);
        EXPECT_EQ(out.out_flags | out.out_flags2 | out.num_params | out.return_msg[0], 0);
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
    SetUpParams(fx);
    // The host refuses the record's memory: out of memory, nothing leaks.
    fx.host().fail_allocation(1);
    EXPECT_EQ(fx.sequence_setup(), PF_Err_OUT_OF_MEMORY);
    fx.host().clear_allocation_failures();
    EXPECT_EQ(fx.host().unreleased_suites(), 0);
    // Without a record there is nothing to flatten.
    EXPECT_EQ(fx.get_flattened_sequence_data(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    // A reopened project with a record the host cannot copy.
    ASSERT_EQ(fx.reload_sequence({1, 0, 0, 0, 0, 0, 0, 0}), PF_Err_NONE);
    fx.host().fail_allocation(1);
    EXPECT_EQ(fx.get_flattened_sequence_data(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    fx.host().clear_allocation_failures();
    // The failed command leaves out_data->sequence_data as the host filled it
    // in (the live record); the host takes nothing from a failed command.
    fx.host().clear_problems();
    // No parameter array is an error, not a crash; nor are no records at all.
    fx.in_data().sequence_data = fx.sequence_data();
    EXPECT_EQ(EntryPointFunc(PF_Cmd_UPDATE_PARAMS_UI, &fx.in_data(), &fx.out_data(), nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(EntryPointFunc(PF_Cmd_ABOUT, nullptr, nullptr, nullptr, nullptr, nullptr), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    ExpectClean(fx);
}

TEST(SequenceRecord, SetupResetupFlattenAndUpdateParamsUI) {
    EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), Bytes(8, 0));
    fx.ui().clear_ui_updates();
    EXPECT_EQ(fx.update_params_ui(), PF_Err_NONE);
    EXPECT_TRUE(fx.ui().ui_updates().empty());
    EXPECT_EQ(fx.sequence_flatten(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);

    // Reopened after Auto Setup: the flag stays, the scratch bytes go, and
    // the button is greyed out.
    ASSERT_EQ(fx.reload_sequence({1, 5, 6, 7, 8, 9, 10, 11}), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
    ASSERT_EQ(fx.get_flattened_sequence_data(), PF_Err_NONE);
    EXPECT_NE(fx.flattened(), fx.sequence_data());
    EXPECT_EQ(fx.flattened_bytes(), fx.sequence_bytes());
    EXPECT_EQ(fx.update_params_ui(), PF_Err_NONE);
    ASSERT_EQ(fx.ui().ui_updates().size(), 1u);
    EXPECT_EQ(fx.ui().ui_updates()[0].index, 2);
    EXPECT_TRUE(fx.ui().ui_updates()[0].def.ui_flags & PF_PUI_DISABLED);
    EXPECT_TRUE(fx.ui().ui_updates()[0].def.ui_flags & PF_PUI_CONTROL);
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);

    ASSERT_EQ(fx.reload_sequence({0, 1, 1, 1, 1, 1, 1, 1}), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), Bytes(8, 0));
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);

    // A damaged project's record shorter than ours: nothing is written past
    // its end (the host's tail guard would report it below); a whole record
    // takes its place with the Auto Setup state kept, and is saved whole.
    for (const Bytes& shortRecord : {Bytes{}, Bytes{1}, Bytes{1, 2, 3, 4, 5, 6, 7}}) {
        SCOPED_TRACE(shortRecord.size());
        ASSERT_EQ(fx.reload_sequence(shortRecord), PF_Err_NONE);
        Bytes whole(8, 0);
        whole[0] = shortRecord.empty() ? 0 : 1;
        EXPECT_EQ(fx.sequence_bytes(), whole);
        ASSERT_EQ(fx.get_flattened_sequence_data(), PF_Err_NONE);
        EXPECT_EQ(fx.flattened_bytes(), whole);
        EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    }
    ASSERT_EQ(fx.reload_sequence({0, 1, 1, 1, 1, 1, 1, 1}), PF_Err_NONE);
    // Set-up over an existing record replaces it with a fresh one.
    EXPECT_EQ(fx.sequence_setup(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_bytes(), Bytes(8, 0));
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    ExpectClean(fx);
}

TEST(SequenceSetup, SwitchesHostFieldSeparationOffOnFootageOnly) {
    using Source = headless::Project::Source;
    struct Case {
        const char* what;
        Source source;
        A_long appl_id;
        bool switched;
    };
    const Case cases[] = {{"footage", Source::Footage, kAfterEffectsApplId, true},
                          {"composition", Source::Composition, kAfterEffectsApplId, false},
                          {"solid", Source::Solid, kAfterEffectsApplId, false},
                          {"another host: no AEGP work", Source::Footage, host_test::kPremiereApplId, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EffectInstance fx(&EntryPointFunc);
        fx.project().set_source(c.source);
        fx.project().set_interlaced(FIEL_Order_UPPER_FIRST, AEGP_PulldownPhase_WSSWW);
        SetUpParams(fx);
        fx.host().set_appl_id(c.appl_id);
        EXPECT_EQ(fx.sequence_setup(), PF_Err_NONE);
        fx.host().set_appl_id(kAfterEffectsApplId);
        const FIEL_Type type = fx.project().interpretation().il.type;  // packed: read by value
        EXPECT_EQ(type, static_cast<FIEL_Type>(c.switched ? FIEL_Type_FRAME_RENDERED : FIEL_Type_INTERLACED));
        EXPECT_EQ(fx.project().interpretation().pd,
                  c.switched ? AEGP_PulldownPhase_NO_PULLDOWN : AEGP_PulldownPhase_WSSWW);
        EXPECT_EQ(fx.project().interpretation_writes(), c.switched ? 1 : 0);
    }
    // A refused write is not an error; a refused read is returned.
    EffectInstance writes(&EntryPointFunc);
    writes.project().fail_interpretation_write(7);
    EXPECT_EQ(writes.setup(), PF_Err_NONE);
    EXPECT_EQ(writes.sequence_bytes(), Bytes(8, 0));
    EffectInstance reads(&EntryPointFunc);
    reads.project().fail_interpretation_read(9);
    SetUpParams(reads);
    EXPECT_EQ(reads.sequence_setup(), 9);
    EXPECT_EQ(reads.host().unreleased_suites(), 0);
}

}  // namespace

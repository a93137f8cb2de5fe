#include "host/commands.h"

#include "dae/context.h"
#include "dae/effect_control.h"
#include "dae/exceptions.h"
#include "dae/suites.h"
#include "host/auto_check_button.h"
#include "host/auto_setup.h"
#include "host/entry_point.h"
#include "host/sequence_state.h"
#include "tessen_pipl_values.h"

#include <cstdio>

namespace {

constexpr char kAboutFormat[] =
    "Veltrix Tessen %d.%d.%d\r"
    "Interlaced NTSC and PAL video to progressive frames with film-like motion.\r"
    "Copyright Veltrix. All rights reserved.";

}  // namespace

void AboutCommand(PF_InData* in_data, PF_OutData* out_data) {
    if (in_data->utils && in_data->utils->ansi.sprintf) {
        in_data->utils->ansi.sprintf(out_data->return_msg, kAboutFormat, kEffectVersionMajor, kEffectVersionMinor,
                                     kEffectVersionBugFix);
    } else {
        std::snprintf(out_data->return_msg, sizeof out_data->return_msg, kAboutFormat, kEffectVersionMajor,
                      kEffectVersionMinor, kEffectVersionBugFix);
    }
}

void GlobalSetupCommand(PF_InData* in_data, PF_OutData* out_data) {
    // Only After Effects; Premiere Pro and every other host are refused.
    if (in_data->appl_id != kAfterEffectsApplId) throw static_cast<A_long>(PF_Err_INTERNAL_STRUCT_DAMAGED);
    out_data->my_version = kEffectVersion;
    out_data->out_flags = static_cast<PF_OutFlags>(kEffectOutFlags);
    out_data->out_flags2 = static_cast<PF_OutFlags2>(kEffectOutFlags2);
    // The framework's part: the custom controls it will build on demand.
    DAE::DAE_Control_List::Register<CVAutoCheckButton>(kParamAutoSetup);
}

void GlobalSetdownCommand(PF_InData* in_data) { DAE::GlobalSetdown(in_data); }

PF_Err TurnOffHostFieldSeparation(PF_InData* in_data) {
    DAE::AEGP_SuiteHandler* suites = DAE::CurrentSuites();
    if (!suites) return PF_Err_NONE;
    AEGP_PFInterfaceSuite1* pf = suites->PFInterfaceSuite1();
    AEGP_LayerSuite6* layers = suites->LayerSuite6();
    AEGP_ItemSuite8* items = suites->ItemSuite8();
    AEGP_FootageSuite5* footage = suites->FootageSuite5();
    // A host without the project suites has no footage to reinterpret.
    if (!pf || !layers || !items || !footage) return PF_Err_NONE;

    AEGP_LayerH layer = nullptr;
    A_Err err = pf->AEGP_GetEffectLayer(in_data->effect_ref, &layer);
    if (err) return err;
    AEGP_ItemH item = nullptr;
    err = layers->AEGP_GetLayerSourceItem(layer, &item);
    if (err) return err;
    AEGP_ItemType type = AEGP_ItemType_NONE;
    err = items->AEGP_GetItemType(item, &type);
    if (err) return err;
    if (type != AEGP_ItemType_FOOTAGE) return PF_Err_NONE;

    AEGP_FootageInterp interp{};
    err = footage->AEGP_GetFootageInterpretation(item, 0, &interp);
    if (err) return err;
    // The effect separates fields itself: the host must hand it whole frames.
    interp.il.type = FIEL_Type_FRAME_RENDERED;
    interp.pd = AEGP_PulldownPhase_NO_PULLDOWN;
    footage->AEGP_SetFootageInterpretation(item, 0, &interp);  // a refusal changes nothing we rely on
    return PF_Err_NONE;
}

PF_Err SequenceSetupCommand(PF_InData* in_data, PF_OutData* out_data) {
    SequenceSetup(in_data, out_data);
    if (in_data->appl_id != kAfterEffectsApplId) return PF_Err_NONE;
    return TurnOffHostFieldSeparation(in_data);
}

void UpdateParamsUICommand(PF_InData* in_data, PF_ParamDef* params[]) {
    if (AutoSetupDone(in_data)) SetParamDisabled(in_data, params, kParamAutoSetup, true);
}

void EventCommand(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra) {
    if (!extra || !extra->contextH || !*extra->contextH) return;
    if ((*extra->contextH)->w_type != PF_Window_EFFECT) return;
    if (DAE::DAE_Control_List::HandleEvent(in_data, out_data, params, extra))
        extra->evt_out_flags |= PF_EO_HANDLED_EVENT;
}

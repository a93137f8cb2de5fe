#include "host/entry_point.h"

#include "dae/context.h"
#include "dae/critical_region.h"
#include "dae/exceptions.h"
#include "dae/suites.h"
#include "host/commands.h"
#include "host/embedded_bitmaps.h"
#include "host/param_setup.h"
#include "host/sequence_state.h"
#include "render/render_driver.h"

namespace {

// Serialises every command: the module-wide slots below and the framework's
// current-command slots rely on it.
CCriticalRegion g_entry_lock;
void* g_module_instance = nullptr;

void FetchModuleInstance(PF_InData* in_data) {
    if (g_module_instance || !in_data->utils || !in_data->utils->get_platform_data) return;
    void* instance = nullptr;
    if (in_data->utils->get_platform_data(in_data->effect_ref, PF_PlatData_RES_DLLINSTANCE, &instance) ==
        PF_Err_NONE)
        g_module_instance = instance;
}

PF_Err Dispatch(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra) {
    switch (cmd) {
        case PF_Cmd_ABOUT:
            AboutCommand(in_data, out_data);
            return PF_Err_NONE;
        case PF_Cmd_GLOBAL_SETUP:
            GlobalSetupCommand(in_data, out_data);
            return PF_Err_NONE;
        case PF_Cmd_GLOBAL_SETDOWN:
            GlobalSetdownCommand(in_data);
            return PF_Err_NONE;
        case PF_Cmd_PARAMS_SETUP:
            ParamsSetup(in_data, out_data);
            return PF_Err_NONE;
        case PF_Cmd_SEQUENCE_SETUP:
            return SequenceSetupCommand(in_data, out_data);
        case PF_Cmd_SEQUENCE_RESETUP:
            SequenceResetup(in_data, out_data);
            return PF_Err_NONE;
        case PF_Cmd_SEQUENCE_FLATTEN:
            return SequenceFlatten();
        case PF_Cmd_SEQUENCE_SETDOWN:
            SequenceSetdown(in_data, out_data);
            return PF_Err_NONE;
        case PF_Cmd_FRAME_SETUP:
            return PF_Err_NONE;
        case PF_Cmd_RENDER:
            Render(in_data, out_data, params, output, &GetEmbeddedBitmap);
            return PF_Err_NONE;
        case PF_Cmd_UPDATE_PARAMS_UI:
            UpdateParamsUICommand(in_data, params);
            return PF_Err_NONE;
        case PF_Cmd_EVENT:
            EventCommand(in_data, out_data, params, static_cast<PF_EventExtra*>(extra));
            return PF_Err_NONE;
        case PF_Cmd_GET_FLATTENED_SEQUENCE_DATA:
            return SequenceFlattenedCopy(in_data, out_data);
        default:
            // Everything else, PF_Cmd_USER_CHANGED_PARAM included (no parameter
            // change alters another), and every command from 29 on: no work.
            return PF_Err_NONE;
    }
}

bool Handled(PF_Cmd cmd) {
    switch (cmd) {
        case PF_Cmd_ABOUT: case PF_Cmd_GLOBAL_SETUP: case PF_Cmd_GLOBAL_SETDOWN: case PF_Cmd_PARAMS_SETUP:
        case PF_Cmd_SEQUENCE_SETUP: case PF_Cmd_SEQUENCE_RESETUP: case PF_Cmd_SEQUENCE_FLATTEN:
        case PF_Cmd_SEQUENCE_SETDOWN: case PF_Cmd_FRAME_SETUP: case PF_Cmd_RENDER: case PF_Cmd_UPDATE_PARAMS_UI:
        case PF_Cmd_EVENT: case PF_Cmd_GET_FLATTENED_SEQUENCE_DATA:
            return true;
        default:
            return false;
    }
}

}  // namespace

void* ModuleInstance() { return g_module_instance; }

extern "C" TESSEN_EXPORT PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                               PF_ParamDef* params[], PF_LayerDef* output, void* extra) {
    if (!Handled(cmd)) return PF_Err_NONE;
    if (!in_data || !out_data) return PF_Err_BAD_CALLBACK_PARAM;

    DAE::ScopedLock<CCriticalRegion> lock(g_entry_lock);
    // The handler releases every suite this command acquired when it goes,
    // after the catch below has written any message.
    DAE::AEGP_SuiteHandler suites(in_data->pica_basicP);
    DAE::CommandScope scope(in_data, &suites);
    PF_Err err = PF_Err_NONE;
    try {
        FetchModuleInstance(in_data);
        err = Dispatch(cmd, in_data, out_data, params, output, extra);
    } catch (...) {
        err = DAE::ExceptionToResult(in_data, out_data);
    }
    return err;
}

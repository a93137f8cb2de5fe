// The module's single entry for host commands, and module-wide state the
// rest of the effect reads.
#pragma once
#include "dae/export.h"
#include "hostapi/host_api.h"

extern "C" TESSEN_EXPORT PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                               PF_ParamDef* params[], PF_LayerDef* output, void* extra);

// The module instance handle the host reported (PF_PlatData_RES_DLLINSTANCE),
// fetched on the first command; null until then.
void* ModuleInstance();

// 'FXTC': After Effects, the only host the effect serves.
constexpr A_long kAfterEffectsApplId = 0x46585443;

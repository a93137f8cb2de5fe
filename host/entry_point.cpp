#include "dae/export.h"
#include "hostapi/host_api.h"

extern "C" TESSEN_EXPORT PF_Err EntryPointFunc(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) {
    return PF_Err_NONE;
}

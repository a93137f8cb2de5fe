#include "dae/aefx_suites.h"

#include "dae/exceptions.h"

namespace DAE {

namespace {

const char kDrawSuite[] = "DRAWBOT Draw Suite";
const char kSupplierSuite[] = "DRAWBOT Supplier Suite";
const char kSurfaceSuite[] = "DRAWBOT Surface Suite";
const char kPathSuite[] = "DRAWBOT Path Suite";

PF_Err Fail(PF_InData* in_data, PF_OutData* out_data, PF_Err err, const char* message) {
    if (out_data) {
        out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
        WriteReturnMessage(in_data, out_data, "%s", message);
    }
    return err;
}

const SPBasicSuite* Basic(const PF_InData* in_data) { return in_data ? in_data->pica_basicP : nullptr; }

}  // namespace

PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32 version,
                         const char* message, void** suite) {
    const SPBasicSuite* basic = Basic(in_data);
    const void* got = nullptr;
    if (basic && basic->AcquireSuite) basic->AcquireSuite(name, version, &got);
    if (suite) *suite = const_cast<void*>(got);
    if (got) return PF_Err_NONE;
    return Fail(in_data, out_data, PF_Err_BAD_CALLBACK_PARAM, message ? message : "Not able to acquire AEFX Suite.");
}

PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32 version,
                         const char* message) {
    const SPBasicSuite* basic = Basic(in_data);
    if (basic && basic->ReleaseSuite) {
        basic->ReleaseSuite(name, version);
        return PF_Err_NONE;
    }
    return Fail(in_data, out_data, PF_Err_BAD_CALLBACK_PARAM, message ? message : "Not able to release AEFX Suite.");
}

int32 DrawbotSurfaceSuiteVersion(const PF_InData* in_data) {
    if (!in_data) return kDRAWBOT_SurfaceSuite_Version1;
    const A_short major = in_data->version.major;
    const A_short minor = in_data->version.minor;
    if (major >= 14 || (major == 13 && minor >= 9)) return kDRAWBOT_SurfaceSuite_Version2;
    return kDRAWBOT_SurfaceSuite_Version1;
}

PF_Err AEFX_AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suites) {
    if (!suites) {
        return Fail(in_data, out_data, PF_Err_UNRECOGNIZED_PARAM_TYPE,
                    "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
    }
    // Version 1 of the surface suite is the first 16 slots of version 2, so
    // either fits the one record member.
    const int32 surface_version = DrawbotSurfaceSuiteVersion(in_data);
    void* got = nullptr;
    PF_Err err = AEFX_AcquireSuite(in_data, out_data, kDrawSuite, kDRAWBOT_DrawSuite_Version1, nullptr, &got);
    suites->drawbot_suiteP = static_cast<DRAWBOT_DrawbotSuite1*>(got);
    if (err) return err;
    err = AEFX_AcquireSuite(in_data, out_data, kSupplierSuite, kDRAWBOT_SupplierSuite_Version1, nullptr, &got);
    suites->supplier_suiteP = static_cast<DRAWBOT_SupplierSuite1*>(got);
    if (err) return err;
    err = AEFX_AcquireSuite(in_data, out_data, kSurfaceSuite, surface_version, nullptr, &got);
    suites->surface_suiteP = static_cast<DRAWBOT_SurfaceSuite2*>(got);
    if (err) return err;
    err = AEFX_AcquireSuite(in_data, out_data, kPathSuite, kDRAWBOT_PathSuite_Version1, nullptr, &got);
    suites->path_suiteP = static_cast<DRAWBOT_PathSuite1*>(got);
    return err;
}

PF_Err AEFX_ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data) {
    AEFX_ReleaseSuite(in_data, out_data, kDrawSuite, kDRAWBOT_DrawSuite_Version1, nullptr);
    AEFX_ReleaseSuite(in_data, out_data, kSupplierSuite, kDRAWBOT_SupplierSuite_Version1, nullptr);
    AEFX_ReleaseSuite(in_data, out_data, kSurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, nullptr);
    AEFX_ReleaseSuite(in_data, out_data, kPathSuite, kDRAWBOT_PathSuite_Version1, nullptr);
    return PF_Err_NONE;
}

}  // namespace DAE

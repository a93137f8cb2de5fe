// Acquiring single suites, and the four drawing suites of a custom control,
// straight through the basic suite of the input record. Failures come back
// as return codes with a message in out_data->return_msg; nothing throws.
#pragma once
#include "hostapi/host_api.h"

namespace DAE {

// On success *suite is non-null and 0 is returned. Otherwise sets the
// display-message flag, writes message (default "Not able to acquire AEFX
// Suite.") and returns 516.
PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32 version,
                         const char* message, void** suite);

// Releases name/version and returns 0; without a basic suite sets the flag,
// writes message (default "Not able to release AEFX Suite.") and returns 516.
PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32 version,
                         const char* message);

// Surface suite version for the host in in_data: 2 from host 13.9 on, else 1.
int32 DrawbotSurfaceSuiteVersion(const PF_InData* in_data);

// Fills the draw, supplier, surface and path members of suites in that order,
// stopping at the first failure (its code is returned). A null suites record
// gives 514 with a message.
PF_Err AEFX_AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suites);

// Gives the four suites back as versions 1, 1, 2, 1 and returns 0. The surface
// suite goes back as version 2 even where version 1 was acquired; hosts have
// always accepted that, and it is kept as it is.
PF_Err AEFX_ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data);

}  // namespace DAE

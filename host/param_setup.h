// PF_Cmd_PARAMS_SETUP: the effect's parameter list. Host index order:
//    1 (id 14)  framework header
//    2 (id 12)  "Auto Setup" custom button
//    3 (id 1)   group "Deinterlace"
//    4 (id 2)     "Do Deinterlace" checkbox
//    5 (id 3)     "Source Video" NTSC|PAL
//    6 (id 4)     "Field Order"
//    7 (id 5)     "Motion Detection Adjustment"
//    8 (id 6)     "Detail Pattern Size"
//    9 (id 7)   end of "Deinterlace"
//   10 (id 8)   group "Deartifacting"
//   11 (id 9)     "Deartifacting" popup
//   12 (id 10)  end of "Deartifacting"
//   13 (id 11)  "Show" diagnostic views, only when the preference key
//               "Diagnostic Views" exists in section "Wrenfold Suite"
#pragma once
#include "hostapi/host_api.h"

extern const char kShowChoices[];
extern const char kPreferenceSection[];
extern const char kPreferenceKey[];

// Whether the application's persistent data holds the preference key (its
// value does not matter). Host errors are thrown as A_long; a host without
// "AEGP Persistent Data Suite" 3 has no preferences.
bool DiagnosticViewsEnabled();

// Adds the parameters, sets out_data->num_params (13, or 14 with "Show") and
// registers the custom UI. Host errors are thrown as A_long.
void ParamsSetup(PF_InData* in_data, PF_OutData* out_data);

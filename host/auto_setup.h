// Auto Setup: guesses the footage standard and field order from the input's
// frame size and the composition's frame rate, sets "Source Video" and
// "Field Order", marks the instance as set up and tells the user what it
// concluded.
#pragma once
#include "hostapi/host_api.h"
#include "render/field_timing.h"
#include "render/render_settings.h"

#include <string>

// Composition rate classes. Exact double equality on purpose: 30000/1001 is
// not 29.97 and lands in kRateOther like any rate without a row.
enum AutoSetupRateClass : A_long {
    kRateOther = 0,
    kRate23976Class = 1,
    kRate25Class = 3,
    kRate2997Class = 4,
};

// time_scale / time_step, both taken as signed integers, as doubles.
AutoSetupRateClass ClassifyRate(A_long time_scale, A_long time_step);

struct AutoSetupResult {
    A_long sourceVideo;          // 1 NTSC, 2 PAL
    A_long fieldOrder;           // 1 upper field first, 2 lower field first
    ConversionMessage message;   // NTSC, PAL, HD or Failed
};

// The setup rule: the first row whose class, width and height all match;
// without one, PAL/Lower for class 3 and NTSC/Lower otherwise, and Failed.
AutoSetupResult LookUpAutoSetup(AutoSetupRateClass rate, A_long width, A_long height);

// The message for a result and rate class, joined and cut to 255 characters
// as the user sees it.
std::string ComposeAutoSetupMessage(const AutoSetupResult& result, AutoSetupRateClass rate);

// Look-up from in_data (time_scale, time_step, width, height).
AutoSetupResult LookUpAutoSetup(const PF_InData* in_data);


// A press released over the button: disables the button, sets "Source Video"
// and "Field Order" (also for a Failed result), enables the two groups, marks
// the sequence record and asks the host to refresh the UI. Host errors are
// thrown as A_long.
void ApplyAutoSetup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[]);

// Writes the message of the look-up into out_data->return_msg.
void ReportAutoSetup(PF_InData* in_data, PF_OutData* out_data);

// Adds or removes PF_PUI_DISABLED on params[index] and sends it with
// PF_UpdateParamUI ("PF Param Utils Suite" 3). A missing parameter array or
// entry is thrown as PF_Err_BAD_CALLBACK_PARAM.
void SetParamDisabled(PF_InData* in_data, PF_ParamDef* params[], PF_ParamIndex index, bool disabled);

#include "host/param_setup.h"

#include "dae/context.h"
#include "dae/exceptions.h"
#include "dae/params.h"
#include "dae/suites.h"

#include <cstring>

const char kShowChoices[] =
    "Result|(-|All Fields|Field -2|Field -1|Field 0|Field +1|(-|Gradient|Difference|Auto Levels|Match "
    "Points|Vector Magnitudes|Source|Data";
const char kPreferenceSection[] = "Wrenfold Suite";
const char kPreferenceKey[] = "Diagnostic Views";

namespace {

// Parameter ids, as saved with projects.
enum ParamId : A_long {
    kIdDeinterlaceGroup = 1,
    kIdDoDeinterlace = 2,
    kIdSourceVideo = 3,
    kIdFieldOrder = 4,
    kIdMotionAdjust = 5,
    kIdPatternSize = 6,
    kIdDeinterlaceEnd = 7,
    kIdDeartifactingGroup = 8,
    kIdDeartifacting = 9,
    kIdDeartifactingEnd = 10,
    kIdShow = 11,
    kIdAutoSetup = 12,
};

void AddAutoSetupButton(PF_InData* in_data) {
    DAE::Param_Custom p(in_data, "Auto Setup", kIdAutoSetup);
    p.SetUISize(113, 100);
    p.SetControl();
    p.ClearStartCollapsed();
    p.AlignLeft();
    p.AlignRight();
    p.Add();  // also registers the button's custom UI
}

void AddDeinterlaceGroup(PF_InData* in_data) {
    DAE::ParamGroupScope group(in_data, "Deinterlace", true, kIdDeinterlaceGroup, kIdDeinterlaceEnd);
    {
        DAE::Param_Checkbox p(in_data, "Do Deinterlace", kIdDoDeinterlace);
        p.SetDefault(true);
        p.SetSupervise();
        p.Add();
    }
    {
        DAE::Param_Popup_Menu p(in_data, "Source Video", kIdSourceVideo);
        p.SetChoices("NTSC|PAL");
        p.SetDefault(2);
        p.SetCannotTimeVary();
        p.Add();
    }
    {
        DAE::Param_Popup_Menu p(in_data, "Field Order", kIdFieldOrder);
        p.SetChoices("Upper Field First|Lower Field First");
        p.SetDefault(2);
        p.SetCannotTimeVary();
        p.Add();
    }
    {
        DAE::Param_Float_Slider p(in_data, "Motion Detection Adjustment", kIdMotionAdjust);
        p.SetValidRange(-100.0f, 100.0f);
        p.SetSliderRange(-100.0f, 100.0f);
        p.SetDefault(20.0f);
        p.SetPrecision(4);
        p.Add();
    }
    {
        DAE::Param_Long_Slider p(in_data, "Detail Pattern Size", kIdPatternSize);
        p.SetValidRange(1, 12);
        p.SetSliderRange(2, 7);
        p.SetDefault(4);
        p.Add();
    }
}

void AddDeartifactingGroup(PF_InData* in_data) {
    DAE::ParamGroupScope group(in_data, "Deartifacting", true, kIdDeartifactingGroup, kIdDeartifactingEnd);
    DAE::Param_Popup_Menu p(in_data, "Deartifacting", kIdDeartifacting);
    p.SetChoices("None|Broadcast 4:2:2|HDCAM 3:1:1|DV/HDV 4:1:1, 4:2:0");
    p.SetDefault(1);
    p.Add();
}

void AddShow(PF_InData* in_data) {
    DAE::Param_Popup_Menu p(in_data, "Show", kIdShow);
    p.SetChoices(kShowChoices);
    p.SetDefault(1);
    p.Add();
}

}  // namespace

bool DiagnosticViewsEnabled() {
    DAE::AEGP_SuiteHandler* suites = DAE::CurrentSuites();
    AEGP_PersistentDataSuite3* pd = suites ? suites->PersistentDataSuite3() : nullptr;
    if (!pd) return false;
    AEGP_PersistentBlobH blob = nullptr;
    DAE::ThrowIfError(pd->AEGP_GetApplicationBlob(&blob));
    A_Boolean exists = 0;
    DAE::ThrowIfError(pd->AEGP_DoesKeyExist(blob, kPreferenceSection, kPreferenceKey, &exists));
    return exists != 0;
}

void ParamsSetup(PF_InData* in_data, PF_OutData* out_data) {
    const PF_Err prologue = DAE::AddParamPrologue(in_data);
    AddAutoSetupButton(in_data);
    AddDeinterlaceGroup(in_data);
    AddDeartifactingGroup(in_data);
    if (DiagnosticViewsEnabled()) {
        AddShow(in_data);
        out_data->num_params = 14;
    } else {
        out_data->num_params = 13;
    }
    if (prologue == PF_Err_NONE) {
        PF_CustomUIInfo info;
        std::memset(&info, 0, sizeof info);
        info.events = PF_CustomEFlag_EFFECT;
        if (!in_data->inter.register_ui) throw static_cast<A_long>(PF_Err_INVALID_CALLBACK);
        DAE::ThrowIfError(in_data->inter.register_ui(in_data->effect_ref, &info));
    }
}

#include "host/auto_setup.h"

#include "dae/context.h"
#include "dae/exceptions.h"
#include "dae/params.h"
#include "dae/suites.h"
#include "host/sequence_state.h"

#include <cstdio>
#include <cstring>

namespace {

struct Rule {
    AutoSetupRateClass rate;
    A_long width;
    A_long height;
    A_long sourceVideo;
    A_long fieldOrder;
    ConversionMessage message;
};

using M = ConversionMessage;

// Searched in order; the first match wins. Some rows are odd on purpose and
// stay as they are: a PAL frame at 29.97 or an NTSC frame at 25 sets values
// and still reports failure, and 768 x 576 at 29.97 sets NTSC.
constexpr Rule kRules[] = {
    {kRate2997Class, 640, 480, 1, 1, M::NTSC},   {kRate2997Class, 720, 480, 1, 2, M::NTSC},
    {kRate2997Class, 720, 486, 1, 2, M::NTSC},   {kRate2997Class, 720, 540, 1, 1, M::NTSC},
    {kRate2997Class, 720, 576, 2, 2, M::Failed}, {kRate2997Class, 768, 576, 1, 1, M::Failed},
    {kRate2997Class, 1440, 1080, 1, 1, M::HD},   {kRate2997Class, 1920, 1080, 1, 1, M::HD},
    {kRate23976Class, 640, 480, 1, 1, M::NTSC},  {kRate23976Class, 720, 480, 1, 2, M::NTSC},
    {kRate23976Class, 720, 486, 1, 2, M::NTSC},  {kRate23976Class, 720, 540, 1, 1, M::NTSC},
    {kRate23976Class, 720, 576, 2, 2, M::PAL},   {kRate23976Class, 768, 576, 2, 1, M::PAL},
    {kRate23976Class, 1440, 1080, 1, 1, M::HD},  {kRate23976Class, 1920, 1080, 1, 1, M::HD},
    {kRate25Class, 640, 480, 2, 1, M::Failed},   {kRate25Class, 720, 480, 2, 2, M::Failed},
    {kRate25Class, 720, 486, 2, 2, M::Failed},   {kRate25Class, 720, 540, 2, 1, M::Failed},
    {kRate25Class, 720, 576, 2, 2, M::PAL},      {kRate25Class, 768, 576, 2, 1, M::PAL},
    {kRate25Class, 1440, 1080, 1, 1, M::HD},     {kRate25Class, 1920, 1080, 1, 1, M::HD},
};

struct MessageTexts {
    const char* text[4];
};

constexpr char kSuccess[] = "Auto Setup Successful!";
constexpr char kAdjust[] =
    "If any of this is not what you expected, please adjust your footage and/or comp settings and click Auto "
    "Setup again.";

// Indexed by ConversionMessage: NTSC, PAL, HD, Failed.
const MessageTexts kMessages[] = {
    {{kSuccess, "Corvane has determined that your footage is NTSC, and is most likely %s Field First.",
      "Since your comp is set to %s fps, you are now configured to create %s material from your NTSC source.",
      kAdjust}},
    {{kSuccess, "Corvane has determined that your footage is PAL and is most likely %s Field First.",
      "Since your comp is set to %s fps, you are now configured to create %s material from your PAL source, as "
      "long as your footage is properly interpreted at %s fps in the Interpret Footage Window.",
      kAdjust}},
    {{kSuccess,
      "Corvane is guessing that your footage is either HD 1080/60i or 1080/50i and is therefore most likely Upper "
      "Field First.",
      "Since your comp is set to %s fps, you are now configured to create %s material from your HD source. It's "
      "also possible that your footage is %s, in which case you should un-check \"Do Deinterlace.\"",
      kAdjust}},
    {{"Auto Setup Failed.",
      "Corvane is not able to draw an association between your footage size and your Comp frame rate.", "",
      "Please either proceed with caution or adjust your footage and/or comp settings and click Auto Setup "
      "again."}},
};

const char* RateText(AutoSetupRateClass rate) {
    switch (rate) {
        case kRate2997Class: return "29.97";
        case kRate25Class: return "25.0";
        case kRate23976Class: return "23.976";
        default: return "<unknown fps>";
    }
}

const char* DestinationText(AutoSetupRateClass rate) {
    switch (rate) {
        case kRate2997Class: return "30p";
        case kRate25Class: return "25p";
        case kRate23976Class: return "24p";
        default: return "<unknown destination>";
    }
}

// Each text is at most 255 characters; a text with fewer placeholders than
// arguments ignores the rest, as a printf-style format does.
std::string Format(const char* fmt, const char* a, const char* b = "", const char* c = "") {
    char buf[256];
    std::snprintf(buf, sizeof buf, fmt, a, b, c);
    return buf;
}

PF_ParamUtilsSuite3& ParamUtils() {
    DAE::AEGP_SuiteHandler* suites = DAE::CurrentSuites();
    PF_ParamUtilsSuite3* pu = suites ? suites->ParamUtilsSuite3() : nullptr;
    if (!pu) throw DAE::DAESuiteXCP("PF Param Utils Suite");
    return *pu;
}

}  // namespace

AutoSetupRateClass ClassifyRate(A_long time_scale, A_long time_step) {
    if (time_step == 0) return kRateOther;
    const double rate = static_cast<double>(time_scale) / static_cast<double>(time_step);
    if (rate == 29.97) return kRate2997Class;
    if (rate == 25.0) return kRate25Class;
    if (rate == 23.976) return kRate23976Class;
    return kRateOther;
}

AutoSetupResult LookUpAutoSetup(AutoSetupRateClass rate, A_long width, A_long height) {
    for (const Rule& r : kRules) {
        if (r.rate == rate && r.width == width && r.height == height) return {r.sourceVideo, r.fieldOrder, r.message};
    }
    if (rate == kRate25Class) return {2, 2, M::Failed};
    return {1, 2, M::Failed};
}

AutoSetupResult LookUpAutoSetup(const PF_InData* in_data) {
    const AutoSetupRateClass rate =
        ClassifyRate(static_cast<A_long>(in_data->time_scale), static_cast<A_long>(in_data->time_step));
    return LookUpAutoSetup(rate, in_data->width, in_data->height);
}

std::string ComposeAutoSetupMessage(const AutoSetupResult& result, AutoSetupRateClass rate) {
    const MessageTexts& m = kMessages[static_cast<int>(result.message)];
    const char* field = result.fieldOrder == 1 ? "Upper" : "Lower";
    std::string joined = m.text[0];
    joined += "\n\n";
    joined += Format(m.text[1], field);
    joined += " ";
    joined += Format(m.text[2], RateText(rate), DestinationText(rate), RateText(rate));
    joined += " ";
    joined += m.text[3];
    // The user sees at most 255 characters; the longer messages are cut.
    char cut[256];
    std::snprintf(cut, sizeof cut, "%.255s", joined.c_str());
    return cut;
}

void SetParamDisabled(PF_InData* in_data, PF_ParamDef* params[], PF_ParamIndex index, bool disabled) {
    if (!params || index < 0 || index >= in_data->num_params || !params[index])
        throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);
    PF_ParamDef* def = params[index];
    if (disabled) {
        def->ui_flags |= PF_PUI_DISABLED;
    } else {
        def->ui_flags &= ~PF_PUI_DISABLED;
    }
    DAE::ThrowIfError(ParamUtils().PF_UpdateParamUI(in_data->effect_ref, index, def));
}

void ApplyAutoSetup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[]) {
    RequireDeclaredParams(in_data, params);
    const AutoSetupResult r = LookUpAutoSetup(in_data);
    SetParamDisabled(in_data, params, kParamAutoSetup, true);
    DAE::Param_Popup_Menu::SetValue(params, kParamSourceVideo, r.sourceVideo);
    DAE::Param_Popup_Menu::SetValue(params, kParamFieldOrder, r.fieldOrder);
    SetParamDisabled(in_data, params, kParamDeinterlaceGroup, false);
    SetParamDisabled(in_data, params, kParamDeartifactingGroup, false);
    MarkAutoSetupDone(in_data);
    out_data->out_flags |= PF_OutFlag_REFRESH_UI;
}

void ReportAutoSetup(PF_InData* in_data, PF_OutData* out_data) {
    const AutoSetupRateClass rate =
        ClassifyRate(static_cast<A_long>(in_data->time_scale), static_cast<A_long>(in_data->time_step));
    const std::string text = ComposeAutoSetupMessage(LookUpAutoSetup(rate, in_data->width, in_data->height), rate);
    std::snprintf(out_data->return_msg, sizeof out_data->return_msg, "%.255s", text.c_str());
}

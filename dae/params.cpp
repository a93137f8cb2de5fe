#include "dae/params.h"

#include <cmath>
#include <cstring>

#include "dae/exceptions.h"
#include "dae/suites.h"

namespace DAE {

// ------------------------------------------------------------ conversions

namespace {

// Truncating conversion with the x64 answer (0x80000000) for NaN and for
// values outside the 32-bit range, instead of undefined behaviour.
template <typename F>
A_long TruncateToLong(F v) {
    if (!(v > F(-2147483649.0) && v < F(2147483648.0))) return static_cast<A_long>(0x80000000u);
    return static_cast<A_long>(v);
}

void ThrowHostError(PF_Err err) {
    if (err != PF_Err_NONE) throw static_cast<A_long>(err);
}

PF_ParamDef* Entry(PF_ParamDef* params[], PF_ParamIndex index) { return params[index]; }

}  // namespace

PF_Fixed FloatToFixed(float value) {
    float scaled = value * 65536.0f;
    scaled += (value < 0.0f) ? -0.5f : 0.5f;  // NaN is not negative
    return TruncateToLong(scaled);
}

PF_Fixed DoubleToFixed(double value) {
    double scaled = value * 65536.0;
    scaled += (value < 0.0) ? -0.5 : 0.5;
    return TruncateToLong(scaled);
}

// --------------------------------------------------------- Param_Parameter

Param_Parameter::Param_Parameter(PF_InData* in_data, const char* name, A_long id, PF_ParamType type)
    : in_data_(in_data), def_() {
    std::memset(&def_, 0, sizeof def_);
    def_.param_type = type;
    CopyText(def_.name, name, kNameChars);
    def_.uu.id = id;
    def_.flags |= PF_ParamFlag_START_COLLAPSED;
}

Param_Parameter::~Param_Parameter() = default;

void Param_Parameter::CopyText(char* dst, const char* src, int max_chars) const {
    // Cut first: the host's strcpy knows no limit.
    char cut[kTextChars + 1];
    int n = 0;
    if (src) {
        while (n < max_chars && n < kTextChars && src[n]) ++n;
        std::memcpy(cut, src, static_cast<size_t>(n));
    }
    cut[n] = '\0';
    auto host_strcpy = (in_data_ && in_data_->utils) ? in_data_->utils->ansi.strcpy : nullptr;
    if (host_strcpy) {
        host_strcpy(dst, cut);
    } else {
        std::memcpy(dst, cut, static_cast<size_t>(n) + 1);
    }
}

void Param_Parameter::Add() {
    if (!in_data_ || !in_data_->inter.add_param) throw static_cast<A_long>(PF_Err_INVALID_CALLBACK);
    ThrowHostError(in_data_->inter.add_param(in_data_->effect_ref, -1, &def_));
}

void Param_Parameter::SetUISize(A_short width, A_short height) {
    def_.ui_width = width;
    def_.ui_height = height;
}
void Param_Parameter::SetStartCollapsed() { def_.flags |= PF_ParamFlag_START_COLLAPSED; }
void Param_Parameter::ClearStartCollapsed() { def_.flags &= ~PF_ParamFlag_START_COLLAPSED; }
void Param_Parameter::SetSupervise() { def_.flags |= PF_ParamFlag_SUPERVISE; }
void Param_Parameter::SetCannotTimeVary() { def_.flags |= PF_ParamFlag_CANNOT_TIME_VARY; }
void Param_Parameter::SetDisabled() { def_.ui_flags |= PF_PUI_DISABLED; }
void Param_Parameter::SetSeparator() { def_.ui_flags |= PF_PUI_ECW_SEPARATOR; }
void Param_Parameter::SetStdControlOnly() { def_.ui_flags |= PF_PUI_STD_CONTROL_ONLY; }

// ------------------------------------------------------------------- layer

Param_Layer::Param_Layer(PF_InData* in_data, const char* name, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_LAYER) {}

void Param_Layer::SetDefaultNone() { def_.u.ld.dephault = PF_LayerDefault_NONE; }
void Param_Layer::SetDefaultMyself() { def_.u.ld.dephault = PF_LayerDefault_MYSELF; }

PF_LayerDef Param_Layer::GetLayer(PF_ParamDef* params[], PF_ParamIndex index) { return Entry(params, index)->u.ld; }

// ------------------------------------------------------------- long slider

Param_Long_Slider::Param_Long_Slider(PF_InData* in_data, const char* name, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_SLIDER) {}

void Param_Long_Slider::SetRange(A_long min, A_long max) {
    SetSliderRange(min, max);
    SetValidRange(min, max);
}
void Param_Long_Slider::SetSliderRange(A_long min, A_long max) {
    def_.u.sd.slider_min = min;
    def_.u.sd.slider_max = max;
}
void Param_Long_Slider::SetValidRange(A_long min, A_long max) {
    def_.u.sd.valid_min = min;
    def_.u.sd.valid_max = max;
}
void Param_Long_Slider::SetDefault(A_long value) {
    def_.u.sd.dephault = value;
    def_.u.sd.value = value;
}

A_long Param_Long_Slider::GetValue(PF_ParamDef* params[], PF_ParamIndex index) { return Entry(params, index)->u.sd.value; }

void Param_Long_Slider::SetValue(PF_ParamDef* params[], PF_ParamIndex index, A_long value) {
    PF_ParamDef* p = Entry(params, index);
    p->u.sd.value = value;
    p->uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
}

// ------------------------------------------------------------ fixed slider

Param_Fixed_Slider::Param_Fixed_Slider(PF_InData* in_data, const char* name, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_FIX_SLIDER) {
    def_.u.fd.precision = 2;
}

void Param_Fixed_Slider::SetRange(float min, float max) {
    SetSliderRange(min, max);
    SetValidRange(min, max);
}
void Param_Fixed_Slider::SetSliderRange(float min, float max) {
    def_.u.fd.slider_min = FloatToFixed(min);
    def_.u.fd.slider_max = FloatToFixed(max);
}
void Param_Fixed_Slider::SetValidRange(float min, float max) {
    def_.u.fd.valid_min = FloatToFixed(min);
    def_.u.fd.valid_max = FloatToFixed(max);
}
void Param_Fixed_Slider::SetDefault(float value) {
    def_.u.fd.dephault = FloatToFixed(value);
    def_.u.fd.value = def_.u.fd.dephault;
}
void Param_Fixed_Slider::SetPrecision(A_short precision) { def_.u.fd.precision = precision; }
void Param_Fixed_Slider::SetPercent() {
    def_.u.fd.display_flags |= PF_ValueDisplayFlag_PERCENT;
    SetRange(0.0f, 100.0f);
}

float Param_Fixed_Slider::GetValue(PF_ParamDef* params[], PF_ParamIndex index) {
    return static_cast<float>(Entry(params, index)->u.fd.value * kFixedToFloat);
}
double Param_Fixed_Slider::GetValueDouble(PF_ParamDef* params[], PF_ParamIndex index) {
    return Entry(params, index)->u.fd.value * kFixedToFloat;
}
void Param_Fixed_Slider::SetValue(PF_ParamDef* params[], PF_ParamIndex index, float value) {
    PF_ParamDef* p = Entry(params, index);
    p->u.fd.value = FloatToFixed(value);
    p->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
}
void Param_Fixed_Slider::SetValue(PF_ParamDef* params[], PF_ParamIndex index, double value) {
    PF_ParamDef* p = Entry(params, index);
    p->u.fd.value = DoubleToFixed(value);
    p->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
}

Param_Pixel_Slider::Param_Pixel_Slider(PF_InData* in_data, const char* name, A_long id)
    : Param_Fixed_Slider(in_data, name, id) {
    def_.u.fd.display_flags |= PF_ValueDisplayFlag_PIXEL;
    def_.u.fd.valid_min = def_.u.fd.slider_min = 0;
    def_.u.fd.valid_max = def_.u.fd.slider_max = 0x10000;
}

// ---------------------------------------------------------------- checkbox

Param_Checkbox::Param_Checkbox(PF_InData* in_data, const char* text, A_long id)
    : Param_Parameter(in_data, "", id, PF_Param_CHECKBOX), text_() {
    CopyText(text_, text, kTextChars);
    def_.u.bd.u.nameptr = text_;
}

void Param_Checkbox::SetDefault(bool on) {
    def_.u.bd.dephault = on ? 1 : 0;
    def_.u.bd.value = on ? 1 : 0;
}

bool Param_Checkbox::GetValue(PF_ParamDef* params[], PF_ParamIndex index) { return Entry(params, index)->u.bd.value != 0; }

// ------------------------------------------------------------------- color

Param_Color::Param_Color(PF_InData* in_data, const char* name, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_COLOR) {}

void Param_Color::SetDefault(A_u_char red, A_u_char green, A_u_char blue, A_u_char alpha) {
    PF_UnionablePixel px;
    px.alpha = alpha;
    px.red = red;
    px.green = green;
    px.blue = blue;
    def_.u.cd.value = px;
    def_.u.cd.dephault = px;
}

PF_Pixel Param_Color::GetValue8(PF_ParamDef* params[], PF_ParamIndex index) {
    const PF_UnionablePixel& v = Entry(params, index)->u.cd.value;
    PF_Pixel px;
    px.alpha = v.alpha;
    px.red = v.red;
    px.green = v.green;
    px.blue = v.blue;
    return px;
}

PF_Pixel16 Param_Color::GetValue16(PF_ParamDef* params[], PF_ParamIndex index) {
    const PF_Pixel v = GetValue8(params, index);
    PF_Pixel16 px;
    px.alpha = static_cast<A_u_short>(v.alpha << 8);
    px.red = static_cast<A_u_short>(v.red << 8);
    px.green = static_cast<A_u_short>(v.green << 8);
    px.blue = static_cast<A_u_short>(v.blue << 8);
    return px;
}

PF_PixelFloat Param_Color::GetValueFloat(PF_ParamDef* params[], PF_ParamIndex index) {
    const PF_Pixel v = GetValue8(params, index);
    PF_PixelFloat px;
    px.alpha = 1.0f;
    px.red = static_cast<PF_FpShort>(v.red / 255.0);
    px.green = static_cast<PF_FpShort>(v.green / 255.0);
    px.blue = static_cast<PF_FpShort>(v.blue / 255.0);
    return px;
}

A_u_long Param_Color::GetPacked(PF_ParamDef* params[], PF_ParamIndex index) {
    const PF_Pixel16 v = GetValue16(params, index);
    return static_cast<A_u_long>(v.red >> 8) | (static_cast<A_u_long>(v.green >> 8) << 8) |
           (static_cast<A_u_long>(v.blue >> 8) << 16);
}

void Param_Color::SetValueFloat(PF_ParamDef* params[], PF_ParamIndex index, const PF_PixelFloat& color) {
    PF_ParamDef* p = Entry(params, index);
    p->u.cd.value.red = static_cast<A_u_char>(TruncateToLong(color.red * 255.0f));
    p->u.cd.value.green = static_cast<A_u_char>(TruncateToLong(color.green * 255.0f));
    p->u.cd.value.blue = static_cast<A_u_char>(TruncateToLong(color.blue * 255.0f));
    p->u.cd.value.alpha = static_cast<A_u_char>(TruncateToLong(color.alpha * 255.0f));
    p->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
}

// ------------------------------------------------------------------- popup

Param_Popup_Menu::Param_Popup_Menu(PF_InData* in_data, const char* name, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_POPUP), text_() {}

void Param_Popup_Menu::SetChoices(const char* choices) {
    CopyText(text_, choices, kTextChars);
    def_.u.pd.u.namesptr = text_;
    def_.u.pd.dephault = 1;
    A_short count = 1;
    for (const char* c = text_; *c; ++c) {
        if (*c == '|') ++count;
    }
    def_.u.pd.num_choices = count;
}

void Param_Popup_Menu::SetDefault(A_short choice) { def_.u.pd.dephault = choice; }

A_long Param_Popup_Menu::GetValue(PF_ParamDef* params[], PF_ParamIndex index) { return Entry(params, index)->u.pd.value; }

void Param_Popup_Menu::SetValue(PF_ParamDef* params[], PF_ParamIndex index, A_long choice) {
    PF_ParamDef* p = Entry(params, index);
    p->u.pd.value = choice;
    p->uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
}

// ------------------------------------------------------------------ custom

Param_Custom::Param_Custom(PF_InData* in_data, const char* name, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_NO_DATA), alignment_(0) {}

void Param_Custom::Add() {
    Param_Parameter::Add();
    PF_CustomUIInfo info;
    std::memset(&info, 0, sizeof info);
    info.events = PF_CustomEFlag_EFFECT;
    const A_long w = def_.ui_width;  // sign-extended from 16 bits
    const A_long h = def_.ui_height;
    info.comp_ui_width = info.layer_ui_width = info.preview_ui_width = w;
    info.comp_ui_height = info.layer_ui_height = info.preview_ui_height = h;
    info.comp_ui_alignment = info.layer_ui_alignment = info.preview_ui_alignment = alignment_;
    if (!in_data_->inter.register_ui) throw static_cast<A_long>(PF_Err_INVALID_CALLBACK);
    ThrowHostError(in_data_->inter.register_ui(in_data_->effect_ref, &info));
}

void Param_Custom::SetTopic() { def_.ui_flags |= PF_PUI_TOPIC; }
void Param_Custom::SetControl() { def_.ui_flags |= PF_PUI_CONTROL; }
void Param_Custom::AlignTop() { alignment_ |= 1; }
void Param_Custom::AlignLeft() { alignment_ |= 2; }
void Param_Custom::AlignBottom() { alignment_ |= 4; }
void Param_Custom::AlignRight() { alignment_ |= 8; }

// ------------------------------------------------------------ float slider

Param_Float_Slider::Param_Float_Slider(PF_InData* in_data, const char* name, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_FLOAT_SLIDER) {
    def_.u.fs_d.precision = 2;
}

void Param_Float_Slider::SetRange(float min, float max) {
    SetSliderRange(min, max);
    SetValidRange(min, max);
}
void Param_Float_Slider::SetSliderRange(float min, float max) {
    def_.u.fs_d.slider_min = min;
    def_.u.fs_d.slider_max = max;
}
void Param_Float_Slider::SetValidRange(float min, float max) {
    def_.u.fs_d.valid_min = min;
    def_.u.fs_d.valid_max = max;
}
void Param_Float_Slider::SetDefault(float value) {
    def_.u.fs_d.dephault = value;
    def_.u.fs_d.value = value;
}
void Param_Float_Slider::SetPrecision(A_short precision) { def_.u.fs_d.precision = precision; }
void Param_Float_Slider::SetPercent() {
    def_.u.fs_d.display_flags |= PF_ValueDisplayFlag_PERCENT;
    SetRange(0.0f, 100.0f);
}

float Param_Float_Slider::GetValue(PF_ParamDef* params[], PF_ParamIndex index) {
    return static_cast<float>(Entry(params, index)->u.fs_d.value);
}
void Param_Float_Slider::SetValue(PF_ParamDef* params[], PF_ParamIndex index, float value) {
    PF_ParamDef* p = Entry(params, index);
    p->u.fs_d.value = value;
    p->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
}

// ------------------------------------------------------------------ groups

Param_Group_Start::Param_Group_Start(PF_InData* in_data, const char* name, bool start_expanded, A_long id)
    : Param_Parameter(in_data, name, id, PF_Param_GROUP_START) {
    if (!start_expanded) def_.flags |= PF_ParamFlag_START_COLLAPSED;
}

Param_Group_End::Param_Group_End(PF_InData* in_data, A_long id)
    : Param_Parameter(in_data, "", id, PF_Param_GROUP_END) {}

ParamGroupScope::ParamGroupScope(PF_InData* in_data, const char* name, bool start_expanded, A_long start_id,
                                 A_long end_id)
    : in_data_(in_data), end_id_(end_id), uncaught_(std::uncaught_exceptions()) {
    Param_Group_Start start(in_data, name, start_expanded, start_id);
    start.Add();
}

ParamGroupScope::~ParamGroupScope() noexcept(false) {
    if (std::uncaught_exceptions() > uncaught_) return;
    Param_Group_End end(in_data_, end_id_);
    end.Add();
}

// ---------------------------------------------------------------- prologue

PF_Err AddParamPrologue(PF_InData* in_data) {
    try {
        Param_Custom header(in_data, "Tessen Plus", kPrologueParamId);
        header.SetTopic();
        // Plain data-less parameter: no custom UI of its own to register.
        header.Param_Parameter::Add();
    } catch (A_long err) {
        return err;
    }
    return PF_Err_NONE;
}

// ------------------------------------------------ run-time parameter services

namespace {

class EffectRef {
public:
    EffectRef(AEGP_SuiteHandler& suites) : suites_(suites), ref_(nullptr) {}
    ~EffectRef() {
        if (!ref_) return;
        AEGP_EffectSuite3* es = suites_.EffectSuite3();
        if (es) es->AEGP_DisposeEffect(ref_);
    }
    AEGP_EffectRefH* out() { return &ref_; }
    AEGP_EffectRefH get() const { return ref_; }

private:
    AEGP_SuiteHandler& suites_;
    AEGP_EffectRefH ref_;
};

class StreamRef {
public:
    StreamRef(AEGP_StreamSuite2* ss) : ss_(ss), ref_(nullptr) {}
    ~StreamRef() {
        if (ref_) ss_->AEGP_DisposeStream(ref_);
    }
    AEGP_StreamRefH* out() { return &ref_; }
    AEGP_StreamRefH get() const { return ref_; }

private:
    AEGP_StreamSuite2* ss_;
    AEGP_StreamRefH ref_;
};

// A suite the host does not serve ends the call with the suite's name in
// the message (13, A_Err_MISSING_SUITE).
template <typename T>
T* Need(T* suite, const char* name) {
    if (!suite) throw DAESuiteXCP(name);
    return suite;
}

}  // namespace

void SetParamVisible(AEGP_PluginID plugin_id, PF_InData* in_data, AEGP_SuiteHandler& suites, PF_ParamIndex index,
                     bool visible) {
    AEGP_PFInterfaceSuite1* pfi = Need(suites.PFInterfaceSuite1(), "AEGP PF Interface Suite");
    AEGP_StreamSuite2* ss = Need(suites.StreamSuite2(), "AEGP Stream Suite");
    AEGP_DynamicStreamSuite3* ds = Need(suites.DynamicStreamSuite3(), "AEGP Dynamic Stream Suite");
    Need(suites.EffectSuite3(), "AEGP Effect Suite");  // needed to give the effect reference back

    EffectRef effect(suites);
    ThrowHostError(pfi->AEGP_GetNewEffectForEffect(plugin_id, in_data->effect_ref, effect.out()));
    StreamRef stream(ss);
    ThrowHostError(ss->AEGP_GetNewEffectStreamByIndex(plugin_id, effect.get(), index, stream.out()));
    ThrowHostError(ds->AEGP_SetDynamicStreamFlag(stream.get(), AEGP_DynStreamFlag_HIDDEN, false, !visible));
}

void RenameParam(PF_InData* in_data, AEGP_SuiteHandler& suites, PF_ParamDef* params[], PF_ParamIndex index,
                 const char* name) {
    PF_ANSICallbacksSuite1* ansi = Need(suites.ANSICallbacksSuite1(), "PF ANSI Suite");
    PF_ParamUtilsSuite3* pu = Need(suites.ParamUtilsSuite3(), "PF Param Utils Suite");
    PF_ParamDef copy = *params[index];
    char cut[Param_Parameter::kNameChars + 1];
    std::strncpy(cut, name ? name : "", sizeof cut - 1);
    cut[sizeof cut - 1] = '\0';
    ansi->strcpy(copy.name, cut);
    ThrowHostError(pu->PF_UpdateParamUI(in_data->effect_ref, index, &copy));
}

}  // namespace DAE

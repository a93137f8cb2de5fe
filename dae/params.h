// Effect parameters, one class per kind of host parameter. An object wraps
// one PF_ParamDef: build it on the stack during PF_Cmd_PARAMS_SETUP, call the
// setters, then Add() (which throws the host's error code as an A_long).
// The static readers and writers work on the host's parameter array during
// render, user-change and event handling.
//
// Every parameter starts with PF_ParamFlag_START_COLLAPSED set. Names are
// copied with the host's ANSI strcpy; names are cut to 31 characters and
// choice lists and checkbox labels to kTextChars, so no record overflows.
#pragma once
#include <exception>

#include "hostapi/host_api.h"

namespace DAE {

class AEGP_SuiteHandler;

// 16.16 fixed from float/double: scaled, then 0.5 added (or subtracted for a
// negative value), then truncated: half away from zero. NaN and values
// beyond the 32-bit range give 0x80000000, as the x64 conversion does.
PF_Fixed FloatToFixed(float value);
PF_Fixed DoubleToFixed(double value);
constexpr double kFixedToFloat = 1.52587890625e-5;  // 2^-16

// Channel depth conversions: 8 -> 16 bit shifts left by 7 (255 -> 32640),
// 16 -> 8 bit is (c * 255) >> 15.
inline A_u_short Convert8To16(A_u_char c) { return static_cast<A_u_short>(c << 7); }
inline A_u_char Convert16To8(A_u_short c) { return static_cast<A_u_char>((static_cast<A_u_long>(c) * 255u) >> 15); }

class Param_Parameter {
public:
    virtual ~Param_Parameter();
    // Appends the parameter: in_data->inter.add_param(effect_ref, -1, &def).
    virtual void Add();

    void SetUISize(A_short width, A_short height);
    void SetStartCollapsed();
    void ClearStartCollapsed();
    void SetSupervise();
    void SetCannotTimeVary();
    void SetDisabled();
    void SetSeparator();
    void SetStdControlOnly();

    PF_ParamDef& Def() { return def_; }
    const PF_ParamDef& Def() const { return def_; }

    static constexpr int kNameChars = 31;
    static constexpr int kTextChars = 255;  // choice lists and checkbox labels

protected:
    Param_Parameter(PF_InData* in_data, const char* name, A_long id, PF_ParamType type);
    // Host strcpy of at most max_chars characters of src into dst.
    void CopyText(char* dst, const char* src, int max_chars) const;

    PF_InData* in_data_;
    PF_ParamDef def_;
};

class Param_Layer : public Param_Parameter {
public:
    Param_Layer(PF_InData* in_data, const char* name, A_long id);
    void SetDefaultNone();
    void SetDefaultMyself();
    static PF_LayerDef GetLayer(PF_ParamDef* params[], PF_ParamIndex index);
};

class Param_Long_Slider : public Param_Parameter {
public:
    Param_Long_Slider(PF_InData* in_data, const char* name, A_long id);
    void SetRange(A_long min, A_long max);
    void SetSliderRange(A_long min, A_long max);
    void SetValidRange(A_long min, A_long max);
    void SetDefault(A_long value);
    static A_long GetValue(PF_ParamDef* params[], PF_ParamIndex index);
    static void SetValue(PF_ParamDef* params[], PF_ParamIndex index, A_long value);
};

class Param_Fixed_Slider : public Param_Parameter {
public:
    Param_Fixed_Slider(PF_InData* in_data, const char* name, A_long id);
    void SetRange(float min, float max);
    void SetSliderRange(float min, float max);
    void SetValidRange(float min, float max);
    void SetDefault(float value);
    void SetPrecision(A_short precision);
    void SetPercent();
    static float GetValue(PF_ParamDef* params[], PF_ParamIndex index);
    static double GetValueDouble(PF_ParamDef* params[], PF_ParamIndex index);
    static void SetValue(PF_ParamDef* params[], PF_ParamIndex index, float value);
    static void SetValue(PF_ParamDef* params[], PF_ParamIndex index, double value);
};

// A fixed slider shown in pixels, ranges preset to 0..1.
class Param_Pixel_Slider : public Param_Fixed_Slider {
public:
    Param_Pixel_Slider(PF_InData* in_data, const char* name, A_long id);
};

// The parameter name stays empty; text is the label beside the box.
class Param_Checkbox : public Param_Parameter {
public:
    Param_Checkbox(PF_InData* in_data, const char* text, A_long id);
    void SetDefault(bool on);
    static bool GetValue(PF_ParamDef* params[], PF_ParamIndex index);

private:
    char text_[kTextChars + 1];
};

class Param_Color : public Param_Parameter {
public:
    Param_Color(PF_InData* in_data, const char* name, A_long id);
    void SetDefault(A_u_char red, A_u_char green, A_u_char blue, A_u_char alpha);
    static PF_Pixel GetValue8(PF_ParamDef* params[], PF_ParamIndex index);
    // Each channel shifted left by 8.
    static PF_Pixel16 GetValue16(PF_ParamDef* params[], PF_ParamIndex index);
    // Channels / 255; alpha is always 1 (the stored alpha is ignored).
    static PF_PixelFloat GetValueFloat(PF_ParamDef* params[], PF_ParamIndex index);
    // 0x00BBGGRR.
    static A_u_long GetPacked(PF_ParamDef* params[], PF_ParamIndex index);
    // Each channel * 255, truncated to 8 bits.
    static void SetValueFloat(PF_ParamDef* params[], PF_ParamIndex index, const PF_PixelFloat& color);
};

class Param_Popup_Menu : public Param_Parameter {
public:
    Param_Popup_Menu(PF_InData* in_data, const char* name, A_long id);
    // Items separated by "|"; "(-" items are separator lines but still count.
    // Resets the default to 1.
    void SetChoices(const char* choices);
    void SetDefault(A_short choice);  // 1-based
    static A_long GetValue(PF_ParamDef* params[], PF_ParamIndex index);
    static void SetValue(PF_ParamDef* params[], PF_ParamIndex index, A_long choice);

private:
    char text_[kTextChars + 1];
};

// A data-less parameter with its own UI; Add() also registers the custom UI
// for effect-window events with the record's size and the alignment word.
class Param_Custom : public Param_Parameter {
public:
    Param_Custom(PF_InData* in_data, const char* name, A_long id);
    void Add() override;
    void SetTopic();
    void SetControl();
    void AlignTop();
    void AlignLeft();
    void AlignBottom();
    void AlignRight();
    A_long Alignment() const { return alignment_; }

private:
    A_long alignment_;
};

class Param_Float_Slider : public Param_Parameter {
public:
    Param_Float_Slider(PF_InData* in_data, const char* name, A_long id);
    void SetRange(float min, float max);
    void SetSliderRange(float min, float max);
    void SetValidRange(float min, float max);
    void SetDefault(float value);
    void SetPrecision(A_short precision);
    void SetPercent();
    static float GetValue(PF_ParamDef* params[], PF_ParamIndex index);
    static void SetValue(PF_ParamDef* params[], PF_ParamIndex index, float value);
};

// Groups start collapsed whatever start_expanded says: every parameter
// carries the collapsed flag from construction on, and this class only ever
// adds it again. That is how the effect has always shown its groups.
class Param_Group_Start : public Param_Parameter {
public:
    Param_Group_Start(PF_InData* in_data, const char* name, bool start_expanded, A_long id);
};

class Param_Group_End : public Param_Parameter {
public:
    Param_Group_End(PF_InData* in_data, A_long id);
};

// Adds a group start now and its group end when the scope closes. If the
// scope is left by an exception, the end is not added (the set-up has failed
// anyway); otherwise a host error adding the end is thrown from the
// destructor.
class ParamGroupScope {
public:
    ParamGroupScope(PF_InData* in_data, const char* name, bool start_expanded, A_long start_id, A_long end_id);
    ~ParamGroupScope() noexcept(false);
    ParamGroupScope(const ParamGroupScope&) = delete;
    ParamGroupScope& operator=(const ParamGroupScope&) = delete;

private:
    PF_InData* in_data_;
    A_long end_id_;
    int uncaught_;
};

// The framework's own first parameter (host index 1, id 14): a data-less,
// topic-only header named "Tessen Plus". Returns the host's error instead of
// throwing, so the caller can tell whether the header exists.
constexpr A_long kPrologueParamId = 14;
PF_Err AddParamPrologue(PF_InData* in_data);

// Hides or shows a parameter's stream in the effect controls through AEGP
// (PF Interface, Stream and Dynamic Stream suites). Host errors and missing
// suites are thrown as A_long; references are disposed on every path.
void SetParamVisible(AEGP_PluginID plugin_id, PF_InData* in_data, AEGP_SuiteHandler& suites, PF_ParamIndex index,
                     bool visible);

// Renames a parameter at run time: a copy of its record with the new name
// goes to PF_UpdateParamUI. Host errors are thrown as A_long.
void RenameParam(PF_InData* in_data, AEGP_SuiteHandler& suites, PF_ParamDef* params[], PF_ParamIndex index,
                 const char* name);

}  // namespace DAE

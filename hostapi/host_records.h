// Generated from measured host facts; edit the generator, not this file.
#pragma once
#include "hostapi/host_types.h"

#pragma pack(push, 8)

struct PF_Rect {
    A_long left;
    A_long top;
    A_long right;
    A_long bottom;
};

struct PF_SpecVersion {
    A_short major;
    A_short minor;
};

struct PF_InteractCallbacks {
    PF_Err (*checkout_param)(PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, PF_ParamDef *);
    PF_Err (*checkin_param)(PF_ProgPtr, PF_ParamDef *);
    PF_Err (*add_param)(PF_ProgPtr, PF_ParamIndex, PF_ParamDefPtr);
    PF_Err (*abort)(PF_ProgPtr);
    PF_Err (*progress)(PF_ProgPtr, A_long, A_long);
    PF_Err (*register_ui)(PF_ProgPtr, PF_CustomUIInfo *);
    PF_Err (*checkout_layer_audio)(PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, PF_UFixed, A_long, A_long, A_long, PF_LayerAudio *);
    PF_Err (*checkin_layer_audio)(PF_ProgPtr, PF_LayerAudio);
    PF_Err (*get_audio_data)(PF_ProgPtr, PF_LayerAudio, PF_SndSamplePtr *, A_long *, PF_UFixed *, A_long *, A_long *, A_long *);
    void * reserved_str[3];
    void * reserved[10];
};

struct PF_SoundFormatInfo {
    PF_FpLong rateF;
    PF_SoundChannels num_channels;
    PF_SoundFormat format;
    PF_SoundSampleSize sample_size;
};

struct PF_SoundWorld {
    PF_SoundFormatInfo fi;
    A_long num_samples;
    void * dataP;
};

struct PF_RationalScale {
    A_long num;
    A_u_long den;
};

struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks * utils;
    PF_ProgPtr effect_ref;
    PF_Quality quality;
    PF_SpecVersion version;
    A_long serial_num;
    A_long appl_id;
    A_long num_params;
    A_long reserved;
    A_long what_cpu;
    A_long what_fpu;
    A_long current_time;
    A_long time_step;
    A_long total_time;
    A_long local_time_step;
    A_u_long time_scale;
    PF_Field field;
    PF_Fixed shutter_angle;
    A_long width;
    A_long height;
    PF_Rect extent_hint;
    A_long output_origin_x;
    A_long output_origin_y;
    PF_RationalScale downsample_x;
    PF_RationalScale downsample_y;
    PF_RationalScale pixel_aspect_ratio;
    PF_InFlags in_flags;
    PF_Handle global_data;
    PF_Handle sequence_data;
    PF_Handle frame_data;
    A_long start_sampL;
    A_long dur_sampL;
    A_long total_sampL;
    PF_SoundWorld src_snd;
    SPBasicSuite * pica_basicP;
    A_long pre_effect_source_origin_x;
    A_long pre_effect_source_origin_y;
    PF_Fixed shutter_phase;
};

struct PF_Point {
    A_long h;
    A_long v;
};

struct PF_OutData {
    A_u_long my_version;
    A_char name[32];
    PF_Handle global_data;
    A_long num_params;
    PF_Handle sequence_data;
    A_long flat_sdata_size;
    PF_Handle frame_data;
    A_long width;
    A_long height;
    PF_Point origin;
    PF_OutFlags out_flags;
    A_char return_msg[256];
    A_long start_sampL;
    A_long dur_sampL;
    PF_SoundWorld dest_snd;
    PF_OutFlags2 out_flags2;
};

struct PF_UnionablePixel {
    A_u_char alpha;
    A_u_char red;
    A_u_char green;
    A_u_char blue;
};

struct PF_ColorDef {
    PF_UnionablePixel value;
    PF_UnionablePixel dephault;
};

struct PF_FloatSliderDef {
    PF_FpLong value;
    PF_FpLong phase;
    A_char value_desc[32];
    PF_FpShort valid_min;
    PF_FpShort valid_max;
    PF_FpShort slider_min;
    PF_FpShort slider_max;
    PF_FpShort dephault;
    A_short precision;
    PF_ValueDisplayFlags display_flags;
    PF_FSliderFlags fs_flags;
    PF_FpShort curve_tolerance;
    PF_Boolean useExponent;
    PF_FpShort exponent;
};

struct PF_ButtonDef {
    PF_ParamValue value;
    union {
        const A_char * namesptr;
    } u;
};

struct PF_Point3DDef {
    PF_FpLong x_value;
    PF_FpLong y_value;
    PF_FpLong z_value;
    PF_FpLong x_dephault;
    PF_FpLong y_dephault;
    PF_FpLong z_dephault;
    char reserved[16];
};

struct PF_SliderDef {
    PF_ParamValue value;
    A_char value_str[32];
    A_char value_desc[32];
    PF_ParamValue valid_min;
    PF_ParamValue valid_max;
    PF_ParamValue slider_min;
    PF_ParamValue slider_max;
    PF_ParamValue dephault;
};

struct PF_PointDef {
    PF_Fixed x_value;
    PF_Fixed y_value;
    A_char reserved[3];
    PF_Boolean restrict_bounds;
    PF_Fixed x_dephault;
    PF_Fixed y_dephault;
};

struct PF_PathDef {
    PF_PathID path_id;
    A_long reserved0;
    A_long dephault;
};

struct PF_PopupDef {
    PF_ParamValue value;
    A_short num_choices;
    A_short dephault;
    union {
        const A_char * namesptr;
    } u;
};

struct PF_AngleDef {
    PF_Fixed value;
    PF_Fixed dephault;
    PF_Fixed valid_min;
    PF_Fixed valid_max;
};

struct PF_FixedSliderDef {
    PF_Fixed value;
    A_char value_str[32];
    A_char value_desc[32];
    PF_Fixed valid_min;
    PF_Fixed valid_max;
    PF_Fixed slider_min;
    PF_Fixed slider_max;
    PF_Fixed dephault;
    A_short precision;
    PF_ValueDisplayFlags display_flags;
};

struct PF_ArbitraryDef {
    A_short id;
    A_short pad;
    PF_ArbitraryH dephault;
    PF_ArbitraryH value;
    void * refconPV;
};

struct PF_CheckBoxDef {
    PF_ParamValue value;
    PF_Boolean dephault;
    A_char reserved;
    A_short reserved1;
    union {
        const A_char * nameptr;
    } u;
};

struct PF_UnionableRect {
    A_long left;
    A_long top;
    A_long right;
    A_long bottom;
};

struct PF_LayerDef {
    void * reserved0;
    void * reserved1;
    PF_WorldFlags world_flags;
    PF_PixelPtr data;
    A_long rowbytes;
    A_long width;
    A_long height;
    PF_UnionableRect extent_hint;
    void * platform_ref;
    A_long reserved_long1;
    void * reserved_long4;
    PF_RationalScale pix_aspect_ratio;
    void * reserved_long2;
    A_long origin_x;
    A_long origin_y;
    A_long reserved_long3;
    A_long dephault;
};

union PF_ParamDefUnion {
    PF_LayerDef ld;
    PF_SliderDef sd;
    PF_FixedSliderDef fd;
    PF_AngleDef ad;
    PF_CheckBoxDef bd;
    PF_ColorDef cd;
    PF_PointDef td;
    PF_PopupDef pd;
    PF_FloatSliderDef fs_d;
    PF_ArbitraryDef arb_d;
    PF_PathDef path_d;
    PF_ButtonDef button_d;
    PF_Point3DDef point3d_d;
};

struct PF_ParamDef {
    union {
        A_long id;
        PF_ChangeFlags change_flags;
    } uu;
    PF_ParamUIFlags ui_flags;
    A_short ui_width;
    A_short ui_height;
    PF_ParamType param_type;
    A_char name[32];
    PF_ParamFlags flags;
    A_long unused;
    PF_ParamDefUnion u;
};

struct PF_LRect {
    A_long left;
    A_long top;
    A_long right;
    A_long bottom;
};

struct PF_Pixel {
    A_u_char alpha;
    A_u_char red;
    A_u_char green;
    A_u_char blue;
};

struct PF_Pixel16 {
    A_u_short alpha;
    A_u_short red;
    A_u_short green;
    A_u_short blue;
};

struct PF_PixelFloat {
    PF_FpShort alpha;
    PF_FpShort red;
    PF_FpShort green;
    PF_FpShort blue;
};

struct PF_LegacyRect {
    A_short top;
    A_short left;
    A_short bottom;
    A_short right;
};

struct PF_LegacyPoint {
    A_short v;
    A_short h;
};

struct PF_ColorCallbacks {
    PF_Err (*RGBtoHLS)(PF_ProgPtr, PF_Pixel *, PF_Fixed *);
    PF_Err (*HLStoRGB)(PF_ProgPtr, PF_Fixed *, PF_Pixel *);
    PF_Err (*RGBtoYIQ)(PF_ProgPtr, PF_Pixel *, PF_Fixed *);
    PF_Err (*YIQtoRGB)(PF_ProgPtr, PF_Fixed *, PF_Pixel *);
    PF_Err (*Luminance)(PF_ProgPtr, PF_Pixel *, A_long *);
    PF_Err (*Hue)(PF_ProgPtr, PF_Pixel *, A_long *);
    PF_Err (*Lightness)(PF_ProgPtr, PF_Pixel *, A_long *);
    PF_Err (*Saturation)(PF_ProgPtr, PF_Pixel *, A_long *);
};

struct PF_ANSICallbacks {
    A_FpLong (*atan)(A_FpLong);
    A_FpLong (*atan2)(A_FpLong, A_FpLong);
    A_FpLong (*ceil)(A_FpLong);
    A_FpLong (*cos)(A_FpLong);
    A_FpLong (*exp)(A_FpLong);
    A_FpLong (*fabs)(A_FpLong);
    A_FpLong (*floor)(A_FpLong);
    A_FpLong (*fmod)(A_FpLong, A_FpLong);
    A_FpLong (*hypot)(A_FpLong, A_FpLong);
    A_FpLong (*log)(A_FpLong);
    A_FpLong (*log10)(A_FpLong);
    A_FpLong (*pow)(A_FpLong, A_FpLong);
    A_FpLong (*sin)(A_FpLong);
    A_FpLong (*sqrt)(A_FpLong);
    A_FpLong (*tan)(A_FpLong);
    int (*sprintf)(A_char *, const A_char *, ...);
    A_char *(*strcpy)(A_char *, const A_char *);
    A_FpLong (*asin)(A_FpLong);
    A_FpLong (*acos)(A_FpLong);
    A_long ansi_procs[1];
};

struct PF_UtilCallbacks {
    PF_Err (*begin_sampling)(PF_ProgPtr, PF_Quality, PF_ModeFlags, PF_SampPB *);
    PF_Err (*subpixel_sample)(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB *, PF_Pixel *);
    PF_Err (*area_sample)(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB *, PF_Pixel *);
    void * get_batch_func_is_deprecated;
    PF_Err (*end_sampling)(PF_ProgPtr, PF_Quality, PF_ModeFlags, PF_SampPB *);
    PF_Err (*composite_rect)(PF_ProgPtr, PF_Rect *, A_long, PF_EffectWorld *, A_long, A_long, PF_Field, PF_XferMode, PF_EffectWorld *);
    PF_Err (*blend)(PF_ProgPtr, const PF_EffectWorld *, const PF_EffectWorld *, PF_Fixed, PF_EffectWorld *);
    PF_Err (*convolve)(PF_ProgPtr, PF_EffectWorld *, const PF_Rect *, PF_KernelFlags, A_long, void *, void *, void *, void *, PF_EffectWorld *);
    PF_Err (*copy)(PF_ProgPtr, PF_EffectWorld *, PF_EffectWorld *, PF_Rect *, PF_Rect *);
    PF_Err (*fill)(PF_ProgPtr, const PF_Pixel *, const PF_Rect *, PF_EffectWorld *);
    PF_Err (*gaussian_kernel)(PF_ProgPtr, A_FpLong, PF_KernelFlags, A_FpLong, A_long *, void *);
    PF_Err (*iterate)(PF_InData *, A_long, A_long, PF_EffectWorld *, const PF_Rect *, void *, PF_IteratePixel8Func, PF_EffectWorld *);
    PF_Err (*premultiply)(PF_ProgPtr, A_long, PF_EffectWorld *);
    PF_Err (*premultiply_color)(PF_ProgPtr, PF_EffectWorld *, const PF_Pixel *, A_long, PF_EffectWorld *);
    PF_Err (*new_world)(PF_ProgPtr, A_long, A_long, PF_NewWorldFlags, PF_EffectWorld *);
    PF_Err (*dispose_world)(PF_ProgPtr, PF_EffectWorld *);
    PF_Err (*iterate_origin)(PF_InData *, A_long, A_long, PF_EffectWorld *, const PF_Rect *, const PF_Point *, void *, PF_IteratePixel8Func, PF_EffectWorld *);
    PF_Err (*iterate_lut)(PF_InData *, A_long, A_long, PF_EffectWorld *, const PF_Rect *, A_u_char *, A_u_char *, A_u_char *, A_u_char *, PF_EffectWorld *);
    PF_Err (*transfer_rect)(PF_ProgPtr, PF_Quality, PF_ModeFlags, PF_Field, const PF_Rect *, const PF_EffectWorld *, const PF_CompositeMode *, const PF_MaskWorld *, A_long, A_long, PF_EffectWorld *);
    PF_Err (*transform_world)(PF_ProgPtr, PF_Quality, PF_ModeFlags, PF_Field, const PF_EffectWorld *, const PF_CompositeMode *, const PF_MaskWorld *, const PF_FloatMatrix *, A_long, PF_Boolean, const PF_Rect *, PF_EffectWorld *);
    PF_Handle (*host_new_handle)(A_u_longlong);
    void *(*host_lock_handle)(PF_Handle);
    void (*host_unlock_handle)(PF_Handle);
    void (*host_dispose_handle)(PF_Handle);
    PF_Err (*get_callback_addr)(PF_ProgPtr, PF_Quality, PF_ModeFlags, PF_CallbackID, PF_CallbackFunc *);
    PF_Err (*app)(PF_ProgPtr, A_long, ...);
    PF_ANSICallbacks ansi;
    PF_ColorCallbacks colorCB;
    PF_Err (*get_platform_data)(PF_ProgPtr, PF_PlatDataID, void *);
    A_u_longlong (*host_get_handle_size)(PF_Handle);
    PF_Err (*iterate_origin_non_clip_src)(PF_InData *, A_long, A_long, PF_EffectWorld *, const PF_Rect *, const PF_Point *, void *, PF_IteratePixel8Func, PF_EffectWorld *);
    PF_Err (*iterate_generic)(A_long, void *, PF_Err (*)(void *, A_long, A_long, A_long));
    PF_Err (*host_resize_handle)(A_u_longlong, PF_Handle *);
    PF_Err (*subpixel_sample16)(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB *, PF_Pixel16 *);
    PF_Err (*area_sample16)(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB *, PF_Pixel16 *);
    PF_Err (*fill16)(PF_ProgPtr, const PF_Pixel16 *, const PF_Rect *, PF_EffectWorld *);
    PF_Err (*premultiply_color16)(PF_ProgPtr, PF_EffectWorld *, const PF_Pixel16 *, A_long, PF_EffectWorld *);
    PF_Err (*iterate16)(PF_InData *, A_long, A_long, PF_EffectWorld *, const PF_Rect *, void *, PF_IteratePixel16Func, PF_EffectWorld *);
    PF_Err (*iterate_origin16)(PF_InData *, A_long, A_long, PF_EffectWorld *, const PF_Rect *, const PF_Point *, void *, PF_IteratePixel16Func, PF_EffectWorld *);
    PF_Err (*iterate_origin_non_clip_src16)(PF_InData *, A_long, A_long, PF_EffectWorld *, const PF_Rect *, const PF_Point *, void *, PF_IteratePixel16Func, PF_EffectWorld *);
    PF_Err (*get_pixel_data8)(PF_EffectWorld *, PF_PixelPtr, PF_Pixel8 **);
    PF_Err (*get_pixel_data16)(PF_EffectWorld *, PF_PixelPtr, PF_Pixel16 **);
    A_long reserved[1];
};

struct PF_EffectWindowInfo {
    PF_ParamIndex index;
    PF_EffectArea area;
    PF_UnionableRect current_frame;
    PF_UnionableRect param_title_frame;
    A_long horiz_offset;
};

struct PF_DoClickEventInfo {
    A_u_long when;
    PF_Point screen_point;
    A_long num_clicks;
    PF_Modifiers modifiers;
    A_intptr_t continue_refcon[4];
    PF_Boolean send_drag;
    PF_Boolean last_time;
};

struct PF_AdjustCursorEventInfo {
    PF_Point screen_point;
    PF_Modifiers modifiers;
    PF_CursorType set_cursor;
};

struct PF_KeyDownEvent {
    A_u_long when;
    PF_Point screen_point;
    PF_KeyCode keycode;
    PF_Modifiers modifiers;
};

struct PF_DrawEventInfo {
    PF_UnionableRect update_rect;
    A_long depth;
};

union PF_EventUnion {
    PF_DoClickEventInfo do_click;
    PF_DrawEventInfo draw;
    PF_KeyDownEvent key_down;
    PF_AdjustCursorEventInfo adjust_cursor;
};

struct PF_EventCallbacks {
    void * refcon;
    PF_Err (*layer_to_comp)(void *, PF_ContextH, A_long, A_long, PF_FixedPoint *);
    PF_Err (*comp_to_layer)(void *, PF_ContextH, A_long, A_long, PF_FixedPoint *);
    PF_Err (*get_comp2layer_xform)(void *, PF_ContextH, A_long, A_long, A_long *, PF_FloatMatrix *);
    PF_Err (*get_layer2comp_xform)(void *, PF_ContextH, A_long, A_long, PF_FloatMatrix *);
    PF_Err (*source_to_frame)(void *, PF_ContextH, PF_FixedPoint *);
    PF_Err (*frame_to_source)(void *, PF_ContextH, PF_FixedPoint *);
    PF_Err (*info_draw_color)(void *, PF_Pixel);
    PF_Err (*info_draw_text)(void *, const A_char *, const A_char *);
};

struct PF_EventExtra {
    PF_ContextH contextH;
    PF_EventType e_type;
    PF_EventUnion u;
    PF_EffectWindowInfo effect_win;
    PF_EventCallbacks cbs;
    PF_EventInFlags evt_in_flags;
    PF_EventOutFlags evt_out_flags;
};

struct PF_Context {
    A_u_long magic;
    PF_WindowType w_type;
    PF_ContextRefcon reserved_flt;
    A_intptr_t plugin_state[4];
    DRAWBOT_DrawRef reserved_drawref;
    void * reserved_paneP;
    void * reserved_job_manageP;
};

struct PF_CustomUIInfo {
    A_long reserved;
    PF_CustomEventFlags events;
    A_long comp_ui_width;
    A_long comp_ui_height;
    PF_UIAlignment comp_ui_alignment;
    A_long layer_ui_width;
    A_long layer_ui_height;
    PF_UIAlignment layer_ui_alignment;
    A_long preview_ui_width;
    A_long preview_ui_height;
    PF_UIAlignment preview_ui_alignment;
};

struct PF_ItemWindowInfo {
    PF_UnionableRect port_rect;
};

union PF_WindowUnion {
    PF_EffectWindowInfo effect_win;
    PF_ItemWindowInfo item_win;
};

struct SPBasicSuite {
    SPErr (*AcquireSuite)(const char *, int32, const void **);
    SPErr (*ReleaseSuite)(const char *, int32);
    SPBoolean (*IsEqual)(const char *, const char *);
    SPErr (*AllocateBlock)(size_t, void **);
    SPErr (*FreeBlock)(void *);
    SPErr (*ReallocateBlock)(void *, size_t, void **);
    SPErr (*Undefined)();
};

struct PF_HandleSuite1 {
    PF_Handle (*host_new_handle)(A_HandleSize);
    void *(*host_lock_handle)(PF_Handle);
    void (*host_unlock_handle)(PF_Handle);
    void (*host_dispose_handle)(PF_Handle);
    A_HandleSize (*host_get_handle_size)(PF_Handle);
    PF_Err (*host_resize_handle)(A_HandleSize, PF_Handle *);
};

struct PF_ParamUtilsSuite3 {
    PF_Err (*PF_UpdateParamUI)(PF_ProgPtr, PF_ParamIndex, const PF_ParamDef *);
    PF_Err (*PF_GetCurrentState)(PF_ProgPtr, PF_ParamIndex, const A_Time *, const A_Time *, PF_State *);
    PF_Err (*PF_AreStatesIdentical)(PF_ProgPtr, const PF_State *, const PF_State *, A_Boolean *);
    PF_Err (*PF_IsIdenticalCheckout)(PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, A_long, A_long, A_u_long, PF_Boolean *);
    PF_Err (*PF_FindKeyframeTime)(PF_ProgPtr, PF_ParamIndex, A_long, A_u_long, PF_TimeDir, PF_Boolean *, PF_KeyIndex *, A_long *, A_u_long *);
    PF_Err (*PF_GetKeyframeCount)(PF_ProgPtr, PF_ParamIndex, PF_KeyIndex *);
    PF_Err (*PF_CheckoutKeyframe)(PF_ProgPtr, PF_ParamIndex, PF_KeyIndex, A_long *, A_u_long *, PF_ParamDef *);
    PF_Err (*PF_CheckinKeyframe)(PF_ProgPtr, PF_ParamDef *);
    PF_Err (*PF_KeyIndexToTime)(PF_ProgPtr, PF_ParamIndex, PF_KeyIndex, A_long *, A_u_long *);
};

struct PFAppSuite4 {
    PF_Err (*PF_AppGetBgColor)(PF_App_Color *);
    PF_Err (*PF_AppGetColor)(PF_App_ColorType, PF_App_Color *);
    PF_Err (*PF_GetPersonalInfo)(PF_AppPersonalTextInfo *);
    PF_Err (*PF_GetFontStyleSheet)(PF_FontStyleSheet, PF_FontName *, A_short *, A_short *, A_short *);
    PF_Err (*PF_SetCursor)(PF_CursorType);
    PF_Err (*PF_IsRenderEngine)(PF_Boolean *);
    PF_Err (*PF_AppColorPickerDialog)(const A_char *, const PF_PixelFloat *, PF_Boolean, PF_PixelFloat *);
    PF_Err (*PF_GetMouse)(PF_Point *);
    PF_Err (*PF_InvalidateRect)(const PF_ContextH, const PF_Rect *);
    PF_Err (*PF_ConvertLocalToGlobal)(const PF_Point *, PF_Point *);
    PF_Err (*PF_GetColorAtGlobalPoint)(const PF_Point *, A_short, PF_EyeDropperSampleMode, PF_PixelFloat *);
};

struct PF_ANSICallbacksSuite1 {
    A_FpLong (*atan)(A_FpLong);
    A_FpLong (*atan2)(A_FpLong, A_FpLong);
    A_FpLong (*ceil)(A_FpLong);
    A_FpLong (*cos)(A_FpLong);
    A_FpLong (*exp)(A_FpLong);
    A_FpLong (*fabs)(A_FpLong);
    A_FpLong (*floor)(A_FpLong);
    A_FpLong (*fmod)(A_FpLong, A_FpLong);
    A_FpLong (*hypot)(A_FpLong, A_FpLong);
    A_FpLong (*log)(A_FpLong);
    A_FpLong (*log10)(A_FpLong);
    A_FpLong (*pow)(A_FpLong, A_FpLong);
    A_FpLong (*sin)(A_FpLong);
    A_FpLong (*sqrt)(A_FpLong);
    A_FpLong (*tan)(A_FpLong);
    int (*sprintf)(A_char *, const A_char *, ...);
    A_char *(*strcpy)(A_char *, const A_char *);
    A_FpLong (*asin)(A_FpLong);
    A_FpLong (*acos)(A_FpLong);
};

struct PF_EffectCustomUISuite1 {
    PF_Err (*PF_GetDrawingReference)(const PF_ContextH, DRAWBOT_DrawRef *);
};

struct DRAWBOT_DrawbotSuite1 {
    SPErr (*GetSupplier)(DRAWBOT_DrawRef, DRAWBOT_SupplierRef *);
    SPErr (*GetSurface)(DRAWBOT_DrawRef, DRAWBOT_SurfaceRef *);
};

struct DRAWBOT_SupplierSuite1 {
    SPErr (*NewPen)(DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA *, float, DRAWBOT_PenRef *);
    SPErr (*NewBrush)(DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA *, DRAWBOT_BrushRef *);
    SPErr (*SupportsText)(DRAWBOT_SupplierRef, DRAWBOT_Boolean *);
    SPErr (*GetDefaultFontSize)(DRAWBOT_SupplierRef, float *);
    SPErr (*NewDefaultFont)(DRAWBOT_SupplierRef, float, DRAWBOT_FontRef *);
    SPErr (*NewImageFromBuffer)(DRAWBOT_SupplierRef, int, int, int, DRAWBOT_PixelLayout, const void *, DRAWBOT_ImageRef *);
    SPErr (*NewPath)(DRAWBOT_SupplierRef, DRAWBOT_PathRef *);
    SPErr (*SupportsPixelLayoutBGRA)(DRAWBOT_SupplierRef, DRAWBOT_Boolean *);
    SPErr (*PrefersPixelLayoutBGRA)(DRAWBOT_SupplierRef, DRAWBOT_Boolean *);
    SPErr (*SupportsPixelLayoutARGB)(DRAWBOT_SupplierRef, DRAWBOT_Boolean *);
    SPErr (*PrefersPixelLayoutARGB)(DRAWBOT_SupplierRef, DRAWBOT_Boolean *);
    SPErr (*RetainObject)(DRAWBOT_ObjectRef);
    SPErr (*ReleaseObject)(DRAWBOT_ObjectRef);
};

struct DRAWBOT_SurfaceSuite2 {
    SPErr (*PushStateStack)(DRAWBOT_SurfaceRef);
    SPErr (*PopStateStack)(DRAWBOT_SurfaceRef);
    SPErr (*PaintRect)(DRAWBOT_SurfaceRef, const DRAWBOT_ColorRGBA *, const DRAWBOT_RectF32 *);
    SPErr (*FillPath)(DRAWBOT_SurfaceRef, DRAWBOT_BrushRef, DRAWBOT_PathRef, DRAWBOT_FillType);
    SPErr (*StrokePath)(DRAWBOT_SurfaceRef, DRAWBOT_PenRef, DRAWBOT_PathRef);
    SPErr (*Clip)(DRAWBOT_SurfaceRef, DRAWBOT_SupplierRef, const DRAWBOT_Rect32 *);
    SPErr (*GetClipBounds)(DRAWBOT_SurfaceRef, DRAWBOT_Rect32 *);
    SPErr (*IsWithinClipBounds)(DRAWBOT_SurfaceRef, const DRAWBOT_Rect32 *, DRAWBOT_Boolean *);
    SPErr (*Transform)(DRAWBOT_SurfaceRef, const DRAWBOT_MatrixF32 *);
    SPErr (*DrawString)(DRAWBOT_SurfaceRef, DRAWBOT_BrushRef, DRAWBOT_FontRef, const DRAWBOT_UTF16Char *, const DRAWBOT_PointF32 *, DRAWBOT_TextAlignment, DRAWBOT_TextTruncation, float);
    SPErr (*DrawImage)(DRAWBOT_SurfaceRef, DRAWBOT_ImageRef, const DRAWBOT_PointF32 *, float);
    SPErr (*SetInterpolationPolicy)(DRAWBOT_SurfaceRef, DRAWBOT_InterpolationPolicy);
    SPErr (*GetInterpolationPolicy)(DRAWBOT_SurfaceRef, DRAWBOT_InterpolationPolicy *);
    SPErr (*SetAntiAliasPolicy)(DRAWBOT_SurfaceRef, DRAWBOT_AntiAliasPolicy);
    SPErr (*GetAntiAliasPolicy)(DRAWBOT_SurfaceRef, DRAWBOT_AntiAliasPolicy *);
    SPErr (*Flush)(DRAWBOT_SurfaceRef);
    SPErr (*GetTransformToScreenScale)(DRAWBOT_SurfaceRef, float *);
};

struct DRAWBOT_PathSuite1 {
    SPErr (*MoveTo)(DRAWBOT_PathRef, float, float);
    SPErr (*LineTo)(DRAWBOT_PathRef, float, float);
    SPErr (*BezierTo)(DRAWBOT_PathRef, const DRAWBOT_PointF32 *, const DRAWBOT_PointF32 *, const DRAWBOT_PointF32 *);
    SPErr (*AddRect)(DRAWBOT_PathRef, const DRAWBOT_RectF32 *);
    SPErr (*AddArc)(DRAWBOT_PathRef, const DRAWBOT_PointF32 *, float, float, float);
    SPErr (*Close)(DRAWBOT_PathRef);
};

struct DRAWBOT_Suites {
    DRAWBOT_DrawbotSuite1 * drawbot_suiteP;
    DRAWBOT_SupplierSuite1 * supplier_suiteP;
    DRAWBOT_SurfaceSuite2 * surface_suiteP;
    DRAWBOT_PathSuite1 * path_suiteP;
    DRAWBOT_PenSuite1 * pen_suiteP;
    DRAWBOT_ImageSuite1 * image_suiteP;
};

struct AEGP_PFInterfaceSuite1 {
    A_Err (*AEGP_GetEffectLayer)(PF_ProgPtr, AEGP_LayerH *);
    A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID, PF_ProgPtr, AEGP_EffectRefH *);
    A_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr, A_long, A_u_long, A_Time *);
    A_Err (*AEGP_GetEffectCamera)(PF_ProgPtr, const A_Time *, AEGP_LayerH *);
    A_Err (*AEGP_GetEffectCameraMatrix)(PF_ProgPtr, const A_Time *, A_Matrix4 *, A_FpLong *, A_short *, A_short *);
};

struct AEGP_LayerSuite9 {
    A_Err (*AEGP_GetCompNumLayers)(AEGP_CompH, A_long *);
    A_Err (*AEGP_GetCompLayerByIndex)(AEGP_CompH, A_long, AEGP_LayerH *);
    A_Err (*AEGP_GetActiveLayer)(AEGP_LayerH *);
    A_Err (*AEGP_GetLayerIndex)(AEGP_LayerH, A_long *);
    A_Err (*AEGP_GetLayerSourceItem)(AEGP_LayerH, AEGP_ItemH *);
    A_Err (*AEGP_GetLayerSourceItemID)(AEGP_LayerH, A_long *);
    A_Err (*AEGP_GetLayerParentComp)(AEGP_LayerH, AEGP_CompH *);
    A_Err (*AEGP_GetLayerName)(AEGP_PluginID, AEGP_LayerH, AEGP_MemHandle *, AEGP_MemHandle *);
    A_Err (*AEGP_GetLayerQuality)(AEGP_LayerH, AEGP_LayerQuality *);
    A_Err (*AEGP_SetLayerQuality)(AEGP_LayerH, AEGP_LayerQuality);
    A_Err (*AEGP_GetLayerFlags)(AEGP_LayerH, AEGP_LayerFlags *);
    A_Err (*AEGP_SetLayerFlag)(AEGP_LayerH, AEGP_LayerFlags, A_Boolean);
    A_Err (*AEGP_IsLayerVideoReallyOn)(AEGP_LayerH, A_Boolean *);
    A_Err (*AEGP_IsLayerAudioReallyOn)(AEGP_LayerH, A_Boolean *);
    A_Err (*AEGP_GetLayerCurrentTime)(AEGP_LayerH, AEGP_LTimeMode, A_Time *);
    A_Err (*AEGP_GetLayerInPoint)(AEGP_LayerH, AEGP_LTimeMode, A_Time *);
    A_Err (*AEGP_GetLayerDuration)(AEGP_LayerH, AEGP_LTimeMode, A_Time *);
    A_Err (*AEGP_SetLayerInPointAndDuration)(AEGP_LayerH, AEGP_LTimeMode, const A_Time *, const A_Time *);
    A_Err (*AEGP_GetLayerOffset)(AEGP_LayerH, A_Time *);
    A_Err (*AEGP_SetLayerOffset)(AEGP_LayerH, const A_Time *);
    A_Err (*AEGP_GetLayerStretch)(AEGP_LayerH, A_Ratio *);
    A_Err (*AEGP_SetLayerStretch)(AEGP_LayerH, const A_Ratio *);
    A_Err (*AEGP_GetLayerTransferMode)(AEGP_LayerH, AEGP_LayerTransferMode *);
    A_Err (*AEGP_SetLayerTransferMode)(AEGP_LayerH, const AEGP_LayerTransferMode *);
    A_Err (*AEGP_IsAddLayerValid)(AEGP_ItemH, AEGP_CompH, A_Boolean *);
    A_Err (*AEGP_AddLayer)(AEGP_ItemH, AEGP_CompH, AEGP_LayerH *);
    A_Err (*AEGP_ReorderLayer)(AEGP_LayerH, A_long);
    A_Err (*AEGP_GetLayerMaskedBounds)(AEGP_LayerH, AEGP_LTimeMode, const A_Time *, A_FloatRect *);
    A_Err (*AEGP_GetLayerObjectType)(AEGP_LayerH, AEGP_ObjectType *);
    A_Err (*AEGP_IsLayer3D)(AEGP_LayerH, A_Boolean *);
    A_Err (*AEGP_IsLayer2D)(AEGP_LayerH, A_Boolean *);
    A_Err (*AEGP_IsVideoActive)(AEGP_LayerH, AEGP_LTimeMode, const A_Time *, A_Boolean *);
    A_Err (*AEGP_IsLayerUsedAsTrackMatte)(AEGP_LayerH, A_Boolean, A_Boolean *);
    A_Err (*AEGP_DoesLayerHaveTrackMatte)(AEGP_LayerH, A_Boolean *);
    A_Err (*AEGP_ConvertCompToLayerTime)(AEGP_LayerH, const A_Time *, A_Time *);
    A_Err (*AEGP_ConvertLayerToCompTime)(AEGP_LayerH, const A_Time *, A_Time *);
    A_Err (*AEGP_GetLayerDancingRandValue)(AEGP_LayerH, const A_Time *, A_long *);
    A_Err (*AEGP_GetLayerID)(AEGP_LayerH, AEGP_LayerIDVal *);
    A_Err (*AEGP_GetLayerToWorldXform)(AEGP_LayerH, const A_Time *, A_Matrix4 *);
    A_Err (*AEGP_GetLayerToWorldXformFromView)(AEGP_LayerH, const A_Time *, const A_Time *, A_Matrix4 *);
    A_Err (*AEGP_SetLayerName)(AEGP_LayerH, const A_UTF16Char *);
    A_Err (*AEGP_GetLayerParent)(const AEGP_LayerH, AEGP_LayerH *);
    A_Err (*AEGP_SetLayerParent)(AEGP_LayerH, const AEGP_LayerH);
    A_Err (*AEGP_DeleteLayer)(AEGP_LayerH);
    A_Err (*AEGP_DuplicateLayer)(AEGP_LayerH, AEGP_LayerH *);
    A_Err (*AEGP_GetLayerFromLayerID)(AEGP_CompH, AEGP_LayerIDVal, AEGP_LayerH *);
    A_Err (*AEGP_GetLayerLabel)(AEGP_LayerH, AEGP_LabelID *);
    A_Err (*AEGP_SetLayerLabel)(AEGP_LayerH, AEGP_LabelID);
    A_Err (*AEGP_GetLayerSamplingQuality)(AEGP_LayerH, AEGP_LayerSamplingQuality *);
    A_Err (*AEGP_SetLayerSamplingQuality)(AEGP_LayerH, AEGP_LayerSamplingQuality);
    A_Err (*AEGP_GetTrackMatteLayer)(const AEGP_LayerH, AEGP_LayerH *);
    A_Err (*AEGP_SetTrackMatte)(AEGP_LayerH, const AEGP_LayerH, const AEGP_TrackMatte);
    A_Err (*AEGP_RemoveTrackMatte)(AEGP_LayerH);
};

struct AEGP_ItemSuite9 {
    A_Err (*AEGP_GetFirstProjItem)(AEGP_ProjectH, AEGP_ItemH *);
    A_Err (*AEGP_GetNextProjItem)(AEGP_ProjectH, AEGP_ItemH, AEGP_ItemH *);
    A_Err (*AEGP_GetActiveItem)(AEGP_ItemH *);
    A_Err (*AEGP_IsItemSelected)(AEGP_ItemH, A_Boolean *);
    A_Err (*AEGP_SelectItem)(AEGP_ItemH, A_Boolean, A_Boolean);
    A_Err (*AEGP_GetItemType)(AEGP_ItemH, AEGP_ItemType *);
    A_Err (*AEGP_GetTypeName)(AEGP_ItemType, A_char *);
    A_Err (*AEGP_GetItemName)(AEGP_PluginID, AEGP_ItemH, AEGP_MemHandle *);
    A_Err (*AEGP_SetItemName)(AEGP_ItemH, const A_UTF16Char *);
    A_Err (*AEGP_GetItemID)(AEGP_ItemH, A_long *);
    A_Err (*AEGP_GetItemFlags)(AEGP_ItemH, AEGP_ItemFlags *);
    A_Err (*AEGP_SetItemUseProxy)(AEGP_ItemH, A_Boolean);
    A_Err (*AEGP_GetItemParentFolder)(AEGP_ItemH, AEGP_ItemH *);
    A_Err (*AEGP_SetItemParentFolder)(AEGP_ItemH, AEGP_ItemH);
    A_Err (*AEGP_GetItemDuration)(AEGP_ItemH, A_Time *);
    A_Err (*AEGP_GetItemCurrentTime)(AEGP_ItemH, A_Time *);
    A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH, A_long *, A_long *);
    A_Err (*AEGP_GetItemPixelAspectRatio)(AEGP_ItemH, A_Ratio *);
    A_Err (*AEGP_DeleteItem)(AEGP_ItemH);
    A_Err (*AEGP_CreateNewFolder)(const A_UTF16Char *, AEGP_ItemH, AEGP_ItemH *);
    A_Err (*AEGP_SetItemCurrentTime)(AEGP_ItemH, const A_Time *);
    A_Err (*AEGP_GetItemComment)(AEGP_ItemH, AEGP_MemHandle *);
    A_Err (*AEGP_SetItemComment)(AEGP_ItemH, const A_UTF16Char *);
    A_Err (*AEGP_GetItemLabel)(AEGP_ItemH, AEGP_LabelID *);
    A_Err (*AEGP_SetItemLabel)(AEGP_ItemH, AEGP_LabelID);
    A_Err (*AEGP_GetItemMRUView)(AEGP_ItemH, AEGP_ItemViewP *);
};

struct AEGP_FootageSuite5 {
    A_Err (*AEGP_GetMainFootageFromItem)(AEGP_ItemH, AEGP_FootageH *);
    A_Err (*AEGP_GetProxyFootageFromItem)(AEGP_ItemH, AEGP_FootageH *);
    A_Err (*AEGP_GetFootageNumFiles)(AEGP_FootageH, A_long *, A_long *);
    A_Err (*AEGP_GetFootagePath)(AEGP_FootageH, A_long, A_long, AEGP_MemHandle *);
    A_Err (*AEGP_GetFootageSignature)(AEGP_FootageH, AEGP_FootageSignature *);
    A_Err (*AEGP_NewFootage)(AEGP_PluginID, const A_UTF16Char *, const AEGP_FootageLayerKey *, const AEGP_FileSequenceImportOptions *, AEGP_InterpretationStyle, void *, AEGP_FootageH *);
    A_Err (*AEGP_AddFootageToProject)(AEGP_FootageH, AEGP_ItemH, AEGP_ItemH *);
    A_Err (*AEGP_SetItemProxyFootage)(AEGP_FootageH, AEGP_ItemH);
    A_Err (*AEGP_ReplaceItemMainFootage)(AEGP_FootageH, AEGP_ItemH);
    A_Err (*AEGP_DisposeFootage)(AEGP_FootageH);
    A_Err (*AEGP_GetFootageInterpretation)(AEGP_ItemH, A_Boolean, AEGP_FootageInterp *);
    A_Err (*AEGP_SetFootageInterpretation)(AEGP_ItemH, A_Boolean, const AEGP_FootageInterp *);
    A_Err (*AEGP_GetFootageLayerKey)(AEGP_FootageH, AEGP_FootageLayerKey *);
    A_Err (*AEGP_NewPlaceholderFootage)(AEGP_PluginID, const A_char *, A_long, A_long, const A_Time *, AEGP_FootageH *);
    A_Err (*AEGP_NewPlaceholderFootageWithPath)(AEGP_PluginID, const A_UTF16Char *, AEGP_Platform, AEIO_FileType, A_long, A_long, const A_Time *, AEGP_FootageH *);
    A_Err (*AEGP_NewSolidFootage)(const A_char *, A_long, A_long, const AEGP_ColorVal *, AEGP_FootageH *);
    A_Err (*AEGP_GetSolidFootageColor)(AEGP_ItemH, A_Boolean, AEGP_ColorVal *);
    A_Err (*AEGP_SetSolidFootageColor)(AEGP_ItemH, A_Boolean, const AEGP_ColorVal *);
    A_Err (*AEGP_SetSolidFootageDimensions)(AEGP_ItemH, A_Boolean, A_long, A_long);
    A_Err (*AEGP_GetFootageSoundDataFormat)(AEGP_FootageH, AEGP_SoundDataFormat *);
    A_Err (*AEGP_GetFootageSequenceImportOptions)(AEGP_FootageH, AEGP_FileSequenceImportOptions *);
};

struct AEGP_StreamSuite6 {
    A_Err (*AEGP_IsStreamLegal)(AEGP_LayerH, AEGP_LayerStream, A_Boolean *);
    A_Err (*AEGP_CanVaryOverTime)(AEGP_StreamRefH, A_Boolean *);
    A_Err (*AEGP_GetValidInterpolations)(AEGP_StreamRefH, AEGP_KeyInterpolationMask *);
    A_Err (*AEGP_GetNewLayerStream)(AEGP_PluginID, AEGP_LayerH, AEGP_LayerStream, AEGP_StreamRefH *);
    A_Err (*AEGP_GetEffectNumParamStreams)(AEGP_EffectRefH, A_long *);
    A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID, AEGP_EffectRefH, PF_ParamIndex, AEGP_StreamRefH *);
    A_Err (*AEGP_GetNewMaskStream)(AEGP_PluginID, AEGP_MaskRefH, AEGP_MaskStream, AEGP_StreamRefH *);
    A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH);
    A_Err (*AEGP_GetStreamName)(AEGP_PluginID, AEGP_StreamRefH, A_Boolean, AEGP_MemHandle *);
    A_Err (*AEGP_GetStreamUnitsText)(AEGP_StreamRefH, A_Boolean, A_char *);
    A_Err (*AEGP_GetStreamProperties)(AEGP_StreamRefH, AEGP_StreamFlags *, A_FpLong *, A_FpLong *);
    A_Err (*AEGP_IsStreamTimevarying)(AEGP_StreamRefH, A_Boolean *);
    A_Err (*AEGP_GetStreamType)(AEGP_StreamRefH, AEGP_StreamType *);
    A_Err (*AEGP_GetNewStreamValue)(AEGP_PluginID, AEGP_StreamRefH, AEGP_LTimeMode, const A_Time *, A_Boolean, AEGP_StreamValue2 *);
    A_Err (*AEGP_DisposeStreamValue)(AEGP_StreamValue2 *);
    A_Err (*AEGP_SetStreamValue)(AEGP_PluginID, AEGP_StreamRefH, AEGP_StreamValue2 *);
    A_Err (*AEGP_GetLayerStreamValue)(AEGP_LayerH, AEGP_LayerStream, AEGP_LTimeMode, const A_Time *, A_Boolean, AEGP_StreamVal2 *, AEGP_StreamType *);
    A_Err (*AEGP_GetExpressionState)(AEGP_PluginID, AEGP_StreamRefH, A_Boolean *);
    A_Err (*AEGP_SetExpressionState)(AEGP_PluginID, AEGP_StreamRefH, A_Boolean);
    A_Err (*AEGP_GetExpression)(AEGP_PluginID, AEGP_StreamRefH, AEGP_MemHandle *);
    A_Err (*AEGP_SetExpression)(AEGP_PluginID, AEGP_StreamRefH, const A_UTF16Char *);
    A_Err (*AEGP_DuplicateStreamRef)(AEGP_PluginID, AEGP_StreamRefH, AEGP_StreamRefH *);
    A_Err (*AEGP_GetUniqueStreamID)(AEGP_StreamRefH, int32_t *);
};

struct AEGP_DynamicStreamSuite3 {
    A_Err (*AEGP_GetNewStreamRefForLayer)(AEGP_PluginID, AEGP_LayerH, AEGP_StreamRefH *);
    A_Err (*AEGP_GetStreamDepth)(AEGP_StreamRefH, A_long *);
    A_Err (*AEGP_GetStreamGroupingType)(AEGP_StreamRefH, AEGP_StreamGroupingType *);
    A_Err (*AEGP_GetNumStreamsInGroup)(AEGP_StreamRefH, A_long *);
    A_Err (*AEGP_GetDynamicStreamFlags)(AEGP_StreamRefH, AEGP_DynStreamFlags *);
    A_Err (*AEGP_SetDynamicStreamFlag)(AEGP_StreamRefH, AEGP_DynStreamFlags, A_Boolean, A_Boolean);
    A_Err (*AEGP_GetNewStreamRefByIndex)(AEGP_PluginID, AEGP_StreamRefH, A_long, AEGP_StreamRefH *);
    A_Err (*AEGP_GetNewStreamRefByMatchname)(AEGP_PluginID, AEGP_StreamRefH, const A_char *, AEGP_StreamRefH *);
    A_Err (*AEGP_DeleteStream)(AEGP_StreamRefH);
    A_Err (*AEGP_ReorderStream)(AEGP_StreamRefH, A_long);
    A_Err (*AEGP_DuplicateStream)(AEGP_PluginID, AEGP_StreamRefH, A_long *);
    A_Err (*AEGP_SetStreamName)(AEGP_StreamRefH, const A_char *);
    A_Err (*AEGP_CanAddStream)(AEGP_StreamRefH, const A_char *, A_Boolean *);
    A_Err (*AEGP_AddStream)(AEGP_PluginID, AEGP_StreamRefH, const A_char *, AEGP_StreamRefH *);
    A_Err (*AEGP_GetMatchName)(AEGP_StreamRefH, A_char *);
    A_Err (*AEGP_GetNewParentStreamRef)(AEGP_PluginID, AEGP_StreamRefH, AEGP_StreamRefH *);
    A_Err (*AEGP_GetStreamIsModified)(AEGP_StreamRefH, A_Boolean *);
    A_Err (*AEGP_GetStreamIndexInParent)(AEGP_StreamRefH, A_long *);
};

struct AEGP_EffectSuite3 {
    A_Err (*AEGP_GetLayerNumEffects)(AEGP_LayerH, A_long *);
    A_Err (*AEGP_GetLayerEffectByIndex)(AEGP_PluginID, AEGP_LayerH, AEGP_EffectIndex, AEGP_EffectRefH *);
    A_Err (*AEGP_GetInstalledKeyFromLayerEffect)(AEGP_EffectRefH, AEGP_InstalledEffectKey *);
    A_Err (*AEGP_GetEffectParamUnionByIndex)(AEGP_PluginID, AEGP_EffectRefH, PF_ParamIndex, PF_ParamType *, PF_ParamDefUnion *);
    A_Err (*AEGP_GetEffectFlags)(AEGP_EffectRefH, AEGP_EffectFlags *);
    A_Err (*AEGP_SetEffectFlags)(AEGP_EffectRefH, AEGP_EffectFlags, AEGP_EffectFlags);
    A_Err (*AEGP_ReorderEffect)(AEGP_EffectRefH, A_long);
    A_Err (*AEGP_EffectCallGeneric)(AEGP_PluginID, AEGP_EffectRefH, const A_Time *, PF_Cmd, void *);
    A_Err (*AEGP_DisposeEffect)(AEGP_EffectRefH);
    A_Err (*AEGP_ApplyEffect)(AEGP_PluginID, AEGP_LayerH, AEGP_InstalledEffectKey, AEGP_EffectRefH *);
    A_Err (*AEGP_DeleteLayerEffect)(AEGP_EffectRefH);
    A_Err (*AEGP_GetNumInstalledEffects)(A_long *);
    A_Err (*AEGP_GetNextInstalledEffect)(AEGP_InstalledEffectKey, AEGP_InstalledEffectKey *);
    A_Err (*AEGP_GetEffectName)(AEGP_InstalledEffectKey, A_char *);
    A_Err (*AEGP_GetEffectMatchName)(AEGP_InstalledEffectKey, A_char *);
    A_Err (*AEGP_GetEffectCategory)(AEGP_InstalledEffectKey, A_char *);
    A_Err (*AEGP_DuplicateEffect)(AEGP_EffectRefH, AEGP_EffectRefH *);
};

struct AEGP_PersistentDataSuite3 {
    A_Err (*AEGP_GetApplicationBlob)(AEGP_PersistentBlobH *);
    A_Err (*AEGP_GetNumSections)(AEGP_PersistentBlobH, A_long *);
    A_Err (*AEGP_GetSectionKeyByIndex)(AEGP_PersistentBlobH, A_long, A_long, A_char *);
    A_Err (*AEGP_DoesKeyExist)(AEGP_PersistentBlobH, const A_char *, const A_char *, A_Boolean *);
    A_Err (*AEGP_GetNumKeys)(AEGP_PersistentBlobH, const A_char *, A_long *);
    A_Err (*AEGP_GetValueKeyByIndex)(AEGP_PersistentBlobH, const A_char *, A_long, A_long, A_char *);
    A_Err (*AEGP_GetDataHandle)(AEGP_PluginID, AEGP_PersistentBlobH, const A_char *, const A_char *, AEGP_MemHandle, AEGP_MemHandle *);
    A_Err (*AEGP_GetData)(AEGP_PersistentBlobH, const A_char *, const A_char *, A_u_long, const void *, void *);
    A_Err (*AEGP_GetString)(AEGP_PersistentBlobH, const A_char *, const A_char *, const A_char *, A_u_long, A_char *, A_u_long *);
    A_Err (*AEGP_GetLong)(AEGP_PersistentBlobH, const A_char *, const A_char *, A_long, A_long *);
    A_Err (*AEGP_GetFpLong)(AEGP_PersistentBlobH, const A_char *, const A_char *, A_FpLong, A_FpLong *);
    A_Err (*AEGP_SetDataHandle)(AEGP_PersistentBlobH, const A_char *, const A_char *, const AEGP_MemHandle);
    A_Err (*AEGP_SetData)(AEGP_PersistentBlobH, const A_char *, const A_char *, A_u_long, const void *);
    A_Err (*AEGP_SetString)(AEGP_PersistentBlobH, const A_char *, const A_char *, const A_char *);
    A_Err (*AEGP_SetLong)(AEGP_PersistentBlobH, const A_char *, const A_char *, A_long);
    A_Err (*AEGP_SetFpLong)(AEGP_PersistentBlobH, const A_char *, const A_char *, A_FpLong);
    A_Err (*AEGP_DeleteEntry)(AEGP_PersistentBlobH, const A_char *, const A_char *);
    A_Err (*AEGP_GetPrefsDirectory)(AEGP_MemHandle *);
};

struct AEGP_LoopBehavior {
    A_long loops;
    A_long reserved;
};

struct A_Ratio {
    A_long num;
    A_u_long den;
};

struct AEGP_AlphaLabel {
    AEGP_AlphaFlags flags;
    A_u_char redCu;
    A_u_char greenCu;
    A_u_char blueCu;
};

#pragma pack(push, 2)
struct FIEL_Label {
    uint32_t signature;
    int16_t version;
    FIEL_Type type;
    FIEL_Order order;
    uint32_t reserved;
};
#pragma pack(pop)

struct AEGP_FootageInterp {
    AEGP_InterlaceLabel il;
    AEGP_AlphaLabel al;
    AEGP_PulldownPhase pd;
    AEGP_LoopBehavior loop;
    A_Ratio pix_aspect_ratio;
    A_FpLong native_fpsF;
    A_FpLong conform_fpsF;
    A_long depthL;
    A_Boolean motion_dB;
};

struct AEGP_DownsampleFactor {
    A_short xS;
    A_short yS;
};

struct A_Time {
    A_long value;
    A_u_long scale;
};

struct DRAWBOT_PointF32 {
    float x;
    float y;
};

struct DRAWBOT_RectF32 {
    float left;
    float top;
    float width;
    float height;
};

struct DRAWBOT_Rect32 {
    int left;
    int top;
    int width;
    int height;
};

struct DRAWBOT_ColorRGBA {
    float red;
    float green;
    float blue;
    float alpha;
};

struct DRAWBOT_MatrixF32 {
    float mat[3][3];
};

#pragma pack(pop)

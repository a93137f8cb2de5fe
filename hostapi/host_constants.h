// Generated from measured host facts; edit the generator, not this file.
#pragma once
#include "hostapi/host_types.h"


// A_Err
constexpr A_long A_Err_NONE = 0;
constexpr A_long A_Err_GENERIC = 1;
constexpr A_long A_Err_STRUCT = 2;
constexpr A_long A_Err_PARAMETER = 3;
constexpr A_long A_Err_ALLOC = 4;
constexpr A_long A_Err_WRONG_THREAD = 5;
constexpr A_long A_Err_CONST_PROJECT_MODIFICATION = 6;
constexpr A_long A_Err_RESERVED_7 = 7;
constexpr A_long A_Err_RESERVED_8 = 8;
constexpr A_long A_Err_RESERVED_9 = 9;
constexpr A_long A_Err_RESERVED_10 = 10;
constexpr A_long A_Err_RESERVED_11 = 11;
constexpr A_long A_Err_RESERVED_12 = 12;
constexpr A_long A_Err_MISSING_SUITE = 13;
constexpr A_long A_Err_RESERVED_14 = 14;
constexpr A_long A_Err_RESERVED_15 = 15;
constexpr A_long A_Err_RESERVED_16 = 16;
constexpr A_long A_Err_RESERVED_17 = 17;
constexpr A_long A_Err_RESERVED_18 = 18;
constexpr A_long A_Err_RESERVED_19 = 19;
constexpr A_long A_Err_RESERVED_20 = 20;
constexpr A_long A_Err_RESERVED_21 = 21;
constexpr A_long A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING = 22;
constexpr A_long A_Err_PROJECT_LOAD_FATAL = 23;
constexpr A_long A_Err_EFFECT_APPLY_FATAL = 24;
constexpr A_long A_Err_LAST = 25;

// PF_Stage
constexpr A_long PF_Stage_DEVELOP = 0;
constexpr A_long PF_Stage_ALPHA = 1;
constexpr A_long PF_Stage_BETA = 2;
constexpr A_long PF_Stage_RELEASE = 3;

// PF_Quality
constexpr A_long PF_Quality_DRAWING_AUDIO = -1;
constexpr A_long PF_Quality_LO = 0;
constexpr A_long PF_Quality_HI = 1;

// PF_MF
constexpr A_long PF_MF_Alpha_PREMUL = 0;
constexpr A_long PF_MF_Alpha_STRAIGHT = 1;

// PF_Field
constexpr A_long PF_Field_FRAME = 0;
constexpr A_long PF_Field_UPPER = 1;
constexpr A_long PF_Field_LOWER = 2;

// PF_Param
constexpr A_long PF_Param_RESERVED = -1;
constexpr A_long PF_Param_LAYER = 0;
constexpr A_long PF_Param_SLIDER = 1;
constexpr A_long PF_Param_FIX_SLIDER = 2;
constexpr A_long PF_Param_ANGLE = 3;
constexpr A_long PF_Param_CHECKBOX = 4;
constexpr A_long PF_Param_COLOR = 5;
constexpr A_long PF_Param_POINT = 6;
constexpr A_long PF_Param_POPUP = 7;
constexpr A_long PF_Param_CUSTOM = 8;
constexpr A_long PF_Param_NO_DATA = 9;
constexpr A_long PF_Param_FLOAT_SLIDER = 10;
constexpr A_long PF_Param_ARBITRARY_DATA = 11;
constexpr A_long PF_Param_PATH = 12;
constexpr A_long PF_Param_GROUP_START = 13;
constexpr A_long PF_Param_GROUP_END = 14;
constexpr A_long PF_Param_BUTTON = 15;
constexpr A_long PF_Param_RESERVED2 = 16;
constexpr A_long PF_Param_RESERVED3 = 17;
constexpr A_long PF_Param_POINT_3D = 18;

// PF_ParamFlag
constexpr A_long PF_ParamFlag_RESERVED1 = 1;
constexpr A_long PF_ParamFlag_CANNOT_TIME_VARY = 2;
constexpr A_long PF_ParamFlag_CANNOT_INTERP = 4;
constexpr A_long PF_ParamFlag_RESERVED2 = 8;
constexpr A_long PF_ParamFlag_RESERVED3 = 16;
constexpr A_long PF_ParamFlag_COLLAPSE_TWIRLY = 32;
constexpr A_long PF_ParamFlag_SUPERVISE = 64;
constexpr A_long PF_ParamFlag_START_COLLAPSED = 32;
constexpr A_long PF_ParamFlag_USE_VALUE_FOR_OLD_PROJECTS = 128;
constexpr A_long PF_ParamFlag_LAYER_PARAM_IS_TRACKMATTE = 128;
constexpr A_long PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED = 256;
constexpr A_long PF_ParamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 512;

// PF_Err
constexpr A_long PF_Err_NONE = 0;
constexpr A_long PF_Err_OUT_OF_MEMORY = 4;
constexpr A_long PF_Err_INTERNAL_STRUCT_DAMAGED = 512;
constexpr A_long PF_Err_INVALID_INDEX = 513;
constexpr A_long PF_Err_UNRECOGNIZED_PARAM_TYPE = 514;
constexpr A_long PF_Err_INVALID_CALLBACK = 515;
constexpr A_long PF_Err_BAD_CALLBACK_PARAM = 516;

// PF_Interrupt
constexpr A_long PF_Interrupt_CANCEL = 517;

// PF_Err
constexpr A_long PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = 518;

// PF_WorldFlag
constexpr A_long PF_WorldFlag_DEEP = 1;
constexpr A_long PF_WorldFlag_WRITEABLE = 2;
constexpr A_long PF_WorldFlag_RESERVED0 = 16777216;
constexpr A_long PF_WorldFlag_RESERVED1 = 33554432;
constexpr A_long PF_WorldFlag_RESERVED2 = 67108864;
constexpr A_long PF_WorldFlag_RESERVED3 = 134217728;
constexpr A_long PF_WorldFlag_RESERVED4 = 268435456;
constexpr A_long PF_WorldFlag_RESERVED5 = 536870912;
constexpr A_long PF_WorldFlag_RESERVED6 = 1073741824;
constexpr A_long PF_WorldFlag_RESERVED = (-2147483647 - 1);

// PF_OutFlag
constexpr A_long PF_OutFlag_NONE = 0;
constexpr A_long PF_OutFlag_KEEP_RESOURCE_OPEN = 1;
constexpr A_long PF_OutFlag_WIDE_TIME_INPUT = 2;
constexpr A_long PF_OutFlag_NON_PARAM_VARY = 4;
constexpr A_long PF_OutFlag_RESERVED6 = 8;
constexpr A_long PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 16;
constexpr A_long PF_OutFlag_I_DO_DIALOG = 32;
constexpr A_long PF_OutFlag_USE_OUTPUT_EXTENT = 64;
constexpr A_long PF_OutFlag_SEND_DO_DIALOG = 128;
constexpr A_long PF_OutFlag_DISPLAY_ERROR_MESSAGE = 256;
constexpr A_long PF_OutFlag_I_EXPAND_BUFFER = 512;
constexpr A_long PF_OutFlag_PIX_INDEPENDENT = 1024;
constexpr A_long PF_OutFlag_I_WRITE_INPUT_BUFFER = 2048;
constexpr A_long PF_OutFlag_I_SHRINK_BUFFER = 4096;
constexpr A_long PF_OutFlag_WORKS_IN_PLACE = 8192;
constexpr A_long PF_OutFlag_RESERVED8 = 16384;
constexpr A_long PF_OutFlag_CUSTOM_UI = 32768;
constexpr A_long PF_OutFlag_RESERVED7 = 65536;
constexpr A_long PF_OutFlag_REFRESH_UI = 131072;
constexpr A_long PF_OutFlag_NOP_RENDER = 262144;
constexpr A_long PF_OutFlag_I_USE_SHUTTER_ANGLE = 524288;
constexpr A_long PF_OutFlag_I_USE_AUDIO = 1048576;
constexpr A_long PF_OutFlag_I_AM_OBSOLETE = 2097152;
constexpr A_long PF_OutFlag_FORCE_RERENDER = 4194304;
constexpr A_long PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS = 8388608;
constexpr A_long PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 16777216;
constexpr A_long PF_OutFlag_DEEP_COLOR_AWARE = 33554432;
constexpr A_long PF_OutFlag_SEND_UPDATE_PARAMS_UI = 67108864;
constexpr A_long PF_OutFlag_AUDIO_FLOAT_ONLY = 134217728;
constexpr A_long PF_OutFlag_AUDIO_IIR = 268435456;
constexpr A_long PF_OutFlag_I_SYNTHESIZE_AUDIO = 536870912;
constexpr A_long PF_OutFlag_AUDIO_EFFECT_TOO = 1073741824;
constexpr A_long PF_OutFlag_AUDIO_EFFECT_ONLY = (-2147483647 - 1);

// PF_OutFlag2
constexpr A_long PF_OutFlag2_NONE = 0;
constexpr A_long PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 1;
constexpr A_long PF_OutFlag2_I_USE_3D_CAMERA = 2;
constexpr A_long PF_OutFlag2_I_USE_3D_LIGHTS = 4;
constexpr A_long PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 8;
constexpr A_long PF_OutFlag2_I_AM_THREADSAFE = 16;
constexpr A_long PF_OutFlag2_CAN_COMBINE_WITH_DESTINATION = 32;
constexpr A_long PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS = 64;
constexpr A_long PF_OutFlag2_REVEALS_ZERO_ALPHA = 128;
constexpr A_long PF_OutFlag2_PRESERVES_FULLY_OPAQUE_PIXELS = 256;
constexpr A_long PF_OutFlag2_SUPPORTS_SMART_RENDER = 1024;
constexpr A_long PF_OutFlag2_RESERVED9 = 2048;
constexpr A_long PF_OutFlag2_FLOAT_COLOR_AWARE = 4096;
constexpr A_long PF_OutFlag2_I_USE_COLORSPACE_ENUMERATION = 8192;
constexpr A_long PF_OutFlag2_I_AM_DEPRECATED = 16384;
constexpr A_long PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER = 32768;
constexpr A_long PF_OutFlag2_RESERVED10 = 65536;
constexpr A_long PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT = 131072;
constexpr A_long PF_OutFlag2_I_USE_TIMECODE = 262144;
constexpr A_long PF_OutFlag2_DEPENDS_ON_UNREFERENCED_MASKS = 524288;
constexpr A_long PF_OutFlag2_OUTPUT_IS_WATERMARKED = 1048576;
constexpr A_long PF_OutFlag2_I_MIX_GUID_DEPENDENCIES = 2097152;
constexpr A_long PF_OutFlag2_AE13_5_THREADSAFE = 4194304;
constexpr A_long PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA = 8388608;
constexpr A_long PF_OutFlag2_CUSTOM_UI_ASYNC_MANAGER = 16777216;
constexpr A_long PF_OutFlag2_SUPPORTS_GPU_RENDER_F32 = 33554432;
constexpr A_long PF_OutFlag2_RESERVED12 = 67108864;
constexpr A_long PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 134217728;
constexpr A_long PF_OutFlag2_MUTABLE_RENDER_SEQUENCE_DATA_SLOWER = 268435456;

// PF_InFlag
constexpr A_long PF_InFlag_NONE = 0;
constexpr A_long PF_InFlag_PROJECT_IS_RENDER_ONLY = 1;

// PF_Cmd
constexpr A_long PF_Cmd_ABOUT = 0;
constexpr A_long PF_Cmd_GLOBAL_SETUP = 1;
constexpr A_long PF_Cmd_UNUSED_0 = 2;
constexpr A_long PF_Cmd_GLOBAL_SETDOWN = 3;
constexpr A_long PF_Cmd_PARAMS_SETUP = 4;
constexpr A_long PF_Cmd_SEQUENCE_SETUP = 5;
constexpr A_long PF_Cmd_SEQUENCE_RESETUP = 6;
constexpr A_long PF_Cmd_SEQUENCE_FLATTEN = 7;
constexpr A_long PF_Cmd_SEQUENCE_SETDOWN = 8;
constexpr A_long PF_Cmd_DO_DIALOG = 9;
constexpr A_long PF_Cmd_FRAME_SETUP = 10;
constexpr A_long PF_Cmd_RENDER = 11;
constexpr A_long PF_Cmd_FRAME_SETDOWN = 12;
constexpr A_long PF_Cmd_USER_CHANGED_PARAM = 13;
constexpr A_long PF_Cmd_UPDATE_PARAMS_UI = 14;
constexpr A_long PF_Cmd_EVENT = 15;
constexpr A_long PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16;
constexpr A_long PF_Cmd_COMPLETELY_GENERAL = 17;
constexpr A_long PF_Cmd_QUERY_DYNAMIC_FLAGS = 18;
constexpr A_long PF_Cmd_AUDIO_RENDER = 19;
constexpr A_long PF_Cmd_AUDIO_SETUP = 20;
constexpr A_long PF_Cmd_AUDIO_SETDOWN = 21;
constexpr A_long PF_Cmd_ARBITRARY_CALLBACK = 22;
constexpr A_long PF_Cmd_SMART_PRE_RENDER = 23;
constexpr A_long PF_Cmd_SMART_RENDER = 24;
constexpr A_long PF_Cmd_RESERVED1 = 25;
constexpr A_long PF_Cmd_RESERVED2 = 26;
constexpr A_long PF_Cmd_RESERVED3 = 27;
constexpr A_long PF_Cmd_GET_FLATTENED_SEQUENCE_DATA = 28;
constexpr A_long PF_Cmd_TRANSLATE_PARAMS_TO_PREFS = 29;
constexpr A_long PF_Cmd_RESERVED4 = 30;
constexpr A_long PF_Cmd_SMART_RENDER_GPU = 31;
constexpr A_long PF_Cmd_GPU_DEVICE_SETUP = 32;
constexpr A_long PF_Cmd_GPU_DEVICE_SETDOWN = 33;
constexpr A_long PF_Cmd_NUM_CMDS = 34;

// PF_LayerDefault
constexpr A_long PF_LayerDefault_MYSELF = -1;
constexpr A_long PF_LayerDefault_NONE = 0;

// PF_ValueDisplayFlag
constexpr A_long PF_ValueDisplayFlag_NONE = 0;
constexpr A_long PF_ValueDisplayFlag_PERCENT = 1;
constexpr A_long PF_ValueDisplayFlag_PIXEL = 2;
constexpr A_long PF_ValueDisplayFlag_RESERVED1 = 4;
constexpr A_long PF_ValueDisplayFlag_REVERSE = 8;

// PF_FSliderFlag
constexpr A_long PF_FSliderFlag_NONE = 0;
constexpr A_long PF_FSliderFlag_WANT_PHASE = 1;

// PF_PUI
constexpr A_long PF_PUI_NONE = 0;
constexpr A_long PF_PUI_TOPIC = 1;
constexpr A_long PF_PUI_CONTROL = 2;
constexpr A_long PF_PUI_STD_CONTROL_ONLY = 4;
constexpr A_long PF_PUI_NO_ECW_UI = 8;
constexpr A_long PF_PUI_ECW_SEPARATOR = 16;
constexpr A_long PF_PUI_DISABLED = 32;
constexpr A_long PF_PUI_DONT_ERASE_TOPIC = 64;
constexpr A_long PF_PUI_DONT_ERASE_CONTROL = 128;
constexpr A_long PF_PUI_RADIO_BUTTON = 256;
constexpr A_long PF_PUI_INVISIBLE = 512;

// PF_ChangeFlag
constexpr A_long PF_ChangeFlag_NONE = 0;
constexpr A_long PF_ChangeFlag_CHANGED_VALUE = 1;
constexpr A_long PF_ChangeFlag_RESERVED = 2;
constexpr A_long PF_ChangeFlag_SET_TO_VARY = 4;
constexpr A_long PF_ChangeFlag_SET_TO_CONSTANT = 8;

// PF_PlatData
constexpr A_long PF_PlatData_MAIN_WND = 0;
constexpr A_long PF_PlatData_EXE_FILE_PATH_DEPRECATED = 1;
constexpr A_long PF_PlatData_RES_FILE_PATH_DEPRECATED = 2;
constexpr A_long PF_PlatData_RES_REFNUM = 3;
constexpr A_long PF_PlatData_RES_DLLINSTANCE = 4;
constexpr A_long PF_PlatData_SP_PLUG_REF = 5;
constexpr A_long PF_PlatData_BUNDLE_REF = 6;
constexpr A_long PF_PlatData_EXE_FILE_PATH_W = 7;
constexpr A_long PF_PlatData_RES_FILE_PATH_W = 8;

// PF_NewWorldFlag
constexpr A_long PF_NewWorldFlag_NONE = 0;
constexpr A_long PF_NewWorldFlag_CLEAR_PIXELS = 1;
constexpr A_long PF_NewWorldFlag_DEEP_PIXELS = 2;
constexpr A_long PF_NewWorldFlag_RESERVED0 = 4;
constexpr A_long PF_NewWorldFlag_RESERVED1 = 8;

// PF_PixelFormat
constexpr A_long PF_PixelFormat_ARGB32 = 1650946657;
constexpr A_long PF_PixelFormat_ARGB64 = 909206881;
constexpr A_long PF_PixelFormat_ARGB128 = 842229089;
constexpr A_long PF_PixelFormat_GPU_BGRA128 = 1094992704;
constexpr A_long PF_PixelFormat_RESERVED = 1631863616;
constexpr A_long PF_PixelFormat_BGRA32 = 1634887522;
constexpr A_long PF_PixelFormat_VUYA32 = 1635349878;
constexpr A_long PF_PixelFormat_NTSCDV25 = 846100068;
constexpr A_long PF_PixelFormat_PALDV25 = 846231140;
constexpr A_long PF_PixelFormat_INVALID = 1717854562;
constexpr A_long PF_PixelFormat_FORCE_LONG_INT = -1;

// DRAWBOT_FillType
constexpr A_long kDRAWBOT_FillType_EvenOdd = 0;
constexpr A_long kDRAWBOT_FillType_Winding = 1;
constexpr A_long kDRAWBOT_FillType_Default = 1;

// DRAWBOT_PixelLayout
constexpr A_long kDRAWBOT_PixelLayout_24RGB = 0;
constexpr A_long kDRAWBOT_PixelLayout_24BGR = 1;
constexpr A_long kDRAWBOT_PixelLayout_32RGB = 2;
constexpr A_long kDRAWBOT_PixelLayout_32BGR = 3;
constexpr A_long kDRAWBOT_PixelLayout_32ARGB_Straight = 4;
constexpr A_long kDRAWBOT_PixelLayout_32ARGB_Premul = 5;
constexpr A_long kDRAWBOT_PixelLayout_32BGRA_Straight = 6;
constexpr A_long kDRAWBOT_PixelLayout_32BGRA_Premul = 7;

// DRAWBOT_TextAlignment
constexpr A_long kDRAWBOT_TextAlignment_Left = 0;
constexpr A_long kDRAWBOT_TextAlignment_Center = 1;
constexpr A_long kDRAWBOT_TextAlignment_Right = 2;
constexpr A_long kDRAWBOT_TextAlignment_Default = 0;

// DRAWBOT_TextTruncation
constexpr A_long kDRAWBOT_TextTruncation_None = 0;
constexpr A_long kDRAWBOT_TextTruncation_End = 1;
constexpr A_long kDRAWBOT_TextTruncation_EndEllipsis = 2;
constexpr A_long kDRAWBOT_TextTruncation_PathEllipsis = 3;

// DRAWBOT_InterpolationPolicy
constexpr A_long kDRAWBOT_InterpolationPolicy_None = 0;
constexpr A_long kDRAWBOT_InterpolationPolicy_Med = 1;
constexpr A_long kDRAWBOT_InterpolationPolicy_High = 2;
constexpr A_long kDRAWBOT_InterpolationPolicy_Default = 0;

// DRAWBOT_AntiAliasPolicy
constexpr A_long kDRAWBOT_AntiAliasPolicy_None = 0;
constexpr A_long kDRAWBOT_AntiAliasPolicy_Med = 1;
constexpr A_long kDRAWBOT_AntiAliasPolicy_High = 2;
constexpr A_long kDRAWBOT_AntiAliasPolicy_Default = 0;

// PF_CustomEFlag
constexpr A_long PF_CustomEFlag_NONE = 0;
constexpr A_long PF_CustomEFlag_COMP = 1;
constexpr A_long PF_CustomEFlag_LAYER = 2;
constexpr A_long PF_CustomEFlag_EFFECT = 4;
constexpr A_long PF_CustomEFlag_PREVIEW = 8;

// PF_Window
constexpr A_long PF_Window_NONE = -1;
constexpr A_long PF_Window_COMP = 0;
constexpr A_long PF_Window_LAYER = 1;
constexpr A_long PF_Window_EFFECT = 2;
constexpr A_long PF_Window_PREVIEW = 3;

// PF_Event
constexpr A_long PF_Event_NONE = -1;
constexpr A_long PF_Event_NEW_CONTEXT = 0;
constexpr A_long PF_Event_ACTIVATE = 1;
constexpr A_long PF_Event_DO_CLICK = 2;
constexpr A_long PF_Event_DRAG = 3;
constexpr A_long PF_Event_DRAW = 4;
constexpr A_long PF_Event_DEACTIVATE = 5;
constexpr A_long PF_Event_CLOSE_CONTEXT = 6;
constexpr A_long PF_Event_IDLE = 7;
constexpr A_long PF_Event_KEYDOWN_OBSOLETE = 8;
constexpr A_long PF_Event_ADJUST_CURSOR = 9;
constexpr A_long PF_Event_KEYDOWN = 10;
constexpr A_long PF_Event_MOUSE_EXITED = 11;
constexpr A_long PF_Event_NUM_EVENTS = 12;

// PF_Mod
constexpr A_long PF_Mod_NONE = 0;
constexpr A_long PF_Mod_CMD_CTRL_KEY = 256;
constexpr A_long PF_Mod_SHIFT_KEY = 512;
constexpr A_long PF_Mod_CAPS_LOCK_KEY = 1024;
constexpr A_long PF_Mod_OPT_ALT_KEY = 2048;
constexpr A_long PF_Mod_MAC_CONTROL_KEY = 4096;

// PF_EA
constexpr A_long PF_EA_NONE = 0;
constexpr A_long PF_EA_PARAM_TITLE = 1;
constexpr A_long PF_EA_CONTROL = 2;

// PF_EO
constexpr A_long PF_EO_NONE = 0;
constexpr A_long PF_EO_HANDLED_EVENT = 1;
constexpr A_long PF_EO_ALWAYS_UPDATE = 2;
constexpr A_long PF_EO_NEVER_UPDATE = 4;
constexpr A_long PF_EO_UPDATE_NOW = 8;

// PF_EI
constexpr A_long PF_EI_NONE = 0;
constexpr A_long PF_EI_DONT_DRAW = 1;

// PF_UIAlignment
constexpr A_long PF_UIAlignment_NONE = 0;
constexpr A_long PF_UIAlignment_TOP = 1;
constexpr A_long PF_UIAlignment_LEFT = 2;
constexpr A_long PF_UIAlignment_BOTTOM = 4;
constexpr A_long PF_UIAlignment_RIGHT = 8;

// FIEL
constexpr A_long FIEL_Type_FRAME_RENDERED = 0;
constexpr A_long FIEL_Type_INTERLACED = 1;
constexpr A_long FIEL_Type_HALF_HEIGHT = 2;
constexpr A_long FIEL_Type_FIELD_DOUBLED = 3;
constexpr A_long FIEL_Type_UNSPECIFIED = 4;
constexpr A_long FIEL_Order_UPPER_FIRST = 0;
constexpr A_long FIEL_Order_LOWER_FIRST = 1;

// AEGP_ItemType
constexpr A_long AEGP_ItemType_NONE = 0;
constexpr A_long AEGP_ItemType_FOLDER = 1;
constexpr A_long AEGP_ItemType_COMP = 2;
constexpr A_long AEGP_ItemType_SOLID_defunct = 3;
constexpr A_long AEGP_ItemType_FOOTAGE = 4;
constexpr A_long AEGP_ItemType_NUM_TYPES1 = 5;

// AEGP_PersistentType
constexpr A_long AEGP_PersistentType_MACHINE_SPECIFIC = 0;
constexpr A_long AEGP_PersistentType_MACHINE_INDEPENDENT = 1;
constexpr A_long AEGP_PersistentType_MACHINE_INDEPENDENT_RENDER = 2;
constexpr A_long AEGP_PersistentType_MACHINE_INDEPENDENT_OUTPUT = 3;
constexpr A_long AEGP_PersistentType_MACHINE_INDEPENDENT_COMPOSITION = 4;
constexpr A_long AEGP_PersistentType_MACHINE_SPECIFIC_TEXT = 5;
constexpr A_long AEGP_PersistentType_MACHINE_SPECIFIC_PAINT = 6;
constexpr A_long AEGP_PersistentType_MACHINE_SPECIFIC_EFFECTS = 7;
constexpr A_long AEGP_PersistentType_MACHINE_SPECIFIC_EXPRESSION_SNIPPETS = 8;
constexpr A_long AEGP_PersistentType_MACHINE_SPECIFIC_SCRIPT_SNIPPETS = 9;
constexpr A_long AEGP_PersistentType_NUMTYPES = 10;

// AEGP_DynStreamFlag
constexpr A_long AEGP_DynStreamFlag_ACTIVE_EYEBALL = 1;
constexpr A_long AEGP_DynStreamFlag_HIDDEN = 2;
constexpr A_long AEGP_DynStreamFlag_DISABLED = 16;
constexpr A_long AEGP_DynStreamFlag_ELIDED = 32;
constexpr A_long AEGP_DynStreamFlag_SHOWN_WHEN_EMPTY = 1024;
constexpr A_long AEGP_DynStreamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 65536;

// AEGP_EffectFlags
constexpr A_long AEGP_EffectFlags_NONE = 0;
constexpr A_long AEGP_EffectFlags_ACTIVE = 1;
constexpr A_long AEGP_EffectFlags_AUDIO_ONLY = 2;
constexpr A_long AEGP_EffectFlags_AUDIO_TOO = 4;
constexpr A_long AEGP_EffectFlags_MISSING = 8;

// AEGP_PulldownPhase
constexpr A_long AEGP_PulldownPhase_NO_PULLDOWN = 0;
constexpr A_long AEGP_PulldownPhase_WSSWW = 1;
constexpr A_long AEGP_PulldownPhase_SSWWW = 2;
constexpr A_long AEGP_PulldownPhase_SWWWS = 3;
constexpr A_long AEGP_PulldownPhase_WWWSS = 4;
constexpr A_long AEGP_PulldownPhase_WWSSW = 5;
constexpr A_long AEGP_PulldownPhase_WWWSW = 6;
constexpr A_long AEGP_PulldownPhase_WWSWW = 7;
constexpr A_long AEGP_PulldownPhase_WSWWW = 8;
constexpr A_long AEGP_PulldownPhase_SWWWW = 9;
constexpr A_long AEGP_PulldownPhase_WWWWS = 10;

// kAdobesdk
constexpr A_long kAdobesdk_False = 0;
constexpr A_long kAdobesdk_True = 1;

// FIEL
constexpr A_long FIEL_Label_VERSION = 1;
constexpr A_long FIEL_ResID = 128;
constexpr A_long FIEL_Tag = 1179206988;

// PF API version
constexpr A_long PF_AE100_PLUG_IN_SUBVERS = 0;
constexpr A_long PF_AE100_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE105_PLUG_IN_SUBVERS = 1;
constexpr A_long PF_AE105_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE1101_PLUG_IN_SUBVERS = 3;
constexpr A_long PF_AE1101_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE110_PLUG_IN_SUBVERS = 2;
constexpr A_long PF_AE110_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE120_PLUG_IN_SUBVERS = 4;
constexpr A_long PF_AE120_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE121_PLUG_IN_SUBVERS = 5;
constexpr A_long PF_AE121_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE122_PLUG_IN_SUBVERS = 6;
constexpr A_long PF_AE122_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE130_PLUG_IN_SUBVERS = 7;
constexpr A_long PF_AE130_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE135_PLUG_IN_SUBVERS = 9;
constexpr A_long PF_AE135_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE136_PLUG_IN_SUBVERS = 10;
constexpr A_long PF_AE136_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE138_PLUG_IN_SUBVERS = 11;
constexpr A_long PF_AE138_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE140_PLUG_IN_SUBVERS = 13;
constexpr A_long PF_AE140_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE142_PLUG_IN_SUBVERS = 14;
constexpr A_long PF_AE142_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE150_PLUG_IN_SUBVERS = 15;
constexpr A_long PF_AE150_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE151_PLUG_IN_SUBVERS = 15;
constexpr A_long PF_AE151_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE160_PLUG_IN_SUBVERS = 16;
constexpr A_long PF_AE160_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE161_PLUG_IN_SUBVERS = 17;
constexpr A_long PF_AE161_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE170_PLUG_IN_SUBVERS = 18;
constexpr A_long PF_AE170_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE171_PLUG_IN_SUBVERS = 20;
constexpr A_long PF_AE171_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE175_PLUG_IN_SUBVERS = 21;
constexpr A_long PF_AE175_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE176_PLUG_IN_SUBVERS = 22;
constexpr A_long PF_AE176_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE177_PLUG_IN_SUBVERS = 23;
constexpr A_long PF_AE177_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE180_PLUG_IN_SUBVERS = 24;
constexpr A_long PF_AE180_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE182_PLUG_IN_SUBVERS = 25;
constexpr A_long PF_AE182_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE184_PLUG_IN_SUBVERS = 26;
constexpr A_long PF_AE184_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE220_PLUG_IN_SUBVERS = 27;
constexpr A_long PF_AE220_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE234_PLUG_IN_SUBVERS = 28;
constexpr A_long PF_AE234_PLUG_IN_VERSION = 13;
constexpr A_long PF_AE31_PLUG_IN_SUBVERS = 6;
constexpr A_long PF_AE31_PLUG_IN_SUBVERS_STRICTIFY = 8;
constexpr A_long PF_AE31_PLUG_IN_VERSION = 11;
constexpr A_long PF_AE40_PLUG_IN_SUBVERS = 1;
constexpr A_long PF_AE40_PLUG_IN_VERSION = 12;
constexpr A_long PF_AE41_PLUG_IN_SUBVERS = 2;
constexpr A_long PF_AE41_PLUG_IN_VERSION = 12;
constexpr A_long PF_AE65_PLUG_IN_SUBVERS = 11;
constexpr A_long PF_AE65_PLUG_IN_VERSION = 12;
constexpr A_long PF_AE70_PLUG_IN_SUBVERS = 12;
constexpr A_long PF_AE70_PLUG_IN_VERSION = 12;
constexpr A_long PF_AE80_PLUG_IN_SUBVERS = 13;
constexpr A_long PF_AE80_PLUG_IN_VERSION = 12;
constexpr A_long PF_AE90_PLUG_IN_SUBVERS = 14;
constexpr A_long PF_AE90_PLUG_IN_VERSION = 12;
constexpr A_long PF_AE_PLUG_IN_SUBVERS = 28;
constexpr A_long PF_AE_PLUG_IN_VERSION = 13;

// PF_Err
constexpr A_long PF_FIRST_ERR = 512;

// PF_HALF_CHAN
constexpr A_long PF_HALF_CHAN16 = 16384;
constexpr A_long PF_HALF_CHAN8 = 128;

// PF_MAX_CHAN
constexpr A_long PF_MAX_CHAN16 = 32768;
constexpr A_long PF_MAX_CHAN8 = 255;

// PF_MAX
constexpr A_long PF_MAX_EFFECT_CATEGORY_NAME_LEN = 31;
constexpr A_long PF_MAX_EFFECT_MSG_LEN = 255;
constexpr A_long PF_MAX_EFFECT_NAME_LEN = 31;
constexpr A_long PF_MAX_EFFECT_PARAM_NAME_LEN = 31;
constexpr A_long PF_MAX_PARAM_DESCRIPTION_LEN = 31;
constexpr A_long PF_MAX_PARAM_VALUE_LEN = 31;
constexpr A_long PF_MAX_PATH_NAME_LEN = 31;
constexpr A_long PF_MAX_WORLD_HEIGHT = 30000;
constexpr A_long PF_MAX_WORLD_WIDTH = 30000;

// PF_Vers
constexpr A_long PF_Vers_BUGFIX_BITS = 15;
constexpr A_long PF_Vers_BUGFIX_SHIFT = 11;
constexpr A_long PF_Vers_BUILD_BITS = 511;
constexpr A_long PF_Vers_BUILD_SHIFT = 0;
constexpr A_long PF_Vers_STAGE_BITS = 3;
constexpr A_long PF_Vers_STAGE_SHIFT = 9;
constexpr A_long PF_Vers_SUBVERS_BITS = 15;
constexpr A_long PF_Vers_SUBVERS_SHIFT = 15;
constexpr A_long PF_Vers_VERS_BITS = 7;
constexpr A_long PF_Vers_VERS_HIGH_BITS = 15;
constexpr A_long PF_Vers_VERS_HIGH_SHIFT = 26;
constexpr A_long PF_Vers_VERS_LOW_SHIFT = 3;
constexpr A_long PF_Vers_VERS_SHIFT = 19;

// PiPL
constexpr A_long PIAdobeVendorID = 1094992453;
constexpr A_long PIKindProperty = 1802071652;
constexpr A_long PIWin64X86CodeProperty = 943076916;

// suite version
constexpr A_long kAEGPArtisanUtilSuiteVersion1 = 1;
constexpr A_long kAEGPCameraSuiteVersion1 = 1;
constexpr A_long kAEGPCameraSuiteVersion2 = 2;
constexpr A_long kAEGPCanvasSuiteVersion1 = 4;
constexpr A_long kAEGPCanvasSuiteVersion2 = 6;
constexpr A_long kAEGPCanvasSuiteVersion4 = 9;
constexpr A_long kAEGPCanvasSuiteVersion5 = 10;
constexpr A_long kAEGPCanvasSuiteVersion6 = 11;
constexpr A_long kAEGPCanvasSuiteVersion7 = 13;
constexpr A_long kAEGPCanvasSuiteVersion8 = 14;
constexpr A_long kAEGPCollectionSuiteVersion1 = 1;
constexpr A_long kAEGPCollectionSuiteVersion2 = 2;
constexpr A_long kAEGPColorSettingsSuiteVersion1 = 1;
constexpr A_long kAEGPColorSettingsSuiteVersion2 = 3;
constexpr A_long kAEGPColorSettingsSuiteVersion3 = 4;
constexpr A_long kAEGPColorSettingsSuiteVersion4 = 5;
constexpr A_long kAEGPColorSettingsSuiteVersion5 = 6;
constexpr A_long kAEGPCommandSuiteVersion1 = 1;
constexpr A_long kAEGPCompSuiteVersion1 = 4;
constexpr A_long kAEGPCompSuiteVersion10 = 21;
constexpr A_long kAEGPCompSuiteVersion11 = 25;
constexpr A_long kAEGPCompSuiteVersion2 = 6;
constexpr A_long kAEGPCompSuiteVersion3 = 7;
constexpr A_long kAEGPCompSuiteVersion4 = 9;
constexpr A_long kAEGPCompSuiteVersion5 = 11;
constexpr A_long kAEGPCompSuiteVersion6 = 14;
constexpr A_long kAEGPCompSuiteVersion7 = 15;
constexpr A_long kAEGPCompSuiteVersion8 = 18;
constexpr A_long kAEGPCompSuiteVersion9 = 19;
constexpr A_long kAEGPCompositeSuiteVersion2 = 4;
constexpr A_long kAEGPDynamicStreamSuiteVersion1 = 1;
constexpr A_long kAEGPDynamicStreamSuiteVersion2 = 2;
constexpr A_long kAEGPDynamicStreamSuiteVersion3 = 3;
constexpr A_long kAEGPDynamicStreamSuiteVersion4 = 5;
constexpr A_long kAEGPEffectSuiteVersion1 = 1;
constexpr A_long kAEGPEffectSuiteVersion2 = 2;
constexpr A_long kAEGPEffectSuiteVersion3 = 3;
constexpr A_long kAEGPEffectSuiteVersion4 = 4;
constexpr A_long kAEGPFIMSuiteVersion3 = 3;
constexpr A_long kAEGPFIMSuiteVersion4 = 4;
constexpr A_long kAEGPFootageSuiteVersion5 = 11;
constexpr A_long kAEGPIOInSuiteVersion4 = 5;
constexpr A_long kAEGPIOInSuiteVersion5 = 6;
constexpr A_long kAEGPIOOutSuiteVersion4 = 7;
constexpr A_long kAEGPIOOutSuiteVersion5 = 8;
constexpr A_long kAEGPItemSuiteVersion1 = 3;
constexpr A_long kAEGPItemSuiteVersion2 = 4;
constexpr A_long kAEGPItemSuiteVersion3 = 5;
constexpr A_long kAEGPItemSuiteVersion4 = 6;
constexpr A_long kAEGPItemSuiteVersion5 = 7;
constexpr A_long kAEGPItemSuiteVersion6 = 10;
constexpr A_long kAEGPItemSuiteVersion7 = 11;
constexpr A_long kAEGPItemSuiteVersion8 = 13;
constexpr A_long kAEGPItemSuiteVersion9 = 14;
constexpr A_long kAEGPItemViewSuiteVersion1 = 1;
constexpr A_long kAEGPIterateSuiteVersion1 = 1;
constexpr A_long kAEGPIterateSuiteVersion2 = 2;
constexpr A_long kAEGPKeyframeSuiteVersion1 = 1;
constexpr A_long kAEGPKeyframeSuiteVersion2 = 2;
constexpr A_long kAEGPKeyframeSuiteVersion3 = 3;
constexpr A_long kAEGPKeyframeSuiteVersion4 = 4;
constexpr A_long kAEGPKeyframeSuiteVersion5 = 5;
constexpr A_long kAEGPLayerRenderOptionsSuiteVersion1 = 1;
constexpr A_long kAEGPLayerRenderOptionsSuiteVersion2 = 2;
constexpr A_long kAEGPLayerSuiteVersion1 = 5;
constexpr A_long kAEGPLayerSuiteVersion2 = 7;
constexpr A_long kAEGPLayerSuiteVersion3 = 8;
constexpr A_long kAEGPLayerSuiteVersion4 = 10;
constexpr A_long kAEGPLayerSuiteVersion5 = 11;
constexpr A_long kAEGPLayerSuiteVersion6 = 12;
constexpr A_long kAEGPLayerSuiteVersion7 = 13;
constexpr A_long kAEGPLayerSuiteVersion8 = 14;
constexpr A_long kAEGPLayerSuiteVersion9 = 15;
constexpr A_long kAEGPLightSuiteVersion1 = 1;
constexpr A_long kAEGPLightSuiteVersion2 = 2;
constexpr A_long kAEGPMarkerSuiteVersion1 = 1;
constexpr A_long kAEGPMarkerSuiteVersion2 = 2;
constexpr A_long kAEGPMarkerSuiteVersion3 = 3;
constexpr A_long kAEGPMaskOutlineSuiteVersion1 = 2;
constexpr A_long kAEGPMaskOutlineSuiteVersion2 = 3;
constexpr A_long kAEGPMaskOutlineSuiteVersion3 = 5;
constexpr A_long kAEGPMaskSuiteVersion1 = 2;
constexpr A_long kAEGPMaskSuiteVersion2 = 3;
constexpr A_long kAEGPMaskSuiteVersion3 = 4;
constexpr A_long kAEGPMaskSuiteVersion4 = 5;
constexpr A_long kAEGPMaskSuiteVersion5 = 6;
constexpr A_long kAEGPMaskSuiteVersion6 = 7;
constexpr A_long kAEGPMathSuiteVersion1 = 1;
constexpr A_long kAEGPMemorySuiteVersion1 = 1;
constexpr A_long kAEGPOutputModuleSuiteVersion4 = 4;
constexpr A_long kAEGPPFInterfaceSuiteVersion1 = 1;
constexpr A_long kAEGPPersistentDataSuiteVersion3 = 3;
constexpr A_long kAEGPPersistentDataSuiteVersion4 = 4;
constexpr A_long kAEGPProjSuiteVersion5 = 8;
constexpr A_long kAEGPProjSuiteVersion6 = 9;
constexpr A_long kAEGPQueryXformSuiteVersion1 = 1;
constexpr A_long kAEGPQueryXformSuiteVersion2 = 4;
constexpr A_long kAEGPRQItemSuiteVersion1 = 1;
constexpr A_long kAEGPRQItemSuiteVersion2 = 3;
constexpr A_long kAEGPRQItemSuiteVersion3 = 4;
constexpr A_long kAEGPRQItemSuiteVersion4 = 5;
constexpr A_long kAEGPRegisterSuiteVersion5 = 6;
constexpr A_long kAEGPRenderAsyncManagerSuiteVersion1 = 1;
constexpr A_long kAEGPRenderOptionsSuiteVersion1 = 1;
constexpr A_long kAEGPRenderOptionsSuiteVersion2 = 2;
constexpr A_long kAEGPRenderOptionsSuiteVersion3 = 3;
constexpr A_long kAEGPRenderOptionsSuiteVersion4 = 4;
constexpr A_long kAEGPRenderQueueMonitorSuiteVersion1 = 1;
constexpr A_long kAEGPRenderQueueSuiteVersion1 = 1;
constexpr A_long kAEGPRenderSuiteVersion1 = 1;
constexpr A_long kAEGPRenderSuiteVersion2 = 2;
constexpr A_long kAEGPRenderSuiteVersion3 = 3;
constexpr A_long kAEGPRenderSuiteVersion4 = 5;
constexpr A_long kAEGPRenderSuiteVersion5 = 8;
constexpr A_long kAEGPStreamSuiteVersion1 = 4;
constexpr A_long kAEGPStreamSuiteVersion2 = 7;
constexpr A_long kAEGPStreamSuiteVersion3 = 8;
constexpr A_long kAEGPStreamSuiteVersion4 = 9;
constexpr A_long kAEGPStreamSuiteVersion5 = 10;
constexpr A_long kAEGPStreamSuiteVersion6 = 11;
constexpr A_long kAEGPTextDocumentSuiteVersion1 = 1;
constexpr A_long kAEGPTextLayerSuiteVersion1 = 1;
constexpr A_long kAEGPTrackerSuiteVersion1 = 1;
constexpr A_long kAEGPTrackerUtilitySuiteVersion1 = 1;
constexpr A_long kAEGPUtilitySuiteVersion1 = 3;
constexpr A_long kAEGPUtilitySuiteVersion2 = 5;
constexpr A_long kAEGPUtilitySuiteVersion3 = 7;
constexpr A_long kAEGPUtilitySuiteVersion4 = 10;
constexpr A_long kAEGPUtilitySuiteVersion5 = 11;
constexpr A_long kAEGPUtilitySuiteVersion6 = 13;
constexpr A_long kAEGPWorldSuiteVersion1 = 1;
constexpr A_long kAEGPWorldSuiteVersion2 = 2;
constexpr A_long kAEGPWorldSuiteVersion3 = 3;

// PiPL
constexpr A_long kCurrentPiPLVersion = 0;

// suite version
constexpr A_long kDRAWBOT_DrawSuite_Version1 = 1;
constexpr A_long kDRAWBOT_DrawSuite_VersionCurrent = 1;
constexpr A_long kDRAWBOT_ImageSuite_Version1 = 1;
constexpr A_long kDRAWBOT_ImageSuite_VersionCurrent = 1;
constexpr A_long kDRAWBOT_PathSuite_Version1 = 1;
constexpr A_long kDRAWBOT_PathSuite_VersionCurrent = 1;
constexpr A_long kDRAWBOT_PenSuite_Version1 = 1;
constexpr A_long kDRAWBOT_PenSuite_VersionCurrent = 1;
constexpr A_long kDRAWBOT_SupplierSuite_Version1 = 1;
constexpr A_long kDRAWBOT_SupplierSuite_VersionCurrent = 1;
constexpr A_long kDRAWBOT_SurfaceSuite_Version1 = 1;
constexpr A_long kDRAWBOT_SurfaceSuite_Version2 = 2;
constexpr A_long kDRAWBOT_SurfaceSuite_VersionCurrent = 2;
constexpr A_long kPFANSISuiteVersion1 = 1;
constexpr A_long kPFAngleParamSuiteVersion1 = 1;
constexpr A_long kPFAppSuiteVersion4 = 6;
constexpr A_long kPFAppSuiteVersion5 = 7;
constexpr A_long kPFAppSuiteVersion6 = 1;
constexpr A_long kPFBatchSamplingSuiteVersion1 = 1;
constexpr A_long kPFColorCallbacks16SuiteVersion1 = 1;
constexpr A_long kPFColorCallbacksFloatSuiteVersion1 = 1;
constexpr A_long kPFColorCallbacksSuiteVersion1 = 1;
constexpr A_long kPFColorParamSuiteVersion1 = 1;
constexpr A_long kPFEffectCustomUIOverlayThemeSuiteVersion1 = 1;
constexpr A_long kPFEffectCustomUISuiteVersion1 = 1;
constexpr A_long kPFEffectCustomUISuiteVersion2 = 2;
constexpr A_long kPFEffectSequenceDataSuiteVersion1 = 1;
constexpr A_long kPFEffectUISuiteVersion1 = 1;
constexpr A_long kPFFillMatteSuiteVersion2 = 2;
constexpr A_long kPFHandleSuiteVersion1 = 2;
constexpr A_long kPFIterate16SuiteVersion1 = 1;
constexpr A_long kPFIterate16SuiteVersion2 = 2;
constexpr A_long kPFIterate8SuiteVersion1 = 1;
constexpr A_long kPFIterate8SuiteVersion2 = 2;
constexpr A_long kPFIterateFloatSuiteVersion1 = 1;
constexpr A_long kPFIterateFloatSuiteVersion2 = 2;
constexpr A_long kPFParamUtilsSuiteVersion1 = 2;
constexpr A_long kPFParamUtilsSuiteVersion3 = 3;
constexpr A_long kPFPathDataSuiteVersion1 = 1;
constexpr A_long kPFPathQuerySuiteVersion1 = 1;
constexpr A_long kPFPixelDataSuiteVersion1 = 1;
constexpr A_long kPFPixelDataSuiteVersion2 = 2;
constexpr A_long kPFPixelFormatSuiteVersion2 = 2;
constexpr A_long kPFPointParamSuiteVersion1 = 1;
constexpr A_long kPFSampling16SuiteVersion1 = 1;
constexpr A_long kPFSampling8SuiteVersion1 = 1;
constexpr A_long kPFSamplingFloatSuiteVersion1 = 1;
constexpr A_long kPFWorldSuiteVersion1 = 1;
constexpr A_long kPFWorldSuiteVersion2 = 2;
constexpr A_long kPFWorldTransformSuiteVersion1 = 1;
constexpr A_long kPF_MaskSuiteVersion1 = 1;

// SPErr
constexpr A_long kSPAdapterAlreadyExistsError = 1097090424;
constexpr A_long kSPAlreadyInSPCallerError = 1095324483;
constexpr A_long kSPBadAdapterListIteratorError = 1113866572;
constexpr A_long kSPBadFileListIteratorError = 1111902580;
constexpr A_long kSPBadParameterError = 1348563565;
constexpr A_long kSPBadPluginListIteratorError = 1349078089;
constexpr A_long kSPBadPropertyListIteratorError = 1112568393;
constexpr A_long kSPBadSuiteInternalVersionError = 1397315187;
constexpr A_long kSPBadSuiteListIteratorError = 1397508468;

// suite version
constexpr A_long kSPBasicSuiteVersion = 4;

// SPErr
constexpr A_long kSPBlockDebugNotEnabledError = 558785132;
constexpr A_long kSPBlockSizeOutOfRangeError = 1114329703;
constexpr A_long kSPCantAcquirePluginError = 557933425;
constexpr A_long kSPCantAddHostPluginError = 1097091183;
constexpr A_long kSPCantChangeBlockDebugNowError = 558788471;
constexpr A_long kSPCantReleasePluginError = 559048044;
constexpr A_long kSPCorruptPiPLError = 1129336908;
constexpr A_long kSPLogicError = 1717723506;
constexpr A_long kSPNoError = 0;
constexpr A_long kSPNotASweetPeaPluginError = 1314082896;
constexpr A_long kSPOutOfMemoryError = -148;
constexpr A_long kSPPluginAlreadyReleasedError = 1097618028;
constexpr A_long kSPSuiteAlreadyExistsError = 1397061737;
constexpr A_long kSPSuiteAlreadyReleasedError = 1397908844;
constexpr A_long kSPSuiteNotFoundError = 1394689636;
constexpr A_long kSPTroubleAddingFilesError = 1413571684;
constexpr A_long kSPTroubleInitializingError = 1414098537;
constexpr A_long kSPUnimplementedError = 558452048;
constexpr A_long kSPUnknownAdapterError = 1061250160;
constexpr A_long kSPUserCanceledError = 1937010544;

// Four-character codes: first character in the most significant byte.
constexpr A_long FourCC(char a, char b, char c, char d) {
    return static_cast<A_long>((static_cast<uint32_t>(static_cast<unsigned char>(a)) << 24) | (static_cast<uint32_t>(static_cast<unsigned char>(b)) << 16) |
                               (static_cast<uint32_t>(static_cast<unsigned char>(c)) << 8) | static_cast<uint32_t>(static_cast<unsigned char>(d)));
}

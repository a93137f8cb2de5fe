// Generated from measured host facts; edit the generator, not this file.
#pragma once
#include <cstddef>
#include <cstdint>

#pragma pack(push, 8)

struct AEGP_Comp_Opaque;
struct AEGP_Effect_Opaque;
struct AEGP_Footage_Opaque;
struct AEGP_ItemView_Opaque;
struct AEGP_Item_Opaque;
struct AEGP_Layer_Opaque;
struct AEGP_Mask_Opaque;
struct AEGP_PersistentBlob_Opaque;
struct AEGP_Project_Opaque;
struct AEGPp_Stream_Opaque;
struct DRAWBOT_BrushRef_Opaque;
struct DRAWBOT_DrawRef_Opaque;
struct DRAWBOT_FontRef_Opaque;
struct DRAWBOT_ImageRef_Opaque;
struct DRAWBOT_ObjectRef_Opaque;
struct DRAWBOT_PathRef_Opaque;
struct DRAWBOT_PenRef_Opaque;
struct DRAWBOT_SupplierRef_Opaque;
struct DRAWBOT_SurfaceRef_Opaque;
struct PF_CallbackFunc_Opaque;
struct PF_ContextRefcon_Opaque;
struct PF_LayerAudio_Opaque;
struct PF_ProgressInfo;
struct Up_OpaqueMem_Opaque;

struct PF_InData;
struct PF_OutData;
struct PF_ParamDef;
union PF_ParamDefUnion;
struct PF_LayerDef;
struct PF_SliderDef;
struct PF_FixedSliderDef;
struct PF_FloatSliderDef;
struct PF_CheckBoxDef;
struct PF_PopupDef;
struct PF_ColorDef;
struct PF_PointDef;
struct PF_Point3DDef;
struct PF_AngleDef;
struct PF_ArbitraryDef;
struct PF_PathDef;
struct PF_ButtonDef;
struct PF_LRect;
struct PF_Rect;
struct PF_Point;
struct PF_Pixel;
struct PF_Pixel16;
struct PF_PixelFloat;
struct PF_RationalScale;
struct PF_SpecVersion;
struct PF_LegacyRect;
struct PF_LegacyPoint;
struct PF_InteractCallbacks;
struct PF_UtilCallbacks;
struct PF_ANSICallbacks;
struct PF_ColorCallbacks;
struct PF_EventExtra;
struct PF_Context;
union PF_EventUnion;
struct PF_DoClickEventInfo;
struct PF_DrawEventInfo;
struct PF_AdjustCursorEventInfo;
struct PF_KeyDownEvent;
struct PF_CustomUIInfo;
struct PF_EventCallbacks;
union PF_WindowUnion;
struct PF_EffectWindowInfo;
struct PF_ItemWindowInfo;
struct SPBasicSuite;
struct PF_HandleSuite1;
struct PF_ParamUtilsSuite3;
struct PFAppSuite4;
struct PF_ANSICallbacksSuite1;
struct PF_EffectCustomUISuite1;
struct DRAWBOT_DrawbotSuite1;
struct DRAWBOT_SupplierSuite1;
struct DRAWBOT_SurfaceSuite2;
struct DRAWBOT_PathSuite1;
struct DRAWBOT_Suites;
struct AEGP_PFInterfaceSuite1;
struct AEGP_LayerSuite9;
struct AEGP_ItemSuite9;
struct AEGP_FootageSuite5;
struct AEGP_StreamSuite6;
struct AEGP_DynamicStreamSuite3;
struct AEGP_EffectSuite3;
struct AEGP_PersistentDataSuite3;
struct AEGP_FootageInterp;
struct FIEL_Label;
struct AEGP_DownsampleFactor;
struct A_Time;
struct A_Ratio;
struct DRAWBOT_PointF32;
struct DRAWBOT_RectF32;
struct DRAWBOT_Rect32;
struct DRAWBOT_ColorRGBA;
struct DRAWBOT_MatrixF32;
struct PF_SoundWorld;
struct PF_UnionableRect;
struct PF_UnionablePixel;
struct AEGP_AlphaLabel;
struct AEGP_LoopBehavior;
struct PF_SoundFormatInfo;

typedef uint8_t ADOBESDK_Boolean;
typedef uint16_t ADOBESDK_UTF16Char;
typedef uint32_t A_u_long;
typedef A_u_long AEGP_AlphaFlags;
struct AEGP_ColorVal;  // 32 bytes, used through pointers only
typedef AEGP_Comp_Opaque ** AEGP_CompH;
typedef A_u_long AEGP_DynStreamFlags;
typedef int32_t A_long;
typedef A_long AEGP_EffectFlags;
typedef A_long AEGP_EffectIndex;
typedef AEGP_Effect_Opaque ** AEGP_EffectRefH;
struct AEGP_FileSequenceImportOptions;  // 12 bytes, used through pointers only
typedef AEGP_Footage_Opaque ** AEGP_FootageH;
struct AEGP_FootageLayerKey;  // 76 bytes, used through pointers only
typedef A_long AEGP_FootageSignature;
typedef A_long AEGP_InstalledEffectKey;
typedef unsigned char A_u_char;
typedef A_u_char AEGP_InterpretationStyle;
typedef A_long AEGP_ItemFlags;
typedef AEGP_Item_Opaque ** AEGP_ItemH;
typedef short A_short;
typedef A_short AEGP_ItemType;
typedef AEGP_ItemView_Opaque * AEGP_ItemViewP;
typedef A_long AEGP_KeyInterpolationMask;
typedef A_short AEGP_LTimeMode;
typedef char A_char;
typedef A_char AEGP_LabelID;
typedef A_long AEGP_LayerFlags;
typedef AEGP_Layer_Opaque ** AEGP_LayerH;
typedef A_long AEGP_LayerIDVal;
typedef A_short AEGP_LayerQuality;
typedef A_short AEGP_LayerSamplingQuality;
typedef A_long AEGP_LayerStream;
struct AEGP_LayerTransferMode;  // 12 bytes, used through pointers only
typedef AEGP_Mask_Opaque ** AEGP_MaskRefH;
typedef A_long AEGP_MaskStream;
typedef Up_OpaqueMem_Opaque ** AEGP_MemHandle;
typedef A_long AEGP_ObjectType;
typedef AEGP_PersistentBlob_Opaque ** AEGP_PersistentBlobH;
typedef A_long AEGP_Platform;
typedef A_long AEGP_PluginID;
typedef AEGP_Project_Opaque ** AEGP_ProjectH;
typedef A_long AEGP_PulldownPhase;
struct AEGP_SoundDataFormat;  // 24 bytes, used through pointers only
typedef A_long AEGP_StreamFlags;
typedef A_long AEGP_StreamGroupingType;
typedef AEGPp_Stream_Opaque ** AEGP_StreamRefH;
typedef A_long AEGP_StreamType;
union AEGP_StreamVal2;  // 32 bytes, used through pointers only
struct AEGP_StreamValue2;  // 40 bytes, used through pointers only
typedef A_long AEGP_TrackMatte;
typedef A_long AEIO_FileType;
typedef unsigned char A_Boolean;
typedef A_long A_Err;
struct A_FloatRect;  // 32 bytes, used through pointers only
typedef double A_FpLong;
typedef float A_FpShort;
typedef unsigned long long A_u_longlong;
typedef A_u_longlong A_HandleSize;
typedef A_long A_LegacyEnumType;
struct A_Matrix4;  // 128 bytes, used through pointers only
typedef unsigned short A_u_short;
typedef A_u_short A_UTF16Char;
typedef long long A_intptr_t;
typedef int DRAWBOT_AntiAliasPolicy;
typedef ADOBESDK_Boolean DRAWBOT_Boolean;
typedef DRAWBOT_BrushRef_Opaque * DRAWBOT_BrushRef;
typedef DRAWBOT_DrawRef_Opaque * DRAWBOT_DrawRef;
typedef int DRAWBOT_FillType;
typedef DRAWBOT_FontRef_Opaque * DRAWBOT_FontRef;
typedef DRAWBOT_ImageRef_Opaque * DRAWBOT_ImageRef;
struct DRAWBOT_ImageSuite1;  // 8 bytes, used through pointers only
typedef int DRAWBOT_InterpolationPolicy;
typedef DRAWBOT_ObjectRef_Opaque * DRAWBOT_ObjectRef;
typedef DRAWBOT_PathRef_Opaque * DRAWBOT_PathRef;
typedef DRAWBOT_PenRef_Opaque * DRAWBOT_PenRef;
struct DRAWBOT_PenSuite1;  // 8 bytes, used through pointers only
typedef int DRAWBOT_PixelLayout;
typedef DRAWBOT_SupplierRef_Opaque * DRAWBOT_SupplierRef;
typedef DRAWBOT_SurfaceRef_Opaque * DRAWBOT_SurfaceRef;
typedef DRAWBOT_SurfaceSuite2 DRAWBOT_SurfaceSuite1;
typedef int DRAWBOT_TextAlignment;
typedef int DRAWBOT_TextTruncation;
typedef ADOBESDK_UTF16Char DRAWBOT_UTF16Char;
typedef uint32_t FIEL_Order;
typedef uint32_t FIEL_Type;
struct PF_AppPersonalTextInfo;  // 192 bytes, used through pointers only
struct PF_App_Color;  // 6 bytes, used through pointers only
typedef A_short PF_App_ColorType;
typedef void ** PF_Handle;
typedef PF_Handle PF_ArbitraryH;
typedef A_char PF_Boolean;
typedef PF_CallbackFunc_Opaque * PF_CallbackFunc;
typedef A_long PF_CallbackID;
typedef A_long PF_ChangeFlags;
typedef A_long PF_Cmd;
struct PF_CompositeMode;  // 12 bytes, used through pointers only
typedef PF_Context ** PF_ContextH;
typedef PF_ContextRefcon_Opaque * PF_ContextRefcon;
typedef A_long PF_CursorType;
typedef A_long PF_CustomEventFlags;
typedef A_long PF_EffectArea;
typedef PF_LayerDef PF_EffectWorld;
typedef A_long PF_Err;
typedef A_long PF_EventInFlags;
typedef A_long PF_EventOutFlags;
typedef A_long PF_EventType;
typedef A_short PF_EyeDropperSampleMode;
typedef A_u_long PF_FSliderFlags;
typedef A_long PF_Field;
typedef PF_ParamDef ** PF_ParamList;
typedef PF_Err (*PF_FilterProc)(PF_Cmd, PF_InData *, PF_OutData *, PF_ParamList, PF_LayerDef *, void *);
typedef A_long PF_Fixed;
struct PF_FixedPoint;  // 8 bytes, used through pointers only
struct PF_FloatMatrix;  // 72 bytes, used through pointers only
struct PF_FontName;  // 256 bytes, used through pointers only
typedef A_LegacyEnumType PF_FontStyleSheet;
typedef A_FpLong PF_FpLong;
typedef A_FpShort PF_FpShort;
typedef A_long PF_InFlags;
typedef PF_Err (*PF_IteratePixel16Func)(void *, A_long, A_long, PF_Pixel16 *, PF_Pixel16 *);
typedef PF_Err (*PF_IteratePixel8Func)(void *, A_long, A_long, PF_Pixel *, PF_Pixel *);
typedef A_u_long PF_KernelFlags;
typedef A_u_long PF_KeyCode;
typedef A_long PF_KeyIndex;
typedef PF_LayerAudio_Opaque * PF_LayerAudio;
struct PF_MaskWorld;  // 136 bytes, used through pointers only
typedef A_long PF_ModeFlags;
typedef A_long PF_Modifiers;
typedef A_long PF_NewWorldFlags;
typedef A_long PF_OutFlags;
typedef A_long PF_OutFlags2;
typedef PF_ParamDef * PF_ParamDefPtr;
typedef A_long PF_ParamFlags;
typedef A_long PF_ParamIndex;
typedef A_long PF_ParamType;
typedef A_long PF_ParamUIFlags;
typedef A_long PF_ParamValue;
typedef A_u_long PF_PathID;
typedef PF_Pixel PF_Pixel8;
typedef PF_Pixel * PF_PixelPtr;
typedef A_long PF_PlatDataID;
typedef PF_ProgressInfo * PF_ProgPtr;
typedef A_long PF_Quality;
struct PF_SampPB;  // 104 bytes, used through pointers only
typedef void * PF_SndSamplePtr;
typedef A_short PF_SoundChannels;
typedef A_short PF_SoundFormat;
typedef A_short PF_SoundSampleSize;
struct PF_State;  // 16 bytes, used through pointers only
typedef A_long PF_TimeDir;
typedef A_long PF_TransferMode;
typedef A_u_long PF_UFixed;
typedef A_long PF_UIAlignment;
typedef A_short PF_ValueDisplayFlags;
typedef A_long PF_WindowType;
typedef A_long PF_WorldFlags;
typedef PF_TransferMode PF_XferMode;
typedef int32_t int32;
typedef int32 SPBoolean;
typedef int32 SPErr;
typedef FIEL_Label AEGP_InterlaceLabel;

#pragma pack(pop)

// Older versions of two AEGP suites, declared by hand (host_records.h holds
// only the newest ones). The effect asks for these because every host from
// After Effects 13.0 on serves them, while the newest tables are younger than
// that (Layer 9: 23.0, Item 9: 14.1):
//
//   "AEGP Layer Suite"  version 12  AEGP_LayerSuite6   (since AE 10.0)
//   "AEGP Item Suite"   version 13  AEGP_ItemSuite8    (since AE 10.0)
//   "AEGP Stream Suite" version 7   AEGP_StreamSuite2
//
// (The footage suite needs nothing here: AEGP_FootageSuite5, version 11, dates
// from AE 10.0 and is declared in host_records.h.)
//
// AEGP_LayerSuite6 is the whole table: later versions only appended slots
// (7: the two label functions, 8: the two sampling-quality functions, 9: the
// three track-matte functions), so version 6 is the first 46 slots of version
// 9 with the same types. Of the item table only the leading slots up to the
// one this module calls are declared, and likewise of the stream table; both
// are only ever reached through the
// host's pointer, never copied, so the rest of the table need not be spelled
// out.
// The version numbers are in host_constants.h (kAEGPLayerSuiteVersion6 and
// so on).
#pragma once
#include "hostapi/host_api.h"

#include <cstddef>

struct AEGP_LayerSuite6 {
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
};

// Leading slots 0..5 (through AEGP_GetItemType).
struct AEGP_ItemSuite8 {
    A_Err (*AEGP_GetFirstProjItem)(AEGP_ProjectH, AEGP_ItemH *);
    A_Err (*AEGP_GetNextProjItem)(AEGP_ProjectH, AEGP_ItemH, AEGP_ItemH *);
    A_Err (*AEGP_GetActiveItem)(AEGP_ItemH *);
    A_Err (*AEGP_IsItemSelected)(AEGP_ItemH, A_Boolean *);
    A_Err (*AEGP_SelectItem)(AEGP_ItemH, A_Boolean, A_Boolean);
    A_Err (*AEGP_GetItemType)(AEGP_ItemH, AEGP_ItemType *);
};

// Leading slots 0..7 (through AEGP_DisposeStream). Stream 2 put one slot
// before the effect-stream functions, which have kept their places since.
struct AEGP_StreamSuite2 {
    A_Err (*AEGP_IsStreamLegal)(AEGP_LayerH, AEGP_LayerStream, A_Boolean *);
    A_Err (*AEGP_CanVaryOverTime)(AEGP_StreamRefH, A_Boolean *);
    A_Err (*AEGP_GetValidInterpolations)(AEGP_StreamRefH, AEGP_KeyInterpolationMask *);
    A_Err (*AEGP_GetNewLayerStream)(AEGP_PluginID, AEGP_LayerH, AEGP_LayerStream, AEGP_StreamRefH *);
    A_Err (*AEGP_GetEffectNumParamStreams)(AEGP_EffectRefH, A_long *);
    A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID, AEGP_EffectRefH, PF_ParamIndex, AEGP_StreamRefH *);
    A_Err (*AEGP_GetNewMaskStream)(AEGP_PluginID, AEGP_MaskRefH, AEGP_MaskStream, AEGP_StreamRefH *);
    A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH);
};

static_assert(kAEGPLayerSuiteVersion6 == 12 && kAEGPItemSuiteVersion8 == 13 && kAEGPStreamSuiteVersion2 == 7,
              "suite version numbers");

#if INTPTR_MAX == INT64_MAX
// Version 6 is version 9 without its seven appended slots, slot for slot.
static_assert(sizeof(AEGP_LayerSuite6) == 46 * 8, "AEGP_LayerSuite6: 46 slots");
static_assert(sizeof(AEGP_LayerSuite9) == sizeof(AEGP_LayerSuite6) + 7 * 8, "Layer 9 = Layer 6 + 7 slots");
static_assert(offsetof(AEGP_LayerSuite6, AEGP_GetLayerSourceItem) == 4 * 8, "AEGP_GetLayerSourceItem is slot 4");
static_assert(offsetof(AEGP_LayerSuite6, AEGP_GetLayerFromLayerID) ==
                  offsetof(AEGP_LayerSuite9, AEGP_GetLayerFromLayerID),
              "Layer 6 and 9 agree up to their last common slot");
// AEGP_GetItemType moved to slot 5 with Item 6 and stayed there.
static_assert(offsetof(AEGP_ItemSuite8, AEGP_GetItemType) == 5 * 8, "AEGP_GetItemType is slot 5");
static_assert(offsetof(AEGP_ItemSuite8, AEGP_GetItemType) == offsetof(AEGP_ItemSuite9, AEGP_GetItemType),
              "Item 8 and 9 agree on AEGP_GetItemType");
static_assert(offsetof(AEGP_StreamSuite2, AEGP_GetNewEffectStreamByIndex) == 5 * 8 &&
                  offsetof(AEGP_StreamSuite2, AEGP_DisposeStream) == 7 * 8,
              "effect streams are slots 5 and 7");
static_assert(offsetof(AEGP_StreamSuite2, AEGP_DisposeStream) == offsetof(AEGP_StreamSuite6, AEGP_DisposeStream),
              "Stream 2 and 6 agree on AEGP_DisposeStream");
#endif

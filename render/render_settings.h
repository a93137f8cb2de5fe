// The parameters as one render uses them, read afresh at every render.
#pragma once
#include "hostapi/host_api.h"

struct RenderSettings {
    A_long show;               // "Show" ordinal (1-based, separators counted); 1 when absent
    A_long fieldOrder;         // 1 upper field first, 2 lower field first
    bool deinterlace;          // "Do Deinterlace"
    float motionAdjust;        // "Motion Detection Adjustment", -100..100
    float diffLow;             // difference at or below which two pixels are the same
    float diffHigh;            // difference above which they differ
    A_long diffSpread;         // half-width of the motion evidence neighbourhood
    float gradientThreshold;   // first differences below this are no edge
    A_long patternSize;        // "Detail Pattern Size"
    A_long searchSpan;         // 2 x patternSize
    float blendLimit;
    float sourceRate;          // source frame rate the fields are timed by
    float compRate;            // composition frame rate
    A_long deartifacting;      // "Deartifacting" popup value, 1 = "None"
};

// Fixed analysis constants (their bit patterns are pinned by tests).
constexpr float kDiffLow = 0.015175294f;            // 0x3C78A1CC
constexpr float kDiffHigh = 0.029490195f;           // 0x3CF1956C
constexpr A_long kDiffSpread = 2;
constexpr float kGradientThreshold = 0.047058824f;  // 0x3D40C0C1, 12/255
constexpr float kBlendLimit = 0.4f;                 // 0x3ECCCCCD

// "Show" popup ordinals as the render sees them (2 and 8 are separators).
enum ShowView : A_long {
    kShowResult = 1,
    kShowAllFields = 3,
    kShowFieldMinus2 = 4,
    kShowFieldMinus1 = 5,
    kShowField0 = 6,
    kShowFieldPlus1 = 7,
    kShowGradient = 9,
    kShowDifference = 10,
    kShowAutoLevels = 11,
    kShowMatchPoints = 12,
    kShowVectorMagnitudes = 13,
    kShowSource = 14,
    kShowData = 15,
};

// "Detail Pattern Size" and "Motion Detection Adjustment" as the host can
// set them (typed values included).
constexpr A_long kPatternSizeMin = 1;
constexpr A_long kPatternSizeMax = 12;
constexpr double kMotionAdjustMin = -100.0;
constexpr double kMotionAdjustMax = 100.0;

// Host parameter indices, in the order parameter set-up adds them; the render
// reads some, Auto Setup and its button write others.
enum RenderParamIndex : A_long {
    kParamInputLayer = 0,
    kParamAutoSetup = 2,
    kParamDeinterlaceGroup = 3,
    kParamDoDeinterlace = 4,
    kParamSourceVideo = 5,
    kParamFieldOrder = 6,
    kParamMotionAdjust = 7,
    kParamPatternSize = 8,
    kParamDeartifactingGroup = 10,
    kParamDeartifacting = 11,
    kParamShow = 13,
};

// Parameters every command that reads them needs: all the effect declares
// but the optional "Show" popup.
constexpr A_long kDeclaredParams = 13;

// A host that hands over fewer parameters than the effect declared (before
// parameter set-up, or after it failed) gets an error before anything is
// read or written: nothing past its array is touched.
inline void RequireDeclaredParams(const PF_InData* in_data, PF_ParamDef* const params[])
{
    if (params == nullptr || in_data->num_params < kDeclaredParams)
        throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);
    for (A_long i = 0; i < kDeclaredParams; ++i)
        if (params[i] == nullptr) throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);
}
